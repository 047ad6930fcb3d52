// A device whose contacts are synchronised: its people, who change them in every way that is open to them, and
// what its partner remembers of it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_session.h"
#include "platform/device/device.h"
#include "tests/BtOsif_pol/sync_cards.h"
#include "tests/BtOsif_pol/sync_report.h"
#include "tests/BtOsif_pol/sync_truth.h"
#include "tests/fault/kill_at_call.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/settings.h"
#include "tests/support/temp_device.h"

namespace sync_test {

// Objects as the partner is told of them: the whole card, nothing when it is gone.
using Changes = std::map<std::string, std::optional<Card>>;

// How often things have happened.
struct SyncCounts {
  int told = 0;
  int gaps = 0;
  int new_databases = 0;
  int overwritten = 0;
  int deaths = 0;

  SyncCounts& operator+=(const SyncCounts& other) {
    told += other.told;
    gaps += other.gaps;
    new_databases += other.new_databases;
    overwritten += other.overwritten;
    deaths += other.deaths;
    return *this;
  }
};

// The place at which a process is killed, if it comes so far.
struct Death {
  fault::KillPlace place = fault::KillPlace::kBeforeTheCall;
  int nth = 0;
  bool is_at_close = false;  // places are counted from there
  int after_changes = 0;     // so many are recorded before the log is closed
};

class SyncDevice {
 public:
  using Tell = std::function<void(const Report&)>;

  SyncDevice(std::mt19937& random, CardDrawer& drawer) : random_(random), drawer_(drawer) {
    device_.Use();
    support::SetSystemCodePage(1252);
  }
  SyncDevice(const SyncDevice&) = delete;
  SyncDevice& operator=(const SyncDevice&) = delete;

  // ---- A session: the device is the process's own while its log is open -------------------------------

  void BeginSession(const Tell& tell) {
    device_.Use();
    std::filesystem::create_directory(device_.Path("Sync"));
    ASSERT_EQ(POL_Open(), OsifResult{OSIF_OK});
    tell({.kind = ReportKind::kOpening});
    ASSERT_EQ(POL_CL_Open(OSIF_STORE_PB, support::Wide(device_.Path("Sync")).c_str()),
              OsifResult{OSIF_OK});
    is_log_open_ = true;
  }
  void EndSession(const Tell& tell) {
    tell({.kind = ReportKind::kClosing});
    ASSERT_EQ(POL_CL_Close(OSIF_STORE_PB), OsifResult{OSIF_OK});
    is_log_open_ = false;
    tell({.kind = ReportKind::kClosed});
    POL_Close();
    device::CloseDatabase();
  }

  Cards Store() {
    device_.Use();
    return OtherCardProgram().Store();
  }

  // ---- People -----------------------------------------------------------------------------------------

  // A few changes: of these objects as well as of any others.
  void LetPeopleWork(unsigned most, const Ids& preferred, const Tell& tell) {
    device_.Use();
    const bool had_session = pol_Application() != nullptr;
    if (!had_session) POL_Open();
    for (auto left = random_() % (most + 1); left > 0; --left) ChangeAnything(preferred, tell);
    if (!had_session) POL_Close();
  }
  void LetPeopleWork(unsigned most) {
    LetPeopleWork(most, {}, Here());
    device::CloseDatabase();
  }

  // Half of the contacts are deleted.
  void LetPeopleTidyUp() {
    const Cards cards = Store();
    POL_Open();
    for (const auto& [id, card] : cards) {
      if (random_() % 2 == 0) Delete(id, random_() % 2 == 0 ? kBehind : kThroughLibrary, Here());
    }
    POL_Close();
    device::CloseDatabase();
  }

  // Changes through the library in a session of their own, each with an anchor.
  void LetPeopleRecord(int changes) {
    BeginSession(Here());
    Record(changes, Here());
    EndSession(Here());
  }

  // The same in a session that is open.
  void Record(int changes, const Tell& tell) {
    if (Store().empty()) Add(kThroughLibrary, tell);
    Cards cards = Store();
    auto contact = cards.begin();
    for (; changes > 0; --changes) {
      Change(contact->first, contact->second, kRecorded, tell);
      if (++contact == cards.end()) contact = cards.begin();
    }
  }

