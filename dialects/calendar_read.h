// The parts of reading an item (ReadItem of calendar_item.h) that stand in sources of their own: times and alarms.
#pragma once

#include <string>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "dialects/calendar_item.h"

namespace dialects {

// What is read, into what.
struct ItemContext {
  const ReadCalendar& calendar;
  ZoneBook& zones;
  Report& report;
  CalendarItem& item;
  std::vector<const ContentLine*> rules = {};
  std::vector<const ContentLine*> exception_rules = {};

  bool is_modern() const { return calendar.calendar.is_modern; }
  std::string Text(const ContentLine& line) const { return calendar.decoder.Text(line); }
  std::string Word(const ContentLine& line) const {
    return ToUpper(Trim(calendar.decoder.Text(line)));
  }
};

// Each takes the line of a property. Dates that are none are reported, as is what is more than a calendar can mean.
void TakeStart(ItemContext& context, const ContentLine& line);
void TakeEnd(ItemContext& context, const ContentLine& line);
void TakeDue(ItemContext& context, const ContentLine& line);
void TakeCompleted(ItemContext& context, const ContentLine& line);
void TakeCreated(ItemContext& context, const ContentLine& line);
void TakeModified(ItemContext& context, const ContentLine& line);
void TakeDuration(ItemContext& context, const ContentLine& line);
void TakeReplaced(ItemContext& context, const ContentLine& line);
void TakeExceptions(ItemContext& context, const ContentLine& line);
void TakeExtraDates(ItemContext& context, const ContentLine& line);
void TakeOldAlarm(ItemContext& context, const ContentLine& line);
void TakeAlarmComponent(const Component& component, ItemContext& context);

}  // namespace dialects
