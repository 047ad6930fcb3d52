/**
 * @file
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
/** One unit of a wide text: UTF-16 on every system. */
typedef wchar_t WCHAR;
#else
/** One unit of a wide text: UTF-16 on every system. */
typedef char16_t WCHAR;
#endif

#if defined(__GNUC__)
/** Marks what the library exports. */
#define OSIF_API __attribute__((visibility("default")))
#else
#define OSIF_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes --------------------------------------------------------------------------- */

/** The outcome of an exported function: 0 is success. OSIF_CodeToString gives a text for each. */
typedef uint32_t OsifResult;

/** The values of OsifResult. */
enum {
  OSIF_OK = 0,                      /**< all went well */
  OSIF_ERR_GENERAL = 1,             /**< something failed that has no code of its own */
  OSIF_ERR_NOT_OPENED = 2,          /**< the interface is not opened */
  OSIF_ERR_STORE_NOT_OPENED = 3,    /**< the store is not opened */
  OSIF_ERR_END_OF_STORE = 4,        /**< an enumeration has given every id */
  OSIF_ERR_EOF = 5,                 /**< no further entry in a change log */
  OSIF_ERR_NOT_FOUND = 6,           /**< the id names no object */
  OSIF_ERR_FILE_OPEN = 7,           /**< the file cannot be opened */
  OSIF_ERR_INVALID_STREAM = 8,      /**< a file that begins with no known object */
  OSIF_ERR_INVALID_ID = 9,          /**< a missing or malformed id */
  OSIF_ERR_MISSING_FIELD = 10,      /**< the object lacks a field that its store needs */
  OSIF_ERR_NO_MEMORY = 11,          /**< memory is short */
  OSIF_ERR_CL_NOT_OPENED = 12,      /**< the store's change log is not open */
  OSIF_ERR_CL_GAP = 13,             /**< entries are gone: synchronise everything */
  OSIF_ERR_PIM = 14,                /**< the store refused, or cannot be opened */
  OSIF_ERR_PIM_NOT_OPENED = 15,     /**< contacts or calendar before OSIF_Open */
  OSIF_ERR_NOT_IMPLEMENTED = 16,    /**< the store does not offer this */
  OSIF_ERR_TYPE_NOT_SUPPORTED = 17, /**< an unknown store */
  OSIF_PARSE_OK = 18,               /**< read, and all of it was understood */
  OSIF_PARSE_WARNING = 19,          /**< read, but something in the object was not understood */
  OSIF_PARSE_ERROR = 20             /**< the object was refused */
};

/* ---- Stores --------------------------------------------------------------------------------- */

/** The stores, as every call names them. */
enum {
  OSIF_STORE_PB = 0,       /**< contacts */
  OSIF_STORE_CAL = 1,      /**< appointments and tasks */
  OSIF_STORE_NOTE = 2,     /**< notes */
  OSIF_STORE_MSG_IN = 3,   /**< messages: Inbox */
  OSIF_STORE_MSG_SENT = 4, /**< messages: Sent items */
  OSIF_STORE_MSG_OUT = 5   /**< messages: Outbox */
};

/**
 * The room that every buffer for an object id must have, terminator included. Contacts, appointments
 * and tasks have ids of eight lower-case hexadecimal digits; a note's id is its name in the system's
 * code page; a message's id is the message store's entry id in upper-case hexadecimal digits. A note's
 * id that would be longer is cut; a message whose id would be is not handed out.
 */
#define OSIF_ID_SIZE 513

/* ---- The object record ---------------------------------------------------------------------- */

/** One parameter or one component of a value. */
typedef struct OsifText {
  struct OsifText* next; /**< the next parameter or component */
  char* text;            /**< zero-terminated, owned; null where a position has no text */
  uint8_t used;          /**< 1 for a node that belongs to the value */
} OsifText;

/** PropertyValue::flags. At most one of the first three is set. */
enum {
  OSIF_VALUE_QUOTED_PRINTABLE = 0x1, /**< ENCODING=QUOTED-PRINTABLE */
  OSIF_VALUE_BASE64 = 0x2,           /**< ENCODING=BASE64 */
  OSIF_VALUE_8BIT = 0x4,             /**< ENCODING=8BIT */
  OSIF_VALUE_CHARSET = 0x8           /**< a CHARSET parameter is present */
};

