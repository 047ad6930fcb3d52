#include "platform/device/pim/dates.h"

#include <chrono>

#include "platform/api/system_time.h"

namespace device {
namespace {

constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kDaysFrom1601To1899 = 109205;  // 1 January 1601 to 30 December 1899

constexpr std::chrono::sys_days kDayZero = std::chrono::year{1899} / 12 / 30;

// Takes fields of digits off the front of a text.
class FieldReader {
 public:
  explicit FieldReader(std::u16string_view text) : rest_(text) {}

  bool IsAtEnd() const { return rest_.empty(); }

  bool Take(char16_t separator) {
    if (!rest_.starts_with(separator)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  // -1 when there are not so many digits.
  int TakeNumber(size_t digits) {
    if (rest_.size() < digits) return -1;
    int number = 0;
    for (const char16_t c : rest_.substr(0, digits)) {
      if (c < u'0' || c > u'9') return -1;
      number = number * 10 + (c - u'0');
    }
    rest_.remove_prefix(digits);
    return number;
  }

 private:
  std::u16string_view rest_;
};

// Days since day 0 of "MM/DD/YYYY".
std::optional<int64_t> ReadDay(FieldReader& fields) {
  const int month = fields.TakeNumber(2);
  if (month < 1 || !fields.Take(u'/')) return std::nullopt;
  const int day = fields.TakeNumber(2);
  if (day < 1 || !fields.Take(u'/')) return std::nullopt;
  const int year = fields.TakeNumber(4);
  const std::chrono::year_month_day date{std::chrono::year{year},
                                         std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  if (year < 0 || !date.ok()) return std::nullopt;
  return (std::chrono::sys_days{date} - kDayZero).count();
}

// Seconds of the day of "HH:MM" or "HH:MM:SS".
std::optional<int64_t> ReadTime(FieldReader& fields) {
  const int hour = fields.TakeNumber(2);
  if (hour < 0 || hour > 23 || !fields.Take(u':')) return std::nullopt;
  const int minute = fields.TakeNumber(2);
  if (minute < 0 || minute > 59) return std::nullopt;
  const int second = fields.Take(u':') ? fields.TakeNumber(2) : 0;
  if (second < 0 || second > 59) return std::nullopt;
  return (hour * 60 + minute) * 60 + second;
}

}  // namespace

DATE LocalNow() {
  FILETIME utc = {};
  FILETIME local = {};
  GetSystemTimeAsFileTime(&utc);
  FileTimeToLocalFileTime(&utc, &local);
  const int64_t ticks = int64_t{local.dwHighDateTime} << 32 | local.dwLowDateTime;
  return DateOf(ticks / kTicksPerSecond - kDaysFrom1601To1899 * kSecondsPerDay);
}

std::optional<DATE> ReadDateText(std::u16string_view text) {
  FieldReader fields(text);
  const std::optional<int64_t> day = ReadDay(fields);
  if (!day || *day < kFirstDay) return std::nullopt;
  const std::optional<int64_t> time = fields.Take(u' ') ? ReadTime(fields) : 0;
  if (!time || !fields.IsAtEnd()) return std::nullopt;
  return DateOf(*day * kSecondsPerDay + *time);
}

}  // namespace device
