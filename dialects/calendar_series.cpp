// A rule counts on a clock: the device's, or that of the zone in which its sender wrote it. The store counts on the
// device's. So a rule is moved by a day where the start falls on another day here, and the start becomes a local
// time; that keeps each occurrence where it is as long as both zones change their clocks together.
//
// The store takes a second item of the same start and summary for the first one. So whatever begins here begins at a
// time of its own: a series whose first occurrence is that of another one begins with its next.
//
// What the store's rules cannot say becomes single items, when the rule ends and has few occurrences; else
// the item is kept, and its description says in words that it recurs.
#include "dialects/calendar_series.h"

#include <algorithm>
#include <map>
#include <set>

#include "dialects/recurrence_store.h"

namespace dialects {
namespace {

constexpr size_t kMostCounted = 2000;
constexpr size_t kMostExceptions = 500;

void AddLine(const std::string& line, std::string& text) {
  text += (text.empty() ? "" : "\n") + line;
}

int64_t TimeOfDay(const CivilTime& time) {
  return CivilSeconds(time) - CivilSeconds(AtMidnight(time));
}

CivilTime AtTimeOfDay(const CivilTime& day, int64_t time_of_day) {
  return CivilAt(CivilSeconds(AtMidnight(day)) + time_of_day);
}

bool Ends(const RecurRule& rule) { return rule.count != 0 || rule.until; }

// True for a rule that may occur several times a day.
bool IsWithinDays(const RecurRule& rule) {
  return rule.unit < RuleUnit::kDaily || !rule.hours.empty() || !rule.minutes.empty() ||
         !rule.seconds.empty();
}

// The rule with its end by the clock that it counts on.
RecurRule OnRuleClock(const RecurRule& rule, const CalendarItem& item, const Clock& clock) {
  RecurRule result = rule;
  if (!result.until || result.until->kind == TimeKind::kDate) return result;
  result.until = Moment{clock.ToRuleClock(item, *result.until), TimeKind::kLocal, {}};
  return result;
}

// The time at which a rule begins.
CivilTime StartOf(const TimedRule& timed, const CalendarItem& item) {
  return timed.time_of_day ? AtTimeOfDay(item.rule_start, *timed.time_of_day) : item.rule_start;
}

// The last occurrence of an item's rules, by the clock that they count on; nothing where one has no end, or too many
// occurrences to be counted.
std::optional<CivilTime> LastOccurrence(const CalendarItem& item, const Clock& clock) {
  std::optional<CivilTime> last;
  if (!item.unknown_rules.empty()) return std::nullopt;
  for (const TimedRule& timed : item.rules) {
    const RecurRule rule = OnRuleClock(timed.rule, item, clock);
    if (!Ends(rule)) return std::nullopt;
    const auto times = clock.Walk(rule, StartOf(timed, item), kMostCounted);
    if (times.size() == kMostCounted) return std::nullopt;
    if (!times.empty() && (!last || times.back() > *last)) last = times.back();
  }
  return last;
}

// The exceptions of one of the device's days.
struct ExceptionDay {
  bool is_whole = false;
  std::set<CivilTime> times;
};

class Series {
 public:
  Series(const CalendarItem& item, const Clock& clock, Report& report)
      : item_(item), clock_(clock), report_(report) {
    FindFirst();
    FindExceptions();
  }

  std::vector<StoreItem> Result() {
    if (item_.kind == ItemKind::kJournal || !HasStart()) {
      AddOnce();
      return items_;
    }
    FindOddStart();
    for (const TimedRule& rule : item_.rules) AddRule(rule);
    told_.insert(told_.end(), item_.unknown_rules.begin(), item_.unknown_rules.end());
    if (items_.empty() && (item_.extra_dates.empty() || !IsException(local_))) AddOnce();
    AddExtraDates();
    if (items_.empty()) AddOnce();
    for (const std::string& text : told_) TellRule(text, items_.front().item);
    NumberUids();
    return items_;
  }

