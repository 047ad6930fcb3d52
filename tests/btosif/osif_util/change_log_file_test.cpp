#include "btosif/osif_util/change_log_file.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>
#include <random>
#include <tuple>

#include "btosif/osif_util/stores.h"
#include "tests/support/change_logs.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace {

using support::BytesOf;
using support::EntryLine;
using support::EntryLines;
using support::FileExists;
using support::JoinedLines;
using support::LineOf;
using support::LinesOf;
using support::MakeEntry;
using support::Narrow;
using support::PutBytes;
using support::TraceReceiver;
using support::Wide;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

// A device with an empty folder for change logs.
class ChangeLogFile : public support::TextTest {
 protected:
  ChangeLogFile() { std::filesystem::create_directory(Path("")); }

  std::string Path(const std::string& name) const { return device_.Path("Sync/" + name); }
  std::string LogPath() const { return Path("pol_pb_change.log"); }
  WideText Folder() const { return Wide(device_.Path("Sync")); }

  // A stream over a log of these bytes, as the change logs are opened.
  OsifStream OpenLog(std::string_view bytes = {}) {
    PutBytes(LogPath(), bytes);
    return support::Open(LogPath(), u"a+");
  }

  // The first entry of a log of these bytes.
  OsifResult Read(std::string_view bytes, ChangeLogEntry& entry) {
    OsifStream log = OpenLog(bytes);
    FILE_Rewind(log);
    return OSIF_ReadClEntry(&log, &entry);
  }
  OsifResult Read(std::string_view bytes) {
    ChangeLogEntry entry;
    return Read(bytes, entry);
  }
  ChangeLogEntry Entry(std::string_view bytes) {
    ChangeLogEntry entry;
    EXPECT_EQ(Read(bytes, entry), OsifResult{OSIF_OK}) << bytes;
    return entry;
  }

  // The results of reading a log of these bytes until its end.
  std::vector<OsifResult> ReadAll(std::string_view bytes) {
    OsifStream log = OpenLog(bytes);
    FILE_Rewind(log);
    std::vector<OsifResult> results;
    ChangeLogEntry entry;
    do {
      results.push_back(OSIF_ReadClEntry(&log, &entry));
    } while (results.back() != OSIF_ERR_EOF && results.size() < 100);
    return results;
  }

  // For each line of the log that is an entry, whether a later one supersedes it.
  std::vector<bool> Superseded(std::string_view bytes) {
    OsifStream log = OpenLog(bytes);
    FILE_Rewind(log);
    std::vector<bool> superseded;
    SupersededLines lines;
    ChangeLogEntry entry;
    for (;;) {
      const OsifResult result = OSIF_ReadClEntry(&log, &entry);
      if (result == OSIF_ERR_EOF) return superseded;
      if (result == OSIF_OK) superseded.push_back(OSIF_ClEntryIsSuperseded(log, lines));
    }
  }

  OsifResult Purge(int32_t store_id = OSIF_STORE_PB) { return OSIF_CLPurge(store_id, Folder()); }
};

// ---- Names ------------------------------------------------------------------------------------------

TEST(LogFileName, IsMadeOfFolderStoreAndKind) {
  EXPECT_EQ(LogFileName(0, u"\\Sync\\", "change"), u"\\Sync\\pol_pb_change.log");
  EXPECT_EQ(LogFileName(1, u"\\Sync\\", "object"), u"\\Sync\\pol_cal_object.log");
  EXPECT_EQ(LogFileName(4, u"\\Sync\\", "databaseid"), u"\\Sync\\pol_msg-sent_databaseid.log");
  EXPECT_EQ(LogFileName(9, u"\\Sync\\", "change"), u"\\Sync\\pol_unknown_change.log");
}

TEST(LogFileName, HasABackslashAddedWhereTheFolderDoesNotEndInOne) {
  EXPECT_EQ(LogFileName(0, u"\\Sync", "change"), u"\\Sync\\pol_pb_change.log");
  EXPECT_EQ(LogFileName(0, u"/home/ann/Sync", "change"), u"/home/ann/Sync\\pol_pb_change.log");
}

TEST(LogFileName, OfAnEmptyFolderIsTheBareFileName) {
  EXPECT_EQ(LogFileName(3, u"", "change"), u"pol_msg-in_change.log");
}

