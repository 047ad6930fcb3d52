// A PIM that tests can look into and tell to fail: it takes the place of the device's application class.
//
// It keeps contacts only. What a contact holds is a table of texts and dates by property name; a property
// that was never put is not in it, so that a test sees what was written and what was left alone.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/api/bstr.h"
#include "platform/api/com_ptr.h"
#include "platform/api/pimstore.h"
#include "platform/posix/class_table.h"

namespace support {

// ---- The properties of a contact, by name -----------------------------------------------------------

struct TextProperty {
  const char* name;
  HRESULT (IContact::*get)(BSTR*);
  HRESULT (IContact::*put)(BSTR);
};

inline constexpr TextProperty kTextProperties[] = {
    {"BusinessFaxNumber", &IContact::get_BusinessFaxNumber, &IContact::put_BusinessFaxNumber},
    {"CompanyName", &IContact::get_CompanyName, &IContact::put_CompanyName},
    {"Department", &IContact::get_Department, &IContact::put_Department},
    {"Email1Address", &IContact::get_Email1Address, &IContact::put_Email1Address},
    {"MobileTelephoneNumber", &IContact::get_MobileTelephoneNumber,
     &IContact::put_MobileTelephoneNumber},
    {"OfficeLocation", &IContact::get_OfficeLocation, &IContact::put_OfficeLocation},
    {"PagerNumber", &IContact::get_PagerNumber, &IContact::put_PagerNumber},
    {"BusinessTelephoneNumber", &IContact::get_BusinessTelephoneNumber,
     &IContact::put_BusinessTelephoneNumber},
    {"JobTitle", &IContact::get_JobTitle, &IContact::put_JobTitle},
    {"HomeTelephoneNumber", &IContact::get_HomeTelephoneNumber, &IContact::put_HomeTelephoneNumber},
    {"Email2Address", &IContact::get_Email2Address, &IContact::put_Email2Address},
    {"Spouse", &IContact::get_Spouse, &IContact::put_Spouse},
    {"Email3Address", &IContact::get_Email3Address, &IContact::put_Email3Address},
    {"Home2TelephoneNumber", &IContact::get_Home2TelephoneNumber,
     &IContact::put_Home2TelephoneNumber},
    {"HomeFaxNumber", &IContact::get_HomeFaxNumber, &IContact::put_HomeFaxNumber},
    {"CarTelephoneNumber", &IContact::get_CarTelephoneNumber, &IContact::put_CarTelephoneNumber},
    {"AssistantName", &IContact::get_AssistantName, &IContact::put_AssistantName},
    {"AssistantTelephoneNumber", &IContact::get_AssistantTelephoneNumber,
     &IContact::put_AssistantTelephoneNumber},
    {"Children", &IContact::get_Children, &IContact::put_Children},
    {"Categories", &IContact::get_Categories, &IContact::put_Categories},
    {"WebPage", &IContact::get_WebPage, &IContact::put_WebPage},
    {"Business2TelephoneNumber", &IContact::get_Business2TelephoneNumber,
     &IContact::put_Business2TelephoneNumber},
    {"Title", &IContact::get_Title, &IContact::put_Title},
    {"FirstName", &IContact::get_FirstName, &IContact::put_FirstName},
    {"MiddleName", &IContact::get_MiddleName, &IContact::put_MiddleName},
    {"LastName", &IContact::get_LastName, &IContact::put_LastName},
    {"Suffix", &IContact::get_Suffix, &IContact::put_Suffix},
    {"HomeAddressStreet", &IContact::get_HomeAddressStreet, &IContact::put_HomeAddressStreet},
    {"HomeAddressCity", &IContact::get_HomeAddressCity, &IContact::put_HomeAddressCity},
    {"HomeAddressState", &IContact::get_HomeAddressState, &IContact::put_HomeAddressState},
    {"HomeAddressPostalCode", &IContact::get_HomeAddressPostalCode,
     &IContact::put_HomeAddressPostalCode},
    {"HomeAddressCountry", &IContact::get_HomeAddressCountry, &IContact::put_HomeAddressCountry},
    {"OtherAddressStreet", &IContact::get_OtherAddressStreet, &IContact::put_OtherAddressStreet},
    {"OtherAddressCity", &IContact::get_OtherAddressCity, &IContact::put_OtherAddressCity},
    {"OtherAddressState", &IContact::get_OtherAddressState, &IContact::put_OtherAddressState},
    {"OtherAddressPostalCode", &IContact::get_OtherAddressPostalCode,
     &IContact::put_OtherAddressPostalCode},
    {"OtherAddressCountry", &IContact::get_OtherAddressCountry, &IContact::put_OtherAddressCountry},
    {"BusinessAddressStreet", &IContact::get_BusinessAddressStreet,
     &IContact::put_BusinessAddressStreet},
    {"BusinessAddressCity", &IContact::get_BusinessAddressCity, &IContact::put_BusinessAddressCity},
    {"BusinessAddressState", &IContact::get_BusinessAddressState,
     &IContact::put_BusinessAddressState},
    {"BusinessAddressPostalCode", &IContact::get_BusinessAddressPostalCode,
     &IContact::put_BusinessAddressPostalCode},
    {"BusinessAddressCountry", &IContact::get_BusinessAddressCountry,
     &IContact::put_BusinessAddressCountry},
    {"RadioTelephoneNumber", &IContact::get_RadioTelephoneNumber,
     &IContact::put_RadioTelephoneNumber},
    {"FileAs", &IContact::get_FileAs, &IContact::put_FileAs},
    {"Body", &IContact::get_Body, &IContact::put_Body},
};

using ContactTexts = std::map<std::string, std::u16string>;

// Every text of an item that is not empty.
inline ContactTexts TextsOfItem(IContact& contact) {
  ContactTexts texts;
  for (const TextProperty& property : kTextProperties) {
    Bstr text;
    EXPECT_EQ((contact.*property.get)(text.put()), S_OK) << property.name;
    if (!text.empty()) texts[property.name] = std::u16string(text.view());
  }
  return texts;
}

// ---- The fake ---------------------------------------------------------------------------------------

struct ContactData {
  LONG oid = 0;
  ContactTexts texts;
  std::map<std::string, DATE> dates;

