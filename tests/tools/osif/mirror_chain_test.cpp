// The whole way: a device, its folder, a program that synchronises folders with a server, a server, a second folder and a
// second device; and programs of others that write into a folder. Each test is skipped where one of them is not installed.
//
// OSIF_ROUNDS says how many random rounds, OSIF_SEED which ones.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>

#include "tests/tools/osif/mirror_fixture.h"

namespace command_test::mirror_chain_test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr const char* kSync = "/usr/bin/vdirsyncer";
constexpr const char* kServer = "/usr/bin/radicale";
constexpr const char* kClient = "/usr/bin/curl";
constexpr const char* kBook = "/usr/bin/khard";
constexpr const char* kDiary = "/usr/bin/khal";

bool Has(const char* program) { return access(program, X_OK) == 0; }

int NumberFrom(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::atoi(text);
}

// A port that nobody listens on.
int FreePort() {
  const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  EXPECT_EQ(bind(handle, reinterpret_cast<sockaddr*>(&address), size), 0);
  EXPECT_EQ(getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size), 0);
  close(handle);
  return ntohs(address.sin_port);
}

class MirrorChain : public MirrorFixture {
 protected:
  struct Side {
    std::string device;
    std::string folder;
    std::string settings;  // of the program that synchronises its folder
  };

  explicit MirrorChain(const MirroredStore& store) : MirrorFixture(store), port_(FreePort()) {
    zone_ = "Europe/Berlin";
    for (const std::string name : {"a", "b"}) {
      std::filesystem::create_directories(Path(name + "/all"));
      sides_.push_back({Path(name + "_device"), Path(name + "/all"), SyncSettings(name)});
    }
    if (IsInstalled()) StartServer();
  }
  ~MirrorChain() override {
    if (server_ <= 0) return;
    kill(server_, SIGTERM);
    WaitFor(server_);
  }

  static bool IsInstalled() { return Has(kSync) && Has(kServer) && Has(kClient); }
  bool IsCalendar() const { return store_.ending == kCalendarStore.ending; }

  // ---- The server, and what synchronises folders with it ----

  std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

  std::string SyncSettings(const std::string& name) const {
    return Write(
        name + ".conf",
        "[general]\nstatus_path = \"" + Path(name + "_status/") +
            "\"\n[pair all]\na = \"files\"\nb = \"server\"\n"
            "collections = [[\"all\", \"all\", \"all\"]]\nconflict_resolution = \"b wins\"\n"
            "[storage files]\ntype = \"filesystem\"\npath = \"" +
            Path(name + "/") + "\"\nfileext = \"" + store_.ending +
            "\"\n[storage server]\ntype = \"" + (IsCalendar() ? "caldav" : "carddav") +
            "\"\nurl = \"" + Url() + "\"\nusername = \"tester\"\npassword = \"x\"\n" +
            (IsCalendar() ? "item_types = [\"VEVENT\", \"VTODO\"]\n" : ""));
  }

  void StartServer() {
    const std::string settings = Write(
        "server.conf", "[server]\nhosts = 127.0.0.1:" + std::to_string(port_) +
                           "\n[auth]\ntype = none\n[rights]\ntype = authenticated\n[storage]\n"
                           "filesystem_folder = " +
                           Path("collections") + "\n[web]\ntype = none\n");
    server_ = Start({kServer, "--config", settings}, Path("server"));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Run({kClient, "-s", "-o", "/dev/null", Url()}).status != 0) {
      ASSERT_LT(std::chrono::steady_clock::now(), end) << BytesOf(Path("server.err"));
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const std::string kind =
        IsCalendar() ? "<collection/><C:calendar/>" : "<collection/><C:addressbook/>";
    const std::string space = IsCalendar() ? "caldav" : "carddav";
    const Outcome made =
        Run({kClient, "-s", "-f", "-u", "tester:x", "-X", "MKCOL", "-H", "Content-Type: text/xml",
             Url() + "tester/all/", "--data",
             "<mkcol xmlns=\"DAV:\" xmlns:C=\"urn:ietf:params:xml:ns:" + space +
                 "\"><set><prop><resourcetype>" + kind + "</resourcetype></prop></set></mkcol>"});
    ASSERT_EQ(made.status, 0) << made.err;
    for (const Side& side : sides_) {
      const Outcome found = Run({kSync, "-c", side.settings, "discover"});
      ASSERT_EQ(found.status, 0) << found.out << found.err;
    }
  }

