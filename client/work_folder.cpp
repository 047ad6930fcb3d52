// The folder has a name that all programs with the same work know, and is held by a lock on itself: a lock ends with its
// program, however that ends, so what is found unlocked is nobody's. Between opening and locking, the program that had it
// may have put it in its place or removed it; then the name means another folder, or none, and it is tried again.
#include "client/work_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr int kAttempts = 100;

std::string NameForTemporary() {
  std::error_code error;
  const fs::path folder = fs::temp_directory_path(error);
  std::string path = ((error ? fs::path("/tmp") : folder) / "osif-XXXXXX").string();
  return mkdtemp(path.data()) == nullptr ? std::string() : path;
}

}  // namespace

WorkFolder::WorkFolder(const std::string& path) : path_(path) {
  for (int attempt = 0; attempt < kAttempts && !is_held() && why_not_.empty(); ++attempt) Hold();
  if (is_held() && !Clear()) {
    why_not_ = path_ + ": " + std::strerror(errno);
    close(handle_);
    handle_ = -1;
  }
}

WorkFolder WorkFolder::Temporary() { return WorkFolder(NameForTemporary()); }

WorkFolder::~WorkFolder() {
  if (!is_held()) return;
  std::error_code ignored;
  fs::remove_all(path_, ignored);
  close(handle_);
}

void WorkFolder::Hold() {
  if (mkdir(path_.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    why_not_ = path_ + ": " + std::strerror(errno);
    return;
  }
  handle_ = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (handle_ < 0) {
    if (errno != ENOENT) why_not_ = path_ + ": " + std::strerror(errno);
    return;
  }
  const bool is_free = flock(handle_, LOCK_EX | LOCK_NB) == 0;
  if (is_free && IsStillThere()) return;
  if (!is_free) why_not_ = path_ + ": another program is at work there";
  close(handle_);
  handle_ = -1;
}

bool WorkFolder::IsStillThere() const {
  struct stat named {};
  struct stat held {};
  return lstat(path_.c_str(), &named) == 0 && fstat(handle_, &held) == 0 &&
         named.st_dev == held.st_dev && named.st_ino == held.st_ino;
}

bool WorkFolder::Clear() {
  std::error_code error;
  for (fs::directory_iterator entry(path_, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    std::error_code failed;
    fs::remove_all(entry->path(), failed);
    if (failed) error = failed;
    if (error) break;
  }
  errno = error.value();
  return !error && fchmod(handle_, S_IRWXU) == 0;
}

}  // namespace client
