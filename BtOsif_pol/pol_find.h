// Finding the stored item that a record describes. The session is open. Each gives the item's object
// identifier, or nothing: there is no such item, the record has nothing to go by, or the PIM does not answer. A
// PIM that cannot search the calendar is gone through item by item.
#pragma once

#include <optional>

#include "osif.h"
#include "platform/api/win_types.h"

// The first contact whose five name parts are the record's, in the same case. Nothing for a record without a
// name.
std::optional<LONG> pol_FindContact(OsifContact& record);

// The first appointment with the record's start and its summary or, where it has none, its description.
std::optional<LONG> pol_FindEvent(OsifCalendar& record);

// The first task with the record's summary. Nothing for a record without one.
std::optional<LONG> pol_FindTask(OsifCalendar& record);
