// A rule's text is parsed into a rule (osif_erg.h), and a rule is translated to the PIM's pattern property by
// property; the way back builds a rule of the pattern's values and generates its text. Each kind of rule has
// one translation and each type of pattern one builder.
//
// A rule can say more than a pattern: several positions in a month, several days, a list of months. Of those
// the first counts. A rule without anything to count makes the item a single one, which is traced; a text
// that is no rule leaves the item as it was.
//
// A pattern is changed in place: the PIM keeps it with the item, and only a saved item has occurrences that
// can be deleted. So an appointment with exceptions is saved on the way; should the caller's own save fail
// later, it stays saved as far as it has come.
#include "BtOsif_pol/pol_recurrence.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <new>
#include <string>

#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_mapping.h"
#include "btosif/osif_date.h"
#include "btosif/osif_erg.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "config/trace.h"
#include "platform/api/com_ptr.h"

namespace {

constexpr LONG kLastInstance = 5;
constexpr int32_t kLastPosition = -1;
constexpr size_t kRuleRoom = 512;
constexpr std::array<int, 11> kMonthLengths = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30};

// ---- Rule to pattern --------------------------------------------------------------------------------

// Weekdays count from Sunday, 1, to Saturday, 7; the pattern has a bit for each.
LONG WeekdayBit(int32_t weekday) {
  return weekday >= 1 && weekday <= 7 ? LONG{1} << (weekday - 1) : 0;
}

LONG MaskOf(const RuleList<WeekdayEntry>& weekdays) {
  LONG mask = 0;
  for (const WeekdayEntry& entry : weekdays) mask |= WeekdayBit(entry.weekday);
  return mask;
}

LONG MaskOf(const RuleList<WeekdayGroup>& groups) {
  LONG mask = 0;
  for (const WeekdayGroup& group : groups) mask |= MaskOf(group.weekdays);
  return mask;
}

// A rule counts from both ends of a month, a pattern from its beginning to the fifth, which is the last.
LONG InstanceOf(int32_t position) {
  if (position >= 1 && position <= 5) return position;
  if (position >= -5 && position <= -1) return position + 6;
  return 0;
}

// The first group of a rule by position, when it has a position.
const PositionGroup* FirstGroup(const MonthlyByPositionRule& rule) {
  const PositionGroup* group = rule.groups.first();
  return group == nullptr || group->positions.empty() ? nullptr : group;
}

bool Translate(const DailyRule& rule, IRecurrencePattern& pattern) {
  pattern.put_RecurrenceType(olRecursDaily);
  pattern.put_Interval(rule.interval);
  return true;
}

bool Translate(const WeeklyRule& rule, IRecurrencePattern& pattern) {
  if (rule.groups.empty()) return false;
  pattern.put_RecurrenceType(olRecursWeekly);
  pattern.put_Interval(rule.interval);
  pattern.put_DayOfWeekMask(MaskOf(rule.groups));
  return true;
}

bool Translate(const MonthlyByPositionRule& rule, IRecurrencePattern& pattern) {
  const PositionGroup* group = FirstGroup(rule);
  if (group == nullptr) return false;
  pattern.put_RecurrenceType(olRecursMonthNth);
  pattern.put_Interval(rule.interval);
  pattern.put_Instance(InstanceOf(group->positions.first()->count));
  pattern.put_DayOfWeekMask(MaskOf(group->weekdays));
  return true;
}

bool Translate(const MonthlyByDayRule& rule, IRecurrencePattern& pattern) {
  if (rule.days.empty()) return false;
  pattern.put_RecurrenceType(olRecursMonthly);
  pattern.put_Interval(rule.interval);
  pattern.put_DayOfMonth(rule.days.first()->day);
  return true;
}

