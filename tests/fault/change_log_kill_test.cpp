// A process dies while it opens, records in, purges or closes a change log; the next open loses no change.
#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <set>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_session.h"
#include "platform/device/device.h"
#include "tests/fault/kill_at_call.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/other_program.h"
#include "tests/support/settings.h"
#include "tests/support/temp_device.h"

namespace change_log_kill_test {
namespace {

using fault::KillPlace;
using fault::RunAndKill;
using fault::SharedWithChild;
using support::AddContact;
using support::EntryLine;
using support::EntryLines;
using support::LineOf;
using support::MakeAnchor;
using support::OtherProgram;
using support::PutBytes;

using Contacts = std::map<std::string, std::string>;  // names by id

constexpr int32_t kContactStore = OSIF_STORE_PB;
constexpr int32_t kMailStore = OSIF_STORE_MSG_IN;
constexpr OsifResult kOk = OSIF_OK;

// A change that the partner made through the library and got its anchor for.
struct OwnChange {
  char id[16];
  uint32_t counter;
};

// What the child was answered before it died.
struct Answered {
  bool has_read;          // every entry up to the anchor
  uint32_t read_counter;  // of that anchor
  OwnChange added;
  OwnChange modified;
  OwnChange deleted;
  char database_id[OSIF_DATABASE_ID_SIZE];
  char message_ids[2][OSIF_ID_SIZE];
};

std::string PlaceName(const testing::TestParamInfo<KillPlace>& test) {
  return test.param == KillPlace::kBeforeTheCall ? "BeforeACall" : "InALogWrite";
}

class ChangeLogKill : public testing::TestWithParam<KillPlace> {
 protected:
  ChangeLogKill() {
    support::SetSystemCodePage(1252);
    std::filesystem::create_directory(Sync(prepared_));
  }
  ~ChangeLogKill() override { LetGo(); }

  void SetUp() override {
    if (!fault::CanTrace()) GTEST_SKIP() << "processes cannot be traced, as under an emulator";
  }

  static std::string Sync(const TempDevice& device) { return device.Path("Sync"); }

  // Of the present device.
  static std::string Path(const std::string& name) { return device::Folder() + "/Sync/" + name; }
  static OsifResult Open(int32_t store_id) {
    return POL_CL_Open(store_id, support::Wide(device::Folder() + "/Sync").c_str());
  }
  static std::string DatabaseId(int32_t store_id) {
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(store_id, id), kOk);
    return id;
  }
  static OsifAnchor Anchor(int32_t store_id) {
    OsifAnchor anchor{};
    EXPECT_EQ(POL_CL_GetCurrentAnchor(store_id, &anchor), kOk);
    return anchor;
  }

  // Everything closed and on disk, so that a child can be forked and the folder be copied.
  static void LetGo() {
    if (pol_Application() == nullptr) POL_Open();
    POL_CL_Close(kContactStore);
    POL_CL_Close(kMailStore);
    POL_Close();
    device::CloseDatabase();
  }

  // Once for each place: a copy of the prepared device, on which the child works until it dies there, and
  // which is then checked. Ends with the child that comes to its end.
  void KillEverywhere(const std::function<void()>& work, const std::function<void()>& check,
                      int least_places) {
    KillEverywhere([] { POL_Open(); }, work, check, least_places);
  }
  // The same after something that the child does undisturbed.
  void KillEverywhere(const std::function<void()>& before, const std::function<void()>& work,
                      const std::function<void()>& check, int least_places) {
    LetGo();
    for (int nth = 1;; ++nth) {
      SCOPED_TRACE("killed at place " + std::to_string(nth));
      ASSERT_LT(nth, 5000);
      TempDevice device;
      std::filesystem::copy(prepared_.folder(), device.folder(),
                            std::filesystem::copy_options::recursive);
      *answered_ = {};
      const bool was_killed = RunAndKill(before, work, GetParam(), nth);
      EXPECT_EQ(POL_Open(), kOk);
      check();
      LetGo();
      ASSERT_FALSE(HasFailure());
      if (was_killed) continue;
      EXPECT_GT(nth, least_places) << "the places were not found";
      return;
    }
  }

