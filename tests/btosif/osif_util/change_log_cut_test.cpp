#include "btosif/osif_util/change_log_cut.h"

#include <gmock/gmock.h>

#include "btosif/osif_util/change_log_purge.h"
#include "tests/btosif/osif_util/change_log_fixture.h"

namespace change_log_cut_test {
namespace {

using support::AppendBytes;
using support::BytesOf;
using support::EntryLines;
using support::FileExists;
using support::PutBytes;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr int32_t kStore = OSIF_STORE_PB;

class CutLines : public support::ChangeLogFolderTest {
 protected:
  std::string CutPath() const { return Path("pol_pb_cut.log"); }
  // A log whose open marker stands is purged.
  void PurgeOpenLog(const std::string& bytes) {
    PutBytes(Path("pol_pb_open.log"), "");
    PutBytes(LogPath(), bytes);
    EXPECT_EQ(OSIF_CLPurge(kStore, Folder()), OsifResult{OSIF_OK});
  }
};

TEST_F(CutLines, AreKeptWhileTheLogIsMarkedAsOpen) {
  PurgeOpenLog(EntryLines(1, 300));
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(51, 300));
  EXPECT_EQ(BytesOf(CutPath()), EntryLines(1, 50));
}

TEST_F(CutLines, OfALogWithoutAMarkAreNotKept) {
  PutBytes(Path("pol_cal_open.log"), "");
  PutBytes(LogPath(), EntryLines(1, 300));
  EXPECT_EQ(OSIF_CLPurge(kStore, Folder()), OsifResult{OSIF_OK});
  EXPECT_FALSE(FileExists(CutPath()));
}

TEST_F(CutLines, OfSeveralPurgesFollowEachOther) {
  PurgeOpenLog(EntryLines(1, 252));
  AppendBytes(LogPath(), EntryLines(253, 255));
  EXPECT_EQ(OSIF_CLPurge(kStore, Folder()), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(CutPath()), EntryLines(1, 5));
}

TEST_F(CutLines, FollowNoHalfLine) {
  PutBytes(CutPath(), "M:1:t:a\nM:2:t");
  PurgeOpenLog(EntryLines(3, 253));
  EXPECT_EQ(BytesOf(CutPath()), "M:1:t:a\n" + EntryLines(3, 3));
}

TEST_F(CutLines, ThatCannotBeKeptStayInTheLog) {
  std::filesystem::create_directory(CutPath());
  PutBytes(Path("pol_pb_open.log"), "");
  PutBytes(LogPath(), EntryLines(1, 300));
  EXPECT_NE(OSIF_CLPurge(kStore, Folder()), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
}

TEST_F(CutLines, ForWhichTheDiskHasNoRoomStayInTheLog) {
  std::filesystem::create_symlink("/dev/full", CutPath());
  PutBytes(Path("pol_pb_open.log"), "");
  PutBytes(LogPath(), EntryLines(1, 300));
  EXPECT_NE(OSIF_CLPurge(kStore, Folder()), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
}

TEST_F(CutLines, GiveTheNewestKindOfEachObjectWhateverElseStandsAmongThem) {
  PutBytes(CutPath(), "M:1:t:a\ngarbage\nM:2:t:b\nH:3:t:a\n");
  EXPECT_THAT(ReadCutLines(kStore, Folder()),
              ElementsAre(Pair("a", uint32_t{'H'}), Pair("b", uint32_t{'M'})));
}

TEST_F(CutLines, ThatWereNeverKeptGiveNothing) {
  EXPECT_THAT(ReadCutLines(kStore, Folder()), IsEmpty());
  RemoveCutLines(kStore, Folder());
  EXPECT_FALSE(FileExists(CutPath()));
}

TEST_F(CutLines, AreGoneWhenTheyAreRemoved) {
  PutBytes(CutPath(), "M:1:t:a\n");
  RemoveCutLines(kStore, Folder());
  EXPECT_FALSE(FileExists(CutPath()));
}

}  // namespace
}  // namespace change_log_cut_test
