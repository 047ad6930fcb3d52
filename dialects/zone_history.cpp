// A zone is taken apart into observances that have either a rule or dates, in the order of their first onsets. The one
// that is in force at the wanted time is that with the last onset before it. What is over by then is left out: observances
// and dates before that onset, but no rule that goes on. The onset after the last one that was left out is where the rest
// begins to be whole. An onset is a time by the clock that is changed then; two of them are compared as such, since they
// lie weeks apart and the clocks hours.
#include "dialects/zone_history.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "dialects/content_line.h"
#include "dialects/icalendar.h"
#include "dialects/recurrence.h"
#include "dialects/value_text.h"

namespace dialects {
namespace {

constexpr size_t kMostOnsets = 1000;
constexpr CivilTime kFirstTime = {1, 1, 1, 0, 0, 0};
constexpr CivilTime kLastTime = {2500, 1, 1, 0, 0, 0};

struct Observance {
  std::string kind;  // STANDARD, DAYLIGHT
  std::string name;  // CET
  std::string offset_from;
  std::string offset_to;
  std::vector<CivilTime> dates;   // in their order; of a rule its start alone
  std::optional<RecurRule> rule;  // its end is a civil time of the clock that is changed

  bool IsLike(const Observance& other) const {
    return kind == other.kind && name == other.name && offset_from == other.offset_from &&
           offset_to == other.offset_to;
  }

