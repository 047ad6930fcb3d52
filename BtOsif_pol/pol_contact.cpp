// A contact's record is lists of values, any number of each; the item has fixed places. Where both are one
// text, a row of a table pairs them; names, addresses, telephone numbers and mail addresses have tables of
// their places.
//
// Record to item: a property that the record does not have leaves the item as it is, so that changing a
// contact keeps what the peer does not know of; only the name is always written. Values that share places
// take them first come, first served, and those that find no place are dropped.
//
// Item to record: every place gives a value, in the same order for every contact, an empty one an empty
// value. The writer of the format decides what an empty value becomes.
//
// The two ways are no mirror images: what only one vendor's devices read goes out a second time under its own
// name, unless that is switched off, and of that only the office is read back.
#include "BtOsif_pol/pol_contact.h"

#include <array>
#include <string_view>

#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_mapping.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_date.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"

namespace {

using GetText = HRESULT (IContact::*)(BSTR*);
using PutText = HRESULT (IContact::*)(BSTR);
using GetDate = HRESULT (IContact::*)(DATE*);
using PutDate = HRESULT (IContact::*)(DATE);

constexpr std::string_view kContactVersion = "2.1";

// ---- Tables -----------------------------------------------------------------------------------------

// Fields whose first value's first component is one text of the item, in both directions.
struct PlainField {
  PropertyValue* OsifContact::*list;
  GetText get;
  PutText put;
  uint32_t encode_flags;
};

constexpr PlainField kTitleField = {&OsifContact::title, &IContact::get_JobTitle,
                                    &IContact::put_JobTitle, 0};
// A note may have line breaks, which only an encoded value can hold.
constexpr PlainField kNoteField = {&OsifContact::note, &IContact::get_Body, &IContact::put_Body,
                                   kEncodeQuotedPrintable};
constexpr PlainField kSpouseField = {&OsifContact::xSpouse, &IContact::get_Spouse,
                                     &IContact::put_Spouse, 0};
constexpr PlainField kChildrenField = {&OsifContact::xChildren, &IContact::get_Children,
                                       &IContact::put_Children, 0};
constexpr PlainField kAssistantField = {&OsifContact::xAssistant, &IContact::get_AssistantName,
                                        &IContact::put_AssistantName, 0};
constexpr PlainField kCategoriesField = {&OsifContact::xCat, &IContact::get_Categories,
                                         &IContact::put_Categories, 0};

// The name parts by component.
struct NamePart {
  GetText get;
  PutText put;
};

constexpr NamePart kNameParts[] = {
    {&IContact::get_LastName, &IContact::put_LastName},
    {&IContact::get_FirstName, &IContact::put_FirstName},
    {&IContact::get_MiddleName, &IContact::put_MiddleName},
    {&IContact::get_Title, &IContact::put_Title},
    {&IContact::get_Suffix, &IContact::put_Suffix},
};

// The components of an address value.
constexpr size_t kBox = 0;
constexpr size_t kExtended = 1;
constexpr size_t kStreet = 2;

// The five texts of an address, as components 2 to 6. The item has no post office box: it goes into the
// street.
struct AddressPlace {
  const char* param;  // of the value that carries it; null for none
  std::array<GetText, 5> get;
  std::array<PutText, 5> put;
};

constexpr AddressPlace kHomeAddress = {
    "HOME",
    {&IContact::get_HomeAddressStreet, &IContact::get_HomeAddressCity,
     &IContact::get_HomeAddressState, &IContact::get_HomeAddressPostalCode,
     &IContact::get_HomeAddressCountry},
    {&IContact::put_HomeAddressStreet, &IContact::put_HomeAddressCity,
     &IContact::put_HomeAddressState, &IContact::put_HomeAddressPostalCode,
     &IContact::put_HomeAddressCountry}};

constexpr AddressPlace kBusinessAddress = {
    "WORK",
    {&IContact::get_BusinessAddressStreet, &IContact::get_BusinessAddressCity,
     &IContact::get_BusinessAddressState, &IContact::get_BusinessAddressPostalCode,
     &IContact::get_BusinessAddressCountry},
    {&IContact::put_BusinessAddressStreet, &IContact::put_BusinessAddressCity,
     &IContact::put_BusinessAddressState, &IContact::put_BusinessAddressPostalCode,
     &IContact::put_BusinessAddressCountry}};

constexpr AddressPlace kOtherAddress = {
    nullptr,
    {&IContact::get_OtherAddressStreet, &IContact::get_OtherAddressCity,
     &IContact::get_OtherAddressState, &IContact::get_OtherAddressPostalCode,
     &IContact::get_OtherAddressCountry},
    {&IContact::put_OtherAddressStreet, &IContact::put_OtherAddressCity,
     &IContact::put_OtherAddressState, &IContact::put_OtherAddressPostalCode,
     &IContact::put_OtherAddressCountry}};

// The telephone numbers as they are sent: the parameter texts are written as they stand, and the radio
// number goes out under two of them, for receivers that know only one.
struct SentTelephone {
  GetText get;
  const char* param;
  bool is_vendor_only;  // left out when vendor properties are suppressed
};

constexpr SentTelephone kSentTelephones[] = {
    {&IContact::get_HomeTelephoneNumber, "HOME;VOICE", false},
    {&IContact::get_Home2TelephoneNumber, "HOME;VOICE", false},
    {&IContact::get_BusinessTelephoneNumber, "WORK;VOICE", false},
    {&IContact::get_Business2TelephoneNumber, "WORK;VOICE", false},
    {&IContact::get_HomeFaxNumber, "HOME;FAX", false},
    {&IContact::get_BusinessFaxNumber, "WORK;FAX", false},
    {&IContact::get_MobileTelephoneNumber, "CELL", false},
    {&IContact::get_PagerNumber, "PAGER", false},
    {&IContact::get_CarTelephoneNumber, "CAR", false},
    {&IContact::get_AssistantTelephoneNumber, "TYPE=X-ASSISTANT", false},
    {&IContact::get_RadioTelephoneNumber, "RADIO", true},
    {&IContact::get_RadioTelephoneNumber, "TYPE=X-RADIO", false},
};

// Kinds of received numbers that have a place of their own, whatever else they are: "CELL;HOME" is a mobile
// telephone and takes no place from the numbers at home.
struct SpecialTelephone {
  const char* kind;
  const char* other_kind;  // another word for it, or null
  PutText put;
};

constexpr SpecialTelephone kSpecialTelephones[] = {
    {"CELL", nullptr, &IContact::put_MobileTelephoneNumber},
    {"PAGER", nullptr, &IContact::put_PagerNumber},
    {"CAR", nullptr, &IContact::put_CarTelephoneNumber},
    {"X-ASSISTANT", nullptr, &IContact::put_AssistantTelephoneNumber},
    {"X-RADIO", "RADIO", &IContact::put_RadioTelephoneNumber},
};

struct EmailPlace {
  GetText get;
  PutText put;
};

constexpr EmailPlace kEmailPlaces[] = {
    {&IContact::get_Email1Address, &IContact::put_Email1Address},
    {&IContact::get_Email2Address, &IContact::put_Email2Address},
    {&IContact::get_Email3Address, &IContact::put_Email3Address},
};

// ---- Kinds ------------------------------------------------------------------------------------------

// True when one of the words between the separators is that word.
bool ListsWord(std::string_view words, std::string_view separators, std::string_view word) {
  for (;;) {
    const size_t end = words.find_first_of(separators);
    if (EqualsIgnoringCase(words.substr(0, end), word)) return true;
    if (end == std::string_view::npos) return false;
    words.remove_prefix(end + 1);
  }
}

// Devices write a kind as a parameter of its own, or as one of the words of a TYPE assignment, which may be
// quoted. A record that was fetched holds several parameters in one text.
bool NamesKind(std::string_view param, std::string_view kind) {
  constexpr std::string_view kType = "TYPE=";
  const bool is_type = EqualsIgnoringCase(param.substr(0, kType.size()), kType);
  return is_type ? ListsWord(param.substr(kType.size()), ",;\"", kind)
                 : ListsWord(param, ";", kind);
}

bool HasKind(const PropertyValue& value, const char* kind) {
  for (const OsifText& param : Texts(value.params)) {
    if (param.text != nullptr && NamesKind(param.text, kind)) return true;
  }
  return false;
}

// ---- Record to item ---------------------------------------------------------------------------------

void PutComponent(IContact& contact, PutText put, PropertyValue* value, size_t index) {
  pol_PutText(contact, put, DecodedText(value, index));
}

void PutPlain(IContact& contact, const OsifContact& record, const PlainField& field) {
  PropertyValue* value = record.*field.list;
  if (value != nullptr) PutComponent(contact, field.put, value, 0);
}

void PutDateValue(IContact& contact, PutDate put, PropertyValue* value) {
  if (value != nullptr) (contact.*put)(pol_DayOf(value));
}

// A name is written whole, its empty parts too: of the old name nothing may stay beside the new one. For the
// same reason the name for filing goes when the record has none.
void PutName(IContact& contact, const OsifContact& record) {
  for (size_t i = 0; i < std::size(kNameParts); ++i) {
    PutComponent(contact, kNameParts[i].put, record.n, i);
  }
  PutComponent(contact, &IContact::put_FileAs, record.fn, 0);
}

void AppendStreetLine(WideText& street, const WideText& line) {
  if (!street.empty() && !line.empty()) street += u"\r\n";
  street += line;
}

void PutAddress(IContact& contact, const AddressPlace& place, PropertyValue& value,
                bool has_extended) {
  WideText street = DecodedText(&value, kBox);
  if (has_extended) AppendStreetLine(street, DecodedText(&value, kExtended));
  AppendStreetLine(street, DecodedText(&value, kStreet));
  pol_PutText(contact, place.put[0], street);
  for (size_t i = 1; i < place.put.size(); ++i) {
    PutComponent(contact, place.put[i], &value, kStreet + i);
  }
}

// A business address has no line for the extended address: that is the office.
void PutBusinessAddress(IContact& contact, const OsifContact& record, PropertyValue& value) {
  PutAddress(contact, kBusinessAddress, value, false);
  if (record.xMicrosoftOfficeloc == nullptr) {
    PutComponent(contact, &IContact::put_OfficeLocation, &value, kExtended);
  }
}

// A second address of a kind is not lost where there is another place for it: it may be the business address
// if it is that, too, or else the other one.
void PutAddresses(IContact& contact, const OsifContact& record) {
  bool has_home = false;
  bool has_work = false;
  bool has_other = false;
  for (PropertyValue& value : Values(record.adr)) {
    if (!HasAnyText(&value)) continue;
    if (!has_home && HasKind(value, "HOME")) {
      has_home = true;
      PutAddress(contact, kHomeAddress, value, true);
    } else if (!has_work && HasKind(value, "WORK")) {
      has_work = true;
      PutBusinessAddress(contact, record, value);
    } else if (!has_other) {
      has_other = true;
      PutAddress(contact, kOtherAddress, value, true);
    }
  }
}

// Hands out the places of one kind of number, first come first served.
class TelephonePlaces {
 public:
  explicit TelephonePlaces(IContact& contact) : contact_(contact) {}

