// The handheld's messaging: a session, its message stores, their folders and messages.
//
// Declared is what this system calls, in the platform's order. What nothing calls is left out:
// address books, notifications, attachments, sending, folders below folders. docs/device.md tells
// what each call does on the embedded device.
//
// Only the session comes from a function; all else comes from it. Objects are reference-counted; a
// pointer that a call hands out belongs to the caller. Objects are used by one thread at a time. A
// failing call leaves null in a pointer that it should have filled. An IUnknown* that OpenEntry
// gives may be cast to the interface of its object type, one of OpenProperty to IStream.
//
// Texts are UTF-16 with a terminator. What a call allocates is released with MAPIFreeBuffer, a row
// set with FreeProws.
#pragma once

#ifdef _WIN32
#include <cemapi.h>
#include <mapiutil.h>
#else

#include <cstddef>
#include <cstdint>

#include "platform/api/automation.h"
#include "platform/api/win_types.h"

using LPTSTR = WCHAR*;
using FLAGS = ULONG;
using LPCIID = const IID*;
using LPUNKNOWN = IUnknown*;

// ---- Property tags: an identifier in the high word, the type in the low word -------------------

inline constexpr ULONG PT_UNSPECIFIED = 0;  // in a question: of whatever type
inline constexpr ULONG PT_NULL = 1;
inline constexpr ULONG PT_I2 = 2;
inline constexpr ULONG PT_LONG = 3;
inline constexpr ULONG PT_ERROR = 10;  // in an answer: the value is a result
inline constexpr ULONG PT_BOOLEAN = 11;
inline constexpr ULONG PT_I8 = 20;
inline constexpr ULONG PT_STRING8 = 30;
inline constexpr ULONG PT_UNICODE = 31;
inline constexpr ULONG PT_SYSTIME = 64;
inline constexpr ULONG PT_BINARY = 258;

constexpr ULONG PROP_TAG(ULONG type, ULONG id) { return id << 16 | type; }
constexpr ULONG PROP_TYPE(ULONG tag) { return tag & 0xFFFFu; }
constexpr ULONG PROP_ID(ULONG tag) { return tag >> 16; }
constexpr ULONG CHANGE_PROP_TYPE(ULONG tag, ULONG type) { return (tag & 0xFFFF0000u) | type; }

inline constexpr ULONG PR_NULL = PROP_TAG(PT_NULL, 0x0000);  // keeps a place among columns
inline constexpr ULONG PR_MESSAGE_CLASS = PROP_TAG(PT_UNICODE, 0x001A);
inline constexpr ULONG PR_SUBJECT = PROP_TAG(PT_UNICODE, 0x0037);
inline constexpr ULONG PR_RECIPIENT_TYPE = PROP_TAG(PT_LONG, 0x0C15);  // MAPI_TO, MAPI_CC, MAPI_BCC
inline constexpr ULONG PR_SENDER_NAME = PROP_TAG(PT_UNICODE, 0x0C1A);
inline constexpr ULONG PR_SENDER_EMAIL_ADDRESS = PROP_TAG(PT_UNICODE, 0x0C1F);
inline constexpr ULONG PR_MESSAGE_DELIVERY_TIME = PROP_TAG(PT_SYSTIME, 0x0E06);  // UTC
inline constexpr ULONG PR_MESSAGE_FLAGS = PROP_TAG(PT_LONG, 0x0E07);             // MSGFLAG_ bits
inline constexpr ULONG PR_PARENT_ENTRYID = PROP_TAG(PT_BINARY, 0x0E09);
inline constexpr ULONG PR_OBJECT_TYPE = PROP_TAG(PT_LONG, 0x0FFE);
inline constexpr ULONG PR_ENTRYID = PROP_TAG(PT_BINARY, 0x0FFF);
inline constexpr ULONG PR_BODY = PROP_TAG(PT_UNICODE, 0x1000);  // a stream, see OpenProperty
inline constexpr ULONG PR_DISPLAY_NAME = PROP_TAG(PT_UNICODE, 0x3001);
inline constexpr ULONG PR_ADDRTYPE = PROP_TAG(PT_UNICODE, 0x3002);
inline constexpr ULONG PR_EMAIL_ADDRESS = PROP_TAG(PT_UNICODE, 0x3003);
inline constexpr ULONG PR_PROVIDER_DISPLAY = PROP_TAG(PT_UNICODE, 0x3006);
inline constexpr ULONG PR_DEFAULT_STORE = PROP_TAG(PT_BOOLEAN, 0x3400);
inline constexpr ULONG PR_IPM_OUTBOX_ENTRYID = PROP_TAG(PT_BINARY, 0x35E2);
inline constexpr ULONG PR_IPM_SENTMAIL_ENTRYID = PROP_TAG(PT_BINARY, 0x35E4);

