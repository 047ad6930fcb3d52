// Opening and closing a change log, and recording the changes that the library makes.
#include "BtOsif_pol/pol_changelog.h"

#include <gmock/gmock.h>

#include <climits>
#include <ctime>

#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/dates.h"
#include "tests/support/fake_pim.h"
#include "tests/support/trace_receiver.h"

namespace {

using support::AddContact;
using support::AppendBytes;
using support::BytesOf;
using support::DeleteContact;
using support::EntryLine;
using support::EntryLines;
using support::FileExists;
using support::kMailStore;
using support::LinesOf;
using support::MakeAnchor;
using support::ModifyContact;
using support::OtherProgram;
using support::PutBytes;
using support::TraceReceiver;
using support::Wide;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::UnorderedElementsAre;

using ChangeLog = support::ChangeLogTest;

// The field of a log line, counted from 0.
std::string Field(const std::string& line, int number) {
  size_t begin = 0;
  for (; number > 0; --number) begin = line.find(':', begin) + 1;
  return line.substr(begin, line.find(':', begin) - begin);
}

constexpr OsifResult kOk = OSIF_OK;
constexpr OsifResult kNotImplemented = OSIF_ERR_NOT_IMPLEMENTED;

// ---- Opening ----------------------------------------------------------------------------------------

TEST_F(ChangeLog, AtTheFirstOpenEveryItemIsLoggedAsModifiedWithOneTimeStamp) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  const std::string c = other.Add("Cid");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + b, "M 3 " + c));
  const std::vector<std::string> lines = LinesOf(ContactLog());
  EXPECT_THAT(Field(lines[0], 2), MatchesRegex("[0-9]+T[0-9]+Z"));
  EXPECT_EQ(Field(lines[0], 2).size(), 16u);
  EXPECT_EQ(Field(lines[1], 2), Field(lines[0], 2));
  EXPECT_EQ(Field(lines[2], 2), Field(lines[0], 2));
}

TEST_F(ChangeLog, OfAnEmptyStoreIsMadeEmpty) {
  EXPECT_EQ(Open(), kOk);
  EXPECT_TRUE(FileExists(ContactLog()));
  EXPECT_EQ(BytesOf(ContactLog()), "");
}

TEST_F(ChangeLog, CountsOnFromTheCounterOfItsLastEntry) {
  PutBytes(ContactLog(), "H:39:20050314T101500Z:000000fe\nH:40:20050314T101500Z:000000ff\n");
  const std::string a = OtherProgram().Add("Ann");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("H 39 000000fe", "H 40 000000ff", "M 41 " + a));
}

TEST_F(ChangeLog, CountsOnFromTheLastEntryBeforeALineThatIsNone) {
  PutBytes(ContactLog(), "H:5:20050314T101500Z:000000fe\ngarbage\nH:9:20050314T101500Z:000000ff\n");
  OtherProgram().Add("Ann");
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(Field(LinesOf(ContactLog()).back(), 1), "6");
}

TEST_F(ChangeLog, TellsNothingOfAStoreThatHasNotChanged) {
  OtherProgram other;
  other.Add("Ann");
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(Close(), kOk);
  const std::string before = BytesOf(ContactLog());
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(BytesOf(ContactLog()), before);
}

TEST_F(ChangeLog, TellsAnItemThatAnotherProgramHasChanged) {
  OtherProgram other;
  other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  Close();
  other.Change(b, "Bill");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre(testing::_, testing::_, "M 3 " + b));
}

TEST_F(ChangeLog, TellsNewItemsBeforeTheOnesThatAreGone) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  Open();
  Close();
  other.Delete(a);
  const std::string b = other.Add("Bob");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + b, "H 3 " + a));
}

TEST_F(ChangeLog, TellsTheSameChangesAgainWhenItIsOpenedTwiceWithoutAClose) {
  const std::string a = OtherProgram().Add("Ann");
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + a));
}

