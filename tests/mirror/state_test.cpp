#include "mirror/state.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <filesystem>

#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"

namespace state_test {
namespace {

using mirror::MirrorIntent;
using mirror::MirrorPair;
using mirror::MirrorPosition;
using mirror::MirrorState;
using mirror::MirrorTexts;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Rows {
  std::optional<MirrorPosition> position;
  std::vector<MirrorPair> pairs;
  std::set<std::string> pending;
  std::optional<MirrorIntent> intent;
};

std::vector<std::string> Names(const Rows& rows) {
  std::vector<std::string> names;
  for (const MirrorPair& pair : rows.pairs) names.push_back(pair.name + "=" + pair.id);
  return names;
}

class MirrorStateTest : public testing::Test {
 protected:
  Rows Read(MirrorState& state) const {
    Rows rows;
    EXPECT_TRUE(state.Read(rows.position, rows.pairs, rows.pending, rows.intent))
        << state.why_not();
    return rows;
  }
  // As the next run finds it.
  Rows ReadAgain(const std::string& folder = "/f", int32_t store_id = 0) const {
    MirrorState state(temp_.path(), false);
    EXPECT_TRUE(state.is_open()) << state.why_not();
    state.Select(folder, store_id);
    return Read(state);
  }
  std::string TextsOf(const std::string& name) {
    MirrorTexts texts;
    EXPECT_TRUE(state_.ReadTexts(name, texts));
    return texts.base + "|" + texts.stored;
  }
  void Execute(const char* sql) const {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(temp_.File("mirror.db").c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }

  void SetUp() override { state_.Select("/f", 0); }

  support::TempFolder temp_;
  MirrorState state_{temp_.path(), false};
};

const MirrorPair kAnn = {"ann.vcf", "u1", "0001", "fk", "sk", {1, 2, 3}, 4};

TEST_F(MirrorStateTest, OfANewFolderIsEmpty) {
  const Rows rows = ReadAgain();
  EXPECT_FALSE(rows.position);
  EXPECT_THAT(rows.pairs, IsEmpty());
  EXPECT_THAT(rows.pending, IsEmpty());
  EXPECT_FALSE(rows.intent);
}

TEST_F(MirrorStateTest, GivesAPairBackAsItWasKept) {
  const std::string base("text\0 with a zero", 17);
  ASSERT_TRUE(state_.Keep(kAnn, {base, "stored"}));
  const Rows rows = ReadAgain();
  ASSERT_EQ(rows.pairs.size(), 1u);
  const MirrorPair& pair = rows.pairs[0];
  EXPECT_EQ(pair.name, "ann.vcf");
  EXPECT_EQ(pair.uid, "u1");
  EXPECT_EQ(pair.id, "0001");
  EXPECT_EQ(pair.file_key, "fk");
  EXPECT_EQ(pair.store_key, "sk");
  EXPECT_EQ(pair.stamp, (mirror::FileStamp{1, 2, 3}));
  EXPECT_EQ(pair.noted, 4);
  EXPECT_EQ(TextsOf("ann.vcf"), base + "|stored");
}

TEST_F(MirrorStateTest, KeepsOnePairForANameAndForAnId) {
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "a"}));
  MirrorPair same_name = kAnn;
  same_name.id = "0002";
  ASSERT_TRUE(state_.Keep(same_name, {"b", "b"}));
  EXPECT_THAT(Names(ReadAgain()), ElementsAre("ann.vcf=0002"));
  MirrorPair same_id = same_name;
  same_id.name = "other.vcf";
  ASSERT_TRUE(state_.Keep(same_id, {"c", "c"}));
  EXPECT_THAT(Names(ReadAgain()), ElementsAre("other.vcf=0002"));
  EXPECT_EQ(TextsOf("ann.vcf"), "|");
  EXPECT_EQ(TextsOf("other.vcf"), "c|c");
}

TEST_F(MirrorStateTest, KeepsAnyNumberOfFilesThatOnlyTheFolderHolds) {
  for (const char* name : {"a.ics", "b.ics"}) {
    MirrorPair pair = kAnn;
    pair.name = name;
    pair.id = "";
    ASSERT_TRUE(state_.Keep(pair, {name, ""}));
  }
  EXPECT_THAT(Names(ReadAgain()), ElementsAre("a.ics=", "b.ics="));
  EXPECT_EQ(TextsOf("a.ics"), "a.ics|");
}

