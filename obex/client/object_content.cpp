// A view is made of the record that the library reads: a line for each value, of its field, its kinds and its decoded
// components, sorted. Left out is what stores add or take away of themselves, so that an object that was stored is found
// again: kinds that are understood without being said, what a device that was told nothing fills in, names that are made
// of other names, what is read and has no place in a store, and what only numbers the objects of a device.
#include "obex/client/object_content.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "client/digest.h"
#include "client/record_lists.h"
#include "client/temp_file.h"
#include "client/texts.h"
#include "dialects/content_line.h"
#include "obex/services/first_record.h"
#include "osif.h"

namespace obex {
namespace {

constexpr std::string_view kLuidName = "X-IRMC-LUID";

bool IsLuidLine(std::string_view line) {
  return line.size() > kLuidName.size() && line[kLuidName.size()] == ':' &&
         EqualsIgnoringCase(line.substr(0, kLuidName.size()), kLuidName);
}

bool IsCalendarItem(std::string_view what) { return what == "VEVENT" || what == "VTODO"; }

// ---- Views --------------------------------------------------------------------------------------------------

// The words for how a value is written, and those that are understood.
bool IsKind(const std::string& parameter) {
  static const std::set<std::string> kNoKinds = {
      "", "VOICE", "PREF", "INTERNET", "QUOTED-PRINTABLE", "BASE64", "8BIT", "7BIT"};
  return !kNoKinds.contains(parameter) && !parameter.starts_with("ENCODING=") &&
         !parameter.starts_with("CHARSET=");
}

std::string KindsOf(const PropertyValue& value, std::string_view field) {
  std::set<std::string> kinds;
  for (const OsifText& parameter : Texts(value.params)) {
    std::string word = ToUpper(parameter.text == nullptr ? "" : parameter.text);
    if (IsKind(word)) kinds.insert(std::move(word));
  }
  // A number of which nothing is said is one at home.
  if (kinds.empty() && field == "tel") kinds.insert("HOME");
  std::string text;
  for (const std::string& kind : kinds) text += ";" + kind;
  return text;
}

std::string WithoutBreaks(std::string_view text) {
  std::string line;
  for (const char c : text) {
    if (c == '\r') continue;
    if (c == '\n') {
      line += "\\n";
    } else {
      line += c;
    }
  }
  return line;
}

std::string ComponentsOf(PropertyValue& value) {
  std::string text;
  size_t used = 0;
  size_t index = 0;
  for ([[maybe_unused]] const OsifText& component : Texts(value.components)) {
    text += WithoutBreaks(client::ToOutput(DecodedText(&value, index++)));
    if (text.size() > used) used = text.find_last_not_of('\x1F') + 1;
    text += '\x1F';
  }
  return text.substr(0, used);
}

class ViewLines {
 public:
  template <typename Fields, size_t kCount>
  void Add(const client::ListRow<Fields> (&rows)[kCount], const Fields& fields) {
    for (const client::ListRow<Fields>& row : rows) {
      for (PropertyValue& value : Values(fields.*row.list)) Add(row.name, value);
    }
  }
  void Add(std::string_view name, PropertyValue& value) {
    const std::string text = ComponentsOf(value);
    if (!text.empty()) lines_.push_back(std::string(name) + KindsOf(value, name) + ":" + text);
  }
  void AddLine(const std::string& line) { lines_.push_back(line); }
  void Remove(const std::string& line) { std::erase(lines_, line); }
  void RemoveField(const std::string& name) {
    std::erase_if(lines_, [&](const std::string& line) { return line.starts_with(name + ":"); });
  }
  // Of the first value of a field.
  std::string ValueOf(const std::string& name) const {
    for (const std::string& line : lines_) {
      if (line.starts_with(name + ":")) return line.substr(name.size() + 1);
    }
    return {};
  }

  std::string Hash() {
    std::ranges::sort(lines_);
    std::string text;
    for (const std::string& line : lines_) text += line + "\n";
    return client::Sha256(text);
  }

 private:
  std::vector<std::string> lines_;
};

std::string ContactView(const OsifContact& contact) {
  ViewLines lines;
  lines.Add(client::kContactLists, contact);
  if (!lines.ValueOf("n").empty()) lines.RemoveField("fn");
  for (const char* unstored : {"nickname", "role"}) lines.RemoveField(unstored);
  return lines.Hash();
}

std::string CalendarView(const OsifObject& object) {
  const OsifCalendar& calendar = object.calendar;
  const bool is_event = object.calendarKind == OSIF_CALENDAR_EVENT;
  ViewLines lines;
  lines.Add(client::kCalendarLists, calendar);
  if (is_event) {
    lines.Add(client::kEventLists, calendar.tail.event);
  } else {
    lines.Add(client::kTodoLists, calendar.tail.todo);
  }
  lines.Remove("class:PUBLIC");
  lines.Remove("status:NEEDS ACTION");
  lines.Remove(is_event ? "priority:0" : "priority:2");
  if (lines.ValueOf("dtEnd") == lines.ValueOf("dtStart")) lines.RemoveField("dtEnd");
  lines.AddLine(is_event ? "event" : "todo");
  if (is_event && calendar.tail.event.allDayEvent != 0) lines.AddLine("allDayEvent");
  return lines.Hash();
}

}  // namespace

std::string LuidOf(std::string_view text) {
  while (!text.empty()) {
    const std::string_view line = dialects::TakePhysicalLine(text);
    if (IsLuidLine(line)) return std::string(dialects::Trim(line.substr(kLuidName.size() + 1)));
  }
  return {};
}

std::string HashOf(int32_t store_id, std::string_view text) {
  std::string content;
  std::string what;
  bool is_inside = store_id == OSIF_STORE_PB;
  while (!text.empty()) {
    const std::string_view line = dialects::TakePhysicalLine(text);
    if (store_id != OSIF_STORE_PB && dialects::IsFrameLine(line, "BEGIN", what) &&
        IsCalendarItem(what)) {
      is_inside = true;
    }
    if (is_inside && !line.empty() && !IsLuidLine(line)) content.append(line).append("\n");
    if (store_id != OSIF_STORE_PB && dialects::IsFrameLine(line, "END", what) &&
        IsCalendarItem(what)) {
      is_inside = false;
    }
  }
  return client::Sha256(content);
}

View ViewOf(int32_t store_id, std::string_view text) {
  View view;
  const client::TempFile file;
  if (!file.is_open() || !client::WriteAll(file.handle(), text) ||
      lseek(file.handle(), 0, SEEK_SET) != 0) {
    view.refusal = "no room for it";
    return view;
  }
  FirstRecord first(store_id, [&](OsifObject& object, const std::string&) {
    view.name = client::ObjectName(store_id, object);
    view.view = store_id == OSIF_STORE_PB ? ContactView(object.contact) : CalendarView(object);
  });
  dialects::FileRest rest;
  dialects::ReadDialectFile(file.handle(), {InputCodePage()}, first, rest);
  if (!first.has_used()) view.refusal = first.refusal().empty() ? "no object" : first.refusal();
  return view;
}

}  // namespace obex
