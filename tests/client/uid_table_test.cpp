#include "client/uid_table.h"

#include <gtest/gtest.h>

#include "osif.h"
#include "tests/support/temp_folder.h"

namespace uid_table_test {
namespace {

using client::UidTable;

TEST(UidTable, KeepsAUidForLaterRuns) {
  const support::TempFolder folder;
  {
    UidTable table(folder.path());
    EXPECT_EQ(table.why_not(), "");
    EXPECT_TRUE(table.Keep(OSIF_STORE_PB, "80000001", "urn:uuid:ä'\"1"));
    EXPECT_TRUE(table.Keep(OSIF_STORE_CAL, "80000001", "another"));
  }
  UidTable table(folder.path());
  EXPECT_EQ(table.Find(OSIF_STORE_PB, "80000001"), "urn:uuid:ä'\"1");
  EXPECT_EQ(table.Find(OSIF_STORE_CAL, "80000001"), "another");
  EXPECT_EQ(table.Find(OSIF_STORE_PB, "80000002"), "");
}

TEST(UidTable, TakesTheLatestUidAndForgetsWithAnEmptyOne) {
  const support::TempFolder folder;
  UidTable table(folder.path());
  EXPECT_TRUE(table.Keep(OSIF_STORE_PB, "1", "first"));
  EXPECT_TRUE(table.Keep(OSIF_STORE_PB, "1", "second"));
  EXPECT_EQ(table.Find(OSIF_STORE_PB, "1"), "second");
  EXPECT_TRUE(table.Keep(OSIF_STORE_PB, "1", ""));
  EXPECT_EQ(table.Find(OSIF_STORE_PB, "1"), "");
}

TEST(UidTable, IsUsedByTwoAtATime) {
  const support::TempFolder folder;
  UidTable one(folder.path());
  UidTable other(folder.path());
  EXPECT_TRUE(one.Keep(OSIF_STORE_PB, "1", "a"));
  EXPECT_TRUE(other.Keep(OSIF_STORE_PB, "2", "b"));
  EXPECT_EQ(one.Find(OSIF_STORE_PB, "2"), "b");
}

TEST(UidTable, SaysWhyItCannotBeUsed) {
  UidTable table("/does/not/exist");
  EXPECT_EQ(table.why_not(), "/does/not/exist/uids.db: unable to open database file");
  EXPECT_FALSE(table.Keep(OSIF_STORE_PB, "1", "a"));
  EXPECT_EQ(table.Find(OSIF_STORE_PB, "1"), "");
}

}  // namespace
}  // namespace uid_table_test
