// Taking a store's change log to another folder.
#pragma once

#include <cstdint>

#include "btosif/osif_util/charset.h"

// Moves a closed log, with all that belongs to it, unless there is none or the other folder has one. What was
// left by a process that ended while it moved them is moved by the next call. The caller has the use of the
// folder `to` (log_folder_use.h).
void MoveChangeLog(int32_t store_id, WideView from, WideView to);

// True when there is something to move.
bool HasChangeLogToMove(int32_t store_id, WideView from, WideView to);
