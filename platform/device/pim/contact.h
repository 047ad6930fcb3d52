// Contacts: items of the contacts folder.
//
// A contact holds its values in memory from its creation or loading on. Only Save, Delete and the
// collection's Remove change the store; Save writes the whole contact at once, or nothing of it.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/object.h"

namespace device {

// A contact that is not in the store yet. The pointer handed out is the contact's IContact.
HRESULT NewContact(const PimSession& session, IDispatch** item);

// The contact with an object id; kNoSuchItem when there is none.
HRESULT LoadContact(const PimSession& session, int32_t oid, IDispatch** item);

}  // namespace device
