// The child's system calls are looked at where they begin and where they end: what they are about to do is
// taken from the first, and whether they did it from the second. So nothing in the child is replaced, and
// what the C library, the C++ library and SQLite do is seen alike. Only what goes through mapped memory is
// not; nothing but the index of a database's log does.
//
// A disk is built from the folder as it was before, by applying of all changes those that are on it.

#include "tests/holds/disk_journal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <optional>

#include "tests/support/bytes.h"

namespace holds {
namespace {

namespace fs = std::filesystem;

constexpr size_t kBlock = 512;
constexpr int kNoFile = -1;  // what `Tell` writes to

bool IsSharedMemory(const std::string& path) { return path.ends_with("-shm"); }

// ---- A child and its system calls -------------------------------------------------------------------

struct SystemCall {
  uint64_t number;
  uint64_t args[6];
};

std::string ReadMemory(pid_t process, uint64_t address, size_t size) {
  std::string bytes(size, '\0');
  const iovec here = {bytes.data(), size};
  const iovec there = {reinterpret_cast<void*>(address), size};
  const ssize_t got = process_vm_readv(process, &here, 1, &there, 1, 0);
  bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
  return bytes;
}

// A text up to its zero, which may be the last thing before memory that is not there.
std::string ReadText(pid_t process, uint64_t address) {
  constexpr size_t kPage = 4096;
  std::string text;
  while (text.size() < PATH_MAX) {
    const size_t left_in_page = kPage - (address + text.size()) % kPage;
    const std::string part = ReadMemory(process, address + text.size(), left_in_page);
    const size_t end = part.find('\0');
    text += part.substr(0, end);
    if (end != std::string::npos || part.empty()) break;
  }
  return text;
}

}  // namespace

// Takes down what one child does in one folder.
class Recorder {
 public:
  Recorder(const std::string& folder, Journal& journal) : folder_(folder), journal_(journal) {
    journal_.before_ = ReadFolder(folder);
    for (const auto& [path, bytes] : journal_.before_) {
      if (!path.ends_with('/')) journal_.numbers_[path] = next_number_++;
    }
    names_ = journal_.numbers_;
  }

  void Run(pid_t child, const std::function<void(const std::string&)>& told) {
    child_ = child;
    std::optional<Change> begun;
    for (;;) {
      int status = 0;
      ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
      waitpid(child, &status, 0);
      if (!WIFSTOPPED(status)) {
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child failed";
        return;
      }
      if (WSTOPSIG(status) != (SIGTRAP | 0x80)) continue;
      __ptrace_syscall_info info{};
      ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
      if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
        SystemCall call = {info.entry.nr, {}};
        std::copy(std::begin(info.entry.args), std::end(info.entry.args), call.args);
        begun = ChangeOf(call);
        if (begun && begun->kind == Change::Kind::kTold) {
          told(begun->bytes);
          journal_.changes_.push_back(*std::exchange(begun, std::nullopt));
        }
      } else if (info.op == PTRACE_SYSCALL_INFO_EXIT && begun) {
        if (info.exit.rval >= 0) Note(*begun, info.exit.rval);
        begun.reset();
      }
    }
  }

 private:
  // The path in the folder; nothing for one outside of it.
  std::optional<std::string> Inside(const std::string& path) const {
    const std::string normal = fs::path(path).lexically_normal().string();
    if (!normal.starts_with(folder_ + "/")) return std::nullopt;
    std::string inside = normal.substr(folder_.size() + 1);
    while (inside.ends_with('/')) inside.pop_back();
    if (inside.empty() || IsSharedMemory(inside)) return std::nullopt;
    return inside;
  }

  std::optional<std::string> PathAt(uint64_t directory, uint64_t address) const {
    const std::string path = ReadText(child_, address);
    if (path.starts_with('/')) return Inside(path);
    EXPECT_EQ(static_cast<int>(directory), AT_FDCWD) << "a path that is not understood: " << path;
    return std::nullopt;
  }

