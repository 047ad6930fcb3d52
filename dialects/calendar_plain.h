// A fast look at calendars, for the many that need no rewriting.
#pragma once

#include <string_view>

namespace dialects {

// True only when the store gets the same of a text as it stands as of what StrictCalendarItems makes of it: one
// VCALENDAR 1.0 with one event or task, single, in UTC, with nothing that would be reported. False says nothing: a text
// may be fine in ways that this does not look at.
bool IsPlainCalendar(std::string_view text);

}  // namespace dialects
