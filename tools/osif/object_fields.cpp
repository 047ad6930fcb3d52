// A field of a record is a row: its name in JSON and where it is in the record. Fields that are empty are
// left out, so that what is shown is what the file said. Of a value both is shown: the components decoded as
// the stores get them, and the raw bytes, each byte as the character of its number, because they need not be
// valid in any character set.
#include "tools/osif/object_fields.h"

#include <span>
#include <string_view>

#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "client/record_lists.h"
#include "client/texts.h"

namespace command {

using namespace client;

namespace {

constexpr ListRow<OsifNote> kNoteLists[] = {
    {"dCreated", &OsifNote::dCreated},
    {"lastModified", &OsifNote::lastModified},
    {"categories", &OsifNote::categories},
    {"class", &OsifNote::class_},
    {"body", &OsifNote::body},
    {"summary", &OsifNote::summary},
};

struct TextRow {
  const char* name;
  const char* (*text)(const OsifMessage& message);
};

constexpr TextRow kMessageTexts[] = {
    {"xIrmcStatus", [](const OsifMessage& message) { return message.xIrmcStatus + 0; }},
    {"xIrmcType", [](const OsifMessage& message) { return message.xIrmcType + 0; }},
    {"xBtFolder", [](const OsifMessage& message) { return message.xBtFolder + 0; }},
    {"mimeVersion", [](const OsifMessage& message) { return message.mimeVersion + 0; }},
    {"returnPath", [](const OsifMessage& message) { return message.returnPath + 0; }},
    {"date", [](const OsifMessage& message) { return message.date + 0; }},
    {"from", [](const OsifMessage& message) { return message.from + 0; }},
    {"to", [](const OsifMessage& message) { return message.to + 0; }},
    {"ccAddresses", [](const OsifMessage& message) { return message.ccAddresses + 0; }},
    {"replyTo", [](const OsifMessage& message) { return message.replyTo + 0; }},
    {"subject", [](const OsifMessage& message) { return message.subject + 0; }},
};

Json RawJson(const OsifText& node) {
  return node.text == nullptr ? Json() : Json(ByteText(node.text));
}

Json ValueJson(PropertyValue& value) {
  Json params = Json::array();
  for (const OsifText& param : Texts(value.params)) params.push_back(RawJson(param));
  Json components = Json::array();
  Json raw = Json::array();
  size_t index = 0;
  for (const OsifText& component : Texts(value.components)) {
    components.push_back(component.text == nullptr ? Json()
                                                   : Json(ToOutput(DecodedText(&value, index))));
    raw.push_back(RawJson(component));
    ++index;
  }
  return {{"params", params}, {"components", components}, {"raw", raw}};
}

template <typename Fields>
void AddLists(std::span<const ListRow<Fields>> rows, const Fields& fields, Json& json) {
  for (const ListRow<Fields>& row : rows) {
    Json values = Json::array();
    for (PropertyValue& value : Values(fields.*row.list)) values.push_back(ValueJson(value));
    if (!values.empty()) json[row.name] = std::move(values);
  }
}

void AddText(const char* name, const char* text, Json& json) {
  if (text != nullptr && *text != '\0') json[name] = ByteText(text);
}

void AddCalendar(const OsifObject& object, Json& json) {
  const OsifCalendar& calendar = object.calendar;
  const bool is_event = object.calendarKind == OSIF_CALENDAR_EVENT;
  json["calendarKind"] = object.calendarKind;
  AddLists<OsifCalendar>(kCalendarLists, calendar, json);
  // The tails share their storage: only the one of the object's kind means anything.
  if (is_event) AddLists<OsifEventTail>(kEventLists, calendar.tail.event, json);
  if (object.calendarKind == OSIF_CALENDAR_TODO) {
    AddLists<OsifTodoTail>(kTodoLists, calendar.tail.todo, json);
  }
  json["allDayEvent"] = is_event ? calendar.tail.event.allDayEvent : 0;
}

void AddPartHeaders(const MessagePart& part, Json& json) {
  AddText("contentType", part.contentType, json);
  AddText("contentTransferEncoding", part.contentTransferEncoding, json);
}

void AddMessage(const OsifMessage& message, Json& json) {
  for (const TextRow& row : kMessageTexts) AddText(row.name, row.text(message), json);
  AddPartHeaders(message.part, json);
  AddText("bodyText", message.part.bodyText, json);
  if (message.part.attachmentFile[0] != 0) {
    json["attachmentFile"] = ToOutput(message.part.attachmentFile);
  }
  Json parts = Json::array();
  for (const MessagePart* part = message.part.nextPart; part != nullptr; part = part->nextPart) {
    Json headers = Json::object();
    AddPartHeaders(*part, headers);
    parts.push_back(std::move(headers));
  }
  if (!parts.empty()) json["parts"] = std::move(parts);
}

}  // namespace

Json FieldsJson(int32_t store_id, const OsifObject& object) {
  Json json = Json::object();
  AddText("xIrmcLuid", object.xIrmcLuid, json);
  AddText("version", object.version, json);
  switch (store_id) {
    case OSIF_STORE_PB:
      AddLists<OsifContact>(kContactLists, object.contact, json);
      break;
    case OSIF_STORE_CAL:
      AddCalendar(object, json);
      break;
    case OSIF_STORE_NOTE:
      AddLists<OsifNote>(kNoteLists, object.note, json);
      break;
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      AddMessage(object.message, json);
      break;
    default:
      break;
  }
  return json;
}

}  // namespace command
