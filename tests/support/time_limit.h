// How long something may take before a test calls it too slow.
#pragma once

#include <chrono>
#include <cstdlib>

namespace support {

// A limit for the machine that the tests are built on. Where programs run many times slower, as in an
// emulator, OSIF_TIME_FACTOR says how many.
inline std::chrono::seconds TimeLimit(int seconds) {
  const char* text = std::getenv("OSIF_TIME_FACTOR");
  const int factor = text == nullptr ? 1 : std::atoi(text);
  return std::chrono::seconds(seconds * factor);
}

}  // namespace support
