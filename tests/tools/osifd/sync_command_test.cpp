// osif sync: two devices of ours keep equal, of which the other is served.
#include <regex>

#include "tests/tools/osifd/sync_fixture.h"

namespace osifd_test::sync_command_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class SyncWithDevice : public SyncCommand {
 protected:
  SyncWithDevice() { StartService(); }

  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
  Outcome Sync(const Lines& options) override {
    Lines arguments = {"sync", Address()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return Here(arguments);
  }

  // Both hold the same, and all of these.
  void ExpectBoth(const std::multiset<std::string>& names) const {
    EXPECT_EQ(Names(here_), names);
    EXPECT_EQ(Names(there_), names);
    EXPECT_EQ(TextsOf(here_), TextsOf(there_));
  }

  const std::string& there_ = device_;
};

TEST_F(SyncWithDevice, MakesBothStoresEqualAndSaysSoWithContactsFirst) {
  Add(here_, Ann({"TEL;CELL:1"}) + kBob + kTea);
  Add(there_, kBob + kCarl + Family(1, 2) + kSweep);
  const Outcome outcome = Sync({});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  const Lines lines = outcome.OutLines();
  ASSERT_EQ(lines.size(), 2u) << outcome.out;
  EXPECT_TRUE(std::regex_match(lines[0], std::regex("pb: first synchronisation with OSIF [^:]*: 3 "
                                                    "received, 1 sent, 0 deleted here, 0 deleted "
                                                    "there, 1 equal")))
      << lines[0];
  EXPECT_TRUE(std::regex_match(lines[1], std::regex("cal: first synchronisation with OSIF [^:]*: 1 "
                                                    "received, 1 sent, 0 deleted here, 0 deleted "
                                                    "there, 0 equal")))
      << lines[1];
  ExpectBoth({"Ann Lee", "Bob Ray", "Carl Fox", "Family1", "Family2"});
  EXPECT_EQ(TextsOf(here_, "cal"), TextsOf(there_, "cal"));
  EXPECT_EQ(Names(here_, "cal"), (std::multiset<std::string>{"Sweep", "Tea"}));
}

TEST_F(SyncWithDevice, TouchesNoStoreButTheOneThatIsNamed) {
  Add(here_, Ann() + kTea);
  EXPECT_THAT(Sync({"cal"}).OutLines(),
              ElementsAre(StartsWith("cal: first synchronisation with ")));
  EXPECT_EQ(Count("pb"), "0");
  EXPECT_EQ(Count("cal"), "1");
  EXPECT_THAT(Sync({"pb"}).OutLines(), ElementsAre(StartsWith("pb: first synchronisation with ")));
  EXPECT_EQ(Count("pb"), "1");
}

TEST_F(SyncWithDevice, HasNothingToDoTheSecondTime) {
  Add(here_, Ann() + kTea);
  Add(there_, kBob + kSweep);
  ASSERT_EQ(Sync({}).status, 0);
  const Lines anchors = {Anchor(here_), Anchor(there_), Anchor(here_, "cal"),
                         Anchor(there_, "cal")};
  const Outcome outcome = Sync({});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "pb: nothing to do\ncal: nothing to do\n");
  EXPECT_EQ((Lines{Anchor(here_), Anchor(there_), Anchor(here_, "cal"), Anchor(there_, "cal")}),
            anchors);
}

TEST_F(SyncWithDevice, CarriesChangesBothWaysAndSaysHowMany) {
  Add(here_, Ann() + kBob + Family(1, 8));
  Agree();
  Change(here_, Ann({"TEL;CELL:1"}));
  Add(here_, kCarl);
  Change(there_, Card({"N:Family1;", "NOTE:new"}));
  Delete(here_, "Family2");
  Delete(there_, "Family3");
  Delete(there_, "Family4");
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "pb: 1 received, 2 sent, 2 deleted here, 1 deleted there\n");
  ExpectBoth(
      {"Ann Lee", "Bob Ray", "Carl Fox", "Family1", "Family5", "Family6", "Family7", "Family8"});
  EXPECT_THAT(Text(there_, "Ann Lee"), HasSubstr("\r\nTEL;TYPE=cell:1\r\n"));
  EXPECT_THAT(Text(here_, "Family1"), HasSubstr("\r\nNOTE:new\r\n"));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

