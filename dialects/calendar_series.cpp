// A rule counts on a clock: the device's, or that of the zone in which its sender wrote it. The store counts on the
// device's. So a rule is moved by a day where the start falls on another day here, and the start becomes a local
// time; that keeps each occurrence where it is as long as both zones change their clocks together.
//
// What the store's rules cannot say becomes single items, when the rule ends and has few occurrences; else
// the item is kept once, and its description says in words that it recurs.
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
    for (const TimedRule& rule : item_.rules) AddRule(rule);
    if (items_.empty()) AddOnce();
    for (const std::string& text : item_.unknown_rules) TellRule(text, items_.front().item);
    AddExtraDates();
    NumberUids();
    return items_;
  }

 private:
  bool HasStart() const { return item_.start || item_.due; }

  void FindFirst() {
    if (!HasStart()) return;
    first_ = item_.start ? *item_.start : *item_.due;
    local_ = clock_.ToLocal(first_);
    shift_ = static_cast<int>(CivilDay(local_) - CivilDay(item_.rule_start));
  }

  void AddException(const CivilTime& day) {
    if (exceptions_.size() < kMostExceptions) exceptions_.insert(AtMidnight(day));
  }

  void FindExceptions() {
    for (const Moment& moment : item_.exceptions) {
      const bool is_of_rule_clock = moment.kind == TimeKind::kDate;
      AddException(PlusDays(clock_.ToLocal(moment), is_of_rule_clock ? shift_ : 0));
    }
    for (const TimedRule& timed : item_.exception_rules) {
      const RecurRule rule = WithUntil(timed.rule);
      const bool ends = rule.count != 0 || rule.until;
      const auto times = clock_.Walk(rule, item_.rule_start, kMostExceptions);
      if (!ends || times.empty() || times.size() == kMostExceptions) {
        report_.Dropped("EXRULE");
        continue;
      }
      report_.Changed("EXRULE as single exceptions");
      for (const CivilTime& time : times) AddException(PlusDays(time, shift_));
    }
  }

  // The rule with its end by the clock that it counts on.
  RecurRule WithUntil(const RecurRule& rule) const {
    RecurRule result = rule;
    if (!result.until || result.until->kind == TimeKind::kDate) return result;
    result.until = Moment{clock_.ToRuleClock(item_, *result.until), TimeKind::kLocal, {}};
    return result;
  }

  // The last day on which a rule can occur, by the clock that it counts on.
  static CivilTime LastDay(const Moment& until, const CivilTime& start) {
    const int64_t time_of_day = CivilSeconds(start) - CivilSeconds(AtMidnight(start));
    if (until.kind == TimeKind::kDate) return AtMidnight(until.time);
    return AtMidnight(CivilAt(CivilSeconds(until.time) - time_of_day));
  }

  void AddRule(const TimedRule& timed) {
    CivilTime start = item_.rule_start;
    if (timed.time_of_day) start = CivilAt(CivilSeconds(AtMidnight(start)) + *timed.time_of_day);
    const RecurRule rule = WithUntil(timed.rule);
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
    const bool is_alone = parts.size() == 1 && start == item_.rule_start && item_.rules.size() == 1;
    if (is_alone) {
      if (!HitsStart(rule, start)) report_.Guessed("start on which its rule does not occur");
      AddSeries(parts.front(), item_.rule_start, end);
      return true;
    }
    if (parts.size() > 1 && rule.count != 0) {
      const auto times = clock_.Walk(rule, start, kMostCounted);
      if (times.empty() || times.size() == kMostCounted) return false;
      end.last_day = PlusDays(AtMidnight(times.back()), shift_);
    }
    report_.Changed("rule as several series");
    for (const StorePart& part : parts) {
      // The occurrences of a part are those of the device's days.
      const CivilTime from = PlusDays(start, shift_);
      const auto first = clock_.Walk(part.rule, from, 2);
      const auto hit = std::ranges::find_if(
          first, [&](const CivilTime& time) { return time >= PlusDays(item_.rule_start, shift_); });
      if (hit == first.end() || (end.last_day && AtMidnight(*hit) > *end.last_day)) continue;
      AddSeries(part, PlusDays(*hit, -shift_), end);
    }
    return true;
  }

  bool HitsStart(const RecurRule& rule, const CivilTime& start) const {
    const auto times = clock_.Walk(rule, start, 1);
    return !times.empty() && times.front() == start;
  }

  // A series that begins at a time of the rule's clock.
  void AddSeries(const StorePart& part, const CivilTime& start, const RuleEnd& end) {
    StoreItem series = {Moved(start), OldRuleText(part.store, end), {}};
    MakeLocal(series.item);
    for (const CivilTime& day : exceptions_) {
      const bool is_past = end.last_day && day > *end.last_day;
      const CivilTime first = series.item.start ? series.item.start->time : start;
      if (day >= AtMidnight(first) && !is_past) series.exceptions.push_back(day);
    }
    if (item_.kind == ItemKind::kTask && !series.exceptions.empty()) {
      report_.Dropped("EXDATE", series.exceptions.size());
      series.exceptions.clear();
    }
    items_.push_back(series);
  }

  void AddNotExpressible(const RecurRule& rule, const CivilTime& start) {
    const bool ends = rule.count != 0 || rule.until;
    const auto times = ends ? clock_.Walk(rule, start, kMostSingles + 1) : std::vector<CivilTime>();
    if (times.empty() || times.size() > kMostSingles) {
      AddOnce();
      return TellRule(RecurRuleText(rule), items_.back().item);
    }
    report_.Changed("rule as single items");
    for (const CivilTime& time : times) {
      if (!exceptions_.contains(AtMidnight(PlusDays(time, shift_)))) {
        items_.push_back({Moved(time), {}, {}});
      }
    }
  }

  void AddOnce() { items_.push_back({item_, {}, {}}); }

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
        const int64_t time_of_day =
            CivilSeconds(item_.rule_start) - CivilSeconds(AtMidnight(item_.rule_start));
        start = clock_.OfRuleClock(item_, CivilAt(CivilSeconds(start.time) + time_of_day));
      }
      if (exceptions_.contains(AtMidnight(clock_.ToLocal(start)))) continue;
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
  Moment first_;                    // the start, or the due day of a task without one
  CivilTime local_;                 // the same on the device's clock
  int shift_ = 0;                   // days from the rule's clock to the device's
  std::set<CivilTime> exceptions_;  // days of the device's clock
  bool is_zone_reported_ = false;
  std::vector<StoreItem> items_;
};

}  // namespace

std::vector<StoreItem> StoreItems(const CalendarItem& item, const Clock& clock, Report& report) {
  return Series(item, clock, report).Result();
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
