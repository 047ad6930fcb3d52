// What the library writes of calendars, row by row, as iCalendar 2.0. The device is in Berlin.
#include <gmock/gmock.h>

#include <algorithm>

#include "dialects/content_line.h"
#include "dialects/forms.h"
#include "tests/dialects/calendar_support.h"

namespace calendar_facts_out_test {
namespace {

using calendar_support::CalendarObject;
using dialects::Form;
using dialects::WrittenObject;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Key;
using testing::Not;
using testing::StartsWith;

using Lines = std::vector<std::string>;

class WrittenFacts : public testing::Test {
 protected:
  static WrittenObject Written(const std::string& component, const Lines& lines) {
    dialects::WriterSettings settings;
    settings.origin = dialects::Origin::kLibrary;
    std::string text = "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:" + component + "\r\n";
    for (const std::string& line : lines) text += line + "\r\n";
    text += "END:" + component + "\r\nEND:VCALENDAR\r\n";
    const auto writer = dialects::MakeCalendarWriter(Form::kICal20, settings);
    const std::string begin = writer->Begin();
    WrittenObject written = writer->Write(CalendarObject(text));
    EXPECT_EQ(written.refusal, "");
    written.text = begin + written.text + writer->End();
    return written;
  }

  // The unfolded lines of some names in the written item, what stands in it included.
  static Lines LinesIn(const WrittenObject& written, const std::string& component,
                       std::initializer_list<std::string_view> names) {
    std::string text = written.text;
    for (size_t fold; (fold = text.find("\r\n ")) != std::string::npos;) text.erase(fold, 3);
    return calendar_support::LinesOf(text.substr(text.find("BEGIN:" + component)), names);
  }
  static Lines Event(const Lines& lines, std::initializer_list<std::string_view> names) {
    return LinesIn(Written("VEVENT", lines), "VEVENT", names);
  }
  static Lines Task(const Lines& lines, std::initializer_list<std::string_view> names) {
    return LinesIn(Written("VTODO", lines), "VTODO", names);
  }

  // The parts of the rule of a series that begins on the second Friday of June, in their order; an interval of one says
  // nothing.
  static Lines RuleOf(const std::string& rule, const std::string& start = "20260612T070000Z") {
    const Lines lines = Event({"SUMMARY:x", "DTSTART:" + start, "RRULE:" + rule}, {"RRULE"});
    if (lines.size() != 1) return lines;
    Lines parts;
    std::string rest = lines[0].substr(6) + ";";
    for (size_t end; (end = rest.find(';')) != std::string::npos; rest.erase(0, end + 1)) {
      if (rest.substr(0, end) != "INTERVAL=1") parts.push_back(rest.substr(0, end));
    }
    std::ranges::sort(parts);
    return parts;
  }

 private:
  support::TimeZone zone_{"Europe/Berlin"};
};

TEST_F(WrittenFacts, FrameHasWhatTheLaterFormAsksFor) {
  const WrittenObject written = Written("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z"});
  EXPECT_THAT(calendar_support::LinesOf(written.text, {"PRODID", "VERSION", "UID", "DTSTAMP"}),
              ElementsAre("VERSION:2.0", StartsWith("PRODID:"), StartsWith("UID:"),
                          StartsWith("DTSTAMP:")));
  EXPECT_THAT(written.text, Not(testing::HasSubstr("VTIMEZONE")));
}

TEST_F(WrittenFacts, SingleEventIsInUtc) {
  const Lines names = Event({"SUMMARY:x", "DTSTART:20260612T070000Z", "DTEND:20260612T080000Z"},
                            {"DTSTART", "DTEND"});
  EXPECT_THAT(names, ElementsAre("DTSTART:20260612T070000Z", "DTEND:20260612T080000Z"));
}

TEST_F(WrittenFacts, SeriesIsInTheDevicesZoneAndSoAreItsExceptions) {
  const WrittenObject written =
      Written("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "DTEND:20260612T080000Z",
                         "RRULE:W1 FR #0", "EXDATE:20260619T070000Z", "EXDATE:20261030T080000Z"});
  EXPECT_THAT(LinesIn(written, "VEVENT", {"DTSTART", "DTEND", "EXDATE"}),
              ElementsAre("DTSTART;TZID=Europe/Berlin:20260612T090000",
                          "DTEND;TZID=Europe/Berlin:20260612T100000",
                          "EXDATE;TZID=Europe/Berlin:20260619T090000",
                          "EXDATE;TZID=Europe/Berlin:20261030T090000"));
  EXPECT_THAT(written.text, testing::HasSubstr("BEGIN:VTIMEZONE\r\nTZID:Europe/Berlin\r\n"));
}

