// The calendar reader at its limits: the sizes of its fields, and memory that is short.
#include <gmock/gmock.h>

#include "platform/posix/fault_injection.h"
#include "tests/support/calendars.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace vcalendar_reader_limits_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class VCalendarReaderLimits : public TextTest {
 protected:
  static std::string Event(const std::string& line) {
    return EventText({"DESCRIPTION:d", "DTSTART:20060101T090000", line});
  }
  static ReadItem Only(const std::string& text) {
    ReadCalendarOutcome outcome = ReadCalendars(text);
    EXPECT_EQ(outcome.result, OsifResult{OSIF_PARSE_OK});
    EXPECT_THAT(outcome.items, SizeIs(1));
    return outcome.items.empty() ? ReadItem() : outcome.items[0];
  }

  struct Shortage {
    ReadCalendarOutcome outcome;
    std::vector<std::string> told;
  };
  // What is read when the nth allocation fails.
  static Shortage ReadWithShortage(int nth, const std::string& bytes) {
    TraceReceiver trace;
    FailAllocation(nth);
    ReadCalendarOutcome outcome = ReadCalendars(bytes);
    FailAllocation(0);
    return {std::move(outcome), trace.Lines()};
  }
};

TEST_F(VCalendarReaderLimits, AnIdHas511CharactersAtMost) {
  for (size_t length : {510u, 511u, 512u, 513u}) {
    const std::string id(length, 'a');
    EXPECT_EQ(Only(CalendarText(Event("X-IRMC-LUID:" + id))).luid, id.substr(0, 511)) << length;
  }
}

TEST_F(VCalendarReaderLimits, AVersionHas24CharactersAtMost) {
  for (size_t length : {23u, 24u, 25u, 26u}) {
    const std::string version = "1." + std::string(length - 2, '0');
    EXPECT_EQ(Only(CalendarText(Event("SUMMARY:x"), "VERSION:" + version + "\r\n")).version,
              version.substr(0, 24))
        << length;
  }
}

TEST_F(VCalendarReaderLimits, AnAlarmHasFourPartsAtMost) {
  const std::pair<const char*, size_t> alarms[] = {
      {"a", 1}, {"a;b", 2}, {"a;b;c", 3}, {"a;b;c;d", 4}, {"a;b;c;d;e", 4}, {";;;", 4}, {"", 1}};
  for (const auto& [alarm, parts] : alarms) {
    for (const char* name : {"DALARM:", "AALARM:"}) {
      const std::string field = name[0] == 'D' ? "dAlarm" : "aAlarm";
      EXPECT_THAT(Only(CalendarText(Event(std::string(name) + alarm))).First(field), SizeIs(parts))
          << name << alarm;
    }
  }
}

// The tails of both kinds share their storage: what reads a to-do as an event mixes its lists up.
TEST_F(VCalendarReaderLimits, ReadAsAnEventATodoShowsItsListsOneFieldFurther) {
  TodoRecord record({"DALARM:dalarm", "AALARM:aalarm", "RRULE:D1", "EXDATE:exdate",
                     "ATTENDEE:attendee", "ATTACH:attach"});
  const OsifEventTail& event = record.calendar().tail.event;
  auto text = [](const PropertyValue* list) { return std::string(list->components->text); };
  EXPECT_EQ(text(event.location), "dalarm");
  EXPECT_EQ(text(event.dAlarm), "aalarm");
  EXPECT_EQ(text(event.aAlarm), "D1");
  EXPECT_EQ(text(event.rRule), "exdate");
  EXPECT_EQ(text(event.exDate), "attendee");
  EXPECT_EQ(text(event.attendee), "attach");
}

// The file's two buffers come first.
TEST_F(VCalendarReaderLimits, NoMemoryForTheBuffersIsToldAndReturned) {
  for (int nth : {1, 2}) {
    const Shortage shortage = ReadWithShortage(nth, CalendarText(Event("SUMMARY:x")));
    EXPECT_EQ(shortage.outcome.result, OsifResult{OSIF_ERR_NO_MEMORY});
    EXPECT_THAT(shortage.outcome.items, IsEmpty());
    EXPECT_THAT(shortage.told, ElementsAre("OSIF:  Error - Memory allocation error"));
  }
}

// A folded line is put together in memory of its own.
TEST_F(VCalendarReaderLimits, NoMemoryForALineBetweenCalendarsIsAnErrorBehindTheItemsThatWereRead) {
  const std::string bytes = CalendarText(Event("SUMMARY:x")) +
                            "BEGIN:VCAL\r\n ENDAR\r\nVERSION:1.0\r\n" + Event("SUMMARY:y") +
                            "END:VCALENDAR\r\n";
  int errors = 0;
  for (int nth = 3; nth < 60; ++nth) {
    const Shortage shortage = ReadWithShortage(nth, bytes);
    if (shortage.outcome.result != OSIF_PARSE_ERROR) continue;
    ++errors;
    EXPECT_THAT(shortage.outcome.items, SizeIs(1)) << nth;
  }
  EXPECT_GE(errors, 1);
}

TEST_F(VCalendarReaderLimits, NoMemoryForALineOfAnItemIsAWarning) {
  const std::string bytes = CalendarText(Event("SUMMARY:a\r\n b"));
  int warnings = 0;
  for (int nth = 3; nth < 60; ++nth) {
    const Shortage shortage = ReadWithShortage(nth, bytes);
    if (shortage.outcome.result != OSIF_PARSE_WARNING) continue;
    ++warnings;
    EXPECT_THAT(shortage.outcome.items, SizeIs(1)) << nth;
  }
  EXPECT_GE(warnings, 1);
}

}  // namespace
}  // namespace vcalendar_reader_limits_test