// What was agreed is of the same moment as the device that was put back: what the partner has changed since then comes once
// more, also what it had got from here.
TEST_F(SyncWithDevice, BringsThisDeviceForwardAfterItWasPutBack) {
  Add(here_, Ann() + kBob);
  Add(there_, kCarl);
  Agree();
  ASSERT_EQ(Here({"backup", Path("saved")}).status, 0);
  Add(here_, Family(1, 2));
  Change(there_, Ann({"TEL;CELL:1"}));
  Delete(there_, "Bob Ray");
  ASSERT_EQ(Sync({"pb"}).status, 0);
  const Outcome restored = Here({"restore", Path("saved"), "--force"});
  ASSERT_EQ(restored.status, 0) << restored.err;
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray", "Carl Fox"}));
  EXPECT_EQ(Sync({"pb"}).out, "pb: 3 received, 0 sent, 1 deleted here, 0 deleted there\n");
  ExpectBoth({"Ann Lee", "Carl Fox", "Family1", "Family2"});
  EXPECT_THAT(Text(here_, "Ann Lee"), HasSubstr("\r\nTEL;TYPE=cell:1\r\n"));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

// Its next changes have the numbers of those that this side has seen.
TEST_F(SyncWithDevice, ComparesEverythingAfterThePartnerWasPutBack) {
  Add(here_, Ann() + kBob);
  Add(there_, kCarl);
  Agree();
  const auto there = [&](Lines arguments) {
    arguments.insert(arguments.begin(), {"--device", there_});
    return Osif(arguments);
  };
  ASSERT_EQ(there({"backup", Path("saved")}).status, 0);
  Add(there_, Family(1, 2));
  ASSERT_EQ(Sync({"pb"}).status, 0);
  const Outcome restored = there({"restore", Path("saved"), "--force"});
  ASSERT_EQ(restored.status, 0) << restored.err;
  Add(there_, Family(3, 4));
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("the partner has another database"));
  ExpectBoth({"Ann Lee", "Bob Ray", "Carl Fox", "Family1", "Family2", "Family3", "Family4"});
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithDevice, SaysWithVerboseWhatBecameOfEachObject) {
  Add(here_, Ann() + kBob);
  Add(there_, kBob + kCarl);
  Lines lines = Sync({"pb", "-v"}).OutLines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_THAT(lines,
              testing::IsSupersetOf({"pb " + IdOf(here_, "Ann Lee") + " Ann Lee: sent",
                                     "pb " + IdOf(here_, "Bob Ray") + " Bob Ray: paired",
                                     "pb " + IdOf(here_, "Carl Fox") + " Carl Fox: received"}));
  const std::string ann = IdOf(here_, "Ann Lee");
  const std::string bob = IdOf(here_, "Bob Ray");
  Delete(there_, "Ann Lee");
  Delete(here_, "Bob Ray");
  lines = Sync({"pb", "-v"}).OutLines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_THAT(lines,
              testing::Contains(AllOf(StartsWith("pb " + ann), HasSubstr(": deleted here"))));
  EXPECT_THAT(lines,
              testing::Contains(AllOf(StartsWith("pb " + bob), HasSubstr(": deleted there"))));
}