  // The items that the server holds.
  size_t CountOnServer() const {
    size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Path("collections"))) {
      const std::string path = entry.path();
      if (entry.is_regular_file() && path.ends_with(store_.ending) &&
          path.find("/.Radicale") == std::string::npos) {
        ++count;
      }
    }
    return count;
  }

  // ---- Agreeing ----

  Lines MirrorOf(const Side& side) const {
    return {"--device", side.device, "mirror", store_.name,     side.folder,
            "-v",       "--prefer",  "folder", "--force-delete"};
  }
  // False when there was nothing to do.
  bool MirrorSide(const Side& side) {
    const Outcome outcome = Osif(MirrorOf(side));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    told_ += side.device.substr(folder_.size()) + ": " + outcome.out + outcome.err;
    return outcome.out != std::string(store_.name) + ": nothing to do\n";
  }
  // False when the folder is as it was.
  bool SyncSide(const Side& side) {
    const Files before = FilesIn(side.folder);
    const Outcome outcome = Run({kSync, "-c", side.settings, "sync", "--force-delete"});
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    told_ += outcome.out + outcome.err;
    return FilesIn(side.folder) != before;
  }
  // Until nobody has anything to do.
  void Agree() {
    constexpr int kMostTurns = 8;
    told_.clear();
    for (int turn = 0; !HasFailure(); ++turn) {
      ASSERT_LT(turn, kMostTurns) << "the sides do not come to rest\n" << told_;
      bool is_at_rest = true;
      for (const Side& side : sides_) {
        if (MirrorSide(side)) is_at_rest = false;
        if (SyncSide(side)) is_at_rest = false;
      }
      if (is_at_rest) return;
    }
  }

  std::multiset<std::string> Named(const Side& side) const {
    std::multiset<std::string> names;
    for (const auto& [name, text] : FilesIn(side.folder)) {
      if (name.ends_with(store_.ending))
        names.insert(FirstValue(text, IsCalendar() ? "SUMMARY:" : "FN:"));
    }
    return names;
  }
  static std::string FirstValue(const std::string& text, const std::string& begin) {
    for (const std::string& line : Outcome::Split(text)) {
      if (!line.starts_with(begin)) continue;
      const size_t end = line.find('\r');
      return line.substr(begin.size(), end == std::string::npos ? end : end - begin.size());
    }
    return {};
  }

  // Both devices hold the same, and so do both folders and the server, one item for each.
  void ExpectAgreed() {
    Agree();
    const Texts stored = WithoutNames(StoredOn(sides_[0].device));
    EXPECT_EQ(WithoutNames(StoredOn(sides_[1].device)), stored) << told_;
    EXPECT_EQ(Named(sides_[1]), Named(sides_[0]));
    EXPECT_EQ(Named(sides_[0]).size(), stored.size());
    EXPECT_EQ(CountOnServer(), stored.size());
    for (const Side& side : sides_) EXPECT_FALSE(MirrorSide(side)) << told_;
  }
  // A name to be shown is made for files that have none; when a task was done a store says by itself.
  static Texts WithoutNames(const Texts& texts) {
    Texts rest;
    for (const std::string& text : texts) {
      std::string kept;
      for (const std::string& line : Outcome::Split(text)) {
        if (!line.starts_with("FN") && !line.starts_with("COMPLETED:")) kept += line + "\n";
      }
      rest.insert(kept);
    }
    return rest;
  }

  // ---- Changes ----

  std::string FileOf(const Side& side, const std::string& part) const {
    for (const auto& [name, text] : FilesIn(side.folder)) {
      if (name.ends_with(store_.ending) && text.find(part) != std::string::npos)
        return side.folder + "/" + name;
    }
    ADD_FAILURE() << "no file with " << part;
    return Path("none");
  }
  static std::string Unfolded(std::string text) {
    for (size_t fold = 0; (fold = text.find("\r\n ", fold)) != std::string::npos;)
      text.erase(fold, 3);
    return text;
  }
  static void Place(const std::string& path, const std::string& text) {
    support::PutBytes(path + ".tmp", text);
    std::filesystem::rename(path + ".tmp", path);
  }
  void Receive(const Side& side, const std::string& objects) const {
    EXPECT_EQ(On(side.device, {"receive", "--add", Write("received", objects)}).status, 0);
  }
  std::string All(const Side& side) const {
    std::string text;
    for (const std::string& object : StoredOn(side.device)) text += object;
    return text;
  }

  const int port_;
  pid_t server_ = 0;
  std::vector<Side> sides_;
  std::string told_;
};

