// The entries of a store's change log as they lie in the device's folder. To open a log is to bring it up to date, which
// writes; who only looks reads the file.
#pragma once

#include <cstdint>
#include <vector>

#include "osif.h"

namespace client {

// All entries, the oldest first; each object may have several. None where the store has no log. What was changed since
// the log was last opened is not among them, and a line that is no entry ends what counts.
std::vector<ChangeLogEntry> LoggedChanges(int32_t store_id);

}  // namespace client
