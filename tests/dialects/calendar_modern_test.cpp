// iCalendar 2.0 as it comes, and what the strict reader gets of it.
#include <gmock/gmock.h>

#include "dialects/calendar_time.h"
#include "tests/dialects/calendar_support.h"

namespace calendar_modern_test {
namespace {

using calendar_support::CalendarObject;
using calendar_support::LinesOf;
using calendar_support::Modern;
using dialects::Happenings;
using dialects::StrictObject;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;

using Lines = std::vector<std::string>;

class ModernCalendar : public calendar_support::StrictCalendar {
 protected:
  static StrictObject Event(std::initializer_list<std::string_view> lines,
                            std::string_view frame = "") {
    return Only(Modern("VEVENT", lines, frame));
  }
  static StrictObject Task(std::initializer_list<std::string_view> lines) {
    return Only(Modern("VTODO", lines));
  }
};

// A zone that no data base knows: New York's hours under another name.
constexpr const char* kOwnZone =
    "BEGIN:VTIMEZONE\r\nTZID:Our Office\r\n"
    "BEGIN:STANDARD\r\nDTSTART:19701101T020000\r\nTZOFFSETFROM:-0400\r\nTZOFFSETTO:-0500\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=11;BYDAY=1SU\r\nEND:STANDARD\r\n"
    "BEGIN:DAYLIGHT\r\nDTSTART:19700308T020000\r\nTZOFFSETFROM:-0500\r\nTZOFFSETTO:-0400\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=2SU\r\nEND:DAYLIGHT\r\nEND:VTIMEZONE\r\n";

TEST_F(ModernCalendar, EventIsWrittenInTheOldForm) {
  const StrictObject item = Event({"UID:u1", "DTSTAMP:20260101T000000Z", "SUMMARY:Lunch\\, late",
                                   "DTSTART:20260612T100000Z", "DTEND:20260612T110000Z",
                                   "DESCRIPTION:one\\ntwo\\; th", " ree"});
  EXPECT_EQ(
      item.text,
      "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:Lunch, late\r\n"
      "DESCRIPTION;ENCODING=QUOTED-PRINTABLE:one=0D=0Atwo=3B three\r\n"
      "DTSTART:20260612T100000Z\r\nDTEND:20260612T110000Z\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  EXPECT_EQ(item.uid, "u1");
  EXPECT_TRUE(item.report.IsEmpty());
}

TEST_F(ModernCalendar, TimeOfAZoneOfTheDataBaseBecomesUtc) {
  EXPECT_THAT(
      Times(Event({"SUMMARY:x", "DTSTART;TZID=America/New_York:20260612T120000",
                   "DTEND;TZID=\"/somewhere.example/20260101_1/Asia/Tokyo\":20260613T020000"})),
      ElementsAre("DTSTART:20260612T160000Z", "DTEND:20260612T170000Z"));
}

TEST_F(ModernCalendar, TimeOfAZoneOfItsOwnBecomesUtc) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART;TZID=Our Office:20260612T120000"}, kOwnZone)),
              ElementsAre("DTSTART:20260612T160000Z", "DTEND:20260612T160000Z"));
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART;TZID=Our Office:20260112T120000"}, kOwnZone)),
              ElementsAre("DTSTART:20260112T170000Z", "DTEND:20260112T170000Z"));
}

TEST_F(ModernCalendar, TimeOfAnUnknownZoneIsTheDevices) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART;TZID=Nowhere:20260612T120000"});
  EXPECT_THAT(Times(item), ElementsAre("DTSTART:20260612T120000", "DTEND:20260612T120000"));
  EXPECT_EQ(item.report.guessed, (Happenings{{"time zone that is not known", 1}}));
}

