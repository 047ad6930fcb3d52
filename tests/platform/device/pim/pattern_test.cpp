#include "platform/device/pim/pattern.h"

#include <cmath>
#include <limits>

#include "tests/platform/device/pim/calendar_fixture.h"

namespace pattern_test {
namespace {

using namespace pim_test;
using Pattern = IRecurrencePattern;

class PimPattern : public PimCalendarTest {
 protected:
  // Friday, 30 January 2026, 9:30 to 11:00.
  ComPtr<IAppointment> Friday() {
    return NewAppointment(Time(2026, 1, 30, 9, 30), Time(2026, 1, 30, 11, 0));
  }

  static LONG Number(Pattern& pattern, HRESULT (Pattern::*getter)(LONG*)) {
    return Read(pattern, getter);
  }

  static void ExpectEnd(Pattern& pattern, VARIANT_BOOL none, DATE day, LONG occurrences) {
    EXPECT_EQ(Read(pattern, &Pattern::get_NoEndDate), none);
    EXPECT_EQ(Read(pattern, &Pattern::get_PatternEndDate), day);
    EXPECT_EQ(Read(pattern, &Pattern::get_Occurrences), occurrences);
  }

  // As the program finds it and as it is after saving and loading.
  void ExpectEndAlsoSaved(IAppointment& item, VARIANT_BOOL none, DATE day, LONG occurrences) {
    ExpectEnd(*PatternOf(item), none, day, occurrences);
    ExpectEnd(*PatternOf(*SavedAndLoaded(item)), none, day, occurrences);
  }
};

TEST_F(PimPattern, IsOfNoTypeUntilOneIsPut) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(Number(*pattern, &Pattern::get_RecurrenceType), -1);
  EXPECT_EQ(Number(*pattern, &Pattern::get_Interval), 1);
  EXPECT_EQ(Number(*pattern, &Pattern::get_DayOfWeekMask), 0);
  EXPECT_EQ(Number(*pattern, &Pattern::get_DayOfMonth), 0);
  EXPECT_EQ(Number(*pattern, &Pattern::get_Instance), 0);
  EXPECT_EQ(Number(*pattern, &Pattern::get_MonthOfYear), 0);
  ExpectEnd(*pattern, VARIANT_TRUE, 949998.0, 0);
  EXPECT_EQ(Read(*item, &IAppointment::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(Read(*SavedAndLoaded(*item), &IAppointment::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_patterns"), 0);
}

TEST_F(PimPattern, MakesTheItemRecurringWithItsType) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_Interval(2), S_OK);
  EXPECT_EQ(pattern->put_Occurrences(5), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_IsRecurring), VARIANT_TRUE);
  EXPECT_EQ(Read(*SavedAndLoaded(*item), &IAppointment::get_IsRecurring), VARIANT_TRUE);
  EXPECT_EQ(item->get_IsRecurring(nullptr), E_INVALIDARG);
}

struct TypeCase {
  const char* name;
  LONG type, mask, day, instance, month;
};

class PimPatternType : public PimPattern, public testing::WithParamInterface<TypeCase> {};

INSTANTIATE_TEST_SUITE_P(
    Of, PimPatternType,
    testing::Values(TypeCase{"Daily", 0, 0, 0, 0, 0}, TypeCase{"Weekly", 1, 32, 0, 0, 0},
                    TypeCase{"Monthly", 2, 0, 30, 0, 0}, TypeCase{"MonthNth", 3, 32, 0, 5, 0},
                    TypeCase{"Yearly", 5, 0, 30, 0, 1}, TypeCase{"YearNth", 6, 32, 0, 5, 1}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimPatternType, TakesTheDayOfTheAppointmentForWhatWasNotPut) {
  ComPtr<IAppointment> item = Friday();
  EXPECT_EQ(PatternOf(*item)->put_RecurrenceType(GetParam().type), S_OK);
  for (const ComPtr<IAppointment>& each : {item, SavedAndLoaded(*item)}) {
    ComPtr<Pattern> pattern = PatternOf(*each);
    EXPECT_EQ(Number(*pattern, &Pattern::get_RecurrenceType), GetParam().type);
    EXPECT_EQ(Number(*pattern, &Pattern::get_Interval), 1);
    EXPECT_EQ(Number(*pattern, &Pattern::get_DayOfWeekMask), GetParam().mask);
    EXPECT_EQ(Number(*pattern, &Pattern::get_DayOfMonth), GetParam().day);
    EXPECT_EQ(Number(*pattern, &Pattern::get_Instance), GetParam().instance);
    EXPECT_EQ(Number(*pattern, &Pattern::get_MonthOfYear), GetParam().month);
    EXPECT_EQ(Read(*pattern, &Pattern::get_PatternStartDate), Day(2026, 1, 30));
    ExpectEnd(*pattern, VARIANT_TRUE, 949998.0, 0);
  }
}

TEST_P(PimPatternType, ForgetsWhatWasPutForAnotherTypeButNotTheEnd) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursWeekly), S_OK);
  EXPECT_EQ(pattern->put_Interval(7), S_OK);
  EXPECT_EQ(pattern->put_DayOfWeekMask(62), S_OK);
  EXPECT_EQ(pattern->put_Occurrences(3), S_OK);
  EXPECT_EQ(pattern->put_RecurrenceType(GetParam().type), S_OK);
  EXPECT_EQ(Number(*pattern, &Pattern::get_Interval), 1);
  EXPECT_EQ(Number(*pattern, &Pattern::get_DayOfWeekMask), GetParam().mask);
  EXPECT_EQ(Number(*pattern, &Pattern::get_Occurrences), 3);
}

