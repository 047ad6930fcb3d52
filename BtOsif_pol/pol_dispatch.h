// The calls about objects, for every store: each is checked, handed to the adapter that serves the store,
// and, where it changes something, recorded in the store's change log when the caller asks for its anchor.
//
// Finding and naming apart, which then give nothing, all of them answer OSIF_ERR_TYPE_NOT_SUPPORTED for a
// number that no store has, and for contacts and calendar OSIF_ERR_PIM_NOT_OPENED while there is no session.
// An id that can be none of the store is OSIF_ERR_INVALID_ID; that is looked at first.
#pragma once

#include "btosif/osif_util/charset.h"
#include "osif.h"

// Sets the count to 0 first.
OsifResult POL_GetObjectCount(int32_t store_id, uint32_t* count);

// `id` (OSIF_ID_SIZE, may be null) is emptied first. `anchor` may be null.
OsifResult POL_AddObject(int32_t store_id, OsifObject* object, char* id, OsifAnchor* anchor);
OsifResult POL_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                            OsifAnchor* anchor);
OsifResult POL_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor);

// The record has been cleared by the caller.
OsifResult POL_GetObjectById(int32_t store_id, const char* id, OsifObject* object);

// One walk at a time for all stores; a new first id ends the one before. OSIF_ERR_END_OF_STORE ends it.
OsifResult POL_GetFirstId(int32_t store_id, char* id);
OsifResult POL_GetNextId(int32_t store_id, char* id);

// A truth value: whether a stored object has the record's content. `id` (may be null) is then written.
int32_t POL_FindObject(int32_t store_id, OsifObject* object, char* id);

// The name under which an object of any store is shown to people; empty when it has none.
WideText pol_ObjectName(int32_t store_id, OsifObject& object);
