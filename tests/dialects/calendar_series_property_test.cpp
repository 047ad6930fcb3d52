// Series of today's calendars occur in the store when their senders meant them to: what RFC 5545 says of a rule, by
// the reader of others, against what the store makes of each item that it gets, reckoned here day by day.
#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "dialects/icalendar.h"
#include "tests/dialects/calendar_support.h"

namespace calendar_series_property_test {
namespace {

using calendar_support::LinesOf;
using dialects::AtMidnight;
using dialects::CivilDay;
using dialects::CivilTime;
using dialects::DateTimeText;
using dialects::DaysInMonth;
using dialects::PlusDays;
using dialects::WeekdayOf;

constexpr const char* kWeekdays[] = {"", "SU", "MO", "TU", "WE", "TH", "FR", "SA"};
constexpr int64_t kWatchedDays = 1500;

// ---- The store's rules, day by day ----

struct HeldRule {
  char unit = 'D';  // D, W, M or Y
  int interval = 1;
  int month = 0;
  int day = 0;       // from the end where negative
  int position = 0;  // among the weekdays; -1 for the last
  std::set<int> weekdays;
  int count = 2;
  std::string last;  // the last day
};

int SignedNumber(const std::string& token) {
  const int number = std::atoi(token.c_str());
  return token.ends_with('-') ? -number : number;
}

HeldRule ReadHeld(const std::string& text) {
  HeldRule rule;
  std::istringstream tokens(text);
  std::string token;
  tokens >> token;
  const bool is_yearly = token.starts_with("YM");
  const bool is_monthly = token.starts_with("MD") || token.starts_with("MP");
  rule.unit = is_yearly ? 'Y' : is_monthly ? 'M' : token[0];
  rule.interval = std::atoi(token.c_str() + (is_yearly || is_monthly ? 2 : 1));
  bool is_position = token.starts_with("MP");
  bool has_inner = !is_yearly;
  while (tokens >> token) {
    const auto* weekday = std::find(std::begin(kWeekdays), std::end(kWeekdays), token);
    if (token == "MD1" || token == "MP1") {
      has_inner = true;
      is_position = token == "MP1";
    } else if (token[0] == '#') {
      rule.count = std::atoi(token.c_str() + 1);
    } else if (token.size() >= 8) {
      rule.last = token.substr(0, 8);
      rule.count = 0;
    } else if (weekday != std::end(kWeekdays)) {
      rule.weekdays.insert(static_cast<int>(weekday - std::begin(kWeekdays)));
    } else if (!has_inner) {
      rule.month = std::atoi(token.c_str());
    } else {
      (is_position ? rule.position : rule.day) = SignedNumber(token);
    }
  }
  return rule;
}

int64_t WeekOf(const CivilTime& day) { return CivilDay(PlusDays(day, 1 - WeekdayOf(day))); }

bool IsOnDayOfMonth(const HeldRule& rule, const CivilTime& day) {
  const int length = DaysInMonth(day.year, day.month);
  if (rule.day > 0) return day.day == std::min(rule.day, length);
  if (rule.day < 0) return day.day == std::max(length + 1 + rule.day, 1);
  std::vector<int> days;
  for (int number = 1; number <= length; ++number) {
    const CivilTime one = {day.year, day.month, number, 0, 0, 0};
    if (rule.weekdays.contains(WeekdayOf(one))) days.push_back(number);
  }
  if (days.empty()) return false;
  if (rule.position < 0) return days.back() == day.day;
  const size_t index = static_cast<size_t>(rule.position) - 1;
  return index < days.size() && days[index] == day.day;
}

bool IsOn(const HeldRule& rule, const CivilTime& start, const CivilTime& day) {
  switch (rule.unit) {
    case 'D':
      return (CivilDay(day) - CivilDay(start)) % rule.interval == 0;
    case 'W':
      return (WeekOf(day) - WeekOf(start)) / 7 % rule.interval == 0 &&
             rule.weekdays.contains(WeekdayOf(day));
    case 'M':
      return ((day.year - start.year) * 12 + day.month - start.month) % rule.interval == 0 &&
             IsOnDayOfMonth(rule, day);
    default:
      return day.month == rule.month && IsOnDayOfMonth(rule, day);
  }
}

std::string ValueOf(const std::string& text, std::string_view name) {
  const auto lines = LinesOf(text, {name});
  return lines.empty() ? "" : lines[0].substr(name.size() + 1);
}

CivilTime LocalTime(const std::string& text) {
  const auto moment = dialects::ReadMoment(text);
  RC_ASSERT(moment.has_value());
  return moment->kind == dialects::TimeKind::kUtc
             ? dialects::CivilAt(dialects::UtcToDevice(dialects::CivilSeconds(moment->time)))
             : moment->time;
}

// Adds when a strict item takes place. None of them twice.
void AddOccurrences(const std::string& item, const CivilTime& last, std::set<CivilTime>& times) {
  const CivilTime start = LocalTime(ValueOf(item, "DTSTART"));
  const std::string text = ValueOf(item, "RRULE");
  const auto add = [&](const CivilTime& time) { RC_ASSERT(times.insert(time).second); };
  if (text.empty()) {
    if (start <= last) add(start);
    return;
  }
  std::set<std::string> exceptions;
  for (const std::string& line : LinesOf(item, {"EXDATE"})) exceptions.insert(line.substr(7, 8));
  const HeldRule rule = ReadHeld(text);
  int count = 0;
  for (CivilTime time = start; time <= last; time = PlusDays(time, 1)) {
    if (!IsOn(rule, start, AtMidnight(time))) continue;
    const std::string day = DateTimeText(time).substr(0, 8);
    if (!rule.last.empty() && day > rule.last) break;
    if (rule.count != 0 && ++count > rule.count) break;
    if (!exceptions.contains(day)) add(time);
  }
}

// ---- Rules ----

std::string Joined(const std::set<std::string>& pieces) {
  std::string text;
  for (const std::string& piece : pieces) text += (text.empty() ? "" : ",") + piece;
  return text;
}

std::string SomeWeekdays() {
  std::set<std::string> days;
  const int count = *rc::gen::inRange(1, 4);
  for (int i = 0; i < count; ++i) days.insert(kWeekdays[*rc::gen::inRange(1, 8)]);
  return Joined(days);
}

std::string SomeNumbers(int lowest, int highest, int most) {
  std::set<std::string> numbers;
  const int count = *rc::gen::inRange(1, most + 1);
  for (int i = 0; i < count; ++i) {
    numbers.insert(std::to_string(*rc::gen::inRange(lowest, highest + 1)));
  }
  return Joined(numbers);
}

bool Sometimes() { return *rc::gen::inRange(0, 3) == 0; }

std::string SomeDaysOfMonth() {
  switch (*rc::gen::inRange(0, 4)) {
    case 0:
      return "";
    case 1:
      return ";BYMONTHDAY=" + SomeNumbers(1, 28, 3);
    case 2:
      return ";BYDAY=" + std::string(*rc::gen::element("1", "2", "3", "4", "-1")) +
             kWeekdays[*rc::gen::inRange(1, 8)];
    default:
      return ";BYDAY=" + SomeWeekdays() +
             ";BYSETPOS=" + *rc::gen::element<std::string>("1", "2", "-1");
  }
}

std::string SomeRule() {
  std::string text;
  switch (*rc::gen::inRange(0, 4)) {
    case 0:
      text = "FREQ=DAILY";
      if (Sometimes()) text += ";BYDAY=" + SomeWeekdays();
      break;
    case 1:
      text = "FREQ=WEEKLY";
      if (*rc::gen::arbitrary<bool>()) text += ";BYDAY=" + SomeWeekdays();
      if (Sometimes()) text += ";WKST=" + std::string(kWeekdays[*rc::gen::inRange(1, 8)]);
      break;
    case 2:
      text = "FREQ=MONTHLY" + SomeDaysOfMonth();
      if (Sometimes()) text += ";BYMONTH=" + SomeNumbers(1, 12, 4);
      break;
    default:
      text = "FREQ=YEARLY";
      if (*rc::gen::arbitrary<bool>()) {
        text += ";BYMONTH=" + *rc::gen::element<std::string>("3", "2,8", "3,6,9,12", "1,2,5");
        text += SomeDaysOfMonth();
      }
      break;
  }
  if (*rc::gen::arbitrary<bool>()) text += ";INTERVAL=" + std::to_string(*rc::gen::inRange(2, 5));
  return text;
}

class SeriesOfTheStore : public testing::Test {
 private:
  support::TimeZone zone_{"Europe/Berlin"};
};

TEST_F(SeriesOfTheStore, OccurWhenTheirRuleDoes) {
  size_t held = 0;
  EXPECT_TRUE(rc::check([&] {
    const CivilTime start = {2026, *rc::gen::inRange(1, 13), *rc::gen::inRange(1, 29), 9, 30, 0};
    const CivilTime last = PlusDays(start, kWatchedDays);
    std::string rule = SomeRule();
    const int end = *rc::gen::inRange(0, 3);
    if (end == 1) rule += ";COUNT=" + std::to_string(*rc::gen::inRange(1, 40));
    if (end == 2) {
      rule += ";UNTIL=" + DateTimeText(PlusDays(start, *rc::gen::inRange(0, 900)));
    }
    const auto read = dialects::ReadRecurRule(rule);
    RC_ASSERT(read.has_value());
    // The start counts where the rule does not have it.
    const auto first = dialects::Occurrences(*read, start, 1, {2500, 1, 1, 0, 0, 0});
    dialects::RecurRule counted = *read;
    const bool is_odd = !first.empty() && first.front() != start;
    if (is_odd && counted.count != 0) --counted.count;
    std::set<CivilTime> meant = {start};
    if (!is_odd || read->count != 1) {
      const auto times = dialects::Occurrences(counted, start, 5000, last);
      meant.insert(times.begin(), times.end());
    }
    std::vector<CivilTime> dates(meant.begin(), meant.end());
    std::string more;
    if (Sometimes()) {
      const CivilTime gone = dates[*rc::gen::inRange<size_t>(0, dates.size())];
      if (meant.size() > 1) {
        meant.erase(gone);
        more += "EXDATE:" + DateTimeText(gone) + "\r\n";
      }
    }
    const std::string text =
        "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:u\r\n"
        "SUMMARY:x\r\nDTSTART:" +
        DateTimeText(start) + "\r\nRRULE:" + rule + "\r\n" + more +
        "END:VEVENT\r\nEND:VCALENDAR\r\n";
    RC_LOG() << text << "\n";
    const auto items = dialects::StrictCalendarItems(calendar_support::CalendarObject(text), {});
    std::set<CivilTime> occurs;
    for (const auto& item : items) {
      RC_LOG() << item.text << "\n";
      // It is kept in words.
      if (item.report.dropped.contains("RRULE")) return;
      RC_ASSERT(item.report.dropped.empty());
      // A short month has its last day instead.
      for (const auto& [what, count] : item.report.changed) {
        if (what.starts_with("last day")) return;
      }
      AddOccurrences(item.text, last, occurs);
    }
    ++held;
    RC_ASSERT(occurs == meant);
  }));
  // Most of the rules are such as the store can hold.
  EXPECT_GT(held, 40U);
}

}  // namespace
}  // namespace calendar_series_property_test
