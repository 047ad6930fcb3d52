#include "btosif/osif_parsers/vcalendar_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <string>

#include "platform/posix/fault_injection.h"
#include "tests/support/calendars.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace vcalendar_reader_test {
namespace {

using support::CalendarText;
using support::EventText;
using support::Lines;
using support::OpenBytes;
using support::ReadCalendarOutcome;
using support::ReadCalendars;
using support::ReadItem;
using support::Repeated;
using support::TodoText;
using support::TraceReceiver;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

constexpr const char* kNoBegin = "OSIF:  Error - vCalendar does not have a BEGIN tag";
constexpr const char* kBlankLine = "OSIF:  Warning - Parser encounted a blank line in vCalendar";
constexpr const char* kUnknownBegin = "OSIF:  Error - Unknown BEGIN tag in vCalendar";
constexpr const char* kNoVersion =
    "OSIF:  WARNING - vCalendar missing VERSION property.  Assumed to be '1.0'.";
constexpr const char* kIncomplete =
    "OSIF:  Error - vCalendar does not contain required VERSION property";
constexpr const char* kMandatory =
    "OSIF:  Warning - vCalendar does not contain all mandetory properties";
constexpr const char* kNoEnd = "OSIF:  Error - vCalendar missing END tag";

class VCalendarReader : public support::TextTest {};

std::string WholeEvent(std::initializer_list<std::string_view> lines) {
  return EventText({"DESCRIPTION:d", "DTSTART:20060101T090000"}).insert(14, Lines(lines));
}
std::string WholeTodo(std::initializer_list<std::string_view> lines) {
  return TodoText({"CATEGORIES:c", "COMPLETED:", "DESCRIPTION:d", "DUE:20060102", "PRIORITY:2",
                   "STATUS:NEEDS ACTION", "SUMMARY:s"})
      .insert(13, Lines(lines));
}

// The only item of a calendar around this component.
ReadItem ReadOnly(const std::string& component, OsifResult expected = kOk) {
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(component));
  EXPECT_EQ(outcome.result, expected);
  EXPECT_EQ(outcome.items.size(), 1u);
  return outcome.items.empty() ? ReadItem{} : outcome.items.front();
}

std::vector<std::string> SummariesOf(const ReadCalendarOutcome& outcome) {
  std::vector<std::string> summaries;
  for (const ReadItem& item : outcome.items) summaries.push_back(item.Only("summary"));
  return summaries;
}
std::vector<OsifResult> ResultsOf(const ReadCalendarOutcome& outcome) {
  std::vector<OsifResult> results;
  for (const ReadItem& item : outcome.items) results.push_back(item.result);
  return results;
}

// ---- The property table ----

struct NameCase {
  const char* name;
  int index;
};
void PrintTo(const NameCase& name, std::ostream* out) { *out << name.name; }

class CalendarName : public testing::TestWithParam<NameCase> {};

TEST_P(CalendarName, HasItsFixedNumberInAnyCase) {
  std::string name = GetParam().name;
  EXPECT_EQ(static_cast<int>(CalendarPropertyIndex(name)), GetParam().index);
  for (char& c : name) c = static_cast<char>(std::tolower(c));
  EXPECT_EQ(static_cast<int>(CalendarPropertyIndex(name)), GetParam().index);
}

INSTANTIATE_TEST_SUITE_P(
    Names, CalendarName,
    testing::Values(NameCase{"BEGIN", 1}, NameCase{"CATEGORIES", 2}, NameCase{"VERSION", 3},
                    NameCase{"X-IRMC-LUID", 13}, NameCase{"COMPLETED", 4},
                    NameCase{"DESCRIPTION", 5}, NameCase{"DUE", 6}, NameCase{"DTEND", 7},
                    NameCase{"PRIORITY", 8}, NameCase{"DTSTART", 9}, NameCase{"STATUS", 10},
                    NameCase{"SUMMARY", 11}, NameCase{"LOCATION", 14}, NameCase{"CLASS", 15},
                    NameCase{"RRULE", 16}, NameCase{"EXDATE", 20},
                    NameCase{"X-BLUETOOTH-ALLDAYEVENT", 17}, NameCase{"ATTENDEE", 18},
                    NameCase{"DALARM", 19}, NameCase{"AALARM", 21}, NameCase{"ATTACH", 22},
                    NameCase{"END", 12}, NameCase{"", 0}, NameCase{"UID", 0}, NameCase{"PRODID", 0},
                    NameCase{"DTSTAR", 0}, NameCase{"DTSTARTS", 0}, NameCase{"MALARM", 0},
                    NameCase{"X-BLUETOOTH", 0}));