TEST_F(ChangeLog, MovesToAnotherFolderWhenItIsOpenedThere) {
  const std::string a = OtherProgram().Add("Ann");
  std::filesystem::create_directory(device_.Path("Sync2"));
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(POL_CL_Open(OSIF_STORE_PB, Wide(device_.Path("Sync2")).c_str()), kOk);
  EXPECT_EQ(Close(), kOk);
  EXPECT_THAT(Entries(device_.Path("Sync2/pol_pb_change.log")), ElementsAre("M 1 " + a));
  EXPECT_TRUE(FileExists(device_.Path("Sync2/pol_pb_object.log")));
  EXPECT_FALSE(FileExists(Path("pol_pb_object.log")));
}

TEST_F(ChangeLog, TellsTheTraceWhatIsOpenedAndCompared) {
  PutBytes(ContactLog(), "H:40:20050314T101500Z:000000ff\n");
  TraceReceiver trace;
  Open();
  EXPECT_THAT(trace.Lines(),
              AllOf(Contains("OSIF:  POL_CL_Open(store_id=0, pszPath='" + device_.Path("Sync") + "')"),
                    Contains(AllOf(HasSubstr("OSIF:  pol_UpdatePoomChanges(store_id=0, pszPath='"),
                                   HasSubstr("', cc=40)"))),
                    Contains(HasSubstr("OSIF:  CPoomEntries::getFromPoom(store_id=0, pPolApp=")),
                    Contains(HasSubstr("OSIF:  CPoomEntries::getFromFile(store_id=0, pszPath='"))));
}

TEST_F(ChangeLog, OfNotesAndMessagesIsOpenThoughItSaysNotImplemented) {
  for (int32_t store_id : {2, 3, 4, 5}) {
    EXPECT_EQ(Open(store_id), kNotImplemented) << store_id;
    EXPECT_TRUE(pol_IsLogOpen(store_id)) << store_id;
    EXPECT_EQ(Anchor(store_id).cc, 0u) << store_id;
  }
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
}

TEST_F(ChangeLog, OfNotesAndMessagesOpensWithoutASession) {
  POL_Close();
  EXPECT_EQ(Open(kMailStore), kNotImplemented);
}

TEST_F(ChangeLog, OfAPimStoreNeedsASessionToBeComparedButIsOpen) {
  POL_Close();
  EXPECT_EQ(Open(OSIF_STORE_PB), OsifResult{OSIF_ERR_PIM_NOT_OPENED});
  EXPECT_EQ(Open(OSIF_STORE_CAL), OsifResult{OSIF_ERR_PIM_NOT_OPENED});
  EXPECT_TRUE(pol_IsLogOpen(OSIF_STORE_PB));
}

TEST_F(ChangeLog, CannotBeOpenedInAFolderThatIsNotThere) {
  const WideText folder = Wide(device_.Path("no such folder"));
  for (int32_t store_id : {int32_t{OSIF_STORE_PB}, kMailStore}) {
    EXPECT_EQ(POL_CL_Open(store_id, folder.c_str()), OsifResult{OSIF_ERR_FILE_OPEN});
    EXPECT_FALSE(pol_IsLogOpen(store_id));
  }
}

TEST_F(ChangeLog, OfAnUnknownStoreIsRefused) {
  for (int32_t store_id : {-1, 6, 7, INT_MAX, INT_MIN}) {
    EXPECT_EQ(Open(store_id), OsifResult{OSIF_ERR_TYPE_NOT_SUPPORTED}) << store_id;
    EXPECT_FALSE(pol_IsLogOpen(store_id));
  }
  EXPECT_TRUE(std::filesystem::is_empty(device_.Path("Sync")));
}

// ---- What opening repairs ---------------------------------------------------------------------------

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

