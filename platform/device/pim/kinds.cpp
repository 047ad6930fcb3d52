#include "platform/device/pim/kinds.h"

#include "platform/device/pim/appointment.h"
#include "platform/device/pim/appointment_table.h"
#include "platform/device/pim/contact.h"
#include "platform/device/pim/contact_table.h"
#include "platform/device/pim/objects.h"
#include "platform/device/pim/task.h"
#include "platform/device/pim/task_table.h"

namespace device {
namespace {

constexpr PimKind kKinds[] = {
    {olFolderCalendar, olAppointmentItem, AppointmentTable, NewAppointment, LoadAppointment},
    {olFolderContacts, olContactItem, ContactTable, NewContact, LoadContact},
    {olFolderTasks, olTaskItem, TaskTable, NewTask, LoadTask},
};

}  // namespace

const PimKind* KindOfFolder(int folder) {
  for (const PimKind& kind : kKinds) {
    if (kind.folder == folder) return &kind;
  }
  return nullptr;
}

const PimKind* KindOfType(int type) {
  for (const PimKind& kind : kKinds) {
    if (kind.type == type) return &kind;
  }
  return nullptr;
}

HRESULT CreateItem(const PimSession& session, const PimKind& kind, IDispatch** item) {
  if (item == nullptr) return E_INVALIDARG;
  *item = nullptr;
  return kind.create(session, item);
}

HRESULT LoadItem(const PimSession& session, const PimKind& kind, int32_t oid, IDispatch** item) {
  if (item == nullptr) return E_INVALIDARG;
  *item = nullptr;
  return kind.load(session, oid, item);
}

HRESULT LoadItem(const PimSession& session, int32_t oid, IDispatch** item) {
  if (item == nullptr) return E_INVALIDARG;
  *item = nullptr;
  return Guarded([&] {
    int folder = 0;
    if (HRESULT hr = FindObject(*session.database, oid, &folder); FAILED(hr)) return hr;
    const PimKind* kind = KindOfFolder(folder);
    return kind == nullptr ? kNoSuchItem : LoadItem(session, *kind, oid, item);
  });
}

}  // namespace device