struct FieldCase {
  const char* line;
  const char* field;
  std::vector<std::string> components;
};
void PrintTo(const FieldCase& field, std::ostream* out) { *out << field.line; }

class CalendarField : public support::TextTest, public testing::WithParamInterface<FieldCase> {};

TEST_P(CalendarField, OfAnEventReceivesTheValue) {
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(EventText({GetParam().line})));
  ASSERT_THAT(outcome.items, SizeIs(1));
  EXPECT_EQ(outcome.items[0].First(GetParam().field), GetParam().components);
  EXPECT_THAT(outcome.items[0].fields, SizeIs(1));
}

TEST_P(CalendarField, OfATodoReceivesTheValueUnlessItIsALocation) {
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(TodoText({GetParam().line})));
  ASSERT_THAT(outcome.items, SizeIs(1));
  if (std::string(GetParam().field) == "location") {
    EXPECT_THAT(outcome.items[0].fields, IsEmpty());
  } else {
    EXPECT_EQ(outcome.items[0].First(GetParam().field), GetParam().components);
    EXPECT_THAT(outcome.items[0].fields, SizeIs(1));
  }
}

using Texts = std::vector<std::string>;

INSTANTIATE_TEST_SUITE_P(
    Fields, CalendarField,
    testing::Values(
        FieldCase{"CATEGORIES:a;b", "categories", Texts{"a"}},
        FieldCase{"completed:20060101", "completed", Texts{"20060101"}},
        FieldCase{"DESCRIPTION:a\\;b;c", "description", Texts{"a\\;b"}},
        FieldCase{"DUE:20060102T000000Z", "due", Texts{"20060102T000000Z"}},
        FieldCase{"DTEND:20060101T100000", "dtEnd", Texts{"20060101T100000"}},
        FieldCase{"PRIORITY:1", "priority", Texts{"1"}},
        FieldCase{"DTSTART:20060101T240000", "dtStart", Texts{"20060101T240000"}},
        FieldCase{"STATUS:NEEDS ACTION", "status", Texts{"NEEDS ACTION"}},
        FieldCase{"SUMMARY: Tea ", "summary", Texts{" Tea "}},
        FieldCase{"LOCATION:Room;x", "location", Texts{"Room"}},
        FieldCase{"CLASS:PRIVATE", "class", Texts{"PRIVATE"}},
        FieldCase{"RRULE:W2 MO WE #4", "rRule", Texts{"W2 MO WE #4"}},
        FieldCase{"RRULE:", "rRule", Texts{""}},
        FieldCase{"EXDATE:20060108T090000;20060115T090000", "exDate", Texts{"20060108T090000"}},
        FieldCase{"ATTENDEE:Ann <a@x.org>;b", "attendee", Texts{"Ann <a@x.org>"}},
        FieldCase{"ATTENDEE:", "attendee", Texts{""}},
        FieldCase{"ATTACH:note", "attach", Texts{"note"}},
        FieldCase{"DALARM:20060101T080000;PT5M;3;Wake up;more", "dAlarm",
                  Texts{"20060101T080000", "PT5M", "3", "Wake up"}},
        FieldCase{"DALARM:20060101T080000", "dAlarm", Texts{"20060101T080000"}},
        FieldCase{"AALARM:20060101T080000;;;", "aAlarm", Texts{"20060101T080000", "", "", ""}},
        FieldCase{"AALARM:20060101T080000;;3", "aAlarm", Texts{"20060101T080000", "", "3"}}));

TEST_F(VCalendarReader, EveryOccurrenceIsAValueInTheOrderReceived) {
  ReadItem item =
      ReadOnly(WholeEvent({"EXDATE:1", "DALARM:a;b", "EXDATE:2", "DALARM:c", "EXDATE:1"}));
  EXPECT_THAT(item.All("exDate"), ElementsAre("1", "2", "1"));
  EXPECT_THAT(item.All("dAlarm"), ElementsAre("a", "c"));
}

