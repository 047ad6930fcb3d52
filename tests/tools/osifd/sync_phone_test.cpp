// osif sync with a phone, which has its own ids, its own way to write, and oddities that no device of ours has.
#include <regex>

#include "tests/support/irmc_phone.h"
#include "tests/tools/osifd/sync_fixture.h"

namespace osifd_test::sync_phone_test {
namespace {

using support::IrmcPhone;
using support::PhoneAnswer;
using support::PhoneRequest;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr uint8_t kMostCounter = 0x11;
constexpr uint8_t kHardDelete = 0x12;

class SyncWithPhone : public SyncCommand {
 protected:
  Outcome Sync(const Lines& options) override {
    Lines arguments = {"sync", "127.0.0.1:" + std::to_string(phone_.port())};
    arguments.insert(arguments.end(), options.begin(), options.end());
    phone_.requests.clear();
    Outcome outcome;
    phone_.ServeWhile([&] { outcome = Here(arguments); });
    return outcome;
  }

  // What was asked for, without the way to the store.
  Lines Asked(bool is_put) const {
    Lines names;
    for (const PhoneRequest& request : phone_.requests) {
      if (request.is_put == is_put) names.push_back(request.name);
    }
    return names;
  }

  // Refuses requests with this in their names, from now on.
  void Refuse(const std::string& part, int code, bool is_put = true) {
    phone_.instead = [=](const PhoneRequest& request) -> std::optional<PhoneAnswer> {
      if (request.is_put != is_put || request.name.find(part) == std::string::npos) {
        return std::nullopt;
      }
      return PhoneAnswer{code};
    };
  }
  // Answers a GET of names with this in them.
  void Say(const std::string& part, const std::string& text) {
    phone_.instead = [=](const PhoneRequest& request) -> std::optional<PhoneAnswer> {
      if (request.is_put || request.name.find(part) == std::string::npos) return std::nullopt;
      return PhoneAnswer{0xA0, text};
    };
  }

  IrmcPhone phone_;
};

TEST_F(SyncWithPhone, GivesAndTakesContactsAndCalendar) {
  phone_.contacts.Add(Ann({"TEL;CELL:1"}));
  phone_.calendar.Add(kTea);
  phone_.calendar.Add(kSweep);
  Add(here_, kBob);
  const Outcome outcome = Sync({});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"}));
  EXPECT_EQ(Names(here_, "cal"), (std::multiset<std::string>{"Sweep", "Tea"}));
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
  EXPECT_EQ(Sync({}).out, "pb: nothing to do\ncal: nothing to do\n");
  EXPECT_THAT(Asked(true), IsEmpty());
}

TEST_F(SyncWithPhone, TellsWhichStoreIsNotOfferedAndFailsOnlyWhereItWasNamed) {
  phone_.contacts.Add(Ann());
  Refuse("telecom/cal/info.log", 0xC4, false);
  Outcome outcome = Sync({});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out + outcome.err, HasSubstr("cal"));
  EXPECT_EQ(Names(here_).size(), 1u);
  outcome = Sync({"cal"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("cal"));
}

TEST_F(SyncWithPhone, DoesNotSynchroniseAStoreWithoutIds) {
  phone_.contacts.Add(Ann());
  for (const char* level : {"1", "2", "4"}) {
    Say("telecom/pb/info.log", std::string("Total-Records:1\r\nIEL:") + level + "\r\n");
    EXPECT_EQ(Sync({"pb"}).status, 1) << level;
    EXPECT_EQ(Names(here_).size(), 0u);
  }
  for (const char* level : {"8", "16", "0x8"}) {
    Say("telecom/pb/info.log",
        std::string("Total-Records:1\r\nIEL:") + level + "\r\nSAT:CC\r\nHD:YES\r\n");
    EXPECT_EQ(Sync({"pb"}).status, 0) << level;
  }
  EXPECT_EQ(Names(here_).size(), 1u);
}

TEST_F(SyncWithPhone, PairsWhatIsOnlyWrittenInAnotherWay) {
  phone_.contacts.Add(
      "BEGIN:VCARD\r\nVERSION:2.1\r\nTEL;CELL:1\r\nNOTE;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:"
      "caf=C3=A9=20au=\r\n"
      "=20lait\r\nN;CHARSET=UTF-8:M\xC3\xBCller;Ann;;;\r\nEND:VCARD\r\n");
  Add(here_, Card({"N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Ann",
                   "FN:", "NOTE;CHARSET=UTF-8:caf\xC3\xA9 au lait", "TEL;CELL:1"}));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 0, 0, 1));
  EXPECT_THAT(Asked(true), IsEmpty());
}

