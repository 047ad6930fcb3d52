// Property values of the fake messaging store, and their form in MAPI buffers.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/api/cemapi.h"

namespace support {

inline std::string HexNumber(ULONG number) {
  char digits[9];
  std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(number));
  return digits;
}

inline std::string HexBytes(const std::string& bytes) {
  std::string digits;
  for (unsigned char byte : bytes) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02X", byte);
    digits += pair;
  }
  return digits;
}

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

inline WCHAR* CopyToMapi(void* parent, const std::u16string& text) {
  const size_t bytes = (text.size() + 1) * sizeof(WCHAR);
  WCHAR* copy = MoreMapiMemory<WCHAR>(parent, bytes);
  std::memcpy(copy, text.c_str(), bytes);
  return copy;
}

inline SPropValue ToMapi(void* parent, const FakeValue& value) {
  SPropValue result = {};
  result.ulPropTag = value.tag;
  switch (PROP_TYPE(value.tag)) {
    case PT_UNICODE:
      result.Value.lpszW = CopyToMapi(parent, value.text);
      break;
    case PT_SYSTIME:
      result.Value.ft = value.time;
      break;
    case PT_BINARY:
      result.Value.bin.cb = static_cast<ULONG>(value.bytes.size());
      result.Value.bin.lpb = MoreMapiMemory<BYTE>(parent, value.bytes.size());
      std::memcpy(result.Value.bin.lpb, value.bytes.data(), value.bytes.size());
      break;
    default:
      result.Value.l = value.number;
  }
  return result;
}

inline LPSPropValue ToMapi(const FakeValues& values) {
  auto* array = MoreMapiMemory<SPropValue>(nullptr, values.size() * sizeof(SPropValue));
  for (size_t i = 0; i < values.size(); ++i) array[i] = ToMapi(array, values[i]);
  return array;
}

inline FakeValue FromMapi(const SPropValue& value) {
  FakeValue result;
  result.tag = value.ulPropTag;
  if (PROP_TYPE(value.ulPropTag) == PT_UNICODE) result.text = value.Value.lpszW;
  if (PROP_TYPE(value.ulPropTag) == PT_LONG) result.number = value.Value.l;
  if (PROP_TYPE(value.ulPropTag) == PT_SYSTIME) result.time = value.Value.ft;
  return result;
}

// A missing property as an answer has it.
inline FakeValue Missing(ULONG tag) {
  return FakeValue::Number(CHANGE_PROP_TYPE(tag, PT_ERROR), MAPI_E_NOT_FOUND);
}

inline std::vector<ULONG> TagsOf(const SPropTagArray& array) {
  return {&array.aulPropTag[0], &array.aulPropTag[0] + array.cValues};
}

inline std::string TagText(const std::vector<ULONG>& tags) {
  std::string text;
  for (ULONG tag : tags) text += (text.empty() ? "" : ",") + HexNumber(tag);
  return text;
}

inline std::string EntryBytes(ULONG size, LPENTRYID entry) {
  return std::string(reinterpret_cast<const char*>(entry), size);
}

}  // namespace support