TEST_F(VCalendarReader, AValueKeepsItsParametersAndTheirFlags) {
  ReadItem item =
      ReadOnly(WholeEvent({"DTEND;VALUE=DATE:20060101",
                           "ATTENDEE;ROLE = OWNER;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=41"}));
  EXPECT_THAT(item.fields["dtEnd"][0].params, ElementsAre("VALUE=DATE"));
  EXPECT_EQ(item.fields["dtEnd"][0].flags, 0u);
  EXPECT_THAT(item.fields["attendee"][0].params,
              ElementsAre("ROLE=OWNER", "CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(item.fields["attendee"][0].flags, 9u);
  EXPECT_THAT(item.First("attendee"), ElementsAre("=41")) << "values are kept raw";
}

// ---- Kinds ----

TEST_F(VCalendarReader, AnEventAndATodoHaveTheirKindsAndStore) {
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(WholeEvent({}) + WholeTodo({})));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.items, SizeIs(2));
  EXPECT_EQ(outcome.items[0].kind, 1);
  EXPECT_EQ(outcome.items[1].kind, 2);
  EXPECT_EQ(outcome.items[0].store, 1);
  EXPECT_EQ(outcome.items[1].store, 1);
}

TEST_F(VCalendarReader, TagsAreTakenInAnyCase) {
  ReadCalendarOutcome outcome = ReadCalendars(
      Lines({"begin:vCalendar", "Version:1.0", "Begin:vEvent", "description:d", "dtstart:x",
             "end:vevent", "begin:vtodo", "END:VTODO", "end:vcalendar"}));
  EXPECT_EQ(outcome.result, kWarning);
  ASSERT_THAT(outcome.items, SizeIs(2));
  EXPECT_EQ(outcome.items[0].result, kOk);
  EXPECT_EQ(outcome.items[0].kind, 1);
  EXPECT_EQ(outcome.items[1].kind, 2);
}

struct AllDayCase {
  const char* value;
  int all_day;
};

class AllDayEvent : public support::TextTest, public testing::WithParamInterface<AllDayCase> {};

TEST_P(AllDayEvent, IsTrueInAnyCaseOnly) {
  ReadItem item =
      ReadOnly(WholeEvent({"X-BLUETOOTH-ALLDAYEVENT:" + std::string(GetParam().value)}));
  EXPECT_EQ(item.all_day, GetParam().all_day);
}

INSTANTIATE_TEST_SUITE_P(Values, AllDayEvent,
                         testing::Values(AllDayCase{"TRUE", 1}, AllDayCase{"true", 1},
                                         AllDayCase{"tRuE", 1}, AllDayCase{"FALSE", 0},
                                         AllDayCase{"", 0}, AllDayCase{"1", 0},
                                         AllDayCase{"YES", 0}, AllDayCase{"TRUEX", 0}));

TEST_F(VCalendarReader, OfATodoLocationAndAllDayMarkAreIgnoredWithoutAWord) {
  TraceReceiver trace;
  ReadItem item = ReadOnly(WholeTodo({"LOCATION:Room", "X-BLUETOOTH-ALLDAYEVENT:TRUE"}));
  EXPECT_EQ(item.kind, 2);
  EXPECT_THAT(item.fields, SizeIs(7));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

// A task has no such field: the mark would lie in the record past those that it has.
TEST_F(VCalendarReader, TheAllDayMarkOfATodoLeavesTheRecordAsItIs) {
  const auto look = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    *static_cast<int*>(context) = object->calendar.tail.event.allDayEvent;
    return 0;
  };
  int mark = 77;
  OsifStream stream = OpenBytes(CalendarText(WholeTodo({"X-BLUETOOTH-ALLDAYEVENT:TRUE"})));
  EXPECT_EQ(VCalendar_ReadFile(stream, look, &mark), kOk);
  EXPECT_EQ(mark, 0);
}

TEST_F(VCalendarReader, TheAllDayMarkDoesNotPassToTheNextEvent) {
  ReadCalendarOutcome outcome = ReadCalendars(
      CalendarText(WholeEvent({"X-BLUETOOTH-ALLDAYEVENT:TRUE", "LOCATION:x"}) + WholeEvent({})));
  ASSERT_THAT(outcome.items, SizeIs(2));
  EXPECT_EQ(outcome.items[0].all_day, 1);
  EXPECT_EQ(outcome.items[1].all_day, 0);
  EXPECT_THAT(outcome.items[1].fields, SizeIs(2));
}

// ---- Mandatory properties ----

constexpr const char* kTodoMandatory[] = {"CATEGORIES:c", "COMPLETED:", "DESCRIPTION:d",
                                          "DUE:20060102", "PRIORITY:2", "STATUS:x",
                                          "SUMMARY:s"};