TEST_F(ChangeLog, TellsTheEndOfAnObjectThatCameAndWentUnseen) {
  // Logged as modified by a process that was killed before it saved a snapshot; deleted since.
  PutBytes(ContactLog(), "M:7:20050314T101500Z:000000fe\n");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", "H 8 000000fe"));
  EXPECT_EQ(Close(), kOk);
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", "H 8 000000fe")) << "told once";
}

TEST_F(ChangeLog, TellsTheEndOfAnObjectOnceWhenTheSnapshotKnewIt) {
  PutBytes(ContactLog(), "M:7:20050314T101500Z:000000fe\n");
  PutBytes(Path("pol_pb_object.log"), "000000fe:1\n");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", "H 8 000000fe"));
}

TEST_F(ChangeLog, TellsNoEndOfAnObjectWhoseNewestEntryIsItsEnd) {
  for (const char* kind : {"H", "D"}) {
    PutBytes(ContactLog(), std::string("M:7:20050314T101500Z:000000fe\n") + kind +
                               ":8:20050314T101500Z:000000fe\n");
    EXPECT_EQ(Open(), kOk);
    EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", kind + std::string(" 8 000000fe")));
  }
}

TEST_F(ChangeLog, TellsNoEndOfAnObjectThatItsEntryNamesInAnotherWay) {
  const std::string a = OtherProgram().Add("Ann");
  Open();
  OsifAnchor anchor{};
  const std::string short_id = a.substr(a.find_first_not_of('0'));
  EXPECT_EQ(ModifyContact(short_id, "Amy", &anchor), kOk);
  Close();
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + short_id));
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

TEST_F(ChangeLog, ThatIsThereKeepsItsDatabaseId) {
  Open();
  char before[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, before), kOk);
  Close();
  Open();
  char after[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, after), kOk);
  EXPECT_STREQ(after, before);
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

TEST_F(ChangeLog, BeginsAnewWithANewDatabaseIdBeforeItsCounterRunsOver) {
  for (const char* last : {"2147483646", "2147483647", "2147483648", "9999999999"}) {
    PutBytes(ContactLog(), std::string("H:") + last + ":20050314T101500Z:000000ff\n");
    PutBytes(Path("pol_pb_databaseid.log"), "abcd1234\n");
    EXPECT_EQ(Open(), kOk);
    OsifAnchor anchor{};
    EXPECT_EQ(AddContact("Ann", &anchor).result, kOk);
    EXPECT_LT(anchor.cc, 1000u) << last;
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), kOk);
    EXPECT_STRNE(id, "abcd1234") << last;
    Close();
  }
}

TEST_F(ChangeLog, GoesOnCountingWhileItsCounterIsFarFromRunningOver) {
  PutBytes(ContactLog(), "H:1000000000:20050314T101500Z:000000ff\n");
  PutBytes(Path("pol_pb_databaseid.log"), "abcd1234\n");
  EXPECT_EQ(Open(), kOk);
  OsifAnchor anchor{};
  EXPECT_EQ(AddContact("Ann", &anchor).result, kOk);
  EXPECT_EQ(anchor.cc, 1000000001u);
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), kOk);
  EXPECT_STREQ(id, "abcd1234");
}

TEST_F(ChangeLog, WithGarbageAndLongLinesIsOpenedWithoutHarm) {
  const std::string long_id(600, 'f');
  for (const std::string& bytes :
       {std::string("garbage\n"), std::string(1 << 20, 'z') + "\n", std::string(1 << 20, '\0'),
        "M:1:20050314T101500Z:" + long_id + "\n", std::string("M:99999999999999999999:t:a\n"), std::string("\n\n\n"),
        std::string("\xFF\xFE:1:t:\0\n", 10)}) {
    PutBytes(ContactLog(), bytes);
    EXPECT_EQ(Open(), kOk);
    EXPECT_EQ(Close(), kOk);
    std::filesystem::remove(Path("pol_pb_object.log"));
  }
}

// ---- Closing ----------------------------------------------------------------------------------------

