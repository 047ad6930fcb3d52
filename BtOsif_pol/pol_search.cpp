#include "BtOsif_pol/pol_search.h"

#include <array>

#include "BtOsif_pol/pol_contact.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_util/value_text.h"
#include "config/trace.h"
#include "platform/api/bstr.h"

namespace {

// ---- The walk over a folder's ids ---------------------------------------------------------------------

struct Walk {
  int folder_type = 0;
  ComPtr<IPOutlookItemCollection> items;
  int count = 0;
  int position = 0;  // of the item given last, counted from 1
};

Walk g_walk;

LONG OidOf(IDispatch* item, int folder_type) {
  LONG oid = 0;
  if (folder_type == olFolderContacts) static_cast<IContact*>(item)->get_Oid(&oid);
  return oid;
}

// Writes the id of the item at the walk's position. What the collection no longer has gives no id.
void WriteIdAtPosition(char* id) {
  ComPtr<IDispatch> item;
  g_walk.items->Item(g_walk.position, item.put());
  if (item) pol_WriteId(OidOf(item.get(), g_walk.folder_type), id);
}

OsifResult WalkFailed(const char* format, HRESULT result) {
  OSIF_Trace(0, format, result);
  return OSIF_ERR_PIM;
}

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

// Appointments come first, then tasks.
OsifResult FirstCalendarId(char* id) {
  const OsifResult result = pol_GetFirstIdFromFolder(olFolderCalendar, id);
  if (result != OSIF_ERR_END_OF_STORE) return result;
  return pol_GetFirstIdFromFolder(olFolderTasks, id);
}

OsifResult NextCalendarId(char* id) {
  const OsifResult result = pol_GetNextIdFromFolder(id);
  if (result != OSIF_ERR_END_OF_STORE || g_walk.folder_type != olFolderCalendar) return result;
  return pol_GetFirstIdFromFolder(olFolderTasks, id);
}

using StepOfStore = OsifResult (*)(char* id);

OsifResult Step(int32_t store_id, char* id, StepOfStore contacts, StepOfStore calendar) {
  switch (store_id) {
    case OSIF_STORE_PB:
      if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
      return contacts(id);
    case OSIF_STORE_CAL:
      if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
      return calendar(id);
    case OSIF_STORE_NOTE:
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      return OSIF_ERR_NOT_IMPLEMENTED;
    default:
      return OSIF_ERR_TYPE_NOT_SUPPORTED;
  }
}

// ---- Finding a contact by its name --------------------------------------------------------------------

struct NameTerm {
  const WCHAR* property;  // as the restriction names it
  size_t component;
};

constexpr NameTerm kNameTerms[] = {
    {u"[Title]", 3}, {u"[FirstName]", 1}, {u"[MiddleName]", 2}, {u"[LastName]", 0}, {u"[Suffix]", 4},
};

using NameParts = std::array<WideText, 5>;

NameParts NameOf(PropertyValue* name) {
  NameParts parts;
  for (size_t i = 0; i < parts.size(); ++i) parts[i] = DecodedText(name, i);
  return parts;
}

WideText NameRestriction(const NameParts& name) {
  WideText restriction;
  for (const NameTerm& term : kNameTerms) {
    const WideText& part = name[term.component];
    if (part.empty()) continue;
    if (!restriction.empty()) restriction += u" AND ";
    restriction.append(term.property).append(u"=\"").append(part).append(u"\"");
  }
  return restriction;
}

bool IsNamed(IContact& contact, const NameParts& name) {
  constexpr HRESULT (IContact::*kGetters[])(BSTR*) = {
      &IContact::get_LastName, &IContact::get_FirstName, &IContact::get_MiddleName,
      &IContact::get_Title, &IContact::get_Suffix};
  for (size_t i = 0; i < name.size(); ++i) {
    Bstr text;
    (contact.*kGetters[i])(text.put());
    if (text.view() != name[i]) return false;
  }
  return true;
}

ComPtr<IPOutlookItemCollection> ItemsOf(int folder_type) {
  ComPtr<IPOutlookItemCollection> items;
  ComPtr<IFolder> folder;
  pol_Application()->GetDefaultFolder(folder_type, folder.put());
  if (folder) folder->get_Items(items.put());
  return items;
}

bool FindContact(OsifContact& record, char* id) {
  if (pol_Application() == nullptr) return false;
  const NameParts name = NameOf(record.n);
  const WideText restriction_text = NameRestriction(name);
  if (restriction_text.empty()) return false;
  const ComPtr<IPOutlookItemCollection> items = ItemsOf(olFolderContacts);
  if (!items) return false;

  const Bstr restriction = pol_MakeBstr(restriction_text);
  ItemPtr<IContact> contact;
  HRESULT result = items->Find(restriction.get(), contact.put());
  while (SUCCEEDED(result) && contact) {
    if (IsNamed(*contact, name)) {
      LONG oid = 0;
      contact->get_Oid(&oid);
      pol_WriteId(oid, id);
      return true;
    }
    result = items->FindNext(contact.put());
  }
  return false;
}

OsifResult GetContact(LONG oid, OsifObject& object) {
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  ItemPtr<IContact> contact;
  if (pol_Application()->GetItemFromOid(oid, contact.put()) != S_OK) return OSIF_ERR_NOT_FOUND;
  pol_GetContact(*contact, object);
  return OSIF_OK;
}

}  // namespace

OsifResult POL_GetObjectById(int32_t store_id, const char* id, OsifObject* object) {
  OSIF_Trace(0, "OSIF:  POL_GetObjectById(store_id=%d, id='%s', pObject=%p)", store_id, id,
             static_cast<void*>(object));
  const std::optional<LONG> oid = pol_ReadId(id);
  if (id == nullptr || (store_id != OSIF_STORE_NOTE && !oid)) return OSIF_ERR_INVALID_ID;
  switch (store_id) {
    case OSIF_STORE_PB:
      return GetContact(*oid, *object);
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

OsifResult POL_GetFirstId(int32_t store_id, char* id) {
  return Step(
      store_id, id, [](char* out) { return pol_GetFirstIdFromFolder(olFolderContacts, out); },
      FirstCalendarId);
}

OsifResult POL_GetNextId(int32_t store_id, char* id) {
  return Step(store_id, id, pol_GetNextIdFromFolder, NextCalendarId);
}

void pol_EndWalk() { g_walk = Walk(); }

int32_t POL_FindObject(int32_t store_id, OsifObject* object, char* id) {
  OSIF_Trace(0, "OSIF:  POL_FindObject()");
  return store_id == OSIF_STORE_PB && FindContact(object->contact, id) ? 1 : 0;
}
