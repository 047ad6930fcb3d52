// When a calendar item takes place.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/charsets.h"

namespace dialects {

// The first `most` occurrences of an event that do not end before a moment, its exceptions left out: local times of the
// device, "2026-11-24 09:30", or days, "2026-11-24", of one that lasts whole days. Of an item that does not recur its
// only one. Empty for what is no event or has none left.
//
// `calendar`: a VCALENDAR 1.0 with one item, as the library writes it.
std::vector<std::string> NextOccurrences(std::string_view calendar, const TextSettings& settings,
                                         std::time_t from, size_t most);

}  // namespace dialects
