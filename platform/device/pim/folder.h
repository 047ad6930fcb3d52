// A folder of the PIM store, which gives collections of its items.
#pragma once

#include "platform/device/pim/kinds.h"

namespace device {

// Into `folder`, which may be null (E_INVALIDARG). The kind is one of the table's.
HRESULT NewFolder(const PimSession& session, const PimKind& kind, IFolder** folder);

}  // namespace device
