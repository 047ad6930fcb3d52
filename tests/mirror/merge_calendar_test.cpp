// A change of a stored event or task in calendars of both versions and of many programs: what it names is changed, all else
// stays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mirror/merge_support.h"
#include "tests/support/environment.h"

namespace merge_calendar_test {
namespace {

using merge_support::Edited;
using merge_support::Lines;
using merge_support::Merge;
using merge_support::MergedCalendar;
using merge_support::StoreView;
using merge_support::TextEdits;
using ::testing::ElementsAre;

class MergeCalendar : public ::testing::Test {
 private:
  support::TimeZone zone_{"Europe/Berlin"};
};

constexpr std::string_view kBerlin =
    "BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\nBEGIN:STANDARD\r\nDTSTART:19701025T030000\r\n"
    "TZOFFSETFROM:+0200\r\nTZOFFSETTO:+0100\r\nRRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\r\n"
    "END:STANDARD\r\nBEGIN:DAYLIGHT\r\nDTSTART:19700329T020000\r\nTZOFFSETFROM:+0100\r\n"
    "TZOFFSETTO:+0200\r\nRRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\r\nEND:DAYLIGHT\r\n"
    "END:VTIMEZONE\r\n";

std::string Calendar(std::string_view frame, std::initializer_list<std::string_view> lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Example//EN\r\n" + std::string(frame) +
         Lines(lines) + "END:VCALENDAR\r\n";
}

// A meeting as a web calendar writes it.
const std::string& Meeting() {
  static const std::string text =
      Calendar("CALSCALE:GREGORIAN\r\n",
               {"BEGIN:VEVENT",
                "CREATED:20251201T080000Z",
                "LAST-MODIFIED:20251202T080000Z",
                "DTSTAMP:20251202T080000Z",
                "UID:meeting-1@example.com",
                "SUMMARY;LANGUAGE=en:Meeting",
                "DTSTART:20260105T080000Z",
                "DTEND:20260105T090000Z",
                "SEQUENCE:3",
                "STATUS:CONFIRMED",
                "LOCATION:Room 5",
                "CLASS:PRIVATE",
                "TRANSP:OPAQUE",
                "CATEGORIES:Work,Sales",
                "ORGANIZER;CN=Ann Lee:mailto:ann@example.com",
                "ATTENDEE;CUTYPE=INDIVIDUAL;ROLE=REQ-PARTICIPANT;PARTSTAT=ACCEPTED;CN=Bob "
                "Ray;X-NUM-GUESTS=0:",
                " mailto:bob@example.com",
                "ATTENDEE;PARTSTAT=DECLINED;CN=Cid:mailto:cid@example.com",
                "DESCRIPTION;ALTREP=\"data:text/html,%3Cb%3EBring%3C%2Fb%3E\":Bring the numbers",
                "X-EXAMPLE-CONFERENCE:https://meet.example/1",
                "BEGIN:VALARM",
                "ACTION:DISPLAY",
                "DESCRIPTION:This is an event reminder",
                "TRIGGER:-P0DT0H15M0S",
                "X-FIRST:1",
                "END:VALARM",
                "BEGIN:VALARM",
                "ACTION:AUDIO",
                "TRIGGER;RELATED=START:-PT5M",
                "END:VALARM",
                "END:VEVENT"});
  return text;
}

// A series as a telephone writes it: a zone, a day without it, a day on which it is later.
const std::string& Series() {
  static const std::string text = Calendar(
      kBerlin,
      {"BEGIN:VEVENT", "UID:series-1", "DTSTAMP:20251202T080000Z",
       "DTSTART;TZID=Europe/Berlin:20260105T090000", "DTEND;TZID=Europe/Berlin:20260105T100000",
       "RRULE:FREQ=WEEKLY;BYDAY=MO", "EXDATE;TZID=Europe/Berlin:20260112T090000,20260119T090000",
       "SUMMARY:Swim", "END:VEVENT", "BEGIN:VEVENT", "UID:series-1",
       "RECURRENCE-ID;TZID=Europe/Berlin:20260126T090000",
       "DTSTART;TZID=Europe/Berlin:20260126T110000", "DTEND;TZID=Europe/Berlin:20260126T120000",
       "SUMMARY:Swim later", "END:VEVENT"});
  return text;
}

const std::string& Task() {
  static const std::string text = Calendar(
      "", {"BEGIN:VTODO", "UID:task-1", "DTSTAMP:20251202T080000Z", "SUMMARY:Call Ann",
           "DUE;VALUE=DATE:20260105", "PRIORITY:3", "PERCENT-COMPLETE:50", "STATUS:IN-PROCESS",
           "RELATED-TO:task-0", "DESCRIPTION:About the boat", "END:VTODO"});
  return text;
}

// ---- One thing each -----------------------------------------------------------------------------------------

TEST_F(MergeCalendar, ATextIsChangedInItsPlaceAndKeepsItsLanguage) {
  EXPECT_EQ(MergedCalendar(Meeting(), {{"SUMMARY:Meeting", "SUMMARY:Meeting\\, long"}}),
            Edited(Meeting(), {{"en:Meeting", "en:Meeting\\, long"}}));
}

TEST_F(MergeCalendar, ATextLosesItsTwinInAnotherForm) {
  EXPECT_EQ(
      MergedCalendar(Meeting(), {{"Bring the numbers", "Bring cake"}}),
      Edited(Meeting(), {{";ALTREP=\"data:text/html,%3Cb%3EBring%3C%2Fb%3E\":Bring the numbers",
                          ":Bring cake"}}));
}

TEST_F(MergeCalendar, OneLineEachIsChanged) {
  for (const auto& [what, with] :
       TextEdits{{"LOCATION:Room 5", "LOCATION:Room 6"},
                 {"DTSTART:20260105T080000Z", "DTSTART:20260105T083000Z"},
                 {"DTEND:20260105T090000Z", "DTEND:20260105T093000Z"},
                 {"STATUS:CONFIRMED", "STATUS:TENTATIVE"},
                 {"CLASS:PRIVATE", "CLASS:CONFIDENTIAL"},
                 {"CATEGORIES:Work,Sales", "CATEGORIES:Work,Travel"}}) {
    EXPECT_EQ(MergedCalendar(Meeting(), {{what, with}}), Edited(Meeting(), {{what, with}})) << what;
  }
}

TEST_F(MergeCalendar, WhatTheStoreRemovesGoes) {
  for (const std::string_view line : {"LOCATION:Room 5\r\n", "CLASS:PRIVATE\r\n",
                                      "CATEGORIES:Work,Sales\r\n", "STATUS:CONFIRMED\r\n"}) {
    EXPECT_EQ(MergedCalendar(Meeting(), {{line, ""}}), Edited(Meeting(), {{line, ""}})) << line;
  }
}

TEST_F(MergeCalendar, WhatTheStoreAddsStandsBeforeTheAlarms) {
  const std::string plain =
      Calendar("", {"BEGIN:VEVENT", "UID:e", "DTSTAMP:20251202T080000Z", "SUMMARY:Lunch",
                    "DTSTART:20260105T120000Z", "DTEND:20260105T130000Z", "BEGIN:VALARM",
                    "ACTION:DISPLAY", "TRIGGER:-PT5M", "END:VALARM", "END:VEVENT"});
  for (const std::string_view line :
       {"LOCATION:Room 5", "DESCRIPTION:Tea\\, please", "CATEGORIES:a,b", "CLASS:PRIVATE",
        "ATTENDEE;CN=Bob:mailto:bob@example.com", "TRANSP:TRANSPARENT"}) {
    const std::string added = std::string(line) + "\r\nBEGIN:VALARM";
    EXPECT_EQ(MergedCalendar(plain, {{"BEGIN:VALARM", added}}),
              Edited(plain, {{"BEGIN:VALARM", added}}))
        << line;
  }
}

TEST_F(MergeCalendar, ATaskIsChanged) {
  EXPECT_EQ(MergedCalendar(Task(), {{"Call Ann", "Call Bob"},
                                    {"DUE;VALUE=DATE:20260105", "DUE;VALUE=DATE:20260106"},
                                    {"PRIORITY:1", "PRIORITY:9"}}),
            Edited(Task(), {{"Call Ann", "Call Bob"},
                            {"DUE;VALUE=DATE:20260105", "DUE;VALUE=DATE:20260106"},
                            {"PRIORITY:3", "PRIORITY:9"}}));
}

TEST_F(MergeCalendar, ATaskThatIsDoneIsDoneForAllPrograms) {
  EXPECT_EQ(MergedCalendar(Task(), {{"STATUS:NEEDS-ACTION", "STATUS:COMPLETED"}}),
            Edited(Task(), {{"PERCENT-COMPLETE:50", "PERCENT-COMPLETE:100"},
                            {"STATUS:IN-PROCESS", "STATUS:COMPLETED"}}));
}

TEST_F(MergeCalendar, ATaskThatIsOpenAgainIsOpenForAllPrograms) {
  const std::string done =
      Calendar("", {"BEGIN:VTODO", "UID:t", "SUMMARY:Call", "STATUS:COMPLETED",
                    "COMPLETED:20260101T100000Z", "PERCENT-COMPLETE:100", "END:VTODO"});
  EXPECT_EQ(MergedCalendar(done, {{"STATUS:COMPLETED", "STATUS:NEEDS-ACTION"}}),
            Edited(done, {{"STATUS:COMPLETED\r\nCOMPLETED:20260101T100000Z\r\nPERCENT-COMPLETE:100",
                           "STATUS:NEEDS-ACTION"}}));
}

// ---- What is the same ---------------------------------------------------------------------------------------

TEST_F(MergeCalendar, WhatSaysTheSameIsNoChange) {
  for (const auto& [what, with] :
       TextEdits{{"DTSTART:20260105T080000Z", "DTSTART;TZID=Europe/Berlin:20260105T090000"},
                 {"CATEGORIES:Work,Sales", "CATEGORIES:Sales,Work"},
                 {"mailto:bob@example.com", "MAILTO:Bob@example.com"},
                 {"STATUS:CONFIRMED", "STATUS:CONFIRMED\r\nPRIORITY:0"},
                 {"Bring the numbers", "Bring the numbers\\n"}}) {
    EXPECT_EQ(MergedCalendar(Meeting(), {{what, with}}), Meeting()) << what;
  }
}

TEST_F(MergeCalendar, ALineOfTheFileThatSaysTheDefaultIsThePlaceOfAnother) {
  EXPECT_EQ(
      MergedCalendar(Meeting(), {{"STATUS:CONFIRMED", "STATUS:CONFIRMED\r\nTRANSP:TRANSPARENT"}}),
      Edited(Meeting(), {{"TRANSP:OPAQUE", "TRANSP:TRANSPARENT"}}));
}

// ---- Ends ---------------------------------------------------------------------------------------------------

const std::string& WithDuration() {
  static const std::string text =
      Calendar("", {"BEGIN:VEVENT", "UID:d", "SUMMARY:Lunch", "DTSTART:20260105T120000Z",
                    "DURATION:PT1H", "END:VEVENT"});
  return text;
}

TEST_F(MergeCalendar, ADurationStaysWhereTheItemIsOnlyMoved) {
  EXPECT_EQ(
      MergedCalendar(WithDuration(), {{"DTSTART:20260105T120000Z", "DTSTART:20260105T140000Z"},
                                      {"DTEND:20260105T130000Z", "DTEND:20260105T150000Z"}}),
      Edited(WithDuration(), {{"20260105T120000Z", "20260105T140000Z"}}));
}

TEST_F(MergeCalendar, ADurationBecomesTheEndWhereTheItemLastsLonger) {
  EXPECT_EQ(MergedCalendar(WithDuration(), {{"DTEND:20260105T130000Z", "DTEND:20260105T150000Z"}}),
            Edited(WithDuration(), {{"DURATION:PT1H", "DTEND:20260105T150000Z"}}));
  EXPECT_EQ(
      MergedCalendar(WithDuration(), {{"DTSTART:20260105T120000Z", "DTSTART:20260105T110000Z"}}),
      Edited(WithDuration(), {{"20260105T120000Z", "20260105T110000Z"},
                              {"DURATION:PT1H", "DTEND:20260105T130000Z"}}));
}

TEST_F(MergeCalendar, AnEndThatTheStoreMadeIsNotWritten) {
  const std::string day = Calendar(
      "", {"BEGIN:VEVENT", "UID:d", "SUMMARY:Day", "DTSTART;VALUE=DATE:20260105", "END:VEVENT"});
  EXPECT_EQ(MergedCalendar(day, {{"DTSTART;VALUE=DATE:20260105", "DTSTART;VALUE=DATE:20260107"},
                                 {"DTEND;VALUE=DATE:20260106", "DTEND;VALUE=DATE:20260108"}}),
            Edited(day, {{"20260105", "20260107"}}));
  EXPECT_EQ(MergedCalendar(day, {{"DTEND;VALUE=DATE:20260106", "DTEND;VALUE=DATE:20260108"}}),
            Edited(day, {{"END:VEVENT", "DTEND;VALUE=DATE:20260108\r\nEND:VEVENT"}}));
}

// ---- Series -------------------------------------------------------------------------------------------------

TEST_F(MergeCalendar, ASeriesKeepsItsZoneItsOverridesAndItsExceptions) {
  EXPECT_EQ(MergedCalendar(Series(), {{"SUMMARY:Swim", "SUMMARY:Dive"}}),
            Edited(Series(), {{"SUMMARY:Swim", "SUMMARY:Dive"}}));
}

TEST_F(MergeCalendar, AnExceptionIsTakenOutOfItsList) {
  EXPECT_EQ(MergedCalendar(Series(), {{"EXDATE;TZID=Europe/Berlin:20260112T090000\r\n", ""}}),
            Edited(Series(), {{":20260112T090000,20260119T090000", ":20260119T090000"}}));
  EXPECT_EQ(
      MergedCalendar(Series(), {{"EXDATE;TZID=Europe/Berlin:20260112T090000\r\n", ""},
                                {"EXDATE;TZID=Europe/Berlin:20260119T090000\r\n", ""}}),
      Edited(Series(), {{"EXDATE;TZID=Europe/Berlin:20260112T090000,20260119T090000\r\n", ""}}));
}

TEST_F(MergeCalendar, AnExceptionIsAdded) {
  const std::string added = "EXDATE;TZID=Europe/Berlin:20260202T090000\r\n";
  EXPECT_EQ(MergedCalendar(Series(), {{"END:VEVENT", added + "END:VEVENT"}}),
            Edited(Series(), {{"END:VEVENT", added + "END:VEVENT"}}));
}

TEST_F(MergeCalendar, AnExceptionOfAnOverridesDayIsNoChange) {
  const std::string before = StoreView(OSIF_STORE_CAL, Series());
  const std::string exception = "EXDATE;TZID=Europe/Berlin:20260126T090000\r\n";
  ASSERT_NE(before.find(exception), std::string::npos) << before;
  EXPECT_EQ(MergedCalendar(Series(), {{exception, ""}}), Series());
  const std::string without = Edited(before, {{exception, ""}});
  EXPECT_EQ(mirror::MergeStoreChange({OSIF_STORE_CAL, without, before, Series(), Series()}).text,
            Series());
}

TEST_F(MergeCalendar, ASeriesThatMovesLeavesItsOverrides) {
  const mirror::Merged merged = Merge({OSIF_STORE_CAL,
                                       Series(),
                                       {{"DTSTART;TZID=Europe/Berlin:20260105T090000",
                                         "DTSTART;TZID=Europe/Berlin:20260105T080000"}},
                                       {}});
  EXPECT_EQ(merged.text, Edited(Series(), {{"20260105T090000", "20260105T080000"}}));
  EXPECT_THAT(merged.left,
              ElementsAre("a series was changed, and its single occurrences stay as they are"));
  const mirror::Merged ruled =
      Merge({OSIF_STORE_CAL, Series(), {{"FREQ=WEEKLY", "FREQ=WEEKLY;INTERVAL=2"}}, {}});
  EXPECT_THAT(ruled.text, ::testing::HasSubstr("RRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=MO"));
  EXPECT_EQ(ruled.left.size(), 1U);
}

TEST_F(MergeCalendar, ASeriesThatBeginsTakesTheTimesOfTheStoreAndTheirZone) {
  const std::string series =
      Edited(Meeting(), {{"DTSTART:20260105T080000Z", "DTSTART;TZID=Europe/Berlin:20260105T090000"},
                         {"DTEND:20260105T090000Z", "DTEND;TZID=Europe/Berlin:20260105T100000"},
                         {"SEQUENCE:3", "SEQUENCE:3\r\nRRULE:FREQ=WEEKLY;BYDAY=MO"}});
  const std::string before = StoreView(OSIF_STORE_CAL, Meeting());
  const std::string after = StoreView(OSIF_STORE_CAL, series);
  const std::string merged =
      mirror::MergeStoreChange({OSIF_STORE_CAL, before, after, Meeting(), Meeting()}).text;
  const size_t zone = after.find("BEGIN:VTIMEZONE");
  const size_t zone_end = after.find("BEGIN:VEVENT");
  ASSERT_NE(zone, std::string::npos);
  const size_t rule = after.find("RRULE:", zone_end);
  const std::string rule_line = after.substr(rule, after.find('\n', rule) + 1 - rule);
  EXPECT_EQ(
      merged,
      Edited(Meeting(), {{"DTSTART:20260105T080000Z", "DTSTART;TZID=Europe/Berlin:20260105T090000"},
                         {"DTEND:20260105T090000Z", "DTEND;TZID=Europe/Berlin:20260105T100000"},
                         {"BEGIN:VALARM", rule_line + "BEGIN:VALARM"},
                         {"BEGIN:VEVENT", after.substr(zone, zone_end - zone) + "BEGIN:VEVENT"}}));
}

TEST_F(MergeCalendar, AZoneThatTheFileHasIsNotWrittenAgain) {
  const std::string merged = MergedCalendar(
      Series(),
      {{"DTEND;TZID=Europe/Berlin:20260105T100000", "DTEND;TZID=Europe/Berlin:20260105T103000"}});
  EXPECT_EQ(merged, Edited(Series(), {{"20260105T100000", "20260105T103000"}}));
}

// ---- People -------------------------------------------------------------------------------------------------

TEST_F(MergeCalendar, AnAttendeeGoesAloneAndComesAlone) {
  EXPECT_EQ(
      MergedCalendar(Meeting(), {{"ATTENDEE;CN=Cid:mailto:cid@example.com\r\n", ""}}),
      Edited(Meeting(), {{"ATTENDEE;PARTSTAT=DECLINED;CN=Cid:mailto:cid@example.com\r\n", ""}}));
  EXPECT_EQ(MergedCalendar(Meeting(), {{"CN=Cid:mailto:cid@", "CN=Dan:mailto:dan@"}}),
            Edited(Meeting(), {{"ATTENDEE;PARTSTAT=DECLINED;CN=Cid:mailto:cid@example.com\r\n", ""},
                               {"BEGIN:VALARM",
                                "ATTENDEE;CN=Dan:mailto:dan@example.com\r\n"
                                "BEGIN:VALARM"}}));
}

TEST_F(MergeCalendar, AnAttendeesNameChangesAndTheAnswerStays) {
  EXPECT_EQ(MergedCalendar(Meeting(), {{"CN=Cid:", "CN=Cid Poe:"}}),
            Edited(Meeting(), {{"CN=Cid:", "CN=Cid Poe:"}}));
}

// ---- Alarms -------------------------------------------------------------------------------------------------

TEST_F(MergeCalendar, TheFirstAlarmFollowsTheStoresAndTheSecondStays) {
  EXPECT_EQ(MergedCalendar(Meeting(), {{"TRIGGER:-PT15M", "TRIGGER:-PT30M"}}),
            Edited(Meeting(), {{"TRIGGER:-P0DT0H15M0S", "TRIGGER:-PT30M"}}));
}

TEST_F(MergeCalendar, AnAlarmThatTheStoreHasNotGoes) {
  EXPECT_EQ(MergedCalendar(Meeting(), {{"BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Meeting\r\n"
                                        "TRIGGER:-PT15M\r\nEND:VALARM\r\n",
                                        ""}}),
            Edited(Meeting(),
                   {{"BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:This is an event reminder\r\n"
                     "TRIGGER:-P0DT0H15M0S\r\nX-FIRST:1\r\nEND:VALARM\r\n",
                     ""}}));
}

TEST_F(MergeCalendar, AnAlarmIsAddedWhole) {
  const std::string alarm =
      "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Lunch\r\n"
      "TRIGGER:-PT5M\r\nEND:VALARM\r\n";
  EXPECT_EQ(MergedCalendar(WithDuration(), {{"END:VEVENT", alarm + "END:VEVENT"}}),
            Edited(WithDuration(), {{"END:VEVENT", alarm + "END:VEVENT"}}));
}

TEST_F(MergeCalendar, AnAlarmThatOnlyRepeatsTheNewSummaryIsTheSame) {
  EXPECT_EQ(MergedCalendar(Meeting(), {{"SUMMARY:Meeting", "SUMMARY:Talk"},
                                       {"DESCRIPTION:Meeting", "DESCRIPTION:Talk"}}),
            Edited(Meeting(), {{"en:Meeting", "en:Talk"}}));
}

TEST_F(MergeCalendar, AnAlarmAtATimeIsFoundByWhenItRings) {
  const std::string text =
      Calendar("", {"BEGIN:VEVENT", "UID:a", "SUMMARY:Lunch", "DTSTART:20260105T120000Z",
                    "DTEND:20260105T130000Z", "BEGIN:VALARM", "ACTION:EMAIL", "TRIGGER:-P1D",
                    "END:VALARM", "BEGIN:VALARM", "ACTION:DISPLAY",
                    "TRIGGER;VALUE=DATE-TIME:20260105T114500Z", "END:VALARM", "END:VEVENT"});
  EXPECT_EQ(MergedCalendar(text, {{"TRIGGER:-PT15M", "TRIGGER:-PT30M"}}),
            Edited(text, {{"TRIGGER;VALUE=DATE-TIME:20260105T114500Z", "TRIGGER:-PT30M"}}));
}

// ---- Stamps -------------------------------------------------------------------------------------------------

TEST_F(MergeCalendar, StampsAreThoseOfTheStoreAndTheSequenceStays) {
  const std::string file =
      Calendar("", {"BEGIN:VEVENT", "UID:a", "DTSTAMP:20250101T000000Z", "SEQUENCE:2",
                    "LAST-MODIFIED:20250101T000000Z", "SUMMARY:Lunch", "DTSTART:20260105T120000Z",
                    "END:VEVENT"});
  const auto store = [](std::string_view summary) {
    return Calendar(
        "", {"BEGIN:VEVENT", "UID:a", "DTSTAMP:20260101T000000Z", "LAST-MODIFIED:20260102T000000Z",
             summary, "DTSTART:20260105T120000Z", "DTEND:20260105T120000Z", "END:VEVENT"});
  };
  EXPECT_EQ(mirror::MergeStoreChange(
                {OSIF_STORE_CAL, store("SUMMARY:Lunch"), store("SUMMARY:Tea"), file, file})
                .text,
            Edited(file, {{"DTSTAMP:20250101T000000Z", "DTSTAMP:20260101T000000Z"},
                          {"LAST-MODIFIED:20250101T000000Z", "LAST-MODIFIED:20260102T000000Z"},
                          {"SUMMARY:Lunch", "SUMMARY:Tea"}}));
}

// ---- The older version --------------------------------------------------------------------------------------

TEST_F(MergeCalendar, AFileOf10IsChangedAs10HasIt) {
  const std::string file =
      Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT", "UID:old", "SUMMARY:Lunch",
             "DTSTART:20260105T120000Z", "DTEND:20260105T130000Z", "CATEGORIES:MEETING;PHONE CALL",
             "X-OLD;ENCODING=QUOTED-PRINTABLE:a=0D=0A=", "b", "DALARM:20260105T114500Z;;;Lunch",
             "END:VEVENT", "END:VCALENDAR"});
  EXPECT_EQ(MergedCalendar(file, {{"SUMMARY:Lunch", "SUMMARY:Tea\\nand cake"},
                                  {"DTEND:20260105T130000Z", "DTEND:20260105T140000Z"},
                                  {"END:VEVENT", "LOCATION:Room 5\r\nEND:VEVENT"}}),
            Edited(file, {{"SUMMARY:Lunch", "SUMMARY;ENCODING=QUOTED-PRINTABLE:Tea=0D=0Aand cake"},
                          {"DTEND:20260105T130000Z", "DTEND:20260105T140000Z"},
                          {"END:VEVENT", "LOCATION:Room 5\r\nEND:VEVENT"}}));
}

TEST_F(MergeCalendar, TheLineEndsOfTheFileAreUsed) {
  std::string file = Meeting();
  std::erase(file, '\r');
  EXPECT_EQ(MergedCalendar(file, {{"LOCATION:Room 5", "LOCATION:Room 6"},
                                  {"TRIGGER:-PT15M", "TRIGGER:-PT30M"}}),
            Edited(file, {{"LOCATION:Room 5", "LOCATION:Room 6"},
                          {"TRIGGER:-P0DT0H15M0S", "TRIGGER:-PT30M"}}));
}

TEST_F(MergeCalendar, AFileThatHasNoItemStays) {
  const std::string before = StoreView(OSIF_STORE_CAL, Meeting());
  const std::string after = Edited(before, {{"Room 5", "Room 6"}});
  for (const std::string_view file :
       {"", "hello", "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n"}) {
    const mirror::Merged merged =
        mirror::MergeStoreChange({OSIF_STORE_CAL, before, after, file, file});
    EXPECT_EQ(merged.text, file);
    EXPECT_THAT(merged.left, ElementsAre("the file has no event and no task"));
  }
}

}  // namespace
}  // namespace merge_calendar_test
