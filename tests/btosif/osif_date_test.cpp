#include "btosif/osif_date.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <string>

#include "tests/support/dates.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace osif_date_test {
namespace {

using support::FileTime;
using support::Iso;
using support::Rfc822;
using support::TimeZone;
using support::TraceReceiver;
using support::Unix;
using testing::ElementsAre;

// ---- Calendar time and automation date ----

struct CalendarCase {
  const char* name;
  SYSTEMTIME time;  // year, month, day of week, day, hour, minute, second, milliseconds
  double date;
};

class CalendarTime : public testing::TestWithParam<CalendarCase> {};

TEST_P(CalendarTime, BecomesTheAutomationDate) {
  DATE date = -1;
  EXPECT_EQ(SystemTimeToDate(GetParam().time, &date), 1);
  EXPECT_DOUBLE_EQ(date, GetParam().date);
}

TEST_P(CalendarTime, ComesBackFromTheAutomationDate) {
  SYSTEMTIME time{};
  const SYSTEMTIME& expected = GetParam().time;
  EXPECT_EQ(DateToSystemTime(GetParam().date, &time), 1);
  EXPECT_EQ(time.wYear, expected.wYear);
  EXPECT_EQ(time.wMonth, expected.wMonth);
  EXPECT_EQ(time.wDay, expected.wDay);
  EXPECT_EQ(time.wDayOfWeek, expected.wDayOfWeek);
  EXPECT_EQ(time.wHour, expected.wHour);
  EXPECT_EQ(time.wMinute, expected.wMinute);
  EXPECT_EQ(time.wSecond, expected.wSecond);
}

INSTANTIATE_TEST_SUITE_P(
    Dates, CalendarTime,
    testing::Values(CalendarCase{"DayZero", {1899, 12, 6, 30, 0, 0, 0, 0}, 0.0},
                    CalendarCase{"NoonOfDayZero", {1899, 12, 6, 30, 12, 0, 0, 0}, 0.5},
                    CalendarCase{"TheDayBefore", {1899, 12, 5, 29, 0, 0, 0, 0}, -1.0},
                    CalendarCase{"SixOClockOfTheDayBefore", {1899, 12, 5, 29, 6, 0, 0, 0}, -1.25},
                    CalendarCase{"NewYear1900", {1900, 1, 1, 1, 0, 0, 0, 0}, 2.0},
                    CalendarCase{"TheLastOfFebruary1900", {1900, 2, 3, 28, 0, 0, 0, 0}, 60.0},
                    CalendarCase{"TheFirstOfMarch1900", {1900, 3, 4, 1, 0, 0, 0, 0}, 61.0},
                    CalendarCase{"TheUnixEpoch", {1970, 1, 4, 1, 0, 0, 0, 0}, 25569.0},
                    CalendarCase{"NewYear2000", {2000, 1, 6, 1, 0, 0, 0, 0}, 36526.0},
                    CalendarCase{"ALeapDay", {2000, 2, 2, 29, 18, 0, 0, 0}, 36585.75},
                    CalendarCase{"TheFirstOfMarch2000", {2000, 3, 3, 1, 0, 0, 0, 0}, 36586.0},
                    CalendarCase{"TheLastSecondOfADay",
                                 {2000, 1, 6, 1, 23, 59, 59, 0},
                                 36526 + 86399 / 86400.0},
                    CalendarCase{"TheNoDateMark", {4501, 1, 6, 1, 0, 0, 0, 0}, 949998.0},
                    CalendarCase{"TheFirstDay", {100, 1, 5, 1, 0, 0, 0, 0}, -657434.0},
                    CalendarCase{"TheLastDay", {9999, 12, 5, 31, 0, 0, 0, 0}, 2958465.0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Date, EverySecondOfADaySurvivesTheWayThereAndBack) {
  for (int day : {36526, 37500, -3, 2958465}) {
    for (int second = 0; second < 86400; ++second) {
      double fraction = second / 86400.0;
      SYSTEMTIME time{};
      ASSERT_EQ(DateToSystemTime(day < 0 ? day - fraction : day + fraction, &time), 1);
      ASSERT_EQ(time.wHour * 3600 + time.wMinute * 60 + time.wSecond, second) << "day " << day;
      DATE back = 0;
      ASSERT_EQ(SystemTimeToDate(time, &back), 1);
      SYSTEMTIME again{};
      ASSERT_EQ(DateToSystemTime(back, &again), 1);
      ASSERT_EQ(again.wHour * 3600 + again.wMinute * 60 + again.wSecond, second);
    }
  }
}

TEST(Date, TwentyFourOClockIsTheNextMidnight) {
  DATE date = 0;
  EXPECT_EQ(SystemTimeToDate(SYSTEMTIME{1999, 12, 0, 31, 24, 0, 0, 0}, &date), 1);
  EXPECT_DOUBLE_EQ(date, 36526.0);
}

class ImpossibleTime : public testing::TestWithParam<SYSTEMTIME> {};

TEST_P(ImpossibleTime, IsRefused) {
  DATE date = 0;
  EXPECT_EQ(SystemTimeToDate(GetParam(), &date), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Dates, ImpossibleTime,
    testing::Values(SYSTEMTIME{2001, 2, 0, 29, 0, 0, 0, 0}, SYSTEMTIME{1900, 2, 0, 29, 0, 0, 0, 0},
                    SYSTEMTIME{2001, 4, 0, 31, 0, 0, 0, 0}, SYSTEMTIME{2001, 0, 0, 1, 0, 0, 0, 0},
                    SYSTEMTIME{2001, 13, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{2001, 1, 0, 0, 0, 0, 0, 0},
                    SYSTEMTIME{2001, 1, 0, 32, 0, 0, 0, 0}, SYSTEMTIME{2001, 1, 0, 1, 25, 0, 0, 0},
                    SYSTEMTIME{2001, 1, 0, 1, 24, 0, 1, 0}, SYSTEMTIME{2001, 1, 0, 1, 24, 1, 0, 0},
                    SYSTEMTIME{2001, 1, 0, 1, 0, 60, 0, 0}, SYSTEMTIME{2001, 1, 0, 1, 0, 0, 60, 0},
                    SYSTEMTIME{99, 12, 0, 31, 0, 0, 0, 0}, SYSTEMTIME{10000, 1, 0, 1, 0, 0, 0, 0},
                    SYSTEMTIME{9999, 12, 0, 31, 24, 0, 0, 0},
                    SYSTEMTIME{65535, 65535, 0, 65535, 65535, 65535, 65535, 0}));

TEST(Date, DatesOutsideTheYears100To9999HaveNoCalendarTime) {
  SYSTEMTIME time{};
  for (double date : {-657435.0, 2958466.0, 1e300, -1e300, std::nan(""),
                      std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(DateToSystemTime(date, &time), 0) << date;
  }
}

// ---- File times ----

TEST(Date, AFileTimeBecomesTheLocalDate) {
  TimeZone zone("Europe/Berlin");
  DATE date = 0;
  EXPECT_NE(FileTimeToDate(FileTime(1025517600), &date), 0);  // 1 July 2002, 10:00 UTC
  EXPECT_DOUBLE_EQ(date, 37438.5);                            // 12:00 in Berlin
}

TEST(Date, ALocalDateBecomesTheFileTime) {
  TimeZone zone("Europe/Berlin");
  FILETIME time{};
  EXPECT_NE(DateToFileTime(37438.5, &time), 0);
  EXPECT_EQ(Unix(time), 1025517600);
}

TEST(Date, AnImpossibleFileTimeGivesTheNoDateMark) {
  DATE date = 0;
  EXPECT_EQ(FileTimeToDate(FILETIME{0xFFFFFFFFu, 0xFFFFFFFFu}, &date), 0);
  EXPECT_EQ(date, kNoDate);
}

TEST(Date, ADateBeforeTheFirstFileTimeGivesAZeroFileTime) {
  FILETIME time{1, 1};
  EXPECT_EQ(DateToFileTime(-200000.0, &time), 0);  // in the year 1352
  EXPECT_EQ(time.dwLowDateTime, 0u);
  EXPECT_EQ(time.dwHighDateTime, 0u);
}

struct ZoneCase {
  const char* zone;
  int64_t utc;
  const char* local;
};

class LocalTime : public testing::TestWithParam<ZoneCase> {};

TEST_P(LocalTime, FollowsTheRulesForTheDateInQuestion) {
  TimeZone zone(GetParam().zone);
  DATE date = 0;
  ASSERT_NE(FileTimeToDate(FileTime(GetParam().utc), &date), 0);
  EXPECT_EQ(Iso(date, true, true), GetParam().local);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, LocalTime,
    testing::Values(ZoneCase{"UTC", 1025517600, "20020701T100000"},
                    ZoneCase{"Europe/Berlin", 1017536399, "20020331T015959"},
                    ZoneCase{"Europe/Berlin", 1017536400, "20020331T030000"},
                    ZoneCase{"Europe/Berlin", 1035680400, "20021027T020000"},
                    ZoneCase{"America/New_York", 1025517600, "20020701T060000"},
                    ZoneCase{"America/New_York", 1009879200, "20020101T050000"},
                    ZoneCase{"Asia/Kolkata", 1025517600, "20020701T153000"},
                    ZoneCase{"Australia/Lord_Howe", 1025517600, "20020701T203000"},
                    ZoneCase{"Australia/Lord_Howe", 1009879200, "20020101T210000"}));

// ---- Writing ISO 8601 ----

TEST(Date, TheNoDateMarkFormatsAsTheEmptyTextWithSuccess) {
  char text[40] = "before";
  EXPECT_EQ(DateToIso8601(kNoDate, text, sizeof text, true, false), 1);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(DateToIso8601(kNoDate, text, sizeof text, false, true), 1);
  EXPECT_STREQ(text, "");
}

TEST(Date, TheNoDateMarkFormatsAsTheEmptyTextWithSuccessInTheMailForm) {
  char text[40] = "before";
  EXPECT_EQ(DateToRfc822(kNoDate, text, sizeof text), 1);
  EXPECT_STREQ(text, "");
}

TEST(Date, WithoutTimeTheLocalDateIsWritten) {
  TimeZone zone("Asia/Kolkata");
  EXPECT_EQ(Iso(36526.1, false, false), "20000101");
  EXPECT_EQ(Iso(36526.1, false, true), "20000101");
}

TEST(Date, WithTimeAndLocalTheLocalTimeIsWrittenWithoutAMark) {
  TimeZone zone("Asia/Kolkata");
  EXPECT_EQ(Iso(36526.25, true, true), "20000101T060000");
}

TEST(Date, WithTimeUtcIsWrittenWithItsMark) {
  TimeZone zone("Asia/Kolkata");
  EXPECT_EQ(Iso(36526.25, true, false), "20000101T003000Z");
}

TEST(Date, EarlyMorningEastOfUtcMovesToThePreviousDay) {
  TimeZone zone("Europe/Berlin");
  EXPECT_EQ(Iso(36526.0, true, false), "19991231T230000Z");
}

TEST(Date, AYearBelow1000IsPaddedWithABlank) {
  EXPECT_EQ(Iso(-657434.0, false, false), " 1000101");
}

struct RoomCase {
  bool with_time;
  bool local;
  const char* text;
};

class IsoRoom : public testing::TestWithParam<RoomCase> {};

TEST_P(IsoRoom, MustHoldTheTextAndItsTerminator) {
  TimeZone zone("UTC");
  const RoomCase& form = GetParam();
  size_t length = std::string(form.text).size();
  char text[40] = "before";
  EXPECT_EQ(DateToIso8601(36526.0, text, length + 1, form.with_time, form.local), 1);
  EXPECT_STREQ(text, form.text);
  EXPECT_EQ(DateToIso8601(36526.0, text, length, form.with_time, form.local), 0);
  EXPECT_STREQ(text, "");
}

INSTANTIATE_TEST_SUITE_P(Forms, IsoRoom,
                         testing::Values(RoomCase{false, false, "20000101"},
                                         RoomCase{true, true, "20000101T000000"},
                                         RoomCase{true, false, "20000101T000000Z"}));

TEST(Date, ADateThatHasNoCalendarTimeIsNotWritten) {
  char text[40] = "before";
  EXPECT_EQ(DateToIso8601(1e9, text, sizeof text, false, false), 0);
  EXPECT_STREQ(text, "");
}

// ---- Reading ISO 8601 ----

struct IsoCase {
  const char* text;
  double date;  // local time in Berlin
};

class IsoText : public testing::TestWithParam<IsoCase> {};

TEST_P(IsoText, IsReadAsTheLocalDate) {
  TimeZone zone("Europe/Berlin");
  DATE date = 0;
  EXPECT_NE(Iso8601ToDate(GetParam().text, &date), 0);
  EXPECT_NEAR(date, GetParam().date, 1e-7);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, IsoText,
    testing::Values(IsoCase{"20000101", 36526.0},          // three fields
                    IsoCase{"20000101T060000", 36526.25},  // local
                    IsoCase{"20000101T060000Z", 36526.0 + 7 / 24.0},
                    IsoCase{"20000701T060000Z", 36708.0 + 8 / 24.0}, IsoCase{"20000101T", 36526.0},
                    IsoCase{"20000101T06", 36526.25},
                    IsoCase{"20000101T0615", 36526.25 + 15 / 1440.0},
                    IsoCase{"2000-01-01", 36526.0}, IsoCase{"2000-01-01T060000", 36526.25},
                    IsoCase{"2000-01-01T060000Z", 36526.0 + 7 / 24.0},
                    IsoCase{"2000-01-01T06:30:59", 36526.25},   // read up to the hour
                    IsoCase{"2000-01-01T06:30:59Z", 36526.25},  // the mark is not reached: local
                    IsoCase{"20000101T240000", 36527.0},        // the next midnight
                    IsoCase{"19991231T240000Z", 36526.0 + 1 / 24.0}, IsoCase{"20000229", 36585.0},
                    IsoCase{"1999123", 36497.0},  // 3 December: a digit suffices
                    IsoCase{" 20000101", 36526.0},
                    IsoCase{"20000101T060000Z and more", 36526.0 + 7 / 24.0}));

TEST(Date, AnIsoDateWithoutTimeReadsAsLocalMidnightAndIsWrittenBackAsTheSameEightDigits) {
  for (const char* name : support::kFiveZones) {
    TimeZone zone(name);
    DATE date = 0;
    EXPECT_NE(Iso8601ToDate("20020704", &date), 0);
    EXPECT_DOUBLE_EQ(date, 37441.0);
    EXPECT_EQ(Iso(date, false, false), "20020704");
  }
}

TEST(Date, AnIsoTextOfExactly8DigitsGives3FieldsAndIsAccepted) {
  TimeZone zone("Europe/Berlin");
  DATE date = 0;
  EXPECT_NE(Iso8601ToDate("20020101", &date), 0);
  EXPECT_DOUBLE_EQ(date, 37257.0);
}

class BadIsoText : public support::TextTest, public testing::WithParamInterface<const char*> {};

TEST_P(BadIsoText, IsToldInTheTraceAndGivesTheNoDateMark) {
  TraceReceiver trace;
  DATE date = 0;
  EXPECT_EQ(Iso8601ToDate(GetParam(), &date), 0);
  EXPECT_EQ(date, kNoDate);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error in date '" + std::string(GetParam()) +
                                         "' - cannot convert from 8601"));
}

INSTANTIATE_TEST_SUITE_P(Texts, BadIsoText,
                         testing::Values("today", "2000", "200001", "20000101t060000",
                                         "20000101 060000", "20000101x", "20000101T060000X",
                                         "20000101T060000z", "2000-01-01 06:30:00"));

class ImpossibleIsoText : public support::TextTest,
                          public testing::WithParamInterface<const char*> {};

TEST_P(ImpossibleIsoText, IsToldInTheTraceAndGivesTheNoDateMark) {
  TraceReceiver trace;
  DATE date = 0;
  EXPECT_EQ(Iso8601ToDate(GetParam(), &date), 0);
  EXPECT_EQ(date, kNoDate);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error in date '" + std::string(GetParam()) +
                                         "' - cannot convert from 8601"));
}

INSTANTIATE_TEST_SUITE_P(Texts, ImpossibleIsoText,
                         testing::Values("20010229", "20001301", "20000001", "20000100", "20000132",
                                         "20000101T250000", "20000101T006000", "20000101T000060",
                                         "20000101T240001", "00000101", "2000-1-1", "-9991231",
                                         "20000101T-10000"));

class UnreadableDate : public support::TextTest {};

TEST_F(UnreadableDate, AMomentWhoseLocalYearIsBeyond9999IsTold) {
  const TimeZone zone("Europe/Berlin");
  TraceReceiver trace;
  DATE date = 0;
  EXPECT_EQ(Iso8601ToDate("99991231T233000Z", &date), 0);
  EXPECT_EQ(date, kNoDate);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error in date '99991231T233000Z'"
                                         " - cannot convert from 8601"));
}