TEST_F(ModernCalendar, DateIsForTheWholeDay) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612"})),
              ElementsAre("DTSTART:20260612T000000", "DTEND:20260613T000000",
                          "X-BLUETOOTH-ALLDAYEVENT:TRUE"));
  EXPECT_THAT(
      Times(Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "DTEND;VALUE=DATE:20260615"})),
      ElementsAre("DTSTART:20260612T000000", "DTEND:20260615T000000",
                  "X-BLUETOOTH-ALLDAYEVENT:TRUE"));
}

TEST_F(ModernCalendar, MidnightIsNotForTheWholeDay) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T000000", "DTEND:20260613T000000"})),
              ElementsAre("DTSTART:20260612T000000", "DTEND:20260613T000000"));
}

TEST_F(ModernCalendar, SeriesIsWrittenInLocalTime) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART;TZID=Europe/Paris:20260612T090000",
             "DTEND;TZID=Europe/Paris:20260612T100000", "RRULE:FREQ=WEEKLY;BYDAY=FR",
             "EXDATE;TZID=Europe/Paris:20260619T090000,20260626T090000"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "DTEND", "RRULE", "EXDATE"}),
              ElementsAre("DTSTART:20260612T090000", "DTEND:20260612T100000", "RRULE:W1 FR #0",
                          "EXDATE:20260619T090000", "EXDATE:20260626T090000"));
  EXPECT_TRUE(item.report.IsEmpty());
}

TEST_F(ModernCalendar, WeekdaysMoveWithTheDate) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART;TZID=America/New_York:20260612T200000",
                                   "RRULE:FREQ=WEEKLY;BYDAY=MO,FR;UNTIL=20260620T000000Z"});
  // Until Friday evening in New York, which is Saturday here.
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260613T020000", "RRULE:W1 TU SA 20260620T000000"));
  EXPECT_THAT(item.report.guessed,
              Contains(Key("rule of a zone that changes its clocks on other days")));
}

TEST_F(ModernCalendar, RuleInUtcIsOneOfAnotherZone) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T223000Z", "RRULE:FREQ=MONTHLY;BYMONTHDAY=12;COUNT=3"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260613T003000", "RRULE:MD1 13 #3"));
}

struct UntilRow {
  const char* until;
  const char* rule;
};

class Until : public ModernCalendar, public testing::WithParamInterface<UntilRow> {};

TEST_P(Until, IsTheLocalDayOfTheLastOccurrence) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART;TZID=Europe/Berlin:20260612T090000",
                                   std::string("RRULE:FREQ=DAILY;UNTIL=") + GetParam().until});
  EXPECT_THAT(LinesOf(item.text, {"RRULE"}), ElementsAre(GetParam().rule));
}

INSTANTIATE_TEST_SUITE_P(Ends, Until,
                         testing::Values(UntilRow{"20260630T070000Z", "RRULE:D1 20260630T000000"},
                                         UntilRow{"20260630T065959Z", "RRULE:D1 20260629T000000"},
                                         UntilRow{"20260630T220000Z", "RRULE:D1 20260630T000000"},
                                         UntilRow{"20260630", "RRULE:D1 20260630T000000"},
                                         UntilRow{"20260630T090000", "RRULE:D1 20260630T000000"}));

TEST_F(ModernCalendar, SeriesOfWholeDaysStaysOne) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "RRULE:FREQ=YEARLY",
                                   "EXDATE;VALUE=DATE:20270612"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "DTEND", "RRULE", "EXDATE"}),
              ElementsAre("DTSTART:20260612T000000", "DTEND:20260613T000000",
                          "RRULE:YM1 6 #0 MD1 12", "EXDATE:20270612T000000"));
}

TEST_F(ModernCalendar, SeriesOfAMonths30thMayBeginInFebruary) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART;TZID=Europe/Berlin:20260228T090000",
                                   "RRULE:FREQ=MONTHLY;BYMONTHDAY=28,29,30;BYSETPOS=-1"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260228T090000", "RRULE:MD1 30 #0"));
  EXPECT_TRUE(item.report.IsEmpty());
}

