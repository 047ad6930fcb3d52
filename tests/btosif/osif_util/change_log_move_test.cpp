#include "btosif/osif_util/change_log_move.h"

#include <gmock/gmock.h>

#include "tests/btosif/osif_util/change_log_fixture.h"

namespace change_log_move_test {
namespace {

using support::BytesOf;
using support::FileExists;
using support::PutBytes;

constexpr int32_t kStore = OSIF_STORE_PB;

class MovedLog : public support::ChangeLogFolderTest {
 protected:
  MovedLog() { std::filesystem::create_directory(Path("pb")); }
  WideText To() const { return Folder() + u"\\pb"; }
  void Move() { MoveChangeLog(kStore, Folder(), To()); }
};

const char* const kFiles[] = {"change",  "object",    "databaseid", "open",
                              "counter", "newobject", "cut"};

TEST_F(MovedLog, TakesAllThatBelongsToItAndNothingOfOthers) {
  for (const std::string file : kFiles) PutBytes(Path("pol_pb_" + file + ".log"), file);
  PutBytes(Path("pol_cal_change.log"), "of the calendar");
  EXPECT_TRUE(HasChangeLogToMove(kStore, Folder(), To()));
  Move();
  for (const std::string file : kFiles) {
    EXPECT_EQ(BytesOf(Path("pb/pol_pb_" + file + ".log")), file);
    EXPECT_FALSE(FileExists(Path("pol_pb_" + file + ".log")));
  }
  EXPECT_TRUE(FileExists(Path("pol_cal_change.log")));
  EXPECT_FALSE(HasChangeLogToMove(kStore, Folder(), To()));
}

TEST_F(MovedLog, TakesWhatAMoveThatEndedEarlyHasLeft) {
  PutBytes(Path("pb/pol_pb_object.log"), "moved");
  PutBytes(Path("pol_pb_databaseid.log"), "left");
  PutBytes(Path("pol_pb_change.log"), "left");
  Move();
  EXPECT_EQ(BytesOf(Path("pb/pol_pb_object.log")), "moved");
  EXPECT_EQ(BytesOf(Path("pb/pol_pb_databaseid.log")), "left");
  EXPECT_EQ(BytesOf(Path("pb/pol_pb_change.log")), "left");
}

TEST_F(MovedLog, StaysWhereTheOtherFolderHasOne) {
  for (const std::string folder : {"", "pb/"}) {
    PutBytes(Path(folder + "pol_pb_change.log"), folder);
  }
  PutBytes(Path("pol_pb_databaseid.log"), "old");
  EXPECT_FALSE(HasChangeLogToMove(kStore, Folder(), To()));
  Move();
  EXPECT_EQ(BytesOf(Path("pb/pol_pb_change.log")), "pb/");
  EXPECT_FALSE(FileExists(Path("pb/pol_pb_databaseid.log")));
}

TEST_F(MovedLog, IsTheOneOfAnInterruptedPurge) {
  PutBytes(Path("temp_change.log"), "the log");
  PutBytes(Path("pol_pb_purging.log"), "");
  EXPECT_TRUE(HasChangeLogToMove(kStore, Folder(), To()));
  Move();
  EXPECT_EQ(BytesOf(Path("pb/pol_pb_change.log")), "the log");
  EXPECT_FALSE(FileExists(Path("pb/pol_pb_purging.log")));
}

TEST_F(MovedLog, ThatIsNotThereIsNotMade) {
  EXPECT_FALSE(HasChangeLogToMove(kStore, Folder(), To()));
  Move();
  EXPECT_FALSE(FileExists(Path("pb/pol_pb_change.log")));
}

}  // namespace
}  // namespace change_log_move_test
