// What a message says: the text of its content, whatever parts, encodings and character sets it has.
#pragma once

#include <string>
#include <string_view>

#include "dialects/message.h"
#include "dialects/mime.h"

namespace dialects {

// Finds the part of a content that is the message's text, and decodes it into the message. Other parts are
// dropped. `is_utf8`: the file is known to be.
void ReadContent(const MimePart& whole, const TextSettings& settings, bool is_utf8,
                 Message& message, Report& report);

// The headers and lines of a content for the strict reader, with the empty line between them: as it came
// where that is read as it is meant, else made of the message's text.
std::string StrictContent(const Message& message, Report& report);

}  // namespace dialects
