// The power goes at any moment of what programs do with a device. Whatever is left on the disk opens again,
// holds what was stored when the device was closed before, and of what came after it a beginning, each object
// whole; and a partner of a synchronisation misses no change in silence.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>

#include "platform/device/device.h"
#include "platform/posix/fault_injection.h"
#include "tests/fault/kill_at_call.h"
#include "tests/holds/disk_journal.h"
#include "tests/holds/partner.h"
#include "tests/holds/store_cases.h"
#include "tests/holds/stored.h"
#include "tests/support/settings.h"

namespace power_cut_test {
namespace {

using namespace holds;
using Unflushed = Journal::Unflushed;

// ---- The test ---------------------------------------------------------------------------------------

// What the program was told at one moment, and what the device held then.
struct Moment {
  size_t place;  // the number of changes before it
  Stored stored;
  bool is_closed = false;
};

class PowerCut : public testing::TestWithParam<StoreCase> {
 protected:
  PowerCut() { LetGo(); }
  ~PowerCut() override {
    EndPretendedRestart();
    LetGo();
  }
  void SetUp() override {
    if (!fault::CanTrace()) GTEST_SKIP() << "processes cannot be traced, as under an emulator";
  }

  const StoreCase& row() const { return GetParam(); }

  static void LetGo() {
    for (const StoreCase& each : kStoreCases) OSIF_CL_Close(each.store);
    OSIF_Close();
    device::CloseDatabase();
  }

  // A device with objects; their ids are `ids_`.
  void Prepare(int objects) {
    support::SetSystemCodePage(1252);
    ASSERT_EQ(OSIF_Open(), kOk);
    for (int number = 0; number < objects; ++number) {
      const Added added = Add(row(), number, nullptr);
      ASSERT_EQ(added.result, kOk);
      ids_.push_back(added.id);
    }
    LetGo();
  }

  // A partner has seen the store as it is now, by a log that has at least as many entries.
  void PreparePartner(int entries) {
    partners_.emplace_back(0, MeetPartner(row()));
    if (entries == 0) return;
    ASSERT_EQ(OSIF_Open(), kOk);
    OpenLog(row());
    OsifAnchor anchor{};
    for (int i = 0; i < entries; ++i) {
      ASSERT_EQ(Modify(row(), ids_[0], 0, 5 + i % 2, &anchor), kOk);
    }
    LetGo();
    partners_.back().second = MeetPartner(row());
  }

  // Other programs have changed, deleted and added something since.
  void PrepareChangesOfOthers() {
    if (!row().compares) return;
    ASSERT_EQ(OSIF_Open(), kOk);
    ASSERT_EQ(Modify(row(), ids_[0], 0, 2, nullptr), kOk);
    ASSERT_EQ(OSIF_DeleteObject(row().store, ids_[1].c_str(), nullptr), kOk);
    ASSERT_EQ(Add(row(), 20, nullptr).result, kOk);
    LetGo();
  }

  // In the child: the partner is told of everything up to a counter.
  void TellPartner(uint32_t counter) const {
    Tell("partner " + DatabaseId(row()) + " " + std::to_string(counter));
  }

  void Synchronise() const {
    EXPECT_EQ(OSIF_Open(), kOk);
    OpenLog(row());
    const std::string id = DatabaseId(row());
    EXPECT_EQ(id, partners_[0].second.database_id);
    EXPECT_TRUE(ChangesSince(row(), partners_[0].second.counter));
    TellPartner(NewestCounter(row()));
    OsifAnchor anchor{};
    EXPECT_EQ(Add(row(), 10, &anchor).result, kOk);
    TellPartner(anchor.cc);
    EXPECT_EQ(Modify(row(), ids_[2], 2, 3, &anchor), kOk);
    TellPartner(anchor.cc);
    if (row().can_delete) {
      EXPECT_EQ(OSIF_DeleteObject(row().store, ids_[3].c_str(), &anchor), kOk);
      TellPartner(anchor.cc);
    }
    CloseLog(row());
    Tell("log closed");
    OSIF_Close();
    Tell("closed");
  }

  void Receive() const {
    EXPECT_EQ(OSIF_Open(), kOk);
    for (int number : {10, 11}) {
      EXPECT_EQ(Add(row(), number, nullptr).result, kOk);
      Tell("added");
    }
    EXPECT_EQ(Modify(row(), ids_[0], 0, 3, nullptr), kOk);
    Tell("modified");
    EXPECT_EQ(Modify(row(), ids_[0], 0, 4, nullptr), kOk);
    Tell("modified");
    if (row().store == OSIF_STORE_NOTE) {
      EXPECT_EQ(Modify(row(), ids_[1], 12, 2, nullptr), kOk);
      Tell("renamed");
    }
    if (row().can_delete) {
      EXPECT_EQ(OSIF_DeleteObject(row().store, ids_[1].c_str(), nullptr), kOk);
      Tell("deleted");
    }
    OSIF_Close();
    Tell("closed");
  }

