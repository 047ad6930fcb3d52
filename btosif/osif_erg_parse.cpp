// A token is read by the first of the forms below that it fits; a parser asks form after form in
// the order of the grammar, and moves past a token only when one has taken it. So a token that fits several
// forms ("0900" is a time as well as a day) means what the grammar allows where it stands.
//
// Numbers are held at the largest one instead of running over, and how deep rules nest is limited by their
// kinds: a peer's text decides how long the lists get, and nothing else.
#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>

#include "btosif/osif_erg.h"
#include "btosif/osif_util/ascii.h"

namespace {

constexpr size_t kShortestEndDate = 15;
constexpr size_t kEndDateSeparator = 8;  // the position of its "T"

// ---- Tokens -------------------------------------------------------------------------------------

// The tokens of a text: what stands between runs of blanks.
class Tokens {
 public:
  explicit Tokens(std::string_view text) : rest_(text) { Advance(); }

  // The token at hand; empty at the end of the text.
  std::string_view token() const { return token_; }

  void Advance() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
    token_ = rest_.substr(0, rest_.find(' '));
    rest_.remove_prefix(token_.size());
  }

 private:
  std::string_view rest_;
  std::string_view token_;
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

size_t CountDigits(std::string_view text) {
  size_t count = 0;
  while (count < text.size() && IsDigit(text[count])) ++count;
  return count;
}

// The number that the digits at the start of a text make, held at the largest one; 0 without
// digits.
int32_t Number(std::string_view text) {
  constexpr int64_t kLargest = std::numeric_limits<int32_t>::max();
  int64_t number = 0;
  for (const char digit : text.substr(0, CountDigits(text))) {
    number = std::min(number * 10 + (digit - '0'), kLargest);
  }
  return static_cast<int32_t>(number);
}

// Takes a character off the start of a text when it is there.
bool TakeCharacter(std::string_view& text, char c) {
  if (!text.starts_with(c)) return false;
  text.remove_prefix(1);
  return true;
}

struct FrequencyToken {
  Frequency frequency;
  int32_t interval;
};

// The letters before the first digit need only begin a frequency's letters, and the first that they
// begin wins: "Y1" is a yearly rule by month.
std::optional<FrequencyToken> ReadFrequency(std::string_view token) {
  const std::string_view letters = token.substr(0, token.find_first_of("0123456789"));
  if (letters.empty()) return std::nullopt;
  for (size_t i = 1; i < std::size(kFrequencyLetters); ++i) {
    if (!kFrequencyLetters[i].starts_with(letters)) continue;
    return FrequencyToken{static_cast<Frequency>(i), Number(token.substr(letters.size()))};
  }
  return std::nullopt;
}

std::optional<int32_t> ReadDuration(std::string_view token) {
  if (!TakeCharacter(token, '#') || CountDigits(token) == 0) return std::nullopt;
  return Number(token);
}

bool IsEndDate(std::string_view token) {
  return token.size() >= kShortestEndDate && token[kEndDateSeparator] == 'T';
}

std::optional<TimeEntry> ReadTime(std::string_view token) {
  if ((token.size() != 4 && token.size() != 5) || CountDigits(token) < 4) return std::nullopt;
  const TimeEntry time = {Number(token.substr(0, 2)), Number(token.substr(2, 2)),
                          token.ends_with('$')};
  if (time.hour >= 24 || time.minute >= 60) return std::nullopt;
  return time;
}

std::optional<WeekdayEntry> ReadWeekday(std::string_view token) {
  for (size_t i = 1; i < std::size(kWeekdayCodes); ++i) {
    if (!token.starts_with(kWeekdayCodes[i])) continue;
    return WeekdayEntry{static_cast<int32_t>(i), token.substr(2).starts_with('$')};
  }
  return std::nullopt;
}

std::optional<PositionEntry> ReadPosition(std::string_view token) {
  if (token.size() < 2 || token.size() > 3 || !IsDigit(token[0])) return std::nullopt;
  if (token[1] != '+' && token[1] != '-') return std::nullopt;
  const int32_t count = token[0] - '0';
  return PositionEntry{token[1] == '-' ? -count : count, token.ends_with('$')};
}

std::optional<DayEntry> ReadDay(std::string_view token) {
  if (token == "LD") return DayEntry{-1, false};
  const size_t digits = CountDigits(token);
  if (digits == 0 || token.size() > 4) return std::nullopt;
  const int32_t day = Number(token);
  token.remove_prefix(digits);
  const bool is_negative = TakeCharacter(token, '-');
  if (!is_negative) TakeCharacter(token, '+');
  const bool end_marker = TakeCharacter(token, '$');
  if (!token.empty()) return std::nullopt;
  return DayEntry{is_negative ? -day : day, end_marker};
}

// A number from 1 to `limit` of at most `max_digits` digits, with or without "$" after it.
template <typename Entry>
std::optional<Entry> ReadLimited(std::string_view token, size_t max_digits, int32_t limit) {
  const size_t digits = CountDigits(token);
  const int32_t number = Number(token);
  if (digits > max_digits || number < 1 || number > limit) return std::nullopt;
  token.remove_prefix(digits);
  const bool end_marker = TakeCharacter(token, '$');
  if (!token.empty()) return std::nullopt;
  return Entry{number, end_marker};
}

std::optional<MonthEntry> ReadMonth(std::string_view token) {
  return ReadLimited<MonthEntry>(token, 4, 12);
}

std::optional<YearDayEntry> ReadYearDay(std::string_view token) {
  return ReadLimited<YearDayEntry>(token, 6, 366);
}

// ---- Lists --------------------------------------------------------------------------------------

// Appends tokens as long as they have the form that `read` reads.
template <typename Entry>
OsifResult TakeEntries(Tokens& tokens, std::optional<Entry> (*read)(std::string_view),
                       RuleList<Entry>& list) {
  while (const std::optional<Entry> entry = read(tokens.token())) {
    if (list.Append(*entry) == nullptr) return OSIF_ERR_NO_MEMORY;
    tokens.Advance();
  }
  return OSIF_OK;
}

OsifResult TakeList(Tokens& tokens, DailyRule& rule) {
  return TakeEntries(tokens, ReadTime, rule.times);
}

OsifResult TakeList(Tokens& tokens, WeeklyRule& rule) {
  while (const std::optional<WeekdayEntry> weekday = ReadWeekday(tokens.token())) {
    WeekdayGroup* group = rule.groups.Append();
    if (group == nullptr || group->weekdays.Append(*weekday) == nullptr) return OSIF_ERR_NO_MEMORY;
    tokens.Advance();
    if (OsifResult result = TakeEntries(tokens, ReadTime, group->times)) return result;
  }
  return OSIF_OK;
}

OsifResult TakeList(Tokens& tokens, MonthlyByPositionRule& rule) {
  while (ReadPosition(tokens.token())) {
    PositionGroup* group = rule.groups.Append();
    if (group == nullptr) return OSIF_ERR_NO_MEMORY;
    if (OsifResult result = TakeEntries(tokens, ReadPosition, group->positions)) return result;
    if (OsifResult result = TakeEntries(tokens, ReadWeekday, group->weekdays)) return result;
    if (OsifResult result = TakeEntries(tokens, ReadTime, group->times)) return result;
  }
  return OSIF_OK;
}

OsifResult TakeList(Tokens& tokens, MonthlyByDayRule& rule) {
  return TakeEntries(tokens, ReadDay, rule.days);
}

OsifResult TakeList(Tokens& tokens, YearlyByMonthRule& rule) {
  return TakeEntries(tokens, ReadMonth, rule.months);
}

OsifResult TakeList(Tokens& tokens, YearlyByDayRule& rule) {
  return TakeEntries(tokens, ReadYearDay, rule.days);
}

// ---- Rules --------------------------------------------------------------------------------------

// Reads one text. Nested rules share the cursor and the end date; they nest four deep at most,
// since each kind of rule allows only kinds of shorter periods in it.
class RuleParser {
 public:
  RuleParser(std::string_view text, char (&end_date)[kEndDateRoom])
      : tokens_(text), end_date_(end_date) {}