constexpr const char* kEventMandatory[] = {"DESCRIPTION:d", "DTSTART:20060101"};

template <size_t kCount>
std::string AllBut(const char* const (&lines)[kCount], size_t left_out, const char* tag) {
  std::string text = std::string("BEGIN:") + tag + "\r\n";
  for (size_t i = 0; i < kCount; ++i) {
    if (i != left_out) text += std::string(lines[i]) + "\r\n";
  }
  return text + "END:" + tag + "\r\n";
}

TEST_F(VCalendarReader, AnEventWithoutOneOfItsMandatoryPropertiesIsDeliveredWithAWarning) {
  for (size_t i = 0; i < 2; ++i) {
    TraceReceiver trace;
    EXPECT_EQ(ReadOnly(AllBut(kEventMandatory, i, "VEVENT"), kWarning).result, kWarning);
    EXPECT_THAT(trace.Lines(), ElementsAre(kMandatory));
  }
  TraceReceiver trace;
  EXPECT_EQ(ReadOnly(AllBut(kEventMandatory, 2, "VEVENT")).result, kOk);
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VCalendarReader, ATodoWithoutOneOfItsMandatoryPropertiesIsDeliveredWithAWarning) {
  for (size_t i = 0; i < 7; ++i) {
    TraceReceiver trace;
    EXPECT_EQ(ReadOnly(AllBut(kTodoMandatory, i, "VTODO"), kWarning).result, kWarning);
    EXPECT_THAT(trace.Lines(), ElementsAre(kMandatory)) << kTodoMandatory[i];
  }
  TraceReceiver trace;
  EXPECT_EQ(ReadOnly(AllBut(kTodoMandatory, 7, "VTODO")).result, kOk);
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VCalendarReader, ATodoOfSummaryAndDueIsDeliveredWithAWarning) {
  ReadItem item = ReadOnly(TodoText({"SUMMARY:s", "DUE:20060102"}), kWarning);
  EXPECT_EQ(item.Only("summary"), "s");
  EXPECT_EQ(item.Only("due"), "20060102");
}

TEST_F(VCalendarReader, MandatoryPropertiesOfANestedObjectDoNotCount) {
  TraceReceiver trace;
  ReadOnly(EventText({"BEGIN:X", "DESCRIPTION:d", "DTSTART:x", "END:X"}), kWarning);
  EXPECT_THAT(trace.Lines(), ElementsAre(kMandatory));
}

// ---- Version and id ----

struct VersionCase {
  const char* text;
  bool is_supported;
};
void PrintTo(const VersionCase& version, std::ostream* out) { *out << version.text; }

class CalendarVersion : public support::TextTest,
                        public testing::WithParamInterface<VersionCase> {};

TEST_P(CalendarVersion, IsANumberUpToOne) {
  TraceReceiver trace;
  const std::string line = "VERSION:" + std::string(GetParam().text) + "\r\n";
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(WholeEvent({}), line));
  if (GetParam().is_supported) {
    EXPECT_EQ(outcome.result, kOk);
    ASSERT_THAT(outcome.items, SizeIs(1));
    EXPECT_EQ(outcome.items[0].version, GetParam().text);
    EXPECT_THAT(trace.Lines(), IsEmpty());
  } else {
    EXPECT_EQ(outcome.result, kError);
    EXPECT_THAT(outcome.items, IsEmpty());
    EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - vCalendar version '" +
                                           std::string(GetParam().text) + "' is not supported"));
  }
}

INSTANTIATE_TEST_SUITE_P(Versions, CalendarVersion,
                         testing::Values(VersionCase{"1.0", true}, VersionCase{"0.5", true},
                                         VersionCase{"1", true}, VersionCase{"1.0 beta", true},
                                         VersionCase{"2.0", false}, VersionCase{"1.1", false},
                                         VersionCase{"1.01", false}, VersionCase{"0", false},
                                         VersionCase{"0.0", false}, VersionCase{"x", false},
                                         VersionCase{"", false}, VersionCase{"nan", false},
                                         VersionCase{"inf", false}));

TEST_F(VCalendarReader, WithoutAVersionTheItemsAreDeliveredAs10) {
  TraceReceiver trace;
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(WholeEvent({}), ""));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.items, SizeIs(1));
  EXPECT_EQ(outcome.items[0].result, kOk);
  EXPECT_EQ(outcome.items[0].version, "1.0");
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoVersion));
}