  std::u16string Text(const std::string& name) const {
    auto found = texts.find(name);
    return found == texts.end() ? std::u16string() : found->second;
  }
  bool Has(const std::string& name) const { return texts.count(name) + dates.count(name) > 0; }
};

// What a call answers instead of doing its work; S_OK does it.
struct PimFaults {
  HRESULT create = S_OK;
  HRESULT logon = S_OK;
  HRESULT get_default_folder = S_OK;
  HRESULT get_items = S_OK;
  HRESULT get_count = S_OK;
  HRESULT item = S_OK;
  HRESULT find = S_OK;
  HRESULT find_next = S_OK;
  HRESULT create_item = S_OK;
  HRESULT get_item_from_oid = S_OK;
  HRESULT save = S_OK;
  HRESULT delete_item = S_OK;
  HRESULT get_property = S_OK;
  bool gives_no_oid = false;  // get_Oid succeeds and gives 0
};

// What the fake holds, what it was asked, and what it is to fail at. One at a time; all its objects must
// have been released when it goes.
class FakePim {
 public:
  FakePim();
  ~FakePim();
  FakePim(const FakePim&) = delete;
  FakePim& operator=(const FakePim&) = delete;

  // A stored contact; its place in the folder is the last.
  LONG Keep(ContactTexts texts, std::map<std::string, DATE> dates = {});

  // A stored contact, the only one there is.
  const ContactData& Only() const {
    EXPECT_EQ(contacts.size(), 1u);
    if (contacts.empty()) throw std::runtime_error("the PIM holds no contact");
    return contacts.begin()->second;
  }

  PimFaults faults;
  std::map<LONG, ContactData> contacts;  // in the order of their ids, which is the folder's order
  std::map<int, int> counts;             // what other folders than that of contacts say they hold
  std::vector<LONG> found;               // what Find and FindNext give, one after the other
  LONG next_oid = 1;

  int logons = 0;
  int logoffs = 0;
  LONG window = -1;  // of the last Logon
  std::vector<int> folders_asked;
  std::vector<int> kinds_created;
  std::vector<LONG> oids_asked;
  std::vector<std::u16string> restrictions;
  int finds_next = 0;
  int live_objects = 0;

  static FakePim* current;

