// Items that recur, as the store can hold them: series by the store's rules, and single items for what these cannot
// say.
#pragma once

#include <string>
#include <vector>

#include "dialects/calendar_item.h"
#include "dialects/report.h"

namespace dialects {

inline constexpr size_t kMostSingles = 50;

// One item of the store.
struct StoreItem {
  CalendarItem item;
  std::string rule;                   // in the store's grammar; empty for a single one
  std::vector<CivilTime> exceptions;  // the device's days on which a series does not occur
};

// The items that a brought one (BringToStore) is in the store.
std::vector<StoreItem> StoreItems(const CalendarItem& item, const Clock& clock, Report& report);

// The item as one that begins when one of its rules occurs for the first time: in iCalendar 2.0 the start is an
// occurrence, in vCalendar 1.0 it may be the time from which on rules count.
CalendarItem AtFirstOccurrence(const CalendarItem& item, const Clock& clock, Report& report);

// The occurrences of one of an item's exception rules, by the clock that its rules count on. A rule without an end has
// those up to the last occurrence of the item. None where there are too many of them, or no end at all.
std::vector<CivilTime> ExceptionTimes(const CalendarItem& item, const TimedRule& timed,
                                      const Clock& clock);

// Overrides of a series take their place: the series gets an exception for each, and they become single items
// with UIDs of their own. Cancelled ones go. `reports`: one for each item.
void TakeApartOverrides(std::vector<CalendarItem>& items, std::vector<Report>& reports,
                        const Clock& clock);

}  // namespace dialects
