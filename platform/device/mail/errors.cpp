// Results are for programs, sentences for people. SQLite tells failures apart more finely than callers can
// act on: its codes become a few results here, and the code itself goes on in the error record.

#include "platform/device/mail/errors.h"

#include <string_view>

#include "platform/device/mail/buffer.h"

namespace device {
namespace {

struct ResultRow {
  HRESULT result;
  std::u16string_view text;
};

constexpr ResultRow kResults[] = {
    {MAPI_E_CALL_FAILED, u"The message store failed."},
    {MAPI_E_NO_ACCESS, u"The message store cannot be written."},
    {MAPI_E_NOT_ENOUGH_MEMORY, u"There is not enough memory."},
    {MAPI_E_INVALID_PARAMETER, u"An argument is wrong."},
    {MAPI_E_NO_SUPPORT, u"The message store does not offer this."},
    {MAPI_E_UNKNOWN_FLAGS, u"A flag is unknown."},
    {MAPI_E_INVALID_ENTRYID, u"The entry id is none of this message store."},
    {MAPI_E_OBJECT_DELETED, u"The message was deleted."},
    {MAPI_E_BUSY, u"Another program keeps the message store locked."},
    {MAPI_E_NOT_ENOUGH_DISK, u"There is not enough room on the disk."},
    {MAPI_E_NOT_FOUND, u"There is no such object."},
    {MAPI_E_COMPUTED, u"The property cannot be set."},
    {MAPI_E_INVALID_TYPE, u"The message store does not keep properties of this type."},
    {MAPI_E_UNEXPECTED_TYPE, u"The property is of another type."},
    {MAPI_E_TOO_BIG, u"The message is too large."},
    {MAPI_E_INVALID_BOOKMARK, u"There is no such bookmark."},
    {MAPI_E_CORRUPT_STORE, u"The message store is damaged."},
    {MAPI_E_NOT_INITIALIZED, u"The session has ended."},
    {MAPI_E_NO_RECIPIENTS, u"The message has no recipients."},
};
constexpr std::u16string_view kOtherResult = u"An unexpected error occurred.";
constexpr std::u16string_view kComponent = u"Embedded device";

std::u16string_view TextOf(HRESULT result) {
  for (const ResultRow& row : kResults) {
    if (row.result == result) return row.text;
  }
  return kOtherResult;
}

}  // namespace

HRESULT MapiResult(int sqlite_error) {
  switch (sqlite_error & 0xFF) {  // the rest of an extended code is a detail
    case SQLITE_NOMEM:
      return MAPI_E_NOT_ENOUGH_MEMORY;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return MAPI_E_BUSY;
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
      return MAPI_E_NO_ACCESS;
    case SQLITE_FULL:
      return MAPI_E_NOT_ENOUGH_DISK;
    case SQLITE_TOOBIG:
      return MAPI_E_TOO_BIG;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return MAPI_E_CORRUPT_STORE;
    default:
      return MAPI_E_CALL_FAILED;
  }
}

void ThrowStoreFailure(const Database& database) {
  const int error = database.LastError();
  throw MapiFailure{MapiResult(error), error};
}

LPMAPIERROR NewErrorRecord(const MapiFailure& failure) {
  MailBuffer<MAPIERROR> record = NewMailBuffer<MAPIERROR>(1);
  record->lpszError = CopyText(TextOf(failure.result), record.get());
  record->lpszComponent = CopyText(kComponent, record.get());
  record->ulLowLevelError = static_cast<ULONG>(failure.low_level);
  return record.release();
}

}  // namespace device
