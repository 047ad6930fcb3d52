// Changing a device's database as another program of the device does.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

namespace support {

// Runs statements on the database in a device's folder, and gives how many rows they have changed.
inline int RunSqlOn(const std::string& device, const std::string& statements) {
  sqlite3* database = nullptr;
  EXPECT_EQ(sqlite3_open((device + "/device.db").c_str(), &database), SQLITE_OK);
  sqlite3_busy_timeout(database, 10'000);
  EXPECT_EQ(sqlite3_exec(database, ("PRAGMA foreign_keys=ON;" + statements).c_str(), nullptr,
                         nullptr, nullptr),
            SQLITE_OK)
      << sqlite3_errmsg(database);
  const int changes = sqlite3_total_changes(database);
  sqlite3_close(database);
  return changes;
}

}  // namespace support
