#include "btosif/osif_util/change_log_purge.h"

#include <gmock/gmock.h>

#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/stores.h"
#include "tests/btosif/osif_util/change_log_fixture.h"
#include "tests/support/trace_receiver.h"

namespace change_log_purge_test {
namespace {

using support::BytesOf;
using support::EntryLines;
using support::FileExists;
using support::Narrow;
using support::PutBytes;
using support::TraceReceiver;
using support::Wide;
using testing::ElementsAre;
using testing::IsEmpty;

class ChangeLogPurge : public support::ChangeLogFolderTest {
 protected:
  OsifResult Purge(int32_t store_id = OSIF_STORE_PB) { return OSIF_CLPurge(store_id, Folder()); }
};

class LogThatIsShortEnough : public ChangeLogPurge, public testing::WithParamInterface<int> {};

TEST_P(LogThatIsShortEnough, IsNotTouchedByThePurge) {
  TraceReceiver trace;
  PutBytes(LogPath(), EntryLines(1, GetParam()));
  const auto before = std::filesystem::last_write_time(LogPath());
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, GetParam()));
  EXPECT_EQ(std::filesystem::last_write_time(LogPath()), before);
  EXPECT_FALSE(FileExists(Path("temp_change.log")));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(UpTo250Lines, LogThatIsShortEnough, testing::Values(0, 1, 249, 250));

class LongLog : public ChangeLogPurge, public testing::WithParamInterface<int> {};

TEST_P(LongLog, KeepsItsNewest250LinesAndTheirCounters) {
  const int lines = GetParam();
  PutBytes(LogPath(), EntryLines(1, lines));
  TraceReceiver trace;
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(lines - 249, lines));
  EXPECT_FALSE(FileExists(Path("temp_change.log")));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  OSIF_CLPurge - Purged " + std::to_string(lines - 250) +
                          " entries from '" +
                          Narrow(LogFileName(0, Folder(), LogFileKind::kChange)) + "'"));
}

INSTANTIATE_TEST_SUITE_P(From251LinesOn, LongLog,
                         testing::Values(251, 252, 500, 501, 65536, 65537, 65786, 65787, 100000));

TEST_F(ChangeLogPurge, ThePurgeCountsALastLineWithoutALineEnd) {
  const std::string bytes = EntryLines(1, 251);
  PutBytes(LogPath(), bytes.substr(0, bytes.size() - 1));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(2, 251));
}

TEST_F(ChangeLogPurge, ThePurgeKeepsLinesThatAreNoEntriesAsTheyAre) {
  PutBytes(LogPath(), EntryLines(1, 100) + "garbage\n\nX:1\n" + EntryLines(101, 300));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(54, 100) + "garbage\n\nX:1\n" + EntryLines(101, 300));
}

TEST_F(ChangeLogPurge, ThePurgeTouchesNoOtherStoresLog) {
  PutBytes(LogPath(), EntryLines(1, 300));
  PutBytes(Path("pol_cal_change.log"), EntryLines(1, 400));
  PutBytes(Path("pol_pb_object.log"), "00000001:1\n");
  EXPECT_EQ(Purge(OSIF_STORE_CAL), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
  EXPECT_EQ(BytesOf(Path("pol_cal_change.log")), EntryLines(151, 400));
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "00000001:1\n");
}

TEST_F(ChangeLogPurge, ThePurgeLeavesNothingElseInTheFolder) {
  PutBytes(LogPath(), EntryLines(1, 300));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(Path(""))) {
    names.push_back(file.path().filename());
  }
  EXPECT_THAT(names, ElementsAre("pol_pb_change.log"));
}

TEST_F(ChangeLogPurge, ThePurgeReplacesAnOldTemporaryFile) {
  PutBytes(LogPath(), EntryLines(1, 251));
  PutBytes(Path("temp_change.log"), EntryLines(1, 1000));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(2, 251));
}

