// The objects are as simple as they can be: each call writes down what it was asked, answers the fault that
// is set for it, if any, and else does its work on what FakePim holds. An item is a copy of what is kept
// until it is saved, as on the device.

#include "tests/support/fake_pim.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/contact_properties.h"

namespace support {
namespace {

FakePim& pim() { return *FakePim::current; }

class FakeItems final : public FakeObject<IPOutlookItemCollection, IID_IPOutlookItemCollection> {
 public:
  explicit FakeItems(int folder) : folder_(folder) {
    for (const auto& [oid, contact] : pim().contacts) oids_.push_back(oid);
  }

  HRESULT get_Count(int* count) override {
    if (pim().faults.get_count != S_OK) return pim().faults.get_count;
    *count = folder_ == olFolderContacts ? static_cast<int>(oids_.size()) : pim().counts[folder_];
    if (const auto others = pim().others.find(folder_); others != pim().others.end()) {
      *count = static_cast<int>(others->second.size());
    }
    return S_OK;
  }
  HRESULT Item(int index, IDispatch** item) override {
    *item = nullptr;
    if (pim().faults.item != S_OK) return pim().faults.item;
    if (const auto others = pim().others.find(folder_); others != pim().others.end()) {
      ComPtr<IDispatch> other = others->second.at(static_cast<size_t>(index - 1));
      *item = other.release();
      return *item == nullptr ? E_FAIL : S_OK;
    }
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
    if (pim().faults.get_items != S_OK) return pim().faults.get_items;
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
};

}  // namespace

ContactTexts TextsOfItem(IContact& contact) {
  ContactTexts texts;
  for (const TextProperty& property : kTextProperties) {
    Bstr text;
    EXPECT_EQ((contact.*property.getter)(text.put()), S_OK) << property.name;
    if (!text.empty()) texts[property.name] = std::u16string(text.view());
  }
  return texts;
}

std::u16string ContactData::Text(const std::string& name) const {
  auto found = texts.find(name);
  return found == texts.end() ? std::u16string() : found->second;
}

bool ContactData::Has(const std::string& name) const {
  return texts.count(name) + dates.count(name) > 0;
}

// ---- Contacts ---------------------------------------------------------------------------------------

HRESULT FakeContact::Save() {
  if (pim().faults.save != S_OK) return pim().faults.save;
  if (data_.oid == 0) data_.oid = pim().next_oid++;
  pim().contacts[data_.oid] = data_;
  return S_OK;
}

HRESULT FakeContact::Delete() {
  if (pim().faults.delete_item != S_OK) return pim().faults.delete_item;
  return pim().contacts.erase(data_.oid) == 1 ? S_OK : E_FAIL;
}

HRESULT FakeContact::get_Oid(LONG* oid) {
  *oid = pim().faults.gives_no_oid ? 0 : data_.oid;
  return S_OK;
}

HRESULT FakeContact::GetText(const char* name, BSTR* value) const {
  *value = nullptr;
  if (pim().faults.get_property != S_OK) return pim().faults.get_property;
  *value = Bstr(data_.Text(name)).release();
  return S_OK;
}

HRESULT FakeContact::PutText(const char* name, BSTR value) {
  data_.texts[name] = std::u16string(value ? value : u"", SysStringLen(value));
  return S_OK;
}

HRESULT FakeContact::GetDate(const char* name, DATE* value) const {
  if (pim().faults.get_property != S_OK) return pim().faults.get_property;
  auto found = data_.dates.find(name);
  *value = found == data_.dates.end() ? DATE_NONE : found->second;
  return S_OK;
}

HRESULT FakeContact::PutDate(const char* name, DATE value) {
  data_.dates[name] = value;
  return S_OK;
}

// ---- The fake itself --------------------------------------------------------------------------------

HRESULT CreateFakeApplication(REFIID iid, void** object) {
  *object = nullptr;
  if (pim().faults.create != S_OK) return pim().faults.create;
  ComPtr<FakeApplication> application(new FakeApplication);
  return application->QueryInterface(iid, object);
}

FakePim* FakePim::current = nullptr;

FakePim::FakePim() {
  current = this;
  before_ = SetClassFactory(CLSID_Application, CreateFakeApplication);
}

FakePim::~FakePim() {
  others.clear();
  EXPECT_EQ(live_objects, 0) << "interfaces that were not released";
  SetClassFactory(CLSID_Application, before_);
  current = nullptr;
}

LONG FakePim::Keep(ContactTexts texts, std::map<std::string, DATE> dates) {
  const LONG oid = next_oid++;
  contacts[oid] = {oid, std::move(texts), std::move(dates)};
  return oid;
}

const ContactData& FakePim::Only() const {
  EXPECT_EQ(contacts.size(), 1u);
  if (contacts.empty()) throw std::runtime_error("the PIM holds no contact");
  return contacts.begin()->second;
}

}  // namespace support