  std::string FileAt(uint64_t descriptor) const {
    return "/proc/" + std::to_string(child_) + "/fd/" +
           std::to_string(static_cast<int>(descriptor));
  }

  // The number of an open file; nothing for one outside of the folder, and for one that has no name any more.
  std::optional<int> NumberAt(uint64_t descriptor) const {
    std::error_code error;
    const auto path = Inside(fs::read_symlink(FileAt(descriptor), error).string());
    if (error || !path) return std::nullopt;
    const auto found = names_.find(*path);
    if (found == names_.end()) return std::nullopt;
    return found->second;
  }

  bool IsFolder(uint64_t descriptor) const {
    std::error_code error;
    return fs::is_directory(FileAt(descriptor), error);
  }

  // Where a write without an offset goes: the end of a file that is appended to, else the file's position.
  int64_t PlaceOf(uint64_t descriptor) const {
    std::ifstream info("/proc/" + std::to_string(child_) + "/fdinfo/" +
                       std::to_string(static_cast<int>(descriptor)));
    std::string word;
    int64_t position = 0;
    int flags = 0;
    info >> word >> position >> word >> std::oct >> flags;
    if ((flags & O_APPEND) == 0) return position;
    struct stat status {};
    stat(FileAt(descriptor).c_str(), &status);
    return status.st_size;
  }

  std::optional<Change> Write(const SystemCall& call, std::optional<int64_t> offset) const {
    const std::string bytes = ReadMemory(child_, call.args[1], call.args[2]);
    if (static_cast<int>(call.args[0]) == kNoFile) {
      return Change{.kind = Change::Kind::kTold, .bytes = bytes};
    }
    const auto file = NumberAt(call.args[0]);
    if (!file) return std::nullopt;
    return Change{.kind = Change::Kind::kWrite,
                  .file = *file,
                  .offset = offset ? *offset : PlaceOf(call.args[0]),
                  .bytes = bytes};
  }

  std::optional<Change> Open(const std::optional<std::string>& path, uint64_t flags) const {
    if (!path) return std::nullopt;
    const auto found = names_.find(*path);
    if (found == names_.end()) {
      if ((flags & O_CREAT) == 0) return std::nullopt;
      return Change{.kind = Change::Kind::kCreate, .path = *path};
    }
    if ((flags & O_TRUNC) == 0) return std::nullopt;
    return Change{.kind = Change::Kind::kResize, .file = found->second};
  }

  std::optional<Change> Resize(uint64_t descriptor, uint64_t size) const {
    const auto file = NumberAt(descriptor);
    if (!file) return std::nullopt;
    return Change{
        .kind = Change::Kind::kResize, .file = *file, .offset = static_cast<int64_t>(size)};
  }

  // A flush of the folder itself is one of the names alone.
  std::optional<Change> Flush(uint64_t descriptor) const {
    const auto file = NumberAt(descriptor);
    if (!file && !IsFolder(descriptor)) return std::nullopt;
    return Change{.kind = Change::Kind::kFlush, .file = file.value_or(-1)};
  }

  static std::optional<Change> OfPath(Change::Kind kind, const std::optional<std::string>& path) {
    if (!path) return std::nullopt;
    return Change{.kind = kind, .path = *path};
  }

  static std::optional<Change> Rename(const std::optional<std::string>& from,
                                      const std::optional<std::string>& to) {
    if (!from || !to) return std::nullopt;
    return Change{.kind = Change::Kind::kRename, .path = *from, .new_path = *to};
  }

