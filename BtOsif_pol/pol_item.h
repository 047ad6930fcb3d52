// Items of the PIM with the interface of their kind. Ids are shared by all kinds, so an id may name an item
// of another kind than the caller expects: the item is asked.
#pragma once

#include "platform/api/com_ptr.h"
#include "platform/api/pimstore.h"

template <typename Item>
struct ItemKind;

template <>
struct ItemKind<IContact> {
  static constexpr const IID& kIid = IID_IContact;
  static constexpr int kType = olContactItem;
  static constexpr int kFolder = olFolderContacts;
};

template <>
struct ItemKind<IAppointment> {
  static constexpr const IID& kIid = IID_IAppointment;
  static constexpr int kType = olAppointmentItem;
  static constexpr int kFolder = olFolderCalendar;
};

template <>
struct ItemKind<ITask> {
  static constexpr const IID& kIid = IID_ITask;
  static constexpr int kType = olTaskItem;
  static constexpr int kFolder = olFolderTasks;
};

// The interface of that kind; null when the item, which may be null, is of another kind.
template <typename Item>
ComPtr<Item> pol_As(const ComPtr<IDispatch>& item) {
  ComPtr<Item> result;
  if (item && FAILED(item->QueryInterface(ItemKind<Item>::kIid, result.put_void()))) result.reset();
  return result;
}

// The item's identifier; 0 when it cannot be read.
template <typename Item>
LONG pol_OidOf(Item& item) {
  LONG oid = 0;
  return FAILED(item.get_Oid(&oid)) ? 0 : oid;
}

// A new, unsaved item; null when the PIM makes none.
template <typename Item>
ComPtr<Item> pol_CreateItem(IPOutlookApp& application) {
  ComPtr<IDispatch> item;
  application.CreateItem(ItemKind<Item>::kType, item.put());
  return pol_As<Item>(item);
}

// The stored item with that identifier, of any kind; null when there is none.
inline ComPtr<IDispatch> pol_ItemFromOid(IPOutlookApp& application, LONG oid) {
  ComPtr<IDispatch> item;
  if (application.GetItemFromOid(oid, item.put()) != S_OK) item.reset();
  return item;
}

// The items of a folder; null when the PIM does not give them.
inline ComPtr<IPOutlookItemCollection> pol_ItemsOf(IPOutlookApp& application, int folder_type) {
  ComPtr<IPOutlookItemCollection> items;
  ComPtr<IFolder> folder;
  application.GetDefaultFolder(folder_type, folder.put());
  if (folder) folder->get_Items(items.put());
  return items;
}

// Calls `take` with each element of a collection. Elements that cannot be had are passed over, and so is a
// collection that was not given.
template <typename Element, typename Collection, typename Take>
void pol_ForEach(const ComPtr<Collection>& collection, Take take) {
  int count = 0;
  if (!collection || FAILED(collection->get_Count(&count))) return;
  for (int index = 1; index <= count; ++index) {
    ComPtr<Element> element;
    if (FAILED(collection->Item(index, element.put())) || !element) continue;
    take(*element);
  }
}
