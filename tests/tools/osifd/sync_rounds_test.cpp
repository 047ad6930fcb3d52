// Two devices that are changed at random, round after round, and synchronised: after each round both hold the same, namely
// what a model says, and nothing is left to do. In some rounds the command or the service is killed in the middle. The model
// is made of what the devices hold before and after the changes of a round, so it knows nothing of how they were made.
//
// OSIF_ROUNDS says how many rounds, OSIF_SEED which ones. A round that fails is told with its seed.
#include <fcntl.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <random>

#include "tests/support/sql_on_device.h"
#include "tests/tools/osifd/sync_fixture.h"

namespace osifd_test::sync_rounds_test {
namespace {

using Texts = std::multiset<std::string>;
// The objects of a store by their ids; texts without them, and without what is empty.
using Objects = std::map<std::string, std::string>;

int NumberFrom(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::atoi(text);
}

Texts TextsIn(const Objects& objects) {
  Texts texts;
  for (const auto& [id, text] : objects) texts.insert(text);
  return texts;
}

// Of each text as often as it stands in the one of the two that has it more often.
Texts Union(const Texts& one, const Texts& other) {
  Texts both;
  std::ranges::set_union(one, other, std::inserter(both, both.end()));
  return both;
}

// ---- What must come of a round --------------------------------------------------------------------------------------

// The two sides of a store, when they were equal and after they were changed.
struct Round {
  Objects here_before, there_before;
  Objects here, there;
  bool prefers_here = false;
  bool has_other_log = false;  // one side's log was lost: nothing is known of before

  Texts Expected() const {
    if (has_other_log) return Union(TextsIn(here), TextsIn(there));
    Texts expected = Union(New(here_before, here), New(there_before, there));
    const Texts before = TextsIn(here_before);
    for (auto text = before.begin(); text != before.end(); text = before.upper_bound(*text)) {
      const Texts kept = Kept(*text, before.count(*text));
      expected.insert(kept.begin(), kept.end());
    }
    return expected;
  }

 private:
  static Texts New(const Objects& before, const Objects& after) {
    Texts texts;
    for (const auto& [id, text] : after) {
      if (!before.contains(id)) texts.insert(text);
    }
    return texts;
  }

  // What has become of the objects of one side that had this text.
  static Texts Fate(const Objects& before, const Objects& after, const std::string& text) {
    Texts texts;
    for (const auto& [id, old_text] : before) {
      if (old_text == text && after.contains(id)) texts.insert(after.at(id));
    }
    return texts;
  }

  // Which of several equal objects belongs to which there nobody can say, so they were changed on one side alone.
  Texts Kept(const std::string& text, size_t count) const {
    Texts unchanged;
    for (size_t i = 0; i < count; ++i) unchanged.insert(text);
    const Texts fate_here = Fate(here_before, here, text);
    const Texts fate_there = Fate(there_before, there, text);
    if (fate_here == unchanged) return fate_there;
    if (fate_there == unchanged) return fate_here;
    EXPECT_EQ(count, 1u) << text;
    if (fate_here.empty()) return fate_there;  // a change wins against a deletion
    if (fate_there.empty()) return fate_here;
    return prefers_here ? fate_here : fate_there;
  }
};

// ---- The stores -----------------------------------------------------------------------------------------------------

struct StoreRow {
  const char* name;
  const char* extension;
  const char* end;
  const char* table;
  const char* text_column;  // that is changed past the log
  const char* name_column;
};

constexpr std::array<StoreRow, 2> kStores = {
    {{"pb", ".vcf", "END:VCARD\r", "pim_contacts", "job_title", "last_name"},
     {"cal", ".vcs", "END:VCALENDAR\r", "pim_appointments", "location", "subject"}}};

class SyncRounds : public SyncCommand {
 protected:
  SyncRounds() : seed_(NumberFrom("OSIF_SEED", 1)), random_(static_cast<unsigned>(seed_)) {
    StartService();
  }

