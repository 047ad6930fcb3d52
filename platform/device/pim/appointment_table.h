// The table of appointments.
#pragma once

#include <cstddef>

#include "platform/device/pim/table.h"

namespace device {

// Each names the row of the same place in AppointmentTable().properties: both are made of one list.
enum class AppointmentProperty : size_t {
#define PROPERTY(name, column, kind, access) k##name,
#include "platform/device/pim/appointment_properties.inc"
};

constexpr size_t Index(AppointmentProperty property) { return static_cast<size_t>(property); }

// How appointments are kept; never null.
const PimTable* AppointmentTable();

}  // namespace device