  // What a call is about to do; nothing when that is no change in the folder.
  std::optional<Change> ChangeOf(const SystemCall& call) const {
    const auto* args = call.args;
    constexpr auto kHere = static_cast<uint64_t>(AT_FDCWD);
    switch (call.number) {
      case SYS_write:
        return Write(call, std::nullopt);
      case SYS_pwrite64:
        return Write(call, static_cast<int64_t>(args[3]));
      case SYS_openat:
        return Open(PathAt(args[0], args[1]), args[2]);
      case SYS_ftruncate:
        return Resize(args[0], args[1]);
      case SYS_fsync:
      case SYS_fdatasync:
        return Flush(args[0]);
      case SYS_mkdirat:
        return OfPath(Change::Kind::kMakeFolder, PathAt(args[0], args[1]));
      case SYS_unlinkat:
        return OfPath(Change::Kind::kRemove, PathAt(args[0], args[1]));
      case SYS_renameat:
      case SYS_renameat2:
        return Rename(PathAt(args[0], args[1]), PathAt(args[2], args[3]));
#ifdef SYS_open  // systems of today have only those calls that take a folder
      case SYS_open:
        return Open(PathAt(kHere, args[0]), args[1]);
      case SYS_creat:
        return Open(PathAt(kHere, args[0]), O_CREAT | O_TRUNC);
      case SYS_mkdir:
        return OfPath(Change::Kind::kMakeFolder, PathAt(kHere, args[0]));
      case SYS_unlink:
      case SYS_rmdir:
        return OfPath(Change::Kind::kRemove, PathAt(kHere, args[0]));
      case SYS_rename:
        return Rename(PathAt(kHere, args[0]), PathAt(kHere, args[1]));
#endif
      case SYS_writev:
      case SYS_pwritev:
      case SYS_fallocate:
      case SYS_copy_file_range:
      case SYS_sendfile:
        EXPECT_FALSE(NumberAt(args[0])) << "system call " << call.number << " is not understood";
        return std::nullopt;
      default:
        return std::nullopt;
    }
  }

  // A change that was made, and for a write how much of it.
  void Note(Change change, int64_t result) {
    switch (change.kind) {
      case Change::Kind::kWrite:
        change.bytes.resize(static_cast<size_t>(result));
        break;
      case Change::Kind::kCreate:
        change.file = next_number_++;
        names_[change.path] = change.file;
        break;
      case Change::Kind::kRename: {
        const auto found = names_.find(change.path);
        ASSERT_NE(found, names_.end()) << change.path;
        const int file = found->second;
        names_.erase(found);
        names_[change.new_path] = file;
        break;
      }
      case Change::Kind::kRemove:
        names_.erase(change.path);
        break;
      default:
        break;
    }
    journal_.changes_.push_back(std::move(change));
  }

  std::string folder_;
  Journal& journal_;
  pid_t child_ = 0;
  int next_number_ = 0;
  std::map<std::string, int> names_;  // as they are now
};

// cppcheck-suppress invalidFunctionArg ; that there is no such file is what the parent knows it by
void Tell(const std::string& text) { EXPECT_EQ(write(kNoFile, text.data(), text.size()), -1); }

Journal Journal::Record(const std::string& folder, const std::function<void()>& work,
                        const std::function<void(const std::string&)>& told) {
  Journal journal;
  Recorder recorder(folder, journal);
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
    raise(SIGSTOP);
    work();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSTOPPED(status)) << "the child cannot be traced";
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  recorder.Run(child, told);
  return journal;
}

// ---- Disks ------------------------------------------------------------------------------------------

namespace {

// The bytes of files, to which changes come one after the other.
class Contents {
 public:
  void Put(int file, std::string bytes) { files_[file] = std::move(bytes); }
  const std::string& Of(int file) { return files_[file]; }

  void Resize(int file, int64_t size) { files_[file].resize(static_cast<size_t>(size)); }

  // Writes those blocks that `is_kept` takes.
  template <typename IsKept>
  void Write(const Change& write, IsKept is_kept) {
    std::string& bytes = files_[write.file];
    const auto begin = static_cast<size_t>(write.offset);
    const size_t end = begin + write.bytes.size();
    for (size_t at = begin; at < end;) {
      const size_t next = std::min(end, (at / kBlock + 1) * kBlock);
      if (is_kept()) {
        if (bytes.size() < next) bytes.resize(next);
        bytes.replace(at, next - at, write.bytes, at - begin, next - at);
      }
      at = next;
    }
  }

