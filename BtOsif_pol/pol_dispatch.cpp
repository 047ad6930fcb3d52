#include "BtOsif_pol/pol_dispatch.h"

#include <cstring>
#include <optional>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_contact.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_session.h"
#include "BtOsif_pol/pol_snapshot.h"
#include "config/trace.h"
#include "platform/api/com_ptr.h"

namespace {

// The number of items of a folder; 0 when it cannot be asked.
uint32_t CountFolder(int folder_type) {
  ComPtr<IFolder> folder;
  pol_Application()->GetDefaultFolder(folder_type, folder.put());
  if (!folder) return 0;
  ComPtr<IPOutlookItemCollection> items;
  folder->get_Items(items.put());
  if (!items) return 0;
  int count = 0;
  items->get_Count(&count);
  return static_cast<uint32_t>(count);
}

// What a change has to tell to the change log besides its id.
struct SavedItem {
  LONG oid = 0;
  std::optional<uint32_t> checksum;
};

// Notes the item as it was saved. Only an open change log wants its checksum.
void NoteSaved(IContact& contact, SavedItem& saved) {
  contact.get_Oid(&saved.oid);
  if (pol_IsLogOpen(OSIF_STORE_PB)) saved.checksum = ContactChecksum(contact);
}

LibraryChange LibraryChangeOf(char kind, const char* id, const SavedItem& item) {
  return {kind, id, static_cast<uint32_t>(item.oid), item.checksum};
}

OsifResult AddContact(OsifObject& object, SavedItem& saved) {
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  ItemPtr<IContact> contact;
  pol_Application()->CreateItem(olContactItem, contact.put());
  if (!contact) return OSIF_ERR_PIM;
  pol_PutContact(object, *contact);
  if (contact->Save() != S_OK) return OSIF_ERR_PIM;
  NoteSaved(*contact, saved);
  return OSIF_OK;
}

OsifResult ModifyContact(OsifObject& object, SavedItem& saved) {
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  ItemPtr<IContact> contact;
  if (pol_Application()->GetItemFromOid(saved.oid, contact.put()) != S_OK) {
    return OSIF_ERR_NOT_FOUND;
  }
  pol_PutContact(object, *contact);
  if (const HRESULT result = contact->Save(); result != S_OK) {
    OSIF_Trace(0, "       Error saving contact - 0x%08x", result);
    return OSIF_ERR_PIM;
  }
  NoteSaved(*contact, saved);
  return OSIF_OK;
}

OsifResult DeleteContact(LONG oid) {
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  ItemPtr<IContact> contact;
  if (pol_Application()->GetItemFromOid(oid, contact.put()) != S_OK) return OSIF_ERR_NOT_FOUND;
  if (contact->Delete() != S_OK) return OSIF_ERR_PIM;
  return OSIF_OK;
}

OsifResult Add(int32_t store_id, OsifObject& object, SavedItem& saved) {
  switch (store_id) {
    case OSIF_STORE_PB:
      return AddContact(object, saved);
    case OSIF_STORE_CAL:
      return pol_Application() == nullptr ? OSIF_ERR_PIM_NOT_OPENED : OSIF_ERR_NOT_IMPLEMENTED;
    case OSIF_STORE_NOTE:
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      return OSIF_ERR_NOT_IMPLEMENTED;
    default:
      return OSIF_ERR_TYPE_NOT_SUPPORTED;
  }
}

OsifResult Modify(int32_t store_id, OsifObject& object, SavedItem& saved) {
  switch (store_id) {
    case OSIF_STORE_PB:
      return ModifyContact(object, saved);
    case OSIF_STORE_CAL:
      return pol_Application() == nullptr ? OSIF_ERR_PIM_NOT_OPENED : OSIF_ERR_NOT_IMPLEMENTED;
    case OSIF_STORE_NOTE:
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      return OSIF_ERR_NOT_IMPLEMENTED;
    default:
      return OSIF_ERR_TYPE_NOT_SUPPORTED;
  }
}

OsifResult Delete(int32_t store_id, LONG oid) {
  switch (store_id) {
    case OSIF_STORE_PB:
      return DeleteContact(oid);
    case OSIF_STORE_CAL:
      return pol_Application() == nullptr ? OSIF_ERR_PIM_NOT_OPENED : OSIF_ERR_NOT_IMPLEMENTED;
    case OSIF_STORE_NOTE:
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      return OSIF_ERR_NOT_IMPLEMENTED;
    default:
      return OSIF_ERR_TYPE_NOT_SUPPORTED;
  }
}

}  // namespace

OsifResult POL_GetObjectCount(int32_t store_id, uint32_t* count) {
  *count = 0;
  switch (store_id) {
    case OSIF_STORE_PB:
      if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
      *count = CountFolder(olFolderContacts);
      return OSIF_OK;
    case OSIF_STORE_CAL:
      if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
      *count = CountFolder(olFolderCalendar) + CountFolder(olFolderTasks);
      return OSIF_OK;
    case OSIF_STORE_NOTE:
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      return OSIF_ERR_NOT_IMPLEMENTED;
    default:
      return OSIF_ERR_TYPE_NOT_SUPPORTED;
  }
}

OsifResult POL_AddObject(int32_t store_id, OsifObject* object, char* id, OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_AddObject()");
  if (id != nullptr) id[0] = '\0';
  SavedItem saved;
  if (const OsifResult result = Add(store_id, *object, saved); result != OSIF_OK) return result;
  char new_id[OSIF_ID_SIZE] = "";
  pol_WriteId(saved.oid, new_id);
  if (id != nullptr) std::memcpy(id, new_id, std::strlen(new_id) + 1);
  return pol_RecordChange(store_id, LibraryChangeOf(kChangeModified, new_id, saved), anchor);
}

OsifResult POL_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                            OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_ModifyObject()");
  const std::optional<LONG> oid = pol_ReadId(id);
  if (id == nullptr || (store_id != OSIF_STORE_NOTE && !oid)) return OSIF_ERR_INVALID_ID;
  SavedItem saved = {oid.value_or(0), std::nullopt};
  if (const OsifResult result = Modify(store_id, *object, saved); result != OSIF_OK) return result;
  return pol_RecordChange(store_id, LibraryChangeOf(kChangeModified, id, saved), anchor);
}

OsifResult POL_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor) {
  OSIF_Trace(0, "OSIF:  POL_DeleteObject()");
  const std::optional<LONG> oid = pol_ReadId(id);
  if (id == nullptr || (store_id != OSIF_STORE_NOTE && !oid)) return OSIF_ERR_INVALID_ID;
  const SavedItem deleted = {oid.value_or(0), std::nullopt};
  if (const OsifResult result = Delete(store_id, deleted.oid); result != OSIF_OK) return result;
  return pol_RecordChange(store_id, LibraryChangeOf(kChangeDeleted, id, deleted), anchor);
}
