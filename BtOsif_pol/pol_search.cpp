#include "BtOsif_pol/pol_search.h"

#include <array>
#include <optional>

#include "BtOsif_pol/pol_calendar.h"
#include "BtOsif_pol/pol_contact.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_note.h"
#include "BtOsif_pol/pol_store.h"
#include "btosif/osif_date.h"
#include "btosif/osif_util/value_text.h"
#include "config/trace.h"
#include "mapi/mapi_mail.h"
#include "mapi/mapi_session.h"
#include "platform/api/system_time.h"

namespace {

// ---- The walk over a folder's ids ---------------------------------------------------------------------

struct Walk {
  int folder_type = 0;
  ComPtr<IPOutlookItemCollection> items;
  int count = 0;
  int position = 0;  // of the item given last, counted from 1
};

Walk g_walk;

template <typename Item>
LONG OidOf(const ComPtr<Item>& item) {
  return item ? pol_Get(*item, &Item::get_Oid) : 0;
}

// The identifier by the interface that the folder implies.
LONG OidInFolder(const ComPtr<IDispatch>& item, int folder_type) {
  switch (folder_type) {
    case olFolderContacts:
      return OidOf(pol_As<IContact>(item));
    case olFolderCalendar:
      return OidOf(pol_As<IAppointment>(item));
    default:
      return OidOf(pol_As<ITask>(item));
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
  if (const OsifResult result = pol_CheckSession(store_id); result != OSIF_OK) return result;
  switch (pol_KindOf(store_id)) {
    case StoreKind::kContacts:
      return contacts(id);
    case StoreKind::kCalendar:
      return calendar(id);
    case StoreKind::kNotes:
      return OSIF_ERR_NOT_IMPLEMENTED;
    case StoreKind::kMessages:
      return MAPI_NotImplemented();
    case StoreKind::kUnknown:
      break;
  }
  return OSIF_ERR_TYPE_NOT_SUPPORTED;
}

// ---- Finding a contact by its name --------------------------------------------------------------------

struct NameTerm {
  const WCHAR* property;  // as the restriction names it
  size_t component;
};

constexpr NameTerm kNameTerms[] = {
    {u"[Title]", 3},    {u"[FirstName]", 1}, {u"[MiddleName]", 2},
    {u"[LastName]", 0}, {u"[Suffix]", 4},
};

using NameParts = std::array<WideText, 5>;

NameParts NameOf(PropertyValue* name) {
  NameParts parts;
  for (size_t i = 0; i < parts.size(); ++i) parts[i] = DecodedText(name, i);
  return parts;
}

WideText Comparison(WideView property, WideView value) {
  return WideText(property).append(u"=\"").append(value).append(u"\"");
}

WideText NameRestriction(const NameParts& name) {
  WideText restriction;
  for (const NameTerm& term : kNameTerms) {
    const WideText& part = name[term.component];
    if (part.empty()) continue;
    if (!restriction.empty()) restriction += u" AND ";
    restriction.append(Comparison(term.property, part));
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

// The identifier of the first item that a restriction finds and `is_match` takes. A search
// that fails finds nothing.
template <typename Item, typename IsMatch>
std::optional<LONG> FindFirst(IPOutlookItemCollection& items, const WideText& restriction,
                              IsMatch is_match) {
  ComPtr<IDispatch> found;
  HRESULT result = items.Find(pol_MakeBstr(restriction).get(), found.put());
  while (SUCCEEDED(result) && found) {
    const ComPtr<Item> item = pol_As<Item>(found);
    if (item && is_match(*item)) return OidOf(item);
    result = items.FindNext(found.put());
  }
  return std::nullopt;
}

std::optional<LONG> FindContact(OsifContact& record) {
  const NameParts name = NameOf(record.n);
  const WideText restriction = NameRestriction(name);
  const auto items = pol_ItemsOf(*pol_Application(), olFolderContacts);
  if (restriction.empty() || !items) return std::nullopt;
  return FindFirst<IContact>(*items, restriction,
                             [&](IContact& contact) { return IsNamed(contact, name); });
}

// ---- Finding a calendar item by its content ---------------------------------------------------------

// The identifier of the first item of a folder that `is_match` takes.
template <typename Item, typename IsMatch>
std::optional<LONG> VisitAll(IPOutlookItemCollection& items, IsMatch is_match) {
  const int count = pol_Get(items, &IPOutlookItemCollection::get_Count);
  for (int index = 1; index <= count; ++index) {
    ComPtr<IDispatch> found;
    items.Item(index, found.put());
    const ComPtr<Item> item = pol_As<Item>(found);
    if (item && is_match(*item)) return OidOf(item);
  }
  return std::nullopt;
}

// A quotation mark in a restriction's text is not escaped. One that is followed by more of a restriction
// cannot be told from the end of the text.
bool FitsRestriction(const WideText& text) {
  for (size_t i = text.find(u'"'); i != WideText::npos; i = text.find(u'"', i + 1)) {
    const size_t next = text.find_first_not_of(u" \t\r\n", i + 1);
    const bool is_end = next == WideText::npos;
    if (is_end || WideView(u"aAoO)").find(text[next]) != WideView::npos) return false;
  }
  return true;
}

// A date as the store reads it in a restriction; empty when it cannot be written.
WideText DateForRestriction(DATE date) {
  constexpr int kRoom = 80;
  SYSTEMTIME time = {};
  WCHAR day[kRoom] = u"";
  WCHAR time_of_day[kRoom] = u"";
  if (!DateToSystemTime(date, &time) ||
      GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &time, nullptr, day, kRoom) == 0 ||
      GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_FORCE24HOURFORMAT, &time, nullptr, time_of_day,
                     kRoom) == 0) {
    return {};
  }
  return WideText(day).append(u" ").append(time_of_day);
}

// The answers of the next two are those that visiting the items in order gives. The store's indexes spare the
// visits: a calendar can have thousands of items of one subject, and as many at one time.

// By the start and a text that is compared exactly; the text is no part of the search where it has none.
std::optional<LONG> FindByStartAndText(IPOutlookItemCollection& items, DATE start,
                                       WideView property, HRESULT (IAppointment::*get_text)(BSTR*),
                                       const WideText& text) {
  const auto is_match = [&](IAppointment& appointment) {
    return pol_Get(appointment, &IAppointment::get_Start, kNoDate) == start &&
           pol_GetText(appointment, get_text).view() == text;
  };
  const WideText date = DateForRestriction(start);
  if (date.empty()) return VisitAll<IAppointment>(items, is_match);
  WideText restriction = Comparison(u"[Start]", date);
  if (!text.empty() && FitsRestriction(text)) {
    restriction.append(u" AND ").append(Comparison(property, text));
  }
  return FindFirst<IAppointment>(items, restriction, is_match);
}

std::optional<LONG> FindEvent(OsifCalendar& record) {
  const auto items = pol_ItemsOf(*pol_Application(), olFolderCalendar);
  if (!items) return std::nullopt;
  const DATE start = pol_DateOf(record.dtStart);
  if (const WideText summary = DecodedText(record.summary, 0); !summary.empty()) {
    return FindByStartAndText(*items, start, u"[Subject]", &IAppointment::get_Subject, summary);
  }
  return FindByStartAndText(*items, start, u"[Body]", &IAppointment::get_Body,
                            DecodedText(record.description, 0));
}

std::optional<LONG> FindTask(OsifCalendar& record) {
  const auto items = pol_ItemsOf(*pol_Application(), olFolderTasks);
  const WideText summary = DecodedText(record.summary, 0);
  if (!items || summary.empty()) return std::nullopt;
  const auto is_match = [&](ITask& task) {
    return pol_GetText(task, &ITask::get_Subject).view() == summary;
  };
  if (!FitsRestriction(summary)) return VisitAll<ITask>(*items, is_match);
  return FindFirst<ITask>(*items, Comparison(u"[Subject]", summary), is_match);
}

// ---- By store ---------------------------------------------------------------------------------------

bool IsFound(std::optional<LONG> oid, char* id) {
  if (oid) pol_WriteId(*oid, id);
  return oid.has_value();
}

bool IsNoteFound(OsifNote& note, char* id) {
  if (!pol_HasNote(note)) return false;
  pol_WriteNoteId(pol_NoteName(note), id);
  return true;
}

bool Find(int32_t store_id, OsifObject& object, char* id) {
  if (pol_CheckSession(store_id) != OSIF_OK) return false;
  switch (pol_KindOf(store_id)) {
    case StoreKind::kContacts:
      return IsFound(FindContact(object.contact), id);
    case StoreKind::kCalendar:
      return IsFound(object.calendarKind == OSIF_CALENDAR_EVENT ? FindEvent(object.calendar)
                                                                : FindTask(object.calendar),
                     id);
    case StoreKind::kNotes:
      return IsNoteFound(object.note, id);
    case StoreKind::kMessages:
      return MAPI_FindMail(object, id);
    case StoreKind::kUnknown:
      break;
  }
  return false;
}

OsifResult GetContact(LONG oid, OsifObject& object) {
  const auto contact = pol_As<IContact>(pol_ItemFromOid(*pol_Application(), oid));
  if (!contact) return OSIF_ERR_NOT_FOUND;
  pol_GetContact(*contact, object);
  return OSIF_OK;
}

OsifResult GetCalendarItem(LONG oid, OsifObject& object) {
  const ComPtr<IDispatch> item = pol_ItemFromOid(*pol_Application(), oid);
  if (const auto appointment = pol_As<IAppointment>(item)) {
    pol_GetAppointment(*appointment, object);
    return OSIF_OK;
  }
  const auto task = pol_As<ITask>(item);
  if (!task) return OSIF_ERR_NOT_FOUND;
  pol_GetTask(*task, object);
  return OSIF_OK;
}

}  // namespace

OsifResult POL_GetObjectById(int32_t store_id, const char* id, OsifObject* object) {
  OSIF_Trace(0, "OSIF:  POL_GetObjectById(store_id=%d, id='%s', pObject=%p)", store_id, id,
             static_cast<void*>(object));
  if (!pol_IsIdOfStore(store_id, id)) return OSIF_ERR_INVALID_ID;
  if (const OsifResult result = pol_CheckSession(store_id); result != OSIF_OK) return result;
  const LONG oid = pol_ReadId(id).value_or(0);
  switch (pol_KindOf(store_id)) {
    case StoreKind::kContacts:
      return GetContact(oid, *object);
    case StoreKind::kCalendar:
      return GetCalendarItem(oid, *object);
    case StoreKind::kNotes:
      return OSIF_ERR_NOT_IMPLEMENTED;
    case StoreKind::kMessages:
      return MAPI_GetMailById(store_id, id, *object);
    case StoreKind::kUnknown:
      break;
  }
  return OSIF_ERR_TYPE_NOT_SUPPORTED;
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
  return Find(store_id, *object, id) ? 1 : 0;
}
