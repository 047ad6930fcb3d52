#include "btosif/osif_util/change_log_entry.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <tuple>

#include "tests/btosif/osif_util/change_log_fixture.h"
#include "tests/support/trace_receiver.h"

namespace change_log_entry_test {
namespace {

using support::BytesOf;
using support::EntryLine;
using support::LineOf;
using support::LinesOf;
using support::MakeEntry;
using support::PutBytes;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

class ChangeLogEntries : public support::ChangeLogFolderTest {
 protected:
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
};

// ---- Writing -----------------------------------------------------------------------------------------

TEST_F(ChangeLogEntries, WritesAnEntryAsOneLineThatEndsInALineFeed) {
  OsifStream log = OpenLog();
  const ChangeLogEntry entry = MakeEntry('M', 17, "0001a2f4", "20050314T101500Z");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), "M:17:20050314T101500Z:0001a2f4\n");
}

TEST_F(ChangeLogEntries, HandsAnEntryToTheSystemAtOnceSoThatItOutlivesTheProcess) {
  OsifStream log = OpenLog();
  for (int i = 1; i <= 3; ++i) {
    const ChangeLogEntry entry = MakeEntry('H', i, "a");
    OSIF_WriteClEntry(&log, &entry);
    EXPECT_EQ(LinesOf(LogPath()).size(), static_cast<size_t>(i)) << "the log is still open";
  }
}

TEST_F(ChangeLogEntries, AppendsAtTheEndWhereverTheLogWasBeingRead) {
  OsifStream log = OpenLog("M:1:20050314T101500Z:a\nM:2:20050314T101500Z:b\n");
  FILE_Rewind(log);
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_OK});
  entry = MakeEntry('H', 3, "c");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_THAT(LinesOf(LogPath()), ElementsAre("M:1:20050314T101500Z:a", "M:2:20050314T101500Z:b",
                                              "H:3:20050314T101500Z:c"));
}

TEST_F(ChangeLogEntries, SeeksToTheEndAlsoInAModeThatDoesNotAppend) {
  PutBytes(LogPath(), "M:1:20050314T101500Z:a\n");
  OsifStream log = support::Open(LogPath(), u"r+");
  const ChangeLogEntry entry = MakeEntry('H', 2, "b");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_THAT(LinesOf(LogPath()), ElementsAre("M:1:20050314T101500Z:a", "H:2:20050314T101500Z:b"));
}

TEST_F(ChangeLogEntries, WritesTheCounterAsASignedNumber) {
  OsifStream log = OpenLog();
  for (int32_t counter : {0, -1, INT32_MAX, INT32_MIN}) {
    const ChangeLogEntry entry = MakeEntry('M', counter, "a", "t");
    OSIF_WriteClEntry(&log, &entry);
  }
  EXPECT_THAT(LinesOf(LogPath()),
              ElementsAre("M:0:t:a", "M:-1:t:a", "M:2147483647:t:a", "M:-2147483648:t:a"));
}

TEST_F(ChangeLogEntries, WritesAnIdOf512CharactersWhole) {
  OsifStream log = OpenLog();
  const ChangeLogEntry entry = MakeEntry('M', 1, std::string(512, 'f'), "t");
  EXPECT_EQ(OSIF_WriteClEntry(&log, &entry), OsifResult{OSIF_OK});
  EXPECT_EQ(BytesOf(LogPath()), "M:1:t:" + std::string(512, 'f') + "\n");
}

TEST_F(ChangeLogEntries, TellsWhenAnEntryCannotBeWritten) {
  const ChangeLogEntry entry = MakeEntry('M', 1, "a");
  PutBytes(LogPath(), "");
  OsifStream read_only = support::Open(LogPath(), u"r");
  EXPECT_EQ(OSIF_WriteClEntry(&read_only, &entry), OsifResult{OSIF_ERR_GENERAL});
  OsifStream full_disk = support::Open("/dev/full", u"a+");
  EXPECT_EQ(OSIF_WriteClEntry(&full_disk, &entry), OsifResult{OSIF_ERR_GENERAL});
}

TEST_F(ChangeLogEntries, AssertsThatBothALogAndAnEntryAreGivenToWrite) {
  TraceReceiver trace;
  OsifStream log = OpenLog();
  const ChangeLogEntry entry = MakeEntry('M', 1, "a");
  OSIF_WriteClEntry(nullptr, &entry);
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex("ASSERT at .* line [0-9]+\n")));
  OSIF_WriteClEntry(&log, nullptr);
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex("ASSERT at .* line [0-9]+\n")));
  EXPECT_EQ(BytesOf(LogPath()), "");
}

