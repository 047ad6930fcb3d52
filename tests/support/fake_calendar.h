// An appointment and its pattern that tests can give any values and tell to fail, where the device would
// never hold such values or fail in such a way. Needs a FakePim, which counts its objects.
#pragma once

#include <map>
#include <string>

#include "tests/support/fake_pim.h"

namespace support {

// What a fake item or pattern holds, by property name: what was given to it and what was put.
struct FakeItemValues {
  std::map<std::string, double> numbers;  // also dates and flags
  std::map<std::string, std::u16string> texts;
  std::map<std::string, HRESULT> faults;  // by property, also "GetRecurrencePattern" and the like

  // What a call about a property answers instead of doing its work; S_OK does it.
  HRESULT Fault(const std::string& name) const;
  // An unset number reads as 0. A failing call leaves a value that nobody may use.
  template <typename Number>
  HRESULT Get(const std::string& name, Number* value) const {
    auto found = numbers.find(name);
    *value = static_cast<Number>(found == numbers.end() ? 0 : found->second);
    if (Fault(name) != S_OK) *value = static_cast<Number>(77);
    return Fault(name);
  }
  HRESULT Put(const std::string& name, double value);
  // The same for texts; an unset one is empty.
  HRESULT Get(const std::string& name, BSTR* value) const;
  HRESULT Put(const std::string& name, BSTR value);
};

// Has no recipients: asking for them fails. Its pattern has neither exceptions nor occurrences.
class FakeAppointment final : public FakeObject<IAppointment, IID_IAppointment> {
 public:
  FakeItemValues values;
  FakeItemValues pattern;
  int saves = 0;
  int clears = 0;  // of the pattern

  HRESULT GetRecurrencePattern(IRecurrencePattern** result) override;
  HRESULT ClearRecurrencePattern() override;

#define FAKE_VALUE(name, type)                                                  \
  HRESULT get_##name(type* value) override { return values.Get(#name, value); } \
  HRESULT put_##name(type value) override { return values.Put(#name, value); }
#define FAKE_Text(name) FAKE_VALUE(name, BSTR)
#define FAKE_Categories(name) FAKE_VALUE(name, BSTR)
#define FAKE_Date(name) FAKE_VALUE(name, DATE)
#define FAKE_Number(name) FAKE_VALUE(name, LONG)
#define FAKE_Flag(name) FAKE_VALUE(name, VARIANT_BOOL)
#define PROPERTY(name, column, kind, access) FAKE_##kind(name)
#include "platform/device/pim/appointment_properties.inc"
  FAKE_VALUE(Duration, LONG)
#undef FAKE_VALUE
#undef FAKE_Text
#undef FAKE_Categories
#undef FAKE_Date
#undef FAKE_Number
#undef FAKE_Flag

  HRESULT get_IsRecurring(VARIANT_BOOL* v) override { return values.Get("IsRecurring", v); }
  HRESULT get_Recipients(IRecipients** v) override;
  HRESULT get_MeetingStatus(LONG* v) override { return values.Get("MeetingStatus", v); }
  HRESULT get_Oid(LONG* v) override { return values.Get("Oid", v); }

  HRESULT Save() override;
  HRESULT Delete() override { return E_NOTIMPL; }
  HRESULT Copy(IAppointment**) override { return E_NOTIMPL; }
};

// A task of which there is the subject alone.
class FakeTask final : public FakeObject<ITask, IID_ITask> {
 public:
  FakeItemValues values;

  HRESULT get_Subject(BSTR* v) override { return values.Get("Subject", v); }
  HRESULT put_Subject(BSTR v) override { return values.Put("Subject", v); }
  HRESULT get_Oid(LONG* v) override { return values.Get("Oid", v); }

  HRESULT ClearRecurrencePattern() override { return E_NOTIMPL; }
  HRESULT GetRecurrencePattern(IRecurrencePattern**) override { return E_NOTIMPL; }
  HRESULT get_IsRecurring(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT get_Categories(BSTR*) override { return E_NOTIMPL; }
  HRESULT get_StartDate(DATE*) override { return E_NOTIMPL; }
  HRESULT get_DueDate(DATE*) override { return E_NOTIMPL; }
  HRESULT get_DateCompleted(DATE*) override { return E_NOTIMPL; }
  HRESULT get_Importance(LONG*) override { return E_NOTIMPL; }
  HRESULT get_Complete(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT get_Sensitivity(LONG*) override { return E_NOTIMPL; }
  HRESULT get_TeamTask(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT get_Body(BSTR*) override { return E_NOTIMPL; }
  HRESULT get_ReminderSet(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT get_ReminderSoundFile(BSTR*) override { return E_NOTIMPL; }
  HRESULT get_ReminderTime(DATE*) override { return E_NOTIMPL; }
  HRESULT get_ReminderOptions(LONG*) override { return E_NOTIMPL; }
  HRESULT put_Categories(BSTR) override { return E_NOTIMPL; }
  HRESULT put_StartDate(DATE) override { return E_NOTIMPL; }
  HRESULT put_DueDate(DATE) override { return E_NOTIMPL; }
  HRESULT put_Importance(LONG) override { return E_NOTIMPL; }
  HRESULT put_Complete(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT put_Sensitivity(LONG) override { return E_NOTIMPL; }
  HRESULT put_TeamTask(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT put_Body(BSTR) override { return E_NOTIMPL; }
  HRESULT put_ReminderSet(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT put_ReminderSoundFile(BSTR) override { return E_NOTIMPL; }
  HRESULT put_ReminderTime(DATE) override { return E_NOTIMPL; }
  HRESULT put_ReminderOptions(LONG) override { return E_NOTIMPL; }
  HRESULT Save() override { return E_NOTIMPL; }
  HRESULT Delete() override { return E_NOTIMPL; }
  HRESULT Copy(ITask**) override { return E_NOTIMPL; }
};

}  // namespace support