  TempDevice prepared_;
  SharedWithChild<Answered> answered_;
};

INSTANTIATE_TEST_SUITE_P(Places, ChangeLogKill,
                         testing::Values(KillPlace::kBeforeTheCall,
                                         KillPlace::kInTheMiddleOfALogWrite),
                         PlaceName);

// ---- Contacts ---------------------------------------------------------------------------------------

// The partner has seen `seen_` up to `anchor_`; then other programs worked, and the store holds `pending_`.
class ContactLogKill : public ChangeLogKill {
 protected:
  // A log of 250 entries, the newest of which the partner has seen.
  void Prepare() {
    POL_Open();
    {
      OtherProgram other;
      // Nobody ever touches Ivy: in the end her entry is purged and only the snapshot knows her.
      for (const char* name : {"Ann", "Bob", "Cid", "Dan", "Eve", "Ivy"}) {
        ids_.push_back(other.Add(name));
      }
      ASSERT_EQ(Open(kContactStore), kOk);
      OsifAnchor anchor{};
      for (int i = 0; i < 260; ++i) {
        support::ModifyContact(ids_[4], "Eve" + std::to_string(i), &anchor);
      }
      ASSERT_EQ(POL_CL_Close(kContactStore), kOk);
      ASSERT_EQ(support::LinesOf(Path("pol_pb_change.log")).size(), 250u);
      ASSERT_EQ(Open(kContactStore), kOk);
      anchor_ = Anchor(kContactStore).cc;
      database_id_ = DatabaseId(kContactStore);
      seen_ = other.Contacts();
      ASSERT_EQ(POL_CL_Close(kContactStore), kOk);
      Meddle(other);
      pending_ = other.Contacts();
    }
    LetGo();
  }
  void Meddle(OtherProgram& other) {
    other.Change(ids_[0], "Amy");
    other.Delete(ids_[1]);
    other.Add("Fay");
  }

  // A whole session of the partner, with another program at work meanwhile, and one more.
  void Synchronise() {
    EXPECT_EQ(Open(kContactStore), kOk);
    Told();
    answered_->read_counter = Anchor(kContactStore).cc;
    answered_->has_read = true;

    OsifAnchor anchor{};
    support::LibraryCall added = AddContact("Gus", &anchor);
    Keep(answered_->added, added.id, anchor);
    EXPECT_EQ(support::ModifyContact(ids_[2], "Cyd", &anchor), kOk);
    Keep(answered_->modified, ids_[2], anchor);
    EXPECT_EQ(support::DeleteContact(ids_[3], &anchor), kOk);
    Keep(answered_->deleted, ids_[3], anchor);

    OtherProgram other;
    other.Change(
        ids_[0],
        "Ada");  // the next open tells it first: it must not get a counter of the partner's
    other.Change(ids_[4], "Eva");
    other.Change(ids_[2], "Cyr");
    other.Add("Hal");
    EXPECT_EQ(POL_CL_Close(kContactStore), kOk);
    EXPECT_EQ(Open(kContactStore), kOk);
    EXPECT_EQ(POL_CL_Close(kContactStore), kOk);
  }

  static void Keep(OwnChange& change, const std::string& id, const OsifAnchor& anchor) {
    id.copy(change.id, sizeof change.id - 1);
    change.counter = anchor.cc;
  }

  // The entries that the partner is told, by id, without its own; a gap or a broken line is a failure here,
  // since the log holds enough.
  std::map<std::string, char> Told() {
    std::map<std::string, char> told;
    const std::set<uint32_t> own = {answered_->added.counter, answered_->modified.counter,
                                    answered_->deleted.counter};
    const OsifAnchor anchor = MakeAnchor(answered_->has_read ? answered_->read_counter : anchor_);
    ChangeLogEntry entry{};
    OsifResult result = POL_CL_GetFirstEntry(kContactStore, &anchor, &entry);
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(kContactStore, &entry)) {
      if (own.count(static_cast<uint32_t>(entry.changeCounter)) == 0) {
        told[entry.objectId] = static_cast<char>(entry.kind);
      }
    }
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    return told;
  }

  // What the partner takes the store to hold.
  Contacts Seen() {
    Contacts seen = answered_->has_read ? pending_ : seen_;
    if (answered_->added.counter != 0) seen[answered_->added.id] = "Gus";
    if (answered_->modified.counter != 0) seen[ids_[2]] = "Cyd";
    if (answered_->deleted.counter != 0) seen.erase(ids_[3]);
    return seen;
  }

