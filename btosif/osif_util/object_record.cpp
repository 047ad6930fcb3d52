#include "btosif/osif_util/object_record.h"

#include <cstdlib>
#include <cstring>

#include "btosif/osif_file.h"
#include "btosif/osif_util/owned_text.h"
#include "btosif/osif_util/property_value.h"
#include "platform/api/system_time.h"

namespace {

void FreeContact(const OsifContact& contact) {
  for (PropertyValue* list : {contact.n,         contact.fn,
                              contact.nickname,  contact.adr,
                              contact.org,       contact.title,
                              contact.role,      contact.tel,
                              contact.url,       contact.email,
                              contact.note,      contact.bday,
                              contact.xSpouse,   contact.xAnniversary,
                              contact.xChildren, contact.xAssistant,
                              contact.xCat,      contact.xMicrosoftOfficeloc,
                              contact.dept,      contact.xMicrosoftAsstTel}) {
    PropertyValue_Free(list);
  }
}

void FreeEventTail(const OsifEventTail& tail) {
  for (PropertyValue* list : {tail.location, tail.dAlarm, tail.aAlarm, tail.rRule, tail.exDate,
                              tail.attendee, tail.attach}) {
    PropertyValue_Free(list);
  }
}

void FreeTodoTail(const OsifTodoTail& tail) {
  for (PropertyValue* list :
       {tail.dAlarm, tail.aAlarm, tail.rRule, tail.exDate, tail.attendee, tail.attach}) {
    PropertyValue_Free(list);
  }
}

void FreeCalendar(const OsifCalendar& calendar, uint8_t kind) {
  for (PropertyValue* list :
       {calendar.categories, calendar.completed, calendar.description, calendar.due, calendar.dtEnd,
        calendar.priority, calendar.dtStart, calendar.status, calendar.summary, calendar.class_}) {
    PropertyValue_Free(list);
  }
  if (kind == OSIF_CALENDAR_EVENT) FreeEventTail(calendar.tail.event);
  if (kind == OSIF_CALENDAR_TODO) FreeTodoTail(calendar.tail.todo);
}

void FreeNote(const OsifNote& note) {
  for (PropertyValue* list :
       {note.dCreated, note.lastModified, note.categories, note.class_, note.body, note.summary}) {
    PropertyValue_Free(list);
  }
}

void FreePart(const MessagePart& part) {
  OsifFree(part.bodyText);
  if (part.attachmentFile[0] != 0) FILE_Remove(part.attachmentFile);
}

void FreeMessage(const OsifMessage& message) {
  FreePart(message.part);
  for (MessagePart* part = message.part.nextPart; part != nullptr;) {
    MessagePart* next = part->nextPart;
    FreePart(*part);
    OsifFree(part);
    part = next;
  }
}

}  // namespace

void FreeObject(int32_t store_id, OsifObject& object) {
  switch (store_id) {
    case OSIF_STORE_PB:
      FreeContact(object.contact);
      break;
    case OSIF_STORE_CAL:
      FreeCalendar(object.calendar, object.calendarKind);
      break;
    case OSIF_STORE_NOTE:
      FreeNote(object.note);
      break;
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      FreeMessage(object.message);
      break;
    default:
      break;
  }
  std::memset(&object, 0, sizeof object);
}

void MakeRandomId(char (&id)[kRandomIdLength + 1]) {
  static constexpr char kAlphabet[] = "0123456789abcdefghijklmnopqrstuvwxyz";
  FILETIME now = {};
  GetSystemTimeAsFileTime(&now);
  std::srand(now.dwLowDateTime + now.dwHighDateTime);
  for (size_t i = 0; i < kRandomIdLength; ++i) id[i] = kAlphabet[std::rand() % 36];
  id[kRandomIdLength] = '\0';
}
