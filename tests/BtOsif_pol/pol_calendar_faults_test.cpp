// What happens to appointments when the PIM fails in ways, and gives values, that the device never does.
#include <new>

#include "platform/posix/fault_injection.h"
#include "tests/BtOsif_pol/calendar_fixture.h"
#include "tests/support/fake_calendar.h"

namespace pol_calendar_faults_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

class FailingAppointment : public TextTest {
 protected:
  FailingAppointment() : item_(new FakeAppointment) {}

  FakeItemValues& values() { return item_->values; }
  FakeItemValues& pattern() { return item_->pattern; }

  ReadItem Got() {
    OwnedObject object(OSIF_STORE_CAL);
    pol_GetAppointment(*item_, *object);
    return ItemOf(*object);
  }
  void Put(std::initializer_list<std::string_view> lines) {
    EventRecord record(lines);
    pol_PutAppointment(*record, *item_);
  }

  // A whole day that is one of a weekly series of five Mondays, until its pattern is given something else.
  void Recur() {
    values().numbers["IsRecurring"] = VARIANT_TRUE;
    pattern().numbers = {{"RecurrenceType", olRecursWeekly},
                         {"DayOfWeekMask", olMonday},
                         {"Interval", 3},
                         {"Occurrences", 5},
                         {"MonthOfYear", 6},
                         {"DayOfMonth", 7},
                         {"Instance", 4},
                         {"PatternEndDate", At("20060605")}};
  }

  TimeZone zone_{"UTC"};
  TraceReceiver trace_;
  FakePim pim_;
  ComPtr<FakeAppointment> item_;

  TraceTexts Trace() {
    TraceTexts lines = trace_.Lines();
    std::erase(lines, kIncompleteRecord);
    return lines;
  }
};

// ---- The end of a whole day -------------------------------------------------------------------------

TEST_F(FailingAppointment, BeyondTheCalendarKeepsTheEndOfItsWholeDayAndIsTold) {
  values().numbers = {{"AllDayEvent", VARIANT_TRUE},
                      {"Start", At("99991231")},
                      {"End", At("99991231T120000")},
                      {"Duration", 1441}};
  const ReadItem item = Got();
  EXPECT_EQ(item.Only("dtEnd"), "99991231T120000");
  EXPECT_EQ(item.Only("dtStart"), "99991231T000000");
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  Unable to shift end date for all-day event"));
}

