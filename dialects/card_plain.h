// A fast look at a card: whether it is one that the library takes whole as it lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace dialects {

struct TextLength {
  size_t bytes;
  uint64_t lines;  // that have an end
};

// How much of a text its first card is, with the line end after it, where that card is plain: of version 2.1, one that
// StrictCards would change nothing of that matters. Every line has a name and kinds that the store has a place for, no
// place is asked for twice, and no value needs to be understood to be read. Of most other cards it is known after a few
// lines; nothing is always safe.
//
// Takes any bytes; linear in the card's text.
std::optional<TextLength> PlainCardLength(std::string_view text);

// True for a text that is one plain card.
bool IsPlainCard(std::string_view text);

}  // namespace dialects