TEST_F(UnreadableDate, AnEmptyTextIsNoDateWithoutAWordInTheTrace) {
  TraceReceiver trace;
  DATE date = 0;
  EXPECT_EQ(Iso8601ToDate("", &date), 0);
  EXPECT_EQ(date, kNoDate);
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

TEST_F(UnreadableDate, AMegabyteOfDigitsIsRefused) {
  DATE date = 0;
  EXPECT_EQ(Iso8601ToDate(std::string(1 << 20, '1').c_str(), &date), 0);
  EXPECT_EQ(date, kNoDate);
}

TEST(Date, AnIsoTextAsAFileTimeTellsTheHoursApartWhenTheClocksArePutBack) {
  TimeZone zone("Europe/Berlin");
  FILETIME time{};
  EXPECT_NE(Iso8601ToFileTime("20021027T003000Z", &time), 0);
  EXPECT_EQ(Unix(time), 1035678600);
  EXPECT_NE(Iso8601ToFileTime("20021027T013000Z", &time), 0);
  EXPECT_EQ(Unix(time), 1035682200);
  EXPECT_NE(Iso8601ToFileTime("20020701T120000", &time), 0);
  EXPECT_EQ(Unix(time), 1025517600);
}

TEST_F(UnreadableDate, HasNoFileTime) {
  TraceReceiver trace;
  FILETIME time{1, 1};
  EXPECT_EQ(Iso8601ToFileTime("today", &time), 0);
  EXPECT_EQ(time.dwLowDateTime, 0u);
  EXPECT_EQ(time.dwHighDateTime, 0u);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Error in date 'today' - cannot convert from 8601"));
}

// ---- The legacy form ----

class LegacyDate : public support::TextTest {};

TEST_F(LegacyDate, IsLocalTime) {
  TimeZone zone("Europe/Berlin");
  FILETIME time{};
  EXPECT_NE(LegacyDateToFileTime("Jan 2 10:11:12 2002", &time), 0);
  EXPECT_EQ(Unix(time), 1009962672);  // 09:11:12 UTC
}

TEST_F(LegacyDate, WithALeadingDayNameAndCommaIsReadTheSameAsWithoutIt) {
  TimeZone zone("America/New_York");
  FILETIME with{};
  FILETIME without{};
  EXPECT_NE(LegacyDateToFileTime("Wed, Jul 3 10:11:12 2002", &with), 0);
  EXPECT_NE(LegacyDateToFileTime("Jul 3 10:11:12 2002", &without), 0);
  EXPECT_EQ(Unix(with), 1025705472);  // 14:11:12 UTC
  EXPECT_EQ(Unix(without), 1025705472);
}

TEST_F(LegacyDate, SkipsFiveCharactersWhateverTheFifthIs) {
  TimeZone zone("UTC");
  FILETIME time{};
  EXPECT_NE(LegacyDateToFileTime("Wed,-Jan 2 09:11:12 2002", &time), 0);
  EXPECT_EQ(Unix(time), 1009962672);
}

TEST_F(LegacyDate, KnowsEveryMonth) {
  TimeZone zone("UTC");
  const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const int kDaysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  for (int month = 0; month < 12; ++month) {
    FILETIME time{};
    EXPECT_NE(LegacyDateToFileTime((kMonths[month] + std::string(" 1 0:0:0 2002")).c_str(), &time),
              0);
    EXPECT_EQ(Unix(time), 1009843200 + kDaysBefore[month] * 86400) << kMonths[month];
  }
}

TEST_F(LegacyDate, AMonthNameInCapitalsIsRejected) {
  TraceReceiver trace;
  FILETIME time{1, 1};
  EXPECT_EQ(LegacyDateToFileTime("JAN 2 10:11:12 2002", &time), 0);
  EXPECT_EQ(time.dwLowDateTime, 0u);
  EXPECT_EQ(time.dwHighDateTime, 0u);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error in date 'JAN 2 10:11:12 2002' - Invalid "
                                         "Month part 'JAN' in legacy Date"));
}

