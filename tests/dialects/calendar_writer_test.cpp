// Calendars on their way out: the library's and anyone's, as vCalendar 1.0, iCalendar 2.0, text and HTML.
#include <gmock/gmock.h>

#include "dialects/forms.h"
#include "tests/dialects/calendar_support.h"

namespace calendar_writer_test {
namespace {

using calendar_support::JoinedLines;
using calendar_support::LinesOf;
using calendar_support::Modern;
using calendar_support::Old;
using dialects::Form;
using dialects::Happenings;
using dialects::MakeCalendarWriter;
using dialects::ObjectText;
using dialects::Origin;
using dialects::WriterSettings;
using dialects::WrittenObject;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

class CalendarWriters : public testing::Test {
 protected:
  WrittenObject Write(Form form, const ObjectText& object) const {
    return MakeCalendarWriter(form, settings_)->Write(object);
  }

  // The lines of an item that the library wrote, in iCalendar 2.0, without those of its zone.
  Lines FromLibrary(std::string_view component, std::initializer_list<std::string_view> lines,
                    std::initializer_list<std::string_view> names) {
    settings_.origin = Origin::kLibrary;
    const WrittenObject written = Write(Form::kICal20, Old(component, lines));
    EXPECT_EQ(written.refusal, "");
    const size_t zone = written.text.find("END:VTIMEZONE\r\n");
    return LinesOf(written.text.substr(zone == std::string::npos ? 0 : zone), names);
  }

  WriterSettings settings_;

 private:
  support::TimeZone zone_{"Europe/Berlin"};
};

TEST_F(CalendarWriters, AreThereForTheFormsOfCalendarsAlone) {
  EXPECT_EQ(MakeCalendarWriter(Form::kVCard30, settings_), nullptr);
  EXPECT_EQ(MakeCalendarWriter(Form::kVNote, settings_), nullptr);
  EXPECT_NE(MakeCalendarWriter(Form::kVCal10, settings_), nullptr);
}

// ---- The library's items as iCalendar 2.0 ----

TEST_F(CalendarWriters, RefuseACalendarOfWhichNoComponentCanBeWritten) {
  const ObjectText object{.kind = dialects::ObjectKind::kCalendar,
                          .text =
                              "BEGIN:VCALENDAR\r\nMETHOD:REQUEST\r\n"
                              "BEGIN:DAYLIGHT\r\nEND:VCALENDAR\r\n"};
  const WrittenObject written = Write(Form::kICal20, object);
  EXPECT_EQ(written.text, "");
  EXPECT_EQ(written.refusal, "nothing that this form can hold");
}

TEST_F(CalendarWriters, SingleEventOfTheLibraryIsInUtc) {
  settings_.origin = Origin::kLibrary;
  settings_.uid = "osif-1";
  const WrittenObject written = Write(
      Form::kICal20,
      Old("VEVENT",
          {"SUMMARY:Lunch, late", "DESCRIPTION;ENCODING=QUOTED-PRINTABLE:one=0D=0Atwo",
           "DTSTART:20260612T100000Z", "DTEND:20260612T110000Z", "CLASS:PUBLIC", "PRIORITY:0",
           "STATUS:NEEDS ACTION", "LOCATION:", "CATEGORIES:Work,Fun", "DALARM:20260612T094500Z",
           "AALARM:20260612T094500Z", "ATTENDEE;ROLE=ATTENDEE:Ann Lee <ann@lee.example>",
           "ATTENDEE;ROLE=ATTENDEE:Bob", "X-IRMC-LUID:00000001", "X-BLUETOOTH-ALLDAYEVENT:FALSE"}));
  const size_t stamp = written.text.find("DTSTAMP:");
  ASSERT_NE(stamp, std::string::npos);
  const std::string stamp_line = written.text.substr(stamp, 26);
  EXPECT_EQ(written.text,
            "BEGIN:VEVENT\r\nUID:osif-1\r\n" + stamp_line +
                "SUMMARY:Lunch\\, late\r\nDTSTART:20260612T100000Z\r\nDTEND:20260612T110000Z\r\n"
                "DESCRIPTION:one\\ntwo\r\nCATEGORIES:Work,Fun\r\nCLASS:PUBLIC\r\n"
                "STATUS:CONFIRMED\r\nATTENDEE;CN=Ann Lee:mailto:ann@lee.example\r\n"
                "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:Lunch\\, late\r\n"
                "TRIGGER:-PT15M\r\nEND:VALARM\r\nEND:VEVENT\r\n");
  EXPECT_EQ(written.report.dropped, (Happenings{{"ATTENDEE (no address)", 1}}));
}

TEST_F(CalendarWriters, WholeDaysOfTheLibraryEndOnTheDayAfter) {
  EXPECT_THAT(
      FromLibrary("VEVENT",
                  {"SUMMARY:x", "DTSTART:20260612T000000", "DTEND:20260613T235959",
                   "DALARM:20260611T180000", "X-BLUETOOTH-ALLDAYEVENT:TRUE"},
                  {"DTSTART", "DTEND", "TRIGGER"}),
      ElementsAre("DTSTART;VALUE=DATE:20260612", "DTEND;VALUE=DATE:20260614", "TRIGGER:-PT360M"));
}

TEST_F(CalendarWriters, SeriesOfTheLibraryIsInTheDevicesZone) {
  settings_.origin = Origin::kLibrary;
  const WrittenObject written =
      Write(Form::kICal20,
            Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "DTEND:20260612T080000Z",
                           "RRULE:W2 MO FR #7 20260822T220000Z", "EXDATE:20260626T070000Z"}));
  EXPECT_TRUE(written.text.starts_with("BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\n"));
  const std::string event = written.text.substr(written.text.find("BEGIN:VEVENT"));
  EXPECT_THAT(LinesOf(event, {"DTSTART", "DTEND", "RRULE", "EXDATE"}),
              ElementsAre("DTSTART;TZID=Europe/Berlin:20260612T090000",
                          "DTEND;TZID=Europe/Berlin:20260612T100000",
                          "RRULE:FREQ=WEEKLY;INTERVAL=2;COUNT=7;BYDAY=MO,FR;WKST=SU",
                          "EXDATE;TZID=Europe/Berlin:20260626T090000"));
}

