// The lines that a purge has cut off a log while no saved snapshot knows of them.
//
// From before the first new entry of a PIM store until the snapshot is saved, the log alone knows what it has
// told (the open marker stands beside it). A purge in that time keeps what it drops in a file beside the log:
// the cut lines and then the log's lines are what the log knows. The file goes once the snapshot is saved.
#pragma once

#include <cstddef>
#include <cstdint>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/charset.h"

// Appends the first lines of a log to what was cut before, and puts them on the disk. The position of the log
// is then anywhere. False when they cannot be kept.
bool KeepCutLines(int32_t store_id, WideView folder, OsifStream& log, size_t count);

// The newest kind of change of each object that the cut lines name. What is no entry is passed over.
NewestKinds ReadCutLines(int32_t store_id, WideView folder);

void RemoveCutLines(int32_t store_id, WideView folder);
