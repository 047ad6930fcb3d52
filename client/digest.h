// What tells whether two texts are the same without keeping them.
#pragma once

#include <nettle/sha2.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace client {

// SHA-256 (FIPS 180-4) of what comes piece by piece.
class Sha256Sum {
 public:
  Sha256Sum() { sha256_init(&context_); }

  using Bytes = std::array<uint8_t, SHA256_DIGEST_SIZE>;

  void Add(std::string_view bytes);
  // The sum so far; another one begins after that.
  Bytes TakeBytes();
  // The same as 64 hexadecimal digits.
  std::string Take();

 private:
  sha256_ctx context_;
};

// The same of one text.
std::string Sha256(std::string_view bytes);

// The same in base64 (RFC 4648), as policies of pages name what they allow.
std::string Sha256Base64(std::string_view bytes);

}  // namespace client
