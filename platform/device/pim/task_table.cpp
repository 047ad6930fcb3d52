#include "platform/device/pim/task_table.h"

namespace device {
namespace {

using Kind = PimPropertyKind;

constexpr PimProperty kProperties[] = {
    {"Subject", "subject", Kind::kText},
    {"Categories", "categories", Kind::kCategories},
    {"StartDate", "start_date", Kind::kDate},
    {"DueDate", "due_date", Kind::kDate},
    {"DateCompleted", "date_completed", Kind::kDate},
    {"Importance", "importance", Kind::kNumber},
    {"Complete", "complete", Kind::kFlag},
    {"Sensitivity", "sensitivity", Kind::kNumber},
    {"TeamTask", "team_task", Kind::kFlag},
    {"Body", "body", Kind::kText},
    {"ReminderSet", "reminder_set", Kind::kFlag},
    {"ReminderSoundFile", "reminder_sound_file", Kind::kText},
    {"ReminderTime", "reminder_time", Kind::kDate},
    {"ReminderOptions", "reminder_options", Kind::kNumber},
};

static_assert(std::size(kProperties) == 14);
static_assert(kProperties[Index(TaskProperty::kCategories)].name == "Categories");
static_assert(kProperties[Index(TaskProperty::kSensitivity)].name == "Sensitivity");
static_assert(kProperties[Index(TaskProperty::kReminderOptions)].name == "ReminderOptions");

}  // namespace

const PimTable* TaskTable() {
  static constexpr PimTable kTable = {"pim_tasks", kProperties};
  return &kTable;
}

}  // namespace device