 private:
  ClassFactory before_ = nullptr;
};

inline FakePim* FakePim::current = nullptr;

// Reference counting, and the interfaces that an object answers to.
template <typename Interface, const IID& kIid>
class FakeObject : public Interface {
 public:
  FakeObject() { ++FakePim::current->live_objects; }
  FakeObject(const FakeObject&) = delete;
  FakeObject& operator=(const FakeObject&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) final {
    const bool known = iid == IID_IUnknown || iid == IID_IDispatch || iid == kIid;
    *object = known ? static_cast<Interface*>(this) : nullptr;
    if (known) AddRef();
    return known ? S_OK : E_NOINTERFACE;
  }
  ULONG AddRef() final { return ++references_; }
  ULONG Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT GetTypeInfoCount(UINT*) final { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) final { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) final { return E_NOTIMPL; }
  HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) final {
    return E_NOTIMPL;
  }
  HRESULT get_Application(IPOutlookApp**) override { return E_NOTIMPL; }

 protected:
  virtual ~FakeObject() { --FakePim::current->live_objects; }

 private:
  ULONG references_ = 1;
};

class FakeContact final : public FakeObject<IContact, IID_IContact> {
 public:
  explicit FakeContact(ContactData data = {}) : data_(std::move(data)) {}

  const ContactData& data() const { return data_; }

  HRESULT Save() override {
    if (pim().faults.save != S_OK) return pim().faults.save;
    if (data_.oid == 0) data_.oid = pim().next_oid++;
    pim().contacts[data_.oid] = data_;
    return S_OK;
  }
  HRESULT Delete() override {
    if (pim().faults.delete_item != S_OK) return pim().faults.delete_item;
    return pim().contacts.erase(data_.oid) == 1 ? S_OK : E_FAIL;
  }
  HRESULT Copy(IContact**) override { return E_NOTIMPL; }
  HRESULT get_Oid(LONG* oid) override {
    *oid = pim().faults.gives_no_oid ? 0 : data_.oid;
    return S_OK;
  }

  HRESULT get_Birthday(DATE* value) override { return Date("Birthday", value); }
  HRESULT get_Anniversary(DATE* value) override { return Date("Anniversary", value); }
  HRESULT put_Birthday(DATE value) override { return PutDate("Birthday", value); }
  HRESULT put_Anniversary(DATE value) override { return PutDate("Anniversary", value); }

  HRESULT get_BusinessFaxNumber(BSTR* v) override { return Text("BusinessFaxNumber", v); }
  HRESULT get_CompanyName(BSTR* v) override { return Text("CompanyName", v); }
  HRESULT get_Department(BSTR* v) override { return Text("Department", v); }
  HRESULT get_Email1Address(BSTR* v) override { return Text("Email1Address", v); }
  HRESULT get_MobileTelephoneNumber(BSTR* v) override { return Text("MobileTelephoneNumber", v); }
  HRESULT get_OfficeLocation(BSTR* v) override { return Text("OfficeLocation", v); }
  HRESULT get_PagerNumber(BSTR* v) override { return Text("PagerNumber", v); }
  HRESULT get_BusinessTelephoneNumber(BSTR* v) override {
    return Text("BusinessTelephoneNumber", v);
  }
  HRESULT get_JobTitle(BSTR* v) override { return Text("JobTitle", v); }
  HRESULT get_HomeTelephoneNumber(BSTR* v) override { return Text("HomeTelephoneNumber", v); }
  HRESULT get_Email2Address(BSTR* v) override { return Text("Email2Address", v); }
  HRESULT get_Spouse(BSTR* v) override { return Text("Spouse", v); }
  HRESULT get_Email3Address(BSTR* v) override { return Text("Email3Address", v); }
  HRESULT get_Home2TelephoneNumber(BSTR* v) override { return Text("Home2TelephoneNumber", v); }
  HRESULT get_HomeFaxNumber(BSTR* v) override { return Text("HomeFaxNumber", v); }
  HRESULT get_CarTelephoneNumber(BSTR* v) override { return Text("CarTelephoneNumber", v); }
  HRESULT get_AssistantName(BSTR* v) override { return Text("AssistantName", v); }
  HRESULT get_AssistantTelephoneNumber(BSTR* v) override {
    return Text("AssistantTelephoneNumber", v);
  }
  HRESULT get_Children(BSTR* v) override { return Text("Children", v); }
  HRESULT get_Categories(BSTR* v) override { return Text("Categories", v); }
  HRESULT get_WebPage(BSTR* v) override { return Text("WebPage", v); }
  HRESULT get_Business2TelephoneNumber(BSTR* v) override {
    return Text("Business2TelephoneNumber", v);
  }
  HRESULT get_Title(BSTR* v) override { return Text("Title", v); }
  HRESULT get_FirstName(BSTR* v) override { return Text("FirstName", v); }
  HRESULT get_MiddleName(BSTR* v) override { return Text("MiddleName", v); }
  HRESULT get_LastName(BSTR* v) override { return Text("LastName", v); }
  HRESULT get_Suffix(BSTR* v) override { return Text("Suffix", v); }
  HRESULT get_HomeAddressStreet(BSTR* v) override { return Text("HomeAddressStreet", v); }
  HRESULT get_HomeAddressCity(BSTR* v) override { return Text("HomeAddressCity", v); }
  HRESULT get_HomeAddressState(BSTR* v) override { return Text("HomeAddressState", v); }
  HRESULT get_HomeAddressPostalCode(BSTR* v) override { return Text("HomeAddressPostalCode", v); }
  HRESULT get_HomeAddressCountry(BSTR* v) override { return Text("HomeAddressCountry", v); }
  HRESULT get_OtherAddressStreet(BSTR* v) override { return Text("OtherAddressStreet", v); }
  HRESULT get_OtherAddressCity(BSTR* v) override { return Text("OtherAddressCity", v); }
  HRESULT get_OtherAddressState(BSTR* v) override { return Text("OtherAddressState", v); }
  HRESULT get_OtherAddressPostalCode(BSTR* v) override { return Text("OtherAddressPostalCode", v); }
  HRESULT get_OtherAddressCountry(BSTR* v) override { return Text("OtherAddressCountry", v); }
  HRESULT get_BusinessAddressStreet(BSTR* v) override { return Text("BusinessAddressStreet", v); }
  HRESULT get_BusinessAddressCity(BSTR* v) override { return Text("BusinessAddressCity", v); }
  HRESULT get_BusinessAddressState(BSTR* v) override { return Text("BusinessAddressState", v); }
  HRESULT get_BusinessAddressPostalCode(BSTR* v) override {
    return Text("BusinessAddressPostalCode", v);
  }
  HRESULT get_BusinessAddressCountry(BSTR* v) override { return Text("BusinessAddressCountry", v); }
  HRESULT get_RadioTelephoneNumber(BSTR* v) override { return Text("RadioTelephoneNumber", v); }
  HRESULT get_FileAs(BSTR* v) override { return Text("FileAs", v); }
  HRESULT get_Body(BSTR* v) override { return Text("Body", v); }

