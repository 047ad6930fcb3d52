// A rule is written in the order of the grammar: letters and interval, entries, duration, nested rule, and at
// the very end the date, which all rules of the text share. There is one Write for each kind of entry, of
// list and of rule, so that a list is written by the same few lines whatever it holds.
//
// Nobody on the way asks whether there is still room: the writer takes all that comes, remembers that something
// did not fit, and empties the text at the end.
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "btosif/osif_erg.h"

namespace {

// Appends to a caller's buffer and never writes beyond it.
class TextWriter {
 public:
  TextWriter(char* text, size_t room) : text_(text), room_(room) {}

  void Add(std::string_view piece) {
    has_room_ = has_room_ && piece.size() < room_ - length_;
    if (!has_room_) return;
    std::memcpy(text_ + length_, piece.data(), piece.size());
    length_ += piece.size();
  }

  void AddNumber(int64_t number) {
    char digits[20];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, number);
    Add({digits, static_cast<size_t>(end - digits)});
  }

  void AddTwoDigits(int32_t number) {
    if (number >= 0 && number < 10) Add("0");
    AddNumber(number);
  }

  void AddMarker(bool end_marker) {
    if (end_marker) Add("$");
  }

  // Terminates the text. False, and the text is empty, when something did not fit.
  bool Finish() {
    if (room_ > 0) text_[has_room_ ? length_ : 0] = '\0';
    return has_room_;
  }

 private:
  char* text_;
  size_t room_;
  size_t length_ = 0;
  bool has_room_ = true;
};

// ---- Entries ------------------------------------------------------------------------------------

int64_t Magnitude(int32_t number) { return std::abs(int64_t{number}); }

void Write(TextWriter& out, const TimeEntry& time) {
  out.Add(" ");
  out.AddTwoDigits(time.hour);
  out.AddTwoDigits(time.minute);
  out.AddMarker(time.end_marker);
}

void Write(TextWriter& out, const WeekdayEntry& entry) {
  if (entry.weekday < 1 || entry.weekday > 7) return;
  out.Add(" ");
  out.Add(kWeekdayCodes[entry.weekday]);
  out.AddMarker(entry.end_marker);
}

void Write(TextWriter& out, const PositionEntry& position) {
  out.Add(" ");
  out.AddNumber(Magnitude(position.count));
  out.Add(position.count < 0 ? "-" : "+");
  out.AddMarker(position.end_marker);
}

void Write(TextWriter& out, const DayEntry& entry) {
  out.Add(" ");
  out.AddNumber(Magnitude(entry.day));
  if (entry.day < 0) out.Add("-");
  out.AddMarker(entry.end_marker);
}

void Write(TextWriter& out, const MonthEntry& entry) {
  out.Add(" ");
  out.AddNumber(entry.month);
  out.AddMarker(entry.end_marker);
}

void Write(TextWriter& out, const YearDayEntry& entry) {
  out.Add(" ");
  out.AddNumber(entry.day);
  out.AddMarker(entry.end_marker);
}

// ---- Lists --------------------------------------------------------------------------------------

void Write(TextWriter& out, const WeekdayGroup& group);
void Write(TextWriter& out, const PositionGroup& group);

template <typename Entry>
void Write(TextWriter& out, const RuleList<Entry>& list) {
  for (const Entry& entry : list) Write(out, entry);
}

void Write(TextWriter& out, const WeekdayGroup& group) {
  Write(out, group.weekdays);
  Write(out, group.times);
}

void Write(TextWriter& out, const PositionGroup& group) {
  Write(out, group.positions);
  Write(out, group.weekdays);
  Write(out, group.times);
}

const auto& ListOf(const DailyRule& rule) { return rule.times; }
const auto& ListOf(const WeeklyRule& rule) { return rule.groups; }
const auto& ListOf(const MonthlyByPositionRule& rule) { return rule.groups; }
const auto& ListOf(const MonthlyByDayRule& rule) { return rule.days; }
const auto& ListOf(const YearlyByMonthRule& rule) { return rule.months; }
const auto& ListOf(const YearlyByDayRule& rule) { return rule.days; }

// ---- Rules --------------------------------------------------------------------------------------

void WriteDuration(TextWriter& out, int32_t duration) {
  if (duration == kDefaultDuration) return;
  out.Add(" #");
  out.AddNumber(duration);
}

void WritePart(TextWriter& out, const RulePart& part);

void Write(TextWriter& out, const MinutelyRule& rule) {
  out.AddNumber(rule.interval);
  WriteDuration(out, rule.duration);
}

template <typename Rule>
void Write(TextWriter& out, const Rule& rule) {
  out.AddNumber(rule.interval);
  Write(out, ListOf(rule));
  WriteDuration(out, rule.duration);
  const Frequency nested = rule.nested.frequency();
  if (nested == Frequency::kNone || nested > Rule::kLastNested) return;
  out.Add(" ");
  WritePart(out, rule.nested);
}

// Nothing for a part without a rule.
void WritePart(TextWriter& out, const RulePart& part) {
  out.Add(kFrequencyLetters[static_cast<size_t>(part.frequency())]);
  switch (part.frequency()) {
    case Frequency::kNone:
      return;
    case Frequency::kMinutely:
      return Write(out, *part.As<MinutelyRule>());
    case Frequency::kDaily:
      return Write(out, *part.As<DailyRule>());
    case Frequency::kWeekly:
      return Write(out, *part.As<WeeklyRule>());
    case Frequency::kMonthlyByPosition:
      return Write(out, *part.As<MonthlyByPositionRule>());
    case Frequency::kMonthlyByDay:
      return Write(out, *part.As<MonthlyByDayRule>());
    case Frequency::kYearlyByMonth:
      return Write(out, *part.As<YearlyByMonthRule>());
    case Frequency::kYearlyByDay:
      return Write(out, *part.As<YearlyByDayRule>());
  }
}

}  // namespace

OsifResult ERG_Generate(const RecurrenceRule& rule, char* text, size_t room) {
  TextWriter out(text, room);
  WritePart(out, rule.part);
  if (rule.end_date[0] != '\0' && rule.frequency() != Frequency::kNone) {
    out.Add(" ");
    out.Add(rule.end_date);
  }
  const bool fits = out.Finish();
  return fits && rule.frequency() != Frequency::kNone ? OSIF_OK : OSIF_ERR_GENERAL;
}
