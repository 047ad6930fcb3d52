// A record's properties go to an item one by one, in an order that matters: dates before the recurrence that
// is laid over them, the recurrence before the reminder, which looks at the dates and at whether the item
// recurs. What the record does not have leaves the item as it is; words are compared exactly, and one that is
// not known counts as the usual case.
//
// The way back gives every property of the item, empty ones too, and the words that the handhelds send:
// "NEEDS ACTION" for what is busy or not yet done, and a priority of 0 for an appointment, which has none.
#include "BtOsif_pol/pol_calendar.h"

#include <charconv>
#include <string>

#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_recurrence.h"
#include "BtOsif_pol/pol_reminder.h"
#include "btosif/osif_date.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "config/trace.h"
#include "platform/api/com_ptr.h"

namespace {

constexpr std::string_view kCalendarVersion = "1.0";
constexpr LONG kMinutesPerDay = 1440;
constexpr double kSecondsPerDay = 86400;

// ---- Words and numbers ------------------------------------------------------------------------------

// The item knows normal and private; what is confidential is private.
LONG SensitivityOf(const WideText& text) {
  return text == u"PRIVATE" || text == u"CONFIDENTIAL" ? olPrivate : olNormal;
}

std::string_view ClassOf(LONG sensitivity) {
  if (sensitivity == olNormal) return "PUBLIC";
  return sensitivity == olPrivate ? "PRIVATE" : "";
}

LONG BusyStatusOf(const WideText& status) {
  if (status == u"TENTATIVE") return olTentative;
  return status == u"DECLINED" ? olFree : olBusy;
}

// "Busy" goes out as the word that tasks use, and comes back as busy all the same.
std::string_view StatusOf(LONG busy_status) {
  if (busy_status == olTentative) return "TENTATIVE";
  return busy_status == olBusy ? "NEEDS ACTION" : "";
}

// The leading digits count. A number that is too large to be read is low, as is any above 2.
LONG ImportanceOf(const WideText& priority) {
  const std::string text = TextToMultiByte(kUtf8CodePage, priority);
  const size_t start = text.find_first_not_of(" \t");
  int number = 0;
  if (start != std::string::npos) {
    const auto read = std::from_chars(text.data() + start, text.data() + text.size(), number);
    if (read.ec == std::errc::result_out_of_range) return olImportanceLow;
  }
  if (number == 1) return olImportanceHigh;
  return number == 0 || number == 2 ? olImportanceNormal : olImportanceLow;
}

std::string_view PriorityOf(LONG importance) {
  switch (importance) {
    case olImportanceLow:
      return "3";
    case olImportanceNormal:
      return "2";
    case olImportanceHigh:
      return "1";
    default:
      return "0";
  }
}

VARIANT_BOOL Flag(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }

// ---- Record to item ---------------------------------------------------------------------------------

template <typename Item>
void PutWhenText(Item& item, HRESULT (Item::*put)(BSTR), PropertyValue* list) {
  if (pol_HasFirstText(list)) pol_PutText(item, put, DecodedText(list));
}

template <typename Item>
void PutWhenText(Item& item, HRESULT (Item::*put)(DATE), PropertyValue* list) {
  if (pol_HasFirstText(list)) (item.*put)(pol_DateOf(list));
}

template <typename Item>
void PutSensitivity(Item& item, const OsifCalendar& record) {
  if (pol_HasFirstText(record.class_)) {
    item.put_Sensitivity(SensitivityOf(DecodedText(record.class_)));
  }
}

// Some devices repeat the summary in the description and put the note into ATTACH.
template <typename Item>
void PutBody(Item& item, const OsifCalendar& record, PropertyValue* attach) {
  if (!pol_HasFirstText(record.description)) return;
  const bool repeats_summary = pol_HasFirstText(attach) && pol_HasFirstText(record.summary) &&
                               DecodedText(record.description) == DecodedText(record.summary);
  pol_PutText(item, &Item::put_Body, DecodedText(repeats_summary ? attach : record.description));
}

// A task with a start but no due date is due on its start day.
void PutTaskDates(const OsifCalendar& record, ITask& task) {
  if (pol_HasFirstText(record.dtStart)) {
    const DATE start = pol_DateOf(record.dtStart);
    task.put_StartDate(start);
    const bool has_due_date = pol_Get(task, &ITask::get_DueDate, kNoDate) != kNoDate;
    if (!has_due_date && !pol_HasFirstText(record.due)) task.put_DueDate(start);
  }
  PutWhenText(task, &ITask::put_DueDate, record.due);
}

// Some devices send a flag for it, others dates without a time.
bool IsAllDay(const OsifCalendar& record) {
  constexpr std::string_view kDateOnly = "VALUE=DATE";
  if (record.tail.event.allDayEvent != 0) return true;
  return pol_HasFirstText(record.dtStart) && pol_HasFirstText(record.dtEnd) &&
         pol_HasParam(*record.dtStart, kDateOnly) && pol_HasParam(*record.dtEnd, kDateOnly);
}

struct Attendee {
  WideText name;
  WideText address;
};

// "Ann Lee <ann@lee.org>"; a text without a bracket is both.
Attendee SplitAttendee(const WideText& text) {
  const size_t bracket = text.find(u'<');
  if (bracket == WideText::npos) return {text, text};
  WideText name = text.substr(0, bracket);
  WideText address = text.substr(bracket + 1);
  name.erase(name.find_last_not_of(u' ') + 1);
  address.erase(address.find_last_not_of(u" >") + 1);
  return {name, address};
}

// From the last one on, since removing one moves those after it.
void RemoveRecipients(IRecipients& recipients) {
  const int count = pol_Get(recipients, &IRecipients::get_Count);
  if (count <= 0) return;
  OSIF_Trace(0, "OSIF:  %d attendees will be removed.", count);
  for (int index = count; index >= 1; --index) recipients.Remove(index);
}

void PutAttendees(const OsifCalendar& record, IAppointment& appointment) {
  ComPtr<IRecipients> recipients;
  if (FAILED(appointment.get_Recipients(recipients.put())) || !recipients) return;
  RemoveRecipients(*recipients);
  for (PropertyValue& value : Values(record.tail.event.attendee)) {
    const Attendee attendee = SplitAttendee(DecodedText(&value));
    ComPtr<IRecipient> recipient;
    recipients->Add(pol_MakeBstr(attendee.name).get(), recipient.put());
    if (recipient) pol_PutText(*recipient, &IRecipient::put_Address, attendee.address);
  }
}

// ---- Item to record ---------------------------------------------------------------------------------

template <typename Item>
void GetFrame(Item& item, uint8_t kind, OsifObject& object) {
  object.calendarKind = kind;
  CopyBounded(object.version, kCalendarVersion);
  pol_WriteId(pol_Get(item, &Item::get_Oid), object.xIrmcLuid);
}

template <typename Item>
void GetBody(Item& item, OsifCalendar& record) {
  pol_AppendText(record.description, pol_GetText(item, &Item::get_Body), nullptr,
                 kEncodeQuotedPrintable);
}

// The end of an all-day event is sent as the last second of its last day: the midnight at which the item ends
// would be taken for a day more. Each occurrence of a recurring one is one day.
DATE AllDayEnd(IAppointment& appointment, DATE end) {
  const bool is_recurring = pol_Get(appointment, &IAppointment::get_IsRecurring) != VARIANT_FALSE;
  const LONG minutes =
      is_recurring ? kMinutesPerDay : pol_Get(appointment, &IAppointment::get_Duration);
  const DATE start = pol_Get(appointment, &IAppointment::get_Start, kNoDate);
  const DATE shifted = start + (static_cast<double>(minutes) * 60 - 1) / kSecondsPerDay;
  SYSTEMTIME time = {};
  if (start != kNoDate && DateToSystemTime(shifted, &time)) return shifted;
  OSIF_Trace(0, "OSIF:  Unable to shift end date for all-day event");
  return end;
}

void GetEventDates(IAppointment& appointment, bool is_all_day, OsifCalendar& record) {
  const DateForm form = is_all_day ? DateForm::kLocal : DateForm::kUtc;
  DATE end = pol_Get(appointment, &IAppointment::get_End, kNoDate);
  if (end != kNoDate && is_all_day) end = AllDayEnd(appointment, end);
  pol_AppendDate(record.dtEnd, end, form);
  pol_AppendDate(record.dtStart, pol_Get(appointment, &IAppointment::get_Start, kNoDate), form);
}

WideText AttendeeText(IRecipient& recipient) {
  const Bstr name = pol_GetText(recipient, &IRecipient::get_Name);
  const Bstr address = pol_GetText(recipient, &IRecipient::get_Address);
  if (name.view() == address.view()) return WideText(address.view());
  return WideText(name.view()).append(u" <").append(address.view()).append(u">");
}

void GetAttendees(IAppointment& appointment, OsifCalendar& record) {
  ComPtr<IRecipients> recipients;
  if (FAILED(appointment.get_Recipients(recipients.put()))) return;
  pol_ForEach<IRecipient>(recipients, [&](IRecipient& recipient) {
    pol_AppendText(record.tail.event.attendee, AttendeeText(recipient), "ROLE=ATTENDEE");
  });
}

}  // namespace

