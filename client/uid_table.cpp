// Ids are never used again, so what is left of a deleted object misleads nobody.
#include "client/uid_table.h"

#include "client/device_files.h"

namespace client {
namespace {

constexpr const char* kSetUp =
    "PRAGMA journal_mode=WAL;"
    "CREATE TABLE IF NOT EXISTS uids(store INTEGER, id TEXT, uid TEXT NOT NULL, PRIMARY KEY(store, "
    "id))"
    " WITHOUT ROWID; PRAGMA user_version=1;";

}  // namespace

UidTable::UidTable(const std::string& folder)
    : database_(folder, "uids.db", kUidsVersion, kSetUp, SideDatabase::Access::kUse) {}

std::string UidTable::Find(int32_t store_id, const std::string& id) {
  if (!database_.is_open()) return {};
  SideStatement row(database_, "SELECT uid FROM uids WHERE store = ?1 AND id = ?2");
  return row.Bind(int64_t{store_id}).Bind(id).Step() ? row.Text(0) : std::string();
}

bool UidTable::Keep(int32_t store_id, const std::string& id, const std::string& uid) {
  if (!database_.is_open()) return false;
  if (uid.empty()) {
    SideStatement row(database_, "DELETE FROM uids WHERE store = ?1 AND id = ?2");
    return row.Bind(int64_t{store_id}).Bind(id).Run();
  }
  SideStatement row(database_, "INSERT OR REPLACE INTO uids(store, id, uid) VALUES(?1, ?2, ?3)");
  return row.Bind(int64_t{store_id}).Bind(id).Bind(uid).Run();
}

}  // namespace client
