// What belongs to a device's folder, for whoever takes the device as a whole: saves it, puts it back, looks it through.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/device/schema.h"

namespace client {

// The versions (user_version) of the databases that clients keep beside the stores.
inline constexpr int kUidsVersion = 1;
inline constexpr int kSyncVersion = 1;
inline constexpr int kMirrorVersion = 1;

struct DatabaseKind {
  std::string_view file;
  int64_t application_id;
  int newest_version;
  std::string_view
      tables;  // of the newest version, by name, a blank between; empty where the schema says it
};

// In the order in which they are saved: what refers to objects comes before the objects, so that it refers to none that
// is not there yet.
inline constexpr std::array<DatabaseKind, 4> kDatabases = {{
    {"mirror.db", 0, kMirrorVersion, "intents pairs pending positions texts"},
    {"sync.db", 0, kSyncVersion, "intents pairs partners pending"},
    {"uids.db", 0, kUidsVersion, "uids"},
    {"device.db", device::kApplicationId, device::kSchemaVersion, ""},
}};
inline constexpr const DatabaseKind& kDeviceDatabase = kDatabases.back();

// The kind of a database by its path in the folder; null when it is none.
const DatabaseKind* DatabaseOf(std::string_view path);

// Whether a path, of a folder's file and with "/" between its parts, is one that a device has and that is worth being
// kept: a database, a change log, the book of sessions, or any name in Documents/. There is no way out of the folder by
// such a path.
bool IsDevicePath(std::string_view path);

// Whether a name in the folder itself is a device's, be it of something that nobody keeps.
bool IsDeviceName(std::string_view name);

// A file as it was when it was looked at. While all of it stays the same, nobody has written to it.
struct SeenFile {
  std::string path;  // in the device's folder
  uint64_t inode = 0;
  int64_t size = 0;
  int64_t modified = 0;  // nanoseconds since 1970

  bool operator==(const SeenFile&) const = default;
};

struct SeenFiles {
  std::vector<SeenFile> files;  // by path
  std::vector<std::string>
      left_out;         // what is there and not kept: links, and names that are not a device's
  std::string failure;  // empty when everything was seen
};

enum class Parts { kAll, kDocuments };

// The files of a device that are no databases.
SeenFiles LookAtFiles(const std::string& device_folder, Parts parts);

}  // namespace client
