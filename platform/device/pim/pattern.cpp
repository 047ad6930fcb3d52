// A pattern keeps nothing: every call goes to the recurrence that its item holds, so that several patterns of
// an item agree and the item's Save has all there is. It holds a reference to its item, for the recurrence is
// a part of that.
//
// What belongs to the item itself goes through the item. The start is moved there, and the times of day are
// those of the appointment; a task has none.

#include "platform/device/pim/pattern.h"

#include <optional>

#include "platform/device/pim/dates.h"
#include "platform/device/pim/item.h"

namespace device {
namespace {

// What a series has that is to end and has been told neither when nor after how many.
constexpr LONG kUsualOccurrences = 10;

constexpr LONG kAllDaysOfWeek = 127;

class Pattern final : public PimObject<IRecurrencePattern, IID_IRecurrencePattern> {
 public:
  Pattern(const ComPtr<IDispatch>& item, PatternOwner& owner,
          const ComPtr<IPOutlookApp>& application)
      : item_(item), owner_(owner), application_(application) {}

  HRESULT get_RecurrenceType(LONG* value) override { return Give(Now().type, value); }
  HRESULT get_PatternStartDate(DATE* value) override {
    return Give(static_cast<DATE>(Now().start), value);
  }
  HRESULT get_StartTime(DATE* value) override { return GetTime(&IAppointment::get_Start, value); }
  HRESULT get_EndTime(DATE* value) override { return GetTime(&IAppointment::get_End, value); }
  HRESULT get_PatternEndDate(DATE* value) override {
    return Guarded([&] {
      const std::optional<int32_t> day = EndDay(Now());
      return Give(day ? static_cast<DATE>(*day) : DATE_NONE, value);
    });
  }
  HRESULT get_NoEndDate(VARIANT_BOOL* value) override { return Give(AsFlag(!HasEnd()), value); }
  HRESULT get_Occurrences(LONG* value) override {
    return Guarded([&] { return Give(CountOccurrences(Now()), value); });
  }
  HRESULT get_Interval(LONG* value) override { return Give(Now().interval, value); }
  HRESULT get_DayOfWeekMask(LONG* value) override { return Give(Now().day_of_week_mask, value); }
  HRESULT get_DayOfMonth(LONG* value) override { return Give(Now().day_of_month, value); }
  HRESULT get_Instance(LONG* value) override { return Give(Now().instance, value); }
  HRESULT get_Duration(LONG* value) override {
    IAppointment* appointment = owner_.ThisAppointment();
    return appointment == nullptr ? Give(LONG{0}, value) : appointment->get_Duration(value);
  }
  HRESULT get_MonthOfYear(LONG* value) override { return Give(Now().month_of_year, value); }

  HRESULT put_RecurrenceType(LONG value) override {
    return SetRecurrenceType(Now(), value) ? S_OK : E_INVALIDARG;
  }
  HRESULT put_PatternStartDate(DATE value) override {
    if (!IsDate(value) || value == DATE_NONE) return E_INVALIDARG;
    return owner_.PutPatternStart(DayOf(value));
  }
  HRESULT put_StartTime(DATE value) override;
  HRESULT put_EndTime(DATE value) override;
  HRESULT put_PatternEndDate(DATE value) override;
  HRESULT put_NoEndDate(VARIANT_BOOL value) override;
  HRESULT put_Occurrences(LONG value) override;
  HRESULT put_Interval(LONG value) override { return Put(&Recurrence::interval, value, 1, 999); }
  HRESULT put_DayOfWeekMask(LONG value) override {
    return Put(&Recurrence::day_of_week_mask, value, NeedsDaysOfWeek(Now()) ? 1 : 0,
               kAllDaysOfWeek);
  }
  HRESULT put_DayOfMonth(LONG value) override {
    if (value == 0) return E_INVALIDARG;
    return Put(&Recurrence::day_of_month, value, -31, 31);
  }
  HRESULT put_Instance(LONG value) override { return Put(&Recurrence::instance, value, 1, 5); }
  HRESULT put_Duration(LONG value) override {
    IAppointment* appointment = owner_.ThisAppointment();
    return appointment == nullptr ? E_INVALIDARG : appointment->put_Duration(value);
  }
  HRESULT put_MonthOfYear(LONG value) override {
    return Put(&Recurrence::month_of_year, value, 1, 12);
  }