  // The item as one that begins when one of its rules occurs for the first time.
  CalendarItem AtFirstOccurrence() const {
    std::optional<CivilTime> first;
    for (const TimedRule& timed : item_.rules) {
      // A time of day before that of the start is one of the next day.
      for (const CivilTime& time :
           clock_.Walk(OnRuleClock(timed.rule, item_, clock_), StartOf(timed, item_), 2)) {
        if (time >= item_.rule_start && (!first || time < *first)) first = time;
      }
    }
    if (!HasStart() || !first || *first == item_.rule_start) return item_;
    CalendarItem moved = Moved(*first);
    moved.rule_start = *first;
    const int64_t seconds = CivilSeconds(*first) - CivilSeconds(item_.rule_start);
    for (Alarm& alarm : moved.alarms) {
      if (alarm.time) alarm.time->time = CivilAt(CivilSeconds(alarm.time->time) + seconds);
    }
    return moved;
  }

 private:
  bool HasStart() const { return item_.start || item_.due; }

  void FindFirst() {
    if (!HasStart()) return;
    first_ = item_.start ? *item_.start : *item_.due;
    local_ = clock_.ToLocal(first_);
    shift_ = static_cast<int>(CivilDay(local_) - CivilDay(item_.rule_start));
  }

  // ---- Exceptions ----

  // An exception at one of the item's own times means the occurrence at that time; at any other time, the day.
  bool IsOwnTime(const CivilTime& local) const {
    const bool is_midnight = local == AtMidnight(local);
    return std::ranges::any_of(item_.rules,
                               [&](const TimedRule& timed) {
                                 if (IsWithinDays(timed.rule)) return !is_midnight;
                                 return TimeOfDay(ToLocal(StartOf(timed, item_))) ==
                                        TimeOfDay(local);
                               }) ||
           std::ranges::any_of(item_.extra_dates, [&](const ExtraDate& date) {
             return date.start.kind != TimeKind::kDate && clock_.ToLocal(date.start) == local;
           });
  }

  bool AddException(const CivilTime& local, bool is_whole) {
    const bool is_known = exceptions_.contains(AtMidnight(local));
    if (!is_known && exceptions_.size() >= kMostExceptions) return false;
    ExceptionDay& day = exceptions_[AtMidnight(local)];
    day.is_whole = day.is_whole || is_whole || !IsOwnTime(local);
    day.times.insert(local);
    return true;
  }

  void FindExceptions() {
    for (const Moment& moment : item_.exceptions) {
      const bool is_day = moment.kind == TimeKind::kDate;
      const CivilTime local = PlusDays(clock_.ToLocal(moment), is_day ? shift_ : 0);
      if (!AddException(local, is_day)) report_.Dropped("EXDATE");
    }
    for (const TimedRule& timed : item_.exception_rules) {
      const std::vector<CivilTime> times = ExceptionTimes(item_, timed, clock_);
      report_.Changed("EXRULE as single exceptions", times.empty() ? 0 : 1);
      if (times.empty()) report_.Dropped("EXRULE");
      for (const CivilTime& time : times) {
        if (!AddException(ToLocal(time), false)) report_.Dropped("EXRULE (one exception)");
      }
    }
  }

  bool IsException(const CivilTime& local) const {
    const auto day = exceptions_.find(AtMidnight(local));
    return day != exceptions_.end() && (day->second.is_whole || day->second.times.contains(local));
  }

  // A time of the clock that rules count on, by the device's.
  CivilTime ToLocal(const CivilTime& time) const {
    if (item_.kind == ItemKind::kTask || item_.is_all_day) return PlusDays(time, shift_);
    return clock_.ToLocal(clock_.OfRuleClock(item_, time));
  }

  // ---- Rules ----

  // The last day on which a rule can occur, by the clock that it counts on.
  static CivilTime LastDay(const Moment& until, const CivilTime& start) {
    if (until.kind == TimeKind::kDate) return AtMidnight(until.time);
    return AtMidnight(CivilAt(CivilSeconds(until.time) - TimeOfDay(start)));
  }

