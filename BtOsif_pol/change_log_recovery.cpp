// Every state of the table is known by which files are there, not by what is in them, except for the two that
// can be cut in the middle: the last line of the log and the database id. The steps that can be interrupted
// stand with what writes the files: the purge in change_log_purge.cpp, the snapshot in pol_snapshot.cpp.
#include "BtOsif_pol/change_log_recovery.h"

#include <cstring>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_cut.h"
#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/change_log_purge.h"
#include "btosif/osif_util/half_line.h"
#include "btosif/osif_util/object_record.h"

namespace {

bool IsDatabaseId(const WideText& name) {
  OsifStream stream;
  char line[kLineRoom];
  return FILE_Open(stream, name.c_str(), u"r") == 0 && FILE_ReadLine(line, stream) == 0 &&
         std::strlen(line) >= kRandomIdLength;
}

}  // namespace

void RepairChangeLog(int32_t store_id, WideView folder) {
  // In this order: a log that only waits for its place is neither half written nor lost.
  FinishPurge(folder);
  DropHalfLine(LogFileName(store_id, folder, LogFileKind::kChange));
  DropHalfLine(LogFileName(store_id, folder, LogFileKind::kCut));
  DropOutdatedDatabaseId(store_id, folder);
}

void DropOutdatedDatabaseId(int32_t store_id, WideView folder) {
  const WideText name = LogFileName(store_id, folder, LogFileKind::kDatabaseId);
  if (!FILE_Exists(name.c_str())) return;
  const bool has_log = FILE_Exists(LogFileName(store_id, folder, LogFileKind::kChange).c_str());
  if (!has_log || !IsDatabaseId(name)) FILE_Remove(name.c_str());
}

bool DropDatabaseId(int32_t store_id, WideView folder) {
  const WideText name = LogFileName(store_id, folder, LogFileKind::kDatabaseId);
  return !FILE_Exists(name.c_str()) || FILE_Remove(name.c_str()) == 0;
}

void FinishSnapshot(int32_t store_id, WideView folder) {
  const WideText name = LogFileName(store_id, folder, LogFileKind::kObject);
  const WideText new_name = LogFileName(store_id, folder, LogFileKind::kNewObject);
  if (FILE_Exists(name.c_str()) || !FILE_Exists(new_name.c_str())) return;
  FILE_Rename(new_name.c_str(), name.c_str());
}

bool WasLeftOpen(int32_t store_id, WideView folder) {
  return FILE_Exists(LogFileName(store_id, folder, LogFileKind::kOpen).c_str());
}

NewestKinds KnownByLeftLog(int32_t store_id, WideView folder, NewestKinds logged) {
  // What the log still has is newer than what was cut off it.
  logged.merge(ReadCutLines(store_id, folder));
  return logged;
}

bool MarkOpen(int32_t store_id, WideView folder) {
  // Of no use without a marker: a snapshot was saved after they were cut.
  RemoveCutLines(store_id, folder);
  const WideText name = LogFileName(store_id, folder, LogFileKind::kOpen);
  OsifStream marker;
  return FILE_Open(marker, name.c_str(), u"w") == 0 && FILE_Close(marker, name.c_str()) == 0;
}

void MarkClosed(int32_t store_id, WideView folder) {
  RemoveCutLines(store_id, folder);
  FILE_Remove(LogFileName(store_id, folder, LogFileKind::kOpen).c_str());
}
