// The table of contacts.
#pragma once

#include <cstddef>

#include "platform/device/pim/table.h"

namespace device {

// Each names the row of the same place in ContactTable().properties: both are made of one list.
enum class ContactProperty : size_t {
#define PROPERTY(name, column, kind, access) k##name,
#include "platform/device/pim/contact_properties.inc"
};

constexpr size_t Index(ContactProperty property) { return static_cast<size_t>(property); }

// How contacts are kept; never null.
const PimTable* ContactTable();

}  // namespace device
