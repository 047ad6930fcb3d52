#include "BtOsif_pol/pol_walk.h"

#include "BtOsif_pol/pol_dispatch.h"
#include "tests/BtOsif_pol/contacts_on_device.h"
#include "tests/support/pol_fixture.h"

namespace pol_walk_test {
namespace {

using namespace support;

constexpr int32_t kNoStores[] = {-1, 6, 0x7fffffff};

// ---- On a fake PIM ----------------------------------------------------------------------------------

class PolWalk : public PolTest {
 protected:
  void KeepContacts(int count) {
    for (int i = 0; i < count; ++i) pim_.Keep({});
  }
  int First(int32_t store_id = OSIF_STORE_PB) { return Code(POL_GetFirstId(store_id, id_.text)); }
  int Next(int32_t store_id = OSIF_STORE_PB) { return Code(POL_GetNextId(store_id, id_.text)); }

  IdBuffer id_;
};

TEST_F(PolWalk, GivesEveryIdAndThenTheEnd) {
  pim_.next_oid = 0x1A;
  KeepContacts(3);
  Open();
  EXPECT_EQ(First(), OSIF_OK);
  EXPECT_STREQ(id_.text, "0000001a");
  EXPECT_EQ(Next(), OSIF_OK);
  EXPECT_STREQ(id_.text, "0000001b");
  EXPECT_EQ(Next(), OSIF_OK);
  EXPECT_STREQ(id_.text, "0000001c");
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
  EXPECT_EQ(pim_.folders_asked, std::vector<int>({10})) << "the folder is not asked for again";
}

TEST_F(PolWalk, TellsTheFolder) {
  KeepContacts(2);
  Open();
  First();
  Next();
  Next();
  EXPECT_EQ(Trace(), TraceLines({"OSIF:  pol_GetFirstIdFromFolder(olFolderType=10)",
                                 "OSIF:  pol_GetNextIdFromFolder(g_olFolderType=10)",
                                 "OSIF:  pol_GetNextIdFromFolder(g_olFolderType=10)"}));
}

TEST_F(PolWalk, OfAnEmptyStoreIsAtItsEnd) {
  Open();
  EXPECT_EQ(First(), OSIF_ERR_END_OF_STORE);
  EXPECT_STREQ(id_.text, "before");
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
}

TEST_F(PolWalk, ThatNobodyStartedIsAtItsEnd) {
  KeepContacts(2);
  Open();
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
}

TEST_F(PolWalk, NeedsASession) {
  for (int32_t store_id : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
    EXPECT_EQ(First(store_id), OSIF_ERR_PIM_NOT_OPENED);
    EXPECT_EQ(Next(store_id), OSIF_ERR_PIM_NOT_OPENED);
  }
  EXPECT_EQ(Trace(), TraceLines());
}

TEST_F(PolWalk, EndsWithTheSession) {
  KeepContacts(3);
  Open();
  ASSERT_EQ(First(), OSIF_OK);
  POL_Close();
  EXPECT_EQ(Next(), OSIF_ERR_PIM_NOT_OPENED);
  Open();
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
}

TEST_F(PolWalk, NeedsNoRoomForTheId) {
  KeepContacts(2);
  Open();
  EXPECT_EQ(Code(POL_GetFirstId(OSIF_STORE_PB, nullptr)), OSIF_OK);
  EXPECT_EQ(Next(), OSIF_OK);
  EXPECT_STREQ(id_.text, "00000002");
}

TEST_F(PolWalk, LeavesTheBufferAloneForAnIdentifierOfZero) {
  KeepContacts(2);
  Open();
  pim_.faults.gives_no_oid = true;
  EXPECT_EQ(First(), OSIF_OK);
  EXPECT_STREQ(id_.text, "before");
  EXPECT_EQ(Next(), OSIF_OK);
  EXPECT_STREQ(id_.text, "before");
}

TEST_F(PolWalk, DoesNotSeeAnItemThatWasAddedMeanwhile) {
  KeepContacts(1);
  Open();
  ASSERT_EQ(First(), OSIF_OK);
  KeepContacts(1);
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
}

TEST_F(PolWalk, GoesOnBehindAnItemThatWasRemovedMeanwhile) {
  KeepContacts(3);
  Open();
  ASSERT_EQ(First(), OSIF_OK);
  pim_.contacts.erase(2);
  id_ = IdBuffer("kept");
  EXPECT_EQ(Next(), OSIF_OK);
  EXPECT_STREQ(id_.text, "kept") << "the place is there, its item is not";
  EXPECT_EQ(Next(), OSIF_OK);
  EXPECT_STREQ(id_.text, "00000003");
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
}

TEST_F(PolWalk, DoesNotTestWhetherItsFirstItemCanBeTaken) {
  KeepContacts(2);
  Open();
  pim_.faults.item = E_FAIL;
  EXPECT_EQ(First(), OSIF_OK);
  EXPECT_STREQ(id_.text, "before");
  pim_.faults.item = S_OK;
  EXPECT_EQ(Next(), OSIF_OK);
  EXPECT_STREQ(id_.text, "00000002");
}

TEST_F(PolWalk, ContinuedWithAnotherStoreGoesOnInItsFolder) {
  KeepContacts(2);
  Open();
  ASSERT_EQ(First(OSIF_STORE_PB), OSIF_OK);
  EXPECT_EQ(Next(OSIF_STORE_CAL), OSIF_OK);
  EXPECT_STREQ(id_.text, "00000002");
  EXPECT_EQ(Next(OSIF_STORE_CAL), OSIF_ERR_END_OF_STORE)
      << "only a walk over the calendar goes on with the tasks";
}

TEST_F(PolWalk, StartedAgainBeginsAtTheFirstItemAndLetsGoOfTheOldCollection) {
  KeepContacts(2);
  Open();
  ASSERT_EQ(First(), OSIF_OK);
  const int held = pim_.live_objects;
  ASSERT_EQ(Next(), OSIF_OK);
  EXPECT_EQ(First(), OSIF_OK);
  EXPECT_STREQ(id_.text, "00000001");
  EXPECT_EQ(pim_.live_objects, held);
}

TEST_F(PolWalk, EndsWithTheFirstIdOfAnyOtherStore) {
  KeepContacts(3);
  Open();
  for (int32_t store_id : {OSIF_STORE_CAL, OSIF_STORE_NOTE, OSIF_STORE_MSG_IN, OSIF_STORE_MSG_SENT,
                           OSIF_STORE_MSG_OUT}) {
    ASSERT_EQ(First(OSIF_STORE_PB), OSIF_OK);
    const int held = pim_.live_objects;
    EXPECT_NE(First(store_id), OSIF_OK);
    EXPECT_EQ(Next(OSIF_STORE_PB), OSIF_ERR_END_OF_STORE) << store_id;
    if (store_id != OSIF_STORE_CAL) {
      EXPECT_LT(pim_.live_objects, held) << store_id;
    }
  }
}

TEST_F(PolWalk, GoesOnAfterARefusedStore) {
  KeepContacts(2);
  Open();
  for (int32_t store_id : kNoStores) {
    ASSERT_EQ(First(), OSIF_OK);
    ASSERT_EQ(First(store_id), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(Next(), OSIF_OK);
    EXPECT_STREQ(id_.text, "00000002");
  }
}

struct WalkFault {
  HRESULT PimFaults::*call;
  const char* message;
};

class PolWalkFault : public PolWalk, public testing::WithParamInterface<WalkFault> {};

TEST_P(PolWalkFault, IsToldAndEndsTheWalk) {
  KeepContacts(3);
  Open();
  ASSERT_EQ(First(), OSIF_OK);
  trace_.Lines();
  pim_.faults.*GetParam().call = E_ACCESSDENIED;
  id_ = IdBuffer("kept");
  EXPECT_EQ(First(), OSIF_ERR_PIM);
  EXPECT_EQ(Trace(),
            TraceLines({"OSIF:  pol_GetFirstIdFromFolder(olFolderType=10)", GetParam().message}));
  EXPECT_STREQ(id_.text, "kept");
  EXPECT_EQ(Next(), OSIF_ERR_END_OF_STORE);
}

INSTANTIATE_TEST_SUITE_P(
    AtEachCall, PolWalkFault,
    testing::Values(
        WalkFault{&PimFaults::get_default_folder,
                  "OSIF:  Error in IPOutlookApp::GetDefaultFolder (code=0x80070005)"},
        WalkFault{&PimFaults::get_items, "OSIF:  Error in IFolder::get_Items (code=0x80070005)"},
        WalkFault{&PimFaults::get_count,
                  "OSIF:  Error in IPOutlookItemCollection::get_Count (code=0x80070005)"}));

TEST_F(PolWalk, IsNotOfferedForNotes) {
  EXPECT_EQ(First(OSIF_STORE_NOTE), OSIF_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Next(OSIF_STORE_NOTE), OSIF_ERR_NOT_IMPLEMENTED);
}

TEST_F(PolWalk, RefusesUnknownStores) {
  Open();
  for (int32_t store_id : kNoStores) {
    EXPECT_EQ(First(store_id), OSIF_ERR_TYPE_NOT_SUPPORTED);
    EXPECT_EQ(Next(store_id), OSIF_ERR_TYPE_NOT_SUPPORTED);
  }
}

// ---- On the device's own PIM ------------------------------------------------------------------------

using PolWalkOnDevice = ContactsOnDevice;

TEST_F(PolWalkOnDevice, GoesPastAContactThatWasDeletedMeanwhile) {
  const std::string first = Add({"N:A"});
  const std::string second = Add({"N:B"});
  const std::string third = Add({"N:C"});
  IdBuffer id;
  ASSERT_EQ(Code(POL_GetFirstId(OSIF_STORE_PB, id.text)), OSIF_OK);
  EXPECT_EQ(id.text, first);
  ASSERT_EQ(Code(POL_DeleteObject(OSIF_STORE_PB, second.c_str(), nullptr)), OSIF_OK);
  EXPECT_EQ(Code(POL_GetNextId(OSIF_STORE_PB, id.text)), OSIF_OK);
  EXPECT_EQ(Code(POL_GetNextId(OSIF_STORE_PB, id.text)), OSIF_OK);
  EXPECT_EQ(id.text, third);
  EXPECT_EQ(Code(POL_GetNextId(OSIF_STORE_PB, id.text)), OSIF_ERR_END_OF_STORE);
}

}  // namespace
}  // namespace pol_walk_test
