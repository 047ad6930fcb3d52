// A log is shortened by copying the lines that stay into a temporary file and putting that in the log's
// place. A file cannot be renamed over another, so there is a moment without a log. A marker of the store's
// stands in the folder for as long as the exchange takes: whoever comes after a process that was killed in
// that moment (FinishPurge) knows by it whose log the temporary file is. The order:
//
//   0. where the log alone knows of what goes, that    the log counts
//      is kept beside it (change_log_cut.h)
//   1. the temporary file is written and closed        the log counts
//   2. the marker is made                              the log counts
//   3. the log is removed                              the temporary file is the log of the marker's store
//   4. the temporary file is renamed to the log        the log counts
//   5. the marker is removed
//
// The temporary file is one for all stores of a folder. So an exchange of another store that was left at step
// 3 is finished before the temporary file is written to.
#include "btosif/osif_util/change_log_purge.h"

#include <cstddef>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_cut.h"
#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/stores.h"
#include "config/trace.h"

namespace {

OsifResult Failed(const char* message) {
  OSIF_Trace(0, message);
  return OSIF_ERR_GENERAL;
}

size_t CountLines(OsifStream& log) {
  char line[kLineRoom];
  size_t count = 0;
  while (FILE_ReadLine(line, log) == 0) ++count;
  return count;
}

// Copies a log's lines from one on into the temporary file.
bool CopyLines(OsifStream& log, size_t first, size_t count, OsifStream& copy) {
  FILE_Rewind(log);
  char line[kLineRoom];
  for (size_t number = 0; number < count; ++number) {
    if (FILE_ReadLine(line, log) != 0) return false;
    if (number >= first && FILE_WriteLine(copy, line) != 0) return false;
  }
  return true;
}

// Lines of which no saved snapshot knows would be forgotten with the log that held them.
bool KeepDroppedLines(int32_t store_id, WideView folder, OsifStream& log, size_t count) {
  const WideText marker_name = LogFileName(store_id, folder, LogFileKind::kOpen);
  return !FILE_Exists(marker_name.c_str()) || KeepCutLines(store_id, folder, log, count);
}

// Puts the temporary file in the log's place. The marker tells whose log it is while there is none.
OsifResult ReplaceLog(int32_t store_id, WideView folder) {
  const WideText log_name = LogFileName(store_id, folder, LogFileKind::kChange);
  const WideText marker_name = LogFileName(store_id, folder, LogFileKind::kPurging);
  OsifStream marker;
  if (FILE_Open(marker, marker_name.c_str(), u"w") != 0) return OSIF_ERR_GENERAL;
  if (FILE_Close(marker, marker_name.c_str()) != 0) return OSIF_ERR_GENERAL;
  if (FILE_Remove(log_name.c_str()) != 0) return OSIF_ERR_GENERAL;
  if (FILE_Rename(TempLogName(folder).c_str(), log_name.c_str()) != 0) return OSIF_ERR_GENERAL;
  FILE_Remove(marker_name.c_str());
  return OSIF_OK;
}

// Replaces a log, which is closed here, by its lines from one on. What is put in its place is on the disk
// before the log goes.
OsifResult DropLines(int32_t store_id, WideView folder, OsifStream& log, size_t dropped,
                     size_t count) {
  FinishPurge(folder);
  if (!KeepDroppedLines(store_id, folder, log, dropped)) return OSIF_ERR_GENERAL;
  const WideText temp_name = TempLogName(folder);
  OsifStream copy;
  if (FILE_Open(copy, temp_name.c_str(), u"w") != 0) {
    return Failed("OSIF:  OSIF_CLPurge - Error opening temp file");
  }
  const bool is_copied = CopyLines(log, dropped, count, copy) && FILE_FlushToDisk(copy) == 0;
  const bool is_closed = FILE_Close(copy, temp_name.c_str()) == 0;
  FILE_Close(log, LogFileName(store_id, folder, LogFileKind::kChange).c_str());
  if (!is_copied || !is_closed) return OSIF_ERR_GENERAL;
  return ReplaceLog(store_id, folder);
}

}  // namespace

OsifResult OSIF_CLPurge(int32_t store_id, WideView folder) {
  const WideText log_name = LogFileName(store_id, folder, LogFileKind::kChange);
  OsifStream log;
  if (FILE_Open(log, log_name.c_str(), u"r") != 0) {
    return Failed("OSIF:  OSIF_CLPurge - Error opening change log");
  }
  const size_t count = CountLines(log);
  if (FILE_Error(log)) return OSIF_ERR_GENERAL;
  if (count <= kKeptEntries) return OSIF_OK;
  const size_t dropped = count - kKeptEntries;
  const OsifResult result = DropLines(store_id, folder, log, dropped, count);
  if (result != OSIF_OK) return result;
  OSIF_Trace(0, "OSIF:  OSIF_CLPurge - Purged %d entries from '%s'", static_cast<int>(dropped),
             TextToMultiByte(NativeCodePage(), log_name).c_str());
  return OSIF_OK;
}

void FinishPurge(WideView folder) {
  const WideText temp_name = TempLogName(folder);
  for (int32_t store_id = 0; store_id < static_cast<int32_t>(kStoreRows.size()); ++store_id) {
    const WideText marker_name = LogFileName(store_id, folder, LogFileKind::kPurging);
    if (!FILE_Exists(marker_name.c_str())) continue;
    const WideText log_name = LogFileName(store_id, folder, LogFileKind::kChange);
    if (!FILE_Exists(log_name.c_str()) && FILE_Exists(temp_name.c_str())) {
      FILE_Rename(temp_name.c_str(), log_name.c_str());
    }
    FILE_Remove(marker_name.c_str());
  }
}
