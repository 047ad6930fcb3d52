#include "btosif/osif_util/owned_text.h"

#include "platform/api/memory.h"

void* OsifAlloc(size_t size) { return size == 0 ? nullptr : LocalAlloc(LPTR, size); }

void* OsifAllocRaw(size_t size) { return size == 0 ? nullptr : LocalAlloc(LMEM_FIXED, size); }

void OsifFree(void* memory) {
  if (memory != nullptr) LocalFree(memory);
}

OwnedText CopyText(std::string_view text) {
  OwnedText copy(static_cast<char*>(OsifAllocRaw(text.size() + 1)));
  if (copy == nullptr) return copy;
  text.copy(copy.get(), text.size());
  copy.get()[text.size()] = '\0';
  return copy;
}