TEST_F(MirrorStateTest, OfOneFolderAndStoreIsNoneOfAnother) {
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "a"}));
  ASSERT_TRUE(state_.SetPosition({"db", 7}, {"x"}));
  ASSERT_TRUE(state_.Begin({"n", "i", 1, "u", "t"}));
  for (const auto& [folder, store_id] : {std::pair("/g", 0), std::pair("/f", 1)}) {
    const Rows rows = ReadAgain(folder, store_id);
    EXPECT_FALSE(rows.position);
    EXPECT_THAT(rows.pairs, IsEmpty());
    EXPECT_THAT(rows.pending, IsEmpty());
    EXPECT_FALSE(rows.intent);
    MirrorState other(temp_.path(), false);
    other.Select(folder, store_id);
    ASSERT_TRUE(other.Keep(kAnn, {"b", "b"}));
    ASSERT_TRUE(other.Forget("ann.vcf"));
    ASSERT_TRUE(other.Drop());
  }
  EXPECT_EQ(TextsOf("ann.vcf"), "a|a");
  EXPECT_TRUE(ReadAgain().intent);
}

TEST_F(MirrorStateTest, FollowsAFileThatWasRenamed) {
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "b"}));
  MirrorPair renamed = kAnn;
  renamed.name = "anne.vcf";
  renamed.stamp = {5, 6, 7};
  renamed.noted = 8;
  ASSERT_TRUE(state_.Rename({{"ann.vcf", renamed}}));
  const Rows rows = ReadAgain();
  EXPECT_THAT(Names(rows), ElementsAre("anne.vcf=0001"));
  EXPECT_EQ(rows.pairs[0].stamp, (mirror::FileStamp{5, 6, 7}));
  EXPECT_EQ(rows.pairs[0].noted, 8);
  EXPECT_EQ(TextsOf("anne.vcf"), "a|b");
  EXPECT_EQ(TextsOf("ann.vcf"), "|");
}

TEST_F(MirrorStateTest, FollowsFilesThatHaveChangedTheirNamesWithEachOther) {
  MirrorPair bob = kAnn;
  bob.name = "bob.vcf";
  bob.id = "0002";
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "a"}));
  ASSERT_TRUE(state_.Keep(bob, {"b", "b"}));
  MirrorPair ann = kAnn;
  std::swap(ann.name, bob.name);
  ASSERT_TRUE(state_.Rename({{"ann.vcf", ann}, {"bob.vcf", bob}}));
  EXPECT_THAT(Names(ReadAgain()), ElementsAre("ann.vcf=0002", "bob.vcf=0001"));
  EXPECT_EQ(TextsOf("ann.vcf"), "b|b");
  EXPECT_EQ(TextsOf("bob.vcf"), "a|a");
}

TEST_F(MirrorStateTest, KeepsTheStampOfAFileAlone) {
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "b"}));
  MirrorPair looked_at = kAnn;
  looked_at.stamp = {5, 6, 7};
  looked_at.noted = 8;
  looked_at.file_key = "of no concern";
  ASSERT_TRUE(state_.KeepStamp(looked_at));
  const Rows rows = ReadAgain();
  ASSERT_EQ(rows.pairs.size(), 1u);
  EXPECT_EQ(rows.pairs[0].stamp, (mirror::FileStamp{5, 6, 7}));
  EXPECT_EQ(rows.pairs[0].noted, 8);
  EXPECT_EQ(rows.pairs[0].file_key, "fk");
}

TEST_F(MirrorStateTest, ForgetsAPairWithItsTexts) {
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "b"}));
  ASSERT_TRUE(state_.Forget("ann.vcf"));
  EXPECT_THAT(ReadAgain().pairs, IsEmpty());
  EXPECT_EQ(TextsOf("ann.vcf"), "|");
}