  HRESULT put_BusinessFaxNumber(BSTR v) override { return PutText("BusinessFaxNumber", v); }
  HRESULT put_CompanyName(BSTR v) override { return PutText("CompanyName", v); }
  HRESULT put_Department(BSTR v) override { return PutText("Department", v); }
  HRESULT put_Email1Address(BSTR v) override { return PutText("Email1Address", v); }
  HRESULT put_MobileTelephoneNumber(BSTR v) override { return PutText("MobileTelephoneNumber", v); }
  HRESULT put_OfficeLocation(BSTR v) override { return PutText("OfficeLocation", v); }
  HRESULT put_PagerNumber(BSTR v) override { return PutText("PagerNumber", v); }
  HRESULT put_BusinessTelephoneNumber(BSTR v) override {
    return PutText("BusinessTelephoneNumber", v);
  }
  HRESULT put_JobTitle(BSTR v) override { return PutText("JobTitle", v); }
  HRESULT put_HomeTelephoneNumber(BSTR v) override { return PutText("HomeTelephoneNumber", v); }
  HRESULT put_Email2Address(BSTR v) override { return PutText("Email2Address", v); }
  HRESULT put_Spouse(BSTR v) override { return PutText("Spouse", v); }
  HRESULT put_Email3Address(BSTR v) override { return PutText("Email3Address", v); }
  HRESULT put_Home2TelephoneNumber(BSTR v) override { return PutText("Home2TelephoneNumber", v); }
  HRESULT put_HomeFaxNumber(BSTR v) override { return PutText("HomeFaxNumber", v); }
  HRESULT put_CarTelephoneNumber(BSTR v) override { return PutText("CarTelephoneNumber", v); }
  HRESULT put_AssistantName(BSTR v) override { return PutText("AssistantName", v); }
  HRESULT put_AssistantTelephoneNumber(BSTR v) override {
    return PutText("AssistantTelephoneNumber", v);
  }
  HRESULT put_Children(BSTR v) override { return PutText("Children", v); }
  HRESULT put_Categories(BSTR v) override { return PutText("Categories", v); }
  HRESULT put_WebPage(BSTR v) override { return PutText("WebPage", v); }
  HRESULT put_Business2TelephoneNumber(BSTR v) override {
    return PutText("Business2TelephoneNumber", v);
  }
  HRESULT put_Title(BSTR v) override { return PutText("Title", v); }
  HRESULT put_FirstName(BSTR v) override { return PutText("FirstName", v); }
  HRESULT put_MiddleName(BSTR v) override { return PutText("MiddleName", v); }
  HRESULT put_LastName(BSTR v) override { return PutText("LastName", v); }
  HRESULT put_Suffix(BSTR v) override { return PutText("Suffix", v); }
  HRESULT put_HomeAddressStreet(BSTR v) override { return PutText("HomeAddressStreet", v); }
  HRESULT put_HomeAddressCity(BSTR v) override { return PutText("HomeAddressCity", v); }
  HRESULT put_HomeAddressState(BSTR v) override { return PutText("HomeAddressState", v); }
  HRESULT put_HomeAddressPostalCode(BSTR v) override { return PutText("HomeAddressPostalCode", v); }
  HRESULT put_HomeAddressCountry(BSTR v) override { return PutText("HomeAddressCountry", v); }
  HRESULT put_OtherAddressStreet(BSTR v) override { return PutText("OtherAddressStreet", v); }
  HRESULT put_OtherAddressCity(BSTR v) override { return PutText("OtherAddressCity", v); }
  HRESULT put_OtherAddressState(BSTR v) override { return PutText("OtherAddressState", v); }
  HRESULT put_OtherAddressPostalCode(BSTR v) override {
    return PutText("OtherAddressPostalCode", v);
  }
  HRESULT put_OtherAddressCountry(BSTR v) override { return PutText("OtherAddressCountry", v); }
  HRESULT put_BusinessAddressStreet(BSTR v) override { return PutText("BusinessAddressStreet", v); }
  HRESULT put_BusinessAddressCity(BSTR v) override { return PutText("BusinessAddressCity", v); }
  HRESULT put_BusinessAddressState(BSTR v) override { return PutText("BusinessAddressState", v); }
  HRESULT put_BusinessAddressPostalCode(BSTR v) override {
    return PutText("BusinessAddressPostalCode", v);
  }
  HRESULT put_BusinessAddressCountry(BSTR v) override {
    return PutText("BusinessAddressCountry", v);
  }
  HRESULT put_RadioTelephoneNumber(BSTR v) override { return PutText("RadioTelephoneNumber", v); }
  HRESULT put_FileAs(BSTR v) override { return PutText("FileAs", v); }
  HRESULT put_Body(BSTR v) override { return PutText("Body", v); }

