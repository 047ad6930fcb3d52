// MAPI buffers. A buffer begins with a link to the ones that were allocated for it, so that
// releasing the first releases them all.
#include "platform/api/memory.h"

#include <cstddef>

#include "platform/api/cemapi.h"

namespace {

struct alignas(std::max_align_t) Header {
  Header* next;
};

// Null when memory is short.
Header* Allocate(ULONG size) {
  const size_t bytes = sizeof(Header) + size;
  if (bytes < size) return nullptr;  // more than can be addressed
  auto* header = static_cast<Header*>(LocalAlloc(LMEM_FIXED, bytes));
  if (header != nullptr) header->next = nullptr;
  return header;
}

Header* HeaderOf(LPVOID buffer) { return static_cast<Header*>(buffer) - 1; }

}  // namespace

SCODE MAPIAllocateBuffer(ULONG size, LPVOID* buffer) {
  if (buffer == nullptr) return MAPI_E_INVALID_PARAMETER;
  Header* header = Allocate(size);
  *buffer = header == nullptr ? nullptr : header + 1;
  return header == nullptr ? MAPI_E_NOT_ENOUGH_MEMORY : S_OK;
}

SCODE MAPIAllocateMore(ULONG size, LPVOID parent, LPVOID* buffer) {
  if (buffer == nullptr) return MAPI_E_INVALID_PARAMETER;
  *buffer = nullptr;
  if (parent == nullptr) return MAPI_E_INVALID_PARAMETER;
  Header* header = Allocate(size);
  if (header == nullptr) return MAPI_E_NOT_ENOUGH_MEMORY;
  header->next = HeaderOf(parent)->next;
  HeaderOf(parent)->next = header;
  *buffer = header + 1;
  return S_OK;
}

ULONG MAPIFreeBuffer(LPVOID buffer) {
  Header* header = buffer == nullptr ? nullptr : HeaderOf(buffer);
  while (header != nullptr) {
    Header* next = header->next;
    LocalFree(header);
    header = next;
  }
  return 0;
}

void FreeProws(LPSRowSet rows) {
  if (rows == nullptr) return;
  for (ULONG i = 0; i < rows->cRows; ++i) MAPIFreeBuffer(rows->aRow[i].lpProps);
  MAPIFreeBuffer(rows);
}
