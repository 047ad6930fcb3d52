// libical is given as little as possible: a rule that was read and written again here, so that it has nothing but
// numbers in range, and of a VTIMEZONE those lines that rules of zones are made of, with yearly rules alone. A zone
// whose clocks change each second, or a rule that looks for the 30th of February every minute, would keep it busy
// for hours.
//
// A zone that the data base of zones knows by its name is taken from there: what files say about zones is often
// older, or cut.
#include "dialects/icalendar.h"

#include <libical/ical.h>

#include <algorithm>
#include <span>

#include "btosif/osif_util/ascii.h"
#include "dialects/content_line.h"

namespace dialects {
namespace {

constexpr size_t kMostZones = 200;
constexpr size_t kMostZoneLines = 4000;
constexpr size_t kLongestZoneName = 255;

icaltimetype IcalTime(const CivilTime& time) {
  icaltimetype result = icaltime_null_time();
  result.year = time.year;
  result.month = time.month;
  result.day = time.day;
  result.hour = time.hour;
  result.minute = time.minute;
  result.second = time.second;
  return result;
}

CivilTime Civil(const icaltimetype& time) {
  return {time.year, time.month, time.day, time.hour, time.minute, time.second};
}

struct FreeIterator {
  void operator()(icalrecur_iterator* iterator) const { icalrecur_iterator_free(iterator); }
};

struct FreeComponent {
  void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};

struct FreeBuffer {
  void operator()(char* text) const { icalmemory_free_buffer(text); }
};
using OwnedComponent = std::unique_ptr<icalcomponent, FreeComponent>;

// True when a month named has a day named, in some year.
bool HasSomeDay(const RecurRule& rule) {
  if (rule.months.empty() || rule.month_days.empty()) return true;
  constexpr int kLeapYear = 2000;
  return std::ranges::any_of(rule.months, [&](int month) {
    return std::ranges::any_of(
        rule.month_days, [&](int day) { return std::abs(day) <= DaysInMonth(kLeapYear, month); });
  });
}

// True unless all weekdays are such as the sixth of a month.
bool HasSomePosition(const RecurRule& rule) {
  const bool is_of_month = rule.unit == RuleUnit::kMonthly || !rule.months.empty();
  const int last = is_of_month ? 5 : 53;
  return rule.days.empty() || std::ranges::any_of(rule.days, [&](const RuleDay& day) {
           return std::abs(day.position) <= last;
         });
}

bool NamesDays(const RecurRule& rule) {
  return !rule.months.empty() || !rule.month_days.empty() || !rule.year_days.empty() ||
         !rule.week_numbers.empty() || !rule.set_positions.empty();
}

bool NamesTimes(const RecurRule& rule) {
  return !rule.days.empty() || !rule.hours.empty() || !rule.minutes.empty() ||
         !rule.seconds.empty();
}

// The rule with its end as libical compares it: a civil time, the last second where it was a day.
RecurRule WithCivilEnd(const RecurRule& rule) {
  RecurRule result = rule;
  if (!result.until) return result;
  if (result.until->kind == TimeKind::kDate) {
    result.until->time.hour = 23;
    result.until->time.minute = 59;
    result.until->time.second = 59;
  }
  result.until->kind = TimeKind::kLocal;
  return result;
}

constexpr std::string_view kZoneProperties[] = {"TZOFFSETFROM", "TZOFFSETTO", "DTSTART", "RDATE"};

// The line of a zone's rule as libical may have it; empty for one that it may not.
std::string ZoneLine(const ContentLine& line) {
  if (line.name == "RRULE") {
    const std::optional<RecurRule> rule = ReadRecurRule(line.value);
    if (!rule || rule->unit != RuleUnit::kYearly || rule->months.size() > 12) return {};
    RecurRule plain;
    plain.unit = RuleUnit::kYearly;
    plain.interval = rule->interval;
    plain.months = rule->months;
    plain.month_days = rule->month_days;
    plain.days = rule->days;
    plain.until = rule->until;
    return "RRULE:" + RecurRuleText(plain) + "\r\n";
  }
  if (std::ranges::find(kZoneProperties, line.name) == std::end(kZoneProperties)) return {};
  const bool is_plain = std::ranges::all_of(line.value, [](char c) {
    return (c >= '0' && c <= '9') || c == 'T' || c == 'Z' || c == '+' || c == '-' || c == ',';
  });
  return is_plain ? line.name + ":" + line.value + "\r\n" : "";
}

// A VTIMEZONE without all that its rules do not need.
std::string PlainZone(std::string_view component) {
  Report ignored;
  const std::vector<ContentLine> lines = ReadContentLines(component, 1, kModernLines, ignored);
  std::string text = "BEGIN:VTIMEZONE\r\nTZID:Z\r\n";
  std::string open;
  for (const ContentLine& line : std::span(lines).first(std::min(lines.size(), kMostZoneLines))) {
    const std::string value = ToUpper(Trim(line.value));
    if (line.name == "BEGIN" && open.empty() && (value == "STANDARD" || value == "DAYLIGHT")) {
      open = value;
      text += "BEGIN:" + open + "\r\n";
    } else if (line.name == "END" && value == open) {
      text += "END:" + open + "\r\n";
      open.clear();
    } else if (!open.empty()) {
      text += ZoneLine(line);
    }
  }
  if (!open.empty()) text += "END:" + open + "\r\n";
  return text + "END:VTIMEZONE\r\n";
}

// The zone of the data base that a TZID names: as it is, or with the name of its owner before it.
icaltimezone* BuiltIn(const std::string& tzid) {
  // No name has so many bytes, and each of its ends is looked up.
  if (tzid.empty() || tzid.size() > kLongestZoneName) return nullptr;
  for (size_t begin = 0; begin != std::string::npos;) {
    const std::string name = tzid.substr(begin);
    const bool is_name = name.find('/') != std::string::npos || name == tzid;
    if (!is_name) return nullptr;
    if (icaltimezone* zone = icaltimezone_get_builtin_timezone(name.c_str())) return zone;
    begin = tzid.find('/', begin);
    if (begin != std::string::npos) ++begin;
  }
  return nullptr;
}

}  // namespace

struct IcalZone {
  icaltimezone* zone = nullptr;
  bool is_owned = false;

