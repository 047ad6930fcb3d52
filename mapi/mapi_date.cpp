#include "mapi/mapi_date.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "btosif/osif_date.h"
#include "btosif/osif_util/ascii.h"
#include "platform/api/system_time.h"

namespace {

constexpr int64_t kTicksPerMinute = 60 * INT64_C(10'000'000);

constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

struct Zone {
  const char* name;
  int minutes;  // east of UTC
};

// The names of RFC 822 that still mean something; those of one letter but Z were never used as meant.
constexpr Zone kZones[] = {{"UT", 0},     {"UTC", 0},    {"GMT", 0},    {"Z", 0},
                           {"EST", -300}, {"EDT", -240}, {"CST", -360}, {"CDT", -300},
                           {"MST", -420}, {"MDT", -360}, {"PST", -480}, {"PDT", -420}};

struct MailDate {
  int day = 0;
  char month[4] = "";
  int year = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  char zone[6] = "";
};

const char* AfterDayName(const char* text) {
  const char* comma = std::strchr(text, ',');
  return comma == nullptr ? text : comma + 1;
}

bool ReadFields(const char* text, MailDate* date) {
  const int with_seconds =
      std::sscanf(text, "%2d %3s %4d %2d:%2d:%2d %5s", &date->day, date->month, &date->year,
                  &date->hour, &date->minute, &date->second, date->zone);
  if (with_seconds >= 6) return true;
  date->second = 0;
  return with_seconds == 5 && std::sscanf(text, "%*2d %*3s %*4d %*2d:%*2d %5s", date->zone) <= 1;
}

int MonthNumber(std::string_view name) {
  for (size_t i = 0; i < kMonths.size(); ++i) {
    if (EqualsIgnoringCase(name, kMonths[i])) return static_cast<int>(i) + 1;
  }
  return 0;
}

// Years of two digits are those that RFC 2822 takes them for.
int FullYear(int year) {
  if (year < 50) return year + 2000;
  return year < 1000 ? year + 1900 : year;
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
  int64_t ticks =
      static_cast<int64_t>(static_cast<uint64_t>(time->dwHighDateTime) << 32 | time->dwLowDateTime);
  ticks += minutes * kTicksPerMinute;
  if (ticks < 0) return false;
  time->dwLowDateTime = static_cast<DWORD>(ticks);
  time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  return true;
}

bool IsWord(int number) { return number >= 0 && number <= 9999; }

bool MailDateToFileTime(const char* text, FILETIME* time) {
  MailDate date;
  if (!ReadFields(AfterDayName(text), &date)) return false;
  const int year = FullYear(date.year);
  if (!IsWord(year) || !IsWord(date.day) || !IsWord(date.hour) || !IsWord(date.minute) ||
      !IsWord(date.second)) {
    return false;
  }
  SYSTEMTIME calendar = {};
  calendar.wYear = static_cast<WORD>(year);
  calendar.wMonth = static_cast<WORD>(MonthNumber(date.month));
  calendar.wDay = static_cast<WORD>(date.day);
  calendar.wHour = static_cast<WORD>(date.hour);
  calendar.wMinute = static_cast<WORD>(date.minute);
  calendar.wSecond = static_cast<WORD>(date.second);
  FILETIME found = {};
  if (!SystemTimeToFileTime(&calendar, &found)) return false;
  const std::optional<int> zone = ZoneMinutes(date.zone);
  if (!zone) return LocalFileTimeToFileTime(&found, time);
  if (!MoveByMinutes(-*zone, &found)) return false;
  *time = found;
  return true;
}

// Eight digits, or four and a "-", begin a date of that form.
bool LooksLikeIso8601(std::string_view text) {
  if (text.size() < 8) return false;
  const bool is_extended = text[4] == '-';
  for (const char c : text.substr(0, is_extended ? 4 : 8)) {
    if (std::isdigit(static_cast<unsigned char>(c)) == 0) return false;
  }
  return true;
}

}  // namespace

bool mapi_DateToFileTime(const char* text, FILETIME* time) {
  *time = {};
  if (LooksLikeIso8601(text)) return Iso8601ToFileTime(text, time) != 0;
  if (MailDateToFileTime(text, time)) return true;
  return LegacyDateToFileTime(text, time) != 0;
}
