// Texts between the worlds that the command stands in: arguments and output are UTF-8, the library's
// names are UTF-16, object ids are in the system's code page, and raw property texts are just bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "btosif/osif_util/charset.h"
#include "osif.h"

namespace client {

// UTF-8 for people and JSON; an unpaired surrogate becomes U+FFFD.
std::string ToOutput(WideView text);

// Each byte as the character of the same number (U+0000 to U+00FF), in UTF-8.
std::string ByteText(std::string_view bytes);

// A line that is safe on a terminal: whatever steers one (control characters, overrides and isolates of the
// writing direction, separators of lines and paragraphs) becomes a blank, and a byte that belongs to no
// character U+FFFD.
std::string OneLine(std::string_view text);

// The same for each line of a text, which keeps its lines.
std::string Printable(std::string_view text);

// JSON in which such characters are escaped.
std::string EscapedJson(std::string_view json);

// A text of bytes in UTF-8: as it is when it is UTF-8, else as ByteText.
std::string TextOrBytes(std::string_view bytes);

// A file name as the library sees it: "\" separates folders as well as "/" does. Nothing when the
// argument is not UTF-8, because the library's wide names cannot express it.
std::optional<std::string> FileName(std::string_view argument);
WideText ToWide(std::string_view utf8);

// Object ids as arguments and in output.
std::string IdToOutput(const char* id);
std::string IdFromArgument(std::string_view argument);

// OSIF_CodeToString in UTF-8.
std::string CodeText(OsifResult code);

// The display name of an object; empty when it has none.
std::string ObjectName(int32_t store_id, OsifObject& object);

// "1 object", "2 objects".
std::string ObjectCount(size_t count);

// An object's name in quotes with a blank before it, for messages; empty when there is none.
std::string QuotedName(const std::string& name);

}  // namespace client