// A property with values that it takes and others that it refuses, under a type that has it.
struct NumberCase {
  const char* name;
  LONG type;
  HRESULT (Pattern::*getter)(LONG*);
  HRESULT (Pattern::*setter)(LONG);
  std::vector<LONG> good, bad;
};

class PimPatternNumber : public PimPattern, public testing::WithParamInterface<NumberCase> {};

INSTANTIATE_TEST_SUITE_P(
    Of, PimPatternNumber,
    testing::Values(
        NumberCase{"Interval",
                   0,
                   &Pattern::get_Interval,
                   &Pattern::put_Interval,
                   {1, 2, 999},
                   {0, -1, 1000, 0x7FFFFFFF}},
        NumberCase{"IntervalOfYears",
                   5,
                   &Pattern::get_Interval,
                   &Pattern::put_Interval,
                   {1, 4},
                   {0, 1000}},
        NumberCase{"DaysOfTheWeek",
                   1,
                   &Pattern::get_DayOfWeekMask,
                   &Pattern::put_DayOfWeekMask,
                   {1, 10, 127},
                   {0, -1, 128}},
        NumberCase{"DaysOfTheWeekInTheMonth",
                   3,
                   &Pattern::get_DayOfWeekMask,
                   &Pattern::put_DayOfWeekMask,
                   {62},
                   {0, 128}},
        NumberCase{"WorkdaysOfADailyPattern",
                   0,
                   &Pattern::get_DayOfWeekMask,
                   &Pattern::put_DayOfWeekMask,
                   {62, 0},
                   {-1, 128}},
        NumberCase{"DayOfMonth",
                   2,
                   &Pattern::get_DayOfMonth,
                   &Pattern::put_DayOfMonth,
                   {1, 31, -1, -31},
                   {0, 32, -32, 400}},
        NumberCase{
            "Instance", 6, &Pattern::get_Instance, &Pattern::put_Instance, {1, 5}, {0, -1, 6}},
        NumberCase{"MonthOfYear",
                   6,
                   &Pattern::get_MonthOfYear,
                   &Pattern::put_MonthOfYear,
                   {1, 12},
                   {0, -1, 13}},
        NumberCase{"Occurrences",
                   0,
                   &Pattern::get_Occurrences,
                   &Pattern::put_Occurrences,
                   {1, 0x7FFFFFFF},
                   {0, -1}},
        // For a type that does not have them they are kept and mean nothing.
        NumberCase{"DayOfMonthOfAWeeklyPattern",
                   1,
                   &Pattern::get_DayOfMonth,
                   &Pattern::put_DayOfMonth,
                   {31},
                   {32}},
        NumberCase{"MonthOfAMonthlyPattern",
                   2,
                   &Pattern::get_MonthOfYear,
                   &Pattern::put_MonthOfYear,
                   {12},
                   {13}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimPatternNumber, ComesBackAndRefusesWhatItCannotBe) {
  for (LONG value : GetParam().good) {
    ComPtr<IAppointment> item = Friday();
    ComPtr<Pattern> pattern = PatternOf(*item);
    EXPECT_EQ(pattern->put_RecurrenceType(GetParam().type), S_OK);
    EXPECT_EQ((pattern.get()->*GetParam().setter)(value), S_OK) << value;
    for (LONG bad : GetParam().bad) {
      EXPECT_EQ((pattern.get()->*GetParam().setter)(bad), E_INVALIDARG) << bad;
    }
    EXPECT_EQ(Number(*pattern, GetParam().getter), value);
    EXPECT_EQ(Number(*PatternOf(*SavedAndLoaded(*item)), GetParam().getter), value);
    EXPECT_EQ((pattern.get()->*GetParam().getter)(nullptr), E_INVALIDARG);
  }
}

TEST_F(PimPattern, RefusesUnknownTypesAndKeepsItsOwn) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursWeekly), S_OK);
  for (LONG bad : {-2, -1, 4, 7}) EXPECT_EQ(pattern->put_RecurrenceType(bad), E_INVALIDARG);
  EXPECT_EQ(Number(*pattern, &Pattern::get_RecurrenceType), olRecursWeekly);
}

