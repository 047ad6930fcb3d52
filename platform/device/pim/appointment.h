// Appointments: items of the calendar folder.
//
// An appointment holds its values in memory from its creation or loading on. Only Save, Delete and the
// collection's Remove change the store; Save writes the whole appointment, with its
// recurrence and recipients, at once, or nothing of it.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/object.h"

namespace device {

// An appointment that is not in the store yet. The pointer handed out is the appointment's IAppointment.
HRESULT NewAppointment(const PimSession& session, IDispatch** item);

// The appointment with an object id; kNoSuchItem when there is none.
HRESULT LoadAppointment(const PimSession& session, int32_t oid, IDispatch** item);

}  // namespace device
