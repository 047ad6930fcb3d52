#include "dialects/recurrence_prepare.h"

#include <algorithm>

namespace dialects {
namespace {

// Numbers that say what the start says anyway.
bool IsOnly(const std::vector<int>& numbers, int number) {
  return numbers.empty() || (numbers.size() == 1 && numbers.front() == number);
}

// A yearly rule by the 1st to 59th day of the year has the same date each year.
void NameYearDay(RecurRule& rule) {
  constexpr int kLastOfFebruary = 59;
  if (rule.unit != RuleUnit::kYearly || rule.year_days.size() != 1) return;
  const int day = rule.year_days.front();
  if (day < 1 || day > kLastOfFebruary) return;
  const int january = 31;
  rule.year_days.clear();
  rule.months = {day > january ? 2 : 1};
  rule.month_days = {day > january ? day - january : day};
}

void FillFromStart(const CivilTime& start, RecurRule& rule) {
  const bool names_no_day = rule.days.empty() && rule.month_days.empty();
  switch (rule.unit) {
    case RuleUnit::kWeekly:
      if (rule.days.empty()) rule.days.push_back({WeekdayOf(start), 0});
      break;
    case RuleUnit::kMonthly:
      if (names_no_day) rule.month_days.push_back(start.day);
      break;
    case RuleUnit::kYearly:
      // A yearly rule that names days of the month and no month means once a year.
      if (rule.days.empty() && rule.months.empty()) rule.months.push_back(start.month);
      if (names_no_day) rule.month_days.push_back(start.day);
      break;
    default:
      break;
  }
}

// The simplest unit of the same rule. A yearly rule keeps that unit where it names months.
void Simplify(RecurRule& rule) {
  if (rule.unit == RuleUnit::kDaily && rule.interval == 1) {
    if (!rule.month_days.empty() && rule.days.empty()) rule.unit = RuleUnit::kMonthly;
    if (!rule.days.empty() && rule.month_days.empty() && !HasPositions(rule)) {
      rule.unit = RuleUnit::kWeekly;
    }
  }
  if (rule.interval == 1 && rule.unit == RuleUnit::kYearly && rule.months.empty()) {
    if (!HasPositions(rule) && rule.month_days.empty() && rule.set_positions.empty()) {
      rule.unit = RuleUnit::kWeekly;
    }
  }
  if (rule.interval == 1 && rule.unit == RuleUnit::kMonthly && rule.months.empty() &&
      !rule.days.empty() && !HasPositions(rule) && rule.month_days.empty() &&
      rule.set_positions.empty()) {
    rule.unit = RuleUnit::kWeekly;
  }
  const bool is_monthly_of_months = rule.unit == RuleUnit::kMonthly && !rule.months.empty();
  if (is_monthly_of_months && rule.interval == 1) rule.unit = RuleUnit::kYearly;
}

}  // namespace

bool HasPositions(const RecurRule& rule) {
  return std::ranges::any_of(rule.days, [](const RuleDay& day) { return day.position != 0; });
}

RecurRule Prepared(const RecurRule& rule, const CivilTime& start) {
  RecurRule prepared = rule;
  NameYearDay(prepared);
  FillFromStart(start, prepared);
  Simplify(prepared);
  return prepared;
}

bool IsForDays(const RecurRule& rule, const CivilTime& start) {
  return rule.unit >= RuleUnit::kDaily && rule.year_days.empty() && rule.week_numbers.empty() &&
         IsOnly(rule.hours, start.hour) && IsOnly(rule.minutes, start.minute) &&
         IsOnly(rule.seconds, start.second);
}

}  // namespace dialects
