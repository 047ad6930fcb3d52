#include "BtOsif_pol/pol_dispatch.h"

#include <optional>
#include <string>

#include "BtOsif_pol/pol_calendar.h"
#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_checksum.h"
#include "BtOsif_pol/pol_contact.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_note.h"
#include "BtOsif_pol/pol_store.h"
#include "config/trace.h"
#include "mapi/mapi_mail.h"
#include "mapi/mapi_session.h"

namespace {

// The object that a call is about, and what its change has to tell to the change log.
struct Subject {
  int32_t store_id;
  std::string id;                           // as the caller gave or gets it
  LONG oid = 0;                             // of an item of the PIM
  std::optional<uint32_t> checksum;         // of an item of the PIM as it was saved
  std::optional<uint32_t> checksum_before;  // of one that is changed, as it was found
};

OsifResult RecordChange(char kind, const Subject& subject, OsifAnchor* anchor) {
  const LibraryChange change = {kind, subject.id.c_str(), static_cast<uint32_t>(subject.oid),
                                subject.checksum, subject.checksum_before};
  return pol_RecordChange(subject.store_id, change, anchor);
}

// ---- Items of the PIM -------------------------------------------------------------------------------

// How a kind of item is filled from a record, and what the trace says when it cannot be saved.
template <typename Item>
struct ItemMapping {
  void (*put)(OsifObject&, Item&);
  uint32_t (*checksum)(Item&);
  const char* not_saved;
};

constexpr ItemMapping<IContact> kContactMapping = {pol_PutContact, ContactChecksum,
                                                   "       Error saving contact - 0x%08x"};
constexpr ItemMapping<IAppointment> kAppointmentMapping = {
    pol_PutAppointment, AppointmentChecksum, "       Error saving appointment - 0x%08x"};
constexpr ItemMapping<ITask> kTaskMapping = {pol_PutTask, TaskChecksum,
                                             "       Error saving task - 0x%08x"};

// Notes the item as it was saved. Only an open change log wants its checksum.
template <typename Item>
void NoteSaved(Item& item, const ItemMapping<Item>& mapping, Subject& subject) {
  item.get_Oid(&subject.oid);
  if (pol_IsLogOpen(subject.store_id)) subject.checksum = mapping.checksum(item);
}

template <typename Item>
OsifResult AddItem(const ItemMapping<Item>& mapping, OsifObject& object, Subject& subject) {
  const ComPtr<Item> item = pol_CreateItem<Item>(*pol_Application());
  if (!item) return OSIF_ERR_PIM;
  mapping.put(object, *item);
  if (item->Save() != S_OK) return OSIF_ERR_PIM;
  NoteSaved(*item, mapping, subject);
  char id[OSIF_ID_SIZE] = "";
  pol_WriteId(subject.oid, id);
  subject.id = id;
  return OSIF_OK;
}

template <typename Item>
OsifResult ModifyItem(const ItemMapping<Item>& mapping, OsifObject& object, Subject& subject) {
  const ComPtr<Item> item = pol_As<Item>(pol_ItemFromOid(*pol_Application(), subject.oid));
  if (!item) return OSIF_ERR_NOT_FOUND;
  if (pol_IsLogOpen(subject.store_id)) subject.checksum_before = mapping.checksum(*item);
  mapping.put(object, *item);
  if (const HRESULT result = item->Save(); result != S_OK) {
    OSIF_Trace(0, mapping.not_saved, result);
    return OSIF_ERR_PIM;
  }
  NoteSaved(*item, mapping, subject);
  return OSIF_OK;
}

template <typename Item>
OsifResult DeleteItem(const ComPtr<Item>& item) {
  if (!item) return OSIF_ERR_NOT_FOUND;
  if (item->Delete() != S_OK) return OSIF_ERR_PIM;
  return OSIF_OK;
}

bool IsEvent(const OsifObject& object) { return object.calendarKind == OSIF_CALENDAR_EVENT; }

OsifResult DeleteCalendarItem(LONG oid) {
  const ComPtr<IDispatch> item = pol_ItemFromOid(*pol_Application(), oid);
  if (const ComPtr<IAppointment> appointment = pol_As<IAppointment>(item)) {
    return DeleteItem(appointment);
  }
  return DeleteItem(pol_As<ITask>(item));
}

uint32_t CountFolder(int folder_type) {
  const ComPtr<IPOutlookItemCollection> items = pol_ItemsOf(*pol_Application(), folder_type);
  return items ? static_cast<uint32_t>(pol_Get(*items, &IPOutlookItemCollection::get_Count)) : 0;
}

// ---- Notes ------------------------------------------------------------------------------------------

// A summary that decodes to nothing is no name: nobody would find the note again.
bool HasName(OsifNote& note) { return pol_HasText(note.summary) && !pol_NoteName(note).empty(); }

OsifResult AddNote(OsifNote& note, Subject& subject) {
  if (!HasName(note)) return OSIF_ERR_MISSING_FIELD;
  pol_PutNote(note);
  char id[OSIF_ID_SIZE] = "";
  pol_WriteNoteId(pol_NoteName(note), id);
  subject.id = id;
  return OSIF_OK;
}

OsifResult ModifyNote(OsifNote& note, const Subject& subject) {
  if (!HasName(note)) return OSIF_ERR_MISSING_FIELD;
  pol_ReplaceNote(subject.id.c_str(), note);
  return OSIF_OK;
}

// ---- Messages ---------------------------------------------------------------------------------------

OsifResult AddMail(const OsifObject& object, Subject& subject) {
  char id[OSIF_ID_SIZE] = "";
  const OsifResult result = MAPI_AddMail(object, id);
  subject.id = id;
  return result;
}

// ---- Routing ----------------------------------------------------------------------------------------

OsifResult Add(OsifObject& object, Subject& subject) {
  switch (pol_KindOf(subject.store_id)) {
    case StoreKind::kContacts:
      return AddItem(kContactMapping, object, subject);
    case StoreKind::kCalendar:
      if (IsEvent(object)) return AddItem(kAppointmentMapping, object, subject);
      return AddItem(kTaskMapping, object, subject);
    case StoreKind::kNotes:
      return AddNote(object.note, subject);
    case StoreKind::kMessages:
      return AddMail(object, subject);
    case StoreKind::kUnknown:
      break;
  }
  return OSIF_ERR_TYPE_NOT_SUPPORTED;
}

OsifResult Modify(OsifObject& object, Subject& subject) {
  switch (pol_KindOf(subject.store_id)) {
    case StoreKind::kContacts:
      return ModifyItem(kContactMapping, object, subject);
    case StoreKind::kCalendar:
      if (IsEvent(object)) return ModifyItem(kAppointmentMapping, object, subject);
      return ModifyItem(kTaskMapping, object, subject);
    case StoreKind::kNotes:
      return ModifyNote(object.note, subject);
    case StoreKind::kMessages:
      return MAPI_ModifyMail(object, subject.id.c_str());
    case StoreKind::kUnknown:
      break;
  }
  return OSIF_ERR_TYPE_NOT_SUPPORTED;
}

OsifResult Delete(const Subject& subject) {
  switch (pol_KindOf(subject.store_id)) {
    case StoreKind::kContacts:
      return DeleteItem(pol_As<IContact>(pol_ItemFromOid(*pol_Application(), subject.oid)));
    case StoreKind::kCalendar:
      return DeleteCalendarItem(subject.oid);
    case StoreKind::kNotes:
      return OSIF_ERR_NOT_IMPLEMENTED;
    case StoreKind::kMessages:
      return MAPI_NotImplemented();
    case StoreKind::kUnknown:
      break;
  }
  return OSIF_ERR_TYPE_NOT_SUPPORTED;
}

// Reads the caller's id into the subject.
OsifResult ReadSubject(const char* id, Subject& subject) {
  if (!pol_IsIdOfStore(subject.store_id, id)) return OSIF_ERR_INVALID_ID;
  subject.id = id;
  if (pol_IsInPim(subject.store_id)) subject.oid = pol_ReadId(id).value_or(0);
  return pol_CheckSession(subject.store_id);
}

}  // namespace