// ---- Flags and kinds ---------------------------------------------------------------------------

inline constexpr ULONG MAPI_UNICODE = 0x80000000u;
inline constexpr ULONG MAPI_MODIFY = 0x00000001;
inline constexpr ULONG MAPI_CREATE = 0x00000002;
inline constexpr ULONG MAPI_BEST_ACCESS = 0x00000010;
inline constexpr ULONG MAPI_EXTENDED = 0x00000020;
inline constexpr ULONG MAPI_USE_DEFAULT = 0x00000040;
inline constexpr ULONG MAPI_NO_MAIL = 0x00008000;
inline constexpr ULONG MDB_NO_DIALOG = 0x00000001;
inline constexpr ULONG MDB_WRITE = 0x00000004;
inline constexpr ULONG MODRECIP_ADD = 0x00000002;

inline constexpr LONG MSGFLAG_READ = 0x00000001;
inline constexpr LONG MSGFLAG_FROMME = 0x00000020;

inline constexpr LONG MAPI_TO = 1;
inline constexpr LONG MAPI_CC = 2;
inline constexpr LONG MAPI_BCC = 3;

// Object types.
inline constexpr ULONG MAPI_STORE = 1;
inline constexpr ULONG MAPI_FOLDER = 3;
inline constexpr ULONG MAPI_MESSAGE = 5;

using BOOKMARK = ULONG_PTR;
inline constexpr BOOKMARK BOOKMARK_BEGINNING = 0;

// ---- Results -----------------------------------------------------------------------------------

inline constexpr HRESULT MAPI_E_CALL_FAILED = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT MAPI_E_NO_ACCESS = static_cast<HRESULT>(0x80070005u);
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_MEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT MAPI_E_INVALID_PARAMETER = static_cast<HRESULT>(0x80070057u);
inline constexpr HRESULT MAPI_E_NO_SUPPORT = static_cast<HRESULT>(0x80040102u);
inline constexpr HRESULT MAPI_E_BAD_CHARWIDTH = static_cast<HRESULT>(0x80040103u);
inline constexpr HRESULT MAPI_E_UNKNOWN_FLAGS = static_cast<HRESULT>(0x80040106u);
inline constexpr HRESULT MAPI_E_INVALID_ENTRYID = static_cast<HRESULT>(0x80040107u);
inline constexpr HRESULT MAPI_E_OBJECT_DELETED = static_cast<HRESULT>(0x8004010Au);
inline constexpr HRESULT MAPI_E_BUSY = static_cast<HRESULT>(0x8004010Bu);
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_DISK = static_cast<HRESULT>(0x8004010Du);
inline constexpr HRESULT MAPI_E_NOT_FOUND = static_cast<HRESULT>(0x8004010Fu);
inline constexpr HRESULT MAPI_E_VERSION = static_cast<HRESULT>(0x80040110u);
inline constexpr HRESULT MAPI_E_LOGON_FAILED = static_cast<HRESULT>(0x80040111u);
inline constexpr HRESULT MAPI_E_TOO_COMPLEX = static_cast<HRESULT>(0x80040117u);
inline constexpr HRESULT MAPI_E_COMPUTED = static_cast<HRESULT>(0x8004011Au);
inline constexpr HRESULT MAPI_E_INVALID_TYPE = static_cast<HRESULT>(0x80040302u);
inline constexpr HRESULT MAPI_E_UNEXPECTED_TYPE = static_cast<HRESULT>(0x80040304u);
inline constexpr HRESULT MAPI_E_TOO_BIG = static_cast<HRESULT>(0x80040305u);
inline constexpr HRESULT MAPI_E_INVALID_BOOKMARK = static_cast<HRESULT>(0x80040405u);
inline constexpr HRESULT MAPI_E_CORRUPT_STORE = static_cast<HRESULT>(0x80040600u);
inline constexpr HRESULT MAPI_E_NOT_INITIALIZED = static_cast<HRESULT>(0x80040605u);
inline constexpr HRESULT MAPI_E_NO_RECIPIENTS = static_cast<HRESULT>(0x80040607u);
// A success: some of the properties are there, others have PT_ERROR in their tags.
inline constexpr HRESULT MAPI_W_ERRORS_RETURNED = 0x00040380;

