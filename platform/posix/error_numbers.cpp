// Two tables, since each source has numbers of its own. What is in neither is a general failure: a caller can
// do nothing about it but say so.

#include "platform/posix/error_numbers.h"

#include <cerrno>

#include "platform/api/last_error.h"
#include "platform/device/device.h"

namespace {

struct ErrorRow {
  int value;
  LONG error;
};

constexpr ErrorRow kErrnoRows[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {ELOOP, ERROR_PATH_NOT_FOUND},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_WRITE_PROTECT},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, ERROR_DISK_FULL},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {EBUSY, ERROR_BUSY},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EIO, ERROR_IO_DEVICE},
};

constexpr ErrorRow kSqliteRows[] = {
    {SQLITE_OK, ERROR_SUCCESS},
    {SQLITE_ROW, ERROR_SUCCESS},
    {SQLITE_DONE, ERROR_SUCCESS},
    {SQLITE_BUSY, ERROR_BUSY},
    {SQLITE_LOCKED, ERROR_BUSY},
    {SQLITE_NOMEM, ERROR_OUTOFMEMORY},
    {SQLITE_READONLY, ERROR_ACCESS_DENIED},
    {SQLITE_PERM, ERROR_ACCESS_DENIED},
    {SQLITE_CANTOPEN, ERROR_ACCESS_DENIED},
    {SQLITE_CORRUPT, ERROR_FILE_CORRUPT},
    {SQLITE_NOTADB, ERROR_FILE_CORRUPT},
    {SQLITE_FULL, ERROR_DISK_FULL},
    {SQLITE_IOERR, ERROR_IO_DEVICE},
};

template <size_t size>
LONG Find(const ErrorRow (&rows)[size], int value) {
  for (const ErrorRow& row : rows) {
    if (row.value == value) return row.error;
  }
  return ERROR_GEN_FAILURE;
}

}  // namespace

LONG ErrorOfErrno(int value) { return Find(kErrnoRows, value); }

void SetLastErrorFromErrno() { SetLastError(static_cast<DWORD>(ErrorOfErrno(errno))); }

LONG ErrorOfSqlite(int code) { return Find(kSqliteRows, code & 0xFF); }

LONG ErrorOfDevice() {
  switch (device::Error()) {
    case device::OpenError::kDamaged:
      return ERROR_FILE_CORRUPT;
    case device::OpenError::kNewer:
      return ERROR_REVISION_MISMATCH;
    default:
      return ERROR_ACCESS_DENIED;
  }
}