/**
 * One value of one property (vCard 2.1, section 2; vCalendar 1.0, section 2). The texts are raw: still
 * encoded as the flags say, in the sender's character set, with the escapes `\;` and `\\` left in.
 */
typedef struct PropertyValue {
  uint32_t flags;             /**< OSIF_VALUE_... */
  OsifText* params;           /**< in received order, such as "HOME" or "ENCODING=BASE64" */
  OsifText* components;       /**< by position */
  uint32_t codePage;          /**< of the texts, once one was encoded or decoded; 0 before */
  struct PropertyValue* next; /**< the property's next value */
} PropertyValue;

/**
 * Contacts (store 0). Every field is a list of values, null when there is none: the values of
 * the properties named beside it.
 */
typedef struct OsifContact {
  PropertyValue* n;            /**< N: family name, given name, further names, prefix, suffix */
  PropertyValue* fn;           /**< FN */
  PropertyValue* nickname;     /**< NICKNAME */
  PropertyValue* adr;          /**< ADR: box, extension, street, locality, region, code, country */
  PropertyValue* org;          /**< ORG: organisation, department; DEPT adds to it */
  PropertyValue* title;        /**< TITLE */
  PropertyValue* role;         /**< ROLE */
  PropertyValue* tel;          /**< TEL; X-MICROSOFT-ASST_TEL */
  PropertyValue* url;          /**< URL */
  PropertyValue* email;        /**< EMAIL */
  PropertyValue* note;         /**< NOTE */
  PropertyValue* bday;         /**< BDAY */
  PropertyValue* xSpouse;      /**< X-SPOUSE, SPOUSE */
  PropertyValue* xAnniversary; /**< X-ANNIVERSARY, ANNIVERSARY */
  PropertyValue* xChildren;    /**< X-CHILDREN, CHILDREN */
  PropertyValue* xAssistant;   /**< X-ASSISTANT, X-MICROSOFT-ASSISTANT */
  PropertyValue* xCat;         /**< X-CAT, CATEGORIES */
  PropertyValue* xMicrosoftOfficeloc; /**< X-MICROSOFT-OFFICELOC */
  PropertyValue* dept;                /**< filled by the contact store only */
  PropertyValue* xMicrosoftAsstTel;   /**< filled by the contact store only */
} OsifContact;

/** OsifObject::calendarKind */
enum {
  OSIF_CALENDAR_UNKNOWN = 0, /**< neither of the two */
  OSIF_CALENDAR_EVENT = 1,   /**< an appointment: the tail is OsifEventTail */
  OSIF_CALENDAR_TODO = 2     /**< a task: the tail is OsifTodoTail */
};

/** The further fields of an appointment. */
typedef struct OsifEventTail {
  PropertyValue* location; /**< LOCATION */
  PropertyValue* dAlarm;   /**< DALARM: run time, snooze time, repeat count, display text */
  PropertyValue* aAlarm;   /**< AALARM: run time, snooze time, repeat count, audio content */
  PropertyValue* rRule;    /**< RRULE */
  PropertyValue* exDate;   /**< EXDATE */
  PropertyValue* attendee; /**< ATTENDEE */
  PropertyValue* attach;   /**< ATTACH */
  uint8_t allDayEvent;     /**< X-BLUETOOTH-ALLDAYEVENT: 0 or 1 */
} OsifEventTail;

/** The further fields of a task. */
typedef struct OsifTodoTail {
  PropertyValue* dAlarm;   /**< DALARM */
  PropertyValue* aAlarm;   /**< AALARM */
  PropertyValue* rRule;    /**< RRULE */
  PropertyValue* exDate;   /**< EXDATE */
  PropertyValue* attendee; /**< ATTENDEE */
  PropertyValue* attach;   /**< ATTACH */
} OsifTodoTail;

/** Appointments and tasks (store 1). OsifObject::calendarKind says which tail is valid. */
typedef struct OsifCalendar {
  PropertyValue* categories;  /**< CATEGORIES */
  PropertyValue* completed;   /**< COMPLETED */
  PropertyValue* description; /**< DESCRIPTION */
  PropertyValue* due;         /**< DUE */
  PropertyValue* dtEnd;       /**< DTEND */
  PropertyValue* priority;    /**< PRIORITY */
  PropertyValue* dtStart;     /**< DTSTART */
  PropertyValue* status;      /**< STATUS */
  PropertyValue* summary;     /**< SUMMARY */
  PropertyValue* class_;      /**< CLASS */
  union {
    OsifEventTail event; /**< of OSIF_CALENDAR_EVENT */
    OsifTodoTail todo;   /**< of OSIF_CALENDAR_TODO */
  } tail;                /**< what depends on the kind */
} OsifCalendar;

