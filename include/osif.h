/*
 * OSIF, the object store interface of a Bluetooth stack.
 *
 * OBEX services (object push, IrMC synchronisation) load this library to exchange contacts,
 * appointments, tasks, notes and messages with another device. It reads and writes vCard 2.1,
 * vCalendar 1.0, vNote 1.1 and vMessage 1.1, maps them to and from the handheld's own stores,
 * and keeps a change log for each store.
 *
 * Order of calls: OSIF_Open once, any number of other calls, OSIF_Close at the end. The library
 * takes no lock: callers serialise all calls.
 *
 * Texts: narrow texts are bytes; which character set they are in is said at each place. Wide texts
 * (file names, folders, display names) are UTF-16 and zero-terminated.
 *
 * Usable from C11 and from C++.
 */
#ifndef OSIF_H
#define OSIF_H

#include <stddef.h>
#include <stdint.h>

#ifndef __cplusplus
#include <uchar.h>
#endif

#ifdef _WIN32
#include <wchar.h>
typedef wchar_t WCHAR;
#else
typedef char16_t WCHAR;
#endif

#if defined(__GNUC__)
#define OSIF_API __attribute__((visibility("default")))
#else
#define OSIF_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes --------------------------------------------------------------------------- */

/* The outcome of an exported function: 0 is success. OSIF_CodeToString gives a text for each. */
typedef uint32_t OsifResult;

enum {
  OSIF_OK = 0,
  OSIF_ERR_GENERAL = 1,
  OSIF_ERR_NOT_OPENED = 2,
  OSIF_ERR_STORE_NOT_OPENED = 3,
  OSIF_ERR_END_OF_STORE = 4, /* an enumeration has given every id */
  OSIF_ERR_EOF = 5,          /* no further entry in a change log */
  OSIF_ERR_NOT_FOUND = 6,
  OSIF_ERR_FILE_OPEN = 7,
  OSIF_ERR_INVALID_STREAM = 8, /* a file that begins with no known object */
  OSIF_ERR_INVALID_ID = 9,
  OSIF_ERR_MISSING_FIELD = 10,
  OSIF_ERR_NO_MEMORY = 11,
  OSIF_ERR_CL_NOT_OPENED = 12,
  OSIF_ERR_CL_GAP = 13, /* entries behind the anchor were purged: synchronise everything */
  OSIF_ERR_PIM = 14,
  OSIF_ERR_PIM_NOT_OPENED = 15,
  OSIF_ERR_NOT_IMPLEMENTED = 16, /* the store does not offer this */
  OSIF_ERR_TYPE_NOT_SUPPORTED = 17,
  OSIF_PARSE_OK = 18,
  OSIF_PARSE_WARNING = 19, /* read, but something in the object was not understood */
  OSIF_PARSE_ERROR = 20
};

/* ---- Stores --------------------------------------------------------------------------------- */

enum {
  OSIF_STORE_PB = 0,       /* contacts */
  OSIF_STORE_CAL = 1,      /* appointments and tasks */
  OSIF_STORE_NOTE = 2,     /* notes */
  OSIF_STORE_MSG_IN = 3,   /* messages: Inbox */
  OSIF_STORE_MSG_SENT = 4, /* messages: Sent items */
  OSIF_STORE_MSG_OUT = 5   /* messages: Outbox */
};

/*
 * The room that every buffer for an object id must have, terminator included. Contacts, appointments
 * and tasks have ids of eight lower-case hexadecimal digits; a note's id is its name in the system's
 * code page; a message's id is the message store's entry id in upper-case hexadecimal digits. A note's
 * id that would be longer is cut; a message whose id would be is not handed out.
 */
#define OSIF_ID_SIZE 513

/* ---- The object record ---------------------------------------------------------------------- */

/* One parameter or one component of a value. */
typedef struct OsifText {
  struct OsifText* next;
  char* text;   /* zero-terminated, released with its value; null where a position has no text */
  uint8_t used; /* 1 for a node that belongs to the value */
} OsifText;

/* PropertyValue::flags. At most one of the first three is set. */
enum {
  OSIF_VALUE_QUOTED_PRINTABLE = 0x1,
  OSIF_VALUE_BASE64 = 0x2,
  OSIF_VALUE_8BIT = 0x4,
  OSIF_VALUE_CHARSET = 0x8 /* a CHARSET parameter is present */
};

