// Reads the plain text of ink documents (".pwi"), of ours and of those that handhelds wrote.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace device {

// The text, with CR LF between the paragraphs; nothing when the bytes do not begin as an ink
// document of a known version.
//
// The whole text that WriteInkDocument put beside the paragraphs is taken as long as the paragraphs
// are what it looks like; when another program changed them it is passed over.
//
// The bytes may be anything. What is cut off or makes no sense is left out; time and memory are
// in proportion to their number (the time but for a logarithm of the number of paragraphs), and the
// text has no more units than there are bytes.
std::optional<std::u16string> ReadInkDocument(std::string_view bytes);

}  // namespace device