TEST_F(SyncWithDevice, SaysAsJsonWhatItSaysInWords) {
  Add(here_, Ann() + kBob);
  Add(there_, kBob + kCarl);
  const std::vector<Json> lines = Sync({"--json"}).JsonLines();
  ASSERT_EQ(lines.size(), 2u);
  ObexClient client = SyncClient();
  const std::string device_info = client.Get("telecom/devinfo.txt").body;
  client.Disconnect();
  const std::string number = device_info.substr(device_info.find("SN:") + 3, 16);
  EXPECT_EQ(lines[0], (Json{{"store", "pb"},
                            {"partner", number},
                            {"kind", "first"},
                            {"received", 1},
                            {"sent", 1},
                            {"deleted_here", 0},
                            {"deleted_there", 0},
                            {"paired", 1},
                            {"conflicts", Json::array()},
                            {"refused", Json::array()},
                            {"complete", true}}));
  EXPECT_EQ(lines[1]["store"], "cal");
  Delete(there_, "Carl Fox");
  const Json second = Synced();
  EXPECT_EQ(second["kind"], "changes");
  EXPECT_EQ(NumbersOf(second), Numbers(0, 0, 1, 0));
  EXPECT_EQ(Synced({"--slow"})["kind"], "slow");
}

// ---- The partner --------------------------------------------------------------------------------------------------

TEST_F(SyncWithDevice, RemembersEachPartnerByItself) {
  Add(here_, Ann());
  Agree();
  EndService();
  StartService({"--device", Path("third")});
  EXPECT_EQ(Synced()["kind"], "first");
  EXPECT_EQ(Names(Path("third")), (std::multiset<std::string>{"Ann Lee"}));
  Add(Path("third"), kBob);
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 0, 0, 0));
  EndService();
  StartService();
  const Json report = Synced();
  EXPECT_EQ(report["kind"], "changes");
  EXPECT_EQ(NumbersOf(report), Numbers(0, 1, 0, 0));
  ExpectBoth({"Ann Lee", "Bob Ray"});
}

TEST_F(SyncWithDevice, KnowsAPartnerAgainAtAnotherAddress) {
  Add(here_, Ann());
  Agree();
  EndService();
  StartService();
  EXPECT_EQ(Synced()["kind"], "changes");
}

TEST_F(SyncWithDevice, KeepsWhatItRemembersBesideTheDevice) {
  Agree();
  EXPECT_TRUE(std::filesystem::exists(here_ + "/sync.db"));
  EXPECT_FALSE(std::filesystem::exists(there_ + "/sync.db"));
}

TEST_F(SyncWithDevice, IsKeptOutWhileAnotherHoldsTheStoreHere) {
  Add(here_, Ann());
  const int there_port = port_;
  const pid_t there_service = std::exchange(service_, 0);
  StartService({"--device", here_});
  ObexClient holder = SyncClient();
  ASSERT_EQ(holder.Get("telecom/pb/info.log").code, kSuccess);
  const int here_port = std::exchange(port_, there_port);
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("in use"));
  holder.Disconnect();
  EXPECT_EQ(Count("pb"), "0");
  Agree();
  EXPECT_EQ(Count("pb"), "1");
  port_ = here_port;
  EndService();
  service_ = there_service;
}

TEST_F(SyncWithDevice, IsTurnedAwayWhileAnotherSynchronisesThere) {
  Add(here_, Ann());
  ObexClient other = SyncClient();
  ASSERT_EQ(other.Get("telecom/pb/info.log").code, kSuccess);
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err, "");
  other.Disconnect();
  EXPECT_EQ(Count("pb"), "0");
  Agree();
  EXPECT_EQ(Count("pb"), "1");
}

TEST_F(SyncWithDevice, SaysAPasswordWhereItIsAsked) {
  EndService();
  const std::string right = Write("right", "secret\n");
  StartService({"--password-file", right});
  Add(here_, Ann());
  EXPECT_THAT(Sync({"pb"}).err, HasSubstr("a password is wanted"));
  EXPECT_EQ(Sync({"pb", "--password-file", Write("wrong", "guess\n")}).status, 1);
  EXPECT_EQ(Count("pb"), "0");
  EXPECT_EQ(Sync({"pb", "--password-file", right}).status, 0);
  EXPECT_EQ(Count("pb"), "1");
}

