// iCalendar 2.0, row by row: what the strict reader gets of it, and what is said of the rest.
#include <gmock/gmock.h>

#include "btosif/osif_util/value_text.h"
#include "dialects/calendar_time.h"
#include "platform/utf8.h"
#include "tests/dialects/calendar_support.h"
#include "tests/dialects/strict_reading.h"

namespace calendar_facts_modern_test {
namespace {

using calendar_support::CalendarObject;
using calendar_support::JoinedLines;
using calendar_support::LinesOf;
using dialects::StrictObject;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

using Lines = std::vector<std::string>;

class ModernFacts : public calendar_support::StrictCalendar {
 protected:
  static dialects::ObjectText Frame(const std::string& component, const Lines& lines,
                                    const std::string& frame = "") {
    std::string text = "BEGIN:VCALENDAR\r\nPRODID:-//a//b//EN\r\nVERSION:2.0\r\n" + frame +
                       "BEGIN:" + component + "\r\n";
    for (const std::string& line : lines) text += line + "\r\n";
    return CalendarObject(text + "END:" + component + "\r\nEND:VCALENDAR\r\n");
  }
  static StrictObject Event(const Lines& lines) { return Only(Frame("VEVENT", lines)); }
  static StrictObject Task(const Lines& lines) { return Only(Frame("VTODO", lines)); }

  // Of an event from nine to ten, in UTC, with further lines: those of some names.
  static Lines Of(const Lines& more, std::initializer_list<std::string_view> names) {
    return LinesOf(Event(Hour(more)).text, names);
  }
  static Lines Hour(const Lines& more) {
    Lines lines = {"UID:u", "SUMMARY:x", "DTSTART:20260612T090000Z", "DTEND:20260612T100000Z"};
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
  }
  static Lines Alarm(const Lines& lines) {
    Lines all = {"BEGIN:VALARM"};
    all.insert(all.end(), lines.begin(), lines.end());
    all.push_back("END:VALARM");
    return all;
  }
};

// ---- Frame ----

TEST_F(ModernFacts, EveryComponentHasACalendarOfItsOwn) {
  const auto items = Strict(CalendarObject(JoinedLines({"BEGIN:VCALENDAR",
                                                        "VERSION:2.0",
                                                        "BEGIN:VTIMEZONE",
                                                        "TZID:Europe/Paris",
                                                        "BEGIN:STANDARD",
                                                        "DTSTART:19701025T030000",
                                                        "TZOFFSETFROM:+0200",
                                                        "TZOFFSETTO:+0100",
                                                        "END:STANDARD",
                                                        "END:VTIMEZONE",
                                                        "BEGIN:VEVENT",
                                                        "UID:a",
                                                        "SUMMARY:one",
                                                        "DTSTART:20260612T090000Z",
                                                        "END:VEVENT",
                                                        "BEGIN:VTODO",
                                                        "UID:b",
                                                        "SUMMARY:two",
                                                        "END:VTODO",
                                                        "END:VCALENDAR"})));
  ASSERT_THAT(items, SizeIs(2));
  for (const StrictObject& item : items) {
    EXPECT_THAT(item.text, StartsWith("BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:V"));
    EXPECT_THAT(item.text, Not(testing::HasSubstr("VTIMEZONE")));
  }
  EXPECT_EQ(items[0].uid, "a");
  EXPECT_EQ(items[1].uid, "b");
}

TEST_F(ModernFacts, WhatIsTakenBackIsNotStored) {
  const StrictObject item = Only(Frame("VEVENT", Hour({}), "METHOD:CANCEL\r\n"));
  EXPECT_EQ(item.text, "");
  EXPECT_NE(item.refusal, "");
}

// ---- Times ----

TEST_F(ModernFacts, TimesAreUtcOrTheDevices) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows = {
      {":20260612T090000Z", ":20260612T100000Z", "DTSTART:20260612T090000Z DTEND:20260612T100000Z"},
      {":20260612T090000", ":20260612T100000", "DTSTART:20260612T090000 DTEND:20260612T100000"},
      {";TZID=Asia/Kolkata:20260612T090000", ";TZID=Asia/Kolkata:20260612T100000",
       "DTSTART:20260612T033000Z DTEND:20260612T043000Z"},
      {";TZID=America/New_York:20260612T200000", ";TZID=Europe/London:20260613T020000",
       "DTSTART:20260613T000000Z DTEND:20260613T010000Z"},
      {";VALUE=DATE:20260612", ";VALUE=DATE:20260614",
       "DTSTART:20260612T000000 DTEND:20260614T000000 X-BLUETOOTH-ALLDAYEVENT:TRUE"},
  };
  for (const auto& [start, end, strict] : rows) {
    SCOPED_TRACE(start);
    std::string found;
    for (const std::string& line : Times(Event({"SUMMARY:x", "DTSTART" + start, "DTEND" + end}))) {
      found += (found.empty() ? "" : " ") + line;
    }
    EXPECT_EQ(found, strict);
  }
}

TEST_F(ModernFacts, SeriesOfAZoneOfTheSameRulesIsInTheDevicesTime) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART;TZID=Europe/Madrid:20260612T090000",
             "DTEND;TZID=Europe/Madrid:20260612T100000", "RRULE:FREQ=WEEKLY;BYDAY=MO,FR"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "DTEND", "RRULE"}),
              ElementsAre("DTSTART:20260612T090000", "DTEND:20260612T100000", "RRULE:W1 MO FR #0"));
  EXPECT_TRUE(item.report.IsEmpty());
}

