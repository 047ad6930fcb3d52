#include "dialects/calendar_people.h"

#include <array>
#include <cstdio>

namespace dialects {
namespace {

std::string DayForPeople(const CivilTime& time) {
  std::array<char, 48> text = {};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", time.year, time.month, time.day);
  return text.data();
}

std::string TimeForPeople(const CivilTime& time) {
  std::array<char, 48> text = {};
  std::snprintf(text.data(), text.size(), " %02d:%02d", time.hour, time.minute);
  return DayForPeople(time) + text.data();
}

class Values {
 public:
  Values(const CalendarItem& item, const Clock& clock) : item_(item), clock_(clock) {}

  void Add(const char* name, const std::string& value) {
    if (!value.empty()) values_.emplace_back(name, value);
  }

  void AddTime(const char* name, const std::optional<Moment>& moment) {
    if (!moment) return;
    const CivilTime local = clock_.ToLocal(*moment);
    Add(name, moment->kind == TimeKind::kDate || item_.is_all_day ? DayForPeople(local)
                                                                  : TimeForPeople(local));
  }

  // The day after the last is how an end of whole days is kept.
  void AddEnd() {
    std::optional<Moment> end = item_.end;
    if (end && item_.is_all_day) end->time = PlusDays(end->time, -1);
    AddTime("End", end);
  }

  void AddAlarm(const Alarm& alarm) {
    if (alarm.time) {
      Add("Alarm", TimeForPeople(clock_.ToLocal(*alarm.time)));
    } else if (alarm.trigger) {
      Add("Alarm", DurationText(*alarm.trigger) + (alarm.is_from_end ? " from the end" : ""));
    }
  }

  NamedValues values_;

 private:
  const CalendarItem& item_;
  const Clock& clock_;
};

std::string AttendeeForPeople(const Attendee& attendee) {
  if (attendee.name.empty()) return attendee.address;
  return attendee.address.empty() ? attendee.name : attendee.name + " <" + attendee.address + ">";
}

std::string EscapedHtml(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\n':
        escaped += "<br>\n";
        break;
      case '\r':
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

// Further lines of a value are set off from the names.
std::string Indented(std::string_view text) {
  std::string indented;
  for (const char c : text) {
    if (c == '\r') continue;
    indented += c;
    if (c == '\n') indented += "  ";
  }
  return indented;
}

}  // namespace

NamedValues ItemForPeople(const CalendarItem& item, const Clock& clock) {
  Values values(item, clock);
  const bool is_task = item.kind == ItemKind::kTask;
  values.Add(is_task                           ? "Task"
             : item.kind == ItemKind::kJournal ? "Journal"
                                               : "Event",
             item.summary.empty() ? "-" : item.summary);
  values.AddTime("Start", item.start);
  if (item.kind == ItemKind::kEvent) values.AddEnd();
  values.AddTime("Due", item.due);
  values.AddTime("Completed", item.completed);
  values.Add("Location", item.location);
  for (const TimedRule& rule : item.rules) values.Add("Repeats", RecurRuleText(rule.rule));
  for (const std::string& rule : item.unknown_rules) values.Add("Repeats", rule);
  for (const Moment& moment : item.exceptions) values.AddTime("Except", moment);
  for (const ExtraDate& date : item.extra_dates) values.AddTime("Also", date.start);
  for (const Alarm& alarm : item.alarms) values.AddAlarm(alarm);
  values.Add("Status", item.status);
  values.Add("Priority", item.priority == "0" ? "" : item.priority);
  values.Add("Class", item.access);
  values.Add("Categories", item.categories);
  for (const Attendee& attendee : item.attendees) {
    values.Add("Attendee", AttendeeForPeople(attendee));
  }
  values.Add("Description", item.description);
  return values.values_;
}

std::string TextOf(const NamedValues& values) {
  std::string text;
  for (const auto& [name, value] : values) text += name + ": " + Indented(value) + "\n";
  return text + "\n";
}

std::string HtmlOf(const NamedValues& values) {
  std::string text = "<p>\n";
  for (const auto& [name, value] : values) {
    text += "<b>" + name + ":</b> " + EscapedHtml(value) + "<br>\n";
  }
  return text + "</p>\n";
}

std::string HtmlBegin() {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\">"
         "<title>Calendar</title></head>\n<body>\n";
}

std::string HtmlEnd() { return "</body>\n</html>\n"; }

}  // namespace dialects
