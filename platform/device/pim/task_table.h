// The table of tasks.
#pragma once

#include <cstddef>

#include "platform/device/pim/table.h"

namespace device {

// Each names the row of the same place in TaskTable().properties: both are made of one list.
enum class TaskProperty : size_t {
#define PROPERTY(name, column, kind, access) k##name,
#include "platform/device/pim/task_properties.inc"
};

constexpr size_t Index(TaskProperty property) { return static_cast<size_t>(property); }

// How tasks are kept; never null.
const PimTable* TaskTable();

}  // namespace device