bool TranslateYearlyByPosition(LONG month, const MonthlyByPositionRule& rule,
                               IRecurrencePattern& pattern) {
  const PositionGroup* group = FirstGroup(rule);
  if (group == nullptr) return false;
  pattern.put_RecurrenceType(olRecursYearNth);
  pattern.put_DayOfWeekMask(MaskOf(group->weekdays));
  pattern.put_Instance(InstanceOf(group->positions.first()->count));
  pattern.put_MonthOfYear(month);
  return true;
}

bool PutYearly(LONG month, LONG day, IRecurrencePattern& pattern) {
  pattern.put_RecurrenceType(olRecursYearly);
  pattern.put_MonthOfYear(month);
  pattern.put_DayOfMonth(day);
  return true;
}

bool Translate(const YearlyByMonthRule& rule, IRecurrencePattern& pattern) {
  if (rule.months.empty()) return false;
  const LONG month = rule.months.first()->month;
  if (const auto* nested = rule.nested.As<MonthlyByPositionRule>()) {
    return TranslateYearlyByPosition(month, *nested, pattern);
  }
  const auto* nested = rule.nested.As<MonthlyByDayRule>();
  if (nested == nullptr || nested->days.empty()) return false;
  return PutYearly(month, nested->days.first()->day, pattern);
}

// February always counts 28 days, so that a day of the year is the same date in every year.
bool Translate(const YearlyByDayRule& rule, IRecurrencePattern& pattern) {
  if (rule.days.empty()) return false;
  LONG day = rule.days.first()->day;
  size_t month = 0;
  while (month < kMonthLengths.size() && day > kMonthLengths[month]) day -= kMonthLengths[month++];
  return PutYearly(static_cast<LONG>(month) + 1, day, pattern);
}

// How a rule ends: never, on a date, or after a number of times. Of a date and a number, the date counts.
struct RuleEnd {
  int32_t duration;
  const char* end_date;
};

void PutEnd(const RuleEnd& end, IRecurrencePattern& pattern) {
  DATE date = kNoDate;
  if (end.duration == kForever) {
    pattern.put_NoEndDate(VARIANT_TRUE);
  } else if (end.end_date[0] != '\0' && Iso8601ToDate(end.end_date, &date)) {
    pattern.put_PatternEndDate(date);
  } else {
    pattern.put_Occurrences(end.duration);
  }
}

// False when the rule is of another kind, or of this kind and the PIM cannot hold it.
template <typename Rule>
bool TranslateWhole(const RecurrenceRule& rule, IRecurrencePattern& pattern) {
  const Rule* part = rule.part.As<Rule>();
  if (part == nullptr || !Translate(*part, pattern)) return false;
  PutEnd({part->duration, rule.end_date}, pattern);
  return true;
}

// False for a rule that the PIM cannot hold.
bool PutRule(const RecurrenceRule& rule, IRecurrencePattern& pattern) {
  return TranslateWhole<DailyRule>(rule, pattern) || TranslateWhole<WeeklyRule>(rule, pattern) ||
         TranslateWhole<MonthlyByPositionRule>(rule, pattern) ||
         TranslateWhole<MonthlyByDayRule>(rule, pattern) ||
         TranslateWhole<YearlyByMonthRule>(rule, pattern) ||
         TranslateWhole<YearlyByDayRule>(rule, pattern);
}

bool ParseRule(PropertyValue* value, RecurrenceRule& rule) {
  const std::string text = TextToMultiByte(kUtf8CodePage, DecodedText(value, 0));
  const OsifResult result = ERG_Parse(text, rule);
  if (result != OSIF_OK) OSIF_Trace(0, "OSIF:  ERG_Parse failed (code=%d)", result);
  return result == OSIF_OK;
}

// The recurrence that the item may have had is not what the peer means either.
template <typename Item>
void MakeSingle(Item& item) {
  OSIF_Trace(0, "OSIF:  The Extended Rule Grammar could not be translated to an");
  OSIF_Trace(0, "       Outlook Recurrence pattern. Item will be sent as One-time.");
  item.ClearRecurrencePattern();
}