  // A program works in a session of its own and is killed there, or not.
  void LetAProgramDie(Journal& journal, const Death& death) {
    const Tell tell = [&](const Report& report) { journal.Write(report); };
    const auto work = [&] {
      BeginSession(tell);
      LetPeopleWork(3, {}, tell);
      if (death.after_changes > 0) Record(death.after_changes, tell);
    };
    RunInChild(
        journal, work, [&] { EndSession(tell); }, death,
        [&](bool) {
          for (size_t i = 0; i < journal.size(); ++i) truth.Hear(journal[i]);
        });
  }

  // Does the work and ends it in a process that is killed at that place, then hears what it has reported.
  void RunInChild(Journal& journal, const std::function<void()>& work,
                  const std::function<void()>& end, const Death& death,
                  const std::function<void(bool is_killed)>& hear) {
    const auto nothing = [] {};
    const auto all = [&] {
      work();
      end();
    };
    const Cards before = Store();
    device::CloseDatabase();
    journal.Clear();
    const bool is_killed = death.is_at_close
                               ? fault::RunAndKill(work, end, death.place, death.nth)
                               : fault::RunAndKill(nothing, all, death.place, death.nth);
    EXPECT_FALSE(journal.has_failed());
    hear(is_killed);
    // The child has drawn what would be drawn next.
    random_.seed(static_cast<uint32_t>(random_()));
    const Cards after = Store();
    device::CloseDatabase();
    drawer_.Avoid(after);
    if (!is_killed) return;
    ++counts.deaths;
    Suspect(before, after);
  }

  // ---- What befalls logs ------------------------------------------------------------------------------

  void LoseFolder() {
    std::filesystem::remove_all(device_.Path("Sync"));
    // Without a snapshot everything is new.
    for (const auto& [id, card] : Store()) truth.Hear({.kind = ReportKind::kAttempt, .id = id});
    device::CloseDatabase();
    NeedNewId();
  }
  void LoseLog() { Lose("pol_pb_change.log"); }
  void LoseDatabaseId() { Lose("pol_pb_databaseid.log"); }

  // A copy of the log is made now, and put back later.
  void CopyLog() {
    if (!truth.is_left_open() && support::FileExists(Log())) copied_log_ = support::BytesOf(Log());
  }
  void PutLogBack() {
    if (truth.is_left_open() || copied_log_.empty() || !support::FileExists(Log())) return;
    if (copied_log_ == support::BytesOf(Log())) return;
    support::PutBytes(Log(), copied_log_);
    for (const std::string& line : support::LinesOf(Log())) {
      truth.NameAgain(line.substr(line.rfind(':') + 1));
    }
    NeedNewId();
  }

  // The counters have come near their end.
  void WearOutLog() {
    if (truth.is_left_open() || !support::FileExists(Log())) return;
    support::PutBytes(Log(), support::EntryLine('H', 2146600000, "0000ff00") + "\n");
    NeedNewId();
  }

  // ---- The partner ------------------------------------------------------------------------------------

  // What people changed since the last time, as the log tells it, or by comparing everything when it says
  // that the log is not enough. Each of these answers must have its cause, and nothing may be left out.
  Changes ChangesByPeople(Report& scanned) {
    scanned = {.kind = ReportKind::kScanned, .database_id = DatabaseId()};
    const bool is_same_database = scanned.database_id == database_id_;
    std::optional<Changes> changes;
    if (is_same_database) {
      EXPECT_FALSE(truth.NeedsNewId()) << "the anchor does not hold any more";
      changes = ChangesFromLog();
    } else {
      EXPECT_TRUE(truth.MayHaveNewId()) << "a new database id without a cause";
      ++counts.new_databases;
    }
    if (!changes) changes = ChangesByComparing();
    OsifAnchor anchor{};
    EXPECT_EQ(POL_CL_GetCurrentAnchor(OSIF_STORE_PB, &anchor), OsifResult{OSIF_OK});
    scanned.counter = anchor.cc;
    return *changes;
  }

