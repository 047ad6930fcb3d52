// Every call into SQLite's system layer, and every allocation of its, fails once, or from some call on.
// Whatever it is, the library answers with a code that the call knows, what was stored before is there as it
// was, what the call was to do is done whole or not at all, and it can be done when the failure is over.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>

#include "platform/device/device.h"
#include "tests/holds/disk_journal.h"
#include "tests/holds/faulty_sqlite.h"
#include "tests/holds/partner.h"
#include "tests/holds/store_cases.h"
#include "tests/holds/stored.h"
#include "tests/support/settings.h"

namespace sqlite_failure_test {
namespace {

using namespace holds;

struct FaultCase {
  const char* name;
  Fault fault;
  Duration duration;
};

constexpr FaultCase kFaultCases[] = {
    {"AnErrorOnce", Fault::kInputOutput, Duration::kOnce},
    {"ErrorsFromThenOn", Fault::kInputOutput, Duration::kFromThenOn},
    {"AFullDiskOnce", Fault::kFull, Duration::kOnce},
    {"AFullDiskFromThenOn", Fault::kFull, Duration::kFromThenOn},
    {"ALockOnce", Fault::kLocked, Duration::kOnce},
    {"ALockFromThenOn", Fault::kLocked, Duration::kFromThenOn},
    {"NoMemoryOnce", Fault::kNoMemory, Duration::kOnce},
    {"NoMemoryFromThenOn", Fault::kNoMemory, Duration::kFromThenOn},
};

using Codes = std::set<OsifResult>;

// What a call has answered, and what it gave.
struct Outcome {
  OsifResult result = OSIF_OK;
  std::string given;

  bool operator==(const Outcome&) const = default;
};

// The ids of the objects 0 to 2 of a store.
using Ids = std::vector<std::string>;

// A call. `allowed`: what it may answer while SQLite fails. `gives_all`: a success gives everything.
struct Operation {
  const char* name;
  Outcome (*run)(const StoreCase& row, const Ids& ids);
  Codes allowed;
  bool (*is_for)(const StoreCase& row) = [](const StoreCase&) { return true; };
  bool gives_all = true;
};

bool IsInPim(const StoreCase& row) { return row.can_delete; }
bool CanBeRead(const StoreCase& row) { return row.store != OSIF_STORE_NOTE; }

Outcome RunAdd(const StoreCase& row, const Ids&) {
  const Added added = Add(row, 7, nullptr);
  return {added.result, added.id};
}

Outcome RunModify(const StoreCase& row, const Ids& ids) {
  return {Modify(row, ids[0], 0, 2, nullptr), ""};
}

Outcome RunDelete(const StoreCase& row, const Ids& ids) {
  return {OSIF_DeleteObject(row.store, ids[1].c_str(), nullptr), ""};
}

Outcome RunGet(const StoreCase& row, const Ids& ids) {
  OsifObject object{};
  Outcome outcome = {OSIF_GetObjectById(row.store, ids[0].c_str(), &object), ""};
  if (outcome.result != kOk) return outcome;
  support::TempFile file;
  EXPECT_EQ(OSIF_WriteObject(row.store, &object, file.wide_path().c_str(), 1), kOk);
  outcome.given = file.Bytes();
  return outcome;
}

Outcome RunFind(const StoreCase& row, const Ids&) {
  Outcome outcome;
  WithObject(row.text(1, 1), [&](OsifObject& object) {
    char id[OSIF_ID_SIZE] = "";
    if (OSIF_FindObject(row.store, &object, id) != 0) outcome.given = id;
  });
  return outcome;
}

Outcome RunCount(const StoreCase& row, const Ids&) {
  uint32_t count = 99;
  const OsifResult result = OSIF_GetObjectCount(row.store, &count);
  return {result, std::to_string(count)};
}

Outcome RunWalk(const StoreCase& row, const Ids&) {
  Outcome outcome;
  char id[OSIF_ID_SIZE] = "";
  outcome.result = OSIF_GetFirstId(row.store, id);
  while (outcome.result == kOk) {
    outcome.given.append(id).append(" ");
    id[0] = '\0';
    outcome.result = OSIF_GetNextId(row.store, id);
  }
  return outcome;
}

const Operation kChanges[] = {
    {.name = "Add", .run = RunAdd, .allowed = {OSIF_OK, OSIF_ERR_PIM}},
    {.name = "Modify", .run = RunModify, .allowed = {OSIF_OK, OSIF_ERR_PIM, OSIF_ERR_NOT_FOUND}},
    {.name = "Delete",
     .run = RunDelete,
     .allowed = {OSIF_OK, OSIF_ERR_PIM, OSIF_ERR_NOT_FOUND},
     .is_for = IsInPim},
};

const Operation kReadings[] = {
    {.name = "Get",
     .run = RunGet,
     .allowed = {OSIF_OK, OSIF_ERR_PIM, OSIF_ERR_NOT_FOUND},
     .is_for = CanBeRead},
    // It tells "not found" from nothing else.
    {.name = "Find", .run = RunFind, .allowed = {OSIF_OK}, .gives_all = false},
    // A count that cannot be had is 0.
    {.name = "Count", .run = RunCount, .allowed = {OSIF_OK}, .is_for = IsInPim, .gives_all = false},
    // The end of the store is where a walk ends that has met no error.
    {.name = "Walk",
     .run = RunWalk,
     .allowed = {OSIF_ERR_END_OF_STORE, OSIF_ERR_PIM},
     .is_for = IsInPim,
     .gives_all = false},
};

class SqliteFailure : public testing::TestWithParam<std::tuple<StoreCase, FaultCase>> {
 protected:
  ~SqliteFailure() override {
    Disarm();
    LetGo();
  }