/*
 * One value of one property (vCard 2.1, section 2; vCalendar 1.0, section 2). The texts are raw: still
 * encoded as the flags say, in the sender's character set, with the escapes "\;" and "\\" left in.
 */
typedef struct PropertyValue {
  uint32_t flags;
  OsifText* params;     /* in received order, such as "HOME" or "ENCODING=QUOTED-PRINTABLE" */
  OsifText* components; /* by position */
  uint32_t codePage;    /* of the texts, once one was encoded or decoded; 0 before */
  struct PropertyValue* next;
} PropertyValue;

/* Contacts (store 0). Every field is a list of values, null when there is none. */
typedef struct OsifContact {
  PropertyValue* n; /* family name, given name, further names, prefix, suffix */
  PropertyValue* fn;
  PropertyValue* nickname;
  PropertyValue* adr; /* box, extended address, street, locality, region, postal code, country */
  PropertyValue* org; /* organisation, department */
  PropertyValue* title;
  PropertyValue* role;
  PropertyValue* tel;
  PropertyValue* url;
  PropertyValue* email;
  PropertyValue* note;
  PropertyValue* bday;
  PropertyValue* xSpouse;
  PropertyValue* xAnniversary;
  PropertyValue* xChildren;
  PropertyValue* xAssistant;
  PropertyValue* xCat;
  PropertyValue* xMicrosoftOfficeloc;
  PropertyValue* dept;              /* filled by the contact store only */
  PropertyValue* xMicrosoftAsstTel; /* filled by the contact store only */
} OsifContact;

/* OsifObject::calendarKind */
enum { OSIF_CALENDAR_UNKNOWN = 0, OSIF_CALENDAR_EVENT = 1, OSIF_CALENDAR_TODO = 2 };

typedef struct OsifEventTail {
  PropertyValue* location;
  PropertyValue* dAlarm; /* run time, snooze time, repeat count, display text */
  PropertyValue* aAlarm; /* run time, snooze time, repeat count, audio content */
  PropertyValue* rRule;
  PropertyValue* exDate;
  PropertyValue* attendee;
  PropertyValue* attach;
  uint8_t allDayEvent; /* 0 or 1 */
} OsifEventTail;

typedef struct OsifTodoTail {
  PropertyValue* dAlarm;
  PropertyValue* aAlarm;
  PropertyValue* rRule;
  PropertyValue* exDate;
  PropertyValue* attendee;
  PropertyValue* attach;
} OsifTodoTail;

/* Appointments and tasks (store 1). OsifObject::calendarKind says which tail is valid. */
typedef struct OsifCalendar {
  PropertyValue* categories;
  PropertyValue* completed;
  PropertyValue* description;
  PropertyValue* due;
  PropertyValue* dtEnd;
  PropertyValue* priority;
  PropertyValue* dtStart;
  PropertyValue* status;
  PropertyValue* summary;
  PropertyValue* class_;
  union {
    OsifEventTail event;
    OsifTodoTail todo;
  } tail;
} OsifCalendar;

/* Notes (store 2). */
typedef struct OsifNote {
  PropertyValue* dCreated;
  PropertyValue* lastModified;
  PropertyValue* categories;
  PropertyValue* class_;
  PropertyValue* body;
  PropertyValue* summary; /* the note's name, which is its id */
} OsifNote;

/* One body part of a message. */
typedef struct MessagePart {
  char contentType[128];
  char contentTransferEncoding[50];
  char* bodyText;               /* owned; null when there is none */
  WCHAR attachmentFile[256];    /* temporary file with the content of a named part; else empty */
  struct MessagePart* nextPart; /* owned; null at the last part */
} MessagePart;

/* What the record's union has room for, the same on every platform. */
#define OSIF_FIELDS_SIZE 9248

/* Messages (stores 3 to 5). Every text is zero-terminated within its field. */
typedef struct OsifMessage {
  char xIrmcStatus[7];
  char xIrmcType[5];
  char xBtFolder[50];
  char storeData[OSIF_FIELDS_SIZE - 4468 - sizeof(MessagePart)]; /* for the message store */
  char mimeVersion[10];
  char returnPath[100];
  char date[100];
  char from[1024];
  char to[1024];
  char ccAddresses[1024];
  char replyTo[100];
  char subject[1024];
  MessagePart part; /* the first or only part */
} OsifMessage;

/*
 * One object of any store: the store id of the call says which fields are meant. A record owns every
 * list and text that hangs from it; OSIF_FreeObject releases them. Never copy a record field by field.
 */
