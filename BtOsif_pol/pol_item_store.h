// Adding, reading, changing and deleting items of the PIM: the same for every kind of item but for how an
// item is mapped. The session is open when any of these is called.
#pragma once

#include <optional>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_session.h"
#include "BtOsif_pol/pol_store_tracker.h"
#include "BtOsif_pol/pol_stores.h"
#include "config/trace.h"

// How a kind of item is filled from a record and read into one, and what the trace says when it cannot be
// saved.
template <typename Item>
struct ItemMapping {
  void (*put)(OsifObject& object, Item& item);
  void (*get)(Item& item, OsifObject& object);
  uint32_t (*checksum)(Item& item);
  const char* not_saved;
};

// The item that the subject names, of any kind; null when there is none.
inline ComPtr<IDispatch> pol_ItemOf(const Subject& subject) {
  return pol_ItemFromOid(*pol_Application(), subject.oid);
}

// The number of items in a folder; 0 when the PIM does not tell.
inline uint32_t pol_CountItems(int folder_type) {
  const ComPtr<IPOutlookItemCollection> items = pol_ItemsOf(*pol_Application(), folder_type);
  return items ? static_cast<uint32_t>(pol_Get(*items, &IPOutlookItemCollection::get_Count)) : 0;
}

// Notes the item as it was saved. A checksum reads every property, so it is taken only where an open change
// log wants it.
template <typename Item>
void pol_NoteSaved(Item& item, const ItemMapping<Item>& mapping, Subject& subject) {
  item.get_Oid(&subject.oid);
  if (!pol_IsLogOpen(subject.store_id)) return;
  subject.checksum = mapping.checksum(item);
  subject.folder = ItemKind<Item>::kFolder;
  subject.stamp = pol_StampOf(item);
}

// OSIF_ERR_PIM when the PIM makes no item or does not save it.
template <typename Item>
OsifResult pol_AddItem(const ItemMapping<Item>& mapping, OsifObject& object, Subject& subject) {
  const ComPtr<Item> item = pol_CreateItem<Item>(*pol_Application());
  if (!item) return OSIF_ERR_PIM;
  mapping.put(object, *item);
  if (item->Save() != S_OK) return OSIF_ERR_PIM;
  pol_NoteSaved(*item, mapping, subject);
  char id[OSIF_ID_SIZE] = "";
  pol_WriteId(subject.oid, id);
  subject.id = id;
  return OSIF_OK;
}

// OSIF_ERR_NOT_FOUND when the subject's item is none of that kind; OSIF_ERR_PIM when it is not saved.
template <typename Item>
OsifResult pol_ModifyItem(const ItemMapping<Item>& mapping, OsifObject& object, Subject& subject) {
  const ComPtr<Item> item = pol_As<Item>(pol_ItemOf(subject));
  if (!item) return OSIF_ERR_NOT_FOUND;
  if (pol_IsLogOpen(subject.store_id)) subject.checksum_before = mapping.checksum(*item);
  mapping.put(object, *item);
  if (const HRESULT result = item->Save(); result != S_OK) {
    OSIF_Trace(0, mapping.not_saved, result);
    return OSIF_ERR_PIM;
  }
  pol_NoteSaved(*item, mapping, subject);
  return OSIF_OK;
}

// OSIF_ERR_NOT_FOUND for null; OSIF_ERR_PIM when the PIM does not delete it.
template <typename Item>
OsifResult pol_DeleteItem(const ComPtr<Item>& item) {
  if (!item) return OSIF_ERR_NOT_FOUND;
  return item->Delete() == S_OK ? OSIF_OK : OSIF_ERR_PIM;
}

// OSIF_ERR_NOT_FOUND for null.
template <typename Item>
OsifResult pol_GetItem(const ItemMapping<Item>& mapping, const ComPtr<Item>& item,
                       OsifObject& object) {
  if (!item) return OSIF_ERR_NOT_FOUND;
  mapping.get(*item, object);
  return OSIF_OK;
}

// Whether a search has found an item, whose id is then written.
inline bool pol_IsFound(std::optional<LONG> oid, char* id) {
  if (oid) pol_WriteId(*oid, id);
  return oid.has_value();
}