  const StoreCase& row() const { return std::get<0>(GetParam()); }
  const FaultCase& fault() const { return std::get<1>(GetParam()); }

  static void LetGo() {
    for (const StoreCase& each : kStoreCases) OSIF_CL_Close(each.store);
    OSIF_Close();
    device::CloseDatabase();
  }

  // A device with three objects.
  void SetUp() override {
    support::SetSystemCodePage(1252);
    ASSERT_EQ(OSIF_Open(), kOk);
    for (int number = 0; number < 3; ++number) {
      const Added added = Add(row(), number, nullptr);
      ASSERT_EQ(added.result, kOk);
      ids_.push_back(added.id);
    }
    LetGo();
    KeepDevice();
  }

  void KeepDevice() {
    before_ = ReadFolder(device_.folder());
    stored_before_ = Now();
  }

  Stored Now() const { return ReadStored(device_.folder()); }

  // The device as it was, and the library open.
  void Begin() {
    LetGo();
    WriteFolder(device_.folder(), before_);
    ASSERT_EQ(OSIF_Open(), kOk);
  }

  void Arm(int nth) const { holds::Arm(fault().fault, fault().duration, nth); }

  // Numbers of calls that are to fail, of so many: all, or as many as time allows, evenly, from anywhere on.
  std::vector<int> Places(int calls, int limit) {
    const int step = Rounds() > 0 ? 1 : std::max(1, calls / limit);
    const int first = step == 1 ? 1 : std::uniform_int_distribution<>(1, step)(random_);
    std::vector<int> places;
    for (int nth = first; nth <= calls; nth += step) places.push_back(nth);
    places.push_back(calls + 1);
    return places;
  }

  // Lets `run` fail at each place. `check` looks at what came of it. The last place is one that is not
  // reached.
  void FailEverywhere(const std::function<void()>& begin, const std::function<void()>& run,
                      const std::function<void()>& check, int limit = 4) {
    begin();
    Arm(0);
    run();
    const int calls = Disarm();
    for (int nth : Places(calls, limit)) {
      SCOPED_TRACE("call " + std::to_string(nth) + " of " + std::to_string(calls));
      begin();
      Arm(nth);
      run();
      Disarm();
      ASSERT_EQ(HasHappened(), nth <= calls) << "it takes the same calls each time";
      failures_ += HasHappened() ? 1 : 0;
      check();
      LetGo();
      EXPECT_EQ(FaultsOf(device_.folder()), "");
      if (HasFailure()) return;
    }
  }

  // After a failure messaging may be half started, until the session ends.
  void BeginAgain() {
    if (row().store != OSIF_STORE_MSG_IN) return;
    OSIF_Close();
    ASSERT_EQ(OSIF_Open(), kOk);
  }