TEST(LogFileName, Takes260CharactersOfTheFolderAndNoMore) {
  for (size_t length : {259u, 260u, 261u, 5000u}) {
    const WideText folder(length, u'd');
    EXPECT_EQ(LogFileName(0, folder, "change"),
              WideText(std::min<size_t>(length, 260), u'd') + u"\\pol_pb_change.log")
        << length;
  }
}

// ---- Writing an entry -------------------------------------------------------------------------------

TEST_F(ChangeLogFile, WritesAnEntryAsOneLineThatEndsInALineFeed) {
  OsifStream log = OpenLog();
  const ChangeLogEntry entry = MakeEntry('M', 17, "0001a2f4", "20050314T101500Z");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), "M:17:20050314T101500Z:0001a2f4\n");
}

TEST_F(ChangeLogFile, HandsAnEntryToTheSystemAtOnceSoThatItOutlivesTheProcess) {
  OsifStream log = OpenLog();
  for (int i = 1; i <= 3; ++i) {
    const ChangeLogEntry entry = MakeEntry('H', i, "a");
    OSIF_WriteClEntry(&log, &entry);
    EXPECT_EQ(LinesOf(LogPath()).size(), static_cast<size_t>(i)) << "the log is still open";
  }
}

TEST_F(ChangeLogFile, AppendsAtTheEndWhereverTheLogWasBeingRead) {
  OsifStream log = OpenLog("M:1:20050314T101500Z:a\nM:2:20050314T101500Z:b\n");
  FILE_Rewind(log);
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  entry = MakeEntry('H', 3, "c");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_THAT(LinesOf(LogPath()), ElementsAre("M:1:20050314T101500Z:a", "M:2:20050314T101500Z:b",
                                              "H:3:20050314T101500Z:c"));
}

TEST_F(ChangeLogFile, SeeksToTheEndAlsoInAModeThatDoesNotAppend) {
  PutBytes(LogPath(), "M:1:20050314T101500Z:a\n");
  OsifStream log = support::Open(LogPath(), u"r+");
  const ChangeLogEntry entry = MakeEntry('H', 2, "b");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_THAT(LinesOf(LogPath()), ElementsAre("M:1:20050314T101500Z:a", "H:2:20050314T101500Z:b"));
}

TEST_F(ChangeLogFile, WritesTheCounterAsASignedNumber) {
  OsifStream log = OpenLog();
  for (int32_t counter : {0, -1, INT32_MAX, INT32_MIN}) {
    const ChangeLogEntry entry = MakeEntry('M', counter, "a", "t");
    OSIF_WriteClEntry(&log, &entry);
  }
  EXPECT_THAT(LinesOf(LogPath()),
              ElementsAre("M:0:t:a", "M:-1:t:a", "M:2147483647:t:a", "M:-2147483648:t:a"));
}

TEST_F(ChangeLogFile, WritesAnIdOf512CharactersWhole) {
  OsifStream log = OpenLog();
  const ChangeLogEntry entry = MakeEntry('M', 1, std::string(512, 'f'), "t");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), "M:1:t:" + std::string(512, 'f') + "\n");
}

TEST_F(ChangeLogFile, TellsWhenAnEntryCannotBeWritten) {
  const ChangeLogEntry entry = MakeEntry('M', 1, "a");
  PutBytes(LogPath(), "");
  OsifStream read_only = support::Open(LogPath(), u"r");
  EXPECT_EQ(OSIF_WriteClEntry(&read_only, &entry), OsifResult{OSIF_ERR_GENERAL});
  OsifStream full_disk = support::Open("/dev/full", u"a+");
  EXPECT_EQ(OSIF_WriteClEntry(&full_disk, &entry), OsifResult{OSIF_ERR_GENERAL});
}

TEST_F(ChangeLogFile, AssertsThatBothALogAndAnEntryAreGivenToWrite) {
  TraceReceiver trace;
  OsifStream log = OpenLog();
  const ChangeLogEntry entry = MakeEntry('M', 1, "a");
  OSIF_WriteClEntry(nullptr, &entry);
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex("ASSERT at .* line [0-9]+\n")));
  OSIF_WriteClEntry(&log, nullptr);
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex("ASSERT at .* line [0-9]+\n")));
  EXPECT_EQ(BytesOf(LogPath()), "");
}

