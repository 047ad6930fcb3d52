// The handheld's calls on the system's own: a path is turned into the system's (paths.h), the call is made,
// and errno becomes the last error (error_numbers.h). Every call looks for itself at what it is given;
// nothing is kept between calls but what the system keeps.
//
// File handles are file descriptors plus one, so that none is null. Folders can be opened by open() and
// fopen(), but the handheld opens files only: what turns out to be a folder is closed again and refused.
// Nothing that has a name is replaced unless the caller asks for it: a move onto a taken name fails, where
// the file system can do that in the same step that would have moved.

#include "platform/api/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>
#include <string>

#include "platform/device/device.h"
#include "platform/posix/error_numbers.h"
#include "platform/posix/fault_injection.h"
#include "platform/posix/paths.h"
#include "platform/utf8.h"

namespace {

bool setting_ends_fails = false;

BOOL Fail(LONG error) {
  SetLastError(static_cast<DWORD>(error));
  return FALSE;
}

BOOL FailFromErrno() {
  SetLastErrorFromErrno();
  return FALSE;
}

HANDLE FailHandle(LONG error) {
  SetLastError(static_cast<DWORD>(error));
  return INVALID_HANDLE_VALUE;
}

HANDLE HandleOf(int descriptor) { return reinterpret_cast<HANDLE>(intptr_t{descriptor} + 1); }
int DescriptorOf(HANDLE handle) { return static_cast<int>(reinterpret_cast<intptr_t>(handle) - 1); }

// The flags of open for a disposition; nothing for an unknown one.
std::optional<int> FlagsOf(DWORD disposition) {
  switch (disposition) {
    case CREATE_NEW:
      return O_CREAT | O_EXCL;
    case CREATE_ALWAYS:
      return O_CREAT | O_TRUNC;
    case OPEN_EXISTING:
      return 0;
    case OPEN_ALWAYS:
      return O_CREAT;
    case TRUNCATE_EXISTING:
      return O_TRUNC;
    default:
      return std::nullopt;
  }
}

int FlagsOfAccess(DWORD access) {
  const bool reads = (access & GENERIC_READ) != 0;
  const bool writes = (access & GENERIC_WRITE) != 0;
  return reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY;
}

bool IsFolder(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

// Keeps others who share nothing out of a file until its descriptor is closed. The lock is the descriptor's, not
// the process's: closing another one of the same file does not end it. A descriptor that only reads can only
// share the lock with others of its kind.
bool LockWhole(int descriptor, DWORD access) {
  struct flock lock {};
  lock.l_type = static_cast<short>((access & GENERIC_WRITE) != 0 ? F_WRLCK : F_RDLCK);
  lock.l_whence = SEEK_SET;
  return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

// Renames without replacing. Where the file system cannot do that in one step, in two.
int RenameNew(const char* old_path, const char* new_path) {
  const int result = renameat2(AT_FDCWD, old_path, AT_FDCWD, new_path, RENAME_NOREPLACE);
  if (result == 0 || (errno != EINVAL && errno != ENOSYS)) return result;
  if (faccessat(AT_FDCWD, new_path, F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    return -1;
  }
  return rename(old_path, new_path);
}

// One of the device's own folders as a wide path; empty, with the last error set, when it cannot be
// made.
std::u16string DeviceFolder(const char* name, bool create) {
  const std::string folder = device::Folder() + "/" + name;
  std::error_code error;
  if (create) std::filesystem::create_directories(folder, error);
  if (error) {
    SetLastError(static_cast<DWORD>(ErrorOfErrno(error.value())));
    return {};
  }
  return WidePath(folder);
}

void CopyText(std::u16string_view text, LPWSTR buffer) {
  std::memcpy(buffer, text.data(), text.size() * sizeof(WCHAR));
  buffer[text.size()] = 0;
}

std::u16string HexDigits(UINT number) {
  std::u16string digits;
  do {
    digits.insert(digits.begin(), u"0123456789ABCDEF"[number & 0xF]);
    number >>= 4;
  } while (number != 0);
  return digits;
}

// Whether a file lies in the device, where everything is its owner's alone.
bool IsInDevice(const std::string& path) { return path.starts_with(device::Folder() + "/"); }

// Opens a file as fopen does. What is made in the device, nobody else can read.
FILE* OpenStream(const std::string& path, const std::string& mode) {
  const bool may_make = mode.find_first_of("wa") != std::string::npos;
  const bool is_private = may_make && IsInDevice(path) && access(path.c_str(), F_OK) != 0;
  FILE* stream = std::fopen(path.c_str(), mode.c_str());
  if (stream != nullptr && is_private) fchmod(fileno(stream), S_IRUSR | S_IWUSR);
  return stream;
}

// Creates an empty file. False with errno when it is there already or cannot be made.
bool CreateEmpty(std::u16string_view path) {
  const int descriptor =
      open(NativePath(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) return false;
  close(descriptor);
  return true;
}

}  // namespace

void FailSettingEnds(bool fails) { setting_ends_fails = fails; }

FILE* _wfopen(LPCWSTR name, LPCWSTR mode) {
  if (name == nullptr || mode == nullptr) {
    errno = EINVAL;
    SetLastErrorFromErrno();
    return nullptr;
  }
  FILE* stream = OpenStream(NativePath(name), ToUtf8(mode));
  if (stream == nullptr) {
    SetLastErrorFromErrno();
  } else if (IsFolder(fileno(stream))) {
    std::fclose(stream);
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
  }
  return stream;
}

BOOL MoveFileW(LPCWSTR old_name, LPCWSTR new_name) {
  if (old_name == nullptr || new_name == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const int result = RenameNew(NativePath(old_name).c_str(), NativePath(new_name).c_str());
  return result == 0 ? TRUE : FailFromErrno();
}

BOOL DeleteFileW(LPCWSTR name) {
  if (name == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  return unlink(NativePath(name).c_str()) == 0 ? TRUE : FailFromErrno();
}

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, void* security, DWORD disposition,
                   DWORD /*attributes*/, HANDLE model) {
  const std::optional<int> flags = FlagsOf(disposition);
  if (name == nullptr || security != nullptr || model != nullptr || !flags) {
    return FailHandle(ERROR_INVALID_PARAMETER);
  }
  const std::string path = NativePath(name);
  const mode_t mode = IsInDevice(path) ? S_IRUSR | S_IWUSR : 0666;
  const int descriptor = open(path.c_str(), FlagsOfAccess(access) | *flags | O_CLOEXEC, mode);
  if (descriptor < 0) {
    const bool is_taken = disposition == CREATE_NEW && errno == EEXIST;
    return FailHandle(is_taken ? ERROR_FILE_EXISTS : ErrorOfErrno(errno));
  }
  if (IsFolder(descriptor)) {
    close(descriptor);
    return FailHandle(ERROR_ACCESS_DENIED);
  }
  if (share == 0 && !LockWhole(descriptor, access)) {
    const LONG error =
        errno == EAGAIN || errno == EACCES ? ERROR_SHARING_VIOLATION : ErrorOfErrno(errno);
    close(descriptor);
    return FailHandle(error);
  }
  return HandleOf(descriptor);
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, DWORD* count, void* overlapped) {
  if (count == nullptr || overlapped != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  *count = 0;
  ssize_t got = 0;
  // A signal is not the caller's concern.
  do {
    got = read(DescriptorOf(file), buffer, size);
  } while (got < 0 && errno == EINTR);
  if (got < 0) return FailFromErrno();
  *count = static_cast<DWORD>(got);
  return TRUE;
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, DWORD* count, void* overlapped) {
  if (count == nullptr || overlapped != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  *count = 0;
  while (*count < size) {
    const ssize_t put =
        write(DescriptorOf(file), static_cast<const char*>(buffer) + *count, size - *count);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return FailFromErrno();
    *count += static_cast<DWORD>(put);
  }
  return TRUE;
}

BOOL CloseHandle(HANDLE handle) {
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return Fail(ERROR_INVALID_HANDLE);
  return close(DescriptorOf(handle)) == 0 ? TRUE : FailFromErrno();
}

HANDLE _fileno(FILE* stream) { return HandleOf(fileno(stream)); }

BOOL FlushFileBuffers(HANDLE file) {
  return fsync(DescriptorOf(file)) == 0 ? TRUE : FailFromErrno();
}

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distance_high, DWORD method) {
  if (method != FILE_BEGIN || distance_high == nullptr) {
    Fail(ERROR_INVALID_PARAMETER);
    return INVALID_SET_FILE_POINTER;
  }
  const int64_t wanted = int64_t{*distance_high} << 32 | static_cast<uint32_t>(distance);
  const off_t position = lseek(DescriptorOf(file), static_cast<off_t>(wanted), SEEK_SET);
  if (position < 0) {
    FailFromErrno();
    return INVALID_SET_FILE_POINTER;
  }
  *distance_high = static_cast<LONG>(int64_t{position} >> 32);
  return static_cast<DWORD>(position);
}

BOOL SetEndOfFile(HANDLE file) {
  if (setting_ends_fails) return Fail(ERROR_IO_DEVICE);
  const off_t position = lseek(DescriptorOf(file), 0, SEEK_CUR);
  if (position < 0) return FailFromErrno();
  return ftruncate(DescriptorOf(file), position) == 0 ? TRUE : FailFromErrno();
}

DWORD GetTempPathW(DWORD room, LPWSTR buffer) {
  std::u16string folder = DeviceFolder("Temp", true);
  if (folder.empty()) return 0;
  folder += u'\\';
  const auto length = static_cast<DWORD>(folder.size());
  if (buffer == nullptr || length >= room) return length + 1;
  CopyText(folder, buffer);
  return length;
}

UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR buffer) {
  if (folder == nullptr || buffer == nullptr) {
    return static_cast<UINT>(Fail(ERROR_INVALID_PARAMETER));
  }
  std::u16string start = folder;
  if (start.size() > MAX_PATH - 14) return static_cast<UINT>(Fail(ERROR_BUFFER_OVERFLOW));
  if (!start.empty() && start.back() != u'\\' && start.back() != u'/') start += u'\\';
  if (prefix != nullptr) start += std::u16string_view(prefix).substr(0, 3);

  // The search begins anywhere, so that programs that start at the same time do not try the same names one
  // after the other. Whoever creates the file has the name.
  constexpr UINT kNumbers = 0xFFFF;  // a number has at most four digits
  const UINT first = std::random_device()();
  for (UINT i = 0; i < kNumbers; ++i) {
    const UINT chosen = number != 0 ? number & kNumbers : (first + i) % kNumbers + 1;
    const std::u16string path = start + HexDigits(chosen) + u".TMP";
    if (number == 0 && !CreateEmpty(path)) {
      if (errno == EEXIST) continue;
      const bool has_no_folder = errno == ENOENT || errno == ENOTDIR;
      return static_cast<UINT>(Fail(has_no_folder ? ERROR_DIRECTORY : ErrorOfErrno(errno)));
    }
    CopyText(path, buffer);
    return chosen;
  }
  return static_cast<UINT>(Fail(ERROR_FILE_EXISTS));
}

BOOL SHGetSpecialFolderPath(HWND /*owner*/, LPWSTR buffer, int folder, BOOL create) {
  if (buffer == nullptr || folder != CSIDL_PERSONAL) return Fail(ERROR_INVALID_PARAMETER);
  const std::u16string path = DeviceFolder("Documents", create != FALSE);
  if (path.empty()) return FALSE;
  if (path.size() >= MAX_PATH) return Fail(ERROR_BUFFER_OVERFLOW);
  CopyText(path, buffer);
  return TRUE;
}