  HRESULT get_Exceptions(IExceptions** exceptions) override {
    if (exceptions == nullptr) return E_INVALIDARG;
    *exceptions = nullptr;
    return Guarded([&] { return owner_.MakeExceptions(exceptions); });
  }
  HRESULT get_Application(IPOutlookApp** application) override {
    return HandOut(application_, application);
  }
  HRESULT GetOccurrence(DATE date, IAppointment** occurrence) override {
    if (occurrence == nullptr) return E_INVALIDARG;
    *occurrence = nullptr;
    if (!IsDate(date)) return E_INVALIDARG;
    return Guarded([&] { return owner_.MakeOccurrence(DayOf(date), occurrence); });
  }

 private:
  Recurrence& Now() const { return owner_.GetRecurrence(); }
  bool HasEnd() const { return Now().end || Now().occurrences; }

  HRESULT Put(LONG Recurrence::*property, LONG value, LONG lowest, LONG highest) {
    if (value < lowest || value > highest) return E_INVALIDARG;
    Now().*property = value;
    return S_OK;
  }

  // The time of day of an appointment; midnight for a task.
  HRESULT GetTime(HRESULT (IAppointment::*getter)(DATE*), DATE* value) const {
    IAppointment* appointment = owner_.ThisAppointment();
    if (value == nullptr) return E_INVALIDARG;
    *value = 0;
    if (appointment == nullptr) return S_OK;
    DATE date = 0;
    const HRESULT hr = (appointment->*getter)(&date);
    if (SUCCEEDED(hr)) *value = SameTimeOn(0, date);
    return hr;
  }

  const ComPtr<IDispatch> item_;
  PatternOwner& owner_;
  const ComPtr<IPOutlookApp> application_;
};

HRESULT Pattern::put_StartTime(DATE value) {
  IAppointment* appointment = owner_.ThisAppointment();
  if (appointment == nullptr || !IsDate(value)) return E_INVALIDARG;
  return appointment->put_Start(SameTimeOn(Now().start, value));
}

// A time before that of the start is one of the next day.
HRESULT Pattern::put_EndTime(DATE value) {
  IAppointment* appointment = owner_.ThisAppointment();
  if (appointment == nullptr || !IsDate(value)) return E_INVALIDARG;
  DATE start = 0;
  appointment->get_Start(&start);
  const DATE end = SameTimeOn(DayOf(start), value);
  const bool is_next_day = SecondsOf(end) < SecondsOf(start);
  return appointment->put_End(is_next_day ? SameTimeOn(DayOf(start) + 1, value) : end);
}

HRESULT Pattern::put_PatternEndDate(DATE value) {
  if (value == DATE_NONE) return put_NoEndDate(VARIANT_TRUE);
  if (!IsDate(value)) return E_INVALIDARG;
  Now().end = DayOf(value);
  Now().occurrences.reset();
  return S_OK;
}

HRESULT Pattern::put_NoEndDate(VARIANT_BOOL value) {
  if (value != VARIANT_FALSE) {
    Now().end.reset();
    Now().occurrences.reset();
  } else if (!HasEnd()) {
    Now().occurrences = kUsualOccurrences;
  }
  return S_OK;
}

// An end's day and a number of occurrences exclude each other; the last one that was put holds.
HRESULT Pattern::put_Occurrences(LONG value) {
  if (value < 1) return E_INVALIDARG;
  Now().occurrences = value;
  Now().end.reset();
  return S_OK;
}

}  // namespace

HRESULT NewPattern(const ComPtr<IDispatch>& item, PatternOwner& owner,
                   const ComPtr<IPOutlookApp>& application, IRecurrencePattern** pattern) {
  if (pattern == nullptr) return E_INVALIDARG;
  *pattern = nullptr;
  return Guarded([&] {
    *pattern = new Pattern(item, owner, application);
    return S_OK;
  });
}

}  // namespace device
