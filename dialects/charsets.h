// Character sets by all the names that devices and programs give them, and texts of them in UTF-8.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dialects {

// What is known where a value names no character set.
struct TextSettings {
  // The code page of texts that are not UTF-8: the setting DefaultInputCharset.
  uint32_t input_code_page = 1252;
};

// True for bytes that are well-formed UTF-8 (RFC 3629: no overlong forms, no surrogates).
bool IsUtf8(std::string_view bytes);
bool IsAsciiText(std::string_view bytes);

// True when UTF-8 is the likeliest reading of bytes above 0x7F that name no character set. Texts of double-byte sets
// can be well-formed UTF-8 by chance, so where one is set a character of three bytes is asked for.
bool LooksLikeUtf8(std::string_view bytes, const TextSettings& settings);

// Bytes of a named character set in UTF-8: IANA names, names of old devices ("UTF8", "CHINESE", "X-SJIS"), and all that
// ICU knows, compared without regard to case, "-", "_" and blanks. Nothing for an unknown name.
std::optional<std::string> ToUtf8From(std::string_view charset, std::string_view bytes);

// True for a name of UTF-8.
bool IsNameOfUtf8(std::string_view charset);

// Bytes of a code page in UTF-8.
std::string ToUtf8From(uint32_t code_page, std::string_view bytes);

}  // namespace dialects
