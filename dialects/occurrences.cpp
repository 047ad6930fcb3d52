#include "dialects/occurrences.h"

#include <algorithm>

#include "dialects/calendar_item.h"
#include "dialects/calendar_strict.h"
#include "dialects/content_line.h"

namespace dialects {
namespace {

// Whoever looks for what comes next does not look at the whole future of a daily event, nor at all of its past.
constexpr size_t kMostWalked = 100'000;
constexpr int kFurthestYears = 100;

std::string TextOf(const CivilTime& time, bool is_all_day) {
  const std::string day = DateText(time);  // YYYYMMDD
  std::string text = day.substr(0, 4) + "-" + day.substr(4, 2) + "-" + day.substr(6, 2);
  if (is_all_day) return text;
  const std::string clock = DateTimeText(time).substr(9);  // HHMMSS
  return text + " " + clock.substr(0, 2) + ":" + clock.substr(2, 2);
}

bool IsException(const CalendarItem& item, const Clock& clock, const CivilTime& time) {
  return std::ranges::any_of(item.exceptions, [&](const Moment& one) {
    return CivilDay(clock.ToRuleClock(item, one)) == CivilDay(time);
  });
}

// The starts by the clock of the device, of which an item without a rule has one.
std::vector<CivilTime> Starts(const CalendarItem& item, const Clock& clock, const CivilTime& last) {
  if (item.rules.empty()) return {clock.ToLocal(*item.start)};
  std::vector<CivilTime> starts;
  for (const CivilTime& time :
       Occurrences(item.rules.front().rule, item.rule_start, kMostWalked, last)) {
    if (IsException(item, clock, time)) continue;
    starts.push_back(clock.ToLocal(clock.OfRuleClock(item, time)));
  }
  return starts;
}

int64_t LengthOf(const CalendarItem& item, const Clock& clock) {
  if (item.duration) return *item.duration;
  return item.end ? clock.ToUtc(*item.end) - clock.ToUtc(*item.start) : 0;
}

}  // namespace

std::vector<std::string> NextOccurrences(std::string_view calendar, const TextSettings& settings,
                                         std::time_t from, size_t most) {
  Report ignored;
  const ReadCalendar read = ReadCalendarText(
      {.kind = ObjectKind::kCalendar, .text = std::string(calendar)}, settings, ignored);
  ZoneBook zones;
  const Clock clock(zones);
  const CalendarItems items = ReadItems(read, OldSense::kStore, zones);
  if (items.items.size() != 1 || items.items[0].kind != ItemKind::kEvent || !items.items[0].start) {
    return {};
  }
  const CalendarItem& item = items.items[0];
  const int64_t now = UtcToDevice(from);
  CivilTime last = CivilAt(now);
  last.year += kFurthestYears;
  const int64_t length = LengthOf(item, clock);
  std::vector<std::string> texts;
  for (const CivilTime& start : Starts(item, clock, last)) {
    if (texts.size() == most) break;
    if (CivilSeconds(start) + length >= now) texts.push_back(TextOf(start, item.is_all_day));
  }
  return texts;
}

std::vector<Occurrence> OccurrencesWithin(const CalendarItem& item, const Clock& clock,
                                          const CivilTime& begin, const CivilTime& end) {
  if (item.kind != ItemKind::kEvent || !item.start) return {};
  const int64_t length = std::max<int64_t>(LengthOf(item, clock), 0);
  std::vector<Occurrence> occurrences;
  // The rule counts by a clock that may show another day than the device's.
  for (const CivilTime& start : Starts(item, clock, PlusDays(end, 1))) {
    const CivilTime after = CivilAt(CivilSeconds(start) + length);
    const bool has_begun = start < end;
    const bool goes_on = after > begin || start >= begin;
    if (has_begun && goes_on) occurrences.push_back({start, after});
  }
  return occurrences;
}

}  // namespace dialects
