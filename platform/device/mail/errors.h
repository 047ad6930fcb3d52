// How failures travel inside the message store, and what its objects tell about them.
//
// Inside, a failure is thrown; the objects turn it into the result of the call (object.h) and
// keep it for GetLastError.
#pragma once

#include "platform/api/cemapi.h"
#include "platform/device/database.h"

namespace device {

struct MapiFailure {
  HRESULT result;
  int low_level;  // SQLite's extended code; 0 when the database did not fail
};

// The platform's result for an error code of SQLite.
HRESULT MapiResult(int sqlite_error);

// Throws the failure of the database's last call.
[[noreturn]] void ThrowStoreFailure(const Database& database);

// An error record of one MAPI buffer: a sentence about the result, the store as the component.
// Throws std::bad_alloc when memory is short.
LPMAPIERROR NewErrorRecord(const MapiFailure& failure);

}  // namespace device