// Puts the rule into the pattern of an item. True when the item recurs by it.
template <typename Item>
bool PutRuleText(PropertyValue* rule_value, Item& item, IRecurrencePattern& pattern) {
  RecurrenceRule rule;
  if (!ParseRule(rule_value, rule)) return false;
  if (PutRule(rule, pattern)) return true;
  MakeSingle(item);
  return false;
}

// The pattern of an item that a rule is to be put into; null for none.
template <typename Item>
ComPtr<IRecurrencePattern> PatternFor(const PropertyValue* rule_value, Item& item) {
  ComPtr<IRecurrencePattern> pattern;
  if (!pol_HasFirstText(rule_value)) {
    item.ClearRecurrencePattern();
  } else if (FAILED(item.GetRecurrencePattern(pattern.put()))) {
    pattern.reset();
  }
  return pattern;
}

// All that a record tells of an exception is when it would be, so an exception is an occurrence that is gone.
void DeleteOccurrence(IRecurrencePattern& pattern, PropertyValue& exception) {
  const DATE date = pol_DateOf(&exception);
  ComPtr<IAppointment> occurrence;
  if (SUCCEEDED(pattern.GetOccurrence(date, occurrence.put())) && occurrence) {
    occurrence->Delete();
    return;
  }
  char text[kTimeStampRoom];
  DateToIso8601(date, text, sizeof text, true, false);
  OSIF_Trace(0, "OSIF:  Could not find Appointment for '%s' (Exception not made)", text);
}

// ---- Pattern to rule --------------------------------------------------------------------------------

// A pattern's properties as a rule needs them.
struct PatternValues {
  LONG type = 0;
  bool has_end = false;
  LONG occurrences = 0;
  LONG interval = 0;
  LONG weekday_mask = 0;
  LONG day_of_month = 0;
  LONG instance = 0;
  LONG month_of_year = 0;
  char end_date[kEndDateRoom] = "";
};

PatternValues ReadPattern(IRecurrencePattern& pattern) {
  PatternValues values;
  values.type = pol_Get(pattern, &IRecurrencePattern::get_RecurrenceType);
  values.has_end = pol_Get(pattern, &IRecurrencePattern::get_NoEndDate) == VARIANT_FALSE;
  if (values.has_end) {
    values.occurrences = pol_Get(pattern, &IRecurrencePattern::get_Occurrences);
    const DATE end = pol_Get(pattern, &IRecurrencePattern::get_PatternEndDate, kNoDate);
    DateToIso8601(end, values.end_date, sizeof values.end_date, true, false);
  }
  values.interval = pol_Get(pattern, &IRecurrencePattern::get_Interval);
  values.weekday_mask = pol_Get(pattern, &IRecurrencePattern::get_DayOfWeekMask);
  values.day_of_month = pol_Get(pattern, &IRecurrencePattern::get_DayOfMonth);
  values.instance = pol_Get(pattern, &IRecurrencePattern::get_Instance);
  values.month_of_year = pol_Get(pattern, &IRecurrencePattern::get_MonthOfYear);
  return values;
}

// The pieces of a rule are made in the record's own memory; null means that it is short.
template <typename Piece>
Piece& Made(Piece* piece) {
  if (piece == nullptr) throw std::bad_alloc();
  return *piece;
}

template <typename Rule>
Rule& MakeRule(RulePart& part, LONG interval) {
  Rule& rule = Made(part.Make<Rule>());
  rule.interval = interval;
  return rule;
}

template <typename Take>
void ForEachWeekday(LONG mask, Take take) {
  for (int32_t weekday = 1; weekday <= 7; ++weekday) {
    if ((mask & WeekdayBit(weekday)) != 0) take(weekday);
  }
}

RuleFrame& BuildWeekly(RulePart& part, LONG interval, LONG mask) {
  auto& rule = MakeRule<WeeklyRule>(part, interval);
  ForEachWeekday(mask, [&rule](int32_t weekday) {
    Made(Made(rule.groups.Append()).weekdays.Append({weekday, false}));
  });
  return rule;
}