TEST_F(ChangeLog, SavesTheSnapshotWhenItIsClosed) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  EXPECT_FALSE(FileExists(Path("pol_pb_object.log"))) << "opening does not save it";
  EXPECT_EQ(Close(), kOk);
  EXPECT_THAT(LinesOf(Path("pol_pb_object.log")),
              ElementsAre(MatchesRegex(a + ":[0-9]+"), MatchesRegex(b + ":[0-9]+")));
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
}

TEST_F(ChangeLog, TellsTheTraceWhatClosingDoes) {
  Open();
  TraceReceiver trace;
  Close();
  EXPECT_THAT(trace.Lines(),
              AllOf(Contains("OSIF:  POL_CL_Close(store_id=0)"),
                    Contains(HasSubstr("OSIF:  CPoomEntries::getFromPoom(store_id=0, pPolApp=")),
                    Contains(HasSubstr("OSIF:  CPoomEntries::saveToFile(store_id=0, pszPath='"))));
}

TEST_F(ChangeLog, StaysOpenWhenItIsClosedWithoutASession) {
  Open();
  Open(kMailStore);
  POL_Close();
  for (int32_t store_id : {0, 3, 1, -1, 6}) {
    EXPECT_EQ(Close(store_id), OsifResult{OSIF_ERR_PIM_NOT_OPENED}) << store_id;
  }
  EXPECT_TRUE(pol_IsLogOpen(OSIF_STORE_PB));
  EXPECT_TRUE(pol_IsLogOpen(kMailStore));
  EXPECT_FALSE(FileExists(Path("pol_pb_object.log")));
}

TEST_F(ChangeLog, ThatIsNotOpenCannotBeClosed) {
  for (int32_t store_id = 0; store_id < 6; ++store_id) {
    EXPECT_EQ(Close(store_id), OsifResult{OSIF_ERR_CL_NOT_OPENED}) << store_id;
  }
  EXPECT_TRUE(std::filesystem::is_empty(device_.Path("Sync")));
}

TEST_F(ChangeLog, ThatWasClosedAlreadyIsLeftAsItIs) {
  OtherProgram other;
  Open();
  Close();
  other.Add("Ann");
  EXPECT_EQ(Close(), OsifResult{OSIF_ERR_CL_NOT_OPENED});
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "");
}

TEST_F(ChangeLog, OfAnUnknownStoreCannotBeClosed) {
  for (int32_t store_id : {-1, 6, INT_MAX, INT_MIN}) {
    EXPECT_EQ(Close(store_id), OsifResult{OSIF_ERR_TYPE_NOT_SUPPORTED}) << store_id;
  }
}

TEST_F(ChangeLog, OfNotesAndMessagesIsClosedThoughItSaysNotImplemented) {
  for (int32_t store_id : {2, 3, 4, 5}) {
    Open(store_id);
    EXPECT_EQ(Close(store_id), kNotImplemented) << store_id;
    EXPECT_FALSE(pol_IsLogOpen(store_id)) << store_id;
  }
}

TEST_F(ChangeLog, IsPurgedWhenItIsClosed) {
  OpenMailLog(EntryLines(1, 251));
  EXPECT_EQ(Close(kMailStore), kNotImplemented);
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(2, 251));
  OpenMailLog(EntryLines(1, 250));
  EXPECT_EQ(Close(kMailStore), kNotImplemented);
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(1, 250));
}

TEST_F(ChangeLog, IsNotPurgedWhileItIsOpen) {
  OpenMailLog(EntryLines(1, 251));
  EXPECT_EQ(Open(kMailStore), kNotImplemented);
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(1, 251));
}

TEST_F(ChangeLog, IsClosedWithAPimErrorWhenTheSnapshotCannotBeSaved) {
  Open();
  std::filesystem::remove_all(device_.Path("Sync"));
  EXPECT_EQ(Close(), OsifResult{OSIF_ERR_PIM});
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
}

// ---- What the snapshot tells ------------------------------------------------------------------------