// ---- End ----------------------------------------------------------------------------------------

TEST_F(PimPattern, EndsAfterANumberWithoutBeingToldThatItEnds) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursWeekly), S_OK);
  EXPECT_EQ(pattern->put_Occurrences(4), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_FALSE, Day(2026, 2, 20), 4);
}

TEST_F(PimPattern, EndsOnADayWithoutBeingToldThatItEnds) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursWeekly), S_OK);
  EXPECT_EQ(pattern->put_PatternEndDate(Time(2026, 2, 26, 23, 59)), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_FALSE, Day(2026, 2, 26), 4);
}

TEST_F(PimPattern, EndsAsItWasToldLast) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(pattern->put_Occurrences(4), S_OK);
  EXPECT_EQ(pattern->put_PatternEndDate(Day(2026, 2, 10)), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_FALSE, Day(2026, 2, 10), 12);
  EXPECT_EQ(pattern->put_Occurrences(3), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_FALSE, Day(2026, 2, 1), 3);
  EXPECT_EQ(pattern->put_NoEndDate(1), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_TRUE, 949998.0, 0);
  EXPECT_EQ(pattern->put_PatternEndDate(Day(2026, 1, 31)), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_FALSE, Day(2026, 1, 31), 2);
  EXPECT_EQ(pattern->put_PatternEndDate(DATE_NONE), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_TRUE, 949998.0, 0);
}

TEST_F(PimPattern, EndsAfterTenWhenItIsToldOnlyThatItEnds) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(pattern->put_NoEndDate(VARIANT_FALSE), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_FALSE, Day(2026, 2, 8), 10);
  EXPECT_EQ(pattern->put_Occurrences(3), S_OK);
  EXPECT_EQ(pattern->put_NoEndDate(VARIANT_FALSE), S_OK);
  ExpectEnd(*pattern, VARIANT_FALSE, Day(2026, 2, 1), 3);
}

TEST_F(PimPattern, ReckonsItsEndAnewWhenItChanges) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_Occurrences(3), S_OK);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  ExpectEnd(*pattern, VARIANT_FALSE, Day(2026, 2, 1), 3);
  EXPECT_EQ(pattern->put_Interval(7), S_OK);
  ExpectEnd(*pattern, VARIANT_FALSE, Day(2026, 2, 13), 3);
  EXPECT_EQ(item->put_Start(Time(2026, 2, 1, 8, 0)), S_OK);
  ExpectEnd(*pattern, VARIANT_FALSE, Day(2026, 2, 15), 3);
}

TEST_F(PimPattern, KeepsAnEndBeforeItsStart) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(pattern->put_PatternEndDate(Day(2020, 1, 1)), S_OK);
  ExpectEndAlsoSaved(*item, VARIANT_FALSE, Day(2020, 1, 1), 1);
}

TEST_F(PimPattern, RefusesEndsAndStartsThatAreNoDate) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(pattern->put_Occurrences(3), S_OK);
  for (DATE bad : {-657435.0, 2958466.0, std::nan(""), std::numeric_limits<DATE>::infinity()}) {
    EXPECT_EQ(pattern->put_PatternEndDate(bad), E_INVALIDARG) << bad;
    EXPECT_EQ(pattern->put_PatternStartDate(bad), E_INVALIDARG) << bad;
    EXPECT_EQ(pattern->put_StartTime(bad), E_INVALIDARG) << bad;
    EXPECT_EQ(pattern->put_EndTime(bad), E_INVALIDARG) << bad;
  }
  EXPECT_EQ(pattern->put_PatternStartDate(DATE_NONE), E_INVALIDARG);
  ExpectEnd(*pattern, VARIANT_FALSE, Day(2026, 2, 1), 3);
}

// ---- The appointment's times --------------------------------------------------------------------

TEST_F(PimPattern, HasTheTimesOfItsAppointment) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(Read(*pattern, &Pattern::get_PatternStartDate), Day(2026, 1, 30));
  EXPECT_EQ(Read(*pattern, &Pattern::get_StartTime), (9 * 60 + 30) / 1440.0);
  EXPECT_EQ(Read(*pattern, &Pattern::get_EndTime), 11 / 24.0);
  EXPECT_EQ(Read(*pattern, &Pattern::get_Duration), 90);
  EXPECT_EQ(item->put_Start(Time(2026, 3, 1, 22, 45)), S_OK);
  EXPECT_EQ(Read(*pattern, &Pattern::get_PatternStartDate), Day(2026, 3, 1));
  EXPECT_EQ(Read(*pattern, &Pattern::get_StartTime), (22 * 60 + 45) / 1440.0);
  EXPECT_EQ(Read(*pattern, &Pattern::get_EndTime), 15 / 1440.0);
}

