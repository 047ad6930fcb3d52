#include "client/ahead.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>

namespace ahead_test {
namespace {

using client::Ahead;

// Makes the numbers below a limit.
Ahead<int>::Make CountTo(int limit, std::atomic<int>& made) {
  return [limit, &made]() -> std::optional<int> {
    if (made == limit) return std::nullopt;
    return made++;
  };
}

TEST(WhatIsMadeAhead, ComesInItsOrderToItsEnd) {
  for (const size_t most : {1U, 2U, 100U}) {
    std::atomic<int> made = 0;
    Ahead<int> ahead(CountTo(1000, made), most);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(ahead.Next(), i);
    EXPECT_EQ(ahead.Next(), std::nullopt);
    EXPECT_EQ(ahead.Next(), std::nullopt);
  }
}

TEST(WhatIsMadeAhead, MayBeNothing) {
  std::atomic<int> made = 0;
  Ahead<int> ahead(CountTo(0, made), 1);
  EXPECT_EQ(ahead.Next(), std::nullopt);
}

TEST(WhatIsMadeAhead, IsNotMoreThanIsWanted) {
  std::atomic<int> made = 0;
  Ahead<int> ahead(CountTo(1000, made), 3);
  EXPECT_EQ(ahead.Next(), 0);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (made < 4 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(made, 4);
}

TEST(WhatIsMadeAhead, MayBeLeft) {
  std::atomic<int> made = 0;
  {
    Ahead<int> ahead(CountTo(1'000'000, made), 2);
    EXPECT_EQ(ahead.Next(), 0);
  }
  EXPECT_LE(made, 4);
}

TEST(WhatIsMadeAhead, FailsAfterWhatCameBefore) {
  int made = 0;
  Ahead<int> ahead(
      [&]() -> std::optional<int> {
        if (made == 2) throw std::runtime_error("no more");
        return made++;
      },
      5);
  EXPECT_EQ(ahead.Next(), 0);
  EXPECT_EQ(ahead.Next(), 1);
  EXPECT_THROW(ahead.Next(), std::runtime_error);
}

}  // namespace
}  // namespace ahead_test