TEST_F(ModernFacts, RuleIsMovedToTheDevicesDay) {
  const std::vector<std::tuple<std::string, std::string, std::string>> rows = {
      // Ten in the evening in London is eleven here.
      {"Europe/London:20260612T220000", "FREQ=WEEKLY;BYDAY=FR",
       "DTSTART:20260612T230000 RRULE:W1 FR #0"},
      // Half past eleven there is half past midnight here.
      {"Europe/London:20260612T233000", "FREQ=WEEKLY;BYDAY=FR,SA",
       "DTSTART:20260613T003000 RRULE:W1 SU SA #0"},
      {"Europe/London:20260612T233000", "FREQ=MONTHLY;BYMONTHDAY=12",
       "DTSTART:20260613T003000 RRULE:MD1 13 #0"},
      {"Europe/London:20260612T233000", "FREQ=YEARLY",
       "DTSTART:20260613T003000 RRULE:YM1 6 #0 MD1 13"},
      // Half past midnight in Helsinki is half past eleven of the day before here.
      {"Europe/Helsinki:20260612T003000", "FREQ=WEEKLY;BYDAY=FR;COUNT=4",
       "DTSTART:20260611T233000 RRULE:W1 TH #4"},
      {"Europe/Helsinki:20260612T003000", "FREQ=MONTHLY;BYMONTHDAY=12",
       "DTSTART:20260611T233000 RRULE:MD1 11 #0"},
      {"Europe/Helsinki:20260601T003000", "FREQ=MONTHLY;BYMONTHDAY=1",
       "DTSTART:20260531T233000 RRULE:MD1 1- #0"},
      {"Europe/London:20260612T233000", "FREQ=DAILY;UNTIL=20260614T223000Z",
       "DTSTART:20260613T003000 RRULE:D1 20260615T000000"},
  };
  for (const auto& [start, rule, strict] : rows) {
    SCOPED_TRACE(start + " " + rule);
    const StrictObject item = Event({"SUMMARY:x", "DTSTART;TZID=" + start, "RRULE:" + rule});
    std::string found;
    for (const std::string& line : LinesOf(item.text, {"DTSTART", "RRULE"})) {
      found += (found.empty() ? "" : " ") + line;
    }
    EXPECT_EQ(found, strict);
    EXPECT_TRUE(item.report.dropped.empty());
    EXPECT_TRUE(item.report.guessed.empty());
  }
}

