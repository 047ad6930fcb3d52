// The power goes while a change log is opened, recorded in or closed: the partner is told every change all the
// same, or learns by a new database id that it has to compare everything.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_session.h"
#include "platform/device/device.h"
#include "platform/posix/fault_injection.h"
#include "tests/fault/power_cut.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/other_program.h"
#include "tests/support/settings.h"
#include "tests/support/temp_device.h"

namespace change_log_power_cut_test {
namespace {

using fault::RunAndCutPower;
using fault::Unflushed;
using support::MakeAnchor;
using support::OtherProgram;

using Contacts = std::map<std::string, std::string>;  // names by id

constexpr OsifResult kOk = OSIF_OK;
constexpr int32_t kStore = OSIF_STORE_PB;

// What the partner keeps: it has it from the process that then loses its power.
struct Kept {
  char database_id[OSIF_DATABASE_ID_SIZE];
  uint32_t counter;       // of its anchor
  bool has_seen_pending;  // what was changed before the session
  bool has_added;
  char added[16];
  bool has_deleted;
};

class ChangeLogPowerCut : public testing::TestWithParam<Unflushed> {
 protected:
  ChangeLogPowerCut() {
    support::SetSystemCodePage(1252);
    std::filesystem::create_directory(prepared_.Path("Sync"));
  }
  ~ChangeLogPowerCut() override {
    EndPretendedRestart();
    LetGo();
  }
  void SetUp() override {
    if (!fault::CanTrace()) GTEST_SKIP() << "processes cannot be traced, as under an emulator";
  }

  static OsifResult Open() {
    return POL_CL_Open(kStore, support::Wide(device::Folder() + "/Sync").c_str());
  }
  static OsifAnchor Anchor() {
    OsifAnchor anchor{};
    EXPECT_EQ(POL_CL_GetCurrentAnchor(kStore, &anchor), kOk);
    return anchor;
  }
  static std::string DatabaseId() {
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(kStore, id), kOk);
    return id;
  }
  static void LetGo() {
    if (pol_Application() == nullptr) POL_Open();
    POL_CL_Close(kStore);
    POL_Close();
    device::CloseDatabase();
  }

  // The partner has seen `seen_`; since then others have worked, and the store holds `pending_`.
  void Prepare(int entries) {
    POL_Open();
    OtherProgram other;
    for (const char* name : {"Ann", "Bob", "Cid", "Dan"}) ids_.push_back(other.Add(name));
    ASSERT_EQ(Open(), kOk);
    OsifAnchor anchor{};
    for (int i = 0; i < entries; ++i) support::ModifyContact(ids_[3], "Dan", &anchor);
    ASSERT_EQ(POL_CL_Close(kStore), kOk);
    ASSERT_EQ(Open(), kOk);
    DatabaseId().copy(before_.database_id, sizeof before_.database_id - 1);
    before_.counter = Anchor().cc;
    ASSERT_EQ(POL_CL_Close(kStore), kOk);
    seen_ = other.Contacts();
    other.Change(ids_[0], "Amy");
    other.Delete(ids_[1]);
    other.Add("Fay");
    pending_ = other.Contacts();
  }

  // What the partner is told goes to it at once.
  void Synchronise() {
    EXPECT_EQ(Open(), kOk);
    EXPECT_EQ(DatabaseId(), before_.database_id);
    kept_->counter = Anchor().cc;
    kept_->has_seen_pending = true;
    OsifAnchor anchor{};
    const support::LibraryCall added = support::AddContact("Gus", &anchor);
    added.id.copy(kept_->added, sizeof kept_->added - 1);
    kept_->counter = anchor.cc;
    kept_->has_added = true;
    EXPECT_EQ(support::DeleteContact(ids_[2], &anchor), kOk);
    kept_->counter = anchor.cc;
    kept_->has_deleted = true;
    EXPECT_EQ(POL_CL_Close(kStore), kOk);
  }

  Contacts SeenByPartner() {
    Contacts seen = kept_->has_seen_pending ? pending_ : seen_;
    if (kept_->has_added) seen[kept_->added] = "Gus";
    if (kept_->has_deleted) seen.erase(ids_[2]);
    return seen;
  }

  // After the next start of the system another program changes and deletes something, and the log is opened.
  // True when the partner keeps its database id.
  bool ExpectNothingLost() {
    {
      OtherProgram other;
      other.Change(ids_[0], "Ada");
      other.Delete(ids_[3]);
    }
    EXPECT_EQ(Open(), kOk);
    if (DatabaseId() != kept_->database_id) return false;
    std::map<std::string, uint32_t> told;
    const OsifAnchor anchor = MakeAnchor(kept_->counter);
    ChangeLogEntry entry{};
    OsifResult result = POL_CL_GetFirstEntry(kStore, &anchor, &entry);
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(kStore, &entry)) {
      told[entry.objectId] = entry.kind;
    }
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    const Contacts store = OtherProgram().Contacts();
    const Contacts seen = SeenByPartner();
    for (const auto& [id, name] : store) {
      const auto known = seen.find(id);
      const bool is_known = known != seen.end() && known->second == name;
      EXPECT_TRUE(is_known || told[id] == 'M') << name << " is not told";
    }
    for (const auto& [id, name] : seen) {
      EXPECT_TRUE(store.contains(id) || told[id] == 'H') << "the end of " << name << " is not told";
    }
    return true;
  }

