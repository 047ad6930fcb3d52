#include "client/object_file_name.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "client/device_files.h"
#include "platform/device/device.h"

namespace client {
namespace {

namespace fs = std::filesystem;

// Links are followed, whatever of the path exists.
fs::path Resolved(const fs::path& path) {
  std::error_code error;
  fs::path resolved = fs::weakly_canonical(fs::absolute(path, error), error);
  return error ? path : resolved;
}

// The databases with the files that SQLite keeps beside them, and the change logs.
bool IsTheDevicesOwn(const std::string& file_name) {
  const fs::path file = Resolved(file_name);
  const fs::path folder = Resolved(device::Folder());
  const std::string name = file.filename().string();
  const bool has_its_name = std::ranges::any_of(
      kDatabases, [&](const DatabaseKind& kind) { return name.starts_with(kind.file); });
  if (has_its_name && file.parent_path() == folder) return true;
  if (file.string().starts_with(Resolved(folder / "Sync").string() + "/")) return true;
  std::error_code error;  // one of the two does not exist: they are not the same
  return fs::equivalent(file, folder / "device.db", error);
}

std::string WhyNone(const std::string& file_name, bool (*may_be)(mode_t mode)) {
  if (IsTheDevicesOwn(file_name)) return "belongs to the device itself and is left alone";
  struct stat status {};
  if (stat(file_name.c_str(), &status) != 0 || may_be(status.st_mode)) return {};
  return S_ISDIR(status.st_mode) ? std::strerror(EISDIR) : "is no regular file";
}

}  // namespace

std::string WhyNoInputFile(const std::string& file_name) {
  return WhyNone(file_name, [](mode_t mode) { return S_ISREG(mode) || S_ISFIFO(mode); });
}

std::string WhyNoOutputFile(const std::string& file_name) {
  return WhyNone(file_name, [](mode_t mode) { return S_ISREG(mode); });
}

bool IsSameFile(const std::string& file_name, int handle) {
  struct stat named {};
  struct stat open {};
  return stat(file_name.c_str(), &named) == 0 && fstat(handle, &open) == 0 &&
         named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

}  // namespace client