TEST_F(ModernCalendar, ChangedOccurrenceLeavesTheSeriesAndACancelledOneGoes) {
  const std::string text =
      calendar_support::JoinedLines({"BEGIN:VCALENDAR",
                                     "VERSION:2.0",
                                     "BEGIN:VEVENT",
                                     "UID:u",
                                     "SUMMARY:later",
                                     "RECURRENCE-ID:20260613T070000Z",
                                     "DTSTART:20260613T130000Z",
                                     "END:VEVENT",
                                     "BEGIN:VEVENT",
                                     "UID:u",
                                     "STATUS:CANCELLED",
                                     "RECURRENCE-ID:20260614T070000Z",
                                     "DTSTART:20260614T070000Z",
                                     "END:VEVENT",
                                     "BEGIN:VEVENT",
                                     "UID:u",
                                     "SUMMARY:x",
                                     "DTSTART;TZID=Europe/Berlin:20260612T090000",
                                     "RRULE:FREQ=DAILY;COUNT=5",
                                     "END:VEVENT",
                                     "END:VCALENDAR"});
  const auto items = Strict(CalendarObject(text));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(LinesOf(items[0].text, {"SUMMARY", "DTSTART"}),
              ElementsAre("SUMMARY:later", "DTSTART:20260613T130000Z"));
  EXPECT_THAT(LinesOf(items[1].text, {"RRULE", "EXDATE"}),
              ElementsAre("RRULE:D1 #5", "EXDATE:20260613T090000", "EXDATE:20260614T090000"));
}

TEST_F(ModernCalendar, FurtherDatesMayBePeriods) {
  const auto items = Strict(Modern(
      "VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000Z", "DTEND:20260612T100000Z",
                 "RDATE;VALUE=PERIOD:20260701T090000Z/PT3H,20260702T090000Z/20260702T093000Z"}));
  ASSERT_THAT(items, SizeIs(3));
  EXPECT_THAT(Times(items[1]), ElementsAre("DTSTART:20260701T090000Z", "DTEND:20260701T120000Z"));
  EXPECT_THAT(Times(items[2]), ElementsAre("DTSTART:20260702T090000Z", "DTEND:20260702T093000Z"));
}

TEST_F(ModernCalendar, FurtherDatesAreFiftyAtMost) {
  std::string dates = "RDATE:20260701T090000Z";
  for (int day = 1; day < 50; ++day) {
    dates += "," + dialects::DateTimeText(dialects::PlusDays({2026, 7, 1, 9, 0, 0}, day)) + "Z";
  }
  const auto items = Strict(Modern("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000Z", dates}));
  ASSERT_THAT(items, SizeIs(51));
  EXPECT_THAT(items[0].report.dropped, IsEmpty());
  const auto most = Strict(
      Modern("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000Z", dates + ",20261201T090000Z"}));
  ASSERT_THAT(most, SizeIs(51));
  EXPECT_EQ(most[0].report.dropped, (Happenings{{"RDATE", 1}}));
}

TEST_F(ModernCalendar, RuleThatTheStoreLacksBecomesAtMostFiftySingleEvents) {
  EXPECT_THAT(Strict(Modern("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000Z",
                                       "RRULE:FREQ=HOURLY;COUNT=50"})),
              SizeIs(50));
  EXPECT_THAT(Strict(Modern("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000Z",
                                       "RRULE:FREQ=HOURLY;COUNT=51"})),
              SizeIs(1));
}

TEST_F(ModernCalendar, SingleEventsLeaveOutTheExceptions) {
  const auto items =
      Strict(Modern("VEVENT", {"SUMMARY:x", "DTSTART;TZID=Europe/Berlin:20260529T090000",
                               "RRULE:FREQ=MONTHLY;BYDAY=5FR;COUNT=3",
                               "EXDATE;TZID=Europe/Berlin:20260731T090000"}));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(LinesOf(items[1].text, {"DTSTART"}), ElementsAre("DTSTART:20261030T080000Z"));
}

