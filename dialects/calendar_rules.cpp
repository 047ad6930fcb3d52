// The rules stand in one table, in the order in which they have to run: a start before the end that follows from it,
// both before it is known whether the item is for whole days, these before the alarm, which is compared with them.
// Each looks at what the sender wrote and changes one thing.
#include "dialects/calendar_rules.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace dialects {
namespace {

constexpr int64_t kLongestAlarm = 45 * kSecondsPerDay;

struct RuleContext {
  const Clock& clock;
  Report& report;
};

bool IsEvent(const CalendarItem& item) { return item.kind == ItemKind::kEvent; }
bool IsTask(const CalendarItem& item) { return item.kind == ItemKind::kTask; }

std::optional<Moment> FirstAlarmTime(const CalendarItem& item) {
  const auto found =
      std::ranges::find_if(item.alarms, [](const Alarm& alarm) { return alarm.time.has_value(); });
  return found == item.alarms.end() ? std::nullopt : found->time;
}

// An event begins sometime. One of which no day is known is kept as a task, which needs none.
void FindStart(CalendarItem& item, RuleContext& context) {
  if (!IsEvent(item) || item.start) return;
  item.start = item.end ? item.end : FirstAlarmTime(item);
  if (item.start) {
    item.rule_start = context.clock.ToRuleClock(item, *item.start);
    context.report.Guessed(item.end ? "start from DTEND" : "start from the alarm");
  } else if (!item.summary.empty() || !item.description.empty()) {
    item.kind = ItemKind::kTask;
    context.report.Guessed("event without a date, as a task");
  }
}

bool IsMidnight(const CivilTime& time) {
  return time.hour == 0 && time.minute == 0 && time.second == 0;
}

bool IsEndOfDay(const CivilTime& time) { return time.hour == 23 && time.minute == 59; }

// Local midnight to the end of a day says that it is for whole days, without a word for it.
bool LastsWholeDays(const CalendarItem& item) {
  if (item.start->kind == TimeKind::kDate) return true;
  if (!item.end || item.is_modern || item.start->kind != TimeKind::kLocal) return false;
  if (item.end->kind != TimeKind::kLocal || !IsMidnight(item.start->time)) return false;
  return IsEndOfDay(item.end->time) ||
         (IsMidnight(item.end->time) && item.end->time > item.start->time);
}

void FindAllDay(CalendarItem& item, RuleContext& context) {
  if (!IsEvent(item) || !item.start || item.is_all_day) return;
  item.is_all_day = LastsWholeDays(item);
  if (item.is_all_day && item.start->kind != TimeKind::kDate) {
    context.report.Changed("all-day by its times");
  }
}

// A time that is reckoned from another stays a time of the same clock.
Moment Plus(const Moment& moment, int64_t seconds) {
  Moment later = moment;
  later.time = CivilAt(CivilSeconds(moment.time) + seconds);
  return later;
}

void FindEnd(CalendarItem& item, RuleContext& context) {
  if (!IsEvent(item) || !item.start) return;
  if (!item.end && item.duration && *item.duration >= 0) {
    item.end = Plus(*item.start, *item.duration);
    context.report.Changed("end from DURATION");
  }
  const bool is_date_only = item.end && item.end->kind == TimeKind::kDate &&
                            item.start->kind != TimeKind::kDate && !item.is_all_day;
  if (item.end && !is_date_only &&
      context.clock.ToUtc(*item.end) < context.clock.ToUtc(*item.start)) {
    context.report.Guessed("end before the start");
    item.end.reset();
  }
  if (!item.end || is_date_only) item.end = item.start;
}

// The day that an all-day time means. In UTC it may be the day of a zone in which it was midnight: the device's, or
// UTC itself.
CivilTime DayMeant(const Moment& moment, const Clock& clock) {
  const CivilTime local = clock.ToLocal(moment);
  const bool is_day_of_utc = !IsMidnight(local) && IsMidnight(moment.time);
  return is_day_of_utc ? moment.time : local;
}

void TakeWholeDays(CalendarItem& item, RuleContext& context) {
  if (!IsEvent(item) || !item.is_all_day || !item.start) return;
  const CivilTime start = AtMidnight(DayMeant(*item.start, context.clock));
  CivilTime end = DayMeant(*item.end, context.clock);
  if (!IsMidnight(end)) end = PlusDays(AtMidnight(end), 1);
  if (end <= start) end = PlusDays(start, 1);
  item.start = Moment{start, TimeKind::kLocal, {}};
  item.end = Moment{end, TimeKind::kLocal, {}};
  item.rule_start = start;
  item.rule_offset.reset();
}

Moment DayOf(const Moment& moment, RuleContext& context) {
  return {AtMidnight(context.clock.ToLocal(moment)), TimeKind::kDate, {}};
}

void ReportTimeOfDay(std::string_view what, const Moment& moment, RuleContext& context) {
  const bool is_day = moment.kind == TimeKind::kDate || IsMidnight(context.clock.ToLocal(moment));
  if (!is_day) context.report.Dropped(what);
}

void TakeTaskDays(CalendarItem& item, RuleContext& context) {
  if (!IsTask(item)) return;
  if (!item.due && item.start && item.duration) item.due = Plus(*item.start, *item.duration);
  // Some programs write the end of a task as that of an event.
  if (!item.due && item.end) item.due = std::exchange(item.end, std::nullopt);
  if (item.due) {
    ReportTimeOfDay("DUE (time of day)", *item.due, context);
    item.due = DayOf(*item.due, context);
  }
  if (item.start) {
    ReportTimeOfDay("DTSTART (time of day)", *item.start, context);
    item.start = DayOf(*item.start, context);
  }
  const std::optional<Moment>& first = item.start ? item.start : item.due;
  if (first) item.rule_start = first->time;
  item.rule_offset.reset();
}

// ---- Alarms -------------------------------------------------------------------------------------------------

std::optional<int64_t> AlarmTime(const Alarm& alarm, const CalendarItem& item, const Clock& clock) {
  if (alarm.time) return clock.ToUtc(*alarm.time);
  std::optional<Moment> from = alarm.is_from_end ? item.end : item.start;
  if (IsTask(item) && (alarm.is_from_end || !from)) from = item.due;
  if (!from || !alarm.trigger) return std::nullopt;
  return clock.ToUtc(*from) + *alarm.trigger;
}

struct AlarmChoice {
  std::optional<int64_t> time;   // the first that is neither late nor too early
  std::optional<int64_t> late;   // else the first
  std::optional<int64_t> early;  // that is
};

AlarmChoice ChooseAlarm(const CalendarItem& item, int64_t earliest, int64_t latest,
                        const Clock& clock) {
  AlarmChoice choice;
  for (const Alarm& alarm : item.alarms) {
    const std::optional<int64_t> time = AlarmTime(alarm, item, clock);
    if (!time) continue;
    if (*time >= earliest && *time <= latest) {
      choice.time = time;
      return choice;
    }
    std::optional<int64_t>& other = *time > latest ? choice.late : choice.early;
    if (!other) other = time;
  }
  return choice;
}

// The store has no alarm after an event's start. Where that is what was meant, the start comes nearest to it.
std::optional<int64_t> LateEventAlarm(const CalendarItem& item, int64_t late,
                                      RuleContext& context) {
  const int64_t end = context.clock.ToUtc(*item.end);
  if (late > end || (late == end && !item.is_all_day)) return std::nullopt;
  context.report.Changed("alarm after the start");
  return context.clock.ToUtc(*item.start);
}

void FindEventAlarm(CalendarItem& item, RuleContext& context) {
  const int64_t start = context.clock.ToUtc(*item.start);
  AlarmChoice choice = ChooseAlarm(item, start - kLongestAlarm, start, context.clock);
  if (!choice.time && choice.late) choice.time = LateEventAlarm(item, *choice.late, context);
  if (!choice.time) {
    return context.report.Dropped(choice.early ? "alarm too early" : "alarm after the event");
  }
  if (item.is_all_day) {
    item.alarm = Moment{CivilAt(UtcToDevice(*choice.time)), TimeKind::kLocal, {}};
  } else {
    item.alarm = Moment{CivilAt(*choice.time), TimeKind::kUtc, {}};
  }
}

// A task is due on a day, so the whole day is in time, and its alarm is one of a day.
void FindTaskAlarm(CalendarItem& item, RuleContext& context) {
  const std::optional<Moment>& last = item.due ? item.due : item.start;
  const int64_t latest =
      last ? context.clock.ToUtc(*last) + kSecondsPerDay - 1 : std::numeric_limits<int64_t>::max();
  const AlarmChoice choice =
      ChooseAlarm(item, std::numeric_limits<int64_t>::min(), latest, context.clock);
  if (!choice.time) return context.report.Dropped("alarm after the task");
  const CivilTime local = CivilAt(UtcToDevice(*choice.time));
  if (!IsMidnight(local)) context.report.Changed("alarm of a task, on its day");
  item.alarm = Moment{AtMidnight(local), TimeKind::kLocal, {}};
}

void FindAlarm(CalendarItem& item, RuleContext& context) {
  if (item.alarms.empty()) return;
  if (item.alarms.size() > 1) context.report.Dropped("alarm", item.alarms.size() - 1);
  if (IsEvent(item) && item.start) FindEventAlarm(item, context);
  if (IsTask(item)) FindTaskAlarm(item, context);
}

// ---- Words --------------------------------------------------------------------------------------------------

void UseStatusOfStore(CalendarItem& item, RuleContext& context) {
  if (item.status == "CANCELLED") {
    context.report.Dropped("STATUS (CANCELLED)");
    item.status.clear();
  }
  if (IsTask(item)) {
    if (item.status == "IN-PROCESS") context.report.Dropped("STATUS (IN-PROCESS)");
    const bool is_complete =
        item.is_complete || item.status == "COMPLETED" || (item.completed && item.status.empty());
    item.status = is_complete ? "COMPLETED" : "NEEDS ACTION";
    if (item.completed) context.report.Dropped("COMPLETED");
  } else if (item.is_free && item.status != "TENTATIVE") {
    item.status = "DECLINED";
  }
}

// The later version counts from 1 to 9, the store from 1 to 3.
void UsePriorityOfStore(CalendarItem& item, RuleContext& context) {
  if (IsEvent(item)) {
    if (item.priority.find_first_not_of('0') != std::string::npos) {
      context.report.Dropped("PRIORITY");
    }
    item.priority.clear();
  } else if (item.is_modern && !item.priority.empty()) {
    const char first = item.priority.front();
    item.priority = first == '0' ? "" : first < '5' ? "1" : first == '5' ? "2" : "3";
  }
}

void UseClassOfStore(CalendarItem& item, RuleContext& context) {
  if (item.access == "CONFIDENTIAL") {
    item.access = "PRIVATE";
    context.report.Changed("CONFIDENTIAL as PRIVATE");
  }
  if (item.access.empty() || item.access == "PRIVATE" || item.access == "PUBLIC") return;
  context.report.Dropped("CLASS");
  item.access.clear();
}

std::string FirstLine(std::string_view text) {
  constexpr size_t kLongest = 60;
  while (!text.empty()) {
    std::string_view line = Trim(TakePhysicalLine(text));
    if (line.empty()) continue;
    if (line.size() <= kLongest) return std::string(line);
    const size_t blank = line.rfind(' ', kLongest);
    size_t end = blank == std::string_view::npos || blank == 0 ? kLongest : blank;
    while (end > 0 && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80) --end;
    return std::string(line.substr(0, end));
  }
  return {};
}

// Some devices repeat the summary in the description and put the text into ATTACH. And a task or a note is found
// again by its summary alone.
void FindTexts(CalendarItem& item, RuleContext& context) {
  if (!item.attachment.empty() && item.description == item.summary) {
    item.description = item.attachment;
    std::erase_if(item.others, [](const OtherLine& other) { return other.name == "ATTACH"; });
  }
  if (IsEvent(item) || !item.summary.empty()) return;
  item.summary = FirstLine(item.description);
  if (!item.summary.empty()) context.report.Guessed("summary from the description");
}

void DropWhen(bool is_there, std::string_view name, RuleContext& context) {
  if (is_there) context.report.Dropped(name);
}

// Events and tasks have no dates of their own making.
void LeaveOutDates(const CalendarItem& item, RuleContext& context) {
  const bool is_old = !item.is_modern;
  DropWhen(item.created.has_value(), is_old ? "DCREATED" : "CREATED", context);
  DropWhen(item.modified.has_value(), "LAST-MODIFIED", context);
}

void LeaveOutOfJournal(const CalendarItem& item, RuleContext& context) {
  context.report.Dropped("RRULE", item.rules.size() + item.unknown_rules.size());
  context.report.Dropped("RDATE", item.extra_dates.size());
  DropWhen(!item.status.empty(), "STATUS", context);
  DropWhen(!item.priority.empty(), "PRIORITY", context);
}

void LeaveOut(CalendarItem& item, RuleContext& context) {
  for (const OtherLine& other : item.others) context.report.Dropped(other.name);
  if (item.kind == ItemKind::kJournal) {
    LeaveOutOfJournal(item, context);
  } else {
    LeaveOutDates(item, context);
  }
  if (IsEvent(item)) {
    DropWhen(item.due.has_value(), "DUE", context);
    DropWhen(item.completed.has_value(), "COMPLETED", context);
    return;
  }
  DropWhen(item.end.has_value(), "DTEND", context);
  context.report.Dropped("ATTENDEE", item.attendees.size());
  item.attendees.clear();
  DropWhen(!item.location.empty(), "LOCATION", context);
  item.location.clear();
}

struct NamedRule {
  const char* cause;
  void (*apply)(CalendarItem&, RuleContext&);
};

constexpr NamedRule kRules[] = {
    {"no start", FindStart},
    {"whole days that are not said", FindAllDay},
    {"no end", FindEnd},
    {"whole days", TakeWholeDays},
    {"a task has days, not times", TakeTaskDays},
    {"alarms", FindAlarm},
    {"words of status", UseStatusOfStore},
    {"scales of priority", UsePriorityOfStore},
    {"words of class", UseClassOfStore},
    {"texts in other places", FindTexts},
    {"what has no place", LeaveOut},
};

}  // namespace

void BringToStore(CalendarItem& item, const Clock& clock, Report& report) {
  RuleContext context = {clock, report};
  for (const NamedRule& rule : kRules) rule.apply(item, context);
}

void SettleDates(CalendarItem& item, const Clock& clock, Report& report) {
  RuleContext context = {clock, report};
  FindAllDay(item, context);
  if (item.end || item.duration || item.is_all_day) FindEnd(item, context);
  TakeWholeDays(item, context);
}

bool HasPlace(const CalendarItem& item) {
  switch (item.kind) {
    case ItemKind::kEvent:
      return item.start.has_value();
    case ItemKind::kTask:
      return !item.summary.empty() || item.due || item.start;
    case ItemKind::kJournal:
      break;
  }
  return !item.summary.empty() || !item.description.empty();
}

}  // namespace dialects
