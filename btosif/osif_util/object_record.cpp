// A record is a union of the forms of all kinds of store, so what hangs from it can only be told by the
// store: each kind names the lists of its form, which are released before the record is cleared whole.
// Cleared, it can be released once more, as every kind.
#include "btosif/osif_util/object_record.h"

#include <cstdlib>
#include <cstring>

#include "btosif/osif_file.h"
#include "btosif/osif_util/owned_text.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/stores.h"
#include "platform/api/system_time.h"

namespace {

void FreeContact(const OsifObject& object) {
  const OsifContact& contact = object.contact;
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

void FreeCalendar(const OsifObject& object) {
  const OsifCalendar& calendar = object.calendar;
  for (PropertyValue* list :
       {calendar.categories, calendar.completed, calendar.description, calendar.due, calendar.dtEnd,
        calendar.priority, calendar.dtStart, calendar.status, calendar.summary, calendar.class_}) {
    PropertyValue_Free(list);
  }
  // The tails share their place, too. A record that says of itself neither has none.
  if (object.calendarKind == OSIF_CALENDAR_EVENT) FreeEventTail(calendar.tail.event);
  if (object.calendarKind == OSIF_CALENDAR_TODO) FreeTodoTail(calendar.tail.todo);
}

void FreeNote(const OsifObject& object) {
  const OsifNote& note = object.note;
  for (PropertyValue* list :
       {note.dCreated, note.lastModified, note.categories, note.class_, note.body, note.summary}) {
    PropertyValue_Free(list);
  }
}

void FreePart(const MessagePart& part) {
  OsifFree(part.bodyText);
  if (part.attachmentFile[0] != 0) FILE_Remove(part.attachmentFile);
}

void FreeMessage(const OsifObject& object) {
  const MessagePart& first = object.message.part;
  FreePart(first);
  for (MessagePart* part = first.nextPart; part != nullptr;) {
    MessagePart* next = part->nextPart;
    FreePart(*part);
    OsifFree(part);
    part = next;
  }
}

// What nobody knows the form of hangs nothing from the record.
void FreeNothing(const OsifObject&) {}

constexpr ByStoreKind<void (*)(const OsifObject&)> kReleases = {FreeContact, FreeCalendar, FreeNote,
                                                                FreeMessage, FreeNothing};

}  // namespace

void FreeObject(int32_t store_id, OsifObject& object) {
  RowOfStore(kReleases, store_id)(object);
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
