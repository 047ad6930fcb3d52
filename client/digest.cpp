#include "client/digest.h"

#include <array>

namespace client {

void Sha256Sum::Add(std::string_view bytes) {
  sha256_update(&context_, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
}

std::string Sha256Sum::Take() {
  std::array<uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&context_, digest.size(), digest.data());
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : digest) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string Sha256(std::string_view bytes) {
  Sha256Sum sum;
  sum.Add(bytes);
  return sum.Take();
}

}  // namespace client