TEST_F(SyncWithDevice, GoesOverASerialLineAsWell) {
  EndService();
  StartServiceWith({"--pty"});
  const std::string said = support::BytesOf(stem_ + ".out");
  const size_t place = said.find("/dev/");
  ASSERT_NE(place, std::string::npos) << said;
  const std::string line = said.substr(place, said.find_first_of(" \n", place) - place);
  Add(here_, Ann());
  EXPECT_EQ(Here({"sync", line, "pb"}).status, 0);
  EXPECT_EQ(Count("pb"), "1");
  EXPECT_EQ(Here({"sync", line, "pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithDevice, SaysWhoCannotBeReached) {
  const Outcome outcome = Here({"sync", "127.0.0.1:1"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("Connection refused"));
  EXPECT_EQ(Here({"sync"}).status, 2);
  EXPECT_EQ(Here({"sync", Address(), "--prefer", "nobody"}).status, 2);
  EXPECT_EQ(Here({"sync", Address(), "note"}).status, 2);
}

// ---- What changed -------------------------------------------------------------------------------------------------

TEST_F(SyncWithDevice, FindsWhatChangedBehindTheLogsBack) {
  Add(here_, Family(1, 6));
  Agree();
  for (const std::string& device : {here_, there_}) {
    Sql(device, "UPDATE pim_contacts SET job_title = 'Cook' WHERE last_name = 'Family" +
                    std::string(device == here_ ? "1" : "2") + "'");
  }
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 1, 0, 0));
  EXPECT_THAT(Text(there_, "Family1"), HasSubstr("Cook"));
  EXPECT_THAT(Text(here_, "Family2"), HasSubstr("Cook"));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 0, 0));
}

// A log keeps 250 changes.
TEST_F(SyncWithDevice, ComparesAllWhereTheLogThereHasAGap) {
  Add(here_, Ann() + Family(1, 5));
  Agree();
  Add(there_, Family(1001, 1260));
  Delete(there_, "Family1");
  Change(here_, Ann({"TEL;CELL:1"}));
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              AllOf(StartsWith("pb: compared whole ("),
                    HasSubstr("): 260 received, 1 sent, 1 deleted here, 0 deleted there")));
  EXPECT_EQ(Names(here_).size(), 265u);
  EXPECT_EQ(TextsOf(here_), TextsOf(there_));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithDevice, ComparesAllWhereTheLogHereHasAGap) {
  Add(here_, Family(1, 5));
  Agree();
  Add(here_, Family(1001, 1260));
  Delete(here_, "Family1");
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              AllOf(StartsWith("pb: compared whole ("),
                    HasSubstr("): 0 received, 260 sent, 0 deleted here, 1 deleted there")));
  EXPECT_EQ(TextsOf(here_), TextsOf(there_));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithDevice, ComparesAllWhenAsked) {
  Add(here_, Ann() + kBob);
  Agree();
  const Json report = Synced({"--slow"});
  EXPECT_EQ(report["kind"], "slow");
  EXPECT_EQ(report["complete"], true);
  EXPECT_EQ(
      Json({report["received"], report["sent"], report["deleted_here"], report["deleted_there"]}),
      Json({0, 0, 0, 0}));
  ExpectBoth({"Ann Lee", "Bob Ray"});
}

TEST_F(SyncWithDevice, InASlowRunTellsADeletionByThePairThatWas) {
  Add(here_, Family(1, 6));
  Agree();
  Delete(here_, "Family1");
  Delete(there_, "Family2");
  Change(here_, Card({"N:Family3;", "NOTE:here"}));
  Change(there_, Card({"N:Family4;", "NOTE:there"}));
  const Json report = Synced({"--slow"});
  EXPECT_EQ(report["received"], 1);
  EXPECT_EQ(report["sent"], 1);
  EXPECT_EQ(report["deleted_here"], 1);
  EXPECT_EQ(report["deleted_there"], 1);
  ExpectBoth({"Family3", "Family4", "Family5", "Family6"});
}

