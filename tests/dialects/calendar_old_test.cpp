// vCalendar 1.0 as it comes, and what the strict reader gets of it.
#include <gmock/gmock.h>

#include "tests/dialects/calendar_support.h"

namespace calendar_old_test {
namespace {

using calendar_support::CalendarObject;
using calendar_support::LinesOf;
using calendar_support::Old;
using dialects::Happenings;
using dialects::StrictObject;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;

using Lines = std::vector<std::string>;

class OldCalendar : public calendar_support::StrictCalendar {
 protected:
  static StrictObject Event(std::initializer_list<std::string_view> lines,
                            std::string_view frame = "") {
    return Only(Old("VEVENT", lines, frame));
  }
  static StrictObject Task(std::initializer_list<std::string_view> lines) {
    return Only(Old("VTODO", lines));
  }
};

TEST_F(OldCalendar, EventIsWrittenInAFrameOfItsOwn) {
  const StrictObject item = Event({"UID:u1", "SUMMARY:Lunch", "DTSTART:20260612T120000",
                                   "DTEND:20260612T130000", "LOCATION:Room 5"});
  EXPECT_EQ(item.text,
            "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:Lunch\r\nDESCRIPTION:\r\n"
            "DTSTART:20260612T120000\r\nDTEND:20260612T130000\r\nLOCATION:Room 5\r\n"
            "END:VEVENT\r\nEND:VCALENDAR\r\n");
  EXPECT_EQ(item.uid, "u1");
  EXPECT_TRUE(item.report.IsEmpty());
}

TEST_F(OldCalendar, TaskHasAllThatTheReaderAsksFor) {
  const StrictObject item = Task({"SUMMARY:Buy milk", "DUE:20260612"});
  EXPECT_EQ(item.text,
            "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\nCATEGORIES:\r\nCOMPLETED:\r\n"
            "DESCRIPTION:\r\nDUE:20260612\r\nPRIORITY:\r\nSTATUS:NEEDS ACTION\r\n"
            "SUMMARY:Buy milk\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
}

TEST_F(OldCalendar, OfSeveralItemsGivesOneObjectEach) {
  const std::string text = calendar_support::JoinedLines(
      {"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT", "SUMMARY:a", "DTSTART:20260612T120000Z",
       "END:VEVENT", "BEGIN:VTODO", "SUMMARY:b", "END:VTODO", "END:VCALENDAR"});
  const auto items = Strict(CalendarObject(text));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_EQ(items[0].line, 3U);
  EXPECT_EQ(items[1].line, 7U);
}

TEST_F(OldCalendar, ComponentWithoutAFrameIsReadAsWell) {
  const StrictObject item = Only(
      CalendarObject("BEGIN:VEVENT\r\nSUMMARY:x\r\nDTSTART:20260612T120000Z\r\nEND:VEVENT\r\n"));
  EXPECT_THAT(Times(item), ElementsAre("DTSTART:20260612T120000Z", "DTEND:20260612T120000Z"));
}

TEST_F(OldCalendar, OtherComponentsAreReported) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T120000Z"}, "BEGIN:VFOO\r\nSUMMARY:y\r\nEND:VFOO\r\n");
  EXPECT_EQ(item.report.dropped, (Happenings{{"VFOO", 1}}));
}

TEST_F(OldCalendar, WithoutItemsIsRefused) {
  const StrictObject item =
      Only(CalendarObject("BEGIN:VCALENDAR\r\nVERSION:1.0\r\nEND:VCALENDAR\r\n"));
  EXPECT_EQ(item.text, "");
  EXPECT_EQ(item.refusal, "neither an event, nor a task, nor a journal entry");
}

TEST_F(OldCalendar, FramesAreReadWithAColonTooManyAndInEachOther) {
  const std::string text = calendar_support::JoinedLines(
      {"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VCALENDAR", "BEGIN:VEVENT:", "SUMMARY:x",
       "DTSTART:20260612T120000Z", "END:VEVENT", "END:VCALENDAR", "END:VCALENDAR"});
  EXPECT_THAT(LinesOf(Only(CalendarObject(text)).text, {"SUMMARY"}), ElementsAre("SUMMARY:x"));
}

TEST_F(OldCalendar, ComponentsThatNobodyEndedEndWithTheObject) {
  const StrictObject item = Only(CalendarObject(
      "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:x\r\nDTSTART:20260612T120000Z\r\n"));
  EXPECT_THAT(LinesOf(item.text, {"SUMMARY"}), ElementsAre("SUMMARY:x"));
}

TEST_F(OldCalendar, BottomlessComponentsAreLeftOut) {
  std::string text = "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:x\r\nDTSTART:20260612\r\n";
  for (int i = 0; i < 100000; ++i) text += "BEGIN:DEEP\r\n";
  const StrictObject item = Only(CalendarObject(text));
  EXPECT_THAT(LinesOf(item.text, {"SUMMARY"}), ElementsAre("SUMMARY:x"));
  EXPECT_THAT(item.report.dropped, Contains(Key("DEEP")));
}

// ---- Whole days ----

TEST_F(OldCalendar, EventOfADateAloneIsForTheWholeDay) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612"})),
              ElementsAre("DTSTART:20260612T000000", "DTEND:20260613T000000",
                          "X-BLUETOOTH-ALLDAYEVENT:TRUE"));
}