TEST_F(ModernCalendar, RulesThatNeverOccurCostLittle) {
  std::string text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n";
  constexpr size_t kEvents = 300;
  for (size_t i = 0; i < kEvents; ++i) {
    text +=
        "BEGIN:VEVENT\r\nSUMMARY:x\r\nDTSTART:20260613T090000Z\r\n"
        "RRULE:FREQ=DAILY;INTERVAL=7;BYDAY=MO;COUNT=3\r\nEND:VEVENT\r\n";
  }
  const auto items = dialects::StrictCalendarItems(CalendarObject(text + "END:VCALENDAR\r\n"), {});
  ASSERT_THAT(items, SizeIs(kEvents));
  for (const StrictObject& item : items) EXPECT_EQ(item.report.dropped, (Happenings{{"RRULE", 1}}));
}

TEST_F(ModernCalendar, StartOnWhichItsRuleDoesNotOccurIsASingleEvent) {
  const auto items =
      Strict(Modern("VEVENT", {"UID:u", "SUMMARY:x", "DTSTART;TZID=Europe/Berlin:20260612T090000",
                               "RRULE:FREQ=WEEKLY;BYDAY=MO"}));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(LinesOf(items[0].text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260612T070000Z"));
  EXPECT_THAT(LinesOf(items[1].text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260615T090000", "RRULE:W1 MO #0"));
  EXPECT_EQ(items[0].report.changed,
            (Happenings{{"start on which its rule does not occur, as a single item", 1}}));
}

TEST_F(ModernCalendar, LaterOccurrencesThatAreChangedAreOneAndAreReported) {
  const StrictObject item =
      Event({"UID:u", "SUMMARY:x", "RECURRENCE-ID;RANGE=THISANDFUTURE:20260613T070000Z",
             "DTSTART:20260613T130000Z"});
  EXPECT_EQ(item.uid, "u#20260613");
  EXPECT_EQ(item.report.dropped, (Happenings{{"RECURRENCE-ID (THISANDFUTURE)", 1}}));
}

TEST_F(ModernCalendar, CancelledOccurrenceAloneIsRefused) {
  const StrictObject item = Event(
      {"UID:u", "STATUS:CANCELLED", "RECURRENCE-ID:20260613T070000Z", "DTSTART:20260613T070000Z"});
  EXPECT_EQ(item.refusal, "cancelled occurrences alone");
}

TEST_F(ModernCalendar, TextsAreUtf8WhateverTheSettingSays) {
  dialects::TextSettings settings;
  settings.input_code_page = 932;
  const auto items = dialects::StrictCalendarItems(
      Modern("VEVENT", {"SUMMARY:B\xC3\xA4r", "DTSTART:20260612T090000Z"}), settings);
  ASSERT_THAT(items, SizeIs(1));
  EXPECT_THAT(LinesOf(items.front().text, {"SUMMARY"}),
              ElementsAre("SUMMARY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:B=C3=A4r"));
}

// ---- Alarms ----

TEST_F(ModernCalendar, AlarmIsBeforeTheStart) {
  const auto alarm_of = [](std::initializer_list<std::string_view> alarm) {
    return LinesOf(Event({"SUMMARY:x", "DTSTART:20260612T090000Z", "DTEND:20260612T110000Z",
                          "BEGIN:VALARM", *alarm.begin(), *(alarm.begin() + 1), "END:VALARM"})
                       .text,
                   {"DALARM"});
  };
  EXPECT_THAT(alarm_of({"ACTION:DISPLAY", "TRIGGER:-PT15M"}),
              ElementsAre("DALARM:20260612T084500Z"));
  EXPECT_THAT(alarm_of({"ACTION:AUDIO", "TRIGGER;RELATED=END:-PT3H"}),
              ElementsAre("DALARM:20260612T080000Z"));
  EXPECT_THAT(alarm_of({"ACTION:DISPLAY", "TRIGGER;VALUE=DATE-TIME:20260611T090000Z"}),
              ElementsAre("DALARM:20260611T090000Z"));
  EXPECT_THAT(alarm_of({"ACTION:EMAIL", "TRIGGER:-PT15M"}), IsEmpty());
  EXPECT_THAT(alarm_of({"ACTION:DISPLAY", "TRIGGER:-P46D"}), IsEmpty());
}

TEST_F(ModernCalendar, FirstAlarmThatIsNotLateIsTaken) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T090000Z", "BEGIN:VALARM", "TRIGGER:PT5M", "END:VALARM",
             "BEGIN:VALARM", "TRIGGER:-PT5M", "REPEAT:3", "END:VALARM"});
  EXPECT_THAT(LinesOf(item.text, {"DALARM"}), ElementsAre("DALARM:20260612T085500Z"));
  EXPECT_EQ(item.report.dropped, (Happenings{{"VALARM (repetition)", 1}, {"alarm", 1}}));
}

// ---- Words ----

struct WordRow {
  const char* line;
  std::vector<std::string> strict;
};

class EventWords : public ModernCalendar, public testing::WithParamInterface<WordRow> {};

TEST_P(EventWords, AreTheStores) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART:20260612T090000Z", GetParam().line});
  EXPECT_EQ(LinesOf(item.text, {"STATUS", "CLASS", "CATEGORIES", "ATTENDEE"}), GetParam().strict);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, EventWords,
    testing::Values(
        WordRow{"STATUS:TENTATIVE", {"STATUS:TENTATIVE"}},
        WordRow{"STATUS:CONFIRMED", {"STATUS:CONFIRMED"}}, WordRow{"STATUS:CANCELLED", {}},
        WordRow{"TRANSP:TRANSPARENT", {"STATUS:DECLINED"}}, WordRow{"TRANSP:OPAQUE", {}},
        WordRow{"CLASS:CONFIDENTIAL", {"CLASS:PRIVATE"}}, WordRow{"CLASS:PUBLIC", {"CLASS:PUBLIC"}},
        WordRow{"CLASS:X-SECRET", {}}, WordRow{"CATEGORIES:A\\,B,C", {"CATEGORIES:A,B,C"}},
        WordRow{"ATTENDEE;CN=\"Lee, Ann\":mailto:ann@lee.example",
                {"ATTENDEE;ROLE=ATTENDEE:Lee, Ann <ann@lee.example>"}},
        WordRow{"ATTENDEE:MAILTO:ann@lee.example", {"ATTENDEE;ROLE=ATTENDEE:ann@lee.example"}},
        WordRow{"ATTENDEE;CUTYPE=ROOM:mailto:r@lee.example", {}},
        WordRow{"ORGANIZER:mailto:ann@lee.example", {}}));

