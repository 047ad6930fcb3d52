// Another program that changes the same device's contacts, and the same done through the library.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>

#include "BtOsif_pol/pol_dispatch.h"
#include "btosif/osif_util/object_record.h"
#include "platform/api/automation.h"
#include "platform/api/bstr.h"
#include "platform/api/com_ptr.h"
#include "platform/api/pimstore.h"
#include "tests/support/files.h"
#include "tests/support/values.h"

namespace support {

// "%08x"
inline std::string IdOf(LONG oid) {
  char id[9];
  std::snprintf(id, sizeof id, "%08x", static_cast<unsigned>(oid));
  return id;
}

inline LONG OidOf(const std::string& id) {
  return static_cast<LONG>(std::strtoul(id.c_str(), nullptr, 16));
}

// A program with an application object of its own. A contact's name is its last name.
class OtherProgram {
 public:
  OtherProgram() {
    EXPECT_EQ(CoCreateInstance(CLSID_Application, nullptr, CLSCTX_INPROC_SERVER, IID_IPOutlookApp,
                               application_.put_void()),
              S_OK);
    EXPECT_EQ(application_->Logon(0), S_OK);
  }
  ~OtherProgram() { application_->Logoff(); }
  OtherProgram(const OtherProgram&) = delete;
  OtherProgram& operator=(const OtherProgram&) = delete;

  // Gives the new contact's id.
  std::string Add(const std::string& name) {
    ComPtr<IDispatch> item;
    EXPECT_EQ(application_->CreateItem(olContactItem, item.put()), S_OK);
    IContact& contact = static_cast<IContact&>(*item);
    Save(contact, name);
    return IdOf(Oid(contact));
  }
  void Change(const std::string& id, const std::string& name) {
    ComPtr<IDispatch> item;
    ASSERT_EQ(application_->GetItemFromOid(OidOf(id), item.put()), S_OK) << id;
    Save(static_cast<IContact&>(*item), name);
  }
  void Delete(const std::string& id) {
    ComPtr<IDispatch> item;
    ASSERT_EQ(application_->GetItemFromOid(OidOf(id), item.put()), S_OK) << id;
    EXPECT_EQ(static_cast<IContact&>(*item).Delete(), S_OK);
  }

  // The names of all contacts, by id.
  std::map<std::string, std::string> Contacts() {
    ComPtr<IFolder> folder;
    EXPECT_EQ(application_->GetDefaultFolder(olFolderContacts, folder.put()), S_OK);
    ComPtr<IPOutlookItemCollection> items;
    EXPECT_EQ(folder->get_Items(items.put()), S_OK);
    int count = 0;
    EXPECT_EQ(items->get_Count(&count), S_OK);
    std::map<std::string, std::string> contacts;
    for (int i = 1; i <= count; ++i) {
      ComPtr<IDispatch> item;
      EXPECT_EQ(items->Item(i, item.put()), S_OK);
      IContact& contact = static_cast<IContact&>(*item);
      Bstr name;
      EXPECT_EQ(contact.get_LastName(name.put()), S_OK);
      contacts[IdOf(Oid(contact))] = Narrow(name.view());
    }
    return contacts;
  }

  IPOutlookApp& application() { return *application_; }

 private:
  static LONG Oid(IContact& contact) {
    LONG oid = 0;
    EXPECT_EQ(contact.get_Oid(&oid), S_OK);
    return oid;
  }
  static void Save(IContact& contact, const std::string& name) {
    EXPECT_EQ(contact.put_LastName(Bstr(Wide(name)).get()), S_OK);
    EXPECT_EQ(contact.Save(), S_OK);
  }

  ComPtr<IPOutlookApp> application_;
};

// The library's own calls for contacts whose name is their last name.
struct LibraryCall {
  OsifResult result;
  std::string id;
};

inline LibraryCall AddContact(const std::string& name, OsifAnchor* anchor) {
  OwnedObject record(OSIF_STORE_PB);
  record->contact.n = MakeValue({}, {name, "", "", "", ""}).release();
  char id[OSIF_ID_SIZE] = "";
  const OsifResult result = POL_AddObject(OSIF_STORE_PB, record.get(), id, anchor);
  return {result, id};
}

inline OsifResult ModifyContact(const std::string& id, const std::string& name,
                                OsifAnchor* anchor) {
  OwnedObject record(OSIF_STORE_PB);
  record->contact.n = MakeValue({}, {name, "", "", "", ""}).release();
  return POL_ModifyObject(OSIF_STORE_PB, id.c_str(), record.get(), anchor);
}

inline OsifResult DeleteContact(const std::string& id, OsifAnchor* anchor) {
  return POL_DeleteObject(OSIF_STORE_PB, id.c_str(), anchor);
}

}  // namespace support
