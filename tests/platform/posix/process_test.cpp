#include "platform/api/process.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "platform/posix/fault_injection.h"

namespace process_test {
namespace {

TEST(Process, IsKnownByItsNumber) {
  EXPECT_EQ(GetCurrentProcessId(), static_cast<DWORD>(getpid()));
}

TEST(Process, SleepsForAsLongAsItIsTold) {
  const auto before = std::chrono::steady_clock::now();
  const uint64_t ticks = GetTickCount64();
  Sleep(30);
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(30));
  EXPECT_GE(GetTickCount64() - ticks, 29u);
}

TEST(TickCount, BeginsAnewWithAPretendedRestart) {
  const uint64_t before = GetTickCount64();
  Sleep(5);
  PretendRestart();
  EXPECT_LT(GetTickCount64(), 1000u);
  EndPretendedRestart();
  EXPECT_GE(GetTickCount64(), before + 5);
}

}  // namespace
}  // namespace process_test
