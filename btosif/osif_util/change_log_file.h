// The files of a store's change log: their names, one entry as a line, which entries a later one replaces,
// and keeping the log short. docs/synchronisation.md describes the files.
//
//   pol_NAME_change.log       one line for each change, oldest first
//   pol_NAME_object.log       the store's items as the partner has been told of them
//   pol_NAME_databaseid.log   the id of this series of changes
//
// Lines end with LF; reading takes CR LF too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "btosif/osif_file.h"
#include "btosif/osif_util/charset.h"
#include "osif.h"

// The entries that a log keeps when it is closed.
inline constexpr size_t kKeptEntries = 250;

// The characters of a folder that count.
inline constexpr size_t kFolderLimit = 260;

// The path of a store's file of one kind ("change", "object", "databaseid"). Of the folder kFolderLimit
// characters count; a "\" is added where it does not end in one.
WideText LogFileName(int32_t store_id, WideView folder, const char* kind);

// Appends an entry at the end of the file as "M:17:20050314T101500Z:0001a2f4" and hands it to the system,
// so that it outlives the process. OSIF_OK, or OSIF_ERR_GENERAL when the write fails.
OsifResult OSIF_WriteClEntry(OsifStream* log, const ChangeLogEntry* entry);

// Clears the entry and reads the next line into it. OSIF_OK, OSIF_ERR_EOF at the end of the file,
// OSIF_PARSE_ERROR for a line that is no entry (the entry then holds what was read of it), OSIF_ERR_GENERAL.
OsifResult OSIF_ReadClEntry(OsifStream* log, ChangeLogEntry* entry);

// Knows for each line of a log whether a later line names the same object. Reading the log once is enough;
// a line that is no entry ends what counts as later.
class SupersededLines {
 public:
  // True when the line that ends at this position of the log has a later line for its object.
  bool IsSuperseded(OsifStream& log, int64_t line_end);

  // Tells that the log has grown since.
  void LogHasGrown() { is_complete_ = false; }

 private:
  void ReadOn(OsifStream& log);
  void Add(int64_t line_end, const ChangeLogEntry& entry);

  std::vector<std::pair<int64_t, bool>> lines_;         // end, superseded; by position
  std::unordered_map<std::string, size_t> last_lines_;  // of each object
  int64_t read_up_to_ = 0;
  bool is_complete_ = false;
};

// True when a later line of the log names the object of the entry that was just read. The position of the
// log is as before.
bool OSIF_ClEntryIsSuperseded(OsifStream& log, SupersededLines& lines);

// Shortens a closed log to its newest 250 lines, byte for byte; `folder` is where the temporary file is
// made. A log that is short enough is not touched. OSIF_OK or the failure; the log stays as it is when
// anything fails before it is replaced.
OsifResult OSIF_CLPurge(int32_t store_id, WideView folder);

// Drops the last line of a closed log, one that a process which ended left half written.
OsifResult OSIF_CLDropLastLine(int32_t store_id, WideView folder);

// Finishes a purge, of any store in the folder, that ended between removing the log and putting the
// shortened one in its place.
void FinishPurge(WideView folder);
