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

struct Version {
  int64_t schema;
  int64_t application;

  bool operator==(const Version&) const = default;
};

Version VersionOf(Database& database) {
  return {QueryInteger(database, "PRAGMA user_version"),
          QueryInteger(database, "PRAGMA application_id")};
}

bool IsEmpty(Database& database) {
  return QueryInteger(database, "SELECT count(*) FROM sqlite_master") == 0;
}

bool Run(Database& database, const std::string& sql) {
  return database.Execute(sql.c_str()) == SQLITE_OK;
}

bool CreateTables(Database& database) {
  return IsEmpty(database) && Run(database, kRegistrySchema) && Run(database, PimSchema()) &&
         Run(database, MapiSchema()) &&
         Run(database, "PRAGMA application_id=" + std::to_string(kApplicationId));
}

// Makes the tables that a version of the schema does not have yet.
bool BringUpToDate(Database& database, const Version& version) {
  if (version == Version{0, 0}) return CreateTables(database);
  if (version == Version{1, kApplicationId}) return Run(database, PimSchemaSince1());
  return false;
}

}  // namespace

bool CreateSchema(Database& database) {
  constexpr Version kPresent = {kSchemaVersion, kApplicationId};
  // Asked without the write lock first: another program may hold it, and whoever only reads need not wait.
  if (VersionOf(database) == kPresent) return true;
  Transaction transaction(database);
  if (!transaction.is_open()) return false;
  const Version version = VersionOf(database);
  if (version == kPresent) return true;
  return BringUpToDate(database, version) &&
         Run(database, "PRAGMA user_version=" + std::to_string(kSchemaVersion)) &&
         transaction.Commit();
}

}  // namespace device
