// Clients that others wrote, as their users run them: over TCP and over a line.
#include <algorithm>
#include <set>

#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::real_clients_test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

const std::string kAnn = Card({"N:Lee;Ann", "TEL;WORK;VOICE:123", "NOTE:likes tea"});
const std::string kBob = Card({"N:Ray;Bob", "TEL;CELL:45"});
const std::string kTea =
    Event({"SUMMARY:Tea", "DTSTART:20050314T101500Z", "DTEND:20050314T111500Z"});
const std::string kTask =
    "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nSUMMARY:Sweep\r\nEND:VTODO\r\nEND:"
    "VCALENDAR\r\n";

enum class Way { kTcp, kLine };

class RealClient : public OsifdTest, public testing::WithParamInterface<Way> {
 protected:
  void SetUp() override {
    for (const char* program : {"obexftp", "obexput", "gammu", "socat"}) {
      const bool is_wanted = programs_.contains(program);
      if (is_wanted && !std::filesystem::exists(std::string("/usr/bin/") + program)) {
        GTEST_SKIP() << program << " is not installed";
      }
    }
    std::filesystem::create_directory(Path("work"));
    StartServiceWith(GetParam() == Way::kTcp ? Lines{"--tcp", "127.0.0.1:0"} : Lines{"--pty"});
    if (GetParam() == Way::kTcp) {
      address_ = "127.0.0.1:" + Said("listening on 127.0.0.1:");
    } else {
      address_ = Said("serving ");
    }
  }

  // Runs a program of this machine in a folder of the test's; texts are in English.
  Outcome Foreign(const std::string& command_line) const {
    return Run(
        {"/bin/sh", "-c", "cd '" + Path("work") + "' && LC_ALL=C exec /usr/bin/" + command_line});
  }
  std::string Got(const std::string& name) const { return support::BytesOf(Path("work/" + name)); }
  void Give(const std::string& name, const std::string& bytes) const {
    Write("work/" + name, bytes);
  }

  // The properties of an object that have a value, in any order; nothing is said of what the last components lack.
  static std::multiset<std::string> Values(const Lines& lines) {
    std::multiset<std::string> values;
    for (std::string line : lines) {
      while (line.ends_with('\r') || line.ends_with(';')) line.pop_back();
      if (!line.ends_with(':')) values.insert(line);
    }
    return values;
  }

  std::set<std::string> programs_;
  std::string address_;
};

// ---- obexftp and obexput --------------------------------------------------------------------------------------------

// obexftp ends with this where all went well, and else with the answer's code.
constexpr int kWell = 255;
constexpr int kUnsupported = 0x4F;  // without the final bit

class ObexFtp : public RealClient {
 protected:
  ObexFtp() { programs_ = {"obexftp", "obexput"}; }

  std::string Where() const { return (GetParam() == Way::kTcp ? "-n " : "-t ") + address_; }
  Outcome Push(const std::string& file) const {
    return Foreign("obexftp " + Where() + " -U none -H -S -p " + file);
  }
  Outcome Sync(const std::string& actions) const {
    return Foreign("obexftp " + Where() + " -U IRMC -S " + actions);
  }
};

TEST_P(ObexFtp, PushesAContact) {
  Give("ann.vcf", kAnn);
  EXPECT_EQ(Push("ann.vcf").status, kWell);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
  EXPECT_THAT(Values(Sent("pb", "00000001")),
              UnorderedElementsAre("BEGIN:VCARD", "VERSION:2.1", "N:Lee;Ann", "TEL;WORK;VOICE:123",
                                   "NOTE:likes tea", "X-IRMC-LUID:00000001", "END:VCARD"));
}

TEST_P(ObexFtp, PushesSeveralObjectsInOneFile) {
  Give("all.vcf", kAnn + kBob + kTea + kTask);
  EXPECT_EQ(Push("all.vcf").status, kWell);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000002  Bob Ray\n");
  EXPECT_EQ(Osif({"list", "cal"}).out,
            "00000003  event  20050314T101500Z  Tea\n00000004  todo  -  Sweep\n");
}

