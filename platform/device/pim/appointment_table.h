// The properties of an appointment, in the order in which IAppointment declares them. What IAppointment
// has beyond them is derived (Duration, MeetingStatus) or kept in tables of its own.
#pragma once

#include <cstddef>

#include "platform/device/pim/table.h"

namespace device {

// Each names the row of the same place in AppointmentTable().properties.
enum class AppointmentProperty : size_t {
  kSubject,
  kLocation,
  kCategories,
  kStart,
  kEnd,
  kAllDayEvent,
  kBusyStatus,
  kSensitivity,
  kBody,
  kReminderSet,
  kReminderSoundFile,
  kReminderMinutesBeforeStart,
  kReminderOptions,
};

constexpr size_t Index(AppointmentProperty property) { return static_cast<size_t>(property); }

const PimTable* AppointmentTable();

}  // namespace device