TEST_F(SyncWithDevice, PairsAnewWhereTheLogHereIsAnother) {
  Add(here_, Ann() + kBob);
  Agree();
  Delete(there_, "Bob Ray");
  std::filesystem::remove_all(here_ + "/Sync");
  const Json report = Synced();
  EXPECT_EQ(report["kind"], "slow");
  EXPECT_EQ(NumbersOf(report), Numbers(0, 1, 0, 0, 1));
  ExpectBoth({"Ann Lee", "Bob Ray"});
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithDevice, PairsAnewWhereTheLogThereIsAnother) {
  Add(here_, Ann() + kBob);
  Agree();
  Delete(here_, "Bob Ray");
  std::filesystem::remove_all(there_ + "/Sync");
  const Json report = Synced();
  EXPECT_EQ(report["kind"], "slow");
  EXPECT_EQ(NumbersOf(report), Numbers(1, 0, 0, 0, 1));
  ExpectBoth({"Ann Lee", "Bob Ray"});
}

// ---- Pairing ------------------------------------------------------------------------------------------------------

TEST_F(SyncWithDevice, PairsDuplicatesOneToOne) {
  Add(here_, kBob + kBob + Ann() + Ann() + Ann());
  Add(there_, kBob + kBob + kBob + Ann());
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 2, 0, 0, 3));
  ExpectBoth({"Ann Lee", "Ann Lee", "Ann Lee", "Bob Ray", "Bob Ray", "Bob Ray"});
}

TEST_F(SyncWithDevice, PairsNewObjectsThatAreEqual) {
  Agree();
  Add(here_, Ann({"TEL;CELL:1"}));
  Add(there_, Ann({"TEL;CELL:1"}));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 0, 0, 1));
  ExpectBoth({"Ann Lee"});
}

TEST_F(SyncWithDevice, KeepsApartWhatDiffersInOneField) {
  Add(here_, Ann({"TEL;CELL:1"}));
  Add(there_, Ann({"TEL;CELL:2"}));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 1, 0, 0, 0));
  ExpectBoth({"Ann Lee", "Ann Lee"});
}

// ---- Both changed -------------------------------------------------------------------------------------------------

class SyncConflict : public SyncWithDevice {
 protected:
  SyncConflict() {
    Add(here_, Ann() + kBob);
    Agree();
    Change(here_, Ann({"TITLE:Cook"}));
    Change(there_, Ann({"TITLE:Baker"}));
  }
  void ExpectTitles(const char* here, const char* there) const {
    EXPECT_THAT(Text(here_, "Ann Lee"), HasSubstr(std::string("TITLE:") + here));
    EXPECT_THAT(Text(there_, "Ann Lee"), HasSubstr(std::string("TITLE:") + there));
    EXPECT_EQ(Names(here_).size(), 2u);
    EXPECT_EQ(Names(there_).size(), 2u);
  }
};

