// The entries of the grammar (recurrence_old_tokens.h) become the lists of a rule of RFC 5545. What the writer left out is the start's: old devices
// write "YM1 6 #0" for each 12 June of an item that begins on one.
#include "dialects/recurrence_old.h"

#include <algorithm>
#include <cstdlib>

#include "dialects/recurrence_old_tokens.h"

namespace dialects {
namespace {

constexpr int kDefaultCount = 2;

// The weekday of a day in its month: "2nd Friday", the fifth as the last.
RuleDay PositionOf(const CivilTime& day) {
  const int position = (day.day - 1) / 7 + 1;
  return {WeekdayOf(day), position == 5 ? -1 : position};
}

void AddPositions(const OldLevel& level, const CivilTime& start, OldSense sense, RecurRule& rule) {
  if (level.groups.empty()) {
    rule.days.push_back(PositionOf(start));
    return;
  }
  if (sense == OldSense::kStore) {
    const OldPositions& group = level.groups.front();
    const int position = group.positions.front() >= 5 ? -1 : group.positions.front();
    if (group.weekdays.size() == 1) {
      rule.days.push_back({group.weekdays.front(), position});
      return;
    }
    for (const int weekday : group.weekdays) rule.days.push_back({weekday, 0});
    rule.set_positions.push_back(position);
    return;
  }
  for (const OldPositions& group : level.groups) {
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

// A day that no month has: the store takes another one for it, a sender may have meant anything.
bool NamesNoDay(const OldLevel& level, OldSense sense) {
  const auto is_beyond = [](int largest) {
    return [largest](int number) { return std::abs(number) > largest; };
  };
  if (sense != OldSense::kSender) return false;
  if (level.letters == "MD") return std::ranges::any_of(level.numbers, is_beyond(31));
  return level.letters == "MP" && std::ranges::any_of(level.groups, [&](const OldPositions& group) {
           return std::ranges::any_of(group.positions, is_beyond(5));
         });
}

void AddDays(const OldLevel& level, const CivilTime& start, OldSense sense, RecurRule& rule) {
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
void AddYearDays(const OldLevel& level, const CivilTime& start, RecurRule& rule) {
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

// The years of some months, and the days that the rule within names. False where there is no word for that.
bool ConvertYears(const OldLevel& outer, const OldLevel* inner, const CivilTime& start,
                  OldSense sense, RecurRule& rule) {
  for (const int month : outer.numbers) {
    if (month >= 1 && month <= 12) rule.months.push_back(month);
  }
  if (rule.months.empty()) rule.months.push_back(start.month);
  if (inner == nullptr) {
    AddDays({}, start, sense, rule);
    return true;
  }
  if (inner->interval != 1) return false;
  if (inner->letters == "MD") AddDays(*inner, start, sense, rule);
  if (inner->letters == "MP") AddPositions(*inner, start, sense, rule);
  return inner->letters == "MD" || inner->letters == "MP";
}

void ConvertWeeks(const OldLevel& level, const CivilTime& start, RecurRule& rule) {
  for (const int weekday : level.weekdays) rule.days.push_back({weekday, 0});
  if (rule.days.empty()) rule.days.push_back({WeekdayOf(start), 0});
}

struct UnitRow {
  std::string_view letters;
  RuleUnit unit;
};

constexpr UnitRow kUnitLetters[] = {
    {"M", RuleUnit::kMinutely}, {"D", RuleUnit::kDaily},    {"W", RuleUnit::kWeekly},
    {"MP", RuleUnit::kMonthly}, {"MD", RuleUnit::kMonthly}, {"YD", RuleUnit::kYearly},
    {"YM", RuleUnit::kYearly},
};

// False for a rule within a rule that there is no word for, and for days that there are not.
bool Convert(const std::vector<OldLevel>& levels, const CivilTime& start, OldSense sense,
             RecurRule& rule) {
  const OldLevel& outer = levels.front();
  const OldLevel* inner = levels.size() > 1 ? &levels[1] : nullptr;
  if (NamesNoDay(levels.back(), sense)) return false;
  rule.unit = std::ranges::find(kUnitLetters, outer.letters, &UnitRow::letters)->unit;
  rule.interval = outer.interval;
  rule.week_start = 1;  // what the old grammar counts weeks from
  if (outer.letters == "YM") return ConvertYears(outer, inner, start, sense, rule);
  if (outer.letters == "W") ConvertWeeks(outer, start, rule);
  if (outer.letters == "MP") AddPositions(outer, start, sense, rule);
  if (outer.letters == "MD") AddDays(outer, start, sense, rule);
  if (outer.letters == "YD") AddYearDays(outer, start, rule);
  return inner == nullptr;
}

// The number that stands after the inner rule is meant for the outer one.
std::optional<int> CountOf(const std::vector<OldLevel>& levels) {
  if (levels.front().count) return levels.front().count;
  return levels.back().count;
}

void SetEnd(const std::vector<OldLevel>& levels, const std::optional<Moment>& end, OldSense sense,
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

std::vector<TimedRule> ForEachTime(const OldLevel& outer, const RecurRule& rule) {
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
  const std::optional<OldRule> old = ReadOldRuleTokens(text);
  RecurRule rule;
  if (!old || !Convert(old->levels, start, sense, rule)) return {};
  SetEnd(old->levels, old->end, sense, rule);
  return ForEachTime(old->levels.front(), rule);
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
