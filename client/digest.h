// What tells whether two texts are the same without keeping them.
#pragma once

#include <string>
#include <string_view>

namespace client {

// SHA-256 (FIPS 180-4) in 64 hexadecimal digits.
std::string Sha256(std::string_view bytes);

// The same in base64 (RFC 4648), as policies of pages name what they allow.
std::string Sha256Base64(std::string_view bytes);

}  // namespace client
