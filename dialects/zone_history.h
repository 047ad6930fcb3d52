// VTIMEZONE components that hold only as much of a zone's history as the dates of an object need.
#pragma once

#include <string>
#include <string_view>

#include "dialects/calendar_time.h"

namespace dialects {

struct ZoneHistory {
  std::string text;  // a VTIMEZONE
  CivilTime from;    // the first time of the zone's clock for which it tells the offset
};

// A VTIMEZONE without the observances that were over at a time of the zone's clock. It goes back further where that
// costs no line: rules that are in force have begun long before.
//
// `component`: a VTIMEZONE as ZoneComponent gives it; `tzid`: the name that it gets.
ZoneHistory ZoneSince(std::string_view component, const std::string& tzid, const CivilTime& time);

}  // namespace dialects