  IcalZone(icaltimezone* of, bool owned) : zone(of), is_owned(owned) {}
  IcalZone(const IcalZone&) = delete;
  IcalZone& operator=(const IcalZone&) = delete;
  ~IcalZone() {
    if (is_owned) icaltimezone_free(zone, 1);
  }
};

bool CanIterate(const RecurRule& rule) {
  if (!HasSomeDay(rule) || !HasSomePosition(rule)) return false;
  if (rule.unit == RuleUnit::kSecondly) return !NamesDays(rule) && !NamesTimes(rule);
  if (rule.unit == RuleUnit::kMinutely) {
    return !NamesDays(rule) && (!NamesTimes(rule) || rule.interval == 1);
  }
  if (rule.unit == RuleUnit::kHourly) return !NamesDays(rule);
  return true;
}

std::vector<CivilTime> Occurrences(const RecurRule& rule, const CivilTime& start, size_t limit,
                                   const CivilTime& last) {
  std::vector<CivilTime> result;
  if (!CanIterate(rule)) return result;
  const std::string text = RecurRuleText(WithCivilEnd(rule));
  const icalrecurrencetype ical_rule = icalrecurrencetype_from_string(text.c_str());
  const std::unique_ptr<icalrecur_iterator, FreeIterator> iterator(
      icalrecur_iterator_new(ical_rule, IcalTime(start)));
  if (iterator == nullptr) return result;
  while (result.size() < limit) {
    const icaltimetype time = icalrecur_iterator_next(iterator.get());
    if (icaltime_is_null_time(time) != 0 || Civil(time) > last) break;
    result.push_back(Civil(time));
  }
  return result;
}

ZoneBook::ZoneBook() = default;
ZoneBook::~ZoneBook() = default;

void ZoneBook::Add(const std::string& tzid, std::string_view component) {
  if (components_.size() < kMostZones) components_.emplace(tzid, component);
}

const IcalZone* ZoneBook::Find(const std::string& tzid) {
  if (const auto known = zones_.find(tzid); known != zones_.end()) return known->second.get();
  if (zones_.size() >= 2 * kMostZones) return nullptr;
  std::unique_ptr<IcalZone>& place = zones_[tzid];
  if (icaltimezone* zone = BuiltIn(tzid)) {
    place = std::make_unique<IcalZone>(zone, false);
  } else if (const auto own = components_.find(tzid); own != components_.end()) {
    OwnedComponent component(icalparser_parse_string(PlainZone(own->second).c_str()));
    icaltimezone* made = icaltimezone_new();
    if (component && icalcomponent_count_components(component.get(), ICAL_ANY_COMPONENT) > 0 &&
        icaltimezone_set_component(made, component.get()) != 0) {
      static_cast<void>(component.release());
      place = std::make_unique<IcalZone>(made, true);
    } else {
      icaltimezone_free(made, 1);
    }
  }
  return place.get();
}

bool ZoneBook::Knows(const std::string& tzid) { return Find(tzid) != nullptr; }

int64_t ZoneBook::ToUtc(const std::string& tzid, int64_t civil_seconds) {
  const IcalZone* zone = Find(tzid);
  if (zone == nullptr) return DeviceToUtc(civil_seconds);
  icaltimetype time = IcalTime(CivilAt(civil_seconds));
  int is_daylight = 0;
  return civil_seconds - icaltimezone_get_utc_offset(zone->zone, &time, &is_daylight);
}

int64_t ZoneBook::FromUtc(const std::string& tzid, int64_t utc_seconds) {
  const IcalZone* zone = Find(tzid);
  if (zone == nullptr) return UtcToDevice(utc_seconds);
  icaltimetype time = IcalTime(CivilAt(utc_seconds));
  int is_daylight = 0;
  return utc_seconds + icaltimezone_get_utc_offset_of_utc_time(zone->zone, &time, &is_daylight);
}

std::string ZoneComponent(const std::string& name) {
  icaltimezone* zone = name.empty() ? nullptr : icaltimezone_get_builtin_timezone(name.c_str());
  icalcomponent* original = zone == nullptr ? nullptr : icaltimezone_get_component(zone);
  if (original == nullptr) return {};
  const OwnedComponent copy(icalcomponent_new_clone(original));
  icalproperty* tzid = icalcomponent_get_first_property(copy.get(), ICAL_TZID_PROPERTY);
  if (tzid == nullptr) return {};
  icalproperty_set_tzid(tzid, name.c_str());
  const std::unique_ptr<char, FreeBuffer> text(icalcomponent_as_ical_string_r(copy.get()));
  return text == nullptr ? "" : text.get();
}

}  // namespace dialects
