// What a measurement is compared with: the database alone.
#pragma once

#include <sqlite3.h>

#include <string>

#include "bench/support/temp_folder.h"

namespace bench {

// A statement of a connection of its own.
class PlainStatement {
 public:
  PlainStatement(const std::string& path, const char* sql) {
    Require(sqlite3_open_v2(path.c_str(), &database_, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK,
            "the database was not opened");
    Require(sqlite3_prepare_v2(database_, sql, -1, &statement_, nullptr) == SQLITE_OK,
            "a statement was not prepared");
  }
  ~PlainStatement() {
    sqlite3_finalize(statement_);
    sqlite3_close(database_);
  }
  PlainStatement(const PlainStatement&) = delete;
  PlainStatement& operator=(const PlainStatement&) = delete;

  sqlite3_stmt* get() const { return statement_; }

 private:
  sqlite3* database_ = nullptr;
  sqlite3_stmt* statement_ = nullptr;
};

}  // namespace bench
