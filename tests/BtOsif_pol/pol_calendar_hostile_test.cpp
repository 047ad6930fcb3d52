// Calendar items that no honest program sends: what is stored of them, what is told, and that it takes no
// time.
#include <chrono>

#include "BtOsif_pol/pol_dispatch.h"
#include "tests/BtOsif_pol/stored_items.h"
#include "tests/support/time_limit.h"

namespace pol_calendar_hostile_test {
namespace {

using namespace support;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kPatience = 20;  // seconds: with the sanitizers, on a slow machine

class HostileCalendar : public CalendarTest {
 protected:
  // What is stored of an event at 9:00 on Monday, 1 May 2006 with one more line.
  TextLines Tea(const std::string& line) {
    return Event("DTSTART:20060501T090000\r\nDTEND:20060501T100000\r\n" + line);
  }
  // What is stored of the lines of an event.
  TextLines Event(const std::string& lines) {
    CalendarRecord record("BEGIN:VEVENT\r\n" + lines + "\r\nEND:VEVENT\r\n");
    trace_.Lines();
    ComPtr<IAppointment> item(static_cast<IAppointment*>(Add(record)));
    return item ? StoredLines(*item) : TextLines();
  }
  TextLines Todo(const std::string& lines) {
    CalendarRecord record("BEGIN:VTODO\r\n" + lines + "\r\nEND:VTODO\r\n");
    trace_.Lines();
    ComPtr<ITask> task(static_cast<ITask*>(Add(record)));
    return task ? StoredLines(*task) : TextLines();
  }

  // Behind the line of the call itself.
  TextLines Told() {
    TextLines lines = Trace();
    EXPECT_FALSE(lines.empty());
    if (!lines.empty()) {
      EXPECT_EQ(lines.front(), "OSIF:  POL_AddObject()");
      lines.erase(lines.begin());
    }
    return lines;
  }

