// Owners of MAPI buffers, for filling what is handed to a caller.
#pragma once

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string_view>

#include "platform/api/cemapi.h"

namespace device {

struct MailFree {
  void operator()(void* buffer) const { MAPIFreeBuffer(buffer); }
};
template <typename T>
using MailBuffer = std::unique_ptr<T, MailFree>;

// The size for an allocation; std::bad_alloc when it has no 32 bits.
inline ULONG MailSize(size_t bytes) {
  if (bytes > std::numeric_limits<ULONG>::max()) throw std::bad_alloc();
  return static_cast<ULONG>(bytes);
}

// A buffer of so many zero bytes; std::bad_alloc when memory is short.
template <typename T>
MailBuffer<T> NewMailBytes(size_t bytes) {
  void* buffer = nullptr;
  if (FAILED(MAPIAllocateBuffer(MailSize(bytes), &buffer))) throw std::bad_alloc();
  std::memset(buffer, 0, bytes);
  return MailBuffer<T>(static_cast<T*>(buffer));
}

// The same for so many elements.
template <typename T>
MailBuffer<T> NewMailBuffer(size_t count) {
  return NewMailBytes<T>(count * sizeof(T));
}

// A copy of bytes that is released with `parent`.
inline LPBYTE CopyBytes(std::string_view bytes, void* parent) {
  void* copy = nullptr;
  if (FAILED(MAPIAllocateMore(MailSize(bytes.size()), parent, &copy))) throw std::bad_alloc();
  if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
  return static_cast<LPBYTE>(copy);
}

// A copy of a text, with a terminator, that is released with `parent`.
inline LPWSTR CopyText(std::u16string_view text, void* parent) {
  void* copy = nullptr;
  const ULONG size = MailSize((text.size() + 1) * sizeof(WCHAR));
  if (FAILED(MAPIAllocateMore(size, parent, &copy))) throw std::bad_alloc();
  auto* characters = static_cast<LPWSTR>(copy);
  text.copy(characters, text.size());
  characters[text.size()] = 0;
  return characters;
}

}  // namespace device