TEST_F(ChangeLogEntries, AssertsThatBothALogAndAnEntryAreGivenToRead) {
  PutBytes(LogPath(), EntryLine('M', 1, "a"));
  TraceReceiver trace;
  OsifStream log = OpenLog();
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(nullptr, &entry), OsifResult{OSIF_ERR_GENERAL});
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex("ASSERT at .* line [0-9]+\n")));
  EXPECT_EQ(OSIF_ReadClEntry(&log, nullptr), OsifResult{OSIF_ERR_GENERAL});
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex("ASSERT at .* line [0-9]+\n")));
}

// ---- Reading -----------------------------------------------------------------------------------------

TEST_F(ChangeLogEntries, ReadsTheFourFieldsOfALine) {
  const ChangeLogEntry entry = Entry("H:17:20050314T101500Z:0001a2f4\n");
  EXPECT_EQ(entry.kind, static_cast<uint32_t>('H'));
  EXPECT_EQ(entry.changeCounter, 17);
  EXPECT_STREQ(entry.timestamp, "20050314T101500Z");
  EXPECT_STREQ(entry.objectId, "0001a2f4");
}

TEST_F(ChangeLogEntries, ReadsALineWithCrLfAsOneWithLf) {
  EXPECT_EQ(LineOf(Entry("M:5:20050101T000000Z:00000001\r\n")), "M:5:20050101T000000Z:00000001");
}

TEST_F(ChangeLogEntries, ReadsTheLastLineAlsoWithoutItsLineEnd) {
  EXPECT_EQ(LineOf(Entry("M:5:20050101T000000Z:00000001")), "M:5:20050101T000000Z:00000001");
}

TEST_F(ChangeLogEntries, TakesTheKindsMHAndDAndNoOther) {
  for (char kind : {'M', 'H', 'D'}) {
    EXPECT_EQ(Entry(EntryLine(kind, 5, "00000001") + "\n").kind, static_cast<uint32_t>(kind));
  }
  for (char kind : {'X', 'm', 'h', 'd', 'A', ' ', '0'}) {
    EXPECT_EQ(Read(EntryLine(kind, 5, "00000001") + "\n"), OsifResult{OSIF_PARSE_ERROR}) << kind;
  }
  EXPECT_EQ(Read("X:5:20050101T000000Z:00000001\n"), OsifResult{OSIF_PARSE_ERROR});
}

TEST_F(ChangeLogEntries, TakesTheFirstCharacterOfTheFirstFieldAsTheKind) {
  EXPECT_EQ(LineOf(Entry("Modified:5:t:a\n")), "M:5:t:a");
  EXPECT_EQ(Read(":5:t:a\n"), OsifResult{OSIF_PARSE_ERROR});
}

struct CounterRow {
  const char* field;
  int32_t counter;
};
class ChangeCounter : public ChangeLogEntries, public testing::WithParamInterface<CounterRow> {};

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

TEST_F(ChangeLogEntries, TakesACounterOf10CharactersAndRefusesOneOf11) {
  EXPECT_EQ(Entry("M:0000000123:t:a\n").changeCounter, 123);
  ChangeLogEntry entry;
  EXPECT_EQ(Read("M:00000000123:t:a\n", entry), OsifResult{OSIF_PARSE_ERROR});
  EXPECT_EQ(entry.kind, static_cast<uint32_t>('M')) << "what came before is kept";
  EXPECT_STREQ(entry.objectId, "");
}

TEST_F(ChangeLogEntries, TakesATimeStampOf18CharactersAndRefusesOneOf19) {
  const std::string stamp(18, '9');
  EXPECT_EQ(Entry("M:7:" + stamp + ":a\n").timestamp, stamp);
  ChangeLogEntry entry;
  EXPECT_EQ(Read("M:7:" + stamp + "9:a\n", entry), OsifResult{OSIF_PARSE_ERROR});
  EXPECT_EQ(entry.changeCounter, 7) << "what came before is kept";
  EXPECT_STREQ(entry.objectId, "");
}

