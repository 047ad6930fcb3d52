// A synchronisation partner keeps the contacts of two devices alike over many rounds, while people change
// them on both: through the library, and with another program behind its back. What the partner knows, it
// knows from the change logs.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <set>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_util/charset.h"
#include "platform/device/device.h"
#include "tests/support/change_logs.h"
#include "tests/support/other_program.h"
#include "tests/support/settings.h"
#include "tests/support/temp_device.h"

namespace sync_partner_test {
namespace {

using support::OtherProgram;
using support::PlainAdler;

using Contacts = std::map<std::string, std::string>;  // names by id
using Ids = std::set<std::string>;

// A change of one object as the partner was told of it: its new name, nothing when it is gone.
using Changes = std::map<std::string, std::optional<std::string>>;

// Draws names. No two have the same checksum, since a change that keeps it cannot be seen.
class Names {
 public:
  explicit Names(std::mt19937& random) : random_(random) {}

  std::string Next() {
    for (;;) {
      std::string name = "Name";
      for (int i = 0; i < 8; ++i) name += static_cast<char>('a' + random_() % 26);
      PlainAdler checksum;
      checksum.FeedText(support::Wide(name));
      if (used_.insert(checksum.Value()).second) return name;
    }
  }

 private:
  std::mt19937& random_;
  std::set<uint32_t> used_;
};

// One device, its people, and what the partner remembers of it.
class SyncDevice {
 public:
  SyncDevice(std::mt19937& random, Names& names) : random_(random), names_(names) {
    UseIt();
    support::SetSystemCodePage(1252);
  }

  // ---- A session: the device is the process's own while its log is open ----

  void BeginSession() {
    UseIt();
    std::filesystem::create_directory(device_.Path("Sync"));
    ASSERT_EQ(POL_Open(), OsifResult{OSIF_OK});
    ASSERT_EQ(POL_CL_Open(OSIF_STORE_PB, Folder().c_str()), OsifResult{OSIF_OK});
  }
  void EndSession() {
    ASSERT_EQ(POL_CL_Close(OSIF_STORE_PB), OsifResult{OSIF_OK});
    POL_Close();
    device::CloseDatabase();
  }

  // ---- People ----

  // A few changes by people, whichever way is open to them.
  void LetPeopleWork(unsigned most, bool is_log_open) {
    UseIt();
    const bool had_session = pol_Application() != nullptr;
    if (!had_session) POL_Open();
    for (auto left = random_() % (most + 1); left > 0; --left) ChangeAnything(is_log_open);
    if (!had_session) POL_Close();
  }

  // Changes of contacts through the library, each with an anchor of its own.
  void LetPeopleChangeNames(int times) {
    const Contacts contacts = Store();
    ASSERT_FALSE(contacts.empty());
    auto contact = contacts.begin();
    for (; times > 0; --times) {
      OsifAnchor anchor{};
      EXPECT_EQ(support::ModifyContact(contact->first, names_.Next(), &anchor),
                OsifResult{OSIF_OK});
      touched.insert(contact->first);
      if (++contact == contacts.end()) contact = contacts.begin();
    }
  }

  Contacts Store() {
    UseIt();
    return OtherProgram().Contacts();
  }

  // What people did to since the partner last asked.
  Ids touched;

  // ---- The partner ----

  // What people changed since the last time, as the log tells it, or by comparing everything when it says
  // that the log is not enough.
  Changes ChangesByPeople() {
    const std::string database_id = DatabaseId();
    const bool is_same_database = database_id == database_id_;
    database_id_ = database_id;
    std::optional<Changes> changes;
    if (is_same_database) changes = ChangesFromLog();
    if (!changes) changes = ChangesByComparing();
    OsifAnchor anchor{};
    EXPECT_EQ(POL_CL_GetCurrentAnchor(OSIF_STORE_PB, &anchor), OsifResult{OSIF_OK});
    anchor_ = anchor;
    touched.clear();
    return *changes;
  }