TEST_P(ObexFtp, PushesFilesOfEveryDialect) {
  Give("three.vcf", "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Ann;;;\nFN:Ann Lee\nEND:VCARD\n");
  Give("four.vcf",
       "BEGIN:VCARD\r\nVERSION:4.0\r\nN:M\xC3\xBCller;J\xC3\xB6rg;;;\r\nFN:J\xC3\xB6rg "
       "M\xC3\xBCller\r\nEND:VCARD\r\n");
  Give("new.ics",
       "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:x\r\nBEGIN:VEVENT\r\nUID:1@x\r\nDTSTAMP:"
       "20050314T101500Z\r\n"
       "DTSTART:20050314T101500Z\r\nSUMMARY:Cake\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  Give("list.vnt", "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:Milk\r\nEND:VNOTE\r\n");
  for (const char* file : {"three.vcf", "four.vcf", "new.ics", "list.vnt"}) {
    EXPECT_EQ(Push(file).status, kWell) << file;
  }
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000002  J\xC3\xB6rg M\xC3\xBCller\n");
  EXPECT_EQ(Osif({"list", "cal"}).out, "00000003  event  20050314T101500Z  Cake\n");
  EXPECT_EQ(Osif({"notes", "Milk"}).out, "Milk\n");
}

TEST_P(ObexFtp, PushesALargeFile) {
  std::string cards;
  for (int i = 0; i < 300; ++i) {
    cards += Card({"N:Family" + std::to_string(i) + ";", "NOTE:" + std::string(200, 'x')});
  }
  Give("many.vcf", cards);
  EXPECT_EQ(Push("many.vcf").status, kWell);
  EXPECT_EQ(Count("pb"), "300");
}

TEST_P(ObexFtp, IsToldWhatIsRefused) {
  Give("letter.txt", "Hello");
  EXPECT_EQ(Push("letter.txt").status, kUnsupported);
  AwaitLog("refused, reason no object is in it");
}

TEST_P(ObexFtp, GetsTheWholeTree) {
  Store(kAnn + kBob);
  Store(kTea);
  const Outcome outcome = Sync(
      "-g telecom/devinfo.txt -g telecom/rtc.txt -g telecom/pb.vcf -g telecom/cal.vcs "
      "-g telecom/pb/luid/cc.log -g telecom/pb/luid/0.log -g telecom/pb/1.vcf "
      "-g telecom/pb/luid/00000002.vcf -g telecom/cal/luid/00000003.vcs");
  EXPECT_EQ(outcome.status, kWell) << outcome.out << outcome.err;
  EXPECT_THAT(Got("devinfo.txt"), HasSubstr("\r\nIRMC-VERSION:1.1\r\n"));
  EXPECT_EQ(Got("rtc.txt").size(), std::string("20050314T101500Z\r\n").size());
  EXPECT_EQ(Got("pb.vcf"), Got("1.vcf") + Got("00000002.vcf"));
  EXPECT_EQ(Got("cal.vcs"), Got("00000003.vcs"));
  EXPECT_EQ(Values(Outcome::Split(Got("1.vcf"))), Values(Sent("pb", "00000001")));
  EXPECT_EQ(Values(Outcome::Split(Got("00000002.vcf"))), Values(Sent("pb", "00000002")));
  EXPECT_THAT(Outcome::Split(Got("00000003.vcs")), Contains("SUMMARY:Tea\r"));
  EXPECT_EQ(Got("cc.log"), "2\r\n");
  EXPECT_TRUE(Got("0.log").ends_with("\r\nM:1::00000001\r\nM:2::00000002\r\n")) << Got("0.log");
}

TEST_P(ObexFtp, DeletesByName) {
  Store(kAnn + kBob);
  EXPECT_EQ(Sync("-k telecom/pb/luid/00000001.vcf").status, kWell);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000002  Bob Ray\n");
}

TEST_P(ObexFtp, ComesAgainAndAgain) {
  for (const std::string& card : {kAnn, kBob, kAnn}) {
    Give("card.vcf", card);
    EXPECT_EQ(Push("card.vcf").status, kWell);
    EXPECT_EQ(Sync("-g telecom/pb/luid/cc.log").status, kWell);
  }
  EXPECT_EQ(Count("pb"), "2");
}

TEST_P(ObexFtp, ObexputPushesToo) {
  Give("ann.vcf", kAnn);
  EXPECT_EQ(Foreign("obexput " + Where() + " -U none -H -S ann.vcf").status, kWell);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
}

// ---- gammu ------------------------------------------------------------------------------------------------------------

class Gammu : public RealClient {
 protected:
  Gammu() { programs_ = {"gammu", "socat"}; }

  void SetUp() override {
    RealClient::SetUp();
    if (IsSkipped()) return;
    const std::string other_end =
        GetParam() == Way::kTcp ? "TCP4:" + address_ : address_ + ",raw,echo=0";
    Give("gammurc", "[gammu]\nconnection = proxyobex\ndevice = /usr/bin/socat - " + other_end +
                        "\nmodel = obexirmc\n");
  }

  // It asks whether to set the clock first, which such a device does not let it.
  Outcome Answering(const std::string& words, const std::string& command) const {
    return Foreign("printf '%s\\n' " + words + " | timeout 60 /usr/bin/gammu -c gammurc " +
                   command);
  }

  Outcome Do(const std::string& command) const {
    return Foreign("timeout 60 /usr/bin/gammu -c gammurc " + command);
  }
};

// A line of gammu's output: the field, and its value.
std::string Shown(const std::string& field, const std::string& value) {
  return field + std::string(21 - field.size(), ' ') + ": " + value + "\n";
}

TEST_P(Gammu, IdentifiesTheDevice) {
  const Outcome outcome = Do("identify");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr(Shown("Manufacturer", "OSIF")));
  EXPECT_THAT(outcome.out, HasSubstr("osifd"));
}