  // The partner's own changes: the id, or nothing when people were quicker and the contact is gone.
  std::optional<std::string> Add(const Card& card, int object, const Tell& tell) {
    tell({.kind = ReportKind::kOwn});
    OsifAnchor anchor{};
    const support::LibraryCall added = AddCard(card, &anchor);
    return Sent({.kind = ReportKind::kSent, .id = added.id, .card = card, .object = object},
                added.result, anchor, tell);
  }
  void Modify(const std::string& id, const Card& card, int object, const Tell& tell) {
    // What the partner deletes is gone on both sides; what it changes may hide a change that it has to know of.
    const bool is_overwritten = OtherCardProgram().Find(id) != agreed.at(id);
    tell({.kind = ReportKind::kOwn, .id = id});
    if (is_overwritten) tell({.kind = ReportKind::kOverwrite, .id = id});
    OsifAnchor anchor{};
    // Either way the object becomes that card, as far as the partner knows.
    const CardFields changed = FieldsThatDiffer(agreed.at(id), card);
    const OsifResult result =
        ModifyCard(id, card, random_() % 2 == 0 ? kAllFields : changed, &anchor);
    Sent({.kind = ReportKind::kSent, .id = id, .card = card, .object = object}, result, anchor,
         tell);
  }
  void Delete(const std::string& id, int object, const Tell& tell) {
    tell({.kind = ReportKind::kOwn, .id = id});
    OsifAnchor anchor{};
    const OsifResult result = support::DeleteContact(id, &anchor);
    Sent({.kind = ReportKind::kSent, .id = id, .object = object}, result, anchor, tell);
  }

  // What the partner gets to know.
  void Hear(const Report& report) {
    truth.Hear(report);
    if (report.kind == ReportKind::kOverwrite) ++counts.overwritten;
    if (!IsForPartner(report.kind)) return;
    if (report.kind == ReportKind::kScanned) database_id_ = report.database_id;
    if (report.kind != ReportKind::kTold) anchor_ = support::MakeAnchor(report.counter);
    if (report.kind == ReportKind::kScanned) return;
    if (report.card) {
      agreed[report.id] = *report.card;
    } else {
      agreed.erase(report.id);
    }
  }

  // True while what people record comes after whatever the partner does.
  bool may_record = true;

  Cards agreed;  // what the partner takes the device to hold
  SyncTruth truth;
  SyncCounts counts;

 private:
  enum Way { kBehind, kThroughLibrary, kRecorded };

  Tell Here() {
    return [this](const Report& report) { truth.Hear(report); };
  }

  // ---- People -----------------------------------------------------------------------------------------

  void ChangeAnything(const Ids& preferred, const Tell& tell) {
    const Cards cards = OtherCardProgram().Store();
    // What is recorded after the partner's last change is the only thing that comes after its anchor.
    const auto way = static_cast<Way>(random_() % (is_log_open_ && may_record ? 3 : 2));
    const auto any = random_() % 4;  // 0 adds, 2 deletes, the rest changes
    const auto kind = cards.size() < 3 ? 0 : cards.size() > 25 ? 2 : any;
    if (kind == 0) return Add(way, tell);
    auto contact = std::next(cards.begin(), static_cast<int>(random_() % cards.size()));
    if (!preferred.empty() && random_() % 2 == 0) {
      const auto id = std::next(preferred.begin(), static_cast<int>(random_() % preferred.size()));
      if (cards.contains(*id)) contact = cards.find(*id);
    }
    kind == 2 ? Delete(contact->first, way, tell)
              : Change(contact->first, contact->second, way, tell);
  }

  void Add(Way way, const Tell& tell) {
    tell({.kind = ReportKind::kAttempt, .is_anchored = way == kRecorded});
    const Card card = drawer_.New();
    OsifAnchor anchor{};
    const std::string id = way == kBehind ? OtherCardProgram().Add(card)
                                          : AddCard(card, way == kRecorded ? &anchor : nullptr).id;
    tell({.kind = ReportKind::kTouched, .id = id, .is_anchored = way == kRecorded});
    TellIfRecorded(way, tell);
  }
  void Change(const std::string& id, const Card& old, Way way, const Tell& tell) {
    tell({.kind = ReportKind::kAttempt, .id = id, .is_anchored = way == kRecorded});
    const CardFields fields = drawer_.AnyFields();
    const Card card = drawer_.Change(old, fields);
    OsifAnchor anchor{};
    if (way == kBehind) {
      OtherCardProgram().Change(id, card);
    } else {
      EXPECT_EQ(ModifyCard(id, card, fields, way == kRecorded ? &anchor : nullptr),
                OsifResult{OSIF_OK});
    }
    TellIfRecorded(way, tell);
  }
  void Delete(const std::string& id, Way way, const Tell& tell) {
    tell({.kind = ReportKind::kAttempt, .id = id, .is_anchored = way == kRecorded});
    OsifAnchor anchor{};
    if (way == kBehind) {
      OtherCardProgram().Delete(id);
    } else {
      EXPECT_EQ(support::DeleteContact(id, way == kRecorded ? &anchor : nullptr),
                OsifResult{OSIF_OK});
    }
    TellIfRecorded(way, tell);
  }
  static void TellIfRecorded(Way way, const Tell& tell) {
    if (way == kRecorded) tell({.kind = ReportKind::kRecorded});
  }

