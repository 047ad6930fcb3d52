// Recurrence rules in the Extended Rule Grammar of vCalendar 1.0, such as "W1 MO TU 0900 #10" or
// "MP1 1+ 2- FR$ 20061231T000000": the record of a rule, reading it from a text and writing it as
// one.
//
// A rule has a frequency, an interval, the entries at which it occurs within the interval, a
// duration (how often it repeats), perhaps a nested rule that repeats within each occurrence, and
// perhaps an end date. A record owns all that hangs from it and can be moved, not copied.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>
#include <variant>

#include "btosif/osif_erg_list.h"
#include "btosif/osif_util/owned_text.h"
#include "osif.h"

// In the order in which the letters of a frequency are looked up.
enum class Frequency : int32_t {
  kNone = 0,
  kMinutely = 1,           // M
  kDaily = 2,              // D
  kWeekly = 3,             // W
  kMonthlyByPosition = 4,  // MP
  kMonthlyByDay = 5,       // MD
  kYearlyByMonth = 6,      // YM
  kYearlyByDay = 7,        // YD
};

// The letters of each frequency, by its number.
inline constexpr std::string_view kFrequencyLetters[] = {"", "M", "D", "W", "MP", "MD", "YM", "YD"};

// The codes of the weekdays, by their numbers 1 (Sunday) to 7 (Saturday).
inline constexpr std::string_view kWeekdayCodes[] = {"", "SU", "MO", "TU", "WE", "TH", "FR", "SA"};

// The duration of a rule that says nothing about it; it is never written.
inline constexpr int32_t kDefaultDuration = 2;
// The duration of a rule that repeats for ever.
inline constexpr int32_t kForever = 0;

// The room of an end date, terminator included.
inline constexpr size_t kEndDateRoom = 20;

// ---- Entries. `end_marker` tells of a "$" after the entry. -------------------------------------

struct TimeEntry {
  int32_t hour = 0;    // 0 to 23
  int32_t minute = 0;  // 0 to 59
  bool end_marker = false;
};

struct WeekdayEntry {
  int32_t weekday = 0;  // 1 (Sunday) to 7 (Saturday)
  bool end_marker = false;
};

struct PositionEntry {
  int32_t count = 0;  // from the start of the month; negative from its end: -1 is the last
  bool end_marker = false;
};

struct DayEntry {
  int32_t day = 0;  // of the month; negative from its end: -1 is the last
  bool end_marker = false;
};

struct MonthEntry {
  int32_t month = 0;  // 1 to 12
  bool end_marker = false;
};

struct YearDayEntry {
  int32_t day = 0;  // 1 to 366
  bool end_marker = false;
};

struct WeekdayGroup {
  RuleList<WeekdayEntry> weekdays;  // a rule that was read has one in each group
  RuleList<TimeEntry> times;
};

struct PositionGroup {
  RuleList<PositionEntry> positions;
  RuleList<WeekdayEntry> weekdays;
  RuleList<TimeEntry> times;
};

// ---- Rules --------------------------------------------------------------------------------------

struct MinutelyRule;
struct DailyRule;
struct WeeklyRule;
struct MonthlyByPositionRule;
struct MonthlyByDayRule;
struct YearlyByMonthRule;
struct YearlyByDayRule;

struct RuleDeleter {
  template <typename Rule>
  void operator()(Rule* rule) const {
    rule->~Rule();
    OsifFree(rule);
  }
};

// A frequency and the rule record that belongs to it, or nothing.
class RulePart {
 public:
  Frequency frequency() const { return static_cast<Frequency>(rule_.index()); }

  // Puts a new rule of the given type (interval 0, the default duration, no entries) in place of
  // what is here, and returns it. Null when memory is short; there is no rule then.
  template <typename Rule>
  Rule* Make() {
    rule_ = std::monostate();
    void* memory = OsifAlloc(sizeof(Rule));
    if (memory == nullptr) return nullptr;
    return rule_.emplace<Owned<Rule>>(new (memory) Rule()).get();
  }

  // The rule when it is of the given type, else null.
  template <typename Rule>
  const Rule* As() const {
    const Owned<Rule>* rule = std::get_if<Owned<Rule>>(&rule_);
    return rule == nullptr ? nullptr : rule->get();
  }

 private:
  template <typename Rule>
  using Owned = std::unique_ptr<Rule, RuleDeleter>;

  // In the order of Frequency.
  std::variant<std::monostate, Owned<MinutelyRule>, Owned<DailyRule>, Owned<WeeklyRule>,
               Owned<MonthlyByPositionRule>, Owned<MonthlyByDayRule>, Owned<YearlyByMonthRule>,
               Owned<YearlyByDayRule>>
      rule_;
};

// What all rules have in common.
struct RuleFrame {
  int32_t interval = 0;
  int32_t duration = kDefaultDuration;
};

struct MinutelyRule : RuleFrame {};

// What the other rules have in common. `kLastNested` of each is the last frequency that may be
// nested.
struct NestingRule : RuleFrame {
  RulePart nested;
};

struct DailyRule : NestingRule {
  static constexpr Frequency kLastNested = Frequency::kMinutely;
  RuleList<TimeEntry> times;
};

struct WeeklyRule : NestingRule {
  static constexpr Frequency kLastNested = Frequency::kMinutely;
  RuleList<WeekdayGroup> groups;
};

struct MonthlyByPositionRule : NestingRule {
  static constexpr Frequency kLastNested = Frequency::kWeekly;
  RuleList<PositionGroup> groups;
};

struct MonthlyByDayRule : NestingRule {
  static constexpr Frequency kLastNested = Frequency::kWeekly;
  RuleList<DayEntry> days;
};

struct YearlyByMonthRule : NestingRule {
  static constexpr Frequency kLastNested = Frequency::kMonthlyByDay;
  RuleList<MonthEntry> months;
};

struct YearlyByDayRule : NestingRule {
  static constexpr Frequency kLastNested = Frequency::kMonthlyByDay;
  RuleList<YearDayEntry> days;
};

// A whole rule. Its destructor releases it; ERG_Free does so earlier.
struct RecurrenceRule {
  RulePart part;
  char end_date[kEndDateRoom] = "";  // as received, for nested rules too; empty when there is none

  Frequency frequency() const { return part.frequency(); }
};

// ---- Functions ----------------------------------------------------------------------------------

// Reads a rule into a record, which is cleared first. An empty text is an empty rule. Tokens at the
// end that do not belong to the rule are dropped silently, save in a minutely rule. OSIF_OK;
// OSIF_PARSE_ERROR for an unknown frequency, one that may not be nested where it is, or a stray
// token in a minutely rule; OSIF_ERR_NO_MEMORY. After a failure the record is empty.
OsifResult ERG_Parse(std::string_view text, RecurrenceRule& rule);

// Writes a rule as a text into a buffer of `room` bytes, terminator included. OSIF_OK;
// OSIF_ERR_GENERAL for an empty rule and when the text does not fit: the buffer then holds the
// empty text, since a rule that is cut would mean something else.
OsifResult ERG_Generate(const RecurrenceRule& rule, char* text, size_t room);

// Releases what hangs from a rule and clears it. Harmless for an empty rule.
void ERG_Free(RecurrenceRule& rule);
