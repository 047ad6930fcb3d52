// What a partner is told: the current anchor and the entries after its own.
#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <set>

#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/dates.h"
#include "tests/support/trace_receiver.h"

namespace pol_changelog_scan_test {
namespace {

using support::EntryLine;
using support::EntryLines;
using support::JoinedLines;
using support::kMailStore;
using support::MakeAnchor;
using support::PutBytes;
using support::TraceReceiver;
using testing::ElementsAre;

class ChangeLogScan : public support::ChangeLogTest {
 protected:
  OsifResult First(const OsifAnchor& anchor, ChangeLogEntry& entry, int32_t store_id = kMailStore) {
    return POL_CL_GetFirstEntry(store_id, &anchor, &entry);
  }
  OsifResult First(const OsifAnchor& anchor) {
    ChangeLogEntry entry{};
    return First(anchor, entry);
  }
  // The result and the counter of the first entry.
  std::pair<OsifResult, int32_t> FirstCounter(const OsifAnchor& anchor) {
    ChangeLogEntry entry{};
    const OsifResult result = First(anchor, entry);
    return {result, entry.changeCounter};
  }
};

std::pair<OsifResult, int32_t> Told(OsifResult result, int32_t counter) {
  return {result, counter};
}

constexpr int32_t kUnknownStores[] = {-1, 6, 7, INT_MAX, INT_MIN};
constexpr const char* kStamp = "20050314T101500Z";

// ---- The current anchor -----------------------------------------------------------------------------

TEST_F(ChangeLogScan, TheAnchorIsThatOfTheLastEntry) {
  OpenMailLog("M:1:20050314T101500Z:a\nH:17:20050315T235959Z:b\n");
  const OsifAnchor anchor = Anchor(kMailStore);
  EXPECT_EQ(anchor.cc, 17u);
  EXPECT_STREQ(anchor.ts, "20050315T235959Z");
}

TEST_F(ChangeLogScan, TheAnchorOfAnEmptyLogIsZeroAndEmpty) {
  OpenMailLog("");
  const OsifAnchor anchor = Anchor(kMailStore);
  EXPECT_EQ(anchor.cc, 0u);
  EXPECT_STREQ(anchor.ts, "");
}

TEST_F(ChangeLogScan, TheAnchorIsThatOfTheEntryBeforeALineThatIsNone) {
  OpenMailLog("M:1:20050314T101500Z:a\nX:2:20050314T101500Z:b\nM:3:20050314T101500Z:c\n");
  EXPECT_EQ(Anchor(kMailStore).cc, 1u);
}

TEST_F(ChangeLogScan, TheAnchorHoldsATimeStampOf18Characters) {
  OpenMailLog("M:1:012345678901234567:a\n");
  EXPECT_STREQ(Anchor(kMailStore).ts, "012345678901234567");
}

TEST_F(ChangeLogScan, TheAnchorIsNotKnownWhileTheLogIsClosed) {
  TraceReceiver trace;
  OsifAnchor anchor{};
  EXPECT_EQ(POL_CL_GetCurrentAnchor(OSIF_STORE_PB, &anchor), OsifResult{OSIF_ERR_CL_NOT_OPENED});
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  POL_CL_GetCurrentAnchor - Change log is not opened"));
}

TEST_F(ChangeLogScan, UnknownStoresAreRefused) {
  OsifAnchor anchor{};
  ChangeLogEntry entry{};
  char id[OSIF_DATABASE_ID_SIZE] = "";
  for (int32_t store_id : kUnknownStores) {
    const OsifResult refused = OSIF_ERR_TYPE_NOT_SUPPORTED;
    EXPECT_EQ(POL_CL_GetCurrentAnchor(store_id, &anchor), refused) << store_id;
    EXPECT_EQ(POL_CL_GetFirstEntry(store_id, &anchor, &entry), refused) << store_id;
    EXPECT_EQ(POL_CL_GetNextEntry(store_id, &entry), refused) << store_id;
    EXPECT_EQ(POL_CL_GetDatabaseId(store_id, id), refused) << store_id;
    EXPECT_STREQ(id, "");
  }
}

// ---- Before the first entry was asked for -----------------------------------------------------------

TEST_F(ChangeLogScan, ThereIsNoNextEntryBeforeAFirstOneWasAskedForWhateverTheOpeningHasFound) {
  PutBytes(ContactLog(), EntryLine('H', 1, "000000ff") + "\n");
  support::OtherProgram().Add("Ann");
  EXPECT_EQ(Open(), OsifResult{OSIF_OK});
  ASSERT_EQ(Anchor().cc, 2u);
  OsifAnchor anchor{};
  EXPECT_EQ(support::AddContact("Bob", &anchor).result, OsifResult{OSIF_OK});
  ChangeLogEntry entry = support::MakeEntry('M', 77, "before");
  EXPECT_EQ(POL_CL_GetNextEntry(OSIF_STORE_PB, &entry), OsifResult{OSIF_ERR_EOF});
  EXPECT_EQ(entry.kind, 0u);
  EXPECT_EQ(entry.changeCounter, 0);
  EXPECT_STREQ(entry.objectId, "");
  EXPECT_THAT(ChangesSince(MakeAnchor(1), OSIF_STORE_PB), testing::SizeIs(3));
  EXPECT_EQ(Open(), OsifResult{OSIF_OK});
  EXPECT_EQ(POL_CL_GetNextEntry(OSIF_STORE_PB, &entry), OsifResult{OSIF_ERR_EOF});
}

// ---- The first entry, by counter --------------------------------------------------------------------

TEST_F(ChangeLogScan, AnEmptyLogHasNoFirstEntry) {
  OpenMailLog("");
  EXPECT_EQ(First(MakeAnchor(0)), OsifResult{OSIF_ERR_EOF});
  EXPECT_EQ(First(MakeAnchor(0, kStamp)), OsifResult{OSIF_ERR_EOF});
  EXPECT_EQ(First(MakeAnchor(5)), OsifResult{OSIF_ERR_EOF});
}

TEST_F(ChangeLogScan, TheFirstEntryIsTheOneAfterTheAnchor) {
  OpenMailLog(EntryLines(1, 5));
  EXPECT_THAT(ChangesSince(MakeAnchor(3)),
              ElementsAre(EntryLine('M', 4, "id4"), EntryLine('M', 5, "id5"), "end"));
}

TEST_F(ChangeLogScan, AnAnchorOfNothingAsksForEveryChange) {
  OpenMailLog(EntryLines(1, 3));
  EXPECT_THAT(ChangesSince(MakeAnchor(0)),
              ElementsAre(EntryLine('M', 1, "id1"), EntryLine('M', 2, "id2"),
                          EntryLine('M', 3, "id3"), "end"));
}

TEST_F(ChangeLogScan, AnEntryWhoseObjectChangesAgainIsPassedOver) {
  OpenMailLog(EntryLines(1, 3) + JoinedLines({EntryLine('M', 4, "x"), EntryLine('H', 5, "x")}));
  EXPECT_THAT(ChangesSince(MakeAnchor(3)), ElementsAre(EntryLine('H', 5, "x"), "end"))
      << "the first newer counter is 4 still: no gap";
}

TEST_F(ChangeLogScan, EachObjectIsToldOnceWithItsLatestEntry) {
  OpenMailLog(
      JoinedLines({EntryLine('M', 1, "a"), EntryLine('M', 2, "b"), EntryLine('M', 3, "a"),
                   EntryLine('H', 4, "c"), EntryLine('M', 5, "c"), EntryLine('H', 6, "b")}));
  EXPECT_THAT(
      ChangesSince(MakeAnchor(0)),
      ElementsAre(EntryLine('M', 3, "a"), EntryLine('M', 5, "c"), EntryLine('H', 6, "b"), "end"));
}

TEST_F(ChangeLogScan, AnAnchorOfTheLastEntryOrANewerOneHasNothingAfterItAndNoGap) {
  OpenMailLog(EntryLines(40, 50));
  for (uint32_t counter : {50u, 51u, 52u, 1000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(First(MakeAnchor(counter)), OsifResult{OSIF_ERR_EOF}) << counter;
  }
}

TEST_F(ChangeLogScan, TheCounterCountsWhenTheAnchorHasBoth) {
  OpenMailLog(JoinedLines({EntryLine('M', 1, "a", "20050101T000000Z"),
                           EntryLine('M', 2, "b", "20050102T000000Z"),
                           EntryLine('M', 3, "c", "20050103T000000Z")}));
  EXPECT_EQ(FirstCounter(MakeAnchor(1, "20991231T000000Z")), Told(OSIF_OK, 2));
}

TEST_F(ChangeLogScan, AGapIsToldWhenEntriesBehindTheAnchorWerePurged) {
  OpenMailLog(EntryLines(40, 289));
  EXPECT_EQ(FirstCounter(MakeAnchor(10)), Told(OSIF_ERR_CL_GAP, 40));
  EXPECT_EQ(FirstCounter(MakeAnchor(38)), Told(OSIF_ERR_CL_GAP, 40));
  EXPECT_EQ(FirstCounter(MakeAnchor(39)), Told(OSIF_OK, 40));
  EXPECT_EQ(FirstCounter(MakeAnchor(40)), Told(OSIF_OK, 41));
}

TEST_F(ChangeLogScan, AGapIsToldAPartnerWithoutAnAnchorWhenTheLogNoLongerBeginsWith1) {
  OpenMailLog(EntryLines(2, 5));
  EXPECT_EQ(FirstCounter(MakeAnchor(0)), Told(OSIF_ERR_CL_GAP, 2));
  OpenMailLog(EntryLines(1, 5));
  EXPECT_EQ(FirstCounter(MakeAnchor(0)), Told(OSIF_OK, 1));
}

TEST_F(ChangeLogScan, AGapComesWithTheLatestEntryOfAnObject) {
  OpenMailLog(
      JoinedLines({EntryLine('M', 40, "x"), EntryLine('M', 41, "y"), EntryLine('H', 42, "x")}));
  EXPECT_THAT(ChangesSince(MakeAnchor(10)),
              ElementsAre("gap", EntryLine('M', 41, "y"), EntryLine('H', 42, "x"), "end"));
}

TEST_F(ChangeLogScan, AGapIsToldByTheFirstNewerCounterAlsoWhenItsEntryIsSuperseded) {
  OpenMailLog(JoinedLines({EntryLine('M', 11, "x"), EntryLine('M', 12, "x")}));
  EXPECT_EQ(FirstCounter(MakeAnchor(10)), Told(OSIF_OK, 12)) << "12 - 10 is 2, but 11 is there";
}

TEST_F(ChangeLogScan, TheLogOfAFullPurgeTellsAGapToWhoIsTooLate) {
  OpenMailLog(EntryLines(1, 260));
  Close(kMailStore);
  Open(kMailStore);
  EXPECT_EQ(FirstCounter(MakeAnchor(9)), Told(OSIF_ERR_CL_GAP, 11));
  EXPECT_EQ(FirstCounter(MakeAnchor(10)), Told(OSIF_OK, 11));
}

TEST_F(ChangeLogScan, ANegativeCounterIsOlderThanEveryAnchor) {
  OpenMailLog(JoinedLines({EntryLine('M', -5, "a"), EntryLine('M', 1, "b")}));
  EXPECT_EQ(FirstCounter(MakeAnchor(0)), Told(OSIF_OK, 1));
}

// ---- The first entry, by time -----------------------------------------------------------------------

TEST_F(ChangeLogScan, ByTimeTheFirstEntryIsStrictlyLater) {
  OpenMailLog(JoinedLines(
      {EntryLine('M', 1, "a", "20050228T235959Z"), EntryLine('M', 2, "b", "20050301T000000Z"),
       EntryLine('M', 3, "c", "20050301T000001Z"), EntryLine('M', 4, "d", "20050302T000000Z")}));
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20050228T235958Z")), Told(OSIF_OK, 1));
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20050228T235959Z")), Told(OSIF_OK, 2));
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20050301T000000Z")), Told(OSIF_OK, 3));
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20050301T000001Z")), Told(OSIF_OK, 4));
  EXPECT_EQ(First(MakeAnchor(0, "20050302T000000Z")), OsifResult{OSIF_ERR_EOF});
}

TEST_F(ChangeLogScan, ByTimeNoGapIsEverTold) {
  std::string bytes;
  for (int i = 40; i <= 289; ++i) bytes += EntryLine('M', i, "id" + std::to_string(i)) + "\n";
  OpenMailLog(bytes);
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20050301T000000Z")), Told(OSIF_OK, 40));
}

TEST_F(ChangeLogScan, ByTimeAnEntryWithoutATimeNeverQualifies) {
  OpenMailLog(JoinedLines({EntryLine('M', 1, "a", ""), EntryLine('M', 2, "b", "no time"),
                           EntryLine('M', 3, "c", "20051301T000000Z"),
                           EntryLine('M', 4, "d", "20050301T000001Z")}));
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20050301T000000Z")), Told(OSIF_OK, 4));
}

TEST_F(ChangeLogScan, ByTimeASupersededEntryIsPassedOver) {
  OpenMailLog(JoinedLines({EntryLine('M', 1, "a", "20050302T000000Z"),
                           EntryLine('M', 2, "b", "20050303T000000Z"),
                           EntryLine('H', 3, "a", "20050304T000000Z")}));
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20050301T000000Z")), Told(OSIF_OK, 2));
}

TEST_F(ChangeLogScan, ByATimeThatIsNoneNothingQualifies) {
  OpenMailLog(EntryLines(1, 3));
  for (const char* no_time : {"soon", "20051301T000000Z", "2005"}) {
    EXPECT_EQ(First(MakeAnchor(0, no_time)), OsifResult{OSIF_ERR_EOF}) << no_time;
  }
}

TEST_F(ChangeLogScan, ByATimeOfTwentyCharactersWithoutATerminatorNothingIsReadBeyondIt) {
  OpenMailLog(EntryLines(1, 3));
  OsifAnchor anchor{};
  std::memset(anchor.ts, '9', sizeof anchor.ts);
  EXPECT_EQ(First(anchor), OsifResult{OSIF_ERR_EOF});
}

class ChangeLogScanInZone : public ChangeLogScan,
                            public testing::WithParamInterface<const char*> {};

TEST_P(ChangeLogScanInZone, ByTimeALaterEntryIsFoundAlsoInTheHourThatComesTwice) {
  support::TimeZone zone(GetParam());
  for (const char* hour :
       {"20050314T10", "20041030T15", "20041031T00", "20041031T01", "20041031T06"}) {
    OpenMailLog(JoinedLines({EntryLine('M', 1, "a", std::string(hour) + "2959Z"),
                             EntryLine('M', 2, "b", std::string(hour) + "3001Z")}));
    EXPECT_EQ(FirstCounter(MakeAnchor(0, std::string(hour) + "3000Z")), Told(OSIF_OK, 2)) << hour;
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, ChangeLogScanInZone, testing::ValuesIn(support::kFiveZones));

TEST_F(ChangeLogScan, ByTimeAnHourLaterIsLaterWhenTheClocksAreSetBack) {
  support::TimeZone zone("Europe/Berlin");
  OpenMailLog(JoinedLines({EntryLine('M', 1, "a", "20041031T013000Z")}));
  EXPECT_EQ(FirstCounter(MakeAnchor(0, "20041031T003000Z")), Told(OSIF_OK, 1));
}

// ---- Going on ---------------------------------------------------------------------------------------

TEST_F(ChangeLogScan, EndsWithTheLogAndStaysAtItsEnd) {
  OpenMailLog(EntryLines(1, 1));
  EXPECT_EQ(First(MakeAnchor(0)), OsifResult{OSIF_OK});
  ChangeLogEntry entry{};
  EXPECT_EQ(POL_CL_GetNextEntry(kMailStore, &entry), OsifResult{OSIF_ERR_EOF});
  EXPECT_EQ(POL_CL_GetNextEntry(kMailStore, &entry), OsifResult{OSIF_ERR_EOF});
}

TEST_F(ChangeLogScan, ThatWasNotBegunIsAtItsEnd) {
  OpenMailLog(EntryLines(1, 3));
  ChangeLogEntry entry{};
  EXPECT_EQ(POL_CL_GetNextEntry(kMailStore, &entry), OsifResult{OSIF_ERR_EOF});
}

TEST_F(ChangeLogScan, CanBeBegunAgainAtAnyTime) {
  OpenMailLog(EntryLines(1, 3));
  const std::vector<std::string> all = ChangesSince(MakeAnchor(0));
  EXPECT_EQ(all.size(), 4u);
  EXPECT_EQ(FirstCounter(MakeAnchor(1)), Told(OSIF_OK, 2));
  EXPECT_EQ(ChangesSince(MakeAnchor(0)), all);
}

TEST_F(ChangeLogScan, TellsEntriesOfEveryKind) {
  OpenMailLog("M:1:t:a\nH:2:t:b\nD:3:t:c\n");
  EXPECT_THAT(ChangesSince(MakeAnchor(0)), ElementsAre("M:1:t:a", "H:2:t:b", "D:3:t:c", "end"));
}

TEST_F(ChangeLogScan, StopsAtALineThatIsNoEntry) {
  OpenMailLog("M:1:t:a\nM:2:t:b\ngarbage\nM:3:t:c\n");
  EXPECT_THAT(ChangesSince(MakeAnchor(0)),
              ElementsAre("M:1:t:a", "M:2:t:b", "result " + std::to_string(OSIF_PARSE_ERROR)));
  EXPECT_EQ(First(MakeAnchor(2)), OsifResult{OSIF_PARSE_ERROR});
}

TEST_F(ChangeLogScan, StopsAtOnceWhenTheFirstLineIsNoEntry) {
  OpenMailLog("X:5:20050101T000000Z:00000001\nM:6:t:a\n");
  EXPECT_EQ(First(MakeAnchor(0)), OsifResult{OSIF_PARSE_ERROR});
}

TEST_F(ChangeLogScan, StopsInALineOfAMegabyte) {
  OpenMailLog("M:1:t:a\nM:2:t:" + std::string(1 << 20, 'f') + "\nM:3:t:c\n");
  const std::vector<std::string> told = ChangesSince(MakeAnchor(0));
  ASSERT_EQ(told.size(), 3u);
  EXPECT_EQ(told[0], "M:1:t:a");
  EXPECT_EQ(told[1], "M:2:t:" + std::string(505, 'f'));
  EXPECT_EQ(told[2], "result " + std::to_string(OSIF_PARSE_ERROR));
}

TEST_F(ChangeLogScan, TellsAHundredThousandEntriesInOneGo) {
  OpenMailLog(EntryLines(1, 50000) + EntryLines(1, 50000));
  EXPECT_EQ(ChangesSince(MakeAnchor(0)).size(), 50001u);
}

TEST_F(ChangeLogScan, TellsWhatWasRecordedSinceTheLastScan) {
  OpenMailLog("M:1:t:a\nM:2:t:b\n");
  EXPECT_EQ(ChangesSince(MakeAnchor(0)).size(), 3u);
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeDeleted, "a", 0, {}}, &anchor),
            OsifResult{OSIF_OK});
  EXPECT_THAT(ChangesSince(MakeAnchor(0)),
              ElementsAre("M:2:t:b", std::string("H:3:") + anchor.ts + ":a", "end"));
}

TEST_F(ChangeLogScan, TellsEachStoreItsOwn) {
  PutBytes(Path("pol_msg-sent_change.log"), "M:1:t:sent\n");
  OpenMailLog("M:1:t:in\n");
  Open(OSIF_STORE_MSG_SENT);
  ChangeLogEntry in{};
  ChangeLogEntry sent{};
  EXPECT_EQ(First(MakeAnchor(0), in), OsifResult{OSIF_OK});
  EXPECT_EQ(First(MakeAnchor(0), sent, OSIF_STORE_MSG_SENT), OsifResult{OSIF_OK});
  EXPECT_STREQ(in.objectId, "in");
  EXPECT_STREQ(sent.objectId, "sent");
}

TEST_F(ChangeLogScan, NeedsAnOpenLog) {
  TraceReceiver trace;
  EXPECT_EQ(First(MakeAnchor(3, "20050301T000000Z")), OsifResult{OSIF_ERR_CL_NOT_OPENED});
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  POL_CL_GetFirstEntry(cc=3, ts='20050301T000000Z')",
                                         "OSIF:  POL_CL_GetFirstEntry - Change log is not opened"));
  ChangeLogEntry entry{};
  EXPECT_EQ(POL_CL_GetNextEntry(kMailStore, &entry), OsifResult{OSIF_ERR_CL_NOT_OPENED});
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  POL_CL_GetNextEntry",
                                         "OSIF:  POL_CL_GetNextEntry - Change log is not opened"));
}

}  // namespace
}  // namespace pol_changelog_scan_test