TEST_F(SyncConflict, IsTheOwnersToDecideAndToldUntilThen) {
  const std::string id = IdOf(here_, "Ann Lee");
  const std::string told = "pb " + id + " (Ann Lee) and " + IdOf(there_, "Ann Lee") +
                           " there: changed on both sides; --prefer decides";
  for (int i = 0; i < 3; ++i) {
    const Outcome outcome = Sync({"pb"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.ErrLines(), ElementsAre(testing::EndsWith(told)));
    ExpectTitles("Cook", "Baker");
  }
  const Json report = Synced({}, 1);
  EXPECT_EQ(report["conflicts"],
            Json::array({{{"id", id}, {"luid", IdOf(there_, "Ann Lee")}, {"name", "Ann Lee"}}}));
}

TEST_F(SyncConflict, DoesNotHoldUpTheOthers) {
  Change(here_, Card({"N:Ray;Bob", "NOTE:new"}));
  Add(there_, kCarl);
  EXPECT_EQ(NumbersOf(Synced({}, 1)), Numbers(1, 1, 0, 0));
  EXPECT_THAT(Text(there_, "Bob Ray"), HasSubstr("NOTE:new"));
  EXPECT_EQ(Count("pb"), "3");
}

TEST_F(SyncConflict, IsDecidedForTheSideHere) {
  EXPECT_EQ(NumbersOf(Synced({"--prefer", "here"})), Numbers(0, 1, 0, 0));
  ExpectTitles("Cook", "Cook");
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncConflict, IsDecidedForTheSideThere) {
  EXPECT_EQ(NumbersOf(Synced({"--prefer", "there"})), Numbers(1, 0, 0, 0));
  ExpectTitles("Baker", "Baker");
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncConflict, IsDecidedLaterThoughNoLogTellsItAnyMore) {
  EXPECT_EQ(Sync({"pb"}).status, 1);
  EXPECT_EQ(Sync({"pb"}).status, 1);
  EXPECT_EQ(NumbersOf(Synced({"--prefer", "there"})), Numbers(1, 0, 0, 0));
  ExpectTitles("Baker", "Baker");
}

TEST_F(SyncConflict, IsOverWhenTheOwnerHasMadeBothTheSame) {
  EXPECT_EQ(Sync({"pb"}).status, 1);
  Change(there_, Ann({"TITLE:Cook"}));
  EXPECT_EQ(Synced()["conflicts"], Json::array());
  ExpectTitles("Cook", "Cook");
}

TEST_F(SyncConflict, ShowsWithVerboseWhatIsOverwritten) {
  const Outcome outcome = Sync({"pb", "--prefer", "here", "-v"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out + outcome.err, HasSubstr("TITLE:Baker"));
}

TEST_F(SyncConflict, IsToldInASlowRunAsWell) {
  EXPECT_EQ(Synced({"--slow"}, 1)["conflicts"].size(), 1u);
  ExpectTitles("Cook", "Baker");
}

TEST_F(SyncWithDevice, AgreesWhereBothMadeTheSameChange) {
  Add(here_, Ann());
  Agree();
  Change(here_, Ann({"TITLE:Cook"}));
  Change(there_, Ann({"TITLE:Cook"}));
  const Lines anchors = {Anchor(here_), Anchor(there_)};
  const Json report = Synced();
  EXPECT_EQ(report["conflicts"], Json::array());
  EXPECT_EQ(Json({report["received"], report["sent"]}), Json({0, 0}));
  EXPECT_EQ((Lines{Anchor(here_), Anchor(there_)}), anchors);
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithDevice, AChangeWinsAgainstADeletion) {
  Add(here_, Family(1, 5));
  Agree();
  Change(here_, Card({"N:Family1;", "NOTE:here"}));
  Delete(there_, "Family1");
  Change(there_, Card({"N:Family2;", "NOTE:there"}));
  Delete(here_, "Family2");
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 1, 0, 0));
  ExpectBoth({"Family1", "Family2", "Family3", "Family4", "Family5"});
  EXPECT_THAT(Text(there_, "Family1"), HasSubstr("NOTE:here"));
  EXPECT_THAT(Text(here_, "Family2"), HasSubstr("NOTE:there"));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithDevice, ForgetsWhatBothDeleted) {
  Add(here_, Ann() + kBob);
  Agree();
  Delete(here_, "Ann Lee");
  Delete(there_, "Ann Lee");
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 0, 0));
  ExpectBoth({"Bob Ray"});
  Add(there_, Ann());
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 0, 0, 0));
}

// ---- Deletions ----------------------------------------------------------------------------------------------------

class SyncDeletions : public SyncWithDevice {
 protected:
  void Have(int count) {
    Add(here_, Family(1, count));
    Agree();
  }
  void DeleteFirst(const std::string& device, int count) {
    for (int i = 1; i <= count; ++i) Delete(device, "Family" + std::to_string(i));
  }
};

TEST_F(SyncDeletions, OfMoreThanHalfThereWantForce) {
  Have(7);
  DeleteFirst(here_, 4);
  Add(here_, Ann());
  Add(there_, kBob);
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("--force-delete"));
  EXPECT_EQ(Names(here_).size(), 4u);
  EXPECT_EQ(Names(there_).size(), 8u);
  EXPECT_EQ(NumbersOf(Synced({"--force-delete"})), Numbers(1, 1, 0, 4));
  ExpectBoth({"Ann Lee", "Bob Ray", "Family5", "Family6", "Family7"});
}

