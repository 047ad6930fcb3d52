// Opening goes in steps, so that what is not ours is never changed: the header and the content of an
// existing database are checked through a read-only connection that makes no files and takes no locks,
// and only then is it opened for use. A new database is made under another name and
// put in place when it is whole. Folders and files are made for their owner alone. A lock on the folder keeps two programs from doing this at once.

#include "platform/device/device.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "platform/device/schema.h"

namespace device {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFolderVariable = "OSIF_DEVICE";
constexpr std::string_view kDatabaseName = "/device.db";
constexpr std::string_view kNewDatabaseName = "/device.db.new";
// Bytes; larger files are checked at their head only.
constexpr uintmax_t kWholeCheckLimit = 1u << 20;

struct Device {
  std::string named;  // the environment's name of the folder, where that alone tells which it is
  std::string folder;
  std::shared_ptr<Database> database;
  OpenError error = OpenError::kNone;
  std::string error_text;
};

Device& State() {
  static Device device;
  return device;
}

std::shared_ptr<Database> Refuse(OpenError error, std::string text) {
  State().error = error;
  State().error_text = std::move(text);
  return nullptr;
}

// Why a file or its folder cannot be used, in the system's words, or else in SQLite's.
std::string ReasonFor(const std::string& path, int sqlite_code) {
  const std::string folder = fs::path(path).parent_path().string();
  if (access(folder.c_str(), R_OK | W_OK | X_OK) != 0) return std::strerror(errno);
  if (access(path.c_str(), R_OK | W_OK) != 0 && errno != ENOENT) return std::strerror(errno);
  return sqlite3_errstr(sqlite_code);
}

std::shared_ptr<Database> RefuseFile(OpenError error, const std::string& path, int sqlite_code) {
  switch (error) {
    case OpenError::kDamaged:
      return Refuse(error, "The device's database '" + path +
                               "' is damaged or belongs to another program. It was left as it is.");
    case OpenError::kNewer:
      return Refuse(error,
                    "The device's database '" + path +
                        "' was made by a newer version of this program. It was left as it is.");
    default:
      return Refuse(error, "The device's database '" + path +
                               "' cannot be used: " + ReasonFor(path, sqlite_code) + ".");
  }
}

OpenError ErrorOf(int sqlite_code) {
  const int primary = sqlite_code & 0xFF;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB ? OpenError::kDamaged
                                                               : OpenError::kAccess;
}

// ---- The folder --------------------------------------------------------------------------------

std::string HomeFolder() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return home;
  passwd entry = {};
  passwd* user = nullptr;
  std::array<char, 16384> texts = {};
  getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &user);
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

fs::path ChosenFolder() {
  const char* chosen = std::getenv(kFolderVariable);
  if (chosen != nullptr && *chosen != '\0') return chosen;
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') return fs::path(data) / "osif";
  return fs::path(HomeFolder()) / ".local/share/osif";
}

// Whatever the user's mask is: what a device holds is its owner's alone.
void MakeFolder(const std::string& folder, std::error_code& error) {
  if (fs::is_directory(folder)) return;
  fs::create_directories(fs::path(folder).parent_path(), error);
  if (error) return;
  const bool is_made = mkdir(folder.c_str(), S_IRWXU) == 0 && chmod(folder.c_str(), S_IRWXU) == 0;
  if (!is_made && errno != EEXIST) error.assign(errno, std::system_category());
  if (!is_made && errno == EEXIST && !fs::is_directory(folder)) {
    error = std::make_error_code(std::errc::not_a_directory);
  }
}

bool MakeFolders(const std::string& folder) {
  for (const char* name : {"", "/Documents", "/Temp"}) {
    std::error_code error;
    MakeFolder(folder + name, error);
    if (error) {
      Refuse(OpenError::kFolder, "The device's folder '" + folder + name +
                                     "' cannot be made: " + error.message() + ".");
      return false;
    }
  }
  return true;
}