struct AllDayRow {
  const char* start;
  const char* end;
  const char* mark;
  const char* last;  // DTEND of the result
};

class WholeDays : public OldCalendar, public testing::WithParamInterface<AllDayRow> {};

TEST_P(WholeDays, AreSaidInTheStoresWay) {
  const AllDayRow& row = GetParam();
  const StrictObject item = Event({"SUMMARY:x", row.start, row.end, row.mark});
  EXPECT_THAT(Times(item), ElementsAre("DTSTART:20260612T000000", std::string("DTEND:") + row.last,
                                       "X-BLUETOOTH-ALLDAYEVENT:TRUE"));
}

constexpr const char* kNoMark = "CLASS:PUBLIC";

INSTANTIATE_TEST_SUITE_P(
    Forms, WholeDays,
    testing::Values(
        AllDayRow{"DTSTART:20260612T000000", "DTEND:20260612T235959", kNoMark, "20260613T000000"},
        AllDayRow{"DTSTART:20260612T000000", "DTEND:20260612T240000", kNoMark, "20260613T000000"},
        AllDayRow{"DTSTART:20260612T000000", "DTEND:20260614T000000", kNoMark, "20260614T000000"},
        AllDayRow{"DTSTART:20260612T090000", "DTEND:20260612T100000", "X-EPOCAGENDAENTRYTYPE:EVENT",
                  "20260613T000000"},
        AllDayRow{"DTSTART:20260612T000000", "DTEND:20260612T000000",
                  "X-EPOCAGENDAENTRYTYPE:ANNIVERSARY", "20260613T000000"},
        AllDayRow{"DTSTART:20260612T000000", "DTEND:20260613T235959", "X-FUNAMBOL-ALLDAY:1",
                  "20260614T000000"},
        AllDayRow{"DTSTART:20260611T220000Z", "DTEND:20260612T220000Z",
                  "X-MICROSOFT-CDO-ALLDAYEVENT:TRUE", "20260613T000000"},
        AllDayRow{"DTSTART:20260612T000000Z", "DTEND:20260613T000000Z",
                  "X-BLUETOOTH-ALLDAYEVENT:TRUE", "20260613T000000"}));

TEST_F(OldCalendar, EventFromMidnightIntoTheDayIsNotForTheWholeDay) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T000000", "DTEND:20260612T060000"})),
              ElementsAre("DTSTART:20260612T000000", "DTEND:20260612T060000"));
}

// ---- Starts and ends ----

TEST_F(OldCalendar, EventWithoutAnEndEndsAtItsStart) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T120000Z"})),
              ElementsAre("DTSTART:20260612T120000Z", "DTEND:20260612T120000Z"));
}

TEST_F(OldCalendar, DurationBecomesAnEnd) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T120000", "DURATION:P1DT2H30M"})),
              ElementsAre("DTSTART:20260612T120000", "DTEND:20260613T143000"));
}