  // Once for each place; counts how often the partner could keep its database id.
  void CutEverywhere() {
    CutEverywhere([] { POL_Open(); }, [this] { Synchronise(); },
                  [this] { return ExpectNothingLost(); });
  }
  void CutEverywhere(const std::function<void()>& before, const std::function<void()>& work,
                     const std::function<bool()>& check) {
    LetGo();
    for (int nth = 1;; ++nth) {
      SCOPED_TRACE("cut at place " + std::to_string(nth));
      ASSERT_LT(nth, 1000);
      TempDevice device;
      std::filesystem::copy(prepared_.folder(), device.folder(),
                            std::filesystem::copy_options::recursive);
      *kept_ = before_;
      EndPretendedRestart();
      const bool was_cut = RunAndCutPower(device.Path("Sync"), before, work, GetParam(), nth);
      PretendRestart();
      EXPECT_EQ(POL_Open(), kOk);
      const bool is_kept = check();
      LetGo();
      ASSERT_FALSE(HasFailure());
      (is_kept ? kept_ids_ : new_ids_) += 1;
      if (was_cut) continue;
      EXPECT_TRUE(is_kept) << "a log that was closed in order is on the disk";
      return;
    }
  }

  TempDevice prepared_;
  fault::SharedWithChild<Kept> kept_;
  Kept before_{};
  std::vector<std::string> ids_;
  Contacts seen_;
  Contacts pending_;
  int kept_ids_ = 0;
  int new_ids_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Disks, ChangeLogPowerCut,
                         testing::Values(Unflushed::kNothing, Unflushed::kHalf),
                         [](const auto& test) {
                           return test.param == Unflushed::kNothing ? "ThatForgetAll"
                                                                    : "ThatForgetHalf";
                         });

TEST_P(ChangeLogPowerCut, LosesNoChangeOfASession) {
  ASSERT_NO_FATAL_FAILURE(Prepare(5));
  CutEverywhere();
  EXPECT_GT(new_ids_, 3) << "while the log was open, what was told may be gone";
  EXPECT_GT(kept_ids_, 3) << "before the first entry, and once it was closed, nothing is";
}

TEST_P(ChangeLogPowerCut, LosesNoChangeWhileTheLogIsPurged) {
  ASSERT_NO_FATAL_FAILURE(Prepare(250));
  CutEverywhere();
  EXPECT_GT(new_ids_, 3);
  EXPECT_GT(kept_ids_, 3);
}

// Only the log knows what the partner was told, and it is cut at its close.
TEST_P(ChangeLogPowerCut, LosesNoDeletionOfAnItemWhoseEntryTheCloseCutsOff) {
  POL_Open();
  {
    OtherProgram other;
    for (int i = 0; i < 260; ++i) ids_.push_back(other.Add("Ann"));
  }
  const auto before = [this] {
    POL_Open();
    EXPECT_EQ(Open(), kOk);
    kept_->counter = Anchor().cc;
    DatabaseId().copy(kept_->database_id, sizeof kept_->database_id - 1);
  };
  const auto work = [] { EXPECT_EQ(POL_CL_Close(kStore), kOk); };
  const auto check = [this] {
    OtherProgram().Delete(ids_[0]);
    EXPECT_EQ(Open(), kOk);
    if (DatabaseId() != kept_->database_id) return false;
    std::map<std::string, uint32_t> told;
    const OsifAnchor anchor = MakeAnchor(kept_->counter);
    ChangeLogEntry entry{};
    OsifResult result = POL_CL_GetFirstEntry(kStore, &anchor, &entry);
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(kStore, &entry)) {
      told[entry.objectId] = entry.kind;
    }
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    EXPECT_EQ(told[ids_[0]], uint32_t{'H'});
    return true;
  };
  CutEverywhere(before, work, check);
  EXPECT_GE(kept_ids_, 3) << "from the moment on that the counters are settled";
}

// The disk that this test stands on forgets: without that it would see nothing.
TEST_P(ChangeLogPowerCut, ForgetsWhatWasNotFlushed) {
  TempDevice device;
  std::filesystem::create_directory(device.Path("Sync"));
  const std::string kept = device.Path("Sync/kept");
  const std::string lost = device.Path("Sync/lost");
  const auto work = [&] {
    OsifStream file;
    EXPECT_EQ(FILE_Open(file, support::Wide(kept).c_str(), u"w"), 0);
    EXPECT_EQ(FILE_Write(file, "kept"), 0);
    EXPECT_EQ(FILE_FlushToDisk(file), 0);
    EXPECT_EQ(FILE_Write(file, "lost"), 0);
    FILE_Close(file, u"");
    support::PutBytes(lost, "lost");
  };
  EXPECT_FALSE(RunAndCutPower(
      device.Path("Sync"), [] {}, work, GetParam(), 1000));
  const bool is_half = GetParam() == Unflushed::kHalf;
  EXPECT_EQ(support::BytesOf(kept), is_half ? "keptlo" : "kept");
  EXPECT_EQ(support::BytesOf(lost), is_half ? "lo" : "");
}

}  // namespace
}  // namespace change_log_power_cut_test
