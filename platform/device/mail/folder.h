// Folders of the message store, and the way from entry ids to objects.
#pragma once

#include <memory>

#include "platform/api/cemapi.h"
#include "platform/device/database.h"

namespace device {

// The folder or message of an entry id, and its object type: what OpenEntry of every object does.
// Throws a MapiFailure: MAPI_E_INVALID_ENTRYID for bytes that are none, MAPI_E_NOT_FOUND when the
// object is not there (any more).
HRESULT OpenMapiEntry(const std::shared_ptr<Database>& database, ULONG size, const ENTRYID* entry,
                      ULONG* type, LPUNKNOWN* object);

}  // namespace device
