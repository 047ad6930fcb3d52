// Changes of a stored contact in a card of any version.
#pragma once

#include "mirror/merge.h"

namespace mirror {

Merged MergeCard(const MergeInput& input);

}  // namespace mirror
