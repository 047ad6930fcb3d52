// A calendar as what the one component of it says that the store shows, each thing with the line that says it.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/calendar_time.h"
#include "dialects/icalendar.h"
#include "dialects/value_text.h"
#include "mirror/merge_plan.h"
#include "mirror/text_lines.h"

namespace mirror {

// A component, by its lines. Its END may be missing: then it ends before the line that closed it.
struct CalendarPart {
  std::string name;
  size_t begin = 0;                // the line of its BEGIN
  size_t end = 0;                  // of its END
  std::vector<size_t> own;         // its lines, without those of components in it
  size_t first_inside = kNowhere;  // the BEGIN of the first component in it
};

struct CalendarText {
  TextLines lines;
  std::unique_ptr<dialects::ValueDecoder> decoder;
  dialects::Report report;
  std::unique_ptr<dialects::ZoneBook> zones;
  bool is_modern = false;
  bool is_whole = false;  // the component stands in a VCALENDAR

  CalendarPart item;                 // the one that the store shows
  std::vector<CalendarPart> alarms;  // of it
  size_t first_item = kNowhere;      // the BEGIN of the first component that may use a zone
  std::map<std::string, Span> zone_spans;
  std::set<std::string>
      overridden;  // the occurrences for which others stand, as TimeKey has them, and their days

  std::optional<int64_t> start;     // seconds of UTC
  std::optional<int64_t> end;       // said by DTEND or DUE
  std::optional<int64_t> duration;  // said by DURATION
  Items items;

  bool IsTask() const { return item.name == "VTODO"; }
};

// The first calendar of a text, or component without one. False without any. The text outlives the calendar.
bool ReadCalendarItems(std::string_view text, CalendarText& calendar);

// The pieces of a list in a value, by ",", in the older version by ";" too; they keep their escapes.
std::vector<std::string_view> ListOf(std::string_view value, bool is_modern);

// The value of a line after its transfer encoding.
std::string ValueOfLine(const CalendarText& calendar, size_t line);

// True for names whose entries are items of their own.
bool IsCalendarList(std::string_view name);

// The name of an alarm among the items.
inline constexpr std::string_view kAlarmName = "VALARM";

}  // namespace mirror
