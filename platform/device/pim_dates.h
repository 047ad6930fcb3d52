// Arithmetic with automation dates: days since 30 December 1899, local time, counted linearly.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "platform/api/win_types.h"

namespace device {

// 1 January 100 and 31 December 9999, the first and the last day of the automation dates.
inline constexpr int32_t kFirstDay = -657434;
inline constexpr int32_t kLastDay = 2958465;

inline constexpr int64_t kSecondsPerDay = 86400;

// Whether a number is a time on one of those days.
inline bool IsDate(DATE date) { return date >= kFirstDay && date < kLastDay + 1.0; }

// The day of a date; the date satisfies IsDate.
inline int32_t DayOf(DATE date) { return static_cast<int32_t>(std::floor(date)); }

inline DATE TimeOfDay(DATE date) { return date - std::floor(date); }

// To and from whole seconds, so that sums of dates come out as texts of the same time would.
inline int64_t SecondsOf(DATE date) { return std::llround(date * double{kSecondsPerDay}); }
inline DATE DateOf(int64_t seconds) {
  int64_t day = seconds / kSecondsPerDay;
  if (seconds % kSecondsPerDay < 0) --day;
  return static_cast<DATE>(day) +
         static_cast<DATE>(seconds - day * kSecondsPerDay) / double{kSecondsPerDay};
}

// The time of day of a date, in whole seconds, on another day.
inline DATE SameTimeOn(int32_t day, DATE date) {
  return DateOf(day * kSecondsPerDay + std::min(SecondsOf(TimeOfDay(date)), kSecondsPerDay - 1));
}

// The present local time.
DATE LocalNow();

}  // namespace device
