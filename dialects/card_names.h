// How the versions of vCard and the programs that write them name the properties of a card, and what each one's value
// is made of.
#pragma once

#include <string>
#include <string_view>

#include "dialects/card.h"

namespace dialects {

// What a value is made of.
enum class CardShape {
  kText,        // one text
  kStructured,  // components by ";", each perhaps a list by ","
  kOrganised,   // components by ";", no lists: a comma in it is one
  kList,        // texts by ","
  kUri,         // one text without escapes in 3.0 and 4.0
  kBinary,      // a picture, a sound, a key: bytes, or where they are found
  kPlace,       // latitude and longitude
};

// By a property's own name; what is unknown is structured, which loses no separator.
CardShape ShapeOf(std::string_view name);
bool IsKnownCardName(std::string_view name);

// The name by which the model knows a property that was sent under `name` (upper case).
std::string_view CanonicalCardName(std::string_view name);

// Appends the name under which a version knows a property of the model: what it has no name for gets an "X-".
void AppendCardName(std::string& text, CardVersion version, std::string_view name);

// True for the kinds that 2.1 has words for, which stand there without "TYPE=": "HOME", "CELL", "JPEG".
bool IsOldCardType(std::string_view type);

// True for the networks of 2.1 whose addresses are none of the internet.
bool IsMailNetwork(std::string_view type);

// What a label between "_$!<" and ">!$_" says, in upper case; of any other label the label itself in upper case.
std::string LabelWord(std::string_view label);

// The media type of a picture, sound or key by its vCard type ("JPEG" gives "image/jpeg"), and back. Nothing known gives
// one made of the name, and an empty text "application/octet-stream", whose type is empty.
std::string MediaTypeOf(std::string_view name, std::string_view type);
std::string TypeOfMedia(std::string_view media_type);

}  // namespace dialects
