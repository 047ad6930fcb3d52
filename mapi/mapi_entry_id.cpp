#include "mapi/mapi_entry_id.h"

#include <string_view>

#include "btosif/osif_util/charset.h"

bool mapi_WriteId(const SBinary& entry, char* id) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  if (id == nullptr) return true;
  id[0] = '\0';
  if (entry.cb > (OSIF_ID_SIZE - 1) / 2) return false;
  for (ULONG i = 0; i < entry.cb; ++i) {
    *id++ = kDigits[entry.lpb[i] >> 4];
    *id++ = kDigits[entry.lpb[i] & 0xF];
  }
  *id = '\0';
  return true;
}

// The platform reads UTF-16 digits; it decides what is a digit, and an id of none is no id.
std::optional<std::vector<BYTE>> mapi_ReadId(const char* id) {
  const std::string_view text = id;
  WideText digits(text.size(), u'\0');
  for (size_t i = 0; i < text.size(); ++i) digits[i] = static_cast<unsigned char>(text[i]);
  std::vector<BYTE> bytes(text.size() / 2);
  if (bytes.empty() || !FBinFromHex(digits.data(), bytes.data())) return std::nullopt;
  return bytes;
}
