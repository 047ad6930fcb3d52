// Memory of the record's lists and texts. It comes from the platform's heap, which is the C library's: callers of
// the C interface allocate parts of a record themselves, and the library releases them.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

// Zero-filled memory; null for a size of 0 and when memory is short.
void* OsifAlloc(size_t size);

// The same without the zeros, for memory that is filled at once.
void* OsifAllocRaw(size_t size);

// Releases what these two gave; null is ignored.
void OsifFree(void* memory);

struct OsifFreeDeleter {
  void operator()(void* memory) const { OsifFree(memory); }
};

// A zero-terminated narrow text that its holder owns; null when memory was short.
using OwnedText = std::unique_ptr<char, OsifFreeDeleter>;

// A copy of a text, terminated. Null when memory is short.
OwnedText CopyText(std::string_view text);