TEST_P(Gammu, ReadsAllContacts) {
  Store(kAnn + kBob);
  const Outcome outcome = Do("getallmemory ME");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "Memory ME, Location 1\n" + Shown("Last name", "\"Lee\"") +
                             Shown("First name", "\"Ann\"") + Shown("Work number", "\"123\"") +
                             Shown("Text", "\"likes tea\"") + Shown("LUID", "\"00000001\"") +
                             "\nMemory ME, Location 2\n" + Shown("Last name", "\"Ray\"") +
                             Shown("First name", "\"Bob\"") + Shown("Mobile number", "\"45\"") +
                             Shown("LUID", "\"00000002\"") + "\n");
}

TEST_P(Gammu, ReadsAContactByItsPosition) {
  Store(kAnn + kBob);
  const Outcome outcome = Do("getmemory ME 2");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr(Shown("First name", "\"Bob\"")));
  EXPECT_THAT(outcome.out, HasSubstr(Shown("LUID", "\"00000002\"")));
}

TEST_P(Gammu, ReadsTheCalendar) {
  Store(kTea + kTask);
  const Outcome events = Do("getallcalendar");
  EXPECT_EQ(events.status, 0) << events.err;
  EXPECT_THAT(events.out, HasSubstr(Shown("Text", "\"Tea\"")));
  EXPECT_THAT(events.out, HasSubstr(Shown("Start", "Mon Mar 14 10:15:00 2005")));
  EXPECT_THAT(events.out, HasSubstr(Shown("LUID", "\"00000001\"")));
  const Outcome task = Do("gettodo 1");
  EXPECT_EQ(task.status, 0) << task.err;
  EXPECT_THAT(task.out, HasSubstr(Shown("Text", "\"Sweep\"")));
}

