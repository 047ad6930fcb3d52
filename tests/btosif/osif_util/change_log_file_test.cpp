#include "btosif/osif_util/change_log_file.h"

#include <gmock/gmock.h>

#include "platform/posix/fault_injection.h"
#include "tests/btosif/osif_util/change_log_fixture.h"
#include "tests/support/full_disk.h"

namespace change_log_file_test {
namespace {

using support::AppendBytes;
using support::BytesOf;
using support::EntryLine;
using support::FileExists;
using support::LineOf;
using support::LinesOf;
using support::MakeAnchor;
using support::PutBytes;
using support::Wide;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr OsifResult kOk = OSIF_OK;
constexpr int32_t kStore = OSIF_STORE_PB;

class WrittenLog : public support::ChangeLogFolderTest {
 protected:
  void Open(std::string_view bytes) {
    PutBytes(LogPath(), bytes);
    EXPECT_EQ(log_.Open(kStore, Folder()), kOk);
  }
  std::string Next() {
    ChangeLogEntry entry;
    return log_.Read(&entry) == OSIF_OK ? LineOf(entry) : "none";
  }

  ChangeLogFile log_;
};

// ---- Opening and closing ----------------------------------------------------------------------------

TEST_F(WrittenLog, IsMadeWhenItIsOpened) {
  EXPECT_FALSE(log_.is_open());
  EXPECT_EQ(log_.Open(kStore, Folder()), kOk);
  EXPECT_TRUE(log_.is_open());
  EXPECT_EQ(log_.folder(), Folder());
  EXPECT_TRUE(FileExists(LogPath()));
  EXPECT_EQ(BytesOf(LogPath()), "");
}

TEST_F(WrittenLog, CannotBeOpenedInAFolderThatIsNotThere) {
  EXPECT_EQ(log_.Open(kStore, Wide(device_.Path("no such folder"))),
            OsifResult{OSIF_ERR_FILE_OPEN});
  EXPECT_FALSE(log_.is_open());
}

TEST_F(WrittenLog, KnowsNothingOfTheOneBeforeWhenItIsOpenedAgain) {
  Open("M:7:20050314T101500Z:a\n");
  log_.ReadOn();
  EXPECT_EQ(log_.newest().cc, 7u);
  EXPECT_EQ(log_.Open(OSIF_STORE_CAL, Folder()), kOk);
  EXPECT_EQ(log_.newest().cc, 0u);
  EXPECT_STREQ(log_.newest().ts, "");
  EXPECT_THAT(log_.ReadOn(), IsEmpty());
}

TEST_F(WrittenLog, IsClosedAndGoneWhenItIsRemoved) {
  Open("M:7:20050314T101500Z:a\n");
  log_.Remove();
  EXPECT_FALSE(log_.is_open());
  EXPECT_FALSE(FileExists(LogPath()));
}

// ---- Appending --------------------------------------------------------------------------------------

TEST_F(WrittenLog, GrowsByOneWholeLineForEachEntryWhileItIsOpen) {
  Open("M:1:20050314T101500Z:a\n");
  EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "20050314T101500Z")), kOk);
  EXPECT_EQ(log_.Append('H', "a", MakeAnchor(3, "20050314T101501Z")), kOk);
  EXPECT_EQ(BytesOf(LogPath()),
            "M:1:20050314T101500Z:a\nM:2:20050314T101500Z:b\nH:3:20050314T101501Z:a\n");
}

TEST_F(WrittenLog, EndsAnIdAtItsFirstLineBreak) {
  Open("");
  EXPECT_EQ(log_.Append('M', "a\nH:9:t:b", MakeAnchor(1, "t")), kOk);
  EXPECT_EQ(log_.Append('M', "c\rd", MakeAnchor(2, "t")), kOk);
  EXPECT_THAT(LinesOf(LogPath()), ElementsAre("M:1:t:a", "M:2:t:c"));
}

TEST_F(WrittenLog, HasIdsOf478CharactersAtMost) {
  Open("");
  EXPECT_EQ(log_.Append('M', std::string(478, 'i').c_str(), MakeAnchor(1, "t")), kOk);
  EXPECT_EQ(log_.Append('M', std::string(479, 'i').c_str(), MakeAnchor(2, "t")), kOk);
  EXPECT_THAT(LinesOf(LogPath()), ElementsAre(EntryLine('M', 1, std::string(478, 'i'), "t"),
                                              EntryLine('M', 2, std::string(478, 'i'), "t")));
}

TEST_F(WrittenLog, TellsWhenItCannotBeAppendedTo) {
  std::filesystem::create_symlink("/dev/full", LogPath());
  EXPECT_EQ(log_.Open(kStore, Folder()), kOk);
  EXPECT_EQ(log_.Append('M', "a", MakeAnchor(1, "t")), OsifResult{OSIF_ERR_GENERAL});
}

