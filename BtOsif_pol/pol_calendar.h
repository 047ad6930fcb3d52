// Maps calendar items between the object record (vCalendar properties) and the PIM's items: an event is an
// appointment, a to-do a task.
#pragma once

#include "osif.h"
#include "platform/api/pimstore.h"

// Fill an item from a record. Throw std::bad_alloc when memory is short.
void pol_PutTask(OsifObject& object, ITask& task);
void pol_PutAppointment(OsifObject& object, IAppointment& appointment);

// Fill a cleared record from an item.
void pol_GetTask(ITask& task, OsifObject& object);
void pol_GetAppointment(IAppointment& appointment, OsifObject& object);
