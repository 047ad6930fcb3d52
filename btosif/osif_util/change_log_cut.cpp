#include "btosif/osif_util/change_log_cut.h"

#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/half_line.h"

namespace {

bool CopyLines(OsifStream& log, size_t count, OsifStream& copy) {
  FILE_Rewind(log);
  char line[kLineRoom];
  for (; count > 0; --count) {
    if (FILE_ReadLine(line, log) != 0 || FILE_WriteLine(copy, line) != 0) return false;
  }
  return true;
}

}  // namespace

bool KeepCutLines(int32_t store_id, WideView folder, OsifStream& log, size_t count) {
  const WideText name = LogFileName(store_id, folder, LogFileKind::kCut);
  // A purge that ended here before may have left half a line.
  if (!DropHalfLine(name)) return false;
  OsifStream cut;
  if (FILE_Open(cut, name.c_str(), u"a+") != 0) return false;
  const bool is_written = CopyLines(log, count, cut) && FILE_FlushToDisk(cut) == 0;
  return FILE_Close(cut, name.c_str()) == 0 && is_written;
}

NewestKinds ReadCutLines(int32_t store_id, WideView folder) {
  NewestKinds kinds;
  const WideText name = LogFileName(store_id, folder, LogFileKind::kCut);
  OsifStream cut;
  if (!FILE_Exists(name.c_str()) || FILE_Open(cut, name.c_str(), u"r") != 0) return kinds;
  ChangeLogEntry entry;
  for (OsifResult result; (result = OSIF_ReadClEntry(&cut, &entry)) != OSIF_ERR_EOF;) {
    if (result == OSIF_ERR_GENERAL) break;
    if (result == OSIF_OK) kinds[entry.objectId] = entry.kind;
  }
  return kinds;
}

void RemoveCutLines(int32_t store_id, WideView folder) {
  const WideText name = LogFileName(store_id, folder, LogFileKind::kCut);
  if (FILE_Exists(name.c_str())) FILE_Remove(name.c_str());
}
