// A fast look at a card: whether it is one that the library takes whole as it lies.
#pragma once

#include <string_view>

namespace dialects {

// True for a card of version 2.1, from its BEGIN to its END line, of which StrictCards would change nothing that
// matters: every line has a name and kinds that the store has a place for, no place is asked for twice, and no value
// needs to be understood to be read. Of most other cards it is known after a few lines. False is always safe.
//
// Allocates nothing, takes any bytes, and is linear in the text.
bool IsPlainCard(std::string_view text);

}  // namespace dialects
