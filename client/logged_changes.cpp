#include "client/logged_changes.h"

#include <string>

#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/change_log_names.h"
#include "client/store.h"
#include "client/texts.h"
#include "platform/device/device.h"

namespace client {
namespace {

// The name of the log; in the folder that all stores had once, until it is opened.
WideText NameOfLog(int32_t store_id) {
  const std::string shared = device::Folder() + "/Sync";
  const std::string own = shared + "/" + NameOfStore(store_id);
  const WideText name = LogFileName(store_id, ToWide(own), LogFileKind::kChange);
  if (FILE_Exists(name.c_str())) return name;
  return LogFileName(store_id, ToWide(shared), LogFileKind::kChange);
}

}  // namespace

std::vector<ChangeLogEntry> LoggedChanges(int32_t store_id) {
  const WideText name = NameOfLog(store_id);
  std::vector<ChangeLogEntry> changes;
  OsifStream log;
  if (!FILE_Exists(name.c_str()) || FILE_Open(log, name.c_str(), u"rb") != 0) return changes;
  ChangeLogEntry entry{};
  while (OSIF_ReadClEntry(&log, &entry) == OSIF_OK) changes.push_back(entry);
  return changes;
}

}  // namespace client