TEST_F(FailingAppointment, OnTheLastDayOfTheCalendarEndsASecondBeforeItsMidnight) {
  values().numbers = {{"AllDayEvent", VARIANT_TRUE},
                      {"Start", At("99991231")},
                      {"End", At("99991231T120000")},
                      {"Duration", 1440}};
  EXPECT_EQ(Got().Only("dtEnd"), "99991231T235959");
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(FailingAppointment, WithoutAStartKeepsTheEndOfItsWholeDayAndIsTold) {
  values().numbers = {{"AllDayEvent", VARIANT_TRUE}, {"End", At("20060502")}, {"Duration", 1440}};
  values().faults["Start"] = E_FAIL;
  const ReadItem item = Got();
  EXPECT_EQ(item.Only("dtEnd"), "20060502T000000");
  EXPECT_EQ(item.Only("dtStart"), "");
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  Unable to shift end date for all-day event"));
}

TEST_F(FailingAppointment, WithoutAnEndHasNone) {
  values().numbers = {{"AllDayEvent", VARIANT_TRUE}, {"Start", At("20060501")}, {"End", DATE_NONE}};
  EXPECT_EQ(Got().Only("dtEnd"), "");
  EXPECT_THAT(Trace(), IsEmpty());
}

// ---- Recurrence -------------------------------------------------------------------------------------

TEST_F(FailingAppointment, OfAnUnknownTypeOfRecurrenceHasNoRuleAndTellsItsPattern) {
  Recur();
  for (int type : {4, -1, 7}) {
    pattern().numbers["RecurrenceType"] = type;
    EXPECT_THAT(Got().All("rRule"), IsEmpty());
    const std::string number = std::to_string(type);
    EXPECT_THAT(
        Trace(),
        ElementsAre(
            "OSIF:  Error creating Extended Recurrence Grammar from pattern (code=" + number + ")",
            "       RecurrenceType='" + number + "'", "       DayOfWeekMask='0x2'",
            "       Occurrences='5'", "       Enddate='20060605T000000Z'", "       Interval='3'",
            "       MonthOfYear='6'", "       DayOfMonth='7'", "       Instance='4'"));
  }
}

// The pieces of a rule are few: one of these allocations is the first of them.
TEST_F(FailingAppointment, WithoutMemoryForItsRuleHasNoneAndTellsItsPattern) {
  Recur();
  bool was_told = false;
  for (int nth = 1; nth < 100 && !was_told; ++nth) {
    OwnedObject object(OSIF_STORE_CAL);
    FailAllocation(nth);
    try {
      pol_GetAppointment(*item_, *object);
    } catch (const std::bad_alloc&) {
      // What else needs memory tells its caller so.
    }
    FailAllocation(0);
    const TraceTexts lines = Trace();
    if (lines.size() < 9) continue;
    was_told = true;
    EXPECT_THAT(
        lines,
        ElementsAre("OSIF:  Error creating Extended Recurrence Grammar from pattern (code=11)",
                    "       RecurrenceType='1'", "       DayOfWeekMask='0x2'",
                    "       Occurrences='5'", "       Enddate='20060605T000000Z'",
                    "       Interval='3'", "       MonthOfYear='6'", "       DayOfMonth='7'",
                    "       Instance='4'"));
    const ReadItem item = ItemOf(*object);
    EXPECT_THAT(item.All("rRule"), IsEmpty());
    EXPECT_EQ(item.Only("priority"), "0") << "the rest is there";
  }
  EXPECT_TRUE(was_told);
}

TEST_F(FailingAppointment, OfAnUnknownTypeWithoutAnEndTellsNeitherCountNorDate) {
  Recur();
  pattern().numbers["RecurrenceType"] = 4;
  pattern().numbers["NoEndDate"] = VARIANT_TRUE;
  Got();
  const TraceTexts lines = Trace();
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_EQ(lines[3], "       Occurrences='0'");
  EXPECT_EQ(lines[4], "       Enddate=''");
}

TEST_F(FailingAppointment, WithAnInstanceBeyondTheFifthGivesTheLast) {
  Recur();
  pattern().numbers["RecurrenceType"] = olRecursMonthNth;
  pattern().numbers["NoEndDate"] = VARIANT_TRUE;
  const std::pair<int, const char*> instances[] = {
      {4, "MP3 4+ MO #0"}, {5, "MP3 1- MO #0"}, {6, "MP3 1- MO #0"}, {99, "MP3 1- MO #0"}};
  for (const auto& [instance, rule] : instances) {
    pattern().numbers["Instance"] = instance;
    EXPECT_EQ(Got().Only("rRule"), rule);
  }
}

// Numbers that no device holds are written as they are.
TEST_F(FailingAppointment, WithNumbersBeyondEveryBoundGivesARuleThatIsWhole) {
  Recur();
  pattern().numbers["Interval"] = 2147483647;
  pattern().numbers["Occurrences"] = 2147483647;
  pattern().numbers["DayOfWeekMask"] = -1;
  EXPECT_EQ(Got().Only("rRule"), "W2147483647 SU MO TU WE TH FR SA #2147483647 20060605T000000Z");
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(FailingAppointment, ThatDoesNotGiveItsPatternHasNoRuleAndNoExceptions) {
  Recur();
  values().faults["GetRecurrencePattern"] = E_FAIL;
  const ReadItem item = Got();
  EXPECT_THAT(item.All("rRule"), IsEmpty());
  EXPECT_THAT(item.All("exDate"), IsEmpty());
  EXPECT_EQ(item.Only("priority"), "0") << "the rest is there";
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(FailingAppointment, ThatDoesNotGiveItsPatternTakesNoRuleAndNoExceptions) {
  values().faults["GetRecurrencePattern"] = E_FAIL;
  Put({"DTSTART:20060501T090000", "RRULE:D1 #0", "EXDATE:20060502T090000",
       "X-BLUETOOTH-ALLDAYEVENT:TRUE"});
  EXPECT_THAT(item_->pattern.numbers, IsEmpty());
  EXPECT_EQ(item_->saves, 0);
  EXPECT_EQ(item_->clears, 0);
  EXPECT_EQ(values().numbers["AllDayEvent"], VARIANT_TRUE) << "the rest is put";
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(FailingAppointment, WithoutItsExceptionsGivesItsRuleAlone) {
  Recur();
  const ReadItem item = Got();
  EXPECT_EQ(item.Only("rRule"), "W3 MO #5 20060605T000000Z");
  EXPECT_THAT(item.All("exDate"), IsEmpty());
}

// A pattern that takes none of it is not noticed: the rule counts as put.
TEST_F(FailingAppointment, WhosePatternRefusesEveryPropertyGoesOn) {
  for (const char* property : {"RecurrenceType", "Interval", "DayOfWeekMask", "Occurrences"}) {
    pattern().faults[property] = E_INVALIDARG;
  }
  Put({"DTSTART:20060501T090000", "RRULE:W1 MO #4", "EXDATE:20060508T090000"});
  EXPECT_THAT(pattern().numbers, IsEmpty());
  EXPECT_EQ(item_->clears, 0);
  EXPECT_EQ(item_->saves, 1);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  Could not find Appointment for '20060508T090000Z' "
                                   "(Exception not made)"));
}

// ---- Recipients -------------------------------------------------------------------------------------

TEST_F(FailingAppointment, WithoutItsRecipientsSkipsTheAttendeesAndGoesOn) {
  Put({"DTSTART:20060501T090000", "DTEND:20060501T100000", "ATTENDEE:Ann <a@x.org>",
       "DALARM:20060501T084500"});
  EXPECT_EQ(values().numbers["ReminderMinutesBeforeStart"], 15);
  EXPECT_EQ(values().numbers["ReminderSet"], VARIANT_TRUE);
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(FailingAppointment, WithoutItsRecipientsGivesNoAttendees) {
  values().numbers = {{"Start", At("20060501T090000")}, {"End", At("20060501T100000")}};
  const ReadItem item = Got();
  EXPECT_THAT(item.All("attendee"), IsEmpty());
  EXPECT_EQ(item.Only("priority"), "0") << "what comes behind them is there";
  EXPECT_THAT(Trace(), IsEmpty());
}

// ---- Values -----------------------------------------------------------------------------------------

TEST_F(FailingAppointment, OfOtherNumbersGivesEmptyWords) {
  values().numbers = {
      {"BusyStatus", 9}, {"Sensitivity", 9}, {"End", DATE_NONE}, {"Start", DATE_NONE}};
  const ReadItem item = Got();
  EXPECT_EQ(item.Only("status"), "");
  EXPECT_EQ(item.Only("class"), "");
  EXPECT_EQ(item.Only("dtStart"), "");
}

TEST_F(FailingAppointment, WhoseIdReadsAsZeroHasNoId) { EXPECT_EQ(Got().luid, ""); }

TEST_F(FailingAppointment, RemindsLongBeforeItStarts) {
  values().numbers = {{"Start", At("20060501T090000")},
                      {"End", DATE_NONE},
                      {"ReminderSet", VARIANT_TRUE},
                      {"ReminderMinutesBeforeStart", 64801}};
  const ReadItem item = Got();
  EXPECT_EQ(item.Only("dAlarm"), "20060317T085900Z");
  EXPECT_EQ(item.Only("aAlarm"), "20060317T085900Z");
}

}  // namespace
}  // namespace pol_calendar_faults_test