// ---- Reading an entry -------------------------------------------------------------------------------

TEST_F(ChangeLogFile, ReadsTheFourFieldsOfALine) {
  const ChangeLogEntry entry = Entry("H:17:20050314T101500Z:0001a2f4\n");
  EXPECT_EQ(entry.kind, static_cast<uint32_t>('H'));
  EXPECT_EQ(entry.changeCounter, 17);
  EXPECT_STREQ(entry.timestamp, "20050314T101500Z");
  EXPECT_STREQ(entry.objectId, "0001a2f4");
}

TEST_F(ChangeLogFile, ReadsALineWithCrLfAsOneWithLf) {
  EXPECT_EQ(LineOf(Entry("M:5:20050101T000000Z:00000001\r\n")), "M:5:20050101T000000Z:00000001");
}

TEST_F(ChangeLogFile, ReadsTheLastLineAlsoWithoutItsLineEnd) {
  EXPECT_EQ(LineOf(Entry("M:5:20050101T000000Z:00000001")), "M:5:20050101T000000Z:00000001");
}

TEST_F(ChangeLogFile, TakesTheKindsMHAndDAndNoOther) {
  for (char kind : {'M', 'H', 'D'}) {
    EXPECT_EQ(Entry(EntryLine(kind, 5, "00000001") + "\n").kind, static_cast<uint32_t>(kind));
  }
  for (char kind : {'X', 'm', 'h', 'd', 'A', ' ', '0'}) {
    EXPECT_EQ(Read(EntryLine(kind, 5, "00000001") + "\n"), OsifResult{OSIF_PARSE_ERROR}) << kind;
  }
  EXPECT_EQ(Read("X:5:20050101T000000Z:00000001\n"), OsifResult{OSIF_PARSE_ERROR});
}

TEST_F(ChangeLogFile, TakesTheFirstCharacterOfTheFirstFieldAsTheKind) {
  EXPECT_EQ(LineOf(Entry("Modified:5:t:a\n")), "M:5:t:a");
  EXPECT_EQ(Read(":5:t:a\n"), OsifResult{OSIF_PARSE_ERROR});
}

struct CounterRow {
  const char* field;
  int32_t counter;
};
class ChangeCounter : public ChangeLogFile, public testing::WithParamInterface<CounterRow> {};

TEST_P(ChangeCounter, IsReadWithoutACheckOfItsDigitsAndHeldAt32Bits) {
  EXPECT_EQ(Entry(std::string("M:") + GetParam().field + ":t:a\n").changeCounter,
            GetParam().counter);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, ChangeCounter,
    testing::Values(CounterRow{"1", 1}, CounterRow{"0000000017", 17},
                    CounterRow{"1234567890", 1234567890}, CounterRow{"-999999999", -999999999},
                    CounterRow{"+12", 12}, CounterRow{" 12", 12}, CounterRow{"12x", 12},
                    CounterRow{"x12", 0}, CounterRow{"", 0}, CounterRow{"-", 0},
                    CounterRow{"2147483646", 2147483646}, CounterRow{"2147483647", 2147483647},
                    CounterRow{"2147483648", 2147483647}, CounterRow{"4294967295", 2147483647},
                    CounterRow{"4294967296", 2147483647}, CounterRow{"9999999999", 2147483647}));

TEST_F(ChangeLogFile, TakesACounterOf10CharactersAndRefusesOneOf11) {
  EXPECT_EQ(Entry("M:0000000123:t:a\n").changeCounter, 123);
  ChangeLogEntry entry;
  EXPECT_EQ(Read("M:00000000123:t:a\n", entry), OsifResult{OSIF_PARSE_ERROR});
  EXPECT_EQ(entry.kind, static_cast<uint32_t>('M')) << "what came before is kept";
  EXPECT_STREQ(entry.objectId, "");
}

TEST_F(ChangeLogFile, TakesATimeStampOf18CharactersAndRefusesOneOf19) {
  const std::string stamp(18, '9');
  EXPECT_EQ(Entry("M:7:" + stamp + ":a\n").timestamp, stamp);
  ChangeLogEntry entry;
  EXPECT_EQ(Read("M:7:" + stamp + "9:a\n", entry), OsifResult{OSIF_PARSE_ERROR});
  EXPECT_EQ(entry.changeCounter, 7) << "what came before is kept";
  EXPECT_STREQ(entry.objectId, "");
}

