// Result codes as the tests compare them.
#pragma once

#include "osif.h"

namespace support {

// A code as the names' own type: OSIF_OK and the others are plain enumerators, results are unsigned.
inline int Code(OsifResult result) { return static_cast<int>(result); }

}  // namespace support
