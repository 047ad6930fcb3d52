#include "platform/device/schema.h"

#include <string>

#include "platform/device/mail/schema.h"
#include "platform/device/pim/schema.h"

namespace device {
namespace {

// Names and paths are kept as they were written and, for comparing, with their case folded.
constexpr char kRegistrySchema[] = R"sql(
CREATE TABLE registry_keys(
  id INTEGER PRIMARY KEY,
  folded_path TEXT NOT NULL UNIQUE,
  path TEXT NOT NULL);
CREATE TABLE registry_values(
  key INTEGER NOT NULL REFERENCES registry_keys(id) ON DELETE CASCADE,
  folded_name TEXT NOT NULL,
  name TEXT NOT NULL,
  type INTEGER NOT NULL,
  data BLOB NOT NULL,
  PRIMARY KEY(key, folded_name)) WITHOUT ROWID;
)sql";

int64_t QueryInteger(Database& database, const char* sql) {
  Statement statement = database.Prepare(sql);
  return statement.Step() == SQLITE_ROW ? statement.Integer(0) : -1;
}

// Whether this version of the program made the schema.
bool IsPresent(Database& database) {
  return QueryInteger(database, "PRAGMA user_version") == kSchemaVersion &&
         QueryInteger(database, "PRAGMA application_id") == kApplicationId;
}

bool Run(Database& database, const std::string& sql) {
  return database.Execute(sql.c_str()) == SQLITE_OK;
}

}  // namespace

bool CreateSchema(Database& database) {
  // Asked without the write lock first: another program may hold it, and whoever only reads need not wait.
  if (IsPresent(database)) return true;
  Transaction transaction(database);
  if (!transaction.is_open()) return false;
  if (IsPresent(database)) return true;

  const bool is_empty = QueryInteger(database, "PRAGMA user_version") == 0 &&
                        QueryInteger(database, "PRAGMA application_id") == 0 &&
                        QueryInteger(database, "SELECT count(*) FROM sqlite_master") == 0;
  return is_empty && Run(database, kRegistrySchema) && Run(database, PimSchema()) &&
         Run(database, MapiSchema()) &&
         Run(database, "PRAGMA application_id=" + std::to_string(kApplicationId)) &&
         Run(database, "PRAGMA user_version=" + std::to_string(kSchemaVersion)) &&
         transaction.Commit();
}

}  // namespace device
