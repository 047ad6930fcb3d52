#include "BtOsif_pol/pol_id.h"

#include <charconv>
#include <cstdio>
#include <string_view>

std::optional<LONG> pol_ReadId(const char* id) {
  if (id == nullptr) return std::nullopt;
  std::string_view text = id;
  const size_t start = text.find_first_not_of(" \t");
  if (start == std::string_view::npos) return std::nullopt;
  text.remove_prefix(start);
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  uint32_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (result.ec != std::errc()) return std::nullopt;
  return static_cast<LONG>(number);
}

void pol_WriteId(LONG oid, char* id) {
  if (id != nullptr && oid != 0) std::snprintf(id, 9, "%08x", static_cast<uint32_t>(oid));
}