  // In iCalendar 2.0 the start takes place, and counts, where no rule occurs on it.
  void FindOddStart() {
    if (item_.rules.empty() || !item_.unknown_rules.empty()) return;
    for (const TimedRule& timed : item_.rules) {
      const auto times =
          clock_.Walk(OnRuleClock(timed.rule, item_, clock_), StartOf(timed, item_), 1);
      if (times.empty() || times.front() == item_.rule_start) return;
    }
    if (!item_.is_modern) return report_.Guessed("start on which its rule does not occur");
    report_.Changed("start on which its rule does not occur, as a single item");
    has_odd_start_ = true;
    if (!IsException(local_)) AddOnce();
  }

  void AddRule(const TimedRule& timed) {
    const CivilTime start = StartOf(timed, item_);
    RecurRule rule = OnRuleClock(timed.rule, item_, clock_);
    if (has_odd_start_ && rule.count == 1) return;
    if (has_odd_start_ && rule.count > 1) --rule.count;
    if (item_.is_all_day && rule.unit < RuleUnit::kDaily) return AddNotExpressible(rule, start);
    const std::optional<RecurRule> here = shift_ == 0 ? rule : ShiftedRule(rule, start, shift_);
    Report changes;
    const std::vector<StorePart> parts =
        here ? StoreParts(*here, PlusDays(start, shift_), changes) : std::vector<StorePart>();
    if (parts.empty()) return AddNotExpressible(rule, start);
    if (!AddParts(parts, rule, start)) return AddNotExpressible(rule, start);
    report_.Add(changes);
    ReportZone();
  }

  // False where the end of several parts cannot be found.
  bool AddParts(const std::vector<StorePart>& parts, const RecurRule& rule,
                const CivilTime& start) {
    RuleEnd end;
    end.count = rule.count;
    if (rule.until && rule.count == 0) end.last_day = PlusDays(LastDay(*rule.until, start), shift_);
    if (parts.size() > 1 && rule.count != 0) {
      const auto times = clock_.Walk(rule, start, kMostCounted);
      if (times.empty() || times.size() == kMostCounted) return false;
      end.last_day = PlusDays(AtMidnight(times.back()), shift_);
    }
    const bool is_alone = parts.size() == 1 && start == item_.rule_start && item_.rules.size() == 1;
    if (!is_alone) report_.Changed("rule as several series");
    for (const StorePart& part : parts) AddPart(part, start, end, is_alone);
    return true;
  }

  // A series from its first occurrence on at which nothing else begins.
  void AddPart(const StorePart& part, const CivilTime& start, RuleEnd end, bool is_alone) {
    // The occurrences of a part are those of the device's days.
    for (const CivilTime& here :
         clock_.Walk(part.rule, PlusDays(start, shift_), begun_.size() + 2)) {
      const CivilTime time = PlusDays(here, -shift_);
      if (time < item_.rule_start) continue;
      if (end.last_day && AtMidnight(here) > *end.last_day) return;
      if (!begun_.contains(time)) return AddSeries(part, time, end);
      if (end.count == 1) return;
      if (end.count > 1) --end.count;
    }
    if (is_alone) AddSeries(part, item_.rule_start, end);
  }

  // A series that begins at a time of the rule's clock.
  void AddSeries(const StorePart& part, const CivilTime& start, const RuleEnd& end) {
    begun_.insert(start);
    StoreItem series = {Moved(start), OldRuleText(part.store, end), {}};
    MakeLocal(series.item);
    const CivilTime first = series.item.start ? series.item.start->time : start;
    for (const auto& [day, exception] : exceptions_) {
      const bool is_past = end.last_day && day > *end.last_day;
      const bool is_of_series =
          exception.is_whole || exception.times.contains(AtTimeOfDay(day, TimeOfDay(first)));
      if (day >= AtMidnight(first) && !is_past && is_of_series) series.exceptions.push_back(day);
    }
    if (item_.kind == ItemKind::kTask && !series.exceptions.empty()) {
      report_.Dropped("EXDATE", series.exceptions.size());
      series.exceptions.clear();
    }
    items_.push_back(series);
  }

