// Property values of the fake messaging store, and their form in MAPI buffers.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/api/cemapi.h"

namespace support {

// Digits without leading zeros.
std::string HexNumber(ULONG number);

// Two digits for each byte.
std::string HexBytes(const std::string& bytes);

// A property that owns what it points to.
struct FakeValue {
  ULONG tag = 0;
  std::u16string text{};
  LONG number = 0;
  FILETIME time{};
  std::string bytes{};

  static FakeValue Text(ULONG tag, std::u16string text) { return {tag, std::move(text)}; }
  static FakeValue Number(ULONG tag, LONG number) { return {tag, {}, number}; }
  static FakeValue Time(ULONG tag, FILETIME time) { return {tag, {}, 0, time}; }
  static FakeValue Bytes(ULONG tag, std::string bytes) {
    return {tag, {}, 0, {}, std::move(bytes)};
  }
};

using FakeValues = std::vector<FakeValue>;

// A buffer of zero bytes, released with `parent` where there is one.
template <typename T>
T* MoreMapiMemory(void* parent, size_t bytes) {
  void* buffer = nullptr;
  const auto size = static_cast<ULONG>(bytes == 0 ? 1 : bytes);
  const SCODE result = parent == nullptr ? MAPIAllocateBuffer(size, &buffer)
                                         : MAPIAllocateMore(size, parent, &buffer);
  EXPECT_EQ(result, S_OK);
  std::memset(buffer, 0, size);
  return static_cast<T*>(buffer);
}

// A text with its terminator, released with `parent`.
WCHAR* CopyToMapi(void* parent, const std::u16string& text);

// A value, or an array of values that is one buffer, with its texts and bytes.
SPropValue ToMapi(void* parent, const FakeValue& value);
LPSPropValue ToMapi(const FakeValues& values);

// A value as a caller gave it: texts, 32-bit numbers and times.
FakeValue FromMapi(const SPropValue& value);

// A missing property as an answer has it.
FakeValue Missing(ULONG tag);

// The tags of an array.
std::vector<ULONG> TagsOf(const SPropTagArray& array);

// Tags as hexadecimal digits with commas between them.
std::string TagText(const std::vector<ULONG>& tags);

// The bytes of an entry id.
std::string EntryBytes(ULONG size, LPENTRYID entry);

}  // namespace support