// ---- Structures --------------------------------------------------------------------------------

// An entry id: bytes that mean something to its store alone.
struct ENTRYID {
  BYTE abFlags[4];
  BYTE ab[1];  // and what follows
};
using LPENTRYID = ENTRYID*;

struct SBinary {
  ULONG cb;
  LPBYTE lpb;
};

struct SPropValue {
  ULONG ulPropTag;
  ULONG dwAlignPad;
  union {
    int16_t i;  // PT_I2
    LONG l;     // PT_LONG
    ULONG ul;
    uint16_t b;    // PT_BOOLEAN
    int64_t li;    // PT_I8
    FILETIME ft;   // PT_SYSTIME
    LPWSTR lpszW;  // PT_UNICODE
    LPSTR lpszA;   // PT_STRING8
    SBinary bin;   // PT_BINARY
    SCODE err;     // PT_ERROR
    LONG x;        // PT_NULL
  } Value;
};
using LPSPropValue = SPropValue*;

// The arrays at the ends of structures go on beyond their one element.
struct SPropTagArray {
  ULONG cValues;
  ULONG aulPropTag[1];
};
using LPSPropTagArray = SPropTagArray*;

// A variable with the layout of an SPropTagArray and room for `count` tags.
#define SizedSPropTagArray(count, name) \
  struct SPropTagArray_##name {         \
    ULONG cValues;                      \
    ULONG aulPropTag[count];            \
  } name

struct SPropProblem {
  ULONG ulIndex;  // in the array that was given to SetProps
  ULONG ulPropTag;
  SCODE scode;
};
struct SPropProblemArray {
  ULONG cProblem;
  SPropProblem aProblem[1];
};
using LPSPropProblemArray = SPropProblemArray*;

struct SRow {
  ULONG ulAdrEntryPad;
  ULONG cValues;
  LPSPropValue lpProps;  // a MAPI buffer of its own
};
struct SRowSet {
  ULONG cRows;
  SRow aRow[1];
};
using LPSRowSet = SRowSet*;

// Recipients; of the same layout as rows.
struct ADRENTRY {
  ULONG ulReserved1;
  ULONG cValues;
  LPSPropValue rgPropVals;
};
struct ADRLIST {
  ULONG cEntries;
  ADRENTRY aEntries[1];
};
using LPADRLIST = ADRLIST*;

// Sizes in bytes of structures with so many elements.
constexpr size_t CbNewSRowSet(size_t rows) { return offsetof(SRowSet, aRow) + rows * sizeof(SRow); }
constexpr size_t CbNewADRLIST(size_t entries) {
  return offsetof(ADRLIST, aEntries) + entries * sizeof(ADRENTRY);
}

// A condition on the rows of a table: that a property has a relation to a value, or that several
// conditions hold together.
inline constexpr ULONG RES_AND = 0;
inline constexpr ULONG RES_PROPERTY = 4;
inline constexpr ULONG RELOP_EQ = 4;

