// The device's one message store.
#pragma once

#include <memory>

#include "platform/api/cemapi.h"
#include "platform/device/database.h"
#include "platform/device/mail/values.h"

namespace device {

// What the store tells of itself: also its row in the table of stores.
MapiProperties StoreProperties();

// A new store object.
IMsgStore* NewStore(const std::shared_ptr<Database>& database);

}  // namespace device
