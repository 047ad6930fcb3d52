// osif sync on one device, with a partner: what it did is looked at with the other commands.
#pragma once

#include <sqlite3.h>

#include <initializer_list>
#include <set>

#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test {

inline std::string Ann(const Lines& more = {}) {
  Lines lines = {"N:Lee;Ann"};
  lines.insert(lines.end(), more.begin(), more.end());
  return Card(lines);
}
inline const std::string kBob = Card({"N:Ray;Bob"});
inline const std::string kCarl = Card({"N:Fox;Carl"});
inline const std::string kTea =
    Event({"SUMMARY:Tea", "DTSTART:20050314T101500Z", "DTEND:20050314T111500Z"});
inline const std::string kSweep =
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:Sweep\r\nEND:VTODO\r\nEND:"
    "VCALENDAR\r\n";

// Contacts with the names given.
inline std::string Family(int first, int last) {
  std::string cards;
  for (int i = first; i <= last; ++i) cards += Card({"N:Family" + std::to_string(i) + ";"});
  return cards;
}

inline Json Numbers(int received, int sent, int deleted_here, int deleted_there, int paired = 0) {
  return {received, sent, deleted_here, deleted_there, paired};
}

inline Json NumbersOf(const Json& report) {
  Json numbers = Json::array();
  for (const char* name : {"received", "sent", "deleted_here", "deleted_there", "paired"}) {
    numbers.push_back(report.value(name, Json()));
  }
  return numbers;
}

// `here_` is the device on which the command runs; its partner is what a test has.
class SyncCommand : public OsifdTest {
 protected:
  Outcome On(const std::string& device, Lines arguments) const {
    arguments.insert(arguments.begin(), {"--device", device});
    return Osif(arguments);
  }
  Outcome Here(const Lines& arguments) const { return On(here_, arguments); }

  // Each object is added, also what is there already.
  void Add(const std::string& device, const std::string& objects) const {
    ASSERT_EQ(On(device, {"receive", "--add", Write("added.vcf", objects)}).status, 0);
  }
  // What is known by its name gets these properties, too.
  void Change(const std::string& device, const std::string& objects) const {
    const Outcome outcome = On(device, {"receive", Write("changed.vcf", objects)});
    ASSERT_THAT(outcome.out, testing::HasSubstr(": 0 added, "));
  }
  void Delete(const std::string& device, const std::string& name) const {
    ASSERT_EQ(On(device, {"delete", "pb", IdOf(device, name)}).status, 0);
  }
  std::string IdOf(const std::string& device, const std::string& name) const {
    for (const Json& line : On(device, {"--json", "list", "pb"}).JsonLines()) {
      if (line["name"] == name) return line["id"];
    }
    ADD_FAILURE() << "no " << name;
    return {};
  }

  // The names of what a device holds, sorted.
  std::multiset<std::string> Names(const std::string& device,
                                   const std::string& store = "pb") const {
    std::multiset<std::string> names;
    for (const Json& line : On(device, {"--json", "list", store}).JsonLines()) {
      names.insert(line["name"]);
    }
    return names;
  }
  using Texts = std::multiset<std::string>;
  // The texts of what a device holds, but for the ids.
  Texts TextsOf(const std::string& device, const std::string& store = "pb") const {
    Texts texts;
    std::string text;
    for (const std::string& line : On(device, {"export", store, "-o", "-"}).OutLines()) {
      if (!line.starts_with("X-IRMC-LUID:")) text += line + "\n";
      const bool is_end = line == (store == "pb" ? "END:VCARD\r" : "END:VCALENDAR\r");
      if (is_end) texts.insert(std::exchange(text, {}));
    }
    return texts;
  }
  std::string Text(const std::string& device, const std::string& name) const {
    return On(device, {"send", "pb", IdOf(device, name), "--as", "vcard30"}).out;
  }
  // Changes a device's database, past every log.
  void Sql(const std::string& device, const std::string& statement) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((device + "/device.db").c_str(), &database), SQLITE_OK);
    sqlite3_busy_timeout(database, 10'000);
    EXPECT_EQ(sqlite3_exec(database, statement.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    EXPECT_GT(sqlite3_changes(database), 0) << statement;
    sqlite3_close(database);
  }
  std::string Anchor(const std::string& device, const std::string& store = "pb") const {
    return On(device, {"anchor", store}).out;
  }

  virtual Outcome Sync(const Lines& options) = 0;

  // What the command says of the contacts.
  Json Synced(Lines options = {}, int status = 0) {
    options.insert(options.begin(), {"pb", "--json"});
    const Outcome outcome = Sync(options);
    EXPECT_EQ(outcome.status, status) << outcome.out << outcome.err;
    const std::vector<Json> lines = outcome.JsonLines();
    EXPECT_EQ(lines.size(), 1u) << outcome.out << outcome.err;
    return lines.size() == 1 && lines[0].is_object() ? lines[0] : Json::object();
  }
  // Synchronises the contacts, without a word of how.
  void Agree(const Lines& options = {}) { EXPECT_EQ(Synced(options)["complete"], true); }

  const std::string here_ = Path("here");
};

}  // namespace osifd_test