  void ExpectNothingLost() {
    ASSERT_EQ(Open(kContactStore), kOk);
    EXPECT_EQ(DatabaseId(kContactStore), database_id_) << "no log was lost";
    const Contacts store = OtherProgram().Contacts();
    const Contacts seen = Seen();
    const std::map<std::string, char> told = Told();
    for (const auto& [id, name] : store) {
      const auto known = seen.find(id);
      if (known != seen.end() && known->second == name) continue;
      const auto entry = told.find(id);
      EXPECT_TRUE(entry != told.end() && entry->second == 'M') << name << " is not told";
    }
    for (const auto& [id, name] : seen) {
      if (store.count(id) > 0) continue;
      const auto entry = told.find(id);
      EXPECT_TRUE(entry != told.end() && entry->second == 'H')
          << "the end of " << name << " is not told";
    }
    for (const auto& [id, kind] : told) EXPECT_EQ(kind == 'M', store.count(id) == 1) << id;
    ExpectCalm();
  }

  // Once the partner has seen everything, nothing more comes.
  void ExpectCalm() {
    const OsifAnchor anchor = Anchor(kContactStore);
    EXPECT_EQ(POL_CL_Close(kContactStore), kOk);
    EXPECT_EQ(Open(kContactStore), kOk);
    ChangeLogEntry entry{};
    EXPECT_EQ(POL_CL_GetFirstEntry(kContactStore, &anchor, &entry), OsifResult{OSIF_ERR_EOF})
        << LineOf(entry);
  }

  std::vector<std::string> ids_;
  std::string database_id_;
  uint32_t anchor_ = 0;
  Contacts seen_;
  Contacts pending_;
};

INSTANTIATE_TEST_SUITE_P(Places, ContactLogKill,
                         testing::Values(KillPlace::kBeforeTheCall,
                                         KillPlace::kInTheMiddleOfALogWrite),
                         PlaceName);

TEST_P(ContactLogKill, LosesNoChangeInASession) {
  ASSERT_NO_FATAL_FAILURE(Prepare());
  KillEverywhere([this] { Synchronise(); }, [this] { ExpectNothingLost(); }, 10);
}

TEST_P(ContactLogKill, LosesNoDeletionThatFollowsTheDeath) {
  ASSERT_NO_FATAL_FAILURE(Prepare());
  const auto check = [this] {
    {
      OtherProgram other;
      for (const auto& [id, name] : other.Contacts()) other.Delete(id);
    }
    ExpectNothingLost();
  };
  KillEverywhere([this] { Synchronise(); }, check, 10);
}

TEST_P(ContactLogKill, LosesNoChangeInTheVeryFirstSession) {
  POL_Open();
  {
    OtherProgram other;
    for (const char* name : {"Ann", "Bob", "Cid", "Dan", "Eve"}) ids_.push_back(other.Add(name));
  }
  const auto check = [this] {
    ASSERT_EQ(Open(kContactStore), kOk);
    database_id_ = DatabaseId(kContactStore);
    if (answered_->database_id[0] != '\0') {
      EXPECT_EQ(database_id_, answered_->database_id);
    }
    POL_CL_Close(kContactStore);
    ExpectNothingLost();
  };
  const auto work = [this] {
    EXPECT_EQ(Open(kContactStore), kOk);
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(kContactStore, id), kOk);
    std::memcpy(answered_->database_id, id, sizeof id);
    EXPECT_EQ(POL_CL_Close(kContactStore), kOk);
  };
  KillEverywhere(work, check, 3);
}

TEST_P(ContactLogKill, LosesNoChangeWhenTheCounterBeginsAnew) {
  ASSERT_NO_FATAL_FAILURE(Prepare());
  anchor_ = 2147483640;
  prepared_.Use();
  PutBytes(Path("pol_pb_change.log"), EntryLine('M', anchor_, ids_[0]) + "\n");
  const auto check = [this] {
    ASSERT_EQ(Open(kContactStore), kOk);
    if (DatabaseId(kContactStore) != database_id_) return;  // the partner begins anew, too
    const std::map<std::string, char> told = Told();
    EXPECT_EQ(told.count(ids_[0]), 1u);
    EXPECT_EQ(told.count(ids_[1]), 1u);
  };
  const auto work = [] {
    EXPECT_EQ(Open(kContactStore), kOk);
    EXPECT_EQ(POL_CL_Close(kContactStore), kOk);
  };
  KillEverywhere(work, check, 3);
}

