// Eight programs at once on one device: five receive, change and delete contacts of their own, one receives events, one
// exports, lists and counts, and one reads the change log as a partner does. Whatever was answered with success is there
// at the end, and the partner was told of it. OSIF_SECONDS makes it longer (4 without).
#include <map>
#include <random>
#include <set>

#include "tests/tools/osif/command_fixture.h"

namespace several_programs_test {

using command_test::CommandTest;
using command_test::Json;
using command_test::Lines;
using command_test::Outcome;

int Seconds() {
  const char* seconds = std::getenv("OSIF_SECONDS");
  return seconds == nullptr ? 4 : std::atoi(seconds);
}

std::string Card(const std::string& name, int number) {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\nN:" + name + "\r\nTITLE:" + std::to_string(number) +
         "\r\nEND:VCARD\r\n";
}

std::string Event(int number) {
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:Event " +
         std::to_string(number) +
         "\r\nDTSTART:20050314T101500Z\r\nDTEND:20050314T111500Z\r\nEND:VEVENT\r\nEND:"
         "VCALENDAR\r\n";
}

// What one program has been answered: each contact of its own with its number.
struct Contact {
  std::string id;
  int number = 0;
};
using Contacts = std::map<std::string, Contact>;  // by their names

// The contacts of an exported file: name and number. A card that is not whole has none of both.
std::map<std::string, int> ContactsIn(const std::string& bytes) {
  std::map<std::string, int> contacts;
  std::string name;
  for (std::string line : Outcome::Split(bytes)) {
    if (line.ends_with('\r')) line.pop_back();
    if (line == "BEGIN:VCARD") name.clear();
    if (line.starts_with("N:")) name = line.substr(2, line.find(";;") - 2);
    if (line.starts_with("TITLE:")) contacts[name] = std::stoi(line.substr(6));
  }
  return contacts;
}

class SeveralPrograms : public CommandTest {
 protected:
  // One program after the other, each with names of its own for its files.
  class Program {
   public:
    Program(const SeveralPrograms& test, std::string name) : test_(test), name_(std::move(name)) {}

    // An object that another program deletes while it is listed is told, and the status is that of a failure.
    Outcome Look(const Lines& arguments) { return Run(arguments, "The object was not found"); }

    Outcome Run(Lines arguments, const std::string& tolerated = {}) {
      const std::string stem = test_.Path(name_ + std::to_string(++count_));
      arguments.insert(arguments.begin(), {support::kCommand, "--json"});
      Outcome outcome;
      outcome.status = WaitFor(test_.Start(Launched(arguments), stem));
      outcome.out = support::BytesOf(stem + ".out");
      outcome.err = support::BytesOf(stem + ".err");
      const bool is_tolerated =
          !tolerated.empty() && outcome.err.find(tolerated) != std::string::npos;
      EXPECT_TRUE(outcome.status == 0 || is_tolerated)
          << name_ << ": " << outcome.out << outcome.err;
      for (const char* end : {".out", ".err"}) std::filesystem::remove(stem + end);
      return outcome;
    }

    // The id of the one object of the bytes, which is received.
    std::string Receive(const std::string& bytes) {
      const std::vector<Json> lines =
          Run({"receive", test_.Write(name_ + ".in", bytes)}).JsonLines();
      return lines.size() == 1 ? lines[0].value("id", "") : "";
    }

   private:
    const SeveralPrograms& test_;
    std::string name_;
    int count_ = 0;
  };

  bool IsTime() const { return std::chrono::steady_clock::now() < end_; }

  // Adds, changes and deletes contacts; leaves those that are there, and the ids of those that are not.
  void KeepContacts(int number, Contacts& contacts, std::set<std::string>& deleted) const {
    Program program(*this, "contacts" + std::to_string(number));
    std::mt19937 random(static_cast<unsigned>(number));
    for (int step = 1; IsTime(); ++step) {
      const unsigned what = random() % 4;
      if (contacts.empty() || what < 2) {
        const std::string name = "Of" + std::to_string(number) + ";Card" + std::to_string(step);
        contacts[name] = {program.Receive(Card(name, step)), step};
        continue;
      }
      auto chosen = contacts.begin();
      std::advance(chosen, random() % contacts.size());
      if (what == 2) {
        EXPECT_EQ(program.Receive(Card(chosen->first, step)), chosen->second.id);
        chosen->second.number = step;
      } else {
        program.Run({"delete", "pb", chosen->second.id});
        deleted.insert(chosen->second.id);
        contacts.erase(chosen);
      }
    }
  }

