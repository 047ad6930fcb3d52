// Texts of a store in a page of HTML: whatever a peer has put into them, it is shown and does nothing.
#pragma once

#include <string>
#include <string_view>

namespace command {

// A text as the content of an element or between the double quotes of an attribute. "<", ">", "&" and quotes are
// escaped; a byte that belongs to no character, and what is no character, becomes U+FFFD; control characters, and those
// that turn the writing direction of what follows, become blanks. Line breaks stay, as LF.
std::string HtmlText(std::string_view text);

}  // namespace command