TEST_F(ChangeLog, FindsAtTheNextOpenWhatAnotherProgramDidWhileItWasOpen) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  other.Change(a, "Amy");
  other.Delete(b);
  const std::string c = other.Add("Cid");
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + b, "M 3 " + a, "M 4 " + c, "H 5 " + b));
}

TEST_F(ChangeLog, FindsAtTheNextOpenWhatTheLibraryDidWithoutAnAnchor) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  EXPECT_EQ(ModifyContact(a, "Amy", nullptr), kOk);
  EXPECT_EQ(DeleteContact(b, nullptr), kOk);
  const std::string c = AddContact("Cid", nullptr).id;
  EXPECT_EQ(ContactEntries().size(), 2u) << "nothing is recorded";
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + b, "M 3 " + a, "M 4 " + c, "H 5 " + b));
}

TEST_F(ChangeLog, TellsWhatTheLibraryDidWithAnAnchorOnlyOnce) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(a, "Amy", &anchor), kOk);
  EXPECT_EQ(anchor.cc, 3u);
  EXPECT_EQ(DeleteContact(b, &anchor), kOk);
  EXPECT_EQ(anchor.cc, 4u);
  const std::string c = AddContact("Cid", &anchor).id;
  EXPECT_EQ(anchor.cc, 5u);
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + b, "M 3 " + a, "H 4 " + b, "M 5 " + c));
}

TEST_F(ChangeLog, FindsWhatAnotherProgramMadeOfAnItemThatTheLibraryHadChanged) {
  const std::string a = OtherProgram().Add("Ann");
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(a, "Amy", &anchor), kOk);
  const std::string b = AddContact("Bob", &anchor).id;
  {
    OtherProgram other;
    other.Change(a, "Ada");
    other.Delete(b);
  }
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + a, "M 3 " + b, "M 4 " + a, "H 5 " + b));
}

TEST_F(ChangeLog, FindsWhatTheLibraryMadeOfAnItemWithoutAnAnchorAfterOneWithIt) {
  Open();
  OsifAnchor anchor{};
  const std::string a = AddContact("Ann", &anchor).id;
  EXPECT_EQ(ModifyContact(a, "Amy", nullptr), kOk);
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + a));
}

TEST_F(ChangeLog, FindsWhatChangedWhileItWasClosedAndBeforeItWasOpenedAgainWithoutAClose) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  Open();
  OsifAnchor anchor{};
  const std::string b = AddContact("Bob", &anchor).id;
  EXPECT_EQ(Open(), kOk);
  other.Change(b, "Bill");
  Close();
  Open();
  EXPECT_EQ(ContactEntries().back(), "M " + std::to_string(ContactEntries().size()) + " " + b);
}

// ---- Recording --------------------------------------------------------------------------------------

TEST_F(ChangeLog, RecordsAnAddAndAModifyAsModifiedAndADeleteAsDeleted) {
  Open();
  OsifAnchor anchor{};
  const support::LibraryCall added = AddContact("Ann", &anchor);
  EXPECT_EQ(added.result, kOk);
  EXPECT_EQ(LinesOf(ContactLog()).back(), EntryLine('M', 1, added.id, anchor.ts));
  EXPECT_EQ(ModifyContact(added.id, "Amy", &anchor), kOk);
  EXPECT_EQ(LinesOf(ContactLog()).back(), EntryLine('M', 2, added.id, anchor.ts));
  EXPECT_EQ(DeleteContact(added.id, &anchor), kOk);
  EXPECT_EQ(LinesOf(ContactLog()).back(), EntryLine('H', 3, added.id, anchor.ts));
  EXPECT_EQ(anchor.cc, 3u);
}

