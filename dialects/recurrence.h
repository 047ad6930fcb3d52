// Rules of recurrence as RFC 5545, section 3.3.10, has them; the rules of vCalendar 1.0 are read into the same
// record, see recurrence_old.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/calendar_time.h"

namespace dialects {

enum class RuleUnit { kSecondly, kMinutely, kHourly, kDaily, kWeekly, kMonthly, kYearly };

struct RuleDay {
  int weekday = 1;   // 1 (Sunday) to 7 (Saturday)
  int position = 0;  // within the month or year, from its end where negative; 0 for each

  bool operator==(const RuleDay&) const = default;
};

struct RecurRule {
  RuleUnit unit = RuleUnit::kDaily;
  int interval = 1;
  std::vector<int> months;
  std::vector<int> month_days;
  std::vector<int> year_days;
  std::vector<int> week_numbers;
  std::vector<RuleDay> days;
  std::vector<int> hours;
  std::vector<int> minutes;
  std::vector<int> seconds;
  std::vector<int> set_positions;
  int week_start = 2;
  int count = 0;                // 0 for none
  std::optional<Moment> until;  // the last moment that is one of the rule's

  bool operator==(const RecurRule&) const = default;
};

// What a rule may say at most; more is no rule.
inline constexpr int kLargestInterval = 9999;
inline constexpr int kLargestCount = 1000000;

// The days that every month has.
inline constexpr int kShortestMonth = 28;

// The codes of the weekdays by their numbers.
inline constexpr std::string_view kWeekdays[] = {"", "SU", "MO", "TU", "WE", "TH", "FR", "SA"};

// The number of a code; 0 for none.
int WeekdayNumber(std::string_view code);

// Reads "FREQ=WEEKLY;BYDAY=MO"; also with "-" in the place of "=", as old devices cut it. Nothing for what is no rule,
// and for rules of calendars other than the Gregorian one.
std::optional<RecurRule> ReadRecurRule(std::string_view text);

// Writes it; UNTIL as its moment is.
std::string RecurRuleText(const RecurRule& rule);

}  // namespace dialects
