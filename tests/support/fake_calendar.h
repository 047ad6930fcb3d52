// An appointment and its pattern that tests can give any values and tell to fail, where the device would
// never hold such values or fail in such a way. Needs a FakePim, which counts its objects.
#pragma once

#include <map>
#include <string>

#include "tests/support/fake_pim.h"

namespace support {

// What a fake item or pattern holds, by property name: what was given to it and what was put.
struct FakeValues {
  std::map<std::string, double> numbers;  // also dates and flags
  std::map<std::string, std::u16string> texts;
  std::map<std::string, HRESULT> faults;  // by property, also "GetRecurrencePattern" and the like

  HRESULT Fault(const std::string& name) const {
    auto found = faults.find(name);
    return found == faults.end() ? S_OK : found->second;
  }
  // An unset number reads as 0. A failing call leaves a value that nobody may use.
  template <typename Number>
  HRESULT Get(const std::string& name, Number* value) const {
    auto found = numbers.find(name);
    *value = static_cast<Number>(found == numbers.end() ? 0 : found->second);
    if (Fault(name) != S_OK) *value = static_cast<Number>(77);
    return Fault(name);
  }
  HRESULT Put(const std::string& name, double value) {
    if (Fault(name) == S_OK) numbers[name] = value;
    return Fault(name);
  }
  HRESULT GetText(const std::string& name, BSTR* value) const {
    *value = nullptr;
    if (Fault(name) != S_OK) return Fault(name);
    auto found = texts.find(name);
    *value = Bstr(found == texts.end() ? u"" : found->second).release();
    return S_OK;
  }
  HRESULT PutText(const std::string& name, BSTR value) {
    if (Fault(name) == S_OK) texts[name] = std::u16string(value ? value : u"", SysStringLen(value));
    return Fault(name);
  }
};

// Without exceptions and occurrences.
class FakePattern final : public FakeObject<IRecurrencePattern, IID_IRecurrencePattern> {
 public:
  explicit FakePattern(FakeValues& values) : values_(values) {}

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
  FakeValues& values_;
};

// Has no recipients: asking for them fails.
class FakeAppointment final : public FakeObject<IAppointment, IID_IAppointment> {
 public:
  FakeValues values;
  FakeValues pattern;
  int saves = 0;
  int clears = 0;  // of the pattern

  HRESULT GetRecurrencePattern(IRecurrencePattern** result) override {
    *result = nullptr;
    if (values.Fault("GetRecurrencePattern") != S_OK) return values.Fault("GetRecurrencePattern");
    *result = new FakePattern(pattern);
    return S_OK;
  }
  HRESULT ClearRecurrencePattern() override {
    ++clears;
    return S_OK;
  }
  HRESULT get_IsRecurring(VARIANT_BOOL* v) override { return values.Get("IsRecurring", v); }
  HRESULT get_Subject(BSTR* v) override { return values.GetText("Subject", v); }
  HRESULT get_Location(BSTR* v) override { return values.GetText("Location", v); }
  HRESULT get_Categories(BSTR* v) override { return values.GetText("Categories", v); }
  HRESULT get_Start(DATE* v) override { return values.Get("Start", v); }
  HRESULT get_Duration(LONG* v) override { return values.Get("Duration", v); }
  HRESULT get_End(DATE* v) override { return values.Get("End", v); }
  HRESULT get_AllDayEvent(VARIANT_BOOL* v) override { return values.Get("AllDayEvent", v); }
  HRESULT get_BusyStatus(LONG* v) override { return values.Get("BusyStatus", v); }
  HRESULT get_Sensitivity(LONG* v) override { return values.Get("Sensitivity", v); }
  HRESULT get_Body(BSTR* v) override { return values.GetText("Body", v); }
  HRESULT get_Recipients(IRecipients** v) override {
    *v = nullptr;
    return E_FAIL;
  }
  HRESULT get_MeetingStatus(LONG* v) override { return values.Get("MeetingStatus", v); }
  HRESULT get_ReminderSet(VARIANT_BOOL* v) override { return values.Get("ReminderSet", v); }
  HRESULT get_ReminderSoundFile(BSTR* v) override { return values.GetText("ReminderSoundFile", v); }
  HRESULT get_ReminderMinutesBeforeStart(LONG* v) override {
    return values.Get("ReminderMinutesBeforeStart", v);
  }
  HRESULT get_ReminderOptions(LONG* v) override { return values.Get("ReminderOptions", v); }
  HRESULT put_Subject(BSTR v) override { return values.PutText("Subject", v); }
  HRESULT put_Location(BSTR v) override { return values.PutText("Location", v); }
  HRESULT put_Categories(BSTR v) override { return values.PutText("Categories", v); }
  HRESULT put_Start(DATE v) override { return values.Put("Start", v); }
  HRESULT put_Duration(LONG v) override { return values.Put("Duration", v); }
  HRESULT put_End(DATE v) override { return values.Put("End", v); }
  HRESULT put_AllDayEvent(VARIANT_BOOL v) override { return values.Put("AllDayEvent", v); }
  HRESULT put_BusyStatus(LONG v) override { return values.Put("BusyStatus", v); }
  HRESULT put_Sensitivity(LONG v) override { return values.Put("Sensitivity", v); }
  HRESULT put_Body(BSTR v) override { return values.PutText("Body", v); }
  HRESULT put_ReminderSet(VARIANT_BOOL v) override { return values.Put("ReminderSet", v); }
  HRESULT put_ReminderSoundFile(BSTR v) override { return values.PutText("ReminderSoundFile", v); }
  HRESULT put_ReminderMinutesBeforeStart(LONG v) override {
    return values.Put("ReminderMinutesBeforeStart", v);
  }
  HRESULT put_ReminderOptions(LONG v) override { return values.Put("ReminderOptions", v); }
  HRESULT Save() override {
    ++saves;
    return S_OK;
  }
  HRESULT Delete() override { return E_NOTIMPL; }
  HRESULT Copy(IAppointment**) override { return E_NOTIMPL; }
  HRESULT get_Oid(LONG* v) override { return values.Get("Oid", v); }
};

}  // namespace support