/** Notes (store 2). */
typedef struct OsifNote {
  PropertyValue* dCreated;     /**< DCREATED */
  PropertyValue* lastModified; /**< LAST-MODIFIED */
  PropertyValue* categories;   /**< CATEGORIES */
  PropertyValue* class_;       /**< CLASS */
  PropertyValue* body;         /**< BODY */
  PropertyValue* summary;      /**< SUMMARY: the note's name, which is its id */
} OsifNote;

/** One body part of a message. */
typedef struct MessagePart {
  char contentType[128];            /**< Content-Type */
  char contentTransferEncoding[50]; /**< Content-Transfer-Encoding */
  char* bodyText;                   /**< owned; null when there is none */
  WCHAR attachmentFile[256];        /**< temporary file with a named part's content; else empty */
  struct MessagePart* nextPart;     /**< owned; null at the last part */
} MessagePart;

/** What the record's union has room for, the same on every platform. */
#define OSIF_FIELDS_SIZE 9248

/** Messages (stores 3 to 5). Every text is zero-terminated within its field. */
typedef struct OsifMessage {
  char xIrmcStatus[7]; /**< X-IRMC-STATUS */
  char xIrmcType[5];   /**< X-IRMC-TYPE */
  char xBtFolder[50];  /**< X-BT-FOLDER */
  /** For the message store. */
  char storeData[OSIF_FIELDS_SIZE - 4468 - sizeof(MessagePart)];
  char mimeVersion[10];   /**< Mime-Version */
  char returnPath[100];   /**< Return-Path; written, never read */
  char date[100];         /**< Date */
  char from[1024];        /**< From */
  char to[1024];          /**< To */
  char ccAddresses[1024]; /**< Cc */
  char replyTo[100];      /**< Reply-To */
  char subject[1024];     /**< Subject */
  MessagePart part;       /**< the first or only part */
} OsifMessage;

/**
 * One object of any store: the store id of the call says which fields are meant. A record owns every
 * list and text that hangs from it, whoever made it; OSIF_FreeObject releases them all. Never copy a
 * record field by field.
 *
 * A caller may make records, and add to those that it was lent or has fetched. It begins with a record
 * whose bytes are all zero. Each value, node (OsifText), text, message part and body is a block of its
 * own from malloc or calloc, and every member of it is set, those that are not needed to zero. Once it
 * hangs from a record the library frees it with free:
 *
 * - A caller's values may stand in one list with the library's, and its nodes and texts in a value of
 *   the library's, anywhere.
 * - Where a caller puts a node or a text of its own in the place of one that the library made, or
 *   unlinks one, it does not free the old one: that stays its value's, and goes with it. What the
 *   caller made and takes out again, it frees itself.
 * - A value that the library made is never freed by a caller. It may go from one list to another; its
 *   nodes and texts stay in it.
 * - A message's bodyText and nextPart are always blocks of their own: who replaces one frees the old
 *   one with free. The file that attachmentFile names is removed with the record.
 */
typedef struct OsifObject {
  uint32_t flags;       /**< reserved, 0 */
  char xIrmcLuid[512];  /**< X-IRMC-LUID */
  char version[25];     /**< VERSION */
  uint8_t calendarKind; /**< OSIF_CALENDAR_... */
  union {
    OsifContact contact;   /**< store 0 */
    OsifCalendar calendar; /**< store 1 */
    OsifNote note;         /**< store 2 */
    OsifMessage message;   /**< stores 3 to 5 */
  };
} OsifObject;

/* ---- Change logs ---------------------------------------------------------------------------- */

/** The point up to which a synchronisation partner has seen a store's changes. */
typedef struct OsifAnchor {
  uint32_t cc; /**< change counter; 0 for none */
  char ts[20]; /**< time of the change in UTC, such as 20050314T101500Z; may be empty */
} OsifAnchor;

/** One entry of a store's change log. */
typedef struct ChangeLogEntry {
  uint32_t kind;               /**< 'M': added or modified; 'H': deleted */
  int32_t changeCounter;       /**< the number of the change */
  char timestamp[19];          /**< its time in UTC, such as 20050314T101500Z */
  char objectId[OSIF_ID_SIZE]; /**< the object */
} ChangeLogEntry;