void pol_PutTask(OsifObject& object, ITask& task) {
  OsifCalendar& record = object.calendar;
  PutWhenText(task, &ITask::put_Subject, record.summary);
  if (record.categories != nullptr) {
    pol_PutText(task, &ITask::put_Categories, DecodedText(record.categories));
  }
  PutTaskDates(record, task);
  if (pol_HasFirstText(record.priority)) {
    task.put_Importance(ImportanceOf(DecodedText(record.priority)));
  }
  if (record.status != nullptr) task.put_Complete(Flag(DecodedText(record.status) == u"COMPLETED"));
  PutSensitivity(task, record);
  PutBody(task, record, record.tail.todo.attach);
  pol_PutTaskRecurrence(record, task);
  pol_PutTaskReminder(record, task);
}

void pol_PutAppointment(OsifObject& object, IAppointment& appointment) {
  OsifCalendar& record = object.calendar;
  PutWhenText(appointment, &IAppointment::put_Subject, record.summary);
  PutWhenText(appointment, &IAppointment::put_Location, record.tail.event.location);
  PutWhenText(appointment, &IAppointment::put_Categories, record.categories);
  PutWhenText(appointment, &IAppointment::put_Start, record.dtStart);
  PutWhenText(appointment, &IAppointment::put_End, record.dtEnd);
  PutSensitivity(appointment, record);
  if (record.status != nullptr) {
    appointment.put_BusyStatus(BusyStatusOf(DecodedText(record.status)));
  }
  PutBody(appointment, record, record.tail.event.attach);
  // A recurrence may be saved here with its exceptions, so what an occurrence is made of stands before it.
  pol_PutAppointmentRecurrence(record, appointment);
  appointment.put_AllDayEvent(Flag(IsAllDay(record)));
  PutAttendees(record, appointment);
  pol_PutAppointmentReminder(record, appointment);
}

