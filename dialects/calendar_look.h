// A calendar item of a store as one looks at it: what it says, and when it takes place.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dialects/calendar_people.h"
#include "dialects/charsets.h"
#include "dialects/occurrences.h"

namespace dialects {

// All times are those of the device's clock.
struct CalendarLook {
  bool is_task = false;
  bool is_complete = false;
  bool is_all_day = false;
  std::string summary;
  std::string location;
  std::optional<CivilTime> start;
  std::optional<CivilTime> due;
  NamedValues values;  // all that it says
  std::vector<Occurrence> occurrences;
};

// Looks at an item, and at its occurrences within a span (OccurrencesWithin). Nothing for what is no calendar with one
// item, as the library writes it.
std::optional<CalendarLook> LookAtItem(std::string_view calendar, const TextSettings& settings,
                                       const CivilTime& begin, const CivilTime& end);

}  // namespace dialects
