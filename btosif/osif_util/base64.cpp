#include "btosif/osif_util/base64.h"

#include <cstdint>

namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

std::optional<std::string> Base64Decode(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  uint32_t bits = 0;
  int count = 0;  // of the bits that make no byte yet
  for (const char c : text) {
    if (IsBlank(c)) continue;
    if (c == '=') break;
    const size_t digit = kDigits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = bits << 6 | static_cast<uint32_t>(digit);
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes.push_back(static_cast<char>(bits >> count));
  }
  if (count == 6) return std::nullopt;
  return bytes;
}
