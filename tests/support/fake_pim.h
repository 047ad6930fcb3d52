// A PIM that tests can look into and tell to fail: it takes the place of the device's application class.
//
// It keeps contacts only. What a contact holds is a table of texts and dates by property name; a property
// that was never put is not in it, so that a test sees what was written and what was left alone.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/api/bstr.h"
#include "platform/api/com_ptr.h"
#include "platform/api/pimstore.h"
#include "platform/posix/class_table.h"

namespace support {

using ContactTexts = std::map<std::string, std::u16string>;

// Every text of an item that is not empty.
ContactTexts TextsOfItem(IContact& contact);

struct ContactData {
  LONG oid = 0;
  ContactTexts texts;
  std::map<std::string, DATE> dates;

  // Empty for one that was never put.
  std::u16string Text(const std::string& name) const;
  // Whether a text or a date of the name was put.
  bool Has(const std::string& name) const;
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
  const ContactData& Only() const;

  PimFaults faults;
  std::map<LONG, ContactData> contacts;  // in the order of their ids, which is the folder's order
  std::map<int, int> counts;             // what other folders than that of contacts say they hold
  // The items of another folder, which are then counted; null for one that cannot be taken.
  std::map<int, std::vector<ComPtr<IDispatch>>> others;
  std::vector<LONG> found;  // what Find and FindNext give, one after the other
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

  HRESULT Save() override;
  HRESULT Delete() override;
  HRESULT Copy(IContact**) override { return E_NOTIMPL; }
  HRESULT get_Oid(LONG* oid) override;

#define FAKE_Text(name)                                                      \
  HRESULT get_##name(BSTR* value) override { return GetText(#name, value); } \
  HRESULT put_##name(BSTR value) override { return PutText(#name, value); }
#define FAKE_Categories(name) FAKE_Text(name)
#define FAKE_Date(name)                                                      \
  HRESULT get_##name(DATE* value) override { return GetDate(#name, value); } \
  HRESULT put_##name(DATE value) override { return PutDate(#name, value); }
#define PROPERTY(name, column, kind, access) FAKE_##kind(name)
#include "platform/device/pim/contact_properties.inc"
#undef FAKE_Text
#undef FAKE_Categories
#undef FAKE_Date

 private:
  HRESULT GetText(const char* name, BSTR* value) const;
  HRESULT PutText(const char* name, BSTR value);
  HRESULT GetDate(const char* name, DATE* value) const;
  HRESULT PutDate(const char* name, DATE value);

  ContactData data_;
};

// What makes the fake's application where the device's would be made.
HRESULT CreateFakeApplication(REFIID iid, void** object);

}  // namespace support
