// Which messages a device holds. The library reads a message by its id and cannot be asked for the ids; the handheld's
// messaging, on which the library stands, can.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "osif.h"

namespace client {

struct MessageIds {
  // OSIF_OK, or why the folder could not be read to its end.
  OsifResult result = OSIF_OK;
  // As the library takes them, the oldest first. A message whose id would have no room is not among them, since the
  // library does not hand it out.
  std::vector<std::string> ids;
};

// The messages of a store (OSIF_STORE_MSG_IN, ...). To be asked while the library is closed: it opens the device for
// itself, and two connections of one process would undo each other's locks. PrepareTexts() lets go of it again.
MessageIds MessagesOf(int32_t store_id);

}  // namespace client