TEST_F(WrittenLog, EndsWithTheLastWholeEntryWhenTheDiskWasFullInTheMiddleOfOne) {
  Open("M:1:t:a\n");
  log_.ReadOn();
  EXPECT_EQ(log_.NextCounter(), 2u);
  for (rlim_t room = 8; room < 16; ++room) {
    {
      const support::FullDisk full(room);
      EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t")), OsifResult{OSIF_ERR_GENERAL}) << room;
    }
    EXPECT_EQ(BytesOf(LogPath()), "M:1:t:a\n") << room;
  }
  EXPECT_TRUE(log_.HasWholeLines());
  ChangeLogEntry entry;
  log_.GoTo(0);
  EXPECT_EQ(log_.Read(&entry), kOk);
  EXPECT_EQ(log_.Read(&entry), OsifResult{OSIF_ERR_EOF}) << "the failure is over";
  EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t")), kOk);
  log_.Close();
  EXPECT_EQ(BytesOf(LogPath()), "M:1:t:a\nM:2:t:b\n");
}

TEST_F(WrittenLog, TakesNoMoreEntriesAndGivesUpItsDatabaseIdWhenItCannotBeCutBack) {
  PutBytes(Path("pol_pb_databaseid.log"), "abcd1234\n");
  Open("M:1:t:a\n");
  FailSettingEnds(true);
  {
    const support::FullDisk full(12);
    EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t")), OsifResult{OSIF_ERR_GENERAL});
  }
  FailSettingEnds(false);
  EXPECT_EQ(BytesOf(LogPath()), "M:1:t:a\nM:2:");
  EXPECT_FALSE(log_.HasWholeLines());
  EXPECT_EQ(log_.NextCounter(), std::nullopt);
  EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t")), OsifResult{OSIF_ERR_GENERAL});
  EXPECT_EQ(BytesOf(LogPath()), "M:1:t:a\nM:2:");
  EXPECT_FALSE(FileExists(Path("pol_pb_databaseid.log")));
}

TEST_F(WrittenLog, DoesNotCountAsClosedInOrderWhenItCouldNotBeCutBack) {
  Open("M:1:t:a\n");
  log_.ReadOn();
  EXPECT_EQ(log_.NextCounter(), 2u);
  FailSettingEnds(true);
  {
    const support::FullDisk full(12);
    EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t")), OsifResult{OSIF_ERR_GENERAL});
  }
  FailSettingEnds(false);
  log_.Close();
  log_.Settle();
  KeptCounter counter;
  counter.Open(kStore, Folder());
  EXPECT_FALSE(counter.IsExactly(1));
  EXPECT_FALSE(counter.IsExactly(2));
}

// ---- The next counter -------------------------------------------------------------------------------

TEST_F(WrittenLog, GivesEachCounterOnceWhoeverUsedTheOneBefore) {
  Open("M:1:t:a\n");
  log_.ReadOn();
  EXPECT_EQ(log_.NextCounter(), 2u);
  EXPECT_EQ(log_.NextCounter(), 2u) << "it was not used";
  EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t")), kOk);
  EXPECT_EQ(log_.NextCounter(), 3u);
  AppendBytes(LogPath(), "M:7:t:c\n");
  log_.ReadOn();
  EXPECT_EQ(log_.NextCounter(), 8u);
  log_.Spend(8);
  EXPECT_EQ(log_.NextCounter(), 9u);
}

TEST_F(WrittenLog, HasNoNextCounterWhereNoneCanBeKept) {
  Open("M:1:t:a\n");
  std::filesystem::create_directory(Path("pol_pb_counter.log"));
  EXPECT_EQ(log_.NextCounter(), std::nullopt);
}

TEST_F(WrittenLog, HasLostItsEndWhenItIsShorterThanWhenItWasClosed) {
  Open("M:1:t:a\nM:2:t:b\n");
  EXPECT_FALSE(log_.HasLostItsEnd());
  log_.Close();
  log_.Settle();
  for (const char* bytes : {"", "M:1:t:a\n"}) {
    Open(bytes);
    log_.ReadOn();
    EXPECT_TRUE(log_.HasLostItsEnd()) << bytes;
  }
  log_.BeginCounting();
  EXPECT_FALSE(log_.HasLostItsEnd());
  Open("M:1:t:a\nM:2:t:b\n");
  log_.ReadOn();
  EXPECT_FALSE(log_.HasLostItsEnd());
}

TEST_F(WrittenLog, HasLostItsEndWhenACounterWasSpentAndNothingWasWrittenAfterIt) {
  Open("M:1:t:a\n");
  log_.ReadOn();
  log_.Spend(2);
  log_.Close();
  log_.Settle();
  Open("M:1:t:a\n");
  log_.ReadOn();
  EXPECT_TRUE(log_.HasLostItsEnd());
}

