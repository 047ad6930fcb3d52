#include "BtOsif_pol/pol_database_id.h"

#include <cstring>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/object_record.h"
#include "config/trace.h"

namespace {

OsifResult ReadDatabaseId(OsifStream& file, char* id) {
  char line[kLineRoom];
  if (const int result = FILE_ReadLine(line, file); result != 0) {
    OSIF_Trace(0, "OSIF:  POL_GetDatabaseId - Couldn't read id from Database ID Log file.");
    return static_cast<OsifResult>(result);
  }
  std::memcpy(id, line, std::strlen(line) + 1);
  return OSIF_OK;
}

OsifResult MakeDatabaseId(const WideText& name, char* id) {
  OsifStream file;
  if (FILE_Open(file, name.c_str(), u"w") != 0) return OSIF_ERR_GENERAL;
  char new_id[kRandomIdLength + 1];
  MakeRandomId(new_id);
  // The caller is told only what stands in the file: a partner must not keep an id that the next opening does
  // not find.
  const bool is_written = FILE_WriteLine(file, new_id) == 0 && FILE_FlushToDisk(file) == 0;
  if (FILE_Close(file, name.c_str()) != 0 || !is_written) return OSIF_ERR_GENERAL;
  std::memcpy(id, new_id, sizeof new_id);
  return OSIF_OK;
}

}  // namespace

OsifResult pol_DatabaseId(int32_t store_id, WideView folder, char* id) {
  const WideText name = LogFileName(store_id, folder, LogFileKind::kDatabaseId);
  OsifStream file;
  if (FILE_Exists(name.c_str()) && FILE_Open(file, name.c_str(), u"r") == 0) {
    return ReadDatabaseId(file, id);
  }
  return MakeDatabaseId(name, id);
}