 private:
  std::map<int, std::string> files_;
};

bool IsOfNames(const Change& change) {
  switch (change.kind) {
    case Change::Kind::kResize:
    case Change::Kind::kCreate:
    case Change::Kind::kMakeFolder:
    case Change::Kind::kRename:
    case Change::Kind::kRemove:
      return true;
    default:
      return false;
  }
}

// Until where names are on the disk.
size_t EndOfNames(size_t flushed, size_t place, Journal::Unflushed names, std::mt19937& random) {
  switch (names) {
    case Journal::Unflushed::kLost:
      return flushed;
    case Journal::Unflushed::kKept:
      return place;
    case Journal::Unflushed::kRandom:
      break;
  }
  return std::uniform_int_distribution<size_t>(flushed, place)(random);
}

}  // namespace

Files Journal::Cut(size_t place, Unflushed bytes, Unflushed names, std::mt19937& random) const {
  std::map<int, size_t> flushed;  // after the last flush of each file
  size_t any_flushed = 0;
  for (size_t i = 0; i < place; ++i) {
    if (changes_[i].kind != Change::Kind::kFlush) continue;
    flushed[changes_[i].file] = i;
    any_flushed = i;
  }
  const size_t names_end = EndOfNames(any_flushed, place, names, random);
  // Some disks have written most of it, some next to nothing, some all of one file and nothing of another.
  std::bernoulli_distribution is_kept(std::uniform_real_distribution<>(0, 1)(random));
  const bool goes_by_files = std::bernoulli_distribution()(random);
  std::map<int, bool> kept_files;

  Files disk;
  Contents contents;
  std::map<std::string, int> numbers = numbers_;
  for (const auto& [path, data] : before_) {
    if (path.ends_with('/')) {
      disk[path];
    } else {
      contents.Put(numbers_.at(path), data);
    }
  }
  for (size_t i = 0; i < place; ++i) {
    const Change& change = changes_[i];
    if (IsOfNames(change) && i >= names_end) continue;
    switch (change.kind) {
      case Change::Kind::kWrite: {
        const auto found = flushed.find(change.file);
        const bool is_flushed = found != flushed.end() && i < found->second;
        contents.Write(change, [&] {
          if (is_flushed || bytes == Unflushed::kKept) return true;
          if (bytes == Unflushed::kLost) return false;
          if (!goes_by_files) return is_kept(random);
          return kept_files.try_emplace(change.file, is_kept(random)).first->second;
        });
        break;
      }
      case Change::Kind::kResize:
        contents.Resize(change.file, change.offset);
        break;
      case Change::Kind::kCreate:
        numbers[change.path] = change.file;
        break;
      case Change::Kind::kMakeFolder:
        disk[change.path + "/"];
        break;
      case Change::Kind::kRename:
        numbers[change.new_path] = numbers.at(change.path);
        numbers.erase(change.path);
        break;
      case Change::Kind::kRemove:
        numbers.erase(change.path);
        disk.erase(change.path + "/");
        break;
      default:
        break;
    }
  }
  for (const auto& [path, number] : numbers) disk[path] = contents.Of(number);
  return disk;
}

// ---- Folders ----------------------------------------------------------------------------------------

Files ReadFolder(const std::string& folder) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().string().substr(folder.size() + 1);
    if (IsSharedMemory(path)) continue;
    if (entry.is_directory()) {
      files[path + "/"];
    } else {
      files[path] = support::BytesOf(entry.path());
    }
  }
  return files;
}

void WriteFolder(const std::string& folder, const Files& files) {
  for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry.path());
  for (const auto& [path, bytes] : files) {
    const fs::path target = fs::path(folder) / path;
    fs::create_directories(target.parent_path());
    if (!path.ends_with('/')) support::PutBytes(target, bytes);
  }
}

}  // namespace holds
