// Changes of a stored event or task in a calendar of either version.
#pragma once

#include "mirror/merge.h"

namespace mirror {

Merged MergeCalendar(const MergeInput& input);

}  // namespace mirror