TEST_F(OldCalendar, EventWithoutAStartBeginsAtItsEndOrItsAlarm) {
  const StrictObject item = Event({"SUMMARY:x", "DTEND:20260612T120000Z"});
  EXPECT_THAT(Times(item), ElementsAre("DTSTART:20260612T120000Z", "DTEND:20260612T120000Z"));
  EXPECT_EQ(item.report.guessed, (Happenings{{"start from DTEND", 1}}));
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DALARM:20260612T120000Z"})),
              ElementsAre("DTSTART:20260612T120000Z", "DTEND:20260612T120000Z"));
}

TEST_F(OldCalendar, EventOfATextAloneIsKeptAsATask) {
  const StrictObject item = Event({"DESCRIPTION:Call Ann"});
  EXPECT_THAT(LinesOf(item.text, {"BEGIN", "SUMMARY", "DUE"}),
              ElementsAre("BEGIN:VCALENDAR", "BEGIN:VTODO", "DUE:", "SUMMARY:Call Ann"));
  EXPECT_THAT(item.report.guessed, Contains(Key("event without a date, as a task")));
}

TEST_F(OldCalendar, EventOfNothingIsRefused) {
  EXPECT_EQ(Event({"UID:4"}).refusal, "no start, no end and no text");
  EXPECT_EQ(Task({"UID:4"}).refusal, "neither a summary nor a day");
}

TEST_F(OldCalendar, EventOfAnAlarmBeforeAnUnknownStartIsRefused) {
  const StrictObject item = Event({"UID:4", "DALARM:-PT5M"});
  EXPECT_EQ(item.refusal, "no start, no end and no text");
  EXPECT_TRUE(item.report.IsEmpty());
}

TEST_F(OldCalendar, EndBeforeTheStartIsNone) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T120000Z", "DTEND:20260612T110000Z"});
  EXPECT_THAT(Times(item), ElementsAre("DTSTART:20260612T120000Z", "DTEND:20260612T120000Z"));
  EXPECT_EQ(item.report.guessed, (Happenings{{"end before the start", 1}}));
}

struct TimeRow {
  const char* sent;
  const char* strict;
};

class TimeForms : public OldCalendar, public testing::WithParamInterface<TimeRow> {};

TEST_P(TimeForms, AreWrittenInTheBasicForm) {
  const StrictObject item =
      Event({"SUMMARY:x", std::string("DTSTART:") + GetParam().sent, "DTEND:20270101T000000Z"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART"}),
              ElementsAre(std::string("DTSTART:") + GetParam().strict));
}

INSTANTIATE_TEST_SUITE_P(Forms, TimeForms,
                         testing::Values(TimeRow{"20260612T0800Z", "20260612T080000Z"},
                                         TimeRow{"2026-06-12T08:30:00Z", "20260612T083000Z"},
                                         TimeRow{"20260612T080000-0400", "20260612T120000Z"},
                                         TimeRow{"20260612T080000+05:30", "20260612T023000Z"},
                                         TimeRow{"20260612T080000,5Z", "20260612T080000Z"},
                                         TimeRow{"20260612T083000", "20260612T083000"}));

// ---- The sender's zone ----

TEST_F(OldCalendar, TimesOfTheDevicesOwnZoneStay) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T120000"},
                          "TZ:+01\r\nDAYLIGHT:TRUE;+02;20260329T020000;20261025T030000;;\r\n")),
              ElementsAre("DTSTART:20260612T120000", "DTEND:20260612T120000"));
  // Some devices write the offset of the day.
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260112T120000"},
                          "TZ:+02\r\nDAYLIGHT:TRUE;+02;20260329T020000;20261025T030000;;\r\n")),
              ElementsAre("DTSTART:20260112T120000", "DTEND:20260112T120000"));
}

TEST_F(OldCalendar, TimesOfAnotherZoneBecomeUtc) {
  constexpr const char* kNewYork =
      "TZ:-05\r\nDAYLIGHT:TRUE;-04;20260308T020000;20261101T020000;EST;EDT\r\n";
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T120000"}, kNewYork)),
              ElementsAre("DTSTART:20260612T160000Z", "DTEND:20260612T160000Z"));
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260112T120000"}, kNewYork)),
              ElementsAre("DTSTART:20260112T170000Z", "DTEND:20260112T170000Z"));
  // The same saving in another year.
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20280612T120000"}, kNewYork)),
              ElementsAre("DTSTART:20280612T160000Z", "DTEND:20280612T160000Z"));
}