TEST_F(ChangeLogFile, TakesAnEmptyTimeStampAndAnEmptyId) {
  EXPECT_EQ(LineOf(Entry("M:7::a\n")), "M:7::a");
  EXPECT_EQ(LineOf(Entry("M:7:t:\n")), "M:7:t:");
}

TEST_F(ChangeLogFile, EndsTheIdAtTheNextColon) {
  EXPECT_STREQ(Entry("M:7:t:ab:cd:ef\n").objectId, "ab");
}

TEST_F(ChangeLogFile, TurnsTheEscapesOfSemicolonAndBackslash) {
  EXPECT_STREQ(Entry("M:7:t:a\\;b\\\\c\n").objectId, "a;b\\c");
  EXPECT_STREQ(Entry("M:7:t:a\\nb\n").objectId, "a\\nb") << "no other character is escaped";
}

TEST_F(ChangeLogFile, RefusesALineWithFewerThanFourFields) {
  for (const char* line :
       {"\n", "M\n", "M:1\n", "M:1:t\n", "M:1:20050101T000000Z\n", "\r\n", "garbage"}) {
    EXPECT_EQ(Read(line), OsifResult{OSIF_PARSE_ERROR}) << line;
  }
}

TEST_F(ChangeLogFile, EndsALineAtItsFirstZeroByte) {
  EXPECT_EQ(Read(std::string_view("M:1:t\0:a\n", 9)), OsifResult{OSIF_PARSE_ERROR});
  EXPECT_STREQ(Entry(std::string_view("M:1:t:ab\0cd\n", 12)).objectId, "ab");
}

TEST_F(ChangeLogFile, ClearsTheEntryBeforeItReads) {
  ChangeLogEntry entry;
  std::memset(&entry, 'x', sizeof entry);
  EXPECT_EQ(Read("M:1:t:a\n", entry), OsifResult{OSIF_OK});
  const ChangeLogEntry expected = MakeEntry('M', 1, "a", "t");
  EXPECT_EQ(std::memcmp(entry.objectId, expected.objectId, sizeof entry.objectId), 0);
  EXPECT_EQ(std::memcmp(entry.timestamp, expected.timestamp, sizeof entry.timestamp), 0);
  std::memset(&entry, 'x', sizeof entry);
  EXPECT_EQ(Read("", entry), OsifResult{OSIF_ERR_EOF});
  EXPECT_EQ(entry.kind, 0u);
  EXPECT_EQ(entry.changeCounter, 0);
  EXPECT_STREQ(entry.timestamp, "");
  EXPECT_STREQ(entry.objectId, "");
}

TEST_F(ChangeLogFile, TellsTheEndOfTheFileWithoutAWordInTheTrace) {
  TraceReceiver trace;
  EXPECT_THAT(ReadAll("M:1:t:a\nM:2:t:b\n"), ElementsAre(OSIF_OK, OSIF_OK, OSIF_ERR_EOF));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(ChangeLogFile, TellsALogThatCannotBeRead) {
  TraceReceiver trace;
  OsifStream log = support::Open(LogPath(), u"w");
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_ERR_GENERAL});
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  OSIF_ReadClEntry - error reading Change Log file"));
}

// A line of this many characters, its line end not counted.
std::string LineOfLength(size_t length) { return "M:1:t:" + std::string(length - 6, 'f') + "\n"; }

TEST_F(ChangeLogFile, ReadsALineOf510CharactersWhole) {
  EXPECT_EQ(Entry(LineOfLength(510)).objectId, std::string(504, 'f'));
  EXPECT_THAT(ReadAll(LineOfLength(510)), ElementsAre(OSIF_OK, OSIF_ERR_EOF));
}

TEST_F(ChangeLogFile, ReadsAnEmptyLineBehindALineOf511Characters) {
  EXPECT_EQ(Entry(LineOfLength(511)).objectId, std::string(505, 'f'));
  EXPECT_THAT(ReadAll(LineOfLength(511)), ElementsAre(OSIF_OK, OSIF_PARSE_ERROR, OSIF_ERR_EOF));
}

