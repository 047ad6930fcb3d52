// Messages between the object record and the folders of the messaging store.
//
// A message's id is its entry id in upper-case hexadecimal digits, two a byte. The folder of a record is
// chosen by its xBtFolder, that of a message to be read by the store. Each call starts the messaging
// session when there is none.
#pragma once

#include "osif.h"

// Whether the folder holds a message with the record's date, to the 100 nanoseconds, and its subject, in
// the same case. `id` (OSIF_ID_SIZE, may be null) receives the id of the first one.
bool MAPI_FindMail(const OsifObject& record, char* id);

// Adds a message. `id` (OSIF_ID_SIZE, may be null) receives its id.
OsifResult MAPI_AddMail(const OsifObject& record, char* id);

// Changes the fields that the record has; its recipients are added to those of the message.
// OSIF_ERR_INVALID_ID for an id that is none, OSIF_ERR_PIM for one that nothing has.
OsifResult MAPI_ModifyMail(const OsifObject& record, const char* id);

// Fills a cleared record. Errors as for MAPI_ModifyMail.
OsifResult MAPI_GetMailById(int32_t store_id, const char* id, OsifObject& record);
