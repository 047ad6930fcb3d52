// SQLite in RAII: a connection, its kept prepared statements, and transactions.
#pragma once

#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace device {

// A prepared statement that is borrowed from its Database's cache and reset when it goes out of scope.
// Texts are UTF-16 towards the caller and UTF-8 in the database; unpaired surrogates and embedded zero
// characters survive.
class Statement {
 public:
  Statement(sqlite3_stmt* statement) : statement_(statement) {}
  Statement(Statement&& other) noexcept : statement_(std::exchange(other.statement_, nullptr)) {}
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement();

  // False when the statement could not be prepared; every step of it then fails.
  explicit operator bool() const { return statement_ != nullptr; }

  // Parameters are numbered from 1. The texts and blobs are copied.
  Statement& Bind(int index, int64_t value);
  Statement& Bind(int index, double value);
  Statement& Bind(int index, std::u16string_view text);
  Statement& BindUtf8(int index, std::string_view text);
  Statement& BindBlob(int index, const void* bytes, size_t size);

  // SQLITE_ROW, SQLITE_DONE or an error code of SQLite.
  int Step();
  // Steps to the end; true when it was reached without an error.
  bool Run() { return Step() == SQLITE_DONE; }

  // Columns are numbered from 0.
  bool IsNull(int column) const;
  int64_t Integer(int column) const;
  double Real(int column) const;
  std::u16string Text(int column) const;
  // A text in UTF-8, or a blob; valid until the next step.
  std::string_view Bytes(int column) const;

 private:
  sqlite3_stmt* statement_;
};

// A mark of a database's content: every commit changes it, whichever program's it is. What was read after a
// mark was taken holds as long as the mark is the same.
using CommitMark = std::array<char, 48>;

// One connection to a database file. Not for use by two threads at once.
class Database {
 public:
  // Opens or creates the file at a UTF-8 path: foreign keys on, WAL, synchronous=NORMAL, and a busy
  // timeout instead of an error when two programs share it. Null when that fails; `error` receives
  // SQLite's code.
  static std::unique_ptr<Database> Open(const std::string& path, int* error);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // The statement for an SQL text, prepared once and kept. One user of a text at a time.
  Statement Prepare(std::string_view sql);

  // How many statements are kept. Whoever asks for any number of different texts stops at some point.
  size_t kept_statements() const { return statements_.size(); }

  // Runs SQL without parameters or rows; SQLITE_OK or SQLite's code.
  int Execute(const char* sql);

  int64_t LastRowId() const { return sqlite3_last_insert_rowid(handle_); }
  int Changes() const { return sqlite3_changes(handle_); }
  int LastError() const { return sqlite3_extended_errcode(handle_); }

  // Whether a row was added, changed or deleted through this connection.
  bool HasWritten() const { return sqlite3_total_changes(handle_) > 0; }

  // The present mark, which costs no system call; nothing while this connection has a transaction open, and
  // where the file system allows no write-ahead log.
  std::optional<CommitMark> Mark();

  // Writes everything into the main file, so that a power cut loses nothing. Waits for another program's
  // transaction, as long as the busy timeout allows. SQLITE_OK or SQLite's code.
  int Checkpoint();

  // Puts what was committed on the disk, without waiting for other programs. False when some of it may not be
  // there.
  bool Flush();

  sqlite3* handle() const { return handle_; }

 private:
  Database() = default;

  bool UsesLog();

  sqlite3* handle_ = nullptr;
  bool uses_log_ = false;
  std::map<std::string, sqlite3_stmt*, std::less<>> statements_;
};

// A transaction that is rolled back unless Commit succeeds. Takes the write lock at once, so that two
// programs cannot both read and then fail to write.
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool is_open() const { return open_; }
  bool Commit();

 private:
  Database& database_;
  Statement rollback_;  // prepared while there is memory for it
  bool open_;
};

}  // namespace device