struct SRestriction;
struct SAndRestriction {
  ULONG cRes;
  SRestriction* lpRes;
};
struct SPropertyRestriction {
  ULONG relop;
  ULONG ulPropTag;
  LPSPropValue lpProp;
};
struct SRestriction {
  ULONG rt;
  union {
    SAndRestriction resAnd;
    SPropertyRestriction resProperty;
  } res;
};
using LPSRestriction = SRestriction*;

// What an object tells about an error of its own; one MAPI buffer.
struct MAPIERROR {
  ULONG ulVersion;
  LPTSTR lpszError;      // a sentence; may be null
  LPTSTR lpszComponent;  // who found the error; may be null
  ULONG ulLowLevelError;
  ULONG ulContext;
};
using LPMAPIERROR = MAPIERROR*;

// ---- Streams -----------------------------------------------------------------------------------

inline constexpr DWORD STATFLAG_NONAME = 1;
inline constexpr DWORD STGTY_STREAM = 2;

union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  uint64_t QuadPart;
};

struct STATSTG {
  LPOLESTR pwcsName;
  DWORD type;             // STGTY_STREAM
  ULARGE_INTEGER cbSize;  // bytes
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

// ---- Interfaces --------------------------------------------------------------------------------

constexpr IID MapiInterface(uint32_t number) {
  return {number, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}
inline constexpr IID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
inline constexpr IID IID_IStream = MapiInterface(0x0000000C);
inline constexpr IID IID_IMAPISession = MapiInterface(0x00020300);
inline constexpr IID IID_IMAPITable = MapiInterface(0x00020301);
inline constexpr IID IID_IMAPIProp = MapiInterface(0x00020303);
inline constexpr IID IID_IMsgStore = MapiInterface(0x00020306);
inline constexpr IID IID_IMessage = MapiInterface(0x00020307);
inline constexpr IID IID_IMAPIContainer = MapiInterface(0x0002030B);
inline constexpr IID IID_IMAPIFolder = MapiInterface(0x0002030C);

struct ISequentialStream : IUnknown {
  // Reads up to so many bytes from where the stream stands; S_OK also at the end.
  virtual HRESULT Read(void* bytes, ULONG size, ULONG* read) = 0;
  virtual HRESULT Write(const void* bytes, ULONG size, ULONG* written) = 0;

 protected:
  ~ISequentialStream() = default;
};

struct IStream : ISequentialStream {
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Stat(STATSTG* status, DWORD flags) = 0;

 protected:
  ~IStream() = default;
};

struct IMAPITable : IUnknown {
  // More about a result that a call of this object gave; null when there is nothing more.
  virtual HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) = 0;
  // The columns of the rows to come, in their order.
  virtual HRESULT SetColumns(LPSPropTagArray columns, ULONG flags) = 0;
  virtual HRESULT SeekRow(BOOKMARK origin, LONG rows, LONG* sought) = 0;
  // Leaves only the rows that meet a condition, and stands at the first of them; null brings all rows
  // back. MAPI_E_TOO_COMPLEX for a condition that the table cannot look for.
  virtual HRESULT Restrict(LPSRestriction restriction, ULONG flags) = 0;
  // The next rows, up to `count`; a set without rows at the end. FreeProws releases it.
  virtual HRESULT QueryRows(LONG count, ULONG flags, LPSRowSet* rows) = 0;

 protected:
  ~IMAPITable() = default;
};

struct IMAPIProp : IUnknown {
  // More about a result that a call of this object gave; null when there is nothing more.
  virtual HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) = 0;
  virtual HRESULT SaveChanges(ULONG flags) = 0;
  // The values of properties in the order of the tags; a missing one has PT_ERROR in its tag, and
  // the result is then MAPI_W_ERRORS_RETURNED.
  virtual HRESULT GetProps(LPSPropTagArray tags, ULONG flags, ULONG* count,
                           LPSPropValue* values) = 0;
  // A large property as an IStream. MAPI_MODIFY: to be written; MAPI_CREATE: from empty.
  virtual HRESULT OpenProperty(ULONG tag, LPCIID iid, ULONG options, ULONG flags,
                               LPUNKNOWN* object) = 0;
  // `problems` may be null.
  virtual HRESULT SetProps(ULONG count, LPSPropValue values, LPSPropProblemArray* problems) = 0;

