// Change logs and the databases beside the stores refer to objects, so they are copied before the objects are: what is
// written in between is in the store and not told yet, as when a program changes the store by itself, and the next opening
// of a change log finds it.
//
// While they are copied the folders of the change logs are held, as by any program that works with a store, so that none
// of those comes in between. Where one is in use for long, or cannot be held, everything is looked at a second time after
// the databases: where nothing has been written meanwhile, all is of one moment, and of a program that has its log open a
// state that it could have been killed in. Otherwise the copy is made again.
#include "client/device_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>
#include <system_error>
#include <thread>

#include "btosif/osif_util/log_folder_use.h"
#include "btosif/osif_util/stores.h"
#include "client/database_copy.h"
#include "client/descriptor.h"
#include "client/digest.h"
#include "client/interrupt.h"
#include "client/temp_file.h"
#include "client/texts.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kPatience = 2'000;  // milliseconds, for each folder of logs
constexpr int kAttempts = 8;
constexpr std::chrono::milliseconds kBetweenAttempts{100};

bool HasLogs(const std::string& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    if (entry->path().string().ends_with("_change.log")) return true;
  }
  return false;
}

// The folders of the change logs of a device, held against other programs.
class LogHolds {
 public:
  explicit LogHolds(const std::string& device_folder) {
    std::vector<std::string> folders = {device_folder + "/Sync"};
    for (const StoreRow& row : kStoreRows) folders.push_back(folders[0] + "/" + row.name);
    for (size_t i = 0; i < folders.size(); ++i) {
      if (!HasLogs(folders[i])) continue;
      if (access(folders[i].c_str(), W_OK) != 0) {
        are_all_held_ = false;
        continue;
      }
      const WideText folder = ToWide(folders[i]);
      if (uses_[i].Begin(folder, kPatience) == LogFolderUse::Result::kHeld) continue;
      are_all_held_ = false;
      user_ = LogFolderUser(folder).value_or(0);
    }
  }

  bool are_all_held() const { return are_all_held_; }
  // A program that holds one of those that could not be held; 0 when none is known.
  uint32_t user() const { return user_; }

 private:
  std::array<LogFolderUse, kStoreRows.size() + 1> uses_;
  bool are_all_held_ = true;
  uint32_t user_ = 0;
};

// Empty, or why not. `sum` receives that of the bytes.
std::string CopyFile(const std::string& from, const std::string& to, std::string& sum) {
  std::error_code error;
  fs::create_directories(fs::path(to).parent_path(), error);
  if (error) return to + ": " + error.message();
  const Descriptor source(open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (source.get() < 0) return from + ": " + std::strerror(errno);
  const Descriptor target(open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (target.get() < 0) return to + ": " + std::strerror(errno);
  struct stat state {};
  if (fstat(source.get(), &state) != 0) return from + ": " + std::strerror(errno);
  std::vector<char> buffer(size_t{1} << 16);
  Sha256Sum sums;
  for (;;) {
    const ssize_t got = read(source.get(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return from + ": " + std::strerror(errno);
    if (got == 0) break;
    const std::string_view bytes(buffer.data(), static_cast<size_t>(got));
    sums.Add(bytes);
    if (!WriteAll(target.get(), bytes)) return to + ": " + std::strerror(errno);
  }
  const std::array<timespec, 2> times = {state.st_atim, state.st_mtim};
  futimens(target.get(), times.data());
  sum = sums.Take();
  return {};
}

std::string SumOf(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  std::vector<char> buffer(size_t{1} << 16);
  Sha256Sum sums;
  for (;;) {
    const ssize_t got = read(file.get(), buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return {};
    if (got == 0) return sums.Take();
    sums.Add({buffer.data(), static_cast<size_t>(got)});
  }
}

// One attempt.
class Copying {
 public:
  Copying(const std::string& from, const std::string& to, Parts parts)
      : from_(from), to_(to), parts_(parts) {}

  // Whether what was copied is of one moment.
  bool is_whole() const { return is_whole_; }

  DeviceCopy Run(const LogHolds* holds) {
    DeviceCopy copy;
    SeenFiles before = LookAtFiles(from_, parts_);
    copy.failure = before.failure;
    if (copy.failure.empty()) CopyFiles(before, copy);
    if (copy.failure.empty()) CopyDatabases(copy);
    if (!copy.failure.empty()) {
      // Files come and go under a program that does not hold the logs; that is no failure yet.
      is_whole_ = LookAtFiles(from_, parts_).files == before.files;
      return copy;
    }
    copy.left_out = std::move(before.left_out);
    const bool may_change = holds == nullptr || !holds->are_all_held();
    is_whole_ = IsAsBefore(before, may_change);
    return copy;
  }

 private:
  void CopyFiles(const SeenFiles& seen, DeviceCopy& copy) {
    for (const SeenFile& file : seen.files) {
      if (WasInterrupted()) copy.failure = "interrupted";
      if (copy.failure.empty()) {
        copy.failure = CopyFile(from_ + "/" + file.path, to_ + "/" + file.path, sums_[file.path]);
      }
      if (!copy.failure.empty()) return;
      copy.paths.push_back(file.path);
    }
  }

  void CopyDatabases(DeviceCopy& copy) {
    for (const DatabaseKind& kind : kDatabases) {
      const std::string name(kind.file);
      const bool is_wanted = parts_ == Parts::kAll || name == "device.db" || name == "uids.db";
      std::error_code error;
      if (!is_wanted || !fs::exists(from_ + "/" + name, error)) continue;
      copy.failure = CopyDatabase(from_ + "/" + name, to_ + "/" + name);
      if (!copy.failure.empty()) return;
      copy.paths.insert(copy.paths.begin(), name);
    }
  }

  // A clock that stands still between two writes tells nothing, so where somebody may write the bytes decide.
  bool IsAsBefore(const SeenFiles& before, bool compares_bytes) {
    if (LookAtFiles(from_, parts_).files != before.files) return false;
    return !compares_bytes || std::ranges::all_of(sums_, [&](const auto& file) {
      return SumOf(from_ + "/" + file.first) == file.second;
    });
  }

  const std::string& from_;
  const std::string& to_;
  const Parts parts_;
  std::map<std::string, std::string> sums_;
  bool is_whole_ = false;
};

void Clear(const std::string& folder) {
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace

DeviceCopy CopyDevice(const std::string& from, const std::string& to, Parts parts) {
  DeviceCopy copy;
  uint32_t user = 0;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(kBetweenAttempts);
    Clear(to);
    // What only copies notes and objects needs no log.
    std::optional<LogHolds> holds;
    if (parts == Parts::kAll) holds.emplace(from);
    Copying copying(from, to, parts);
    copy = copying.Run(holds ? &*holds : nullptr);
    if (copying.is_whole() || WasInterrupted()) return copy;
    if (holds) user = holds->user();
  }
  if (copy.failure.empty()) {
    copy.failure = from + ": another program " +
                   (user == 0 ? "" : "(process " + std::to_string(user) + ") ") +
                   "goes on writing to it";
  }
  return copy;
}

}  // namespace client
