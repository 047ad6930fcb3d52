// Which rules the store can hold, and as which of its rules.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "dialects/recurrence.h"
#include "dialects/recurrence_old.h"
#include "dialects/report.h"

namespace dialects {

// A rule of its own event: a rule such as "the 1st and 15th of each month" is two of them.
struct StorePart {
  StoreRule store;
  RecurRule rule;  // the same, without an end, as RFC 5545 says it
};

// The rules that together occur when a rule does that begins then: at most four, none where the store has no such
// rules. What is nearly the same is reported: the store takes the last day of a month that is too short.
std::vector<StorePart> StoreParts(const RecurRule& rule, const CivilTime& start, Report& report);

// The rule of a clock on which each of its days is the day before or after it (`days` is -1 or 1). Nothing where
// there is no such rule.
std::optional<RecurRule> ShiftedRule(const RecurRule& rule, const CivilTime& start, int days);

}  // namespace dialects
