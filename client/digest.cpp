#include "client/digest.h"

#include <nettle/base64.h>

namespace client {
namespace {

// The bytes of a digest as lower-case hexadecimal digits.
std::string Hexadecimal(const Sha256Sum::Bytes& digest) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : digest) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

Sha256Sum::Bytes DigestOf(std::string_view bytes) {
  Sha256Sum sum;
  sum.Add(bytes);
  return sum.TakeBytes();
}

}  // namespace

void Sha256Sum::Add(std::string_view bytes) {
  sha256_update(&context_, bytes.size(), reinterpret_cast<const uint8_t*>(bytes.data()));
}

Sha256Sum::Bytes Sha256Sum::TakeBytes() {
  Bytes digest{};
  sha256_digest(&context_, digest.size(), digest.data());
  return digest;
}

std::string Sha256Sum::Take() { return Hexadecimal(TakeBytes()); }

std::string Sha256(std::string_view bytes) { return Hexadecimal(DigestOf(bytes)); }

std::string Sha256Base64(std::string_view bytes) {
  const Sha256Sum::Bytes digest = DigestOf(bytes);
  std::string text(BASE64_ENCODE_RAW_LENGTH(digest.size()), '\0');
  base64_encode_raw(text.data(), digest.size(), digest.data());
  return text;
}

}  // namespace client