TEST_F(ChangeLogPurge, ThePurgeTakesAFolderWithAClosingBackslash) {
  PutBytes(LogPath(), EntryLines(1, 251));
  EXPECT_EQ(OSIF_CLPurge(OSIF_STORE_PB, Folder() + u"\\"), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(2, 251));
}

TEST_F(ChangeLogPurge, ThePurgeOfAMissingLogFails) {
  TraceReceiver trace;
  EXPECT_EQ(Purge(), 1u) << "the result of opening it";
  EXPECT_THAT(trace.Lines(),
              testing::ElementsAre(testing::StartsWith("OSIF:  Unable to open file '"),
                                   "OSIF:  OSIF_CLPurge - Error opening change log"));
  EXPECT_FALSE(FileExists(LogPath()));
}

TEST_F(ChangeLogPurge, TheLogStaysWhenTheTemporaryFileCannotBeOpened) {
  PutBytes(LogPath(), EntryLines(1, 300));
  std::filesystem::create_directory(Path("temp_change.log"));
  TraceReceiver trace;
  EXPECT_NE(Purge(), OsifResult{OSIF_OK});
  EXPECT_THAT(trace.Lines(),
              testing::ElementsAre(testing::StartsWith("OSIF:  Unable to open file '"),
                                   "OSIF:  OSIF_CLPurge - Error opening temp file"));
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
}

TEST_F(ChangeLogPurge, TheLogStaysWhenTheDiskIsFull) {
  PutBytes(LogPath(), EntryLines(1, 300));
  std::filesystem::create_symlink("/dev/full", Path("temp_change.log"));
  EXPECT_NE(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
}

// ---- A purge that was interrupted -------------------------------------------------------------------

TEST_F(ChangeLogPurge, APurgeThatEndedBeforeItsRenameIsFinished) {
  PutBytes(Path("temp_change.log"), EntryLines(51, 300));
  PutBytes(Path("pol_pb_purging.log"), "");
  FinishPurge(Folder());
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(51, 300));
  EXPECT_FALSE(FileExists(Path("temp_change.log")));
  EXPECT_FALSE(FileExists(Path("pol_pb_purging.log")));
}

TEST_F(ChangeLogPurge, APurgeIsFinishedForTheStoreThatItWasOf) {
  const char* stores[] = {"pb", "cal", "note", "msg-in", "msg-sent", "msg-out"};
  for (const std::string store : stores) {
    PutBytes(Path("temp_change.log"), EntryLines(51, 300));
    PutBytes(Path("pol_" + store + "_purging.log"), "");
    FinishPurge(Folder());
    EXPECT_EQ(BytesOf(Path("pol_" + store + "_change.log")), EntryLines(51, 300)) << store;
  }
}

TEST_F(ChangeLogPurge, APurgeThatEndedBeforeItRemovedTheLogLeavesTheLog) {
  PutBytes(LogPath(), EntryLines(1, 300));
  PutBytes(Path("temp_change.log"), EntryLines(51, 90));
  PutBytes(Path("pol_pb_purging.log"), "");
  FinishPurge(Folder());
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(51, 300));
}

TEST_F(ChangeLogPurge, ATemporaryFileThatIsNobodysBecomesNoLog) {
  PutBytes(Path("temp_change.log"), EntryLines(51, 300));
  FinishPurge(Folder());
  for (int32_t store_id = 0; store_id < 6; ++store_id) {
    EXPECT_FALSE(FileExists(Path(std::string("pol_") + StoreName(store_id) + "_change.log")));
  }
}

TEST_F(ChangeLogPurge, FinishingAPurgeInAFolderWithoutOneChangesNothing) {
  PutBytes(LogPath(), EntryLines(1, 3));
  FinishPurge(Folder());
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 3));
  FinishPurge(Wide(device_.Path("no such folder")));
  EXPECT_FALSE(FileExists(device_.Path("no such folder")));
}

}  // namespace
}  // namespace change_log_purge_test