TEST_F(VCalendarReader, AVersionBehindTheItemsEndsTheReadingAllTheSame) {
  ReadCalendarOutcome outcome =
      ReadCalendars("BEGIN:VCALENDAR\r\n" + WholeEvent({}) + "VERSION:2.0\r\n" + WholeTodo({}) +
                    "END:VCALENDAR\r\n");
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.items, SizeIs(1));
}

TEST_F(VCalendarReader, AVersionInsideAComponentIsIgnored) {
  TraceReceiver trace;
  ReadItem item = ReadOnly(WholeEvent({"VERSION:2.0"}));
  EXPECT_EQ(item.version, "1.0");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VCalendarReader, ALongVersionIsCutToItsField) {
  const std::string text = "1.0" + std::string(100, '0');
  ReadCalendarOutcome outcome =
      ReadCalendars(CalendarText(WholeEvent({}), "VERSION:" + text + "\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.items, SizeIs(1));
  EXPECT_EQ(outcome.items[0].version, text.substr(0, 24));
}

TEST_F(VCalendarReader, AnIdIsTakenFromTheCalendarOrTheComponent) {
  EXPECT_EQ(ReadOnly(WholeEvent({"X-IRMC-LUID:0000002a"})).luid, "0000002a");
  EXPECT_EQ(ReadOnly(WholeTodo({"X-IRMC-LUID:0000002b"})).luid, "0000002b");
  EXPECT_EQ(ReadOnly("X-IRMC-LUID:0000002c\r\n" + WholeEvent({})).luid, "0000002c");
}

TEST_F(VCalendarReader, AnIdOfANestedObjectIsNotTaken) {
  EXPECT_EQ(ReadOnly(WholeEvent({"BEGIN:X", "X-IRMC-LUID:2a", "END:X"})).luid, "");
}

TEST_F(VCalendarReader, ALongIdIsCutToItsField) {
  const std::string id(600, 'a');
  EXPECT_EQ(ReadOnly(WholeEvent({"X-IRMC-LUID:" + id})).luid, id.substr(0, 511));
}

TEST_F(VCalendarReader, BetweenTwoItemsTheRecordIsClearedSaveForTheVersionOfTheirCalendar) {
  ReadCalendarOutcome outcome =
      ReadCalendars(CalendarText(WholeEvent({"X-IRMC-LUID:1", "SUMMARY:a", "RRULE:D1"}) +
                                 WholeTodo({}) + WholeEvent({"SUMMARY:c"})));
  ASSERT_THAT(outcome.items, SizeIs(3));
  EXPECT_EQ(outcome.items[1].luid, "");
  EXPECT_EQ(outcome.items[1].version, "1.0");
  EXPECT_THAT(outcome.items[1].fields, SizeIs(7));
  EXPECT_EQ(outcome.items[2].Only("summary"), "c");
  EXPECT_THAT(outcome.items[2].fields, SizeIs(3));
}

TEST_F(VCalendarReader, AnIdAtTheEndOfACalendarDoesNotReachTheNext) {
  ReadCalendarOutcome outcome = ReadCalendars(
      CalendarText(WholeEvent({}) + "X-IRMC-LUID:0000002a\r\n") + CalendarText(WholeEvent({})));
  ASSERT_THAT(outcome.items, SizeIs(2));
  EXPECT_EQ(outcome.items[0].luid, "");
  EXPECT_EQ(outcome.items[1].luid, "");
}

TEST_F(VCalendarReader, EachCalendarHasItsOwnVersion) {
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(WholeEvent({}), "VERSION:0.5\r\n") +
                                              CalendarText(WholeEvent({}), ""));
  ASSERT_THAT(outcome.items, SizeIs(2));
  EXPECT_EQ(outcome.items[0].version, "0.5");
  EXPECT_EQ(outcome.items[1].version, "1.0");
}

TEST_F(VCalendarReader, NothingOfAVersionIsLeftForTheNextCalendar) {
  const std::string version = "0." + std::string(20, '5');
  std::vector<char> bytes;
  const auto keep = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    static_cast<std::vector<char>*>(context)->assign(std::begin(object->version),
                                                     std::end(object->version));
    return 0;
  };
  OsifStream stream = OpenBytes(CalendarText(WholeEvent({}), "VERSION:" + version + "\r\n") +
                                CalendarText(WholeEvent({}), ""));
  VCalendar_ReadFile(stream, keep, &bytes);
  std::vector<char> expected(sizeof OsifObject{}.version, '\0');
  std::string_view("1.0").copy(expected.data(), 3);
  EXPECT_EQ(bytes, expected);
}