typedef struct OsifObject {
  uint32_t flags; /* reserved, 0 */
  char xIrmcLuid[512];
  char version[25];
  uint8_t calendarKind;
  union {
    OsifContact contact;
    OsifCalendar calendar;
    OsifNote note;
    OsifMessage message;
  };
} OsifObject;

/* ---- Change logs ---------------------------------------------------------------------------- */

/* The point up to which a synchronisation partner has seen a store's changes. */
typedef struct OsifAnchor {
  uint32_t cc; /* change counter; 0 for none */
  char ts[20]; /* time of the change in UTC, such as 20050314T101500Z; may be empty */
} OsifAnchor;

/* One entry of a store's change log. */
typedef struct ChangeLogEntry {
  uint32_t kind; /* 'M': added or modified; 'H': deleted */
  int32_t changeCounter;
  char timestamp[19];
  char objectId[OSIF_ID_SIZE];
} ChangeLogEntry;

#ifdef __cplusplus
static_assert(sizeof(OsifObject) == 9792, "the record has one size on every platform");
static_assert(sizeof(OsifAnchor) == 24, "the anchor has one size on every platform");
#else
_Static_assert(sizeof(OsifObject) == 9792, "the record has one size on every platform");
_Static_assert(sizeof(OsifAnchor) == 24, "the anchor has one size on every platform");
#endif

/* ---- Functions ------------------------------------------------------------------------------ */

/*
 * What every function may answer beside its own codes: OSIF_ERR_INVALID_ID for a missing or malformed
 * object id and for a missing record, OSIF_ERR_GENERAL for a missing output block or buffer,
 * OSIF_ERR_TYPE_NOT_SUPPORTED for an unknown store, OSIF_ERR_PIM_NOT_OPENED for contacts and calendar
 * before OSIF_Open, OSIF_ERR_PIM when the store refuses, OSIF_ERR_NOT_FOUND for an id that names no
 * object, and OSIF_ERR_NO_MEMORY.
 */

/*
 * Receives one object that OSIF_ReadObjects has read. `result` is OSIF_PARSE_OK, or OSIF_PARSE_WARNING
 * when this object or one before it in the file had something that was not understood. The record is
 * lent until the callback returns; what it returns is ignored.
 */
typedef int32_t (*OsifReadCallback)(int32_t store_id, OsifObject* object, OsifResult result,
                                    void* context);

/*
 * Starts the diagnostic trace and opens the PIM session. Harmless when it is open already.
 * OSIF_ERR_PIM when the device's store cannot be opened.
 */
OSIF_API OsifResult OSIF_Open(void);

/* Ends the PIM and the message sessions. Always OSIF_OK. */
OSIF_API OsifResult OSIF_Close(void);

/*
 * Gives the number of objects of a store. OSIF_ERR_GENERAL without `count`, OSIF_ERR_NOT_IMPLEMENTED
 * for notes and messages.
 */
OSIF_API OsifResult OSIF_GetObjectCount(int32_t store_id, uint32_t* count);

/*
 * Adds an object. `id` receives the new object's id (OSIF_ID_SIZE characters of room; may be null).
 * `anchor` may be null; otherwise it receives the anchor of the change, or stays zero with
 * OSIF_ERR_CL_NOT_OPENED when the store's change log is not open (the object is stored all the same).
 * The record stays the caller's; reading a value may note its code page there.
 */
OSIF_API OsifResult OSIF_AddObject(int32_t store_id, OsifObject* object, char* id,
                                   OsifAnchor* anchor);

/*
 * Overwrites what `object` holds of an existing object; fields that it lacks stay. `anchor` and the
 * record as in OSIF_AddObject.
 */
OSIF_API OsifResult OSIF_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                                      OsifAnchor* anchor);

/*
 * Deletes an object. `anchor` as in OSIF_AddObject. OSIF_ERR_NOT_IMPLEMENTED for notes and messages.
 */
OSIF_API OsifResult OSIF_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor);

/*
 * Looks for the stored object with the same content: contacts by their five name parts, events by
 * start and summary, tasks and notes by summary, messages by time and subject.
 * Returns a truth value, not a result code; `id` (OSIF_ID_SIZE, may be null) is written when found.
 */
OSIF_API int32_t OSIF_FindObject(int32_t store_id, OsifObject* object, char* id);

