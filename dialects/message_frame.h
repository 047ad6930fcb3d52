// A message taken apart, before anything is understood: properties, cards, and the body's headers and
// content.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dialects/content_line.h"
#include "dialects/object_text.h"
#include "dialects/report.h"

namespace dialects {

struct MessageCard {
  std::string_view text;   // from BEGIN:VCARD to END:VCARD, of the object's text
  bool is_inside = false;  // in the envelope, or after the body: a recipient's
};

struct MessageFrame {
  std::vector<ContentLine> properties;  // around the body, without those of cards
  std::vector<MessageCard> cards;
  std::vector<ContentLine> headers;  // at the start of the body
  // What follows the headers, as it came. There may be none: a lone property may hold the text then.
  std::string_view content;
  bool had_empty_line = false;  // between headers and content
};

// What the frame's reader has to know of names.
enum class NameKind {
  kUnknown,
  kAround,    // a property around the body; in it, people's text may begin so
  kProperty,  // of a message, wherever it stands
  kMail,      // a header that only mail has, so that all lines around it are headers
};
NameKind KindOfMessageName(std::string_view name);

// Takes the object's text apart; its pieces last as long as that text. Of several bodies the first that is
// not empty counts.
MessageFrame ReadMessageFrame(const ObjectText& object, Report& report);

}  // namespace dialects