TEST_F(SyncWithPhone, TakesAnObjectThatIsListedButUnchangedForNoChange) {
  const std::string luid = phone_.contacts.Add(Ann());
  Agree();
  phone_.contacts.Touch(luid);
  const std::string anchor = Anchor(here_);
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
  EXPECT_EQ(Anchor(here_), anchor);
  EXPECT_THAT(Asked(true), IsEmpty());
}

TEST_F(SyncWithPhone, ReadsTheWholeStoreWhereItsLogIsAStar) {
  phone_.contacts.Add(Ann());
  phone_.contacts.Add(kBob);
  phone_.contacts.Add(kCarl);
  Agree();
  phone_.contacts.has_forgotten = true;
  phone_.contacts.Delete(phone_.contacts.objects().begin()->first);
  phone_.contacts.Add(Family(1, 1));
  const Json report = Synced();
  EXPECT_EQ(report["kind"], "slow");
  EXPECT_EQ(report["received"], 1);
  EXPECT_EQ(report["deleted_here"], 1);
  EXPECT_THAT(Asked(false), testing::Contains("telecom/pb.vcf"));
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Bob Ray", "Carl Fox", "Family1"}));
}

TEST_F(SyncWithPhone, DeletesNothingForAnotherDatabase) {
  phone_.contacts.Add(Ann());
  phone_.contacts.Add(kBob);
  Agree();
  phone_.contacts.Delete(phone_.contacts.objects().begin()->first);
  phone_.contacts.StartAnew("00000002");
  const Json report = Synced();
  EXPECT_EQ(report["kind"], "slow");
  EXPECT_EQ(NumbersOf(report), Numbers(0, 1, 0, 0, 1));
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"}));
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithPhone, KeepsLuidsAsTheyAreWritten) {
  const std::string luid = phone_.contacts.Add(Ann());
  Agree();
  Change(here_, Ann({"TITLE:Cook"}));
  Agree();
  EXPECT_THAT(Asked(true), ElementsAre("telecom/pb/luid/" + luid + ".vcf"));
  EXPECT_THAT(phone_.contacts.objects().at(luid), HasSubstr("TITLE:Cook"));
}

TEST_F(SyncWithPhone, AsksForTheLogThenObjectsThenTheCounterAndWritesAtLast) {
  const std::string ann = phone_.contacts.Add(Ann());
  phone_.contacts.Add(kBob);
  Agree();
  phone_.contacts.Change(ann, Ann({"TITLE:Cook"}));
  Add(here_, kCarl);
  Agree();
  Lines luid_names;
  for (const PhoneRequest& request : phone_.requests) {
    if (request.name.find("/luid/") != std::string::npos) {
      luid_names.push_back(request.name.substr(16));
    }
  }
  luid_names.resize(4);  // what was written may be read again
  EXPECT_THAT(luid_names, ElementsAre("2.log", ann + ".vcf", "cc.log", ".vcf"));
}

TEST_F(SyncWithPhone, ExpectsOneMoreThanTheCounterItKnowsWithEachPut) {
  for (int i = 1; i <= 5; ++i) phone_.contacts.Add(Card({"N:Family" + std::to_string(i) + ";"}));
  Agree();
  Add(here_, Ann() + kBob);
  Change(here_, Card({"N:Family1;", "TITLE:Cook"}));
  Delete(here_, "Family2");
  Agree();
  Lines expected;
  int deletions = 0;
  for (const PhoneRequest& request : phone_.requests) {
    if (!request.is_put) continue;
    expected.push_back(request.Parameter(kMostCounter).value_or("none"));
    EXPECT_EQ(request.body.empty(), request.Parameter(kHardDelete).has_value());
    deletions += request.Parameter(kHardDelete) == "" ? 1 : 0;
  }
  EXPECT_THAT(expected, ElementsAre("6", "7", "8", "9"));
  EXPECT_EQ(deletions, 1);
  EXPECT_EQ(phone_.contacts.objects().size(), 6u);
}

