// A device of its own for each test of the PIM store, and short words for what programs do with it.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/api/bstr.h"
#include "platform/api/com_ptr.h"
#include "platform/api/pimstore.h"
#include "platform/device/device.h"
#include "platform/device/pim/application.h"
#include "tests/support/temp_device.h"

namespace pim_test {

using TextGetter = HRESULT (IContact::*)(BSTR*);
using TextSetter = HRESULT (IContact::*)(BSTR);
using Values = std::initializer_list<std::pair<TextSetter, std::u16string_view>>;

inline constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070490);

inline ComPtr<IPOutlookApp> NewApplication() {
  ComPtr<IPOutlookApp> application;
  EXPECT_EQ(device::CreatePimApplication(IID_IPOutlookApp, application.put_void()), S_OK);
  return application;
}

inline ComPtr<IPOutlookApp> LogOn() {
  ComPtr<IPOutlookApp> application = NewApplication();
  EXPECT_EQ(application->Logon(0), S_OK);
  return application;
}

// An item is the very pointer of its own interface, as programs take it to be.
template <typename Item>
ComPtr<Item> As(IDispatch* owned) {
  return ComPtr<Item>(static_cast<Item*>(owned));
}
inline ComPtr<IContact> AsContact(IDispatch* owned) { return As<IContact>(owned); }

template <typename Item>
std::u16string Get(Item& item, HRESULT (Item::*getter)(BSTR*)) {
  Bstr value;
  EXPECT_EQ((item.*getter)(value.put()), S_OK);
  EXPECT_NE(value.get(), nullptr);
  return std::u16string(value.view());
}

template <typename Item>
HRESULT Put(Item& item, HRESULT (Item::*setter)(BSTR), std::u16string_view text) {
  return (item.*setter)(Bstr(text).get());
}

template <typename Item>
LONG Oid(Item& item) {
  LONG oid = -1;
  EXPECT_EQ(item.get_Oid(&oid), S_OK);
  return oid;
}

class PimTest : public TempDeviceTest {
 protected:
  IPOutlookApp& application() {
    if (!application_) application_ = LogOn();
    return *application_;
  }

  // As another program finds the device that starts now.
  void Restart() {
    application_->Logoff();
    application_ = LogOn();
  }

  ComPtr<IContact> NewContact(Values values = {}) {
    IDispatch* item = nullptr;
    EXPECT_EQ(application().CreateItem(olContactItem, &item), S_OK);
    ComPtr<IContact> contact = AsContact(item);
    for (const auto& [setter, text] : values) EXPECT_EQ(Put(*contact, setter, text), S_OK);
    return contact;
  }

  LONG SaveContact(Values values = {}) {
    ComPtr<IContact> contact = NewContact(values);
    EXPECT_EQ(contact->Save(), S_OK);
    return Oid(*contact);
  }

  // Null when there is none.
  template <typename Item = IContact>
  ComPtr<Item> Load(LONG oid) {
    IDispatch* item = nullptr;
    const HRESULT hr = application().GetItemFromOid(oid, &item);
    EXPECT_EQ(hr == S_OK, item != nullptr);
    return As<Item>(item);
  }

  ComPtr<IPOutlookItemCollection> Items(int folder = olFolderContacts) {
    ComPtr<IFolder> result;
    EXPECT_EQ(application().GetDefaultFolder(folder, result.put()), S_OK);
    ComPtr<IPOutlookItemCollection> items;
    EXPECT_EQ(result->get_Items(items.put()), S_OK);
    return items;
  }

  int CountOf(IPOutlookItemCollection& items) {
    int count = -1;
    EXPECT_EQ(items.get_Count(&count), S_OK);
    return count;
  }

  int Count(int folder = olFolderContacts) { return CountOf(*Items(folder)); }

  // The ids of all items that a restriction finds, in the order in which they come.
  template <typename Item = IContact>
  std::vector<LONG> FindAll(IPOutlookItemCollection& items, std::u16string_view restriction) {
    std::vector<LONG> oids;
    IDispatch* item = nullptr;
    HRESULT hr = items.Find(Bstr(restriction).get(), &item);
    for (; hr == S_OK && item != nullptr; hr = items.FindNext(&item)) {
      oids.push_back(Oid(*As<Item>(item)));
    }
    EXPECT_EQ(hr, S_OK) << "restriction refused";
    return oids;
  }

  std::vector<LONG> FindAll(std::u16string_view restriction) {
    return FindAll(*Items(), restriction);
  }

 private:
  ComPtr<IPOutlookApp> application_;
};

}  // namespace pim_test
