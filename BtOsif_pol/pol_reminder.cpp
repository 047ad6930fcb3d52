// A record has alarms as instants. A task keeps its reminder as an instant, too; an appointment keeps how
// many minutes it is before the start, 45 days at most. An alarm that cannot be kept is traced and sets
// nothing: the item keeps what it had. A record without an alarm takes the reminder away.
//
// The way back gives the same instant as both kinds of alarm, since a device may look at one of them only.
#include "BtOsif_pol/pol_reminder.h"

#include <cmath>

#include "BtOsif_pol/pol_mapping.h"
#include "btosif/osif_date.h"
#include "config/trace.h"

namespace {

constexpr int64_t kSecondsPerDay = int64_t{24} * 60 * 60;
constexpr int64_t kSecondsPerMinute = 60;
constexpr int64_t kMinutesPerDay = int64_t{24} * 60;
constexpr double kLongestDays = 45;
constexpr int64_t kLongestMinutes = 45 * kMinutesPerDay;
constexpr LONG kDialogOption = olDialog;

constexpr const char* kAfterDue = "OSIF:  Reminder date/time is after the DUE date.";
constexpr const char* kTooEarly =
    "OSIF:  DALARM 'Reminder date/time' is more than 45 days before the START date.";

// Devices send one of both, or the same in both. The date of the alarm; the no-date mark without one.
template <typename Tail>
DATE AlarmOf(const Tail& tail) {
  if (pol_HasFirstText(tail.dAlarm)) return pol_DateOf(tail.dAlarm);
  return pol_HasFirstText(tail.aAlarm) ? pol_DateOf(tail.aAlarm) : kNoDate;
}

// What else the user has chosen for the reminder, a sound or a light, stays.
template <typename Item>
void SetReminder(Item& item) {
  item.put_ReminderSet(VARIANT_TRUE);
  item.put_ReminderOptions(pol_Get(item, &Item::get_ReminderOptions) | kDialogOption);
}

// Moves a date to the start of its day; false when it is outside the calendar.
bool MoveToMidnight(DATE* date) {
  SYSTEMTIME time = {};
  if (!DateToSystemTime(*date, &time)) return false;
  time.wHour = 0;
  time.wMinute = 0;
  time.wSecond = 0;
  return SystemTimeToDate(time, date) != 0;
}

// The time from a date to a later one in whole minutes, seconds dropped.
int64_t MinutesBetween(DATE earlier, DATE later) {
  const double seconds = (later - earlier) * static_cast<double>(kSecondsPerDay);
  return static_cast<int64_t>(std::llround(seconds)) / kSecondsPerMinute;
}

}  // namespace

void pol_PutTaskReminder(OsifCalendar& record, ITask& task) {
  DATE alarm = AlarmOf(record.tail.todo);
  if (alarm == kNoDate) {
    task.put_ReminderSet(VARIANT_FALSE);
    return;
  }
  // Saving may move the dates of a recurring task to its pattern; the alarm is compared with them as they
  // then are.
  if (pol_Get(task, &ITask::get_IsRecurring) != VARIANT_FALSE) task.Save();
  if (alarm > pol_Get(task, &ITask::get_DueDate, kNoDate)) {
    OSIF_Trace(0, kAfterDue);
    return;
  }
  // Every alarm is moved to the midnight of its day, whatever its time.
  if (MoveToMidnight(&alarm)) {
    OSIF_Trace(0, "OSIF:  Reminder date/time adjusted to midnight");
  } else if (pol_Get(task, &ITask::get_StartDate, kNoDate) - alarm > kLongestDays) {
    OSIF_Trace(0, kTooEarly);
    return;
  }
  task.put_ReminderTime(alarm);
  SetReminder(task);
}

void pol_PutAppointmentReminder(OsifCalendar& record, IAppointment& appointment) {
  const DATE alarm = AlarmOf(record.tail.event);
  if (alarm == kNoDate) {
    appointment.put_ReminderSet(VARIANT_FALSE);
    return;
  }
  const DATE start = pol_Get(appointment, &IAppointment::get_Start, kNoDate);
  if (alarm > start) {
    OSIF_Trace(0, kAfterDue);
    return;
  }
  const int64_t minutes = MinutesBetween(alarm, start);
  if (minutes > kLongestMinutes) {
    OSIF_Trace(0, kTooEarly);
    return;
  }
  appointment.put_ReminderMinutesBeforeStart(static_cast<LONG>(minutes));
  SetReminder(appointment);
}

void pol_GetTaskReminder(ITask& task, OsifCalendar& record) {
  if (pol_Get(task, &ITask::get_ReminderSet) == VARIANT_FALSE) return;
  const DATE alarm = pol_Get(task, &ITask::get_ReminderTime, kNoDate);
  pol_AppendDate(record.tail.todo.dAlarm, alarm, DateForm::kUtc);
  pol_AppendDate(record.tail.todo.aAlarm, alarm, DateForm::kUtc);
}

void pol_GetAppointmentReminder(IAppointment& appointment, bool is_all_day, OsifCalendar& record) {
  if (pol_Get(appointment, &IAppointment::get_ReminderSet) == VARIANT_FALSE) return;
  const DATE start = pol_Get(appointment, &IAppointment::get_Start, kNoDate);
  const LONG minutes = pol_Get(appointment, &IAppointment::get_ReminderMinutesBeforeStart);
  const DATE alarm = start - static_cast<double>(minutes) / static_cast<double>(kMinutesPerDay);
  const DateForm form = is_all_day ? DateForm::kLocal : DateForm::kUtc;
  pol_AppendDate(record.tail.event.dAlarm, alarm, form);
  pol_AppendDate(record.tail.event.aAlarm, alarm, form);
}