  Outcome Sync(const Lines& options) override { return Here(SyncLine(options)); }
  Lines SyncLine(const Lines& options) const {
    Lines arguments = {"sync", "127.0.0.1:" + std::to_string(port_)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
  }

  int Below(int number) { return std::uniform_int_distribution<int>(0, number - 1)(random_); }
  bool OneIn(int number) { return Below(number) == 0; }

  Objects ObjectsOf(const std::string& device, const StoreRow& store) const {
    const std::string kId = "X-IRMC-LUID:";
    Objects objects;
    std::string text;
    std::string id;
    for (const std::string& line : On(device, {"export", store.name, "-o", "-"}).OutLines()) {
      if (line.starts_with(kId)) {
        id = line.substr(kId.size(), line.size() - kId.size() - 1);
      } else if (!line.ends_with(":\r") && !line.starts_with("VERSION:")) {
        text += line.substr(0, line.size() - 1) + " ";
      }
      if (line == store.end) objects[id] = std::exchange(text, {});
    }
    return objects;
  }

  // ---- Changes ----

  std::string NewObject(const StoreRow& store) { return Object(store, ++last_name_, Below(3)); }
  // The same number and version are the same object, byte by byte.
  std::string Object(const StoreRow& store, int number, int version) const {
    const std::string name = "F" + std::to_string(number);
    const std::string value = std::to_string(version);
    if (store.name == kStores[0].name) {
      Lines lines = {"N:" + name + ";Ann"};
      if (version % 2 == 0) lines.push_back("TEL;CELL:" + value);
      if (version % 3 != 0) lines.push_back("NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0A" + value);
      return Card(lines);
    }
    if (number % 3 == 0) {
      return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:" + name + "\r\nDUE:200503" +
             std::to_string(10 + version % 20) +
             "T000000\r\nPRIORITY:1\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
    }
    Lines lines = {"SUMMARY:" + name, "DTSTART:20050314T101500Z",
                   "DTEND:20050314T1" + std::to_string(1 + version % 8) + "1500Z"};
    if (version % 2 == 0) lines.push_back("LOCATION:" + value);
    if (version % 5 == 0) lines.push_back("DALARM:20050314T100000Z");
    if (version % 7 == 0) lines.push_back("RRULE:W1 MO #0");
    return Event(lines);
  }

  // Objects that may be changed on this side, by their ids: of equal ones not those that were changed on the other.
  Lines Free(const Objects& objects, const Objects& before, const Texts& barred) const {
    Lines ids;
    for (const auto& [id, text] : objects) {
      const auto old_text = before.find(id);
      if (old_text != before.end() && !barred.contains(old_text->second)) ids.push_back(id);
    }
    return ids;
  }

  // A value that differs from all others, and in its sum, too: what is changed past the log is known by a checksum, which is
  // the same for "134" and "215".
  std::string NewValue(const std::string& begin) {
    constexpr int kLengths = 300;
    ++last_version_;
    return begin + std::to_string(last_version_) +
           std::string(static_cast<size_t>(1 + last_version_ % kLengths), 'x');
  }

  // Past the log.
  void SqlOn(const std::string& device, const std::string& statements) const {
    support::RunSqlOn(device, statements);
  }

  static std::string Oid(const std::string& id) {
    return std::to_string(std::stoul(id, nullptr, 16));
  }

  // A few changes on one side; what of the objects before may not be touched is barred.
  void ChangeAtRandom(const std::string& device, const StoreRow& store, const Objects& before,
                      const Texts& barred) {
    std::string added;
    for (int i = Below(4); i > 0; --i) added += NewObject(store);
    if (OneIn(3)) added += Object(store, 1 + Below(last_name_ + 1), Below(3));
    if (OneIn(4) && !added.empty()) added += added;
    if (!added.empty()) {
      const Outcome outcome =
          On(device, {"receive", "--add", Write(std::string("added") + store.extension, added)});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
    }

    Lines free = Free(before, before, barred);
    std::ranges::shuffle(free, random_);
    const auto take = [&](int most) {
      const size_t count = std::min<size_t>(free.size(), static_cast<size_t>(Below(most + 1)));
      Lines taken(free.end() - static_cast<long>(count), free.end());
      free.resize(free.size() - count);
      return taken;
    };
    constexpr size_t kMany = 40;  // they would only become more
    Lines deleted = take(before.size() > kMany ? 6 : 2);
    if (!deleted.empty()) {
      deleted.insert(deleted.begin(), {"delete", store.name});
      EXPECT_EQ(On(device, deleted).status, 0);
    }
    std::string statements;
    const std::string table = store.table;
    for (const std::string& id : take(1)) {
      statements += "DELETE FROM pim_objects WHERE oid=" + Oid(id) + ";";
    }
    for (const std::string& id : take(3)) {
      const std::string value = OneIn(3) ? "NULL" : OneIn(4) ? "'same'" : "'" + NewValue("v") + "'";
      statements += "UPDATE " + table + " SET " + store.text_column + "=" + value +
                    " WHERE oid=" + Oid(id) + ";";
    }
    for (const std::string& id : take(1)) {
      statements += "UPDATE " + table + " SET " + store.name_column + "='" + NewValue("R") +
                    "' WHERE oid=" + Oid(id) + ";";
    }
    if (!statements.empty()) SqlOn(device, statements);
  }

  // What is known by its name is changed, in the log. Which of several of that name the store says, so there may be no equal
  // ones among them.
  void UpdateAtRandom(const std::string& device, const StoreRow& store, const Texts& before) {
    std::string changed;
    for (int i = Below(3); i > 0; --i) {
      const int number = 1 + Below(last_name_ + 1);
      const auto is_double = [&](const std::string& text) {
        return IsOf(text, number) && before.count(text) > 1;
      };
      if (std::ranges::none_of(before, is_double)) {
        changed += Object(store, number, ++last_version_);
      }
    }
    if (changed.empty()) return;
    const Lines receive = {"receive", Write(std::string("changed") + store.extension, changed)};
    EXPECT_EQ(On(device, receive).status, 0);
  }

  static bool IsOf(const std::string& text, int number) {
    const std::string name = ":F" + std::to_string(number);
    return text.find(name + ";") != std::string::npos || text.find(name + " ") != std::string::npos;
  }

  // ---- Killing ----

  std::vector<pid_t> Sessions() const {
    std::vector<pid_t> children;
    const std::string id = std::to_string(service_);
    std::ifstream file("/proc/" + id + "/task/" + id + "/children");
    for (pid_t child = 0; file >> child;) children.push_back(child);
    return children;
  }
  // The service has to be there until it is killed.
  void AwaitNoSessions() {
    int status = 0;
    if (waitpid(service_, &status, WNOHANG) != 0) {
      service_ = 0;
      FAIL() << "the service has ended with status " << status << "\n" << Log();
    }
    Await([&] { return Sessions().empty(); }, "the end of all sessions");
  }

  void KillService() {
    const std::vector<pid_t> sessions = Sessions();
    kill(service_, SIGKILL);
    WaitFor(std::exchange(service_, 0));
    for (const pid_t session : sessions) kill(session, SIGKILL);
  }

  // Starts the command, and kills it or the service after a while, which may be too late.
  void SyncAndKill(const Lines& options) {
    Lines command_line = Launched({support::kCommand, "--device", here_});
    for (const std::string& word : SyncLine(options)) command_line.push_back(word);
    const bool kills_service = OneIn(2);
    const pid_t child = Start(command_line, Path("killed"));
    std::this_thread::sleep_for(
        std::chrono::microseconds(Below(static_cast<int>(usual_.count()) + 1)));
    if (kills_service) KillService();
    if (!kills_service) kill(child, SIGKILL);
    const int status = WaitFor(child);
    told_ += (kills_service ? "service killed:\n" : "killed:\n") +
             support::BytesOf(Path("killed.out")) + support::BytesOf(Path("killed.err"));
    (status == 0 ? killed_too_late_ : kills_service ? killed_there_ : killed_here_)++;
    if (kills_service) StartService();
    AwaitNoSessions();
  }

  // ---- A round ----

  void ExpectRound(const StoreRow& store, const Round& round) const {
    const Texts expected = round.Expected();
    const Objects here = ObjectsOf(here_, store);
    const Objects there = ObjectsOf(there_, store);
    EXPECT_EQ(Without(TextsIn(here), expected), Texts()) << "too many here";
    EXPECT_EQ(Without(TextsIn(there), expected), Texts()) << "too many there";
    EXPECT_EQ(Without(expected, TextsIn(here)), Texts()) << "missing here";
    EXPECT_EQ(Without(expected, TextsIn(there)), Texts()) << "missing there";
    if (HasFailure()) {
      std::cout << Changes("here", round.here_before, round.here, here)
                << Changes("there", round.there_before, round.there, there);
    }
  }

  static Texts Without(const Texts& texts, const Texts& others) {
    Texts rest;
    std::ranges::set_difference(texts, others, std::inserter(rest, rest.end()));
    return rest;
  }

  // What became of each object in a round: before, after its owner's changes, and after the synchronisation.
  static std::string Changes(const std::string& side, Objects before, Objects changed,
                             Objects now) {
    std::string text = side + ":\n";
    std::set<std::string> ids;
    for (const Objects* objects : {&before, &changed, &now}) {
      for (const auto& [id, ignored] : *objects) ids.insert(id);
    }
    for (const std::string& id : ids) {
      if (before[id] == changed[id] && changed[id] == now[id]) continue;
      text += id + "\n  " + before[id] + "\n  " + changed[id] + "\n  " + now[id] + "\n";
    }
    return text;
  }

  // The bytes of both logs.
  Lines Logs() const {
    Lines logs;
    for (const std::string& device : {here_, there_}) {
      for (const StoreRow& store : kStores) {
        const std::string folder = device + "/Sync/" + store.name + "/pol_" + store.name;
        logs.push_back(support::BytesOf(folder + "_change.log") +
                       support::BytesOf(folder + "_counter.log"));
      }
    }
    return logs;
  }

  // Changes of one store on both sides.
  Round ChangeStore(const StoreRow& store) {
    Round round;
    round.here_before = ObjectsOf(here_, store);
    round.there_before = ObjectsOf(there_, store);
    // Of equal objects each is left to one side.
    Texts barred[2];
    const Texts before = TextsIn(round.here_before);
    for (auto text = before.begin(); text != before.end(); text = before.upper_bound(*text)) {
      if (before.count(*text) > 1) barred[Below(2)].insert(*text);
    }
    ChangeAtRandom(here_, store, round.here_before, barred[0]);
    ChangeAtRandom(there_, store, round.there_before, barred[1]);
    UpdateAtRandom(here_, store, before);
    UpdateAtRandom(there_, store, before);
    round.here = ObjectsOf(here_, store);
    round.there = ObjectsOf(there_, store);
    return round;
  }

  void Go(int number) {
    std::map<const StoreRow*, Round> rounds;
    const int which = 1 + Below(3);
    for (size_t i = 0; i < kStores.size(); ++i) {
      if ((which & (1 << i)) != 0) rounds[&kStores[i]] = ChangeStore(kStores[i]);
    }
    Lines options = {"--force-delete", "-v", "--prefer", OneIn(2) ? "here" : "there"};
    for (auto& [store, round] : rounds) {
      round.prefers_here = options.back() == "here";
      round.has_other_log = number > 0 && OneIn(25);
      if (round.has_other_log) {
        std::filesystem::remove_all((OneIn(2) ? here_ : there_) + "/Sync/" + store->name);
      }
    }
    if (OneIn(8)) options.insert(options.begin(), "--slow");
    AwaitNoSessions();
    const int kills = number > 0 && OneIn(3) ? 1 + Below(3) : 0;
    told_.clear();
    for (int i = 0; i < kills; ++i) SyncAndKill(options);

    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = Sync(options);
    const auto took = std::chrono::steady_clock::now() - begin;
    // The next one is killed before it would have ended, in most cases.
    usual_ = (usual_ * 3 + std::chrono::duration_cast<std::chrono::microseconds>(took)) / 4;
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    for (const auto& [store, round] : rounds) {
      SCOPED_TRACE(std::string(store->name) + (round.has_other_log ? ", a log was lost" : "") +
                   ", killed " + std::to_string(kills) + " times" + ", prefer " + options.back() +
                   "\n" + told_ + "then:\n" + outcome.out + outcome.err);
      ExpectRound(*store, round);
    }

    AwaitNoSessions();
    const Lines logs = Logs();
    const Outcome again = Sync({});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.out, "pb: nothing to do\ncal: nothing to do\n");
    AwaitNoSessions();
    EXPECT_EQ(Logs(), logs);
  }

  const std::string& there_ = device_;
  const int seed_;
  std::mt19937 random_;
  int last_name_ = 0;
  int last_version_ = 100;
  std::chrono::microseconds usual_{20'000};  // that a synchronisation takes
  std::string told_;                         // by what was killed in this round
  int killed_here_ = 0;
  int killed_there_ = 0;
  int killed_too_late_ = 0;
};

TEST_F(SyncRounds, LeaveBothSidesEqualWithAllThatMustBeThere) {
  const int rounds = NumberFrom("OSIF_ROUNDS", support::kIsSanitized ? 5 : 20);
  for (int i = 0; i < rounds && !HasFailure(); ++i) {
    SCOPED_TRACE("round " + std::to_string(i) + " of seed " + std::to_string(seed_));
    Go(i);
  }
  std::cout << "seed " << seed_ << ": killed " << killed_here_ << " here, " << killed_there_
            << " there, " << killed_too_late_ << " too late\n";
}

}  // namespace
}  // namespace osifd_test::sync_rounds_test
