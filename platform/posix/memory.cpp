#include "platform/api/memory.h"

#include <cstdlib>

#include "platform/api/last_error.h"
#include "platform/posix/fault_injection.h"

namespace {
int allocations_until_failure = 0;
}  // namespace

void FailAllocation(int nth) { allocations_until_failure = nth; }

bool IsFailurePending() { return allocations_until_failure > 0; }

HLOCAL LocalAlloc(UINT flags, SIZE_T bytes) {
  const bool fails = allocations_until_failure > 0 && --allocations_until_failure == 0;
  const SIZE_T size = bytes == 0 ? 1 : bytes;
  void* block = nullptr;
  if (!fails) block = (flags & LMEM_ZEROINIT) != 0 ? std::calloc(1, size) : std::malloc(size);
  if (block == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return block;
}

HLOCAL LocalFree(HLOCAL block) {
  std::free(block);
  return nullptr;
}
