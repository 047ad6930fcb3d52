// The recurrence pattern of an item as an object: a view of the recurrence that the item holds.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/object.h"
#include "platform/device/pim/recurrence.h"

namespace device {

// What a pattern asks of its item.
class PatternOwner {
 public:
  // The recurrence as it stands, saved or not; its start is always right.
  virtual Recurrence& GetRecurrence() = 0;
  virtual HRESULT PutPatternStart(int32_t day) = 0;

  // The item as an appointment; null, without a reference, for a task.
  virtual IAppointment* ThisAppointment() = 0;
  // Both are handed a place that holds null.
  virtual HRESULT MakeExceptions(IExceptions** exceptions) = 0;
  virtual HRESULT MakeOccurrence(int32_t day, IAppointment** occurrence) = 0;

 protected:
  ~PatternOwner() = default;
};

// A pattern of the owner, which is a part of the item.
HRESULT NewPattern(const ComPtr<IDispatch>& item, PatternOwner& owner,
                   const ComPtr<IPOutlookApp>& application, IRecurrencePattern** pattern);

}  // namespace device
