// Reads vCalendars (vCalendar 1.0): every event and to-do becomes a calendar record of its own.
#pragma once

#include <string_view>

#include "btosif/osif_file.h"
#include "osif.h"

// The properties that the reader knows; the numbers are fixed.
enum class CalendarProperty {
  kUnknown = 0,
  kBegin = 1,
  kCategories = 2,
  kVersion = 3,
  kCompleted = 4,
  kDescription = 5,
  kDue = 6,
  kDtEnd = 7,
  kPriority = 8,
  kDtStart = 9,
  kStatus = 10,
  kSummary = 11,
  kEnd = 12,
  kLuid = 13,
  kLocation = 14,
  kClass = 15,
  kRRule = 16,
  kAllDayEvent = 17,
  kAttendee = 18,
  kDAlarm = 19,
  kExDate = 20,
  kAAlarm = 21,
  kAttach = 22,
};

// Looks a property name up without regard to case; kUnknown for any other name.
CalendarProperty CalendarPropertyIndex(std::string_view name);

// Reads every calendar of a stream that stands at its start, and hands each event and to-do to the
// callback (which may be null) with the worst result so far in the file. OSIF_PARSE_OK,
// OSIF_PARSE_WARNING, OSIF_PARSE_ERROR (the item at hand is not handed on and reading stops) or
// OSIF_ERR_NO_MEMORY.
OsifResult VCalendar_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context);
