// What was agreed with partners, kept in a file.
#include "obex/client/sync_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

#include "osif.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"

namespace sync_state_test {
namespace {

using obex::SyncPair;
using obex::SyncPending;
using obex::SyncSide;
using obex::SyncState;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> PairsOf(SyncState& state) {
  std::vector<std::string> pairs;
  for (const SyncPair& pair : state.Pairs()) {
    pairs.push_back(pair.id + "/" + pair.luid + " " + pair.hash_here + "/" + pair.hash_there + " " +
                    pair.name + (pair.in_conflict ? " in conflict" : ""));
  }
  return pairs;
}

class SyncStateFile : public testing::Test {
 protected:
  SyncState Opened(bool only_looks = false) const {
    SyncState state(Folder(), only_looks);
    state.Select("partner", OSIF_STORE_PB);
    return state;
  }
  std::string Folder() const { return place_.File(""); }
  std::string File() const { return place_.File("sync.db"); }

  const support::TempFolder place_;
};

TEST_F(SyncStateFile, KnowsNobodyAtFirst) {
  SyncState state = Opened();
  EXPECT_EQ(state.why_not(), "");
  EXPECT_FALSE(state.Anchors());
  EXPECT_FALSE(state.Intent());
  EXPECT_THAT(state.Pairs(), IsEmpty());
  EXPECT_THAT(state.Pending(), IsEmpty());
}

TEST_F(SyncStateFile, KeepsAnchorsWhoseCountersMayBeMissing) {
  {
    SyncState state = Opened();
    EXPECT_TRUE(state.Restart({"here1234", "there567"}));
    EXPECT_FALSE(state.Anchors()->counter_here);
    EXPECT_FALSE(state.Anchors()->counter_there);
    EXPECT_TRUE(state.SetAnchors({"here1234", "there567", 0U, 4294967295U}));
  }
  SyncState state = Opened();
  const auto anchors = state.Anchors();
  ASSERT_TRUE(anchors);
  EXPECT_EQ(anchors->database_here, "here1234");
  EXPECT_EQ(anchors->database_there, "there567");
  EXPECT_EQ(anchors->counter_here, 0U);
  EXPECT_EQ(anchors->counter_there, 4294967295U);
}

TEST_F(SyncStateFile, KeepsEachPartnerAndEachStoreApart) {
  SyncState state = Opened();
  state.Keep({"1", "a", "h", "t"});
  state.Select("partner", OSIF_STORE_CAL);
  EXPECT_THAT(state.Pairs(), IsEmpty());
  state.Keep({"1", "a", "x", "y"});
  state.Select("other", OSIF_STORE_PB);
  EXPECT_THAT(state.Pairs(), IsEmpty());
  state.Restart({"h", "t"});
  state.Select("partner", OSIF_STORE_PB);
  EXPECT_THAT(PairsOf(state), ElementsAre("1/a h/t "));
}

TEST_F(SyncStateFile, PutsAPairInThePlaceOfThoseOfItsObjects) {
  SyncState state = Opened();
  state.Keep({"1", "a", "h1", "t1", "Ann"});
  state.Keep({"2", "b", "h2", "t2", "Bob", true});
  state.Keep({"3", "c", "h3", "t3"});
  state.Keep({"1", "b", "h4", "t4", "Ann B"});
  EXPECT_THAT(PairsOf(state), ElementsAre("1/b h4/t4 Ann B", "3/c h3/t3 "));
  state.Forget("3", {});
  state.Forget({}, "b");
  EXPECT_THAT(PairsOf(state), IsEmpty());
}

TEST_F(SyncStateFile, KeepsAnyTextOfAnIntentUntilThePairIsNoted) {
  const std::string text("N:\xE4\0b\r\n", 7);
  SyncState state = Opened();
  state.Begin({SyncSide::kHere, "1", "", "h", "v", "old", "x"});
  state.Begin({SyncSide::kThere, "1", "a", "hash", "view", "Ann", text});
  const auto intent = Opened().Intent();
  ASSERT_TRUE(intent);
  EXPECT_EQ(intent->target, SyncSide::kThere);
  EXPECT_EQ(intent->id, "1");
  EXPECT_EQ(intent->luid, "a");
  EXPECT_EQ(intent->source_hash, "hash");
  EXPECT_EQ(intent->source_view, "view");
  EXPECT_EQ(intent->source_name, "Ann");
  EXPECT_EQ(intent->source_text, text);
  state.Keep({"1", "a", "h", "t"});
  EXPECT_FALSE(state.Intent());
  state.Begin({SyncSide::kHere, "1", "a", "h", "v", "n", "x"});
  state.Drop();
  EXPECT_FALSE(state.Intent());
}

TEST_F(SyncStateFile, KeepsWhatIsToBeLookedAtAgain) {
  SyncState state = Opened();
  state.SetPending({{SyncSide::kHere, "1"}, {SyncSide::kThere, "a"}, {SyncSide::kHere, "1"}});
  const std::vector<SyncPending> pending = state.Pending();
  ASSERT_EQ(pending.size(), 2U);
  EXPECT_EQ(pending[0].key, "1");
  EXPECT_EQ(pending[1].side, SyncSide::kThere);
  state.SetPending({});
  EXPECT_THAT(state.Pending(), IsEmpty());
}

TEST_F(SyncStateFile, ForgetsAllOfAPartnerThatBeginsAnew) {
  SyncState state = Opened();
  state.Keep({"1", "a", "h", "t"});
  state.SetPending({{SyncSide::kHere, "1"}});
  state.Begin({SyncSide::kHere, "1", "a", "h", "v", "n", "x"});
  state.SetAnchors({"h", "t", 1U, 2U});
  state.Restart({"h", "new"});
  EXPECT_THAT(state.Pairs(), IsEmpty());
  EXPECT_THAT(state.Pending(), IsEmpty());
  EXPECT_FALSE(state.Intent());
  EXPECT_EQ(state.Anchors()->database_there, "new");
  EXPECT_FALSE(state.Anchors()->counter_here);
}

TEST_F(SyncStateFile, IsNeitherMadeNorChangedByLooking) {
  {
    SyncState state = Opened(true);
    EXPECT_EQ(state.why_not(), "");
    EXPECT_FALSE(state.Anchors());
    EXPECT_TRUE(state.Restart({"h", "t"}));
    EXPECT_FALSE(std::filesystem::exists(File()));
  }
  Opened().SetAnchors({"h", "t", 1U, 2U});
  const std::string bytes = support::BytesOf(File());
  SyncState state = Opened(true);
  EXPECT_EQ(state.Anchors()->counter_there, 2U);
  EXPECT_TRUE(state.Keep({"1", "a", "h", "t"}));
  EXPECT_THAT(state.Pairs(), IsEmpty());
  EXPECT_EQ(support::BytesOf(File()), bytes);
}

TEST_F(SyncStateFile, OfANewerVersionIsLeftAsItIs) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(File().c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, "PRAGMA user_version=2", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
  const std::string bytes = support::BytesOf(File());
  EXPECT_THAT(Opened().why_not(), HasSubstr("sync.db: a newer version has made it"));
  EXPECT_EQ(support::BytesOf(File()), bytes);
}

TEST_F(SyncStateFile, IsNotUsedWhereItIsNone) {
  support::PutBytes(File(), std::string(4096, 'x'));
  EXPECT_THAT(Opened().why_not(), HasSubstr("sync.db: file is not a database"));
  EXPECT_EQ(support::BytesOf(File()), std::string(4096, 'x'));
}

}  // namespace
}  // namespace sync_state_test