  // Records what `work` does in the device's folder.
  void Record(const std::function<void()>& work) {
    LetGo();
    EndPretendedRestart();
    moments_.push_back({0, ReadStored(device_.folder()), true});
    std::vector<std::string> told;
    std::vector<Stored> stored;
    journal_ = Journal::Record(device_.folder(), work, [&](const std::string& text) {
      told.push_back(text);
      stored.push_back(ReadStored(device_.folder()));
    });
    size_t number = 0;
    for (size_t place = 0; place < journal_.changes().size(); ++place) {
      if (journal_.changes()[place].kind != Change::Kind::kTold) continue;
      Note(place, told[number], stored[number]);
      ++number;
    }
  }

  void Note(size_t place, const std::string& told, const Stored& stored) {
    moments_.push_back({place + 1, stored, told == "closed"});
    std::istringstream words(told);
    std::string what;
    Partner partner;
    words >> what >> partner.database_id >> partner.counter;
    if (what != "partner") return;
    partner.seen = ObjectsOf(row(), stored);
    partners_.emplace_back(place + 1, partner);
  }

  // Cuts the power at each place, with what is not flushed lost in different ways, and looks at what is left.
  void CutEverywhere() {
    struct Way {
      Unflushed bytes;
      Unflushed names;
    };
    std::vector<Way> ways = {{Unflushed::kLost, Unflushed::kKept},
                             {Unflushed::kLost, Unflushed::kLost},
                             {Unflushed::kKept, Unflushed::kLost},
                             {Unflushed::kRandom, Unflushed::kRandom}};
    for (int round = 0; round < Rounds(); ++round) {
      ways.push_back({Unflushed::kRandom, Unflushed::kRandom});
      ways.push_back({Unflushed::kRandom, Unflushed::kKept});
    }
    std::mt19937 random(20260202);
    for (size_t place = 0; place < journal_.places(); ++place) {
      for (size_t way = 0; way < ways.size(); ++way) {
        // By default a place is cut in two of them.
        if (Rounds() == 0 && (place + way) % ways.size() >= 2) continue;
        const Files disk = journal_.Cut(place, ways[way].bytes, ways[way].names, random);
        const bool is_new = seen_.insert({LastMoment(place), disk}).second;
        if (!is_new) continue;
        SCOPED_TRACE("cut before " + std::to_string(place) + ", way " + std::to_string(way) + ", " +
                     Describe(place));
        ++disks_;
        LookAt(disk, place);
        if (HasFailure()) return;
      }
    }
    RecordProperty("disks", disks_);
  }

  std::string Describe(size_t place) const {
    if (place >= journal_.changes().size()) return "the end";
    const Change& change = journal_.changes()[place];
    return "kind " + std::to_string(static_cast<int>(change.kind)) + " " + change.path;
  }

  size_t LastMoment(size_t place) const {
    size_t last = 0;
    for (size_t i = 0; i < moments_.size(); ++i) {
      if (moments_[i].place <= place) last = i;
    }
    return last;
  }

  size_t LastClosed(size_t place) const {
    size_t last = 0;
    for (size_t i = 0; i < moments_.size(); ++i) {
      if (moments_[i].place <= place && moments_[i].is_closed) last = i;
    }
    return last;
  }

  void LookAt(const Files& disk, size_t place) {
    WriteFolder(device_.folder(), disk);
    PretendRestart();
    ASSERT_EQ(OSIF_Open(), kOk) << device::ErrorText();
    EXPECT_EQ(FaultsOf(device_.folder()), "");
    const size_t first = LastClosed(place);
    const size_t last = std::min(LastMoment(place) + 1, moments_.size() - 1);
    ExpectOneOf(first, last);
    ExpectWholeNotes(first, last);
    if (!partners_.empty()) ExpectPartnersMissNothing(place);
    LetGo();
  }

  // The database holds what it held at one of these moments.
  virtual void ExpectOneOf(size_t first, size_t last) {
    Stored now = ReadStored(device_.folder());
    now.stores[OSIF_STORE_NOTE].clear();
    std::string differences;
    for (size_t i = first; i <= last; ++i) {
      Stored moment = moments_[i].stored;
      moment.stores[OSIF_STORE_NOTE].clear();
      if (moment == now) return;
      differences += std::to_string(i) + ": " + Difference(moment, now) + "\n";
    }
    ADD_FAILURE() << "the store is as it never was\n" << differences;
  }

