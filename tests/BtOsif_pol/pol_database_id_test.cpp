#include "BtOsif_pol/pol_database_id.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <set>

#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/trace_receiver.h"

namespace pol_database_id_test {
namespace {

using support::BytesOf;
using support::FileExists;
using support::kMailStore;
using support::PutBytes;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::MatchesRegex;

class DatabaseId : public support::ChangeLogTest {
 protected:
  DatabaseId() { EXPECT_EQ(Open(), OsifResult{OSIF_OK}); }

  std::string IdPath() const { return Path("pol_pb_databaseid.log"); }
  std::string Id(int32_t store_id = OSIF_STORE_PB) {
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(store_id, id), OsifResult{OSIF_OK});
    return id;
  }
};

TEST_F(DatabaseId, HasEightDigitsOrSmallLettersAndIsTheOnlyLineOfItsFile) {
  const std::string id = Id();
  EXPECT_THAT(id, MatchesRegex("[0-9a-z]+"));
  EXPECT_EQ(id.size(), 8u);
  EXPECT_EQ(BytesOf(IdPath()), id + "\n");
}

TEST_F(DatabaseId, StaysTheSameWhileItsFileIsThere) {
  const std::string id = Id();
  EXPECT_EQ(Id(), id);
  Close();
  Open();
  EXPECT_EQ(Id(), id);
}

TEST_F(DatabaseId, IsNewAfterItsFileWasDeleted) {
  std::set<std::string> ids;
  for (int i = 0; i < 5; ++i) {
    ids.insert(Id());
    std::filesystem::remove(IdPath());
  }
  EXPECT_EQ(ids.size(), 5u);
}

TEST_F(DatabaseId, BelongsToOneStore) {
  Open(kMailStore);
  EXPECT_NE(Id(), Id(kMailStore));
  EXPECT_TRUE(FileExists(Path("pol_msg-in_databaseid.log")));
}

TEST_F(DatabaseId, IsTheFirstLineOfItsFileWhateverItsLength) {
  PutBytes(IdPath(), "another program's id\nmore\n");
  EXPECT_EQ(Id(), "another program's id");
  PutBytes(IdPath(), "abcd1234\r\n");
  EXPECT_EQ(Id(), "abcd1234");
  PutBytes(IdPath(), std::string(600, 'i') + "\n");
  EXPECT_EQ(Id(), std::string(511, 'i'));
}

TEST_F(DatabaseId, IsNotKnownWhileTheLogIsClosed) {
  TraceReceiver trace;
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_CAL, id), OsifResult{OSIF_ERR_GENERAL});
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  POL_CL_GetDatabaseId"));
  EXPECT_STREQ(id, "");
}

TEST_F(DatabaseId, ThatCannotBeReadIsToldInTheTrace) {
  PutBytes(IdPath(), "");
  TraceReceiver trace;
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), 1u);
  EXPECT_THAT(
      trace.Lines(),
      ElementsAre("OSIF:  POL_CL_GetDatabaseId",
                  "OSIF:  POL_GetDatabaseId - Couldn't read id from Database ID Log file."));
}

TEST_F(DatabaseId, FailsWhenItsFileCannotBeMade) {
  std::filesystem::remove_all(device_.Path("Sync"));
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), 1u);
  std::filesystem::create_directory(device_.Path("Sync"));
}

}  // namespace
}  // namespace pol_database_id_test