TEST_F(ChangeLog, RecordsTheIdAsTheCallerGaveIt) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string number = a.substr(a.find_first_not_of('0'));
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(number, "Amy", &anchor), kOk);
  EXPECT_EQ(Field(LinesOf(ContactLog()).back(), 3), number);
  EXPECT_EQ(DeleteContact("000000" + number, &anchor), kOk);
  EXPECT_EQ(Field(LinesOf(ContactLog()).back(), 3), "000000" + number);
  Close();
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "") << "one item whatever its id is written as";
}

TEST_F(ChangeLog, RecordsNothingWhenTheChangeFailed) {
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(DeleteContact("0000ffff", &anchor), OsifResult{OSIF_ERR_NOT_FOUND});
  EXPECT_EQ(ModifyContact("0000ffff", "Ann", &anchor), OsifResult{OSIF_ERR_NOT_FOUND});
  EXPECT_EQ(BytesOf(ContactLog()), "");
}

TEST_F(ChangeLog, ThatIsClosedZeroesTheAnchorOfAChangeThatWasMadeAllTheSame) {
  OtherProgram other;
  OsifAnchor anchor = MakeAnchor(77, "20050314T101500Z");
  const support::LibraryCall added = AddContact("Ann", &anchor);
  EXPECT_EQ(added.result, OsifResult{OSIF_ERR_CL_NOT_OPENED});
  const OsifAnchor zero{};
  EXPECT_EQ(std::memcmp(&anchor, &zero, sizeof anchor), 0);
  EXPECT_EQ(other.Contacts().at(added.id), "Ann");
  anchor = MakeAnchor(77, "20050314T101500Z");
  EXPECT_EQ(DeleteContact(added.id, &anchor), OsifResult{OSIF_ERR_CL_NOT_OPENED});
  EXPECT_EQ(std::memcmp(&anchor, &zero, sizeof anchor), 0);
  EXPECT_THAT(other.Contacts(), IsEmpty());
}

TEST_F(ChangeLog, RecordsForEveryStoreWhoseLogIsOpen) {
  for (int32_t store_id : {2, 3, 4, 5}) {
    Open(store_id);
    OsifAnchor anchor{};
    EXPECT_EQ(pol_RecordChange(store_id, {kChangeModified, "an id", 0, {}}, &anchor), kOk);
    EXPECT_EQ(pol_RecordChange(store_id, {kChangeDeleted, "an id", 0, {}}, &anchor), kOk);
    EXPECT_EQ(anchor.cc, 2u);
    EXPECT_EQ(anchor.cc, Anchor(store_id).cc);
    EXPECT_STREQ(anchor.ts, Anchor(store_id).ts);
  }
  EXPECT_THAT(Entries(Path("pol_msg-out_change.log")), ElementsAre("M 1 an id", "H 2 an id"));
}

TEST_F(ChangeLog, RecordsNothingWithoutAnAnchor) {
  Open(kMailStore);
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "an id", 0, {}}, nullptr), kOk);
  EXPECT_EQ(BytesOf(MailLog()), "");
  Close(kMailStore);
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "an id", 0, {}}, nullptr), kOk);
}

TEST_F(ChangeLog, CountsRecordedChangesOnFromALogOfAHundredThousandLines) {
  OpenMailLog(EntryLines(1, 100000));
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "an id", 0, {}}, &anchor), kOk);
  EXPECT_EQ(anchor.cc, 100001u);
}

TEST_F(ChangeLog, CutsARecordedIdOf513Characters) {
  Open(kMailStore);
  OsifAnchor anchor{};
  for (size_t length : {512u, 513u, 600u}) {
    const std::string id(length, 'f');
    EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, id.c_str(), 0, {}}, &anchor), kOk);
    EXPECT_EQ(Field(LinesOf(MailLog()).back(), 3), std::string(512, 'f')) << length;
  }
}

class TimeStamp : public ChangeLog, public testing::WithParamInterface<const char*> {};

