#include "BtOsif_pol/pol_stores.h"

#include <gtest/gtest.h>

namespace pol_stores_test {
namespace {

TEST(IdOfStore, IsANumberOf32BitsForItemsOfThePim) {
  for (int32_t store_id : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
    EXPECT_TRUE(pol_IsIdOfStore(store_id, "ffffffff"));
    EXPECT_FALSE(pol_IsIdOfStore(store_id, "100000000"));
    for (const char* text : {"", "xyz", " "}) EXPECT_FALSE(pol_IsIdOfStore(store_id, text)) << text;
  }
}

TEST(IdOfStore, IsANumberOfAnyLengthForMessages) {
  for (int32_t store_id : {OSIF_STORE_MSG_IN, OSIF_STORE_MSG_SENT, OSIF_STORE_MSG_OUT}) {
    EXPECT_TRUE(pol_IsIdOfStore(store_id, "00"));
    EXPECT_TRUE(pol_IsIdOfStore(store_id, "0000000012AB34CD56EF0000000000000000000000000001"));
    for (const char* text : {"", "xyz", " "}) EXPECT_FALSE(pol_IsIdOfStore(store_id, text)) << text;
  }
}

TEST(IdOfStore, IsAnyTextForNotes) {
  for (const char* text : {"Ideas", "2a", ""}) EXPECT_TRUE(pol_IsIdOfStore(OSIF_STORE_NOTE, text));
}

TEST(IdOfStore, IsNeverAbsent) {
  for (int32_t store_id = 0; store_id <= 6; ++store_id) {
    EXPECT_FALSE(pol_IsIdOfStore(store_id, nullptr));
  }
}

TEST(StoresInPim, AreContactsAndTheCalendar) {
  EXPECT_TRUE(pol_IsInPim(OSIF_STORE_PB));
  EXPECT_TRUE(pol_IsInPim(OSIF_STORE_CAL));
  for (int32_t store_id : {-1, 2, 3, 4, 5, 6}) EXPECT_FALSE(pol_IsInPim(store_id)) << store_id;
}

// A name missing in a row would be a call of nothing.
TEST(StoreRows, HaveEveryOperation) {
  for (int32_t store_id = -1; store_id <= 6; ++store_id) {
    const StoreOperations& store = pol_OperationsOf(store_id);
    EXPECT_TRUE(store.is_id && store.count && store.add && store.modify && store.remove &&
                store.get && store.find && store.first_id && store.next_id && store.name)
        << store_id;
  }
}

}  // namespace
}  // namespace pol_stores_test