class BadLegacyDate : public support::TextTest, public testing::WithParamInterface<const char*> {};

TEST_P(BadLegacyDate, IsToldInTheTraceAndGivesZero) {
  TraceReceiver trace;
  FILETIME time{1, 1};
  EXPECT_EQ(LegacyDateToFileTime(GetParam(), &time), 0);
  EXPECT_EQ(time.dwLowDateTime, 0u);
  EXPECT_EQ(time.dwHighDateTime, 0u);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error in date '" + std::string(GetParam()) +
                                         "' - cannot convert legacy Date"));
}

INSTANTIATE_TEST_SUITE_P(Texts, BadLegacyDate,
                         testing::Values("", "Jan 2 10:11:12", "January 2 10:11:12 2002",
                                         "Jan 2 10.11.12 2002", "Wed,x"));

TEST_F(LegacyDate, AnImpossibleDateIsToldAndGivesZero) {
  TraceReceiver trace;
  FILETIME time{1, 1};
  EXPECT_EQ(LegacyDateToFileTime("Feb 30 10:11:12 2002", &time), 0);
  EXPECT_EQ(time.dwLowDateTime, 0u);
  EXPECT_EQ(time.dwHighDateTime, 0u);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error in date 'Feb 30 10:11:12 2002' - cannot "
                                         "convert legacy Date"));
}

