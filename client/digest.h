// What tells whether two texts are the same without keeping them.
#pragma once

#include <nettle/sha2.h>

#include <string>
#include <string_view>

namespace client {

// SHA-256 (FIPS 180-4) of what comes piece by piece.
class Sha256Sum {
 public:
  Sha256Sum() { sha256_init(&context_); }

  void Add(std::string_view bytes);
  // 64 hexadecimal digits. The sum begins anew after that.
  std::string Take();

 private:
  sha256_ctx context_;
};

// The same of one text.
std::string Sha256(std::string_view bytes);

}  // namespace client
