// A component is written property by property, in the order in which RFC 5545 lists them. What recurs is written in
// the device's zone and not in UTC, where it would move by an hour whenever the clocks change; all that belongs
// to its days (exceptions, further dates, the occurrence that is replaced) has the form of its start.
#include "dialects/calendar_modern.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <set>

#include "dialects/calendar_rules.h"
#include "dialects/calendar_series.h"
#include "dialects/recurrence_store.h"

namespace dialects {
namespace {

// Properties whose value is no text, so that nothing in it is escaped.
constexpr std::string_view kNoTexts[] = {"URL", "ATTACH", "GEO", "SEQUENCE", "ORGANIZER"};
// Properties of the older version that mean nothing in this one.
constexpr std::string_view kOldOnly[] = {"MALARM", "PALARM", "RNUM", "PRODID"};

bool IsOneOf(std::string_view name, auto const& names) {
  return std::ranges::find(names, name) != std::end(names);
}

class ModernWriter {
 public:
  ModernWriter(const CalendarItem& item, const Clock& clock, const ModernZone& zone,
               const WriterSettings& settings, Report& report)
      : item_(item), clock_(clock), zone_(zone), settings_(settings), report_(report) {
    const bool recurs = !item.rules.empty() || !item.extra_dates.empty() || item.replaces;
    form_ = item.is_all_day ? Form::kDays : recurs ? Form::kZone : Form::kUtc;
    if (item.start) {
      shift_ = static_cast<int>(CivilDay(clock.ToLocal(*item.start)) - CivilDay(item.rule_start));
    }
  }

  ModernText Write() {
    const std::string name = item_.kind == ItemKind::kTask      ? "VTODO"
                             : item_.kind == ItemKind::kJournal ? "VJOURNAL"
                                                                : "VEVENT";
    AddText("SUMMARY", item_.summary);
    AddDates();
    AddRecurrence();
    AddText("DESCRIPTION", item_.description);
    AddText("LOCATION", item_.location);
    AddCategories();
    Add("CLASS", item_.access);
    AddStatus();
    AddPriority();
    for (const Attendee& attendee : item_.attendees) AddAttendee(attendee);
    for (const OtherLine& other : item_.others) AddOther(other);
    AddAlarms();
    result_.text = "BEGIN:" + name + "\r\n" + Head() + text_ + "END:" + name + "\r\n";
    return result_;
  }

 private:
  enum class Form { kUtc, kZone, kDays };

  void Add(std::string_view head, const std::string& value) {
    if (!value.empty()) text_ += FoldedLine(std::string(head) + ":" + value);
  }
  void AddText(std::string_view name, const std::string& text) { Add(name, EscapedModern(text)); }

  // What is made of the content stands before it.
  std::string Head() const {
    std::string uid = item_.uid.empty() ? settings_.uid : item_.uid;
    if (uid.empty()) uid = MadeUid(text_);
    const std::optional<Moment>& stamp = item_.modified ? item_.modified : item_.created;
    return FoldedLine("UID:" + EscapedModern(uid)) +
           "DTSTAMP:" + (stamp ? UtcText(*stamp) : TimeStampNow()) + "\r\n" +
           (item_.created ? "CREATED:" + UtcText(*item_.created) + "\r\n" : "") +
           (item_.modified ? "LAST-MODIFIED:" + UtcText(*item_.modified) + "\r\n" : "");
  }

  std::string UtcText(const Moment& moment) const {
    return DateTimeText(CivilAt(clock_.ToUtc(moment))) + "Z";
  }

  // ---- Times ----

  void AddTime(const std::string& name, const Moment& moment, Form form) {
    if (form == Form::kDays || moment.kind == TimeKind::kDate) {
      return Add(name + ";VALUE=DATE", DateText(clock_.ToLocal(moment)));
    }
    if (form == Form::kUtc || zone_.is_utc) return Add(name, UtcText(moment));
    const std::string local = DateTimeText(clock_.ToLocal(moment));
    if (zone_.name.empty()) return Add(name, local);
    result_.uses_zone = true;
    Add(name + ";TZID=" + ParameterValue(zone_.name, true), local);
  }

  void AddDates() {
    if (item_.kind == ItemKind::kTask) return AddTaskDates();
    if (item_.start) AddTime("DTSTART", *item_.start, form_);
    if (item_.end && item_.kind == ItemKind::kEvent) AddTime("DTEND", *item_.end, form_);
  }