TEST_F(ModernFacts, SeriesOfAZoneOfOtherRulesIsReported) {
  const StrictObject item = Event(
      {"SUMMARY:x", "DTSTART;TZID=America/New_York:20260612T090000", "RRULE:FREQ=WEEKLY;BYDAY=FR"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260612T150000", "RRULE:W1 FR #0"));
  EXPECT_THAT(item.report.guessed, Not(IsEmpty()));
}

TEST_F(ModernFacts, WholeDayEndsAfterItsLastDay) {
  const Lines one = {"DTSTART:20260612T000000", "DTEND:20260613T000000",
                     "X-BLUETOOTH-ALLDAYEVENT:TRUE"};
  EXPECT_EQ(Times(Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612"})), one);
  EXPECT_EQ(Times(Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "DURATION:P1D"})), one);
  EXPECT_EQ(Times(Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "DTEND;VALUE=DATE:20260612"})),
            one);
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "DURATION:P1W"})),
              ElementsAre("DTSTART:20260612T000000", "DTEND:20260619T000000",
                          "X-BLUETOOTH-ALLDAYEVENT:TRUE"));
}

TEST_F(ModernFacts, EndIsOfTheDurationOrTheStart) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T090000Z", "DURATION:PT1H30M"})),
              ElementsAre("DTSTART:20260612T090000Z", "DTEND:20260612T103000Z"));
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T090000Z"})),
              ElementsAre("DTSTART:20260612T090000Z", "DTEND:20260612T090000Z"));
}

TEST_F(ModernFacts, TaskHasDaysOfTheDevice) {
  const std::vector<std::pair<Lines, Lines>> rows = {
      {{"DUE;VALUE=DATE:20260612"}, {"DUE:20260612"}},
      {{"DUE:20260612T100000Z"}, {"DUE:20260612"}},
      {{"DUE:20260612T223000Z"}, {"DUE:20260613"}},
      {{"DUE;TZID=America/New_York:20260612T200000"}, {"DUE:20260613"}},
      {{"DTSTART;VALUE=DATE:20260610", "DUE;VALUE=DATE:20260612"},
       {"DTSTART:20260610", "DUE:20260612"}},
      {{"DTSTART:20260609T223000Z", "DURATION:P2D"}, {"DTSTART:20260610", "DUE:20260612"}},
      {{"DTSTART;VALUE=DATE:20260610", "DURATION:P2D"}, {"DTSTART:20260610", "DUE:20260612"}},
  };
  for (const auto& [lines, strict] : rows) {
    SCOPED_TRACE(lines.front());
    Lines all = {"SUMMARY:x"};
    all.insert(all.end(), lines.begin(), lines.end());
    EXPECT_EQ(LinesOf(Task(all).text, {"DTSTART", "DUE"}), strict);
  }
}

TEST_F(ModernFacts, ExceptionsOfListsHaveTheDevicesDays) {
  const StrictObject item = Event(
      {"SUMMARY:x", "DTSTART;TZID=Europe/London:20260612T233000", "RRULE:FREQ=DAILY",
       "EXDATE;TZID=Europe/London:20260614T233000,20260616T233000", "EXDATE:20260618T223000Z"});
  EXPECT_THAT(
      LinesOf(item.text, {"EXDATE"}),
      ElementsAre("EXDATE:20260615T003000", "EXDATE:20260617T003000", "EXDATE:20260619T003000"));
  const StrictObject days = Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "RRULE:FREQ=DAILY",
                                   "EXDATE;VALUE=DATE:20260614,20260616"});
  EXPECT_THAT(LinesOf(days.text, {"EXDATE"}),
              ElementsAre(StartsWith("EXDATE:20260614"), StartsWith("EXDATE:20260616")));
}

TEST_F(ModernFacts, FurtherDatesAndPeriodsAreEventsOfTheirOwn) {
  const auto items =
      Strict(Frame("VEVENT", Hour({"RDATE:20260701T110000Z,20260702T110000Z",
                                   "RDATE;VALUE=PERIOD:20260703T110000Z/20260703T140000Z,"
                                   "20260704T110000Z/PT30M"})));
  ASSERT_THAT(items, SizeIs(5));
  EXPECT_THAT(Times(items[1]), ElementsAre("DTSTART:20260701T110000Z", "DTEND:20260701T120000Z"));
  EXPECT_THAT(Times(items[2]), ElementsAre("DTSTART:20260702T110000Z", "DTEND:20260702T120000Z"));
  EXPECT_THAT(Times(items[3]), ElementsAre("DTSTART:20260703T110000Z", "DTEND:20260703T140000Z"));
  EXPECT_THAT(Times(items[4]), ElementsAre("DTSTART:20260704T110000Z", "DTEND:20260704T113000Z"));
}

