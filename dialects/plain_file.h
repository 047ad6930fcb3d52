// Files of nothing but plain cards: the library reads them where they lie.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "dialects/card_plain.h"

namespace dialects {

// Larger files are read in pieces, so that the list of their cards does not grow with them.
constexpr int64_t kLargestPlainFile = int64_t{16} << 20;  // bytes

// The lengths of all cards of an open file, where it holds plain cards one directly after the other and nothing else;
// nothing for any other file, for a pipe, and for a file whose position is not its start. Looks no further than to the
// first object that is not plain. The position is not moved.
std::optional<std::vector<TextLength>> PlainCardsOfFile(int handle);

}  // namespace dialects