// Holds other programs off while this one looks at the database and makes it. Where the file system
// knows no such locks it does nothing.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : handle_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (handle_ >= 0) flock(handle_, LOCK_EX);
  }
  ~FolderLock() {
    if (handle_ >= 0) close(handle_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int handle_;
};

// ---- Checks without a trace --------------------------------------------------------------------

// What the first 100 bytes of a database tell (SQLite's file format, section 1.3).
class Header {
 public:
  static constexpr int kSize = 100;

  explicit Header(const std::array<char, kSize>& bytes) : bytes_(bytes) {}

  bool IsOfDatabase() const { return std::memcmp(bytes_.data(), "SQLite format 3", 16) == 0; }
  uintmax_t FileSize() const {
    const uint32_t page_size = BigEndian(16) >> 16;  // 1 stands for 65536
    return uintmax_t{page_size == 1 ? 65536 : page_size} * BigEndian(28);
  }
  int32_t user_version() const { return static_cast<int32_t>(BigEndian(60)); }
  int32_t application_id() const { return static_cast<int32_t>(BigEndian(68)); }

 private:
  uint32_t BigEndian(size_t offset) const {
    uint32_t number = 0;
    for (size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<uint8_t>(bytes_[offset + i]);
    return number;
  }

  std::array<char, kSize> bytes_;
};

// A file URI under which SQLite opens a database without locks, journals or shared memory.
std::string ImmutableUri(const std::string& path) {
  std::string uri = "file:";
  for (char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      constexpr char kDigits[] = "0123456789ABCDEF";
      uri += {'%', kDigits[static_cast<uint8_t>(c) >> 4], kDigits[c & 0xF]};
    } else {
      uri += c;
    }
  }
  return uri + "?immutable=1";
}

// Looks at a database file as it stands. Even its plain bytes are read through SQLite: closing a file
// of our own would drop the locks that this process's other connections hold on the same one.
class Glance {
 public:
  explicit Glance(const std::string& path) {
    code_ = sqlite3_open_v2(ImmutableUri(path).c_str(), &handle_,
                            SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
  }
  ~Glance() { sqlite3_close(handle_); }
  Glance(const Glance&) = delete;
  Glance& operator=(const Glance&) = delete;

  bool is_open() const { return code_ == SQLITE_OK; }

  // Nothing when the file is shorter than a header.
  std::optional<Header> ReadHeader() {
    std::array<char, Header::kSize> bytes;
    sqlite3_file* file = nullptr;
    sqlite3_file_control(handle_, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    if (file == nullptr || file->pMethods == nullptr ||
        file->pMethods->xRead(file, bytes.data(), Header::kSize, 0) != SQLITE_OK) {
      return std::nullopt;
    }
    return Header(bytes);
  }

  // A whole check reads all pages, which for a large file takes longer than anybody waits; there the tables'
  // list must do.
  bool ContentIsSound(uintmax_t size) {
    sqlite3_stmt* statement = nullptr;
    const char* check = size <= kWholeCheckLimit
                            ? "PRAGMA quick_check(1)"
                            : "SELECT 'ok' FROM (SELECT count(*) FROM sqlite_master)";
    bool is_sound = false;
    if (sqlite3_prepare_v2(handle_, check, -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
      const auto* answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
      is_sound = answer != nullptr && std::string_view(answer) == "ok";
    }
    sqlite3_finalize(statement);
    return is_sound;
  }

 private:
  sqlite3* handle_ = nullptr;
  int code_;
};

// With a write-ahead log beside it, the file alone need not be whole; then its marks must do.
bool HasLog(const std::string& path) {
  std::error_code error;
  const uintmax_t size = fs::file_size(path + "-wal", error);
  return !error && size > 0;
}

OpenError LookAtExisting(const std::string& path, uintmax_t size) {
  if (access(path.c_str(), R_OK | W_OK) != 0) return OpenError::kAccess;
  Glance glance(path);
  if (!glance.is_open()) return OpenError::kAccess;
  const std::optional<Header> header = glance.ReadHeader();
  if (!header || !header->IsOfDatabase() || header->application_id() != kApplicationId) {
    return OpenError::kDamaged;
  }
  if (header->user_version() > kSchemaVersion) return OpenError::kNewer;
  if (HasLog(path)) return OpenError::kNone;
  if (header->FileSize() > size || !glance.ContentIsSound(size)) return OpenError::kDamaged;
  return OpenError::kNone;
}

// Other programs put their logs into the file whenever they end, and what is read of it meanwhile does not fit together.
// That passes within moments; damage does not.
OpenError CheckExisting(const std::string& path, uintmax_t size) {
  constexpr int kLooks = 8;
  constexpr std::chrono::milliseconds kPause{10};
  OpenError error = LookAtExisting(path, size);
  for (int look = 1; look < kLooks && error == OpenError::kDamaged; ++look) {
    std::this_thread::sleep_for(kPause);
    std::error_code missing;
    const uintmax_t size_now = fs::file_size(path, missing);
    error = missing ? OpenError::kAccess : LookAtExisting(path, size_now);
  }
  return error;
}

// ---- Opening -----------------------------------------------------------------------------------

void RemoveDatabase(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) unlink((path + suffix).c_str());
}

// Makes a database and puts it in place whole, so that a program that is killed meanwhile leaves none instead
// of half a one. SQLITE_OK or SQLite's code.
int MakeDatabase(const std::string& folder) {
  const std::string path = folder + std::string(kNewDatabaseName);
  RemoveDatabase(path);  // what a killed program may have left
  // Made here, so that nobody else can read it; SQLite gives the files beside it the same mode.
  const int made = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (made < 0) return SQLITE_CANTOPEN;
  fchmod(made, S_IRUSR | S_IWUSR);
  close(made);
  int code = SQLITE_OK;
  {
    const std::unique_ptr<Database> database = Database::Open(path, &code);
    if (database == nullptr) return code;
    if (!CreateSchema(*database)) {
      code = database->LastError();
      return code == SQLITE_OK ? SQLITE_ERROR : code;
    }
    // The log stays behind, and the file is half a database without it.
    code = database->Checkpoint();
    if (code != SQLITE_OK) return code;
  }
  const bool is_placed = rename(path.c_str(), (folder + std::string(kDatabaseName)).c_str()) == 0;
  return is_placed ? SQLITE_OK : SQLITE_IOERR;
}

int64_t UserVersion(Database& database) {
  Statement statement = database.Prepare("PRAGMA user_version");
  return statement.Step() == SQLITE_ROW ? statement.Integer(0) : -1;
}

// The database, opened for use. The newest version number may still be in the log, so it is asked
// again.
std::shared_ptr<Database> OpenChecked(const std::string& path) {
  int code = SQLITE_OK;
  std::shared_ptr<Database> database = Database::Open(path, &code);
  if (database == nullptr) return RefuseFile(ErrorOf(code), path, code);
  if (sqlite3_db_readonly(database->handle(), "main") != 0) {
    return RefuseFile(OpenError::kAccess, path, SQLITE_READONLY);
  }
  if (UserVersion(*database) > kSchemaVersion) {
    // Closing would write the log into the file, which must stay as it is.
    sqlite3_db_config(database->handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    return RefuseFile(OpenError::kNewer, path, SQLITE_OK);
  }
  if (!CreateSchema(*database)) {
    code = database->LastError();
    return RefuseFile(code == SQLITE_OK ? OpenError::kDamaged : ErrorOf(code), path, code);
  }
  return database;
}

std::shared_ptr<Database> OpenIn(const std::string& folder) {
  if (!MakeFolders(folder)) return nullptr;
  const FolderLock lock(folder);
  const std::string path = folder + std::string(kDatabaseName);

  std::error_code missing;
  const uintmax_t size = fs::file_size(path, missing);
  if (missing && fs::exists(path)) return RefuseFile(OpenError::kAccess, path, SQLITE_CANTOPEN);
  if (missing) {
    if (const int code = MakeDatabase(folder); code != SQLITE_OK) {
      RemoveDatabase(folder + std::string(kNewDatabaseName));
      return RefuseFile(OpenError::kAccess, path, code);
    }
  } else if (const OpenError error = CheckExisting(path, size); error != OpenError::kNone) {
    return RefuseFile(error, path, SQLITE_CANTOPEN);
  }
  return OpenChecked(path);
}

}  // namespace

std::string Folder() {
  std::error_code error;
  std::string folder = fs::absolute(ChosenFolder(), error).lexically_normal().string();
  while (folder.ends_with('/')) folder.pop_back();
  return folder;
}

// It is asked for with every object, so no path is taken apart for an absolute name that is the same as before.
std::shared_ptr<Database> OpenDatabase() {
  Device& device = State();
  const bool is_open = device.database != nullptr;
  const char* named = std::getenv(kFolderVariable);
  const bool is_absolute = named != nullptr && *named == '/';
  if (is_open && is_absolute && device.named == named) return device.database;
  std::string folder = Folder();
  device.named = is_absolute ? named : "";
  if (is_open && device.folder == folder) return device.database;

  CloseDatabase();
  device.folder = std::move(folder);
  device.database = OpenIn(device.folder);
  if (device.database != nullptr) {
    device.error = OpenError::kNone;
    device.error_text.clear();
  }
  return device.database;
}

OpenError Error() { return State().error; }

std::string ErrorText() { return State().error_text; }

void CloseDatabase() {
  Device& device = State();
  // Whoever has only read has nothing to write, and need not wait for another program's writer.
  if (device.database != nullptr && device.database->HasWritten()) device.database->Checkpoint();
  device.database.reset();
}

}  // namespace device
