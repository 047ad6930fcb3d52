// All arithmetic is on 64-bit seconds; the C library is asked for one thing only, the local calendar time of
// an instant.
//
// That gives how far local time is ahead of UTC at an instant, by the rules of its own date and not of
// today's. The way back, from a local time, has no such question to ask, since the instant is what is looked
// for: the offsets of the day before and of the day after are tried, and whichever leads back to the local
// time is right. When the clocks are set forward neither does, when they are set back both do; the former
// offset is taken then, so that the same local time always gives the same instant.

#include "platform/api/system_time.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string_view>

namespace {

using std::chrono::days;
using std::chrono::sys_days;

constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kTicksPerMillisecond = 10'000;
constexpr int64_t kSecondsPerDay = 86'400;
constexpr sys_days kEpoch{std::chrono::year{1601} / 1 / 1};
constexpr int64_t kUnixEpoch = (sys_days{} - kEpoch).count() * kSecondsPerDay;  // 1970, from 1601
constexpr uint64_t kLastTick = 0x7FFFFFFFFFFFFFFFu;

int RefuseWith(DWORD error) {
  SetLastError(error);
  return 0;
}

BOOL Refuse() { return RefuseWith(static_cast<DWORD>(ERROR_INVALID_PARAMETER)); }

std::chrono::year_month_day DateOf(const SYSTEMTIME& calendar) {
  return {std::chrono::year{calendar.wYear}, std::chrono::month{calendar.wMonth},
          std::chrono::day{calendar.wDay}};
}

bool IsCalendarDate(const SYSTEMTIME& calendar) {
  return calendar.wYear <= 30827 && DateOf(calendar).ok();
}

bool IsTimeOfDay(const SYSTEMTIME& calendar) {
  return calendar.wHour < 24 && calendar.wMinute < 60 && calendar.wSecond < 60 &&
         calendar.wMilliseconds < 1000;
}

uint64_t Ticks(const FILETIME& time) {
  return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// False for times outside the range that file times have.
bool Store(int64_t ticks, FILETIME* time) {
  if (ticks < 0) return false;
  time->dwLowDateTime = static_cast<DWORD>(ticks);
  time->dwHighDateTime = static_cast<DWORD>(static_cast<uint64_t>(ticks) >> 32);
  return true;
}

bool IsValid(const FILETIME* time) { return time != nullptr && Ticks(*time) <= kLastTick; }

// Seconds since 1970 of a calendar date and time, as if it were UTC.
int64_t SecondsOf(const tm& calendar) {
  const std::chrono::year_month_day date{
      std::chrono::year{calendar.tm_year + 1900},
      std::chrono::month{static_cast<unsigned>(calendar.tm_mon + 1)},
      std::chrono::day{static_cast<unsigned>(calendar.tm_mday)}};
  return sys_days{date}.time_since_epoch().count() * kSecondsPerDay +
         int64_t{calendar.tm_hour} * 3600 + int64_t{calendar.tm_min} * 60 + calendar.tm_sec;
}

// How far local time is ahead of UTC at an instant, in seconds; nothing when the C library cannot
// tell.
std::optional<int64_t> OffsetAt(int64_t utc_seconds) {
  const time_t instant = utc_seconds;
  tm calendar{};
  if (localtime_r(&instant, &calendar) == nullptr) return std::nullopt;
  return SecondsOf(calendar) - utc_seconds;
}

// A local time has the offset of the day before or that of the day after, when the clocks change in
// between. The former is tried first and is the answer too when neither fits.
std::optional<int64_t> OffsetOfLocal(int64_t local_seconds) {
  const auto before = OffsetAt(local_seconds - kSecondsPerDay);
  const auto after = OffsetAt(local_seconds + kSecondsPerDay);
  if (!before || !after || before == after) return before;
  if (OffsetAt(local_seconds - *before) == before) return before;
  if (OffsetAt(local_seconds - *after) == after) return after;
  return before;
}

int GiveText(std::string_view ascii, LPWSTR text, int room) {
  const int length = static_cast<int>(ascii.size()) + 1;
  if (room == 0) return length;
  if (room < length) return RefuseWith(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  *std::copy(ascii.begin(), ascii.end(), text) = u'\0';
  return length;
}

// The three numbers of a date or a time, two digits each and the last as many as `format` says.
int FormatNumbers(const char* format, const std::array<WORD, 3>& numbers, LPWSTR text, int room) {
  char formatted[32];
  const int length = std::snprintf(formatted, sizeof formatted, format, unsigned{numbers[0]},
                                   unsigned{numbers[1]}, unsigned{numbers[2]});
  return GiveText({formatted, static_cast<size_t>(length)}, text, room);
}

// What GetDateFormatW and GetTimeFormatW have in common to refuse. 0 when there is nothing.
DWORD FormatError(LCID locale, bool is_flag_known, const SYSTEMTIME* time, LPCWSTR format,
                  LPCWSTR text, int room) {
  if (!is_flag_known) return static_cast<DWORD>(ERROR_INVALID_FLAGS);
  const bool has_place = room == 0 || (room > 0 && text != nullptr);
  if (locale == LOCALE_USER_DEFAULT && time != nullptr && format == nullptr && has_place) return 0;
  return static_cast<DWORD>(ERROR_INVALID_PARAMETER);
}

int64_t UnixSeconds(uint64_t ticks) {
  return static_cast<int64_t>(ticks) / kTicksPerSecond - kUnixEpoch;
}

}  // namespace

void GetSystemTimeAsFileTime(FILETIME* time) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  Store((int64_t{now.tv_sec} + kUnixEpoch) * kTicksPerSecond + now.tv_nsec / 100, time);
}

void GetSystemTime(SYSTEMTIME* time) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  FileTimeToSystemTime(&now, time);
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* calendar, FILETIME* time) {
  if (calendar == nullptr || time == nullptr) return Refuse();
  const bool is_date = calendar->wYear >= 1601 && IsCalendarDate(*calendar);
  if (!is_date || !IsTimeOfDay(*calendar)) return Refuse();
  const int64_t seconds = (sys_days{DateOf(*calendar)} - kEpoch).count() * kSecondsPerDay +
                          int64_t{calendar->wHour} * 3600 + int64_t{calendar->wMinute} * 60 +
                          calendar->wSecond;
  return Store(seconds * kTicksPerSecond + calendar->wMilliseconds * kTicksPerMillisecond, time)
             ? TRUE
             : Refuse();
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* calendar) {
  if (!IsValid(time) || calendar == nullptr) return Refuse();
  const auto ticks = static_cast<int64_t>(Ticks(*time));
  const int64_t seconds = ticks / kTicksPerSecond;
  const sys_days day = kEpoch + days{seconds / kSecondsPerDay};
  const std::chrono::year_month_day date{day};
  const int64_t second = seconds % kSecondsPerDay;
  calendar->wYear = static_cast<WORD>(static_cast<int>(date.year()));
  calendar->wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
  calendar->wDayOfWeek = static_cast<WORD>(std::chrono::weekday{day}.c_encoding());
  calendar->wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
  calendar->wHour = static_cast<WORD>(second / 3600);
  calendar->wMinute = static_cast<WORD>(second / 60 % 60);
  calendar->wSecond = static_cast<WORD>(second % 60);
  calendar->wMilliseconds = static_cast<WORD>(ticks % kTicksPerSecond / kTicksPerMillisecond);
  return TRUE;
}

BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local) {
  if (!IsValid(utc) || local == nullptr) return Refuse();
  tzset();  // localtime_r need not notice a change of the zone
  const uint64_t ticks = Ticks(*utc);
  const auto offset = OffsetAt(UnixSeconds(ticks));
  if (!offset) return Refuse();
  int64_t result = 0;
  if (__builtin_add_overflow(static_cast<int64_t>(ticks), *offset * kTicksPerSecond, &result)) {
    return Refuse();
  }
  return Store(result, local) ? TRUE : Refuse();
}

BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc) {
  if (!IsValid(local) || utc == nullptr) return Refuse();
  tzset();
  const uint64_t ticks = Ticks(*local);
  const auto offset = OffsetOfLocal(UnixSeconds(ticks));
  if (!offset) return Refuse();
  int64_t result = 0;
  if (__builtin_sub_overflow(static_cast<int64_t>(ticks), *offset * kTicksPerSecond, &result)) {
    return Refuse();
  }
  return Store(result, utc) ? TRUE : Refuse();
}

LONG CompareFileTime(const FILETIME* first, const FILETIME* second) {
  const uint64_t left = Ticks(*first);
  const uint64_t right = Ticks(*second);
  return left < right ? -1 : left > right ? 1 : 0;
}

// The numbers of the locale in which the store reads dates, whatever the environment's locale is: what is
// written here is read by the device's own search.
int GetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME* date, LPCWSTR format, LPWSTR text,
                   int room) {
  DWORD error = FormatError(locale, flags == DATE_SHORTDATE, date, format, text, room);
  if (error == 0 && !IsCalendarDate(*date)) error = static_cast<DWORD>(ERROR_INVALID_PARAMETER);
  if (error != 0) return RefuseWith(error);
  return FormatNumbers("%02u/%02u/%04u", {date->wMonth, date->wDay, date->wYear}, text, room);
}

int GetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, LPCWSTR format, LPWSTR text,
                   int room) {
  DWORD error = FormatError(locale, flags == TIME_FORCE24HOURFORMAT, time, format, text, room);
  if (error == 0 && !IsTimeOfDay(*time)) error = static_cast<DWORD>(ERROR_INVALID_PARAMETER);
  if (error != 0) return RefuseWith(error);
  return FormatNumbers("%02u:%02u:%02u", {time->wHour, time->wMinute, time->wSecond}, text, room);
}
