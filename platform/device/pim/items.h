// A collection of the items of a folder: the ids that the folder held at that time, ascending.
//
// It does not grow when items are saved. An item that was deleted meanwhile, by whomever, keeps its
// place and cannot be had any more.
#pragma once

#include "platform/device/pim/kinds.h"

namespace device {

// Into `items`, which may be null (E_INVALIDARG). The kind is one of the table's.
HRESULT NewItems(const PimSession& session, const PimKind& kind, IPOutlookItemCollection** items);

}  // namespace device
