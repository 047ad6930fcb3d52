// Turns the HTML body of a message into plain text, for stores that hold no HTML. Text counts inside BODY
// only; of the tags, those that end a block or a cell become line breaks; entities become their characters.
#pragma once

#include <cstddef>

#include "btosif/osif_util/charset.h"
#include "osif.h"

// Returns the length of the text in units of UTF-16, its terminator not counted. `output` (may be null, to
// measure only) receives at most `capacity` - 1 of them and a terminator, nothing for a capacity of 0; a
// line break or a pair of surrogates is stored whole or not at all. The input is zero-terminated; null is an
// empty text. An unfinished tag or entity at the end yields nothing.
//
// Time is linear in the input, and no memory is allocated.
size_t HtmlToText(const WCHAR* input, WCHAR* output, size_t capacity);

// The most units that one entity becomes.
inline constexpr size_t kEntityUnits = 2;

// What a text is that claims to be HTML.
enum class HtmlExtent {
  kText,      // no tag and no entity: nothing is there to convert
  kFragment,  // markup, but no BODY element in which its text would count
  kDocument   // markup with a BODY element
};

// Looks at a zero-terminated text as HtmlToText does.
HtmlExtent HtmlExtentOf(const WCHAR* input);

// Decodes what stands between "&" and ";": a name, "#" and a decimal number, or "#x" and a hexadecimal one
// (HTML 4.01, section 5.3). Returns the number of units, which are written to `output` (may be null; room
// for kEntityUnits): 0 for an empty text, else 1, or 2 for a character above U+FFFF. An unknown name and a
// number that is no character become a blank.
size_t DecodeHtmlEntity(WideView entity, WCHAR* output);
