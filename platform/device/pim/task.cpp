#include "platform/device/pim/task.h"

#include "platform/device/pim/exceptions.h"
#include "platform/device/pim/series.h"
#include "platform/device/pim/task_object.h"

namespace device {
namespace {

const PimStatements& Statements() {
  static const PimStatements kStatements(*TaskTable());
  return kStatements;
}

}  // namespace

Task::Task(const PimSession& session) : PimItem(session, Statements()) {
  Number(Property::kImportance) = olImportanceNormal;
  StartPatternWithTask();
}

HRESULT Task::Load(int32_t oid) {
  if (HRESULT hr = values_.Load(database(), oid); FAILED(hr)) return hr;
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
    if (!transaction.Commit()) return PimResult(database().LastError());
    oid_ = oid;
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

HRESULT Task::MakeExceptions(IExceptions** exceptions) {
  return NewExceptions(session_, oid_, 0, {}, exceptions);
}

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