TEST_F(CalendarWriters, ZoneStandsOnceBeforeTheFirstComponentThatUsesIt) {
  settings_.origin = Origin::kLibrary;
  const auto writer = MakeCalendarWriter(Form::kICal20, settings_);
  const auto series = Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "RRULE:D1 #0"});
  const std::string text =
      writer->Begin() +
      writer->Write(Old("VEVENT", {"SUMMARY:y", "DTSTART:20260612T070000Z"})).text +
      writer->Write(series).text + writer->Write(series).text + writer->End();
  EXPECT_THAT(LinesOf(text, {"BEGIN"}), testing::AllOf(Contains("BEGIN:VTIMEZONE").Times(1),
                                                       Contains("BEGIN:VEVENT").Times(3),
                                                       Contains("BEGIN:VCALENDAR").Times(1)));
  EXPECT_LT(text.find("BEGIN:VEVENT"), text.find("BEGIN:VTIMEZONE"));
  EXPECT_TRUE(text.starts_with("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:"));
  EXPECT_TRUE(text.ends_with("END:VEVENT\r\nEND:VCALENDAR\r\n"));
}

TEST_F(CalendarWriters, SeriesOnADeviceInUtcIsInUtc) {
  const support::TimeZone utc("UTC");
  EXPECT_THAT(FromLibrary("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "RRULE:D1 #0"},
                          {"DTSTART", "TZID"}),
              ElementsAre("DTSTART:20260612T070000Z"));
}