TEST_F(WrittenFacts, WholeDaysAreDates) {
  for (const std::string end : {"20260612T235959", "20260613T000000", "20260612T215959Z"}) {
    SCOPED_TRACE(end);
    EXPECT_THAT(Event({"SUMMARY:x", "DTSTART:20260612T000000", "DTEND:" + end,
                       "X-BLUETOOTH-ALLDAYEVENT:TRUE"},
                      {"DTSTART", "DTEND"}),
                ElementsAre("DTSTART;VALUE=DATE:20260612", "DTEND;VALUE=DATE:20260613"));
  }
  EXPECT_THAT(Event({"SUMMARY:x", "DTSTART:20260612T000000", "DTEND:20260612T235959",
                     "X-BLUETOOTH-ALLDAYEVENT:TRUE", "RRULE:W1 FR #0", "EXDATE:20260619T000000"},
                    {"DTSTART", "EXDATE"}),
              ElementsAre("DTSTART;VALUE=DATE:20260612", "EXDATE;VALUE=DATE:20260619"));
}

TEST_F(WrittenFacts, TaskHasDates) {
  EXPECT_THAT(
      Task({"CATEGORIES:", "COMPLETED:", "DESCRIPTION:", "DTSTART:20260610", "DUE:20260612",
            "PRIORITY:", "STATUS:NEEDS ACTION", "SUMMARY:x"},
           {"DTSTART", "DUE", "STATUS", "COMPLETED", "PRIORITY"}),
      ElementsAre("DTSTART;VALUE=DATE:20260610", "DUE;VALUE=DATE:20260612", "STATUS:NEEDS-ACTION"));
  const std::vector<std::pair<std::string, std::string>> priorities = {
      {"1", "1"}, {"2", "5"}, {"3", "9"}};
  for (const auto& [held, sent] : priorities) {
    EXPECT_THAT(Task({"SUMMARY:x", "PRIORITY:" + held}, {"PRIORITY"}),
                ElementsAre("PRIORITY:" + sent));
  }
  const Lines done =
      Task({"SUMMARY:x", "STATUS:COMPLETED", "COMPLETED:20260611"}, {"STATUS", "COMPLETED"});
  EXPECT_THAT(done, ElementsAre("STATUS:COMPLETED", StartsWith("COMPLETED:2026061")));
  EXPECT_TRUE(done.back().ends_with("Z"));
}

TEST_F(WrittenFacts, AlarmIsAnAlarmOfTheScreen) {
  EXPECT_THAT(
      Event({"SUMMARY:x; y", "DTSTART:20260612T070000Z", "DALARM:20260612T064500Z",
             "AALARM:20260612T064500Z"},
            {"ACTION", "TRIGGER", "DESCRIPTION"}),
      testing::UnorderedElementsAre("ACTION:DISPLAY", "DESCRIPTION:x\\; y", "TRIGGER:-PT15M"));
  EXPECT_THAT(Task({"SUMMARY:x", "DUE:20260612", "DALARM:20260611T220000Z"}, {"TRIGGER"}),
              ElementsAre("TRIGGER;VALUE=DATE-TIME:20260611T220000Z"));
}

TEST_F(WrittenFacts, StatusOfAnEvent) {
  const auto status = [](const std::string& line) {
    return Event({"SUMMARY:x", "DTSTART:20260612T070000Z", line}, {"STATUS", "TRANSP"});
  };
  EXPECT_THAT(status("STATUS:TENTATIVE"), ElementsAre("STATUS:TENTATIVE"));
  EXPECT_THAT(status("STATUS:NEEDS ACTION"), ElementsAre("STATUS:CONFIRMED"));
  EXPECT_THAT(status("LOCATION:y"), ElementsAre("TRANSP:TRANSPARENT"));
}

TEST_F(WrittenFacts, WordsPeopleAndTexts) {
  EXPECT_THAT(
      Event({"SUMMARY;ENCODING=QUOTED-PRINTABLE:a, b\\; c\\\\=0D=0Ad", "DTSTART:20260612T070000Z",
             "CLASS:PRIVATE", "CATEGORIES:Work,Fun", "LOCATION:Hall, 2",
             "ATTENDEE;ROLE=ATTENDEE:Lee, Ann <ann@lee.example>", "ATTENDEE:bob@a.example"},
            {"SUMMARY", "CLASS", "CATEGORIES", "LOCATION", "ATTENDEE"}),
      testing::UnorderedElementsAre("SUMMARY:a\\, b\\; c\\\\\\nd", "CLASS:PRIVATE",
                                    "CATEGORIES:Work,Fun", "LOCATION:Hall\\, 2",
                                    "ATTENDEE;CN=\"Lee, Ann\":mailto:ann@lee.example",
                                    "ATTENDEE:mailto:bob@a.example"));
  const WrittenObject written =
      Written("VEVENT", {"SUMMARY:x", "DTSTART:20260612T070000Z", "ATTENDEE:Bob"});
  EXPECT_THAT(written.report.dropped, Contains(Key(StartsWith("ATTENDEE"))));
}

