// The session with the messaging store, from which the message stores 3, 4 and 5 are served, and the three
// folders in it: Inbox, Sent items and Outbox.
//
// The session starts at the first message operation and lasts until MAPI_DeInit. A folder that could not be
// opened is only traced; it is not tried again while the session lasts.
#pragma once

#include "osif.h"
#include "platform/api/cemapi.h"
#include "platform/api/com_ptr.h"

// The hook that opening the PIM session calls. It does no work: always OSIF_OK.
OsifResult MAPI_Init();

// Ends the messaging session. OSIF_ERR_PIM when the log-off failed; the session is over all the same.
OsifResult MAPI_DeInit();

// Makes sure that the session is up. OSIF_ERR_PIM when it cannot be started.
OsifResult mapi_Initialize();

// What counting, deleting and enumerating messages answer: OSIF_ERR_NOT_IMPLEMENTED once the session is up.
OsifResult MAPI_NotImplemented();

// A folder and the name by which message records know it.
struct MessageFolder {
  ComPtr<IMAPIFolder> folder;  // null when it could not be opened
  const char* name;
};

// "OUTBOX" and "SENTBOX", in any case; any other name is the Inbox, "INBOX".
MessageFolder mapi_FolderOfName(const char* name);

// For the stores 3 to 5; another id has no folder and an empty name.
MessageFolder mapi_FolderOfStore(int32_t store_id);