void pol_GetTask(ITask& task, OsifObject& object) {
  GetFrame(task, OSIF_CALENDAR_TODO, object);
  OsifCalendar& record = object.calendar;
  const bool is_complete = pol_Get(task, &ITask::get_Complete) != VARIANT_FALSE;
  pol_AppendText(record.categories, pol_GetText(task, &ITask::get_Categories));
  pol_AppendDate(record.completed,
                 is_complete ? pol_Get(task, &ITask::get_DateCompleted, kNoDate) : kNoDate,
                 DateForm::kDate);
  GetBody(task, record);
  pol_AppendDate(record.due, pol_Get(task, &ITask::get_DueDate, kNoDate), DateForm::kDate);
  pol_AppendAscii(record.priority, PriorityOf(pol_Get(task, &ITask::get_Importance)));
  pol_AppendDate(record.dtStart, pol_Get(task, &ITask::get_StartDate, kNoDate), DateForm::kDate);
  pol_AppendAscii(record.status, is_complete ? "COMPLETED" : "NEEDS ACTION");
  pol_AppendText(record.summary, pol_GetText(task, &ITask::get_Subject));
  pol_AppendAscii(record.class_, ClassOf(pol_Get(task, &ITask::get_Sensitivity)));
  pol_GetTaskReminder(task, record);
  pol_GetTaskRecurrence(task, record);
}

void pol_GetAppointment(IAppointment& appointment, OsifObject& object) {
  GetFrame(appointment, OSIF_CALENDAR_EVENT, object);
  OsifCalendar& record = object.calendar;
  const bool is_all_day = pol_Get(appointment, &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
  record.tail.event.allDayEvent = is_all_day ? 1 : 0;
  pol_AppendText(record.categories, pol_GetText(appointment, &IAppointment::get_Categories));
  GetBody(appointment, record);
  GetEventDates(appointment, is_all_day, record);
  pol_AppendAscii(record.status, StatusOf(pol_Get(appointment, &IAppointment::get_BusyStatus)));
  pol_AppendText(record.summary, pol_GetText(appointment, &IAppointment::get_Subject));
  pol_AppendAscii(record.class_, ClassOf(pol_Get(appointment, &IAppointment::get_Sensitivity)));
  pol_AppendText(record.tail.event.location, pol_GetText(appointment, &IAppointment::get_Location));
  pol_GetAppointmentReminder(appointment, is_all_day, record);
  pol_GetAppointmentRecurrence(appointment, record);
  GetAttendees(appointment, record);
  pol_AppendAscii(record.priority, "0");
}
