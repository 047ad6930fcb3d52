// A series is cut into periods of one length that all hold equally many occurrences, before the first of
// which the start may cut off some. So the period of a day, and that of the nth occurrence, can be reckoned;
// the days within it come from libical's recurrence iterator.
//
// That every period holds equally many rests on two things: a day that a month lacks is replaced by its last,
// and the nth day of the week is at most the fifth, which stands for the last. So no period is ever empty.

#include "platform/device/pim/recurrence.h"

#include <libical/ical.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <iterator>
#include <memory>
#include <new>
#include <vector>

#include "platform/device/pim/dates.h"

namespace device {
namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::weekday;
using std::chrono::year_month_day;

constexpr sys_days kDayZero{std::chrono::year{1899} / 12 / 30};
constexpr LONG kLastInstance = 5;
constexpr int64_t kMonthsPerYear = 12;
constexpr int64_t kLastMonth = 9999 * kMonthsPerYear + 11;
constexpr LONG kShortestMonth = 28;

// libical knows no year after 2582, nor after 2037 where its times have 32 bits, but the calendar repeats: 400
// years are whole weeks. Every period is reckoned in one that begins between 1600 and 1999.
constexpr int64_t kDaysOf400Years = 146097;
constexpr int64_t kFirstDayOf1600 = -109571;

int64_t FloorDivide(int64_t number, int64_t by) { return number / by - (number % by < 0 ? 1 : 0); }

sys_days SysDays(int64_t day) { return kDayZero + days{day}; }
year_month_day Calendar(int64_t day) { return year_month_day{SysDays(day)}; }

// Months since the year 0.
int64_t MonthOf(int64_t day) {
  const year_month_day date = Calendar(day);
  return int{date.year()} * kMonthsPerYear + static_cast<unsigned>(date.month()) - 1;
}

int64_t FirstDayOfMonth(int64_t month) {
  const std::chrono::year year{static_cast<int>(month / kMonthsPerYear)};
  const std::chrono::month in_year{static_cast<unsigned>(month % kMonthsPerYear) + 1};
  return (sys_days{year / in_year / 1} - kDayZero).count();
}

// Sunday is 0.
int WeekdayOf(int64_t day) { return static_cast<int>(weekday{SysDays(day)}.c_encoding()); }

bool IsByWeek(const Recurrence& r) {
  return r.type == olRecursWeekly || (r.type == olRecursDaily && r.day_of_week_mask != 0);
}
bool IsNth(const Recurrence& r) { return r.type == olRecursMonthNth || r.type == olRecursYearNth; }
bool IsYearly(const Recurrence& r) { return r.type == olRecursYearly || r.type == olRecursYearNth; }

void SetDaysOfWeek(LONG mask, icalrecurrencetype& rule) {
  short* place = std::begin(rule.by_day);
  for (short i = 0; i < 7; ++i) {
    if ((mask >> i & 1) != 0) *place++ = static_cast<short>(ICAL_SUNDAY_WEEKDAY + i);
  }
}

// The 31st and the like: the last one that there is of 28, 29, 30, 31. Counted from the end of the month: the
// first one that there is.
void SetDayOfMonth(LONG day, icalrecurrencetype& rule) {
  const bool is_from_end = day < 0;
  const LONG first = is_from_end ? day : std::min(day, kShortestMonth);
  const LONG last = is_from_end ? std::max(day, -kShortestMonth) : day;
  short* place = std::begin(rule.by_month_day);
  for (LONG i = first; i <= last; ++i) *place++ = static_cast<short>(i);
  rule.by_set_pos[0] = is_from_end ? 1 : -1;
}

struct FreeIterator {
  void operator()(icalrecur_iterator* iterator) const { icalrecur_iterator_free(iterator); }
};

// The first `rule.count` days that a rule gives from a day on.
std::vector<int64_t> Iterate(const icalrecurrencetype& rule, int64_t first) {
  const int64_t shift = FloorDivide(first - kFirstDayOf1600, kDaysOf400Years) * kDaysOf400Years;
  const year_month_day date = Calendar(first - shift);
  icaltimetype from = icaltime_null_time();
  from.year = int{date.year()};
  from.month = static_cast<int>(unsigned{date.month()});
  from.day = static_cast<int>(unsigned{date.day()});
  from.is_date = 1;
  const std::unique_ptr<icalrecur_iterator, FreeIterator> iterator(
      icalrecur_iterator_new(rule, from));
  if (iterator == nullptr) throw std::bad_alloc();

  std::vector<int64_t> result;
  for (icaltimetype time = icalrecur_iterator_next(iterator.get());
       icaltime_is_null_time(time) == 0; time = icalrecur_iterator_next(iterator.get())) {
    const year_month_day day{std::chrono::year{time.year},
                             std::chrono::month{static_cast<unsigned>(time.month)},
                             std::chrono::day{static_cast<unsigned>(time.day)}};
    result.push_back((sys_days{day} - kDayZero).count() + shift);
  }
  return result;
}

// The periods of a series, numbered from 0; the start lies in the first, or before it.
class Periods {
 public:
  explicit Periods(const Recurrence& r) {
    icalrecurrencetype_clear(&rule_);
    rule_.week_start = ICAL_SUNDAY_WEEKDAY;
    if (IsByWeek(r)) {
      SetWeeks(r);
    } else if (r.type == olRecursDaily) {
      SetDays(r);
    } else {
      SetMonths(r);
    }
    rule_.count = static_cast<int>(size_);
    const std::vector<int64_t> first = DaysOf(0);
    cut_off_ = std::lower_bound(first.begin(), first.end(), r.start) - first.begin();
  }