/*
 * Clears `object` and fills it. Release it with OSIF_FreeObject or OSIF_WriteObject. When the object
 * cannot be read the record stays cleared. OSIF_ERR_NOT_IMPLEMENTED for notes.
 */
OSIF_API OsifResult OSIF_GetObjectById(int32_t store_id, const char* id, OsifObject* object);

/*
 * Walk the ids of a store, one walk at a time; OSIF_ERR_END_OF_STORE ends it. The walk sees the ids
 * that the store held at OSIF_GetFirstId. `id`: OSIF_ID_SIZE characters of room. OSIF_ERR_NOT_IMPLEMENTED
 * for notes and messages.
 */
OSIF_API OsifResult OSIF_GetFirstId(int32_t store_id, char* id);
OSIF_API OsifResult OSIF_GetNextId(int32_t store_id, char* id);

/*
 * Writes an object as vCard, vCalendar, vNote or vMessage with CR LF line ends, and releases the record.
 * `truncate` 0 appends to what the file holds. OSIF_ERR_FILE_OPEN when the file cannot be opened; only
 * then the record is not released.
 */
OSIF_API OsifResult OSIF_WriteObject(int32_t store_id, OsifObject* object, const WCHAR* file_name,
                                     uint8_t truncate);

/*
 * Reads every object of a file and hands each to `callback` (may be null) with `context` unchanged. The
 * file's first line decides the format. Reading stops at an object that is refused (OSIF_PARSE_ERROR),
 * and ends at the first line between objects that begins none. OSIF_ERR_FILE_OPEN when the file cannot
 * be opened, OSIF_ERR_INVALID_STREAM when its first line begins no known object.
 */
OSIF_API OsifResult OSIF_ReadObjects(const WCHAR* file_name, OsifReadCallback callback,
                                     void* context);

/* Releases everything that hangs from the record and clears it. Always OSIF_OK. */
OSIF_API OsifResult OSIF_FreeObject(int32_t store_id, OsifObject* object);

/*
 * Copies the object's display name, cut to `size` - 1 characters, into `buffer`.
 * Returns the whole name's length in characters, 0 when it has none.
 */
OSIF_API uint32_t OSIF_GetObjectName(int32_t store_id, OsifObject* object, WCHAR* buffer,
                                     uint32_t size);

/*
 * The English text of a result code. The text of an unknown code lies in one buffer that the next
 * such call overwrites.
 */
OSIF_API const WCHAR* OSIF_CodeToString(OsifResult code);

/*
 * Opens a store's change log in a folder and brings it up to date with the store. For notes and
 * messages OSIF_ERR_NOT_IMPLEMENTED, but the log is open: it records the changes made through the library.
 */
OSIF_API OsifResult OSIF_CL_Open(int32_t store_id, const WCHAR* path);

/*
 * Closes a store's change log, keeps its newest 250 entries and saves the store's state beside it. For
 * notes and messages OSIF_ERR_NOT_IMPLEMENTED, but the log is closed. OSIF_ERR_CL_NOT_OPENED when it was
 * not open.
 */
OSIF_API OsifResult OSIF_CL_Close(int32_t store_id);

/*
 * The anchor of the newest entry; zero and empty for an empty log. OSIF_ERR_CL_NOT_OPENED when the log
 * is not open, as from the two functions behind.
 */
OSIF_API OsifResult OSIF_CL_GetCurrentAnchor(int32_t store_id, OsifAnchor* anchor);

/*
 * The first entry after an anchor, and the ones after it; each object is given once, with its latest
 * change. OSIF_ERR_EOF at the end; OSIF_ERR_CL_GAP (the entry is valid) when entries in between are gone.
 */
OSIF_API OsifResult OSIF_CL_GetFirstEntry(int32_t store_id, const OsifAnchor* anchor,
                                          ChangeLogEntry* entry);
OSIF_API OsifResult OSIF_CL_GetNextEntry(int32_t store_id, ChangeLogEntry* entry);

/* The room that the buffer of OSIF_CL_GetDatabaseId must have; the id itself has 8 characters. */
#define OSIF_DATABASE_ID_SIZE 512

/*
 * The store's database id; a new one tells a partner that its anchors no longer apply.
 * OSIF_ERR_GENERAL when the store's change log is not open.
 */
OSIF_API OsifResult OSIF_CL_GetDatabaseId(int32_t store_id, char* id);

#ifdef __cplusplus
}
#endif

#endif /* OSIF_H */