TEST_F(ChangeLogFile, ReadsTheRestOfALineOf512CharactersAsALineOfItsOwn) {
  EXPECT_EQ(Entry(LineOfLength(512)).objectId, std::string(505, 'f'));
  EXPECT_THAT(ReadAll(LineOfLength(512)), ElementsAre(OSIF_OK, OSIF_PARSE_ERROR, OSIF_ERR_EOF));
}

TEST_F(ChangeLogFile, ReadsIdsThatNoLineHasRoomForInBoundedPieces) {
  for (size_t length : {512u, 513u, 600u}) {
    const std::string line = "M:1:t:" + std::string(length, 'f') + "\n";
    EXPECT_EQ(Entry(line).objectId, std::string(505, 'f')) << length;
    EXPECT_THAT(ReadAll(line), ElementsAre(OSIF_OK, OSIF_PARSE_ERROR, OSIF_ERR_EOF)) << length;
  }
}

TEST_F(ChangeLogFile, ReadsALineOfAMegabyteInPiecesThatAreNoEntries) {
  OsifStream log = OpenLog("M:1:t:" + std::string(1 << 20, 'f') + "\nM:2:t:b\n");
  FILE_Rewind(log);
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  // 1048582 characters are 2052 pieces of 511 and one of 10.
  for (int piece = 2; piece <= 2053; ++piece) {
    ASSERT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_PARSE_ERROR}) << piece;
  }
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(LineOf(entry), "M:2:t:b");
}

TEST_F(ChangeLogFile, ReadsBackWhatItWrote) {
  OsifStream log = OpenLog();
  for (char kind : {'M', 'H', 'D'}) {
    const ChangeLogEntry written = MakeEntry(kind, 2147483647, "0001a2f4", "20050314T101500Z");
    EXPECT_EQ(OSIF_WriteClEntry(&log, &written), OsifResult{OSIF_OK});
  }
  FILE_Rewind(log);
  for (char kind : {'M', 'H', 'D'}) {
    ChangeLogEntry entry;
    EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
    EXPECT_EQ(LineOf(entry), EntryLine(kind, 2147483647, "0001a2f4"));
  }
}

// ---- Superseded entries -----------------------------------------------------------------------------

TEST_F(ChangeLogFile, AnEntryIsSupersededByALaterLineOfItsObject) {
  EXPECT_THAT(Superseded("M:1:t:a\nM:2:t:b\nM:3:t:a\n"), ElementsAre(true, false, false));
}

TEST_F(ChangeLogFile, AnEntryIsSupersededWhateverTheLaterKind) {
  EXPECT_THAT(Superseded("M:1:t:a\nH:2:t:a\n"), ElementsAre(true, false));
  EXPECT_THAT(Superseded("H:1:t:a\nM:2:t:a\n"), ElementsAre(true, false));
  EXPECT_THAT(Superseded("H:1:t:a\nD:2:t:a\n"), ElementsAre(true, false));
}

TEST_F(ChangeLogFile, IdsAreComparedExactlyAndByCase) {
  EXPECT_THAT(Superseded("M:1:t:0a\nM:2:t:0A\nM:3:t:0a \nM:4:t:a\n"),
              ElementsAre(false, false, false, false));
}

TEST_F(ChangeLogFile, ALineThatIsNoEntryEndsWhatCountsAsLater) {
  EXPECT_THAT(Superseded("M:1:t:a\nM:2:t:b\nM:3:t:a\ngarbage\nM:4:t:b\n"),
              ElementsAre(true, false, false, false));
}

TEST_F(ChangeLogFile, TheTestLeavesThePositionOfTheLogAsItWas) {
  OsifStream log = OpenLog("M:1:t:a\nM:2:t:b\nM:3:t:a\n");
  FILE_Rewind(log);
  SupersededLines lines;
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_TRUE(OSIF_ClEntryIsSuperseded(log, lines));
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(LineOf(entry), "M:2:t:b");
  EXPECT_FALSE(OSIF_ClEntryIsSuperseded(log, lines));
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(LineOf(entry), "M:3:t:a");
}

TEST_F(ChangeLogFile, AnEntryThatWasAppendedLaterSupersedesToo) {
  OsifStream log = OpenLog("M:1:t:a\n");
  FILE_Rewind(log);
  SupersededLines lines;
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_FALSE(OSIF_ClEntryIsSuperseded(log, lines));

  const ChangeLogEntry later = MakeEntry('H', 2, "a", "t");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &later), OsifResult{OSIF_OK});
  lines.LogHasGrown();
  FILE_Rewind(log);
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_TRUE(OSIF_ClEntryIsSuperseded(log, lines));
}