TEST_F(CalendarWriters, SeriesOnADeviceWhoseZoneHasNoNameIsInLocalTime) {
  const support::TimeZone zone("XST-3");
  EXPECT_THAT(FromLibrary("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "RRULE:D1 #0"},
                          {"DTSTART", "TZID"}),
              ElementsAre("DTSTART:20260612T100000"));
}

TEST_F(CalendarWriters, StatusOfTheLibraryIsSaidInTheLaterWords) {
  const auto status_of = [&](std::string_view line) {
    return FromLibrary("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", line},
                       {"STATUS", "TRANSP"});
  };
  EXPECT_THAT(status_of("STATUS:NEEDS ACTION"), ElementsAre("STATUS:CONFIRMED"));
  EXPECT_THAT(status_of("STATUS:TENTATIVE"), ElementsAre("STATUS:TENTATIVE"));
  EXPECT_THAT(status_of("STATUS:"), ElementsAre("TRANSP:TRANSPARENT"));
}

TEST_F(CalendarWriters, TaskOfTheLibraryHasDays) {
  EXPECT_THAT(FromLibrary("VTODO",
                          {"CATEGORIES:", "COMPLETED:20260611", "DESCRIPTION:", "DTSTART:20260610",
                           "DUE:20260612", "PRIORITY:2", "STATUS:COMPLETED", "SUMMARY:x",
                           "DALARM:20260611T220000Z"},
                          {"DTSTART", "DUE", "COMPLETED", "STATUS", "PRIORITY", "TRIGGER"}),
              ElementsAre("DTSTART;VALUE=DATE:20260610", "DUE;VALUE=DATE:20260612",
                          "STATUS:COMPLETED", "COMPLETED:20260610T220000Z", "PRIORITY:5",
                          "TRIGGER;VALUE=DATE-TIME:20260611T220000Z"));
}

TEST_F(CalendarWriters, SeriesOfTheLibraryBeginsWhereItsRuleOccurs) {
  EXPECT_THAT(
      FromLibrary("VEVENT",
                  {"SUMMARY:x", "DTSTART:20260612T070000Z", "DTEND:20260612T080000Z",
                   "RRULE:W2 MO #3", "DALARM:20260612T064500Z"},
                  {"DTSTART", "DTEND", "TRIGGER", "RRULE"}),
      ElementsAre("DTSTART;TZID=Europe/Berlin:20260622T090000",
                  "DTEND;TZID=Europe/Berlin:20260622T100000",
                  "RRULE:FREQ=WEEKLY;INTERVAL=2;COUNT=3;BYDAY=MO;WKST=SU", "TRIGGER:-PT15M"));
}

TEST_F(CalendarWriters, RecurringTaskHasAStart) {
  EXPECT_THAT(
      FromLibrary("VTODO", {"SUMMARY:x", "DUE:20260612", "RRULE:D1 #0"},
                  {"DTSTART", "DUE", "RRULE"}),
      ElementsAre("DTSTART;VALUE=DATE:20260612", "DUE;VALUE=DATE:20260612", "RRULE:FREQ=DAILY"));
}

// ---- Anyone's ----

TEST_F(CalendarWriters, OldEventKeepsWhatTheStoreHasNoPlaceFor) {
  const WrittenObject written = Write(
      Form::kICal20,
      Old("VEVENT", {"UID:u", "SUMMARY:x", "DTSTART:20260612T070000Z", "X-A;TYPE=b:c;d",
                     "SEQUENCE:3", "GEO:37.24,-17.87", "PRIORITY:2", "DCREATED:20260101T000000Z"}));
  EXPECT_THAT(LinesOf(written.text, {"UID", "X-A", "SEQUENCE", "GEO", "PRIORITY", "CREATED"}),
              ElementsAre("UID:u", "CREATED:20260101T000000Z", "PRIORITY:2", "X-A;TYPE=b:c\\;d",
                          "SEQUENCE:3", "GEO:37.24;-17.87"));
  EXPECT_TRUE(written.report.IsEmpty());
}