TEST_F(ModernFacts, FurtherDateThatIsAnExceptionDoesNotTakePlace) {
  const auto items = Strict(Frame(
      "VEVENT", Hour({"RDATE:20260701T110000Z,20260702T110000Z", "EXDATE:20260701T110000Z"})));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(Times(items[1]), ElementsAre("DTSTART:20260702T110000Z", "DTEND:20260702T120000Z"));
}

TEST_F(ModernFacts, ChangedOccurrenceIsAnEventOfItsOwnAndAnExceptionOfItsSeries) {
  const auto items =
      Strict(CalendarObject(JoinedLines({"BEGIN:VCALENDAR",
                                         "VERSION:2.0",
                                         "BEGIN:VEVENT",
                                         "UID:u",
                                         "SUMMARY:x",
                                         "DTSTART;TZID=Europe/Berlin:20260612T090000",
                                         "RRULE:FREQ=WEEKLY",
                                         "END:VEVENT",
                                         "BEGIN:VEVENT",
                                         "UID:u",
                                         "RECURRENCE-ID:20260619T070000Z",
                                         "SUMMARY:moved",
                                         "DTSTART;TZID=Europe/Berlin:20260620T090000",
                                         "END:VEVENT",
                                         "BEGIN:VEVENT",
                                         "UID:u",
                                         "RECURRENCE-ID;TZID=Europe/Berlin:20260626T090000",
                                         "SUMMARY:x",
                                         "STATUS:CANCELLED",
                                         "DTSTART;TZID=Europe/Berlin:20260626T090000",
                                         "END:VEVENT",
                                         "END:VCALENDAR"})));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(LinesOf(items[0].text, {"SUMMARY", "EXDATE"}),
              ElementsAre("SUMMARY:x", "EXDATE:20260619T090000", "EXDATE:20260626T090000"));
  EXPECT_THAT(LinesOf(items[1].text, {"SUMMARY", "DTSTART", "RRULE", "EXDATE"}),
              ElementsAre("SUMMARY:moved", "DTSTART:20260620T070000Z"));
}

TEST_F(ModernFacts, ExceptionOfSeveralOccurrencesOfADayIsOneOfThem) {
  const auto items =
      Strict(Frame("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:FREQ=HOURLY;COUNT=3",
                              "EXDATE:20260612T100000"}));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(LinesOf(items[0].text, {"DTSTART"}), ElementsAre("DTSTART:20260612T090000"));
  EXPECT_THAT(LinesOf(items[1].text, {"DTSTART"}), ElementsAre("DTSTART:20260612T110000"));
}

TEST_F(ModernFacts, StartThatIsAnExceptionDoesNotTakePlace) {
  const auto items = Strict(Frame("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000",
                                             "RDATE:20260701T090000", "EXDATE:20260612T090000"}));
  ASSERT_THAT(items, SizeIs(1));
  EXPECT_THAT(LinesOf(items[0].text, {"DTSTART"}), ElementsAre("DTSTART:20260701T090000"));
}

TEST_F(ModernFacts, FurtherDateThatIsTheStartIsNoSecondEvent) {
  const auto items =
      Strict(Frame("VEVENT", Hour({"RDATE:20260612T090000Z,20260701T110000Z,20260701T110000Z"})));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(Times(items[1]), ElementsAre("DTSTART:20260701T110000Z", "DTEND:20260701T120000Z"));
}

TEST_F(ModernFacts, ExceptionsBeyondThoseThatAreKeptAreReported) {
  Lines lines = Hour({"RRULE:FREQ=DAILY"});
  std::string list = "EXDATE:";
  for (int day = 0; day < 700; ++day) {
    const auto time = dialects::PlusDays({2026, 6, 13, 9, 0, 0}, day);
    list += dialects::DateTimeText(time) + "Z,";
  }
  lines.push_back(list);
  const StrictObject item = Only(Frame("VEVENT", lines));
  const size_t kept = LinesOf(item.text, {"EXDATE"}).size();
  EXPECT_GE(kept, 500U);
  const auto dropped = item.report.dropped.find("EXDATE");
  EXPECT_EQ(kept + (dropped == item.report.dropped.end() ? 0 : dropped->second), 700U);
}

// ---- Alarms ----