 private:
  static FakePim& pim() { return *FakePim::current; }

  HRESULT Text(const char* name, BSTR* value) {
    *value = nullptr;
    if (pim().faults.get_property != S_OK) return pim().faults.get_property;
    *value = Bstr(data_.Text(name)).release();
    return S_OK;
  }
  HRESULT PutText(const char* name, BSTR value) {
    data_.texts[name] = std::u16string(value ? value : u"", SysStringLen(value));
    return S_OK;
  }
  HRESULT Date(const char* name, DATE* value) {
    if (pim().faults.get_property != S_OK) return pim().faults.get_property;
    auto found = data_.dates.find(name);
    *value = found == data_.dates.end() ? DATE_NONE : found->second;
    return S_OK;
  }
  HRESULT PutDate(const char* name, DATE value) {
    data_.dates[name] = value;
    return S_OK;
  }

  ContactData data_;
};

class FakeItems final : public FakeObject<IPOutlookItemCollection, IID_IPOutlookItemCollection> {
 public:
  explicit FakeItems(int folder) : folder_(folder) {
    for (const auto& [oid, contact] : pim().contacts) oids_.push_back(oid);
  }

  HRESULT get_Count(int* count) override {
    if (pim().faults.get_count != S_OK) return pim().faults.get_count;
    *count = folder_ == olFolderContacts ? static_cast<int>(oids_.size()) : pim().counts[folder_];
    return S_OK;
  }
  HRESULT Item(int index, IDispatch** item) override {
    *item = nullptr;
    if (pim().faults.item != S_OK) return pim().faults.item;
    if (index < 1 || index > static_cast<int>(oids_.size())) return E_INVALIDARG;
    return Give(oids_[static_cast<size_t>(index - 1)], item);
  }
  HRESULT Find(BSTR restriction, IDispatch** item) override {
    pim().restrictions.emplace_back(restriction ? restriction : u"", SysStringLen(restriction));
    position_ = 0;
    const bool is_malformed = pim().restrictions.back().empty();
    return NextFound(is_malformed ? E_INVALIDARG : pim().faults.find, item);
  }
  HRESULT FindNext(IDispatch** item) override {
    ++pim().finds_next;
    return NextFound(pim().faults.find_next, item);
  }

