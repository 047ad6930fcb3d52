#include "platform/device/pim_dates.h"

#include "platform/api/system_time.h"

namespace device {
namespace {

constexpr int64_t kTicksPerSecond = 10'000'000;
constexpr int64_t kDaysFrom1601To1899 = 109205;  // 1 January 1601 to 30 December 1899

}  // namespace

DATE LocalNow() {
  FILETIME utc = {};
  FILETIME local = {};
  GetSystemTimeAsFileTime(&utc);
  FileTimeToLocalFileTime(&utc, &local);
  const int64_t ticks = int64_t{local.dwHighDateTime} << 32 | local.dwLowDateTime;
  return DateOf(ticks / kTicksPerSecond - kDaysFrom1601To1899 * kSecondsPerDay);
}

}  // namespace device
