// The walk over the ids of a folder of the PIM. There is one at a time, whichever store it was begun for;
// callers serialise.
#pragma once

#include "osif.h"

// Begin a walk, which ends the one before, and go on with it; the session is open. OSIF_ERR_END_OF_STORE when
// there is no further item, OSIF_ERR_PIM when the folder cannot be had, with a trace. `id` (OSIF_ID_SIZE, may
// be null) is written where the item has an identifier.
OsifResult pol_GetFirstIdFromFolder(int folder_type, char* id);
OsifResult pol_GetNextIdFromFolder(char* id);

// True when the walk goes, or went last, over that folder.
bool pol_IsWalkOver(int folder_type);

// Ends the walk and lets go of the collection that it holds.
void pol_EndWalk();
