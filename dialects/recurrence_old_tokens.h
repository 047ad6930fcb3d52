// The grammar of vCalendar 1.0's rules of recurrence, taken apart into its levels.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "dialects/calendar_time.h"

namespace dialects {

// "1+ 3+ FR": positions, and the weekdays that they are among.
struct OldPositions {
  std::vector<int> positions;
  std::vector<int> weekdays;
};

// One rule of the grammar, without what is within it.
struct OldLevel {
  std::string_view letters;
  int interval = 1;
  std::vector<int> numbers;  // days and months
  std::vector<OldPositions> groups;
  std::map<int64_t, std::set<int>> times;  // each with the weekdays that it stands after
  std::vector<int> weekdays;
  std::optional<int> count;
};

struct OldRule {
  std::vector<OldLevel> levels;  // from the outermost on; at least one, at most two
  std::optional<Moment> end;
};

// Nothing for what is no rule.
std::optional<OldRule> ReadOldRuleTokens(std::string_view text);

}  // namespace dialects