  // The partner's own changes; it remembers their anchors. False when people were quicker and the contact
  // is gone.
  std::string AddFromPartner(const std::string& name) {
    OsifAnchor anchor{};
    const support::LibraryCall added = support::AddContact(name, &anchor);
    EXPECT_EQ(added.result, OsifResult{OSIF_OK});
    own_changes_.insert(anchor.cc);
    agreed[added.id] = name;
    return added.id;
  }
  bool ModifyFromPartner(const std::string& id, const std::string& name) {
    return IsDone(support::ModifyContact(id, name, Own()), id, name);
  }
  bool DeleteFromPartner(const std::string& id) {
    return IsDone(support::DeleteContact(id, Own()), id, std::nullopt);
  }

  void ForgetLogs() { std::filesystem::remove_all(device_.Path("Sync")); }

  Contacts agreed;  // what partner and device agreed on last
  int gaps = 0;
  int new_databases = 0;
  int told_entries = 0;

 private:
  void UseIt() { device_.Use(); }
  WideText Folder() const { return support::Wide(device_.Path("Sync")); }

  void ChangeAnything(bool is_log_open) {
    OtherProgram other;
    const Contacts contacts = other.Contacts();
    const auto way =
        random_() % 3;  // behind the library's back, through it, and through it with an anchor
    OsifAnchor anchor{};
    OsifAnchor* given = way == 2 && is_log_open ? &anchor : nullptr;
    const auto any = static_cast<int>(random_() % 4);  // 0 adds, 2 deletes, the rest changes
    const int kind = contacts.size() < 3 ? 0 : contacts.size() > 25 ? 2 : any;
    if (kind == 0) {
      const std::string name = names_.Next();
      touched.insert(way == 0 ? other.Add(name) : support::AddContact(name, given).id);
      return;
    }
    const std::string id =
        std::next(contacts.begin(), static_cast<int>(random_() % contacts.size()))->first;
    touched.insert(id);
    const std::string name = names_.Next();
    if (way == 0) {
      kind == 2 ? other.Delete(id) : other.Change(id, name);
      return;
    }
    const OsifResult result =
        kind == 2 ? support::DeleteContact(id, given) : support::ModifyContact(id, name, given);
    EXPECT_EQ(result, OsifResult{OSIF_OK});
  }

  std::string DatabaseId() {
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), OsifResult{OSIF_OK});
    return id;
  }

  // Nothing when the log has a gap.
  std::optional<Changes> ChangesFromLog() {
    Changes changes;
    ChangeLogEntry entry{};
    const Contacts store = OtherProgram().Contacts();
    OsifResult result = POL_CL_GetFirstEntry(OSIF_STORE_PB, &anchor_, &entry);
    if (result == OSIF_ERR_CL_GAP) {
      ++gaps;
      return std::nullopt;
    }
    for (; result == OSIF_OK; result = POL_CL_GetNextEntry(OSIF_STORE_PB, &entry)) {
      if (own_changes_.count(static_cast<uint32_t>(entry.changeCounter)) > 0) continue;
      const std::string id = entry.objectId;
      EXPECT_EQ(touched.count(id), 1u) << "a change is told that people did not make: " << id;
      EXPECT_EQ(changes.count(id), 0u) << "an object is told twice: " << id;
      EXPECT_EQ(entry.kind == 'M', store.count(id) == 1) << "the kind of the change of " << id;
      changes[id] = entry.kind == 'M' ? std::optional(store.at(id)) : std::nullopt;
      ++told_entries;
    }
    EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
    return changes;
  }

  // A full synchronisation: everything is read and compared with what was agreed on.
  Changes ChangesByComparing() {
    ++new_databases;
    Changes changes;
    const Contacts store = OtherProgram().Contacts();
    for (const auto& [id, name] : store) {
      const auto known = agreed.find(id);
      if (known == agreed.end() || known->second != name) changes[id] = name;
    }
    for (const auto& [id, name] : agreed) {
      if (store.count(id) == 0) changes[id] = std::nullopt;
    }
    own_changes_.clear();
    return changes;
  }