  HRESULT Add(IDispatch**) override { return E_NOTIMPL; }
  HRESULT Remove(int) override { return E_NOTIMPL; }
  HRESULT Restrict(BSTR, IPOutlookItemCollection**) override { return E_NOTIMPL; }
  HRESULT Sort(BSTR, VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT get_IncludeRecurrences(VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT put_IncludeRecurrences(VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT get__NewEnum(IUnknown**) override { return E_NOTIMPL; }

 private:
  static FakePim& pim() { return *FakePim::current; }

  static HRESULT Give(LONG oid, IDispatch** item) {
    auto contact = pim().contacts.find(oid);
    if (contact == pim().contacts.end()) return E_FAIL;
    *item = new FakeContact(contact->second);
    return S_OK;
  }
  HRESULT NextFound(HRESULT fault, IDispatch** item) {
    *item = nullptr;
    if (fault != S_OK) return fault;
    if (position_ == pim().found.size()) return S_OK;
    return Give(pim().found[position_++], item);
  }

  int folder_;
  std::vector<LONG> oids_;
  size_t position_ = 0;
};

class FakeFolder final : public FakeObject<IFolder, IID_IFolder> {
 public:
  explicit FakeFolder(int folder) : folder_(folder) {}

  HRESULT get_Items(IPOutlookItemCollection** items) override {
    *items = nullptr;
    if (FakePim::current->faults.get_items != S_OK) return FakePim::current->faults.get_items;
    *items = new FakeItems(folder_);
    return S_OK;
  }
  HRESULT get_DefaultItemType(int*) override { return E_NOTIMPL; }

 private:
  int folder_;
};

class FakeApplication final : public FakeObject<IPOutlookApp, IID_IPOutlookApp> {
 public:
  HRESULT Logon(LONG window) override {
    ++pim().logons;
    pim().window = window;
    return pim().faults.logon;
  }
  HRESULT Logoff() override {
    ++pim().logoffs;
    return S_OK;
  }
  HRESULT GetDefaultFolder(int folder, IFolder** result) override {
    *result = nullptr;
    pim().folders_asked.push_back(folder);
    if (pim().faults.get_default_folder != S_OK) return pim().faults.get_default_folder;
    *result = new FakeFolder(folder);
    return S_OK;
  }
  HRESULT CreateItem(int kind, IDispatch** item) override {
    *item = nullptr;
    pim().kinds_created.push_back(kind);
    if (pim().faults.create_item != S_OK) return pim().faults.create_item;
    *item = new FakeContact;
    return S_OK;
  }
  HRESULT GetItemFromOid(LONG oid, IDispatch** item) override {
    *item = nullptr;
    pim().oids_asked.push_back(oid);
    if (pim().faults.get_item_from_oid != S_OK) return pim().faults.get_item_from_oid;
    auto contact = pim().contacts.find(oid);
    if (contact == pim().contacts.end()) return E_INVALIDARG;
    *item = new FakeContact(contact->second);
    return S_OK;
  }

 private:
  static FakePim& pim() { return *FakePim::current; }
};

inline HRESULT CreateFakeApplication(REFIID iid, void** object) {
  *object = nullptr;
  if (FakePim::current->faults.create != S_OK) return FakePim::current->faults.create;
  ComPtr<FakeApplication> application(new FakeApplication);
  return application->QueryInterface(iid, object);
}

inline FakePim::FakePim() {
  current = this;
  before_ = SetClassFactory(CLSID_Application, CreateFakeApplication);
}

inline FakePim::~FakePim() {
  EXPECT_EQ(live_objects, 0) << "interfaces that were not released";
  SetClassFactory(CLSID_Application, before_);
  current = nullptr;
}

inline LONG FakePim::Keep(ContactTexts texts, std::map<std::string, DATE> dates) {
  const LONG oid = next_oid++;
  contacts[oid] = {oid, std::move(texts), std::move(dates)};
  return oid;
}

}  // namespace support
