// The object ids of the PIM store: what they are given to, and in which folder that lies.
//
// Ids are positive 32-bit numbers, unique over all folders and never given again. An item of any
// kind has its row here; when that goes, the item's own row goes with it.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/api/win_types.h"
#include "platform/device/database.h"

namespace device {

// There is no item, or none any more, with the object id (the platform's "not found").
inline constexpr HRESULT kNoSuchItem = static_cast<HRESULT>(0x80070490);

// The platform's result for an error code of SQLite.
HRESULT PimResult(int sqlite_error);

// Takes the next object id for an item of a folder, in the transaction that writes the item.
HRESULT AddObject(Database& database, int folder, int32_t* oid);

// Deletes an item of any kind; kNoSuchItem when there is none.
HRESULT DeleteObject(Database& database, int32_t oid);

// The folder of an item; kNoSuchItem when there is none.
HRESULT FindObject(Database& database, int32_t oid, int* folder);

// The highest id of a folder's items; 0 for an empty folder.
HRESULT FindLastObject(Database& database, int folder, int32_t* oid);

// The ids of a folder's items up to `last`, ascending.
HRESULT ListObjects(Database& database, int folder, int32_t last, std::vector<int32_t>* oids);

}  // namespace device