RuleFrame& BuildByDay(RulePart& part, LONG interval, LONG day) {
  auto& rule = MakeRule<MonthlyByDayRule>(part, interval);
  Made(rule.days.Append({day, false}));
  return rule;
}

RuleFrame& BuildByPosition(RulePart& part, LONG interval, const PatternValues& values) {
  auto& rule = MakeRule<MonthlyByPositionRule>(part, interval);
  PositionGroup& group = Made(rule.groups.Append());
  const int32_t position = values.instance >= kLastInstance ? kLastPosition : values.instance;
  Made(group.positions.Append({position, false}));
  ForEachWeekday(values.weekday_mask, [&group](int32_t weekday) {
    Made(group.weekdays.Append({weekday, false}));
  });
  return rule;
}

// The PIM knows no years in between, so the interval is 1 whatever the pattern says.
YearlyByMonthRule& BuildYearly(RulePart& part, const PatternValues& values) {
  auto& rule = MakeRule<YearlyByMonthRule>(part, 1);
  Made(rule.months.Append({values.month_of_year, false}));
  return rule;
}

// The frame of the rule that the pattern's type asks for; null for an unknown type.
RuleFrame* BuildByType(RulePart& part, const PatternValues& values) {
  switch (values.type) {
    case olRecursDaily:
      // A daily pattern with weekdays means each of these days.
      if (values.weekday_mask != 0) return &BuildWeekly(part, 1, values.weekday_mask);
      return &MakeRule<DailyRule>(part, values.interval);
    case olRecursWeekly:
      return &BuildWeekly(part, values.interval, values.weekday_mask);
    case olRecursMonthly:
      return &BuildByDay(part, values.interval, values.day_of_month);
    case olRecursMonthNth:
      return &BuildByPosition(part, values.interval, values);
    case olRecursYearly: {
      YearlyByMonthRule& rule = BuildYearly(part, values);
      BuildByDay(rule.nested, 1, values.day_of_month);
      return &rule;
    }
    case olRecursYearNth: {
      YearlyByMonthRule& rule = BuildYearly(part, values);
      BuildByPosition(rule.nested, 1, values);
      return &rule;
    }
    default:
      return nullptr;
  }
}

// 0, or a code that tells why there is no rule.
LONG BuildRule(const PatternValues& values, RecurrenceRule& rule) {
  try {
    RuleFrame* frame = BuildByType(rule.part, values);
    if (frame == nullptr) return values.type == 0 ? OSIF_ERR_GENERAL : values.type;
    frame->duration = values.has_end ? values.occurrences : kForever;
    CopyBounded(rule.end_date, values.end_date);
    return 0;
  } catch (const std::bad_alloc&) {
    return OSIF_ERR_NO_MEMORY;
  }
}

void TraceNoRule(LONG code, const PatternValues& values) {
  OSIF_Trace(0, "OSIF:  Error creating Extended Recurrence Grammar from pattern (code=%d)", code);
  OSIF_Trace(0, "       RecurrenceType='%d'", values.type);
  OSIF_Trace(0, "       DayOfWeekMask='0x%x'", values.weekday_mask);
  OSIF_Trace(0, "       Occurrences='%d'", values.occurrences);
  OSIF_Trace(0, "       Enddate='%s'", values.end_date);
  OSIF_Trace(0, "       Interval='%d'", values.interval);
  OSIF_Trace(0, "       MonthOfYear='%d'", values.month_of_year);
  OSIF_Trace(0, "       DayOfMonth='%d'", values.day_of_month);
  OSIF_Trace(0, "       Instance='%d'", values.instance);
}

