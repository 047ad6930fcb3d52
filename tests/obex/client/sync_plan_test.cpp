// What follows from what changed on both sides, without any store or line.
#include "obex/client/sync_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace sync_plan_test {
namespace {

using obex::PlanSync;
using obex::RecoverSync;
using obex::SyncAction;
using obex::SyncDeed;
using obex::SyncIntent;
using obex::SyncKnown;
using obex::SyncLook;
using obex::SyncLooks;
using obex::SyncPair;
using obex::SyncPreference;
using obex::SyncSide;
using obex::SyncTraces;
using testing::ElementsAre;
using testing::IsEmpty;

std::string TextOf(const SyncAction& action) {
  static const std::map<SyncDeed, std::string> kNames = {
      {SyncDeed::kPair, "pair"},
      {SyncDeed::kForget, "forget"},
      {SyncDeed::kReceive, "receive"},
      {SyncDeed::kSend, "send"},
      {SyncDeed::kDeleteHere, "delete here"},
      {SyncDeed::kDeleteThere, "delete there"},
      {SyncDeed::kConflict, "conflict"},
  };
  return kNames.at(action.deed) + " " + action.id + "/" + action.luid +
         (action.overrules ? " overruling" : "");
}

std::vector<std::string> Plan(const SyncKnown& known,
                              SyncPreference preference = SyncPreference::kNone) {
  std::vector<std::string> plan;
  for (const SyncAction& action : PlanSync(known, preference)) plan.push_back(TextOf(action));
  return plan;
}

// An object whose text and whose view are the same word.
SyncLook Is(const std::string& word) { return {true, word, word, word}; }
SyncLook Gone() { return {false}; }

// One pair of "1" here and "a" there, which agreed on "old".
SyncKnown OnePair(const SyncLooks& here, const SyncLooks& there) {
  return {{{"1", "a", "old", "old"}}, here, there};
}

// ---- Pairs ----------------------------------------------------------------------------------------------------

TEST(SyncPlan, DoesNothingWhereNothingChanged) {
  EXPECT_THAT(Plan(OnePair({}, {})), IsEmpty());
  EXPECT_THAT(Plan(OnePair({{"1", Is("old")}}, {{"a", Is("old")}})), IsEmpty());
}

TEST(SyncPlan, TakesAChangeToTheOtherSide) {
  EXPECT_THAT(Plan(OnePair({{"1", Is("new")}}, {})), ElementsAre("send 1/a"));
  EXPECT_THAT(Plan(OnePair({}, {{"a", Is("new")}})), ElementsAre("receive 1/a"));
  EXPECT_THAT(Plan(OnePair({{"1", Is("old")}}, {{"a", Is("new")}})), ElementsAre("receive 1/a"));
}

TEST(SyncPlan, TakesADeletionToTheOtherSide) {
  EXPECT_THAT(Plan(OnePair({{"1", Gone()}}, {})), ElementsAre("delete there 1/a"));
  EXPECT_THAT(Plan(OnePair({}, {{"a", Gone()}})), ElementsAre("delete here 1/a"));
  EXPECT_THAT(Plan(OnePair({{"1", Gone()}}, {{"a", Gone()}})), ElementsAre("forget 1/a"));
}

TEST(SyncPlan, LetsAChangeWinAgainstADeletion) {
  EXPECT_THAT(Plan(OnePair({{"1", Is("new")}}, {{"a", Gone()}})), ElementsAre("send 1/"));
  EXPECT_THAT(Plan(OnePair({{"1", Gone()}}, {{"a", Is("new")}})), ElementsAre("receive /a"));
}

TEST(SyncPlan, AgreesWhereBothChangedToTheSame) {
  EXPECT_THAT(Plan(OnePair({{"1", Is("new")}}, {{"a", Is("new")}})), ElementsAre("pair 1/a"));
}

TEST(SyncPlan, LeavesAConflictUnlessASideIsPreferred) {
  const SyncKnown known = OnePair({{"1", Is("mine")}}, {{"a", Is("theirs")}});
  EXPECT_THAT(Plan(known), ElementsAre("conflict 1/a"));
  EXPECT_THAT(Plan(known, SyncPreference::kHere), ElementsAre("send 1/a overruling"));
  EXPECT_THAT(Plan(known, SyncPreference::kThere), ElementsAre("receive 1/a overruling"));
}

TEST(SyncPlan, DoesNotTakeUnknownViewsForEqual) {
  SyncLook mine = Is("mine");
  SyncLook theirs = Is("theirs");
  mine.view.clear();
  theirs.view.clear();
  EXPECT_THAT(Plan(OnePair({{"1", mine}}, {{"a", theirs}})), ElementsAre("conflict 1/a"));
  EXPECT_THAT(Plan({{}, {{"1", mine}}, {{"a", theirs}}}), ElementsAre("receive /a", "send 1/"));
}

TEST(SyncPlan, EndsAConflictThatOneSideTookBack) {
  SyncKnown known = OnePair({{"1", Is("old")}}, {{"a", Is("theirs")}});
  known.pairs[0].in_conflict = true;
  EXPECT_THAT(Plan(known), ElementsAre("receive 1/a"));
  known.there = {{"a", Is("old")}};
  EXPECT_THAT(Plan(known), ElementsAre("pair 1/a"));
}

TEST(SyncPlan, TakesWhatIsNotAmongAllForGoneAndAmongChangesForUnchanged) {
  SyncKnown known = OnePair({{"1", Is("old")}}, {});
  EXPECT_THAT(Plan(known), IsEmpty());
  known.is_whole = true;
  EXPECT_THAT(Plan(known), ElementsAre("delete here 1/a"));
}

// ---- New objects ----------------------------------------------------------------------------------------------

TEST(SyncPlan, TakesNewObjectsToTheOtherSide) {
  EXPECT_THAT(Plan({{}, {{"1", Is("x")}}, {{"a", Is("y")}}}), ElementsAre("receive /a", "send 1/"));
}

TEST(SyncPlan, PairsNewObjectsThatAreEqual) {
  EXPECT_THAT(Plan({{}, {{"1", Is("x")}}, {{"a", Is("x")}}}), ElementsAre("pair 1/a"));
}

TEST(SyncPlan, PairsDuplicatesOneToOne) {
  EXPECT_THAT(
      Plan(
          {{}, {{"1", Is("x")}, {"2", Is("x")}, {"3", Is("x")}}, {{"a", Is("x")}, {"b", Is("x")}}}),
      ElementsAre("pair 1/a", "pair 2/b", "send 3/"));
}

TEST(SyncPlan, DoesNotPairWhatIsInAPair) {
  SyncKnown known = OnePair({{"1", Is("new")}, {"2", Is("new")}}, {});
  EXPECT_THAT(Plan(known), ElementsAre("send 1/a", "send 2/"));
}

TEST(SyncPlan, PairsAChangedObjectWithOneThatCameInThePlaceOfItsOther) {
  EXPECT_THAT(Plan(OnePair({{"1", Is("new")}}, {{"a", Gone()}, {"b", Is("new")}})),
              ElementsAre("pair 1/b"));
  EXPECT_THAT(Plan(OnePair({{"1", Gone()}, {"2", Is("new")}}, {{"a", Is("new")}})),
              ElementsAre("pair 2/a"));
}

TEST(SyncPlan, DoesNotSeeWhatCameAndWentInBetween) {
  EXPECT_THAT(Plan({{}, {{"1", Gone()}}, {{"a", Gone()}}}), IsEmpty());
}

// ---- Deletions ------------------------------------------------------------------------------------------------

TEST(SyncDeletions, AreTooManyBeyondHalfAndBeyondThree) {
  EXPECT_FALSE(obex::IsTooManyDeletions(3, 3));
  EXPECT_TRUE(obex::IsTooManyDeletions(4, 4));
  EXPECT_TRUE(obex::IsTooManyDeletions(4, 7));
  EXPECT_FALSE(obex::IsTooManyDeletions(4, 8));
  EXPECT_FALSE(obex::IsTooManyDeletions(0, 0));
}

TEST(SyncDeletions, AreCountedOnEachSide) {
  const std::vector<SyncAction> plan = {{SyncDeed::kDeleteHere, "1", "a"},
                                        {SyncDeed::kDeleteHere, "2", "b"},
                                        {SyncDeed::kDeleteThere, "3", "c"},
                                        {SyncDeed::kForget, "4", "d"}};
  EXPECT_EQ(obex::CountDeletions(plan, SyncSide::kHere), 2U);
  EXPECT_EQ(obex::CountDeletions(plan, SyncSide::kThere), 1U);
}

TEST(SyncPlan, CountsWhatIsEqual) {
  const SyncKnown known{{{"1", "a", "old", "old"}, {"2", "b", "old", "old"}, {"3", "c", "x", "x"}},
                        {{"2", Is("new")}, {"4", Is("y")}},
                        {{"d", Is("y")}, {"c", Is("z")}}};
  EXPECT_EQ(obex::CountEqual(PlanSync(known, SyncPreference::kNone), known), 2U);  // 1/a and 4/d
}

// What is made anew on the side that had deleted it.
TEST(SyncPlan, DoesNotCountAsEqualWhatIsLeftOnOneSide) {
  const SyncKnown known{{{"1", "a", "old", "old"}, {"2", "b", "old", "old"}, {"3", "c", "x", "x"}},
                        {{"1", Is("new")}, {"2", Gone()}},
                        {{"a", Gone()}, {"b", Is("other")}}};
  const std::vector<SyncAction> plan = PlanSync(known, SyncPreference::kNone);
  ASSERT_EQ(plan.size(), 2U);
  EXPECT_EQ(obex::CountEqual(plan, known), 1U);  // 3/c
}

// ---- What a run that was ended left ----------------------------------------------------------------------------

SyncIntent Intent(SyncSide target, const std::string& id, const std::string& luid) {
  return {target, id, luid, "sent", "sent", "name"};
}

TEST(SyncRecovery, PairsWhatAnAdditionMade) {
  SyncKnown known{{}, {{"7", Is("sent")}}, {{"a", Is("sent")}}};
  EXPECT_FALSE(RecoverSync(Intent(SyncSide::kHere, "", "a"), {}, known));
  ASSERT_EQ(known.pairs.size(), 1U);
  EXPECT_EQ(known.pairs[0].id, "7");
  EXPECT_EQ(known.pairs[0].luid, "a");
  EXPECT_THAT(Plan(known), IsEmpty());
}

TEST(SyncRecovery, SeesThatTheSourceChangedSince) {
  SyncKnown known{{}, {{"7", Is("sent")}}, {{"a", Is("newer")}}};
  RecoverSync(Intent(SyncSide::kHere, "", "a"), {}, known);
  EXPECT_THAT(Plan(known), ElementsAre("receive 7/a"));
}

TEST(SyncRecovery, PairsWhatADeviceKeptOfAnAddition) {
  SyncKnown known{{}, {{"7", Is("sent")}}, {{"a", Is("poorer")}}};
  RecoverSync(Intent(SyncSide::kThere, "7", ""), SyncTraces{false, {"a"}}, known);
  EXPECT_THAT(Plan(known), IsEmpty());
}

TEST(SyncRecovery, TakesOneOfSeveralForNone) {
  SyncKnown known{{}, {{"7", Is("sent")}}, {{"a", Is("poorer")}, {"b", Is("poor")}}};
  RecoverSync(Intent(SyncSide::kThere, "7", ""), SyncTraces{false, {"a", "b"}}, known);
  EXPECT_THAT(known.pairs, IsEmpty());
}

TEST(SyncRecovery, PairsTheReplacementAndGivesBackWhatItWasToReplace) {
  SyncKnown known = OnePair({{"1", Is("between")}, {"2", Is("sent")}}, {{"a", Is("sent")}});
  const auto left = RecoverSync(Intent(SyncSide::kHere, "1", "a"), {true, {}}, known);
  ASSERT_TRUE(left);
  EXPECT_EQ(TextOf(*left), "delete here 1/");
  EXPECT_THAT(Plan(known), IsEmpty());
}

TEST(SyncRecovery, GivesNothingBackThatIsGone) {
  SyncKnown known = OnePair({{"1", Is("sent")}}, {{"a", Gone()}, {"b", Is("sent")}});
  EXPECT_FALSE(RecoverSync(Intent(SyncSide::kThere, "1", "a"), {}, known));
  EXPECT_THAT(Plan(known), IsEmpty());
}

TEST(SyncRecovery, TakesAHalfDoneChangeForNone) {
  SyncKnown known = OnePair({{"1", Is("between")}}, {{"a", Is("sent")}});
  EXPECT_FALSE(RecoverSync(Intent(SyncSide::kHere, "1", "a"), {true, {}}, known));
  EXPECT_THAT(Plan(known), ElementsAre("receive 1/a"));
}

TEST(SyncRecovery, LeavesAChangeThatIsItsOwners) {
  SyncKnown known = OnePair({{"1", Is("mine")}}, {{"a", Is("sent")}});
  RecoverSync(Intent(SyncSide::kHere, "1", "a"), {}, known);
  EXPECT_THAT(Plan(known), ElementsAre("conflict 1/a"));
}

TEST(SyncRecovery, ChangesNothingWhereNothingWasDone) {
  SyncKnown known = OnePair({{"1", Is("old")}}, {{"a", Is("sent")}});
  RecoverSync(Intent(SyncSide::kHere, "1", "a"), {}, known);
  EXPECT_THAT(Plan(known), ElementsAre("receive 1/a"));
}

// ---- Whatever is known ----------------------------------------------------------------------------------------

// Two stores as a plan sees them. Carrying the plan out in them must make them equal.
struct World {
  std::map<std::string, std::string> here;
  std::map<std::string, std::string> there;
  std::vector<SyncPair> pairs;
};

SyncLooks AllOf(const std::map<std::string, std::string>& store) {
  SyncLooks looks;
  for (const auto& [key, text] : store) looks[key] = Is(text);
  return looks;
}

void CarryOut(const SyncAction& action, World& world, int& next) {
  const auto make = [&](const std::string& key) {
    return key.empty() ? "new" + std::to_string(++next) : key;
  };
  std::string id = action.id;
  std::string luid = action.luid;
  if (action.deed == SyncDeed::kReceive) world.here[id = make(id)] = world.there.at(luid);
  if (action.deed == SyncDeed::kSend) world.there[luid = make(luid)] = world.here.at(id);
  if (action.deed == SyncDeed::kDeleteHere) world.here.erase(id);
  if (action.deed == SyncDeed::kDeleteThere) world.there.erase(luid);
  if (action.deed == SyncDeed::kConflict) return;
  std::erase_if(world.pairs,
                [&](const SyncPair& pair) { return pair.id == id || pair.luid == luid; });
  if (world.here.contains(id) && world.there.contains(luid)) {
    world.pairs.push_back({id, luid, world.here[id], world.there[luid]});
  }
}

std::multiset<std::string> TextsOf(const std::map<std::string, std::string>& store) {
  std::multiset<std::string> texts;
  for (const auto& [key, text] : store) texts.insert(text);
  return texts;
}

World AnyWorld() {
  World world;
  const auto word = [] { return std::string(1, *rc::gen::inRange('p', 't')); };
  const int pairs = *rc::gen::inRange(0, 6);
  for (int i = 0; i < pairs; ++i) {
    const std::string id = "h" + std::to_string(i);
    const std::string luid = "t" + std::to_string(i);
    const std::string text = word();
    world.pairs.push_back({id, luid, text, text});
    if (*rc::gen::inRange(0, 4) > 0) world.here[id] = *rc::gen::arbitrary<bool>() ? text : word();
    if (*rc::gen::inRange(0, 4) > 0) {
      world.there[luid] = *rc::gen::arbitrary<bool>() ? text : word();
    }
  }
  const int news = *rc::gen::inRange(0, 4);
  for (int i = 0; i < news; ++i) {
    world.here["hn" + std::to_string(i)] = word();
    world.there["tn" + std::to_string(i)] = word();
  }
  return world;
}

TEST(SyncPlan, MakesAnyTwoStoresEqualAndHasNothingToDoThen) {
  EXPECT_TRUE(rc::check([] {
    World world = AnyWorld();
    const auto preference = *rc::gen::element(SyncPreference::kHere, SyncPreference::kThere);
    int next = 0;
    const SyncKnown known{world.pairs, AllOf(world.here), AllOf(world.there), true};
    for (const SyncAction& action : PlanSync(known, preference)) CarryOut(action, world, next);
    RC_ASSERT(TextsOf(world.here) == TextsOf(world.there));
    RC_ASSERT(world.pairs.size() == world.here.size());
    const SyncKnown after{world.pairs, AllOf(world.here), AllOf(world.there), true};
    RC_ASSERT(PlanSync(after, preference).empty());
  }));
}

TEST(SyncPlan, EndedAfterAnyActionDoublesNothing) {
  EXPECT_TRUE(rc::check([] {
    World world = AnyWorld();
    World whole = world;
    int next = 0;
    const auto preference = *rc::gen::element(SyncPreference::kHere, SyncPreference::kThere);
    const std::vector<SyncAction> plan =
        PlanSync({world.pairs, AllOf(world.here), AllOf(world.there), true}, preference);
    for (const SyncAction& action : plan) CarryOut(action, whole, next);
    // The last action was done, and its pair not noted.
    const size_t ended = plan.empty() ? 0 : *rc::gen::inRange<size_t>(0, plan.size() + 1);
    for (size_t i = 0; i < ended; ++i) {
      const std::vector<SyncPair> pairs = world.pairs;
      CarryOut(plan[i], world, next);
      if (i + 1 == ended) world.pairs = pairs;
    }
    for (const SyncAction& action :
         PlanSync({world.pairs, AllOf(world.here), AllOf(world.there), true}, preference)) {
      CarryOut(action, world, next);
    }
    RC_ASSERT(TextsOf(world.here) == TextsOf(world.there));
    RC_ASSERT(world.here.size() == whole.here.size());
  }));
}

}  // namespace
}  // namespace sync_plan_test