#ifdef __cplusplus
static_assert(sizeof(OsifObject) == 9792, "the record has one size on every platform");
static_assert(sizeof(OsifAnchor) == 24, "the anchor has one size on every platform");
#else
_Static_assert(sizeof(OsifObject) == 9792, "the record has one size on every platform");
_Static_assert(sizeof(OsifAnchor) == 24, "the anchor has one size on every platform");
#endif

/* ---- Functions ------------------------------------------------------------------------------ */

/**
 * @name Functions
 *
 * What every function may answer beside its own codes: OSIF_ERR_INVALID_ID for a missing or malformed
 * object id and for a missing record, OSIF_ERR_GENERAL for a missing output block or buffer,
 * OSIF_ERR_TYPE_NOT_SUPPORTED for an unknown store, OSIF_ERR_PIM_NOT_OPENED for contacts and calendar
 * before OSIF_Open, OSIF_ERR_PIM when the store refuses, OSIF_ERR_NOT_FOUND for an id that names no
 * object, and OSIF_ERR_NO_MEMORY.
 *
 * @{
 */

/**
 * Receives one object that OSIF_ReadObjects has read. What it returns is ignored.
 *
 * @param object   lent until the callback returns
 * @param result   OSIF_PARSE_OK, or OSIF_PARSE_WARNING when this object or one before it in the file had
 *                 something that was not understood
 * @param context  as it was given to OSIF_ReadObjects
 */
typedef int32_t (*OsifReadCallback)(int32_t store_id, OsifObject* object, OsifResult result,
                                    void* context);

/**
 * Starts the diagnostic trace and opens the PIM session. Harmless when it is open already.
 * OSIF_ERR_PIM when the device's store cannot be opened.
 */
OSIF_API OsifResult OSIF_Open(void);

/** Ends the PIM and the message sessions. Always OSIF_OK. */
OSIF_API OsifResult OSIF_Close(void);

/**
 * Gives the number of objects of a store. OSIF_ERR_GENERAL without `count`, OSIF_ERR_NOT_IMPLEMENTED
 * for notes and messages.
 *
 * @param count  receives the number
 */
OSIF_API OsifResult OSIF_GetObjectCount(int32_t store_id, uint32_t* count);

/**
 * Adds an object.
 *
 * @param object  stays the caller's; reading a value may note its code page there
 * @param id      receives the new object's id (OSIF_ID_SIZE characters of room); may be null
 * @param anchor  may be null; otherwise it receives the anchor of the change, or stays zero with
 *                OSIF_ERR_CL_NOT_OPENED when the store's change log is not open (the object is stored
 *                all the same)
 */
OSIF_API OsifResult OSIF_AddObject(int32_t store_id, OsifObject* object, char* id,
                                   OsifAnchor* anchor);

/**
 * Overwrites what `object` holds of an existing object; fields that it lacks stay.
 *
 * @param object  the caller's, as in OSIF_AddObject
 * @param anchor  as in OSIF_AddObject
 */
OSIF_API OsifResult OSIF_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                                      OsifAnchor* anchor);

/**
 * Deletes an object. OSIF_ERR_NOT_IMPLEMENTED for notes and messages.
 *
 * @param anchor  as in OSIF_AddObject
 */
OSIF_API OsifResult OSIF_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor);

/**
 * Looks for the stored object with the same content: contacts by their five name parts, events by
 * start and summary, tasks and notes by summary, messages by time and subject or, where there is no
 * time, by subject, sender and body.
 *
 * @param id  written when the object is found (OSIF_ID_SIZE characters of room); may be null
 * @return    a truth value, not a result code
 */
OSIF_API int32_t OSIF_FindObject(int32_t store_id, OsifObject* object, char* id);

/**
 * Clears `object` and fills it. Release it with OSIF_FreeObject or OSIF_WriteObject. When the object
 * cannot be read the record stays cleared. OSIF_ERR_NOT_IMPLEMENTED for notes.
 */
OSIF_API OsifResult OSIF_GetObjectById(int32_t store_id, const char* id, OsifObject* object);

/**
 * Begins to walk the ids of a store, one walk at a time, and gives the first; OSIF_ERR_END_OF_STORE when
 * there is none. The walk sees the ids that the store holds now. OSIF_ERR_NOT_IMPLEMENTED for notes and
 * messages.
 *
 * @param id  receives the id (OSIF_ID_SIZE characters of room)
 */
