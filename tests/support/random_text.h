// Random wide texts for property tests.
#pragma once

#include <rapidcheck.h>

#include <string>
#include <vector>

#include "btosif/osif_util/charset.h"
#include "platform/utf8.h"

namespace support {

// A text over the characters of an alphabet.
inline rc::Gen<WideText> WideTextOver(const WideText& alphabet) {
  return rc::gen::container<WideText>(rc::gen::elementOf(alphabet));
}

// A character as the UTF-16 units of its own.
inline WideText UnitsOf(char32_t character) {
  WCHAR units[2];
  return WideText(units, EncodeUtf16(character, units));
}

// Any valid UTF-16 text without U+0000: plain letters, line breaks, separators, and characters of every
// plane up to U+10FFFF.
inline rc::Gen<WideText> AnyWideText() {
  auto character = rc::gen::map(
      rc::gen::weightedOneOf<uint32_t>({{4, rc::gen::inRange<uint32_t>(1, 0x80)},
                                        {2, rc::gen::element<uint32_t>(';', '\\', '=', '\r', '\n')},
                                        {2, rc::gen::inRange<uint32_t>(0x80, 0xD800)},
                                        {1, rc::gen::inRange<uint32_t>(0xE000, 0xFEFF)},
                                        {1, rc::gen::inRange<uint32_t>(0xFF00, 0xFFFE)},
                                        {1, rc::gen::inRange<uint32_t>(0x10000, 0x110000)}}),
      [](uint32_t code) { return UnitsOf(static_cast<char32_t>(code)); });
  return rc::gen::map(rc::gen::container<std::vector<WideText>>(character),
                      [](const std::vector<WideText>& characters) {
                        WideText text;
                        for (const WideText& units : characters) text += units;
                        return text;
                      });
}

}  // namespace support