 protected:
  ~IMAPIProp() = default;
};

struct IMAPIContainer : IMAPIProp {
  virtual HRESULT GetContentsTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT OpenEntry(ULONG size, LPENTRYID entry, LPCIID iid, ULONG flags, ULONG* type,
                            LPUNKNOWN* object) = 0;

 protected:
  ~IMAPIContainer() = default;
};

struct IMessage : IMAPIProp {
  virtual HRESULT GetRecipientTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT ModifyRecipients(ULONG flags, LPADRLIST recipients) = 0;

 protected:
  ~IMessage() = default;
};

struct IMAPIFolder : IMAPIContainer {
  virtual HRESULT CreateMessage(LPCIID iid, ULONG flags, IMessage** message) = 0;

 protected:
  ~IMAPIFolder() = default;
};

struct IMsgStore : IMAPIProp {
  virtual HRESULT OpenEntry(ULONG size, LPENTRYID entry, LPCIID iid, ULONG flags, ULONG* type,
                            LPUNKNOWN* object) = 0;
  // The folder that mail comes to; `message_class` and `explicit_class` must be null. The entry id
  // is a MAPI buffer.
  virtual HRESULT GetReceiveFolder(LPTSTR message_class, ULONG flags, ULONG* size, LPENTRYID* entry,
                                   LPTSTR* explicit_class) = 0;

 protected:
  ~IMsgStore() = default;
};

struct IMAPISession : IUnknown {
  // More about a result that a call of this object gave; null when there is nothing more.
  virtual HRESULT GetLastError(HRESULT result, ULONG flags, LPMAPIERROR* error) = 0;
  virtual HRESULT GetMsgStoresTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT OpenMsgStore(ULONG_PTR window, ULONG size, LPENTRYID entry, LPCIID iid,
                               ULONG flags, IMsgStore** store) = 0;
  virtual HRESULT Logoff(ULONG_PTR window, ULONG flags, ULONG reserved) = 0;

 protected:
  ~IMAPISession() = default;
};

using LPSTREAM = IStream*;
using LPMAPITABLE = IMAPITable*;
using LPMAPIPROP = IMAPIProp*;
using LPMESSAGE = IMessage*;
using LPMAPIFOLDER = IMAPIFolder*;
using LPMDB = IMsgStore*;
using LPMAPISESSION = IMAPISession*;

// ---- Functions ---------------------------------------------------------------------------------

// Starts and ends the use of messaging; counted. An end without a start does nothing.
HRESULT MAPIInitialize(LPVOID parameters);
void MAPIUninitialize();

// A session with the device's messaging. The profile, the password and the flags are ignored.
HRESULT MAPILogonEx(ULONG_PTR window, LPTSTR profile, LPTSTR password, FLAGS flags,
                    LPMAPISESSION* session);

// A buffer of so many bytes, or one that is released together with `parent`.
SCODE MAPIAllocateBuffer(ULONG size, LPVOID* buffer);
SCODE MAPIAllocateMore(ULONG size, LPVOID parent, LPVOID* buffer);
// Releases a buffer with all that was allocated for it; ignores null. Gives 0.
ULONG MAPIFreeBuffer(LPVOID buffer);
// Releases a row set with its rows; ignores null.
void FreeProws(LPSRowSet rows);

// Turns hexadecimal digits of either case, two a byte, into bytes: half as many as there are
// digits. FALSE for any other character, and for an odd number of digits; bytes before the fault
// may have been written.
BOOL FBinFromHex(LPTSTR digits, LPBYTE bytes);

#endif