// ---- Unknown and blank lines ----

TEST_F(VCalendarReader, AnUnknownPropertyOfTheCalendarIsAWarning) {
  TraceReceiver trace;
  ReadItem item = ReadOnly("PRODID:x\r\n" + WholeEvent({}), kWarning);
  EXPECT_EQ(item.result, kWarning);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - vCalendar contains unknown property: 'PRODID'"));
}

TEST_F(VCalendarReader, AnUnknownPropertyOfAComponentIsAWarning) {
  TraceReceiver trace;
  EXPECT_EQ(ReadOnly(WholeEvent({"UID;X=1:x"}), kWarning).result, kWarning);
  EXPECT_EQ(ReadOnly(WholeTodo({"x-Foo:x"}), kWarning).result, kWarning);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - vCalendar contains unknown property: 'UID'",
                          "OSIF:  Warning - vCalendar contains unknown property: 'x-Foo'"));
}

TEST_F(VCalendarReader, AWarningBehindAnItemDoesNotReachIt) {
  ReadCalendarOutcome outcome =
      ReadCalendars(CalendarText(WholeEvent({}) + "UID:x\r\n" + WholeTodo({})));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(ResultsOf(outcome), ElementsAre(kOk, kWarning));
}

TEST_F(VCalendarReader, OtherKnownPropertiesOfTheCalendarAreSkippedWithoutAWord) {
  TraceReceiver trace;
  ReadItem item = ReadOnly("SUMMARY:x\r\nDTSTART:x\r\nATTACH:x\r\n" + WholeEvent({}));
  EXPECT_THAT(item.fields, SizeIs(2));
  EXPECT_EQ(item.Only("dtStart"), "20060101T090000");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VCalendarReader, ABlankLineIsAWarning) {
  TraceReceiver trace;
  EXPECT_EQ(ReadOnly("\r\n" + WholeEvent({}), kWarning).result, kWarning);
  EXPECT_EQ(ReadOnly(WholeEvent({""}), kWarning).result, kWarning);
  EXPECT_EQ(ReadOnly(WholeTodo({""}), kWarning).result, kWarning);
  EXPECT_THAT(trace.Lines(), ElementsAre(kBlankLine, kBlankLine, kBlankLine));
}

TEST_F(VCalendarReader, ALineWithoutADelimiterIsAnUnknownProperty) {
  TraceReceiver trace;
  ReadOnly(WholeEvent({"what"}), kWarning);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Warning - vCalendar contains unknown property: 'what'"));
}

// ---- Nested objects ----

TEST_F(VCalendarReader, ANestedObjectIsSkippedWithAllItsLines) {
  TraceReceiver trace;
  ReadItem item =
      ReadOnly(WholeEvent({"BEGIN:VALARM", "SUMMARY:no", "BEGIN:VEVENT", "DTSTART:no", "END:VEVENT",
                           "RRULE:no", "WHATEVER:x", "END:VALARM", "SUMMARY:yes"}));
  EXPECT_EQ(item.Only("summary"), "yes");
  EXPECT_EQ(item.Only("dtStart"), "20060101T090000");
  EXPECT_THAT(item.fields, SizeIs(3));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VCalendarReader, AnEndMatchesWhateverItSays) {
  ReadItem item = ReadOnly("BEGIN:VEVENT\r\nDESCRIPTION:d\r\nDTSTART:x\r\nEND:VTODO\r\n");
  EXPECT_EQ(item.kind, 1);
}

// ---- What ends the reading ----

TEST_F(VCalendarReader, AnUnknownComponentIsAnError) {
  TraceReceiver trace;
  ReadCalendarOutcome outcome = ReadCalendars(
      CalendarText(WholeEvent({}) + "BEGIN:VJOURNAL\r\nEND:VJOURNAL\r\n" + WholeTodo({})));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.items, SizeIs(1));
  EXPECT_THAT(trace.Lines(), ElementsAre(kUnknownBegin));
}

// What closes a calendar is said of one that was read to its end.
TEST_F(VCalendarReader, AfterAnErrorNothingIsSaidOfWhatTheCalendarLacks) {
  TraceReceiver trace;
  EXPECT_EQ(ReadCalendars(CalendarText("BEGIN:VJOURNAL\r\n", "")).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kUnknownBegin));
  EXPECT_EQ(
      ReadCalendars("BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nDESCRIPTION:d\r\nDTSTART:x\r\n").result,
      kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoEnd));
}

