#include "platform/api/process.h"

#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/fault_injection.h"

namespace {

uint64_t TicksOfTheSystem() {
  timespec now{};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_nsec) / 1'000'000;
}

uint64_t pretended_start = 0;

}  // namespace

void PretendRestart() { pretended_start = TicksOfTheSystem(); }
void EndPretendedRestart() { pretended_start = 0; }

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

void Sleep(DWORD milliseconds) {
  timespec rest{static_cast<time_t>(milliseconds / 1000), long{1'000'000} * (milliseconds % 1000)};
  // A signal is not the caller's concern.
  while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
  }
}

uint64_t GetTickCount64() { return TicksOfTheSystem() - pretended_start; }