  // A number without any parameter, and one of which only the form is known, is taken for one at home.
  void Take(PropertyValue& value) {
    if (TakeSpecial(value)) return;
    const bool is_fax = HasKind(value, "FAX");
    const bool is_work = HasKind(value, "WORK");
    const bool is_home = value.params == nullptr || HasKind(value, "HOME") ||
                         (!is_work && (is_fax || HasKind(value, "VOICE")));
    if (is_home) {
      is_fax ? TakeNext(home_fax_, value) : TakeNext(home_, value);
    } else if (is_work) {
      is_fax ? TakeNext(work_fax_, value) : TakeNext(work_, value);
    }
  }

 private:
  template <size_t kCount>
  struct Row {
    std::array<PutText, kCount> places;
    size_t used = 0;
  };

  template <size_t kCount>
  void TakeNext(Row<kCount>& row, PropertyValue& value) {
    if (row.used < kCount) PutComponent(contact_, row.places[row.used++], &value, 0);
  }

  bool TakeSpecial(PropertyValue& value) {
    bool is_special = false;
    for (size_t i = 0; i < std::size(kSpecialTelephones); ++i) {
      const SpecialTelephone& special = kSpecialTelephones[i];
      if (!HasKind(value, special.kind) &&
          (special.other_kind == nullptr || !HasKind(value, special.other_kind))) {
        continue;
      }
      is_special = true;
      if (!has_special_[i]) PutComponent(contact_, special.put, &value, 0);
      has_special_[i] = true;
    }
    return is_special;
  }

