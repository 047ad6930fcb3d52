// What the tests of calendars have in common: objects of a few lines, their strict texts, and what the library reads
// of these.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/strict_object.h"
#include "osif.h"
#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/temp_folder.h"

namespace calendar_support {

inline std::string JoinedLines(std::initializer_list<std::string_view> lines) {
  std::string text;
  for (const std::string_view line : lines) text.append(line).append("\r\n");
  return text;
}

inline dialects::ObjectText CalendarObject(const std::string& text) {
  dialects::ObjectText object;
  object.kind = dialects::ObjectKind::kCalendar;
  object.text = text;
  return object;
}

// An object of one component of these lines.
inline dialects::ObjectText Old(std::string_view component,
                                std::initializer_list<std::string_view> lines,
                                std::string_view frame = "") {
  return CalendarObject("BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + std::string(frame) +
                        "BEGIN:" + std::string(component) + "\r\n" + JoinedLines(lines) +
                        "END:" + std::string(component) + "\r\nEND:VCALENDAR\r\n");
}

inline dialects::ObjectText Modern(std::string_view component,
                                   std::initializer_list<std::string_view> lines,
                                   std::string_view frame = "") {
  return CalendarObject("BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + std::string(frame) +
                        "BEGIN:" + std::string(component) + "\r\n" + JoinedLines(lines) +
                        "END:" + std::string(component) + "\r\nEND:VCALENDAR\r\n");
}

// The lines of a text that begin with one of these names.
inline std::vector<std::string> LinesOf(const std::string& text,
                                        std::initializer_list<std::string_view> names) {
  std::vector<std::string> found;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = text.find("\r\n", begin);
    const std::string line = text.substr(begin, end - begin);
    begin = end == std::string::npos ? text.size() : end + 2;
    for (const std::string_view name : names) {
      const bool is_it = line.starts_with(name) && line.size() > name.size() &&
                         (line[name.size()] == ':' || line[name.size()] == ';');
      if (is_it) found.push_back(line);
    }
  }
  return found;
}

// What the library reads of a text, by the worst result and the number of objects.
struct LibraryReading {
  OsifResult result = OSIF_PARSE_OK;
  size_t objects = 0;
};

inline LibraryReading ReadByLibrary(const std::string& text) {
  const support::TempFile file(text);
  LibraryReading reading;
  const auto take = [](int32_t, OsifObject*, OsifResult result, void* context) -> int32_t {
    auto& taken = *static_cast<LibraryReading*>(context);
    ++taken.objects;
    if (result != OSIF_PARSE_OK) taken.result = result;
    return 0;
  };
  const OsifResult result = OSIF_ReadObjects(file.wide_path().c_str(), take, &reading);
  if (result != OSIF_OK) reading.result = result;
  return reading;
}

// A device in Berlin. Whatever is strict there, the library reads it without loss.
class StrictCalendar : public testing::Test {
 protected:
  static std::vector<dialects::StrictObject> Strict(const dialects::ObjectText& object) {
    std::vector<dialects::StrictObject> items = dialects::StrictCalendarItems(object, {});
    for (const dialects::StrictObject& item : items) {
      if (item.text.empty()) continue;
      const auto reading = ReadByLibrary(item.text);
      EXPECT_EQ(reading.result, OSIF_PARSE_OK) << item.text;
      EXPECT_EQ(reading.objects, 1U) << item.text;
    }
    return items;
  }

  // The only item of an object; an empty one when there are others.
  static dialects::StrictObject Only(const dialects::ObjectText& object) {
    std::vector<dialects::StrictObject> items = Strict(object);
    EXPECT_THAT(items, testing::SizeIs(1));
    return items.size() == 1 ? items.front() : dialects::StrictObject();
  }

  static std::vector<std::string> Times(const dialects::StrictObject& item) {
    return LinesOf(item.text, {"DTSTART", "DTEND", "X-BLUETOOTH-ALLDAYEVENT"});
  }

 private:
  support::TimeZone zone_{"Europe/Berlin"};
};

// What the device's store makes of a text: whether it is added and then found again, and what it gives back.
struct Stored {
  OsifResult added = OSIF_ERR_GENERAL;
  bool is_found = false;
  bool recurs = false;
  size_t exceptions = 0;
};

inline Stored StoreByLibrary(const std::string& text) {
  const support::TempFile file(text);
  Stored stored;
  const auto take = [](int32_t store_id, OsifObject* object, OsifResult, void* context) -> int32_t {
    auto& taken = *static_cast<Stored*>(context);
    std::vector<char> id(OSIF_ID_SIZE);
    taken.added = OSIF_AddObject(store_id, object, id.data(), nullptr);
    taken.is_found = OSIF_FindObject(store_id, object, nullptr) != 0;
    OsifObject back = {};
    if (store_id != OSIF_STORE_CAL || OSIF_GetObjectById(store_id, id.data(), &back) != OSIF_OK) {
      return 0;
    }
    const bool is_event = back.calendarKind == OSIF_CALENDAR_EVENT;
    const OsifCalendar& calendar = back.calendar;
    taken.recurs = (is_event ? calendar.tail.event.rRule : calendar.tail.todo.rRule) != nullptr;
    const PropertyValue* exception = is_event ? calendar.tail.event.exDate : nullptr;
    for (; exception != nullptr; exception = exception->next) ++taken.exceptions;
    OSIF_FreeObject(store_id, &back);
    return 0;
  };
  OSIF_ReadObjects(file.wide_path().c_str(), take, &stored);
  return stored;
}

}  // namespace calendar_support
