// Everything goes through the opened folder and never through a path, so that a folder which is moved, or replaced by a
// link, is not left. A file is written under another name, which ends with ".tmp" and which other programs pass over, and
// put in place when it is whole and on the disk. Between a look at the file and the renaming another program can still
// write it: that window is a few microseconds, and the systems offer no smaller one.
#include "mirror/folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "client/descriptor.h"
#include "client/temp_file.h"
#include "dialects/charsets.h"

namespace mirror {
namespace {

constexpr std::string_view kTemporary = ".tmp";
constexpr std::string_view kKept = ".conflict";
constexpr int kMostKept = 1000;
constexpr size_t kLongestName = 255;  // bytes, on the file systems of today

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

// A file's name with something after it. Of the longest names the end gives way.
std::string Extended(const std::string& name, const std::string& ending) {
  return name.substr(0, kLongestName - ending.size()) + ending;
}

FileStamp StampOf(const struct stat& status) {
  return {int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
          int64_t{status.st_size}, static_cast<int64_t>(status.st_ino)};
}

// Why a thing in the folder is none that holds an object; empty when it may.
std::string WhyNoFile(const struct stat& status) {
  if (S_ISLNK(status.st_mode)) return "is a link";
  if (S_ISDIR(status.st_mode)) return "is a folder";
  if (!S_ISREG(status.st_mode)) return "is no plain file";
  if (status.st_size > Folder::kMostBytes) return "has more than 16 MB";
  return {};
}

bool ReadAll(int handle, std::string& text) {
  size_t size = 0;
  while (size < text.size()) {
    const ssize_t count = read(handle, text.data() + size, text.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    size += static_cast<size_t>(count);
  }
  return size == text.size();
}

}  // namespace

Folder::Folder(const std::string& path, std::string_view ending) : ending_(ending) {
  const std::unique_ptr<char, decltype(&std::free)> whole(realpath(path.c_str(), nullptr),
                                                          std::free);
  path_ = whole ? whole.get() : path;
  handle_ = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle_ < 0) why_not_ = path + ": " + std::strerror(errno);
}

Folder::~Folder() {
  if (handle_ >= 0) close(handle_);
}

bool Folder::Fail(const std::string& why) {
  why_not_ = why;
  return false;
}

bool Folder::FailAs(int error) { return Fail(std::strerror(error)); }

bool Folder::List(std::vector<FoundFile>& files, std::vector<RefusedFile>& refused) {
  // The handle goes with what reads the folder, and its place in it.
  const int own = openat(handle_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, CloseFolder> folder(own < 0 ? nullptr : fdopendir(own));
  if (!folder) return Fail(path_ + ": " + std::strerror(errno));
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(folder.get());
    if (entry == nullptr) break;
    const std::string name = entry->d_name;
    if (name.front() == '.' || !name.ends_with(ending_) || name.size() == ending_.size()) continue;
    struct stat status = {};
    if (fstatat(handle_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) continue;  // gone meanwhile
      refused.push_back({name, std::strerror(errno)});
    } else if (!dialects::IsUtf8(name)) {
      refused.push_back({name, "its name is not UTF-8"});
    } else if (std::string why = WhyNoFile(status); !why.empty()) {
      refused.push_back({name, std::move(why)});
    } else {
      files.push_back({name, StampOf(status)});
    }
  }
  if (errno != 0) return Fail(path_ + ": " + std::strerror(errno));
  std::ranges::sort(files, {}, &FoundFile::name);
  std::ranges::sort(refused, {}, &RefusedFile::name);
  return true;
}

bool Folder::Read(const std::string& name, std::string& text, FileStamp& stamp) {
  // A pipe that has taken the file's place must not hold up the opening.
  const client::Descriptor file(
      openat(handle_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0) return FailAs(errno);
  struct stat status = {};
  if (fstat(file.get(), &status) != 0) return FailAs(errno);
  if (const std::string why = WhyNoFile(status); !why.empty()) return Fail(why);
  text.resize(static_cast<size_t>(status.st_size));
  struct stat after = {};
  if (!ReadAll(file.get(), text) || fstat(file.get(), &after) != 0 ||
      StampOf(after) != StampOf(status)) {
    return Fail("was changed while it was read");
  }
  stamp = StampOf(status);
  return true;
}

bool Folder::IsFree(const std::string& name) const {
  struct stat status = {};
  return fstatat(handle_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
}

bool Folder::IsAs(const std::string& name, const FileStamp* expected) {
  struct stat status = {};
  const bool is_there = fstatat(handle_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  if (!is_there && errno != ENOENT) return FailAs(errno);
  const bool is_expected = is_there == (expected != nullptr) &&
                           (!is_there || (S_ISREG(status.st_mode) && StampOf(status) == *expected));
  return is_expected || Fail("was changed by another program meanwhile");
}

bool Folder::WriteTemporary(const std::string& name, std::string_view text) {
  // What a run that was killed has left may be replaced.
  unlinkat(handle_, name.c_str(), 0);
  const client::Descriptor file(
      openat(handle_, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  if (file.get() < 0) return FailAs(errno);
  if (!client::WriteAll(file.get(), text) || fsync(file.get()) != 0) {
    const int error = errno;
    unlinkat(handle_, name.c_str(), 0);
    return FailAs(error);
  }
  return true;
}

bool Folder::PutInPlace(const std::string& temporary, const std::string& name,
                        const FileStamp* expected, FileStamp& stamp) {
  struct stat status = {};
  if (fstatat(handle_, temporary.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return FailAs(errno);
  }
  if (!IsAs(name, expected)) return false;
  if (renameat(handle_, temporary.c_str(), handle_, name.c_str()) != 0) return FailAs(errno);
  stamp = StampOf(status);
  return true;
}

bool Folder::Write(const std::string& name, std::string_view text, const FileStamp* expected,
                   FileStamp& stamp) {
  const std::string temporary = Extended(name, std::string(kTemporary));
  if (!WriteTemporary(temporary, text)) return false;
  if (PutInPlace(temporary, name, expected, stamp)) return true;
  unlinkat(handle_, temporary.c_str(), 0);
  return false;
}

void Folder::Flush() { fsync(handle_); }

bool Folder::Remove(const std::string& name, const FileStamp& expected) {
  if (!IsAs(name, &expected)) return false;
  return unlinkat(handle_, name.c_str(), 0) == 0 || FailAs(errno);
}

bool Folder::Keep(const std::string& name, std::string_view text, std::string& kept_as) {
  for (int number = 1; number <= kMostKept; ++number) {
    kept_as =
        Extended(name, std::string(kKept) + (number == 1 ? "" : "-" + std::to_string(number)));
    if (!IsFree(kept_as)) continue;
    FileStamp ignored;
    return Write(kept_as, text, nullptr, ignored);
  }
  return Fail("there are too many of its conflicts");
}

}  // namespace mirror
