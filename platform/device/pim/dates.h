// Arithmetic with automation dates: days since 30 December 1899, local time. The fraction is the time
// of day and counts forward on days before that, too: -3.25 is six o'clock on the day -3.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/api/win_types.h"

namespace device {

// 1 January 100 and 31 December 9999, the first and the last day of the automation dates.
inline constexpr int32_t kFirstDay = -657434;
inline constexpr int32_t kLastDay = 2958465;

inline constexpr int64_t kSecondsPerDay = 86400;

// Whether a number is a time on one of those days.
inline bool IsDate(DATE date) {
  return std::trunc(date) >= kFirstDay && std::trunc(date) <= kLastDay;
}

// The day of a date; the date satisfies IsDate.
inline int32_t DayOf(DATE date) { return static_cast<int32_t>(std::trunc(date)); }

// As a part of a day.
inline DATE TimeOfDay(DATE date) { return std::abs(date - std::trunc(date)); }

// To and from whole seconds since day 0, so that sums of dates come out as texts of the same time
// would, and dates can be compared.
inline int64_t SecondsOf(DATE date) {
  return DayOf(date) * kSecondsPerDay + std::llround(TimeOfDay(date) * double{kSecondsPerDay});
}
inline DATE DateOf(int64_t seconds) {
  int64_t day = seconds / kSecondsPerDay;
  if (seconds % kSecondsPerDay < 0) --day;
  const DATE time = static_cast<DATE>(seconds - day * kSecondsPerDay) / double{kSecondsPerDay};
  return static_cast<DATE>(day) + (day < 0 ? -time : time);
}

// The time of day of a date, in whole seconds, on another day.
inline DATE SameTimeOn(int32_t day, DATE date) {
  return DateOf(day * kSecondsPerDay + std::min(SecondsOf(TimeOfDay(date)), kSecondsPerDay - 1));
}

// The present local time.
DATE LocalNow();

// A date as the locale writes it, month first, with or without a time of day of 24 hours: "05/10/1961",
// "05/10/1961 20:30", "05/10/1961 20:30:15". Nothing when it is anything else or no date that there is.
std::optional<DATE> ReadDateText(std::u16string_view text);

}  // namespace device
