// A calendar taken apart into its components, whichever version it has.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/calendar_time.h"
#include "dialects/content_line.h"
#include "dialects/object_text.h"
#include "dialects/value_text.h"

namespace dialects {

struct Component {
  std::string name;                // upper case
  std::vector<ContentLine> lines;  // its own, without BEGIN and END
  std::vector<Component> parts;    // what stands in it, such as VALARM
  uint64_t line = 0;               // of its BEGIN

  // The value of the first line of a name as it was sent; empty without one.
  std::string_view Value(std::string_view property) const;
};

// Daylight saving as vCalendar 1.0 has it: DAYLIGHT lines.
struct OldDaylight {
  int64_t offset = 0;  // seconds east of UTC
  CivilTime begin;     // by the clock of the standard time
  CivilTime end;       // by the clock of the saving
};

// The sender's clock where vCalendar 1.0 names one (TZ) that is not the device's.
struct OldZone {
  int64_t offset = 0;  // of the standard time
  bool has_no_daylight = false;
  std::vector<OldDaylight> daylight;
};

struct Calendar {
  Component root;          // the calendar's own lines, and its components
  bool is_modern = false;  // iCalendar 2.0; else vCalendar 1.0
  std::optional<OldZone> zone;
};

// A calendar and what decodes its values.
struct ReadCalendar {
  Calendar calendar;
  ValueDecoder decoder;
};

// Takes an object's text apart. A component that stands in no calendar is a calendar of its own.
ReadCalendar ReadCalendarText(const ObjectText& object, const TextSettings& settings,
                              Report& report);

// The offset of the sender's clock at a time that it shows.
int64_t OffsetAt(const OldZone& zone, const CivilTime& time);

}  // namespace dialects