// It goes on to what it cannot do with such a device, and says so in its exit status.
TEST_P(Gammu, AddsAContact) {
  Give("ann.vcf", kAnn);
  EXPECT_THAT(Do("addnew ann.vcf -yes").status, testing::AnyOf(0, 125));
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
  EXPECT_THAT(Sent("pb", "00000001"), Contains("NOTE:likes tea"));
}

TEST_P(Gammu, AddsEventsAndTasks) {
  Give("tea.vcs", kTea);
  Give("task.vcs", kTask);
  EXPECT_EQ(Answering("no yes", "addnew tea.vcs").status, 0);
  EXPECT_EQ(Answering("no yes", "addnew task.vcs").status, 0);
  EXPECT_EQ(Osif({"list", "cal"}).out,
            "00000001  event  20050314T101500Z  Tea\n00000002  todo  -  Sweep\n");
}

TEST_P(Gammu, DeletesAContactByItsPosition) {
  Store(kAnn + kBob);
  EXPECT_EQ(Do("deletememory ME 1").status, 0);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000002  Bob Ray\n");
}

TEST_P(Gammu, SavesTheContactsInAFile) {
  Store(kAnn + kBob);
  EXPECT_EQ(Do("backup saved.vcf -yes").status, 0);
  EXPECT_THAT(Values(Outcome::Split(Got("saved.vcf"))),
              testing::IsSupersetOf({"N:Lee;Ann", "N:Ray;Bob", "TEL;PREF;WORK:123",
                                     "TEL;PREF;CELL:45", "NOTE:likes tea"}));
}

// After the contacts of its file it deletes positions that there are not, by adding empty contacts: those are refused,
// which it takes for an error.
TEST_P(Gammu, PutsSavedContactsBack) {
  Store(kAnn + kBob);
  ASSERT_EQ(Do("backup saved.vcf -yes").status, 0);
  Osif({"delete", "pb", "00000002"});
  Store(Card({"N:One;"}) + Card({"N:Two;"}));
  const Outcome outcome = Do("restore saved.vcf -yes");
  EXPECT_THAT(outcome.out + outcome.err, HasSubstr("Nobody is perfect"));
  std::multiset<std::string> names;
  for (const Json& contact : Osif({"--json", "list", "pb"}).JsonLines()) {
    names.insert(contact["name"]);
  }
  EXPECT_THAT(names, UnorderedElementsAre("Ann Lee", "Bob Ray"));
}

TEST_P(Gammu, SavesTheCalendarAndPutsItBack) {
  Store(kTea);
  Store(kTask);
  EXPECT_EQ(Do("backup saved.vcs -yes").status, 0);
  EXPECT_THAT(Values(Outcome::Split(Got("saved.vcs"))),
              testing::IsSupersetOf({"SUMMARY:Tea", "DTSTART:20050314T101500Z",
                                     "DTEND:20050314T111500Z", "SUMMARY:Sweep"}));
  Osif({"delete", "cal", "00000001"});
  Store(Event({"SUMMARY:Other", "DTSTART:20050314T101500Z"}));
  Answering("no yes yes yes", "restore saved.vcs");
  std::multiset<std::string> names;
  for (const Json& item : Osif({"--json", "list", "cal"}).JsonLines()) names.insert(item["name"]);
  EXPECT_THAT(names, UnorderedElementsAre("Tea", "Sweep"));
}

std::string WayName(const testing::TestParamInfo<Way>& row) {
  return row.param == Way::kTcp ? "OverTcp" : "OverALine";
}
INSTANTIATE_TEST_SUITE_P(Osifd, ObexFtp, testing::Values(Way::kTcp, Way::kLine), WayName);
INSTANTIATE_TEST_SUITE_P(Osifd, Gammu, testing::Values(Way::kTcp, Way::kLine), WayName);

}  // namespace
}  // namespace osifd_test::real_clients_test
