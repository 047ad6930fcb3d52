#include "BtOsif_pol/pol_checksum.h"
#include "BtOsif_pol/pol_contact.h"
#include "BtOsif_pol/pol_find.h"
#include "BtOsif_pol/pol_item_store.h"
#include "BtOsif_pol/pol_stores.h"
#include "BtOsif_pol/pol_walk.h"

namespace {

constexpr ItemMapping<IContact> kMapping = {pol_PutContact, pol_GetContact, ContactChecksum,
                                            "       Error saving contact - 0x%08x"};

OsifResult Count(uint32_t& count) {
  count = pol_CountItems(olFolderContacts);
  return OSIF_OK;
}

OsifResult Add(OsifObject& object, Subject& subject) {
  return pol_AddItem(kMapping, object, subject);
}

OsifResult Modify(OsifObject& object, Subject& subject) {
  return pol_ModifyItem(kMapping, object, subject);
}

OsifResult Remove(const Subject& subject) {
  return pol_DeleteItem(pol_As<IContact>(pol_ItemOf(subject)));
}

OsifResult Get(const Subject& subject, OsifObject& object) {
  return pol_GetItem(kMapping, pol_As<IContact>(pol_ItemOf(subject)), object);
}

bool Find(OsifObject& object, char* id) { return pol_IsFound(pol_FindContact(object.contact), id); }

OsifResult FirstId(char* id) { return pol_GetFirstIdFromFolder(olFolderContacts, id); }

WideText Name(OsifObject& object) { return pol_ContactName(object.contact); }

}  // namespace

constinit const StoreOperations kContactStore = {
    .is_in_pim = true,
    .is_id = pol_IsItemId,
    .count = Count,
    .add = Add,
    .modify = Modify,
    .remove = Remove,
    .get = Get,
    .find = Find,
    .first_id = FirstId,
    .next_id = pol_GetNextIdFromFolder,
    .flush = [] { return true; },
    .name = Name,
};
