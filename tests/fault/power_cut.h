// Cuts the power at the nth system call that changes a file: the process ends there, and of the files in a folder
// only what was flushed to the disk is left.
//
// Names of files are taken to be on the disk at once, in their order, as a journal keeps them: a file is there,
// but what was written to it is not. That is the worst that a file system does which keeps its own structure.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "tests/fault/kill_at_call.h"
#include "tests/support/bytes.h"

namespace fault {

// What is left of bytes that were never flushed: nothing, or half of what a file had grown by.
enum class Unflushed { kNothing, kHalf };

class Disk {
 public:
  // What the folder holds now is on the disk.
  explicit Disk(std::string folder) : folder_(std::move(folder)) {
    ForEachFile([this](const std::string& path) { Flush(path); });
  }

  // The bytes of a file, by any path to it, are now on the disk.
  void Flush(const std::string& path) {
    if (const auto file = FileAt(path)) flushed_[*file] = support::BytesOf(path);
  }

  // Leaves of each file in the folder what a power cut leaves.
  void CutPower(Unflushed unflushed) const {
    ForEachFile([&](const std::string& path) {
      const auto found = flushed_.find(*FileAt(path));
      const std::string flushed = found == flushed_.end() ? std::string() : found->second;
      support::PutBytes(path, Left(flushed, support::BytesOf(path), unflushed));
    });
  }

 private:
  using File =
      std::pair<uint64_t, int64_t>;  // number, and when it was made: numbers are used again

  static std::optional<File> FileAt(const std::string& path) {
    struct statx status {};
    if (statx(AT_FDCWD, path.c_str(), 0, STATX_INO | STATX_BTIME, &status) != 0) {
      return std::nullopt;
    }
    if (!S_ISREG(status.stx_mode)) return std::nullopt;
    return File{status.stx_ino, status.stx_btime.tv_sec * 1'000'000'000 + status.stx_btime.tv_nsec};
  }

  static std::string Left(const std::string& flushed, const std::string& now, Unflushed unflushed) {
    if (unflushed == Unflushed::kNothing || !now.starts_with(flushed)) return flushed;
    return now.substr(0, flushed.size() + (now.size() - flushed.size()) / 2);
  }

  void ForEachFile(const std::function<void(const std::string&)>& action) const {
    for (const auto& file : std::filesystem::directory_iterator(folder_)) {
      if (file.is_regular_file()) action(file.path());
    }
  }

  std::string folder_;
  std::map<File, std::string> flushed_;
};

inline bool Flushes(const SystemCall& call) {
  return call.number == SYS_fsync || call.number == SYS_fdatasync;
}

// A child runs `prepare` undisturbed and then `work`, during which the power is cut before its nth call
// that changes a file, or after its end. True when it was cut before the end.
inline bool RunAndCutPower(const std::string& folder, const std::function<void()>& prepare,
                           const std::function<void()>& work, Unflushed unflushed, int nth) {
  int status = 0;
  const pid_t child = StartTraced(prepare, work, status);
  Disk disk(folder);
  std::optional<std::string> being_flushed;
  bool is_cut = false;
  for (SystemCall call; NextCall(child, status, call);) {
    if (being_flushed) disk.Flush(*being_flushed);
    being_flushed = std::nullopt;
    if (ChangesAFile(call) && --nth == 0) {
      is_cut = true;
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      break;
    }
    if (Flushes(call)) being_flushed = FileOf(call);
  }
  if (!is_cut) {
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    EXPECT_EQ(WEXITSTATUS(status), 0);
  }
  disk.CutPower(unflushed);
  return is_cut;
}

}  // namespace fault
