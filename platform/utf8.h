// UTF-16 and UTF-8, for places that cannot ask the system for code page 65001.
//
// An unpaired surrogate takes three bytes of its own, as any other character above U+07FF, so that every
// UTF-16 text comes back as it was.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/api/win_types.h"

std::string ToUtf8(std::basic_string_view<WCHAR> text);

// A byte that belongs to no character becomes U+FFFD.
std::basic_string<WCHAR> FromUtf8(std::string_view bytes);

// The same in two steps, for a place of the caller's own: how many UTF-16 units the text has, and the
// text written there, without a zero at its end.
size_t Utf16Length(std::string_view bytes);
void DecodeUtf8(std::string_view bytes, WCHAR* out);
