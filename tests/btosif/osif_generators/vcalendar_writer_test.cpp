#include "btosif/osif_generators/vcalendar_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/posix/fault_injection.h"
#include "tests/support/calendars.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace vcalendar_writer_test {
namespace {

using support::BytesWritten;
using support::Lines;
using support::MakeValue;
using support::ReadCalendarOutcome;
using support::ReadCalendars;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class VCalendarWriter : public support::TextTest {
 protected:
  VCalendarWriter() { std::strcpy(object_->version, "1.0"); }

  OsifCalendar& calendar() { return object_->calendar; }
  OsifEventTail& event() { return calendar().tail.event; }
  OsifTodoTail& todo() { return calendar().tail.todo; }
  OsifObject& object() { return *object_; }

  void MakeKind(uint8_t kind) { object_->calendarKind = kind; }

  // Fills every list of the kind with one value that is its own name.
  void FillEveryField(uint8_t kind) {
    MakeKind(kind);
    for (const auto& [name, list] : support::CalendarLists(*object_)) {
      *list = MakeValue({}, {name}).release();
    }
  }

  std::string Written(uint8_t write_luid = 1) {
    return BytesWritten(
        [&](OsifStream& stream) { EXPECT_EQ(VCalendar_Write(stream, *object_, write_luid), 0u); });
  }

 private:
  OwnedObject object_{OSIF_STORE_CAL};
};

TEST_F(VCalendarWriter, AnEmptyEventWritesItsRequiredPropertiesBare) {
  MakeKind(OSIF_CALENDAR_EVENT);
  EXPECT_EQ(Written(), Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VEVENT",
                              "SUMMARY:", "DESCRIPTION:", "DTSTART:", "DTEND:", "PRIORITY:",
                              "X-BLUETOOTH-ALLDAYEVENT:FALSE", "END:VEVENT", "END:VCALENDAR"}));
}

TEST_F(VCalendarWriter, AnEmptyTodoWritesItsRequiredPropertiesBare) {
  MakeKind(OSIF_CALENDAR_TODO);
  EXPECT_EQ(Written(), Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "BEGIN:VTODO",
                              "CATEGORIES:", "COMPLETED:", "DESCRIPTION:", "DUE:", "PRIORITY:",
                              "STATUS:", "SUMMARY:", "END:VTODO", "END:VCALENDAR"}));
}

TEST_F(VCalendarWriter, AnItemOfAnotherKindWritesNoComponent) {
  for (int kind : {0, 3, 255}) {
    MakeKind(static_cast<uint8_t>(kind));
    EXPECT_EQ(Written(), Lines({"BEGIN:VCALENDAR", "VERSION:1.0", "END:VCALENDAR"}));
  }
}

TEST_F(VCalendarWriter, EveryFieldOfAnEventIsWrittenInItsOrder) {
  FillEveryField(OSIF_CALENDAR_EVENT);
  std::strcpy(object().xIrmcLuid, "0000002a");
  event().allDayEvent = 1;
  EXPECT_EQ(Written(), Lines({"BEGIN:VCALENDAR",
                              "VERSION:1.0",
                              "BEGIN:VEVENT",
                              "SUMMARY:summary",
                              "DESCRIPTION:description",
                              "DTSTART:dtStart",
                              "DTEND:dtEnd",
                              "CLASS:class",
                              "PRIORITY:priority",
                              "STATUS:status",
                              "LOCATION:location",
                              "CATEGORIES:categories",
                              "DALARM:dAlarm",
                              "AALARM:aAlarm",
                              "RRULE:rRule",
                              "EXDATE:exDate",
                              "ATTENDEE:attendee",
                              "X-IRMC-LUID:0000002a",
                              "X-BLUETOOTH-ALLDAYEVENT:TRUE",
                              "END:VEVENT",
                              "END:VCALENDAR"}));
}

TEST_F(VCalendarWriter, EveryFieldOfATodoIsWrittenInItsOrder) {
  FillEveryField(OSIF_CALENDAR_TODO);
  std::strcpy(object().xIrmcLuid, "0000002a");
  EXPECT_EQ(Written(), Lines({"BEGIN:VCALENDAR",
                              "VERSION:1.0",
                              "BEGIN:VTODO",
                              "CATEGORIES:categories",
                              "CLASS:class",
                              "COMPLETED:completed",
                              "DESCRIPTION:description",
                              "DTSTART:dtStart",
                              "DUE:due",
                              "PRIORITY:priority",
                              "STATUS:status",
                              "SUMMARY:summary",
                              "DALARM:dAlarm",
                              "AALARM:aAlarm",
                              "RRULE:rRule",
                              "EXDATE:exDate",
                              "ATTENDEE:attendee",
                              "X-IRMC-LUID:0000002a",
                              "END:VTODO",
                              "END:VCALENDAR"}));
}

TEST_F(VCalendarWriter, TheIdIsWrittenWhenItIsAskedForAndThere) {
  for (uint8_t kind : {OSIF_CALENDAR_EVENT, OSIF_CALENDAR_TODO}) {
    MakeKind(kind);
    object().xIrmcLuid[0] = 0;
    EXPECT_THAT(Written(1), Not(HasSubstr("LUID")));
    std::strcpy(object().xIrmcLuid, "2a");
    EXPECT_THAT(Written(0), Not(HasSubstr("LUID")));
    EXPECT_THAT(Written(1), HasSubstr("\r\nX-IRMC-LUID:2a\r\n"));
  }
}

