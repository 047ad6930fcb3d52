// A program that works on the present device's database with SQL alone.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/device/device.h"

namespace support {

// Whether SQLite looks after what belongs to a row. A program has to ask for it.
enum class References { kKept, kIgnored };

// A connection of its own.
class SqlProgram {
 public:
  explicit SqlProgram(References references = References::kKept) {
    EXPECT_EQ(sqlite3_open((device::Folder() + "/device.db").c_str(), &database_), SQLITE_OK);
    sqlite3_busy_timeout(database_, 10'000);
    EXPECT_EQ(
        Try(references == References::kKept ? "PRAGMA foreign_keys=ON" : "PRAGMA foreign_keys=OFF"),
        SQLITE_OK);
  }
  ~SqlProgram() { sqlite3_close(database_); }
  SqlProgram(const SqlProgram&) = delete;
  SqlProgram& operator=(const SqlProgram&) = delete;

  void Run(const std::string& sql) {
    EXPECT_EQ(Try(sql), SQLITE_OK) << sql << "\n" << sqlite3_errmsg(database_);
  }
  // Gives SQLite's code.
  int Try(const std::string& sql) {
    return sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr);
  }

  // The first column of all rows.
  std::vector<std::string> Texts(const std::string& query) {
    std::vector<std::string> texts;
    sqlite3_stmt* row = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database_, query.c_str(), -1, &row, nullptr), SQLITE_OK) << query;
    while (sqlite3_step(row) == SQLITE_ROW) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, 0));
      texts.emplace_back(text == nullptr ? "" : text);
    }
    sqlite3_finalize(row);
    return texts;
  }
  // 0 without a row.
  int64_t Number(const std::string& query) {
    const std::vector<std::string> texts = Texts(query);
    return texts.empty() ? 0 : std::atoll(texts.front().c_str());
  }

  sqlite3* handle() { return database_; }

 private:
  sqlite3* database_ = nullptr;
};

// Runs SQL so that the database's track of what is written does not see it.
inline void RunUnseen(const std::string& sql) {
  SqlProgram program;
  const std::string of_track =
      " FROM sqlite_master WHERE type = 'trigger' AND sql LIKE '%pim_changes%'";
  const std::vector<std::string> names = program.Texts("SELECT name" + of_track);
  const std::vector<std::string> triggers = program.Texts("SELECT sql" + of_track);
  ASSERT_FALSE(names.empty());
  program.Run("BEGIN IMMEDIATE");
  for (const std::string& name : names) program.Run("DROP TRIGGER " + name);
  program.Run(sql);
  for (const std::string& trigger : triggers) program.Run(trigger);
  program.Run("COMMIT");
}

}  // namespace support