TEST_F(MirrorStateTest, ReplacesThePositionAndWhatIsPending) {
  ASSERT_TRUE(state_.SetPosition({"first", 0xFFFFFFFF}, {"a", "b"}));
  EXPECT_EQ(ReadAgain().position, (MirrorPosition{"first", 0xFFFFFFFF}));
  EXPECT_THAT(ReadAgain().pending, ElementsAre("a", "b"));
  ASSERT_TRUE(state_.SetPosition({"second", 8}, {"c"}));
  EXPECT_EQ(ReadAgain().position, (MirrorPosition{"second", 8}));
  EXPECT_THAT(ReadAgain().pending, ElementsAre("c"));
}

TEST_F(MirrorStateTest, HasOneIntentWhichEndsWithItsPair) {
  ASSERT_TRUE(state_.Begin({"x.vcf", "", 1, "u", "t"}));
  ASSERT_TRUE(state_.Begin({"ann.vcf", "0001", 9, "u1", "text"}));
  const std::optional<MirrorIntent> intent = ReadAgain().intent;
  ASSERT_TRUE(intent);
  EXPECT_EQ(intent->name, "ann.vcf");
  EXPECT_EQ(intent->id, "0001");
  EXPECT_EQ(intent->counter, 9u);
  EXPECT_EQ(intent->uid, "u1");
  EXPECT_EQ(intent->text, "text");
  MirrorPair other = kAnn;
  other.name = "other.vcf";
  other.id = "0009";
  ASSERT_TRUE(state_.Keep(other, {"a", "b"}));
  EXPECT_TRUE(ReadAgain().intent) << "of another pair";
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "b"}));
  EXPECT_FALSE(ReadAgain().intent);
}

TEST_F(MirrorStateTest, AnIntentThatWasRefusedIsDropped) {
  ASSERT_TRUE(state_.Begin({"x.vcf", "", 1, "u", "t"}));
  ASSERT_TRUE(state_.Drop());
  EXPECT_FALSE(ReadAgain().intent);
}

TEST_F(MirrorStateTest, OfALaterVersionIsRefusedAndLeftAsItIs) {
  Execute("PRAGMA user_version = 2");
  MirrorState state(temp_.path(), false);
  EXPECT_FALSE(state.is_open());
  EXPECT_EQ(state.why_not(), temp_.File("mirror.db") + ": a newer version has made it");
}

TEST_F(MirrorStateTest, ThatIsNoDatabaseIsRefusedInWords) {
  const support::TempFolder other;
  support::PutBytes(other.File("mirror.db"),
                    "this is no database, and it is longer than a header of one");
  MirrorState state(other.path(), false);
  EXPECT_FALSE(state.is_open());
  EXPECT_EQ(state.why_not(), other.File("mirror.db") + ": file is not a database");
}

TEST_F(MirrorStateTest, AFailureIsToldInWordsAndNothingIsHalfWritten) {
  ASSERT_TRUE(state_.Keep(kAnn, {"a", "b"}));
  Execute("DROP TABLE texts");
  MirrorPair changed = kAnn;
  changed.file_key = "new";
  EXPECT_FALSE(state_.Keep(changed, {"c", "d"}));
  EXPECT_THAT(state_.why_not(), HasSubstr("mirror.db: no such table: texts"));
  EXPECT_EQ(ReadAgain().pairs.at(0).file_key, "fk");
}

TEST(MirrorStateThatOnlyLooks, MakesNothingAndChangesNothing) {
  const support::TempFolder temp;
  {
    MirrorState state(temp.path(), true);
    state.Select("/f", 0);
    ASSERT_TRUE(state.is_open()) << state.why_not();
    EXPECT_TRUE(state.Keep(kAnn, {"a", "b"}));
    EXPECT_TRUE(state.SetPosition({"x", 1}, {}));
  }
  EXPECT_TRUE(std::filesystem::is_empty(temp.path()));
  {
    MirrorState state(temp.path(), false);
    state.Select("/f", 0);
    ASSERT_TRUE(state.Keep(kAnn, {"a", "b"}));
  }
  MirrorState looking(temp.path(), true);
  looking.Select("/f", 0);
  ASSERT_TRUE(looking.Forget("ann.vcf"));
  Rows rows;
  ASSERT_TRUE(looking.Read(rows.position, rows.pairs, rows.pending, rows.intent));
  EXPECT_THAT(Names(rows), ElementsAre("ann.vcf=0001"));
}

}  // namespace
}  // namespace state_test