TEST_F(ModernFacts, AlarmThatIsTooEarlyDoesNotHideTheNext) {
  Lines lines = Alarm({"ACTION:DISPLAY", "TRIGGER:-P60D"});
  const Lines second = Alarm({"ACTION:DISPLAY", "TRIGGER:-PT15M"});
  lines.insert(lines.end(), second.begin(), second.end());
  const StrictObject item = Event(Hour(lines));
  EXPECT_THAT(LinesOf(item.text, {"DALARM"}), ElementsAre("DALARM:20260612T084500Z"));
  EXPECT_THAT(item.report.dropped, ElementsAre(testing::Pair("alarm", 1U)));
}

TEST_F(ModernFacts, AlarmIsAtItsTriggerBeforeTheStartOrTheEnd) {
  const std::vector<std::pair<Lines, Lines>> rows = {
      {{"ACTION:DISPLAY", "DESCRIPTION:x", "TRIGGER:-PT15M"}, {"DALARM:20260612T084500Z"}},
      {{"ACTION:AUDIO", "TRIGGER;VALUE=DURATION:-P1D"}, {"DALARM:20260611T090000Z"}},
      {{"ACTION:DISPLAY", "TRIGGER:PT0S"}, {"DALARM:20260612T090000Z"}},
      {{"ACTION:DISPLAY", "TRIGGER;RELATED=START:-PT5M"}, {"DALARM:20260612T085500Z"}},
      {{"ACTION:DISPLAY", "TRIGGER;RELATED=END:-PT2H"}, {"DALARM:20260612T080000Z"}},
      {{"ACTION:DISPLAY", "TRIGGER;VALUE=DATE-TIME:20260612T063000Z"}, {"DALARM:20260612T063000Z"}},
      {{"ACTION:DISPLAY", "TRIGGER:-P45D"}, {"DALARM:20260428T090000Z"}},
  };
  for (const auto& [lines, strict] : rows) {
    SCOPED_TRACE(lines.back());
    const StrictObject item = Event(Hour(Alarm(lines)));
    EXPECT_EQ(LinesOf(item.text, {"DALARM"}), strict);
    EXPECT_TRUE(item.report.IsEmpty());
  }
}

TEST_F(ModernFacts, AlarmsThatHaveNoPlaceAreReported) {
  for (const Lines& lines : std::vector<Lines>{{"ACTION:EMAIL", "TRIGGER:-PT15M"},
                                               {"ACTION:DISPLAY", "TRIGGER:PT2H"},
                                               {"ACTION:DISPLAY", "TRIGGER:-P46D"}}) {
    SCOPED_TRACE(testing::PrintToString(lines));
    const StrictObject item = Event(Hour(Alarm(lines)));
    EXPECT_THAT(LinesOf(item.text, {"DALARM", "AALARM"}), IsEmpty());
    EXPECT_THAT(item.report.dropped,
                Contains(Key(testing::AnyOf(StartsWith("VALARM"), StartsWith("alarm")))));
  }
  const StrictObject repeats =
      Event(Hour(Alarm({"ACTION:DISPLAY", "TRIGGER:-PT15M", "REPEAT:3", "DURATION:PT5M"})));
  EXPECT_THAT(LinesOf(repeats.text, {"DALARM"}), ElementsAre("DALARM:20260612T084500Z"));
  EXPECT_THAT(repeats.report.dropped, Not(IsEmpty()));
}

TEST_F(ModernFacts, FirstAlarmThatCanBeKeptIsKept) {
  Lines lines;
  for (const Lines& alarm : std::vector<Lines>{{"ACTION:EMAIL", "TRIGGER:-PT30M"},
                                               {"ACTION:DISPLAY", "TRIGGER:PT3H"},
                                               {"ACTION:AUDIO", "TRIGGER:-PT20M"},
                                               {"ACTION:DISPLAY", "TRIGGER:-PT10M"}}) {
    const Lines one = Alarm(alarm);
    lines.insert(lines.end(), one.begin(), one.end());
  }
  const StrictObject item = Event(Hour(lines));
  EXPECT_THAT(LinesOf(item.text, {"DALARM"}), ElementsAre("DALARM:20260612T084000Z"));
  size_t dropped = 0;
  for (const auto& [what, count] : item.report.dropped) {
    EXPECT_THAT(what, testing::AnyOf("VALARM", "alarm"));
    dropped += count;
  }
  EXPECT_EQ(dropped, 3U);
}