  // Each note that was there at the last close is as it was at one of these moments, and gone only if it was.
  void ExpectWholeNotes(size_t first, size_t last) {
    const auto notes = [](const Stored& stored) { return stored.stores[OSIF_STORE_NOTE]; };
    const Objects now = notes(ReadStored(device_.folder()));
    for (const auto& [name, text] : notes(moments_[first].stored)) {
      std::set<std::optional<std::string>> allowed;
      for (size_t i = first; i <= last; ++i) {
        const Objects moment = notes(moments_[i].stored);
        const auto found = moment.find(name);
        allowed.insert(found == moment.end() ? std::nullopt : std::optional(found->second));
      }
      const auto found = now.find(name);
      const bool is_allowed =
          allowed.contains(found == now.end() ? std::nullopt : std::optional(found->second));
      EXPECT_TRUE(is_allowed) << name << (found == now.end() ? " is lost" : " is not whole");
    }
  }

  // What the partner does not know of the store is told, or it learns that it has to compare everything.
  void ExpectPartnersMissNothing(size_t place) {
    std::filesystem::create_directory(device_.Path("Sync"));
    if (row().compares) {
      EXPECT_EQ(Modify(row(), ids_[4], 4, 9, nullptr), kOk);  // by another program
    }
    OpenLog(row());
    const std::string id = DatabaseId(row());
    const Objects now = ObjectsOf(row(), ReadStored(device_.folder()));
    uint32_t told = 0;
    for (const auto& [since, partner] : partners_) {
      if (since > place || partner.database_id != id) continue;
      told = std::max(told, partner.counter);
      partner.ExpectToMissNothing(row(), now);
    }
    (told == 0 ? new_ids_ : kept_ids_) += 1;
    const bool is_over = LastClosed(place) == moments_.size() - 1;
    EXPECT_TRUE(told != 0 || !is_over) << "what was closed in order is on the disk";
    OsifAnchor anchor{};
    EXPECT_EQ(Add(row(), 30, &anchor).result, kOk);
    EXPECT_GT(anchor.cc, told) << "a counter that was given already";
    CloseLog(row());
  }

  TempDevice device_;
  std::vector<std::string> ids_;
  std::vector<std::pair<size_t, Partner>> partners_;  // by the place from which on they were told
  std::vector<Moment> moments_;
  Journal journal_;
  std::set<std::pair<size_t, Files>> seen_;
  int disks_ = 0;
  int kept_ids_ = 0;
  int new_ids_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Of, PowerCut, testing::ValuesIn(kStoreCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PowerCut, LeavesWhatIsReceivedWhole) {
  ASSERT_NO_FATAL_FAILURE(Prepare(5));
  Record([this] { Receive(); });
  EXPECT_GE(moments_.size(), 6u);
  CutEverywhere();
  EXPECT_GT(disks_, 10);
}

TEST_P(PowerCut, HidesNoChangeOfASynchronisation) {
  ASSERT_NO_FATAL_FAILURE(Prepare(5));
  ASSERT_NO_FATAL_FAILURE(PreparePartner(3));
  ASSERT_NO_FATAL_FAILURE(PrepareChangesOfOthers());
  Record([this] { Synchronise(); });
  CutEverywhere();
  EXPECT_GT(kept_ids_, 3) << "before the first entry, and once all is closed, nothing is lost";
  EXPECT_GT(new_ids_, 3) << "while the log is open, what was told may be gone";
}

TEST_P(PowerCut, HidesNoChangeWhenALogIsPurged) {
  ASSERT_NO_FATAL_FAILURE(Prepare(5));
  ASSERT_NO_FATAL_FAILURE(PreparePartner(250));
  ASSERT_NO_FATAL_FAILURE(PrepareChangesOfOthers());
  Record([this] { Synchronise(); });
  CutEverywhere();
  EXPECT_GT(kept_ids_, 3);
  EXPECT_GT(new_ids_, 3);
}

// But for what is added it is the same for all stores.
class PowerCutAtTheFirstUse : public PowerCut {};

INSTANTIATE_TEST_SUITE_P(Of, PowerCutAtTheFirstUse, testing::Values(*CaseOf(OSIF_STORE_NOTE)),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PowerCutAtTheFirstUse, LeavesADeviceThatCanBeUsed) {
  Record([this] {
    EXPECT_EQ(OSIF_Open(), kOk);
    Tell("opened");
    EXPECT_EQ(Add(row(), 1, nullptr).result, kOk);
    Tell("added");
    OSIF_Close();
    Tell("closed");
  });
  CutEverywhere();
  EXPECT_GT(disks_, 30);
}

// The platform has occurrences for a saved series only: it is saved before its exceptions are made, each of
// which is saved by itself, and once more at the end.
class PowerCutOfASeries : public PowerCut {
 protected:
  static constexpr int kNumber = 10;

