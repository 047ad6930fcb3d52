// Time zones and file times for the tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "btosif/osif_date.h"
#include "tests/support/environment.h"

namespace support {

// Zones west and east of UTC, with whole and half hours, with and without summer time.
inline constexpr const char* kFiveZones[] = {"UTC", "Europe/Berlin", "America/New_York",
                                             "Asia/Kolkata", "Australia/Lord_Howe"};

// A file time from the seconds since 1970, and back.
inline FILETIME FileTime(int64_t unix_time) {
  uint64_t ticks = static_cast<uint64_t>(unix_time) * 10000000 + 116444736000000000u;
  return {static_cast<DWORD>(ticks & 0xFFFFFFFFu), static_cast<DWORD>(ticks >> 32)};
}
inline int64_t Unix(const FILETIME& time) {
  uint64_t ticks = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  return (static_cast<int64_t>(ticks) - 116444736000000000) / 10000000;
}

inline std::string Iso(DATE date, bool with_time, bool local) {
  char text[40] = "before";
  EXPECT_EQ(DateToIso8601(date, text, sizeof text, with_time, local), 1);
  return text;
}

inline std::string Rfc822(DATE date) {
  char text[40] = "before";
  EXPECT_EQ(DateToRfc822(date, text, sizeof text), 1);
  return text;
}

}  // namespace support