  void Suspect(const Cards& before, const Cards& after) {
    for (const auto& [id, card] : after) {
      const auto known = before.find(id);
      if (known == before.end() || known->second != card) truth.Suspect(id);
    }
    for (const auto& [id, card] : before) {
      if (!after.contains(id)) truth.Suspect(id);
    }
  }

  // ---- Logs -------------------------------------------------------------------------------------------

  std::string Log() const { return device_.Path("Sync/pol_pb_change.log"); }

  // What a process has left is not tampered with: it may be about to be put in order.
  void Lose(const std::string& name) {
    if (truth.is_left_open()) return;
    std::filesystem::remove(device_.Path("Sync/" + name));
    NeedNewId();
  }
  void NeedNewId() {
    copied_log_.clear();
    truth.NeedNewId();
  }

  // ---- The partner ------------------------------------------------------------------------------------

  std::string DatabaseId() {
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), OsifResult{OSIF_OK});
    return id;
  }

  // Nothing when the log has a gap.
  std::optional<Changes> ChangesFromLog() {
    const Cards store = OtherCardProgram().Store();
    Changes changes;
    ChangeLogEntry entry{};
    OsifResult result = POL_CL_GetFirstEntry(OSIF_STORE_PB, &anchor_, &entry);
    if (result == OSIF_ERR_CL_GAP) {
      EXPECT_TRUE(truth.MayHaveGap()) << "a gap without a cause";
      ++counts.gaps;
      return std::nullopt;
    }
    EXPECT_FALSE(truth.NeedsGap()) << "entries were dropped in silence";
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(OSIF_STORE_PB, &entry)) {
      const std::string id = entry.objectId;
      const auto stored = store.find(id);
      EXPECT_TRUE(truth.MayBeTold(id)) << "a change is told that people did not make: " << id;
      EXPECT_EQ(changes.count(id), 0u) << "an object is told twice: " << id;
      EXPECT_EQ(entry.kind == 'M', stored != store.end()) << "the kind of the change of " << id;
      changes[id] = stored == store.end() ? std::nullopt : std::optional(stored->second);
      ++counts.told;
    }
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    for (const auto& [id, card] : Differences(store)) {
      EXPECT_EQ(changes.count(id), 1u) << "a change is not told: " << id;
    }
    for (const std::string& id : truth.must_be_told()) {
      EXPECT_EQ(changes.count(id), 1u) << "a change was overwritten in silence: " << id;
    }
    return changes;
  }

  // A full synchronisation.
  Changes ChangesByComparing() { return Differences(OtherCardProgram().Store()); }

  // Where the store is not as the partner takes it to be.
  Changes Differences(const Cards& store) {
    Changes changes;
    for (const auto& [id, card] : store) {
      const auto known = agreed.find(id);
      if (known == agreed.end() || known->second != card) changes[id] = card;
    }
    for (const auto& [id, card] : agreed) {
      if (!store.contains(id)) changes[id] = std::nullopt;
    }
    return changes;
  }

  std::optional<std::string> Sent(Report report, OsifResult result, const OsifAnchor& anchor,
                                  const Tell& tell) {
    if (result == OSIF_ERR_NOT_FOUND) return std::nullopt;
    EXPECT_EQ(result, OsifResult{OSIF_OK});
    EXPECT_GT(anchor.cc, anchor_.cc) << "a counter is given out once more";
    tell({.kind = ReportKind::kRecorded, .id = report.id});
    report.counter = anchor.cc;
    tell(report);
    return report.id;
  }

  std::mt19937& random_;
  CardDrawer& drawer_;
  TempDevice device_;
  bool is_log_open_ = false;
  std::string copied_log_;
  std::string database_id_;
  OsifAnchor anchor_{};
};

}  // namespace sync_test
