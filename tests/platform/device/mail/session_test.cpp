// The session, the table of stores, the store and its folders.
#include "platform/device/mail/session.h"

#include <filesystem>
#include <fstream>

#include "tests/platform/device/mail/fixture.h"
#include "tests/support/temp_device.h"

namespace session_test {
namespace {

using namespace mapi_test;

using MapiSession = MapiTest;

TEST_F(MapiSession, NeedsMapiInitializeFirst) {
  program_.reset();
  ComPtr<IMAPISession> session;
  EXPECT_EQ(MAPILogonEx(0, nullptr, nullptr, 0, session.put()), MAPI_E_NOT_INITIALIZED);
  EXPECT_FALSE(session);
}

TEST_F(MapiSession, CountsItsUses) {
  EXPECT_EQ(device::MapiUses(), 1);
  EXPECT_EQ(MAPIInitialize(nullptr), S_OK);
  EXPECT_EQ(device::MapiUses(), 2);
  MAPIUninitialize();
  MAPIUninitialize();
  MAPIUninitialize();  // one too many
  EXPECT_EQ(device::MapiUses(), 0);
}

TEST_F(MapiSession, HasOneStoreWhichIsTheDefault) {
  ComPtr<IMAPITable> table;
  ASSERT_EQ(session().GetMsgStoresTable(0, table.put()), S_OK);
  SizedSPropTagArray(4, columns) = {
      4, {PR_DEFAULT_STORE, PR_DISPLAY_NAME, PR_PROVIDER_DISPLAY, PR_ENTRYID}};
  EXPECT_EQ(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0), S_OK);
  const Rows rows = Query(*table, 50);
  ASSERT_EQ(rows->cRows, 1u);
  ASSERT_EQ(rows->aRow[0].cValues, 4u);
  EXPECT_EQ(Cell(rows, 0, 0).ulPropTag, PR_DEFAULT_STORE);
  EXPECT_EQ(Cell(rows, 0, 0).Value.b, 1);
  EXPECT_EQ(std::u16string(Cell(rows, 0, 1).Value.lpszW), u"Messages");
  EXPECT_EQ(std::u16string(Cell(rows, 0, 2).Value.lpszW), u"Embedded device");
  EXPECT_EQ(Cell(rows, 0, 3).ulPropTag, PR_ENTRYID);
  EXPECT_EQ(Query(*table, 50)->cRows, 0u);
}

TEST_F(MapiSession, OpensNoStoreOfAForeignEntryId) {
  char bytes[] = "0123456789abcde";
  ComPtr<IMsgStore> store;
  EXPECT_EQ(
      session().OpenMsgStore(0, 16, reinterpret_cast<LPENTRYID>(bytes), nullptr, 0, store.put()),
      MAPI_E_NOT_FOUND);
  EXPECT_FALSE(store);
}

TEST_F(MapiSession, AllowsNothingAfterLogoffButWhatIsOpenGoesOn) {
  EXPECT_EQ(session().Logoff(0, 0, 0), S_OK);
  EXPECT_EQ(session().Logoff(0, 0, 0), S_OK);
  ComPtr<IMAPITable> table;
  EXPECT_EQ(session().GetMsgStoresTable(0, table.put()), MAPI_E_NOT_INITIALIZED);
  Store(u"late");
  EXPECT_THAT(Subjects(inbox()), testing::ElementsAre(u"late"));
}

TEST_F(MapiSession, AnswersToItsInterfacesOnly) {
  ComPtr<IMAPISession> same;
  EXPECT_EQ(session().QueryInterface(IID_IMAPISession, same.put_void()), S_OK);
  EXPECT_EQ(same.get(), &session());
  ComPtr<IUnknown> other;
  EXPECT_EQ(session().QueryInterface(IID_IMAPITable, other.put_void()), E_NOINTERFACE);
  EXPECT_FALSE(other);
}

TEST_F(MapiSession, ATestCanPutAnotherLogonInItsPlaceAndBack) {
  const device::MapiLogon before =
      device::SetMapiLogon([](IMAPISession**) -> HRESULT { return MAPI_E_LOGON_FAILED; });
  ComPtr<IMAPISession> session;
  EXPECT_EQ(MAPILogonEx(0, nullptr, nullptr, 0, session.put()), MAPI_E_LOGON_FAILED);
  EXPECT_NE(device::SetMapiLogon(before), nullptr);
  EXPECT_EQ(MAPILogonEx(0, nullptr, nullptr, 0, session.put()), S_OK);
}

TEST_F(MapiSession, ATestCanMakeMapiInitializeFail) {
  device::SetMapiStart([]() -> HRESULT { return MAPI_E_CALL_FAILED; });
  EXPECT_EQ(MAPIInitialize(nullptr), MAPI_E_CALL_FAILED);
  EXPECT_EQ(device::MapiUses(), 1);
  device::SetMapiStart(nullptr);
}

TEST_F(MapiSession, RefusesADeviceThatCannotBeUsed) {
  program_.reset();
  TempEnvironment nowhere("OSIF_DEVICE", "/dev/null/device");
  ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
  ComPtr<IMAPISession> session;
  EXPECT_EQ(MAPILogonEx(0, nullptr, nullptr, 0, session.put()), MAPI_E_LOGON_FAILED);
  EXPECT_FALSE(session);
  MAPIUninitialize();
}

// What a program is told of a device whose database cannot be used.
class MapiLogonToABadDevice : public TempDeviceTest {
 protected:
  static HRESULT LogOn() {
    EXPECT_EQ(MAPIInitialize(nullptr), S_OK);
    ComPtr<IMAPISession> session;
    const HRESULT result = MAPILogonEx(0, nullptr, nullptr, 0, session.put());
    EXPECT_FALSE(session);
    MAPIUninitialize();
    return result;
  }
  std::string DatabasePath() const { return device_.Path("device.db"); }
};

TEST_F(MapiLogonToABadDevice, TellsOfDamage) {
  std::ofstream(DatabasePath()) << "This is no database.";
  EXPECT_EQ(LogOn(), MAPI_E_CORRUPT_STORE);
}

TEST_F(MapiLogonToABadDevice, TellsThatItMayNotBeOpened) {
  std::filesystem::create_directory(DatabasePath());
  EXPECT_EQ(LogOn(), MAPI_E_NO_ACCESS);
}

TEST_F(MapiLogonToABadDevice, TellsThatItIsOfANewerSystem) {
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA user_version=99"), SQLITE_OK);
  device::CloseDatabase();
  EXPECT_EQ(LogOn(), MAPI_E_VERSION);
}

using MapiStore = MapiTest;

TEST_F(MapiStore, NamesItsThreeFolders) {
  EXPECT_EQ(std::u16string(Get(inbox(), {PR_DISPLAY_NAME})[0].Value.lpszW), u"Inbox");
  EXPECT_EQ(std::u16string(Get(sent(), {PR_DISPLAY_NAME})[0].Value.lpszW), u"Sent Items");
  EXPECT_EQ(std::u16string(Get(outbox(), {PR_DISPLAY_NAME})[0].Value.lpszW), u"Outbox");
}

TEST_F(MapiStore, GivesAMissingPropertyAnErrorInItsTag) {
  const Props values = Get(store(), {PR_SUBJECT, PR_DISPLAY_NAME}, MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(values[0].ulPropTag, 0x0037000Au);
  EXPECT_EQ(values[0].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(values[1].ulPropTag, PR_DISPLAY_NAME);
}

TEST_F(MapiStore, HasAReceiveFolderForAllClassesOnly) {
  char16_t note[] = u"IPM.Note";
  ULONG size = 7;
  LPENTRYID id = nullptr;
  EXPECT_EQ(store().GetReceiveFolder(note, 0, &size, &id, nullptr), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(id, nullptr);
  EXPECT_EQ(size, 0u);
}

TEST_F(MapiStore, RefusesEntryIdsThatAreNone) {
  const std::string good = EntryId(inbox());
  ASSERT_EQ(good.size(), 16u);
  for (std::string bad : {std::string(), good.substr(1), good + "0", std::string(16, 'x'),
                          std::string(1 << 20, '\0')}) {
    ULONG type = 0;
    IUnknown* object = nullptr;
    EXPECT_EQ(
        store().OpenEntry(static_cast<ULONG>(bad.size()), reinterpret_cast<LPENTRYID>(bad.data()),
                          nullptr, 0, &type, &object),
        MAPI_E_INVALID_ENTRYID);
    EXPECT_EQ(object, nullptr);
  }
}

TEST_F(MapiStore, FindsNoFolderAndNoMessageThatIsNotThere) {
  std::string folder = EntryId(inbox());
  folder.back() = 9;
  EXPECT_FALSE(program_->Folder(16, reinterpret_cast<LPENTRYID>(folder.data())));
  std::string message = Store(u"one");
  message.back() = 9;
  ComPtr<IMessage> none;
  EXPECT_EQ(Open(inbox(), message, &none), MAPI_E_NOT_FOUND);
}

TEST_F(MapiStore, CannotBeChanged) {
  EXPECT_EQ(Set(store(), Text(PR_DISPLAY_NAME, u"mine")), MAPI_E_NO_ACCESS);
  EXPECT_EQ(Set(inbox(), Text(PR_DISPLAY_NAME, u"mine")), MAPI_E_NO_ACCESS);
  EXPECT_EQ(std::u16string(Get(inbox(), {PR_DISPLAY_NAME})[0].Value.lpszW), u"Inbox");
}

TEST_F(MapiStore, TellsMoreAboutItsLastError) {
  IUnknown* object = nullptr;
  ASSERT_EQ(store().OpenProperty(PR_BODY, nullptr, 0, 0, &object), MAPI_E_NO_SUPPORT);
  LPMAPIERROR error = nullptr;
  ASSERT_EQ(store().GetLastError(MAPI_E_NO_SUPPORT, MAPI_UNICODE, &error), S_OK);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(std::u16string(error->lpszError), u"The message store does not offer this.");
  EXPECT_EQ(std::u16string(error->lpszComponent), u"Embedded device");
  EXPECT_EQ(error->ulVersion, 0u);
  EXPECT_EQ(error->ulLowLevelError, 0u);
  EXPECT_EQ(error->ulContext, 0u);
  MAPIFreeBuffer(error);
}

TEST_F(MapiStore, TellsNothingAboutAnErrorThatItDidNotHave) {
  LPMAPIERROR error = reinterpret_cast<LPMAPIERROR>(1);
  EXPECT_EQ(store().GetLastError(MAPI_E_CALL_FAILED, MAPI_UNICODE, &error), S_OK);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(store().GetLastError(MAPI_E_CALL_FAILED, 0, &error), MAPI_E_BAD_CHARWIDTH);
}

}  // namespace
}  // namespace session_test
