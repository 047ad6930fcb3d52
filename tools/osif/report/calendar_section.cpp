// The months, each a list of its days with what takes place on them, and below them all appointments with everything that
// they say. The days of a month are a list, which the style lays out as weeks where there is room; a day of nothing is
// left out where there is none. An occurrence of several days stands on each of them.
#include <map>
#include <string>
#include <vector>

#include "tools/osif/report/html_text.h"
#include "tools/osif/report/page_parts.h"
#include "tools/osif/report/sections.h"

namespace command {
namespace {

using dialects::CalendarLook;
using dialects::CivilDay;
using dialects::CivilTime;
using dialects::Occurrence;

struct DayEntry {
  CivilTime time;  // of the beginning
  bool is_first_day = true;
  size_t number = 0;  // of the appointment
};

// What takes place, by the civil day.
using Days = std::map<int64_t, std::vector<DayEntry>>;

constexpr size_t kWeek = 7;

// Monday is the first.
int ColumnOf(const CivilTime& day) { return (dialects::WeekdayOf(day) + 5) % 7 + 1; }

void AddOccurrence(const Occurrence& occurrence, size_t number, int64_t begin, int64_t end,
                   Days& days) {
  const int64_t first = CivilDay(occurrence.start);
  const int64_t seconds = CivilSeconds(occurrence.end);
  const bool lasts = occurrence.end > occurrence.start;
  const int64_t last = lasts ? CivilDay(dialects::CivilAt(seconds - 1)) : first;
  for (int64_t day = std::max(first, begin); day <= std::min(last, end - 1); ++day) {
    days[day].push_back({occurrence.start, day == first, number});
  }
}

Days DaysOf(const Contents& contents) {
  const int64_t begin = CivilDay(FirstDayOf(PlusMonths(contents.month, -kMonthsAround)));
  const int64_t end = CivilDay(FirstDayOf(PlusMonths(contents.month, kMonthsAround + 1)));
  Days days;
  for (size_t i = 0; i < contents.appointments.size(); ++i) {
    for (const Occurrence& occurrence : contents.appointments[i].occurrences) {
      AddOccurrence(occurrence, i, begin, end, days);
    }
  }
  for (auto& [day, entries] : days) {
    std::ranges::stable_sort(entries, {}, [&](const DayEntry& entry) {
      const bool has_time = entry.is_first_day && !contents.appointments[entry.number].is_all_day;
      return has_time ? CivilSeconds(entry.time) : 0;
    });
  }
  return days;
}

std::string AddressOf(size_t number) { return "appointment-" + std::to_string(number + 1); }

std::string NameOf(const CalendarLook& look) {
  return look.summary.empty() ? "(no name)" : look.summary;
}

std::string EntryItem(const DayEntry& entry, const CalendarLook& look) {
  const std::string time = look.is_all_day      ? "all day"
                           : entry.is_first_day ? ClockText(entry.time)
                                                : "continued";
  const std::string place =
      look.location.empty() ? "" : " <span class=\"place\">" + HtmlText(look.location) + "</span>";
  return "<li><a href=\"#" + AddressOf(entry.number) + "\"><span class=\"time\">" + time +
         "</span> " + HtmlText(NameOf(look)) + "</a>" + place + "</li>";
}

std::string DayItem(const CivilTime& day, const Days& days, const Contents& contents) {
  const auto found = days.find(CivilDay(day));
  const bool is_today = CivilDay(day) == CivilDay(contents.made);
  std::string classes = "day";
  if (day.day == 1) classes += " column-" + std::to_string(ColumnOf(day));
  if (found == days.end()) classes += " free";
  if (is_today) classes += " today";
  std::string html = "<li class=\"" + classes + "\"" + (is_today ? " aria-current=\"date\"" : "") +
                     "><time datetime=\"" + IsoDay(day) + "\">" + std::to_string(day.day) +
                     "<span class=\"weekday\"> " + WeekdayText(day) + "</span></time>";
  if (found != days.end()) {
    html += "<ul>";
    for (const DayEntry& entry : found->second) {
      html += EntryItem(entry, contents.appointments[entry.number]);
    }
    html += "</ul>";
  }
  return html + "</li>\n";
}

std::string WeekdayRow() {
  std::string html = "<div class=\"weekdays\" aria-hidden=\"true\">";
  for (size_t i = 0; i < kWeek; ++i) {
    constexpr CivilTime kMonday = {.year = 2024, .month = 1, .day = 1};
    const std::string name = WeekdayText(dialects::PlusDays(kMonday, static_cast<int64_t>(i)));
    html += "<span>" + name.substr(0, 3) + "</span>";
  }
  return html + "</div>\n";
}

std::string MonthPart(const Month& month, const Days& days, const Contents& contents) {
  const CivilTime first = FirstDayOf(month);
  const int length = dialects::DaysInMonth(month.year, month.month);
  const auto begin = days.lower_bound(CivilDay(first));
  const bool is_free = begin == days.end() || begin->first >= CivilDay(first) + length;
  const std::string address = "month-" + IsoDay(first).substr(0, 7);
  std::string html = "<section class=\"month" +
                     std::string(month == contents.month ? " first-shown" : "") +
                     "\" aria-labelledby=\"" + address + "\">\n<h3 id=\"" + address + "\">" +
                     MonthText(month) + "</h3>\n";
  if (is_free) html += Nothing("No appointments in this month.");
  html += WeekdayRow() + "<ol class=\"days\">\n";
  for (int day = 0; day < length; ++day) {
    html += DayItem(dialects::PlusDays(first, day), days, contents);
  }
  return html + "</ol>\n</section>\n";
}

constexpr std::string_view kMonthButtons =
    "<div class=\"controls\" id=\"months\" hidden>\n"
    "<button type=\"button\" id=\"previous-month\">Previous month</button>\n"
    "<button type=\"button\" id=\"next-month\">Next month</button>\n"
    "<p id=\"shown-month\" role=\"status\" class=\"unseen\"></p>\n</div>\n";

std::string AppointmentItem(const CalendarLook& look, size_t number) {
  std::vector<dialects::PageEntry> entries;
  for (const auto& [name, value] : look.values) {
    if (name != "Event") entries.push_back({name, value});
  }
  return "<li id=\"" + AddressOf(number) + "\"><p class=\"name\">" + HtmlText(NameOf(look)) +
         "</p>" + Values(entries) + "</li>\n";
}

std::string AllAppointments(const Contents& contents) {
  std::vector<std::string> items;
  for (const CalendarLook& look : contents.appointments) {
    items.push_back(AppointmentItem(look, items.size()));
  }
  return "<h3>All appointments</h3>\n" +
         (items.empty() ? Nothing("No appointments.") : Portions(items));
}

}  // namespace

std::string CalendarSection(const Contents& contents) {
  const Days days = DaysOf(contents);
  std::string html(kMonthButtons);
  for (int i = -kMonthsAround; i <= kMonthsAround; ++i) {
    html += MonthPart(PlusMonths(contents.month, i), days, contents);
  }
  return Section("calendar", "Calendar", contents.appointments.size(),
                 html + AllAppointments(contents));
}

}  // namespace command