// What the test says of each entry when it is asked the long way: by reading on to the first line that
// names the same object or is none.
std::vector<bool> SupersededTheLongWay(const std::vector<std::string>& lines) {
  std::vector<bool> superseded;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i][0] != 'M') continue;
    size_t later = i + 1;
    while (later < lines.size() && lines[later][0] == 'M' &&
           lines[later].substr(lines[later].rfind(':')) != lines[i].substr(lines[i].rfind(':'))) {
      ++later;
    }
    superseded.push_back(later < lines.size() && lines[later][0] == 'M');
  }
  return superseded;
}

TEST_F(ChangeLogFile, TheTestAnswersForEveryLogAsReadingOnDoes) {
  std::mt19937 random(20050314);
  for (int round = 0; round < 300; ++round) {
    const int objects = 1 + static_cast<int>(random() % 8);
    const int garbage_in = 1 + static_cast<int>(random() % 30);
    std::vector<std::string> lines;
    for (auto i = static_cast<int>(random() % 40); i > 0; --i) {
      const bool is_garbage = random() % garbage_in == 0;
      lines.push_back(is_garbage ? "X:no entry"
                                 : EntryLine('M', i, "id" + std::to_string(random() % objects)));
    }
    ASSERT_EQ(Superseded(JoinedLines(lines)), SupersededTheLongWay(lines)) << JoinedLines(lines);
  }
}

TEST_F(ChangeLogFile, AHundredThousandLinesAreTestedInOneGo) {
  std::string bytes = EntryLines(1, 50000);
  bytes += EntryLines(25001, 75000);  // 25,001 to 50,000 once more
  const std::vector<bool> superseded = Superseded(bytes);
  ASSERT_EQ(superseded.size(), 100000u);
  EXPECT_EQ(std::count(superseded.begin(), superseded.end(), true), 25000);
  EXPECT_FALSE(superseded[24999]);
  EXPECT_TRUE(superseded[25000]);
}

// ---- Purging ----------------------------------------------------------------------------------------

class LogThatIsShortEnough : public ChangeLogFile, public testing::WithParamInterface<int> {};

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

class LongLog : public ChangeLogFile, public testing::WithParamInterface<int> {};

TEST_P(LongLog, KeepsItsNewest250LinesAndTheirCounters) {
  const int lines = GetParam();
  PutBytes(LogPath(), EntryLines(1, lines));
  TraceReceiver trace;
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(lines - 249, lines));
  EXPECT_FALSE(FileExists(Path("temp_change.log")));
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  OSIF_CLPurge - Purged " + std::to_string(lines - 250) +
                          " entries from '" + Narrow(LogFileName(0, Folder(), "change")) + "'"));
}

INSTANTIATE_TEST_SUITE_P(From251LinesOn, LongLog,
                         testing::Values(251, 252, 500, 501, 65536, 65537, 65786, 65787, 100000));

TEST_F(ChangeLogFile, ThePurgeCountsALastLineWithoutALineEnd) {
  const std::string bytes = EntryLines(1, 251);
  PutBytes(LogPath(), bytes.substr(0, bytes.size() - 1));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(2, 251));
}

TEST_F(ChangeLogFile, ThePurgeKeepsLinesThatAreNoEntriesAsTheyAre) {
  PutBytes(LogPath(), EntryLines(1, 100) + "garbage\n\nX:1\n" + EntryLines(101, 300));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(54, 100) + "garbage\n\nX:1\n" + EntryLines(101, 300));
}

TEST_F(ChangeLogFile, ThePurgeTouchesNoOtherStoresLog) {
  PutBytes(LogPath(), EntryLines(1, 300));
  PutBytes(Path("pol_cal_change.log"), EntryLines(1, 400));
  PutBytes(Path("pol_pb_object.log"), "00000001:1\n");
  EXPECT_EQ(Purge(OSIF_STORE_CAL), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
  EXPECT_EQ(BytesOf(Path("pol_cal_change.log")), EntryLines(151, 400));
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "00000001:1\n");
}

