// On which days a series takes place.
//
// Every question is answered from the period that it is about (a day, week or month of the series),
// not by walking there: one answer takes the same short time for every series and every day.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/api/pimstore.h"

namespace device {

// Days are whole automation dates. Of the properties a type uses only its own; the others may hold
// anything. Weeks begin on Sunday.
//
//   olRecursDaily      every `interval` days; with a `day_of_week_mask`, on these days of every week
//   olRecursWeekly     on the days of the mask, every `interval` weeks
//   olRecursMonthly    on `day_of_month`, or the last day of a shorter month, every `interval` months
//   olRecursMonthNth   on the nth (`instance`; 5 is the last) of the mask's days of the month
//   olRecursYearly     like the two monthly ones, in `month_of_year`, every `interval` years
//   olRecursYearNth
struct Recurrence {
  LONG type = olRecursOnce;  // an OlRecurrenceType
  int32_t start = 0;         // the first day that an occurrence may fall on
  LONG interval = 1;         // 1 to 999
  LONG day_of_week_mask = 0;
  LONG day_of_month = 0;   // 1 to 31; -1 to -31 from the end
  LONG instance = 0;       // 1 to 5
  LONG month_of_year = 0;  // 1 to 12
  // At most one of them; without either the series has no end.
  std::optional<int32_t> end = {};       // the last day that an occurrence may fall on
  std::optional<LONG> occurrences = {};  // how many there are, 1 or more

  bool operator==(const Recurrence&) const = default;
};

inline bool IsRecurring(const Recurrence& recurrence) { return recurrence.type != olRecursOnce; }

// Sets the type, and the properties of the type to what fits the start: every day, its day of the
// week, its day of the month. The end stays. False, with nothing changed, for an unknown type.
bool SetRecurrenceType(Recurrence& recurrence, LONG type);

// Whether the days of the week must be given.
bool NeedsDaysOfWeek(const Recurrence& recurrence);

// Whether the series takes place on a day. False for one that is not recurring.
bool HasOccurrence(const Recurrence& recurrence, int32_t day);

// Of a series with an end: the number of occurrences (at least 1), and the end's day, which is the
// last occurrence where they are counted. Occurrences after the year 9999 fall on its last day. A
// series without end has 0 occurrences and no last day.
LONG CountOccurrences(const Recurrence& recurrence);
std::optional<int32_t> EndDay(const Recurrence& recurrence);

}  // namespace device