TEST_F(SyncWithPhone, GoesOnWithTheIdThatAChangeIsAnsweredWith) {
  const std::string first = phone_.contacts.Add(Ann());
  Agree();
  phone_.contacts.renames = true;
  Change(here_, Ann({"TITLE:Cook"}));
  Agree();
  ASSERT_EQ(phone_.contacts.objects().size(), 1u);
  const std::string second = phone_.contacts.objects().begin()->first;
  EXPECT_NE(second, first);
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
  Change(here_, Ann({"TITLE:Baker"}));
  Agree();
  EXPECT_THAT(Asked(true), ElementsAre("telecom/pb/luid/" + second + ".vcf"));
  phone_.contacts.Delete(phone_.contacts.objects().begin()->first);
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 1, 0));
}

// ---- Somebody else writes there, too ------------------------------------------------------------------------------

TEST_F(SyncWithPhone, EndsWhereSomebodyElseChangedTheStoreAndGoesOnTheNextTime) {
  phone_.contacts.Add(Ann());
  Agree();
  Add(here_, kBob + kCarl + Family(2, 3));
  int puts = 0;
  phone_.instead = [&](const PhoneRequest& request) -> std::optional<PhoneAnswer> {
    if (request.is_put && ++puts == 2) phone_.contacts.Add(Family(1, 1));
    return std::nullopt;
  };
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err, "");
  EXPECT_EQ(puts, 2);
  EXPECT_EQ(phone_.contacts.objects().size(), 3u);
  phone_.instead = nullptr;
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 3, 0, 0));
  EXPECT_EQ(phone_.contacts.objects().size(), 6u);
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray", "Carl Fox", "Family1",
                                                      "Family2", "Family3"}));
}

// A change that comes between a write and its answer is seen by the counter alone.
TEST_F(SyncWithPhone, EndsWhereTheCounterJumpedAndGoesOnTheNextTime) {
  phone_.contacts.Add(Ann());
  Agree();
  Add(here_, kBob + kCarl);
  phone_.contacts.step = 2;
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err, "");
  EXPECT_EQ(Asked(true).size(), 1u);
  phone_.contacts.step = 1;
  Agree();
  EXPECT_EQ(phone_.contacts.objects().size(), 3u);
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray", "Carl Fox"}));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

TEST_F(SyncWithPhone, DoesNotLoseWhatChangesBetweenTheLogAndTheCounter) {
  phone_.contacts.Add(Ann());
  Agree();
  Add(here_, kBob);
  phone_.instead = [&](const PhoneRequest& request) -> std::optional<PhoneAnswer> {
    if (request.name == "telecom/pb/luid/cc.log" && phone_.contacts.objects().size() == 1) {
      phone_.contacts.Add(kCarl);
    }
    return std::nullopt;
  };
  Sync({"pb"});
  phone_.instead = nullptr;
  Sync({"pb"});
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray", "Carl Fox"}));
  EXPECT_EQ(phone_.contacts.objects().size(), 3u);
}

// ---- What is refused ----------------------------------------------------------------------------------------------

TEST_F(SyncWithPhone, LeavesWhatIsRefusedThereForTheNextTime) {
  phone_.contacts.Add(Ann());
  Agree();
  Add(here_, kBob + kCarl);
  phone_.instead = [](const PhoneRequest& request) -> std::optional<PhoneAnswer> {
    if (request.body.find("Bob") == std::string::npos) return std::nullopt;
    return PhoneAnswer{0xCD};
  };
  const Json report = Synced({}, 1);
  EXPECT_EQ(report["sent"], 1);
  ASSERT_EQ(report["refused"].size(), 1u);
  EXPECT_EQ(report["refused"][0]["id"], IdOf(here_, "Bob Ray"));
  EXPECT_EQ(report["refused"][0]["side"], "there");
  EXPECT_NE(report["refused"][0]["why"], "");
  const Outcome again = Sync({"pb"});
  EXPECT_EQ(again.status, 1);
  EXPECT_THAT(again.err, AllOf(HasSubstr(IdOf(here_, "Bob Ray")), HasSubstr("too large")));
  phone_.instead = nullptr;
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 1, 0, 0));
  EXPECT_EQ(phone_.contacts.objects().size(), 3u);
}

