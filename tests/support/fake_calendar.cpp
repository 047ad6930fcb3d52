#include "tests/support/fake_calendar.h"

namespace support {
namespace {

// Without exceptions and occurrences.
class FakePattern final : public FakeObject<IRecurrencePattern, IID_IRecurrencePattern> {
 public:
  explicit FakePattern(FakeItemValues& values) : values_(values) {}

  HRESULT get_RecurrenceType(LONG* v) override { return values_.Get("RecurrenceType", v); }
  HRESULT get_PatternStartDate(DATE* v) override { return values_.Get("PatternStartDate", v); }
  HRESULT get_StartTime(DATE* v) override { return values_.Get("StartTime", v); }
  HRESULT get_EndTime(DATE* v) override { return values_.Get("EndTime", v); }
  HRESULT get_PatternEndDate(DATE* v) override { return values_.Get("PatternEndDate", v); }
  HRESULT get_NoEndDate(VARIANT_BOOL* v) override { return values_.Get("NoEndDate", v); }
  HRESULT get_Occurrences(LONG* v) override { return values_.Get("Occurrences", v); }
  HRESULT get_Interval(LONG* v) override { return values_.Get("Interval", v); }
  HRESULT get_DayOfWeekMask(LONG* v) override { return values_.Get("DayOfWeekMask", v); }
  HRESULT get_DayOfMonth(LONG* v) override { return values_.Get("DayOfMonth", v); }
  HRESULT get_Instance(LONG* v) override { return values_.Get("Instance", v); }
  HRESULT get_Duration(LONG* v) override { return values_.Get("Duration", v); }
  HRESULT get_MonthOfYear(LONG* v) override { return values_.Get("MonthOfYear", v); }
  HRESULT put_RecurrenceType(LONG v) override { return values_.Put("RecurrenceType", v); }
  HRESULT put_PatternStartDate(DATE v) override { return values_.Put("PatternStartDate", v); }
  HRESULT put_StartTime(DATE v) override { return values_.Put("StartTime", v); }
  HRESULT put_EndTime(DATE v) override { return values_.Put("EndTime", v); }
  HRESULT put_PatternEndDate(DATE v) override { return values_.Put("PatternEndDate", v); }
  HRESULT put_NoEndDate(VARIANT_BOOL v) override { return values_.Put("NoEndDate", v); }
  HRESULT put_Occurrences(LONG v) override { return values_.Put("Occurrences", v); }
  HRESULT put_Interval(LONG v) override { return values_.Put("Interval", v); }
  HRESULT put_DayOfWeekMask(LONG v) override { return values_.Put("DayOfWeekMask", v); }
  HRESULT put_DayOfMonth(LONG v) override { return values_.Put("DayOfMonth", v); }
  HRESULT put_Instance(LONG v) override { return values_.Put("Instance", v); }
  HRESULT put_Duration(LONG v) override { return values_.Put("Duration", v); }
  HRESULT put_MonthOfYear(LONG v) override { return values_.Put("MonthOfYear", v); }
  HRESULT get_Exceptions(IExceptions** exceptions) override {
    *exceptions = nullptr;
    return E_FAIL;
  }
  HRESULT GetOccurrence(DATE, IAppointment** occurrence) override {
    *occurrence = nullptr;
    return E_FAIL;
  }

 private:
  FakeItemValues& values_;
};

}  // namespace

HRESULT FakeItemValues::Fault(const std::string& name) const {
  auto found = faults.find(name);
  return found == faults.end() ? S_OK : found->second;
}

HRESULT FakeItemValues::Put(const std::string& name, double value) {
  if (Fault(name) == S_OK) numbers[name] = value;
  return Fault(name);
}

HRESULT FakeItemValues::Get(const std::string& name, BSTR* value) const {
  *value = nullptr;
  if (Fault(name) != S_OK) return Fault(name);
  auto found = texts.find(name);
  *value = Bstr(found == texts.end() ? u"" : found->second).release();
  return S_OK;
}

HRESULT FakeItemValues::Put(const std::string& name, BSTR value) {
  if (Fault(name) == S_OK) texts[name] = std::u16string(value ? value : u"", SysStringLen(value));
  return Fault(name);
}

HRESULT FakeAppointment::GetRecurrencePattern(IRecurrencePattern** result) {
  *result = nullptr;
  if (values.Fault("GetRecurrencePattern") != S_OK) return values.Fault("GetRecurrencePattern");
  *result = new FakePattern(pattern);
  return S_OK;
}

HRESULT FakeAppointment::ClearRecurrencePattern() {
  ++clears;
  return S_OK;
}

HRESULT FakeAppointment::get_Recipients(IRecipients** v) {
  *v = nullptr;
  return E_FAIL;
}

HRESULT FakeAppointment::Save() {
  ++saves;
  return S_OK;
}

}  // namespace support