#define SKIP_WITHOUT_PROGRAMS() \
  if (!IsInstalled()) GTEST_SKIP() << "vdirsyncer, radicale and curl are not all installed"

class MirrorChainOfPeople : public MirrorChain {
 protected:
  MirrorChainOfPeople() : MirrorChain(kContactStore) {}
};

const std::string kPhoto = "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgID/9k=";
const std::string kAnn = FileCard({"UID:ann", "PRODID:-//Example//EN", "FN:Ann Lee", "N:Lee;Ann;;;",
                                   "TEL;TYPE=CELL:0111", "TEL;TYPE=CELL:0222", "NICKNAME:Annie",
                                   "PHOTO;ENCODING=b;TYPE=JPEG:" + kPhoto, "X-COLOUR:red"});

TEST_F(MirrorChainOfPeople, CarriesEveryKindOfChangeToTheOtherEnd) {
  SKIP_WITHOUT_PROGRAMS();
  const Side& a = sides_[0];
  const Side& b = sides_[1];
  Receive(a, Card({"N:Ray;Bob", "TEL;CELL:0777"}) + Card({"N:Müller;Jörg"}) + Card({"N:Fox;Carl"}));
  Place(b.folder + "/ann.vcf", kAnn);
  ExpectAgreed();
  EXPECT_EQ(StoredOn(b.device).size(), 4u);

  {
    SCOPED_TRACE("a store changes");
    SqlOn(b.device,
          "UPDATE pim_contacts SET mobile_telephone_number='0333' WHERE first_name='Ann';"
          "UPDATE pim_contacts SET last_name='Green', file_as='Bob Green' WHERE first_name='Bob'");
    ExpectAgreed();
    EXPECT_THAT(All(a), AllOf(HasSubstr("TEL;CELL:0333"), HasSubstr("N:Green;Bob")));
    const std::string ann = BytesOf(FileOf(a, "UID:ann"));
    EXPECT_THAT(ann,
                AllOf(HasSubstr("NICKNAME:Annie"), HasSubstr("0222"), HasSubstr("X-COLOUR:red")));
    EXPECT_THAT(Unfolded(ann), HasSubstr(kPhoto));
  }
  {
    SCOPED_TRACE("a file changes");
    const std::string path = FileOf(a, "UID:ann");
    Place(path, With(BytesOf(path), "END:VCARD", "NOTE:of a folder\r\nEND:VCARD"));
    ExpectAgreed();
    EXPECT_THAT(All(b), HasSubstr("NOTE:of a folder"));
  }
  {
    SCOPED_TRACE("both ends change different things");
    SqlOn(a.device, "UPDATE pim_contacts SET job_title='Smith' WHERE first_name='Bob'");
    SqlOn(b.device, "UPDATE pim_contacts SET job_title='Baker' WHERE first_name='Carl'");
    ExpectAgreed();
    EXPECT_THAT(All(a), AllOf(HasSubstr("TITLE:Smith"), HasSubstr("TITLE:Baker")));
  }
  {
    SCOPED_TRACE("both ends change the same");
    SqlOn(a.device, "UPDATE pim_contacts SET job_title='Cook' WHERE first_name='Bob'");
    SqlOn(b.device, "UPDATE pim_contacts SET job_title='Pilot' WHERE first_name='Bob'");
    ExpectAgreed();
    EXPECT_THAT(All(a), testing::AnyOf(HasSubstr("TITLE:Cook"), HasSubstr("TITLE:Pilot")));
  }
  {
    SCOPED_TRACE("a deletion, and one against a change");
    SqlOn(a.device,
          "DELETE FROM pim_objects WHERE oid IN (SELECT oid FROM pim_contacts WHERE "
          "first_name IN ('Carl', 'Ann'))");
    SqlOn(b.device, "UPDATE pim_contacts SET job_title='Judge' WHERE first_name='Ann'");
    ExpectAgreed();
    EXPECT_THAT(All(a), AllOf(Not(HasSubstr("Carl")), HasSubstr("TITLE:Judge")));
    EXPECT_THAT(BytesOf(FileOf(a, "UID:ann")), HasSubstr("NICKNAME:Annie"));
  }
  {
    SCOPED_TRACE("all are deleted");
    for (const auto& [name, text] : FilesIn(b.folder))
      std::filesystem::remove(b.folder + "/" + name);
    ExpectAgreed();
    EXPECT_EQ(StoredOn(a.device).size(), 0u);
  }
}