TEST_F(OldCalendar, ZoneWithoutAWordOfSavingSavesWhenTheDeviceDoes) {
  EXPECT_THAT(Times(Event({"SUMMARY:x", "DTSTART:20260612T120000"}, "TZ:-0500\r\n")),
              ElementsAre("DTSTART:20260612T160000Z", "DTEND:20260612T160000Z"));
  EXPECT_THAT(
      Times(Event({"SUMMARY:x", "DTSTART:20260612T120000"}, "TZ:-0500\r\nDAYLIGHT:FALSE\r\n")),
      ElementsAre("DTSTART:20260612T170000Z", "DTEND:20260612T170000Z"));
}

TEST_F(OldCalendar, WeekdaysOfAnotherZoneMoveWithTheStart) {
  // Friday evening in New York is Saturday morning here.
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T200000", "RRULE:W1 FR #0"}, "TZ:-05\r\n");
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260613T020000", "RRULE:W1 SA #0"));
}

TEST_F(OldCalendar, RuleCountsOnTheClockOfTheZoneAlsoWhereTheStartIsInUtc) {
  // Friday evening there.
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260613T000000Z", "RRULE:W1 FR #0"}, "TZ:-05\r\n");
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260613T020000", "RRULE:W1 SA #0"));
}

// ---- Series ----

TEST_F(OldCalendar, ExceptionsOfASeriesAreMadeInTheStore) {
  const support::TempFolder device;
  const TempEnvironment folder_of_device("OSIF_DEVICE", device.path().c_str());
  ASSERT_EQ(OSIF_Open(), OSIF_OK);
  // Half past midnight here.
  const StrictObject item = Event({"SUMMARY:x", "DTSTART:20260611T223000Z", "RRULE:W1 FR #9",
                                   "EXDATE:20260618T223000Z;20260703"});
  EXPECT_THAT(LinesOf(item.text, {"EXDATE"}),
              ElementsAre("EXDATE:20260619T003000", "EXDATE:20260703T003000"));
  const auto stored = calendar_support::StoreByLibrary(item.text);
  EXPECT_TRUE(stored.recurs);
  EXPECT_EQ(stored.exceptions, 2U);
  OSIF_Close();
}

TEST_F(OldCalendar, SeriesCountsOnTheDevicesClockWhereNoZoneIsNamed) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART:20260611T223000Z", "RRULE:W1 FR #0"});
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "DTEND", "RRULE"}),
              ElementsAre("DTSTART:20260612T003000", "DTEND:20260612T003000", "RRULE:W1 FR #0"));
}

TEST_F(OldCalendar, ExceptionsOfAListAreWrittenEach) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:D1 #10",
             "EXDATE:20260613T090000;20260614T090000,20260615", "EXDATE:20260615T220000Z"});
  EXPECT_THAT(LinesOf(item.text, {"EXDATE"}),
              ElementsAre("EXDATE:20260613T090000", "EXDATE:20260614T090000",
                          "EXDATE:20260615T090000", "EXDATE:20260616T090000"));
}

TEST_F(OldCalendar, ExceptionRuleBecomesExceptions) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:D1 #10", "EXRULE:D2 #3"});
  EXPECT_THAT(
      LinesOf(item.text, {"EXDATE"}),
      ElementsAre("EXDATE:20260612T090000", "EXDATE:20260614T090000", "EXDATE:20260616T090000"));
  EXPECT_THAT(
      Event({"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:D1 #0", "EXRULE:D2 #0"}).report.dropped,
      Contains(Key("EXRULE")));
}

TEST_F(OldCalendar, FurtherDatesBecomeSingleEvents) {
  const auto items = Strict(
      Old("VEVENT", {"UID:u", "SUMMARY:x", "DTSTART:20260612T090000", "DTEND:20260612T100000",
                     "RRULE:D1 #2", "RDATE:20260701T110000;20260801T110000"}));
  ASSERT_THAT(items, SizeIs(3));
  EXPECT_THAT(Times(items[1]), ElementsAre("DTSTART:20260701T110000", "DTEND:20260701T120000"));
  EXPECT_THAT(Times(items[2]), ElementsAre("DTSTART:20260801T110000", "DTEND:20260801T120000"));
  EXPECT_THAT((Lines{items[0].uid, items[1].uid, items[2].uid}), ElementsAre("u", "u#2", "u#3"));
}

