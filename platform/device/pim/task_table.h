// The properties of a task, in the order in which ITask declares them.
#pragma once

#include <cstddef>

#include "platform/device/pim/table.h"

namespace device {

// Each names the row of the same place in TaskTable().properties.
enum class TaskProperty : size_t {
  kSubject,
  kCategories,
  kStartDate,
  kDueDate,
  kDateCompleted,
  kImportance,
  kComplete,
  kSensitivity,
  kTeamTask,
  kBody,
  kReminderSet,
  kReminderSoundFile,
  kReminderTime,
  kReminderOptions,
};

constexpr size_t Index(TaskProperty property) { return static_cast<size_t>(property); }

const PimTable* TaskTable();

}  // namespace device