// ---- Words ----

TEST_F(ModernFacts, StatusOfAnEvent) {
  EXPECT_THAT(Of({"STATUS:TENTATIVE"}, {"STATUS"}), ElementsAre("STATUS:TENTATIVE"));
  EXPECT_THAT(Of({"STATUS:CONFIRMED"}, {"STATUS"}), ElementsAre("STATUS:CONFIRMED"));
  EXPECT_THAT(Of({"TRANSP:TRANSPARENT"}, {"STATUS"}), ElementsAre("STATUS:DECLINED"));
  EXPECT_THAT(Of({"STATUS:CONFIRMED", "TRANSP:TRANSPARENT"}, {"STATUS"}),
              ElementsAre("STATUS:DECLINED"));
  EXPECT_THAT(Of({"TRANSP:OPAQUE"}, {"STATUS"}), Not(Contains("STATUS:DECLINED")));
  EXPECT_THAT(Event(Hour({"STATUS:CANCELLED"})).report.dropped,
              Contains(Key(StartsWith("STATUS"))));
}

TEST_F(ModernFacts, StatusAndPriorityOfATask) {
  const std::vector<std::pair<std::string, std::string>> states = {
      {"STATUS:COMPLETED", "STATUS:COMPLETED"},       {"PERCENT-COMPLETE:100", "STATUS:COMPLETED"},
      {"STATUS:NEEDS-ACTION", "STATUS:NEEDS ACTION"}, {"STATUS:IN-PROCESS", "STATUS:NEEDS ACTION"},
      {"PERCENT-COMPLETE:50", "STATUS:NEEDS ACTION"},
  };
  for (const auto& [line, strict] : states) {
    SCOPED_TRACE(line);
    EXPECT_THAT(LinesOf(Task({"SUMMARY:x", line}).text, {"STATUS"}), ElementsAre(strict));
  }
  EXPECT_THAT(Task({"SUMMARY:x", "STATUS:CANCELLED"}).report.dropped,
              Contains(Key(StartsWith("STATUS"))));
  const std::vector<std::pair<std::string, std::string>> priorities = {
      {"1", "1"}, {"2", "1"}, {"4", "1"}, {"5", "2"}, {"6", "3"}, {"9", "3"}, {"0", ""}};
  for (const auto& [sent, strict] : priorities) {
    SCOPED_TRACE(sent);
    EXPECT_THAT(LinesOf(Task({"SUMMARY:x", "PRIORITY:" + sent}).text, {"PRIORITY"}),
                ElementsAre("PRIORITY:" + strict));
  }
}

TEST_F(ModernFacts, AccessIsPublicOrPrivate) {
  EXPECT_THAT(Of({"CLASS:PUBLIC"}, {"CLASS"}), ElementsAre("CLASS:PUBLIC"));
  EXPECT_THAT(Of({"CLASS:PRIVATE"}, {"CLASS"}), ElementsAre("CLASS:PRIVATE"));
  EXPECT_THAT(Of({"CLASS:CONFIDENTIAL"}, {"CLASS"}), ElementsAre("CLASS:PRIVATE"));
}

TEST_F(ModernFacts, CategoriesOfAllLinesAreOneText) {
  EXPECT_THAT(Of({"CATEGORIES:Work,Fun", "CATEGORIES:Home"}, {"CATEGORIES"}),
              ElementsAre("CATEGORIES:Work,Fun,Home"));
  EXPECT_THAT(
      LinesOf(Task({"SUMMARY:x", "CATEGORIES:Work,Fun", "CATEGORIES:Home"}).text, {"CATEGORIES"}),
      ElementsAre("CATEGORIES:Work,Fun,Home"));
}

