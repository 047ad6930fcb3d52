// A database of its own, so that the device's stays the library's alone. Ids are never used again, so what is left of a
// deleted object misleads nobody.
#include "client/uid_table.h"

#include <sqlite3.h>

namespace client {
namespace {

// Another program that uses the table is waited for, in milliseconds.
constexpr int kPatience = 10'000;

constexpr const char* kSetUp =
    "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
    "CREATE TABLE IF NOT EXISTS uids(store INTEGER, id TEXT, uid TEXT NOT NULL, PRIMARY KEY(store, "
    "id))"
    " WITHOUT ROWID;";

struct Finish {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

void Bind(sqlite3_stmt* statement, int place, const std::string& text) {
  if (sqlite3_bind_parameter_count(statement) < place) return;
  sqlite3_bind_text(statement, place, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

std::string ColumnText(sqlite3_stmt* statement) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  return text == nullptr ? std::string() : std::string(text);
}

}  // namespace

void UidTable::Close::operator()(sqlite3* database) const { sqlite3_close(database); }

UidTable::UidTable(const std::string& folder) {
  const std::string name = folder + "/uids.db";
  sqlite3* database = nullptr;
  const int opened = sqlite3_open(name.c_str(), &database);
  database_.reset(database);
  if (opened == SQLITE_OK) {
    sqlite3_busy_timeout(database, kPatience);
    if (sqlite3_exec(database, kSetUp, nullptr, nullptr, nullptr) == SQLITE_OK) return;
  }
  why_not_ = name + ": " + (database == nullptr ? "no memory" : sqlite3_errmsg(database));
  database_.reset();
}

std::string UidTable::Find(int32_t store_id, const std::string& id) {
  std::string uid;
  Run("SELECT uid FROM uids WHERE store = ?1 AND id = ?2", store_id, id, {}, &uid);
  return uid;
}

bool UidTable::Keep(int32_t store_id, const std::string& id, const std::string& uid) {
  if (uid.empty()) {
    return Run("DELETE FROM uids WHERE store = ?1 AND id = ?2", store_id, id, {}, nullptr);
  }
  return Run("INSERT OR REPLACE INTO uids(store, id, uid) VALUES(?1, ?2, ?3)", store_id, id, uid,
             nullptr);
}

bool UidTable::Run(const char* sql, int32_t store_id, const std::string& id, const std::string& uid,
                   std::string* found) {
  if (!database_) return false;
  sqlite3_stmt* prepared = nullptr;
  int result = sqlite3_prepare_v2(database_.get(), sql, -1, &prepared, nullptr);
  const std::unique_ptr<sqlite3_stmt, Finish> statement(prepared);
  if (result == SQLITE_OK) {
    sqlite3_bind_int(prepared, 1, store_id);
    Bind(prepared, 2, id);
    Bind(prepared, 3, uid);
    result = sqlite3_step(prepared);
    if (result == SQLITE_ROW && found != nullptr) *found = ColumnText(prepared);
  }
  if (result == SQLITE_ROW || result == SQLITE_DONE) return true;
  why_not_ = sqlite3_errmsg(database_.get());
  return false;
}

}  // namespace client