// ---- RFC 822 ----

TEST(Date, TheMailFormIsInUniversalTime) {
  TimeZone zone("Europe/Berlin");
  EXPECT_EQ(Rfc822(37258.0 + (11 * 3600 + 11 * 60 + 12) / 86400.0), "Wed, 02 Jan 2002 10:11:12 UT");
}

TEST(Date, TheMailFormKnowsEveryDayAndMonth) {
  TimeZone zone("UTC");
  const char* const kTexts[] = {"Sat, 01 Jan 2000 00:00:00 UT", "Tue, 01 Feb 2000 00:00:00 UT",
                                "Wed, 01 Mar 2000 00:00:00 UT", "Sat, 01 Apr 2000 00:00:00 UT",
                                "Mon, 01 May 2000 00:00:00 UT", "Thu, 01 Jun 2000 00:00:00 UT",
                                "Sat, 01 Jul 2000 00:00:00 UT", "Tue, 01 Aug 2000 00:00:00 UT",
                                "Fri, 01 Sep 2000 00:00:00 UT", "Sun, 01 Oct 2000 00:00:00 UT",
                                "Wed, 01 Nov 2000 00:00:00 UT", "Fri, 01 Dec 2000 00:00:00 UT"};
  const int kDaysBefore[] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335};
  for (int month = 0; month < 12; ++month) {
    EXPECT_EQ(Rfc822(36526.0 + kDaysBefore[month]), kTexts[month]);
  }
}

