// The session with the messaging store, from which the message stores 3, 4 and 5 are served.
#pragma once

#include "osif.h"

// The hook that opening the PIM session calls. It does no work: the messaging session starts at the first
// message operation. Always OSIF_OK.
OsifResult MAPI_Init();

// Ends the messaging session.
OsifResult MAPI_DeInit();
