// Character sets: the names that vCard 2.1 and vCalendar 1.0 use in CHARSET parameters (IANA names and
// the names of older devices), their code pages, and which one is used where no name is given.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "osif.h"

// UTF-16 text inside the library.
using WideText = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

inline constexpr uint32_t kLatin1CodePage = 1252;
inline constexpr uint32_t kUtf8CodePage = 65001;

struct CharsetRow {
  const char* name;  // upper case
  uint32_t code_page;
};

// All 46 rows, in the order in which they are searched.
std::span<const CharsetRow> CharsetTable();

// The code page of the first row with that name, in any case; 0 for an empty or unknown name.
uint32_t CharsetToCodePage(std::string_view name);

// The name of the first row with that code page, or null.
const char* CodePageToCharset(uint32_t code_page);

// The system's default code page. Decided at the first call and kept, as are the next two.
uint32_t NativeCodePage();

// The code page of received texts that name none: the setting DefaultInputCharset; 1252 where it is empty.
uint32_t InputCodePage();

// The code page of outgoing texts that are not plain ASCII: the setting DefaultOutputCharset; UTF-8 where
// it is empty.
uint32_t OutputCodePage();

// The name under which texts of a code page are sent; null for an unknown one, and for 1252, which
// is never named.
const char* SentCharsetName(uint32_t code_page);

// Forgets the three choices, so that the next call decides anew. For tests.
void ForgetCharsetChoices();

// The text after the first "=" of a parameter (RFC 2045, section 5.1: a quoted text or a word): up to the
// closing quote, or to the next blank or the end; 260 characters at most. Empty without a "=".
std::string_view CharsetParamValue(std::string_view parameter);

// One look at every character, without a branch for each.
constexpr bool IsAscii(WideView text) {
  WCHAR bits = 0;
  for (const WCHAR c : text) bits = static_cast<WCHAR>(bits | c);
  return bits < 0x80;
}

// Converts received bytes. A code page that the system lacks counts as the system's default.
void MultiByteToText(uint32_t code_page, std::string_view bytes, WideText& text);
WideText MultiByteToText(uint32_t code_page, std::string_view bytes);

// Converts to bytes; UTF-8 where the system lacks the code page. What the code page cannot hold becomes
// the system's replacement for it.
std::string TextToMultiByte(uint32_t code_page, WideView text);