  // Both have one form.
  void AddTaskDates() {
    const bool has_day = (item_.due && item_.due->kind == TimeKind::kDate) ||
                         (item_.start && item_.start->kind == TimeKind::kDate);
    const Form form = has_day ? Form::kDays : form_;
    if (item_.start) AddTime("DTSTART", *item_.start, form);
    // A rule needs a start.
    if (!item_.start && item_.due && !item_.rules.empty()) AddTime("DTSTART", *item_.due, form);
    if (item_.due) AddTime("DUE", *item_.due, form);
  }

  // A day alone, of a series with times, is that day's occurrence.
  Moment AtTimeOfStart(const Moment& moment) const {
    if (moment.kind != TimeKind::kDate || item_.is_all_day || !item_.start) return moment;
    const CivilTime start = clock_.ToLocal(*item_.start);
    const int64_t time_of_day = CivilSeconds(start) - CivilSeconds(AtMidnight(start));
    return {CivilAt(CivilSeconds(moment.time) + time_of_day), TimeKind::kLocal, {}};
  }

  void AddRecurrence() {
    for (const TimedRule& rule : item_.rules) AddRule(rule);
    for (const std::string& text : item_.unknown_rules) {
      report_.Dropped("RRULE");
      AddText("X-OSIF-RRULE", text);
    }
    std::set<CivilTime> written;
    for (const Moment& moment : item_.exceptions) AddException(moment, written);
    for (const TimedRule& rule : item_.exception_rules) AddExceptions(rule, written);
    for (const ExtraDate& date : item_.extra_dates) {
      AddTime("RDATE", AtTimeOfStart(date.start), form_);
    }
    if (item_.replaces) AddTime("RECURRENCE-ID", AtTimeOfStart(*item_.replaces), form_);
  }

  void AddException(const Moment& moment, std::set<CivilTime>& written) {
    const Moment exception = AtTimeOfStart(moment);
    if (written.insert(clock_.ToLocal(exception)).second) AddTime("EXDATE", exception, form_);
  }

  void AddExceptions(const TimedRule& rule, std::set<CivilTime>& written) {
    const std::vector<CivilTime> times = ExceptionTimes(item_, rule, clock_);
    if (times.empty()) return report_.Dropped("EXRULE");
    report_.Changed("EXRULE as single exceptions");
    for (const CivilTime& time : times) AddException(clock_.OfRuleClock(item_, time), written);
  }

  void AddRule(const TimedRule& timed) {
    std::optional<RecurRule> rule = timed.rule;
    if (shift_ != 0) rule = ShiftedRule(*rule, item_.rule_start, shift_);
    if (!rule) {
      report_.Dropped("RRULE");
      return;
    }
    rule->count = timed.rule.count;
    rule->until = timed.rule.until;
    if (rule->until) rule->until = UntilOf(*rule->until);
    if (timed.time_of_day) {
      rule->hours = {static_cast<int>(*timed.time_of_day / kSecondsPerHour)};
      rule->minutes = {static_cast<int>(*timed.time_of_day / kSecondsPerMinute % 60)};
    }
    Add("RRULE", RecurRuleText(*rule));
  }

  // Of the kind that the start has: a day, or UTC.
  Moment UntilOf(const Moment& until) const {
    const bool is_of_days = form_ == Form::kDays || item_.kind == ItemKind::kTask;
    if (is_of_days) return {AtMidnight(clock_.ToLocal(until)), TimeKind::kDate, {}};
    Moment last = until;
    if (until.kind == TimeKind::kDate) {
      last = {CivilAt(CivilSeconds(until.time) + kSecondsPerDay - 1), TimeKind::kLocal, {}};
    }
    return {CivilAt(clock_.ToUtc(last)), TimeKind::kUtc, {}};
  }

  // ---- Words ----

  void AddCategories() {
    std::string list;
    for (const std::string_view name : SplitUnescaped(item_.categories, ',')) {
      if (!Trim(name).empty()) list += (list.empty() ? "" : ",") + EscapedModern(Trim(name));
    }
    Add("CATEGORIES", list);
  }

  void AddStatus() {
    if (item_.kind == ItemKind::kTask) return AddTaskStatus();
    const std::string& status = item_.status;
    const bool is_library = settings_.origin == Origin::kLibrary;
    if (status == "TENTATIVE" || status == "CANCELLED") {
      Add("STATUS", status);
    } else if (!status.empty() && status != "DECLINED" && item_.kind == ItemKind::kEvent) {
      Add("STATUS", "CONFIRMED");
    }
    const bool is_free = item_.is_free || status == "DECLINED" || (is_library && status.empty());
    if (is_free && item_.kind == ItemKind::kEvent) Add("TRANSP", "TRANSPARENT");
  }