  void AddNotExpressible(const RecurRule& rule, const CivilTime& start) {
    const auto times =
        Ends(rule) ? clock_.Walk(rule, start, kMostSingles + 1) : std::vector<CivilTime>();
    if (times.empty() || times.size() > kMostSingles) {
      told_.push_back(RecurRuleText(rule));
      return;
    }
    report_.Changed("rule as single items");
    for (const CivilTime& time : times) AddSingle(time);
  }

  void AddSingle(const CivilTime& time) {
    if (IsException(ToLocal(time)) || !begun_.insert(time).second) return;
    items_.push_back({Moved(time), {}, {}});
  }

  void AddOnce() {
    begun_.insert(item_.rule_start);
    items_.push_back({item_, {}, {}});
  }

  void TellRule(const std::string& text, CalendarItem& item) {
    AddLine("Repeats: " + text, item.description);
    report_.Dropped("RRULE");
  }

  void AddExtraDates() {
    size_t count = 0;
    for (const ExtraDate& date : item_.extra_dates) {
      if (++count > kMostSingles) {
        report_.Dropped("RDATE");
        continue;
      }
      report_.Changed("RDATE as a single item");
      Moment start = date.start;
      // A day alone has the time of the start.
      if (start.kind == TimeKind::kDate && !item_.is_all_day && item_.start) {
        start = clock_.OfRuleClock(item_, AtTimeOfDay(start.time, TimeOfDay(item_.rule_start)));
      }
      if (IsException(clock_.ToLocal(start))) continue;
      if (!begun_.insert(clock_.ToRuleClock(item_, start)).second) continue;
      StoreItem single = {MovedTo(start), {}, {}};
      if (date.duration && single.item.start && *date.duration >= 0) {
        single.item.end = *single.item.start;
        single.item.end->time = CivilAt(CivilSeconds(single.item.start->time) + *date.duration);
      }
      items_.push_back(single);
    }
  }

  // The item at another time of its rule's clock.
  CalendarItem Moved(const CivilTime& time) const {
    if (time == item_.rule_start) return item_;
    if (item_.kind == ItemKind::kTask || item_.is_all_day) {
      return MovedTo({time, TimeKind::kLocal, {}});
    }
    return MovedTo(clock_.OfRuleClock(item_, time));
  }

  // What lasts whole days moves by days, everything else by the seconds that lie between.
  CalendarItem MovedTo(const Moment& start) const {
    CalendarItem moved = item_;
    if (item_.kind == ItemKind::kTask || item_.is_all_day) {
      const int64_t days = CivilDay(clock_.ToLocal(start)) - CivilDay(local_);
      for (std::optional<Moment>* moment : {&moved.start, &moved.end, &moved.due, &moved.alarm}) {
        if (*moment) (*moment)->time = PlusDays((*moment)->time, days);
      }
      return moved;
    }
    const int64_t utc = clock_.ToUtc(start);
    const int64_t seconds = utc - clock_.ToUtc(first_);
    const bool is_local = start.kind == TimeKind::kLocal;
    moved.start = start;
    if (!is_local) moved.start = Moment{CivilAt(utc), TimeKind::kUtc, {}};
    if (moved.end) moved.end = MovedBy(*moved.end, seconds, is_local);
    if (moved.alarm) moved.alarm = MovedBy(*moved.alarm, seconds, false);
    return moved;
  }

  Moment MovedBy(const Moment& moment, int64_t seconds, bool is_local) const {
    const int64_t utc = clock_.ToUtc(moment) + seconds;
    if (is_local) return {CivilAt(UtcToDevice(utc)), TimeKind::kLocal, {}};
    return {CivilAt(utc), TimeKind::kUtc, {}};
  }

  void MakeLocal(CalendarItem& item) const {
    if (item.kind != ItemKind::kEvent) return;
    for (std::optional<Moment>* moment : {&item.start, &item.end}) {
      if (*moment) *moment = Moment{clock_.ToLocal(**moment), TimeKind::kLocal, {}};
    }
  }