TEST_F(ModernFacts, PeopleHaveNamesAndAddresses) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"ATTENDEE;CN=Ann Lee;ROLE=REQ-PARTICIPANT;PARTSTAT=ACCEPTED:mailto:ann@lee.example",
       "Ann Lee <ann@lee.example>"},
      {"ATTENDEE;CN=\"Lee, Ann\":MAILTO:ann@lee.example", "Lee, Ann <ann@lee.example>"},
      {"ATTENDEE:mailto:ann@lee.example", "ann@lee.example"},
      {"ATTENDEE;CUTYPE=INDIVIDUAL;CN=Ann:mailto:ann@lee.example", "Ann <ann@lee.example>"},
  };
  for (const auto& [line, strict] : rows) {
    SCOPED_TRACE(line);
    const Lines found = Of({line}, {"ATTENDEE"});
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0], testing::EndsWith(":" + strict));
  }
}

TEST_F(ModernFacts, RoomsAndTheOrganizerAreDropped) {
  const StrictObject item = Event(Hour({"ATTENDEE;CUTYPE=ROOM;CN=Room 4:mailto:r4@a.example",
                                        "ATTENDEE;CUTYPE=RESOURCE;CN=Beamer:mailto:b@a.example",
                                        "ORGANIZER:mailto:o@a.example"}));
  EXPECT_THAT(LinesOf(item.text, {"ATTENDEE", "ORGANIZER"}), IsEmpty());
  EXPECT_THAT(item.report.dropped, Contains(testing::Pair(StartsWith("ATTENDEE"), 2U)));
  EXPECT_THAT(item.report.dropped, Contains(Key(StartsWith("ORGANIZER"))));
}

std::string TextOf(PropertyValue* value) {
  if (value == nullptr) return "(none)";
  return ToUtf8(DecodedText(value, 0));
}

TEST_F(ModernFacts, TextsAreReadWithoutTheirEscapes) {
  const StrictObject item =
      Event({"DTSTART:20260612T090000Z", "SUMMARY:a\\, b\\; c: \\\\n d \xC3\xA4",
             "LOCATION:Hall\\, 2nd floor\\; left", "DESCRIPTION:one\\ntwo\\N\\nfour = 4; \"5\""});
  std::string summary;
  std::string location;
  std::string description;
  strict_reading::ReadOne(item.text, [&](OsifObject& object) {
    summary = TextOf(object.calendar.summary);
    description = TextOf(object.calendar.description);
    location = TextOf(object.calendar.tail.event.location);
  });
  EXPECT_EQ(summary, "a, b; c: \\n d \xC3\xA4");
  EXPECT_EQ(location, "Hall, 2nd floor; left");
  EXPECT_EQ(description, "one\r\ntwo\r\n\r\nfour = 4; \"5\"");
}

TEST_F(ModernFacts, WhatTheStoreHasNoPlaceForIsReportedByName) {
  for (const std::string line :
       {"SEQUENCE:2", "CREATED:20260101T000000Z", "LAST-MODIFIED:20260101T000000Z",
        "URL:http://a.example/", "GEO:1.5;2.5", "RESOURCES:Projector", "CONTACT:Ann", "COMMENT:no",
        "ATTACH:http://a.example/b.pdf", "RELATED-TO:v", "X-A-B:c"}) {
    SCOPED_TRACE(line);
    const StrictObject item = Event(Hour({line}));
    const std::string name = line.substr(0, line.find_first_of(":;"));
    EXPECT_THAT(item.report.dropped, Contains(testing::Pair(StartsWith(name), 1U)));
    EXPECT_THAT(LinesOf(item.text, {name}), IsEmpty());
  }
}

