#include "BtOsif_pol/pol_id.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>

namespace {

// The id from its first digit on, after blanks and "0x".
std::string_view DigitsOf(std::string_view id) {
  id.remove_prefix(std::min(id.find_first_not_of(" \t"), id.size()));
  if (id.starts_with("0x") || id.starts_with("0X")) id.remove_prefix(2);
  return id;
}

}  // namespace

std::optional<LONG> pol_ReadId(const char* id) {
  if (id == nullptr) return std::nullopt;
  const std::string_view digits = DigitsOf(id);
  uint32_t number = 0;
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  if (result.ec != std::errc()) return std::nullopt;
  return static_cast<LONG>(number);
}

bool pol_IsItemId(const char* id) { return pol_ReadId(id).has_value(); }

bool pol_IsMessageId(const char* id) {
  return DigitsOf(id).find_first_of("0123456789abcdefABCDEF") == 0;
}

void pol_WriteId(LONG oid, char* id) {
  if (id != nullptr && oid != 0) std::snprintf(id, 9, "%08x", static_cast<uint32_t>(oid));
}
