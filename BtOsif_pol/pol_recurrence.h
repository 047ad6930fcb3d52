// Recurrence and exceptions of calendar items: the vCalendar 1.0 rule text of a record to and from the PIM's
// recurrence pattern.
#pragma once

#include "osif.h"
#include "platform/api/pimstore.h"

// Gives a task the recurrence of a rule. A record without a rule, or with one that the PIM cannot hold,
// makes it a single task; a rule that cannot be read leaves what the task had.
void pol_PutTaskRecurrence(OsifCalendar& record, ITask& task);

// The same for an appointment, and deletes the occurrences that the record's exceptions name. The
// appointment is saved first where there are any, since only a saved one has occurrences.
void pol_PutAppointmentRecurrence(OsifCalendar& record, IAppointment& appointment);

// Appends the rule of a recurring item to the record; for an appointment its exceptions too, each with the
// time of day at which the appointment starts.
void pol_GetTaskRecurrence(ITask& task, OsifCalendar& record);
void pol_GetAppointmentRecurrence(IAppointment& appointment, OsifCalendar& record);