TEST_P(TimeStamp, OfAChangeIsTheTimeInUtc) {
  support::TimeZone zone(GetParam());
  Open(kMailStore);
  const time_t before = std::time(nullptr);
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "a", 0, {}}, &anchor), kOk);
  OtherProgram().Add("Ann");
  Open();
  const time_t after = std::time(nullptr);
  for (const std::string& stamp : {std::string(anchor.ts), std::string(Anchor().ts)}) {
    std::tm utc{};
    ASSERT_NE(strptime(stamp.c_str(), "%Y%m%dT%H%M%SZ", &utc), nullptr) << stamp;
    EXPECT_EQ(stamp.size(), 16u);
    EXPECT_GE(timegm(&utc), before - 1) << stamp;
    EXPECT_LE(timegm(&utc), after + 1) << stamp;
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, TimeStamp, testing::ValuesIn(support::kFiveZones));

// ---- Failures of the PIM ----------------------------------------------------------------------------

struct WithFakePim {
  support::FakePim pim_;
};

// The fake outlives the logs, which are closed by the fixture.
class ChangeLogOfAFailingPim : public WithFakePim, public ChangeLog {};

TEST_F(ChangeLogOfAFailingPim, OpensWithAPimErrorWhenTheItemsCannotBeRead) {
  pim_.Keep({{"FirstName", u"Ann"}});
  pim_.faults.item = E_FAIL;
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_PIM});
  EXPECT_EQ(BytesOf(ContactLog()), "");
  pim_.faults.item = S_OK;
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 00000001"));
}

TEST_F(ChangeLogOfAFailingPim, KeepsTheSavedSnapshotWhenTheItemsCannotBeReadAtClosing) {
  pim_.Keep({{"FirstName", u"Ann"}});
  Open();
  Close();
  const std::string saved = BytesOf(Path("pol_pb_object.log"));
  pim_.Keep({{"FirstName", u"Bob"}});
  Open();
  pim_.faults.get_count = E_FAIL;
  EXPECT_EQ(Close(), OsifResult{OSIF_ERR_PIM});
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), saved);
  pim_.faults.get_count = S_OK;
}

TEST_F(ChangeLogOfAFailingPim, DoesNotForgetAnItemWhenTheStoreCouldNotBeReadAtOpening) {
  pim_.Keep({{"FirstName", u"Ann"}});
  Open();
  Close();
  pim_.Keep({{"FirstName", u"Bob"}});
  pim_.faults.get_items = E_FAIL;
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_PIM});
  pim_.faults.get_items = S_OK;
  Close();
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 00000001", "M 2 00000002"));
}

TEST_F(ChangeLogOfAFailingPim, TellsTheEndOfAnItemThatWentAfterTheStoreCouldNotBeReadAtOpening) {
  pim_.Keep({{"FirstName", u"Ann"}});
  Open();
  Close();
  pim_.faults.get_items = E_FAIL;
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_PIM});
  pim_.faults.get_items = S_OK;
  Close();
  PutBytes(ContactLog(), "H:7:20050314T101500Z:000000ff\n");  // the entry of Ann has been purged
  pim_.contacts.clear();
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("H 7 000000ff", "H 8 00000001"));
}

TEST_F(ChangeLogOfAFailingPim, RecordsNothingWhenAnItemCannotBeSaved) {
  Open();
  pim_.faults.save = E_FAIL;
  OsifAnchor anchor{};
  EXPECT_EQ(AddContact("Ann", &anchor).result, OsifResult{OSIF_ERR_PIM});
  EXPECT_EQ(BytesOf(ContactLog()), "");
}

TEST_F(ChangeLogOfAFailingPim, ReadsTheCalendarsTwoFoldersIntoOneSnapshot) {
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  EXPECT_EQ(Close(OSIF_STORE_CAL), kOk);
  EXPECT_THAT(pim_.folders_asked, ElementsAre(9, 13, 9, 13));
  EXPECT_TRUE(FileExists(Path("pol_cal_change.log")));
  EXPECT_TRUE(FileExists(Path("pol_cal_object.log")));
}

}  // namespace
