// Counting, adding, changing and deleting objects: each store id is routed to the folder or adapter that
// serves it, and each change is appended to the store's change log when the caller asks for its anchor.
#pragma once

#include "osif.h"

// Sets the count to 0 first.
OsifResult POL_GetObjectCount(int32_t store_id, uint32_t* count);

// `id` (OSIF_ID_SIZE, may be null) is emptied first. `anchor` may be null.
OsifResult POL_AddObject(int32_t store_id, OsifObject* object, char* id, OsifAnchor* anchor);
OsifResult POL_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                            OsifAnchor* anchor);
OsifResult POL_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor);
