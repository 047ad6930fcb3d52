// Checksums of the PIM's items, by which a changed item is told from an unchanged one.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"

// The Adler-32 checksum of an item's properties in their declaration order: texts as UTF-16 bytes, dates as
// 8 bytes, numbers and flags as 4.
uint32_t ContactChecksum(IContact& contact);

// With the recurrence of a recurring item and its exceptions, its recipients, and its reminder when set.
uint32_t AppointmentChecksum(IAppointment& appointment);

// With the day of completion of a completed task, its reminder when set, and its recurrence.
uint32_t TaskChecksum(ITask& task);
