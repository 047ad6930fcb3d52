// vCalendars: every item that is handed on carries a kind, a result and bounded texts, and can be
// decoded and written again.
#include <cstring>

#include "btosif/osif_generators/vcalendar_writer.h"
#include "btosif/osif_parsers/vcalendar_reader.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "fuzz/fuzz_input.h"

namespace {

void DecodeList(PropertyValue* list) {
  for (PropertyValue& value : Values(list)) {
    for (size_t i = 0; i < 4; ++i) DecodedText(&value, i);
  }
}

int32_t Decode(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
  if (store_id != OSIF_STORE_CAL) abort();
  if (result != OSIF_PARSE_OK && result != OSIF_PARSE_WARNING) abort();
  if (std::memchr(object->version, 0, sizeof object->version) == nullptr) abort();
  if (std::memchr(object->xIrmcLuid, 0, sizeof object->xIrmcLuid) == nullptr) abort();
  OsifCalendar& calendar = object->calendar;
  for (PropertyValue* list : {calendar.summary, calendar.description, calendar.dtStart}) {
    DecodeList(list);
  }
  switch (object->calendarKind) {
    case OSIF_CALENDAR_EVENT:
      if (calendar.tail.event.allDayEvent > 1) abort();
      for (PropertyValue* list : {calendar.tail.event.location, calendar.tail.event.dAlarm,
                                  calendar.tail.event.rRule, calendar.tail.event.attach}) {
        DecodeList(list);
      }
      break;
    case OSIF_CALENDAR_TODO:
      for (PropertyValue* list :
           {calendar.tail.todo.dAlarm, calendar.tail.todo.rRule, calendar.tail.todo.attach}) {
        DecodeList(list);
      }
      break;
    default:
      abort();
  }
  VCalendar_Write(*static_cast<OsifStream*>(context), *object, 1);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::Read(VCalendar_ReadFile, bytes, size, Decode, &fuzz::Sink());
  return 0;
}