TEST_F(ChangeLogEntries, TakesAnEmptyTimeStampAndAnEmptyId) {
  EXPECT_EQ(LineOf(Entry("M:7::a\n")), "M:7::a");
  EXPECT_EQ(LineOf(Entry("M:7:t:\n")), "M:7:t:");
}

TEST_F(ChangeLogEntries, EndsTheIdAtTheNextColon) {
  EXPECT_STREQ(Entry("M:7:t:ab:cd:ef\n").objectId, "ab");
}

TEST_F(ChangeLogEntries, TurnsTheEscapesOfSemicolonAndBackslash) {
  EXPECT_STREQ(Entry("M:7:t:a\\;b\\\\c\n").objectId, "a;b\\c");
  EXPECT_STREQ(Entry("M:7:t:a\\nb\n").objectId, "a\\nb") << "no other character is escaped";
}

TEST_F(ChangeLogEntries, RefusesALineWithFewerThanFourFields) {
  for (const char* line :
       {"\n", "M\n", "M:1\n", "M:1:t\n", "M:1:20050101T000000Z\n", "\r\n", "garbage"}) {
    EXPECT_EQ(Read(line), OsifResult{OSIF_PARSE_ERROR}) << line;
  }
}

TEST_F(ChangeLogEntries, EndsALineAtItsFirstZeroByte) {
  EXPECT_EQ(Read(std::string_view("M:1:t\0:a\n", 9)), OsifResult{OSIF_PARSE_ERROR});
  EXPECT_STREQ(Entry(std::string_view("M:1:t:ab\0cd\n", 12)).objectId, "ab");
}

TEST_F(ChangeLogEntries, ClearsTheEntryBeforeItReads) {
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

TEST_F(ChangeLogEntries, TellsTheEndOfTheFileWithoutAWordInTheTrace) {
  TraceReceiver trace;
  EXPECT_THAT(ReadAll("M:1:t:a\nM:2:t:b\n"), ElementsAre(OSIF_OK, OSIF_OK, OSIF_ERR_EOF));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(ChangeLogEntries, TellsALogThatCannotBeRead) {
  TraceReceiver trace;
  OsifStream log = support::Open(LogPath(), u"w");
  ChangeLogEntry entry;
  EXPECT_EQ(OSIF_ReadClEntry(&log, &entry), OsifResult{OSIF_ERR_GENERAL});
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  OSIF_ReadClEntry - error reading Change Log file"));
}

// A line of this many characters, its line end not counted.
std::string LineOfLength(size_t length) { return "M:1:t:" + std::string(length - 6, 'f') + "\n"; }

TEST_F(ChangeLogEntries, ReadsALineOf510CharactersWhole) {
  EXPECT_EQ(Entry(LineOfLength(510)).objectId, std::string(504, 'f'));
  EXPECT_THAT(ReadAll(LineOfLength(510)), ElementsAre(OSIF_OK, OSIF_ERR_EOF));
}

TEST_F(ChangeLogEntries, ReadsAnEmptyLineBehindALineOf511Characters) {
  EXPECT_EQ(Entry(LineOfLength(511)).objectId, std::string(505, 'f'));
  EXPECT_THAT(ReadAll(LineOfLength(511)), ElementsAre(OSIF_OK, OSIF_PARSE_ERROR, OSIF_ERR_EOF));
}

TEST_F(ChangeLogEntries, ReadsTheRestOfALineOf512CharactersAsALineOfItsOwn) {
  EXPECT_EQ(Entry(LineOfLength(512)).objectId, std::string(505, 'f'));
  EXPECT_THAT(ReadAll(LineOfLength(512)), ElementsAre(OSIF_OK, OSIF_PARSE_ERROR, OSIF_ERR_EOF));
}

TEST_F(ChangeLogEntries, ReadsIdsThatNoLineHasRoomForInBoundedPieces) {
  for (size_t length : {512u, 513u, 600u}) {
    const std::string line = "M:1:t:" + std::string(length, 'f') + "\n";
    EXPECT_EQ(Entry(line).objectId, std::string(505, 'f')) << length;
    EXPECT_THAT(ReadAll(line), ElementsAre(OSIF_OK, OSIF_PARSE_ERROR, OSIF_ERR_EOF)) << length;
  }
}

TEST_F(ChangeLogEntries, ReadsALineOfAMegabyteInPiecesThatAreNoEntries) {
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

TEST_F(ChangeLogEntries, ReadsBackWhatItWrote) {
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

}  // namespace
}  // namespace change_log_entry_test