TEST(Date, TheMailFormsRoomMustHoldItsTextAndTerminator) {
  TimeZone zone("UTC");
  char text[40] = "before";
  EXPECT_EQ(DateToRfc822(36526.0, text, 29), 1);
  EXPECT_STREQ(text, "Sat, 01 Jan 2000 00:00:00 UT");
  EXPECT_EQ(DateToRfc822(36526.0, text, 28), 0);
  EXPECT_STREQ(text, "");
}

class MailDate : public support::TextTest {};

TEST_F(MailDate, IsReadInTheZoneThatItNames) {
  TimeZone zone("Asia/Kolkata");
  FILETIME time{};
  EXPECT_NE(Rfc822ToFileTime("Wed, 02 Jan 2002 05:11:12 -0500", &time), 0);
  EXPECT_EQ(Unix(time), 1009966272);  // 10:11:12 UTC
  EXPECT_NE(Rfc822ToFileTime("Wed, 02 Jan 2002 02:11:12 PST", &time), 0);
  EXPECT_EQ(Unix(time), 1009966272);
}

TEST_F(MailDate, WithoutAZoneIsLocalTime) {
  TimeZone zone("Europe/Berlin");
  FILETIME time{};
  EXPECT_NE(Rfc822ToFileTime("2 Jan 2002 11:11", &time), 0);
  EXPECT_EQ(Unix(time), 1009966260);  // 10:11:00 UTC
}

