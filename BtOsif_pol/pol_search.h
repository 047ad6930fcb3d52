// Reading one object by its id, walking the ids of a store, and finding the stored object that a record
// describes.
#pragma once

#include "osif.h"

// The record has been cleared by the caller.
OsifResult POL_GetObjectById(int32_t store_id, const char* id, OsifObject* object);

// One walk at a time for all stores; a new first id ends the one before. OSIF_ERR_END_OF_STORE ends it.
OsifResult POL_GetFirstId(int32_t store_id, char* id);
OsifResult POL_GetNextId(int32_t store_id, char* id);

// Lets go of the collection that a walk holds.
void pol_EndWalk();

// A truth value: whether a stored object has the record's content. `id` (may be null) is then written.
int32_t POL_FindObject(int32_t store_id, OsifObject* object, char* id);
