#include "btosif/osif_parsers/vcalendar_reader.h"

#include <array>

#include "btosif/osif_parsers/object_loop.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_parsers/property_table.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "config/trace.h"

namespace {

constexpr double kNewestVersion = 1.0;
constexpr std::string_view kAssumedVersion = "1.0";
constexpr size_t kPropertyCount = 23;
constexpr size_t kAlarmComponents = 4;
constexpr const char* kBlankLine = "OSIF:  Warning - Parser encounted a blank line in vCalendar";
constexpr const char* kNoBegin = "OSIF:  Error - vCalendar does not have a BEGIN tag";

// Which kinds of items need a property: a set of bits.
constexpr int kByNone = 0;
constexpr int kByEvent = OSIF_CALENDAR_EVENT;
constexpr int kByTodo = OSIF_CALENDAR_TODO;

struct PropertyRow {
  std::string_view name;
  CalendarProperty property;
  // Where its values go: into a list of both kinds, or into one of a kind's own. Null where there
  // is none.
  PropertyValue* OsifCalendar::*list = nullptr;
  PropertyValue* OsifEventTail::*event_list = nullptr;
  PropertyValue* OsifTodoTail::*todo_list = nullptr;
  int required = kByNone;
  size_t components = 1;
};

constexpr PropertyRow kProperties[] = {
    {"BEGIN", CalendarProperty::kBegin},
    {"CATEGORIES", CalendarProperty::kCategories, &OsifCalendar::categories, nullptr, nullptr,
     kByTodo},
    {"VERSION", CalendarProperty::kVersion},
    {"X-IRMC-LUID", CalendarProperty::kLuid},
    {"COMPLETED", CalendarProperty::kCompleted, &OsifCalendar::completed, nullptr, nullptr,
     kByTodo},
    {"DESCRIPTION", CalendarProperty::kDescription, &OsifCalendar::description, nullptr, nullptr,
     kByEvent | kByTodo},
    {"DUE", CalendarProperty::kDue, &OsifCalendar::due, nullptr, nullptr, kByTodo},
    {"DTEND", CalendarProperty::kDtEnd, &OsifCalendar::dtEnd},
    {"PRIORITY", CalendarProperty::kPriority, &OsifCalendar::priority, nullptr, nullptr, kByTodo},
    {"DTSTART", CalendarProperty::kDtStart, &OsifCalendar::dtStart, nullptr, nullptr, kByEvent},
    {"STATUS", CalendarProperty::kStatus, &OsifCalendar::status, nullptr, nullptr, kByTodo},
    {"SUMMARY", CalendarProperty::kSummary, &OsifCalendar::summary, nullptr, nullptr, kByTodo},
    {"LOCATION", CalendarProperty::kLocation, nullptr, &OsifEventTail::location},
    {"CLASS", CalendarProperty::kClass, &OsifCalendar::class_},
    {"RRULE", CalendarProperty::kRRule, nullptr, &OsifEventTail::rRule, &OsifTodoTail::rRule},
    {"EXDATE", CalendarProperty::kExDate, nullptr, &OsifEventTail::exDate, &OsifTodoTail::exDate},
    {"X-BLUETOOTH-ALLDAYEVENT", CalendarProperty::kAllDayEvent},
    {"ATTENDEE", CalendarProperty::kAttendee, nullptr, &OsifEventTail::attendee,
     &OsifTodoTail::attendee},
    {"DALARM", CalendarProperty::kDAlarm, nullptr, &OsifEventTail::dAlarm, &OsifTodoTail::dAlarm,
     kByNone, kAlarmComponents},
    {"AALARM", CalendarProperty::kAAlarm, nullptr, &OsifEventTail::aAlarm, &OsifTodoTail::aAlarm,
     kByNone, kAlarmComponents},
    {"ATTACH", CalendarProperty::kAttach, nullptr, &OsifEventTail::attach, &OsifTodoTail::attach},
    {"END", CalendarProperty::kEnd},
};
constexpr PropertyTable kTable(kProperties);

// The list of a record of either kind; null for a property that its kind does not have.
PropertyValue** ListOf(const PropertyRow& row, OsifObject& object) {
  OsifCalendar& calendar = object.calendar;
  if (row.list != nullptr) return &(calendar.*row.list);
  if (object.calendarKind == OSIF_CALENDAR_EVENT) {
    return row.event_list == nullptr ? nullptr : &(calendar.tail.event.*row.event_list);
  }
  return row.todo_list == nullptr ? nullptr : &(calendar.tail.todo.*row.todo_list);
}

void WarnOfUnknownProperty(std::string_view name, OsifResult& result) {
  OSIF_Trace(0, "OSIF:  Warning - vCalendar contains unknown property: '%s'", name.data());
  result = OSIF_PARSE_WARNING;
}

// Reads one event or to-do, from behind its BEGIN line to its END, into a record without lists.
class ItemReader {
 public:
  // The record has its kind from the start, so that it can be released at any time.
  ItemReader(OsifStream& stream, PropertyLine& line, OsifObject& object, uint8_t kind)
      : stream_(stream), line_(line), object_(object) {
    object_.calendarKind = kind;
  }

