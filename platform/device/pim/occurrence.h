// Single occurrences of an appointment's series, as appointments of their own.
//
// Save and Delete make the occurrence an exception of its series, at once. It has no id but that of
// its series, and no recurrence.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/appointment_object.h"
#include "platform/device/pim/object.h"
#include "platform/device/pim/series.h"

namespace device {

// The occurrence of a series (by its object id) on a day, with the values of the series.
HRESULT NewOccurrence(const PimSession& session, int32_t series, const Appointment& values,
                      int32_t day, IAppointment** occurrence);

// An occurrence that was changed, with the values that it was saved with; kNoSuchItem when it is
// gone.
HRESULT LoadOccurrence(const PimSession& session, int32_t series, const SeriesException& exception,
                       IAppointment** occurrence);

}  // namespace device
