// Times come in three ways: of a zone that the line names, of the sender's clock where vCalendar 1.0 names one for the
// whole calendar, and of no zone. What is known of the zone is kept; only the sender's clock is turned to UTC here,
// as nothing later knows it.
#include <algorithm>

#include "dialects/calendar_read.h"

namespace dialects {
namespace {

constexpr size_t kMostDates = 2000;
constexpr size_t kMostAlarms = 20;

Moment InZone(Moment moment, const ContentLine& line, ItemContext& context) {
  const std::string tzid(line.Param("TZID"));
  if (moment.kind == TimeKind::kLocal && !tzid.empty()) {
    if (context.zones.Knows(tzid)) {
      moment.kind = TimeKind::kZoned;
      moment.zone = tzid;
    } else {
      context.report.Guessed("time zone that is not known");
    }
  }
  const std::optional<OldZone>& zone = context.calendar.calendar.zone;
  if (moment.kind == TimeKind::kLocal && zone) {
    const int64_t local = CivilSeconds(moment.time);
    const int64_t offset = OffsetAt(*zone, moment.time);
    if (local - offset != DeviceToUtc(local)) {
      moment = {CivilAt(local - offset), TimeKind::kUtc, {}};
      context.report.Changed("time of another zone");
    }
  }
  return moment;
}

std::optional<Moment> MomentOf(std::string_view text, const ContentLine& line,
                               ItemContext& context) {
  const std::optional<Moment> moment = ReadMoment(text);
  if (!moment) return std::nullopt;
  return InZone(*moment, line, context);
}

std::optional<Moment> MomentOf(const ContentLine& line, ItemContext& context) {
  const std::string text = context.calendar.decoder.Decoded(line);
  if (Trim(text).empty()) return std::nullopt;
  std::optional<Moment> moment = MomentOf(text, line, context);
  if (!moment) context.report.Dropped(line.name + " (no date)");
  return moment;
}

// Both separators are written.
template <typename Take>
void ForEachDate(const ContentLine& line, ItemContext& context, Take take) {
  std::string text = context.calendar.decoder.Decoded(line);
  std::ranges::replace(text, ';', ',');
  std::string_view rest = text;
  while (!rest.empty()) {
    const size_t end = std::min(rest.find(','), rest.size());
    if (const std::string_view piece = Trim(rest.substr(0, end)); !piece.empty()) take(piece);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

// The first that is a date counts.
void TakeFirst(std::optional<Moment>& place, ItemContext& context, const ContentLine& line) {
  if (place && !line.value.empty()) return context.report.Dropped(line.name + " (second one)");
  if (!place) place = MomentOf(line, context);
}

}  // namespace

void TakeStart(ItemContext& context, const ContentLine& line) {
  TakeFirst(context.item.start, context, line);
}
void TakeEnd(ItemContext& context, const ContentLine& line) {
  TakeFirst(context.item.end, context, line);
}
void TakeDue(ItemContext& context, const ContentLine& line) {
  TakeFirst(context.item.due, context, line);
}
void TakeCompleted(ItemContext& context, const ContentLine& line) {
  context.item.completed = MomentOf(line, context);
}
void TakeCreated(ItemContext& context, const ContentLine& line) {
  context.item.created = MomentOf(line, context);
}
void TakeModified(ItemContext& context, const ContentLine& line) {
  context.item.modified = MomentOf(line, context);
}
void TakeDuration(ItemContext& context, const ContentLine& line) {
  const std::string word = context.Word(line);
  context.item.duration = ReadDuration(word);
  if (!context.item.duration && !word.empty()) {
    context.report.Dropped("DURATION (no duration)");
  }
}
void TakeReplaced(ItemContext& context, const ContentLine& line) {
  context.item.replaces = MomentOf(line, context);
  context.item.replaces_later_ones = EqualsIgnoringCase(line.Param("RANGE"), "THISANDFUTURE");
}

void TakeExceptions(ItemContext& context, const ContentLine& line) {
  ForEachDate(line, context, [&](std::string_view piece) {
    if (context.item.exceptions.size() >= kMostDates) return context.report.Dropped("EXDATE");
    if (const auto moment = MomentOf(piece, line, context)) {
      context.item.exceptions.push_back(*moment);
    } else {
      context.report.Dropped("EXDATE (no date)");
    }
  });
}

// A period is "start/end" or "start/duration".
void TakeExtraDates(ItemContext& context, const ContentLine& line) {
  ForEachDate(line, context, [&](std::string_view piece) {
    const size_t slash = std::min(piece.find('/'), piece.size());
    const auto start = MomentOf(piece.substr(0, slash), line, context);
    if (!start || context.item.extra_dates.size() >= kMostDates) {
      return context.report.Dropped("RDATE (no date)");
    }
    ExtraDate date = {*start, {}};
    if (slash < piece.size()) {
      const std::string_view until = piece.substr(slash + 1);
      date.duration = ReadDuration(until);
      if (const auto end = MomentOf(until, line, context)) {
        date.duration = CivilSeconds(end->time) - CivilSeconds(start->time);
      }
    }
    context.item.extra_dates.push_back(date);
  });
}

// Its time is the first of its components.
void TakeOldAlarm(ItemContext& context, const ContentLine& line) {
  const std::string first = context.calendar.decoder.Components(line).front();
  if (Trim(first).empty() || context.item.alarms.size() >= kMostAlarms) return;
  Alarm alarm;
  alarm.time = MomentOf(first, line, context);
  if (!alarm.time) alarm.trigger = ReadDuration(first);
  if (!alarm.time && !alarm.trigger) return context.report.Dropped(line.name + " (no date)");
  // What is shown counts before what is heard, as the library has it.
  auto& alarms = context.item.alarms;
  if (std::ranges::find(alarms, alarm) != alarms.end()) return;
  alarms.insert(line.name == "DALARM" ? alarms.begin() : alarms.end(), alarm);
}

void TakeAlarmComponent(const Component& component, ItemContext& context) {
  const std::string action = ToUpper(component.Value("ACTION"));
  const bool is_known = action.empty() || action == "DISPLAY" || action == "AUDIO";
  const auto trigger = std::ranges::find(component.lines, "TRIGGER", &ContentLine::name);
  if (!is_known || trigger == component.lines.end() || context.item.alarms.size() >= kMostAlarms) {
    return context.report.Dropped("VALARM");
  }
  Alarm alarm;
  alarm.trigger = ReadDuration(trigger->value);
  alarm.is_from_end = EqualsIgnoringCase(trigger->Param("RELATED"), "END");
  if (!alarm.trigger) alarm.time = MomentOf(*trigger, context);
  if (!alarm.trigger && !alarm.time) return context.report.Dropped("VALARM");
  if (!component.Value("REPEAT").empty()) context.report.Dropped("VALARM (repetition)");
  context.item.alarms.push_back(alarm);
}

}  // namespace dialects