  OsifResult Read();

 private:
  void TakeProperty();
  void TakeAtDepthOne(const PropertyRow& row);
  void AppendValue(const PropertyRow& row);
  bool HasRequiredProperties() const;
  OsifResult Finish();

  OsifStream& stream_;
  PropertyLine& line_;
  OsifObject& object_;
  std::array<PropertyValue*, kPropertyCount> last_values_{};  // of each property's list
  OsifResult result_ = OSIF_PARSE_OK;
  size_t depth_ = 1;
  bool is_done_ = false;
};

OsifResult ItemReader::Read() {
  while (!is_done_ && !FILE_Eof(stream_)) {
    if (ReadPropertyOf(stream_, line_, kBlankLine, result_)) TakeProperty();
  }
  return Finish();
}

void ItemReader::TakeProperty() {
  const PropertyRow* row = kTable.Find(line_.name());
  if (row != nullptr && row->property == CalendarProperty::kBegin) {
    ++depth_;
  } else if (row != nullptr && row->property == CalendarProperty::kEnd) {
    is_done_ = depth_ == 1;
    --depth_;
  } else if (depth_ > 1) {
    // A nested object is passed over, whatever it holds.
  } else if (row == nullptr) {
    WarnOfUnknownProperty(line_.name(), result_);
  } else {
    TakeAtDepthOne(*row);
  }
}

void ItemReader::TakeAtDepthOne(const PropertyRow& row) {
  switch (row.property) {
    case CalendarProperty::kVersion:
      break;
    case CalendarProperty::kLuid:
      CopyBounded(object_.xIrmcLuid, line_.value());
      break;
    case CalendarProperty::kAllDayEvent:
      if (object_.calendarKind == OSIF_CALENDAR_EVENT) {
        object_.calendar.tail.event.allDayEvent = EqualsIgnoringCase(line_.value(), "TRUE");
      }
      break;
    default:
      AppendValue(row);
      break;
  }
}

void ItemReader::AppendValue(const PropertyRow& row) {
  PropertyValue** list = ListOf(row, object_);
  if (list == nullptr) return;
  PropertyValue*& last = last_values_[static_cast<size_t>(row.property)];
  PropertyValue_AppendLine(line_.value(), line_.params(), row.components, *list, last);
}

bool ItemReader::HasRequiredProperties() const {
  for (const PropertyRow& row : kProperties) {
    const bool is_required = (row.required & object_.calendarKind) != 0;
    if (is_required && *ListOf(row, object_) == nullptr) return false;
  }
  return true;
}

OsifResult ItemReader::Finish() {
  if (!HasRequiredProperties()) {
    OSIF_Trace(0, "OSIF:  Warning - vCalendar does not contain all mandetory properties");
    result_ = OSIF_PARSE_WARNING;
  }
  if (!is_done_) {
    OSIF_Trace(0, "OSIF:  Error - vCalendar missing END tag");
    result_ = OSIF_PARSE_ERROR;
  }
  return result_;
}

// Reads one calendar, from behind its BEGIN line to its END, and delivers its items.
class CalendarReader {
 public:
  CalendarReader(OsifStream& stream, PropertyLine& line, ObjectDelivery& delivery)
      : stream_(stream), line_(line), delivery_(delivery), object_(delivery.object()) {}

