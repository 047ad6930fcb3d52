// The calendar is two folders of the PIM, appointments and tasks, under one number. A record says of itself
// which of both it is; an id does not, so an item that is read or deleted is asked. What counts or walks goes
// through the appointments first, then through the tasks.
#include "BtOsif_pol/pol_calendar.h"
#include "BtOsif_pol/pol_checksum.h"
#include "BtOsif_pol/pol_find.h"
#include "BtOsif_pol/pol_item_store.h"
#include "BtOsif_pol/pol_stores.h"
#include "BtOsif_pol/pol_walk.h"
#include "btosif/osif_util/value_text.h"

namespace {

constexpr ItemMapping<IAppointment> kEventMapping = {pol_PutAppointment, pol_GetAppointment,
                                                     AppointmentChecksum,
                                                     "       Error saving appointment - 0x%08x"};
constexpr ItemMapping<ITask> kTaskMapping = {pol_PutTask, pol_GetTask, TaskChecksum,
                                             "       Error saving task - 0x%08x"};

bool IsEvent(const OsifObject& object) { return object.calendarKind == OSIF_CALENDAR_EVENT; }

OsifResult Count(uint32_t& count) {
  count = pol_CountItems(olFolderCalendar) + pol_CountItems(olFolderTasks);
  return OSIF_OK;
}

OsifResult Add(OsifObject& object, Subject& subject) {
  return IsEvent(object) ? pol_AddItem(kEventMapping, object, subject)
                         : pol_AddItem(kTaskMapping, object, subject);
}

OsifResult Modify(OsifObject& object, Subject& subject) {
  return IsEvent(object) ? pol_ModifyItem(kEventMapping, object, subject)
                         : pol_ModifyItem(kTaskMapping, object, subject);
}

OsifResult Remove(const Subject& subject) {
  const ComPtr<IDispatch> item = pol_ItemOf(subject);
  const auto appointment = pol_As<IAppointment>(item);
  return appointment ? pol_DeleteItem(appointment) : pol_DeleteItem(pol_As<ITask>(item));
}

OsifResult Get(const Subject& subject, OsifObject& object) {
  const ComPtr<IDispatch> item = pol_ItemOf(subject);
  const auto appointment = pol_As<IAppointment>(item);
  return appointment ? pol_GetItem(kEventMapping, appointment, object)
                     : pol_GetItem(kTaskMapping, pol_As<ITask>(item), object);
}

bool Find(OsifObject& object, char* id) {
  OsifCalendar& record = object.calendar;
  return pol_IsFound(IsEvent(object) ? pol_FindEvent(record) : pol_FindTask(record), id);
}

OsifResult FirstId(char* id) {
  const OsifResult result = pol_GetFirstIdFromFolder(olFolderCalendar, id);
  if (result != OSIF_ERR_END_OF_STORE) return result;
  return pol_GetFirstIdFromFolder(olFolderTasks, id);
}

// Only a walk that is among the appointments goes on with the tasks.
OsifResult NextId(char* id) {
  const OsifResult result = pol_GetNextIdFromFolder(id);
  if (result != OSIF_ERR_END_OF_STORE || !pol_IsWalkOver(olFolderCalendar)) return result;
  return pol_GetFirstIdFromFolder(olFolderTasks, id);
}

WideText Name(OsifObject& object) {
  WideText name = DecodedText(object.calendar.summary, 0);
  if (!IsEvent(object)) return name;
  const WideText location = DecodedText(object.calendar.tail.event.location, 0);
  if (!location.empty()) name.append(u" (").append(location).append(u")");
  return name;
}

}  // namespace

constinit const StoreOperations kCalendarStore = {
    .is_in_pim = true,
    .is_id = pol_IsItemId,
    .count = Count,
    .add = Add,
    .modify = Modify,
    .remove = Remove,
    .get = Get,
    .find = Find,
    .first_id = FirstId,
    .next_id = NextId,
    .flush = [] { return true; },
    .name = Name,
};
