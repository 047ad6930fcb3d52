// The start of messaging. MAPIInitialize and MAPILogonEx (platform/api/cemapi.h) go through two
// functions that a test can replace, and so give the library another session object.
#pragma once

#include "platform/api/cemapi.h"

namespace device {

// What MAPIInitialize does; it counts itself when this succeeds.
using MapiStart = HRESULT (*)();

// Makes a session object with one reference.
using MapiLogon = HRESULT (*)(IMAPISession** session);

// Put a function in the place of the present one, which they return, so that a test can put it
// back. Null stands for the device's own, before and after.
MapiStart SetMapiStart(MapiStart start);
MapiLogon SetMapiLogon(MapiLogon logon);

// How many MAPIInitialize have had no MAPIUninitialize yet.
int MapiUses();

// The device's own logon: a session with its message store.
HRESULT LogOnToDevice(IMAPISession** session);

}  // namespace device
