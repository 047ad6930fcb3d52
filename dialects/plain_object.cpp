#include "dialects/plain_object.h"

namespace dialects {
bool IsPlain(const ObjectText&) { return false; }
}  // namespace dialects
