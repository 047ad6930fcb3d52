// A calendar is no object of its own here, only what its items stand in: it gives them its version, and each item
// is delivered as soon as its END has come, with the worst result so far. So a file that breaks off in the
// middle has delivered what came before, and then fails.
//
// Both levels share one table. Outside an item most of its rows mean nothing; inside it each row says into which
// list of the record the value goes, and whether that is one of both kinds of items or of one kind alone.
#include "btosif/osif_parsers/vcalendar_reader.h"

#include "btosif/osif_parsers/object_loop.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_parsers/property_table.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "config/trace.h"

namespace {

constexpr double kNewestVersion = 1.0;
constexpr std::string_view kAssumedVersion = "1.0";
constexpr size_t kAlarmComponents = 4;
constexpr const char* kBlankLine = "OSIF:  Warning - Parser encounted a blank line in vCalendar";
constexpr const char* kUnknown = "OSIF:  Warning - vCalendar contains unknown property: '%s'";
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

constexpr CursorRules kItemRules = {kBlankLine, kUnknown, Nesting::kSkippedMute};
constexpr CursorRules kCalendarRules = {kBlankLine, kUnknown, Nesting::kRead};

// The list of a record of either kind; null for a property that its kind does not have.
PropertyValue** ListOf(const PropertyRow& row, OsifObject& object) {
  OsifCalendar& calendar = object.calendar;
  if (row.list != nullptr) return &(calendar.*row.list);
  if (object.calendarKind == OSIF_CALENDAR_EVENT) {
    return row.event_list == nullptr ? nullptr : &(calendar.tail.event.*row.event_list);
  }
  return row.todo_list == nullptr ? nullptr : &(calendar.tail.todo.*row.todo_list);
}

// Reads one event or to-do, from after its BEGIN line to its END, into a record without lists.
class ItemReader {
 public:
  // The record has its kind from the start, so that it can be released at any time.
  ItemReader(OsifStream& stream, PropertyLine& line, OsifObject& object, uint8_t kind)
      : line_(line), cursor_(stream, line), object_(object) {
    object_.calendarKind = kind;
  }

  OsifResult Read();

 private:
  void Take(const PropertyRow& row);
  void AppendValue(const PropertyRow& row);
  bool HasRequiredProperties() const;
  OsifResult Finish();

  PropertyLine& line_;
  ObjectCursor<kTable, kItemRules> cursor_;
  OsifObject& object_;
};

OsifResult ItemReader::Read() {
  while (const PropertyRow* row = cursor_.NextRow()) Take(*row);
  return Finish();
}

void ItemReader::Take(const PropertyRow& row) {
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
  if (list != nullptr) cursor_.Append(row, line_.params(), row.components, *list);
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
    cursor_.Add(OSIF_PARSE_WARNING);
  }
  if (!cursor_.has_ended()) {
    OSIF_Trace(0, "OSIF:  Error - vCalendar missing END tag");
    cursor_.Refuse();
  }
  return cursor_.result();
}

// Reads one calendar, from after its BEGIN line to its END, and delivers its items.
class CalendarReader {
 public:
  CalendarReader(OsifStream& stream, PropertyLine& line, ObjectDelivery& delivery)
      : line_(line), cursor_(stream, line), delivery_(delivery), object_(delivery.object()) {}

  OsifResult Read();

 private:
  void Take(const PropertyRow& row);
  void TakeVersion();
  void TakeItem();
  void DeliverItem();
  OsifResult Finish();

  PropertyLine& line_;
  ObjectCursor<kTable, kCalendarRules> cursor_;
  ObjectDelivery& delivery_;
  OsifObject& object_;
  bool has_item_ = false;
};

OsifResult CalendarReader::Read() {
  delivery_.ClearFrame();
  CopyBounded(object_.version, kAssumedVersion);
  while (const PropertyRow* row = cursor_.NextRow()) Take(*row);
  return IsRead(cursor_.result()) ? Finish() : cursor_.result();
}

// Any other property belongs into an item, and is ignored outside.
void CalendarReader::Take(const PropertyRow& row) {
  switch (row.property) {
    case CalendarProperty::kBegin:
      TakeItem();
      break;
    case CalendarProperty::kVersion:
      TakeVersion();
      break;
    case CalendarProperty::kLuid:
      CopyBounded(object_.xIrmcLuid, line_.value());
      break;
    default:
      break;
  }
}

void CalendarReader::TakeVersion() {
  CopyBounded(object_.version, line_.value());
  if (IsSupportedVersion(object_.version, kNewestVersion)) return;
  OSIF_Trace(0, "OSIF:  Error - vCalendar version '%s' is not supported", object_.version);
  cursor_.Refuse();
}

void CalendarReader::TakeItem() {
  uint8_t kind = OSIF_CALENDAR_UNKNOWN;
  if (IsType(line_.value(), "VEVENT")) kind = OSIF_CALENDAR_EVENT;
  if (IsType(line_.value(), "VTODO")) kind = OSIF_CALENDAR_TODO;
  if (kind == OSIF_CALENDAR_UNKNOWN) {
    OSIF_Trace(0, "OSIF:  Error - Unknown BEGIN tag in vCalendar");
    return cursor_.Refuse();
  }
  has_item_ = true;
  const OsifResult item_result = ItemReader(cursor_.stream(), line_, object_, kind).Read();
  if (!IsRead(item_result)) return cursor_.Refuse();
  cursor_.Add(item_result);
  DeliverItem();
}

// Every item of a calendar carries the calendar's version; all else is its own.
void CalendarReader::DeliverItem() {
  char version[sizeof object_.version];
  CopyBounded(version, object_.version);
  delivery_.Deliver(cursor_.result());
  CopyBounded(object_.version, version);
}

OsifResult CalendarReader::Finish() {
  if (!cursor_.HasMet(CalendarProperty::kVersion)) {
    OSIF_Trace(0, "OSIF:  WARNING - vCalendar missing VERSION property.  Assumed to be '1.0'.");
  }
  if (!has_item_ || !cursor_.has_ended()) {
    OSIF_Trace(0, "OSIF:  Error - vCalendar does not contain required VERSION property");
    cursor_.Refuse();
  }
  return cursor_.result();
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
