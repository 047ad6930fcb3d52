// The grammar's tokens are read from left to right: a frequency with its interval, the entries that this frequency
// has, how often, perhaps a rule within the rule, how often that, and an end date. Which entries there are is
// said by their looks alone, as some mean something in one frequency only.
//
// The entries then become the lists of a rule of RFC 5545. What the writer left out is the start's: old devices
// write "YM1 6 #0" for each 12 June of an item that begins on one.
#include "dialects/recurrence_old.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <set>

#include "btosif/osif_util/ascii.h"

namespace dialects {
namespace {

constexpr int kDefaultCount = 2;
constexpr size_t kMostTokens = 200;
constexpr size_t kMostTimes = 8;
constexpr int kLargestInterval = 9999;
constexpr int kShortestMonth = 28;
constexpr std::array<std::string_view, 7> kLetters = {"M", "D", "W", "MP", "MD", "YM", "YD"};

struct PositionGroup {
  std::vector<int> positions;
  std::vector<int> weekdays;
};

// One rule of the grammar, without what is within it.
struct Level {
  std::string_view letters;
  int interval = 1;
  std::vector<int> numbers;  // days and months
  std::vector<PositionGroup> groups;
  std::map<int64_t, std::set<int>> times;  // each with the weekdays that it stands after
  std::vector<int> weekdays;
  std::optional<int> count;
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::optional<int> WholeNumber(std::string_view text) {
  int number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

std::vector<std::string> TokensOf(std::string_view text) {
  std::vector<std::string> tokens;
  std::string token;
  for (const char c : ToUpper(text) + " ") {
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != ',') {
      if (c != '$') token += c;
    } else if (!token.empty()) {
      if (tokens.size() < kMostTokens) tokens.push_back(token);
      token.clear();
    }
  }
  return tokens;
}

bool ReadFrequency(std::string_view token, Level& level) {
  const size_t digits = std::min(token.find_first_of("0123456789"), token.size());
  const auto* letters = std::ranges::find(kLetters, token.substr(0, digits));
  if (letters == kLetters.end()) return false;
  level.letters = *letters;
  const std::string_view interval = token.substr(digits);
  const std::optional<int> number = interval.empty() ? 1 : WholeNumber(interval);
  if (!number) return false;
  level.interval = std::clamp(*number, 1, kLargestInterval);
  return true;
}

// "1+", "2-", "13-", "LD" or "12": from the end of the month where negative.
std::optional<int> ReadSigned(std::string_view token) {
  if (token == "LD") return -1;
  const bool is_negative = token.ends_with('-');
  if (is_negative || token.ends_with('+')) token.remove_suffix(1);
  const std::optional<int> number = WholeNumber(token);
  if (!number || *number < 1 || *number > 366) return std::nullopt;
  return is_negative ? -*number : *number;
}

std::optional<int64_t> ReadTime(std::string_view token) {
  if (token.size() != 4 || !std::ranges::all_of(token, IsDigit)) return std::nullopt;
  const int hour = WholeNumber(token.substr(0, 2)).value_or(0);
  const int minute = WholeNumber(token.substr(2)).value_or(0);
  if (hour > 23 || minute > 59) return std::nullopt;
  return hour * kSecondsPerHour + minute * kSecondsPerMinute;
}

class OldRuleReader {
 public:
  explicit OldRuleReader(std::string_view text) : tokens_(TokensOf(text)) {}

  // The levels from the outermost on; none for what is no rule.
  bool Read() {
    for (const std::string& token : tokens_) {
      if (!Take(token)) return false;
    }
    return !levels_.empty();
  }

  std::vector<Level> levels_;
  std::optional<Moment> end_;

 private:
  bool Take(const std::string& token) {
    Level level;
    if (ReadFrequency(token, level)) {
      levels_.push_back(level);
      return levels_.size() <= 2;
    }
    if (levels_.empty()) return false;
    if (token.starts_with('#')) {
      levels_.back().count = WholeNumber(std::string_view(token).substr(1));
      return levels_.back().count.has_value();
    }
    if (const std::optional<Moment> end = token.size() >= 8 ? ReadMoment(token) : std::nullopt) {
      end_ = end;
      return true;
    }
    return TakeEntry(token, levels_.back());
  }

