#include "dialects/calendar_item.h"

namespace dialects {

int64_t Clock::ToUtc(const Moment& moment) const {
  const int64_t seconds = CivilSeconds(moment.time);
  switch (moment.kind) {
    case TimeKind::kUtc:
      return seconds;
    case TimeKind::kZoned:
      return zones_.ToUtc(moment.zone, seconds);
    case TimeKind::kDate:
    case TimeKind::kLocal:
      break;
  }
  return DeviceToUtc(seconds);
}

CivilTime Clock::ToLocal(const Moment& moment) const {
  const bool is_local = moment.kind == TimeKind::kDate || moment.kind == TimeKind::kLocal;
  return is_local ? moment.time : CivilAt(UtcToDevice(ToUtc(moment)));
}

Moment Clock::AsUtc(const Moment& moment) const {
  if (moment.kind != TimeKind::kZoned) return moment;
  return {CivilAt(ToUtc(moment)), TimeKind::kUtc, {}};
}

Moment Clock::OfRuleClock(const CalendarItem& item, const CivilTime& time) const {
  if (!item.start) return {time, TimeKind::kLocal, {}};
  Moment moment = *item.start;
  moment.time = CivilAt(CivilSeconds(time) - item.rule_offset.value_or(0));
  return moment;
}

CivilTime Clock::ToRuleClock(const CalendarItem& item, const Moment& moment) const {
  const bool is_local = moment.kind == TimeKind::kDate || moment.kind == TimeKind::kLocal;
  if (is_local || !item.start) return is_local ? moment.time : ToLocal(moment);
  const int64_t utc = ToUtc(moment);
  switch (item.start->kind) {
    case TimeKind::kUtc:
      return CivilAt(utc + item.rule_offset.value_or(0));
    case TimeKind::kZoned:
      return CivilAt(zones_.FromUtc(item.start->zone, utc));
    case TimeKind::kDate:
    case TimeKind::kLocal:
      break;
  }
  return CivilAt(UtcToDevice(utc));
}

std::vector<CivilTime> Clock::Walk(const RecurRule& rule, const CivilTime& start,
                                   size_t limit) const {
  constexpr CivilTime kLastTime = {2500, 1, 1, 0, 0, 0};
  if (fruitless_walks_left_ == 0) return {};
  std::vector<CivilTime> times = Occurrences(rule, start, limit, kLastTime);
  if (times.empty()) --fruitless_walks_left_;
  return times;
}

}  // namespace dialects