  OsifResult Parse(RulePart& part, Frequency last_allowed) {
    const std::optional<FrequencyToken> head = ReadFrequency(tokens_.token());
    if (!head || head->frequency > last_allowed) return OSIF_PARSE_ERROR;
    tokens_.Advance();
    switch (head->frequency) {
      case Frequency::kMinutely:
        return ParseMinutely(part, head->interval);
      case Frequency::kDaily:
        return ParseRest<DailyRule>(part, head->interval);
      case Frequency::kWeekly:
        return ParseRest<WeeklyRule>(part, head->interval);
      case Frequency::kMonthlyByPosition:
        return ParseRest<MonthlyByPositionRule>(part, head->interval);
      case Frequency::kMonthlyByDay:
        return ParseRest<MonthlyByDayRule>(part, head->interval);
      case Frequency::kYearlyByMonth:
        return ParseRest<YearlyByMonthRule>(part, head->interval);
      case Frequency::kYearlyByDay:
        return ParseRest<YearlyByDayRule>(part, head->interval);
      case Frequency::kNone:
        break;
    }
    return OSIF_PARSE_ERROR;
  }

 private:
  OsifResult ParseMinutely(RulePart& part, int32_t interval) {
    auto* rule = part.Make<MinutelyRule>();
    if (rule == nullptr) return OSIF_ERR_NO_MEMORY;
    rule->interval = interval;
    bool has_duration = false;
    bool has_end_date = false;
    while (!tokens_.token().empty()) {
      if (!has_duration && TakeDuration(*rule)) {
        has_duration = true;
      } else if (!has_end_date && TakeEndDate()) {
        has_end_date = true;
      } else {
        return OSIF_PARSE_ERROR;
      }
    }
    return OSIF_OK;
  }

  template <typename Rule>
  OsifResult ParseRest(RulePart& part, int32_t interval) {
    Rule* rule = part.Make<Rule>();
    if (rule == nullptr) return OSIF_ERR_NO_MEMORY;
    rule->interval = interval;
    if (OsifResult result = TakeList(tokens_, *rule)) return result;
    TakeDuration(*rule);
    if (ReadFrequency(tokens_.token())) return Parse(rule->nested, Rule::kLastNested);
    TakeEndDate();
    return OSIF_OK;
  }

  // True when the token at hand is a duration, which is then taken; so for the end date.
  bool TakeDuration(RuleFrame& rule) {
    const std::optional<int32_t> duration = ReadDuration(tokens_.token());
    if (!duration) return false;
    rule.duration = *duration;
    tokens_.Advance();
    return true;
  }

  bool TakeEndDate() {
    if (!IsEndDate(tokens_.token())) return false;
    CopyBounded(end_date_, tokens_.token());
    tokens_.Advance();
    return true;
  }

  Tokens tokens_;
  char (&end_date_)[kEndDateRoom];
};

}  // namespace

OsifResult ERG_Parse(std::string_view text, RecurrenceRule& rule) {
  ERG_Free(rule);
  if (text.empty()) return OSIF_OK;
  const OsifResult result =
      RuleParser(text, rule.end_date).Parse(rule.part, Frequency::kYearlyByDay);
  if (result != OSIF_OK) ERG_Free(rule);
  return result;
}

void ERG_Free(RecurrenceRule& rule) { rule = RecurrenceRule(); }