OSIF_API OsifResult OSIF_GetFirstId(int32_t store_id, char* id);

/** The next id of the walk, as OSIF_GetFirstId gave the first; OSIF_ERR_END_OF_STORE after the last. */
OSIF_API OsifResult OSIF_GetNextId(int32_t store_id, char* id);

/**
 * Writes an object as vCard, vCalendar, vNote or vMessage with CR LF line ends, and releases the record.
 * OSIF_ERR_FILE_OPEN when the file cannot be opened; only then the record is not released.
 *
 * @param truncate  0 appends to what the file holds
 */
OSIF_API OsifResult OSIF_WriteObject(int32_t store_id, OsifObject* object, const WCHAR* file_name,
                                     uint8_t truncate);

/**
 * Reads every object of a file and hands each to a callback. The file's first line decides the format.
 * Reading stops at an object that is refused (OSIF_PARSE_ERROR), and ends at the first line between
 * objects that begins none. OSIF_ERR_FILE_OPEN when the file cannot be opened, OSIF_ERR_INVALID_STREAM
 * when its first line begins no known object.
 *
 * @param callback  may be null
 * @param context   handed to the callback unchanged
 */
OSIF_API OsifResult OSIF_ReadObjects(const WCHAR* file_name, OsifReadCallback callback,
                                     void* context);

/** Releases everything that hangs from the record and clears it. Always OSIF_OK. */
OSIF_API OsifResult OSIF_FreeObject(int32_t store_id, OsifObject* object);

/**
 * Copies the object's display name, cut to `size` - 1 characters, into `buffer`.
 *
 * @return the whole name's length in characters, 0 when it has none
 */
OSIF_API uint32_t OSIF_GetObjectName(int32_t store_id, OsifObject* object, WCHAR* buffer,
                                     uint32_t size);

/**
 * The English text of a result code. The text of an unknown code lies in one buffer that the next
 * such call overwrites.
 */
OSIF_API const WCHAR* OSIF_CodeToString(OsifResult code);

/**
 * Opens a store's change log in a folder and brings it up to date with the store. For notes and
 * messages OSIF_ERR_NOT_IMPLEMENTED, but the log is open: it records the changes made through the library.
 * OSIF_ERR_GENERAL, and nothing is done, when another program keeps a log of that folder open for the ten
 * seconds that are waited for it.
 *
 * @param path  the folder
 */
OSIF_API OsifResult OSIF_CL_Open(int32_t store_id, const WCHAR* path);

/**
 * Closes a store's change log, keeps its newest 250 entries and saves the store's state beside it. For
 * notes and messages OSIF_ERR_NOT_IMPLEMENTED, but the log is closed. OSIF_ERR_CL_NOT_OPENED when it was
 * not open.
 */
OSIF_API OsifResult OSIF_CL_Close(int32_t store_id);

/**
 * The anchor of the newest entry; zero and empty for an empty log. OSIF_ERR_CL_NOT_OPENED when the log
 * is not open, as from the two functions that follow.
 */
OSIF_API OsifResult OSIF_CL_GetCurrentAnchor(int32_t store_id, OsifAnchor* anchor);

/**
 * The first entry after an anchor; OSIF_CL_GetNextEntry gives the ones after it. Each object is given
 * once, with its latest change. OSIF_ERR_EOF at the end; OSIF_ERR_CL_GAP (the entry is valid) when
 * entries in between are gone.
 */
OSIF_API OsifResult OSIF_CL_GetFirstEntry(int32_t store_id, const OsifAnchor* anchor,
                                          ChangeLogEntry* entry);

/** The next entry after the one given last; OSIF_ERR_EOF at the end. */
OSIF_API OsifResult OSIF_CL_GetNextEntry(int32_t store_id, ChangeLogEntry* entry);

/** The room that the buffer of OSIF_CL_GetDatabaseId must have; the id itself has 8 characters. */
#define OSIF_DATABASE_ID_SIZE 512

/**
 * The store's database id; a new one tells a partner that its anchors no longer apply.
 * OSIF_ERR_GENERAL when the store's change log is not open.
 *
 * @param id  OSIF_DATABASE_ID_SIZE characters of room
 */
OSIF_API OsifResult OSIF_CL_GetDatabaseId(int32_t store_id, char* id);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* OSIF_H */
