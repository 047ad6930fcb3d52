#include "btosif/osif_util/owned_text.h"

#include <cstring>

#include "platform/api/memory.h"

void* OsifAlloc(size_t size) { return size == 0 ? nullptr : LocalAlloc(LPTR, size); }

void OsifFree(void* memory) {
  if (memory != nullptr) LocalFree(memory);
}

OwnedText CopyText(std::string_view text) {
  OwnedText copy(static_cast<char*>(OsifAlloc(text.size() + 1)));
  if (copy != nullptr) std::memcpy(copy.get(), text.data(), text.size());
  return copy;
}