void AppendRule(IRecurrencePattern& pattern, PropertyValue*& list) {
  const PatternValues values = ReadPattern(pattern);
  RecurrenceRule rule;
  if (const LONG code = BuildRule(values, rule); code != 0) {
    TraceNoRule(code, values);
    return;
  }
  char text[kRuleRoom];
  if (const OsifResult result = ERG_Generate(rule, text, sizeof text); result != OSIF_OK) {
    OSIF_Trace(0, "OSIF:  ERG_Generate failed (code=%d)", result);
    return;
  }
  pol_AppendAscii(list, text);
}

// A date with the time of day of another.
DATE WithTimeOfDay(DATE day, DATE time) {
  SYSTEMTIME date = {};
  SYSTEMTIME clock = {};
  if (!DateToSystemTime(day, &date) || !DateToSystemTime(time, &clock)) return day;
  clock.wYear = date.wYear;
  clock.wMonth = date.wMonth;
  clock.wDay = date.wDay;
  DATE result = day;
  SystemTimeToDate(clock, &result);
  return result;
}

// An exception of the PIM is a day; a receiver looks for the occurrence by the time at which it starts. The
// last value is kept so that a long list is not gone through for each.
void AppendExceptions(IRecurrencePattern& pattern, DATE start, PropertyValue*& list) {
  ComPtr<IExceptions> exceptions;
  if (FAILED(pattern.get_Exceptions(exceptions.put()))) return;
  PropertyValue* last = nullptr;
  pol_ForEach<IException>(exceptions, [&](IException& exception) {
    const DATE day = pol_Get(exception, &IException::get_OriginalDate, kNoDate);
    char text[kTimeStampRoom];
    DateToIso8601(WithTimeOfDay(day, start), text, sizeof text, true, false);
    PropertyValue* value = PropertyValue_Append(list, last);
    if (value == nullptr) throw std::bad_alloc();
    PropertyValue_SetText(WideText(text, text + std::char_traits<char>::length(text)), value, 0, 0);
  });
}

template <typename Item>
ComPtr<IRecurrencePattern> PatternOf(Item& item) {
  ComPtr<IRecurrencePattern> pattern;
  if (pol_Get(item, &Item::get_IsRecurring) == VARIANT_FALSE) return pattern;
  if (FAILED(item.GetRecurrencePattern(pattern.put()))) pattern.reset();
  return pattern;
}

}  // namespace

void pol_PutTaskRecurrence(OsifCalendar& record, ITask& task) {
  PropertyValue* rule = record.tail.todo.rRule;
  const ComPtr<IRecurrencePattern> pattern = PatternFor(rule, task);
  if (!pattern) return;
  if (pol_HasFirstText(record.dtStart)) {
    pattern->put_PatternStartDate(pol_DateOf(record.dtStart));
  } else if (pol_HasFirstText(record.due)) {
    pattern->put_PatternStartDate(pol_DateOf(record.due));
  }
  PutRuleText(rule, task, *pattern);
}

void pol_PutAppointmentRecurrence(OsifCalendar& record, IAppointment& appointment) {
  const OsifEventTail& tail = record.tail.event;
  const ComPtr<IRecurrencePattern> pattern = PatternFor(tail.rRule, appointment);
  if (!pattern || !PutRuleText(tail.rRule, appointment, *pattern)) return;
  if (!pol_HasFirstText(tail.exDate)) return;
  appointment.Save();
  for (PropertyValue& exception : Values(tail.exDate)) DeleteOccurrence(*pattern, exception);
}

void pol_GetTaskRecurrence(ITask& task, OsifCalendar& record) {
  const ComPtr<IRecurrencePattern> pattern = PatternOf(task);
  if (pattern) AppendRule(*pattern, record.tail.todo.rRule);
}

void pol_GetAppointmentRecurrence(IAppointment& appointment, OsifCalendar& record) {
  const ComPtr<IRecurrencePattern> pattern = PatternOf(appointment);
  if (!pattern) return;
  OsifEventTail& tail = record.tail.event;
  AppendRule(*pattern, tail.rRule);
  AppendExceptions(*pattern, pol_Get(appointment, &IAppointment::get_Start, kNoDate), tail.exDate);
}
