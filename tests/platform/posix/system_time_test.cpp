#include "platform/api/system_time.h"

#include <gtest/gtest.h>

#include <ctime>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/temp_device.h"

namespace system_time_test {
namespace {

// A calendar time as "2005-03-27T01:59:59".
SYSTEMTIME Calendar(const std::string& text) {
  SYSTEMTIME time{};
  const auto number = [&text](size_t place, size_t size) {
    return static_cast<WORD>(std::stoi(text.substr(place, size)));
  };
  const size_t year = text.find('-');
  time.wYear = number(0, year);
  time.wMonth = number(year + 1, 2);
  time.wDay = number(year + 4, 2);
  time.wHour = number(year + 7, 2);
  time.wMinute = number(year + 10, 2);
  time.wSecond = number(year + 13, 2);
  return time;
}

FILETIME At(const std::string& text) {
  const SYSTEMTIME calendar = Calendar(text);
  FILETIME time{};
  EXPECT_TRUE(SystemTimeToFileTime(&calendar, &time)) << text;
  return time;
}

std::string Text(const FILETIME& time) {
  SYSTEMTIME calendar{};
  EXPECT_TRUE(FileTimeToSystemTime(&time, &calendar));
  char text[40];
  std::snprintf(text, sizeof(text), "%04d-%02d-%02dT%02d:%02d:%02d", calendar.wYear,
                calendar.wMonth, calendar.wDay, calendar.wHour, calendar.wMinute, calendar.wSecond);
  return text;
}

uint64_t Ticks(const FILETIME& time) {
  return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FILETIME FromTicks(uint64_t ticks) {
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::string ToLocal(const std::string& utc) {
  const FILETIME time = At(utc);
  FILETIME local{};
  EXPECT_TRUE(FileTimeToLocalFileTime(&time, &local));
  return Text(local);
}

std::string ToUtc(const std::string& local) {
  const FILETIME time = At(local);
  FILETIME utc{};
  EXPECT_TRUE(LocalFileTimeToFileTime(&time, &utc));
  return Text(utc);
}

TEST(SystemTime, FileTimesCountTenthsOfMicrosecondsFrom1601) {
  EXPECT_EQ(Ticks(At("1601-01-01T00:00:00")), 0u);
  EXPECT_EQ(Ticks(At("1601-01-01T00:00:01")), 10'000'000u);
  EXPECT_EQ(Ticks(At("1970-01-01T00:00:00")), 116'444'736'000'000'000u);
  EXPECT_EQ(Ticks(At("2000-01-01T00:00:00")), 125'911'584'000'000'000u);
}

TEST(SystemTime, CalendarTimesHaveTheirDayOfTheWeekAndMilliseconds) {
  const FILETIME time = FromTicks(Ticks(At("2005-03-14T10:15:00")) + 123'4567);
  SYSTEMTIME calendar{};
  ASSERT_TRUE(FileTimeToSystemTime(&time, &calendar));
  EXPECT_EQ(calendar.wDayOfWeek, 1);  // a Monday
  EXPECT_EQ(calendar.wMilliseconds, 123);
}

TEST(SystemTime, DatesFarAwayComeBackAsTheyWere) {
  for (const char* text :
       {"1601-01-01T00:00:00", "1899-12-30T00:00:00", "2038-01-19T03:14:08", "2106-02-07T06:28:16",
        "4501-01-01T00:00:00", "9999-12-31T23:59:59", "30827-12-31T23:59:59"}) {
    EXPECT_EQ(Text(At(text)), text);
  }
}

TEST(SystemTime, LeapDaysFollowTheCalendar) {
  SYSTEMTIME calendar = Calendar("2000-02-29T00:00:00");
  FILETIME time{};
  EXPECT_TRUE(SystemTimeToFileTime(&calendar, &time));
  calendar.wYear = 1900;
  EXPECT_FALSE(SystemTimeToFileTime(&calendar, &time));
  EXPECT_EQ(GetLastError(), 87u);
}

TEST(SystemTime, DatesThatDoNotExistAreRefused) {
  for (const char* text : {"1600-12-31T00:00:00", "2005-00-10T00:00:00", "2005-13-10T00:00:00",
                           "2005-04-31T00:00:00", "2005-04-00T00:00:00", "2005-04-10T24:00:00",
                           "2005-04-10T00:60:00", "2005-04-10T00:00:60", "30828-01-01T00:00:00"}) {
    const SYSTEMTIME calendar = Calendar(text);
    FILETIME time{};
    EXPECT_FALSE(SystemTimeToFileTime(&calendar, &time)) << text;
  }
}

TEST(SystemTime, FileTimesWithTheHighestBitAreRefused) {
  const FILETIME last = FromTicks(0x7FFFFFFFFFFFFFFFu);
  const FILETIME beyond = FromTicks(0x8000000000000000u);
  SYSTEMTIME calendar{};
  FILETIME other{};
  EXPECT_TRUE(FileTimeToSystemTime(&last, &calendar));
  EXPECT_FALSE(FileTimeToSystemTime(&beyond, &calendar));
  EXPECT_FALSE(FileTimeToLocalFileTime(&beyond, &other));
  EXPECT_FALSE(LocalFileTimeToFileTime(&beyond, &other));
}

TEST(SystemTime, LocalTimesOutsideTheRangeAreRefused) {
  const FILETIME first = FromTicks(0);
  const FILETIME last = FromTicks(0x7FFFFFFFFFFFFFFFu);
  FILETIME other{};
  const TempEnvironment west("TZ", "UTC+5");
  EXPECT_FALSE(FileTimeToLocalFileTime(&first, &other));
  EXPECT_FALSE(LocalFileTimeToFileTime(&last, &other));
  const TempEnvironment east("TZ", "UTC-5");
  EXPECT_FALSE(LocalFileTimeToFileTime(&first, &other));
  EXPECT_FALSE(FileTimeToLocalFileTime(&last, &other));
}

TEST(SystemTime, FractionsOfASecondSurviveTheChangeOfZone) {
  const TempEnvironment zone("TZ", "Europe/Berlin");
  const FILETIME utc = FromTicks(Ticks(At("2005-07-01T12:00:00")) + 1);
  FILETIME local{};
  ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
  EXPECT_EQ(Ticks(local), Ticks(At("2005-07-01T14:00:00")) + 1);
}

TEST(SystemTime, ComparingTellsEarlierSameAndLater) {
  const FILETIME early = FromTicks(0x1'0000'0000u);
  const FILETIME late = FromTicks(0x1'0000'0001u);
  const FILETIME low = FromTicks(0xFFFFFFFFu);
  EXPECT_EQ(CompareFileTime(&early, &late), -1);
  EXPECT_EQ(CompareFileTime(&late, &early), 1);
  EXPECT_EQ(CompareFileTime(&low, &early), -1);
  EXPECT_EQ(CompareFileTime(&early, &early), 0);
}

TEST(SystemTime, TheClockGivesThePresentTimeInUtc) {
  const TempEnvironment zone("TZ", "Australia/Lord_Howe");
  FILETIME now{};
  const auto before = static_cast<uint64_t>(std::time(nullptr));
  GetSystemTimeAsFileTime(&now);
  const auto after = static_cast<uint64_t>(std::time(nullptr));
  const uint64_t seconds = Ticks(now) / 10'000'000 - 11'644'473'600;
  EXPECT_GE(seconds, before);
  EXPECT_LE(seconds, after + 1);  // the C library's clock may lag by a tick
  SYSTEMTIME calendar{};
  GetSystemTime(&calendar);
  FILETIME same{};
  ASSERT_TRUE(SystemTimeToFileTime(&calendar, &same));
  EXPECT_LT(Ticks(same) - Ticks(now) + 10'000,
            50'000'000u);  // within five seconds, cut to milliseconds
}

// ---- Zones, on both sides of each change of the clocks -----------------------------------------

struct Moment {
  const char* zone;
  const char* utc;
  const char* local;
};

void PrintTo(const Moment& moment, std::ostream* stream) {
  *stream << moment.zone << " " << moment.utc;
}

class LocalTime : public testing::TestWithParam<Moment> {};

TEST_P(LocalTime, FollowsFromUtc) {
  const TempEnvironment zone("TZ", GetParam().zone);
  EXPECT_EQ(ToLocal(GetParam().utc), GetParam().local);
}

TEST_P(LocalTime, LeadsBackToUtc) {
  const TempEnvironment zone("TZ", GetParam().zone);
  EXPECT_EQ(ToUtc(GetParam().local), GetParam().utc);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, LocalTime,
    testing::Values(
        Moment{"UTC", "2005-03-27T01:00:00", "2005-03-27T01:00:00"},
        Moment{"UTC", "9999-12-31T23:59:59", "9999-12-31T23:59:59"},
        Moment{"Europe/Berlin", "2005-03-27T00:59:59", "2005-03-27T01:59:59"},
        Moment{"Europe/Berlin", "2005-03-27T01:00:00", "2005-03-27T03:00:00"},
        Moment{"Europe/Berlin", "2005-10-29T23:59:59", "2005-10-30T01:59:59"},
        Moment{"Europe/Berlin", "2005-10-30T00:30:00", "2005-10-30T02:30:00"},  // first of two
        Moment{"Europe/Berlin", "2005-10-30T02:00:00", "2005-10-30T03:00:00"},
        Moment{"Europe/Berlin", "2050-07-01T12:00:00", "2050-07-01T14:00:00"},
        Moment{"Europe/Berlin", "9999-01-15T12:00:00", "9999-01-15T13:00:00"},
        Moment{"America/New_York", "2005-04-03T06:59:59", "2005-04-03T01:59:59"},
        Moment{"America/New_York", "2005-04-03T07:00:00", "2005-04-03T03:00:00"},
        Moment{"America/New_York", "2005-10-30T04:59:59", "2005-10-30T00:59:59"},
        Moment{"America/New_York", "2005-10-30T05:30:00", "2005-10-30T01:30:00"},  // first of two
        Moment{"America/New_York", "2005-10-30T07:00:00", "2005-10-30T02:00:00"},
        Moment{"America/New_York", "2007-03-11T07:00:00", "2007-03-11T03:00:00"},  // later rules
        Moment{"Asia/Kolkata", "2005-03-27T00:00:00", "2005-03-27T05:30:00"},
        Moment{"Asia/Kolkata", "2005-12-31T18:30:00", "2006-01-01T00:00:00"},
        Moment{"Australia/Lord_Howe", "2005-03-26T14:59:59", "2005-03-27T01:59:59"},
        Moment{"Australia/Lord_Howe", "2005-03-26T14:30:00",
               "2005-03-27T01:30:00"},  // first of two
        Moment{"Australia/Lord_Howe", "2005-03-26T15:30:00", "2005-03-27T02:00:00"},
        Moment{"Australia/Lord_Howe", "2005-10-29T15:29:59", "2005-10-30T01:59:59"},
        Moment{"Australia/Lord_Howe", "2005-10-29T15:30:00", "2005-10-30T02:30:00"}));

TEST(LocalTimes, TheSecondOfTwoSameLocalTimesFollowsFromUtc) {
  const TempEnvironment zone("TZ", "Europe/Berlin");
  EXPECT_EQ(ToLocal("2005-10-30T01:30:00"), "2005-10-30T02:30:00");
}

TEST(LocalTimes, ASkippedLocalTimeIsReadWithTheOffsetBeforeTheChange) {
  const TempEnvironment berlin("TZ", "Europe/Berlin");
  EXPECT_EQ(ToUtc("2005-03-27T02:30:00"), "2005-03-27T01:30:00");  // 03:30 in summer time
  const TempEnvironment york("TZ", "America/New_York");
  EXPECT_EQ(ToUtc("2005-04-03T02:30:00"), "2005-04-03T07:30:00");
  const TempEnvironment island("TZ", "Australia/Lord_Howe");
  EXPECT_EQ(ToUtc("2005-10-30T02:15:00"), "2005-10-29T15:45:00");
}

TEST(LocalTimes, ASkippedDayIsReadWithTheOffsetBeforeTheChange) {
  const TempEnvironment zone("TZ", "Pacific/Apia");  // had no 30 December 2011
  EXPECT_EQ(ToLocal("2011-12-30T09:59:59"), "2011-12-29T23:59:59");
  EXPECT_EQ(ToLocal("2011-12-30T10:00:00"), "2011-12-31T00:00:00");
  EXPECT_EQ(ToUtc("2011-12-30T12:00:00"), "2011-12-30T22:00:00");
}

TEST(LocalTimes, AChangeOfTheZoneCountsAtOnce) {
  {
    const TempEnvironment zone("TZ", "Asia/Kolkata");
    EXPECT_EQ(ToLocal("2005-01-01T00:00:00"), "2005-01-01T05:30:00");
  }
  const TempEnvironment zone("TZ", "America/New_York");
  EXPECT_EQ(ToLocal("2005-01-01T00:00:00"), "2004-12-31T19:00:00");
}

// Every quarter of an hour of a year leads back to itself, save the second of two same local times.
TEST(LocalTimes, EveryQuarterOfAnHourOfAYearLeadsBack) {
  struct Zone {
    const char* name;
    int second_readings;  // quarters of an hour that occur twice
  };
  for (const Zone& zone : {Zone{"UTC", 0}, Zone{"Europe/Berlin", 4}, Zone{"America/New_York", 4},
                           Zone{"Asia/Kolkata", 0}, Zone{"Australia/Lord_Howe", 2}}) {
    const TempEnvironment environment("TZ", zone.name);
    int differing = 0;
    const uint64_t start = Ticks(At("2005-01-01T00:00:00"));
    for (uint64_t quarter = 0; quarter < uint64_t{365} * 96; ++quarter) {
      const FILETIME utc = FromTicks(start + quarter * 900 * 10'000'000);
      FILETIME local{};
      FILETIME back{};
      ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
      ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
      if (Ticks(back) != Ticks(utc)) ++differing;
    }
    EXPECT_EQ(differing, zone.second_readings) << zone.name;
  }
}

// ---- Dates and times as text ------------------------------------------------------------------------

using Format = int (*)(LCID, DWORD, const SYSTEMTIME*, LPCWSTR, LPWSTR, int);

std::u16string Formatted(Format format, DWORD flags, const SYSTEMTIME& time) {
  WCHAR text[32] = u"?";
  const int length = format(LOCALE_USER_DEFAULT, flags, &time, nullptr, text, 32);
  EXPECT_EQ(length, static_cast<int>(std::u16string_view(text).size()) + 1);
  return text;
}
std::u16string DateText(const std::string& calendar) {
  return Formatted(GetDateFormatW, DATE_SHORTDATE, Calendar(calendar));
}
std::u16string TimeText(const std::string& calendar) {
  return Formatted(GetTimeFormatW, TIME_FORCE24HOURFORMAT, Calendar(calendar));
}

TEST(DateText, HasTheMonthFirst) {
  EXPECT_EQ(DateText("1961-05-10T20:30:05"), u"05/10/1961");
  EXPECT_EQ(DateText("9999-12-31T00:00:00"), u"12/31/9999");
  EXPECT_EQ(DateText("0100-01-01T00:00:00"), u"01/01/0100");
}

TEST(DateText, HasTwentyFourHoursAndSeconds) {
  EXPECT_EQ(TimeText("1961-05-10T20:30:05"), u"20:30:05");
  EXPECT_EQ(TimeText("1961-05-10T00:00:00"), u"00:00:00");
  EXPECT_EQ(TimeText("1961-05-10T23:59:59"), u"23:59:59");
}

TEST(DateText, TellsTheRoomThatItNeedsAndKeepsToWhatIsThere) {
  const SYSTEMTIME time = Calendar("1961-05-10T20:30:05");
  WCHAR text[12] = u"###########";
  const auto date = [&](int room) {
    return GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, text, room);
  };
  EXPECT_EQ(GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, nullptr, 0), 11);
  EXPECT_EQ(date(10), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(std::u16string(text), u"###########");
  EXPECT_EQ(date(11), 11);
  EXPECT_EQ(std::u16string(text), u"05/10/1961");
}

TEST(DateText, RefusesWhatItDoesNotKnow) {
  const SYSTEMTIME time = Calendar("1961-05-10T20:30:05");
  WCHAR text[32];
  const auto error = [&](Format format, LCID locale, DWORD flags, const SYSTEMTIME* calendar,
                         LPCWSTR pattern, LPWSTR out, int room) {
    SetLastError(0);
    EXPECT_EQ(format(locale, flags, calendar, pattern, out, room), 0);
    return static_cast<LONG>(GetLastError());
  };
  constexpr LCID kUser = LOCALE_USER_DEFAULT;
  for (const auto& [format, flag] : {std::pair{&GetDateFormatW, DATE_SHORTDATE},
                                     std::pair{&GetTimeFormatW, TIME_FORCE24HOURFORMAT}}) {
    EXPECT_EQ(error(format, kUser, 2, &time, nullptr, text, 32), ERROR_INVALID_FLAGS);
    EXPECT_EQ(error(format, 0x0407, flag, &time, nullptr, text, 32), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(error(format, kUser, flag, nullptr, nullptr, text, 32), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(error(format, kUser, flag, &time, u"yyyy", text, 32), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(error(format, kUser, flag, &time, nullptr, nullptr, 32), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(error(format, kUser, flag, &time, nullptr, text, -1), ERROR_INVALID_PARAMETER);
  }
  const SYSTEMTIME no_day = Calendar("2026-02-29T00:00:00");
  const SYSTEMTIME no_time = Calendar("2026-02-28T24:00:00");
  EXPECT_EQ(error(GetDateFormatW, kUser, DATE_SHORTDATE, &no_day, nullptr, text, 32),
            ERROR_INVALID_PARAMETER);
  EXPECT_EQ(error(GetTimeFormatW, kUser, TIME_FORCE24HOURFORMAT, &no_time, nullptr, text, 32),
            ERROR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace system_time_test
