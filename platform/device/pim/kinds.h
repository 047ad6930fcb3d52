// The kinds of PIM items: which folder holds them, and how items of the kind come to be.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/object.h"
#include "platform/device/pim/table.h"

namespace device {

struct PimKind {
  OlDefaultFolders folder;
  OlItemType type;
  const PimTable* (*table)();
  // An item that is not in the store yet.
  HRESULT (*create)(const PimSession& session, IDispatch** item);
  // The item with an object id; kNoSuchItem when the kind's table has none.
  HRESULT (*load)(const PimSession& session, int32_t oid, IDispatch** item);
};

// Null for a number that is no folder or type of the store.
const PimKind* KindOfFolder(int folder);
const PimKind* KindOfType(int type);

// The three calls that give items. `item` may be null, which is E_INVALIDARG, and holds null after
// a failure.
HRESULT CreateItem(const PimSession& session, const PimKind& kind, IDispatch** item);
// kNoSuchItem when there is no item of the kind with the object id.
HRESULT LoadItem(const PimSession& session, const PimKind& kind, int32_t oid, IDispatch** item);
// The same for an item of any kind.
HRESULT LoadItem(const PimSession& session, int32_t oid, IDispatch** item);

}  // namespace device