  // A rule of a zone whose clocks change on other days than the device's is off by an hour for a part of the year.
  void ReportZone() {
    const bool is_here = first_.kind == TimeKind::kLocal || first_.kind == TimeKind::kDate;
    if (is_here || is_zone_reported_) return;
    constexpr int64_t kStep = 7;
    constexpr int64_t kWatched = int64_t{2} * 366;
    const int64_t difference = CivilSeconds(local_) - CivilSeconds(item_.rule_start);
    for (int64_t days = 0; days < kWatched; days += kStep) {
      const CivilTime then = PlusDays(item_.rule_start, days);
      const CivilTime here = clock_.ToLocal(clock_.OfRuleClock(item_, then));
      if (CivilSeconds(here) - CivilSeconds(then) == difference) continue;
      report_.Guessed("rule of a zone that changes its clocks on other days");
      is_zone_reported_ = true;
      return;
    }
  }

  // Each item that is made of one needs a UID of its own.
  void NumberUids() {
    if (item_.uid.empty()) return;
    for (size_t i = 1; i < items_.size(); ++i) {
      items_[i].item.uid += "#" + std::to_string(i + 1);
    }
  }

  const CalendarItem& item_;
  const Clock& clock_;
  Report& report_;
  Moment first_;                                  // the start, or the due day of a task without one
  CivilTime local_;                               // the same on the device's clock
  int shift_ = 0;                                 // days from the rule's clock to the device's
  bool has_odd_start_ = false;                    // the start is an occurrence that no rule has
  std::map<CivilTime, ExceptionDay> exceptions_;  // by days of the device's clock
  std::set<CivilTime> begun_;                     // where items begin, by the rule's clock
  std::vector<std::string> told_;                 // rules that are kept in words
  bool is_zone_reported_ = false;
  std::vector<StoreItem> items_;
};

}  // namespace

std::vector<StoreItem> StoreItems(const CalendarItem& item, const Clock& clock, Report& report) {
  return Series(item, clock, report).Result();
}

CalendarItem AtFirstOccurrence(const CalendarItem& item, const Clock& clock, Report& report) {
  Report ignored;
  const Series series(item, clock, ignored);
  CalendarItem moved = series.AtFirstOccurrence();
  if (moved.rule_start != item.rule_start) {
    report.Guessed("start on which its rule does not occur");
  }
  return moved;
}

std::vector<CivilTime> ExceptionTimes(const CalendarItem& item, const TimedRule& timed,
                                      const Clock& clock) {
  RecurRule rule = OnRuleClock(timed.rule, item, clock);
  if (!Ends(rule)) {
    const std::optional<CivilTime> last = LastOccurrence(item, clock);
    if (!last) return {};
    rule.until = Moment{*last, TimeKind::kLocal, {}};
  }
  std::vector<CivilTime> times = clock.Walk(rule, StartOf(timed, item), kMostExceptions);
  if (times.size() == kMostExceptions) times.clear();
  return times;
}

void TakeApartOverrides(std::vector<CalendarItem>& items, std::vector<Report>& reports,
                        const Clock& clock) {
  std::map<std::string, size_t> series;
  for (size_t i = 0; i < items.size(); ++i) {
    const bool recurs = !items[i].rules.empty() || !items[i].extra_dates.empty();
    if (!items[i].replaces && recurs && !items[i].uid.empty()) series.emplace(items[i].uid, i);
  }
  for (size_t i = 0; i < items.size(); ++i) {
    CalendarItem& item = items[i];
    if (!item.replaces) continue;
    if (item.replaces_later_ones) reports[i].Dropped("RECURRENCE-ID (THISANDFUTURE)");
    if (const auto found = series.find(item.uid); found != series.end()) {
      items[found->second].exceptions.push_back(*item.replaces);
      reports[i].Changed("changed occurrence as a single item");
    }
    if (!item.uid.empty()) item.uid += "#" + DateText(clock.ToLocal(*item.replaces));
  }
  size_t kept = 0;
  for (size_t i = 0; i < items.size(); ++i) {
    if (items[i].replaces && items[i].status == "CANCELLED") continue;
    if (kept != i) {
      items[kept] = std::move(items[i]);
      reports[kept] = std::move(reports[i]);
    }
    ++kept;
  }
  items.resize(kept);
  reports.resize(kept);
}

}  // namespace dialects
