#include "btosif/osif_date.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "config/trace.h"
#include "platform/api/system_time.h"

namespace {

constexpr int64_t kSecondsPerDay = 24 * 60 * 60;
constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kEpochDay = 693593;     // 30 December 1899, counted from 1 January of the year 1
constexpr int64_t kFileTimeDay = 584388;  // 1 January 1601
constexpr int kFirstYear = 100;
constexpr int kLastYear = 9999;
constexpr int kDaysPer400Years = 146097;

constexpr const char* kNoIsoDate = "OSIF:  Error in date '%s' - cannot convert from 8601";

constexpr std::array<const char*, 7> kDayNames = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> kMonthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool IsLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int DaysInMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Days from 1 January of the year 1 in the Gregorian calendar.
int64_t DayNumber(int year, int month, int day) {
  // The year is taken to begin in March, so that the leap day is its last.
  const int64_t y = month <= 2 ? year - 1 : year;
  const int64_t m = (month + 9) % 12;
  return y * 365 + y / 4 - y / 100 + y / 400 + (m * 306 + 5) / 10 + day - 307;
}

struct CivilDate {
  int year;
  int month;
  int day;
};

CivilDate CivilFromDayNumber(int64_t number) {
  int year = static_cast<int>(number * 400 / kDaysPer400Years) + 1;
  while (DayNumber(year, 1, 1) > number) --year;
  while (DayNumber(year + 1, 1, 1) <= number) ++year;
  int month = 12;
  while (DayNumber(year, month, 1) > number) --month;
  return {year, month, static_cast<int>(number - DayNumber(year, month, 1)) + 1};
}

// Seconds since 30 December 1899, or false for a time that does not exist.
bool SecondsOf(const SYSTEMTIME& time, int64_t* seconds) {
  if (time.wYear < kFirstYear || time.wYear > kLastYear) return false;
  if (time.wMonth < 1 || time.wMonth > 12) return false;
  if (time.wDay < 1 || time.wDay > DaysInMonth(time.wYear, time.wMonth)) return false;
  const bool is_end_of_day = time.wHour == 24 && time.wMinute == 0 && time.wSecond == 0;
  if (is_end_of_day && time.wYear == kLastYear && time.wMonth == 12 && time.wDay == 31)
    return false;
  if (!is_end_of_day && (time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59)) return false;
  *seconds = (DayNumber(time.wYear, time.wMonth, time.wDay) - kEpochDay) * kSecondsPerDay +
             time.wHour * 3600 + time.wMinute * 60 + time.wSecond;
  return true;
}

bool TimeOfSeconds(int64_t seconds, SYSTEMTIME* time) {
  int64_t days = seconds / kSecondsPerDay;
  int64_t rest = seconds % kSecondsPerDay;
  if (rest < 0) {
    rest += kSecondsPerDay;
    --days;
  }
  const int64_t number = days + kEpochDay;
  if (number < DayNumber(kFirstYear, 1, 1) || number > DayNumber(kLastYear, 12, 31)) return false;
  const CivilDate date = CivilFromDayNumber(number);
  time->wYear = static_cast<WORD>(date.year);
  time->wMonth = static_cast<WORD>(date.month);
  time->wDay = static_cast<WORD>(date.day);
  time->wDayOfWeek = static_cast<WORD>((number + 1) % 7);
  time->wHour = static_cast<WORD>(rest / 3600);
  time->wMinute = static_cast<WORD>(rest / 60 % 60);
  time->wSecond = static_cast<WORD>(rest % 60);
  time->wMilliseconds = 0;
  return true;
}

// An automation date before its epoch counts days downward, but its time of day upward.
DATE DateOfSeconds(int64_t seconds) {
  int64_t days = seconds / kSecondsPerDay;
  int64_t rest = seconds % kSecondsPerDay;
  if (rest < 0) {
    rest += kSecondsPerDay;
    --days;
  }
  const double fraction = static_cast<double>(rest) / static_cast<double>(kSecondsPerDay);
  return days < 0 ? static_cast<double>(days) - fraction : static_cast<double>(days) + fraction;
}

bool SecondsOfDate(DATE date, int64_t* seconds) {
  if (!(date > -1e6 && date < 1e7)) return false;
  const double days = std::trunc(date);
  const double rest = std::round(std::abs(date - days) * static_cast<double>(kSecondsPerDay));
  *seconds = static_cast<int64_t>(days) * kSecondsPerDay + static_cast<int64_t>(rest);
  return true;
}

// File times as seconds since 30 December 1899 and back; both in the same zone.
int64_t SecondsOfFileTime(const FILETIME& time) {
  const uint64_t ticks = (static_cast<uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
  return static_cast<int64_t>(ticks / kTicksPerSecond) -
         (kEpochDay - kFileTimeDay) * kSecondsPerDay;
}

bool FileTimeOfSeconds(int64_t seconds, FILETIME* time) {
  const int64_t since_1601 = seconds + (kEpochDay - kFileTimeDay) * kSecondsPerDay;
  if (since_1601 < 0) return false;
  const uint64_t ticks = static_cast<uint64_t>(since_1601) * kTicksPerSecond;
  time->dwLowDateTime = static_cast<DWORD>(ticks);
  time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  return true;
}

bool LocalSecondsToUtc(int64_t local_seconds, FILETIME* utc) {
  FILETIME local = {};
  return FileTimeOfSeconds(local_seconds, &local) && LocalFileTimeToFileTime(&local, utc);
}

// The UTC calendar time of a local date.
bool DateToUtcTime(DATE date, SYSTEMTIME* time) {
  FILETIME utc = {};
  return DateToFileTime(date, &utc) && TimeOfSeconds(SecondsOfFileTime(utc), time);
}

int MonthNumber(std::string_view name) {
  for (size_t i = 0; i < kMonthNames.size(); ++i) {
    if (name == kMonthNames[i]) return static_cast<int>(i) + 1;
  }
  return 0;
}

// Hands a formatted text out when it fits.
int CopyOut(std::string_view formatted, char* text, size_t room) {
  if (formatted.size() >= room) return 0;
  formatted.copy(text, formatted.size());
  text[formatted.size()] = '\0';
  return 1;
}

struct IsoFields {
  int year = 0;
  int month = 0;
  int day = 0;
  char separator = 'T';
  int hour = 0;
  int minute = 0;
  int second = 0;
  char zone = '\0';
};

// The extended form has no colons in its pattern: of an extended time only the hour is read.
bool ReadIsoFields(const char* text, IsoFields* fields) {
  const bool is_extended = strnlen(text, 10) == 10 && text[4] == '-';
  const char* pattern = is_extended ? "%4d-%2d-%2d%c%2d%2d%2d%c" : "%4d%2d%2d%c%2d%2d%2d%c";
  const int count =
      std::sscanf(text, pattern, &fields->year, &fields->month, &fields->day, &fields->separator,
                  &fields->hour, &fields->minute, &fields->second, &fields->zone);
  if (count < 3) return false;
  if (count > 3 && fields->separator != 'T') return false;
  return count < 8 || fields->zone == 'Z';
}

bool IsWord(int number) { return number >= 0 && number <= 9999; }

bool MakeSystemTime(const IsoFields& fields, SYSTEMTIME* time) {
  if (!IsWord(fields.year) || !IsWord(fields.month) || !IsWord(fields.day)) return false;
  if (!IsWord(fields.hour) || !IsWord(fields.minute) || !IsWord(fields.second)) return false;
  *time = {};
  time->wYear = static_cast<WORD>(fields.year);
  time->wMonth = static_cast<WORD>(fields.month);
  time->wDay = static_cast<WORD>(fields.day);
  time->wHour = static_cast<WORD>(fields.hour);
  time->wMinute = static_cast<WORD>(fields.minute);
  time->wSecond = static_cast<WORD>(fields.second);
  return true;
}

bool IsoFieldsToFileTime(const IsoFields& fields, FILETIME* utc) {
  SYSTEMTIME time;
  int64_t seconds = 0;
  if (!MakeSystemTime(fields, &time) || !SecondsOf(time, &seconds)) return false;
  const bool is_utc = fields.zone == 'Z';
  return is_utc ? FileTimeOfSeconds(seconds, utc) : LocalSecondsToUtc(seconds, utc);
}

}  // namespace

int SystemTimeToDate(const SYSTEMTIME& time, DATE* date) {
  int64_t seconds = 0;
  if (!SecondsOf(time, &seconds)) return 0;
  *date = DateOfSeconds(seconds);
  return 1;
}

int DateToSystemTime(DATE date, SYSTEMTIME* time) {
  int64_t seconds = 0;
  return SecondsOfDate(date, &seconds) && TimeOfSeconds(seconds, time) ? 1 : 0;
}

int FileTimeToDate(const FILETIME& time, DATE* date) {
  *date = kNoDate;
  FILETIME local = {};
  SYSTEMTIME calendar = {};
  if (!FileTimeToLocalFileTime(&time, &local)) return 0;
  const int64_t seconds = SecondsOfFileTime(local);
  if (!TimeOfSeconds(seconds, &calendar)) return 0;
  *date = DateOfSeconds(seconds);
  return 1;
}

int DateToFileTime(DATE date, FILETIME* time) {
  *time = {};
  int64_t seconds = 0;
  FILETIME utc = {};
  if (!SecondsOfDate(date, &seconds) || !LocalSecondsToUtc(seconds, &utc)) return 0;
  *time = utc;
  return 1;
}

int DateToIso8601(DATE date, char* text, size_t room, bool with_time, bool local) {
  if (room > 0) text[0] = '\0';
  if (date == kNoDate) return 1;
  SYSTEMTIME time = {};
  const bool is_utc = with_time && !local;
  if (!(is_utc ? DateToUtcTime(date, &time) : DateToSystemTime(date, &time) != 0)) return 0;
  char formatted[64];
  int length =
      std::snprintf(formatted, sizeof formatted, "%4d%02d%02d", time.wYear, time.wMonth, time.wDay);
  if (with_time) {
    length += std::snprintf(formatted + length, sizeof formatted - static_cast<size_t>(length),
                            is_utc ? "T%02d%02d%02dZ" : "T%02d%02d%02d", time.wHour, time.wMinute,
                            time.wSecond);
  }
  return CopyOut({formatted, static_cast<size_t>(length)}, text, room);
}

int Iso8601ToDate(const char* text, DATE* date) {
  *date = kNoDate;
  FILETIME time = {};
  if (!Iso8601ToFileTime(text, &time)) return 0;
  if (FileTimeToDate(time, date)) return 1;
  OSIF_Trace(0, kNoIsoDate, text);
  return 0;
}

int Iso8601ToFileTime(const char* text, FILETIME* time) {
  *time = {};
  if (text == nullptr || text[0] == '\0') return 0;
  IsoFields fields;
  if (ReadIsoFields(text, &fields) && IsoFieldsToFileTime(fields, time)) return 1;
  *time = {};
  OSIF_Trace(0, kNoIsoDate, text);
  return 0;
}

int LegacyDateToFileTime(const char* text, FILETIME* time) {
  *time = {};
  const char* rest = strnlen(text, 6) > 5 && text[3] == ',' ? text + 5 : text;
  char month[4] = {};
  IsoFields fields;
  if (std::sscanf(rest, "%3s %9d %9d:%9d:%9d %9d", month, &fields.day, &fields.hour, &fields.minute,
                  &fields.second, &fields.year) != 6) {
    OSIF_Trace(0, "OSIF:  Error in date '%s' - cannot convert legacy Date", text);
    return 0;
  }
  fields.month = MonthNumber(month);
  if (fields.month == 0) {
    OSIF_Trace(0, "OSIF:  Error in date '%s' - Invalid Month part '%s' in legacy Date", text,
               month);
    return 0;
  }
  SYSTEMTIME local;
  int64_t seconds = 0;
  if (MakeSystemTime(fields, &local) && SecondsOf(local, &seconds) &&
      LocalSecondsToUtc(seconds, time)) {
    return 1;
  }
  *time = {};
  OSIF_Trace(0, "OSIF:  Error in date '%s' - cannot convert legacy Date", text);
  return 0;
}

int DateToRfc822(DATE date, char* text, size_t room) {
  if (room > 0) text[0] = '\0';
  if (date == kNoDate) return 1;
  SYSTEMTIME time = {};
  if (!DateToUtcTime(date, &time)) return 0;
  char formatted[64];
  const int length = std::snprintf(
      formatted, sizeof formatted, "%s, %02d %s %4d %02d:%02d:%02d UT", kDayNames[time.wDayOfWeek],
      time.wDay, kMonthNames[time.wMonth - 1u], time.wYear, time.wHour, time.wMinute, time.wSecond);
  return CopyOut({formatted, static_cast<size_t>(length)}, text, room);
}

void CurrentTimeStamp(char (&text)[kTimeStampRoom]) {
  SYSTEMTIME now = {};
  GetSystemTime(&now);
  char formatted[64];
  std::snprintf(formatted, sizeof formatted, "%4d%02d%02dT%02d%02d%02dZ", now.wYear, now.wMonth,
                now.wDay, now.wHour, now.wMinute, now.wSecond);
  CopyOut(formatted, text, sizeof text);
}

DATE CurrentTime() {
  FILETIME now = {};
  GetSystemTimeAsFileTime(&now);
  DATE date = kNoDate;
  FileTimeToDate(now, &date);
  return date;
}