class TaskWords : public ModernCalendar, public testing::WithParamInterface<WordRow> {};

TEST_P(TaskWords, AreTheStores) {
  const StrictObject item = Task({"SUMMARY:x", GetParam().line});
  EXPECT_EQ(LinesOf(item.text, {"STATUS", "PRIORITY", "DUE", "DTSTART"}), GetParam().strict);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, TaskWords,
    testing::Values(WordRow{"STATUS:COMPLETED", {"DUE:", "PRIORITY:", "STATUS:COMPLETED"}},
                    WordRow{"PERCENT-COMPLETE:100", {"DUE:", "PRIORITY:", "STATUS:COMPLETED"}},
                    WordRow{"PERCENT-COMPLETE:50", {"DUE:", "PRIORITY:", "STATUS:NEEDS ACTION"}},
                    WordRow{"STATUS:IN-PROCESS", {"DUE:", "PRIORITY:", "STATUS:NEEDS ACTION"}},
                    WordRow{"STATUS:CANCELLED", {"DUE:", "PRIORITY:", "STATUS:NEEDS ACTION"}},
                    WordRow{"PRIORITY:4", {"DUE:", "PRIORITY:1", "STATUS:NEEDS ACTION"}},
                    WordRow{"PRIORITY:5", {"DUE:", "PRIORITY:2", "STATUS:NEEDS ACTION"}},
                    WordRow{"PRIORITY:9", {"DUE:", "PRIORITY:3", "STATUS:NEEDS ACTION"}},
                    WordRow{"PRIORITY:0", {"DUE:", "PRIORITY:", "STATUS:NEEDS ACTION"}},
                    WordRow{"DUE;VALUE=DATE:20260612",
                            {"DUE:20260612", "PRIORITY:", "STATUS:NEEDS ACTION"}},
                    WordRow{"DTSTART:20260612T230000Z",
                            {"DTSTART:20260613", "DUE:", "PRIORITY:", "STATUS:NEEDS ACTION"}}));