TEST_F(MailDate, KnowsEveryMonthInAnyCase) {
  TimeZone zone("UTC");
  const char* const kMonths[] = {"jan", "FEB", "Mar", "aPR", "maY", "JUN",
                                 "Jul", "aug", "SEP", "Oct", "nov", "DEC"};
  const int kDaysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  for (int month = 0; month < 12; ++month) {
    const std::string text = "1 " + std::string(kMonths[month]) + " 2002 00:00:00 GMT";
    FILETIME time{};
    EXPECT_NE(Rfc822ToFileTime(text.c_str(), &time), 0);
    EXPECT_EQ(Unix(time), 1009843200 + kDaysBefore[month] * 86400) << text;
  }
}

TEST_F(MailDate, HasYearsOfTwoAndThreeDigitsToo) {
  struct Year {
    const char* text;
    const char* full;
  };
  for (const Year& year : {Year{"00", "2000"}, Year{"49", "2049"}, Year{"50", "1950"},
                           Year{"99", "1999"}, Year{"100", "2000"}, Year{"105", "2005"}}) {
    FILETIME time{};
    FILETIME full{};
    EXPECT_NE(
        Rfc822ToFileTime(("2 Mar " + std::string(year.text) + " 10:11:12 GMT").c_str(), &time), 0);
    EXPECT_NE(
        Rfc822ToFileTime(("2 Mar " + std::string(year.full) + " 10:11:12 GMT").c_str(), &full), 0);
    EXPECT_EQ(Unix(time), Unix(full)) << year.text;
  }
}