  // Negative for a day before the first period.
  int64_t PeriodOf(int64_t day) const {
    return FloorDivide((is_in_months_ ? MonthOf(day) : day) - base_, step_);
  }

  std::vector<int64_t> DaysOf(int64_t period) const {
    const int64_t unit = base_ + period * step_;
    return Iterate(rule_, is_in_months_ ? FirstDayOfMonth(unit) : unit);
  }

  // The occurrences up to and including a day that is not before the start.
  int64_t CountThrough(int64_t day) const {
    const int64_t period = PeriodOf(day);
    if (period < 0) return 0;
    const std::vector<int64_t> in_period = DaysOf(period);
    const auto after = std::upper_bound(in_period.begin(), in_period.end(), day);
    return period * size_ + (after - in_period.begin()) - cut_off_;
  }

  // The nth occurrence, counted from 1. One that would lie beyond the last day that dates can have falls on
  // that.
  int64_t Nth(int64_t number) const {
    const int64_t index = number - 1 + cut_off_;
    const int64_t unit = base_ + index / size_ * step_;
    if (unit > (is_in_months_ ? kLastMonth : int64_t{kLastDay})) return kLastDay;
    return DaysOf(index / size_)[static_cast<size_t>(index % size_)];
  }

 private:
  void SetDays(const Recurrence& r) {
    rule_.freq = ICAL_DAILY_RECURRENCE;
    base_ = r.start;
    step_ = r.interval;
  }

  void SetWeeks(const Recurrence& r) {
    rule_.freq = ICAL_WEEKLY_RECURRENCE;
    SetDaysOfWeek(r.day_of_week_mask, rule_);
    base_ = r.start - WeekdayOf(r.start);
    step_ = r.type == olRecursDaily ? 7 : 7 * r.interval;
    size_ = std::popcount(static_cast<ULONG>(r.day_of_week_mask));
  }

  void SetMonths(const Recurrence& r) {
    rule_.freq = ICAL_MONTHLY_RECURRENCE;
    if (IsNth(r)) {
      SetDaysOfWeek(r.day_of_week_mask, rule_);
      rule_.by_set_pos[0] = static_cast<short>(r.instance == kLastInstance ? -1 : r.instance);
    } else {
      SetDayOfMonth(r.day_of_month, rule_);
    }
    is_in_months_ = true;
    const int64_t month = MonthOf(r.start);
    base_ = IsYearly(r) ? month - month % kMonthsPerYear + r.month_of_year - 1 : month;
    step_ = IsYearly(r) ? kMonthsPerYear * r.interval : r.interval;
  }

  icalrecurrencetype rule_;    // gives the days of a period from the period's first day on
  bool is_in_months_ = false;  // the unit of the next two: months, or days
  int64_t base_ = 0;           // where the first period begins
  int64_t step_ = 1;           // from one period to the next
  int64_t size_ = 1;           // the occurrences of a period
  int64_t cut_off_ = 0;        // those of the first period that are before the start
};

}  // namespace

bool SetRecurrenceType(Recurrence& recurrence, LONG type) {
  constexpr LONG kTypes[] = {olRecursDaily,    olRecursWeekly, olRecursMonthly,
                             olRecursMonthNth, olRecursYearly, olRecursYearNth};
  if (std::find(std::begin(kTypes), std::end(kTypes), type) == std::end(kTypes)) return false;
  Recurrence& r = recurrence;
  const year_month_day start = Calendar(r.start);
  const LONG day = static_cast<LONG>(unsigned{start.day()});
  r.type = type;
  r.interval = 1;
  r.day_of_week_mask = NeedsDaysOfWeek(r) ? 1 << WeekdayOf(r.start) : 0;
  r.day_of_month = type == olRecursMonthly || type == olRecursYearly ? day : 0;
  r.instance = IsNth(r) ? (day - 1) / 7 + 1 : 0;
  r.month_of_year = IsYearly(r) ? static_cast<LONG>(unsigned{start.month()}) : 0;
  return true;
}

bool NeedsDaysOfWeek(const Recurrence& recurrence) {
  return recurrence.type == olRecursWeekly || IsNth(recurrence);
}

// The cheap questions come first; the days of a period are only made for a day that may be one of them.
bool HasOccurrence(const Recurrence& recurrence, int32_t day) {
  if (!IsRecurring(recurrence) || day < recurrence.start || day > kLastDay) return false;
  if (recurrence.end && day > *recurrence.end) return false;
  const Periods periods(recurrence);
  const int64_t period = periods.PeriodOf(day);
  if (period < 0) return false;
  const std::vector<int64_t> in_period = periods.DaysOf(period);
  if (!std::binary_search(in_period.begin(), in_period.end(), day)) return false;
  return !recurrence.occurrences || periods.CountThrough(day) <= *recurrence.occurrences;
}

LONG CountOccurrences(const Recurrence& recurrence) {
  if (recurrence.occurrences) return *recurrence.occurrences;
  if (!recurrence.end || !IsRecurring(recurrence)) return 0;
  if (*recurrence.end < recurrence.start) return 1;
  const int64_t count = Periods(recurrence).CountThrough(*recurrence.end);
  return static_cast<LONG>(std::max<int64_t>(count, 1));
}

std::optional<int32_t> EndDay(const Recurrence& recurrence) {
  if (!recurrence.occurrences || !IsRecurring(recurrence)) return recurrence.end;
  const int64_t day = Periods(recurrence).Nth(*recurrence.occurrences);
  return static_cast<int32_t>(std::min<int64_t>(day, kLastDay));
}

}  // namespace device
