// One folder can have several names (with and without "\" at its end, in other case, through a link), and a
// second handle of this program is refused as another program's would be. So whoever holds a folder writes beside
// it which process and which hold of that process it is, and a hold of our own is shared instead of asked for.
//
// Nobody is told when a file is free again; it is tried again and again. So that a program that lets go of the
// folder and at once wants it back is not always quicker than those that wait, only one at a time tries for the
// folder: whoever has the turn, which is a second such file.
#include "btosif/osif_util/log_folder_use.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <vector>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_names.h"
#include "platform/api/process.h"

namespace {

constexpr uint32_t kPause = 20;  // milliseconds between two attempts

// A hold as it is known to all programs.
struct User {
  uint32_t process = 0;
  uint32_t hold = 0;  // of that process
};

std::optional<User> UserOf(WideView folder) {
  const WideText name = LogFolderUserName(folder);
  OsifStream file;
  if (!FILE_Exists(name.c_str()) || FILE_Open(file, name.c_str(), u"r") != 0) return std::nullopt;
  char line[kLineRoom];
  if (FILE_ReadLine(line, file) != 0) return std::nullopt;
  // Ten digits may be more than either number holds.
  constexpr uint64_t kMost = std::numeric_limits<uint32_t>::max();
  uint64_t process = 0;
  uint64_t hold = 0;
  if (std::sscanf(line, "%10" SCNu64 ":%10" SCNu64, &process, &hold) != 2) return std::nullopt;
  if (process > kMost || hold > kMost) return std::nullopt;
  return User{static_cast<uint32_t>(process), static_cast<uint32_t>(hold)};
}

bool WriteUser(WideView folder, const User& user) {
  const WideText name = LogFolderUserName(folder);
  OsifStream file;
  char line[32];
  std::snprintf(line, sizeof line, "%" PRIu32 ":%" PRIu32, user.process, user.hold);
  if (FILE_Open(file, name.c_str(), u"w") != 0) return false;
  const bool is_written = FILE_WriteLine(file, line) == 0;
  return FILE_Close(file, name.c_str()) == 0 && is_written;
}

// A file that nobody else can open meanwhile.
class UnsharedFile {
 public:
  UnsharedFile() = default;
  ~UnsharedFile() { Close(); }
  UnsharedFile(const UnsharedFile&) = delete;
  UnsharedFile& operator=(const UnsharedFile&) = delete;

  // Waits for the file while some of the time is left, and takes what it has waited off it.
  LogFolderUse::Result Open(const WideText& name, uint32_t& milliseconds) {
    constexpr DWORD kNotShared = 0;
    for (;;) {
      file_ = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, kNotShared, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
      if (file_ != INVALID_HANDLE_VALUE) return LogFolderUse::Result::kHeld;
      if (GetLastError() != ERROR_SHARING_VIOLATION) return LogFolderUse::Result::kNotPossible;
      if (milliseconds == 0) return LogFolderUse::Result::kInUse;
      const uint32_t pause = std::min(milliseconds, kPause);
      Sleep(pause);
      milliseconds -= pause;
    }
  }

  void Close() {
    if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
    file_ = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE file_ = INVALID_HANDLE_VALUE;
};

}  // namespace

class LogFolderUse::Hold {
 public:
  Hold() : number_(++last_number_) {
    std::erase_if(All(), [](const std::weak_ptr<Hold>& one) { return one.expired(); });
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

  // Waits until the folder is this hold's.
  Result Begin(WideView folder, uint32_t milliseconds) {
    UnsharedFile turn;
    Result result = turn.Open(LogFolderTurnName(folder), milliseconds);
    if (result == Result::kHeld) result = file_.Open(LogFolderInUseName(folder), milliseconds);
    if (result != Result::kHeld) return result;
    const bool is_known = WriteUser(folder, {GetCurrentProcessId(), number_});
    return is_known ? Result::kHeld : Result::kNotPossible;
  }

  // A hold of this process, as long as it is used.
  static void Add(const std::shared_ptr<Hold>& hold) { All().push_back(hold); }

  // The hold of this process that a folder's user is; null when it is none.
  static std::shared_ptr<Hold> Of(const std::optional<User>& user) {
    if (!user || user->process != GetCurrentProcessId()) return nullptr;
    for (const std::weak_ptr<Hold>& one : All()) {
      auto hold = one.lock();
      if (hold != nullptr && hold->number_ == user->hold) return hold;
    }
    return nullptr;
  }

 private:
  static std::vector<std::weak_ptr<Hold>>& All() {
    static std::vector<std::weak_ptr<Hold>> holds;
    return holds;
  }

  static inline uint32_t last_number_ = 0;

  UnsharedFile file_;
  uint32_t number_;
};

LogFolderUse::Result LogFolderUse::Begin(WideView folder, uint32_t milliseconds) {
  hold_ = Hold::Of(UserOf(folder));
  if (hold_ != nullptr) return Result::kHeld;
  const auto hold = std::make_shared<Hold>();
  const Result result = hold->Begin(folder, milliseconds);
  if (result != Result::kHeld) return result;
  Hold::Add(hold);
  hold_ = hold;
  return Result::kHeld;
}

std::optional<uint32_t> LogFolderUser(WideView folder) {
  const std::optional<User> user = UserOf(folder);
  return user ? std::optional(user->process) : std::nullopt;
}
