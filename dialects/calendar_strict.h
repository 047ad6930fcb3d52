// Items as the strict reader of the library takes them: vCalendar 1.0 and vNote 1.1.
#pragma once

#include <string>
#include <vector>

#include "dialects/calendar_item.h"
#include "dialects/calendar_series.h"
#include "dialects/object_text.h"

namespace dialects {

// The component, from BEGIN:VEVENT to its END. `more`: whole lines to stand before the END.
std::string StrictComponent(const StoreItem& item, const Clock& clock, const std::string& more);

// The same in a VCALENDAR of its own; a journal entry as a vNote.
std::string StrictText(const StoreItem& item, const Clock& clock);

// The calendar's items, before anything is brought to the store, and why it has none.
struct CalendarItems {
  std::vector<CalendarItem> items;
  std::vector<Report> reports;  // one for each item
  Report report;                // of the calendar itself
  std::string refusal;          // empty when there are items
};

// Reads what an object has. The zones that it names are added to the book.
CalendarItems ReadItems(const ReadCalendar& calendar, OldSense sense, ZoneBook& zones);

}  // namespace dialects
