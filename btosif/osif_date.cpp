// Between the forms stands one number: whole seconds since 30 December 1899, the epoch of automation dates,
// in the zone that the form is in; a double that counts days is only made of it at the end. The calendar is
// worked out here rather than by the platform, whose file times begin in 1601: an automation date may be as
// early as the year 100.
//
// Local times and UTC become each other through the platform's file times alone, so that a moment gets the
// same offset on its way into a store and out of it.
//
// A text is read in two steps: its fields as they stand, then the time that they name, if there is one. A
// peer may have written any number, so no field of more than four digits gets into a calendar time.
#include "btosif/osif_date.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "btosif/osif_util/ascii.h"
#include "config/trace.h"
#include "platform/api/system_time.h"

namespace {

constexpr int64_t kSecondsPerDay = int64_t{24} * 60 * 60;
constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kTicksPerMinute = 60 * kTicksPerSecond;
constexpr int64_t kEpochDay = 693593;     // 30 December 1899, counted from 1 January of the year 1
constexpr int64_t kFileTimeDay = 584388;  // 1 January 1601
constexpr int kFirstYear = 100;
constexpr int kLastYear = 9999;
constexpr int kDaysPer400Years = 146097;

constexpr const char* kNoIsoDate = "OSIF:  Error in date '%s' - cannot convert from 8601";

// Those of RFC 822 and of the legacy form; the C library's would follow the locale.
constexpr std::array<const char*, 7> kDayNames = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> kMonthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// ---- The calendar -----------------------------------------------------------------------------------

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

// The year and month are estimated and then corrected by the day number itself, so that only one function
// knows the calendar's rules.
CivilDate CivilFromDayNumber(int64_t number) {
  int year = static_cast<int>(number * 400 / kDaysPer400Years) + 1;
  while (DayNumber(year, 1, 1) > number) --year;
  while (DayNumber(year + 1, 1, 1) <= number) ++year;
  int month = 12;
  while (DayNumber(year, month, 1) > number) --month;
  return {year, month, static_cast<int>(number - DayNumber(year, month, 1)) + 1};
}

// ---- Seconds ----------------------------------------------------------------------------------------

// Seconds since 30 December 1899, or false for a time that does not exist. 24:00:00 is taken, as some
// senders end a day with it, but not at the end of the last day, whose next midnight is out of range.
bool SecondsOf(const SYSTEMTIME& time, int64_t* seconds) {
  if (time.wYear < kFirstYear || time.wYear > kLastYear) return false;
  if (time.wMonth < 1 || time.wMonth > 12) return false;
  if (time.wDay < 1 || time.wDay > DaysInMonth(time.wYear, time.wMonth)) return false;
  const bool is_end_of_day = time.wHour == 24 && time.wMinute == 0 && time.wSecond == 0;
  if (is_end_of_day && time.wYear == kLastYear && time.wMonth == 12 && time.wDay == 31) {
    return false;
  }
  if (!is_end_of_day && (time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59)) return false;
  *seconds = (DayNumber(time.wYear, time.wMonth, time.wDay) - kEpochDay) * kSecondsPerDay +
             int64_t{time.wHour} * 3600 + int64_t{time.wMinute} * 60 + time.wSecond;
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

// The range is checked before anything is converted: a number that is none, or too large, has no integer.
bool SecondsOfDate(DATE date, int64_t* seconds) {
  if (!(date > -1e6 && date < 1e7)) return false;
  const double days = std::trunc(date);
  const double rest = std::round(std::abs(date - days) * static_cast<double>(kSecondsPerDay));
  *seconds = static_cast<int64_t>(days) * kSecondsPerDay + static_cast<int64_t>(rest);
  return true;
}

uint64_t TicksOf(const FILETIME& time) {
  return static_cast<uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

FILETIME FileTimeOfTicks(uint64_t ticks) {
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// File times as seconds since 30 December 1899 and back; both in the same zone.
int64_t SecondsOfFileTime(const FILETIME& time) {
  return static_cast<int64_t>(TicksOf(time) / kTicksPerSecond) -
         (kEpochDay - kFileTimeDay) * kSecondsPerDay;
}

bool FileTimeOfSeconds(int64_t seconds, FILETIME* time) {
  const int64_t since_1601 = seconds + (kEpochDay - kFileTimeDay) * kSecondsPerDay;
  if (since_1601 < 0) return false;
  *time = FileTimeOfTicks(static_cast<uint64_t>(since_1601) * kTicksPerSecond);
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

// Hands a formatted text out when it fits; half a date would be another date.
int CopyOut(std::string_view formatted, char* text, size_t room) {
  if (formatted.size() >= room) return 0;
  formatted.copy(text, formatted.size());
  text[formatted.size()] = '\0';
  return 1;
}

// ---- Fields of a text -------------------------------------------------------------------------------

// A date and time as its text has it: whether there is such a time is not known yet.
struct DateFields {
  int year = 0;
  int month = 0;  // 0 for a name that is none
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

bool IsFieldValue(int number) { return number >= 0 && number <= 9999; }

bool MakeSystemTime(const DateFields& fields, SYSTEMTIME* time) {
  if (!IsFieldValue(fields.year) || !IsFieldValue(fields.month) || !IsFieldValue(fields.day)) {
    return false;
  }
  if (!IsFieldValue(fields.hour) || !IsFieldValue(fields.minute) || !IsFieldValue(fields.second)) {
    return false;
  }
  *time = {};
  time->wYear = static_cast<WORD>(fields.year);
  time->wMonth = static_cast<WORD>(fields.month);
  time->wDay = static_cast<WORD>(fields.day);
  time->wHour = static_cast<WORD>(fields.hour);
  time->wMinute = static_cast<WORD>(fields.minute);
  time->wSecond = static_cast<WORD>(fields.second);
  return true;
}

// The number of the month whose name `is_name` accepts, 0 when it accepts none.
template <typename IsName>
int MonthNumber(IsName is_name) {
  for (size_t i = 0; i < kMonthNames.size(); ++i) {
    if (is_name(kMonthNames[i])) return static_cast<int>(i) + 1;
  }
  return 0;
}

// ---- ISO 8601 ---------------------------------------------------------------------------------------

// The extended form has no colons in its pattern: of an extended time only the hour is read.
bool ReadIso8601(const char* text, DateFields* fields, bool* is_utc) {
  const bool is_extended = strnlen(text, 10) == 10 && text[4] == '-';
  const char* pattern = is_extended ? "%4d-%2d-%2d%c%2d%2d%2d%c" : "%4d%2d%2d%c%2d%2d%2d%c";
  char separator = 'T';
  char zone = '\0';
  const int count = std::sscanf(text, pattern, &fields->year, &fields->month, &fields->day,
                                &separator, &fields->hour, &fields->minute, &fields->second, &zone);
  if (count < 3) return false;
  if (count > 3 && separator != 'T') return false;
  *is_utc = zone == 'Z';
  return count < 8 || *is_utc;
}

bool Iso8601ToUtc(const char* text, FILETIME* utc) {
  DateFields fields;
  bool is_utc = false;
  SYSTEMTIME time;
  int64_t seconds = 0;
  if (!ReadIso8601(text, &fields, &is_utc)) return false;
  if (!MakeSystemTime(fields, &time) || !SecondsOf(time, &seconds)) return false;
  return is_utc ? FileTimeOfSeconds(seconds, utc) : LocalSecondsToUtc(seconds, utc);
}

// ---- RFC 822 ----------------------------------------------------------------------------------------

struct Zone {
  const char* name;
  int minutes;  // east of UTC
};

// The names that still mean something; those of one letter but Z were never used as meant.
constexpr Zone kZones[] = {{"UT", 0},     {"UTC", 0},    {"GMT", 0},    {"Z", 0},
                           {"EST", -300}, {"EDT", -240}, {"CST", -360}, {"CDT", -300},
                           {"MST", -420}, {"MDT", -360}, {"PST", -480}, {"PDT", -420}};

using ZoneName = char[6];

// The day's name is never looked at: it says nothing that the date does not.
const char* AfterDayName(const char* text) {
  const char* comma = std::strchr(text, ',');
  return comma == nullptr ? text : comma + 1;
}

// Years of two digits are those that RFC 2822 takes them for.
int FullYear(int year) {
  if (year < 50) return year + 2000;
  return year < 1000 ? year + 1900 : year;
}

// The seconds may be missing; without them the zone stands where they would, so it is read once more.
bool ReadRfc822(const char* text, DateFields* fields, ZoneName& zone) {
  char month[4] = "";
  const int count =
      std::sscanf(text, "%2d %3s %4d %2d:%2d:%2d %5s", &fields->day, month, &fields->year,
                  &fields->hour, &fields->minute, &fields->second, zone);
  if (count < 5) return false;
  fields->year = FullYear(fields->year);
  fields->month = MonthNumber([&](const char* name) { return EqualsIgnoringCase(month, name); });
  if (count > 5) return true;
  fields->second = 0;
  if (std::sscanf(text, "%*2d %*3s %*4d %*2d:%*2d %5s", zone) != 1) zone[0] = '\0';
  return true;
}

// Minutes east of UTC; nothing for a text without a zone. A zone that nobody knows counts as UTC.
std::optional<int> ZoneMinutes(std::string_view zone) {
  if (zone.empty()) return std::nullopt;
  if (zone.front() == '+' || zone.front() == '-') {
    int hours = 0;
    int minutes = 0;
    if (std::sscanf(zone.data() + 1, "%2d%2d", &hours, &minutes) != 2) return 0;
    return (zone.front() == '-' ? -1 : 1) * (hours * 60 + minutes);
  }
  for (const Zone& row : kZones) {
    if (EqualsIgnoringCase(zone, row.name)) return row.minutes;
  }
  return 0;
}

bool MoveByMinutes(int minutes, FILETIME* time) {
  const int64_t ticks = static_cast<int64_t>(TicksOf(*time)) + minutes * kTicksPerMinute;
  if (ticks < 0) return false;
  *time = FileTimeOfTicks(static_cast<uint64_t>(ticks));
  return true;
}

// The calendar is the platform's here: a message has no date before its file times begin, and no 24:00.
bool Rfc822ToUtc(const char* text, FILETIME* utc) {
  DateFields fields;
  ZoneName zone = "";
  SYSTEMTIME calendar;
  FILETIME time = {};
  if (!ReadRfc822(AfterDayName(text), &fields, zone)) return false;
  if (!MakeSystemTime(fields, &calendar) || !SystemTimeToFileTime(&calendar, &time)) return false;
  const std::optional<int> minutes = ZoneMinutes(zone);
  if (!minutes) return LocalFileTimeToFileTime(&time, utc);
  if (!MoveByMinutes(-*minutes, &time)) return false;
  *utc = time;
  return true;
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

// By way of a file time, so that a time in UTC becomes the local one of that moment.
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
  if (Iso8601ToUtc(text, time)) return 1;
  *time = {};
  OSIF_Trace(0, kNoIsoDate, text);
  return 0;
}

int LegacyDateToFileTime(const char* text, FILETIME* time) {
  *time = {};
  // The day's name, its comma and whatever stands after that.
  const char* rest = strnlen(text, 6) > 5 && text[3] == ',' ? text + 5 : text;
  char month[4] = {};
  DateFields fields;
  if (std::sscanf(rest, "%3s %9d %9d:%9d:%9d %9d", month, &fields.day, &fields.hour, &fields.minute,
                  &fields.second, &fields.year) != 6) {
    OSIF_Trace(0, "OSIF:  Error in date '%s' - cannot convert legacy Date", text);
    return 0;
  }
  // In this form alone the month's name has to be spelled exactly as it is written.
  fields.month = MonthNumber([&](std::string_view name) { return name == month; });
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

int Rfc822ToFileTime(const char* text, FILETIME* time) {
  *time = {};
  if (Rfc822ToUtc(text, time)) return 1;
  *time = {};
  return 0;
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
