// Asking people before something that they have is overwritten.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/storer.h"
#include "osif.h"
#include "tools/osif/reporter.h"

namespace command {

// Whether there is a terminal to ask on, and no file comes from it.
bool CanReview(const std::vector<std::string>& files);

// Shows field by field what an update would change of a stored object, and asks what to do. Nothing is asked where
// nothing would change.
Known Review(int32_t store_id, const char* id, OsifObject& object, Reporter& reporter);

}  // namespace command