  static std::string Series() {
    std::string text = CalendarOf(kNumber, 1);
    const std::string days = "EXDATE:20260203T100000\r\nEXDATE:20260204T100000\r\n";
    return text.insert(text.find("ATTENDEE"), days);
  }

  // Until the device is closed what an occurrence is made of is there, or nothing.
  void ExpectOneOf(size_t first, size_t last) override {
    if (first == moments_.size() - 1) {
      PowerCut::ExpectOneOf(first, last);
      return;
    }
    Stored now = ReadStored(device_.folder());
    Objects& stored = now.stores[OSIF_STORE_CAL];
    EXPECT_TRUE(std::ranges::includes(moments_.back().stored.exceptions, now.exceptions));
    now.exceptions.clear();
    for (const auto& [id, text] : moments_.back().stored.stores[OSIF_STORE_CAL]) {
      if (moments_[0].stored.stores[OSIF_STORE_CAL].contains(id) || !stored.contains(id)) continue;
      for (const std::string& part : {std::to_string(kNumber) + "|Room 1|", Body(1)}) {
        EXPECT_NE(stored[id].find(part), std::string::npos) << stored[id];
      }
      (stored[id] == text ? whole_ : parts_) += 1;
      stored.erase(id);
    }
    EXPECT_EQ(Difference(moments_[0].stored, now), "");
  }

  int whole_ = 0;
  int parts_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Of, PowerCutOfASeries, testing::Values(*CaseOf(OSIF_STORE_CAL)),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PowerCutOfASeries, MayLeaveItWithoutItsLastExceptions) {
  ASSERT_NO_FATAL_FAILURE(Prepare(2));
  Record([] {
    EXPECT_EQ(OSIF_Open(), kOk);
    WithObject(Series(), [](OsifObject& object) {
      EXPECT_EQ(OSIF_AddObject(OSIF_STORE_CAL, &object, nullptr, nullptr), kOk);
    });
    Tell("added");
    OSIF_Close();
    Tell("closed");
  });
  EXPECT_EQ(moments_.back().stored.exceptions.size(), 2u);
  CutEverywhere();
  EXPECT_GT(parts_, 0);
  EXPECT_GT(whole_, 0);
}

// ---- What the tests above stand on ------------------------------------------------------------------

// Without that they would see nothing.
TEST(DiskJournal, ForgetsWhatWasNotFlushed) {
  if (!fault::CanTrace()) GTEST_SKIP() << "processes cannot be traced, as under an emulator";
  const support::TempFolder folder;
  support::PutBytes(folder.File("old"), "old");
  const auto work = [&folder] {
    const auto path = [&folder](const char* name) { return support::Wide(folder.File(name)); };
    OsifStream file;
    EXPECT_EQ(FILE_Open(file, path("kept").c_str(), u"w"), 0);
    EXPECT_EQ(FILE_Write(file, "kept"), 0);
    EXPECT_EQ(FILE_FlushToDisk(file), 0);
    EXPECT_EQ(FILE_Write(file, "lost"), 0);
    FILE_Close(file, u"");
    EXPECT_EQ(FILE_Remove(path("old").c_str()), 0);
    EXPECT_EQ(FILE_Rename(path("kept").c_str(), path("new").c_str()), 0);
    EXPECT_TRUE(std::filesystem::create_directory(folder.File("folder")));
    Tell("end");
  };
  std::vector<std::string> told;
  const Journal journal =
      Journal::Record(folder.path(), work, [&](const std::string& text) { told.push_back(text); });
  EXPECT_EQ(told, std::vector<std::string>{"end"});
  std::mt19937 random;
  const auto cut = [&](size_t place, Unflushed bytes, Unflushed names) {
    return journal.Cut(place, bytes, names, random);
  };
  const size_t end = journal.places() - 1;
  EXPECT_EQ(cut(0, Unflushed::kLost, Unflushed::kLost), (Files{{"old", "old"}}));
  EXPECT_EQ(cut(2, Unflushed::kLost, Unflushed::kKept), (Files{{"kept", ""}, {"old", "old"}}));
  EXPECT_EQ(cut(2, Unflushed::kKept, Unflushed::kLost), (Files{{"old", "old"}}));
  EXPECT_EQ(cut(end, Unflushed::kLost, Unflushed::kLost),
            (Files{{"kept", "kept"}, {"old", "old"}}));
  EXPECT_EQ(cut(end, Unflushed::kLost, Unflushed::kKept),
            (Files{{"folder/", ""}, {"new", "kept"}}));
  EXPECT_EQ(cut(end, Unflushed::kKept, Unflushed::kKept),
            (Files{{"folder/", ""}, {"new", "keptlost"}}));
  EXPECT_EQ(cut(end, Unflushed::kKept, Unflushed::kKept), ReadFolder(folder.path()));
}

}  // namespace
}  // namespace power_cut_test