TEST_F(WrittenFacts, RulesAreSaidInTheLaterGrammar) {
  const std::vector<std::pair<std::string, Lines>> rows = {
      {"D3 #4", {"COUNT=4", "FREQ=DAILY", "INTERVAL=3"}},
      {"D1", {"COUNT=2", "FREQ=DAILY"}},
      {"D1 #0", {"FREQ=DAILY"}},
      {"D1 #19 20260629T220000Z", {"COUNT=19", "FREQ=DAILY"}},
      {"D1 #0 20260629T220000Z", {"FREQ=DAILY"}},
      {"W2 MO FR #0", {"BYDAY=MO,FR", "FREQ=WEEKLY", "INTERVAL=2", "WKST=SU"}},
      {"MD1 12 #5", {"BYMONTHDAY=12", "COUNT=5", "FREQ=MONTHLY"}},
      {"MP1 2+ FR #0", {"BYDAY=2FR", "FREQ=MONTHLY"}},
      {"MP3 2+ FR #0", {"BYDAY=2FR", "FREQ=MONTHLY", "INTERVAL=3"}},
      {"MP1 2+ FR SA #0", {"BYDAY=FR,SA", "BYSETPOS=2", "FREQ=MONTHLY"}},
      {"YM1 6 #0 MD1 12", {"BYMONTH=6", "BYMONTHDAY=12", "FREQ=YEARLY"}},
      {"YM1 6 #3 MP1 2+ FR", {"BYDAY=2FR", "BYMONTH=6", "COUNT=3", "FREQ=YEARLY"}},
      {"MD6 12 #0", {"BYMONTHDAY=12", "FREQ=MONTHLY", "INTERVAL=6"}},
  };
  for (const auto& [rule, parts] : rows) {
    SCOPED_TRACE(rule);
    EXPECT_EQ(RuleOf(rule), parts);
  }
  EXPECT_THAT(RuleOf("MD24 12 #0"),
              AnyOf(ElementsAre("BYMONTHDAY=12", "FREQ=MONTHLY", "INTERVAL=24"),
                    ElementsAre("BYMONTH=6", "BYMONTHDAY=12", "FREQ=YEARLY", "INTERVAL=2")));
  EXPECT_THAT(RuleOf("MP1 1- FR #0", "20260626T070000Z"),
              ElementsAre("BYDAY=-1FR", "FREQ=MONTHLY"));
  EXPECT_THAT(RuleOf("MP1 1+ MO TU WE TH FR #0", "20260601T070000Z"),
              ElementsAre("BYDAY=MO,TU,WE,TH,FR", "BYSETPOS=1", "FREQ=MONTHLY"));
}

TEST_F(WrittenFacts, DaysThatShortMonthsLackAreTheirLastOnes) {
  const std::vector<std::tuple<std::string, std::string, Lines>> rows = {
      {"MD1 31 #0", "20260731T070000Z", {"BYMONTHDAY=-1", "FREQ=MONTHLY"}},
      {"MD1 30 #0", "20260630T070000Z", {"BYMONTHDAY=28,29,30", "BYSETPOS=-1", "FREQ=MONTHLY"}},
      {"MD1 29 #0", "20260629T070000Z", {"BYMONTHDAY=28,29", "BYSETPOS=-1", "FREQ=MONTHLY"}},
      {"MD1 1- #0", "20260630T070000Z", {"BYMONTHDAY=-1", "FREQ=MONTHLY"}},
      {"MD1 5- #0", "20260626T070000Z", {"BYMONTHDAY=-5", "FREQ=MONTHLY"}},
      {"MD1 31- #0", "20260701T070000Z", {"BYMONTHDAY=1", "FREQ=MONTHLY"}},
      {"YM1 2 #0 MD1 29", "20280229T080000Z", {"BYMONTH=2", "BYMONTHDAY=-1", "FREQ=YEARLY"}},
  };
  for (const auto& [rule, start, parts] : rows) {
    SCOPED_TRACE(rule);
    EXPECT_EQ(RuleOf(rule, start), parts);
  }
}

}  // namespace
}  // namespace calendar_facts_out_test