TEST_F(ChangeLogFile, ThePurgeLeavesNothingElseInTheFolder) {
  PutBytes(LogPath(), EntryLines(1, 300));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(Path("")))
    names.push_back(file.path().filename());
  EXPECT_THAT(names, ElementsAre("pol_pb_change.log"));
}

TEST_F(ChangeLogFile, ThePurgeReplacesAnOldTemporaryFile) {
  PutBytes(LogPath(), EntryLines(1, 251));
  PutBytes(Path("temp_change.log"), EntryLines(1, 1000));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(2, 251));
}

TEST_F(ChangeLogFile, ThePurgeTakesAFolderWithAClosingBackslash) {
  PutBytes(LogPath(), EntryLines(1, 251));
  EXPECT_EQ(OSIF_CLPurge(OSIF_STORE_PB, Folder() + u"\\"), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(2, 251));
}

TEST_F(ChangeLogFile, ThePurgeOfAMissingLogFails) {
  TraceReceiver trace;
  EXPECT_EQ(Purge(), 1u) << "the result of opening it";
  EXPECT_THAT(trace.Lines(), testing::Contains("OSIF:  OSIF_CLPurge - Error opening change log"));
  EXPECT_FALSE(FileExists(LogPath()));
}

TEST_F(ChangeLogFile, TheLogStaysWhenTheTemporaryFileCannotBeOpened) {
  PutBytes(LogPath(), EntryLines(1, 300));
  std::filesystem::create_directory(Path("temp_change.log"));
  TraceReceiver trace;
  EXPECT_NE(Purge(), OsifResult{OSIF_OK});
  EXPECT_THAT(trace.Lines(), testing::Contains("OSIF:  OSIF_CLPurge - Error opening temp file"));
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
}

TEST_F(ChangeLogFile, TheLogStaysWhenTheDiskIsFull) {
  PutBytes(LogPath(), EntryLines(1, 300));
  std::filesystem::create_symlink("/dev/full", Path("temp_change.log"));
  EXPECT_NE(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
}

// ---- A purge that was interrupted -------------------------------------------------------------------

TEST_F(ChangeLogFile, APurgeThatEndedBeforeItsRenameIsFinished) {
  PutBytes(Path("temp_change.log"), EntryLines(51, 300));
  PutBytes(Path("pol_pb_purging.log"), "");
  FinishPurge(Folder());
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(51, 300));
  EXPECT_FALSE(FileExists(Path("temp_change.log")));
  EXPECT_FALSE(FileExists(Path("pol_pb_purging.log")));
}

TEST_F(ChangeLogFile, APurgeIsFinishedForTheStoreThatItWasOf) {
  const char* stores[] = {"pb", "cal", "note", "msg-in", "msg-sent", "msg-out"};
  for (const std::string store : stores) {
    PutBytes(Path("temp_change.log"), EntryLines(51, 300));
    PutBytes(Path("pol_" + store + "_purging.log"), "");
    FinishPurge(Folder());
    EXPECT_EQ(BytesOf(Path("pol_" + store + "_change.log")), EntryLines(51, 300)) << store;
  }
}

TEST_F(ChangeLogFile, APurgeThatEndedBeforeItRemovedTheLogLeavesTheLog) {
  PutBytes(LogPath(), EntryLines(1, 300));
  PutBytes(Path("temp_change.log"), EntryLines(51, 90));
  PutBytes(Path("pol_pb_purging.log"), "");
  FinishPurge(Folder());
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 300));
  EXPECT_EQ(Purge(), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(51, 300));
}

TEST_F(ChangeLogFile, ATemporaryFileThatIsNobodysBecomesNoLog) {
  PutBytes(Path("temp_change.log"), EntryLines(51, 300));
  FinishPurge(Folder());
  for (int32_t store_id = 0; store_id < 6; ++store_id) {
    EXPECT_FALSE(FileExists(Path(std::string("pol_") + StoreName(store_id) + "_change.log")));
  }
}

TEST_F(ChangeLogFile, FinishingAPurgeInAFolderWithoutOneChangesNothing) {
  PutBytes(LogPath(), EntryLines(1, 3));
  FinishPurge(Folder());
  EXPECT_EQ(BytesOf(LogPath()), EntryLines(1, 3));
  FinishPurge(Wide(device_.Path("no such folder")));
  EXPECT_FALSE(FileExists(device_.Path("no such folder")));
}

}  // namespace