OsifResult POL_GetObjectCount(int32_t store_id, uint32_t* count) {
  *count = 0;
  if (const OsifResult result = pol_CheckSession(store_id); result != OSIF_OK) return result;
  switch (pol_KindOf(store_id)) {
    case StoreKind::kContacts:
      *count = CountFolder(olFolderContacts);
      return OSIF_OK;
    case StoreKind::kCalendar:
      *count = CountFolder(olFolderCalendar) + CountFolder(olFolderTasks);
      return OSIF_OK;
    case StoreKind::kNotes:
      return OSIF_ERR_NOT_IMPLEMENTED;
    case StoreKind::kMessages:
      return MAPI_NotImplemented();
    case StoreKind::kUnknown:
      break;
  }
  return OSIF_ERR_TYPE_NOT_SUPPORTED;
}

OsifResult POL_AddObject(int32_t store_id, OsifObject* object, char* id, OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_AddObject()");
  if (id != nullptr) id[0] = '\0';
  if (const OsifResult result = pol_CheckSession(store_id); result != OSIF_OK) return result;
  Subject subject = {store_id, {}, 0, std::nullopt, std::nullopt};
  if (const OsifResult result = Add(*object, subject); result != OSIF_OK) return result;
  if (id != nullptr) id[subject.id.copy(id, OSIF_ID_SIZE - 1)] = '\0';
  return RecordChange(kChangeModified, subject, anchor);
}

OsifResult POL_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                            OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_ModifyObject()");
  Subject subject = {store_id, {}, 0, std::nullopt, std::nullopt};
  if (const OsifResult result = ReadSubject(id, subject); result != OSIF_OK) return result;
  if (const OsifResult result = Modify(*object, subject); result != OSIF_OK) return result;
  return RecordChange(kChangeModified, subject, anchor);
}

OsifResult POL_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_DeleteObject()");
  Subject subject = {store_id, {}, 0, std::nullopt, std::nullopt};
  if (const OsifResult result = ReadSubject(id, subject); result != OSIF_OK) return result;
  if (const OsifResult result = Delete(subject); result != OSIF_OK) return result;
  return RecordChange(kChangeDeleted, subject, anchor);
}
