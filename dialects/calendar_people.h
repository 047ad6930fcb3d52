// Calendar items for people to read: lines of "Name: value".
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "dialects/calendar_item.h"

namespace dialects {

using NamedValues = std::vector<std::pair<std::string, std::string>>;

// What an item says, times on the device's clock. Its dates are settled (SettleDates).
NamedValues ItemForPeople(const CalendarItem& item, const Clock& clock);

// Lines with LF, and an empty one at their end.
std::string TextOf(const NamedValues& values);

// The same as a paragraph of a document, and what stands before and after all paragraphs.
std::string HtmlOf(const NamedValues& values);
std::string HtmlBegin();
std::string HtmlEnd();

}  // namespace dialects