TEST_F(OldCalendar, ChangedOccurrenceLeavesTheSeries) {
  const std::string text = calendar_support::JoinedLines(
      {"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT", "UID:u", "SUMMARY:x",
       "DTSTART:20260612T090000", "RRULE:D1 #5", "END:VEVENT", "BEGIN:VEVENT", "UID:u",
       "SUMMARY:later", "DTSTART:20260613T150000", "X-RECURRENCE-ID:20260613T090000", "END:VEVENT",
       "END:VCALENDAR"});
  const auto items = Strict(CalendarObject(text));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(LinesOf(items[0].text, {"RRULE", "EXDATE"}),
              ElementsAre("RRULE:D1 #5", "EXDATE:20260613T090000"));
  EXPECT_THAT(LinesOf(items[1].text, {"SUMMARY", "DTSTART", "RRULE"}),
              ElementsAre("SUMMARY:later", "DTSTART:20260613T150000"));
  EXPECT_EQ(items[1].uid, "u#20260613");
}

TEST_F(OldCalendar, RuleOfSeveralDaysBecomesSeveralSeries) {
  const auto items = Strict(Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000",
                                           "DTEND:20260612T100000", "RRULE:MD1 12 20 #5"}));
  ASSERT_THAT(items, SizeIs(2));
  // The fifth of all is 12 August.
  EXPECT_THAT(LinesOf(items[0].text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260612T090000", "RRULE:MD1 12 20260812T000000"));
  EXPECT_THAT(LinesOf(items[1].text, {"DTSTART", "DTEND", "RRULE"}),
              ElementsAre("DTSTART:20260620T090000", "DTEND:20260620T100000",
                          "RRULE:MD1 20 20260812T000000"));
}

TEST_F(OldCalendar, TimesOfDayBecomeASeriesEach) {
  const auto items = Strict(Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000",
                                           "DTEND:20260612T093000", "RRULE:D1 0900 1200 #4"}));
  ASSERT_THAT(items, SizeIs(2));
  EXPECT_THAT(LinesOf(items[0].text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260612T090000", "RRULE:D1 #4"));
  EXPECT_THAT(LinesOf(items[1].text, {"DTSTART", "DTEND", "RRULE"}),
              ElementsAre("DTSTART:20260612T120000", "DTEND:20260612T123000", "RRULE:D1 #4"));
}

TEST_F(OldCalendar, RuleThatTheStoreLacksBecomesSingleEventsWhenItEnds) {
  const auto items = Strict(Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:M60 #3",
                                           "DALARM:20260612T084500"}));
  ASSERT_THAT(items, SizeIs(3));
  EXPECT_THAT(
      LinesOf(items[2].text, {"DTSTART", "DTEND", "DALARM", "RRULE"}),
      ElementsAre("DTSTART:20260612T110000", "DTEND:20260612T110000", "DALARM:20260612T084500Z"));
}

TEST_F(OldCalendar, RuleThatTheStoreLacksIsToldInWordsWhenItDoesNotEnd) {
  const StrictObject item = Event(
      {"SUMMARY:x", "DESCRIPTION:bring cake", "DTSTART:20260619T090000", "RRULE:MP1 2- FR #0"});
  EXPECT_THAT(LinesOf(item.text, {"RRULE"}), IsEmpty());
  EXPECT_THAT(item.text,
              testing::HasSubstr("DESCRIPTION;ENCODING=QUOTED-PRINTABLE:bring cake=0D=0ARepeats=3A "
                                 "FREQ=3DMON=\r\nTHLY=3BBYDAY=3D-2FR\r\n"));
  EXPECT_EQ(item.report.dropped, (Happenings{{"RRULE", 1}}));
}

