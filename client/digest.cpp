#include "client/digest.h"

#include <nettle/sha2.h>

#include <array>

namespace client {

std::string Sha256(std::string_view bytes) {
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
  std::array<uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&context, digest.size(), digest.data());
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : digest) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace client
