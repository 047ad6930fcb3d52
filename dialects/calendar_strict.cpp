// The way of an object to the strict reader: it is taken apart into components, each is read into an item, changed
// occurrences are taken out of their series, each item is brought to what the store knows and becomes one or more
// items of it, and these are written in the order of properties that the library itself writes.
//
// Where the reader asks for a property, an empty one is written, as an object without it is taken for a damaged one. It
// changes nothing in the store, but for the categories of a task: whoever reads the text takes these out again.
#include "dialects/calendar_strict.h"

#include <algorithm>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "dialects/calendar_rules.h"
#include "dialects/strict_object.h"

namespace dialects {
namespace {

std::string Line(std::string_view name, const std::string& text) { return OldLine(name, text); }

std::string LineWhenText(std::string_view name, const std::string& text) {
  return text.empty() ? "" : Line(name, text);
}

// Local times stay without "Z": the reader takes them for the device's.
std::string TimeText(const Moment& moment, const Clock& clock) {
  const Moment plain = clock.AsUtc(moment);
  return DateTimeText(plain.time) + (plain.kind == TimeKind::kUtc ? "Z" : "");
}

std::string LineWhenTime(std::string_view name, const std::optional<Moment>& moment,
                         const Clock& clock) {
  return moment ? Line(name, TimeText(*moment, clock)) : "";
}

std::string DayText(const std::optional<Moment>& moment) {
  return moment ? DateText(moment->time) : "";
}

std::string AttendeeText(const Attendee& attendee) {
  if (attendee.address.empty()) return attendee.name;
  if (attendee.name.empty() || attendee.name == attendee.address) return attendee.address;
  return attendee.name + " <" + attendee.address + ">";
}

std::string ExceptionLines(const StoreItem& item) {
  std::string text;
  if (!item.item.start) return text;
  const CivilTime start = item.item.start->time;
  const int64_t time_of_day = CivilSeconds(start) - CivilSeconds(AtMidnight(start));
  for (const CivilTime& day : item.exceptions) {
    text += Line("EXDATE", DateTimeText(CivilAt(CivilSeconds(day) + time_of_day)));
  }
  return text;
}

std::string EventText(const StoreItem& store_item, const Clock& clock, const std::string& more) {
  const CalendarItem& item = store_item.item;
  std::string text = "BEGIN:VEVENT\r\n";
  text += LineWhenText("SUMMARY", item.summary);
  text += Line("DESCRIPTION", item.description);
  text += LineWhenTime("DTSTART", item.start, clock);
  text += LineWhenTime("DTEND", item.end, clock);
  text += LineWhenText("CLASS", item.access);
  text += LineWhenText("STATUS", item.status);
  text += LineWhenText("LOCATION", item.location);
  text += LineWhenText("CATEGORIES", item.categories);
  text += LineWhenTime("DALARM", item.alarm, clock);
  text += LineWhenText("RRULE", store_item.rule);
  text += ExceptionLines(store_item);
  for (const Attendee& attendee : item.attendees) {
    text += Line("ATTENDEE;ROLE=ATTENDEE", AttendeeText(attendee));
  }
  text += LineWhenText("X-IRMC-LUID", item.luid);
  if (item.is_all_day) text += "X-BLUETOOTH-ALLDAYEVENT:TRUE\r\n";
  return text + more + "END:VEVENT\r\n";
}

std::string TaskText(const StoreItem& store_item, const Clock& clock, const std::string& more) {
  const CalendarItem& item = store_item.item;
  std::string text = "BEGIN:VTODO\r\n";
  text += Line("CATEGORIES", item.categories);
  text += LineWhenText("CLASS", item.access);
  text += "COMPLETED:\r\n";
  text += Line("DESCRIPTION", item.description);
  text += LineWhenText("DTSTART", DayText(item.start));
  text += Line("DUE", DayText(item.due));
  text += Line("PRIORITY", item.priority);
  text += Line("STATUS", item.status.empty() ? "NEEDS ACTION" : item.status);
  text += Line("SUMMARY", item.summary);
  text += LineWhenTime("DALARM", item.alarm, clock);
  text += LineWhenText("RRULE", store_item.rule);
  text += LineWhenText("X-IRMC-LUID", item.luid);
  return text + more + "END:VTODO\r\n";
}

std::string NoteText(const CalendarItem& item, const Clock& clock) {
  std::optional<Moment> created = item.created ? item.created : item.start;
  std::string text = "BEGIN:VNOTE\r\nVERSION:1.1\r\n";
  text += LineWhenTime("DCREATED", created, clock);
  text += LineWhenTime("LAST-MODIFIED", item.modified, clock);
  text += Line("SUMMARY", item.summary);
  text += Line("BODY", item.description);
  text += LineWhenText("CATEGORIES", item.categories);
  text += LineWhenText("CLASS", item.access);
  return text + "END:VNOTE\r\n";
}

bool IsItem(const Component& component) {
  return component.name == "VEVENT" || component.name == "VTODO" || component.name == "VJOURNAL";
}

// A zone as it stands, its lines and those of its parts.
std::string ZoneText(const Component& zone) {
  std::string text = "BEGIN:VTIMEZONE\r\n";
  for (const Component& part : zone.parts) {
    text += "BEGIN:" + part.name + "\r\n";
    for (const ContentLine& line : part.lines) text += line.name + ":" + line.value + "\r\n";
    text += "END:" + part.name + "\r\n";
  }
  return text + "END:VTIMEZONE\r\n";
}

void AddZones(const Component& root, ZoneBook& zones) {
  for (const Component& part : root.parts) {
    if (part.name == "VTIMEZONE") zones.Add(std::string(part.Value("TZID")), ZoneText(part));
  }
}

std::string RefusalOf(const CalendarItem& item) {
  switch (item.kind) {
    case ItemKind::kEvent:
      return "no start, no end and no text";
    case ItemKind::kTask:
      return "neither a summary nor a day";
    case ItemKind::kJournal:
      break;
  }
  return "no text";
}

StrictObject Refused(const std::string& why, uint64_t line, const Report& report) {
  StrictObject object;
  object.kind = ObjectKind::kCalendar;
  object.refusal = why;
  object.line = line;
  object.report = report;
  return object;
}

// The items of one sender's item. What happened is told with the first of them.
void AddStrict(CalendarItem item, Report report, const Clock& clock,
               std::vector<StrictObject>& objects) {
  BringToStore(item, clock, report);
  if (!HasPlace(item)) {
    objects.push_back(Refused(RefusalOf(item), item.line, report));
    return;
  }
  if (item.kind == ItemKind::kJournal) report.Changed("journal entry as a note");
  const std::vector<StoreItem> store_items = StoreItems(item, clock, report);
  for (const StoreItem& store_item : store_items) {
    StrictObject object;
    object.kind = item.kind == ItemKind::kJournal ? ObjectKind::kNote : ObjectKind::kCalendar;
    object.text = StrictText(store_item, clock);
    object.uid = store_item.item.uid;
    object.line = item.line;
    object.has_made_categories = item.kind == ItemKind::kTask && !item.has_categories;
    object.report = std::exchange(report, {});
    objects.push_back(std::move(object));
  }
}

}  // namespace

std::string StrictComponent(const StoreItem& item, const Clock& clock, const std::string& more) {
  return item.item.kind == ItemKind::kTask ? TaskText(item, clock, more)
                                           : EventText(item, clock, more);
}

std::string StrictText(const StoreItem& item, const Clock& clock) {
  if (item.item.kind == ItemKind::kJournal) return NoteText(item.item, clock);
  return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + StrictComponent(item, clock, {}) +
         "END:VCALENDAR\r\n";
}

CalendarItems ReadItems(const ReadCalendar& calendar, OldSense sense, ZoneBook& zones) {
  CalendarItems result;
  const Component& root = calendar.calendar.root;
  AddZones(root, zones);
  for (const Component& part : root.parts) {
    if (IsItem(part)) {
      result.reports.emplace_back();
      result.items.push_back(ReadItem(part, calendar, zones, sense, result.reports.back()));
    } else if (part.name != "VTIMEZONE") {
      result.report.Dropped(part.name);
    }
  }
  if (EqualsIgnoringCase(root.Value("METHOD"), "CANCEL")) {
    result.refusal = "its sender takes it back (METHOD:CANCEL)";
  } else if (result.items.empty()) {
    result.refusal = "neither an event, nor a task, nor a journal entry";
  }
  return result;
}

std::vector<StrictObject> StrictCalendarItems(const ObjectText& object,
                                              const TextSettings& settings) {
  Report report;
  if (!object.had_end) report.Guessed("END");
  const ReadCalendar calendar = ReadCalendarText(object, settings, report);
  ZoneBook zones;
  const Clock clock(zones);
  CalendarItems read = ReadItems(calendar, OldSense::kSender, zones);
  report.Add(read.report);
  if (!read.refusal.empty()) return {Refused(read.refusal, object.line, report)};
  TakeApartOverrides(read.items, read.reports, clock);
  std::vector<StrictObject> objects;
  for (size_t i = 0; i < read.items.size(); ++i) {
    report.Add(read.reports[i]);
    AddStrict(std::move(read.items[i]), std::exchange(report, {}), clock, objects);
  }
  if (objects.empty()) {
    objects.push_back(Refused("cancelled occurrences alone", object.line, report));
  }
  return objects;
}

}  // namespace dialects
