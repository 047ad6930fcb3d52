// Every text of a record as UTF-16, by the functions with which the stores' mappings take theirs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "mapi/mapi_body.h"
#include "mapi/mapi_text.h"
#include "osif.h"

namespace bench {

// Decodes each component of each value; returns how many characters they have.
inline size_t DecodeLists(std::initializer_list<PropertyValue*> lists) {
  size_t characters = 0;
  WideText text;
  for (PropertyValue* list : lists) {
    for (PropertyValue& value : Values(list)) {
      size_t index = 0;
      for (const OsifText* node = value.components; node != nullptr; node = node->next) {
        characters += PropertyValue_GetText(&value, index++, text).size();
      }
    }
  }
  return characters;
}

inline size_t DecodeContact(OsifObject& object) {
  OsifContact& card = object.contact;
  return DecodeLists({card.n,         card.fn,
                      card.nickname,  card.adr,
                      card.org,       card.title,
                      card.role,      card.tel,
                      card.url,       card.email,
                      card.note,      card.bday,
                      card.xSpouse,   card.xAnniversary,
                      card.xChildren, card.xAssistant,
                      card.xCat,      card.xMicrosoftOfficeloc,
                      card.dept,      card.xMicrosoftAsstTel});
}

inline size_t DecodeEvent(OsifObject& object) {
  OsifCalendar& event = object.calendar;
  OsifEventTail& tail = event.tail.event;
  return DecodeLists({event.categories, event.completed, event.description, event.due, event.dtEnd,
                      event.priority, event.dtStart, event.status, event.summary, event.class_,
                      tail.location, tail.dAlarm, tail.aAlarm, tail.rRule, tail.exDate,
                      tail.attendee, tail.attach});
}

inline size_t DecodeNote(OsifObject& object) {
  OsifNote& note = object.note;
  return DecodeLists(
      {note.dCreated, note.lastModified, note.categories, note.class_, note.body, note.summary});
}

inline size_t DecodeMessage(OsifObject& object) {
  const OsifMessage& message = object.message;
  size_t characters = 0;
  for (const char* header : {message.from, message.to, message.ccAddresses, message.subject}) {
    characters += mapi_HeaderText(header).size();
  }
  for (const MessagePart* part = &message.part; part != nullptr; part = part->nextPart) {
    characters += mapi_DecodeBody(*part).size();
  }
  return characters;
}

}  // namespace bench
