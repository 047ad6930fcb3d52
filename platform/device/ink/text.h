// The text of ink documents: what the format can say of a text, and the codes of a paragraph.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace device {

// UTF-16 units that a document takes at most.
inline constexpr size_t kMaxInkText = 32'000'000;

// CR LF, LF and CR, each of which ends a paragraph, as CR LF.
std::u16string WithInkLineEnds(std::u16string_view text);

// The text as a program sees it that knows nothing but the format, CR LF between its paragraphs:
// - "?" stands for a character that the format is not known to hold: from U+4000 on (a pair of
//   surrogates is one character), and control characters other than the tab;
// - a paragraph whose codes would take more than a text zone should hold goes on in the next one;
// - after the 28,000th paragraph a line end becomes a blank, for the number of paragraphs is
//   limited.
std::u16string VisibleInkText(std::u16string_view text);

// The codes of one paragraph of a visible text, from the choice of the font to the end mark.
std::string EncodeInkParagraph(std::u16string_view paragraph);

// The text of a paragraph's codes: up to the end mark, or the end. Codes of anything but characters
// are stepped over, characters that cannot be visible are dropped. Any bytes will do.
std::u16string DecodeInkParagraph(std::string_view codes);

}  // namespace device
