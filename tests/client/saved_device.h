// Devices to be saved and put back, and archives made by hand.
#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "client/backup.h"
#include "client/digest.h"
#include "client/manifest.h"
#include "client/restore.h"
#include "platform/device/database.h"
#include "platform/device/schema.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"

namespace saved_device {

namespace fs = std::filesystem;

inline void RunSql(const std::string& database, const std::string& sql) {
  sqlite3* handle = nullptr;
  ASSERT_EQ(sqlite3_open(database.c_str(), &handle), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
      << sql << ": " << sqlite3_errmsg(handle);
  sqlite3_close(handle);
}

inline std::string Objects(int count) {
  std::string sql;
  for (int i = 0; i < count; ++i) sql += "INSERT INTO pim_objects(folder) VALUES(10);";
  return sql;
}

// A device that has nothing but its database.
inline void MakeEmptyDevice(const std::string& folder) {
  for (const char* name : {"/Documents", "/Temp", "/Sync/pb"}) {
    fs::create_directories(folder + name);
  }
  int error = SQLITE_OK;
  const auto database = device::Database::Open(folder + "/device.db", &error);
  ASSERT_NE(database, nullptr);
  ASSERT_TRUE(device::CreateSchema(*database));
  EXPECT_EQ(database->Checkpoint(), SQLITE_OK);
}

// One with so many objects, a note of this text, and a log.
inline void MakeDevice(const std::string& folder, int objects, const std::string& note) {
  MakeEmptyDevice(folder);
  RunSql(folder + "/device.db", Objects(objects));
  support::PutBytes(folder + "/Documents/Note.pwi", note);
  support::PutBytes(folder + "/Sync/pb/pol_pb_change.log", "M:1:20261120T123338Z:00000001\n");
  support::PutBytes(folder + "/Sync/pb/pol_pb_databaseid.log", "abcdefgh\n");
}

// What a device holds, in words; the database id is that of the moment and left out.
inline std::map<std::string, std::string> ContentOf(const std::string& folder) {
  std::map<std::string, std::string> content;
  if (!fs::exists(folder)) return content;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = fs::relative(entry.path(), folder).string();
    if (!entry.is_regular_file() || name.find("device.db") == 0) continue;
    // Who holds a folder of logs, or held it last.
    if (name.ends_with("_in_use.log") || name.ends_with("_turn.log") ||
        name.ends_with("_user.log")) {
      continue;
    }
    content[name] = name.ends_with("_databaseid.log") ? "an id" : support::BytesOf(entry.path());
  }
  sqlite3* handle = nullptr;
  sqlite3_stmt* statement = nullptr;
  sqlite3_open_v2((folder + "/device.db").c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr);
  sqlite3_prepare_v2(handle, "SELECT count(*) FROM pim_objects", -1, &statement, nullptr);
  const bool is_read = statement != nullptr && sqlite3_step(statement) == SQLITE_ROW;
  content["objects"] = is_read ? std::to_string(sqlite3_column_int(statement, 0)) : "unreadable";
  sqlite3_finalize(statement);
  sqlite3_close(handle);
  return content;
}

inline client::RestoreReport Restore(const std::string& file, const std::string& folder,
                                     bool is_forced = false) {
  const int handle = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  client::RestoreReport report = client::RestoreDevice(handle, folder, {.is_forced = is_forced});
  close(handle);
  return report;
}

// The names in a folder, those that begin with a dot as well.
inline std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// An archive that nobody would write who saves a device.
class HandMade {
 public:
  struct Member {
    std::string name;
    std::string bytes;
    mode_t type = AE_IFREG;
    std::string link = {};  // where it leads: a hard link for a file
  };

  HandMade& Add(const Member& member) {
    members_.push_back(member);
    return *this;
  }
  HandMade& Compress(bool is_compressed) {
    is_compressed_ = is_compressed;
    return *this;
  }

  void Write(const std::string& file) const {
    archive* written = archive_write_new();
    archive_write_set_format_gnutar(written);
    if (is_compressed_) archive_write_add_filter_zstd(written);
    ASSERT_EQ(archive_write_open_filename(written, file.c_str()), ARCHIVE_OK);
    for (const Member& member : members_) {
      archive_entry* entry = archive_entry_new();
      archive_entry_set_pathname(entry, member.name.c_str());
      archive_entry_set_filetype(entry, member.type);
      archive_entry_set_perm(entry, 0644);
      const bool is_link = !member.link.empty();
      if (is_link && member.type == AE_IFLNK) archive_entry_set_symlink(entry, member.link.c_str());
      if (is_link && member.type == AE_IFREG)
        archive_entry_set_hardlink(entry, member.link.c_str());
      archive_entry_set_size(entry, is_link ? 0 : static_cast<int64_t>(member.bytes.size()));
      archive_write_header(written, entry);
      if (!is_link) archive_write_data(written, member.bytes.data(), member.bytes.size());
      archive_entry_free(entry);
    }
    archive_write_close(written);
    archive_write_free(written);
  }

 private:
  std::vector<Member> members_;
  bool is_compressed_ = true;
};

}  // namespace saved_device