// ---- More entries in one session than the log keeps -------------------------------------------------

// Another program has stored 300 items; the partner is told all of them in one session, of which the log keeps
// 250 entries, and the process dies while it closes the log. Then some items are deleted.
class LongSessionKill : public ChangeLogKill {
 protected:
  static constexpr int kItems = 300;

  void Prepare(int32_t store_id, int kind) {
    store_id_ = store_id;
    POL_Open();
    {
      OtherProgram other;
      for (int i = 0; i < kItems; ++i) ids_.push_back(AddItem(other.application(), kind));
    }
    LetGo();
  }
  static std::string AddItem(IPOutlookApp& application, int kind) {
    ComPtr<IDispatch> item;
    EXPECT_EQ(application.CreateItem(kind, item.put()), S_OK);
    return kind == olContactItem ? Saved(static_cast<IContact&>(*item))
                                 : Saved(static_cast<IAppointment&>(*item));
  }
  template <typename Item>
  static std::string Saved(Item& item) {
    LONG oid = 0;
    EXPECT_EQ(item.Save(), S_OK);
    EXPECT_EQ(item.get_Oid(&oid), S_OK);
    return support::IdOf(oid);
  }

  // The partner reads all there is.
  void TellAll() {
    POL_Open();
    EXPECT_EQ(Open(store_id_), kOk);
    answered_->read_counter = Anchor(store_id_).cc;
    EXPECT_EQ(answered_->read_counter, uint32_t{kItems});
    DatabaseId(store_id_).copy(answered_->database_id, sizeof answered_->database_id - 1);
  }
  void CloseIt() { EXPECT_EQ(POL_CL_Close(store_id_), kOk); }

  // The entries of the first ones are cut off by the purge, those of the last ones are not.
  void ExpectDeletionsToBeTold() {
    const std::string deleted[] = {ids_.front(), ids_[49], ids_[50], ids_.back()};
    for (const std::string& id : deleted) {
      EXPECT_EQ(POL_DeleteObject(store_id_, id.c_str(), nullptr), kOk);
    }
    ASSERT_EQ(Open(store_id_), kOk);
    EXPECT_EQ(DatabaseId(store_id_), answered_->database_id) << "no log was lost";
    std::map<std::string, uint32_t> told;
    const OsifAnchor anchor = MakeAnchor(answered_->read_counter);
    ChangeLogEntry entry{};
    OsifResult result = POL_CL_GetFirstEntry(store_id_, &anchor, &entry);
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(store_id_, &entry)) {
      told[entry.objectId] = entry.kind;
    }
    // Whoever closed it meanwhile has cut off what the partner has not been told: it compares everything.
    if (result == OSIF_ERR_CL_GAP && was_closed_) return;
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    for (const std::string& id : deleted) {
      EXPECT_EQ(told[id], uint32_t{'H'}) << "the end of " << id << " is not told";
    }
    EXPECT_EQ(POL_CL_Close(store_id_), kOk);
    EXPECT_FALSE(support::FileExists(Path("pol_pb_cut.log")));
    EXPECT_FALSE(support::FileExists(Path("pol_cal_cut.log")));
  }

  // Whoever repairs what is left dies as well, while it compares or while it closes.
  void DieAgain(int nth) {
    LetGoOfStore();
    RunAndKill([] { POL_Open(); },
               [this] {
                 EXPECT_EQ(Open(store_id_), kOk);
                 EXPECT_EQ(POL_CL_Close(store_id_), kOk);
               },
               GetParam(), nth);
    // The first entry of the log that was left, or of the one that it was purged to once, by now is gone.
    const std::string log = Path("pol_pb_change.log");
    const std::string first = support::FileExists(log) ? support::BytesOf(log).substr(0, 5) : "";
    was_closed_ = first != "M:1:2" && first != "M:51:";
    EXPECT_EQ(POL_Open(), kOk);
  }
  static void LetGoOfStore() {
    POL_Close();
    device::CloseDatabase();
  }

  int32_t store_id_ = OSIF_STORE_PB;
  bool was_closed_ = false;
  std::vector<std::string> ids_;
};

INSTANTIATE_TEST_SUITE_P(Places, LongSessionKill,
                         testing::Values(KillPlace::kBeforeTheCall,
                                         KillPlace::kInTheMiddleOfALogWrite),
                         PlaceName);