  void AddTaskStatus() {
    const bool is_complete = item_.is_complete || item_.status == "COMPLETED" ||
                             (item_.completed && item_.status.empty());
    if (is_complete) {
      Add("STATUS", "COMPLETED");
      if (item_.completed) Add("COMPLETED", UtcText(*item_.completed));
    } else if (item_.status == "CANCELLED" || item_.status == "IN-PROCESS") {
      Add("STATUS", item_.status);
    } else if (!item_.status.empty()) {
      Add("STATUS", "NEEDS-ACTION");
    }
  }

  void AddPriority() {
    const std::string& priority = item_.priority;
    if (priority.empty() || priority == "0") return;
    if (settings_.origin != Origin::kLibrary) return Add("PRIORITY", priority);
    Add("PRIORITY", priority == "1" ? "1" : priority == "2" ? "5" : "9");
  }

  void AddAttendee(const Attendee& attendee) {
    if (attendee.address.find('@') == std::string::npos) {
      return report_.Dropped("ATTENDEE (no address)");
    }
    const bool has_name = !attendee.name.empty() && attendee.name != attendee.address;
    const std::string name = has_name ? ";CN=" + ParameterValue(attendee.name, true) : "";
    Add("ATTENDEE" + name, "mailto:" + attendee.address);
  }

  void AddOther(const OtherLine& other) {
    if (IsOneOf(other.name, kOldOnly) || !IsPropertyName(other.name)) {
      return report_.Dropped(other.name);
    }
    if (item_.is_modern && other.name == "PERCENT-COMPLETE") return;
    std::string head = other.name;
    for (const Parameter& param : other.params) {
      if (!IsPropertyName(param.name) || param.name == "VALUE") continue;
      head += ";" + param.name + "=" + ParameterValue(param.value, true);
    }
    if (other.is_base64) return Add(head + ";ENCODING=BASE64;VALUE=BINARY", other.text);
    std::string text = other.text;
    if (other.name == "GEO") std::ranges::replace(text, ',', ';');
    const bool is_text = !IsOneOf(other.name, kNoTexts);
    Add(head, is_text ? EscapedModern(text) : WithoutBreaks(text));
  }

  static std::string WithoutBreaks(std::string text) {
    std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
    return text;
  }

  // ---- Alarms ----

  // Several kinds of alarm at one time are one.
  void AddAlarms() {
    std::set<int64_t> written;
    for (const Alarm& alarm : item_.alarms) {
      if (!alarm.time && !alarm.trigger) continue;
      const int64_t start = item_.start ? clock_.ToUtc(*item_.start) : 0;
      const int64_t key = alarm.time ? clock_.ToUtc(*alarm.time) : start + *alarm.trigger;
      if (!written.insert(key).second) continue;
      text_ += "BEGIN:VALARM\r\nACTION:DISPLAY\r\n";
      AddText("DESCRIPTION", item_.summary.empty() ? "Alarm" : item_.summary);
      if (item_.kind == ItemKind::kEvent && item_.start) {
        Add("TRIGGER", DurationText(key - start));
      } else {
        Add("TRIGGER;VALUE=DATE-TIME", DateTimeText(CivilAt(key)) + "Z");
      }
      text_ += "END:VALARM\r\n";
    }
  }

  const CalendarItem& item_;
  const Clock& clock_;
  const ModernZone& zone_;
  const WriterSettings& settings_;
  Report& report_;
  Form form_ = Form::kUtc;
  int shift_ = 0;  // days from the clock that the rules count on to the device's
  std::string text_;
  ModernText result_;
};

}  // namespace

ModernZone DeviceModernZone() {
  constexpr std::array<std::string_view, 5> kUtcNames = {"UTC", "Etc/UTC", "GMT", "Etc/GMT",
                                                         "UTC0"};
  const std::string name = DeviceZoneName();
  if (IsOneOf(name, kUtcNames)) return {{}, true};
  return {ZoneComponent(name).empty() ? "" : name, false};
}

ModernText ModernComponent(CalendarItem item, const Clock& clock, const ModernZone& zone,
                           const WriterSettings& settings, Report& report) {
  SettleDates(item, clock, report);
  if (!item.is_modern && !item.rules.empty()) item = AtFirstOccurrence(item, clock, report);
  return ModernWriter(item, clock, zone, settings, report).Write();
}

std::string MadeUid(std::string_view text) {
  uint64_t hash = 14695981039346656037U;  // FNV-1a
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  }
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string uid = "osif-";
  for (int shift = 60; shift >= 0; shift -= 4) uid += kDigits[(hash >> shift) & 0xF];
  return uid;
}

std::string TimeStampNow() { return DateTimeText(CivilAt(std::time(nullptr))) + "Z"; }

bool IsPropertyName(std::string_view name) {
  return !name.empty() && std::ranges::all_of(name, [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
  });
}

}  // namespace dialects