TEST_F(CalendarWriters, OldSeriesKeepsItsDatesAndItsRules) {
  const WrittenObject written =
      Write(Form::kICal20,
            Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T090000", "RRULE:MP1 1+ MO TU 20260901",
                           "RDATE:20260701T110000", "EXDATE:20260707"}));
  const std::string event = written.text.substr(written.text.find("BEGIN:VEVENT"));
  EXPECT_THAT(LinesOf(event, {"RRULE", "RDATE", "EXDATE"}),
              ElementsAre("RRULE:FREQ=MONTHLY;UNTIL=20260901T215959Z;BYDAY=1MO,1TU",
                          "EXDATE;TZID=Europe/Berlin:20260707T090000",
                          "RDATE;TZID=Europe/Berlin:20260701T110000"));
}

TEST_F(CalendarWriters, UidIsMadeOfTheContentWhereThereIsNone) {
  const auto uid_of = [&](std::string_view summary) {
    const auto uids = LinesOf(
        Write(Form::kICal20, Old("VEVENT", {summary, "DTSTART:20260612T070000Z"})).text, {"UID"});
    EXPECT_EQ(uids.size(), 1U);
    return uids.empty() ? "" : uids.front();
  };
  EXPECT_EQ(uid_of("SUMMARY:x"), uid_of("SUMMARY:x"));
  EXPECT_NE(uid_of("SUMMARY:x"), uid_of("SUMMARY:y"));
}

TEST_F(CalendarWriters, LaterVersionIsKeptLineByLine) {
  const std::string component = JoinedLines(
      {"BEGIN:VEVENT", "UID:u", "DTSTAMP:20260101T000000Z",
       "ATTENDEE;DELEGATED-TO=\"mailto:a@b.example\",\"mailto:c@d.example\";CN=\"Lee; Ann\":"
       "ma",
       " ilto:ann@lee.example", "X-FOO;X-BAR=1:a;b\\,c",
       "DTSTART;TZID=Europe/Berlin:20260612T090000", "RRULE:FREQ=MONTHLY;BYDAY=5FR", "BEGIN:VALARM",
       "ACTION:EMAIL", "TRIGGER:PT5M", "END:VALARM", "END:VEVENT"});
  const WrittenObject written = Write(
      Form::kICal20,
      calendar_support::CalendarObject("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nX-WR-CALNAME:Home\r\n" +
                                       component + "END:VCALENDAR\r\n"));
  EXPECT_TRUE(written.text.starts_with("X-WR-CALNAME:Home\r\nBEGIN:VTIMEZONE\r\n"));
  EXPECT_EQ(written.text.substr(written.text.find("BEGIN:VEVENT")),
            JoinedLines(
                {"BEGIN:VEVENT", "UID:u", "DTSTAMP:20260101T000000Z",
                 "ATTENDEE;DELEGATED-TO=\"mailto:a@b.example\",\"mailto:c@d.example\";CN=\"Lee; An",
                 " n\":mailto:ann@lee.example", "X-FOO;X-BAR=1:a;b\\,c",
                 "DTSTART;TZID=Europe/Berlin:20260612T090000", "RRULE:FREQ=MONTHLY;BYDAY=5FR",
                 "BEGIN:VALARM", "ACTION:EMAIL", "TRIGGER:PT5M", "END:VALARM", "END:VEVENT"}));
  EXPECT_TRUE(written.report.IsEmpty());
}

TEST_F(CalendarWriters, LaterVersionGetsWhatItLacks) {
  settings_.uid = "made";
  const WrittenObject written =
      Write(Form::kICal20, Modern("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z"}));
  EXPECT_THAT(LinesOf(written.text, {"UID"}), ElementsAre("UID:made"));
  EXPECT_THAT(LinesOf(written.text, {"DTSTAMP"}), testing::SizeIs(1));
}

