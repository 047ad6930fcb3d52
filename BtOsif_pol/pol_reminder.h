// Reminders of calendar items: the alarms of a record to and from the item's reminder.
#pragma once

#include "osif.h"
#include "platform/api/pimstore.h"

// Sets or clears the reminder. A display alarm goes before an audio alarm; one that the PIM cannot hold
// leaves the reminder as it is, and the trace tells why.
void pol_PutTaskReminder(OsifCalendar& record, ITask& task);
void pol_PutAppointmentReminder(OsifCalendar& record, IAppointment& appointment);

// Appends both alarms of an item that has a reminder. With `is_all_day` they are local times.
void pol_GetTaskReminder(ITask& task, OsifCalendar& record);
void pol_GetAppointmentReminder(IAppointment& appointment, bool is_all_day, OsifCalendar& record);
