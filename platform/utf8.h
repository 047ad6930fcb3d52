// UTF-16 and UTF-8, for places that cannot ask the system for code page 65001.
//
// An unpaired surrogate takes three bytes of its own, as any other character above U+07FF, so that every
// UTF-16 text comes back as it was.
#pragma once

#include <string>
#include <string_view>

#include "platform/api/win_types.h"

std::string ToUtf8(std::basic_string_view<WCHAR> text);

// A byte that belongs to no character becomes U+FFFD.
std::basic_string<WCHAR> FromUtf8(std::string_view bytes);