TEST_F(CalendarWriters, OldVersionIsKeptInTheOldForm) {
  const WrittenObject written = Write(
      Form::kVCal10, Old("VEVENT", {"UID:u", "SUMMARY;CHARSET=ISO-8859-1:B\xE4r", "PRIORITY:1",
                                    "AALARM;WAVE:20260612T070000Z;PT5M;2;c:\\a.wav", "X-A:b",
                                    "DTSTART:20260612T070000Z"}));
  EXPECT_EQ(written.text,
            "BEGIN:VEVENT\r\nUID:u\r\n"
            "SUMMARY;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:B=C3=A4r\r\nPRIORITY:1\r\n"
            "AALARM;TYPE=WAVE:20260612T070000Z;PT5M;2;c:\\\\a.wav\r\nX-A:b\r\n"
            "DTSTART:20260612T070000Z\r\nEND:VEVENT\r\n");
}

TEST_F(CalendarWriters, LaterVersionBecomesTheOldOneWithAllThatItCanHold) {
  const WrittenObject written = Write(
      Form::kVCal10,
      Modern("VEVENT", {"UID:u", "SUMMARY:x", "DTSTART;VALUE=DATE:20260612", "X-A:b", "SEQUENCE:2",
                        "LAST-MODIFIED:20260101T000000Z", "RRULE:FREQ=WEEKLY", "PRIORITY:7"}));
  EXPECT_EQ(
      written.text,
      "BEGIN:VEVENT\r\nSUMMARY:x\r\nDESCRIPTION:\r\nDTSTART:20260612T000000\r\n"
      "DTEND:20260613T000000\r\nRRULE:W1 FR #0\r\nX-BLUETOOTH-ALLDAYEVENT:TRUE\r\nUID:u\r\n"
      "LAST-MODIFIED:20260101T000000Z\r\nPRIORITY:7\r\nX-A:b\r\nSEQUENCE:2\r\nEND:VEVENT\r\n");
  EXPECT_TRUE(written.report.IsEmpty());
}

TEST_F(CalendarWriters, RefuseWhatHasNothing) {
  EXPECT_EQ(
      Write(Form::kICal20, calendar_support::CalendarObject("BEGIN:VCALENDAR\r\nEND:VCALENDAR"))
          .refusal,
      "a calendar without components");
  EXPECT_NE(Write(Form::kVCal10, Modern("VJOURNAL", {"SUMMARY:x"})).refusal, "");
}

// ---- For people ----

TEST_F(CalendarWriters, TextIsForPeople) {
  const WrittenObject written =
      Write(Form::kText,
            Modern("VEVENT", {"SUMMARY:Lunch", "DTSTART:20260612T100000Z", "DTEND:20260612T110000Z",
                              "LOCATION:Room 5", "RRULE:FREQ=WEEKLY;COUNT=3",
                              "ATTENDEE;CN=Ann:mailto:ann@lee.example", "DESCRIPTION:one\\ntwo"}));
  EXPECT_EQ(written.text,
            "Event: Lunch\nStart: 2026-06-12 12:00\nEnd: 2026-06-12 13:00\nLocation: Room 5\n"
            "Repeats: FREQ=WEEKLY;COUNT=3\nAttendee: Ann <ann@lee.example>\n"
            "Description: one\n  two\n\n");
}

TEST_F(CalendarWriters, HtmlIsEscaped) {
  const auto writer = MakeCalendarWriter(Form::kHtml, settings_);
  const std::string text =
      writer->Begin() +
      writer->Write(Old("VTODO", {"SUMMARY:a <b> & \"c\"", "DUE:20260612"})).text + writer->End();
  EXPECT_THAT(text, HasSubstr("<p>\n<b>Task:</b> a &lt;b&gt; &amp; &quot;c&quot;<br>\n"
                              "<b>Due:</b> 2026-06-12<br>\n</p>\n"));
  EXPECT_TRUE(text.starts_with("<!DOCTYPE html>"));
  EXPECT_TRUE(text.ends_with("</body>\n</html>\n"));
}

// ---- There and back ----

