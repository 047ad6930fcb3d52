// Objects that the strict reader takes as they lie.
#pragma once

#include "dialects/object_text.h"

namespace dialects {

// True when the object makes one record, and rewriting it would change nothing that matters. A quick look at each line:
// what is not certainly plain is not.
bool IsPlain(const ObjectText& object);

}  // namespace dialects
