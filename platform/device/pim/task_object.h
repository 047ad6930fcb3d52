// The task's object: the values in memory, and how they come from and go to the store.
#pragma once

#include <cstdint>

#include "platform/api/pimstore.h"
#include "platform/device/pim/item.h"
#include "platform/device/pim/pattern.h"
#include "platform/device/pim/recurrence.h"
#include "platform/device/pim/task_table.h"

namespace device {

class Task final : public PimItem<ITask, IID_ITask, TaskProperty>, private PatternOwner {
 public:
  using Property = TaskProperty;

  explicit Task(const PimSession& session);

  // Takes what is stored under an object id; kNoSuchItem when there is nothing.
  HRESULT Load(int32_t oid);

  HRESULT ClearRecurrencePattern() override;
  HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) override;
  HRESULT get_IsRecurring(VARIANT_BOOL* value) override;
  HRESULT get_Subject(BSTR* value) override { return GetText(Property::kSubject, value); }
  HRESULT get_Categories(BSTR* value) override { return GetText(Property::kCategories, value); }
  HRESULT get_StartDate(DATE* value) override { return GetDate(Property::kStartDate, value); }
  HRESULT get_DueDate(DATE* value) override { return GetDate(Property::kDueDate, value); }
  HRESULT get_DateCompleted(DATE* value) override {
    return GetDate(Property::kDateCompleted, value);
  }
  HRESULT get_Importance(LONG* value) override { return GetNumber(Property::kImportance, value); }
  HRESULT get_Complete(VARIANT_BOOL* value) override { return GetFlag(Property::kComplete, value); }
  HRESULT get_Sensitivity(LONG* value) override { return GetNumber(Property::kSensitivity, value); }
  HRESULT get_TeamTask(VARIANT_BOOL* value) override { return GetFlag(Property::kTeamTask, value); }
  HRESULT get_Body(BSTR* value) override { return GetText(Property::kBody, value); }
  HRESULT get_ReminderSet(VARIANT_BOOL* value) override {
    return GetFlag(Property::kReminderSet, value);
  }
  HRESULT get_ReminderSoundFile(BSTR* value) override {
    return GetText(Property::kReminderSoundFile, value);
  }
  HRESULT get_ReminderTime(DATE* value) override { return GetDate(Property::kReminderTime, value); }
  HRESULT get_ReminderOptions(LONG* value) override {
    return GetNumber(Property::kReminderOptions, value);
  }
  HRESULT put_Subject(BSTR value) override { return PutText(Property::kSubject, value); }
  HRESULT put_Categories(BSTR value) override { return PutText(Property::kCategories, value); }
  HRESULT put_StartDate(DATE value) override;
  HRESULT put_DueDate(DATE value) override;
  HRESULT put_Importance(LONG value) override {
    return PutNumber(Property::kImportance, value, olImportanceLow, olImportanceHigh);
  }
  HRESULT put_Complete(VARIANT_BOOL value) override;
  HRESULT put_Sensitivity(LONG value) override {
    return PutNumber(Property::kSensitivity, value, olNormal, olConfidential);
  }
  HRESULT put_TeamTask(VARIANT_BOOL value) override { return PutFlag(Property::kTeamTask, value); }
  HRESULT put_Body(BSTR value) override { return PutText(Property::kBody, value); }
  HRESULT put_ReminderSet(VARIANT_BOOL value) override {
    return PutFlag(Property::kReminderSet, value);
  }
  HRESULT put_ReminderSoundFile(BSTR value) override {
    return PutText(Property::kReminderSoundFile, value);
  }
  HRESULT put_ReminderTime(DATE value) override { return PutDate(Property::kReminderTime, value); }
  HRESULT put_ReminderOptions(LONG value) override {
    return PutNumber(Property::kReminderOptions, value, 0, kAllReminderOptions);
  }

  HRESULT Save() override;
  HRESULT Delete() override { return DeleteRow(); }
  HRESULT Copy(ITask** copy) override;

 private:
  HRESULT PutTaskDay(Property property, DATE value);
  void StartPatternWithTask();
  ComPtr<IDispatch> Self();

  Recurrence& GetRecurrence() override { return recurrence_; }
  HRESULT PutPatternStart(int32_t day) override;
  IAppointment* ThisAppointment() override { return nullptr; }
  HRESULT MakeExceptions(IExceptions** exceptions) override;
  HRESULT MakeOccurrence(int32_t, IAppointment**) override { return E_INVALIDARG; }

  Recurrence recurrence_;
  bool is_pattern_start_put_ = false;  // else it follows the task's dates
};

}  // namespace device
