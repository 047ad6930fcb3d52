// The rules of another clock: of a zone in which the same moments are those of the day before or after.
#include <algorithm>
#include <cstdlib>

#include "dialects/recurrence_prepare.h"
#include "dialects/recurrence_store.h"

namespace dialects {
namespace {

bool NamesNoDays(const RecurRule& rule) {
  return rule.days.empty() && rule.month_days.empty() && rule.months.empty();
}

int ShiftedWeekday(int weekday, int days) { return (weekday - 1 + days + 7) % 7 + 1; }

// The day of the month after or before one; 0 where that depends on the month.
int ShiftedMonthDay(int day, int days) {
  if (day == 1 && days < 0) return -1;
  if (day == -1 && days > 0) return 1;
  const int shifted = day + days;
  return std::abs(shifted) <= kShortestMonth && std::abs(day) <= kShortestMonth ? shifted : 0;
}

bool ShiftDate(int& month, int& day, int days) {
  constexpr int kCommonYear = 2001;
  const bool touches_leap_day = (month == 2 && std::abs(day) > 27) || (month == 3 && day == 1);
  if (touches_leap_day || std::abs(day) > DaysInMonth(kCommonYear, month)) return false;
  const int length = DaysInMonth(kCommonYear, month);
  if (day < 0 && month == 2) return false;
  const int from_start = day > 0 ? day : length + 1 + day;
  const CivilTime shifted = PlusDays({kCommonYear, month, from_start, 0, 0, 0}, days);
  month = shifted.month;
  day = shifted.day;
  return true;
}

bool ShiftMonthDays(RecurRule& rule, int days) {
  if (rule.unit == RuleUnit::kYearly) {
    if (rule.months.size() != 1 || rule.month_days.size() != 1) return false;
    return ShiftDate(rule.months.front(), rule.month_days.front(), days);
  }
  for (int& day : rule.month_days) {
    day = ShiftedMonthDay(day, days);
    if (day == 0) return false;
  }
  return rule.months.empty();
}

}  // namespace

std::optional<RecurRule> ShiftedRule(const RecurRule& rule, const CivilTime& start, int days) {
  RecurRule shifted = Prepared(rule, start);
  if (!IsForDays(shifted, start)) return std::nullopt;
  shifted.hours.clear();
  shifted.minutes.clear();
  shifted.seconds.clear();
  if (!shifted.set_positions.empty()) return std::nullopt;
  if (shifted.unit == RuleUnit::kDaily) {
    return NamesNoDays(shifted) ? std::optional(shifted) : std::nullopt;
  }
  if (shifted.unit == RuleUnit::kWeekly) {
    for (RuleDay& day : shifted.days) day.weekday = ShiftedWeekday(day.weekday, days);
    shifted.week_start = ShiftedWeekday(shifted.week_start, days);
    return shifted;
  }
  if (!shifted.days.empty() || !ShiftMonthDays(shifted, days)) return std::nullopt;
  return shifted;
}

}  // namespace dialects