TEST_F(SyncWithPhone, LeavesAChangeAndADeletionThatAreRefusedThereForTheNextTime) {
  phone_.contacts.Add(Ann());
  phone_.contacts.Add(kBob);
  Agree();
  Change(here_, Ann({"TITLE:Cook"}));
  Delete(here_, "Bob Ray");
  Refuse("/luid/", 0xC3);
  EXPECT_EQ(Synced({}, 1)["refused"].size(), 2u);
  EXPECT_EQ(Synced({}, 1)["refused"].size(), 2u);
  phone_.instead = nullptr;
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 1, 0, 1));
  EXPECT_EQ(phone_.contacts.objects().size(), 1u);
}

TEST_F(SyncWithPhone, LeavesWhatIsRefusedHereForTheNextTime) {
  const std::string luid =
      phone_.contacts.Add("BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:no card\r\nEND:VNOTE\r\n");
  phone_.contacts.Add(kBob);
  for (int i = 0; i < 2; ++i) {
    const Json report = Synced({}, 1);
    ASSERT_EQ(report["refused"].size(), 1u);
    EXPECT_EQ(report["refused"][0]["luid"], luid);
    EXPECT_EQ(report["refused"][0]["side"], "here");
    EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Bob Ray"}));
  }
  EXPECT_THAT(Sync({"pb"}).err, HasSubstr(luid));
  phone_.contacts.Change(luid, Ann());
  Agree();
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"}));
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
}

// ---- What the store here cannot hold --------------------------------------------------------------------------------

TEST_F(SyncWithPhone, DoesNotSendBackWhatWasNotChangedHere) {
  const std::string text = Ann({"TEL;CELL:1", "X-SHOE-SIZE:42", "LOGO:x", "TEL;MSG:77"});
  const std::string luid = phone_.contacts.Add(text);
  Agree();
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
  Add(here_, kBob);
  Agree({"--slow"});
  phone_.contacts.Touch(luid);
  Agree();
  EXPECT_EQ(phone_.contacts.objects().at(luid), text);
  phone_.contacts.Change(luid, Ann({"TEL;CELL:2", "X-SHOE-SIZE:43"}));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 0, 0, 0));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
  EXPECT_EQ(phone_.contacts.objects().at(luid), Ann({"TEL;CELL:2", "X-SHOE-SIZE:43"}));
}

TEST_F(SyncWithPhone, TakesAwayHereWhatWasTakenAwayThere) {
  const std::string luid = phone_.contacts.Add(Ann({"TEL;CELL:1", "NOTE:likes tea", "TITLE:Cook"}));
  Agree();
  phone_.contacts.Change(luid, Ann({"TITLE:Cook"}));
  EXPECT_EQ(NumbersOf(Synced()), Numbers(1, 0, 0, 0));
  EXPECT_THAT(Text(here_, "Ann Lee"),
              AllOf(Not(HasSubstr("TEL")), Not(HasSubstr("NOTE")), HasSubstr("TITLE:Cook")));
  EXPECT_EQ(Names(here_).size(), 1u);
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
  EXPECT_THAT(Asked(true), IsEmpty());
  Change(here_, Ann({"TITLE:Baker"}));
  Agree();
  EXPECT_THAT(phone_.contacts.objects().at(luid), HasSubstr("TITLE:Baker"));
  phone_.contacts.Delete(luid);
  EXPECT_EQ(NumbersOf(Synced()), Numbers(0, 0, 1, 0));
}