// What the store holds of an event is the same after a way through the later version.
TEST_F(CalendarWriters, ItemsComeBackFromTheLaterVersionAsTheyWere) {
  settings_.origin = Origin::kLibrary;
  const std::initializer_list<std::initializer_list<std::string_view>> kEvents = {
      {"SUMMARY:a", "DESCRIPTION:", "DTSTART:20260612T100000Z", "DTEND:20260612T110000Z"},
      {"SUMMARY:b", "DESCRIPTION:x", "DTSTART:20260612T000000", "DTEND:20260613T000000",
       "X-BLUETOOTH-ALLDAYEVENT:TRUE"},
      {"SUMMARY:c", "DESCRIPTION:", "DTSTART:20260630T090000", "DTEND:20260630T100000",
       "DALARM:20260630T064500Z", "RRULE:MD1 30 #0", "EXDATE:20260730T090000"},
      {"SUMMARY:d", "DESCRIPTION:", "DTSTART:20260612T003000", "DTEND:20260612T010000",
       "RRULE:YM1 6 #4 MP1 2+ FR"},
  };
  for (const auto& lines : kEvents) {
    const ObjectText original = Old("VEVENT", lines);
    const auto writer = MakeCalendarWriter(Form::kICal20, settings_);
    const std::string text = writer->Begin() + writer->Write(original).text + writer->End();
    const auto back = dialects::StrictCalendarItems(calendar_support::CalendarObject(text), {});
    ASSERT_EQ(back.size(), 1U) << text;
    Lines expected = LinesOf(original.text, {"SUMMARY", "DESCRIPTION", "DTSTART", "DTEND", "DALARM",
                                             "RRULE", "EXDATE", "X-BLUETOOTH-ALLDAYEVENT"});
    Lines shown =
        LinesOf(back.front().text, {"SUMMARY", "DESCRIPTION", "DTSTART", "DTEND", "DALARM", "RRULE",
                                    "EXDATE", "X-BLUETOOTH-ALLDAYEVENT"});
    std::erase(shown, "STATUS:DECLINED");
    EXPECT_EQ(shown, expected) << text;
  }
}

// ---- Calendars of version 1.0 as iCalendar 2.0 ----

// Version 2.0 has no rule of exceptions that everyone reads.
TEST_F(CalendarWriters, WriteARuleOfExceptionsAsSingleOnes) {
  const WrittenObject written =
      Write(Form::kICal20, Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "RRULE:D1 #10",
                                          "EXDATE:20260614T070000Z", "EXRULE:D2 #3"}));
  EXPECT_THAT(LinesOf(written.text, {"EXDATE"}),
              ElementsAre("EXDATE;TZID=Europe/Berlin:20260614T090000",
                          "EXDATE;TZID=Europe/Berlin:20260612T090000",
                          "EXDATE;TZID=Europe/Berlin:20260616T090000"));
  EXPECT_EQ(written.report.changed, (Happenings{{"EXRULE as single exceptions", 1}}));
  EXPECT_THAT(written.report.dropped, IsEmpty());
}

// The days without end that it takes out cannot be listed.
TEST_F(CalendarWriters, DropARuleOfExceptionsWithoutEnd) {
  const WrittenObject written = Write(
      Form::kICal20,
      Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "RRULE:D1 #0", "EXRULE:D2 #0"}));
  EXPECT_THAT(LinesOf(written.text, {"EXDATE"}), IsEmpty());
  EXPECT_EQ(written.report.dropped, (Happenings{{"EXRULE", 1}}));
}

TEST_F(CalendarWriters, KeepARuleThatNobodyUnderstandsAsItIs) {
  const WrittenObject written =
      Write(Form::kICal20,
            Old("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "RRULE:every, other day"}));
  EXPECT_THAT(LinesOf(written.text, {"RRULE", "X-OSIF-RRULE"}),
              ElementsAre("X-OSIF-RRULE:every\\, other day"));
  EXPECT_EQ(written.report.dropped, (Happenings{{"RRULE", 1}}));
}

}  // namespace
}  // namespace calendar_writer_test