  IContact& contact_;
  Row<2> home_ = {{&IContact::put_HomeTelephoneNumber, &IContact::put_Home2TelephoneNumber}};
  Row<2> work_ = {
      {&IContact::put_BusinessTelephoneNumber, &IContact::put_Business2TelephoneNumber}};
  Row<1> home_fax_ = {{&IContact::put_HomeFaxNumber}};
  Row<1> work_fax_ = {{&IContact::put_BusinessFaxNumber}};
  std::array<bool, std::size(kSpecialTelephones)> has_special_{};
};

void PutTelephones(IContact& contact, const OsifContact& record) {
  TelephonePlaces places(contact);
  for (PropertyValue& value : Values(record.tel)) {
    if (HasAnyText(&value)) places.Take(value);
  }
}

// The item has one page, and it is not the one at home.
void PutWebPage(IContact& contact, const OsifContact& record) {
  for (PropertyValue& value : Values(record.url)) {
    if (!HasAnyText(&value) || HasKind(value, "HOME")) continue;
    PutComponent(contact, &IContact::put_WebPage, &value, 0);
    return;
  }
}

bool IsInternetAddress(const PropertyValue& value) { return HasKind(value, "INTERNET"); }

// Null when none is preferred; of several the last counts.
PropertyValue* PreferredEmail(const OsifContact& record) {
  PropertyValue* preferred = nullptr;
  for (PropertyValue& value : Values(record.email)) {
    if (IsInternetAddress(value) && HasKind(value, "PREF")) preferred = &value;
  }
  return preferred;
}

void PutEmails(IContact& contact, const OsifContact& record) {
  size_t used = 0;
  PropertyValue* preferred = PreferredEmail(record);
  if (preferred != nullptr) PutComponent(contact, kEmailPlaces[used++].put, preferred, 0);
  for (PropertyValue& value : Values(record.email)) {
    if (used == std::size(kEmailPlaces)) return;
    if (&value == preferred || !HasAnyText(&value) || !IsInternetAddress(value)) continue;
    PutComponent(contact, kEmailPlaces[used++].put, &value, 0);
  }
}

// ---- Item to record ---------------------------------------------------------------------------------

void GetPlain(IContact& contact, OsifContact& record, const PlainField& field) {
  pol_AppendText(record.*field.list, pol_GetText(contact, field.get), nullptr, field.encode_flags);
}

void GetDateValue(IContact& contact, GetDate get, PropertyValue*& list) {
  pol_AppendDate(list, pol_Get(contact, get, kNoDate), DateForm::kDate);
}

void GetName(IContact& contact, OsifContact& record) {
  PropertyValue* name = pol_AppendValue(record.n);
  for (size_t i = 0; i < std::size(kNameParts); ++i) {
    PropertyValue_SetText(pol_GetText(contact, kNameParts[i].get), name, 0, i);
  }
  pol_AppendText(record.fn, pol_GetText(contact, &IContact::get_FileAs));
}

void GetAddress(IContact& contact, OsifContact& record, const AddressPlace& place,
                WideView extended) {
  PropertyValue* value = pol_AppendValue(record.adr, place.param);
  PropertyValue_SetText(extended, value, kEncodeQuotedPrintable, kExtended);
  for (size_t i = 0; i < place.get.size(); ++i) {
    PropertyValue_SetText(pol_GetText(contact, place.get[i]), value, kEncodeQuotedPrintable,
                          kStreet + i);
  }
}

void GetAddresses(IContact& contact, OsifContact& record, bool is_suppressed) {
  const Bstr office = pol_GetText(contact, &IContact::get_OfficeLocation);
  GetAddress(contact, record, kHomeAddress, {});
  GetAddress(contact, record, kBusinessAddress, office);
  GetAddress(contact, record, kOtherAddress, {});
  if (!is_suppressed) pol_AppendText(record.xMicrosoftOfficeloc, office);
}

void GetOrganisation(IContact& contact, OsifContact& record, bool is_suppressed) {
  const Bstr department = pol_GetText(contact, &IContact::get_Department);
  PropertyValue* organisation = pol_AppendValue(record.org);
  PropertyValue_SetText(pol_GetText(contact, &IContact::get_CompanyName), organisation, 0, 0);
  PropertyValue_SetText(department, organisation, 0, 1);
  if (!is_suppressed) pol_AppendText(record.dept, department);
}

void GetTelephones(IContact& contact, OsifContact& record, bool is_suppressed) {
  for (const SentTelephone& telephone : kSentTelephones) {
    if (telephone.is_vendor_only && is_suppressed) continue;
    pol_AppendText(record.tel, pol_GetText(contact, telephone.get), telephone.param);
  }
  if (!is_suppressed) {
    pol_AppendText(record.xMicrosoftAsstTel,
                   pol_GetText(contact, &IContact::get_AssistantTelephoneNumber));
  }
}

void GetEmails(IContact& contact, OsifContact& record) {
  for (const EmailPlace& place : kEmailPlaces) {
    const bool is_first = record.email == nullptr;
    PropertyValue* value = pol_AppendValue(record.email, "INTERNET");
    if (is_first) PropertyValue_AddParam(value, std::string_view("PREF"));
    PropertyValue_SetText(pol_GetText(contact, place.get), value, 0, 0);
  }
}

// ---- Display name -----------------------------------------------------------------------------------

// As one would say it: given, middle and family name.
WideText JoinedName(PropertyValue* name) {
  WideText joined;
  for (const size_t index : {1, 2, 0}) {
    const WideText part = DecodedText(name, index);
    if (!joined.empty() && !part.empty()) joined += u' ';
    joined += part;
  }
  return joined;
}

// The first value of the list that has a text.
WideText FirstFilledText(PropertyValue* list) {
  for (PropertyValue& value : Values(list)) {
    if (WideText text = DecodedText(&value); !text.empty()) return text;
  }
  return {};
}

}  // namespace

