// Starting and ending the messaging session, and opening the store and its three folders.
#include "mapi/mapi_session.h"

#include "tests/mapi/mapi_fixture.h"

namespace mapi_session_test {
namespace {

using namespace support;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

// 0x80004005 as "%d" shows it.
constexpr HRESULT kFailed = MAPI_E_CALL_FAILED;

using MapiSession = FakeMapiTest;

// ---- Starting -----------------------------------------------------------------------------------

TEST_F(MapiSession, TheStartHookDoesNoWork) {
  EXPECT_EQ(Code(MAPI_Init()), OSIF_OK);
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(MapiSession, StartsStepByStep) {
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(
      mapi_.Calls(),
      ElementsAre("MAPIInitialize()", "MAPILogonEx()", "session.GetMsgStoresTable()",
                  "stores.SetColumns(3400000B,3001001F,3006001F,FFF0102)", "stores.QueryRows(50)",
                  "session.OpenMsgStore(E1,5)", "store.GetReceiveFolder()",
                  "store.OpenEntry(F1,10)", "store.GetProps(35E40102)", "store.OpenEntry(F2,10)",
                  "store.GetProps(35E20102)", "store.OpenEntry(F3,10)", "~store", "~stores"));
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(MapiSession, HoldsTheSessionAndThreeFoldersOnceItIsUp) {
  Open();
  EXPECT_EQ(mapi_.Live("session"), 1);
  EXPECT_EQ(mapi_.Live("folder"), 3);
  EXPECT_EQ(mapi_.Live("store"), 0);
  EXPECT_EQ(mapi_.Live("stores"), 0);
  EXPECT_EQ(device::MapiUses(), 1);
}

TEST_F(MapiSession, SecondInitializeWithASessionUpReturnsAtOnceWithoutTouchingMapi) {
  Open();
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(MapiSession, AFailingMapiInitializeIsToldInDecimalDigits) {
  mapi_.Fail("MAPIInitialize", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPIInitialize failed with code: -2147467259"));
  EXPECT_THAT(mapi_.Calls(), ElementsAre("MAPIInitialize()"));
}

TEST_F(MapiSession, AFailingLogonIsToldInDecimalDigits) {
  mapi_.Fail("MAPILogonEx", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPILogonEx failed with code: -2147467259"));
  EXPECT_THAT(mapi_.Calls(), ElementsAre("MAPIInitialize()", "MAPILogonEx()"));
}

TEST_F(MapiSession, IsStartedAgainAfterAFailingLogon) {
  mapi_.Fail("MAPILogonEx", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_ERR_PIM);
  mapi_.Mend();
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_EQ(mapi_.Live("folder"), 3);
}

TEST_F(MapiSession, AFailingTableOfStoresFailsTheStart) {
  mapi_.Fail("session.GetMsgStoresTable", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  gpSession->GetMsgStoresTable failed with code: -2147467259"));
}

TEST_F(MapiSession, StaysLoggedOnWhenTheTableOfStoresFailed) {
  mapi_.Fail("session.GetMsgStoresTable", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_ERR_PIM);
  EXPECT_EQ(mapi_.Live("session"), 1);
  mapi_.Mend();
  Forget();
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
  EXPECT_FALSE(mapi_FolderOfStore(OSIF_STORE_MSG_IN).folder);
}

TEST_F(MapiSession, GoesOnWithoutColumnsOfTheTableOfStores) {
  mapi_.Fail("stores.SetColumns", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_EQ(mapi_.Live("folder"), 3);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  lptblStores->SetColumns failed with code: 0x80004005",
                          "MAPI:  GetLastError failed - lpMAPIError is NULL (hr1=0x00000000)"));
}

TEST_F(MapiSession, HasNoFolderWithoutRowsOfTheTableOfStores) {
  mapi_.Fail("stores.QueryRows", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  lptblStores->QueryRows failed with code: 0x80004005",
                          "MAPI:  GetLastError failed - lpMAPIError is NULL (hr1=0x00000000)"));
  EXPECT_EQ(mapi_.Count("session.OpenMsgStore"), 0);
  EXPECT_EQ(mapi_.Live("folder"), 0);
  EXPECT_EQ(mapi_.Live("stores"), 0);
}

TEST_F(MapiSession, TellsThatThereIsNoStore) {
  mapi_.stores.clear();
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  No rows in MsgStoreTable"));
  EXPECT_EQ(mapi_.Count("session.OpenMsgStore"), 0);
}

TEST_F(MapiSession, AMissingRowSetIsNoStore) {
  mapi_.gives_no_rows = true;
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  No rows in MsgStoreTable"));
}

FakeValues StoreRow(const char* id, LONG is_default) {
  return {FakeValue::Number(PR_DEFAULT_STORE, is_default), FakeValue::Text(PR_DISPLAY_NAME, u"a"),
          FakeValue::Text(PR_PROVIDER_DISPLAY, u"b"), FakeValue::Bytes(PR_ENTRYID, id)};
}

TEST_F(MapiSession, OpensTheFirstStoreWhateverItsPrDefaultStoreSays) {
  mapi_.stores = {StoreRow("\xE7", 0), StoreRow("\xE8", 1)};
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  const std::vector<std::string> calls = mapi_.Calls();
  EXPECT_THAT(calls, Contains("session.OpenMsgStore(E7,5)"));
  EXPECT_THAT(calls, Not(Contains("session.OpenMsgStore(E8,5)")));
}

class MapiSessionStores : public FakeMapiTest, public testing::WithParamInterface<int> {};

TEST_P(MapiSessionStores, OpensTheFirstOfThem) {
  mapi_.stores.assign(static_cast<size_t>(GetParam()), StoreRow("\xE8", 1));
  mapi_.stores[0] = StoreRow("\xE7", 1);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_EQ(mapi_.Count("stores.QueryRows"), 1);
  EXPECT_THAT(mapi_.Calls(), Contains("session.OpenMsgStore(E7,5)"));
  EXPECT_EQ(mapi_.Live("folder"), 3);
}

INSTANTIATE_TEST_SUITE_P(Numbers, MapiSessionStores, testing::Values(49, 50, 51, 101));

TEST_F(MapiSession, AStoreThatCannotBeOpenedIsOnlyTold) {
  mapi_.Fail("session.OpenMsgStore", kFailed);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  gpSession->OpenMsgStore failed with code: 0x80004005",
                                   "MAPI:  gpSession->GetLastError failed - lpMAPIError is NULL"));
  EXPECT_EQ(mapi_.Live("folder"), 0);
  EXPECT_EQ(mapi_.Live("session"), 1);
  EXPECT_EQ(mapi_.Live("stores"), 0);
}

TEST_F(MapiSession, AHalfStartedStateIsKept) {
  OpenWithoutFolders();
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
  EXPECT_FALSE(mapi_FolderOfStore(OSIF_STORE_MSG_IN).folder);
}

TEST_F(MapiSession, AHalfStartedStateEndsWithTheSession) {
  OpenWithoutFolders();
  EXPECT_EQ(Code(MAPI_DeInit()), OSIF_OK);
  Open();
  EXPECT_TRUE(mapi_FolderOfStore(OSIF_STORE_MSG_IN).folder);
}

// ---- The Inbox ----------------------------------------------------------------------------------

// Starts the session, of which the Inbox does not open and the other two folders do; the trace.
class MapiInbox : public FakeMapiTest {
 protected:
  TraceLines StartWithoutInbox() {
    EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
    EXPECT_FALSE(mapi_FolderOfStore(OSIF_STORE_MSG_IN).folder);
    EXPECT_TRUE(mapi_FolderOfStore(OSIF_STORE_MSG_SENT).folder);
    EXPECT_TRUE(mapi_FolderOfStore(OSIF_STORE_MSG_OUT).folder);
    EXPECT_EQ(mapi_.Live("folder"), 2);
    return Trace();
  }
};

TEST_F(MapiInbox, TellsWhyThereIsNoReceiveFolder) {
  mapi_.Fail("store.GetReceiveFolder", kFailed);
  EXPECT_THAT(StartWithoutInbox(),
              ElementsAre("MAPI:  lpMDB->GetReceiveFolder failed with code: 0x80004005"));
  EXPECT_THAT(mapi_.Calls(), Not(Contains("store.OpenEntry(F1,10)")));
}

TEST_F(MapiInbox, TellsWhyItCannotBeOpened) {
  mapi_.Fail("store.OpenEntry(F1,10)", kFailed);
  EXPECT_THAT(StartWithoutInbox(),
              ElementsAre("MAPI:  lpMDB->OpenEntry for InBox failed with code: 0x80004005"));
}

TEST_F(MapiInbox, TellsThatItIsNoFolderAndReleasesIt) {
  mapi_.inbox.type = MAPI_STORE;
  EXPECT_THAT(StartWithoutInbox(),
              ElementsAre("MAPI:  ulObjType of OpenEntry on gpInBoxFolder != MAPI_FOLDER"));
}

// ---- Sent items and Outbox ----------------------------------------------------------------------

struct Mailbox {
  const char* name;
  int32_t store_id;
  ULONG tag;
  FakeFolderData FakeMapi::*data;
  const char* get_props;
  const char* open_entry;
};

class MapiMailbox : public FakeMapiTest, public testing::WithParamInterface<Mailbox> {
 protected:
  // Starts the session, of which just this folder does not open; the trace.
  TraceLines StartWithoutIt() {
    EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
    for (int32_t store : {OSIF_STORE_MSG_IN, OSIF_STORE_MSG_SENT, OSIF_STORE_MSG_OUT}) {
      const bool is_open = static_cast<bool>(mapi_FolderOfStore(store).folder);
      EXPECT_EQ(is_open, store != GetParam().store_id) << store;
    }
    EXPECT_EQ(mapi_.Live("folder"), 2);
    return Trace();
  }
};

TEST_P(MapiMailbox, TellsWhyItsPropertyCannotBeHad) {
  mapi_.Fail(GetParam().get_props, kFailed);
  EXPECT_THAT(StartWithoutIt(), ElementsAre("MAPI:  lpMDB->GetProps failed with code: 0x80004005"));
}

TEST_P(MapiMailbox, StaysEmptyInAStoreWithoutItsPropertyWhileTheOthersWork) {
  mapi_.store_values.erase(PROP_ID(GetParam().tag));
  EXPECT_THAT(StartWithoutIt(), ElementsAre("MAPI:  Message Store has no valid PR_IPM_*_ENTRYID"));
  EXPECT_EQ(mapi_.Count("store.OpenEntry"), 2);
}

TEST_P(MapiMailbox, TellsWhyItCannotBeOpened) {
  mapi_.Fail(GetParam().open_entry, kFailed);
  EXPECT_THAT(StartWithoutIt(),
              ElementsAre("MAPI:  lpMDB->OpenEntry for Mailbox failed with code: 0x80004005"));
}

TEST_P(MapiMailbox, TellsThatItIsNoFolderAndReleasesIt) {
  (mapi_.*GetParam().data).type = MAPI_MESSAGE;
  EXPECT_THAT(StartWithoutIt(),
              ElementsAre("MAPI:  ulObjType of OpenEntry on Mailbox != MAPI_FOLDER"));
}

INSTANTIATE_TEST_SUITE_P(
    Folders, MapiMailbox,
    testing::Values(Mailbox{"Sent", OSIF_STORE_MSG_SENT, PR_IPM_SENTMAIL_ENTRYID, &FakeMapi::sent,
                            "store.GetProps(35E40102)", "store.OpenEntry(F2,10)"},
                    Mailbox{"Outbox", OSIF_STORE_MSG_OUT, PR_IPM_OUTBOX_ENTRYID, &FakeMapi::outbox,
                            "store.GetProps(35E20102)", "store.OpenEntry(F3,10)"}),
    [](const auto& test) { return test.param.name; });

TEST_F(MapiSession, AStoreWithoutPrIpmOutboxEntryidLeavesTheOutboxEmptyAndTheRestWorking) {
  mapi_.store_values.erase(PROP_ID(PR_IPM_OUTBOX_ENTRYID));
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  Message Store has no valid PR_IPM_*_ENTRYID"));
  EXPECT_TRUE(mapi_FolderOfStore(OSIF_STORE_MSG_IN).folder);
  EXPECT_TRUE(mapi_FolderOfStore(OSIF_STORE_MSG_SENT).folder);
  EXPECT_FALSE(mapi_FolderOfStore(OSIF_STORE_MSG_OUT).folder);
}

TEST_F(MapiSession, EveryFolderMayFailAtOnce) {
  mapi_.Fail("store.OpenEntry", MAPI_E_NOT_FOUND);
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  lpMDB->OpenEntry for InBox failed with code: 0x8004010f",
                          "MAPI:  lpMDB->OpenEntry for Mailbox failed with code: 0x8004010f",
                          "MAPI:  lpMDB->OpenEntry for Mailbox failed with code: 0x8004010f"));
}

// ---- Which folder -------------------------------------------------------------------------------

struct FolderChoice {
  const char* given;
  const char* name;
  const char* id;
};

class MapiFolderName : public OpenFakeMapiTest, public testing::WithParamInterface<FolderChoice> {};

TEST_P(MapiFolderName, ChoosesTheFolder) {
  const MessageFolder folder = mapi_FolderOfName(GetParam().given);
  EXPECT_STREQ(folder.name, GetParam().name);
  ComPtr<IMessage> message;
  ASSERT_EQ(folder.folder->CreateMessage(nullptr, 0, message.put()), S_OK);
  EXPECT_THAT(mapi_.Calls(), Contains(std::string("folder.CreateMessage(") + GetParam().id + ")"));
}

INSTANTIATE_TEST_SUITE_P(
    Names, MapiFolderName,
    testing::Values(FolderChoice{"INBOX", "INBOX", "F1"}, FolderChoice{"", "INBOX", "F1"},
                    FolderChoice{"DRAFTS", "INBOX", "F1"}, FolderChoice{"OUTBOX", "OUTBOX", "F3"},
                    FolderChoice{"outbox", "OUTBOX", "F3"}, FolderChoice{"OutBox", "OUTBOX", "F3"},
                    FolderChoice{"OUTBOX2", "INBOX", "F1"},
                    FolderChoice{"SENTBOX", "SENTBOX", "F2"},
                    FolderChoice{"SentBox", "SENTBOX", "F2"}, FolderChoice{"SENT", "INBOX", "F1"}));

TEST_F(MapiSession, EachMessageStoreHasItsFolderAndName) {
  Open();
  EXPECT_STREQ(mapi_FolderOfStore(OSIF_STORE_MSG_IN).name, "INBOX");
  EXPECT_STREQ(mapi_FolderOfStore(OSIF_STORE_MSG_SENT).name, "SENTBOX");
  EXPECT_STREQ(mapi_FolderOfStore(OSIF_STORE_MSG_OUT).name, "OUTBOX");
}

TEST_F(MapiSession, AnotherStoreHasNoFolder) {
  Open();
  for (int32_t store : {-1, int{OSIF_STORE_PB}, int{OSIF_STORE_NOTE}, 6}) {
    EXPECT_FALSE(mapi_FolderOfStore(store).folder) << store;
    EXPECT_STREQ(mapi_FolderOfStore(store).name, "");
  }
}

// ---- Ending -------------------------------------------------------------------------------------

TEST_F(MapiSession, EndsStepByStep) {
  Open();
  EXPECT_EQ(Code(MAPI_DeInit()), OSIF_OK);
  EXPECT_THAT(mapi_.Calls(),
              ElementsAre("session.Logoff()", "~folder", "~folder", "~folder", "~session"));
  EXPECT_EQ(device::MapiUses(), 0);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_DeInit() called"));
}

TEST_F(MapiSession, AFailingLogoffIsTheResultAndTheSessionIsOverAllTheSame) {
  Open();
  mapi_.Fail("session.Logoff", kFailed);
  EXPECT_EQ(Code(MAPI_DeInit()), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_DeInit() called",
                                   "MAPI:  gpSession->Logoff failed with code: -2147467259"));
  EXPECT_EQ(mapi_.Live("session"), 0);
  EXPECT_EQ(mapi_.Live("folder"), 0);
  EXPECT_EQ(device::MapiUses(), 0);
  EXPECT_FALSE(mapi_FolderOfStore(OSIF_STORE_MSG_IN).folder);
}

TEST_F(MapiSession, DeInitWithoutASessionOnlyEndsTheUseOfMapi) {
  ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
  Forget();
  EXPECT_EQ(Code(MAPI_DeInit()), OSIF_OK);
  EXPECT_EQ(device::MapiUses(), 0);
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_DeInit() called"));
}

TEST_F(MapiSession, StartsAgainAfterItsEnd) {
  Open();
  EXPECT_EQ(Code(MAPI_DeInit()), OSIF_OK);
  Forget();
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_EQ(mapi_.Count("MAPILogonEx"), 1);
  EXPECT_EQ(mapi_.Live("folder"), 3);
}

// ---- What the message stores do not offer -------------------------------------------------------

TEST_F(MapiSession, DeletingCountingAndEnumeratingAreNotImplementedOnceTheSessionIsUp) {
  EXPECT_EQ(Code(MAPI_NotImplemented()), OSIF_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(mapi_.Live("session"), 1);
  EXPECT_EQ(Code(MAPI_NotImplemented()), OSIF_ERR_NOT_IMPLEMENTED);
}

TEST_F(MapiSession, DeletingCountingAndEnumeratingTellThatTheSessionCannotBeStarted) {
  mapi_.Fail("MAPILogonEx", kFailed);
  EXPECT_EQ(Code(MAPI_NotImplemented()), OSIF_ERR_PIM);
}

}  // namespace
}  // namespace mapi_session_test
