// Kills a child process at the nth system call that changes a file.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <type_traits>

namespace fault {

// kBeforeTheCall: the call does not take place. kInTheMiddleOfALogWrite: only writes to "*.log" count, and
// half of the bytes arrive.
enum class KillPlace { kBeforeTheCall, kInTheMiddleOfALogWrite };

struct SystemCall {
  pid_t process;
  uint64_t number;
  uint64_t args[6];
};

// False under an emulator of user programs, which knows no such call. What every kernel knows, it refuses here
// for want of a process 0.
inline bool CanTrace() { return ptrace(PTRACE_CONT, 0, nullptr, nullptr) == 0 || errno != ENOSYS; }

inline bool ChangesAFile(const SystemCall& call) {
  switch (call.number) {
    case SYS_write:
    case SYS_pwrite64:
    case SYS_writev:
    case SYS_pwritev:
    case SYS_rename:
    case SYS_renameat:
    case SYS_renameat2:
    case SYS_unlink:
    case SYS_unlinkat:
    case SYS_truncate:
    case SYS_ftruncate:
    case SYS_fsync:
    case SYS_fdatasync:
      return true;
    case SYS_open:
      return (call.args[1] & (O_CREAT | O_TRUNC)) != 0;
    case SYS_openat:
      return (call.args[2] & (O_CREAT | O_TRUNC)) != 0;
    default:
      return false;
  }
}

inline std::string FileOf(const SystemCall& call) {
  return "/proc/" + std::to_string(call.process) + "/fd/" + std::to_string(call.args[0]);
}

inline bool WritesToALog(const SystemCall& call) {
  if (call.number != SYS_write) return false;
  std::error_code error;
  return std::filesystem::read_symlink(FileOf(call), error).extension() == ".log";
}

// Where the call would have written: at the end of a file that is appended to, else at its position.
inline off_t PlaceOf(const SystemCall& call, int file) {
  std::ifstream info("/proc/" + std::to_string(call.process) + "/fdinfo/" +
                     std::to_string(call.args[0]));
  std::string word;
  off_t position = 0;
  int flags = 0;
  info >> word >> position >> word >> std::oct >> flags;
  return (flags & O_APPEND) != 0 ? lseek(file, 0, SEEK_END) : position;
}

inline void WriteHalf(const SystemCall& call) {
  std::string bytes(static_cast<size_t>(call.args[2] / 2), '\0');
  const std::string memory_path = "/proc/" + std::to_string(call.process) + "/mem";
  const int memory = open(memory_path.c_str(), O_RDONLY);
  const ssize_t got = pread(memory, bytes.data(), bytes.size(), static_cast<off_t>(call.args[1]));
  close(memory);
  EXPECT_EQ(got, static_cast<ssize_t>(bytes.size())) << memory_path;
  const int log = open(FileOf(call).c_str(), O_WRONLY);
  EXPECT_EQ(pwrite(log, bytes.data(), bytes.size(), PlaceOf(call, log)),
            static_cast<ssize_t>(bytes.size()));
  close(log);
}

// Runs the child until its next stop at the entry of a system call. False when it has ended.
inline bool NextCall(pid_t child, int& status, SystemCall& call) {
  for (;;) {
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, &status, 0);
    if (WIFEXITED(status) || WIFSIGNALED(status)) return false;
    if (!WIFSTOPPED(status) || WSTOPSIG(status) != (SIGTRAP | 0x80)) continue;
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
    if (info.op != PTRACE_SYSCALL_INFO_ENTRY) continue;
    call = {child, info.entry.nr, {}};
    std::copy(std::begin(info.entry.args), std::end(info.entry.args), call.args);
    return true;
  }
}

// Forks; the child has run `prepare` undisturbed and stands before `work`, each system call of which can be looked at.
inline pid_t StartTraced(const std::function<void()>& prepare, const std::function<void()>& work,
                         int& status) {
  const pid_t child = fork();
  if (child == 0) {
    prepare();
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
    raise(SIGSTOP);
    work();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSTOPPED(status)) << "the child cannot be traced";
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  return child;
}

// A child runs `prepare` undisturbed and then `work`, in which it is killed at the nth place.
// True when it was killed there; a child that comes to its end must have met no failed expectation.
inline bool RunAndKill(const std::function<void()>& prepare, const std::function<void()>& work,
                       KillPlace place, int nth) {
  int status = 0;
  const pid_t child = StartTraced(prepare, work, status);
  for (SystemCall call; NextCall(child, status, call);) {
    const bool in_the_middle = place == KillPlace::kInTheMiddleOfALogWrite;
    if (!(in_the_middle ? WritesToALog(call) : ChangesAFile(call)) || --nth > 0) continue;
    if (in_the_middle) WriteHalf(call);
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return true;
  }
  EXPECT_TRUE(WIFEXITED(status)) << "signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  return false;
}

// A plain record that the child fills and its parent reads after its end.
template <typename T>
class SharedWithChild {
 public:
  SharedWithChild()
      : record_(new (mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                          -1, 0)) T{}) {
    static_assert(std::is_trivially_destructible_v<T>);
  }
  ~SharedWithChild() { munmap(record_, sizeof(T)); }
  SharedWithChild(const SharedWithChild&) = delete;
  SharedWithChild& operator=(const SharedWithChild&) = delete;

  T& operator*() { return *record_; }
  T* operator->() { return record_; }

 private:
  T* record_;
};

}  // namespace fault