  OsifResult Read();

 private:
  void TakeProperty();
  void TakeVersion();
  void TakeItem();
  void DeliverItem();
  void Refuse() { result_ = OSIF_PARSE_ERROR; }
  OsifResult Finish();

  OsifStream& stream_;
  PropertyLine& line_;
  ObjectDelivery& delivery_;
  OsifObject& object_;
  OsifResult result_ = OSIF_PARSE_OK;
  bool has_version_ = false;
  bool has_item_ = false;
  bool is_done_ = false;
};

OsifResult CalendarReader::Read() {
  delivery_.ClearFrame();
  CopyBounded(object_.version, kAssumedVersion);
  while (!is_done_ && !FILE_Eof(stream_)) {
    if (ReadPropertyOf(stream_, line_, kBlankLine, result_)) TakeProperty();
    if (!IsRead(result_)) return result_;
  }
  return Finish();
}

void CalendarReader::TakeProperty() {
  switch (CalendarPropertyIndex(line_.name())) {
    case CalendarProperty::kUnknown:
      WarnOfUnknownProperty(line_.name(), result_);
      break;
    case CalendarProperty::kBegin:
      TakeItem();
      break;
    case CalendarProperty::kVersion:
      TakeVersion();
      break;
    case CalendarProperty::kLuid:
      CopyBounded(object_.xIrmcLuid, line_.value());
      break;
    case CalendarProperty::kEnd:
      is_done_ = true;
      break;
    default:
      break;
  }
}

void CalendarReader::TakeVersion() {
  has_version_ = true;
  CopyBounded(object_.version, line_.value());
  if (IsSupportedVersion(object_.version, kNewestVersion)) return;
  OSIF_Trace(0, "OSIF:  Error - vCalendar version '%s' is not supported", object_.version);
  Refuse();
}

void CalendarReader::TakeItem() {
  uint8_t kind = OSIF_CALENDAR_UNKNOWN;
  if (IsType(line_.value(), "VEVENT")) kind = OSIF_CALENDAR_EVENT;
  if (IsType(line_.value(), "VTODO")) kind = OSIF_CALENDAR_TODO;
  if (kind == OSIF_CALENDAR_UNKNOWN) {
    OSIF_Trace(0, "OSIF:  Error - Unknown BEGIN tag in vCalendar");
    return Refuse();
  }
  has_item_ = true;
  const OsifResult item_result = ItemReader(stream_, line_, object_, kind).Read();
  if (!IsRead(item_result)) return Refuse();
  if (item_result == OSIF_PARSE_WARNING) result_ = OSIF_PARSE_WARNING;
  DeliverItem();
}

// Every item of a calendar carries the calendar's version; all else is its own.
void CalendarReader::DeliverItem() {
  char version[sizeof object_.version];
  CopyBounded(version, object_.version);
  delivery_.Deliver(result_);
  CopyBounded(object_.version, version);
}

OsifResult CalendarReader::Finish() {
  if (!has_version_) {
    OSIF_Trace(0, "OSIF:  WARNING - vCalendar missing VERSION property.  Assumed to be '1.0'.");
  }
  if (!has_item_ || !is_done_) {
    OSIF_Trace(0, "OSIF:  Error - vCalendar does not contain required VERSION property");
    Refuse();
  }
  return result_;
}

}  // namespace

CalendarProperty CalendarPropertyIndex(std::string_view name) {
  const PropertyRow* row = kTable.Find(name);
  return row == nullptr ? CalendarProperty::kUnknown : row->property;
}

OsifResult VCalendar_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context) {
  ObjectDelivery delivery(OSIF_STORE_CAL, callback, context);
  const auto begins = [](const PropertyLine& line) {
    return CalendarPropertyIndex(line.name()) == CalendarProperty::kBegin &&
           IsType(line.value(), "VCALENDAR");
  };
  return ReadEachObject(stream, delivery, kNoBegin, begins, [&](PropertyLine& line) {
    return CalendarReader(stream, line, delivery).Read();
  });
}
