// The tokens are read from left to right: a frequency with its interval, the entries that this frequency has, how often,
// perhaps a rule within the rule, how often that, and an end date. Which entries there are is said by their looks
// alone, as some mean something in one frequency only.
#include "dialects/recurrence_old_tokens.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "btosif/osif_util/ascii.h"
#include "dialects/recurrence.h"

namespace dialects {
namespace {

constexpr size_t kMostTokens = 200;
constexpr size_t kMostTimes = 8;
constexpr std::array<std::string_view, 7> kLetters = {"M", "D", "W", "MP", "MD", "YM", "YD"};

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

bool ReadFrequency(std::string_view token, OldLevel& level) {
  const size_t digits = std::min(token.find_first_of("0123456789"), token.size());
  const auto* letters = std::ranges::find(kLetters, token.substr(0, digits));
  if (letters == kLetters.end()) return false;
  level.letters = *letters;
  const std::string_view interval = token.substr(digits);
  const std::optional<int> number = interval.empty() ? 1 : WholeNumber(interval);
  if (!number || *number > kLargestInterval) return false;
  level.interval = std::max(*number, 1);
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

  std::optional<OldRule> Read() {
    for (const std::string& token : tokens_) {
      if (!Take(token)) return std::nullopt;
    }
    if (rule_.levels.empty()) return std::nullopt;
    return rule_;
  }

 private:
  bool Take(const std::string& token) {
    OldLevel level;
    if (ReadFrequency(token, level)) {
      rule_.levels.push_back(level);
      return rule_.levels.size() <= 2;
    }
    if (rule_.levels.empty()) return false;
    if (token.starts_with('#')) {
      const std::optional<int> count = WholeNumber(std::string_view(token).substr(1));
      if (!count || *count < 0) return false;
      rule_.levels.back().count = std::min(*count, kLargestCount);
      return true;
    }
    if (const std::optional<Moment> end = token.size() >= 8 ? ReadMoment(token) : std::nullopt) {
      rule_.end = end;
      return true;
    }
    return TakeEntry(token, rule_.levels.back());
  }

  static bool TakeEntry(const std::string& token, OldLevel& level) {
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
  OldRule rule_;
};

}  // namespace

std::optional<OldRule> ReadOldRuleTokens(std::string_view text) {
  return OldRuleReader(text).Read();
}

}  // namespace dialects
