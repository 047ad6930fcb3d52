// Messages as objects: what is put into one is collected and stored whole.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/api/cemapi.h"
#include "platform/device/database.h"

namespace device {

// A new message of a folder, with an id of its own, not yet stored. Throws a MapiFailure.
IMessage* NewMessage(const std::shared_ptr<Database>& database, int64_t folder);

// A stored message; throws MAPI_E_NOT_FOUND when there is none with the id.
IMessage* OpenMessage(const std::shared_ptr<Database>& database, int64_t id);

}  // namespace device
