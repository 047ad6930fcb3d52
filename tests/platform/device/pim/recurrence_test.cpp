#include "platform/device/pim/recurrence.h"

#include <chrono>
#include <string>
#include <vector>

#include "platform/device/pim/dates.h"
#include "tests/platform/device/pim/calendar_fixture.h"

namespace recurrence_test {
namespace {

using namespace pim_test;
using device::CountOccurrences;
using device::EndDay;
using device::HasOccurrence;
using device::Recurrence;

int32_t DayNumber(int year, unsigned month, unsigned day) {
  return static_cast<int32_t>(Day(year, month, day));
}

std::string Text(int32_t day) {
  using namespace std::chrono;
  const year_month_day date{sys_days{year{1899} / 12 / 30} + days{day}};
  char text[16];
  snprintf(text, sizeof text, "%04d-%02u-%02u", int{date.year()}, unsigned{date.month()},
           unsigned{date.day()});
  return text;
}

// The first occurrences, looked for day by day.
std::string FirstDays(const Recurrence& recurrence, size_t count) {
  std::string text;
  int32_t day = recurrence.start - 40;
  for (size_t found = 0; found < count && day < recurrence.start + 9000; ++day) {
    if (!HasOccurrence(recurrence, day)) continue;
    text += (found++ == 0 ? "" : " ") + Text(day);
  }
  return text;
}

Recurrence Daily(int32_t start, LONG interval = 1) {
  return {.type = olRecursDaily, .start = start, .interval = interval};
}
Recurrence Weekly(int32_t start, LONG interval, LONG mask) {
  return {.type = olRecursWeekly, .start = start, .interval = interval, .day_of_week_mask = mask};
}
Recurrence Monthly(int32_t start, LONG interval, LONG day) {
  return {.type = olRecursMonthly, .start = start, .interval = interval, .day_of_month = day};
}
Recurrence MonthNth(int32_t start, LONG interval, LONG instance, LONG mask) {
  return {.type = olRecursMonthNth,
          .start = start,
          .interval = interval,
          .day_of_week_mask = mask,
          .instance = instance};
}
Recurrence Yearly(int32_t start, LONG interval, LONG month, LONG day) {
  return {.type = olRecursYearly,
          .start = start,
          .interval = interval,
          .day_of_month = day,
          .month_of_year = month};
}
Recurrence YearNth(int32_t start, LONG interval, LONG month, LONG instance, LONG mask) {
  return {.type = olRecursYearNth,
          .start = start,
          .interval = interval,
          .day_of_week_mask = mask,
          .instance = instance,
          .month_of_year = month};
}

constexpr LONG kWorkdays = 2 | 4 | 8 | 16 | 32;

struct Series {
  const char* name;
  Recurrence recurrence;
  const char* first_days;
};

class PimRecurrence : public testing::TestWithParam<Series> {};

// 1 January 2026 is a Thursday.
const Series kSeries[] = {
    {"EveryDay", Daily(DayNumber(2024, 2, 27)),
     "2024-02-27 2024-02-28 2024-02-29 2024-03-01 2024-03-02"},
    {"EveryThirdDay", Daily(DayNumber(2025, 12, 30), 3), "2025-12-30 2026-01-02 2026-01-05"},
    {"Every999Days", Daily(DayNumber(2026, 1, 1), 999), "2026-01-01 2028-09-26 2031-06-22"},
    {"DailyOnWorkdays",
     {.type = olRecursDaily,
      .start = DayNumber(2026, 1, 1),
      .interval = 1,
      .day_of_week_mask = kWorkdays},
     "2026-01-01 2026-01-02 2026-01-05 2026-01-06 2026-01-07 2026-01-08 2026-01-09 2026-01-12"},
    {"DailyOnMondaysWhateverItsInterval",
     {.type = olRecursDaily,
      .start = DayNumber(2026, 1, 1),
      .interval = 3,
      .day_of_week_mask = olMonday},
     "2026-01-05 2026-01-12 2026-01-19"},
    {"EveryThursday", Weekly(DayNumber(2026, 1, 1), 1, 16), "2026-01-01 2026-01-08 2026-01-15"},
    {"WeeklyFromADayThatIsNotAmongThem", Weekly(DayNumber(2026, 1, 1), 1, 2),
     "2026-01-05 2026-01-12"},
    {"EverySecondMondayAndWednesday", Weekly(DayNumber(2026, 1, 5), 2, 2 | 8),
     "2026-01-05 2026-01-07 2026-01-19 2026-01-21 2026-02-02"},
    // The week of the start (28 December to 3 January) counts, although its Monday is over.
    {"EverySecondWeekFromTheMiddleOfTheFirst", Weekly(DayNumber(2026, 1, 1), 2, 2 | 32),
     "2026-01-02 2026-01-12 2026-01-16 2026-01-26"},
    {"WeeksBeginOnSunday", Weekly(DayNumber(2026, 1, 3), 2, 1 | 64),
     "2026-01-03 2026-01-11 2026-01-17 2026-01-25 2026-01-31"},
    {"EveryWeekday", Weekly(DayNumber(2026, 1, 1), 1, 127),
     "2026-01-01 2026-01-02 2026-01-03 2026-01-04"},
    {"The15th", Monthly(DayNumber(2026, 1, 1), 1, 15), "2026-01-15 2026-02-15 2026-03-15"},
    {"TheFirstAfterItIsOver", Monthly(DayNumber(2026, 1, 2), 1, 1), "2026-02-01 2026-03-01"},
    {"The31stIsTheLastOfShorterMonths", Monthly(DayNumber(2024, 1, 1), 1, 31),
     "2024-01-31 2024-02-29 2024-03-31 2024-04-30 2024-05-31 2024-06-30"},
    {"TheLastDay", Monthly(DayNumber(2026, 1, 1), 1, -1), "2026-01-31 2026-02-28 2026-03-31"},
    {"The30thFromTheEndIsTheFirstOfFebruary", Monthly(DayNumber(2026, 1, 1), 1, -30),
     "2026-01-02 2026-02-01 2026-03-02"},
    {"The30thIsTheLastOfFebruary", Monthly(DayNumber(2025, 1, 1), 1, 30),
     "2025-01-30 2025-02-28 2025-03-30 2025-04-30"},
    {"The29thOfFebruaryInLeapYears", Monthly(DayNumber(2023, 2, 1), 12, 29),
     "2023-02-28 2024-02-29 2025-02-28"},
    {"EveryThirdMonth", Monthly(DayNumber(2025, 11, 30), 3, 30),
     "2025-11-30 2026-02-28 2026-05-30"},
    {"TheLastFriday", MonthNth(DayNumber(2026, 1, 1), 1, 5, 32),
     "2026-01-30 2026-02-27 2026-03-27 2026-04-24 2026-05-29"},
    // Of five Mondays in March and June, and of four in the other months.
    {"TheFifthMondayIsTheLast", MonthNth(DayNumber(2026, 3, 1), 1, 5, 2),
     "2026-03-30 2026-04-27 2026-05-25 2026-06-29"},
    {"TheFirstSunday", MonthNth(DayNumber(2026, 1, 1), 1, 1, 1),
     "2026-01-04 2026-02-01 2026-03-01"},
    {"TheSecondTuesdayEveryOtherMonth", MonthNth(DayNumber(2026, 1, 1), 2, 2, 4),
     "2026-01-13 2026-03-10 2026-05-12"},
    {"TheFirstWorkday", MonthNth(DayNumber(2026, 1, 1), 1, 1, kWorkdays),
     "2026-01-01 2026-02-02 2026-03-02"},
    {"TheLastWorkday", MonthNth(DayNumber(2026, 1, 1), 1, 5, kWorkdays),
     "2026-01-30 2026-02-27 2026-03-31"},
    {"TheThirdDayOfAll", MonthNth(DayNumber(2026, 1, 1), 1, 3, 127), "2026-01-03 2026-02-03"},
    {"The1stOfMarch", Yearly(DayNumber(2023, 6, 1), 1, 3, 1), "2024-03-01 2025-03-01 2026-03-01"},
    {"The29thOfFebruary", Yearly(DayNumber(2024, 2, 29), 1, 2, 29),
     "2024-02-29 2025-02-28 2026-02-28 2027-02-28 2028-02-29"},
    {"The31stOfAprilIsThe30th", Yearly(DayNumber(2026, 1, 1), 1, 4, 31), "2026-04-30 2027-04-30"},
    {"EveryFourthYear", Yearly(DayNumber(2026, 7, 4), 4, 7, 4), "2026-07-04 2030-07-04 2034-07-04"},
    {"EverySecondYearCountsFromTheFirstOne", Yearly(DayNumber(2026, 7, 5), 2, 7, 4),
     "2028-07-04 2030-07-04"},
    {"TheFourthThursdayOfNovember", YearNth(DayNumber(2026, 1, 1), 1, 11, 4, 16),
     "2026-11-26 2027-11-25 2028-11-23"},
    {"TheLastSundayOfMarch", YearNth(DayNumber(2025, 3, 30), 1, 3, 5, 1),
     "2025-03-30 2026-03-29 2027-03-28"},
    {"AcrossTheYear1900WithoutLeapDay", Daily(DayNumber(1900, 2, 27)),
     "1900-02-27 1900-02-28 1900-03-01"},
    {"LongAgo", Monthly(DayNumber(100, 1, 31), 1, 31), "0100-01-31 0100-02-28 0100-03-31"},
    {"FarAhead", MonthNth(DayNumber(2999, 11, 1), 1, 5, 32), "2999-11-29 2999-12-27 3000-01-31"},
};

INSTANTIATE_TEST_SUITE_P(Of, PimRecurrence, testing::ValuesIn(kSeries),
                         [](const auto& test) { return std::string(test.param.name); });

size_t CountDays(const std::string& text) { return (text.size() + 1) / 11; }

TEST_P(PimRecurrence, TakesPlaceOnItsDaysAndNoOthers) {
  const std::string days = GetParam().first_days;
  EXPECT_EQ(FirstDays(GetParam().recurrence, CountDays(days)), days);
}

TEST_P(PimRecurrence, EndsAfterItsNumberOfOccurrences) {
  const std::string days = GetParam().first_days;
  Recurrence recurrence = GetParam().recurrence;
  recurrence.occurrences = static_cast<LONG>(CountDays(days));
  EXPECT_EQ(FirstDays(recurrence, CountDays(days) + 1), days);
  EXPECT_EQ(CountOccurrences(recurrence), recurrence.occurrences);
  ASSERT_TRUE(EndDay(recurrence));
  EXPECT_EQ(Text(*EndDay(recurrence)), days.substr(days.size() - 10));
}

TEST_P(PimRecurrence, EndsOnItsLastDay) {
  const std::string days = GetParam().first_days;
  Recurrence counted = GetParam().recurrence;
  counted.occurrences = static_cast<LONG>(CountDays(days));
  Recurrence recurrence = GetParam().recurrence;
  recurrence.end = EndDay(counted);
  EXPECT_EQ(FirstDays(recurrence, CountDays(days) + 1), days);
  EXPECT_EQ(CountOccurrences(recurrence), counted.occurrences);
  EXPECT_EQ(EndDay(recurrence), recurrence.end);
  --*recurrence.end;
  EXPECT_EQ(FirstDays(recurrence, CountDays(days)), days.substr(0, days.size() - 11));
}

TEST_P(PimRecurrence, CountsItsOccurrencesAsOneWhoWalksThrough) {
  Recurrence counted = GetParam().recurrence;
  Recurrence ended = GetParam().recurrence;
  LONG number = 0;
  for (int32_t day = counted.start; day < counted.start + 3000; ++day) {
    if (!HasOccurrence(GetParam().recurrence, day)) continue;
    counted.occurrences = ++number;
    ended.end = day;
    ASSERT_EQ(EndDay(counted), day) << number;
    ASSERT_EQ(CountOccurrences(ended), number) << Text(day);
  }
  EXPECT_GT(number, 2);
}

TEST(PimRecurrenceEnd, IsNoneWithoutADayOrANumber) {
  const Recurrence recurrence = Daily(DayNumber(2026, 1, 1));
  EXPECT_EQ(CountOccurrences(recurrence), 0);
  EXPECT_EQ(EndDay(recurrence), std::nullopt);
  EXPECT_TRUE(HasOccurrence(recurrence, DayNumber(9999, 12, 31)));
}

TEST(PimRecurrenceEnd, IsNotBeforeTheFirstOccurrence) {
  Recurrence recurrence = Weekly(DayNumber(2026, 1, 1), 1, 2);
  for (int32_t end : {DayNumber(2025, 1, 1), DayNumber(2026, 1, 2)}) {
    recurrence.end = end;
    EXPECT_EQ(CountOccurrences(recurrence), 1) << "the item itself takes place";
    EXPECT_EQ(FirstDays(recurrence, 1), "");
  }
}

TEST(PimRecurrenceEnd, IsTheLastOfAllDaysForWhatGoesOnBeyond) {
  for (Recurrence recurrence :
       {Daily(DayNumber(2026, 1, 1), 999), Weekly(DayNumber(2026, 1, 1), 999, 127),
        Monthly(DayNumber(2026, 1, 1), 999, 31), YearNth(DayNumber(2026, 1, 1), 999, 2, 5, 1)}) {
    recurrence.occurrences = 0x7FFFFFFF;
    ASSERT_TRUE(EndDay(recurrence));
    EXPECT_EQ(Text(*EndDay(recurrence)), "9999-12-31");
  }
}

TEST(PimRecurrenceEnd, OfAManyThousandDaysIsReckoned) {
  Recurrence recurrence = Daily(DayNumber(1900, 1, 1));
  recurrence.occurrences = 1000000;
  EXPECT_EQ(*EndDay(recurrence), recurrence.start + 999999);
  recurrence.occurrences.reset();
  recurrence.end = recurrence.start + 999999;
  EXPECT_EQ(CountOccurrences(recurrence), 1000000);
}

TEST(PimRecurrenceType, TakesWhatFitsTheStart) {
  // Friday, 30 January 2026, the fifth of its month.
  const Recurrence fresh = {.start = DayNumber(2026, 1, 30)};
  struct {
    LONG type, mask, day, instance, month;
  } const kExpected[] = {{olRecursDaily, 0, 0, 0, 0},    {olRecursWeekly, 32, 0, 0, 0},
                         {olRecursMonthly, 0, 30, 0, 0}, {olRecursMonthNth, 32, 0, 5, 0},
                         {olRecursYearly, 0, 30, 0, 1},  {olRecursYearNth, 32, 0, 5, 1}};
  for (const auto& expected : kExpected) {
    Recurrence r = fresh;
    ASSERT_TRUE(device::SetRecurrenceType(r, expected.type));
    EXPECT_EQ(r.interval, 1);
    EXPECT_EQ(r.day_of_week_mask, expected.mask) << expected.type;
    EXPECT_EQ(r.day_of_month, expected.day) << expected.type;
    EXPECT_EQ(r.instance, expected.instance) << expected.type;
    EXPECT_EQ(r.month_of_year, expected.month) << expected.type;
    EXPECT_TRUE(HasOccurrence(r, r.start)) << expected.type;
  }
}

TEST(PimRecurrenceType, RefusesUnknownTypes) {
  for (LONG type : {-2, -1, 4, 7, 0x7FFFFFFF}) {
    Recurrence recurrence = Daily(DayNumber(2026, 1, 1), 3);
    const Recurrence before = recurrence;
    EXPECT_FALSE(device::SetRecurrenceType(recurrence, type));
    EXPECT_EQ(recurrence, before);
  }
}

TEST(PimRecurrenceType, NoneTakesPlaceNever) {
  const Recurrence none = {.start = DayNumber(2026, 1, 1)};
  EXPECT_FALSE(HasOccurrence(none, none.start));
  EXPECT_EQ(CountOccurrences(none), 0);
  EXPECT_EQ(EndDay(none), std::nullopt);
}

}  // namespace
}  // namespace recurrence_test
