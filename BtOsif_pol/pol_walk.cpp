// A walk keeps the folder's collection and goes by position. The number of items is taken once, at its start:
// what is added later is not walked over, and a position whose item has gone meanwhile gives no id.
#include "BtOsif_pol/pol_walk.h"

#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_session.h"
#include "config/trace.h"

namespace {

struct Walk {
  int folder_type = 0;
  ComPtr<IPOutlookItemCollection> items;
  int count = 0;
  int position = 0;  // of the item given last, counted from 1
};

Walk g_walk;

template <typename Item>
LONG OidAs(const ComPtr<IDispatch>& item) {
  const ComPtr<Item> typed = pol_As<Item>(item);
  return typed ? pol_OidOf(*typed) : 0;
}

// The identifier by the interface that the folder implies.
LONG OidInFolder(const ComPtr<IDispatch>& item, int folder_type) {
  switch (folder_type) {
    case olFolderContacts:
      return OidAs<IContact>(item);
    case olFolderCalendar:
      return OidAs<IAppointment>(item);
    default:
      return OidAs<ITask>(item);
  }
}

// Writes the id of the item at the walk's position. What the collection no longer has gives no id.
void WriteIdAtPosition(char* id) {
  ComPtr<IDispatch> item;
  g_walk.items->Item(g_walk.position, item.put());
  pol_WriteId(OidInFolder(item, g_walk.folder_type), id);
}

OsifResult WalkFailed(const char* format, HRESULT result) {
  OSIF_Trace(0, format, result);
  return OSIF_ERR_PIM;
}

}  // namespace

OsifResult pol_GetFirstIdFromFolder(int folder_type, char* id) {
  OSIF_Trace(0, "OSIF:  pol_GetFirstIdFromFolder(olFolderType=%d)", folder_type);
  g_walk.count = 0;
  g_walk.position = 0;
  g_walk.folder_type = folder_type;
  ComPtr<IFolder> folder;
  if (const HRESULT result = pol_Application()->GetDefaultFolder(folder_type, folder.put());
      FAILED(result)) {
    return WalkFailed("OSIF:  Error in IPOutlookApp::GetDefaultFolder (code=0x%08x)", result);
  }
  if (const HRESULT result = folder->get_Items(g_walk.items.put()); FAILED(result)) {
    return WalkFailed("OSIF:  Error in IFolder::get_Items (code=0x%08x)", result);
  }
  if (const HRESULT result = g_walk.items->get_Count(&g_walk.count); FAILED(result)) {
    return WalkFailed("OSIF:  Error in IPOutlookItemCollection::get_Count (code=0x%08x)", result);
  }
  if (g_walk.count == 0) return OSIF_ERR_END_OF_STORE;
  g_walk.position = 1;
  WriteIdAtPosition(id);
  return OSIF_OK;
}

OsifResult pol_GetNextIdFromFolder(char* id) {
  OSIF_Trace(0, "OSIF:  pol_GetNextIdFromFolder(g_olFolderType=%d)", g_walk.folder_type);
  if (g_walk.position >= g_walk.count) return OSIF_ERR_END_OF_STORE;
  ++g_walk.position;
  WriteIdAtPosition(id);
  return OSIF_OK;
}

bool pol_IsWalkOver(int folder_type) { return g_walk.folder_type == folder_type; }

void pol_EndWalk() { g_walk = Walk(); }
