// Entry ids of the message store: 16 bytes that tell an object for good.
//
//   0   4 bytes   flags, 0
//   4   3 bytes   "OSM", the mark of this store
//   7   1 byte    the object type: MAPI_STORE, MAPI_FOLDER, MAPI_MESSAGE
//   8   8 bytes   the number of the folder or message, the highest byte first; 0 for the store
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/api/cemapi.h"

namespace device {

struct MapiEntry {
  ULONG type;
  int64_t number;
};

// The bytes of an entry id.
std::string MakeEntryId(ULONG type, int64_t number);

// What an entry id stands for; nothing for bytes that are no entry id of this store. Whether the
// object exists is another question.
std::optional<MapiEntry> ReadEntryId(ULONG size, const ENTRYID* entry);

}  // namespace device
