#include "platform/api/memory.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/api/last_error.h"
#include "platform/posix/fault_injection.h"

namespace posix_memory_test {
namespace {

TEST(LocalHeap, FillsBlocksWithZerosWhenAskedTo) {
  auto* block = static_cast<unsigned char*>(LocalAlloc(LPTR, 1000));
  ASSERT_NE(block, nullptr);
  EXPECT_TRUE(std::all_of(block, block + 1000, [](unsigned char byte) { return byte == 0; }));
  EXPECT_EQ(LocalFree(block), nullptr);
}

TEST(LocalHeap, GivesABlockForNoBytes) {
  void* block = LocalAlloc(LMEM_FIXED, 0);
  EXPECT_NE(block, nullptr);
  LocalFree(block);
}

TEST(LocalHeap, IgnoresNullWhenFreeing) { EXPECT_EQ(LocalFree(nullptr), nullptr); }

TEST(LocalHeap, FailsAtTheChosenAllocationAndOnlyThere) {
  FailAllocation(2);
  void* first = LocalAlloc(LPTR, 8);
  SetLastError(0);
  void* second = LocalAlloc(LPTR, 8);
  const DWORD error = GetLastError();
  void* third = LocalAlloc(LPTR, 8);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(error, 8u);
  EXPECT_NE(third, nullptr);
  LocalFree(first);
  LocalFree(third);
}

TEST(LocalHeap, TellsWhetherTheFailureHasCome) {
  EXPECT_FALSE(IsFailurePending());
  FailAllocation(2);
  LocalFree(LocalAlloc(LPTR, 8));
  EXPECT_TRUE(IsFailurePending());
  LocalFree(LocalAlloc(LPTR, 8));
  EXPECT_FALSE(IsFailurePending());
}

TEST(LocalHeap, ACalledOffFailureDoesNotCome) {
  FailAllocation(1);
  FailAllocation(0);
  void* block = LocalAlloc(LPTR, 8);
  EXPECT_NE(block, nullptr);
  LocalFree(block);
}

}  // namespace
}  // namespace posix_memory_test