  OsifAnchor* Own() {
    own_anchor_ = {};
    return &own_anchor_;
  }
  bool IsDone(OsifResult result, const std::string& id, const std::optional<std::string>& name) {
    if (result == OSIF_ERR_NOT_FOUND) return false;
    EXPECT_EQ(result, OsifResult{OSIF_OK});
    own_changes_.insert(own_anchor_.cc);
    if (name) {
      agreed[id] = *name;
    } else {
      agreed.erase(id);
    }
    return true;
  }

  std::mt19937& random_;
  Names& names_;
  TempDevice device_;
  std::string database_id_;
  OsifAnchor anchor_{};
  OsifAnchor own_anchor_{};
  std::set<uint32_t> own_changes_;
};

// The partner: knows which contact of one device is which of the other.
class Partner {
 public:
  explicit Partner(uint32_t seed)
      : random_(seed), names_(random_), a_(random_, names_), b_(random_, names_) {}
  ~Partner() {
    POL_CL_Close(OSIF_STORE_PB);
    POL_Close();
  }
  Partner(const Partner&) = delete;
  Partner& operator=(const Partner&) = delete;

  // One round; `restless` lets people work on during the session.
  void Synchronise(bool restless) {
    a_.BeginSession();
    Changes of_a = a_.ChangesByPeople();
    Accept(of_a, a_);
    if (restless) a_.LetPeopleWork(2, true);
    a_.EndSession();

    b_.BeginSession();
    Changes of_b = b_.ChangesByPeople();
    Accept(of_b, b_);
    Settle(of_a, of_b);
    Apply(of_a, b_, ids_);
    if (restless) b_.LetPeopleWork(2, true);
    b_.EndSession();

    a_.BeginSession();
    std::map<std::string, std::string> ids_from_b = Reversed(ids_);
    Apply(of_b, a_, ids_from_b);
    ids_ = Reversed(ids_from_b);
    a_.EndSession();
  }

  void LetPeopleWork(unsigned most) {
    a_.LetPeopleWork(most, false);
    b_.LetPeopleWork(most, false);
  }

  // More changes on one device than its log keeps.
  void LetPeopleWorkHard(SyncDevice& device) {
    device.LetPeopleWork(10, false);
    device.BeginSession();
    device.LetPeopleChangeNames(260);
    device.EndSession();
  }

  // Both devices hold the same contacts, and the partner knows which is which.
  void ExpectAlike() {
    const Contacts a = a_.Store();
    const Contacts b = b_.Store();
    Contacts a_by_ids_of_b;
    for (const auto& [id, name] : a) {
      const auto other_id = ids_.find(id);
      ASSERT_NE(other_id, ids_.end()) << "not exchanged: " << name;
      a_by_ids_of_b[other_id->second] = name;
    }
    ASSERT_EQ(a_by_ids_of_b, b);
  }

  SyncDevice& a() { return a_; }
  SyncDevice& b() { return b_; }
  std::mt19937& random() { return random_; }

 private:
  using IdMap = std::map<std::string, std::string>;

  static IdMap Reversed(const IdMap& map) {
    IdMap reversed;
    for (const auto& [from, to] : map) reversed[to] = from;
    return reversed;
  }

  // The partner now knows what the device told.
  static void Accept(const Changes& changes, SyncDevice& device) {
    for (const auto& [id, name] : changes) {
      if (name) {
        device.agreed[id] = *name;
      } else {
        device.agreed.erase(id);
      }
    }
  }

