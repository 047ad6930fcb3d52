// A rule's text is a list of parts, "NAME=VALUE" between ";"; one table says which part fills which list, and what
// its numbers may be. Numbers out of range are left out, as a rule's other parts still mean something.
#include "dialects/recurrence.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "btosif/osif_util/ascii.h"
#include "dialects/content_line.h"

namespace dialects {
namespace {

constexpr std::array<std::string_view, 7> kUnits = {"SECONDLY", "MINUTELY", "HOURLY", "DAILY",
                                                    "WEEKLY",   "MONTHLY",  "YEARLY"};

struct ListRow {
  std::string_view name;
  std::vector<int> RecurRule::*list;
  int lowest;  // negative: numbers count from the end as well, and 0 is none
  int highest;
};

constexpr std::array<ListRow, 8> kLists = {{
    {"BYMONTH", &RecurRule::months, 1, 12},
    {"BYMONTHDAY", &RecurRule::month_days, -31, 31},
    {"BYYEARDAY", &RecurRule::year_days, -366, 366},
    {"BYWEEKNO", &RecurRule::week_numbers, -53, 53},
    {"BYHOUR", &RecurRule::hours, 0, 23},
    {"BYMINUTE", &RecurRule::minutes, 0, 59},
    {"BYSECOND", &RecurRule::seconds, 0, 59},
    {"BYSETPOS", &RecurRule::set_positions, -366, 366},
}};

constexpr size_t kMostEntries = 400;  // no list can have more that differ

// All of a text as a number; a "+" may stand before it.
std::optional<int> Number(std::string_view text) {
  text = Trim(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  int number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

template <typename Take>
void ForEachPiece(std::string_view text, char separator, Take take) {
  while (!text.empty()) {
    const size_t end = std::min(text.find(separator), text.size());
    take(Trim(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

template <typename Entry>
void AddOnce(const Entry& entry, std::vector<Entry>& list) {
  if (list.size() < kMostEntries && std::ranges::find(list, entry) == list.end()) {
    list.push_back(entry);
  }
}

// An entry that is left out would make another rule of it. An empty one says nothing.
bool ReadList(std::string_view value, const ListRow& row, RecurRule& rule) {
  bool is_understood = true;
  ForEachPiece(value, ',', [&](std::string_view piece) {
    if (piece.empty()) return;
    const std::optional<int> number = Number(piece);
    const bool is_in_range = number && *number >= row.lowest && *number <= row.highest &&
                             (*number != 0 || row.lowest == 0);
    if (is_in_range) AddOnce(*number, rule.*row.list);
    is_understood = is_understood && is_in_range;
  });
  return is_understood;
}

bool ReadDays(std::string_view value, RecurRule& rule) {
  constexpr size_t kCode = 2;
  bool is_understood = true;
  ForEachPiece(value, ',', [&](std::string_view piece) {
    if (piece.empty()) return;
    const size_t before = piece.size() - std::min(piece.size(), kCode);
    const int weekday = WeekdayNumber(piece.substr(before));
    const std::optional<int> position = before == 0 ? 0 : Number(piece.substr(0, before));
    const bool is_day = weekday != 0 && position && *position >= -53 && *position <= 53;
    if (is_day) AddOnce(RuleDay{weekday, *position}, rule.days);
    is_understood = is_understood && is_day;
  });
  return is_understood;
}

// False for a part that makes the whole rule mean something that nobody here knows.
bool TakePart(std::string_view name, std::string_view value, RecurRule& rule, bool& has_unit) {
  if (name == "FREQ") {
    const auto* unit = std::ranges::find(kUnits, value);
    has_unit = unit != kUnits.end();
    if (has_unit) rule.unit = static_cast<RuleUnit>(unit - kUnits.begin());
    return has_unit;
  }
  if (name == "RSCALE") return value == "GREGORIAN";
  if (name == "SKIP") return value == "OMIT";
  if (name == "INTERVAL") {
    rule.interval = std::max(Number(value).value_or(1), 1);
    return rule.interval <= kLargestInterval;
  } else if (name == "COUNT") {
    rule.count = std::clamp(Number(value).value_or(0), 0, kLargestCount);
  } else if (name == "UNTIL") {
    rule.until = ReadMoment(value);
    return rule.until.has_value();
  } else if (name == "WKST") {
    if (const int weekday = WeekdayNumber(value); weekday != 0) rule.week_start = weekday;
  } else if (name == "BYDAY") {
    return ReadDays(value, rule);
  } else if (const auto* row = std::ranges::find(kLists, name, &ListRow::name);
             row != kLists.end()) {
    return ReadList(value, *row, rule);
  } else {
    return !name.starts_with("BY");
  }
  return true;
}

std::string Joined(const std::vector<int>& numbers) {
  std::string text;
  for (const int number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
  return text;
}

std::string Joined(const std::vector<RuleDay>& days) {
  std::string text;
  for (const RuleDay& day : days) {
    if (!text.empty()) text += ',';
    if (day.position != 0) text += std::to_string(day.position);
    text += kWeekdays[day.weekday];
  }
  return text;
}

std::string UntilText(const Moment& until) {
  if (until.kind == TimeKind::kDate) return DateText(until.time);
  return DateTimeText(until.time) + (until.kind == TimeKind::kUtc ? "Z" : "");
}

}  // namespace

int WeekdayNumber(std::string_view code) {
  const auto* found = std::ranges::find(kWeekdays, code);
  return found == std::end(kWeekdays) ? 0 : static_cast<int>(found - std::begin(kWeekdays));
}

std::optional<RecurRule> ReadRecurRule(std::string_view text) {
  RecurRule rule;
  bool is_known = true;
  bool has_unit = false;
  const std::string upper = ToUpper(text);
  ForEachPiece(upper, ';', [&](std::string_view part) {
    if (part.empty()) return;
    const size_t sign = part.find_first_of("=-");
    if (sign == std::string_view::npos) return;
    is_known = TakePart(Trim(part.substr(0, sign)), Trim(part.substr(sign + 1)), rule, has_unit) &&
               is_known;
  });
  if (!is_known || !has_unit) return std::nullopt;
  return rule;
}

std::string RecurRuleText(const RecurRule& rule) {
  std::string text = "FREQ=" + std::string(kUnits[static_cast<size_t>(rule.unit)]);
  if (rule.interval != 1) text += ";INTERVAL=" + std::to_string(rule.interval);
  if (rule.count != 0) text += ";COUNT=" + std::to_string(rule.count);
  if (rule.until && rule.count == 0) text += ";UNTIL=" + UntilText(*rule.until);
  if (!rule.days.empty()) text += ";BYDAY=" + Joined(rule.days);
  for (const ListRow& row : kLists) {
    if (const std::vector<int>& list = rule.*row.list; !list.empty()) {
      text += ";" + std::string(row.name) + "=" + Joined(list);
    }
  }
  const bool counts_weeks = rule.unit == RuleUnit::kWeekly || !rule.week_numbers.empty();
  if (counts_weeks && rule.week_start != 2) {
    text += ";WKST=" + std::string(kWeekdays[rule.week_start]);
  }
  return text;
}

}  // namespace dialects