  static bool TakeEntry(const std::string& token, Level& level) {
    const bool has_times = level.letters == "D" || level.letters == "W" || level.letters == "MP";
    if (const std::optional<int64_t> time = ReadTime(token); time && has_times) {
      std::set<int>& weekdays = level.times[*time];
      if (!level.weekdays.empty()) weekdays.insert(level.weekdays.back());
      return level.times.size() <= kMostTimes;
    }
    if (const int weekday = WeekdayNumber(token); weekday != 0) {
      level.weekdays.push_back(weekday);
      if (level.letters == "MP" && !level.groups.empty()) {
        level.groups.back().weekdays.push_back(weekday);
      }
      return level.letters == "W" || level.letters == "MP";
    }
    const std::optional<int> number = ReadSigned(token);
    if (!number) return false;
    if (level.letters != "MP") {
      level.numbers.push_back(*number);
      return level.letters != "D" && level.letters != "W" && level.letters != "M";
    }
    if (level.groups.empty() || !level.groups.back().weekdays.empty()) level.groups.emplace_back();
    level.groups.back().positions.push_back(*number);
    return true;
  }

  std::vector<std::string> tokens_;
};

// The weekday of a day in its month: "2nd Friday", the fifth as the last.
RuleDay PositionOf(const CivilTime& day) {
  const int position = (day.day - 1) / 7 + 1;
  return {WeekdayOf(day), position == 5 ? -1 : position};
}

void AddPositions(const Level& level, const CivilTime& start, OldSense sense, RecurRule& rule) {
  if (level.groups.empty()) {
    rule.days.push_back(PositionOf(start));
    return;
  }
  if (sense == OldSense::kStore) {
    const PositionGroup& group = level.groups.front();
    const int position = group.positions.front() >= 5 ? -1 : group.positions.front();
    if (group.weekdays.size() == 1) {
      rule.days.push_back({group.weekdays.front(), position});
      return;
    }
    for (const int weekday : group.weekdays) rule.days.push_back({weekday, 0});
    rule.set_positions.push_back(position);
    return;
  }
  for (const PositionGroup& group : level.groups) {
    std::vector<int> weekdays = group.weekdays;
    if (weekdays.empty()) weekdays.push_back(WeekdayOf(start));
    for (const int position : group.positions) {
      for (const int weekday : weekdays) rule.days.push_back({weekday, position});
    }
  }
}

// The days that the store takes for one that some months lack, of which one a month is taken.
void AddStoredDay(int day, RecurRule& rule) {
  if (std::abs(day) <= kShortestMonth) {
    rule.month_days.push_back(day);
  } else if (std::abs(day) >= 31) {
    rule.month_days.push_back(day > 0 ? -1 : 1);
  } else {
    const int sign = day > 0 ? 1 : -1;
    for (int i = kShortestMonth; i <= std::abs(day); ++i) rule.month_days.push_back(sign * i);
    rule.set_positions.push_back(-sign);
  }
}

// The same within one month, whose length is known but for February's.
void AddStoredDayOfMonth(int month, int day, RecurRule& rule) {
  constexpr int kCommonYear = 2001;
  const int length = DaysInMonth(kCommonYear, month);
  const bool is_within = std::abs(day) <= length;
  rule.month_days.push_back(is_within ? day : day > 0 ? -1 : 1);
}

void AddDays(const Level& level, const CivilTime& start, OldSense sense, RecurRule& rule) {
  if (level.numbers.empty()) {
    rule.month_days.push_back(start.day);
  } else if (sense == OldSense::kSender) {
    rule.month_days = level.numbers;
  } else if (rule.months.size() == 1) {
    AddStoredDayOfMonth(rule.months.front(), level.numbers.front(), rule);
  } else {
    AddStoredDay(level.numbers.front(), rule);
  }
}

// A day of the year is the same date in each year: February always counts 28 days.
void AddYearDays(const Level& level, const CivilTime& start, RecurRule& rule) {
  rule.months.push_back(start.month);
  rule.month_days.push_back(start.day);
  if (level.numbers.empty()) return;
  constexpr int kCommonYear = 2001;
  const CivilTime first = {start.year, 1, 1, 0, 0, 0};
  const bool is_start = CivilDay(start) - CivilDay(first) + 1 == level.numbers.front();
  if (level.numbers.size() == 1 && is_start) return;
  rule.months.clear();
  rule.month_days.clear();
  if (level.numbers.size() > 1) {
    rule.year_days = level.numbers;
    return;
  }
  const int number = std::abs(level.numbers.front());
  const CivilTime date = PlusDays({kCommonYear, 1, 1, 0, 0, 0}, std::min(number, 365) - 1);
  rule.months.push_back(date.month);
  rule.month_days.push_back(date.day);
}

// False for a rule within a rule that there is no word for.
bool Convert(const std::vector<Level>& levels, const CivilTime& start, OldSense sense,
             RecurRule& rule) {
  const Level& outer = levels.front();
  const Level* inner = levels.size() > 1 ? &levels[1] : nullptr;
  rule.interval = outer.interval;
  rule.week_start = 1;  // what the old grammar counts weeks from
  if (outer.letters == "YM") {
    rule.unit = RuleUnit::kYearly;
    for (const int month : outer.numbers) {
      if (month >= 1 && month <= 12) rule.months.push_back(month);
    }
    if (rule.months.empty()) rule.months.push_back(start.month);
    if (inner != nullptr && inner->interval != 1) return false;
    if (inner == nullptr || inner->letters == "MD") {
      AddDays(inner == nullptr ? Level() : *inner, start, sense, rule);
      return true;
    }
    if (inner->letters != "MP") return false;
    AddPositions(*inner, start, sense, rule);
    return true;
  }
  if (inner != nullptr) return false;
  if (outer.letters == "M") {
    rule.unit = RuleUnit::kMinutely;
  } else if (outer.letters == "W") {
    rule.unit = RuleUnit::kWeekly;
    for (const int weekday : outer.weekdays) rule.days.push_back({weekday, 0});
    if (rule.days.empty()) rule.days.push_back({WeekdayOf(start), 0});
  } else if (outer.letters == "MP") {
    rule.unit = RuleUnit::kMonthly;
    AddPositions(outer, start, sense, rule);
  } else if (outer.letters == "MD") {
    rule.unit = RuleUnit::kMonthly;
    AddDays(outer, start, sense, rule);
  } else if (outer.letters == "YD") {
    rule.unit = RuleUnit::kYearly;
    AddYearDays(outer, start, rule);
  }
  return true;
}

// The number that stands after the inner rule is meant for the outer one.
std::optional<int> CountOf(const std::vector<Level>& levels) {
  if (levels.front().count) return levels.front().count;
  return levels.back().count;
}

void SetEnd(const std::vector<Level>& levels, const std::optional<Moment>& end, OldSense sense,
            RecurRule& rule) {
  const std::optional<int> count = CountOf(levels);
  if (end && sense == OldSense::kSender) {
    CivilTime day = end->time;
    if (end->kind == TimeKind::kUtc) day = CivilAt(UtcToDevice(CivilSeconds(end->time)));
    rule.until = Moment{AtMidnight(day), TimeKind::kDate, {}};
  } else {
    rule.count = count.value_or(kDefaultCount);
  }
}

std::vector<TimedRule> ForEachTime(const Level& outer, const RecurRule& rule) {
  std::vector<TimedRule> result;
  for (const auto& [time, weekdays] : outer.times) {
    TimedRule one = {rule, time};
    if (rule.unit == RuleUnit::kWeekly && !weekdays.empty()) {
      one.rule.days.clear();
      for (const int weekday : weekdays) one.rule.days.push_back({weekday, 0});
    }
    result.push_back(one);
  }
  if (result.empty()) result.push_back({rule, std::nullopt});
  return result;
}

std::string WeekdayList(const StoreRule& rule) {
  std::string text;
  for (const int weekday : rule.weekdays) text += " " + std::string(kWeekdays[weekday]);
  return text;
}

std::string SignedText(int number, std::string_view plus) {
  return std::to_string(std::abs(number)) + (number < 0 ? "-" : std::string(plus));
}

}  // namespace

std::vector<TimedRule> ReadOldRule(std::string_view text, const CivilTime& start, OldSense sense) {
  OldRuleReader reader(text);
  RecurRule rule;
  if (!reader.Read() || !Convert(reader.levels_, start, sense, rule)) return {};
  SetEnd(reader.levels_, reader.end_, sense, rule);
  return ForEachTime(reader.levels_.front(), rule);
}

std::string OldRuleText(const StoreRule& rule, const RuleEnd& end) {
  const std::string interval = std::to_string(rule.interval);
  const std::string day = SignedText(rule.day, "");
  const std::string position = SignedText(rule.position, "+") + WeekdayList(rule);
  const std::string count = end.last_day ? "" : " #" + std::to_string(end.count);
  const std::string last = end.last_day ? " " + DateText(*end.last_day) + "T000000" : "";
  const std::string yearly = "YM1 " + std::to_string(rule.month) + count;
  switch (rule.kind) {
    case StoreRule::Kind::kDaily:
      return "D" + interval + count + last;
    case StoreRule::Kind::kWeekly:
      return "W" + interval + WeekdayList(rule) + count + last;
    case StoreRule::Kind::kMonthlyByDay:
      return "MD" + interval + " " + day + count + last;
    case StoreRule::Kind::kMonthlyByPosition:
      return "MP" + interval + " " + position + count + last;
    case StoreRule::Kind::kYearlyByDay:
      return yearly + " MD1 " + day + last;
    case StoreRule::Kind::kYearlyByPosition:
      return yearly + " MP1 " + position + last;
  }
  return {};
}

}  // namespace dialects
