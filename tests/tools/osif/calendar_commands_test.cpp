// Each subcommand on the calendar store: appointments and tasks, which share it.
#include "tests/tools/osif/hostile_files.h"

namespace command_test::calendar_commands_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

constexpr char kBegin[] = "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n";
constexpr char kEnd[] = "END:VCALENDAR\r\n";
// A calendar of a version that is not read.
const std::string kRefusedCalendar =
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nSUMMARY:Lost\r\nDESCRIPTION:\r\n"
    "DTSTART:20261005T180000Z\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";

std::string Calendar(const std::string& items) { return kBegin + items + kEnd; }

// An event that has all that an event must have, and these lines more.
std::string Event(const std::string& subject, const std::string& start, const Lines& more = {}) {
  return Joined({"BEGIN:VEVENT", "SUMMARY:" + subject, "DESCRIPTION:", "DTSTART:" + start}) +
         Joined(more) + "END:VEVENT\r\n";
}

// A to-do that lacks its DUE only, and these lines more.
std::string Todo(const std::string& subject, const Lines& more = {}) {
  return Joined({"BEGIN:VTODO", "SUMMARY:" + subject, "CATEGORIES:", "DESCRIPTION:", "COMPLETED:",
                 "PRIORITY:1", "STATUS:NEEDS ACTION"}) +
         Joined(more) + "END:VTODO\r\n";
}

const std::string kChoir = Event("Choir", "20261005T180000Z", {"LOCATION:Town hall"});
const std::string kBooks = Todo("Books", {"DUE:20261120", "DTSTART:20261118"});

class CommandCalendar : public CommandTest {
 protected:
  CommandCalendar() : CommandTest(".vcs") {}

  Lines List() const { return Osif({"list", "cal"}).OutLines(); }
  Lines Sent(const std::string& id) const { return CommandTest::Sent("cal", id); }
};

// ---- receive ------------------------------------------------------------------------------------------

TEST_F(CommandCalendar, ReceiveAddsEveryEventAndTodoOfACalendar) {
  const Outcome outcome =
      Receive(Calendar(kChoir + Event("Lunch", "20261006T110000Z") + kBooks + Todo("Roof")));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr(": 4 added, 0 updated, 0 refused; 1 with a warning"));
  EXPECT_THAT(outcome.err, HasSubstr(": object 4 (line 24) \"Roof\": Parsing warning (code 19)"));
  EXPECT_EQ(Osif({"count", "cal"}).out, "4\n");
}

TEST_F(CommandCalendar, ReceiveAddsTheItemsOfEveryCalendarOfAFile) {
  const Outcome outcome =
      Receive(Calendar(kChoir) + Calendar(kBooks) + Calendar(Event("Lunch", "20261006T110000Z")));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, MatchesRegex(Received() + ": 3 added, 0 updated, 0 refused, " +
                                        "anchor cal 3 [0-9]+T[0-9]+Z\n"));
  EXPECT_EQ(outcome.err, "");
}