TEST_F(SyncDeletions, OfMoreThanHalfHereWantForce) {
  Have(7);
  DeleteFirst(there_, 4);
  EXPECT_THAT(Sync({"pb"}).err, HasSubstr("--force-delete"));
  EXPECT_EQ(Names(here_).size(), 7u);
  EXPECT_EQ(NumbersOf(Synced({"--force-delete"})), Numbers(0, 0, 4, 0));
  ExpectBoth({"Family5", "Family6", "Family7"});
}

TEST_F(SyncDeletions, OfAllWantForceInASlowRun) {
  Have(5);
  DeleteFirst(there_, 5);
  EXPECT_THAT(Sync({"pb", "--slow"}).err, HasSubstr("--force-delete"));
  EXPECT_EQ(Names(here_).size(), 5u);
}

TEST_F(SyncDeletions, OfHalfAreDone) {
  Have(8);
  DeleteFirst(here_, 4);
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 0, 4));
}

TEST_F(SyncDeletions, OfThreeAreDoneHoweverFewThereAre) {
  Have(3);
  DeleteFirst(there_, 3);
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 3, 0));
  ExpectBoth({});
}

TEST_F(SyncDeletions, OnEachSideAreCountedByThemselves) {
  Have(9);
  DeleteFirst(here_, 4);
  for (int i = 6; i <= 9; ++i) Delete(there_, "Family" + std::to_string(i));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 4, 4));
  ExpectBoth({"Family5"});
}

// ---- Writing here and there ---------------------------------------------------------------------------------------

TEST_F(SyncWithDevice, TakesAwayWhatTheOtherSideHasTakenAway) {
  Add(here_, Ann({"TEL;CELL:1", "NOTE:likes tea"}) + Card({"N:Ray;Bob", "TITLE:Cook", "NOTE:x"}));
  Agree();
  Sql(here_, "UPDATE pim_contacts SET mobile_telephone_number = NULL WHERE first_name = 'Ann'");
  Sql(there_, "UPDATE pim_contacts SET job_title = NULL WHERE first_name = 'Bob'");
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 1, 0, 0));
  ExpectBoth({"Ann Lee", "Bob Ray"});
  EXPECT_THAT(Text(there_, "Ann Lee"), AllOf(Not(HasSubstr("TEL")), HasSubstr("NOTE:likes tea")));
  EXPECT_THAT(Text(here_, "Bob Ray"), AllOf(Not(HasSubstr("TITLE")), HasSubstr("NOTE:x")));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
  Change(here_, Card({"N:Ray;Bob", "NOTE:y"}));
  Change(there_, Ann({"NOTE:likes coffee"}));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 1, 0, 0));
  ExpectBoth({"Ann Lee", "Bob Ray"});
}

// ---- Trying it out ------------------------------------------------------------------------------------------------

TEST_F(SyncWithDevice, OnlySaysWhatWouldBeInADryRun) {
  Add(here_, Ann() + Family(1, 6));
  Agree();
  Add(here_, kBob);
  Add(there_, kCarl);
  Delete(here_, "Family1");
  Delete(there_, "Family2");
  const Lines before = {Anchor(here_), Anchor(there_)};
  const Outcome outcome = Sync({"pb", "--dry-run", "-v"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("Carl Fox: would be received"), HasSubstr("Bob Ray: would be sent"),
                    HasSubstr("would be deleted here"), HasSubstr("would be deleted there")));
  EXPECT_EQ((Lines{Anchor(here_), Anchor(there_)}), before);
  EXPECT_EQ(Names(here_).size(), 7u);
  EXPECT_EQ(Names(there_).size(), 7u);
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 1, 1, 1));
}

TEST_F(SyncWithDevice, OnlySaysWhatWouldBeInAFirstDryRun) {
  Add(here_, Ann());
  Add(there_, kBob + kCarl);
  EXPECT_THAT(Sync({"pb", "--dry-run"}).out, HasSubstr("would be"));
  EXPECT_EQ(Names(here_).size(), 1u);
  EXPECT_EQ(Names(there_).size(), 2u);
  EXPECT_EQ(Synced()["kind"], "first");
}

}  // namespace
}  // namespace osifd_test::sync_command_test
