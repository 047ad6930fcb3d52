#include "BtOsif_pol/pol_recurrence.h"

#include "tests/BtOsif_pol/calendar_fixture.h"

namespace pol_recurrence_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kOneTime[] = {
    "OSIF:  The Extended Rule Grammar could not be translated to an",
    "       Outlook Recurrence pattern. Item will be sent as One-time."};

class PolPutRecurrence : public CalendarTest {
 protected:
  // The pattern of an appointment on Monday, 1 May 2006 that a rule gives.
  std::string PatternOfRule(const std::string& rule) {
    return ShownPattern(*PatternOf(
        *Appointment({"DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:" + rule})));
  }
};
class PolPutExceptions : public CalendarTest {};
class PolGetRecurrence : public CalendarTest {};

// ---- Rule to pattern --------------------------------------------------------------------------------

struct RuleCase {
  const char* rule;
  const char* pattern;
};
void PrintTo(const RuleCase& rule, std::ostream* out) { *out << rule.rule; }

class RuleToPattern : public PolPutRecurrence, public testing::WithParamInterface<RuleCase> {};

TEST_P(RuleToPattern, OfAnAppointment) {
  EXPECT_EQ(PatternOfRule(GetParam().rule), GetParam().pattern);
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_P(RuleToPattern, OfATask) {
  auto task = Task({"DTSTART:20060501", "RRULE:" + std::string(GetParam().rule)});
  EXPECT_EQ(ShownPattern(*PatternOf(*task)), GetParam().pattern);
  EXPECT_TRUE(FlagOf(*task, &ITask::get_IsRecurring));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, RuleToPattern,
    testing::Values(RuleCase{"D1 #0", "type 0 every 1 forever"},
                    RuleCase{"D3 #0", "type 0 every 3 forever"},
                    RuleCase{"D1 0900 1200 #0", "type 0 every 1 forever"},
                    RuleCase{"W2 MO WE #4", "type 1 every 2 mask 10 until 20060517 times 4"},
                    RuleCase{"W1 SU MO TU WE TH FR SA #0", "type 1 every 1 mask 127 forever"},
                    RuleCase{"W1 SA #0", "type 1 every 1 mask 64 forever"},
                    RuleCase{"W1 FR 0900 FR$ #0", "type 1 every 1 mask 32 forever"},
                    RuleCase{"MP1 1- FR #0", "type 3 every 1 mask 32 nth 5 forever"},
                    RuleCase{"MP2 1+ MO #0", "type 3 every 2 mask 2 nth 1 forever"},
                    RuleCase{"MP1 4+ TU TH #0", "type 3 every 1 mask 20 nth 4 forever"},
                    RuleCase{"MP1 5+ MO #0", "type 3 every 1 mask 2 nth 5 forever"},
                    RuleCase{"MP1 2- MO #0", "type 3 every 1 mask 2 nth 4 forever"},
                    RuleCase{"MP1 5- MO #0", "type 3 every 1 mask 2 nth 1 forever"},
                    RuleCase{"MP1 2+ MO 3+ TU #0", "type 3 every 1 mask 2 nth 2 forever"},
                    RuleCase{"MP1 2+ 3+ MO #0", "type 3 every 1 mask 2 nth 2 forever"},
                    RuleCase{"MD1 15 #0", "type 2 every 1 day 15 forever"},
                    RuleCase{"MD6 31 1 #0", "type 2 every 6 day 31 forever"},
                    RuleCase{"YM1 6 #0 MP1 1+ MO", "type 6 every 1 mask 2 nth 1 month 6 forever"},
                    RuleCase{"YM1 6 7 #0 MP1 1- SA SU",
                             "type 6 every 1 mask 65 nth 5 month 6 forever"},
                    RuleCase{"YM1 12 #0 MD1 24", "type 5 every 1 day 24 month 12 forever"},
                    RuleCase{"YD1 1 #0", "type 5 every 1 day 1 month 1 forever"},
                    RuleCase{"YD1 31 #0", "type 5 every 1 day 31 month 1 forever"},
                    RuleCase{"YD1 32 #0", "type 5 every 1 day 1 month 2 forever"},
                    RuleCase{"YD1 59 #0", "type 5 every 1 day 28 month 2 forever"},
                    RuleCase{"YD1 60 #0", "type 5 every 1 day 1 month 3 forever"},
                    RuleCase{"YD1 334 #0", "type 5 every 1 day 30 month 11 forever"},
                    RuleCase{"YD1 335 #0", "type 5 every 1 day 1 month 12 forever"},
                    RuleCase{"YD1 365 #0", "type 5 every 1 day 31 month 12 forever"}));

INSTANTIATE_TEST_SUITE_P(
    Ends, RuleToPattern,
    testing::Values(RuleCase{"D1 #5", "type 0 every 1 until 20060505 times 5"},
                    RuleCase{"D1", "type 0 every 1 until 20060502 times 2"},
                    RuleCase{"D1 #1", "type 0 every 1 until 20060501 times 1"},
                    RuleCase{"D1 20060510T000000", "type 0 every 1 until 20060510 times 10"},
                    RuleCase{"D1 #5 20060510T000000", "type 0 every 1 until 20060510 times 10"},
                    RuleCase{"D1 20060510T235959Z", "type 0 every 1 until 20060510 times 10"},
                    RuleCase{"D1 #0 20060510T000000", "type 0 every 1 forever"},
                    RuleCase{"YM1 6 MD1 15 20080630T000000",
                             "type 5 every 1 day 15 month 6 until 20080630 times 3"}));

// What a pattern does not take leaves what its type gives it: every day, week or month, and the weekday, the
// week and the day of the start, 1 May 2006, the first Monday of its month.
INSTANTIATE_TEST_SUITE_P(
    NumbersBeyondThePattern, RuleToPattern,
    testing::Values(RuleCase{"D999 #0", "type 0 every 999 forever"},
                    RuleCase{"D1000 #0", "type 0 every 1 forever"},
                    RuleCase{"D0 #0", "type 0 every 1 forever"},
                    RuleCase{"D #0", "type 0 every 1 forever"},
                    RuleCase{"D2147483647 #0", "type 0 every 1 forever"},
                    RuleCase{"D99999999999999999999 #0", "type 0 every 1 forever"},
                    RuleCase{"W1000 WE #0", "type 1 every 1 mask 8 forever"},
                    RuleCase{"MD1 30 #0", "type 2 every 1 day 30 forever"},
                    RuleCase{"MD1 31 #0", "type 2 every 1 day 31 forever"},
                    RuleCase{"MD1 32 #0", "type 2 every 1 day 1 forever"},
                    RuleCase{"MD1 400 #0", "type 2 every 1 day 1 forever"},
                    RuleCase{"MD1 0 #0", "type 2 every 1 day 1 forever"},
                    RuleCase{"MD1 31- #0", "type 2 every 1 day -31 forever"},
                    RuleCase{"MD1 32- #0", "type 2 every 1 day 1 forever"},
                    RuleCase{"MP1 5+ WE #0", "type 3 every 1 mask 8 nth 5 forever"},
                    RuleCase{"MP1 6+ WE #0", "type 3 every 1 mask 8 nth 1 forever"},
                    RuleCase{"MP1 0+ WE #0", "type 3 every 1 mask 8 nth 1 forever"},
                    RuleCase{"MP1 6- WE #0", "type 3 every 1 mask 8 nth 1 forever"},
                    RuleCase{"MP1 2+ #0", "type 3 every 1 mask 2 nth 2 forever"},
                    RuleCase{"YM1 6 #0 MD1 32", "type 5 every 1 day 1 month 6 forever"},
                    RuleCase{"YM1 6 #0 MP1 6+ WE", "type 6 every 1 mask 8 nth 1 month 6 forever"},
                    RuleCase{"YD1 366 #0", "type 5 every 1 day 1 month 12 forever"}));

INSTANTIATE_TEST_SUITE_P(
    CountsBeyondThePattern, RuleToPattern,
    testing::Values(RuleCase{"D1 #2147483647", "type 0 every 1 until 99991231 times 2147483647"},
                    RuleCase{"D1 #2147483648", "type 0 every 1 until 99991231 times 2147483647"},
                    RuleCase{"D1 #99999999999999999999",
                             "type 0 every 1 until 99991231 times 2147483647"},
                    RuleCase{"D1 #5 19000101T000000", "type 0 every 1 until 19000101 times 1"}));

INSTANTIATE_TEST_SUITE_P(
    DaysFromTheEnd, RuleToPattern,
    testing::Values(RuleCase{"MD1 LD #0", "type 2 every 1 day -1 forever"},
                    RuleCase{"MD1 1- #0", "type 2 every 1 day -1 forever"},
                    RuleCase{"MD2 10- #0", "type 2 every 2 day -10 forever"},
                    RuleCase{"MD1 LD #3", "type 2 every 1 day -1 until 20060731 times 3"},
                    RuleCase{"YM1 2 #0 MD1 LD", "type 5 every 1 day -1 month 2 forever"}));

// 2008 is a leap year.
TEST_F(PolPutRecurrence, TheDay60OfAYearIsThe1OfMarchInLeapYearsToo) {
  auto item = Appointment({"DTSTART:20060301T090000", "DTEND:20060301T100000", "RRULE:YD1 60 #0"});
  ASSERT_EQ(item->Save(), S_OK);
  ComPtr<IAppointment> occurrence;
  for (const char* day : {"20060301", "20070301", "20080301"}) {
    EXPECT_EQ(PatternOf(*item)->GetOccurrence(At(day), occurrence.put()), S_OK) << day;
  }
  for (const char* day : {"20070228", "20080229"}) {
    EXPECT_NE(PatternOf(*item)->GetOccurrence(At(day), occurrence.put()), S_OK) << day;
  }
}

TEST_F(PolPutRecurrence, AnEndDateThatIsNoneLeavesTheCount) {
  EXPECT_EQ(PatternOfRule("D1 #5 20061399T000000"), "type 0 every 1 until 20060505 times 5");
  EXPECT_THAT(Trace(),
              ElementsAre("OSIF:  Error in date '20061399T000000' - cannot convert from 8601"));
}

TEST_F(PolPutRecurrence, AnEndDateInUtcIsTheLocalDay) {
  const std::pair<const char*, const char*> zones[] = {{"UTC", "20060510"},
                                                       {"Europe/Berlin", "20060511"},
                                                       {"America/New_York", "20060510"},
                                                       {"Asia/Kolkata", "20060511"},
                                                       {"Australia/Lord_Howe", "20060511"}};
  for (const auto& [name, day] : zones) {
    TimeZone zone(name);
    auto pattern = PatternOf(*Appointment(
        {"DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:D1 20060510T230000Z"}));
    EXPECT_EQ(DateOf(*pattern, &IRecurrencePattern::get_PatternEndDate).substr(0, 8), day) << name;
  }
}

class UntranslatableRule : public PolPutRecurrence,
                           public testing::WithParamInterface<const char*> {};

TEST_P(UntranslatableRule, MakesTheItemASingleOneAndIsTold) {
  const std::string line = "RRULE:" + std::string(GetParam());
  auto item = Saved("20060501T090000", "20060501T100000");
  PatternOf(*item)->put_RecurrenceType(olRecursDaily);
  Put({line}, *item);
  EXPECT_FALSE(FlagOf(*item, &IAppointment::get_IsRecurring));
  EXPECT_THAT(Trace(), ElementsAre(kOneTime[0], kOneTime[1]));
  auto task = NewTask();
  task->put_StartDate(At("20060501"));
  PatternOf(*task)->put_RecurrenceType(olRecursDaily);
  Put({line}, *task);
  EXPECT_FALSE(FlagOf(*task, &ITask::get_IsRecurring));
}

INSTANTIATE_TEST_SUITE_P(Rules, UntranslatableRule,
                         testing::Values("W1", "W1 #0", "W2 0900", "MP1", "MP1 MO #0", "MD1 #0",
                                         "MD1 x", "YM1 6", "YM1 6 #0", "YM1 6 D1", "YM1 6 W1 MO",
                                         "YM1 6 MP1", "YM1 6 MP1 MO",
                                         "YM1 6 20080630T000000 MD1 15", "YM1 MP1 1+ MO",
                                         "YM1 6 MD1", "YM1 MD1 15", "YD1", "YD1 #0", "YD1 367",
                                         "M5", "M5 #3"));

TEST_F(PolPutRecurrence, ARuleThatCannotBeReadLeavesTheRecurrence) {
  for (const char* rule : {"FREQ=DAILY", "D1 D1", "M5 x"}) {
    auto item = Saved("20060501T090000", "20060501T100000");
    PatternOf(*item)->put_RecurrenceType(olRecursDaily);
    Trace();
    Put({"RRULE:" + std::string(rule)}, *item);
    EXPECT_TRUE(FlagOf(*item, &IAppointment::get_IsRecurring));
    EXPECT_THAT(Trace(), ElementsAre("OSIF:  ERG_Parse failed (code=20)"));
    auto single = Appointment({"RRULE:" + std::string(rule)});
    EXPECT_FALSE(FlagOf(*single, &IAppointment::get_IsRecurring));
  }
}

TEST_F(PolPutRecurrence, WithoutARuleTheItemBecomesASingleOne) {
  for (const char* line : {"RRULE:", "SUMMARY:x"}) {
    auto item = Saved("20060501T090000", "20060501T100000");
    PatternOf(*item)->put_RecurrenceType(olRecursDaily);
    Put({line}, *item);
    EXPECT_FALSE(FlagOf(*item, &IAppointment::get_IsRecurring)) << line;
    auto task = NewTask();
    PatternOf(*task)->put_RecurrenceType(olRecursDaily);
    Put({line}, *task);
    EXPECT_FALSE(FlagOf(*task, &ITask::get_IsRecurring)) << line;
    EXPECT_THAT(Trace(), IsEmpty());
  }
}

TEST_F(PolPutRecurrence, OnlyTheFirstRuleCounts) {
  auto item = Appointment({"DTSTART:20060501T090000", "RRULE:D1 #0", "RRULE:W1 MO #0"});
  EXPECT_EQ(ShownPattern(*PatternOf(*item)), "type 0 every 1 forever");
}

TEST_F(PolPutRecurrence, OfATaskBeginsAtItsStartElseWhenItIsDue) {
  auto start = Task({"DTSTART:20060501", "DUE:20060510", "RRULE:D1 #0"});
  EXPECT_EQ(DateOf(*PatternOf(*start), &IRecurrencePattern::get_PatternStartDate),
            "20060501T000000");
  auto due = Task({"DUE:20060510", "RRULE:D1 #0"});
  EXPECT_EQ(DateOf(*PatternOf(*due), &IRecurrencePattern::get_PatternStartDate), "20060510T000000");
}

TEST_F(PolPutRecurrence, NumbersBeyondEveryBoundDoNoHarm) {
  for (const char* rule :
       {"D99999999999", "D1 #99999999999", "D0 #0", "D1000 #0", "MD1 400", "MD1 1234", "MP1 9+ MO",
        "MP1 0+ MO", "YD1 366", "W99999 MO #2147483647"}) {
    auto item = Appointment({"DTSTART:20060501T090000", "RRULE:" + std::string(rule)});
    EXPECT_EQ(item->Save(), S_OK) << rule;
    Got(*item);
  }
}

// ---- Exceptions -------------------------------------------------------------------------------------

TEST_F(PolPutExceptions, AreDeletedOccurrencesOfTheSavedAppointment) {
  auto item = Appointment({"DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:D1 #5",
                           "EXDATE:20060502T090000", "EXDATE:20060504T090000Z"});
  EXPECT_NE(NumberOf(*item, &IAppointment::get_Oid), 0);
  EXPECT_THAT(ExceptionsOf(*item), ElementsAre("20060502T090000", "20060504T090000"));
  ComPtr<IAppointment> occurrence;
  EXPECT_NE(PatternOf(*item)->GetOccurrence(At("20060502"), occurrence.put()), S_OK);
  EXPECT_EQ(PatternOf(*item)->GetOccurrence(At("20060503"), occurrence.put()), S_OK);
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(PolPutExceptions, OfDaysWithoutAnOccurrenceAreTold) {
  TimeZone zone("Europe/Berlin");
  auto item =
      Appointment({"DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:W1 MO #5",
                   "EXDATE:20060502T090000", "EXDATE:20060508T090000", "EXDATE:20060508T090000"});
  EXPECT_THAT(ExceptionsOf(*item), ElementsAre("20060508T090000"));
  EXPECT_THAT(
      Trace(),
      ElementsAre("OSIF:  Could not find Appointment for '20060502T070000Z' (Exception not made)",
                  "OSIF:  Could not find Appointment for '20060508T070000Z' (Exception not made)"));
}

TEST_F(PolPutExceptions, OfARuleThatWasNotSetAreNotMade) {
  for (const char* rule : {"RRULE:", "RRULE:W1"}) {
    auto item = Appointment({"DTSTART:20060501T090000", rule, "EXDATE:20060502T090000"});
    EXPECT_EQ(NumberOf(*item, &IAppointment::get_Oid), 0) << "nothing was saved";
    EXPECT_FALSE(FlagOf(*item, &IAppointment::get_IsRecurring));
  }
}

TEST_F(PolPutExceptions, WithoutATextSaveNothing) {
  auto item = Appointment({"DTSTART:20060501T090000", "RRULE:D1 #5", "EXDATE:"});
  EXPECT_EQ(NumberOf(*item, &IAppointment::get_Oid), 0);
  EXPECT_THAT(Trace(), IsEmpty());
}

// Some programs write all their exceptions into one line.
TEST_F(PolPutExceptions, OfOneLineAreLostBehindTheFirst) {
  auto item = Appointment(
      {"DTSTART:20060501T090000", "RRULE:D1 #5", "EXDATE:20060502T090000;20060503T090000"});
  EXPECT_THAT(ExceptionsOf(*item), ElementsAre("20060502T090000"));
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(PolPutExceptions, ThatAreNoDatesAreTold) {
  auto item = Appointment(
      {"DTSTART:20060501T090000", "RRULE:D1 #5", "EXDATE:someday", "EXDATE:20060503T090000"});
  EXPECT_THAT(ExceptionsOf(*item), ElementsAre("20060503T090000"));
  EXPECT_THAT(Trace(),
              ElementsAre("OSIF:  Error in date 'someday' - cannot convert from 8601",
                          "OSIF:  Could not find Appointment for '' (Exception not made)"));
}

TEST_F(PolPutExceptions, OfATaskAreIgnored) {
  auto task = Task({"DTSTART:20060501", "RRULE:D1 #5", "EXDATE:20060502"});
  EXPECT_TRUE(FlagOf(*task, &ITask::get_IsRecurring));
  EXPECT_THAT(Got(*task).All("exDate"), IsEmpty());
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(PolPutExceptions, HoldForAWholeDayEventToo) {
  auto item = Appointment({"DTSTART;VALUE=DATE:20060501", "DTEND;VALUE=DATE:20060502",
                           "RRULE:D1 #5", "EXDATE:20060503"});
  EXPECT_THAT(ExceptionsOf(*item), ElementsAre("20060503T000000"));
  EXPECT_EQ(item->Save(), S_OK);
  EXPECT_THAT(ExceptionsOf(*item), ElementsAre("20060503T000000"));
}

// ---- Pattern to rule --------------------------------------------------------------------------------

struct PatternCase {
  LONG type;
  LONG interval;
  LONG mask;
  LONG day;
  LONG nth;
  LONG month;
  const char* rule;
};
void PrintTo(const PatternCase& pattern, std::ostream* out) { *out << pattern.rule; }

class PatternToRule : public CalendarTest, public testing::WithParamInterface<PatternCase> {
 protected:
  // Zeros are left as the type has them.
  static void Fill(IRecurrencePattern& pattern) {
    const PatternCase& wanted = GetParam();
    ASSERT_EQ(pattern.put_RecurrenceType(wanted.type), S_OK);
    ASSERT_EQ(pattern.put_Interval(wanted.interval), S_OK);
    if (wanted.mask != 0) {
      ASSERT_EQ(pattern.put_DayOfWeekMask(wanted.mask), S_OK);
    }
    if (wanted.day != 0) {
      ASSERT_EQ(pattern.put_DayOfMonth(wanted.day), S_OK);
    }
    if (wanted.nth != 0) {
      ASSERT_EQ(pattern.put_Instance(wanted.nth), S_OK);
    }
    if (wanted.month != 0) {
      ASSERT_EQ(pattern.put_MonthOfYear(wanted.month), S_OK);
    }
    ASSERT_EQ(pattern.put_NoEndDate(-1), S_OK);
  }
};

TEST_P(PatternToRule, OfAnAppointment) {
  auto item = Saved("20060501T090000", "20060501T100000");
  Fill(*PatternOf(*item));
  EXPECT_EQ(Got(*item).Only("rRule"), GetParam().rule);
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_P(PatternToRule, OfATask) {
  auto task = NewTask();
  task->put_StartDate(At("20060501"));
  Fill(*PatternOf(*task));
  EXPECT_EQ(Got(*task).Only("rRule"), GetParam().rule);
}

INSTANTIATE_TEST_SUITE_P(
    Types, PatternToRule,
    testing::Values(PatternCase{0, 1, 0, 0, 0, 0, "D1 #0"}, PatternCase{0, 3, 0, 0, 0, 0, "D3 #0"},
                    PatternCase{0, 3, 62, 0, 0, 0, "W1 MO TU WE TH FR #0"},
                    PatternCase{1, 2, 10, 0, 0, 0, "W2 MO WE #0"},
                    PatternCase{1, 1, 127, 0, 0, 0, "W1 SU MO TU WE TH FR SA #0"},
                    PatternCase{2, 1, 0, 15, 0, 0, "MD1 15 #0"},
                    PatternCase{2, 3, 0, 31, 0, 0, "MD3 31 #0"},
                    PatternCase{3, 1, 32, 0, 5, 0, "MP1 1- FR #0"},
                    PatternCase{3, 2, 65, 0, 4, 0, "MP2 4+ SU SA #0"},
                    PatternCase{5, 1, 0, 24, 0, 12, "YM1 12 #0 MD1 24"},
                    PatternCase{5, 4, 0, 29, 0, 2, "YM1 2 #0 MD1 29"},
                    PatternCase{6, 1, 2, 0, 1, 6, "YM1 6 #0 MP1 1+ MO"},
                    PatternCase{6, 3, 65, 0, 5, 6, "YM1 6 #0 MP1 1- SU SA"}));

TEST_F(PolGetRecurrence, OfASingleItemIsNoRule) {
  EXPECT_THAT(Got(*NewAppointment()).All("rRule"), IsEmpty());
  EXPECT_THAT(Got(*NewTask()).All("rRule"), IsEmpty());
}

TEST_F(PolGetRecurrence, WithAnEndTellsItsCountAndItsDate) {
  auto item = Saved("20060501T090000", "20060501T100000");
  auto pattern = PatternOf(*item);
  pattern->put_RecurrenceType(olRecursDaily);
  pattern->put_Occurrences(5);
  EXPECT_EQ(Got(*item).Only("rRule"), "D1 #5 20060505T000000Z");
  pattern->put_PatternEndDate(At("20060510"));
  EXPECT_EQ(Got(*item).Only("rRule"), "D1 #10 20060510T000000Z");
  pattern->put_Occurrences(2);
  EXPECT_EQ(Got(*item).Only("rRule"), "D1 20060502T000000Z") << "a count of 2 is never written";
}

TEST_F(PolGetRecurrence, TellsItsLastDayInUtc) {
  const std::pair<const char*, const char*> zones[] = {
      {"UTC", "D1 #5 20060505T000000Z"},
      {"Europe/Berlin", "D1 #5 20060504T220000Z"},
      {"America/New_York", "D1 #5 20060505T040000Z"},
      {"Asia/Kolkata", "D1 #5 20060504T183000Z"},
      {"Australia/Lord_Howe", "D1 #5 20060504T133000Z"}};
  for (const auto& [name, rule] : zones) {
    TimeZone zone(name);
    auto item = Saved("20060501T090000", "20060501T100000");
    PatternOf(*item)->put_RecurrenceType(olRecursDaily);
    PatternOf(*item)->put_Occurrences(5);
    EXPECT_EQ(Got(*item).Only("rRule"), rule) << name;
  }
}

TEST_F(PolGetRecurrence, TellsItsExceptionsWithTheTimeOfTheAppointment) {
  auto item = Saved("20060501T093015", "20060501T100000");
  PatternOf(*item)->put_RecurrenceType(olRecursDaily);
  ASSERT_EQ(item->Save(), S_OK);
  ComPtr<IAppointment> occurrence;
  ASSERT_EQ(PatternOf(*item)->GetOccurrence(At("20060503"), occurrence.put()), S_OK);
  ASSERT_EQ(occurrence->Delete(), S_OK);
  ASSERT_EQ(PatternOf(*item)->GetOccurrence(At("20060505"), occurrence.put()), S_OK);
  PutText(*occurrence, &IAppointment::put_Subject, u"changed");
  ASSERT_EQ(occurrence->put_Start(At("20060505T150000")), S_OK);
  ASSERT_EQ(occurrence->Save(), S_OK);
  EXPECT_THAT(Got(*item).All("exDate"), ElementsAre("20060503T093015Z", "20060505T093015Z"));
}

TEST_F(PolGetRecurrence, OfASingleAppointmentHasNoExceptions) {
  EXPECT_THAT(Got(*Saved("20060501T090000", "20060501T100000")).All("exDate"), IsEmpty());
}

// ---- Both ways --------------------------------------------------------------------------------------

struct SeriesCase {
  const char* zone;
  const char* start;      // local
  const char* exception;  // of a weekly series, in UTC
  const char* day;        // its local day and time
};
void PrintTo(const SeriesCase& series, std::ostream* out) { *out << series.zone << series.start; }

class SeriesOverAChangeOfTheClocks : public CalendarTest,
                                     public testing::WithParamInterface<SeriesCase> {};

TEST_P(SeriesOverAChangeOfTheClocks, KeepsItsLocalTime) {
  TimeZone zone(GetParam().zone);
  const std::string start = GetParam().start;
  auto item = Appointment({"DTSTART:" + start, "DTEND:" + start, "RRULE:W1 SU #0",
                           "EXDATE:" + std::string(GetParam().exception)});
  EXPECT_THAT(Trace(), IsEmpty());
  EXPECT_THAT(ExceptionsOf(*item), ElementsAre(GetParam().day));
  EXPECT_THAT(Got(*item).All("exDate"), ElementsAre(GetParam().exception));
}

// Each a week before a change, on its Sunday and a week later; and early, when the day in UTC is another one.
INSTANTIATE_TEST_SUITE_P(
    Zones, SeriesOverAChangeOfTheClocks,
    testing::Values(
        SeriesCase{"UTC", "20060319T090000", "20060326T090000Z", "20060326T090000"},
        SeriesCase{"Europe/Berlin", "20060319T090000", "20060319T080000Z", "20060319T090000"},
        SeriesCase{"Europe/Berlin", "20060319T090000", "20060326T070000Z", "20060326T090000"},
        SeriesCase{"Europe/Berlin", "20060319T003000", "20060325T233000Z", "20060326T003000"},
        SeriesCase{"Europe/Berlin", "20061022T003000", "20061028T223000Z", "20061029T003000"},
        SeriesCase{"Europe/Berlin", "20061022T003000", "20061104T233000Z", "20061105T003000"},
        SeriesCase{"America/New_York", "20060326T210000", "20060327T020000Z", "20060326T210000"},
        SeriesCase{"America/New_York", "20060326T210000", "20060403T010000Z", "20060402T210000"},
        SeriesCase{"America/New_York", "20061022T210000", "20061030T020000Z", "20061029T210000"},
        SeriesCase{"Asia/Kolkata", "20060319T003000", "20060325T190000Z", "20060326T003000"},
        SeriesCase{"Australia/Lord_Howe", "20060326T003000", "20060401T133000Z", "20060402T003000"},
        SeriesCase{"Australia/Lord_Howe", "20060326T003000", "20060408T140000Z", "20060409T003000"},
        SeriesCase{"Australia/Lord_Howe", "20061022T090000", "20061028T220000Z",
                   "20061029T090000"}));

// What a stored rule is written as, when it is read from a record and given back.
TEST_F(PolGetRecurrence, GivesBackTheRulesThatWereReceived) {
  const std::pair<const char*, const char*> rules[] = {
      {"D2 #0", "D2 #0"},
      {"W2 MO WE #4", "W2 MO WE #4 20060517T000000Z"},
      {"W1 WE MO #0", "W1 MO WE #0"},
      {"MP1 1- FR #0", "MP1 1- FR #0"},
      {"MP1 5+ FR #0", "MP1 1- FR #0"},
      {"MD1 15 #3", "MD1 15 #3 20060715T000000Z"},
      {"MD1 LD #0", "MD1 1- #0"},
      {"MD1 1- #0", "MD1 1- #0"},
      {"MD1 31 #0", "MD1 31 #0"},
      {"YD1 60 #0", "YM1 3 #0 MD1 1"},
      {"YM1 6 #0 MD1 15", "YM1 6 #0 MD1 15"},
      {"YM2 6 #0 MD1 15", "YM1 6 #0 MD1 15"},
      {"YM1 6 #0 MP1 2+ TU", "YM1 6 #0 MP1 2+ TU"},
      {"D1 0900 #0 M15 #3", "D1 #0"}};
  for (const auto& [received, given] : rules) {
    auto item = Appointment(
        {"DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:" + std::string(received)});
    EXPECT_EQ(Got(*item).Only("rRule"), given) << received;
  }
}

}  // namespace
}  // namespace pol_recurrence_test