TEST_F(PimPattern, MovesItsAppointment) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  EXPECT_EQ(pattern->put_PatternStartDate(Time(2026, 2, 1, 18, 0)), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_Start), Time(2026, 2, 1, 9, 30));
  EXPECT_EQ(Read(*item, &IAppointment::get_End), Time(2026, 2, 1, 11, 0));
  EXPECT_EQ(pattern->put_StartTime(13 / 24.0), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_Start), Time(2026, 2, 1, 13, 0));
  EXPECT_EQ(Read(*item, &IAppointment::get_End), Time(2026, 2, 1, 14, 30));
  EXPECT_EQ(pattern->put_EndTime(14 / 24.0), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_End), Time(2026, 2, 1, 14, 0));
  EXPECT_EQ(pattern->put_EndTime(12 / 24.0), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_End), Time(2026, 2, 2, 12, 0)) << "of the next day";
  EXPECT_EQ(pattern->put_Duration(30), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_Start), Time(2026, 2, 1, 13, 0));
  EXPECT_EQ(Read(*item, &IAppointment::get_End), Time(2026, 2, 1, 13, 30));
}

TEST_F(PimPattern, OutlivesWhatTheProgramHeldOfItsItem) {
  ComPtr<IAppointment> item = Friday();
  ComPtr<Pattern> pattern = PatternOf(*item);
  item.reset();
  EXPECT_EQ(pattern->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(Read(*pattern, &Pattern::get_PatternStartDate), Day(2026, 1, 30));
}

// ---- Saving -------------------------------------------------------------------------------------

TEST_F(PimPattern, IsStoredByTheSaveOfItsItem) {
  ComPtr<IAppointment> item = Friday();
  EXPECT_EQ(item->Save(), S_OK);
  EXPECT_EQ(PatternOf(*item)->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(Read(*Load<IAppointment>(Oid(*item)), &IAppointment::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(Read(*SavedAndLoaded(*item), &IAppointment::get_IsRecurring), VARIANT_TRUE);
}

TEST_F(PimPattern, IsGoneAtTheSaveAfterItWasCleared) {
  ComPtr<IAppointment> item = Friday();
  EXPECT_EQ(item->ClearRecurrencePattern(), S_OK) << "without one, too";
  EXPECT_EQ(PatternOf(*item)->put_RecurrenceType(olRecursWeekly), S_OK);
  EXPECT_EQ(PatternOf(*item)->put_Occurrences(4), S_OK);
  EXPECT_EQ(item->Save(), S_OK);
  EXPECT_EQ(item->ClearRecurrencePattern(), S_OK);
  EXPECT_EQ(Read(*item, &IAppointment::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(Number(*PatternOf(*item), &Pattern::get_RecurrenceType), -1);
  EXPECT_EQ(Number(*PatternOf(*item), &Pattern::get_Occurrences), 0);
  EXPECT_EQ(Read(*Load<IAppointment>(Oid(*item)), &IAppointment::get_IsRecurring), VARIANT_TRUE);
  EXPECT_EQ(Read(*SavedAndLoaded(*item), &IAppointment::get_IsRecurring), VARIANT_FALSE);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_patterns"), 0);
}

TEST_F(PimPattern, GoesWithItsItem) {
  ComPtr<IAppointment> item = Friday();
  EXPECT_EQ(PatternOf(*item)->put_RecurrenceType(olRecursWeekly), S_OK);
  EXPECT_EQ(item->Save(), S_OK);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_patterns"), 1);
  EXPECT_EQ(item->Delete(), S_OK);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_patterns"), 0);
}

TEST_F(PimPattern, RefusesToAnswerIntoNothing) {
  ComPtr<IAppointment> item = Friday();
  EXPECT_EQ(item->GetRecurrencePattern(nullptr), E_INVALIDARG);
  ComPtr<Pattern> pattern = PatternOf(*item);
  for (auto getter : {&Pattern::get_PatternStartDate, &Pattern::get_StartTime,
                      &Pattern::get_EndTime, &Pattern::get_PatternEndDate}) {
    EXPECT_EQ((pattern.get()->*getter)(nullptr), E_INVALIDARG);
  }
  EXPECT_EQ(pattern->get_NoEndDate(nullptr), E_INVALIDARG);
  EXPECT_EQ(pattern->get_Duration(nullptr), E_INVALIDARG);
  EXPECT_EQ(pattern->get_RecurrenceType(nullptr), E_INVALIDARG);
  EXPECT_EQ(pattern->get_Exceptions(nullptr), E_INVALIDARG);
  EXPECT_EQ(pattern->get_Application(nullptr), E_INVALIDARG);
  EXPECT_EQ(pattern->GetOccurrence(Day(2026, 1, 30), nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace pattern_test
