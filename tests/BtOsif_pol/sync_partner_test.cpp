// A synchronisation partner keeps the contacts of two devices alike over many rounds, while people change
// them on both: through the library, and with another program behind its back. What the partner knows, it
// knows from the change logs.
//
// Everything is drawn from one seed. The last test runs seed after seed, each for some rounds, in which
// programs die, answers are lost, logs are lost or damaged and the system is started anew. It is short unless it
// is told how long to go on:
//
//   OSIF_SYNC_SECONDS=3600 OSIF_SYNC_SEED=1 test_pol --gtest_filter='SyncPartner.*'
//
// A failure names its seed; with that one alone it comes again at once.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <random>

#include "platform/posix/fault_injection.h"
#include "tests/BtOsif_pol/sync_device.h"

namespace sync_partner_test {
namespace {

using sync_test::Card;
using sync_test::CardDrawer;
using sync_test::Changes;
using sync_test::Death;
using sync_test::Ids;
using sync_test::IsForPartner;
using sync_test::Journal;
using sync_test::Report;
using sync_test::ReportKind;
using sync_test::SyncDevice;

// How a session goes.
struct Manner {
  bool is_restless = false;         // people work on meanwhile
  std::optional<Death> death = {};  // of the service, or of nobody when it comes to its end before
  bool is_answer_lost = false;      // the connection breaks before the partner has all answers
};

// The partner: knows which contact of one device is which of the other, and what they ought to be.
class Partner {
 public:
  explicit Partner(uint32_t seed)
      : random_(seed), drawer_(random_), devices_{{random_, drawer_}, {random_, drawer_}} {}
  ~Partner() {
    POL_CL_Close(OSIF_STORE_PB);
    POL_Close();
  }
  Partner(const Partner&) = delete;
  Partner& operator=(const Partner&) = delete;

  // One round: what the second device has changed reaches the first one, too.
  void Synchronise(const Manner& manner = {}) {
    for (const size_t place : {0, 1, 0}) HoldSession(place, manner);
  }

  void HoldSession(size_t place, const Manner& manner) {
    SyncDevice& device = devices_[place];
    const SyncDevice::Tell hear = [&](const Report& report) { Hear(place, report); };
    if (!manner.death && !manner.is_answer_lost) {
      Work(place, manner, hear);
      device.EndSession(hear);
      return;
    }
    const SyncDevice::Tell write = [&](const Report& report) {
      journal_.Write(report);
      hear(report);
    };
    const Death death = manner.death.value_or(Death{.nth = std::numeric_limits<int>::max()});
    const auto work = [&] {
      Work(place, manner, write);
      if (death.after_changes > 0) device.Record(death.after_changes, write);
    };
    device.RunInChild(
        journal_, work, [&] { device.EndSession(write); }, death,
        [&](bool is_killed) {
          HearJournal(place, is_killed ? random_() % 2 == 0 : manner.is_answer_lost);
        });
  }

  void LetPeopleWork(unsigned most) {
    for (SyncDevice& device : devices_) device.LetPeopleWork(most);
  }

  // Both devices hold the same contacts, and these are the ones that they ought to hold.
  void ExpectAlike() {
    size_t count = 0;
    for (const auto& [object, card] : objects_) count += card ? 1 : 0;
    for (size_t place : {0, 1}) {
      ASSERT_EQ(devices_[place].Store(), devices_[place].agreed);
      ASSERT_EQ(devices_[place].agreed.size(), count);
      device::CloseDatabase();
    }
    for (const auto& [object, card] : objects_) {
      if (!card) continue;
      for (size_t place : {0, 1}) {
        ASSERT_TRUE(ids_[place].contains(object)) << "not exchanged: " << (*card)[0];
        ASSERT_EQ(devices_[place].agreed.at(ids_[place].at(object)), *card);
      }
    }
  }

  SyncDevice& a() { return devices_[0]; }
  SyncDevice& b() { return devices_[1]; }
  std::mt19937& random() { return random_; }
  Journal& journal() { return journal_; }
  int conflicts = 0;

 private:
  // ---- At the device, by the service ------------------------------------------------------------------

