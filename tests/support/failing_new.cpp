#include "tests/support/failing_new.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local int news_until_failure = 0;
thread_local int news_made = 0;

// Null when this `new` has to fail, or memory really is short.
void* Allocate(size_t size) {
  ++news_made;
  if (news_until_failure > 0 && --news_until_failure == 0) return nullptr;
  return std::malloc(size ? size : 1);
}

}  // namespace

void* operator new(size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace support {

void FailNew(int nth) { news_until_failure = nth; }

int NewsMade() { return news_made; }

}  // namespace support
