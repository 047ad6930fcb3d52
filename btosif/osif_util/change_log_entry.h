// One entry of a change log as a line of text: kind, counter, time and object id, such as
// "M:17:20050314T101500Z:0001a2f4". Lines end with LF; reading takes CR LF too.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "btosif/osif_file.h"
#include "osif.h"

// The kinds of a change.
inline constexpr char kChangeModified = 'M';  // also for a new object
inline constexpr char kChangeDeleted = 'H';

// The newest kind of change of each object that some entries name.
using NewestKinds = std::map<std::string, uint32_t>;

// Appends an entry at the end of the file, wherever it was being read, and hands it to the system, so that it
// outlives the process. OSIF_OK, or OSIF_ERR_GENERAL when the write fails.
OsifResult OSIF_WriteClEntry(OsifStream* log, const ChangeLogEntry* entry);

// Clears the entry and reads the next line into it. OSIF_OK, OSIF_ERR_EOF at the end of the file,
// OSIF_PARSE_ERROR for a line that is no entry (the entry then holds what was read of it), OSIF_ERR_GENERAL.
OsifResult OSIF_ReadClEntry(OsifStream* log, ChangeLogEntry* entry);
