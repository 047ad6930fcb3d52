#include "platform/device/pim/appointment_table.h"

namespace device {
namespace {

using Kind = PimPropertyKind;

constexpr PimProperty kProperties[] = {
    {"Subject", "subject", Kind::kText},
    {"Location", "location", Kind::kText},
    {"Categories", "categories", Kind::kCategories},
    {"Start", "start_date", Kind::kDate},
    {"End", "end_date", Kind::kDate},
    {"AllDayEvent", "all_day_event", Kind::kFlag},
    {"BusyStatus", "busy_status", Kind::kNumber},
    {"Sensitivity", "sensitivity", Kind::kNumber},
    {"Body", "body", Kind::kText},
    {"ReminderSet", "reminder_set", Kind::kFlag},
    {"ReminderSoundFile", "reminder_sound_file", Kind::kText},
    {"ReminderMinutesBeforeStart", "reminder_minutes_before_start", Kind::kNumber},
    {"ReminderOptions", "reminder_options", Kind::kNumber},
};

static_assert(std::size(kProperties) == 13);
static_assert(kProperties[Index(AppointmentProperty::kCategories)].name == "Categories");
static_assert(kProperties[Index(AppointmentProperty::kSensitivity)].name == "Sensitivity");
static_assert(kProperties[Index(AppointmentProperty::kReminderOptions)].name == "ReminderOptions");

}  // namespace

const PimTable* AppointmentTable() {
  static constexpr PimTable kTable = {"pim_appointments", kProperties};
  return &kTable;
}

}  // namespace device
