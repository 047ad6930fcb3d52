#include "tests/support/fake_mapi_values.h"

#include <cstdio>

namespace support {

std::string HexNumber(ULONG number) {
  char digits[9];
  std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(number));
  return digits;
}

std::string HexBytes(const std::string& bytes) {
  std::string digits;
  for (unsigned char byte : bytes) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02X", byte);
    digits += pair;
  }
  return digits;
}

WCHAR* CopyToMapi(void* parent, const std::u16string& text) {
  const size_t bytes = (text.size() + 1) * sizeof(WCHAR);
  WCHAR* copy = MoreMapiMemory<WCHAR>(parent, bytes);
  std::memcpy(copy, text.c_str(), bytes);
  return copy;
}

SPropValue ToMapi(void* parent, const FakeValue& value) {
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

LPSPropValue ToMapi(const FakeValues& values) {
  auto* array = MoreMapiMemory<SPropValue>(nullptr, values.size() * sizeof(SPropValue));
  for (size_t i = 0; i < values.size(); ++i) array[i] = ToMapi(array, values[i]);
  return array;
}

FakeValue FromMapi(const SPropValue& value) {
  FakeValue result;
  result.tag = value.ulPropTag;
  if (PROP_TYPE(value.ulPropTag) == PT_UNICODE) result.text = value.Value.lpszW;
  if (PROP_TYPE(value.ulPropTag) == PT_LONG) result.number = value.Value.l;
  if (PROP_TYPE(value.ulPropTag) == PT_SYSTIME) result.time = value.Value.ft;
  return result;
}

FakeValue Missing(ULONG tag) {
  return FakeValue::Number(CHANGE_PROP_TYPE(tag, PT_ERROR), MAPI_E_NOT_FOUND);
}

std::vector<ULONG> TagsOf(const SPropTagArray& array) {
  return {&array.aulPropTag[0], &array.aulPropTag[0] + array.cValues};
}

std::string TagText(const std::vector<ULONG>& tags) {
  std::string text;
  for (ULONG tag : tags) text += (text.empty() ? "" : ",") + HexNumber(tag);
  return text;
}

std::string EntryBytes(ULONG size, LPENTRYID entry) {
  return std::string(reinterpret_cast<const char*>(entry), size);
}

}  // namespace support
