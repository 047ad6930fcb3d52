// The base64 encoding (RFC 2045, section 6.8).
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Decodes; blanks and line breaks are skipped, and what follows the padding is ignored. Nothing for a text
// with any other character or with a lone last digit.
std::optional<std::string> Base64Decode(std::string_view text);