  void Work(size_t place, const Manner& manner, const SyncDevice::Tell& tell) {
    SyncDevice& device = devices_[place];
    device.may_record = false;
    device.BeginSession(tell);
    if (testing::Test::HasFatalFailure()) return;
    Report scanned;
    for (const auto& [id, card] : device.ChangesByPeople(scanned)) {
      tell({.kind = ReportKind::kTold, .id = id, .card = card});
    }
    tell(scanned);
    Send(place, manner, tell);
    device.may_record = true;
    if (manner.is_restless) device.LetPeopleWork(2, {}, tell);
  }

  // Changes of the contacts that are not yet as they ought to be, while people may change the same ones.
  void Send(size_t place, const Manner& manner, const SyncDevice::Tell& tell) {
    SyncDevice& device = devices_[place];
    for (const int object : Outdated(place)) {
      const std::optional<Card> card = objects_.at(object);
      const auto id = ids_[place].find(object);
      if (manner.is_restless) {
        device.LetPeopleWork(1, id == ids_[place].end() ? Ids() : Ids{id->second}, tell);
      }
      if (id == ids_[place].end()) {
        device.Add(*card, object, tell);
      } else if (card) {
        device.Modify(id->second, *card, object, tell);
      } else {
        device.Delete(id->second, object, tell);
      }
    }
  }

  std::vector<int> Outdated(size_t place) {
    std::vector<int> outdated;
    for (const auto& [object, card] : objects_) {
      if (card != Agreed(place, object)) outdated.push_back(object);
    }
    return outdated;
  }

  // ---- At the partner ---------------------------------------------------------------------------------

  void HearJournal(size_t place, bool is_cut) {
    // What is told counts once all of it is there.
    size_t scanned = 0;
    while (scanned < journal_.size() && journal_[scanned].kind != ReportKind::kScanned) ++scanned;
    size_t heard = scanned < journal_.size() ? journal_.size() : 0;
    if (is_cut && heard > 0) {
      heard = random_() % 2 == 0 ? 0 : scanned + 1 + random_() % (heard - scanned);
    }
    for (size_t i = 0; i < journal_.size(); ++i) {
      const Report report = journal_[i];
      if (i < heard || !IsForPartner(report.kind)) Hear(place, report);
    }
  }

  void Hear(size_t place, const Report& report) {
    if (report.kind == ReportKind::kTold) Learn(place, report.id, report.card);
    if (report.kind == ReportKind::kSent) Link(place, report.object, report.id, report.card);
    devices_[place].Hear(report);
  }

  // Where both sides have changed one contact, the deletion wins, else the first device.
  void Learn(size_t place, const std::string& id, const std::optional<Card>& card) {
    const int object = ObjectOf(place, id, card);
    std::optional<Card>& present = objects_[object];
    const std::optional<Card> known = Agreed(place, object);
    Link(place, object, id, card);
    if (present == card || known == card) return;
    const bool is_conflict = present != known;
    if (is_conflict) ++conflicts;
    if (!is_conflict || !card || (present && place == 0)) present = card;
  }

  // A contact that the partner does not know of may be one that it has sent without getting an answer.
  int ObjectOf(size_t place, const std::string& id, const std::optional<Card>& card) {
    for (const auto& [object, known_id] : ids_[place]) {
      if (known_id == id) return object;
    }
    for (const auto& [object, present] : objects_) {
      if (card && present == card && !ids_[place].contains(object)) return object;
    }
    return ++last_object_;
  }

  void Link(size_t place, int object, const std::string& id, const std::optional<Card>& card) {
    if (card) {
      ids_[place][object] = id;
    } else {
      ids_[place].erase(object);
    }
  }

  std::optional<Card> Agreed(size_t place, int object) {
    const auto id = ids_[place].find(object);
    if (id == ids_[place].end()) return std::nullopt;
    const auto card = devices_[place].agreed.find(id->second);
    return card == devices_[place].agreed.end() ? std::nullopt : std::optional(card->second);
  }