TEST_F(VCalendarReader, ACalendarInACalendarIsAnError) {
  TraceReceiver trace;
  EXPECT_EQ(ReadCalendars(CalendarText(CalendarText(WholeEvent({})))).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kUnknownBegin));
}

TEST_F(VCalendarReader, ACalendarWithoutAComponentIsAnError) {
  TraceReceiver trace;
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(""));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.items, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(kIncomplete));
}

TEST_F(VCalendarReader, ACalendarWithoutAComponentAndAVersionTellsBoth) {
  TraceReceiver trace;
  EXPECT_EQ(ReadCalendars(CalendarText("", "")).result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoVersion, kIncomplete));
}

TEST_F(VCalendarReader, ACalendarWithoutItsEndIsAnErrorBehindItsItems) {
  TraceReceiver trace;
  ReadCalendarOutcome outcome =
      ReadCalendars("BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + WholeEvent({}));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.items, SizeIs(1));
  EXPECT_THAT(trace.Lines(), ElementsAre(kIncomplete));
}

TEST_F(VCalendarReader, AComponentWithoutItsEndIsAnErrorAndNotDelivered) {
  for (const char* tag : {"VEVENT", "VTODO"}) {
    TraceReceiver trace;
    ReadCalendarOutcome outcome =
        ReadCalendars(Lines({"BEGIN:VCALENDAR", "VERSION:1.0", std::string("BEGIN:") + tag,
                             "DESCRIPTION:d", "DTSTART:x"}));
    EXPECT_EQ(outcome.result, kError);
    EXPECT_THAT(outcome.items, IsEmpty());
    std::vector<std::string> told = {kNoEnd};
    if (std::string(tag) == "VTODO") told.insert(told.begin(), kMandatory);
    EXPECT_EQ(trace.Lines(), told);
  }
}

TEST_F(VCalendarReader, ANestedObjectWithoutItsEndTakesTheComponentsAndThatTheCalendars) {
  TraceReceiver trace;
  ReadCalendarOutcome outcome =
      ReadCalendars(CalendarText(WholeEvent({"SUMMARY:yes", "BEGIN:X", "LOCATION:no"})));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(SummariesOf(outcome), ElementsAre("yes"));
  EXPECT_THAT(trace.Lines(), ElementsAre(kMandatory, kIncomplete));
}

TEST_F(VCalendarReader, AFileThatDoesNotBeginACalendarIsAnError) {
  for (const char* bytes :
       {"VERSION:1.0\r\n", "BEGIN:VCARD\r\nEND:VCARD\r\n", "\r\n", "BEGIN:\r\n"}) {
    TraceReceiver trace;
    EXPECT_EQ(ReadCalendars(bytes).result, kError) << bytes;
    EXPECT_THAT(trace.Lines(), ElementsAre(kNoBegin)) << bytes;
  }
}

TEST_F(VCalendarReader, AnEmptyFileIsAnError) { EXPECT_EQ(ReadCalendars("").result, kError); }

TEST_F(VCalendarReader, AStreamAtItsEndIsAnErrorWithoutAWord) {
  OsifStream stream = OpenBytes(CalendarText(WholeEvent({})));
  EXPECT_EQ(VCalendar_ReadFile(stream, nullptr, nullptr), kOk);
  TraceReceiver trace;
  EXPECT_EQ(VCalendar_ReadFile(stream, nullptr, nullptr), kError);
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

// ---- Several calendars ----

TEST_F(VCalendarReader, TheItemsOfEveryCalendarAreDelivered) {
  TraceReceiver trace;
  ReadCalendarOutcome outcome =
      ReadCalendars(CalendarText(WholeEvent({"SUMMARY:a"}) + WholeEvent({"SUMMARY:b"})) +
                    CalendarText(WholeTodo({})));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_THAT(SummariesOf(outcome), ElementsAre("a", "b", "s"));
  EXPECT_THAT(ResultsOf(outcome), Each(kOk));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VCalendarReader, AWarningStaysForTheRestOfTheFile) {
  ReadCalendarOutcome outcome =
      ReadCalendars(CalendarText(WholeEvent({})) + CalendarText(WholeEvent({"UID:x"})) +
                    CalendarText(WholeEvent({})));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_THAT(ResultsOf(outcome), ElementsAre(kOk, kWarning, kWarning));
}

TEST_F(VCalendarReader, AnErrorEndsTheFileAndTheItemsBeforeItStayDelivered) {
  ReadCalendarOutcome outcome =
      ReadCalendars(CalendarText(WholeEvent({})) + CalendarText("") + CalendarText(WholeEvent({})));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.items, SizeIs(1));
}

TEST_F(VCalendarReader, AnyOtherLineBetweenCalendarsEndsTheReadingWithoutAWord) {
  for (const char* line : {"\r\n", "X:y\r\n", "BEGIN:VCARD\r\n"}) {
    TraceReceiver trace;
    ReadCalendarOutcome outcome =
        ReadCalendars(CalendarText(WholeEvent({})) + line + CalendarText(WholeEvent({})));
    EXPECT_EQ(outcome.result, kOk);
    EXPECT_THAT(outcome.items, SizeIs(1));
    EXPECT_THAT(trace.Lines(), IsEmpty());
  }
}

TEST_F(VCalendarReader, NoCallbackIsNeeded) {
  OsifStream stream = OpenBytes(CalendarText(WholeEvent({}) + WholeTodo({})));
  EXPECT_EQ(VCalendar_ReadFile(stream, nullptr, nullptr), kOk);
}

// ---- Large and hostile files ----

TEST_F(VCalendarReader, ACalendarOfThousandsOfEventsIsDeliveredWhole) {
  constexpr size_t kEvents = 5000;
  std::string components;
  for (size_t i = 0; i < kEvents; ++i) {
    components += WholeEvent({"SUMMARY:event " + std::to_string(i)});
  }
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(components));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.items, SizeIs(kEvents));
  EXPECT_EQ(outcome.items[499].Only("summary"), "event 499");
  EXPECT_EQ(outcome.items[500].Only("summary"), "event 500");
  EXPECT_EQ(outcome.items.back().Only("summary"), "event 4999");
}

