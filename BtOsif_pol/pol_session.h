// The one session with the handheld's PIM. Module-wide, without a lock: callers serialise.
#pragma once

#include "osif.h"
#include "platform/api/pimstore.h"

// Opens the session; harmless when it is open. OSIF_ERR_PIM when the PIM cannot be reached or refuses.
OsifResult POL_Open();

// Closes the session and ends a walk over ids. Always OSIF_OK.
OsifResult POL_Close();

// The application object, borrowed; null while the session is closed.
IPOutlookApp* pol_Application();

// True when properties that only one vendor's PIM knows are not to be sent (DoNotSendMsftProperties as it
// was at the last open).
bool pol_SuppressesVendorProperties();
