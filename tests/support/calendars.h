// vCalendars for the tests, what the reader hands on for them, and calendar records made from their lines.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_parsers/vcalendar_reader.h"
#include "btosif/osif_util/object_record.h"
#include "tests/support/files.h"
#include "tests/support/values.h"

namespace support {

inline std::string EventText(std::initializer_list<std::string_view> lines) {
  return "BEGIN:VEVENT\r\n" + Lines(lines) + "END:VEVENT\r\n";
}
inline std::string TodoText(std::initializer_list<std::string_view> lines) {
  return "BEGIN:VTODO\r\n" + Lines(lines) + "END:VTODO\r\n";
}
// A whole vCalendar around components.
inline std::string CalendarText(std::string_view components,
                                std::string_view version_line = "VERSION:1.0\r\n") {
  return "BEGIN:VCALENDAR\r\n" + std::string(version_line) + std::string(components) +
         "END:VCALENDAR\r\n";
}

// A list of a record under its name.
using NamedLists = std::vector<std::pair<const char*, PropertyValue**>>;

// Every list of a calendar record of its kind; those of both kinds only when the kind is unknown.
inline NamedLists CalendarLists(OsifObject& object) {
  OsifCalendar& c = object.calendar;
  NamedLists lists = {{"categories", &c.categories},
                      {"completed", &c.completed},
                      {"description", &c.description},
                      {"due", &c.due},
                      {"dtEnd", &c.dtEnd},
                      {"priority", &c.priority},
                      {"dtStart", &c.dtStart},
                      {"status", &c.status},
                      {"summary", &c.summary},
                      {"class", &c.class_}};
  if (object.calendarKind == OSIF_CALENDAR_EVENT) {
    OsifEventTail& tail = c.tail.event;
    lists.insert(lists.end(), {{"location", &tail.location},
                               {"dAlarm", &tail.dAlarm},
                               {"aAlarm", &tail.aAlarm},
                               {"rRule", &tail.rRule},
                               {"exDate", &tail.exDate},
                               {"attendee", &tail.attendee},
                               {"attach", &tail.attach}});
  } else if (object.calendarKind == OSIF_CALENDAR_TODO) {
    OsifTodoTail& tail = c.tail.todo;
    lists.insert(lists.end(), {{"dAlarm", &tail.dAlarm},
                               {"aAlarm", &tail.aAlarm},
                               {"rRule", &tail.rRule},
                               {"exDate", &tail.exDate},
                               {"attendee", &tail.attendee},
                               {"attach", &tail.attach}});
  }
  return lists;
}

struct ReadCalendarValue {
  uint32_t flags;
  std::vector<std::string> params;
  std::vector<std::string> components;
};

// What a record holds.
struct ReadItem {
  int32_t store = -1;
  OsifResult result = OSIF_OK;
  int kind = 0;
  int all_day = 0;
  std::string luid;
  std::string version;
  std::map<std::string, std::vector<ReadCalendarValue>> fields;

  // The first value's components of a field; empty when the field is.
  std::vector<std::string> First(const std::string& field) const {
    auto found = fields.find(field);
    return found == fields.end() ? std::vector<std::string>{} : found->second.front().components;
  }
  // The first component of every value of a field.
  std::vector<std::string> All(const std::string& field) const {
    std::vector<std::string> texts;
    if (auto found = fields.find(field); found != fields.end()) {
      for (const ReadCalendarValue& value : found->second) {
        texts.push_back(value.components.empty() ? "<none>" : value.components.front());
      }
    }
    return texts;
  }
  // The only value's first component; tells when there is not exactly one.
  std::string Only(const std::string& field) const {
    const std::vector<std::string> all = All(field);
    return all.size() == 1 ? all.front() : "<" + std::to_string(all.size()) + " values>";
  }
};

inline ReadItem ItemOf(OsifObject& object) {
  ReadItem item;
  item.kind = object.calendarKind;
  item.luid = object.xIrmcLuid;
  item.version = object.version;
  if (item.kind == OSIF_CALENDAR_EVENT) item.all_day = object.calendar.tail.event.allDayEvent;
  for (const auto& [name, list] : CalendarLists(object)) {
    for (const PropertyValue& value : Values(*list)) {
      item.fields[name].push_back({value.flags, ParamsOf(value), ComponentsOf(value)});
    }
  }
  return item;
}

struct ReadCalendarOutcome {
  OsifResult result = OSIF_OK;
  std::vector<ReadItem> items;
};

inline int32_t KeepItem(int32_t store, OsifObject* object, OsifResult result, void* context) {
  ReadItem item = ItemOf(*object);
  item.store = store;
  item.result = result;
  static_cast<ReadCalendarOutcome*>(context)->items.push_back(std::move(item));
  return 0;
}

inline ReadCalendarOutcome ReadCalendars(std::string_view bytes) {
  ReadCalendarOutcome outcome;
  OsifStream stream = OpenBytes(bytes);
  outcome.result = VCalendar_ReadFile(stream, KeepItem, &outcome);
  return outcome;
}

// A calendar record of its own, with what the lines of a component say.
class CalendarRecord {
 public:
  explicit CalendarRecord(std::string_view component) {
    OsifStream stream = OpenBytes(CalendarText(component));
    VCalendar_ReadFile(stream, Take, object_.get());
    EXPECT_NE(object_->calendarKind, OSIF_CALENDAR_UNKNOWN) << component;
  }
  CalendarRecord() = default;

  OsifObject& operator*() { return *object_; }
  OsifObject* operator->() { return object_.get(); }
  OsifObject* get() { return object_.get(); }
  OsifCalendar& calendar() { return object_->calendar; }

 private:
  // Takes the lists over from the reader's record.
  static int32_t Take(int32_t, OsifObject* object, OsifResult, void* context) {
    std::memcpy(context, object, sizeof *object);
    std::memset(object, 0, sizeof *object);
    return 0;
  }

  OwnedObject object_{OSIF_STORE_CAL};
};

class EventRecord : public CalendarRecord {
 public:
  EventRecord(std::initializer_list<std::string_view> lines) : CalendarRecord(EventText(lines)) {}
};
class TodoRecord : public CalendarRecord {
 public:
  TodoRecord(std::initializer_list<std::string_view> lines) : CalendarRecord(TodoText(lines)) {}
};

}  // namespace support
