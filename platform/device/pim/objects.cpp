// What belongs to an item hangs on its row here by foreign keys, so that deleting this one row deletes all of
// it.

#include "platform/device/pim/objects.h"

#include "platform/api/pimstore.h"

namespace device {

HRESULT PimResult(int sqlite_error) {
  switch (sqlite_error & 0xFF) {  // the rest of an extended code is a detail
    case SQLITE_NOMEM:
      return E_OUTOFMEMORY;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION);
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
      return E_ACCESSDENIED;
    case SQLITE_FULL:
      return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    case SQLITE_TOOBIG:
      return E_FIELDTOOLARGE;
    default:
      return E_FAIL;
  }
}

// The number of a row that was inserted is the highest ever given and one: that is AUTOINCREMENT's promise, and
// what collections rely on.
HRESULT AddObject(Database& database, int folder, int32_t* oid) {
  Statement statement = database.Prepare("INSERT INTO pim_objects(folder) VALUES(?)");
  if (!statement.Bind(1, int64_t{folder}).Run()) return PimResult(database.LastError());
  *oid = static_cast<int32_t>(database.LastRowId());
  return S_OK;
}

HRESULT DeleteObject(Database& database, int32_t oid) {
  Statement statement = database.Prepare("DELETE FROM pim_objects WHERE oid = ?");
  if (!statement.Bind(1, int64_t{oid}).Run()) return PimResult(database.LastError());
  return database.Changes() == 0 ? kNoSuchItem : S_OK;
}

HRESULT FindObject(Database& database, int32_t oid, int* folder) {
  Statement statement = database.Prepare("SELECT folder FROM pim_objects WHERE oid = ?");
  switch (statement.Bind(1, int64_t{oid}).Step()) {
    case SQLITE_ROW:
      *folder = static_cast<int>(statement.Integer(0));
      return S_OK;
    case SQLITE_DONE:
      return kNoSuchItem;
    default:
      return PimResult(database.LastError());
  }
}

HRESULT FindLastObject(Database& database, int folder, int32_t* oid) {
  Statement statement = database.Prepare("SELECT max(oid) FROM pim_objects WHERE folder = ?");
  statement.Bind(1, int64_t{folder});
  const int step = statement.Step();
  if (step != SQLITE_ROW) return PimResult(step);
  *oid = static_cast<int32_t>(statement.Integer(0));
  return S_OK;
}

HRESULT ListObjects(Database& database, int folder, int32_t last, std::vector<int32_t>* oids) {
  Statement statement =
      database.Prepare("SELECT oid FROM pim_objects WHERE folder = ? AND oid <= ? ORDER BY oid");
  statement.Bind(1, int64_t{folder}).Bind(2, int64_t{last});
  oids->clear();
  int step;
  while ((step = statement.Step()) == SQLITE_ROW) {
    oids->push_back(static_cast<int32_t>(statement.Integer(0)));
  }
  return step == SQLITE_DONE ? S_OK : PimResult(step);
}

}  // namespace device
