// Keeping a change log short: a closed log is replaced by some of its lines.
#pragma once

#include <cstddef>
#include <cstdint>

#include "btosif/osif_util/charset.h"
#include "osif.h"

// The entries that a log keeps when it is closed.
inline constexpr size_t kKeptEntries = 250;

// Shortens a closed log to its newest 250 lines, byte for byte; `folder` is where the temporary file is
// made. A log that is short enough is not touched. While the log's open marker stands, what is dropped is kept
// beside it (change_log_cut.h). OSIF_OK or the failure; the log stays as it is when anything fails before it is
// replaced.
OsifResult OSIF_CLPurge(int32_t store_id, WideView folder);

// Finishes an exchange, of any store in the folder, that ended between removing the log and putting the
// shortened one in its place.
void FinishPurge(WideView folder);
