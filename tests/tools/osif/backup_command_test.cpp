// osif backup and osif restore, and what partners see of it.
#include "tests/tools/osif/mirror_fixture.h"

namespace command_test::backup_command_test {
namespace {

std::string Sample(const std::string& name) {
  return std::string(support::kSources) + "/samples/" + name;
}

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class CommandBackup : public MirrorFixture {
 protected:
  CommandBackup() : MirrorFixture(kContactStore) {}

  void Backup() const {
    const Outcome outcome = Osif({"backup", saved_});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, MatchesRegex(saved_ + ": [0-9]+ files, [0-9]+ bytes saved\n"));
  }
  void Restore() const {
    const Outcome outcome = Osif({"restore", saved_, "--force"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, MatchesRegex(device_ + ": [0-9]+ files, [0-9]+ bytes restored, saved "
                                                    "[0-9]{8}T[0-9]{6}Z\n"));
  }
  std::string DatabaseId() const { return Osif({"database-id", "pb"}).out; }
  // What a partner is told that knows the changes up to a counter.
  Lines ChangesAfter(int counter) const {
    Lines lines;
    for (const Json& line :
         Osif({"changes", "pb", "--since", std::to_string(counter), "--json"}).JsonLines()) {
      lines.push_back(line.value("kind", "?") + " " + line.value("id", "?"));
    }
    return lines;
  }
  void ExpectNoProblem() const {
    const Outcome outcome = Osif({"check"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
  }

  const std::string saved_ = Path("saved");
};

TEST_F(CommandBackup, AndRestoreBringBackEverything) {
  AddStored(Card({"N:Lee;Ann"}) + Card({"N:Ray;Bob"}));
  ASSERT_EQ(Osif({"receive", Sample("note.vnt"), Sample("calendar.vcs"), Sample("invitation.ics")})
                .status,
            0);
  ASSERT_EQ(Osif({"settings", "DeviceName", "Mine"}).status, 0);
  const Texts stored = Stored();
  const std::string calendar = Osif({"export", "cal", "-o", "-"}).out;
  const std::string notes = Osif({"--json", "notes"}).out;
  const std::string sent = Osif({"send", "cal", "6", "--as", "ical20"}).out;
  EXPECT_THAT(sent, HasSubstr("UID:planning-2027@planner.example"));
  Backup();
  std::filesystem::remove_all(device_);
  Restore();
  EXPECT_EQ(Stored(), stored);
  EXPECT_EQ(Osif({"export", "cal", "-o", "-"}).out, calendar);
  EXPECT_EQ(Osif({"--json", "notes"}).out, notes);
  EXPECT_THAT(Osif({"send", "cal", "6", "--as", "ical20"}).out,
              HasSubstr("UID:planning-2027@planner.example"));
  EXPECT_EQ(Osif({"settings", "DeviceName"}).out, "DeviceName = \"Mine\"\n");
  ExpectNoProblem();
}

TEST_F(CommandBackup, GoThroughPipes) {
  AddStored(Card({"N:Lee;Ann"}));
  const std::string shell = "\"$0\" backup - | \"$0\" --device " + Path("other") + " restore -";
  const Outcome outcome = Run({"/bin/sh", "-c", shell, support::kCommand});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.err,
              MatchesRegex("osif: " + device_ + ": [0-9]+ files, [0-9]+ bytes saved\n"));
  EXPECT_EQ(StoredOn(Path("other")), Stored());
}

TEST_F(CommandBackup, AreToldInJson) {
  AddStored(Card({"N:Lee;Ann"}));
  const std::vector<Json> saved = Osif({"backup", saved_, "--json"}).JsonLines();
  ASSERT_EQ(saved.size(), 1u);
  EXPECT_EQ(saved[0]["device"], device_);
  EXPECT_EQ(saved[0]["file"], saved_);
  EXPECT_EQ(saved[0]["leftOut"], Json::array());
  const std::vector<Json> restored = Osif({"restore", saved_, "--force", "--json"}).JsonLines();
  ASSERT_EQ(restored.size(), 1u);
  EXPECT_EQ(restored[0]["files"], saved[0]["files"]);
  EXPECT_EQ(restored[0]["bytes"], saved[0]["bytes"]);
  EXPECT_EQ(restored[0]["replaced"], true);
}

TEST_F(CommandBackup, ADeviceThatHoldsSomethingStaysWithoutForce) {
  AddStored(Card({"N:Lee;Ann"}));
  Backup();
  AddStored(Card({"N:Ray;Bob"}));
  const Outcome outcome = Osif({"restore", saved_});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: " + saved_ + " was not restored: " + device_ +
                             ": there is a device that holds something; --force replaces it\n");
  EXPECT_EQ(StoredNames(), (Texts{"Ann Lee", "Bob Ray"}));
}

// ---- Partners -------------------------------------------------------------------------------------------------

// The counters of what is lost come once more. A partner that kept them would not be told of what they stand for now.
TEST_F(CommandBackup, ARestoredDeviceIsAnotherOneToItsPartners) {
  AddStored(Card({"N:Lee;Ann"}) + Card({"N:Ray;Bob"}));
  const std::string id = DatabaseId();
  Backup();
  EXPECT_EQ(DatabaseId(), id);
  AddStored(Card({"N:Fox;Carl"}));
  EXPECT_THAT(ChangesAfter(2), ElementsAre("M 00000003"));
  Restore();
  EXPECT_EQ(StoredNames(), (Texts{"Ann Lee", "Bob Ray"}));
  const std::string restored = DatabaseId();
  EXPECT_NE(restored, id);
  EXPECT_EQ(restored.size(), 9u);
  EXPECT_EQ(DatabaseId(), restored);
}

TEST_F(CommandBackup, TheLogOfARestoredDeviceGoesOnAndTellsEverythingOnce) {
  AddStored(Card({"N:Lee;Ann"}) + Card({"N:Ray;Bob"}));
  DatabaseId();
  Backup();
  AddStored(Card({"N:Fox;Carl"}));
  DeleteStored("Ann Lee");
  Restore();
  // What was not there when it was saved is told by nobody.
  EXPECT_THAT(ChangesAfter(2), ElementsAre());
  EXPECT_THAT(ChangesAfter(0), ElementsAre("M 00000001", "M 00000002"));
  AddStored(Card({"N:Berg;Ole"}));
  DeleteStored("Bob Ray");
  EXPECT_THAT(ChangesAfter(2), ElementsAre("M 00000003", "H 00000002"));
  EXPECT_THAT(ChangesAfter(0), ElementsAre("M 00000001", "M 00000003", "H 00000002"));
}

// Changes of another program that no log has told of when the device was saved.
TEST_F(CommandBackup, ChangesThatWereNotToldYetAreToldByTheRestoredDevice) {
  AddStored(Card({"N:Lee;Ann", "TEL;HOME:1"}) + Card({"N:Ray;Bob"}));
  DatabaseId();
  Sql("UPDATE pim_contacts SET home_telephone_number='2' WHERE oid=1");
  Backup();
  EXPECT_THAT(ChangesAfter(2), ElementsAre("M 00000001"));
  Restore();
  EXPECT_THAT(ChangesAfter(2), ElementsAre("M 00000001"));
  EXPECT_THAT(ChangesAfter(3), ElementsAre());
}

TEST_F(CommandBackup, AMirrorBringsARestoredStoreForwardAndDoublesNothing) {
  AddStored(Card({"N:Lee;Ann", "TEL;HOME:1"}) + Card({"N:Ray;Bob"}) + Card({"N:Fox;Carl"}) +
            Card({"N:Berg;Ole"}));
  EXPECT_EQ(Mirrored(), "4 written");
  Backup();
  // Changed on either side, added on either side, deleted, and all of it agreed.
  Sql("UPDATE pim_contacts SET home_telephone_number='2' WHERE first_name='Ann'");
  AddStored(Card({"N:Sand;Eva"}));
  Put("dan.vcf", FileCard({"UID:dan", "N:Hill;Dan;;;", "FN:Dan Hill"}));
  DeleteStored("Bob Ray");
  EXPECT_EQ(Once().status, 0);
  const Files files = FilesNow();
  EXPECT_EQ(StoredNames(), (Texts{"Ann Lee", "Carl Fox", "Ole Berg", "Eva Sand", "Dan Hill"}));
  Restore();
  EXPECT_EQ(StoredNames(), (Texts{"Ann Lee", "Bob Ray", "Carl Fox", "Ole Berg"}));
  EXPECT_EQ(Mirrored(), "2 added to the store, 1 updated in the store, 1 deleted from the store");
  EXPECT_EQ(FilesNow(), files);
  EXPECT_EQ(StoredNames(), (Texts{"Ann Lee", "Carl Fox", "Ole Berg", "Eva Sand", "Dan Hill"}));
  EXPECT_THAT(Osif({"find", "--text", "2"}).OutLines(), ElementsAre("pb 00000001  Ann Lee  (tel)"));
  ExpectAgreed();
}

TEST_F(CommandBackup, WhatIsChangedAfterARestorationGoesToTheMirroredFiles) {
  AddStored(Card({"N:Lee;Ann", "TEL;HOME:1"}) + Card({"N:Ray;Bob"}));
  EXPECT_EQ(Mirrored(), "2 written");
  Backup();
  AddStored(Card({"N:Fox;Carl"}));
  EXPECT_EQ(Mirrored(), "1 written");
  Restore();
  // It gets the id that Carl had.
  AddStored(Card({"N:Berg;Ole"}));
  Sql("UPDATE pim_contacts SET home_telephone_number='2' WHERE first_name='Ann'");
  EXPECT_EQ(Once().status, 0);
  EXPECT_EQ(StoredNames(), (Texts{"Ann Lee", "Bob Ray", "Carl Fox", "Ole Berg"}));
  EXPECT_EQ(FilesNow().size(), 4u);
  ExpectAgreed();
}

// ---- While others are at work -----------------------------------------------------------------------------------

TEST_F(CommandBackup, IsWholeWhileAnotherProgramReceives) {
  AddStored(Card({"N:First;One"}));
  std::atomic<bool> is_over = false;
  int received = 0;
  std::jthread receiver([&] {
    for (; !is_over; ++received) {
      const std::string file = Write("in.vcf", Card({"N:Of;Card" + std::to_string(received)}));
      const std::string stem = Path("receiver");
      EXPECT_EQ(WaitFor(Start(Launched({support::kCommand, "receive", "--add", file}), stem)), 0)
          << BytesOf(stem + ".err");
    }
  });
  size_t last = 0;
  for (int round = 0; round < 4; ++round) {
    Backup();
    const std::string other = Path("other" + std::to_string(round));
    ASSERT_EQ(On(other, {"restore", saved_}).status, 0);
    const Outcome check = On(other, {"check"});
    EXPECT_EQ(check.status, 0) << check.err;
    // Each contact is told once: none of the log is missing, and none stands there that the store does not have.
    const size_t count = StoredOn(other).size();
    EXPECT_EQ(On(other, {"changes", "pb"}).OutLines().size(), count);
    EXPECT_GE(count, last);
    last = count;
  }
  is_over = true;
  receiver.join();
  EXPECT_GT(received, 0);
}

TEST_F(CommandBackup, IsNoFileForATerminalOrADevice) {
  EXPECT_EQ(Osif({"backup"}).status, 2);
  EXPECT_EQ(Osif({"restore"}).status, 2);
  const Outcome missing = Osif({"restore", Path("missing")});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "osif: " + Path("missing") + ": No such file or directory\n");
  const Outcome none = Osif({"backup", saved_});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.err, "osif: " + device_ + ": there is no device\n");
  EXPECT_FALSE(std::filesystem::exists(device_));
}

}  // namespace
}  // namespace command_test::backup_command_test