  std::mt19937 random_;
  CardDrawer drawer_;
  SyncDevice devices_[2];
  Journal journal_;
  std::map<int, std::optional<Card>> objects_;  // as they ought to be
  std::map<int, std::string> ids_[2];           // of the objects, on each device
  int last_object_ = 0;
};

TEST(SyncPartner, KeepsTwoDevicesAlikeByWhatTheirLogsTell) {
  Partner partner(1);
  for (int round = 0; round < 25; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    partner.LetPeopleWork(4);
    partner.Synchronise();
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
    ASSERT_FALSE(testing::Test::HasFailure());
  }
  for (SyncDevice* device : {&partner.a(), &partner.b()}) {
    EXPECT_EQ(device->counts.gaps, 0);
    EXPECT_EQ(device->counts.new_databases, 1) << "the first synchronisation only";
    EXPECT_GT(device->counts.told, 25);
  }
  EXPECT_GT(partner.conflicts, 3);
}

TEST(SyncPartner, SendsNothingBackWhenNobodyWorks) {
  Partner partner(2);
  partner.LetPeopleWork(10);
  partner.Synchronise();
  partner.LetPeopleWork(10);
  partner.Synchronise();
  const int told = partner.a().counts.told + partner.b().counts.told;
  for (int round = 0; round < 5; ++round) partner.Synchronise();
  EXPECT_EQ(partner.a().counts.told + partner.b().counts.told, told);
  ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
}

TEST(SyncPartner, LosesNothingThatPeopleDoDuringASession) {
  Partner partner(3);
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    partner.LetPeopleWork(3);
    partner.Synchronise({.is_restless = true});
    ASSERT_FALSE(testing::Test::HasFailure());
    if (round % 5 != 0) continue;
    // People rest: what they did meanwhile takes two rounds to arrive everywhere.
    partner.Synchronise();
    partner.Synchronise();
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
  }
  EXPECT_GT(partner.a().counts.overwritten + partner.b().counts.overwritten, 3);
  EXPECT_EQ(partner.a().counts.gaps + partner.b().counts.gaps, 0);
}

// A log keeps 250 entries, and not one less.
TEST(SyncPartner, SynchronisesFullyAfterAGap) {
  Partner partner(4);
  partner.LetPeopleWork(10);
  partner.Synchronise();
  int gaps = 0;
  for (const int changes : {250, 251, 250, 260}) {
    SCOPED_TRACE(changes);
    partner.a().LetPeopleRecord(changes);
    gaps += changes > 250 ? 1 : 0;
    partner.Synchronise();
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
    ASSERT_EQ(partner.a().counts.gaps, gaps);
    ASSERT_FALSE(testing::Test::HasFailure());
  }
}

TEST(SyncPartner, SynchronisesFullyWhenALogIsNotWhatItWas) {
  using Mishap = void (SyncDevice::*)();
  Partner partner(5);
  partner.LetPeopleWork(10);
  partner.Synchronise();
  for (const Mishap mishap :
       {&SyncDevice::LoseFolder, &SyncDevice::LoseLog, &SyncDevice::LoseDatabaseId,
        &SyncDevice::PutLogBack, &SyncDevice::WearOutLog}) {
    partner.b().CopyLog();
    partner.b().LetPeopleRecord(2);
    partner.Synchronise();
    const int new_databases = partner.b().counts.new_databases;
    (partner.b().*mishap)();
    partner.LetPeopleWork(4);
    partner.Synchronise();
    ASSERT_NO_FATAL_FAILURE(partner.ExpectAlike());
    ASSERT_EQ(partner.b().counts.new_databases, new_databases + 1);
    ASSERT_FALSE(testing::Test::HasFailure());
  }
}

// ---- Everything at once -----------------------------------------------------------------------------

// What happens to one partner and its devices, drawn from one seed.
class Fate {
 public:
  explicit Fate(uint32_t seed) : partner_(seed) {}
  ~Fate() { EndPretendedRestart(); }
  Fate(const Fate&) = delete;
  Fate& operator=(const Fate&) = delete;

  // Some rounds, at the end of which everything has to be exchanged.
  void Run() {
    for (int round = 0; round < 12; ++round) {
      SCOPED_TRACE("round " + std::to_string(round));
      for (SyncDevice* device : {&partner_.a(), &partner_.b()}) Befall(*device);
      if (OneIn(6)) Restart();
      for (const size_t place : {0, 1, 0}) partner_.HoldSession(place, AnyManner());
      ASSERT_FALSE(testing::Test::HasFailure());
      if (round % 4 == 3) Rest();
      ASSERT_FALSE(testing::Test::HasFailure());
    }
  }

  Partner& partner() { return partner_; }

 private:
  bool OneIn(unsigned count) { return partner_.random()() % count == 0; }