  // Where both changed one contact, the deletion wins, else the first device.
  void Settle(Changes& of_a, Changes& of_b) {
    for (const auto& [id_a, id_b] : ids_) {
      const auto a = of_a.find(id_a);
      const auto b = of_b.find(id_b);
      if (a == of_a.end() || b == of_b.end()) continue;
      if (!a->second && !b->second) {
        of_a.erase(a);
        of_b.erase(b);
      } else if (!b->second) {
        of_a.erase(a);
      } else {
        of_b.erase(b);
      }
    }
  }

  static void Apply(const Changes& changes, SyncDevice& device, IdMap& ids) {
    for (const auto& [id, name] : changes) {
      const auto known = ids.find(id);
      if (known == ids.end()) {
        if (name) ids[id] = device.AddFromPartner(*name);
      } else if (name) {
        device.ModifyFromPartner(known->second, *name);
      } else {
        device.DeleteFromPartner(known->second);
      }
    }
  }

  std::mt19937 random_;
  Names names_;
  SyncDevice a_;
  SyncDevice b_;
  IdMap ids_;  // of the first device to those of the second
};

int Rounds(int usual, int many) { return std::getenv("OSIF_LONG_TESTS") != nullptr ? many : usual; }

TEST(SyncPartner, KeepsTwoDevicesAlikeByWhatTheirLogsTell) {
  Partner partner(1);
  for (int round = 0; round < Rounds(150, 3000); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    partner.LetPeopleWork(4);
    partner.Synchronise(false);
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
    ASSERT_FALSE(testing::Test::HasFailure());
  }
  EXPECT_EQ(partner.a().gaps + partner.b().gaps, 0);
  EXPECT_EQ(partner.a().new_databases, 1) << "the first synchronisation only";
  EXPECT_EQ(partner.b().new_databases, 1);
  EXPECT_GT(partner.a().told_entries, 150);
  EXPECT_GT(partner.b().told_entries, 150);
}

TEST(SyncPartner, SendsNothingBackWhenNobodyWorks) {
  Partner partner(2);
  partner.LetPeopleWork(10);
  partner.Synchronise(false);
  partner.LetPeopleWork(10);
  partner.Synchronise(false);
  const int told = partner.a().told_entries + partner.b().told_entries;
  for (int round = 0; round < 5; ++round) partner.Synchronise(false);
  EXPECT_EQ(partner.a().told_entries + partner.b().told_entries, told);
  ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
}

TEST(SyncPartner, LosesNothingThatPeopleDoDuringASession) {
  Partner partner(3);
  for (int round = 0; round < Rounds(60, 2000); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    partner.LetPeopleWork(2);
    partner.Synchronise(true);
    ASSERT_FALSE(testing::Test::HasFailure());
    if (round % 5 != 0) continue;
    // People rest: what they did meanwhile takes two rounds to arrive everywhere.
    partner.Synchronise(false);
    partner.Synchronise(false);
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
  }
}

TEST(SyncPartner, SynchronisesFullyAfterAGap) {
  Partner partner(4);
  const int rounds = Rounds(4, 40);
  for (int round = 0; round < rounds; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    partner.LetPeopleWork(4);
    partner.Synchronise(false);
    const int gaps = partner.a().gaps;
    partner.LetPeopleWorkHard(partner.a());
    partner.Synchronise(false);
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
    ASSERT_EQ(partner.a().gaps, gaps + 1);
    ASSERT_FALSE(testing::Test::HasFailure());
  }
}

TEST(SyncPartner, SynchronisesFullyWhenADeviceHasLostItsLogs) {
  Partner partner(5);
  for (int round = 0; round < Rounds(10, 200); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    partner.LetPeopleWork(4);
    partner.Synchronise(false);
    const int new_databases = partner.b().new_databases;
    partner.b().ForgetLogs();
    partner.LetPeopleWork(4);
    partner.Synchronise(false);
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
    ASSERT_EQ(partner.b().new_databases, new_databases + 1);
    ASSERT_FALSE(testing::Test::HasFailure());
  }
}

}  // namespace
}  // namespace sync_partner_test