TEST_F(MailDate, WhatIsNoneGivesZeroAndIsNotTraced) {
  TraceReceiver trace;
  for (const char* text : {"", "tomorrow", "Jan 2 10:11:12 2002", "2 Foo 2002 10:11:12 GMT",
                           "Fri, 30 Feb 2001 10:11:12 GMT", "1 Jan 1601 00:30:00 +0100"}) {
    FILETIME time{1, 1};
    EXPECT_EQ(Rfc822ToFileTime(text, &time), 0) << text;
    EXPECT_EQ(time.dwLowDateTime, 0u) << text;
    EXPECT_EQ(time.dwHighDateTime, 0u) << text;
  }
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

// ---- There and back ----

class DateRoundTrip : public testing::TestWithParam<const char*> {};

TEST_P(DateRoundTrip, AnyMomentComesBackFromItsText) {
  TimeZone zone(GetParam());
  EXPECT_TRUE(rc::check([] {
    int64_t moment = *rc::gen::inRange<int64_t>(-2208988800, 4102444800);  // 1900 to 2100
    DATE date = 0;
    RC_ASSERT(FileTimeToDate(FileTime(moment), &date) != 0);
    for (bool local : {false, true}) {
      DATE back = 0;
      RC_ASSERT(Iso8601ToDate(Iso(date, true, local).c_str(), &back) != 0);
      RC_ASSERT(std::abs(back - date) < 1e-7);
    }
    FILETIME time{};
    RC_ASSERT(Rfc822ToFileTime(Rfc822(date).c_str(), &time) != 0);
    DATE mailed = 0;
    RC_ASSERT(FileTimeToDate(time, &mailed) != 0);
    RC_ASSERT(std::abs(mailed - date) < 1e-7);
    std::string day = Iso(date, false, true);
    DATE midnight = 0;
    RC_ASSERT(Iso8601ToDate(day.c_str(), &midnight) != 0);
    RC_ASSERT(Iso(midnight, false, true) == day);
  }));
}

INSTANTIATE_TEST_SUITE_P(Zones, DateRoundTrip, testing::ValuesIn(support::kFiveZones));

// ---- The present time ----

TEST(Date, ATimeStampIsThePresentTimeInUtc) {
  TimeZone zone("Asia/Kolkata");
  time_t before = std::time(nullptr);
  char text[kTimeStampRoom] = "";
  CurrentTimeStamp(text);
  time_t after = std::time(nullptr);
  ASSERT_EQ(std::string(text).size(), 16u);
  EXPECT_EQ(text[15], 'Z');
  FILETIME time{};
  ASSERT_NE(Iso8601ToFileTime(text, &time), 0);
  EXPECT_GE(Unix(time), before - 1);
  EXPECT_LE(Unix(time), after);
}

TEST(Date, ThePresentTimeIsWrittenAsTheTimeOfTheClockInEveryZone) {
  for (const char* name : support::kFiveZones) {
    TimeZone zone(name);
    time_t before = std::time(nullptr);
    DATE now = CurrentTime();
    time_t after = std::time(nullptr);
    FILETIME time{};
    ASSERT_NE(DateToFileTime(now, &time), 0);
    EXPECT_GE(Unix(time), before - 1);
    EXPECT_LE(Unix(time), after + 1);
  }
}

}  // namespace
}  // namespace osif_date_test