  TempDevice device_;
  Ids ids_;
  Files before_;
  Stored stored_before_;
  std::mt19937 random_{20260202};
  int failures_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Of, SqliteFailure,
                         testing::Combine(testing::ValuesIn(kStoreCases),
                                          testing::ValuesIn(kFaultCases)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) +
                                  std::get<1>(test.param).name;
                         });

TEST_P(SqliteFailure, LeavesAChangeMadeOrNotAndLetsItBeMadeAfterwards) {
  for (const Operation& operation : kChanges) {
    if (!operation.is_for(row())) continue;
    SCOPED_TRACE(operation.name);
    Begin();
    const Outcome expected = operation.run(row(), ids_);
    ASSERT_EQ(expected.result, kOk);
    const Stored after = Now();
    EXPECT_FALSE(after == stored_before_);
    Outcome outcome;
    const auto run = [&] { outcome = operation.run(row(), ids_); };
    const auto check = [&] {
      EXPECT_TRUE(operation.allowed.contains(outcome.result)) << outcome.result;
      const bool is_done = outcome.result == kOk;
      EXPECT_EQ(Difference(is_done ? after : stored_before_, Now()), "") << outcome.result;
      if (is_done) {
        EXPECT_EQ(outcome.given, expected.given);
        return;
      }
      BeginAgain();
      EXPECT_EQ(operation.run(row(), ids_).result, kOk);
      LetGo();
      const Objects now = ObjectsOf(row(), Now());
      EXPECT_EQ(now.size(), ObjectsOf(row(), after).size());
    };
    FailEverywhere([this] { Begin(); }, run, check);
    if (HasFailure()) return;
  }
}

TEST_P(SqliteFailure, LetsReadingsFailOrGiveWhatIsThere) {
  for (const Operation& operation : kReadings) {
    if (!operation.is_for(row())) continue;
    SCOPED_TRACE(operation.name);
    Begin();
    const Outcome expected = operation.run(row(), ids_);
    Outcome outcome;
    const auto run = [&] { outcome = operation.run(row(), ids_); };
    const auto check = [&] {
      EXPECT_TRUE(operation.allowed.contains(outcome.result)) << outcome.result;
      EXPECT_EQ(Difference(stored_before_, Now()), "");
      // Of a message whose body cannot be read the trace alone says so.
      const bool gives_all = operation.gives_all && row().store != OSIF_STORE_MSG_IN;
      if (!HasHappened() || (gives_all && outcome.result == kOk)) {
        EXPECT_EQ(outcome.given, expected.given);
      }
      BeginAgain();
      EXPECT_EQ(operation.run(row(), ids_), expected);
    };
    FailEverywhere([this] { Begin(); }, run, check, 3);
    if (HasFailure()) return;
  }
}

TEST_P(SqliteFailure, LetsADeviceBeOpenedAndClosedAfterwards) {
  OsifResult opened = 0;
  const auto begin = [this] {
    LetGo();
    WriteFolder(device_.folder(), before_);
  };
  const auto run = [&] {
    opened = OSIF_Open();
    if (opened == kOk) Add(row(), 7, nullptr);
    OSIF_Close();
  };
  const auto check = [&] {
    EXPECT_TRUE((Codes{OSIF_OK, OSIF_ERR_PIM}).contains(opened)) << opened;
    EXPECT_EQ(OSIF_Open(), kOk) << device::ErrorText();
    const Objects now = ObjectsOf(row(), Now());
    for (const auto& [id, text] : ObjectsOf(row(), stored_before_)) {
      const auto found = now.find(id);
      EXPECT_TRUE(found != now.end() && found->second == text) << id;
    }
    EXPECT_EQ(Add(row(), 8, nullptr).result, kOk);
  };
  FailEverywhere(begin, run, check, 4);
  EXPECT_GT(failures_, 0);
}

// It is the same for all stores.
class SqliteFailureAtTheFirstUse : public SqliteFailure {};

INSTANTIATE_TEST_SUITE_P(Of, SqliteFailureAtTheFirstUse,
                         testing::Combine(testing::Values(*CaseOf(OSIF_STORE_PB)),
                                          testing::ValuesIn(kFaultCases)),
                         [](const auto& test) {
                           return std::string(std::get<1>(test.param).name);
                         });

TEST_P(SqliteFailureAtTheFirstUse, LetsADeviceBeMadeAfterwards) {
  before_.clear();
  OsifResult opened = 0;
  const auto begin = [this] {
    LetGo();
    WriteFolder(device_.folder(), {});
  };
  const auto run = [&] { opened = OSIF_Open(); };
  const auto check = [&] {
    EXPECT_TRUE((Codes{OSIF_OK, OSIF_ERR_PIM}).contains(opened)) << opened;
    EXPECT_EQ(OSIF_Open(), kOk) << device::ErrorText();
    EXPECT_EQ(Add(row(), 8, nullptr).result, kOk);
  };
  FailEverywhere(begin, run, check, 12);
  EXPECT_GT(failures_, 0);
}

class SqliteFailureInASession : public SqliteFailure {
 protected:
  void Synchronise() {
    told_.clear();
    opened_ = OSIF_CL_Open(row().store, LogFolder().c_str());
    if (opened_ == kOk) told_ = ChangesSince(row(), partner_.counter).value_or(Changes());
    OsifAnchor anchor{};
    added_ = Add(row(), 7, &anchor).result;
    modified_ = Modify(row(), ids_[1], 1, 2, &anchor);
    closed_ = OSIF_CL_Close(row().store);
  }

