#include "dialects/calendar_look.h"

#include "dialects/calendar_rules.h"
#include "dialects/calendar_strict.h"

namespace dialects {
namespace {

std::optional<CivilTime> LocalTime(const std::optional<Moment>& moment, const Clock& clock) {
  return moment ? std::optional(clock.ToLocal(*moment)) : std::nullopt;
}

}  // namespace

std::optional<CalendarLook> LookAtItem(std::string_view calendar, const TextSettings& settings,
                                       const CivilTime& begin, const CivilTime& end) {
  Report ignored;
  const ReadCalendar read = ReadCalendarText(
      {.kind = ObjectKind::kCalendar, .text = std::string(calendar)}, settings, ignored);
  ZoneBook zones;
  const Clock clock(zones);
  CalendarItems items = ReadItems(read, OldSense::kStore, zones);
  if (items.items.size() != 1) return std::nullopt;
  CalendarItem& item = items.items[0];
  CalendarLook look;
  SettleDates(item, clock, ignored);
  look.occurrences = OccurrencesWithin(item, clock, begin, end);
  look.is_task = item.kind == ItemKind::kTask;
  look.is_complete =
      item.is_complete || item.status == "COMPLETED" || (item.completed && item.status.empty());
  look.is_all_day = item.is_all_day;
  look.summary = item.summary;
  look.location = item.location;
  look.start = LocalTime(item.start, clock);
  look.due = LocalTime(item.due, clock);
  look.values = ItemForPeople(item, clock);
  return look;
}

}  // namespace dialects
