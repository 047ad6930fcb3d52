// The PIM does not know which item a record means. A contact is the one with the same name, a task the one
// with the same subject, an appointment the one with the same start and the same subject (or body, where it
// has no subject). The PIM is asked with a restriction, which its indexes answer: a calendar can have
// thousands of items. It takes more than is wanted (it does not mind case, and what is empty is not asked
// for), so everything that it gives is compared once more, exactly.
//
// A text that a restriction cannot say is left out of it; where nothing is left, or the PIM fails at searching,
// every item of the calendar is visited.
// Either way the first item that matches, in the order of the folder, is the one.
#include "BtOsif_pol/pol_find.h"

#include <array>

#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_date.h"
#include "btosif/osif_util/value_text.h"
#include "platform/api/system_time.h"

namespace {

// ---- Asking the PIM ---------------------------------------------------------------------------------

WideText Comparison(WideView property, WideView value) {
  return WideText(property).append(u"=\"").append(value).append(u"\"");
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

struct Search {
  std::optional<LONG> oid;  // nothing when no item was found
  bool is_whole;            // false when the PIM failed, or gave what is no item of the kind
};

// The identifier of the first item that a restriction finds and `is_match` takes.
template <typename Item, typename IsMatch>
Search FindFirst(IPOutlookItemCollection& items, const WideText& restriction, IsMatch is_match) {
  bool is_whole = true;
  ComPtr<IDispatch> found;
  HRESULT result = items.Find(pol_MakeBstr(restriction).get(), found.put());
  while (SUCCEEDED(result) && found) {
    const ComPtr<Item> item = pol_As<Item>(found);
    if (item && is_match(*item)) return {pol_OidOf(*item), is_whole};
    is_whole = is_whole && item;
    result = items.FindNext(found.put());
  }
  return {std::nullopt, is_whole && SUCCEEDED(result)};
}

// The identifier of the first item of a folder that `is_match` takes.
template <typename Item, typename IsMatch>
std::optional<LONG> VisitAll(IPOutlookItemCollection& items, IsMatch is_match) {
  const int count = pol_Get(items, &IPOutlookItemCollection::get_Count);
  for (int index = 1; index <= count; ++index) {
    ComPtr<IDispatch> found;
    items.Item(index, found.put());
    const ComPtr<Item> item = pol_As<Item>(found);
    if (item && is_match(*item)) return pol_OidOf(*item);
  }
  return std::nullopt;
}

// Asks the PIM, and visits every item where it fails to answer.
template <typename Item, typename IsMatch>
std::optional<LONG> FindOrVisit(IPOutlookItemCollection& items, const WideText& restriction,
                                IsMatch is_match) {
  const Search search = FindFirst<Item>(items, restriction, is_match);
  return search.oid || search.is_whole ? search.oid : VisitAll<Item>(items, is_match);
}

// ---- A contact by its name --------------------------------------------------------------------------

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

// ---- A calendar item by its content -----------------------------------------------------------------

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

// By the start and a text that is compared exactly; the text is no part of the search where it has none.
// Both are asked for: a calendar can have thousands of items of one subject, and as many at one time.
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
  return FindOrVisit<IAppointment>(items, restriction, is_match);
}

}  // namespace

std::optional<LONG> pol_FindContact(OsifContact& record) {
  const NameParts name = NameOf(record.n);
  const WideText restriction = NameRestriction(name);
  const auto items = pol_ItemsOf(*pol_Application(), olFolderContacts);
  if (restriction.empty() || !items) return std::nullopt;
  const auto is_match = [&](IContact& contact) { return IsNamed(contact, name); };
  return FindFirst<IContact>(*items, restriction, is_match).oid;
}

std::optional<LONG> pol_FindEvent(OsifCalendar& record) {
  const auto items = pol_ItemsOf(*pol_Application(), olFolderCalendar);
  if (!items) return std::nullopt;
  const DATE start = pol_DateOf(record.dtStart);
  if (const WideText summary = DecodedText(record.summary, 0); !summary.empty()) {
    return FindByStartAndText(*items, start, u"[Subject]", &IAppointment::get_Subject, summary);
  }
  return FindByStartAndText(*items, start, u"[Body]", &IAppointment::get_Body,
                            DecodedText(record.description, 0));
}

std::optional<LONG> pol_FindTask(OsifCalendar& record) {
  const auto items = pol_ItemsOf(*pol_Application(), olFolderTasks);
  const WideText summary = DecodedText(record.summary, 0);
  if (!items || summary.empty()) return std::nullopt;
  const auto is_match = [&](ITask& task) {
    return pol_GetText(task, &ITask::get_Subject).view() == summary;
  };
  if (!FitsRestriction(summary)) return VisitAll<ITask>(*items, is_match);
  return FindOrVisit<ITask>(*items, Comparison(u"[Subject]", summary), is_match);
}