TEST_F(VCalendarReader, AHundredThousandExceptionsAreReadInSeconds) {
  constexpr size_t kDates = 100000;
  const std::string text =
      CalendarText("BEGIN:VEVENT\r\nDESCRIPTION:d\r\nDTSTART:x\r\n" +
                   Repeated("EXDATE:20060101T090000\r\n", kDates) + "END:VEVENT\r\n");
  OsifStream stream = OpenBytes(text);
  auto count = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    for (const PropertyValue& value : Values(object->calendar.tail.event.exDate)) {
      *static_cast<size_t*>(context) += value.components != nullptr;
    }
    return 0;
  };
  size_t dates = 0;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(VCalendar_ReadFile(stream, count, &dates), kOk);
  EXPECT_EQ(dates, kDates);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15));
}

TEST_F(VCalendarReader, AHundredThousandNestedObjectsAreSkipped) {
  constexpr size_t kDepth = 100000;
  ReadCalendarOutcome outcome = ReadCalendars(CalendarText(
      "BEGIN:VEVENT\r\nDESCRIPTION:d\r\nDTSTART:x\r\n" + Repeated("BEGIN:X\r\n", kDepth) +
      "SUMMARY:no\r\n" + Repeated("END:X\r\n", kDepth) + "LOCATION:yes\r\nEND:VEVENT\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.items, SizeIs(1));
  EXPECT_EQ(outcome.items[0].Only("location"), "yes");
  EXPECT_THAT(outcome.items[0].fields, SizeIs(3));
}

TEST_F(VCalendarReader, MemoryShortageAtAnyPointIsReportedOrLeavesAnOrderlyRecord) {
  const std::string bytes = CalendarText(
      WholeEvent({"DALARM:a;b;c;d", "RRULE:D1", "EXDATE;VALUE=DATE:x"}) + WholeTodo({}));
  TraceReceiver trace;
  for (int nth = 1; nth <= 120; ++nth) {
    FailAllocation(nth);
    ReadCalendarOutcome outcome = ReadCalendars(bytes);
    FailAllocation(0);
    EXPECT_TRUE(outcome.result == kOk || outcome.result == kWarning || outcome.result == kError ||
                outcome.result == OSIF_ERR_NO_MEMORY)
        << outcome.result;
    EXPECT_LE(outcome.items.size(), 2u);
  }
  EXPECT_THAT(trace.Lines(), Each(StartsWith("OSIF:  ")));
}

}  // namespace
}  // namespace vcalendar_reader_test
