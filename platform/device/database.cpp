// Statements are prepared once and kept by their text until the database closes: most calls of the stores ask
// the same few questions. A Statement borrows one and gives it back reset and without its values, so that no
// lock on the database is left with it.
//
// The connection writes ahead (WAL): others read while one writes, a commit is one write at the end of the
// log, and a killed program leaves a whole database with some log to be read. Writers wait for each other, up
// to the busy timeout. With synchronous=NORMAL a commit does not wait for the disk; Checkpoint does.

#include "platform/device/database.h"

#include <cstring>

#include "platform/utf8.h"

namespace device {
namespace {

constexpr int kBusyTimeoutMilliseconds = 10000;

// Without SQLite's own locks: a connection is used by one thread at a time.
constexpr int kOpenFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;

constexpr int kSharedRegionSize = 32768;  // of the log's index, as SQLite maps it

}  // namespace

Statement::~Statement() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

Statement& Statement::Bind(int index, int64_t value) {
  sqlite3_bind_int64(statement_, index, value);
  return *this;
}

Statement& Statement::Bind(int index, double value) {
  sqlite3_bind_double(statement_, index, value);
  return *this;
}

Statement& Statement::Bind(int index, std::u16string_view text) {
  return BindUtf8(index, ToUtf8(text));
}

Statement& Statement::BindUtf8(int index, std::string_view text) {
  const char* bytes = text.empty() ? "" : text.data();
  sqlite3_bind_text64(statement_, index, bytes, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  return *this;
}

Statement& Statement::BindBlob(int index, const void* bytes, size_t size) {
  sqlite3_bind_blob64(statement_, index, size == 0 ? "" : bytes, size, SQLITE_TRANSIENT);
  return *this;
}

int Statement::Step() { return statement_ == nullptr ? SQLITE_MISUSE : sqlite3_step(statement_); }

bool Statement::IsNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

int64_t Statement::Integer(int column) const { return sqlite3_column_int64(statement_, column); }

double Statement::Real(int column) const { return sqlite3_column_double(statement_, column); }

std::u16string Statement::Text(int column) const { return FromUtf8(Bytes(column)); }

std::string_view Statement::Bytes(int column) const {
  const void* bytes = sqlite3_column_blob(statement_, column);
  const int size = sqlite3_column_bytes(statement_, column);
  if (bytes == nullptr || size <= 0) return {};
  return {static_cast<const char*>(bytes), static_cast<size_t>(size)};
}

std::unique_ptr<Database> Database::Open(const std::string& path, int* error) {
  std::unique_ptr<Database> database(new Database());
  *error = sqlite3_open_v2(path.c_str(), &database->handle_, kOpenFlags, nullptr);
  if (*error != SQLITE_OK) return nullptr;
  sqlite3_extended_result_codes(database->handle_, 1);
  sqlite3_busy_timeout(database->handle_, kBusyTimeoutMilliseconds);
  // The connection waits for locks from here on, so that two programs may open at the same time.
  *error = database->Execute(
      "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON;");
  if (*error != SQLITE_OK) return nullptr;
  database->uses_log_ = database->UsesLog();
  return database;
}

bool Database::UsesLog() {
  Statement mode = Prepare("PRAGMA journal_mode");
  return mode.Step() == SQLITE_ROW && mode.Bytes(0) == "wal";
}

// The index of the write-ahead log lies in memory that all connections share. It begins with a header that a
// commit writes anew, with a count of the commits and a checksum (SQLite's WAL-mode file format, section 2.1).
std::optional<CommitMark> Database::Mark() {
  if (!uses_log_ || sqlite3_get_autocommit(handle_) == 0) return std::nullopt;
  sqlite3_file* file = nullptr;
  sqlite3_file_control(handle_, "main", SQLITE_FCNTL_FILE_POINTER, &file);
  if (file == nullptr || file->pMethods == nullptr || file->pMethods->iVersion < 2 ||
      file->pMethods->xShmMap == nullptr) {
    return std::nullopt;
  }
  void volatile* index = nullptr;
  const int code = file->pMethods->xShmMap(file, 0, kSharedRegionSize, 0, &index);
  if (code != SQLITE_OK || index == nullptr) return std::nullopt;
  CommitMark mark;
  std::memcpy(mark.data(), const_cast<const void*>(index), mark.size());
  return mark;
}

Database::~Database() {
  for (const auto& [sql, statement] : statements_) sqlite3_finalize(statement);
  sqlite3_close_v2(handle_);
}

Statement Database::Prepare(std::string_view sql) {
  auto found = statements_.find(sql);
  if (found == statements_.end()) found = statements_.emplace(std::string(sql), nullptr).first;
  // One that could not be prepared is tried again.
  if (found->second == nullptr) {
    sqlite3_prepare_v3(handle_, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                       &found->second, nullptr);
  }
  return Statement(found->second);
}

int Database::Execute(const char* sql) {
  return sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
}

int Database::Checkpoint() {
  return sqlite3_wal_checkpoint_v2(handle_, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
}

// What a reader holds back is neither written to the main file nor, by that call, to the disk.
bool Database::Flush() {
  int in_log = 0;
  int written = 0;
  const int code =
      sqlite3_wal_checkpoint_v2(handle_, nullptr, SQLITE_CHECKPOINT_PASSIVE, &in_log, &written);
  return code == SQLITE_OK && in_log == written;
}

// A transaction that could not be rolled back, for want of the memory that the statement takes, would stay
// open: no other could begin, and other programs would be locked out.
Transaction::Transaction(Database& database)
    : database_(database),
      rollback_(database.Prepare("ROLLBACK")),
      open_(rollback_ && database.Prepare("BEGIN IMMEDIATE").Run()) {}

Transaction::~Transaction() {
  if (open_) rollback_.Run();
}

bool Transaction::Commit() {
  if (!open_ || !database_.Prepare("COMMIT").Run()) return false;
  open_ = false;
  return true;
}

}  // namespace device