TEST_F(VCalendarWriter, TheRecordsOwnVersionIsWritten) {
  std::strcpy(object().version, "0.5");
  EXPECT_THAT(Written(), HasSubstr("\r\nVERSION:0.5\r\n"));
  object().version[0] = 0;
  EXPECT_THAT(Written(), HasSubstr("\r\nVERSION:\r\n"));
}

TEST_F(VCalendarWriter, EveryValueIsALineWithItsParametersAndComponents) {
  MakeKind(OSIF_CALENDAR_EVENT);
  event().exDate = MakeValue({"VALUE=DATE"}, {"20060101"}).release();
  event().exDate->next = MakeValue({}, {"20060102"}).release();
  event().dAlarm = MakeValue({}, {"20060101T080000", "", "3", ""}).release();
  event().attendee = MakeValue({"ROLE=ATTENDEE", "CHARSET=UTF-8"}, {"Ann <a@x.org>"}).release();
  const std::string written = Written();
  EXPECT_THAT(written, HasSubstr("\r\nDALARM:20060101T080000;;3\r\nEXDATE;VALUE=DATE:20060101\r\n"
                                 "EXDATE:20060102\r\n"
                                 "ATTENDEE;ROLE=ATTENDEE;CHARSET=UTF-8:Ann <a@x.org>\r\n"));
}

TEST_F(VCalendarWriter, AValueWithoutATextIsWrittenEmpty) {
  MakeKind(OSIF_CALENDAR_EVENT);
  calendar().status = MakeValue({}, {}).release();
  event().location = MakeValue({}, {""}).release();
  EXPECT_THAT(Written(), HasSubstr("\r\nSTATUS:\r\nLOCATION:\r\n"));
}

TEST_F(VCalendarWriter, AnEncodedTextOfSeveralLinesIsSplitBehindEachOfThem) {
  MakeKind(OSIF_CALENDAR_EVENT);
  calendar().description =
      MakeValue({"ENCODING=QUOTED-PRINTABLE"}, {"one=0D=0Atwo=0D=0Athree"}, 1).release();
  EXPECT_THAT(Written(), HasSubstr("\r\nDESCRIPTION;ENCODING=QUOTED-PRINTABLE:one=0D=0A=\r\n"
                                   "two=0D=0A=\r\nthree\r\n"));
}

TEST_F(VCalendarWriter, WhatItWritesIsReadAgainWithoutAWarning) {
  for (uint8_t kind : {OSIF_CALENDAR_EVENT, OSIF_CALENDAR_TODO}) {
    support::CalendarRecord record;
    std::strcpy(record->version, "1.0");
    std::strcpy(record->xIrmcLuid, "2a");
    record->calendarKind = kind;
    for (const auto& [name, list] : support::CalendarLists(*record)) {
      *list = MakeValue({"X=1"}, {name}).release();
    }
    const std::string bytes = BytesWritten(
        [&](OsifStream& stream) { EXPECT_EQ(VCalendar_Write(stream, *record, 1), 0u); });
    ReadCalendarOutcome outcome = ReadCalendars(bytes);
    EXPECT_EQ(outcome.result, OsifResult{OSIF_PARSE_OK});
    ASSERT_THAT(outcome.items, SizeIs(1));
    const support::ReadItem& item = outcome.items[0];
    EXPECT_EQ(item.kind, kind);
    EXPECT_EQ(item.luid, "2a");
    for (const auto& [name, values] : item.fields) {
      EXPECT_EQ(item.Only(name), name);
      EXPECT_THAT(values[0].params, ElementsAre("X=1"));
    }
    // DUE and COMPLETED of an event, DTEND of a to-do and every ATTACH are not written.
    EXPECT_THAT(item.fields, SizeIs(14));
  }
}

TEST_F(VCalendarWriter, MemoryShortageIsToldInTheTraceOnlyAndTheOtherLinesAreWritten) {
  MakeKind(OSIF_CALENDAR_EVENT);
  support::TempFile file;
  TraceReceiver trace;
  {
    OsifStream stream = support::Open(file.path(), u"w", LineEnd::kCrLf);
    FailAllocation(1);
    EXPECT_EQ(VCalendar_Write(stream, object(), 1), 0u);
    FailAllocation(0);
  }
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Insufficient memory to generate vCalendar string"));
  EXPECT_THAT(file.Bytes(), testing::EndsWith("END:VEVENT\r\nEND:VCALENDAR\r\n"));
}

TEST_F(VCalendarWriter, AFileThatTakesNothingIsToldInTheTraceOnly) {
  MakeKind(OSIF_CALENDAR_TODO);
  support::TempFile file;
  OsifStream stream = support::Open(file.path(), u"rb");
  TraceReceiver trace;
  EXPECT_EQ(VCalendar_Write(stream, object(), 1), 0u);
  // BEGIN and VERSION of the calendar, the empty to-do with its seven mandatory properties, and the END lines.
  EXPECT_EQ(trace.Lines(),
            std::vector<std::string>(12, "OSIF:  Unable to put vCalendar string to file"));
}

}  // namespace
}  // namespace vcalendar_writer_test
