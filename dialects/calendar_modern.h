// Items of the older version as components of iCalendar 2.0 (RFC 5545).
#pragma once

#include <string>

#include "dialects/calendar_item.h"
#include "dialects/forms.h"
#include "dialects/report.h"

namespace dialects {

// How times are written that are no UTC: the device's zone by name, where it has one.
struct ModernZone {
  std::string name;     // "Europe/Berlin"; empty for none
  bool is_utc = false;  // local times are those of UTC
};

// The device's, as the data base of zones knows it.
ModernZone DeviceModernZone();

struct ModernText {
  std::string text;
  bool uses_zone = false;  // a VTIMEZONE of the device's zone has to stand before it
};

// Writes an item that was read; its dates need not be settled.
ModernText ModernComponent(CalendarItem item, const Clock& clock, const ModernZone& zone,
                           const WriterSettings& settings, Report& report);

// A UID for what has none: made of its text, so that the same text has the same one.
std::string MadeUid(std::string_view text);

// The present time as DTSTAMP has it.
std::string TimeStampNow();

// True for a name that a line may begin with.
bool IsPropertyName(std::string_view name);

}  // namespace dialects
