#include "client/digest.h"

#include <nettle/base64.h>
#include <nettle/sha2.h>

#include <array>

namespace client {

namespace {

using Digest = std::array<uint8_t, SHA256_DIGEST_SIZE>;

Digest DigestOf(std::string_view bytes) {
  sha256_ctx context;
  sha256_init(&context);
  sha256_update(&context, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
  Digest digest{};
  sha256_digest(&context, digest.size(), digest.data());
  return digest;
}

}  // namespace

std::string Sha256(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : DigestOf(bytes)) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string Sha256Base64(std::string_view bytes) {
  const Digest digest = DigestOf(bytes);
  std::string text(BASE64_ENCODE_RAW_LENGTH(digest.size()), '\0');
  base64_encode_raw(text.data(), digest.size(), digest.data());
  return text;
}

}  // namespace client
