// Nothing is followed that leads out of the folder: a link in it is left out, whatever it points to.
#include "client/device_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

#include "btosif/osif_util/stores.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDocuments = "Documents";
constexpr std::string_view kLogs = "Sync";
constexpr std::string_view kSessions = "sessions.log";

constexpr size_t kLongestPath = 4000;  // bytes
constexpr size_t kLongestName = 255;
constexpr size_t kDeepest = 32;

// The part of a path before its first "/", taken off it.
std::string_view TakePart(std::string_view& path) {
  const size_t end = path.find('/');
  const std::string_view part = path.substr(0, end);
  path = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
  return part;
}

bool IsSafeName(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && name != "." && name != ".." &&
         name.find('\0') == std::string_view::npos;
}

bool IsSafePath(std::string_view path) {
  if (path.empty() || path.size() > kLongestPath || path.ends_with('/')) return false;
  size_t depth = 0;
  while (!path.empty()) {
    if (!IsSafeName(TakePart(path)) || ++depth > kDeepest) return false;
  }
  return true;
}

// Of the files in a log folder, those that say who uses it are of this moment.
bool IsLogName(std::string_view name) {
  if (name == "pol_in_use.log" || name == "pol_turn.log" || name == "pol_user.log") return false;
  const bool is_plain = std::ranges::all_of(
      name, [](char c) { return (c >= 'a' && c <= 'z') || c == '_' || c == '-' || c == '.'; });
  return is_plain && name.ends_with(".log") &&
         (name.starts_with("pol_") || name == "temp_change.log");
}

bool IsLogPath(std::string_view path) {
  const std::string_view first = TakePart(path);
  if (path.empty()) return IsLogName(first);
  return StoreOfName(first).has_value() && IsLogName(path);
}

bool IsOfDatabase(std::string_view name) {
  return std::ranges::any_of(kDatabases, [&](const DatabaseKind& kind) {
    if (!name.starts_with(kind.file)) return false;
    std::string_view rest = name.substr(kind.file.size());
    if (rest.starts_with(".new")) rest.remove_prefix(4);
    return rest.empty() || rest == "-wal" || rest == "-shm" || rest == "-journal";
  });
}

class Looker {
 public:
  Looker(const std::string& folder, SeenFiles& seen) : folder_(folder), seen_(seen) {}

  void LookInto(const std::string& path) {
    std::error_code error;
    fs::directory_iterator entry(folder_ + "/" + path, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
      Look(path.empty() ? entry->path().filename().string()
                        : path + "/" + entry->path().filename().string());
    }
    if (error && error != std::errc::no_such_file_or_directory) Fail(path, error.value());
  }

 private:
  void Look(const std::string& path) {
    struct stat state {};
    if (lstat((folder_ + "/" + path).c_str(), &state) != 0) {
      // Other programs remove files meanwhile.
      if (errno != ENOENT) Fail(path, errno);
    } else if (S_ISDIR(state.st_mode)) {
      LookIntoFolder(path);
    } else if (!S_ISREG(state.st_mode) || !IsDevicePath(path)) {
      if (!IsOfNow(path)) seen_.left_out.push_back(path);
    } else if (DatabaseOf(path) == nullptr) {
      seen_.files.push_back(
          {path, state.st_ino, state.st_size,
           int64_t{state.st_mtim.tv_sec} * 1'000'000'000 + state.st_mtim.tv_nsec});
    }
  }

  void LookIntoFolder(const std::string& path) {
    if (path == "Temp") return;
    const bool is_kept = path == kLogs || path == kDocuments || path.find('/') != std::string::npos;
    if (is_kept && IsSafePath(path)) {
      LookInto(path);
    } else {
      seen_.left_out.push_back(path);
    }
  }

  // What is there only while programs are at work.
  static bool IsOfNow(std::string_view path) {
    if (path.find('/') == std::string_view::npos) return IsDeviceName(path);
    return path.starts_with("Sync/") &&
           (path.ends_with("/pol_in_use.log") || path.ends_with("/pol_turn.log") ||
            path.ends_with("/pol_user.log"));
  }

  void Fail(const std::string& path, int error) {
    seen_.failure = folder_ + "/" + path + ": " + std::strerror(error);
  }

  const std::string& folder_;
  SeenFiles& seen_;
};

}  // namespace

const DatabaseKind* DatabaseOf(std::string_view path) {
  const auto* found = std::ranges::find(kDatabases, path, &DatabaseKind::file);
  return found == kDatabases.end() ? nullptr : found;
}

bool IsDevicePath(std::string_view path) {
  if (!IsSafePath(path)) return false;
  if (DatabaseOf(path) != nullptr || path == kSessions) return true;
  const std::string_view first = TakePart(path);
  if (path.empty()) return false;
  return first == kDocuments || (first == kLogs && IsLogPath(path));
}

bool IsDeviceName(std::string_view name) {
  static constexpr std::array<std::string_view, 6> kOthers = {
      kDocuments, kLogs, "Temp", kSessions, "sessions.log.lock", "sessions.log.new"};
  return IsOfDatabase(name) || std::ranges::find(kOthers, name) != kOthers.end();
}

SeenFiles LookAtFiles(const std::string& device_folder, Parts parts) {
  SeenFiles seen;
  Looker looker(device_folder, seen);
  looker.LookInto(parts == Parts::kAll ? std::string() : std::string(kDocuments));
  std::ranges::sort(seen.files, {}, &SeenFile::path);
  std::ranges::sort(seen.left_out);
  return seen;
}

}  // namespace client