TEST_F(OldCalendar, SeriesOfTasksHasNoExceptions) {
  const StrictObject item = Task({"SUMMARY:x", "DUE:20260612", "RRULE:D1 #5", "EXDATE:20260613"});
  EXPECT_THAT(LinesOf(item.text, {"DUE", "RRULE", "EXDATE"}),
              ElementsAre("DUE:20260612", "RRULE:D1 #5"));
  EXPECT_EQ(item.report.dropped, (Happenings{{"EXDATE", 1}}));
}

// ---- Alarms ----

struct AlarmRow {
  const char* alarm;
  std::vector<std::string> strict;
};

class EventAlarms : public OldCalendar, public testing::WithParamInterface<AlarmRow> {};

TEST_P(EventAlarms, AreBeforeTheStart) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T090000Z", "DTEND:20260612T110000Z", GetParam().alarm});
  EXPECT_EQ(LinesOf(item.text, {"DALARM", "AALARM"}), GetParam().strict);
}

INSTANTIATE_TEST_SUITE_P(
    Alarms, EventAlarms,
    testing::Values(AlarmRow{"DALARM:20260612T084500Z;PT5M;2;Wake up", {"DALARM:20260612T084500Z"}},
                    AlarmRow{"AALARM;TYPE=X-EPOCSOUND:20260612T104500;;0;Chimes",
                             {"DALARM:20260612T084500Z"}},
                    AlarmRow{"DALARM:-PT15M", {"DALARM:20260612T084500Z"}},
                    AlarmRow{"DALARM:20260612T100000Z", {"DALARM:20260612T090000Z"}},
                    AlarmRow{"DALARM:20260612T120000Z", {}},
                    AlarmRow{"DALARM:20260401T120000Z", {}}, AlarmRow{"DALARM:00000000T000000", {}},
                    AlarmRow{"DALARM:;;;", {}}));

TEST_F(OldCalendar, LateAlarmOfAWholeDayIsOneAtItsStart) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART:20260612", "DALARM:20260612T090000"});
  EXPECT_THAT(LinesOf(item.text, {"DALARM"}), ElementsAre("DALARM:20260612T000000"));
}

TEST_F(OldCalendar, AlarmOfATaskIsOneOfItsDay) {
  const StrictObject item = Task({"SUMMARY:x", "DUE:20260612", "DALARM:20260612T180000"});
  EXPECT_THAT(LinesOf(item.text, {"DALARM"}), ElementsAre("DALARM:20260612T000000"));
  EXPECT_THAT(Task({"SUMMARY:x", "DUE:20260612", "DALARM:20260613T080000"}).report.dropped,
              Contains(Key("alarm after the task")));
}

// ---- Words ----

TEST_F(OldCalendar, TaskIsDueOnADay) {
  const StrictObject item = Task({"SUMMARY:x", "DUE:20260612T223000Z"});
  EXPECT_THAT(LinesOf(item.text, {"DUE"}), ElementsAre("DUE:20260613"));
  EXPECT_EQ(item.report.dropped, (Happenings{{"DUE (time of day)", 1}}));
}

TEST_F(OldCalendar, TaskWithoutASummaryTakesTheFirstLineOfItsText) {
  EXPECT_THAT(
      LinesOf(Task({"DESCRIPTION;QUOTED-PRINTABLE:=0D=0ACall Ann=0D=0Anow"}).text, {"SUMMARY"}),
      ElementsAre("SUMMARY:Call Ann"));
}

TEST_F(OldCalendar, CategoriesAreOneText) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260612T120000Z", "CATEGORIES:Work;Travel", "CATEGORIES:Fun"});
  EXPECT_THAT(LinesOf(item.text, {"CATEGORIES"}), ElementsAre("CATEGORIES:Work,Travel,Fun"));
}

TEST_F(OldCalendar, SemicolonsOfTextsStayInThem) {
  const StrictObject item = Event({"SUMMARY:one; two", "DTSTART:20260612T120000Z"});
  EXPECT_THAT(LinesOf(item.text, {"SUMMARY"}), ElementsAre("SUMMARY:one\\; two"));
}