TEST_F(ModernFacts, NothingIsLostInSilence) {
  const auto dropped = [](const std::string& component, const Lines& more) {
    Lines lines = component == "VEVENT" ? Hour({}) : Lines{"UID:u", "SUMMARY:x"};
    lines.insert(lines.end(), more.begin(), more.end());
    Lines names;
    for (const auto& item : dialects::StrictCalendarItems(Frame(component, lines), {})) {
      for (const auto& [name, count] : item.report.dropped) names.push_back(name);
    }
    return names;
  };
  EXPECT_THAT(dropped("VEVENT", {"DTSTART:20260613T090000Z"}), ElementsAre("DTSTART (second one)"));
  EXPECT_THAT(dropped("VEVENT", {"DTEND:20260613T090000Z"}), ElementsAre("DTEND (second one)"));
  EXPECT_THAT(dropped("VEVENT", {"DUE:20260613T090000Z"}), ElementsAre("DUE"));
  EXPECT_THAT(dropped("VEVENT", {"COMPLETED:20260613T090000Z"}), ElementsAre("COMPLETED"));
  EXPECT_THAT(dropped("VEVENT", {"CLASS:TOP-SECRET"}), ElementsAre("CLASS"));
  EXPECT_THAT(dropped("VTODO", {"DURATION:soon"}), ElementsAre("DURATION (no duration)"));
  EXPECT_THAT(dropped("VTODO", {"DTSTART:20260613T090000"}), ElementsAre("DTSTART (time of day)"));
  EXPECT_THAT(dropped("VTODO", {"DUE;VALUE=DATE:20260613", "DTEND;VALUE=DATE:20260614"}),
              ElementsAre("DTEND"));
  EXPECT_THAT(dropped("VTODO", {"STATUS:IN-PROCESS"}), ElementsAre("STATUS (IN-PROCESS)"));
  EXPECT_THAT(dropped("VTODO", {"PRIORITY:high"}), ElementsAre("PRIORITY"));
  EXPECT_THAT(dropped("VEVENT", Alarm({"ACTION:DISPLAY", "TRIGGER:"})), ElementsAre("VALARM"));
  EXPECT_THAT(dropped("VJOURNAL", {"DTSTART:20260613T090000Z", "RRULE:FREQ=DAILY", "STATUS:DRAFT",
                                   "PRIORITY:1", "RDATE:20260614T090000Z"}),
              ElementsAre("PRIORITY", "RDATE", "RRULE", "STATUS"));
}

TEST_F(ModernFacts, ZeroByteGoesAndSaysSo) {
  using namespace std::string_literals;
  const StrictObject item = Event({"DTSTART:20260612T090000Z", "SUMMARY:a\0b"s, "LOCATION:c"});
  EXPECT_THAT(LinesOf(item.text, {"SUMMARY", "LOCATION"}), ElementsAre("SUMMARY:ab", "LOCATION:c"));
  EXPECT_THAT(item.report.changed, testing::Contains(testing::Pair("zero bytes", 1U)));
  EXPECT_THAT(item.report.dropped, testing::IsEmpty());
}

// Each end of a name may be a zone's; were all of them looked up, this would take hours.
TEST_F(ModernFacts, ZoneWhoseNameHasManyPartsIsNotKnown) {
  std::string name;
  for (int i = 0; i < 500000; ++i) name += "a/";
  const StrictObject item = Event({"SUMMARY:x", "DTSTART;TZID=" + name + ":20260612T090000"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART"}), ElementsAre("DTSTART:20260612T090000"));
  EXPECT_THAT(item.report.guessed, Contains(Key("time zone that is not known")));
}

TEST_F(ModernFacts, JournalEntryIsANote) {
  const auto items = dialects::StrictCalendarItems(
      Frame("VJOURNAL", {"UID:j", "SUMMARY:Day", "DESCRIPTION:one\\ntwo\\; three"}), {});
  ASSERT_THAT(items, SizeIs(1));
  EXPECT_EQ(items[0].kind, dialects::ObjectKind::kNote);
  EXPECT_EQ(items[0].uid, "j");
  std::string summary;
  std::string body;
  strict_reading::ReadOne(items[0].text, [&](OsifObject& object) {
    summary = TextOf(object.note.summary);
    body = TextOf(object.note.body);
  });
  EXPECT_EQ(summary, "Day");
  EXPECT_EQ(body, "one\r\ntwo; three");
}

// A task is found again by its summary: 60 bytes of the first line at most, whole words where there are any.
TEST_F(ModernFacts, SummaryOfATaskIsTheStartOfALongDescription) {
  const std::string words =
      "DESCRIPTION:Bring the two grey cables and all the paper from the cellar to the shop";
  EXPECT_THAT(LinesOf(Task({words}).text, {"SUMMARY"}),
              ElementsAre("SUMMARY:Bring the two grey cables and all the paper from the cellar"));
  EXPECT_THAT(LinesOf(Task({"DESCRIPTION:" + std::string(70, 'x')}).text, {"SUMMARY"}),
              ElementsAre("SUMMARY:" + std::string(60, 'x')));
}

}  // namespace
}  // namespace calendar_facts_modern_test
