// What the comparison at opening finds.
#include "BtOsif_pol/pol_changelog_compare.h"

#include <gmock/gmock.h>

#include "tests/BtOsif_pol/changelog_fixture.h"

namespace pol_changelog_compare_test {
namespace {

using support::BytesOf;
using support::EntryLines;
using support::Field;
using support::LinesOf;
using support::ModifyContact;
using support::OtherProgram;
using support::PutBytes;
using testing::ElementsAre;
using testing::MatchesRegex;

using ChangeLog = support::ChangeLogTest;

constexpr OsifResult kOk = OSIF_OK;

// ---- What other programs have changed ----------------------------------------------------------------

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

// ---- What a log that was left open tells -------------------------------------------------------------

TEST_F(ChangeLog, TellsTheEndOfAnObjectThatCameAndWentUnseen) {
  // Logged as modified by a process that was killed before it saved a snapshot; deleted since.
  PutBytes(ContactLog(), "M:7:20050314T101500Z:000000fe\n");
  PutBytes(Path("pol_pb_open.log"), "");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", "H 8 000000fe"));
  EXPECT_EQ(Close(), kOk);
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", "H 8 000000fe")) << "told once";
}

TEST_F(ChangeLog, TellsTheEndOfAnObjectOnceWhenTheSnapshotKnewIt) {
  PutBytes(ContactLog(), "M:7:20050314T101500Z:000000fe\n");
  PutBytes(Path("pol_pb_open.log"), "");
  PutBytes(Path("pol_pb_object.log"), "000000fe:1\n");
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", "H 8 000000fe"));
}

TEST_F(ChangeLog, TellsNoEndOfAnObjectWhoseNewestEntryIsItsEnd) {
  for (const char* kind : {"H", "D"}) {
    PutBytes(ContactLog(), std::string("M:7:20050314T101500Z:000000fe\n") + kind +
                               ":8:20050314T101500Z:000000fe\n");
    PutBytes(Path("pol_pb_open.log"), "");
    EXPECT_EQ(Open(), kOk);
    EXPECT_THAT(ContactEntries(), ElementsAre("M 7 000000fe", kind + std::string(" 8 000000fe")));
  }
}

TEST_F(ChangeLog, ThatWasClosedIsOnlyComparedWithTheSnapshot) {
  PutBytes(ContactLog(), EntryLines(1, 5) + "M:6:20050314T101500Z:000000fe\n");
  const std::string before = BytesOf(ContactLog());
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(BytesOf(ContactLog()), before);
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

}  // namespace
}  // namespace pol_changelog_compare_test
