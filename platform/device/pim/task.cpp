// A task is its row of values and its recurrence, which Save writes in one transaction. Its start and its end
// are days without a time, and its series has no exceptions.
//
// A pattern starts where the task does, on its start date, else its due date, else today, and follows these
// dates until a program puts the pattern's start itself or the series is saved. From then on the start is the
// series' own.

#include "platform/device/pim/task.h"

#include "platform/device/pim/exceptions.h"
#include "platform/device/pim/item.h"
#include "platform/device/pim/pattern.h"
#include "platform/device/pim/property_access.h"
#include "platform/device/pim/recurrence.h"
#include "platform/device/pim/series.h"
#include "platform/device/pim/task_table.h"

namespace device {
namespace {

const PimStatements& Statements() {
  static const PimStatements kStatements(*TaskTable());
  return kStatements;
}

// The values in memory, and how they come from and go to the store.
class Task final : public PimItem<ITask, IID_ITask, TaskProperty>, private PatternOwner {
 public:
  using Property = TaskProperty;

  explicit Task(const PimSession& session);

  // Takes what is stored under an object id; kNoSuchItem when there is nothing.
  HRESULT Load(int32_t oid);

#define PROPERTY(name, column, kind, access) PIM_ACCESS_##access(name, kind)
#include "platform/device/pim/task_properties.inc"

  HRESULT ClearRecurrencePattern() override;
  HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) override;
  HRESULT get_IsRecurring(VARIANT_BOOL* value) override;
  HRESULT put_StartDate(DATE value) override;
  HRESULT put_DueDate(DATE value) override;
  HRESULT put_Importance(LONG value) override {
    return PutNumber(Property::kImportance, value, olImportanceLow, olImportanceHigh);
  }
  HRESULT put_Complete(VARIANT_BOOL value) override;
  HRESULT put_Sensitivity(LONG value) override {
    return PutNumber(Property::kSensitivity, value, olNormal, olConfidential);
  }
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

Task::Task(const PimSession& session) : PimItem(session, Statements()) {
  Number(Property::kImportance) = olImportanceNormal;
  StartPatternWithTask();
}

HRESULT Task::Load(int32_t oid) {
  if (HRESULT hr = LoadRow(oid); FAILED(hr)) return hr;
  if (HRESULT hr = LoadRecurrence(database(), oid, &recurrence_); FAILED(hr)) return hr;
  is_pattern_start_put_ = IsRecurring(recurrence_);
  StartPatternWithTask();
  oid_ = oid;
  return S_OK;
}

HRESULT Task::Save() {
  return Guarded([this] {
    Transaction transaction(database());
    if (!transaction.is_open()) return PimResult(database().LastError());
    int32_t oid = oid_;
    if (HRESULT hr = WriteRow(values_, olFolderTasks, &oid); FAILED(hr)) return hr;
    if (HRESULT hr = SaveRecurrence(database(), oid, recurrence_); FAILED(hr)) return hr;
    if (HRESULT hr = Commit(transaction, oid); FAILED(hr)) return hr;
    is_pattern_start_put_ = IsRecurring(recurrence_);
    return S_OK;
  });
}

HRESULT Task::Copy(ITask** copy) {
  if (copy == nullptr) return E_INVALIDARG;
  *copy = nullptr;
  return Guarded([&] {
    ComPtr<Task> task(new Task(session_));
    task->values_ = values_;
    task->recurrence_ = recurrence_;
    task->is_pattern_start_put_ = is_pattern_start_put_;
    *copy = task.release();
    return S_OK;
  });
}

ComPtr<IDispatch> Task::Self() {
  AddRef();
  return ComPtr<IDispatch>(static_cast<ITask*>(this));
}

HRESULT Task::put_StartDate(DATE value) { return PutTaskDay(Property::kStartDate, value); }
HRESULT Task::put_DueDate(DATE value) { return PutTaskDay(Property::kDueDate, value); }

HRESULT Task::PutTaskDay(Property property, DATE value) {
  const HRESULT hr = PutDay(property, value);
  StartPatternWithTask();
  return hr;
}

// A task that is complete already keeps the day on which it was completed.
HRESULT Task::put_Complete(VARIANT_BOOL value) {
  DATE& completed = Date(Property::kDateCompleted);
  if (value == VARIANT_FALSE) {
    completed = DATE_NONE;
  } else if (completed == DATE_NONE) {
    completed = std::floor(LocalNow());
  }
  return PutFlag(Property::kComplete, value);
}

// ---- Recurrence ---------------------------------------------------------------------------------

HRESULT Task::get_IsRecurring(VARIANT_BOOL* value) {
  return Give(AsFlag(IsRecurring(recurrence_)), value);
}

HRESULT Task::ClearRecurrencePattern() {
  recurrence_ = {};
  is_pattern_start_put_ = false;
  StartPatternWithTask();
  return S_OK;
}

HRESULT Task::GetRecurrencePattern(IRecurrencePattern** pattern) {
  return NewPattern(Self(), *this, session_.application, pattern);
}

HRESULT Task::PutPatternStart(int32_t day) {
  recurrence_.start = day;
  is_pattern_start_put_ = true;
  return S_OK;
}

// On the start date, else on the due date, else today.
void Task::StartPatternWithTask() {
  if (is_pattern_start_put_) return;
  DATE start = Date(Property::kStartDate);
  if (start == DATE_NONE) start = Date(Property::kDueDate);
  if (start == DATE_NONE) start = LocalNow();
  recurrence_.start = DayOf(start);
}

// The platform asks for a list all the same.
HRESULT Task::MakeExceptions(IExceptions** exceptions) {
  return NewExceptions(session_, oid_, 0, {}, exceptions);
}

}  // namespace

HRESULT NewTask(const PimSession& session, IDispatch** item) {
  return Guarded([&] {
    *item = static_cast<ITask*>(new Task(session));
    return S_OK;
  });
}

HRESULT LoadTask(const PimSession& session, int32_t oid, IDispatch** item) {
  return Guarded([&] {
    ComPtr<Task> task(new Task(session));
    const HRESULT hr = task->Load(oid);
    if (SUCCEEDED(hr)) *item = static_cast<ITask*>(task.release());
    return hr;
  });
}

}  // namespace device
