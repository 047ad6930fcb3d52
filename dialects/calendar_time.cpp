// Civil times are reckoned by their seconds since 1970, so that nothing has to carry from minutes to years by hand.
// The zone of the device is asked of the C library each time, for the date in question: a program may be told
// another one while it runs.
#include "dialects/calendar_time.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace dialects {
namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr int kFirstYear = 1601;
constexpr int kLastYear = 9998;
constexpr int64_t kLongestDuration = int64_t{1000} * 366 * kSecondsPerDay;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool AreDigits(std::string_view text) { return std::ranges::all_of(text, IsDigit); }

// All digits of a text, held at what an int has room for.
int Number(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

int64_t FloorDivide(int64_t number, int64_t by) { return number / by - (number % by < 0 ? 1 : 0); }

std::string Without(std::string_view text, std::string_view characters) {
  std::string kept(text);
  std::erase_if(kept, [&](char c) { return characters.find(c) != std::string_view::npos; });
  return kept;
}

bool ReadDay(std::string_view text, CivilTime& time) {
  const std::string digits = Without(text, "-/. ");
  if (digits.size() != 8 || !AreDigits(digits)) return false;
  time.year = Number(std::string_view(digits).substr(0, 4));
  time.month = Number(std::string_view(digits).substr(4, 2));
  time.day = Number(std::string_view(digits).substr(6, 2));
  return time.year >= kFirstYear && time.year <= kLastYear && time.month >= 1 && time.month <= 12 &&
         time.day >= 1 && time.day <= DaysInMonth(time.year, time.month);
}

// Hours, hours and minutes, or all three; a fraction of a second goes.
bool ReadClock(std::string_view text, CivilTime& time) {
  text = text.substr(0, text.find_first_of(",."));
  const std::string digits = Without(text, ": ");
  const std::string_view clock = digits;
  if (!AreDigits(clock) || (clock.size() != 2 && clock.size() != 4 && clock.size() != 6)) {
    return false;
  }
  time.hour = Number(clock.substr(0, 2));
  if (clock.size() >= 4) time.minute = Number(clock.substr(2, 2));
  if (clock.size() == 6) time.second = std::min(Number(clock.substr(4, 2)), 59);
  const bool is_end_of_day = time.hour == 24 && time.minute == 0 && time.second == 0;
  return (time.hour < 24 || is_end_of_day) && time.minute < 60;
}

std::string_view Stripped(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

struct DurationUnit {
  char letter;
  int64_t seconds;
};

constexpr std::array<DurationUnit, 5> kDurationUnits = {{{'W', 7 * kSecondsPerDay},
                                                         {'D', kSecondsPerDay},
                                                         {'H', kSecondsPerHour},
                                                         {'M', kSecondsPerMinute},
                                                         {'S', 1}}};

// The zone that a link such as /etc/localtime leads to.
std::string ZoneOfLink(const char* link) {
  constexpr std::string_view kFolder = "zoneinfo/";
  std::array<char, 512> target = {};
  const ssize_t length = readlink(link, target.data(), target.size());
  if (length <= 0) return {};
  const std::string_view path(target.data(), static_cast<size_t>(length));
  const size_t at = path.find(kFolder);
  return at == std::string_view::npos ? "" : std::string(path.substr(at + kFolder.size()));
}

}  // namespace

int64_t CivilDay(const CivilTime& time) {
  const sys_days day{std::chrono::year{time.year} / time.month / 1};
  return day.time_since_epoch().count() + time.day - 1;
}

int64_t CivilSeconds(const CivilTime& time) {
  return CivilDay(time) * kSecondsPerDay + time.hour * kSecondsPerHour +
         time.minute * kSecondsPerMinute + time.second;
}

CivilTime CivilAt(int64_t seconds) {
  const int64_t day = FloorDivide(seconds, kSecondsPerDay);
  const int64_t rest = seconds - day * kSecondsPerDay;
  const year_month_day date{sys_days{days{day}}};
  return {int{date.year()},
          static_cast<int>(unsigned{date.month()}),
          static_cast<int>(unsigned{date.day()}),
          static_cast<int>(rest / kSecondsPerHour),
          static_cast<int>(rest / kSecondsPerMinute % 60),
          static_cast<int>(rest % 60)};
}

CivilTime AtMidnight(const CivilTime& time) { return {time.year, time.month, time.day, 0, 0, 0}; }

CivilTime PlusDays(const CivilTime& time, int64_t count) {
  return CivilAt(CivilSeconds(time) + count * kSecondsPerDay);
}

int DaysInMonth(int year, int month) {
  constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool is_leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 && is_leap ? 29 : kDays[static_cast<size_t>(month - 1)];
}

int WeekdayOf(const CivilTime& time) {
  const std::chrono::weekday weekday{sys_days{days{CivilDay(time)}}};
  return static_cast<int>(weekday.c_encoding()) + 1;
}

std::optional<Moment> ReadMoment(std::string_view text) {
  text = Stripped(text);
  Moment moment;
  // The "T" of a day alone is that of no other word; a blank stands in its place sometimes.
  const size_t separator = text.size() < 8 ? std::string_view::npos : text.find_first_of("Tt ", 8);
  if (!ReadDay(text.substr(0, separator), moment.time)) return std::nullopt;
  if (separator == std::string_view::npos) {
    moment.kind = TimeKind::kDate;
    return moment;
  }
  std::string_view clock = Stripped(text.substr(separator + 1));
  int64_t offset = 0;
  if (clock.ends_with('Z') || clock.ends_with('z')) {
    moment.kind = TimeKind::kUtc;
    clock.remove_suffix(1);
  } else if (const size_t sign = clock.find_first_of("+-"); sign != std::string_view::npos) {
    const std::optional<int64_t> east = ReadOffset(clock.substr(sign));
    if (!east) return std::nullopt;
    moment.kind = TimeKind::kUtc;
    offset = *east;
    clock = clock.substr(0, sign);
  }
  if (!ReadClock(clock, moment.time)) return std::nullopt;
  moment.time = CivilAt(CivilSeconds(moment.time) - offset);
  return moment;
}

std::string DateText(const CivilTime& time) {
  std::array<char, 40> text = {};
  std::snprintf(text.data(), text.size(), "%04d%02d%02d", time.year, time.month, time.day);
  return text.data();
}

std::string DateTimeText(const CivilTime& time) {
  std::array<char, 40> text = {};
  std::snprintf(text.data(), text.size(), "T%02d%02d%02d", time.hour, time.minute, time.second);
  return DateText(time) + text.data();
}

std::optional<int64_t> ReadDuration(std::string_view text) {
  text = Stripped(text);
  const bool is_negative = text.starts_with('-');
  if (is_negative || text.starts_with('+')) text.remove_prefix(1);
  if (!text.starts_with('P') && !text.starts_with('p')) return std::nullopt;
  text.remove_prefix(1);
  int64_t seconds = 0;
  bool has_unit = false;
  while (!text.empty()) {
    if (text.front() == 'T' || text.front() == 't') {
      text.remove_prefix(1);
      continue;
    }
    size_t digits = 0;
    while (digits < text.size() && IsDigit(text[digits])) ++digits;
    if (digits == 0 || digits > 9 || digits == text.size()) return std::nullopt;
    const char letter = static_cast<char>(text[digits] & ~0x20);
    const auto* unit = std::ranges::find(kDurationUnits, letter, &DurationUnit::letter);
    if (unit == kDurationUnits.end()) return std::nullopt;
    seconds += Number(text.substr(0, digits)) * unit->seconds;
    if (seconds > kLongestDuration) return std::nullopt;
    has_unit = true;
    text.remove_prefix(digits + 1);
  }
  if (!has_unit) return std::nullopt;
  return is_negative ? -seconds : seconds;
}

std::string DurationText(int64_t seconds) {
  std::string text = seconds < 0 ? "-P" : "P";
  const int64_t length = std::abs(seconds);
  if (length != 0 && length % kSecondsPerDay == 0) {
    return text + std::to_string(length / kSecondsPerDay) + "D";
  }
  text += "T" + std::to_string(length / kSecondsPerMinute) + "M";
  if (length % kSecondsPerMinute != 0) text += std::to_string(length % kSecondsPerMinute) + "S";
  return text;
}

std::optional<int64_t> ReadOffset(std::string_view text) {
  text = Stripped(text);
  if (text.empty() || (text.front() != '+' && text.front() != '-')) return std::nullopt;
  const std::string digits = Without(text.substr(1), ":");
  if (digits.empty() || digits.size() > 6 || !AreDigits(digits)) return std::nullopt;
  // "+1" is meant as "+01".
  const size_t hour_digits = digits.size() % 2 == 1 ? 1 : 2;
  const std::string_view number = digits;
  const int hours = Number(number.substr(0, hour_digits));
  const int minutes = Number(number.substr(hour_digits, 2));
  const size_t before_seconds = hour_digits + 2;
  const int rest = digits.size() > before_seconds ? Number(number.substr(before_seconds)) : 0;
  if (hours > 15 || minutes > 59 || rest > 59) return std::nullopt;
  const int64_t seconds = hours * kSecondsPerHour + minutes * kSecondsPerMinute + rest;
  return text.front() == '-' ? -seconds : seconds;
}

std::tm ClockFields(const CivilTime& time) {
  std::tm fields = {};
  fields.tm_year = time.year - 1900;
  fields.tm_mon = time.month - 1;
  fields.tm_mday = time.day;
  fields.tm_hour = time.hour;
  fields.tm_min = time.minute;
  fields.tm_sec = time.second;
  fields.tm_isdst = -1;
  return fields;
}

int64_t DeviceToUtc(int64_t local_seconds) {
  std::tm fields = ClockFields(CivilAt(local_seconds));
  return std::mktime(&fields);
}

int64_t UtcToDevice(int64_t utc_seconds) {
  tzset();
  const std::time_t utc = utc_seconds;
  std::tm fields = {};
  if (localtime_r(&utc, &fields) == nullptr) return utc_seconds;
  return utc_seconds + fields.tm_gmtoff;
}

int64_t DeviceStandardOffset(int year) {
  const auto offset_in = [year](int month) {
    const int64_t utc = CivilSeconds({year, month, 15, 12, 0, 0});
    return UtcToDevice(utc) - utc;
  };
  return std::min(offset_in(1), offset_in(7));
}

std::string DeviceZoneName() {
  const char* setting = std::getenv("TZ");
  if (setting == nullptr) return ZoneOfLink("/etc/localtime");
  std::string_view name = setting;
  if (name.starts_with(':')) name.remove_prefix(1);
  return name.starts_with('/') ? ZoneOfLink("/etc/localtime") : std::string(name);
}

}  // namespace dialects
