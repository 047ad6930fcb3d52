// The appointment's object: the values in memory, and how they come from and go to the store.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/appointment_table.h"
#include "platform/device/pim/item.h"
#include "platform/device/pim/pattern.h"
#include "platform/device/pim/property_access.h"
#include "platform/device/pim/recipients.h"
#include "platform/device/pim/recurrence.h"

namespace device {

// Start and End are kept as they were put while AllDayEvent can still change: what the appointment
// shows and saves is made from them by StartTime() and EndTime().
class Appointment : public PimItem<IAppointment, IID_IAppointment, AppointmentProperty>,
                    protected PatternOwner {
 public:
  using Property = AppointmentProperty;

  // Of one hour, from the next full hour on.
  explicit Appointment(const PimSession& session);

  // Takes what is stored under an object id; kNoSuchItem when there is nothing.
  HRESULT Load(int32_t oid);

  // Takes the values and recipients of another appointment, not its recurrence.
  void TakeValues(const Appointment& other);

#define PROPERTY(name, column, kind, access) PIM_ACCESS_##access(name, kind)
#include "platform/device/pim/appointment_properties.inc"

  HRESULT ClearRecurrencePattern() override;
  HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) override;
  HRESULT get_IsRecurring(VARIANT_BOOL* value) override;
  HRESULT get_Recipients(IRecipients** value) override;
  HRESULT get_MeetingStatus(LONG* value) override;

  // Each of the three moves another: see appointment.cpp.
  HRESULT get_Start(DATE* value) override { return Give(StartTime(), value); }
  HRESULT get_Duration(LONG* value) override;
  HRESULT get_End(DATE* value) override { return Give(EndTime(), value); }
  HRESULT put_Start(DATE value) override;
  HRESULT put_Duration(LONG value) override;
  HRESULT put_End(DATE value) override;
  HRESULT put_AllDayEvent(VARIANT_BOOL value) override;
  HRESULT put_BusyStatus(LONG value) override {
    return PutNumber(Property::kBusyStatus, value, olFree, olOutOfOffice);
  }
  HRESULT put_Sensitivity(LONG value) override {
    return PutNumber(Property::kSensitivity, value, olNormal, olConfidential);
  }
  HRESULT put_ReminderMinutesBeforeStart(LONG value) override {
    return PutNumber(Property::kReminderMinutesBeforeStart, value, 0, kLargestNumber);
  }
  HRESULT put_ReminderOptions(LONG value) override {
    return PutNumber(Property::kReminderOptions, value, 0, kAllReminderOptions);
  }

  HRESULT Save() override;
  HRESULT Delete() override { return DeleteRow(); }
  HRESULT Copy(IAppointment** copy) override;

 protected:
  // What is stored under an object id, but for the recurrence.
  HRESULT LoadValues(int32_t oid);
  // Writes the same in the caller's transaction, under a new object id when it is 0.
  HRESULT WriteValues(int folder, int32_t* oid) const;

 private:
  bool IsAllDay() const { return Number(Property::kAllDayEvent) != 0; }
  DATE StartTime() const;
  DATE EndTime() const;
  int64_t LengthInSeconds() const;
  HRESULT WriteSeries(int32_t oid) const;
  ComPtr<IDispatch> Self();

  Recurrence& GetRecurrence() override { return recurrence_; }
  HRESULT PutPatternStart(int32_t day) override;
  IAppointment* ThisAppointment() override { return this; }
  HRESULT MakeExceptions(IExceptions** exceptions) override;
  HRESULT MakeOccurrence(int32_t day, IAppointment** occurrence) override;

  RecipientList recipients_;
  Recurrence recurrence_;                // starts on the day of Start
  bool are_exceptions_cleared_ = false;  // those in the store go at the next Save
};

}  // namespace device
