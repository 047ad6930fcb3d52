#include "btosif/osif_generators/vcalendar_writer.h"

#include "btosif/osif_generators/property_writer.h"

namespace {

constexpr WriterMessages kMessages = {"OSIF:  Insufficient memory to generate vCalendar string",
                                      "OSIF:  Unable to put vCalendar string to file"};

// A property comes from a list of both kinds of items or from one of the kind's own.
template <typename Tail>
struct PropertyRow {
  const char* name;
  PropertyValue* OsifCalendar::*list;
  PropertyValue* Tail::*tail_list;
  bool required;
};

constexpr PropertyRow<OsifEventTail> kEventProperties[] = {
    {"SUMMARY", &OsifCalendar::summary, nullptr, true},
    {"DESCRIPTION", &OsifCalendar::description, nullptr, true},
    {"DTSTART", &OsifCalendar::dtStart, nullptr, true},
    {"DTEND", &OsifCalendar::dtEnd, nullptr, true},
    {"CLASS", &OsifCalendar::class_, nullptr, false},
    {"PRIORITY", &OsifCalendar::priority, nullptr, true},
    {"STATUS", &OsifCalendar::status, nullptr, false},
    {"LOCATION", nullptr, &OsifEventTail::location, false},
    {"CATEGORIES", &OsifCalendar::categories, nullptr, false},
    {"DALARM", nullptr, &OsifEventTail::dAlarm, false},
    {"AALARM", nullptr, &OsifEventTail::aAlarm, false},
    {"RRULE", nullptr, &OsifEventTail::rRule, false},
    {"EXDATE", nullptr, &OsifEventTail::exDate, false},
    {"ATTENDEE", nullptr, &OsifEventTail::attendee, false},
};

constexpr PropertyRow<OsifTodoTail> kTodoProperties[] = {
    {"CATEGORIES", &OsifCalendar::categories, nullptr, true},
    {"CLASS", &OsifCalendar::class_, nullptr, false},
    {"COMPLETED", &OsifCalendar::completed, nullptr, true},
    {"DESCRIPTION", &OsifCalendar::description, nullptr, true},
    {"DTSTART", &OsifCalendar::dtStart, nullptr, false},
    {"DUE", &OsifCalendar::due, nullptr, true},
    {"PRIORITY", &OsifCalendar::priority, nullptr, true},
    {"STATUS", &OsifCalendar::status, nullptr, true},
    {"SUMMARY", &OsifCalendar::summary, nullptr, true},
    {"DALARM", nullptr, &OsifTodoTail::dAlarm, false},
    {"AALARM", nullptr, &OsifTodoTail::aAlarm, false},
    {"RRULE", nullptr, &OsifTodoTail::rRule, false},
    {"EXDATE", nullptr, &OsifTodoTail::exDate, false},
    {"ATTENDEE", nullptr, &OsifTodoTail::attendee, false},
};

void WriteLine(OsifStream& stream, const char* name, const char* value) {
  WritePropertyLine(stream, name, "", value, kMessages);
}

template <typename Tail, size_t kCount>
void WriteLists(OsifStream& stream, const OsifCalendar& calendar, const Tail& tail,
                const PropertyRow<Tail> (&rows)[kCount]) {
  for (const PropertyRow<Tail>& row : rows) {
    PropertyValue* list = row.list != nullptr ? calendar.*row.list : tail.*row.tail_list;
    WritePropertyList(stream, row.name, list, row.required, kMessages);
  }
}

void WriteLuid(OsifStream& stream, const OsifObject& object, uint8_t write_luid) {
  if (write_luid == 0 || object.xIrmcLuid[0] == '\0') return;
  WriteLine(stream, "X-IRMC-LUID", object.xIrmcLuid);
}

void WriteEvent(OsifStream& stream, const OsifObject& object, uint8_t write_luid) {
  const OsifEventTail& tail = object.calendar.tail.event;
  WriteLine(stream, "BEGIN", "VEVENT");
  WriteLists(stream, object.calendar, tail, kEventProperties);
  WriteLuid(stream, object, write_luid);
  WriteLine(stream, "X-BLUETOOTH-ALLDAYEVENT", tail.allDayEvent != 0 ? "TRUE" : "FALSE");
  WriteLine(stream, "END", "VEVENT");
}

void WriteTodo(OsifStream& stream, const OsifObject& object, uint8_t write_luid) {
  WriteLine(stream, "BEGIN", "VTODO");
  WriteLists(stream, object.calendar, object.calendar.tail.todo, kTodoProperties);
  WriteLuid(stream, object, write_luid);
  WriteLine(stream, "END", "VTODO");
}

}  // namespace

OsifResult VCalendar_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid) {
  WriteLine(stream, "BEGIN", "VCALENDAR");
  WriteLine(stream, "VERSION", object.version);
  if (object.calendarKind == OSIF_CALENDAR_EVENT) WriteEvent(stream, object, write_luid);
  if (object.calendarKind == OSIF_CALENDAR_TODO) WriteTodo(stream, object, write_luid);
  WriteLine(stream, "END", "VCALENDAR");
  return OSIF_OK;
}
