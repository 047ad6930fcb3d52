// Writes ink documents (".pwi").
#pragma once

#include <string>
#include <string_view>

namespace device {

// The document of a plain text: one font, one paragraph for each line. A text without characters is
// a document with one empty paragraph. Line ends are CR LF, LF or CR.
//
// Where VisibleInkText says less than the text does, the document also holds the whole text, in
// zones of our own at its end, which other programs skip: each is the mark "OSIF", the number of
// UTF-16 units (32 bits) and the units of a part of the text, little-endian. ReadInkDocument
// prefers them as long as the paragraphs are still what the whole text looks like.
//
// What goes beyond kMaxInkText units is cut off. Takes time and memory in proportion to the text.
std::string WriteInkDocument(std::u16string_view text);

}  // namespace device
