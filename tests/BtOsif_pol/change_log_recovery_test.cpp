// What opening puts in order.
#include "BtOsif_pol/change_log_recovery.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/trace_receiver.h"

namespace change_log_recovery_test {
namespace {

using support::AppendBytes;
using support::BytesOf;
using support::EntryLines;
using support::FileExists;
using support::kMailStore;
using support::OtherProgram;
using support::PutBytes;
using testing::ElementsAre;
using testing::IsEmpty;

using ChangeLog = support::ChangeLogTest;

constexpr OsifResult kOk = OSIF_OK;
constexpr OsifResult kNotImplemented = OSIF_ERR_NOT_IMPLEMENTED;

// ---- The log and its database id --------------------------------------------------------------------

TEST_F(ChangeLog, LosesAHalfLineAtItsEnd) {
  OpenMailLog("M:1:20050314T101500Z:a\nM:2:20050");
  EXPECT_EQ(BytesOf(MailLog()), "M:1:20050314T101500Z:a\n");
}

TEST_F(ChangeLog, LosesAHalfLineThatLooksLikeAnEntry) {
  OpenMailLog("M:1:20050314T101500Z:a\nM:2:20050314T101500Z:0001");
  EXPECT_EQ(BytesOf(MailLog()), "M:1:20050314T101500Z:a\n");
  EXPECT_EQ(Anchor(kMailStore).cc, 1u);
}

TEST_F(ChangeLog, LosesAHalfLineThatIsItsOnlyOne) {
  OpenMailLog("M:1:");
  EXPECT_EQ(BytesOf(MailLog()), "");
}

TEST_F(ChangeLog, KeepsWholeLinesThatAreNoEntries) {
  OpenMailLog("M:1:20050314T101500Z:a\ngarbage\n");
  EXPECT_EQ(BytesOf(MailLog()), "M:1:20050314T101500Z:a\ngarbage\n");
}

TEST_F(ChangeLog, AppendsBehindTheLineBeforeTheHalfOne) {
  PutBytes(ContactLog(), "H:7:20050314T101500Z:000000fe\nM:8:2005");
  const std::string a = OtherProgram().Add("Ann");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("H 7 000000fe", "M 8 " + a));
}

TEST_F(ChangeLog, ThatIsGoneTakesItsDatabaseIdWithIt) {
  for (int32_t store_id : {int32_t{OSIF_STORE_PB}, kMailStore}) {
    Open(store_id);
    char before[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(store_id, before), kOk);
    Close(store_id);
    std::filesystem::remove(store_id == OSIF_STORE_PB ? ContactLog() : MailLog());
    Open(store_id);
    char after[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(store_id, after), kOk);
    EXPECT_STRNE(after, before);
  }
}

TEST_F(ChangeLog, MakesADatabaseIdInPlaceOfAnEmptyOrHalfWrittenOne) {
  for (const char* broken : {"", "ab1", "\n", "ab1\n"}) {
    PutBytes(ContactLog(), "");
    PutBytes(Path("pol_pb_databaseid.log"), broken);
    Open();
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), kOk);
    EXPECT_EQ(std::string(id).size(), 8u) << broken;
    EXPECT_EQ(BytesOf(Path("pol_pb_databaseid.log")), std::string(id) + "\n");
    Close();
  }
}

TEST_F(ChangeLog, FinishesThePurgeOfAKilledProcessAndKeepsTheDatabaseId) {
  PutBytes(Path("temp_change.log"), EntryLines(51, 300));
  PutBytes(Path("pol_msg-in_purging.log"), "");
  PutBytes(Path("pol_msg-in_databaseid.log"), "abcd1234\n");
  EXPECT_EQ(Open(kMailStore), kNotImplemented);
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(51, 300));
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(kMailStore, id), kOk);
  EXPECT_STREQ(id, "abcd1234");
}

TEST_F(ChangeLog, FinishesThePurgeOfAnotherStoreOfItsFolder) {
  PutBytes(Path("temp_change.log"), EntryLines(51, 300));
  PutBytes(Path("pol_msg-in_purging.log"), "");
  PutBytes(Path("pol_msg-in_databaseid.log"), "abcd1234\n");
  for (int i = 0; i < 300; ++i) AppendBytes(ContactLog(), "H:1:t:0\n");
  EXPECT_EQ(Open(OSIF_STORE_PB), kOk);
  EXPECT_EQ(Close(OSIF_STORE_PB), kOk) << "and purges a log of its own";
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(51, 300));
  EXPECT_EQ(Open(kMailStore), kNotImplemented);
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(kMailStore, id), kOk);
  EXPECT_STREQ(id, "abcd1234");
}