 private:
  IDispatch* Add(CalendarRecord& record) {
    char id[OSIF_ID_SIZE] = "";
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(POL_AddObject(OSIF_STORE_CAL, record.get(), id, nullptr), OsifResult{OSIF_OK});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, TimeLimit(kPatience));
    IDispatch* item = nullptr;
    const LONG oid = static_cast<LONG>(std::strtoul(id, nullptr, 16));
    EXPECT_EQ(pol_Application()->GetItemFromOid(oid, &item), S_OK);
    return item;
  }
};

TextLines WithTea(std::initializer_list<std::string> more) {
  TextLines lines = {"Start 20060501T090000", "End 20060501T100000"};
  lines.insert(lines.end(), more);
  return lines;
}

// ---- Rules ------------------------------------------------------------------------------------------

TEST_F(HostileCalendar, ARuleWithTenThousandEntriesIsRead) {
  EXPECT_EQ(Tea("RRULE:W1" + Repeated(" MO WE", 5000) + " #0"),
            WithTea({"Pattern type 1 every 1 mask 10 forever"}));
  EXPECT_EQ(Tea("RRULE:D1" + Repeated(" 0900", 10000) + " #0"),
            WithTea({"Pattern type 0 every 1 forever"}));
  EXPECT_EQ(Tea("RRULE:MP1" + Repeated(" 2+ TU", 10000) + " #0"),
            WithTea({"Pattern type 3 every 1 mask 4 nth 2 forever"}));
  EXPECT_EQ(Tea("RRULE:MD1" + Repeated(" 15", 10000) + " #0"),
            WithTea({"Pattern type 2 every 1 day 15 forever"}));
  EXPECT_EQ(Tea("RRULE:YD1" + Repeated(" 60", 10000) + " #0"),
            WithTea({"Pattern type 5 every 1 day 1 month 3 forever"}));
  EXPECT_EQ(Tea("RRULE:YM1" + Repeated(" 6", 10000) + " #0 MD1 7"),
            WithTea({"Pattern type 5 every 1 day 7 month 6 forever"}));
}

TEST_F(HostileCalendar, ARuleNestedAThousandDeepIsRefusedAndTold) {
  for (const char* nested : {" D1", " M1", " MD1", " YM1", " W1 MO"}) {
    EXPECT_EQ(Tea("RRULE:YM1 6" + Repeated(nested, 1000)), WithTea({})) << nested;
    EXPECT_THAT(Told(), ElementsAre("OSIF:  ERG_Parse failed (code=20)")) << nested;
  }
}

TEST_F(HostileCalendar, ARuleOfAMegabyteIsRead) {
  EXPECT_EQ(Tea("RRULE:D1 #" + std::string(1 << 20, '9')),
            WithTea({"Pattern type 0 every 1 until 99991231 times 2147483647"}));
  EXPECT_EQ(Tea("RRULE:" + std::string(1 << 20, 'D')), WithTea({}));
  EXPECT_THAT(Told(), ElementsAre("OSIF:  ERG_Parse failed (code=20)"));
}

TEST_F(HostileCalendar, AnEndDateThatIsNoneLeavesTheCount) {
  for (const char* date : {"00000101T000000", "20061301T000000", "abcdefghTijklmn"}) {
    EXPECT_EQ(Tea("RRULE:D1 #3 " + std::string(date)),
              WithTea({"Pattern type 0 every 1 until 20060503 times 3"}));
    EXPECT_THAT(Told(), ElementsAre("OSIF:  Error in date '" + std::string(date) +
                                    "' - cannot convert from 8601"));
  }
}

TEST_F(HostileCalendar, AnEndDateBeforeTheStartIsKept) {
  EXPECT_EQ(Tea("RRULE:D1 19900101T000000"),
            WithTea({"Pattern type 0 every 1 until 19900101 times 1"}));
}

// ---- Exceptions -------------------------------------------------------------------------------------

TEST_F(HostileCalendar, AHundredThousandExceptionsOfOneDayMakeOne) {
  constexpr size_t kDates = 100000;
  EXPECT_EQ(
      Tea("RRULE:D1 #5\r\n" + Repeated("EXDATE:20060502T090000\r\n", kDates)),
      WithTea({"Pattern type 0 every 1 until 20060505 times 5", "Exception 20060502T090000"}));
  // The first is made; as many of the others are told as the trace took.
  const TextLines told = Told();
  EXPECT_THAT(told, testing::Not(IsEmpty()));
  EXPECT_THAT(told, Each("OSIF:  Could not find Appointment for '20060502T090000Z' "
                         "(Exception not made)"));
}

TEST_F(HostileCalendar, ThousandsOfExceptionsAreAllMade) {
  constexpr int kDays = 3000;
  std::string lines = "RRULE:D1 #0\r\n";
  TextLines expected = WithTea({"Pattern type 0 every 1 forever"});
  for (int day = 0; day < kDays; ++day) {
    const std::string date = ShownDate(At("20060501T090000") + day);
    lines += "EXDATE:" + date + "\r\n";
    expected.push_back("Exception " + date);
  }
  EXPECT_EQ(Tea(lines), expected);
  EXPECT_THAT(Told(), IsEmpty());
}

// ---- Dates ------------------------------------------------------------------------------------------

TEST_F(HostileCalendar, AStartThatIsNoDateIsToldAndLeavesThatOfANewAppointment) {
  for (const char* start : {"soon", "00000101T090000", "20061301T090000", "20060230T090000",
                            "20060501X090000", "99999999T999999", "2006"}) {
    const TextLines stored = Event("SUMMARY:x\r\nDTSTART:" + std::string(start));
    ASSERT_THAT(stored, SizeIs(3)) << start;
    EXPECT_EQ(stored[0], "Subject x");
    EXPECT_THAT(Told(), ElementsAre("OSIF:  Error in date '" + std::string(start) +
                                    "' - cannot convert from 8601"));
  }
}

TEST_F(HostileCalendar, TheLastDayOfTheCalendarIsTaken) {
  EXPECT_THAT(Event("DTSTART:99991231T090000\r\nDTEND:99991231T235959"),
              ElementsAre("Start 99991231T090000", "End 99991231T235959"));
  EXPECT_THAT(Todo("DTSTART:99991231\r\nDUE:99991231"),
              ElementsAre("StartDate 99991231T000000", "DueDate 99991231T000000"));
}

// The midnight that ends it can be stored, and is no date that can be sent.
TEST_F(HostileCalendar, AnHourThatPassesTheEndOfTheCalendarIsSentWithoutItsEnd) {
  auto item = Appointment({"DTSTART:99991231T233000"});
  ASSERT_EQ(item->Save(), S_OK);
  DATE end = 0;
  ASSERT_EQ(item->get_End(&end), S_OK);
  EXPECT_EQ(end, At("99991231") + 1);
  const ReadItem sent = Got(*item);
  EXPECT_EQ(sent.Only("dtStart"), "99991231T233000Z");
  EXPECT_EQ(sent.Only("dtEnd"), "");
}

TEST_F(HostileCalendar, ATaskOfDatesThatAreNoneHasNone) {
  EXPECT_THAT(Todo("SUMMARY:x\r\nDTSTART:00000101\r\nDUE:soon"), ElementsAre("Subject x"));
  EXPECT_THAT(Told(), ElementsAre("OSIF:  Error in date '00000101' - cannot convert from 8601",
                                  "OSIF:  Error in date 'soon' - cannot convert from 8601"));
}

// ---- Alarms -----------------------------------------------------------------------------------------

TEST_F(HostileCalendar, AnAlarmBefore1601IsNone) {
  EXPECT_EQ(Tea("DALARM:16001231T235959"), WithTea({}));
  EXPECT_THAT(Told(),
              ElementsAre("OSIF:  Error in date '16001231T235959' - cannot convert from 8601"));
  EXPECT_THAT(Todo("DUE:20060501\r\nDALARM:16001231T235959"),
              ElementsAre("DueDate 20060501T000000"));
}

TEST_F(HostileCalendar, AnAlarmThatIsNoDateIsNoneAndTold) {
  EXPECT_EQ(Tea("DALARM:soon;PT5M;3;x"), WithTea({}));
  EXPECT_THAT(Told(), ElementsAre("OSIF:  Error in date 'soon' - cannot convert from 8601"));
}

TEST_F(HostileCalendar, AnAlarmCenturiesBeforeTheStartIsToldAndNotSet) {
  EXPECT_EQ(Tea("DALARM:16020101T000000"), WithTea({}));
  EXPECT_THAT(Told(), ElementsAre("OSIF:  DALARM 'Reminder date/time' is more than 45 days before "
                                  "the START date."));
}

TEST_F(HostileCalendar, OfManyAlarmsTheFirstCountsHoweverManyPartsItHas) {
  EXPECT_EQ(Tea("DALARM:20060501T084500\r\nDALARM:20060501T080000;PT5M;3;x"),
            WithTea({"Reminder 15"}));
  EXPECT_EQ(Tea("AALARM:20060501T084000;\r\n" + Repeated("AALARM:x\r\n", 10000)),
            WithTea({"Reminder 20"}));
}

// ---- Attendees --------------------------------------------------------------------------------------

TEST_F(HostileCalendar, ThousandsOfAttendeesAreAllKept) {
  const TextLines stored = Tea(Repeated("ATTENDEE:Ann <a@x.org>\r\n", 5000));
  ASSERT_THAT(stored, SizeIs(5002));
  EXPECT_EQ(stored.back(), "Recipient 'Ann' 'a@x.org'");
}

TEST_F(HostileCalendar, AnAttendeeOfAMegabyteOfBracketsIsSplitAtTheFirst) {
  constexpr size_t kSize = 1 << 20;
  EXPECT_EQ(Tea("ATTENDEE:Ann " + std::string(kSize, '<') + std::string(kSize, '>')),
            WithTea({"Recipient 'Ann' '" + std::string(kSize - 1, '<') + "'"}));
}

}  // namespace
}  // namespace pol_calendar_hostile_test