TEST_F(SyncWithPhone, ReadsEachDialect) {
  phone_.contacts.Add(
      "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lee;Ann;;;\r\nFN:Ann "
      "Lee\r\nTEL;TYPE=CELL:1\r\nEND:VCARD\r\n");
  Agree();
  EXPECT_THAT(Text(here_, "Ann Lee"), HasSubstr("TEL;TYPE=cell:1"));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

// ---- What ends a run ------------------------------------------------------------------------------------------------

// The next run goes on after each place at which the line may break, and doubles nothing.
TEST_F(SyncWithPhone, GoesOnAfterTheLineWasLostAtAnyRequest) {
  bool was_lost = true;
  int requests = 0;
  for (int round = 1; was_lost; ++round) {
    ASSERT_LT(round, 60);
    const std::string number = std::to_string(round);
    phone_.contacts.Add(Card({"N:There" + number + ";"}));
    phone_.contacts.Add(Card({"N:Both" + number + ";"}));
    Add(here_, Card({"N:Here" + number + ";"}) + Card({"N:Both" + number + ";"}));
    phone_.hangs_up_at = round;
    const Outcome outcome = Sync({"pb"});
    was_lost = phone_.requests.size() >= static_cast<size_t>(round);
    EXPECT_EQ(outcome.status, was_lost ? 1 : 0) << outcome.err;
    requests = std::max(requests, round);
    phone_.hangs_up_at = 0;
    Agree();
    std::multiset<std::string> names;
    for (int i = 1; i <= round; ++i) {
      for (const char* name : {"Here", "There", "Both"}) names.insert(name + std::to_string(i));
    }
    ASSERT_EQ(Names(here_), names) << "lost at request " << round;
    ASSERT_EQ(phone_.contacts.objects().size(), names.size()) << "lost at request " << round;
    ASSERT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
  }
  EXPECT_GE(requests, 6);
}

// The answer to a write is lost, not the write.
TEST_F(SyncWithPhone, FindsAgainWhatWasWrittenButNotAnswered) {
  const std::string luid = phone_.contacts.Add(Ann());
  phone_.contacts.Add(kCarl);
  Agree();
  Add(here_, kBob);
  Change(here_, Ann({"TITLE:Cook"}));
  Delete(here_, "Carl Fox");
  for (int i = 0; i < 3; ++i) {
    phone_.loses_answers_to_puts = true;
    EXPECT_EQ(Sync({"pb"}).status, 1);
    EXPECT_EQ(Asked(true).size(), 1u);
  }
  phone_.loses_answers_to_puts = false;
  Agree();
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
  EXPECT_THAT(phone_.contacts.objects().at(luid), HasSubstr("TITLE:Cook"));
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"}));
  EXPECT_EQ(Sync({"pb"}).out, "pb: nothing to do\n");
}

// ---- Phones that mean harm ------------------------------------------------------------------------------------------

struct HostileText {
  const char* what;
  const char* name;  // or a part of it
  std::string text;
};

class SyncWithHostilePhone : public SyncWithPhone,
                             public testing::WithParamInterface<HostileText> {};

TEST_P(SyncWithHostilePhone, FailsAndChangesNothing) {
  phone_.contacts.Add(Ann());
  Add(here_, kBob);
  Agree();
  phone_.contacts.Add(kCarl);
  Say(GetParam().name, GetParam().text);
  const Outcome outcome = Sync({"pb"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err, "");
  EXPECT_LT(outcome.err.size(), 2000u);
  const std::regex harmless(
      "telecom/(devinfo\\.txt|pb\\.vcf|pb/info\\.log|pb/luid/[0-9A-Za-z]{0,255}\\.(vcf|log))");
  for (const PhoneRequest& request : phone_.requests) {
    EXPECT_TRUE(std::regex_match(request.name, harmless)) << request.name;
  }
  EXPECT_THAT(Asked(true), IsEmpty());
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"}));
  phone_.instead = nullptr;
  Agree();
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray", "Carl Fox"}));
}

const std::string kHead =
    "SN:351956003653753\r\nDID:e0829bds\r\nTotal-Records:1\r\nMaximum-Records:380\r\n";

INSTANTIATE_TEST_SUITE_P(
    Texts, SyncWithHostilePhone,
    testing::Values(
        HostileText{"PathAsLuid", "pb/luid/2.log", kHead + "M:3::../../devinfo\r\n"},
        HostileText{"SlashInLuid", "pb/luid/2.log", kHead + "M:3::a/b\r\n"},
        HostileText{"EmptyLuid", "pb/luid/2.log", kHead + "M:3::\r\n"},
        HostileText{"LongLuid", "pb/luid/2.log", kHead + "M:3::" + std::string(256, 'A') + "\r\n"},
        HostileText{"ControlInLuid", "pb/luid/2.log", kHead + "M:3::a\x1B[31m\r\n"},
        HostileText{"HugeCounter", "pb/luid/2.log", kHead + "M:4294967296::0000E0000001\r\n"},
        HostileText{"NegativeCounter", "pb/luid/2.log", kHead + "M:-1::0000E0000001\r\n"},
        HostileText{"NoCounter", "pb/luid/2.log", kHead + "M:::0000E0000001\r\n"},
        HostileText{"HugePresentCounter", "pb/luid/cc.log", "99999999999999999999\r\n"},
        HostileText{"NoPresentCounter", "pb/luid/cc.log", "soon\r\n"},
        HostileText{"NoSerialNumber", "devinfo.txt", "MANU:Maker\r\nMOD:Phone\r\n"},
        HostileText{"EmptyDeviceInfo", "devinfo.txt", ""}),
    [](const auto& hostile) { return hostile.param.what; });

TEST_F(SyncWithPhone, LosesAndDoublesNothingForALogThatIsNone) {
  phone_.contacts.Add(Ann());
  Add(here_, kBob);
  Agree();
  for (const char* text : {"", "Hello\r\n", "SN:1\r\n", "*\r\n"}) {
    Say("pb/luid/2.log", text);
    Sync({"pb"});
    EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"})) << text;
    EXPECT_EQ(phone_.contacts.objects().size(), 2u) << text;
  }
  phone_.instead = nullptr;
  Agree();
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"}));
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
}

TEST_F(SyncWithPhone, DoesNotBelieveAnIdThatIsNone) {
  Add(here_, Ann());
  phone_.instead = [](const PhoneRequest& request) -> std::optional<PhoneAnswer> {
    if (!request.is_put) return std::nullopt;
    return PhoneAnswer{0xA0, {}, std::string("\x01\x04../x\x02\x01", 8) + "1"};
  };
  EXPECT_EQ(Sync({"pb"}).status, 1);
  phone_.instead = nullptr;
  phone_.requests.clear();
  EXPECT_EQ(Sync({"pb"}).status, 0);
  EXPECT_EQ(phone_.contacts.objects().size(), 1u);
}

// One card without an id may be the owner's, which stands first.
TEST_F(SyncWithPhone, DoublesNothingWhereAStreamHasNoIds) {
  phone_.contacts.Add(Ann());
  phone_.contacts.Add(kBob);
  Add(here_, Ann() + kBob);
  Say("telecom/pb.vcf", Ann() + kBob);
  EXPECT_EQ(Sync({"pb"}).status, 1);
  EXPECT_EQ(Names(here_).size(), 2u);
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
}

TEST_F(SyncWithPhone, DeletesNothingWhereAStreamHasNoIds) {
  phone_.contacts.Add(Ann());
  phone_.contacts.Add(kBob);
  Agree();
  Say("telecom/pb.vcf", Ann() + kBob);
  EXPECT_EQ(Sync({"pb", "--slow"}).status, 1);
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Ann Lee", "Bob Ray"}));
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
}

TEST_F(SyncWithPhone, PassesOverTheOwnersCardInAStream) {
  const std::string luid = phone_.contacts.Add(kBob);
  Say("telecom/pb.vcf", Ann() + Card({"N:Ray;Bob", "X-IRMC-LUID:" + luid}));
  Agree();
  EXPECT_EQ(Names(here_), (std::multiset<std::string>{"Bob Ray"}));
}

// A stream that ends in the middle is not a store with fewer objects.
TEST_F(SyncWithPhone, DeletesNothingWhereAStreamIsCutOff) {
  for (const std::string& card : {Ann(), kBob, kCarl}) phone_.contacts.Add(card);
  Agree();
  const auto& objects = phone_.contacts.objects();
  const std::string first = objects.begin()->first;
  Say("telecom/pb.vcf", Ann({"X-IRMC-LUID:" + first}) + kBob.substr(0, 20));
  EXPECT_EQ(Sync({"pb", "--slow"}).status, 1);
  EXPECT_EQ(Names(here_).size(), 3u);
}

TEST_F(SyncWithPhone, DeletesNothingWhereAStreamHasNoneOfTheObjects) {
  phone_.contacts.Add(Ann());
  phone_.contacts.Add(kBob);
  Agree();
  for (const char* stream : {"", "Hello"}) {
    Say("telecom/pb.vcf", stream);
    EXPECT_EQ(Sync({"pb", "--slow"}).status, 1) << stream;
    EXPECT_EQ(Names(here_).size(), 2u) << stream;
  }
  EXPECT_EQ(phone_.contacts.objects().size(), 2u);
}

TEST_F(SyncWithPhone, TakesAnIdThatComesTwiceInAStreamOnce) {
  const std::string luid = phone_.contacts.Add(Ann());
  const std::string text = Ann({"X-IRMC-LUID:" + luid});
  Say("telecom/pb.vcf", text + text);
  Sync({"pb"});
  EXPECT_LE(Names(here_).size(), 1u);
}

}  // namespace
}  // namespace osifd_test::sync_phone_test