// ---- The snapshot -----------------------------------------------------------------------------------

TEST_F(ChangeLog, TakesANewSnapshotWhoseOldOneIsGone) {
  PutBytes(Path("pol_pb_newobject.log"), "00000001:2\n");
  FinishSnapshot(OSIF_STORE_PB, Folder());
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "00000001:2\n");
  EXPECT_FALSE(FileExists(Path("pol_pb_newobject.log")));
}

TEST_F(ChangeLog, KeepsTheOldSnapshotBesideANewOne) {
  PutBytes(Path("pol_pb_object.log"), "00000001:1\n");
  PutBytes(Path("pol_pb_newobject.log"), "00000001:2");
  support::TraceReceiver trace;
  FinishSnapshot(OSIF_STORE_PB, Folder());
  EXPECT_THAT(trace.Lines(), IsEmpty());
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "00000001:1\n");
  EXPECT_EQ(BytesOf(Path("pol_pb_newobject.log")), "00000001:2");
}

TEST_F(ChangeLog, MakesNoSnapshotWhereThereIsNone) {
  support::TraceReceiver trace;
  FinishSnapshot(OSIF_STORE_PB, Folder());
  EXPECT_THAT(trace.Lines(), IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(device_.Path("Sync")));
}

// ---- The mark of an open log ------------------------------------------------------------------------

TEST_F(ChangeLog, IsTakenForLeftOpenFromItsMarkUntilTheMarkIsTakenAway) {
  EXPECT_FALSE(WasLeftOpen(OSIF_STORE_CAL, Folder()));
  EXPECT_TRUE(MarkOpen(OSIF_STORE_CAL, Folder()));
  EXPECT_TRUE(WasLeftOpen(OSIF_STORE_CAL, Folder()));
  EXPECT_FALSE(WasLeftOpen(OSIF_STORE_PB, Folder()));
  MarkClosed(OSIF_STORE_CAL, Folder());
  EXPECT_FALSE(WasLeftOpen(OSIF_STORE_CAL, Folder()));
}

// ---- Lines that were cut off ------------------------------------------------------------------------

TEST_F(ChangeLog, LosesTheCutLinesWithItsMarkAndThoseOfBeforeWhenItIsMarked) {
  PutBytes(Path("pol_pb_cut.log"), "M:1:t:00000001\n");
  EXPECT_TRUE(MarkOpen(OSIF_STORE_PB, Folder()));
  EXPECT_FALSE(FileExists(Path("pol_pb_cut.log")));
  PutBytes(Path("pol_pb_cut.log"), "M:1:t:00000001\n");
  MarkClosed(OSIF_STORE_PB, Folder());
  EXPECT_FALSE(FileExists(Path("pol_pb_cut.log")));
}

TEST_F(ChangeLog, ThatWasLeftOpenKnowsTheCutLinesAndAboveThemItsOwn) {
  PutBytes(Path("pol_pb_cut.log"), "M:1:t:00000001\nM:2:t:00000002\n");
  const NewestKinds logged = {{"00000002", 'H'}, {"00000003", 'M'}};
  EXPECT_THAT(KnownByLeftLog(OSIF_STORE_PB, Folder(), logged),
              ElementsAre(testing::Pair("00000001", uint32_t{'M'}),
                          testing::Pair("00000002", uint32_t{'H'}),
                          testing::Pair("00000003", uint32_t{'M'})));
}

TEST_F(ChangeLog, ThatWasLeftOpenTellsTheEndOfAnObjectOfWhichOnlyACutLineIsLeft) {
  PutBytes(ContactLog(), "M:60:20050314T101500Z:0000003c\n");
  PutBytes(Path("pol_pb_cut.log"), "M:1:20050314T101500Z:0000000a\nM:2:2005");
  PutBytes(Path("pol_pb_open.log"), "");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 60 0000003c", "H 61 0000000a", "H 62 0000003c"));
  EXPECT_EQ(BytesOf(Path("pol_pb_cut.log")), "M:1:20050314T101500Z:0000000a\n");
}

TEST_F(ChangeLog, TakesNoNoticeOfCutLinesWhenItWasClosed) {
  PutBytes(ContactLog(), "M:60:20050314T101500Z:0000003c\n");
  PutBytes(Path("pol_pb_cut.log"), "M:1:20050314T101500Z:0000000a\n");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 60 0000003c"));
}

}  // namespace
}  // namespace change_log_recovery_test