  std::vector<CivilTime> Onsets(size_t limit = kMostOnsets) const {
    return rule ? Occurrences(*rule, dates.front(), limit, kLastTime) : dates;
  }
};

// The end of a zone's rule is in UTC.
RecurRule WithLocalEnd(RecurRule rule, const std::string& offset_from) {
  if (!rule.until || rule.until->kind != TimeKind::kUtc) return rule;
  const int64_t offset = ReadOffset(offset_from).value_or(0);
  rule.until = Moment{CivilAt(CivilSeconds(rule.until->time) + offset), TimeKind::kLocal, {}};
  return rule;
}

void Take(const ContentLine& line, Observance& observance) {
  if (line.name == "TZNAME") observance.name = line.value;
  if (line.name == "TZOFFSETFROM") observance.offset_from = line.value;
  if (line.name == "TZOFFSETTO") observance.offset_to = line.value;
  if (line.name == "RRULE") observance.rule = ReadRecurRule(line.value);
  if (line.name == "DTSTART" || line.name == "RDATE") {
    if (const auto moment = ReadMoment(line.value)) observance.dates.push_back(moment->time);
  }
}

// Dates beside a rule are an observance of their own, and so is a start that its rule does not have.
void AddTo(std::vector<Observance>& observances, Observance observance) {
  if (observance.dates.empty()) return;
  if (observance.rule) {
    observance.rule = WithLocalEnd(*observance.rule, observance.offset_from);
    const std::vector<CivilTime> first = observance.Onsets(1);
    Observance dates = observance;
    dates.rule.reset();
    if (first == std::vector{dates.dates.front()}) dates.dates.erase(dates.dates.begin());
    AddTo(observances, std::move(dates));
    if (first.empty()) return;
    observance.dates = first;
  }
  std::ranges::sort(observance.dates);
  observances.push_back(std::move(observance));
}

std::vector<Observance> ReadObservances(const std::vector<ContentLine>& lines) {
  std::vector<Observance> observances;
  std::optional<Observance> open;
  for (const ContentLine& line : lines) {
    if (line.name == "BEGIN" && line.value != "VTIMEZONE") {
      open.emplace();
      open->kind = line.value;
    } else if (line.name == "END" && open) {
      AddTo(observances, *std::exchange(open, std::nullopt));
    } else if (open) {
      Take(line, *open);
    }
  }
  std::ranges::sort(observances, {}, [](const Observance& one) { return one.dates.front(); });
  return observances;
}

RecurRule Endless(RecurRule rule) {
  rule.until.reset();
  return rule;
}

// True for a rule that goes on where another one has ended, as if that had not.
bool Continues(const Observance& later, const Observance& earlier) {
  if (!later.rule || !earlier.rule || !earlier.rule->until || !later.IsLike(earlier)) return false;
  if (Endless(*later.rule) != Endless(*earlier.rule)) return false;
  const size_t count = earlier.Onsets().size();
  Observance endless = earlier;
  endless.rule = Endless(*earlier.rule);
  const std::vector<CivilTime> onsets = endless.Onsets(count + 1);
  return onsets.size() == count + 1 && onsets.back() == later.dates.front();
}

void JoinContinued(std::vector<Observance>& observances) {
  for (size_t i = 0; i < observances.size(); ++i) {
    for (size_t next = i + 1; next < observances.size();) {
      if (!Continues(observances[next], observances[i])) {
        ++next;
        continue;
      }
      observances[i].rule->until = observances[next].rule->until;
      observances.erase(observances.begin() + static_cast<ptrdiff_t>(next));
      next = i + 1;
    }
  }
}

// The last onset that is not after a time; nothing where all are.
std::optional<CivilTime> OnsetInForce(const std::vector<Observance>& observances,
                                      const CivilTime& time) {
  std::optional<CivilTime> last;
  for (const Observance& observance : observances) {
    for (const CivilTime& onset : observance.Onsets()) {
      if (onset <= time && (!last || onset > *last)) last = onset;
    }
  }
  return last;
}

// The onset from which on all is told when what is over before an onset is left out.
CivilTime FirstWhole(const std::vector<Observance>& observances, const CivilTime& in_force) {
  std::optional<CivilTime> left_out;
  std::vector<CivilTime> onsets;
  for (const Observance& observance : observances) {
    const std::vector<CivilTime> all = observance.Onsets();
    onsets.insert(onsets.end(), all.begin(), all.end());
    const bool goes_on = observance.rule && !all.empty() && all.back() >= in_force;
    for (const CivilTime& onset : all) {
      if (!goes_on && onset < in_force && (!left_out || onset > *left_out)) left_out = onset;
    }
  }
  CivilTime first = in_force;
  for (const CivilTime& onset : onsets) {
    if ((!left_out || onset > *left_out) && onset < first) first = onset;
  }
  return first;
}

// The observance without the onsets before one; without dates where that leaves none.
Observance From(Observance observance, const CivilTime& first) {
  std::vector<CivilTime> onsets = observance.Onsets();
  std::erase_if(onsets, [&](const CivilTime& onset) { return onset < first; });
  const bool recurs = observance.rule && (!observance.rule->until || onsets.size() > 1);
  if (recurs && !onsets.empty()) {
    onsets.resize(1);
  } else {
    observance.rule.reset();
  }
  observance.dates = std::move(onsets);
  return observance;
}

std::string RuleText(const Observance& observance) {
  RecurRule rule = *observance.rule;
  if (rule.until) {
    const int64_t offset = ReadOffset(observance.offset_from).value_or(0);
    rule.until = Moment{CivilAt(CivilSeconds(rule.until->time) - offset), TimeKind::kUtc, {}};
  }
  return RecurRuleText(rule);
}

std::string TextOf(const Observance& observance) {
  if (observance.dates.empty()) return {};
  std::string text = "BEGIN:" + observance.kind + "\r\n";
  if (!observance.name.empty()) text += "TZNAME:" + observance.name + "\r\n";
  text += "TZOFFSETFROM:" + observance.offset_from + "\r\n";
  text += "TZOFFSETTO:" + observance.offset_to + "\r\n";
  text += "DTSTART:" + DateTimeText(observance.dates.front()) + "\r\n";
  for (size_t i = 1; i < observance.dates.size(); ++i) {
    text += "RDATE:" + DateTimeText(observance.dates[i]) + "\r\n";
  }
  if (observance.rule) text += "RRULE:" + RuleText(observance) + "\r\n";
  return text + "END:" + observance.kind + "\r\n";
}

}  // namespace

ZoneHistory ZoneSince(std::string_view component, const std::string& tzid, const CivilTime& time) {
  Report ignored;
  const std::vector<ContentLine> lines = ReadContentLines(component, 1, kModernLines, ignored);
  std::vector<Observance> observances = ReadObservances(lines);
  JoinContinued(observances);
  ZoneHistory history = {"BEGIN:VTIMEZONE\r\n" + FoldedLine("TZID:" + tzid), kFirstTime};
  const auto location = std::ranges::find(lines, "X-LIC-LOCATION", &ContentLine::name);
  if (location != lines.end()) history.text += FoldedLine("X-LIC-LOCATION:" + location->value);
  // Nothing is over yet before the first onset.
  const std::optional<CivilTime> in_force = OnsetInForce(observances, time);
  if (in_force) history.from = FirstWhole(observances, *in_force);
  for (const Observance& observance : observances) {
    history.text += TextOf(From(observance, history.from));
  }
  history.text += "END:VTIMEZONE\r\n";
  return history;
}

}  // namespace dialects
