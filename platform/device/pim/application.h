// The PIM store's application object, the one object of it that programs create.
#pragma once

#include "platform/api/automation.h"

namespace device {

// A new application object, not logged on, through one of its interfaces (IUnknown, IDispatch,
// IPOutlookApp); E_NOINTERFACE and null for any other.
HRESULT CreatePimApplication(REFIID iid, void** object);

}  // namespace device
