// An appointment is its row of values, its recipients and its recurrence, all in memory; Save writes the
// three in one transaction, and nothing in memory changes before that has succeeded.
//
// Start and End stay as they were put. That an all-day event begins at midnight and ends at the midnight
// after its last day is reckoned when they are shown or saved: whoever takes the mark away again finds the
// times that were put. The recurrence starts on the day of Start, and every call that moves one moves the
// other.
//
// Exceptions stand in the store only, by the days of the saved series. When a save changes the series, those
// of days on which it does not take place any more go in the same transaction.

#include "platform/device/pim/appointment.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/device/pim/appointment_object.h"
#include "platform/device/pim/exceptions.h"
#include "platform/device/pim/occurrence.h"
#include "platform/device/pim/series.h"

namespace device {
namespace {

constexpr int64_t kSecondsPerHour = 3600;
constexpr LONG kUsualReminderMinutes = 15;

// The end of the last day that a date can have.
constexpr int64_t kLastSecond = (int64_t{kLastDay} + 1) * kSecondsPerDay;

const PimStatements& Statements() {
  static const PimStatements kStatements(*AppointmentTable());
  return kStatements;
}

bool IsTime(DATE date) { return IsDate(date) && date != DATE_NONE; }

}  // namespace

Appointment::Appointment(const PimSession& session) : PimItem(session, Statements()) {
  const int64_t start = (SecondsOf(LocalNow()) / kSecondsPerHour + 1) * kSecondsPerHour;
  Date(Property::kStart) = DateOf(start);
  Date(Property::kEnd) = DateOf(start + kSecondsPerHour);
  Number(Property::kBusyStatus) = olBusy;
  Number(Property::kReminderMinutesBeforeStart) = kUsualReminderMinutes;
  recurrence_.start = DayOf(Date(Property::kStart));
}

HRESULT Appointment::Load(int32_t oid) {
  if (HRESULT hr = LoadValues(oid); FAILED(hr)) return hr;
  if (HRESULT hr = LoadRecurrence(database(), oid, &recurrence_); FAILED(hr)) return hr;
  recurrence_.start = DayOf(Date(Property::kStart));
  oid_ = oid;
  return S_OK;
}

HRESULT Appointment::LoadValues(int32_t oid) {
  if (HRESULT hr = LoadRow(oid); FAILED(hr)) return hr;
  return LoadRecipients(database(), oid, session_.application, &recipients_);
}

void Appointment::TakeValues(const Appointment& other) {
  values_ = other.values_;
  recipients_ = CopyRecipients(session_.application, other.recipients_);
  recurrence_.start = DayOf(Date(Property::kStart));
}

HRESULT Appointment::Save() {
  return Guarded([this] {
    Transaction transaction(database());
    if (!transaction.is_open()) return PimResult(database().LastError());
    int32_t oid = oid_;
    if (HRESULT hr = WriteValues(olFolderCalendar, &oid); FAILED(hr)) return hr;
    if (HRESULT hr = WriteSeries(oid); FAILED(hr)) return hr;
    if (HRESULT hr = Commit(transaction, oid); FAILED(hr)) return hr;
    are_exceptions_cleared_ = false;
    return S_OK;
  });
}

// The row holds the times as the appointment shows them: the search compares with them.
HRESULT Appointment::WriteValues(int folder, int32_t* oid) const {
  PimValues values = values_;
  values.Date(Index(Property::kStart)) = StartTime();
  values.Date(Index(Property::kEnd)) = EndTime();
  if (HRESULT hr = WriteRow(values, folder, oid); FAILED(hr)) return hr;
  return SaveRecipients(database(), *oid, recipients_);
}

// The exceptions are looked at only when the series has changed: an appointment is mostly saved for other
// reasons.
HRESULT Appointment::WriteSeries(int32_t oid) const {
  Recurrence stored;
  if (HRESULT hr = LoadRecurrence(database(), oid, &stored); FAILED(hr)) return hr;
  if (are_exceptions_cleared_ || stored != recurrence_) {
    const Recurrence kept = are_exceptions_cleared_ ? Recurrence{} : recurrence_;
    if (HRESULT hr = DropExceptions(database(), oid, kept); FAILED(hr)) return hr;
  }
  return SaveRecurrence(database(), oid, recurrence_);
}

HRESULT Appointment::Copy(IAppointment** copy) {
  if (copy == nullptr) return E_INVALIDARG;
  *copy = nullptr;
  return Guarded([&] {
    ComPtr<Appointment> appointment(new Appointment(session_));
    appointment->TakeValues(*this);
    appointment->recurrence_ = recurrence_;
    *copy = appointment.release();
    return S_OK;
  });
}

ComPtr<IDispatch> Appointment::Self() {
  AddRef();
  return ComPtr<IDispatch>(this);
}

// ---- Times --------------------------------------------------------------------------------------

DATE Appointment::StartTime() const {
  const DATE start = Date(Property::kStart);
  return IsAllDay() ? DayOf(start) : start;
}

// The end of an all-day event is the day after its last. A midnight after the first day already is
// one; any other time lies within the last day.
DATE Appointment::EndTime() const {
  const DATE end = Date(Property::kEnd);
  if (!IsAllDay()) return end;
  const DATE in_seconds = DateOf(SecondsOf(end));
  const int32_t midnight = DayOf(in_seconds) + (TimeOfDay(in_seconds) > 0 ? 1 : 0);
  return std::max<DATE>(midnight, StartTime() + 1);
}

int64_t Appointment::LengthInSeconds() const {
  return SecondsOf(EndTime()) - SecondsOf(StartTime());
}

HRESULT Appointment::get_Duration(LONG* value) {
  return Give(static_cast<LONG>(std::min<int64_t>(LengthInSeconds() / 60, kLargestNumber)), value);
}

// The length is taken before Start changes, from what the appointment shows.
HRESULT Appointment::put_Start(DATE value) {
  if (!IsTime(value)) return E_INVALIDARG;
  const int64_t start = SecondsOf(IsAllDay() ? DayOf(value) : value);
  Date(Property::kEnd) = DateOf(std::min(start + LengthInSeconds(), kLastSecond));
  Date(Property::kStart) = value;
  recurrence_.start = DayOf(value);
  return S_OK;
}

HRESULT Appointment::put_End(DATE value) {
  if (!IsTime(value)) return E_INVALIDARG;
  if (SecondsOf(value) < SecondsOf(StartTime())) return E_INVALIDDATES;
  Date(Property::kEnd) = value;
  return S_OK;
}

HRESULT Appointment::put_Duration(LONG value) {
  if (value < 0) return E_INVALIDARG;
  const int64_t end = SecondsOf(StartTime()) + int64_t{value} * 60;
  if (end > kLastSecond) return E_INVALIDARG;
  Date(Property::kEnd) = DateOf(end);
  return S_OK;
}

// Without its all-day start the appointment may begin after it ends.
HRESULT Appointment::put_AllDayEvent(VARIANT_BOOL value) {
  const HRESULT hr = PutFlag(Property::kAllDayEvent, value);
  if (SecondsOf(Date(Property::kEnd)) < SecondsOf(StartTime())) Date(Property::kEnd) = StartTime();
  return hr;
}

// ---- Recipients and recurrence ------------------------------------------------------------------

HRESULT Appointment::get_Recipients(IRecipients** value) {
  return NewRecipients(session_.application, Self(), recipients_, value);
}

HRESULT Appointment::get_MeetingStatus(LONG* value) {
  return Give(LONG{recipients_.empty() ? olNonMeeting : olMeeting}, value);
}

HRESULT Appointment::get_IsRecurring(VARIANT_BOOL* value) {
  return Give(AsFlag(IsRecurring(recurrence_)), value);
}

HRESULT Appointment::ClearRecurrencePattern() {
  recurrence_ = {};
  recurrence_.start = DayOf(Date(Property::kStart));
  are_exceptions_cleared_ = true;
  return S_OK;
}

HRESULT Appointment::GetRecurrencePattern(IRecurrencePattern** pattern) {
  return NewPattern(Self(), *this, session_.application, pattern);
}

HRESULT Appointment::PutPatternStart(int32_t day) {
  return put_Start(SameTimeOn(day, Date(Property::kStart)));
}

// A new appointment, or one whose pattern was cleared, has none yet, whatever the store still says.
HRESULT Appointment::MakeExceptions(IExceptions** exceptions) {
  std::vector<SeriesException> list;
  if (oid_ != 0 && !are_exceptions_cleared_) {
    if (HRESULT hr = ListExceptions(database(), oid_, &list); FAILED(hr)) return hr;
  }
  return NewExceptions(session_, oid_, StartTime(), std::move(list), exceptions);
}

// What takes place is what is saved.
HRESULT Appointment::MakeOccurrence(int32_t day, IAppointment** occurrence) {
  if (oid_ == 0) return E_UNEXPECTED;
  Recurrence saved;
  if (HRESULT hr = LoadRecurrence(database(), oid_, &saved); FAILED(hr)) return hr;
  if (!HasOccurrence(saved, day)) return E_INVALIDARG;
  SeriesException exception;
  const HRESULT hr = FindException(database(), oid_, day, &exception);
  if (FAILED(hr)) return hr;
  if (hr == S_FALSE) return NewOccurrence(session_, oid_, *this, day, occurrence);
  if (exception.occurrence == 0) return E_INVALIDARG;
  return LoadOccurrence(session_, oid_, exception, occurrence);
}

HRESULT NewAppointment(const PimSession& session, IDispatch** item) {
  return Guarded([&] {
    *item = static_cast<IAppointment*>(new Appointment(session));
    return S_OK;
  });
}

HRESULT LoadAppointment(const PimSession& session, int32_t oid, IDispatch** item) {
  return Guarded([&] {
    ComPtr<Appointment> appointment(new Appointment(session));
    const HRESULT hr = appointment->Load(oid);
    if (SUCCEEDED(hr)) *item = static_cast<IAppointment*>(appointment.release());
    return hr;
  });
}

}  // namespace device
