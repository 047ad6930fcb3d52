#include "btosif/osif_util/change_log_move.h"

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/change_log_purge.h"

namespace {

bool Exists(int32_t store_id, WideView folder, LogFileKind kind) {
  return FILE_Exists(LogFileName(store_id, folder, kind).c_str());
}

void Move(int32_t store_id, WideView from, WideView to, LogFileKind kind) {
  if (!Exists(store_id, from, kind) || Exists(store_id, to, kind)) return;
  FILE_Rename(LogFileName(store_id, from, kind).c_str(), LogFileName(store_id, to, kind).c_str());
}

}  // namespace

bool HasChangeLogToMove(int32_t store_id, WideView from, WideView to) {
  // A log whose purge was interrupted waits under another name.
  const bool is_there =
      Exists(store_id, from, LogFileKind::kChange) || Exists(store_id, from, LogFileKind::kPurging);
  return is_there && !Exists(store_id, to, LogFileKind::kChange);
}

void MoveChangeLog(int32_t store_id, WideView from, WideView to) {
  FinishPurge(from);
  if (!HasChangeLogToMove(store_id, from, to)) return;
  // The log goes last: as long as it is where it was, not everything has arrived.
  for (size_t kind = 0; kind < kLogFileKinds; ++kind) {
    const auto file = static_cast<LogFileKind>(kind);
    if (file != LogFileKind::kChange) Move(store_id, from, to, file);
  }
  Move(store_id, from, to, LogFileKind::kChange);
}
