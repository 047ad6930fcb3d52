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

// Overrides of a series take their place: the series gets an exception for each, and they become single items
// with UIDs of their own. Cancelled ones go. `reports`: one for each item.
void TakeApartOverrides(std::vector<CalendarItem>& items, std::vector<Report>& reports,
                        const Clock& clock);

}  // namespace dialects
