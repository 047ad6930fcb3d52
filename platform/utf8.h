// UTF-16 and UTF-8, for places that cannot ask the system for code page 65001.
//
// An unpaired surrogate takes three bytes of its own, as any other character above U+07FF, so that every
// UTF-16 text comes back as it was.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/api/win_types.h"

// A character above U+FFFF is a pair of UTF-16 units, a lead and a trail surrogate; no character has the
// number of one.
constexpr bool IsLeadSurrogate(WCHAR unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool IsTrailSurrogate(WCHAR unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
constexpr bool IsSurrogate(char32_t number) { return number >= 0xD800 && number <= 0xDFFF; }

// Writes a character as one unit or as a pair, and returns how many there are.
constexpr size_t EncodeUtf16(char32_t character, WCHAR* units) {
  if (character <= 0xFFFF) {
    units[0] = static_cast<WCHAR>(character);
    return 1;
  }
  units[0] = static_cast<WCHAR>(0xD800 + ((character - 0x10000) >> 10));
  units[1] = static_cast<WCHAR>(0xDC00 + ((character - 0x10000) & 0x3FF));
  return 2;
}

std::string ToUtf8(std::basic_string_view<WCHAR> text);

// A byte that belongs to no character becomes U+FFFD.
std::basic_string<WCHAR> FromUtf8(std::string_view bytes);

// The same in two steps, for a place of the caller's own: how many UTF-16 units the text has, and the
// text written there, without a zero at its end.
size_t Utf16Length(std::string_view bytes);
void DecodeUtf8(std::string_view bytes, WCHAR* out);
