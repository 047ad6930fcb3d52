#include "btosif/osif_util/stores.h"

#include <gtest/gtest.h>

#include <climits>

namespace stores_test {
namespace {

constexpr int32_t kNoStores[] = {-1, 6, 7, 1000, INT_MAX, INT_MIN};

TEST(Stores, HaveTheNamesOfTheTable) {
  EXPECT_STREQ(StoreName(OSIF_STORE_PB), "pb");
  EXPECT_STREQ(StoreName(OSIF_STORE_CAL), "cal");
  EXPECT_STREQ(StoreName(OSIF_STORE_NOTE), "note");
  EXPECT_STREQ(StoreName(OSIF_STORE_MSG_IN), "msg-in");
  EXPECT_STREQ(StoreName(OSIF_STORE_MSG_SENT), "msg-sent");
  EXPECT_STREQ(StoreName(OSIF_STORE_MSG_OUT), "msg-out");
}

TEST(Stores, AreFoundByTheirNames) {
  for (int32_t store_id = OSIF_STORE_PB; store_id <= OSIF_STORE_MSG_OUT; ++store_id) {
    EXPECT_EQ(StoreOfName(StoreName(store_id)), store_id);
  }
  for (const char* name : {"", "PB", "pbx", "unknown", "msg"}) {
    EXPECT_EQ(StoreOfName(name), std::nullopt) << name;
  }
}

TEST(Stores, AreOfTheKindOfTheirObjects) {
  EXPECT_EQ(KindOfStore(OSIF_STORE_PB), StoreKind::kContacts);
  EXPECT_EQ(KindOfStore(OSIF_STORE_CAL), StoreKind::kCalendar);
  EXPECT_EQ(KindOfStore(OSIF_STORE_NOTE), StoreKind::kNotes);
  for (int32_t store_id : {OSIF_STORE_MSG_IN, OSIF_STORE_MSG_SENT, OSIF_STORE_MSG_OUT}) {
    EXPECT_EQ(KindOfStore(store_id), StoreKind::kMessages);
  }
}

TEST(Stores, EndAtTheirLastNumber) {
  EXPECT_TRUE(IsStore(OSIF_STORE_PB));
  EXPECT_TRUE(IsStore(OSIF_STORE_MSG_OUT));
  for (int32_t store_id : kNoStores) {
    EXPECT_FALSE(IsStore(store_id)) << store_id;
    EXPECT_EQ(KindOfStore(store_id), StoreKind::kUnknown) << store_id;
    EXPECT_STREQ(StoreName(store_id), "unknown") << store_id;
  }
}

TEST(Stores, FindTheirRowInATableByKind) {
  constexpr ByStoreKind<char> kTable = {'c', 'd', 'n', 'm', '?'};
  EXPECT_EQ(RowOfStore(kTable, OSIF_STORE_CAL), 'd');
  EXPECT_EQ(RowOfStore(kTable, OSIF_STORE_MSG_OUT), 'm');
  EXPECT_EQ(RowOfStore(kTable, 6), '?');
}

}  // namespace
}  // namespace stores_test