  void Check() {
    const Codes may_answer = {OSIF_OK, OSIF_ERR_PIM, OSIF_ERR_NOT_IMPLEMENTED};
    EXPECT_TRUE(may_answer.contains(opened_)) << opened_;
    EXPECT_TRUE((Codes{OSIF_OK, OSIF_ERR_PIM}).contains(added_)) << added_;
    EXPECT_TRUE((Codes{OSIF_OK, OSIF_ERR_PIM, OSIF_ERR_NOT_FOUND}).contains(modified_))
        << modified_;
    EXPECT_TRUE(may_answer.contains(closed_)) << closed_;
    for (const auto& [id, kind] : told_) EXPECT_EQ(kind, 'M') << id << " is there";
    LetGo();
    EXPECT_EQ(OSIF_Open(), kOk);
    OpenLog(row());
    partner_.ExpectToMissNothing(row(), ObjectsOf(row(), Now()));
    CloseLog(row());
  }

  // A partner has seen the store, and then another program has changed an object.
  void Prepare() {
    partner_ = MeetPartner(row());
    if (row().compares) {
      ASSERT_EQ(OSIF_Open(), kOk);
      ASSERT_EQ(Modify(row(), ids_[0], 0, 2, nullptr), kOk);
      LetGo();
    }
    KeepDevice();
  }

  using Changes = std::map<std::string, char>;

  Partner partner_;
  Changes told_;
  OsifResult opened_ = 0;
  OsifResult added_ = 0;
  OsifResult modified_ = 0;
  OsifResult closed_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Of, SqliteFailureInASession,
                         testing::Combine(testing::ValuesIn(kStoreCases),
                                          testing::ValuesIn(kFaultCases)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) +
                                  std::get<1>(test.param).name;
                         });

TEST_P(SqliteFailureInASession, HidesNoChangeFromAPartner) {
  ASSERT_NO_FATAL_FAILURE(Prepare());
  FailEverywhere([this] { Begin(); }, [this] { Synchronise(); }, [this] { Check(); }, 3);
}

// Of the stores that are compared: without its mark every object of them is.
class SqliteFailureWithoutAMark : public SqliteFailureInASession {};

INSTANTIATE_TEST_SUITE_P(Of, SqliteFailureWithoutAMark,
                         testing::Combine(testing::Values(*CaseOf(OSIF_STORE_PB),
                                                          *CaseOf(OSIF_STORE_CAL)),
                                          testing::ValuesIn(kFaultCases)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) +
                                  std::get<1>(test.param).name;
                         });

TEST_P(SqliteFailureWithoutAMark, HidesNoChangeWhereEveryObjectIsCompared) {
  ASSERT_NO_FATAL_FAILURE(Prepare());
  ASSERT_EQ(
      std::erase_if(before_, [](const auto& file) { return file.first.ends_with("_mark.log"); }),
      1u);
  FailEverywhere([this] { Begin(); }, [this] { Synchronise(); }, [this] { Check(); }, 3);
}

}  // namespace
}  // namespace sqlite_failure_test