TEST_F(ModernCalendar, DurationOfATaskEndsOnItsDay) {
  EXPECT_THAT(LinesOf(Task({"SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "DURATION:P2D"}).text,
                      {"DTSTART", "DUE"}),
              ElementsAre("DTSTART:20260612", "DUE:20260614"));
}

TEST_F(ModernCalendar, JournalEntryIsANote) {
  const StrictObject item = Only(Modern(
      "VJOURNAL", {"UID:j", "DTSTART;VALUE=DATE:20260612", "DESCRIPTION:It rained.\\nAll day."}));
  EXPECT_EQ(item.kind, dialects::ObjectKind::kNote);
  EXPECT_EQ(item.uid, "j");
  EXPECT_EQ(item.text,
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nDCREATED:20260612T000000\r\nSUMMARY:It rained.\r\n"
            "BODY;ENCODING=QUOTED-PRINTABLE:It rained.=0D=0AAll day.\r\nEND:VNOTE\r\n");
}

TEST_F(ModernCalendar, JournalEntryMayBeASummaryAlone) {
  const StrictObject item = Only(Modern("VJOURNAL", {"SUMMARY:It rained."}));
  EXPECT_EQ(item.kind, dialects::ObjectKind::kNote);
  EXPECT_THAT(LinesOf(item.text, {"SUMMARY"}), ElementsAre("SUMMARY:It rained."));
}

TEST_F(ModernCalendar, ThatIsTakenBackIsRefused) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART:20260612T090000Z"}, "METHOD:CANCEL\r\n");
  EXPECT_EQ(item.text, "");
  EXPECT_EQ(item.refusal, "its sender takes it back (METHOD:CANCEL)");
}

TEST_F(ModernCalendar, WithoutAVersionIsKnownByItsWays) {
  const StrictObject item = Only(CalendarObject(
      "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:a\\nb\r\n"
      "DTSTART;TZID=Europe/Berlin:20260612T090000\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"));
  EXPECT_THAT(
      LinesOf(item.text, {"SUMMARY", "DTSTART"}),
      ElementsAre("SUMMARY;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab", "DTSTART:20260612T070000Z"));
}

TEST_F(ModernCalendar, HostileZoneEndsSoon) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART;TZID=Busy:20260612T120000"},
            "BEGIN:VTIMEZONE\r\nTZID:Busy\r\nBEGIN:STANDARD\r\nDTSTART:16010101T000000\r\n"
            "TZOFFSETFROM:+0000\r\nTZOFFSETTO:+0100\r\nRRULE:FREQ=SECONDLY\r\nEND:STANDARD\r\n"
            "END:VTIMEZONE\r\n");
  EXPECT_THAT(Times(item), ElementsAre("DTSTART:20260612T110000Z", "DTEND:20260612T110000Z"));
}

}  // namespace
}  // namespace calendar_modern_test