void pol_PutContact(OsifObject& object, IContact& contact) {
  const OsifContact& record = object.contact;
  PutName(contact, record);
  PutDateValue(contact, &IContact::put_Birthday, record.bday);
  if (record.xMicrosoftOfficeloc != nullptr) {
    PutComponent(contact, &IContact::put_OfficeLocation, record.xMicrosoftOfficeloc, 0);
  }
  PutAddresses(contact, record);
  PutPlain(contact, record, kTitleField);
  if (record.org != nullptr) {
    PutComponent(contact, &IContact::put_CompanyName, record.org, 0);
    PutComponent(contact, &IContact::put_Department, record.org, 1);
  }
  PutTelephones(contact, record);
  PutWebPage(contact, record);
  PutEmails(contact, record);
  PutPlain(contact, record, kNoteField);
  PutPlain(contact, record, kSpouseField);
  PutDateValue(contact, &IContact::put_Anniversary, record.xAnniversary);
  PutPlain(contact, record, kChildrenField);
  PutPlain(contact, record, kAssistantField);
  PutPlain(contact, record, kCategoriesField);
}

void pol_GetContact(IContact& contact, OsifObject& object) {
  const bool is_suppressed = pol_SuppressesVendorProperties();
  LONG oid = 0;
  contact.get_Oid(&oid);
  pol_WriteId(oid, object.xIrmcLuid);
  CopyBounded(object.version, kContactVersion);

  OsifContact& record = object.contact;
  GetName(contact, record);
  GetDateValue(contact, &IContact::get_Birthday, record.bday);
  GetAddresses(contact, record, is_suppressed);
  GetPlain(contact, record, kTitleField);
  GetOrganisation(contact, record, is_suppressed);
  GetTelephones(contact, record, is_suppressed);
  pol_AppendText(record.url, pol_GetText(contact, &IContact::get_WebPage));
  GetEmails(contact, record);
  GetPlain(contact, record, kNoteField);
  GetPlain(contact, record, kSpouseField);
  GetDateValue(contact, &IContact::get_Anniversary, record.xAnniversary);
  GetPlain(contact, record, kChildrenField);
  GetPlain(contact, record, kAssistantField);
  GetPlain(contact, record, kCategoriesField);
}

WideText pol_ContactName(OsifContact& contact) {
  if (WideText name = DecodedText(contact.fn); !name.empty()) return name;
  if (WideText name = JoinedName(contact.n); !name.empty()) return name;
  if (WideText name = DecodedText(contact.org); !name.empty()) return name;
  if (WideText name = FirstFilledText(contact.email); !name.empty()) return name;
  return FirstFilledText(contact.tel);
}
