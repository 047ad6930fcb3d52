#include "platform/device/mail/entry_id.h"

#include <cstring>
#include <string_view>

namespace {

// -1 for a character that is no digit.
int DigitValue(WCHAR character) {
  if (character >= u'0' && character <= u'9') return character - u'0';
  if (character >= u'A' && character <= u'F') return character - u'A' + 10;
  if (character >= u'a' && character <= u'f') return character - u'a' + 10;
  return -1;
}

}  // namespace

BOOL FBinFromHex(LPTSTR digits, LPBYTE bytes) {
  if (digits == nullptr || bytes == nullptr) return FALSE;
  for (; *digits != 0; digits += 2) {
    const int high = DigitValue(digits[0]);
    const int low = high < 0 ? -1 : DigitValue(digits[1]);
    if (low < 0) return FALSE;
    *bytes++ = static_cast<BYTE>(high << 4 | low);
  }
  return TRUE;
}

namespace device {
namespace {

constexpr std::string_view kMark("\0\0\0\0OSM", 7);
constexpr size_t kNumberAt = 8;
constexpr size_t kSize = 16;

bool IsType(ULONG type) {
  return type == MAPI_STORE || type == MAPI_FOLDER || type == MAPI_MESSAGE;
}

}  // namespace

std::string MakeEntryId(ULONG type, int64_t number) {
  std::string bytes(kMark);
  bytes += static_cast<char>(type);
  for (int shift = 56; shift >= 0; shift -= 8) {
    bytes += static_cast<char>(static_cast<uint64_t>(number) >> shift & 0xFF);
  }
  return bytes;
}

std::optional<MapiEntry> ReadEntryId(ULONG size, const ENTRYID* entry) {
  if (entry == nullptr || size != kSize) return std::nullopt;
  unsigned char bytes[kSize];
  std::memcpy(bytes, entry, kSize);
  if (std::memcmp(bytes, kMark.data(), kMark.size()) != 0) return std::nullopt;
  const ULONG type = bytes[kMark.size()];
  if (!IsType(type)) return std::nullopt;
  uint64_t number = 0;
  for (size_t i = kNumberAt; i < kSize; ++i) number = number << 8 | bytes[i];
  return MapiEntry{type, static_cast<int64_t>(number)};
}

}  // namespace device