TEST_F(MirrorChainOfPeople, TakesWhatAnAddressBookWrites) {
  SKIP_WITHOUT_PROGRAMS();
  if (!Has(kBook)) GTEST_SKIP() << "khard is not installed";
  const Side& b = sides_[1];
  Receive(sides_[0], Card({"N:Ray;Bob", "TEL;CELL:0777"}));
  ExpectAgreed();
  const std::string settings = Write(
      "khard.conf", "[addressbooks]\n[[people]]\npath = " + b.folder +
                        "\n[general]\ndefault_action = list\neditor = true\nmerge_editor = true\n"
                        "[vcard]\npreferred_version = 3.0\n");
  const Outcome made =
      Run({kBook, "-c", settings, "new", "-a", "people", "-i",
           Write("new.yaml",
                 "First name : Zoë\nLast name : Quist\nPhone :\n    cell : \"0999\"\n"
                 "Email :\n    home : zoe@a.example\n")});
  ASSERT_EQ(made.status, 0) << made.out << made.err;
  ExpectAgreed();
  EXPECT_THAT(All(sides_[0]),
              AllOf(HasSubstr("Quist"), HasSubstr("TEL;CELL:0999"), HasSubstr("zoe@a.example")));
  EXPECT_THAT(Run({kBook, "-c", settings, "phone", "--parsable"}).out,
              AllOf(HasSubstr("0777\tBob Ray"), HasSubstr("0999\tZoë Quist")));
  const Outcome gone = Run({kBook, "-c", settings, "remove", "--force", "Zoë"});
  ASSERT_EQ(gone.status, 0) << gone.out << gone.err;
  ExpectAgreed();
  EXPECT_THAT(All(sides_[0]), Not(HasSubstr("Quist")));
}

class MirrorChainOfDays : public MirrorChain {
 protected:
  MirrorChainOfDays() : MirrorChain(kCalendarStore) {}
};

const std::string kTour = FileCalendar(
    {"BEGIN:VEVENT", "UID:tour", "DTSTAMP:20260101T000000Z",
     "DTSTART;TZID=Europe/Berlin:20260105T090000", "DTEND;TZID=Europe/Berlin:20260105T100000",
     "RRULE:FREQ=WEEKLY;BYDAY=MO", "SUMMARY:Tour", "X-COLOUR:blue", "END:VEVENT", "BEGIN:VEVENT",
     "UID:tour", "RECURRENCE-ID;TZID=Europe/Berlin:20260112T090000", "DTSTAMP:20260101T000000Z",
     "DTSTART;TZID=Europe/Berlin:20260112T110000", "DTEND;TZID=Europe/Berlin:20260112T120000",
     "SUMMARY:Late tour", "END:VEVENT"});

std::string Day(const std::string& summary, const Lines& more = {}) {
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:" + summary +
         "\r\nDTSTART:20260314T101500Z\r\nDTEND:20260314T111500Z\r\n" + Joined(more) +
         "END:VEVENT\r\nEND:VCALENDAR\r\n";
}
const std::string kTax =
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:Tax\r\nDUE:20260120\r\nEND:VTODO\r\n"
    "END:VCALENDAR\r\n";

