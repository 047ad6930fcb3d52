// Dates and times of calendars: as texts of any program, as civil times, and in the device's own zone.
#pragma once

#include <compare>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace dialects {

inline constexpr int64_t kSecondsPerMinute = 60;
inline constexpr int64_t kSecondsPerHour = 60 * kSecondsPerMinute;
inline constexpr int64_t kSecondsPerDay = 24 * kSecondsPerHour;

// What a calendar and a clock on the wall show together.
struct CivilTime {
  int year = 1970;
  int month = 1;  // 1 to 12
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;

  auto operator<=>(const CivilTime&) const = default;
};

// Seconds between civil times, counted from the beginning of 1970, and back. No zone has a part in it.
int64_t CivilSeconds(const CivilTime& time);
CivilTime CivilAt(int64_t seconds);

// The same for the C library, which is to find out whether daylight saving time is in force.
std::tm ClockFields(const CivilTime& time);

// The civil day, counted from the first of 1970.
int64_t CivilDay(const CivilTime& time);
CivilTime AtMidnight(const CivilTime& time);
CivilTime PlusDays(const CivilTime& time, int64_t days);
int DaysInMonth(int year, int month);
// 1 (Sunday) to 7 (Saturday).
int WeekdayOf(const CivilTime& time);

enum class TimeKind {
  kDate,   // a day alone; the time is midnight
  kLocal,  // what the clock shows wherever it is
  kUtc,
  kZoned,  // what the clock shows in a zone that is named
};

struct Moment {
  CivilTime time;
  TimeKind kind = TimeKind::kLocal;
  std::string zone;  // of kZoned alone: its TZID

  bool operator==(const Moment&) const = default;
};

// Reads a date, with or without time: ISO 8601 in its basic and extended forms, with or without seconds, with "Z" or
// an offset, "24:00" too. Nothing for a text that names no day from 1601 to 9998.
std::optional<Moment> ReadMoment(std::string_view text);

// "20261231", "20261231T235959".
std::string DateText(const CivilTime& time);
std::string DateTimeText(const CivilTime& time);

// Reads a duration such as "-P1DT2H", "PT15M" or "P2W", in seconds. A day counts 24 hours.
std::optional<int64_t> ReadDuration(std::string_view text);
// "PT15M", "-P2D"; whole minutes and days where it can be.
std::string DurationText(int64_t seconds);

// Reads an offset from UTC such as "+01", "-0530", "+05:30" or "+005328", in seconds.
std::optional<int64_t> ReadOffset(std::string_view text);

// Seconds of a civil time in the device's zone, the C library's, as seconds of UTC since 1970, and back.
int64_t DeviceToUtc(int64_t local_seconds);
int64_t UtcToDevice(int64_t utc_seconds);
// The offset of the device's zone in the winter of that year, in seconds east of UTC.
int64_t DeviceStandardOffset(int year);

// The device's zone by its name in the data base of zones, such as "Europe/Berlin"; empty when it has none.
std::string DeviceZoneName();

}  // namespace dialects
