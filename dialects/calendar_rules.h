// What a single item needs so that the store holds it as its sender meant it.
#pragma once

#include "dialects/calendar_item.h"
#include "dialects/report.h"

namespace dialects {

// Brings an item to what the store knows: a start and an end, whole days where it is for whole days, one alarm that is
// not too late, the store's words. Rules of recurrence are left as they are.
void BringToStore(CalendarItem& item, const Clock& clock, Report& report);

// The first of these alone: what is for whole days has local midnights as start and end, and an event has an end.
void SettleDates(CalendarItem& item, const Clock& clock, Report& report);

// True for an item that the store can hold: an event with a start, a task with a summary or a day on which it is due,
// a journal entry with a text.
bool HasPlace(const CalendarItem& item);

}  // namespace dialects
