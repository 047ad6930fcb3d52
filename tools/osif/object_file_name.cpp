#include "tools/osif/object_file_name.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "platform/device/device.h"

namespace command {
namespace {

namespace fs = std::filesystem;

// Links are followed, whatever of the path exists.
fs::path Resolved(const fs::path& path) {
  std::error_code error;
  fs::path resolved = fs::weakly_canonical(fs::absolute(path, error), error);
  return error ? path : resolved;
}

// The database with the files that SQLite keeps beside it, and the change logs.
bool IsTheDevicesOwn(const std::string& file_name) {
  const fs::path file = Resolved(file_name);
  const fs::path folder = Resolved(device::Folder());
  const bool has_its_name = file.filename().string().starts_with("device.db");
  if (has_its_name && file.parent_path() == folder) return true;
  const fs::path logs = Resolved(folder / "Sync");
  if (file.parent_path() == logs || file.parent_path().parent_path() == logs) return true;
  std::error_code error;  // one of the two does not exist: they are not the same
  return fs::equivalent(file, folder / "device.db", error);
}

}  // namespace

std::string WhyNoObjectFile(const std::string& file_name) {
  if (IsTheDevicesOwn(file_name)) return "belongs to the device itself and is left alone";
  struct stat status {};
  if (stat(file_name.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return {};
  return S_ISDIR(status.st_mode) ? "is a directory" : "is no regular file";
}

}  // namespace command
