// A rule is first brought to one of few shapes (recurrence_prepare.h). Then months and days are taken apart, each
// combination one part.
//
// Whatever is not understood here for certain has no parts; the caller then writes single events.
#include "dialects/recurrence_store.h"

#include <algorithm>

#include "dialects/recurrence_prepare.h"

namespace dialects {
namespace {

constexpr size_t kMostParts = 4;
constexpr int kLargestStoredInterval = 999;
constexpr int kMonthsPerYear = 12;

using Parts = std::vector<StorePart>;

// "The last of the 28th, 29th and 30th" is how a month's 30th is said that a short month has on its last day.
std::optional<int> ClampedDay(const RecurRule& rule) {
  if (rule.set_positions.size() != 1 || rule.month_days.size() < 2 || !rule.days.empty()) {
    return std::nullopt;
  }
  std::vector<int> days = rule.month_days;
  std::ranges::sort(days, {}, [](int day) { return std::abs(day); });
  const int sign = days.front() > 0 ? 1 : -1;
  if (rule.set_positions.front() != -sign) return std::nullopt;
  for (size_t i = 0; i < days.size(); ++i) {
    if (days[i] != sign * (kShortestMonth + static_cast<int>(i))) return std::nullopt;
  }
  return days.back();
}

// A rule without what the parts do not have: its end.
RecurRule Endless(const RecurRule& rule) {
  RecurRule result = rule;
  result.count = 0;
  result.until.reset();
  return result;
}

Parts DailyParts(const RecurRule& rule) {
  if (!rule.days.empty() || !rule.month_days.empty() || !rule.months.empty()) return {};
  if (!rule.set_positions.empty()) return {};
  StoreRule store;
  store.interval = rule.interval;
  return {{store, rule}};
}

// Weeks that begin on another day than the store's put days together that the store takes apart, or the other way
// round, when some of the days are before that day and some are not.
bool DependsOnWeekStart(const RecurRule& rule) {
  if (rule.interval == 1) return false;
  const auto is_before = [&](const RuleDay& day) { return day.weekday < rule.week_start; };
  return std::ranges::any_of(rule.days, is_before) && !std::ranges::all_of(rule.days, is_before);
}

Parts WeeklyParts(const RecurRule& rule) {
  if (!rule.month_days.empty() || !rule.months.empty() || !rule.set_positions.empty()) return {};
  if (DependsOnWeekStart(rule)) return {};
  StorePart part;
  part.rule = rule;
  part.store.kind = StoreRule::Kind::kWeekly;
  part.store.interval = rule.interval;
  for (const RuleDay& day : rule.days) part.store.weekdays.push_back(day.weekday);
  std::ranges::sort(part.store.weekdays);
  for (RuleDay& day : part.rule.days) day.position = 0;
  return {part};
}

bool IsStorePosition(int position) { return (position >= 1 && position <= 4) || position == -1; }

// What a part says within its month: a day, or a position among weekdays.
struct DayShape {
  int day = 0;
  int position = 0;
  std::vector<int> weekdays;
  bool is_clamped = false;  // of a day that some months lack, the month's last instead
};

// Nothing when one of the days is none that the store knows.
std::optional<std::vector<DayShape>> DayShapes(const RecurRule& rule) {
  std::vector<DayShape> shapes;
  if (rule.days.empty()) {
    if (const std::optional<int> clamped = ClampedDay(rule)) {
      return std::vector<DayShape>{{*clamped, 0, {}, true}};
    }
    if (!rule.set_positions.empty()) return std::nullopt;
    for (const int day : rule.month_days) shapes.push_back({day, 0, {}, false});
    return shapes;
  }
  if (!rule.month_days.empty()) return std::nullopt;
  if (!HasPositions(rule)) {
    DayShape shape;
    for (const RuleDay& day : rule.days) shape.weekdays.push_back(day.weekday);
    std::ranges::sort(shape.weekdays);
    for (const int position : rule.set_positions) {
      if (!IsStorePosition(position)) return std::nullopt;
      shape.position = position;
      shapes.push_back(shape);
    }
    if (shapes.empty()) return std::nullopt;
    return shapes;
  }
  if (!rule.set_positions.empty()) return std::nullopt;
  for (const RuleDay& day : rule.days) {
    if (!IsStorePosition(day.position)) return std::nullopt;
    shapes.push_back({0, day.position, {day.weekday}, false});
  }
  return shapes;
}

// The days of a part as RFC 5545 says them.
void SetDays(const DayShape& shape, const RecurRule& whole, RecurRule& rule) {
  rule.days.clear();
  rule.month_days.clear();
  rule.set_positions.clear();
  if (shape.is_clamped) {
    rule.month_days = whole.month_days;
    rule.set_positions = whole.set_positions;
  } else if (shape.weekdays.empty()) {
    rule.month_days.push_back(shape.day);
  } else if (shape.weekdays.size() == 1) {
    rule.days.push_back({shape.weekdays.front(), shape.position});
  } else {
    for (const int weekday : shape.weekdays) rule.days.push_back({weekday, 0});
    rule.set_positions.push_back(shape.position);
  }
}

void SetDays(const DayShape& shape, StoreRule& store) {
  store.day = shape.day;
  store.position = shape.position;
  store.weekdays = shape.weekdays;
}

// True when the same day is meant each time: one that all those months have, or that the store's last day of a
// short month was meant by.
bool IsExact(const DayShape& shape, int month) {
  if (shape.is_clamped || shape.day == 0 || std::abs(shape.day) <= kShortestMonth) return true;
  constexpr int kCommonYear = 2001;
  return month != 0 && std::abs(shape.day) <= DaysInMonth(kCommonYear, month);
}

void ReportDay(const DayShape& shape, int month, Report& report) {
  if (!IsExact(shape, month)) report.Changed("last day of the months without a 29th, 30th or 31st");
}

StorePart MonthlyPart(const DayShape& shape, int interval, const RecurRule& whole) {
  StorePart part;
  part.store.kind =
      shape.weekdays.empty() ? StoreRule::Kind::kMonthlyByDay : StoreRule::Kind::kMonthlyByPosition;
  part.store.interval = interval;
  SetDays(shape, part.store);
  part.rule = whole;
  SetDays(shape, whole, part.rule);
  return part;
}

Parts MonthlyParts(const RecurRule& rule, Report& report) {
  const std::optional<std::vector<DayShape>> shapes = DayShapes(rule);
  if (!shapes || shapes->size() > kMostParts || !rule.months.empty()) return {};
  Parts parts;
  for (const DayShape& shape : *shapes) {
    ReportDay(shape, 0, report);
    parts.push_back(MonthlyPart(shape, rule.interval, rule));
  }
  return parts;
}

// The step from month to month where they lie evenly; 0 where they do not.
int MonthStep(std::vector<int> months) {
  std::ranges::sort(months);
  const int count = static_cast<int>(months.size());
  if (count < 2 || kMonthsPerYear % count != 0) return 0;
  const int step = kMonthsPerYear / count;
  for (size_t i = 1; i < months.size(); ++i) {
    if (months[i] - months[i - 1] != step) return 0;
  }
  return step;
}

StorePart YearlyPart(const DayShape& shape, int month, const RecurRule& whole) {
  StorePart part = MonthlyPart(shape, whole.interval * kMonthsPerYear, whole);
  part.rule.months = {month};
  if (whole.interval != 1) return part;
  part.store.kind =
      shape.weekdays.empty() ? StoreRule::Kind::kYearlyByDay : StoreRule::Kind::kYearlyByPosition;
  part.store.interval = 1;
  part.store.month = month;
  return part;
}

Parts YearlyParts(const RecurRule& rule, Report& report) {
  const std::optional<std::vector<DayShape>> shapes = DayShapes(rule);
  if (!shapes || rule.months.empty()) return {};
  // A position is one of the year where a yearly rule names no month, and of the set of all days of all its months.
  if (rule.months.size() > 1 && !rule.set_positions.empty()) return {};
  const int step = rule.interval == 1 ? MonthStep(rule.months) : 0;
  Parts parts;
  for (const DayShape& shape : *shapes) {
    if (step != 0) {
      ReportDay(shape, 0, report);
      parts.push_back(MonthlyPart(shape, step, rule));
      continue;
    }
    for (const int month : rule.months) {
      ReportDay(shape, month, report);
      parts.push_back(YearlyPart(shape, month, rule));
      if (parts.size() > kMostParts) return {};
    }
  }
  if (parts.size() > kMostParts) return {};
  return parts;
}

}  // namespace

std::vector<StorePart> StoreParts(const RecurRule& rule, const CivilTime& start, Report& report) {
  const RecurRule prepared = Endless(Prepared(rule, start));
  if (!IsForDays(prepared, start)) return {};
  Report changes;
  Parts parts;
  if (prepared.unit == RuleUnit::kDaily) parts = DailyParts(prepared);
  if (prepared.unit == RuleUnit::kWeekly) parts = WeeklyParts(prepared);
  if (prepared.unit == RuleUnit::kMonthly) parts = MonthlyParts(prepared, changes);
  if (prepared.unit == RuleUnit::kYearly) parts = YearlyParts(prepared, changes);
  const auto is_too_rare = [](const StorePart& part) {
    return part.store.interval > kLargestStoredInterval;
  };
  if (std::ranges::any_of(parts, is_too_rare)) return {};
  if (!parts.empty()) report.Add(changes);
  return parts;
}

}  // namespace dialects
