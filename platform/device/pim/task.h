// Tasks: items of the tasks folder.
//
// A task holds its values in memory from its creation or loading on. Only Save, Delete and the
// collection's Remove change the store; Save writes the whole task, with its
// recurrence, at once, or nothing of it.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/object.h"

namespace device {

// A task that is not in the store yet. The pointer handed out is the task's ITask.
HRESULT NewTask(const PimSession& session, IDispatch** item);

// The task with an object id; kNoSuchItem when there is none.
HRESULT LoadTask(const PimSession& session, int32_t oid, IDispatch** item);

}  // namespace device