TEST_P(LongSessionKill, LosesNoDeletionOfAContactWhoseEntryTheCloseCutsOff) {
  Prepare(OSIF_STORE_PB, olContactItem);
  KillEverywhere([this] { TellAll(); }, [this] { CloseIt(); },
                 [this] { ExpectDeletionsToBeTold(); }, 1);
}

TEST_P(LongSessionKill, LosesNoDeletionOfAnAppointmentWhoseEntryTheCloseCutsOff) {
  Prepare(OSIF_STORE_CAL, olAppointmentItem);
  KillEverywhere([this] { TellAll(); }, [this] { CloseIt(); },
                 [this] { ExpectDeletionsToBeTold(); }, 1);
}

TEST_P(LongSessionKill, LosesNoDeletionWhenWhoeverRepairsItDiesAsWell) {
  Prepare(OSIF_STORE_PB, olContactItem);
  for (int nth : {1, kItems / 2, kItems + 2, kItems + 6}) {
    SCOPED_TRACE("died again at place " + std::to_string(nth));
    const auto check = [this, nth] {
      DieAgain(nth);
      ExpectDeletionsToBeTold();
    };
    KillEverywhere([this] { TellAll(); }, [this] { CloseIt(); }, check, 1);
    ASSERT_FALSE(HasFailure());
  }
}

// ---- Messages ---------------------------------------------------------------------------------------

TEST_P(ChangeLogKill, LosesNoMessageWhoseAnchorWasHandedBack) {
  const auto work = [this] {
    EXPECT_EQ(Open(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
    for (OwnChange* change : {&answered_->added, &answered_->modified}) {
      OwnedObject message(kMailStore);
      std::strcpy(message->message.xBtFolder, "INBOX");
      char id[OSIF_ID_SIZE] = "";
      OsifAnchor anchor{};
      EXPECT_EQ(POL_AddObject(kMailStore, message.get(), id, &anchor), kOk);
      std::strcpy(answered_->message_ids[anchor.cc - 1], id);
      change->counter = anchor.cc;
    }
    EXPECT_EQ(POL_CL_Close(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  };
  const auto check = [this] {
    EXPECT_EQ(Open(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
    std::map<int32_t, std::string> told;
    const OsifAnchor anchor = MakeAnchor(0);
    ChangeLogEntry entry{};
    OsifResult result = POL_CL_GetFirstEntry(kMailStore, &anchor, &entry);
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(kMailStore, &entry)) {
      told[entry.changeCounter] = entry.objectId;
    }
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    if (answered_->added.counter != 0) {
      EXPECT_EQ(told[1], answered_->message_ids[0]);
    }
    if (answered_->modified.counter != 0) {
      EXPECT_EQ(told[2], answered_->message_ids[1]);
    }
  };
  KillEverywhere(work, check, 1);
}

// ---- Another store of the same folder ---------------------------------------------------------------

TEST_P(ChangeLogKill, LosesNoEntryOfAPurgedLogWhenAnotherStoreIsOpenedFirst) {
  prepared_.Use();
  PutBytes(Path("pol_msg-in_change.log"), EntryLines(1, 300));
  PutBytes(Path("pol_msg-in_databaseid.log"), "abcd1234\n");
  std::string contact_log;
  for (int i = 1; i <= 300; ++i) contact_log += EntryLine('H', i, "0000ff00") + "\n";
  PutBytes(Path("pol_pb_change.log"), contact_log);

  const auto work = [] {
    EXPECT_EQ(Open(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
    EXPECT_EQ(POL_CL_Close(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  };
  const auto check = [] {
    EXPECT_EQ(Open(kContactStore), kOk);
    EXPECT_EQ(POL_CL_Close(kContactStore), kOk) << "purges a log of its own";
    EXPECT_EQ(support::LinesOf(Path("pol_pb_change.log")).size(), 250u);
    EXPECT_EQ(Open(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
    EXPECT_EQ(DatabaseId(kMailStore), "abcd1234");
    const OsifAnchor anchor = MakeAnchor(100);
    ChangeLogEntry entry{};
    int counter = 101;
    OsifResult result = POL_CL_GetFirstEntry(kMailStore, &anchor, &entry);
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(kMailStore, &entry)) {
      EXPECT_EQ(entry.changeCounter, counter++);
    }
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    EXPECT_EQ(counter, 301);
  };
  KillEverywhere(work, check, 2);
}

}  // namespace
}  // namespace change_log_kill_test
