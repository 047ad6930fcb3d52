#include "BtOsif_pol/pol_name.h"

#include "BtOsif_pol/pol_contact.h"
#include "btosif/osif_util/value_text.h"

namespace {

WideText CalendarName(const OsifObject& object) {
  WideText name = DecodedText(object.calendar.summary);
  if (object.calendarKind != OSIF_CALENDAR_EVENT) return name;
  const WideText location = DecodedText(object.calendar.tail.event.location);
  if (!location.empty()) name.append(u" (").append(location).append(u")");
  return name;
}

// Message texts are in the system's code page.
WideText MessageName(const OsifMessage& message) {
  const WideText from = MultiByteToText(NativeCodePage(), message.from);
  const WideText subject = MultiByteToText(NativeCodePage(), message.subject);
  return from.empty() ? subject : from + u" - " + subject;
}

}  // namespace

WideText pol_ObjectName(int32_t store_id, OsifObject& object) {
  switch (store_id) {
    case OSIF_STORE_PB:
      return pol_ContactName(object.contact);
    case OSIF_STORE_CAL:
      return CalendarName(object);
    case OSIF_STORE_NOTE:
      return DecodedText(object.note.summary);
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      return MessageName(object.message);
    default:
      return {};
  }
}