// ---- The newest entry -------------------------------------------------------------------------------

TEST_F(WrittenLog, GivesTheNewestKindOfEachObjectOnce) {
  Open("M:1:t:a\nM:2:t:b\nH:3:t2:a\n");
  EXPECT_THAT(log_.ReadOn(), ElementsAre(Pair("a", uint32_t{'H'}), Pair("b", uint32_t{'M'})));
  EXPECT_EQ(log_.newest().cc, 3u);
  EXPECT_STREQ(log_.newest().ts, "t2");
  EXPECT_THAT(log_.ReadOn(), IsEmpty());
  EXPECT_EQ(log_.newest().cc, 3u);
}

TEST_F(WrittenLog, TakesNoteOfWhatItAndAnotherProgramHaveAppended) {
  Open("M:1:t:a\n");
  log_.ReadOn();
  EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t2")), kOk);
  EXPECT_EQ(log_.newest().cc, 2u);
  EXPECT_STREQ(log_.newest().ts, "t2");
  AppendBytes(LogPath(), "H:3:t:c\n");
  // Its own entry need not be read.
  EXPECT_THAT(log_.ReadOn(), ElementsAre(Pair("c", uint32_t{'H'})));
  EXPECT_EQ(log_.newest().cc, 3u);
}

TEST_F(WrittenLog, ReadsItsOwnEntryWhereAnotherProgramHasAppendedBeforeIt) {
  Open("M:1:t:a\n");
  log_.ReadOn();
  AppendBytes(LogPath(), "H:7:t:c\n");
  EXPECT_EQ(log_.Append('M', "b", MakeAnchor(2, "t")), kOk);
  EXPECT_EQ(log_.newest().cc, 1u);
  EXPECT_THAT(log_.ReadOn(), ElementsAre(Pair("b", uint32_t{'M'}), Pair("c", uint32_t{'H'})));
  EXPECT_EQ(log_.newest().cc, 2u);
}

TEST_F(WrittenLog, ReadsItsOwnEntryOfAnIdThatALineDoesNotGiveBack) {
  Open("M:1:t:a\n");
  log_.ReadOn();
  EXPECT_EQ(log_.Append('M', "b:c", MakeAnchor(2, "t")), kOk);
  EXPECT_EQ(log_.newest().cc, 1u);
  EXPECT_THAT(log_.ReadOn(), ElementsAre(Pair("b", uint32_t{'M'})));
  EXPECT_EQ(log_.newest().cc, 2u);
}

TEST_F(WrittenLog, EndsForGoodAtALineThatIsNoEntry) {
  Open("M:1:t:a\ngarbage\nM:5:t:b\n");
  EXPECT_THAT(log_.ReadOn(), ElementsAre(Pair("a", uint32_t{'M'})));
  AppendBytes(LogPath(), "M:6:t:c\n");
  EXPECT_THAT(log_.ReadOn(), IsEmpty());
  EXPECT_EQ(log_.newest().cc, 1u);
}

// ---- Reading ----------------------------------------------------------------------------------------

TEST_F(WrittenLog, IsReadFromWhereItsReaderStoodWhateverHappenedMeanwhile) {
  Open("M:1:t:a\nM:2:t:b\n");
  EXPECT_EQ(Next(), "M:1:t:a");
  const int64_t position = log_.Position();
  EXPECT_EQ(position, 8);
  EXPECT_EQ(log_.Append('H', "a", MakeAnchor(3, "t")), kOk);
  log_.ReadOn();
  log_.GoTo(position);
  EXPECT_EQ(Next(), "M:2:t:b");
  EXPECT_EQ(Next(), "H:3:t:a");
  EXPECT_EQ(Next(), "none");
}

TEST_F(WrittenLog, HasNoEntryAtItsEnd) {
  Open("M:1:t:a\n");
  log_.GoToEnd();
  EXPECT_EQ(log_.Position(), 8);
  EXPECT_EQ(Next(), "none");
}

TEST_F(WrittenLog, KnowsThatAnAppendedEntryReplacesAnEarlierOne) {
  Open("M:1:t:a\n");
  EXPECT_EQ(Next(), "M:1:t:a");
  EXPECT_FALSE(log_.IsSuperseded());
  EXPECT_EQ(log_.Append('H', "a", MakeAnchor(2, "t")), kOk);
  log_.GoTo(0);
  EXPECT_EQ(Next(), "M:1:t:a");
  EXPECT_TRUE(log_.IsSuperseded());
  EXPECT_EQ(Next(), "H:2:t:a");
  EXPECT_FALSE(log_.IsSuperseded());
}

}  // namespace
}  // namespace change_log_file_test
