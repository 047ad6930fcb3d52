// When a calendar item takes place.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/calendar_item.h"
#include "dialects/charsets.h"

namespace dialects {

// The first `most` occurrences of an event that do not end before a moment, its exceptions left out: local times of the
// device, "2026-11-24 09:30", or days, "2026-11-24", of one that lasts whole days. Of an item that does not recur its
// only one. Empty for what is no event or has none left.
//
// `calendar`: a VCALENDAR 1.0 with one item, as the library writes it.
std::vector<std::string> NextOccurrences(std::string_view calendar, const TextSettings& settings,
                                         std::time_t from, size_t most);

// One time at which an event takes place, by the clock of the device.
struct Occurrence {
  CivilTime start;
  CivilTime end;  // the first moment after it; the start itself of one that lasts no time

  bool operator==(const Occurrence&) const = default;
};

// The occurrences of an event that fall into a span of time, if only in part, its exceptions left out. `end` is the
// first moment after the span. Empty for what is no event. Its dates are settled (SettleDates).
std::vector<Occurrence> OccurrencesWithin(const CalendarItem& item, const Clock& clock,
                                          const CivilTime& begin, const CivilTime& end);

}  // namespace dialects