TEST_F(MirrorChainOfDays, CarriesEveryKindOfChangeToTheOtherEnd) {
  SKIP_WITHOUT_PROGRAMS();
  const Side& a = sides_[0];
  const Side& b = sides_[1];
  Receive(a, Day("Tea") + Day("Choir", {"RRULE:W1 SA #0"}) + kTax);
  Place(b.folder + "/tour.ics", kTour);
  ExpectAgreed();
  EXPECT_EQ(StoredOn(b.device).size(), 4u);

  {
    SCOPED_TRACE("a store changes");
    SqlOn(a.device,
          "UPDATE pim_appointments SET location='Room 4' WHERE subject='Tour';"
          "UPDATE pim_appointments SET start_date=start_date+1, end_date=end_date+1 WHERE "
          "subject='Tea';"
          "UPDATE pim_tasks SET body='by post'");
    ExpectAgreed();
    EXPECT_THAT(All(b), AllOf(HasSubstr("LOCATION:Room 4"), HasSubstr("DTSTART:20260315T101500Z"),
                              HasSubstr("DESCRIPTION:by post")));
    EXPECT_THAT(BytesOf(FileOf(b, "UID:tour")),
                AllOf(HasSubstr("SUMMARY:Late tour"), HasSubstr("X-COLOUR:blue")));
  }
  {
    SCOPED_TRACE("a file changes");
    const std::string path = FileOf(b, "SUMMARY:Choir");
    Place(path, With(BytesOf(path), "SUMMARY:Choir", "SUMMARY:Great choir"));
    ExpectAgreed();
    EXPECT_THAT(All(a), AllOf(HasSubstr("SUMMARY:Great choir"), HasSubstr("RRULE:W1 SA #0")));
  }
  {
    SCOPED_TRACE("a task is done");
    SqlOn(b.device, "UPDATE pim_tasks SET complete=1, date_completed=46030");
    ExpectAgreed();
    EXPECT_THAT(All(a), HasSubstr("STATUS:COMPLETED"));
  }
  {
    SCOPED_TRACE("both ends change different things");
    SqlOn(a.device, "UPDATE pim_appointments SET location='Here' WHERE subject='Tea'");
    SqlOn(b.device, "UPDATE pim_appointments SET location='There' WHERE subject='Tour'");
    ExpectAgreed();
    EXPECT_THAT(All(a), AllOf(HasSubstr("LOCATION:Here"), HasSubstr("LOCATION:There")));
  }
  {
    SCOPED_TRACE("a deletion, and one against a change");
    SqlOn(a.device,
          "DELETE FROM pim_objects WHERE oid IN (SELECT oid FROM pim_appointments WHERE "
          "subject IN ('Tea', 'Tour'))");
    SqlOn(b.device, "UPDATE pim_appointments SET location='Anywhere' WHERE subject='Tour'");
    ExpectAgreed();
    EXPECT_THAT(All(a), AllOf(Not(HasSubstr("SUMMARY:Tea")), HasSubstr("LOCATION:Anywhere")));
    EXPECT_THAT(BytesOf(FileOf(a, "UID:tour")), HasSubstr("SUMMARY:Late tour"));
  }
}

TEST_F(MirrorChainOfDays, TakesWhatACalendarProgramWrites) {
  SKIP_WITHOUT_PROGRAMS();
  if (!Has(kDiary)) GTEST_SKIP() << "khal is not installed";
  const Side& b = sides_[1];
  Receive(sides_[0], Day("Tea"));
  ExpectAgreed();
  const std::string settings =
      Write("khal.conf",
            "[calendars]\n[[days]]\npath = " + b.folder +
                "\ntype = calendar\n[locale]\nlocal_timezone = Europe/Berlin\n"
                "default_timezone = Europe/Berlin\ntimeformat = %H:%M\ndateformat = %Y-%m-%d\n"
                "longdateformat = %Y-%m-%d\ndatetimeformat = %Y-%m-%d %H:%M\n"
                "longdatetimeformat = %Y-%m-%d %H:%M\n[sqlite]\npath = " +
                Path("khal.db") + "\n");
  const Outcome made = Run({kDiary, "-c", settings, "new", "-a", "days", "2026-07-07", "09:00",
                            "10:00", "Dentist", "::", "upstairs"});
  ASSERT_EQ(made.status, 0) << made.out << made.err;
  ExpectAgreed();
  EXPECT_THAT(All(sides_[0]),
              AllOf(HasSubstr("SUMMARY:Dentist"), HasSubstr("DTSTART:20260707T070000Z"),
                    HasSubstr("DESCRIPTION:upstairs")));
  EXPECT_THAT(Run({kDiary, "-c", settings, "list", "--format", "{start-date} {start-time} {title}",
                   "2026-03-01", "2026-03-31"})
                  .out,
              HasSubstr("2026-03-14 11:15 Tea"));
}