  void ReceiveEvents(std::set<std::string>& ids) const {
    Program program(*this, "events");
    for (int number = 1; IsTime(); ++number) ids.insert(program.Receive(Event(number)));
  }

  // Every card that is exported meanwhile is a whole one.
  void Export() const {
    Program program(*this, "export");
    while (IsTime()) {
      program.Look({"export", "pb", "-o", Path("all.vcf")});
      for (const auto& [name, number] : ContactsIn(support::BytesOf(Path("all.vcf")))) {
        EXPECT_TRUE(name.starts_with("Of")) << name << " " << number;
      }
      program.Look({"list", "pb"});
      program.Run({"count", "pb"});
    }
  }

  // A partner: what it knows of a store by what it was told.
  class Partner {
   public:
    Partner(const SeveralPrograms& test, std::string store)
        : program_(test, "partner-" + store), store_(std::move(store)) {}

    void Synchronise() {
      const uint64_t now = CurrentCounter();
      const std::vector<Json> lines =
          program_.Run({"changes", store_, "--since", std::to_string(seen_)}).JsonLines();
      if (!lines.empty() && lines[0].contains("gap")) return BeginAnew(now);
      for (const Json& line : lines) {
        Take(line);
        seen_ = std::max(seen_, line.value("cc", uint64_t{0}));
      }
    }

    const std::set<std::string>& known() const { return known_; }

   private:
    uint64_t CurrentCounter() {
      const std::vector<Json> lines = program_.Run({"anchor", store_}).JsonLines();
      return lines.empty() ? 0 : lines[0].value("cc", uint64_t{0});
    }

    // The counter of before the look at the store: what comes after it is told again.
    void BeginAnew(uint64_t counter) {
      known_.clear();
      for (const Json& line : program_.Look({"list", store_}).JsonLines()) {
        if (line.contains("id")) known_.insert(line.value("id", ""));
      }
      seen_ = counter;
    }

    void Take(const Json& line) {
      const std::string id = line.value("id", "");
      if (line.value("kind", "") == "M") {
        known_.insert(id);
      } else {
        known_.erase(id);
      }
    }

    Program program_;
    std::string store_;
    std::set<std::string> known_;
    uint64_t seen_ = 0;
  };

  const std::chrono::steady_clock::time_point end_ =
      std::chrono::steady_clock::now() + std::chrono::seconds(Seconds());
};

TEST_F(SeveralPrograms, LoseNothingThatWasAnsweredWithSuccessAndTellAPartnerAllOfIt) {
  constexpr int kKeepers = 5;
  std::vector<Contacts> contacts(kKeepers);
  std::vector<std::set<std::string>> deleted(kKeepers);
  std::set<std::string> events;
  Partner partner(*this, "pb");
  {
    std::vector<std::jthread> programs;
    for (size_t i = 0; i < kKeepers; ++i) {
      programs.emplace_back([&, i] { KeepContacts(static_cast<int>(i), contacts[i], deleted[i]); });
    }
    programs.emplace_back([&] { ReceiveEvents(events); });
    programs.emplace_back([&] { Export(); });
    programs.emplace_back([&] {
      while (IsTime()) partner.Synchronise();
    });
  }
  partner.Synchronise();
  Partner late(*this, "cal");
  late.Synchronise();

  std::map<std::string, int> expected;
  std::set<std::string> ids;
  for (const Contacts& of_one : contacts) {
    for (const auto& [name, contact] : of_one) {
      expected[name] = contact.number;
      ids.insert(contact.id);
    }
  }
  ASSERT_EQ(Osif({"export", "pb", "-o", Path("all.vcf")}).status, 0);
  EXPECT_EQ(ContactsIn(support::BytesOf(Path("all.vcf"))), expected);
  EXPECT_EQ(partner.known(), ids);
  EXPECT_EQ(late.known(), events);
  for (const std::set<std::string>& of_one : deleted) {
    for (const std::string& id : of_one) EXPECT_FALSE(ids.contains(id)) << id;
  }
  EXPECT_GT(ids.size() + events.size(), 8u);
}

}  // namespace several_programs_test