  Death AnyDeath() {
    Death death;
    const bool in_a_write = OneIn(3);
    if (in_a_write) death.place = fault::KillPlace::kInTheMiddleOfALogWrite;
    death.is_at_close = OneIn(3);
    // Of some, the log's close cuts off what no snapshot knows of.
    if (death.is_at_close && OneIn(2)) death.after_changes = 260;
    const unsigned most = (in_a_write ? 10u : 60u) / (death.is_at_close ? 2 : 1);
    death.nth = static_cast<int>(1 + partner_.random()() % most);
    return death;
  }

  Manner AnyManner() {
    Manner manner;
    manner.is_restless = OneIn(2);
    if (OneIn(4)) {
      manner.death = AnyDeath();
    } else {
      manner.is_answer_lost = OneIn(6);
    }
    return manner;
  }

  void Befall(SyncDevice& device) {
    device.LetPeopleWork(4);
    if (OneIn(8)) device.LetPeopleRecord(static_cast<int>(240 + partner_.random()() % 20));
    if (OneIn(2)) device.LetAProgramDie(partner_.journal(), AnyDeath());
    if (OneIn(4)) device.CopyLog();
    if (OneIn(30)) device.LoseFolder();
    if (OneIn(30)) device.LoseLog();
    if (OneIn(30)) device.LoseDatabaseId();
    if (OneIn(15)) device.PutLogBack();
    if (OneIn(30)) device.WearOutLog();
    if (OneIn(2)) device.LetPeopleWork(4);
    // After a death the log alone may know of what goes.
    if (OneIn(4)) device.LetPeopleTidyUp();
  }

  void Restart() {
    is_restarted_ = !is_restarted_;
    is_restarted_ ? PretendRestart() : EndPretendedRestart();
    for (SyncDevice* device : {&partner_.a(), &partner_.b()}) device->truth.Restart();
  }

  void Rest() {
    partner_.Synchronise();
    partner_.Synchronise();
    ASSERT_NO_FATAL_FAILURE(partner_.ExpectAlike());
  }

  Partner partner_;
  bool is_restarted_ = false;
};

constexpr uint32_t kUsualSeeds = 2;

// A number from the environment.
int64_t Setting(const char* name, int64_t usual) {
  const char* text = std::getenv(name);
  return text == nullptr ? usual : std::strtoll(text, nullptr, 10);
}

void Print(uint32_t seeds, const sync_test::SyncCounts& sum, int conflicts) {
  std::printf(
      "%u seeds: %d told, %d deaths, %d conflicts, %d overwritten, %d gaps, %d new databases\n",
      seeds, sum.told, sum.deaths, conflicts, sum.overwritten, sum.gaps, sum.new_databases);
  std::fflush(stdout);
}

TEST(SyncPartner, LosesNothingInSilenceWhateverHappens) {
  if (!fault::CanTrace()) GTEST_SKIP() << "processes cannot be traced, as under an emulator";
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(Setting("OSIF_SYNC_SECONDS", 0));
  const auto first = static_cast<uint32_t>(Setting("OSIF_SYNC_SEED", 1));
  const uint32_t least_seeds = std::getenv("OSIF_SYNC_SEED") != nullptr ? 1 : kUsualSeeds;
  sync_test::SyncCounts sum;
  int conflicts = 0;
  uint32_t seed = first;
  for (; seed - first < least_seeds || Clock::now() < end; ++seed) {
    SCOPED_TRACE("OSIF_SYNC_SEED=" + std::to_string(seed));
    Fate fate(seed);
    fate.Run();
    ASSERT_FALSE(testing::Test::HasFailure());
    conflicts += fate.partner().conflicts;
    for (SyncDevice* device : {&fate.partner().a(), &fate.partner().b()}) sum += device->counts;
    if ((seed - first) % 50 == 49) Print(seed - first + 1, sum, conflicts);
  }
  Print(seed - first, sum, conflicts);
  if (seed - first < kUsualSeeds) return;
  EXPECT_GT(sum.told, 30);
  EXPECT_GT(sum.deaths, 10);
  EXPECT_GT(conflicts, 5);
  EXPECT_GT(sum.overwritten, 0);
  EXPECT_GT(sum.gaps, 0);
  EXPECT_GT(sum.new_databases, 4) << "each device has one at first";
}

}  // namespace
}  // namespace sync_partner_test