TEST_F(OldCalendar, CompletedTaskIsComplete) {
  const StrictObject item = Task({"SUMMARY:x", "COMPLETED:20260612T120000Z"});
  EXPECT_THAT(LinesOf(item.text, {"STATUS", "COMPLETED"}),
              ElementsAre("COMPLETED:", "STATUS:COMPLETED"));
  EXPECT_THAT(item.report.dropped, Contains(Key("COMPLETED")));
}

TEST_F(OldCalendar, EventThatTakesNoTimeIsDeclined) {
  EXPECT_THAT(
      LinesOf(Event({"SUMMARY:x", "DTSTART:20260612T120000Z", "TRANSP:1"}).text, {"STATUS"}),
      ElementsAre("STATUS:DECLINED"));
  EXPECT_THAT(
      LinesOf(Event({"SUMMARY:x", "DTSTART:20260612T120000Z", "TRANSP:0"}).text, {"STATUS"}),
      IsEmpty());
}

TEST_F(OldCalendar, TextInAttachIsTheTextOfADeviceThatRepeatsTheSummary) {
  const StrictObject item =
      Event({"SUMMARY:x", "DESCRIPTION:x", "ATTACH:bring cake", "DTSTART:20260612T120000Z"});
  EXPECT_THAT(LinesOf(item.text, {"DESCRIPTION"}), ElementsAre("DESCRIPTION:bring cake"));
  EXPECT_TRUE(item.report.IsEmpty());
}

TEST_F(OldCalendar, WhatHasNoPlaceIsReported) {
  const StrictObject item = Event({"SUMMARY:x", "DTSTART:20260612T120000Z", "PRIORITY:1",
                                   "SEQUENCE:3", "X-A:b", "ATTACH;VALUE=URL:http://a.example/"});
  EXPECT_EQ(item.report.dropped,
            (Happenings{{"ATTACH", 1}, {"PRIORITY", 1}, {"SEQUENCE", 1}, {"X-A", 1}}));
  EXPECT_EQ(Task({"SUMMARY:x", "ATTENDEE:Ann"}).report.dropped, (Happenings{{"ATTENDEE", 1}}));
}

TEST_F(OldCalendar, TextsAreDecodedAndWrittenInUtf8) {
  const StrictObject item =
      Event({"SUMMARY;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:B=E4r",
             "DTSTART:20260612T120000Z", "DESCRIPTION;ENCODING=BASE64:SGFsbG8=", ""});
  EXPECT_THAT(
      LinesOf(item.text, {"SUMMARY", "DESCRIPTION"}),
      ElementsAre("SUMMARY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:B=C3=A4r", "DESCRIPTION:Hallo"));
}

TEST_F(OldCalendar, RulesOfTheLaterVersionAreRead) {
  const StrictObject item =
      Event({"SUMMARY:x", "DTSTART:20260412T120000", "RRULE:FREQ-YEARLY;BYMONTH-4"});
  EXPECT_THAT(LinesOf(item.text, {"RRULE"}), ElementsAre("RRULE:YM1 4 #0 MD1 12"));
}

TEST_F(OldCalendar, JournalEntryIsANote) {
  const StrictObject item = Only(Old("VJOURNAL", {"SUMMARY:Today", "DESCRIPTION:It rained."}));
  EXPECT_EQ(item.kind, dialects::ObjectKind::kNote);
  EXPECT_EQ(item.text,
            "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:Today\r\nBODY:It rained.\r\nEND:VNOTE\r\n");
}

TEST_F(OldCalendar, WhatStandsTooDeepIsLeftOutAndTheRestIsRead) {
  std::string lines;
  for (int i = 0; i < 50; ++i) lines += "BEGIN:X-PART\r\n";
  for (int i = 0; i < 50; ++i) lines += "X-LINE:1\r\nEND:X-PART\r\n";
  const StrictObject item =
      Only(CalendarObject("BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n" + lines +
                          "SUMMARY:after\r\nDTSTART:20260612T090000\r\n"
                          "END:VEVENT\r\nEND:VCALENDAR\r\n"));
  EXPECT_THAT(LinesOf(item.text, {"SUMMARY", "X-LINE"}), ElementsAre("SUMMARY:after"));
  EXPECT_THAT(item.report.guessed, IsEmpty());
}

}  // namespace
}  // namespace calendar_old_test
