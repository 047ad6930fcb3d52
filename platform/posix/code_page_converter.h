// Conversion of whole texts by the table of code pages.
#pragma once

#include <string_view>

#include "platform/posix/code_page_table.h"
#include "platform/posix/conversion_output.h"

// What a conversion met on its way.
struct ConversionReport {
  // False when the page's converter cannot be opened: nothing was converted.
  bool is_available = true;
  // Something was malformed or has no place in the page.
  bool has_replaced = false;
};

// Bytes of a code page to UTF-16. Malformed bytes give U+FFFD.
ConversionReport DecodeText(const CodePage& page, std::string_view text,
                            ConversionOutput<char16_t>& output);

// UTF-16 to bytes of a code page. What has no place in the page gives "?", or U+FFFD in UTF-7 and
// UTF-8.
ConversionReport EncodeText(const CodePage& page, std::u16string_view text,
                            ConversionOutput<char>& output);

// Whether the page's converters can be opened.
bool CanConvert(const CodePage& page);
