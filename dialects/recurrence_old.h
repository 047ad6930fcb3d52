// Rules in the grammar of vCalendar 1.0 ("W1 MO TU #10", "YM1 6 #0 MD1 12"), in both directions: as rules of RFC 5545,
// and as what the store holds of them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/calendar_time.h"
#include "dialects/recurrence.h"

namespace dialects {

// What a rule of the old grammar means where it leaves room.
enum class OldSense {
  // As its writer meant it: "MP1 1+ MO TU" is the first Monday and the first Tuesday, and an end date counts
  // before a number.
  kSender,
  // As the store holds it and the library writes it: "MP1 1+ MO TU" is the first day that is one of them, a month
  // without a 31st has its last day instead, a fifth weekday is the last, and the number counts before an end
  // date, which is an hour too early for the last day.
  kStore,
};

// A rule, and the time of day at which it occurs where it is not that of the start.
struct TimedRule {
  RecurRule rule;
  std::optional<int64_t> time_of_day;  // seconds since midnight
};

// Reads a rule of the old grammar for an item that begins then. One for each time of day; none for what is no rule,
// or has a rule within a rule that RFC 5545 cannot say.
std::vector<TimedRule> ReadOldRule(std::string_view text, const CivilTime& start, OldSense sense);

// What the store can hold.
struct StoreRule {
  enum class Kind {
    kDaily,
    kWeekly,
    kMonthlyByDay,
    kMonthlyByPosition,
    kYearlyByDay,
    kYearlyByPosition
  };
  Kind kind = Kind::kDaily;
  int interval = 1;
  int month = 0;
  int day = 0;                // of the month; from its end where negative
  int position = 0;           // 1 to 4, or -1
  std::vector<int> weekdays;  // of kWeekly and by position

  bool operator==(const StoreRule&) const = default;
};

// Where a rule ends: on a day, after a number of occurrences, or never.
struct RuleEnd {
  std::optional<CivilTime> last_day;
  int count = 0;
};

// Writes it as the strict reader takes it.
std::string OldRuleText(const StoreRule& rule, const RuleEnd& end);

}  // namespace dialects
