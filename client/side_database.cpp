#include "client/side_database.h"

#include <sqlite3.h>

#include <filesystem>

namespace client {
namespace {

// Another program that uses the file is waited for, in milliseconds.
constexpr int kPatience = 10'000;

int VersionOf(sqlite3* database, int& version) {
  sqlite3_stmt* statement = nullptr;
  int result = sqlite3_prepare_v2(database, "PRAGMA user_version", -1, &statement, nullptr);
  if (result == SQLITE_OK) result = sqlite3_step(statement);
  if (result == SQLITE_ROW) version = sqlite3_column_int(statement, 0);
  sqlite3_finalize(statement);
  return result == SQLITE_ROW ? SQLITE_OK : result;
}

}  // namespace

void SideDatabase::Close::operator()(sqlite3* database) const { sqlite3_close_v2(database); }

void SideDatabase::Finish::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

sqlite3_stmt* SideDatabase::Prepare(const char* sql) {
  std::unique_ptr<sqlite3_stmt, Finish>& kept = statements_[sql];
  if (!kept) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) != SQLITE_OK) Fail();
    kept.reset(statement);
  }
  return kept.get();
}

SideDatabase::SideDatabase(const std::string& folder, std::string_view file, int version,
                           const char* set_up, Access access)
    : name_(folder + "/" + std::string(file)), may_write_(access == Access::kUse) {
  std::error_code ignored;
  const bool is_there = std::filesystem::exists(name_, ignored);
  // Whoever only looks finds nothing where there is nothing.
  const bool in_memory = !may_write_ && !is_there;
  sqlite3* database = nullptr;
  int result = sqlite3_open(in_memory ? ":memory:" : name_.c_str(), &database);
  database_.reset(database);
  int found = 0;
  if (result == SQLITE_OK) {
    sqlite3_busy_timeout(database, kPatience);
    result = VersionOf(database, found);
  }
  if (result == SQLITE_OK && found > version) {
    why_not_ = name_ + ": a newer version has made it";
    return;
  }
  if (result == SQLITE_OK && found < version && (may_write_ || in_memory)) {
    result = sqlite3_exec(database, set_up, nullptr, nullptr, nullptr);
  }
  if (result == SQLITE_OK) {
    result = sqlite3_exec(database, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
  }
  is_open_ = result == SQLITE_OK;
  if (!is_open_)
    why_not_ = name_ + ": " + (database == nullptr ? "no memory" : sqlite3_errmsg(database));
}

bool SideDatabase::Fail() {
  why_not_ = name_ + ": " + sqlite3_errmsg(database_.get());
  return false;
}

SideStatement::SideStatement(SideDatabase& database, const char* sql)
    : database_(database), statement_(database.Prepare(sql)), has_failed_(statement_ == nullptr) {}

SideStatement::~SideStatement() { Again(); }

SideStatement& SideStatement::Bind(std::string_view text) {
  // An empty text, not NULL.
  const char* bytes = text.empty() ? "" : text.data();
  sqlite3_bind_text64(statement_, next_++, bytes, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  return *this;
}

SideStatement& SideStatement::Bind(int64_t number) {
  sqlite3_bind_int64(statement_, next_++, number);
  return *this;
}

bool SideStatement::Step() {
  if (has_failed_) return false;
  const int result = sqlite3_step(statement_);
  has_failed_ = result != SQLITE_ROW && result != SQLITE_DONE && !database_.Fail();
  return result == SQLITE_ROW;
}

bool SideStatement::Run() {
  while (Step()) {
  }
  return !has_failed_;
}

SideStatement& SideStatement::Again() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
  next_ = 1;
  return *this;
}

std::string SideStatement::Text(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  const auto size = static_cast<size_t>(sqlite3_column_bytes(statement_, column));
  return bytes == nullptr ? std::string() : std::string(bytes, size);
}

int64_t SideStatement::Integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

SideTransaction::SideTransaction(SideDatabase& database)
    : database_(database), is_open_(SideStatement(database, "BEGIN IMMEDIATE").Run()) {}

SideTransaction::~SideTransaction() {
  // By a call that leaves what is told of the failure as it is.
  if (is_open_) sqlite3_exec(database_.database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

bool SideTransaction::Commit() {
  const bool is_done = SideStatement(database_, "COMMIT").Run();
  if (is_done) is_open_ = false;
  return is_done;
}

}  // namespace client