// ---- Rounds -----------------------------------------------------------------------------------------------------

// Changes at random at all places of a chain. Each object bears a number for life.
template <typename Chain>
class Rounds : public Chain {
 protected:
  using typename MirrorChain::Side;

  int Below(int number) { return std::uniform_int_distribution<int>(0, number - 1)(random_); }

  std::string NewObject(int number) const {
    const std::string name = "Q" + std::to_string(number) + "q";
    if (!this->IsCalendar()) return Card({"N:" + name + ";"});
    return number % 3 == 0 ? With(kTax, "Tax", name)
                           : Day(name, number % 3 == 1 ? Lines{"RRULE:W1 SA #0"} : Lines{});
  }
  std::string NewFile(int number) const {
    const std::string name = "Q" + std::to_string(number) + "q";
    const std::string uid = "UID:q" + std::to_string(number);
    if (!this->IsCalendar()) {
      return FileCard({uid, "FN:" + name, "N:" + name + ";;;;", "NICKNAME:of " + name,
                       "PHOTO;ENCODING=b;TYPE=JPEG:" + Photo(number), "item1.TEL:555",
                       "item1.X-ABLabel:" + Label(number)});
    }
    std::string text = kTour;
    for (size_t at = 0; (at = text.find("UID:tour", at)) != std::string::npos;)
      text.replace(at, 8, uid);
    text = With(text, "X-COLOUR:blue",
                "EXDATE;TZID=Europe/Berlin:20260119T090000\r\nX-COLOUR:" + Label(number));
    return With(text, "SUMMARY:Tour", "SUMMARY:" + name);
  }
  static std::string Photo(int number) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08d", number);
    return "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgID" + std::string(digits) + "/9k=";
  }
  static std::string Label(int number) { return "Label " + std::to_string(number) + "."; }

  // What no store holds is in both folders.
  void ExpectTreasures() const {
    for (const Side& side : this->sides_) {
      for (const auto& [name, text] : this->FilesIn(side.folder)) {
        const size_t uid = text.find("UID:q");
        if (!name.ends_with(this->store_.ending) || uid == std::string::npos) continue;
        const int number = std::stoi(text.substr(uid + 5));
        const std::string unfolded = this->Unfolded(text);
        EXPECT_THAT(unfolded, HasSubstr(Label(number)));
        if (this->IsCalendar()) {
          EXPECT_THAT(unfolded, AllOf(HasSubstr("SUMMARY:Late tour"), HasSubstr("T110000"),
                                      HasSubstr("EXDATE;TZID=Europe/Berlin:20260119T090000")));
        } else {
          EXPECT_THAT(unfolded, HasSubstr(Photo(number)));
        }
      }
    }
  }

  void ChangeStore(const Side& side, int number) {
    const std::string name = "'Q" + std::to_string(number) + "q'";
    // Of different lengths: the log knows a value by a checksum.
    ++last_value_;
    const std::string value = "'" + std::to_string(last_value_) +
                              std::string(static_cast<size_t>(last_value_ % 50), 'x') + "'";
    const bool deletes = Below(4) == 0;
    std::string statements;
    for (const std::string& table :
         this->IsCalendar() ? Lines{"pim_appointments", "pim_tasks"} : Lines{"pim_contacts"}) {
      const std::string where =
          std::string(" WHERE ") + (this->IsCalendar() ? "subject=" : "last_name=") + name + ";";
      statements += deletes ? "DELETE FROM pim_objects WHERE oid IN (SELECT oid FROM " + table +
                                  where.substr(0, where.size() - 1) + ");"
                            : "UPDATE " + table + " SET body=" + value + where;
    }
    this->SqlOn(side.device, statements);
  }
  void ChangeFile(const Side& side, int number) {
    const std::string path = this->FileOf(side, "Q" + std::to_string(number) + "q");
    if (Below(4) == 0) {
      std::filesystem::remove(path);
      return;
    }
    const std::string line = (Below(2) == 0        ? "X-VALUE:"
                              : this->IsCalendar() ? "LOCATION:"
                                                   : "TITLE:");
    std::string text;
    bool is_done = false;
    for (const std::string& old : Outcome::Split(BytesOf(path))) {
      if (old.starts_with(line)) continue;
      const bool is_place = old.starts_with("END:VCARD") || old.starts_with("SUMMARY:Q");
      if (is_place && !is_done) {
        text += line + std::to_string(++last_value_) + "\r\n";
        is_done = true;
      }
      text += old + "\n";
    }
    this->Place(path, text);
  }

  std::set<int> Present() const {
    std::set<int> numbers;
    for (const std::string& name : this->Named(this->sides_[0])) {
      if (name.starts_with("Q")) numbers.insert(std::stoi(name.substr(1)));
    }
    return numbers;
  }

  void Go(int rounds) {
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
      SCOPED_TRACE("round " + std::to_string(round) + " of seed " + std::to_string(seed_));
      const std::set<int> before = Present();
      std::set<int> touched;
      for (const Side& side : this->sides_) {
        for (const bool in_store : {true, false}) {
          for (const int number : before) {
            // Each is touched at one place at most.
            if (Below(6) != 0 || !touched.insert(number).second) continue;
            in_store ? ChangeStore(side, number) : ChangeFile(side, number);
          }
        }
        this->Receive(side, NewObject(++last_number_));
        ++last_number_;
        this->Place(side.folder + "/q" + std::to_string(last_number_) + this->store_.ending,
                    NewFile(last_number_));
      }
      for (int kills = Below(4); kills > 0; --kills) {
        const std::chrono::microseconds after(Below(kLongestRun));
        const Side& side = this->sides_[static_cast<size_t>(Below(2))];
        (this->IsKilled(this->MirrorOf(side), after) ? killed_ : killed_too_late_)++;
      }
      this->ExpectAgreed();
      ExpectTreasures();
      const std::set<int> after = Present();
      for (const int number : before) {
        EXPECT_TRUE(touched.contains(number) || after.contains(number)) << number;
      }
      for (int number = last_number_ - 3; number <= last_number_; ++number) {
        EXPECT_TRUE(after.contains(number)) << number;
      }
      if (testing::Test::HasFailure()) std::cout << this->told_;
      ++done_;
    }
    std::cout << "seed " << seed_ << ": " << done_ << " rounds, " << last_number_
              << " objects, killed " << killed_ << " times, " << killed_too_late_
              << " times too late\n";
  }

  static constexpr int kLongestRun = 40'000;  // in microseconds
  const int seed_ = NumberFrom("OSIF_SEED", 1);
  std::mt19937 random_{static_cast<unsigned>(seed_)};
  int last_number_ = 0;
  int last_value_ = 5000;
  int done_ = 0;
  int killed_ = 0;
  int killed_too_late_ = 0;
};

using RoundsOfPeople = Rounds<MirrorChainOfPeople>;
using RoundsOfDays = Rounds<MirrorChainOfDays>;

TEST_F(RoundsOfPeople, OfTheChainLeaveAllSidesEqual) {
  SKIP_WITHOUT_PROGRAMS();
  Go(NumberFrom("OSIF_ROUNDS", support::kIsSanitized ? 1 : 2));
}

TEST_F(RoundsOfDays, OfTheChainLeaveAllSidesEqual) {
  SKIP_WITHOUT_PROGRAMS();
  Go(NumberFrom("OSIF_ROUNDS", support::kIsSanitized ? 1 : 2));
}

}  // namespace
}  // namespace command_test::mirror_chain_test