TEST_F(CommandCalendar, ReceiveTellsEachItemInJson) {
  const std::vector<Json> lines = Receive(Calendar(kChoir + kBooks), {"--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0]["number"], 1);
  EXPECT_EQ(lines[0]["store"], "cal");
  EXPECT_EQ(lines[0]["action"], "added");
  EXPECT_EQ(lines[0]["id"], "00000001");
  EXPECT_EQ(lines[0]["name"], "Choir (Town hall)");
  EXPECT_EQ(lines[0]["result"], "ok");
  EXPECT_EQ(lines[0]["anchor"]["cc"], 1);
  EXPECT_EQ(lines[1]["number"], 2);
  EXPECT_EQ(lines[1]["id"], "00000002");
  EXPECT_EQ(lines[1]["name"], "Books");
  EXPECT_EQ(lines[1]["anchor"]["cc"], 2);
}

TEST_F(CommandCalendar, ReceiveUpdatesTheEventOfTheSameStartAndSubject) {
  Store(Calendar(kChoir));
  EXPECT_THAT(Receive(Calendar(Event("Choir", "20261005T180000Z", {"LOCATION:School"}))).out,
              HasSubstr(": 0 added, 1 updated, 0 refused, anchor cal 2 "));
  EXPECT_THAT(List(), ElementsAre("00000001  event  20261005T180000Z  Choir (School)"));
}

TEST_F(CommandCalendar, ReceiveAddsAnEventOfAnotherStartOrSubject) {
  Store(Calendar(kChoir));
  EXPECT_THAT(
      Receive(Calendar(Event("Choir", "20261005T180001Z") + Event("choir", "20261005T180000Z")))
          .out,
      HasSubstr(": 2 added, 0 updated"));
}

TEST_F(CommandCalendar, ReceiveUpdatesTheTodoOfTheSameSubjectWhateverItsDates) {
  Store(Calendar(kBooks));
  EXPECT_THAT(Receive(Calendar(Todo("Books", {"DUE:20270101", "DTSTART:20261224"}))).out,
              HasSubstr(": 0 added, 1 updated"));
  EXPECT_THAT(List(), ElementsAre("00000001  todo  20261224  Books"));
  EXPECT_THAT(Sent("1"), testing::Contains("DUE:20270101"));
}

TEST_F(CommandCalendar, ReceiveStoresAnEventAndATodoOfTheSameSubjectBesideEachOther) {
  Store(Calendar(Event("Books", "20261005T180000Z") + kBooks));
  EXPECT_EQ(Osif({"count", "cal"}).out, "2\n");
}

TEST_F(CommandCalendar, ReceiveSaysWhatARefusedCalendarCost) {
  const Outcome outcome = Receive(Calendar(kChoir + kBooks) + kRefusedCalendar +
                                  Calendar(Event("Lunch", "20261006T110000Z")));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre(
          "osif: " + Received() + ": the calendar on line 20 was refused: Parsing error (code 20)",
          "osif: " + Received() + ": it may also be the end of the calendar before it",
          "osif: " + Received() +
              ": 1 object was not reached, from line 30 on (--each reads every "
              "object by itself): Parsing error (code 20)"));
  EXPECT_THAT(outcome.out,
              HasSubstr(": 2 added, 0 updated, 1 refused, 1 not reached (--trace shows why), "));
  EXPECT_THAT(List(), SizeIs(2));
}

TEST_F(CommandCalendar, EachReceivesTheCalendarsAroundARefusedOne) {
  const Outcome outcome = Receive(Calendar(kChoir + kBooks) + "\r\n" + kRefusedCalendar +
                                      Calendar(Event("Lunch", "20261006T110000Z")),
                                  {"--each"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.ErrLines(),
              ElementsAre("osif: " + Received() +
                          ": the calendar on line 21 was refused: Parsing error (code 20)"));
  EXPECT_THAT(List(), ElementsAre("00000001  event  20261005T180000Z  Choir (Town hall)",
                                  "00000003  event  20261006T110000Z  Lunch",
                                  "00000002  todo  20261118  Books"));
}

TEST_F(CommandCalendar, WhatStandsBeforeAnUnknownObjectInACalendarIsStoredAndTheRestIsNot) {
  const std::string bytes =
      Calendar(kChoir + "BEGIN:VJOURNAL\r\nEND:VJOURNAL\r\n" + kBooks + Todo("Roof"));
  for (const Lines& options : {Lines{}, Lines{"--each"}}) {
    const Outcome outcome = Receive(bytes, options);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "osif: " + Received() +
                               ": the calendar on line 1 was refused after 1 object of 3: "
                               "Parsing error (code 20)\n");
    EXPECT_THAT(outcome.out, HasSubstr(", 1 refused, 1 not reached (--trace shows why)"));
    EXPECT_THAT(List(), ElementsAre("00000001  event  20261005T180000Z  Choir (Town hall)"));
  }
}

TEST_F(CommandCalendar, AWarningEndsWithItsCalendarWhenEachIsReadByItself) {
  const std::string bytes =
      Calendar(Event("Choir", "20261005T180000Z", {"X-A:1"})) + Calendar(kBooks);
  std::vector<std::string> results;
  for (const Json& line : Receive(bytes, {"--each", "--json"}).JsonLines()) {
    results.push_back(line["result"]);
  }
  EXPECT_THAT(results, ElementsAre("warning", "ok"));
}

// ---- list, count and delete ---------------------------------------------------------------------------

TEST_F(CommandCalendar, ListShowsEventsThenTodosWithKindStartAndSubject) {
  Store(Calendar(kBooks + kChoir));
  EXPECT_THAT(List(), ElementsAre("00000002  event  20261005T180000Z  Choir (Town hall)",
                                  "00000001  todo  20261118  Books"));
}

TEST_F(CommandCalendar, ListInJsonHasKindAndStart) {
  Store(Calendar(kChoir + kBooks));
  EXPECT_THAT(Osif({"list", "cal", "--json"}).JsonLines(),
              ElementsAre(Json{{"store", "cal"},
                               {"id", "00000001"},
                               {"kind", "event"},
                               {"start", "20261005T180000Z"},
                               {"name", "Choir (Town hall)"}},
                          Json{{"store", "cal"},
                               {"id", "00000002"},
                               {"kind", "todo"},
                               {"start", "20261118"},
                               {"name", "Books"}}));
}

TEST_F(CommandCalendar, ListShowsThatATodoHasNoStart) {
  Store(Calendar(Todo("Roof", {"DUE:"})));
  EXPECT_THAT(List(), ElementsAre("00000001  todo  -  Roof"));
  EXPECT_EQ(Osif({"list", "cal", "--json"}).JsonLines().at(0)["start"], nullptr);
}

TEST_F(CommandCalendar, ListShowsTheStartOfAnAllDayEventWithoutAZone) {
  Store(Calendar(
      Event("Fair", "20261005T000000", {"DTEND:20261005T235959", "X-BLUETOOTH-ALLDAYEVENT:TRUE"})));
  EXPECT_THAT(List(), ElementsAre("00000001  event  20261005T000000  Fair"));
}

TEST_F(CommandCalendar, DeleteDeletesEventsAndTodosAlike) {
  Store(Calendar(kChoir + kBooks + Event("Lunch", "20261006T110000Z") + Todo("Roof", {"DUE:"})));
  const Outcome outcome = Osif({"delete", "cal", "00000001", "00000002"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.OutLines(),
              ElementsAre(MatchesRegex("deleted cal 00000001, anchor cal 5 .*"),
                          MatchesRegex("deleted cal 00000002, anchor cal 6 .*")));
  EXPECT_THAT(List(),
              ElementsAre("00000003  event  20261006T110000Z  Lunch", "00000004  todo  -  Roof"));
  EXPECT_EQ(Osif({"count", "cal"}).out, "2\n");
}

TEST_F(CommandCalendar, AnIdOfAContactIsNoneOfTheCalendar) {
  const std::string card = Write("a.vcf", Card({"N:Lee;Ann"}));
  ASSERT_EQ(Osif({"receive", "--strict", card}).status, 0);
  for (const char* command : {"send", "delete"}) {
    const Outcome outcome = Osif({command, "cal", "00000001"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.ErrLines().at(0), "osif: cal 00000001: The object was not found (code 6)");
  }
  EXPECT_EQ(Osif({"count", "pb"}).out, "1\n");
}

// ---- find ---------------------------------------------------------------------------------------------

TEST_F(CommandCalendar, FindLooksForEventsByStartAndSubjectAndForTodosBySubject) {
  Store(Calendar(kChoir + kBooks));
  const std::string file =
      Write("find.vcs", Calendar(Event("Choir", "20261006T180000Z") + Todo("Books", {"DUE:"})) +
                            Calendar(Event("Choir", "20261005T200000Z")) +
                            Calendar(Event("Choir", "20261005T180000Z") + Todo("Roof", {"DUE:"})));
  const Outcome outcome = Osif({"find", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.OutLines(),
              ElementsAre("1  not found  Choir", "2  cal 00000002  Books", "3  not found  Choir",
                          "4  cal 00000001  Choir", "5  not found  Roof"));
  EXPECT_EQ(Osif({"find", "--strict", "--json", file}).JsonLines().at(3),
            (Json{{"number", 4}, {"store", "cal"}, {"id", "00000001"}, {"name", "Choir"}}));
}

// ---- send and export ----------------------------------------------------------------------------------

TEST_F(CommandCalendar, SendWritesAnEventAsACalendarOfItsOwn) {
  Store(Calendar(Todo("Roof", {"DUE:"}) +
                 Event("Choir", "20261005T180000Z",
                       {"DTEND:20261005T193000Z", "LOCATION:Town hall", "CATEGORIES:Music",
                        "CLASS:PRIVATE", "STATUS:TENTATIVE"})));
  EXPECT_THAT(Sent("00000002"),
              ElementsAre("BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT", "SUMMARY:Choir",
                          "DESCRIPTION:", "DTSTART:20261005T180000Z", "DTEND:20261005T193000Z",
                          "CLASS:PRIVATE", "PRIORITY:0", "STATUS:TENTATIVE", "LOCATION:Town hall",
                          "CATEGORIES:Music", "X-IRMC-LUID:00000002",
                          "X-BLUETOOTH-ALLDAYEVENT:FALSE", "END:VEVENT", "END:VCALENDAR"));
}

TEST_F(CommandCalendar, SendWritesATodoAsACalendarOfItsOwn) {
  Store(Calendar(kChoir + Todo("Books", {"DUE:20261120", "DTSTART:20261118"})));
  EXPECT_THAT(Sent("2"),
              ElementsAre("BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VTODO", "CATEGORIES:",
                          "CLASS:PUBLIC", "COMPLETED:", "DESCRIPTION:", "DTSTART:20261118",
                          "DUE:20261120", "PRIORITY:1", "STATUS:NEEDS ACTION", "SUMMARY:Books",
                          "X-IRMC-LUID:00000002", "END:VTODO", "END:VCALENDAR"));
}

TEST_F(CommandCalendar, SendWritesTheRuleAndTheExceptionsOfARecurringEvent) {
  // Four Mondays: 5, 12, 19 and 26 October; the third is left out.
  Store(Calendar(Event("Choir", "20261005T180000Z",
                       {"DTEND:20261005T190000Z", "RRULE:W1 MO #4", "EXDATE:20261019T180000Z"})));
  EXPECT_THAT(Sent("1"),
              IsSupersetOf({"DTSTART:20261005T180000Z", "RRULE:W1 MO #4 20261026T000000Z",
                            "EXDATE:20261019T180000Z"}));
}

TEST_F(CommandCalendar, ListCountsARecurringEventOnceWithItsFirstStart) {
  Store(Calendar(Event("Choir", "20261005T180000Z", {"RRULE:W1 MO #0"})));
  EXPECT_THAT(List(), ElementsAre("00000001  event  20261005T180000Z  Choir"));
  EXPECT_EQ(Osif({"count", "cal"}).out, "1\n");
}

TEST_F(CommandCalendar, SendWritesTheRuleOfARecurringTodo) {
  Store(Calendar(Todo("Bins", {"DUE:20261005", "DTSTART:20261005", "RRULE:W2 MO TH #0"})));
  EXPECT_THAT(Sent("1"), testing::Contains("RRULE:W2 MO TH #0"));
}

TEST_F(CommandCalendar, AnEventWhoseRuleIsUpdatedToNoneRecursNoMore) {
  Store(Calendar(Event("Choir", "20261005T180000Z", {"RRULE:W1 MO #4"})));
  Store(Calendar(Event("Choir", "20261005T180000Z")));
  EXPECT_THAT(Sent("1"), Not(testing::Contains(testing::StartsWith("RRULE"))));
}

TEST_F(CommandCalendar, ExportWritesEveryItemAndReceiveReadsThemBack) {
  Store(Calendar(kBooks + kChoir + Event("Lunch", "20261006T110000Z", {"RRULE:D1 #3"})));
  const std::string file = Path("all.vcs");
  EXPECT_EQ(Osif({"export", "cal", "-o", file}).out, file + ": 3 objects\n");
  const std::string other = Path("other");
  EXPECT_EQ(Osif({"--device", other, "receive", "--strict", file}).status, 0);
  EXPECT_EQ(Osif({"--device", other, "list", "cal"}).out,
            "00000001  event  20261005T180000Z  Choir (Town hall)\n"
            "00000002  event  20261006T110000Z  Lunch\n"
            "00000003  todo  20261118  Books\n");
  EXPECT_THAT(Osif({"--device", other, "send", "cal", "2"}).out,
              HasSubstr("\r\nRRULE:D1 #3 20261008T000000Z\r\n"));
}

// ---- changes and anchors ------------------------------------------------------------------------------

TEST_F(CommandCalendar, ADeletionByAShortIdTakesThePlaceOfTheEntryThatTheObjectHad) {
  const std::string file = Write("one.vcs",
                                 "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:a\r\n"
                                 "DTSTART:20260313T100000\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  Osif({"receive", "--strict", file});
  EXPECT_EQ(Osif({"delete", "cal", "1"}).status, 0);
  const std::vector<Json> lines = Osif({"changes", "cal", "--json"}).JsonLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["kind"], "H");
  EXPECT_EQ(lines[0]["id"], "00000001");
}

TEST_F(CommandCalendar, ChangesTellsEachItemOnceWithItsNameAndADeletedOneWithout) {
  Store(Calendar(kChoir + kBooks));
  Store(Calendar(kChoir));
  Osif({"delete", "cal", "00000002"});
  EXPECT_THAT(Osif({"changes", "cal"}).OutLines(),
              ElementsAre(MatchesRegex("M  3  [0-9]+T[0-9]+Z  00000001  Choir \\(Town hall\\)"),
                          MatchesRegex("H  4  [0-9]+T[0-9]+Z  00000002")));
}

TEST_F(CommandCalendar, ChangesSinceAnAnchorAreThoseBehindIt) {
  Store(Calendar(kChoir + kBooks));
  const std::vector<Json> lines = Osif({"changes", "cal", "--since", "1", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0]["kind"], "M");
  EXPECT_EQ(lines[0]["cc"], 2);
  EXPECT_EQ(lines[0]["id"], "00000002");
  EXPECT_EQ(lines[0]["name"], "Books");
  EXPECT_EQ(Osif({"changes", "cal", "--since", "2"}).out, "");
}

TEST_F(CommandCalendar, TheAnchorIsThatOfTheNewestChangeAndNoOtherStoresOne) {
  Store(Calendar(kChoir + kBooks));
  const std::string card = Write("a.vcf", Card({"N:Lee;Ann"}));
  Osif({"receive", "--strict", card});
  EXPECT_THAT(Osif({"anchor", "cal"}).out, MatchesRegex("2  [0-9]{8}T[0-9]{6}Z\n"));
  EXPECT_THAT(Osif({"anchor", "pb"}).out, MatchesRegex("1  [0-9]{8}T[0-9]{6}Z\n"));
}

// ---- parse --------------------------------------------------------------------------------------------

TEST_F(CommandCalendar, ParseShowsTheFieldsOfAnEvent) {
  const std::string file =
      Write("a.vcs",
            Calendar(Event("Choir", "20261005T180000Z",
                           {"RRULE:W1 MO #4", "CLASS:PRIVATE", "X-BLUETOOTH-ALLDAYEVENT:TRUE"})));
  const std::vector<Json> lines = Osif({"parse", "--strict", "--json", file}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0]["store"], "cal");
  EXPECT_EQ(lines[0]["result"], "ok");
  const auto value = [](const char* text) {
    return Json::array({{{"params", Json::array()}, {"components", {text}}, {"raw", {text}}}});
  };
  EXPECT_EQ(lines[0]["fields"], (Json{{"version", "1.0"},
                                      {"calendarKind", 1},
                                      {"allDayEvent", 1},
                                      {"summary", value("Choir")},
                                      {"description", value("")},
                                      {"dtStart", value("20261005T180000Z")},
                                      {"rRule", value("W1 MO #4")},
                                      {"class", value("PRIVATE")}}));
  EXPECT_EQ(lines[1], (Json{{"file", file}, {"code", 0}, {"text", "OK"}}));
}

TEST_F(CommandCalendar, ParseShowsTheFourComponentsOfAnAlarmOfATodo) {
  const std::string file = Write("a.vcs", Calendar(Todo("Books", {"DUE:",
                                                                  "DALARM:20261120T090000;"
                                                                  "PT5M;2;Now"})));
  const Json fields = Osif({"parse", "--strict", "--json", file}).JsonLines().at(0)["fields"];
  EXPECT_EQ(fields["calendarKind"], 2);
  EXPECT_EQ(fields["allDayEvent"], 0);
  EXPECT_EQ(fields["dAlarm"][0]["components"],
            Json::array({"20261120T090000", "PT5M", "2", "Now"}));
}

TEST_F(CommandCalendar, ParseWithEachShowsTheCalendarsBehindARefusedOne) {
  const std::string file = Write("a.vcs", kRefusedCalendar + Calendar(kChoir + kBooks));
  EXPECT_EQ(Osif({"parse", "--strict", "--json", file}).JsonLines().size(), 1u);
  const Outcome outcome = Osif({"parse", "--strict", "--each", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_THAT(lines, SizeIs(4));
  EXPECT_EQ(lines[0]["error"], file + ": the calendar on line 1 was refused");
  EXPECT_EQ(lines[1]["fields"]["calendarKind"], 1);
  EXPECT_EQ(lines[2]["fields"]["calendarKind"], 2);
  EXPECT_EQ(lines[3]["code"], 20);
}

// ---- Hostile files ------------------------------------------------------------------------------------

using CommandHostileCalendar = HostileTest<CommandCalendar>;

TEST_P(CommandHostileCalendar, IsNamedWithAReasonAndLeavesTheStoredItemsAsTheyWere) {
  Store(Calendar(kChoir + kBooks));
  const Lines before[] = {Sent("1"), Sent("2")};
  ExpectRefused();
  EXPECT_THAT(List(), SizeIs(2));
  EXPECT_EQ(Sent("1"), before[0]);
  EXPECT_EQ(Sent("2"), before[1]);
  EXPECT_THAT(Osif({"changes", "cal"}).OutLines(), SizeIs(2));
}

constexpr char kCalendarNoEnd[] =
    "the calendar on line 1 was refused; it has no END: Parsing error (code 20)";
constexpr char kCalendarRefused[] = "the calendar on line 1 was refused: Parsing error (code 20)";
const std::string kOpenEvent = kBegin + Joined({"BEGIN:VEVENT", "SUMMARY:Lost", "DESCRIPTION:"});

INSTANTIATE_TEST_SUITE_P(
    Files, CommandHostileCalendar,
    testing::Values(
        HostileFile{"CutInALine", kOpenEvent + "DTSTART:2026", kCalendarNoEnd},
        HostileFile{"CutBehindItsFirstLine", "BEGIN:VCALENDAR\r\n", kCalendarNoEnd},
        HostileFile{"CutInASoftLineBreak", kOpenEvent + "LOCATION;ENCODING=QUOTED-PRINTABLE:M=\r\n",
                    kCalendarNoEnd},
        HostileFile{"BinaryBehindItsName",
                    "BEGIN:VCALENDAR" + std::string("\x00\xFF\x7F\x80\x01", 5), kCalendarNoEnd},
        HostileFile{"LongLineCut", kOpenEvent + "LOCATION:" + std::string(1'000'000, 'x'),
                    kCalendarNoEnd},
        HostileFile{
            "LongVersion",
            "BEGIN:VCALENDAR\r\nVERSION:" + std::string(1'000'000, '9') + "\r\n" + kChoir + kEnd,
            kCalendarRefused},
        HostileFile{"TenThousandAttendeesCut",
                    kOpenEvent + Repeated("ATTENDEE:a@example.org\r\n", 10'000), kCalendarNoEnd},
        HostileFile{"DeepNestingOpen", kOpenEvent + Repeated("BEGIN:VEVENT\r\n", 100'000),
                    kCalendarNoEnd},
        HostileFile{"NestedCalendars", kBegin + Repeated(kBegin, 10'000) + Repeated(kEnd, 10'001),
                    kCalendarRefused},
        HostileFile{"NoItem", Calendar(""), kCalendarRefused},
        HostileFile{"Binary",
                    std::string("\x00\x01\xFF\xFE\x00"
                                "BEGIN:VCALENDAR\r\n",
                                22),
                    kNoObject}),
    NameOfHostile);

TEST_F(CommandCalendar, TheItemsBeforeTheEndOfACutFileAreStored) {
  const Outcome outcome = Receive(kBegin + kChoir + kBooks + "BEGIN:VEVENT\r\nSUMMARY:Cut\r\n");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr(": the calendar on line 1 was refused after 2 objects of 3; "
                                     "it has no END: Parsing error (code 20)"));
  EXPECT_THAT(List(), SizeIs(2));
}

TEST_F(CommandCalendar, ATenThousandthAttendeeIsStoredAndSentAsTheFirst) {
  Lines attendees;
  for (int i = 1; i <= 10'000; ++i) {
    attendees.push_back("ATTENDEE:a" + std::to_string(i) + "@example.org");
  }
  Store(Calendar(Event("Choir", "20261005T180000Z", attendees)));
  EXPECT_THAT(Sent("1"), IsSupersetOf({"ATTENDEE;ROLE=ATTENDEE:a1@example.org",
                                       "ATTENDEE;ROLE=ATTENDEE:a10000@example.org"}));
}

TEST_F(CommandCalendar, ALineOfAMillionBytesAndNestedObjectsInAnEventDoNotHinderIt) {
  Store(Calendar(
      Event("Choir", "20261005T180000Z", {"LOCATION:" + std::string(1'000'000, 'x')}) +
      Event("Lunch", "20261006T110000Z",
            {Repeated("BEGIN:X\r\n", 50'000) + Repeated("END:X\r\n", 50'000) + "CLASS:PUBLIC"})));
  EXPECT_THAT(Sent("1"), testing::Contains("LOCATION:" + std::string(1'000'000, 'x')));
  EXPECT_EQ(Osif({"count", "cal"}).out, "2\n");
}

TEST_F(CommandCalendar, IdsThatAreNoneAreRefusedByEachCommand) {
  Store(Calendar(kChoir));
  for (const std::string id : {"", "zebra", "-", "100000000", "\xFF", "%x"}) {
    for (const char* command : {"send", "delete"}) {
      const Outcome outcome = Osif({command, "--", "cal", id});
      EXPECT_EQ(outcome.status, 2) << command << " " << id;
      EXPECT_THAT(outcome.err, HasSubstr("\" is no id of cal: it ")) << id;
    }
  }
  EXPECT_THAT(List(), SizeIs(1));
}

}  // namespace
}  // namespace command_test::calendar_commands_test
