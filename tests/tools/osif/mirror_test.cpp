// osif mirror with a store and a folder: what it does to both, and what it says.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <csignal>
#include <functional>

#include "tests/support/full_disk.h"
#include "tests/tools/osif/mirror_fixture.h"

namespace command_test::mirror_test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

// What a store has no place for: a picture, a nickname, a second mobile number, lines of one program, a group.
const std::string kMore =
    "NICKNAME:Annie\r\n"
    "TEL;TYPE=CELL:0222\r\n"
    "item1.URL:https://ann.example/\r\n"
    "item1.X-ABLabel:Diary\r\n"
    "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgID\r\n"
    " AwMDBAYEBAQEBAgGBgUGCQgKCgkICQkKDA8MCgsOCwkJDRENDg8QEBEQCgwSExIQEw8QEBD/\r\n"
    " yQALCAABAAEBAREA/8wABgAQEAX/2gAIAQEAAD8A0s8g/9k=\r\n"
    "X-PROGRAM-COLOUR;VALUE=text:red\\, dark\r\n";
const std::string kAnn =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:ann\r\nFN:Ann "
    "Lee\r\nN:Lee;Ann;;;\r\nTEL;TYPE=CELL:0111\r\n" +
    kMore + "END:VCARD\r\n";
const std::string kBob = FileCard({"UID:bob", "FN:Bob Ray", "N:Ray;Bob;;;"});

class Mirror : public MirrorFixture {
 protected:
  Mirror() : MirrorFixture(kContactStore) {}

  // Ann on both sides, agreed.
  void AgreeOnAnn() const {
    Put("ann.vcf", kAnn);
    ASSERT_EQ(Mirrored(), "1 added to the store");
  }
  void SetMobile(const std::string& number) const {
    Sql("UPDATE pim_contacts SET mobile_telephone_number='" + number + "' WHERE first_name='Ann'");
  }
  // The same people on both sides, with files of their names.
  void AgreeOnFamily(int count) const {
    for (int i = 1; i <= count; ++i) {
      const std::string name = "F" + std::to_string(i);
      Put(name + ".vcf", FileCard({"UID:" + name, "FN:" + name, "N:" + name + ";;;;"}));
    }
    ASSERT_EQ(Mirrored(), std::to_string(count) + " added to the store");
  }
};

// ---- The first run, and the second ------------------------------------------------------------------------------

TEST_F(Mirror, WritesAFileOfEachObject) {
  Store(Card({"N:Lee;Ann", "TEL;CELL:0111"}) + Card({"N:Ray;Bob"}));
  EXPECT_EQ(Mirrored(), "2 written");
  Lines names = Names();
  ASSERT_EQ(names.size(), 2u);
  const std::string uid = names[0].substr(0, names[0].size() - 4);
  EXPECT_THAT(names[0], EndsWith("-00000001.vcf"));
  EXPECT_THAT(names[1], EndsWith("-00000002.vcf"));
  const std::string ann = FileText(names[0]);
  EXPECT_THAT(ann, StartsWith("BEGIN:VCARD\r\nVERSION:3.0\r\n"));
  EXPECT_THAT(Outcome::Split(ann),
              IsSupersetOf(Lines{"FN:Ann Lee\r", "N:Lee;Ann;;;\r", "TEL;TYPE=cell:0111\r",
                                 "UID:" + uid + "\r"}));
  ExpectAgreed();
}

TEST_F(Mirror, AddsAnObjectOfEachFileAndLeavesTheFileAsItIs) {
  Put("ann.vcf", kAnn);
  Put("some name.vcf", kBob);
  EXPECT_EQ(Mirrored(), "2 added to the store");
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kAnn}, {"some name.vcf", kBob}}));
  ExpectAgreed();
}

TEST_F(Mirror, OfAnEmptyStoreAndAnEmptyFolderHasNothingToDo) {
  EXPECT_EQ(Mirrored(), "nothing to do");
  ExpectAgreed();
}

TEST_F(Mirror, OfWhatBothSidesHaveAlreadyPairsEqualObjects) {
  Put("ann.vcf", FileCard({"UID:ann", "FN:Ann Lee", "N:Lee;Ann;;;", "TEL;TYPE=CELL:0111"}));
  Put("bob.vcf", kBob);
  Store(Card({"N:Lee;Ann", "TEL;CELL:0111"}) + Card({"N:Fox;Carl"}));
  EXPECT_EQ(Mirrored(), "1 added to the store, 1 written, 1 paired");
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray", "Carl Fox"));
  EXPECT_EQ(Names().size(), 3u);
  ExpectAgreed();
}

TEST_F(Mirror, ServesSeveralFoldersOfOneStore) {
  AgreeOnAnn();
  const std::string first = std::exchange(files_, Path("more files"));
  std::filesystem::create_directory(files_);
  EXPECT_EQ(Mirrored(), "1 written");
  EXPECT_THAT(FileText("ann.vcf"), HasSubstr("UID:ann\r\n"));
  ChangeFile("ann.vcf", "0111", "0333");
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  files_ = first;
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  ExpectAgreed();
}

TEST_F(Mirror, KnowsAFolderByWhicheverWayItIsNamed) {
  AgreeOnAnn();
  std::filesystem::create_symlink(files_, Path("link"));
  files_ = Path("link/../link/.");
  ExpectAgreed();
}

// ---- What has become of both sides ------------------------------------------------------------------------------

TEST_F(Mirror, CarriesAChangeOfTheStoreIntoAFileThatSaysMore) {
  AgreeOnAnn();
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  ExpectAgreed();
}

TEST_F(Mirror, CarriesWhatTheStoreHasAddedAndRemoved) {
  AgreeOnAnn();
  Sql("UPDATE pim_contacts SET mobile_telephone_number=NULL, email1_address='ann@a.example'"
      " WHERE first_name='Ann'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  const std::string text = FileText("ann.vcf");
  EXPECT_THAT(text,
              AllOf(Not(HasSubstr("0111")), HasSubstr(":ann@a.example\r\n"), HasSubstr(kMore)));
  ExpectAgreed();
}

TEST_F(Mirror, CarriesANewNameOfTheStore) {
  AgreeOnAnn();
  Sql("UPDATE pim_contacts SET last_name='Fox', file_as='Ann Fox' WHERE first_name='Ann'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"),
            With(With(kAnn, "FN:Ann Lee", "FN:Ann Fox"), "N:Lee;Ann", "N:Fox;Ann"));
  ExpectAgreed();
}

TEST_F(Mirror, CarriesAChangeOfTheFolder) {
  AgreeOnAnn();
  ChangeFile("ann.vcf", "0111", "0333");
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  ExpectAgreed();
}

TEST_F(Mirror, CarriesWhatTheFolderHasRemoved) {
  AgreeOnAnn();
  ChangeFile("ann.vcf", "TEL;TYPE=CELL:0111\r\n", "");
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  EXPECT_THAT(OnlyStored(), Not(Contains(HasSubstr("0111"))));
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "TEL;TYPE=CELL:0111\r\n", ""));
  ExpectAgreed();
}

TEST_F(Mirror, LeavesTheStoreAloneWhenAFileChangesInWhatTheStoreCannotHold) {
  AgreeOnAnn();
  const std::string changes = Osif({"changes", "pb"}).out;
  ChangeFile("ann.vcf", "NICKNAME:Annie", "NICKNAME:Nan");
  EXPECT_EQ(Mirrored(), "nothing to do");
  EXPECT_EQ(Osif({"changes", "pb"}).out, changes);
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"),
            With(With(kAnn, "0111", "0333"), "NICKNAME:Annie", "NICKNAME:Nan"));
}

TEST_F(Mirror, PassesOverAFileThatWasOnlyTouchedOrStampedAnew) {
  AgreeOnAnn();
  Put("ann.vcf", kAnn);
  ExpectAgreed();
  ChangeFile("ann.vcf", "VERSION:3.0\r\n",
             "VERSION:3.0\r\nPRODID:-//Other//EN\r\nREV:20260101T000000Z\r\n");
  ExpectAgreed();
}

TEST_F(Mirror, RemovesTheFileOfADeletedObject) {
  AgreeOnAnn();
  DeleteStored("Ann Lee");
  EXPECT_EQ(Mirrored(), "1 removed");
  EXPECT_THAT(Names(), ElementsAre());
  ExpectAgreed();
}

TEST_F(Mirror, DeletesTheObjectOfARemovedFile) {
  AgreeOnAnn();
  Remove("ann.vcf");
  EXPECT_EQ(Mirrored(), "1 deleted from the store");
  EXPECT_THAT(StoredNames(), ElementsAre());
  ExpectAgreed();
}

TEST_F(Mirror, ForgetsWhatIsGoneOnBothSides) {
  AgreeOnAnn();
  Remove("ann.vcf");
  DeleteStored("Ann Lee");
  EXPECT_EQ(Mirrored(), "nothing to do");
  EXPECT_THAT(Names(), ElementsAre());
  EXPECT_THAT(StoredNames(), ElementsAre());
  Put("ann.vcf", kAnn);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  ExpectAgreed();
}

TEST_F(Mirror, WritesARemovedFileAgainWholeWhenItsObjectWasChanged) {
  AgreeOnAnn();
  Remove("ann.vcf");
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 written");
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  ExpectAgreed();
}

TEST_F(Mirror, AddsADeletedObjectAgainWhenItsFileWasChanged) {
  AgreeOnAnn();
  DeleteStored("Ann Lee");
  ChangeFile("ann.vcf", "0111", "0333");
  EXPECT_EQ(Mirrored(), "1 added to the store");
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  ExpectAgreed();
}

// A deletion loses against a change also where the store cannot see the change.
TEST_F(Mirror, AddsADeletedObjectAgainWhenItsFileWasChangedInWhatOnlyItHolds) {
  AgreeOnAnn();
  DeleteStored("Ann Lee");
  ChangeFile("ann.vcf", "NICKNAME:Annie", "NICKNAME:Nan");
  EXPECT_EQ(Mirrored(), "1 added to the store");
  ExpectAgreed();
}

TEST_F(Mirror, BringsDifferentChangesOfBothSidesTogether) {
  AgreeOnAnn();
  ChangeFile("ann.vcf", "NICKNAME:Annie\r\n", "EMAIL;TYPE=INTERNET:ann@a.example\r\n");
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 updated in the store, 1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"), With(With(kAnn, "0111", "0333"), "NICKNAME:Annie\r\n",
                                      "EMAIL;TYPE=INTERNET:ann@a.example\r\n"));
  EXPECT_THAT(OnlyStored(),
              IsSupersetOf({"TEL;CELL:0333\r", "EMAIL;INTERNET;PREF:ann@a.example\r"}));
  ExpectAgreed();
}

TEST_F(Mirror, TakesTheSameChangeOfBothSidesForNoConflict) {
  AgreeOnAnn();
  ChangeFile("ann.vcf", "0111", "0333");
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "nothing to do");
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  ExpectAgreed();
}

// ---- Conflicts --------------------------------------------------------------------------------------------------

class MirrorConflict : public Mirror {
 protected:
  MirrorConflict() {
    AgreeOnAnn();
    ChangeFile("ann.vcf", "0111", "0555");
    SetMobile("0333");
  }
  const std::string of_folder_ = With(kAnn, "0111", "0555");
};

TEST_F(MirrorConflict, IsLeftAsItIsAndNamedEachTime) {
  for (int i = 0; i < 2; ++i) {
    const Outcome outcome = Failed();
    EXPECT_EQ(outcome.out, "pb: nothing to do\n");
    EXPECT_EQ(outcome.err,
              "osif: ann.vcf (pb 00000001): TEL changed on both sides; --prefer decides\n");
    EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", of_folder_}}));
    EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  }
}

TEST_F(MirrorConflict, DoesNotHoldUpTheOthers) {
  Put("bob.vcf", kBob);
  EXPECT_EQ(Failed().out, "pb: 1 added to the store\n");
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
}

TEST_F(MirrorConflict, CanBeDecidedByHand) {
  Failed();
  SetMobile("0555");
  EXPECT_EQ(Mirrored(), "nothing to do");
  EXPECT_EQ(FileText("ann.vcf"), of_folder_);
  ExpectAgreed();
}

TEST_F(MirrorConflict, IsDecidedForTheStoreAndTheFolderSTextIsKept) {
  const Outcome outcome = Once({"--prefer", "store"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "pb: 1 rewritten\n");
  EXPECT_EQ(outcome.err,
            "osif: ann.vcf (pb 00000001): TEL changed on both sides, the store has won; the other "
            "is kept as ann.vcf.conflict\n");
  EXPECT_EQ(FilesNow(),
            (Files{{"ann.vcf", With(kAnn, "0111", "0333")}, {"ann.vcf.conflict", of_folder_}}));
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  ExpectAgreed();
}

TEST_F(MirrorConflict, IsDecidedForTheFolderAndTheStoreSTextIsKept) {
  const Outcome outcome = Once({"--prefer", "folder"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "pb: 1 updated in the store\n");
  EXPECT_THAT(outcome.err, HasSubstr("the folder has won"));
  EXPECT_EQ(FileText("ann.vcf"), of_folder_);
  EXPECT_THAT(FileText("ann.vcf.conflict"), HasSubstr("TEL;TYPE=cell:0333\r\n"));
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0555\r"));
  ExpectAgreed();
}

TEST_F(MirrorConflict, KeepsWhatWasKeptBefore) {
  Put("ann.vcf.conflict", "an older one");
  EXPECT_EQ(Once({"--prefer", "store"}).status, 0);
  EXPECT_EQ(FileText("ann.vcf.conflict"), "an older one");
  EXPECT_EQ(FileText("ann.vcf.conflict-2"), of_folder_);
}

TEST_F(MirrorConflict, LosesNothingOfWhatIsNotInConflict) {
  ChangeFile("ann.vcf", "X-PROGRAM-COLOUR;VALUE=text:red\\, dark", "NOTE:of the folder");
  Sql("UPDATE pim_contacts SET email1_address='ann@a.example' WHERE first_name='Ann'");
  EXPECT_EQ(Once({"--prefer", "store"}).out, "pb: 1 updated in the store, 1 rewritten\n");
  EXPECT_THAT(FileText("ann.vcf"),
              AllOf(HasSubstr("TEL;TYPE=CELL:0333\r\n"), HasSubstr(":ann@a.example\r\n"),
                    HasSubstr("NOTE:of the folder\r\n")));
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  ExpectAgreed();
}

// ---- Deletions of many ------------------------------------------------------------------------------------------

TEST_F(Mirror, DoesNotTakeAnEmptiedFolderForAWish) {
  AgreeOnFamily(5);
  std::filesystem::rename(files_, Path("elsewhere"));
  std::filesystem::create_directory(files_);
  const Outcome outcome = Failed();
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err,
            "osif: pb: 5 of 5 objects would be deleted from the store, nothing was done; "
            "--force-delete does it\n");
  EXPECT_EQ(StoredNames().size(), 5u);
  std::filesystem::remove(files_);
  std::filesystem::rename(Path("elsewhere"), files_);
  ExpectAgreed();
}

TEST_F(Mirror, DoesNotTakeAnEmptiedStoreForAWish) {
  AgreeOnFamily(5);
  Sql("DELETE FROM pim_objects");
  const Outcome outcome = Failed();
  EXPECT_THAT(outcome.err, HasSubstr("5 of 5 files would be removed from the folder"));
  EXPECT_EQ(Names().size(), 5u);
}

TEST_F(Mirror, FillsTheStoreAgainAfterTheDevicesDatabaseWasLost) {
  AgreeOnFamily(5);
  std::filesystem::rename(device_ + "/device.db", Path("device.db"));
  std::filesystem::remove_all(device_ + "/Sync");
  EXPECT_EQ(Mirrored(), "5 added to the store");
  EXPECT_EQ(Names().size(), 5u);
  ExpectAgreed();
}

// The ids of another store mean other objects.
TEST_F(Mirror, TakesNoObjectOfAnotherStoreForTheOldOne) {
  AgreeOnAnn();
  std::filesystem::remove_all(device_);
  Store(Card({"N:Ray;Bob", "TEL;CELL:0777"}));
  EXPECT_EQ(Mirrored(), "1 added to the store, 1 written");
  EXPECT_EQ(FileText("ann.vcf"), kAnn);
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
  ExpectAgreed();
}

TEST_F(Mirror, TakesAnObjectOfAnotherStoreWithTheSameIdForNoChange) {
  AgreeOnAnn();
  for (const char* lost : {"/device.db", "/Sync", "/uids.db"}) {
    std::filesystem::remove_all(device_ + lost);
  }
  Store(Card({"N:Ray;Bob", "TEL;CELL:0777"}));
  EXPECT_EQ(Once().status, 0);
  EXPECT_EQ(FileText("ann.vcf"), kAnn);
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
}

TEST_F(Mirror, RemovesNoFileForWhatAnotherStoreLacks) {
  AgreeOnAnn();
  for (const char* lost : {"/device.db", "/Sync", "/uids.db"}) {
    std::filesystem::remove_all(device_ + lost);
  }
  EXPECT_EQ(Mirrored(), "1 added to the store");
  EXPECT_EQ(FileText("ann.vcf"), kAnn);
}

TEST_F(Mirror, DeletesManyWhenItIsTold) {
  AgreeOnFamily(5);
  for (int i = 1; i <= 5; ++i) Remove("F" + std::to_string(i) + ".vcf");
  EXPECT_EQ(Mirrored({"--force-delete"}), "5 deleted from the store");
  EXPECT_THAT(StoredNames(), ElementsAre());
  ExpectAgreed();
  AgreeOnFamily(5);
  Sql("DELETE FROM pim_objects");
  EXPECT_EQ(Mirrored({"--force-delete"}), "5 removed");
  EXPECT_THAT(Names(), ElementsAre());
  ExpectAgreed();
}

TEST_F(Mirror, DeletesHalfOfThemUnasked) {
  AgreeOnFamily(8);
  for (int i = 1; i <= 4; ++i) Remove("F" + std::to_string(i) + ".vcf");
  EXPECT_EQ(Mirrored(), "4 deleted from the store");
  ExpectAgreed();
}

// ---- Looking only -----------------------------------------------------------------------------------------------

TEST_F(Mirror, ThatOnlyLooksSaysWhatItWouldDoAndDoesNothing) {
  AgreeOnFamily(6);
  ChangeFile("F1.vcf", "END:", "TEL;TYPE=CELL:0333\r\nEND:");
  Remove("F2.vcf");
  Put("new.vcf", kBob);
  Put("without.vcf", FileCard({"FN:No Uid", "N:Uid;No;;;"}));
  Sql("UPDATE pim_contacts SET job_title='Smith' WHERE last_name='F3'");
  DeleteStored("F4");
  AddStored(Card({"N:Fox;Carl"}));
  const Files files = FilesNow();
  const Stamps stamps = StampsNow();
  const Texts stored = Stored();
  const Outcome outcome = Once({"--dry-run", "-v"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const Lines lines = outcome.OutLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(
      lines.back(),
      "pb: 2 would be added to the store, 1 would be updated in the store, 1 would be deleted "
      "from the store, 1 would be written, 1 would be rewritten, 1 would be removed");
  EXPECT_THAT(lines, IsSupersetOf({"F1.vcf (pb 00000001): would be updated in the store",
                                   "F2.vcf (pb 00000002): would be deleted from the store",
                                   "F3.vcf (pb 00000003): would be rewritten",
                                   "F4.vcf (pb 00000004): would be removed",
                                   "new.vcf: would be added to the store"}));
  EXPECT_EQ(FilesNow(), files);
  EXPECT_EQ(StampsNow(), stamps);
  EXPECT_EQ(Stored(), stored);
  EXPECT_EQ(Mirrored(),
            "2 added to the store, 1 updated in the store, 1 deleted from the store, 1 written, 1 "
            "rewritten, 1 removed");
  ExpectAgreed();
}

TEST_F(Mirror, ThatOnlyLooksMakesNoFileOfItsOwn) {
  Put("ann.vcf", kAnn);
  EXPECT_EQ(Mirrored({"--dry-run"}), "1 would be added to the store");
  EXPECT_FALSE(std::filesystem::exists(device_ + "/mirror.db"));
}

TEST_F(MirrorConflict, IsNotDecidedByALook) {
  const Outcome outcome = Once({"--dry-run", "--prefer", "store"});
  EXPECT_THAT(outcome.err, HasSubstr("TEL changed on both sides, the store would win\n"));
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", of_folder_}}));
}

// ---- JSON, and wrong usage --------------------------------------------------------------------------------------

TEST_F(Mirror, TellsARunInJson) {
  Put("ann.vcf", kAnn);
  Store(Card({"N:Ray;Bob"}));
  Json expected = {{"store", "pb"},   {"folder", files_}, {"added", 1},     {"updated", 0},
                   {"deleted", 0},    {"written", 1},     {"rewritten", 0}, {"removed", 0},
                   {"paired", 0},     {"conflicts", 0},   {"refused", 0},   {"compared", "all"},
                   {"complete", true}};
  EXPECT_THAT(Once({"--json"}).JsonLines(), ElementsAre(expected));
  expected["added"] = expected["written"] = 0;
  expected["compared"] = "changes";
  EXPECT_THAT(Once({"--json"}).JsonLines(), ElementsAre(expected));
}

TEST_F(MirrorConflict, IsCountedInJson) {
  Put("broken.vcf", "no card");
  const Outcome outcome = Failed({"--json"});
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["conflicts"], 1);
  EXPECT_EQ(lines[0]["refused"], 1);
  EXPECT_EQ(lines[0]["complete"], true);
}

TEST_F(Mirror, SaysInJsonWhyItDidNothing) {
  AgreeOnFamily(5);
  for (int i = 1; i <= 5; ++i) Remove("F" + std::to_string(i) + ".vcf");
  const std::vector<Json> lines = Failed({"--json"}).JsonLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["complete"], false);
  EXPECT_THAT(lines[0]["error"].get<std::string>(), HasSubstr("5 of 5"));
}

TEST_F(Mirror, IsNoneOfNotesAndMessages) {
  for (const char* store : {"note", "msg-in", "msg-sent", "msg-out"}) {
    const Outcome outcome = Osif({"mirror", store, files_});
    EXPECT_EQ(outcome.status, 2) << store;
    EXPECT_EQ(outcome.err, "osif: " + std::string(store) + " cannot be mirrored; pb and cal can\n");
  }
}

TEST_F(Mirror, NeedsAFolderAndASideToPrefer) {
  EXPECT_EQ(Osif({"mirror", "pb"}).status, 2);
  EXPECT_EQ(Once({"--prefer", "me"}).status, 2);
}

// ---- What was lost ----------------------------------------------------------------------------------------------

TEST_F(Mirror, AddsNothingTwiceAfterItsStateWasLost) {
  AgreeOnAnn();
  Put("bob.vcf", kBob);
  AddStored(Card({"N:Fox;Carl"}));
  EXPECT_EQ(Mirrored(), "1 added to the store, 1 written");
  const Files files = FilesNow();
  LoseState();
  EXPECT_EQ(Mirrored(), "3 paired");
  EXPECT_EQ(FilesNow(), files);
  EXPECT_EQ(StoredNames().size(), 3u);
  ExpectAgreed();
}

TEST_F(Mirror, AddsNothingTwiceAfterTheTableOfUidsWasLostAsWell) {
  AgreeOnAnn();
  AddStored(Card({"N:Fox;Carl"}));
  EXPECT_EQ(Mirrored(), "1 written");
  const Files files = FilesNow();
  LoseState();
  std::filesystem::remove(device_ + "/uids.db");
  EXPECT_EQ(Mirrored(), "2 paired");
  EXPECT_EQ(FilesNow(), files);
  EXPECT_EQ(StoredNames().size(), 2u);
  ExpectAgreed();
}

// What only one side says goes to the other; what both say differently is a conflict.
TEST_F(Mirror, PairsByTheUidAfterItsStateWasLostAndASideWasChanged) {
  AgreeOnAnn();
  LoseState();
  Sql("UPDATE pim_contacts SET email1_address='ann@a.example' WHERE first_name='Ann'");
  EXPECT_EQ(Mirrored(), "1 rewritten, 1 paired");
  EXPECT_THAT(FileText("ann.vcf"), AllOf(HasSubstr(":ann@a.example\r\n"), HasSubstr(kMore)));
  EXPECT_EQ(StoredNames().size(), 1u);
  ExpectAgreed();
}

TEST_F(Mirror, ComparesAllWhenMoreHasChangedThanTheLogKeeps) {
  AgreeOnFamily(4);
  std::string cards;
  for (int i = 0; i < 260; ++i) cards += Card({"N:New" + std::to_string(i) + ";"});
  Sql("UPDATE pim_contacts SET job_title='Smith' WHERE last_name='F1'");
  DeleteStored("F2");
  AddStored(cards);
  ChangeFile("F3.vcf", "END:", "TEL;TYPE=CELL:0333\r\nEND:");
  Remove("F4.vcf");
  const std::vector<Json> lines = Once({"--json"}).JsonLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["compared"], "all");
  EXPECT_EQ(lines[0]["written"], 260);
  EXPECT_EQ(lines[0]["rewritten"], 1);
  EXPECT_EQ(lines[0]["updated"], 1);
  EXPECT_EQ(lines[0]["removed"], 1);
  EXPECT_EQ(lines[0]["deleted"], 1);
  EXPECT_EQ(Names().size(), 262u);
  EXPECT_EQ(StoredNames().size(), 262u);
  ExpectAgreed();
}

// The run's own changes fill the log.
TEST_F(Mirror, GoesOnFromWhereItWasAfterItHasAddedMoreThanTheLogKeeps) {
  AgreeOnFamily(260);
  EXPECT_EQ(Once({"--json"}).JsonLines().at(0)["compared"], "changes");
  Sql("UPDATE pim_contacts SET job_title='Smith' WHERE last_name='F7'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_THAT(FileText("F7.vcf"), HasSubstr("TITLE:Smith\r\n"));
}

// Its ids may mean other objects from then on, so both sides are paired anew.
TEST_F(Mirror, LosesAndDoublesNothingWhenTheStoresLogWasLost) {
  AgreeOnAnn();
  SetMobile("0333");
  std::filesystem::remove_all(device_ + "/Sync");
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(FileText("ann.vcf"), AllOf(HasSubstr(":0333\r\n"), HasSubstr(kMore)));
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  ExpectAgreed();
}

// ---- Namesakes --------------------------------------------------------------------------------------------------

TEST_F(Mirror, KeepsTwoPeopleOfOneNameApart) {
  Put("one.vcf", FileCard({"UID:one", "FN:Ann Lee", "N:Lee;Ann;;;", "TEL;TYPE=CELL:1"}));
  Put("two.vcf", FileCard({"UID:two", "FN:Ann Lee", "N:Lee;Ann;;;", "TEL;TYPE=CELL:2"}));
  EXPECT_EQ(Mirrored(), "2 added to the store");
  Sql("UPDATE pim_contacts SET mobile_telephone_number='3' WHERE mobile_telephone_number='2'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_THAT(FileText("one.vcf"), HasSubstr("TEL;TYPE=CELL:1\r\n"));
  EXPECT_THAT(FileText("two.vcf"), HasSubstr("TEL;TYPE=CELL:3\r\n"));
  Remove("one.vcf");
  EXPECT_EQ(Mirrored(), "1 deleted from the store");
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:3\r"));
  ExpectAgreed();
}

TEST_F(Mirror, KeepsTwoEqualPeopleAsTwo) {
  AddStored(Card({"N:Lee;Ann"}) + Card({"N:Lee;Ann"}));
  EXPECT_EQ(Mirrored(), "2 written");
  LoseState();
  EXPECT_EQ(Mirrored(), "2 paired");
  std::filesystem::remove(device_ + "/uids.db");
  LoseState();
  EXPECT_EQ(Mirrored(), "2 paired");
  EXPECT_EQ(Names().size(), 2u);
  EXPECT_EQ(StoredNames().size(), 2u);
  ExpectAgreed();
}

TEST_F(Mirror, KeepsPeopleWithoutANameApart) {
  Put("one.vcf", FileCard({"UID:one", "FN:", "N:;;;;", "TEL;TYPE=CELL:1"}));
  Put("two.vcf", FileCard({"UID:two", "TEL;TYPE=CELL:2"}));
  EXPECT_EQ(Mirrored(), "2 added to the store");
  EXPECT_EQ(Stored().size(), 2u);
  ExpectAgreed();
}

// What the file alone says goes to the store, too.
TEST_F(Mirror, PairsByTheUidAfterItsStateWasLostAndAFileWasChanged) {
  AgreeOnAnn();
  LoseState();
  ChangeFile("ann.vcf", "NICKNAME:Annie", "NOTE:new");
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(OnlyStored(), Contains("NOTE:new\r"));
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "NICKNAME:Annie", "NOTE:new"));
  ExpectAgreed();
}

// ---- UIDs and names of files ------------------------------------------------------------------------------------

TEST_F(Mirror, GivesAFileAUidAndChangesNothingElseInIt) {
  const std::string before = With(kAnn, "UID:ann\r\n", "");
  Put("ann.vcf", before);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  const std::string after = FileText("ann.vcf");
  const size_t place = after.find("UID:");
  ASSERT_NE(place, std::string::npos) << after;
  const std::string line = after.substr(place, after.find("\r\n", place) + 2 - place);
  EXPECT_GT(line.size(), 10u);
  EXPECT_EQ(With(after, line, ""), before);
  ExpectAgreed();
}

TEST_F(Mirror, GivesEqualFilesWithoutAUidDifferentOnes) {
  const std::string card = FileCard({"FN:Ann Lee", "N:Lee;Ann;;;"});
  Put("one.vcf", card);
  Put("two.vcf", card);
  EXPECT_EQ(Mirrored(), "2 added to the store");
  EXPECT_NE(FileText("one.vcf"), FileText("two.vcf"));
  ExpectAgreed();
}

TEST_F(Mirror, OfTwoFilesWithOneUidTakesOne) {
  AgreeOnAnn();
  Put("copy.vcf", With(kAnn, "0111", "0999"));
  for (int i = 0; i < 2; ++i) {
    const Outcome outcome = Failed();
    EXPECT_EQ(outcome.out, "pb: nothing to do\n");
    EXPECT_EQ(outcome.err, "osif: copy.vcf: another file has the same UID, ann\n");
    EXPECT_EQ(StoredNames().size(), 1u);
  }
  Remove("copy.vcf");
  ExpectAgreed();
}

TEST_F(Mirror, OfTwoNewFilesWithOneUidTakesOne) {
  Put("ann.vcf", kAnn);
  Put("copy.vcf", kAnn);
  EXPECT_EQ(Failed().out, "pb: 1 added to the store\n");
  EXPECT_EQ(Failed().out, "pb: nothing to do\n");
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kAnn}, {"copy.vcf", kAnn}}));
}

TEST_F(Mirror, KnowsARenamedFile) {
  AgreeOnAnn();
  std::filesystem::rename(In("ann.vcf"), In("Lee, Ann.vcf"));
  EXPECT_EQ(Mirrored(), "nothing to do");
  EXPECT_EQ(OnlyName(), "Lee, Ann.vcf");
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FilesNow(), (Files{{"Lee, Ann.vcf", With(kAnn, "0111", "0333")}}));
  ExpectAgreed();
}

TEST_F(Mirror, KnowsAFileThatWasRenamedAndChanged) {
  AgreeOnAnn();
  std::filesystem::rename(In("ann.vcf"), In("Lee, Ann.vcf"));
  ChangeFile("Lee, Ann.vcf", "0111", "0333");
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  ExpectAgreed();
}

TEST_F(Mirror, KnowsAFileThatWasRenamedWhileItsObjectWasChangedOrDeleted) {
  AgreeOnAnn();
  std::filesystem::rename(In("ann.vcf"), In("b.vcf"));
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FilesNow(), (Files{{"b.vcf", With(kAnn, "0111", "0333")}}));
  std::filesystem::rename(In("b.vcf"), In("c.vcf"));
  DeleteStored("Ann Lee");
  EXPECT_EQ(Mirrored(), "1 removed");
  EXPECT_THAT(Names(), ElementsAre());
  ExpectAgreed();
}

TEST_F(Mirror, TellsFilesThatHaveChangedTheirNamesWithEachOther) {
  AgreeOnAnn();
  Put("bob.vcf", kBob);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  std::filesystem::rename(In("ann.vcf"), In("x"));
  std::filesystem::rename(In("bob.vcf"), In("ann.vcf"));
  std::filesystem::rename(In("x"), In("bob.vcf"));
  Mirrored();
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kBob}, {"bob.vcf", With(kAnn, "0111", "0333")}}));
  ExpectAgreed();
}

TEST_F(Mirror, TakesAFileThatWasRenamedWhileAnotherTookItsName) {
  AgreeOnAnn();
  std::filesystem::rename(In("ann.vcf"), In("old.vcf"));
  Put("ann.vcf", kBob);
  const Outcome outcome = Once();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kBob}, {"old.vcf", kAnn}}));
  ExpectAgreed();
}

TEST_F(Mirror, TakesAFileWithAnotherUidForAnotherObject) {
  AgreeOnAnn();
  Put("ann.vcf", With(kAnn, "UID:ann", "UID:ann-2"));
  Mirrored();
  EXPECT_EQ(StoredNames().size(), 1u);
  Put("first.vcf", With(kAnn, "FN:Ann Lee\r\nN:Lee;Ann", "FN:Eve Lee\r\nN:Lee;Eve"));
  EXPECT_EQ(Mirrored(), "1 added to the store");
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Eve Lee"));
  ExpectAgreed();
}

// ---- Files of all kinds -----------------------------------------------------------------------------------------

TEST_F(Mirror, ChangesAFileOfVersion4InVersion4) {
  Put("ann.vcf",
      FileCard({"UID:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1", "FN:Ann Lee", "N:Lee;Ann;;;",
                "TEL;VALUE=uri;TYPE=cell:tel:+49-151-5550100", "BDAY:19840530", "LANG:de"},
               "4.0"));
  EXPECT_EQ(Mirrored(), "1 added to the store");
  ExpectAgreed();
  Sql("UPDATE pim_contacts SET job_title='Smith' WHERE first_name='Ann'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"),
            FileCard({"UID:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1", "FN:Ann Lee",
                      "N:Lee;Ann;;;", "TEL;VALUE=uri;TYPE=cell:tel:+49-151-5550100",
                      "BDAY:19840530", "LANG:de", "TITLE:Smith"},
                     "4.0"));
  ExpectAgreed();
}

TEST_F(Mirror, ChangesAFileOfVersion21InVersion21) {
  const Lines lines = {"UID:ann", "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:L=C3=A9e;Ann",
                       "TEL;HOME;VOICE:0111", "X-FOO:bar"};
  Put("ann.vcf", Card(lines));
  EXPECT_EQ(Mirrored(), "1 added to the store");
  ExpectAgreed();
  Sql("UPDATE pim_contacts SET home_telephone_number='0333' WHERE first_name='Ann'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"), With(Card(lines), "0111", "0333"));
  ExpectAgreed();
}

TEST_F(Mirror, LeavesLineEndsAndFoldingOfAFileAsTheyAre) {
  std::string text = With(kAnn, "0111", "01\r\n 11");
  std::erase(text, '\r');
  Put("ann.vcf", text);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  EXPECT_EQ(FileText("ann.vcf"), text);
  Sql("UPDATE pim_contacts SET job_title='Smith' WHERE first_name='Ann'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"), With(text, "END:VCARD\n", "TITLE:Smith\nEND:VCARD\n"));
  ExpectAgreed();
}

struct RefusedRow {
  const char* name;
  std::string text;
  const char* why;
};

class MirrorRefusedFile : public Mirror, public testing::WithParamInterface<RefusedRow> {};

TEST_P(MirrorRefusedFile, IsLeftAloneNamedAndHoldsUpNobody) {
  Put("a.vcf", GetParam().text);
  Put("bob.vcf", kBob);
  const Outcome first = Failed();
  EXPECT_EQ(first.out, "pb: 1 added to the store\n");
  EXPECT_THAT(first.err, AllOf(StartsWith("osif: a.vcf: "), HasSubstr(GetParam().why)));
  EXPECT_EQ(Failed().out, "pb: nothing to do\n");
  EXPECT_THAT(StoredNames(), ElementsAre("Bob Ray"));
  EXPECT_EQ(FilesNow(), (Files{{"a.vcf", GetParam().text}, {"bob.vcf", kBob}}));
}

// A file that was good and can no longer be read is not gone.
TEST_P(MirrorRefusedFile, DoesNotCostTheObjectThatItHeld) {
  AgreeOnAnn();
  Put("ann.vcf", GetParam().text);
  EXPECT_EQ(Failed().out, "pb: nothing to do\n");
  SetMobile("0333");
  EXPECT_EQ(Failed().out, "pb: nothing to do\n");
  EXPECT_EQ(FileText("ann.vcf"), GetParam().text);
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  Put("ann.vcf", kAnn);
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  ExpectAgreed();
}

INSTANTIATE_TEST_SUITE_P(
    OfAllKinds, MirrorRefusedFile,
    testing::Values(RefusedRow{"Empty", "", "holds no card"},
                    RefusedRow{"NoObject", "Dear diary,\r\n", "holds no card"},
                    RefusedRow{"Calendar", FileEvent({"UID:x", "SUMMARY:x"}), "holds no card"},
                    RefusedRow{"CutOff", kAnn.substr(0, kAnn.find("0111")), "has no END"},
                    RefusedRow{"SeveralCards",
                               FileCard({"UID:x1", "FN:X"}) + FileCard({"UID:x2", "FN:Y"}),
                               "holds more than one object"},
                    RefusedRow{"NotUtf8", FileCard({"UID:x", "FN:J\xf6rg"}), "is not UTF-8"},
                    RefusedRow{"Binary", std::string("\0\1\2\xff\xfe", 5), ""}),
    [](const testing::TestParamInfo<RefusedRow>& row) { return row.param.name; });

// ---- The calendar -----------------------------------------------------------------------------------------------

const std::string kZone =
    Joined({"BEGIN:VTIMEZONE", "TZID:Europe/Berlin", "BEGIN:DAYLIGHT", "DTSTART:19810329T020000",
            "TZOFFSETFROM:+0100", "TZOFFSETTO:+0200", "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU",
            "END:DAYLIGHT", "BEGIN:STANDARD", "DTSTART:19961027T030000", "TZOFFSETFROM:+0200",
            "TZOFFSETTO:+0100", "RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU", "END:STANDARD"}) +
    "END:VTIMEZONE";
const std::string kOverride =
    Joined({"BEGIN:VEVENT", "UID:tour", "RECURRENCE-ID;TZID=Europe/Berlin:20260112T090000",
            "DTSTAMP:20260101T000000Z", "DTSTART;TZID=Europe/Berlin:20260112T110000",
            "DTEND;TZID=Europe/Berlin:20260112T120000", "SUMMARY:Late tour", "X-COLOUR:red"}) +
    "END:VEVENT";
const std::string kSeries = FileCalendar({kZone,
                                          "BEGIN:VEVENT",
                                          "UID:tour",
                                          "DTSTAMP:20260101T000000Z",
                                          "DTSTART;TZID=Europe/Berlin:20260105T090000",
                                          "DTEND;TZID=Europe/Berlin:20260105T100000",
                                          "RRULE:FREQ=WEEKLY;BYDAY=MO",
                                          "SUMMARY:Tour",
                                          "ATTENDEE;CN=Ann:mailto:ann@a.example",
                                          "X-COLOUR:blue",
                                          "BEGIN:VALARM",
                                          "ACTION:DISPLAY",
                                          "DESCRIPTION:Tour",
                                          "TRIGGER:-PT15M",
                                          "END:VALARM",
                                          "BEGIN:VALARM",
                                          "ACTION:AUDIO",
                                          "TRIGGER:-P1D",
                                          "END:VALARM",
                                          "END:VEVENT",
                                          kOverride});
const std::string kTea =
    FileEvent({"UID:tea", "DTSTAMP:20260101T000000Z", "DTSTART:20260314T101500Z",
               "DTEND:20260314T111500Z", "SUMMARY:Tea", "GEO:48.1;11.5"});
const std::string kTax = FileTask({"UID:tax", "DTSTAMP:20260101T000000Z", "DUE;VALUE=DATE:20260120",
                                   "SUMMARY:Tax", "PERCENT-COMPLETE:30", "X-APPLE-SORT-ORDER:7"});

class MirrorCalendar : public MirrorFixture {
 protected:
  MirrorCalendar() : MirrorFixture(kCalendarStore) { zone_ = "Europe/Berlin"; }

  void AgreeOn(const std::string& name, const std::string& text) const {
    Put(name, text);
    ASSERT_EQ(Mirrored(), "1 added to the store");
    ASSERT_EQ(FileText(name), text);
    ExpectAgreed();
  }
  // The stamp of a change is the time when it was made.
  static std::string WithoutStamps(const std::string& text) {
    std::string rest;
    for (const std::string& line : Outcome::Split(text)) {
      if (!line.starts_with("DTSTAMP:") && !line.starts_with("LAST-MODIFIED:")) rest += line + "\n";
    }
    return rest;
  }
  void ExpectFile(const std::string& name, const std::string& text) const {
    EXPECT_EQ(WithoutStamps(FileText(name)), WithoutStamps(text));
  }
};

TEST_F(MirrorCalendar, WritesAFileOfEachEventAndTask) {
  ASSERT_EQ(Osif({"receive",
                  Write("in.vcs",
                        "BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\nSUMMARY:Tour\r\n"
                        "DTSTART:20260105T080000Z\r\nDTEND:20260105T090000Z\r\nRRULE:W1 MO #0\r\n"
                        "END:VEVENT\r\nBEGIN:VTODO\r\nSUMMARY:Tax\r\nDUE:20260120\r\nEND:VTODO\r\n"
                        "END:VCALENDAR\r\n")})
                .status,
            0);
  EXPECT_EQ(Mirrored(), "2 written");
  const Lines names = Names();
  ASSERT_EQ(names.size(), 2u);
  std::string both = FileText(names[0]) + FileText(names[1]);
  // A series goes by the clock of its place, over the changes of the clocks.
  EXPECT_THAT(Outcome::Split(both),
              IsSupersetOf({"SUMMARY:Tour\r", "DTSTART;TZID=Europe/Berlin:20260105T090000\r",
                            "TZID:Europe/Berlin\r", "SUMMARY:Tax\r", "DUE;VALUE=DATE:20260120\r"}));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, ChangesASeriesAndLeavesZoneAlarmsAndChangedOccurrences) {
  AgreeOn("tour.ics", kSeries);
  EXPECT_THAT(OnlyStored(), IsSupersetOf({"DTSTART:20260105T080000Z\r", "RRULE:W1 MO #0\r",
                                          "EXDATE:20260112T080000Z\r"}));
  Sql("UPDATE pim_appointments SET location='Room 4' WHERE subject='Tour'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_THAT(FileText("tour.ics"), AllOf(HasSubstr("LOCATION:Room 4\r\n"), HasSubstr(kOverride)));
  EXPECT_EQ(WithoutStamps(With(FileText("tour.ics"), "LOCATION:Room 4\r\n", "")),
            WithoutStamps(kSeries));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, CarriesAChangeOfASeriesInItsFile) {
  AgreeOn("tour.ics", kSeries);
  ChangeFile("tour.ics", "SUMMARY:Tour\r\n", "SUMMARY:Long tour\r\n");
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  EXPECT_THAT(OnlyStored(), IsSupersetOf({"SUMMARY:Long tour\r", "RRULE:W1 MO #0\r",
                                          "EXDATE:20260112T080000Z\r"}));
  EXPECT_EQ(FileText("tour.ics"), With(kSeries, "SUMMARY:Tour\r\n", "SUMMARY:Long tour\r\n"));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, LeavesTheStoreAloneWhenOnlyAChangedOccurrenceChanges) {
  AgreeOn("tour.ics", kSeries);
  const std::string changes = Osif({"changes", "cal"}).out;
  ChangeFile("tour.ics", "SUMMARY:Late tour", "SUMMARY:Later tour");
  EXPECT_EQ(Mirrored(), "nothing to do");
  EXPECT_EQ(Osif({"changes", "cal"}).out, changes);
  ExpectAgreed();
}

TEST_F(MirrorCalendar, TakesAnOccurrenceThatAFileChangesOutOfTheSeries) {
  AgreeOn("tour.ics", kSeries);
  const std::string second =
      With(With(kOverride, "ID;TZID=Europe/Berlin:20260112T", "ID;TZID=Europe/Berlin:20260119T"),
           "DTSTART;TZID=Europe/Berlin:20260112T", "DTSTART;TZID=Europe/Berlin:20260119T");
  Put("tour.ics", With(kSeries, "END:VCALENDAR", second + "\r\nEND:VCALENDAR"));
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  EXPECT_THAT(OnlyStored(),
              IsSupersetOf({"EXDATE:20260112T080000Z\r", "EXDATE:20260119T080000Z\r"}));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, MovesASeriesAndSaysThatItsChangedOccurrencesStay) {
  AgreeOn("tour.ics", kSeries);
  // One hour later, in days.
  Sql("UPDATE pim_appointments SET start_date=start_date+1.0/24, end_date=end_date+1.0/24"
      " WHERE subject='Tour'");
  const Outcome outcome = Once();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "cal: 1 rewritten\n");
  EXPECT_NE(outcome.err, "");
  EXPECT_THAT(
      FileText("tour.ics"),
      AllOf(HasSubstr("DTSTART;TZID=Europe/Berlin:20260105T100000\r\n"),
            HasSubstr("DTEND;TZID=Europe/Berlin:20260105T110000\r\n"), HasSubstr(kOverride)));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, MovesAnEventOnEitherSide) {
  AgreeOn("tea.ics", kTea);
  Sql("UPDATE pim_appointments SET start_date=start_date+1, end_date=end_date+1");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  ExpectFile("tea.ics", With(With(kTea, "DTSTART:20260314", "DTSTART:20260315"), "DTEND:20260314",
                             "DTEND:20260315"));
  ExpectAgreed();
  ChangeFile("tea.ics", "DTSTART:20260315T101500Z", "DTSTART:20260315T103000Z");
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  EXPECT_THAT(OnlyStored(),
              IsSupersetOf({"DTSTART:20260315T103000Z\r", "DTEND:20260315T111500Z\r"}));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, DeletesASeriesWithItsFileAndAFileWithItsSeries) {
  AgreeOn("tour.ics", kSeries);
  Remove("tour.ics");
  EXPECT_EQ(Mirrored(), "1 deleted from the store");
  EXPECT_THAT(Stored(), testing::IsEmpty());
  AgreeOn("tour.ics", kSeries);
  Sql("DELETE FROM pim_objects");
  EXPECT_EQ(Mirrored(), "1 removed");
  EXPECT_THAT(Names(), ElementsAre());
  ExpectAgreed();
}

TEST_F(MirrorCalendar, LeavesASeriesThatTheStoreCannotExpressInTheFile) {
  const std::string pill = FileEvent({"UID:pill", "DTSTAMP:20260101T000000Z",
                                      "DTSTART:20260105T090000Z", "DTEND:20260105T091000Z",
                                      "RRULE:FREQ=MONTHLY;BYDAY=1MO,3WE,-1FR", "SUMMARY:Pill"});
  Put("pill.ics", pill);
  Put("tea.ics", kTea);
  for (int i = 0; i < 2; ++i) {
    const Outcome outcome = Once();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(FileText("pill.ics"), pill);
    EXPECT_EQ(FileText("tea.ics"), kTea);
  }
  ExpectAgreed();
  Remove("pill.ics");
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(StoredNames(), ElementsAre("Tea"));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, ChangesATaskOnEitherSide) {
  AgreeOn("tax.ics", kTax);
  ChangeFile("tax.ics", "DUE;VALUE=DATE:20260120", "DUE;VALUE=DATE:20260131");
  EXPECT_EQ(Mirrored(), "1 updated in the store");
  EXPECT_THAT(OnlyStored(), Contains(StartsWith("DUE:20260131")));
  ExpectAgreed();
  Sql("UPDATE pim_tasks SET body='by post'");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_THAT(
      FileText("tax.ics"),
      AllOf(HasSubstr("DESCRIPTION:by post\r\n"), HasSubstr("PERCENT-COMPLETE:30\r\n"),
            HasSubstr("X-APPLE-SORT-ORDER:7\r\n"), HasSubstr("DUE;VALUE=DATE:20260131\r\n")));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, TellsThatATaskIsDone) {
  AgreeOn("tax.ics", kTax);
  Sql("UPDATE pim_tasks SET complete=1, date_completed=46030");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_THAT(FileText("tax.ics"),
              AllOf(HasSubstr("STATUS:COMPLETED\r\n"), HasSubstr("X-APPLE-SORT-ORDER:7\r\n")));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, AfterItsStateWasLostLeavesBothSidesAsTheyAre) {
  const Files files = {{"tax.ics", With(kTax, "END:VTODO",
                                        Joined({"BEGIN:VALARM", "ACTION:AUDIO", "TRIGGER:-PT3H"}) +
                                            "END:VALARM\r\nEND:VTODO")},
                       {"tea.ics", kTea},
                       {"tour.ics", kSeries}};
  for (const auto& [name, text] : files) Put(name, text);
  EXPECT_EQ(Mirrored(), "3 added to the store");
  const Texts stored = Stored();
  LoseState();
  EXPECT_EQ(Once().status, 0);
  EXPECT_EQ(FilesNow(), files);
  EXPECT_EQ(Stored(), stored);
  ExpectAgreed();
}

TEST_F(MirrorCalendar, AfterItsStateWasLostCarriesWhatOnlyTheStoreSaysOfATask) {
  AgreeOn("tax.ics", kTax);
  LoseState();
  Sql("UPDATE pim_tasks SET body='by post'");
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(FileText("tax.ics"), HasSubstr("DESCRIPTION:by post\r\n"));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, AfterItsStateWasLostCarriesWhatOnlyTheFileSays) {
  AgreeOn("tea.ics", kTea);
  LoseState();
  ChangeFile("tea.ics", "SUMMARY:Tea\r\n", "SUMMARY:Tea\r\nLOCATION:Room 4\r\n");
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(OnlyStored(), Contains("LOCATION:Room 4\r"));
  ExpectAgreed();
}

TEST_F(MirrorCalendar, TakesNoFileWithEventsOfSeveralUids) {
  const std::string two = FileCalendar({"BEGIN:VEVENT", "UID:a", "DTSTART:20260314T101500Z",
                                        "SUMMARY:A", "END:VEVENT", "BEGIN:VEVENT", "UID:b",
                                        "DTSTART:20260314T101500Z", "SUMMARY:B", "END:VEVENT"});
  Put("two.ics", two);
  EXPECT_EQ(Failed().err, "osif: two.ics: holds objects of several UIDs\n");
  EXPECT_EQ(FileText("two.ics"), two);
  EXPECT_THAT(Stored(), testing::IsEmpty());
}

TEST_F(MirrorCalendar, LeavesAJournalEntryInItsFile) {
  const std::string entry =
      Component("VJOURNAL", {"UID:day", "DTSTAMP:20260101T000000Z", "SUMMARY:A day"});
  Put("day.ics", entry);
  const Outcome outcome = Once();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "osif: day.ics: stays in the file: it is a journal entry\n");
  EXPECT_THAT(Stored(), testing::IsEmpty());
  EXPECT_EQ(FileText("day.ics"), entry);
  ExpectAgreed();
}

TEST_F(MirrorCalendar, BringsDifferentChangesOfBothSidesTogether) {
  AgreeOn("tea.ics", kTea);
  ChangeFile("tea.ics", "SUMMARY:Tea", "SUMMARY:Green tea");
  Sql("UPDATE pim_appointments SET location='Room 4'");
  EXPECT_EQ(Mirrored(), "1 updated in the store, 1 rewritten");
  EXPECT_THAT(FileText("tea.ics"),
              AllOf(HasSubstr("SUMMARY:Green tea\r\n"), HasSubstr("LOCATION:Room 4\r\n"),
                    HasSubstr("GEO:48.1;11.5\r\n")));
  EXPECT_THAT(OnlyStored(), IsSupersetOf({"SUMMARY:Green tea\r", "LOCATION:Room 4\r"}));
  ExpectAgreed();
}

// ---- Hostile folders --------------------------------------------------------------------------------------------

struct HostileRow {
  const char* name;
  const char* why;
  std::function<void(const std::string& path)> make;
};

void MakeSocket(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  // The name is longer than an address may be; the folder is entered for it.
  const std::filesystem::path former = std::filesystem::current_path();
  std::filesystem::current_path(std::filesystem::path(path).parent_path());
  std::filesystem::path(path).filename().string().copy(address.sun_path,
                                                       sizeof address.sun_path - 1);
  const int handle = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(handle);
  std::filesystem::current_path(former);
}

class MirrorHostile : public Mirror, public testing::WithParamInterface<HostileRow> {};

TEST_P(MirrorHostile, IsRefusedAndLeftAlone) {
  GetParam().make(In("x.vcf"));
  Put("bob.vcf", kBob);
  const Outcome outcome = Failed();
  EXPECT_EQ(outcome.out, "pb: 1 added to the store\n");
  EXPECT_EQ(outcome.err, std::string("osif: x.vcf: ") + GetParam().why + "\n");
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::symlink_status(In("x.vcf"))));
}

TEST_P(MirrorHostile, InTheFilesPlaceDoesNotCostTheObject) {
  Write("secret", kBob);
  AgreeOnAnn();
  Remove("ann.vcf");
  GetParam().make(In("ann.vcf"));
  SetMobile("0333");
  EXPECT_EQ(Failed().out, "pb: nothing to do\n");
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  DeleteStored("Ann Lee");
  Failed();
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::symlink_status(In("ann.vcf"))));
  EXPECT_EQ(BytesOf(Path("secret")), kBob);
}

INSTANTIATE_TEST_SUITE_P(
    Things, MirrorHostile,
    testing::Values(
        HostileRow{
            "LinkToAFile", "is a link",
            [](const std::string& path) { std::filesystem::create_symlink("../secret", path); }},
        HostileRow{"LinkToNothing", "is a link",
                   [](const std::string& path) {
                     std::filesystem::create_symlink("/nowhere/at/all", path);
                   }},
        HostileRow{"LinkToItself", "is a link",
                   [](const std::string& path) {
                     std::filesystem::create_symlink(std::filesystem::path(path).filename(), path);
                   }},
        HostileRow{"Folder", "is a folder",
                   [](const std::string& path) { std::filesystem::create_directory(path); }},
        HostileRow{"Pipe", "is no plain file",
                   [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
        HostileRow{"Socket", "is no plain file", MakeSocket},
        HostileRow{"FileOf17Megabytes", "has more than 16 MB",
                   [](const std::string& path) {
                     support::PutBytes(path, "BEGIN:VCARD\r\n");
                     std::filesystem::resize_file(path, 17 << 20);
                   }}),
    [](const testing::TestParamInfo<HostileRow>& row) { return row.param.name; });

TEST_F(Mirror, RefusesANameThatIsNotUtf8) {
  Put("J\xf6rg.vcf", kAnn);
  Put("bob.vcf", kBob);
  const Outcome outcome = Failed();
  EXPECT_EQ(outcome.out, "pb: 1 added to the store\n");
  EXPECT_THAT(outcome.err, HasSubstr("its name is not UTF-8"));
  EXPECT_THAT(StoredNames(), ElementsAre("Bob Ray"));
}

TEST_F(Mirror, TakesNamesOfAllKinds) {
  const Lines names = {"Jörg & Söhne.vcf", "'; DROP TABLE pairs; --.vcf", "-v.vcf", "new\nline.vcf",
                       "..vcf.vcf"};
  for (size_t i = 0; i < names.size(); ++i) {
    const std::string name = "F" + std::to_string(i);
    Put(names[i], FileCard({"UID:" + name, "FN:" + name, "N:" + name + ";;;;"}));
  }
  // A name that begins with a dot is that of no object.
  EXPECT_EQ(Mirrored(), "4 added to the store");
  ExpectAgreed();
  Remove("-v.vcf");
  Remove("new\nline.vcf");
  EXPECT_EQ(Mirrored(), "2 deleted from the store");
  ExpectAgreed();
}

TEST_F(Mirror, ChangesAFileWithTheLongestName) {
  const std::string longest = std::string(251, 'n') + ".vcf";
  Put(longest, kAnn);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  SetMobile("0333");
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_EQ(FilesNow(), (Files{{longest, With(kAnn, "0111", "0333")}}));
}

TEST_F(Mirror, PassesOverWhatOthersWriteBesideTheFiles) {
  const Files files = {{".ann.vcf", kAnn},     {"ann.vcf.tmp", kAnn}, {"ann.vcf~", kAnn},
                       {"ann.txt", kAnn},      {".vcf", kAnn},        {"color", "#ff0000"},
                       {"displayname", "Mine"}};
  for (const auto& [name, text] : files) Put(name, text);
  EXPECT_EQ(Mirrored(), "nothing to do");
  EXPECT_EQ(FilesNow(), files);
}

TEST_F(Mirror, WritesNoFileOutsideWhateverUidAnObjectCameWith) {
  for (const std::string uid : {"../../escaped", "/tmp/x", ".hidden", "a/b", "", "CON", "x y"}) {
    Put("in.vcf", FileCard({"UID:" + uid, "FN:n" + uid, "N:n" + uid + ";;;;"}));
    Once();
    Remove("in.vcf");
    LoseState();
  }
  ASSERT_EQ(Stored().size(), 7u);
  std::filesystem::rename(files_, Path("former"));
  std::filesystem::create_directory(files_);
  EXPECT_EQ(Mirrored(), "7 written");
  EXPECT_THAT(Names(), AllOf(testing::SizeIs(7), testing::Each(Not(StartsWith(".")))));
  for (const char* outside : {"/escaped.vcf", "/../escaped.vcf"}) {
    EXPECT_FALSE(std::filesystem::exists(folder_ + outside));
  }
  EXPECT_FALSE(std::filesystem::exists("/tmp/x.vcf"));
  ExpectAgreed();
}

TEST_F(Mirror, OfAFolderThatIsGoneDeletesNothing) {
  AgreeOnAnn();
  std::filesystem::rename(files_, Path("elsewhere"));
  const Outcome outcome = Failed({"--force-delete"});
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "osif: " + files_ + ": No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(files_));
  EXPECT_EQ(StoredNames().size(), 1u);
  std::filesystem::rename(Path("elsewhere"), files_);
  ExpectAgreed();
}

TEST_F(Mirror, OfAFileInTheFoldersPlaceDeletesNothing) {
  AgreeOnAnn();
  std::filesystem::rename(files_, Path("elsewhere"));
  Write("files", "a file");
  EXPECT_EQ(Failed({"--force-delete"}).err, "osif: " + files_ + ": Not a directory\n");
  EXPECT_EQ(StoredNames().size(), 1u);
}

// What may do no more than the modes of files allow, also when the superuser runs the tests.
class MirrorWithoutPrivileges : public Mirror {
 protected:
  static constexpr const char* kSetpriv = "/usr/bin/setpriv";

  Lines Lowered() const {
    if (geteuid() != 0) return {};
    return {kSetpriv, "--bounding-set=-dac_override,-dac_read_search",
            "--inh-caps=-dac_override,-dac_read_search"};
  }
  bool IsPossible() const {
    if (geteuid() != 0) return true;
    if (!std::filesystem::exists(kSetpriv)) return false;
    const std::string file = Write("forbidden", "");
    std::filesystem::permissions(file, std::filesystem::perms::none);
    Lines line = Lowered();
    line.insert(line.end(), {"/bin/cat", file});
    return Run(line).status == 1;
  }
  Outcome Plain(const Lines& options = {}) const {
    Lines line = MirrorLine(options);
    line.insert(line.begin(), support::kCommand);
    return Run(Launched(line, Lowered()));
  }
};

TEST_F(MirrorWithoutPrivileges, AFileThatCannotBeReadIsNotTakenForGone) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  AgreeOnAnn();
  Put("bob.vcf", kBob);
  std::filesystem::permissions(In("bob.vcf"), std::filesystem::perms::none);
  Put("ann.vcf", With(kAnn, "0111", "0333"));
  std::filesystem::permissions(In("ann.vcf"), std::filesystem::perms::none);
  const Outcome outcome = Plain({"--force-delete"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "pb: nothing to do\n");
  EXPECT_EQ(Outcome::Split(outcome.err), (Lines{"osif: ann.vcf (pb 00000001): Permission denied",
                                                "osif: bob.vcf: Permission denied"}));
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0111\r"));
  for (const char* name : {"ann.vcf", "bob.vcf"}) {
    std::filesystem::permissions(In(name), std::filesystem::perms::owner_all);
  }
  EXPECT_EQ(Mirrored(), "1 added to the store, 1 updated in the store");
  ExpectAgreed();
}

TEST_F(MirrorWithoutPrivileges, AFolderThatCannotBeListedCostsNothing) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  AgreeOnAnn();
  for (const auto mode : {std::filesystem::perms::none, std::filesystem::perms::owner_exec}) {
    std::filesystem::permissions(files_, mode);
    const Outcome outcome = Plain({"--force-delete"});
    std::filesystem::permissions(files_, std::filesystem::perms::owner_all);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "osif: " + files_ + ": Permission denied\n");
    EXPECT_EQ(StoredNames().size(), 1u);
  }
  ExpectAgreed();
}

// It may be listed, but nothing in it may be looked at.
TEST_F(MirrorWithoutPrivileges, AFolderWhoseFilesCannotBeLookedAtCostsNothing) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  AgreeOnAnn();
  std::filesystem::permissions(files_, std::filesystem::perms::owner_read);
  const Outcome outcome = Plain({"--force-delete"});
  std::filesystem::permissions(files_, std::filesystem::perms::owner_all);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(StoredNames().size(), 1u);
  ExpectAgreed();
}

TEST_F(MirrorWithoutPrivileges, AFolderThatCannotBeWrittenLosesNoChange) {
  if (!IsPossible()) GTEST_SKIP() << "privileges cannot be given up here";
  AgreeOnAnn();
  Put("bob.vcf", kBob);
  ASSERT_EQ(Mirrored(), "1 added to the store");
  SetMobile("0333");
  AddStored(Card({"N:Fox;Carl"}));
  DeleteStored("Bob Ray");
  std::filesystem::permissions(files_, std::filesystem::perms(0500));
  const Outcome outcome = Plain();
  std::filesystem::permissions(files_, std::filesystem::perms::owner_all);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "pb: nothing to do\n");
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kAnn}, {"bob.vcf", kBob}}));
  EXPECT_EQ(Mirrored(), "1 written, 1 rewritten, 1 removed");
  EXPECT_EQ(FileText("ann.vcf"), With(kAnn, "0111", "0333"));
  ExpectAgreed();
}

// ---- A full disk ------------------------------------------------------------------------------------------------

class MirrorFullDisk : public Mirror {
 protected:
  static constexpr rlim_t kRoom = 400'000;
  const std::string long_note_ = std::string(kRoom + 10'000, 'n');
};

TEST_F(MirrorFullDisk, LeavesNoHalfFileAndWritesItWhenThereIsRoom) {
  AgreeOnAnn();
  AddStored(Card({"N:Fox;Carl", "NOTE:" + long_note_}));
  {
    const support::FullDisk full(kRoom);
    const Outcome outcome = Failed();
    EXPECT_EQ(outcome.out, "pb: nothing to do\n");
    EXPECT_THAT(outcome.err, HasSubstr("File too large"));
  }
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kAnn}}));
  EXPECT_EQ(Mirrored(), "1 written");
  ExpectAgreed();
}

TEST_F(MirrorFullDisk, LeavesTheOldFileWhole) {
  AgreeOnAnn();
  Sql("UPDATE pim_contacts SET body='" + long_note_ + "' WHERE first_name='Ann'");
  {
    const support::FullDisk full(kRoom);
    EXPECT_EQ(Failed().out, "pb: nothing to do\n");
  }
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kAnn}}));
  EXPECT_EQ(Mirrored(), "1 rewritten");
  EXPECT_THAT(FileText("ann.vcf"), HasSubstr(kMore));
  ExpectAgreed();
}

TEST_F(MirrorFullDisk, OfTheDeviceLosesNoFileAndAddsItOnceWhenThereIsRoom) {
  AgreeOnAnn();
  const std::string carl =
      FileCard({"UID:carl", "FN:Carl Fox", "N:Fox;Carl;;;", "NOTE:" + long_note_});
  Put("carl.vcf", carl);
  ChangeFile("ann.vcf", "END:", "NOTE:" + long_note_ + "\r\nEND:");
  const std::string ann = FileText("ann.vcf");
  {
    const support::FullDisk full(kRoom);
    Failed();
  }
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", ann}, {"carl.vcf", carl}}));
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Carl Fox"));
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", ann}, {"carl.vcf", carl}}));
  ExpectAgreed();
}

// ---- Watching ---------------------------------------------------------------------------------------------------

class MirrorWatch : public Mirror {
 protected:
  MirrorWatch() {
    // Whoever runs the tests in the background may have these signals ignored, and programs inherit that.
    for (const int signal : {SIGINT, SIGTERM}) std::signal(signal, SIG_DFL);
  }
  ~MirrorWatch() override {
    if (watcher_ > 0) Stop(SIGKILL);
  }

  void StartWatching(const Lines& options = {}) {
    Lines line = MirrorLine(options);
    line.insert(line.begin(), support::kCommand);
    line.push_back("--watch");
    watcher_ = Start(Launched(line), Path("watch"));
  }
  int Stop(int signal = SIGTERM) {
    // Without a watcher the number would be that of other processes.
    if (watcher_ > 0) kill(watcher_, signal);
    return WaitFor(std::exchange(watcher_, 0));
  }
  std::string Said() const { return BytesOf(Path("watch.out")); }
  std::string Errors() const { return BytesOf(Path("watch.err")); }

  template <typename Condition>
  static void Await(Condition condition, const std::string& what) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      ASSERT_LT(std::chrono::steady_clock::now(), end) << "waited in vain for " << what;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  bool IsStored(const std::string& name) const { return StoredNames().contains(name); }

  pid_t watcher_ = 0;
};

TEST_F(MirrorWatch, CarriesChangesOfBothSidesOver) {
  StartWatching();
  Await([&] { return !Said().empty(); }, "the first run");
  Put("ann.vcf", kAnn);
  Await([&] { return IsStored("Ann Lee"); }, "a new file in the store");
  SetMobile("0333");
  Await([&] { return FileText("ann.vcf") == With(kAnn, "0111", "0333"); }, "a change of the store");
  Put("tmp", With(kAnn, "0111", "0444"));
  std::filesystem::rename(In("tmp"), In("ann.vcf"));
  Await(
      [&] {
        return Osif({"export", "pb", "-o", "-"}).out.find("0444") != std::string::npos;
      },
      "a change of the file");
  AddStored(Card({"N:Ray;Bob"}));
  Await([&] { return Names().size() == 2; }, "a new object's file");
  Remove("ann.vcf");
  Await([&] { return !IsStored("Ann Lee"); }, "a removed file's object to go");
  DeleteStored("Bob Ray");
  Await([&] { return Names().empty(); }, "a deleted object's file to go");
  EXPECT_EQ(Stop(), 128 + SIGTERM);
  EXPECT_EQ(Said(),
            "pb: nothing to do\npb: 1 added to the store\npb: 1 rewritten\npb: 1 updated in the "
            "store\npb: 1 written\npb: 1 deleted from the store\npb: 1 removed\n");
  EXPECT_EQ(Errors(), "");
  ExpectAgreed();
}

// Whoever reads its output reads each line when it is said.
TEST_F(MirrorWatch, SaysWhatItDidAtOnce) {
  Put("ann.vcf", kAnn);
  StartWatching();
  Await([&] { return Said() == "pb: 1 added to the store\n"; }, "its first line");
  EXPECT_EQ(Stop(SIGINT), 128 + SIGINT);
}

// Also where it is asked just before it begins to wait, which it does for a minute.
TEST_F(MirrorWatch, EndsWhenItIsAsked) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 4; ++i) {
    StartWatching();
    Await([&] { return !Said().empty(); }, "the first run");
    std::this_thread::sleep_for(std::chrono::milliseconds(200 * i));
    EXPECT_EQ(Stop(), 128 + SIGTERM);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(45));
}

TEST_F(MirrorWatch, WritesNothingWhileNothingChanges) {
  Put("ann.vcf", kAnn);
  AddStored(Card({"N:Ray;Bob"}));
  StartWatching();
  Await([&] { return IsStored("Ann Lee") && Names().size() == 2; }, "the first run");
  // What the looks of this test have changed is seen by a run, too.
  std::this_thread::sleep_for(std::chrono::seconds(4));
  const Stamps files = StampsNow();
  const Stamps log = StampsIn(device_ + "/Sync/pb");
  std::this_thread::sleep_for(std::chrono::seconds(4));
  EXPECT_EQ(StampsNow(), files);
  EXPECT_EQ(StampsIn(device_ + "/Sync/pb"), log);
  EXPECT_EQ(Stop(), 128 + SIGTERM);
}

TEST_F(MirrorWatch, SaysOnceWhatItCannotDoWhileThatLasts) {
  const auto two = [](const std::string& name) {
    return kAnn + With(kBob, "UID:bob", "UID:" + name);
  };
  Put("two.vcf", two("x"));
  StartWatching();
  Await([&] { return !Errors().empty(); }, "the refusal");
  const std::string refusal = Errors();
  EXPECT_THAT(refusal, StartsWith("osif: two.vcf: "));
  for (const char* name : {"carl", "dora"}) {
    Put(name + std::string(".vcf"),
        FileCard({"UID:" + std::string(name), "N:" + std::string(name) + ";"}));
    Await([&] { return IsStored(name); }, name);
  }
  EXPECT_EQ(Errors(), refusal);
  Put("two.vcf", kBob);
  Await([&] { return IsStored("Bob Ray"); }, "the file to be whole");
  Put("two.vcf", two("y"));
  Await([&] { return Errors() != refusal; }, "the refusal to come again");
  // By now the file has an object.
  EXPECT_EQ(Errors(),
            refusal + "osif: two.vcf (pb " + IdOf("Bob Ray") + "): holds more than one object\n");
  EXPECT_EQ(Stop(), 128 + SIGTERM);
}

TEST_F(Mirror, TellsInJsonOfAFolderThatIsNotThereWithoutACodeOfTheLibrary) {
  std::filesystem::remove(files_);
  EXPECT_THAT(Osif({"--json", "mirror", "pb", files_}).JsonLines(),
              ElementsAre(Json{{"error", files_ + ": No such file or directory"},
                               {"code", nullptr},
                               {"text", "Failed"}}));
}

TEST_F(MirrorWatch, LetsOtherProgramsAtTheStoreInBetween) {
  StartWatching();
  Put("ann.vcf", kAnn);
  Await([&] { return IsStored("Ann Lee"); }, "a new file in the store");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Receive(Card({"N:Family" + std::to_string(i) + ";"})).status, 0);
  }
  Await([&] { return Names().size() == 4; }, "the files of all");
  EXPECT_EQ(Stop(), 128 + SIGTERM);
  ExpectAgreed();
}

TEST_F(MirrorWatch, DeletesNothingWhenTheFolderGoes) {
  AgreeOnAnn();
  StartWatching({"--force-delete"});
  Put("bob.vcf", kBob);
  Await([&] { return IsStored("Bob Ray"); }, "a new file in the store");
  std::filesystem::rename(files_, Path("elsewhere"));
  std::this_thread::sleep_for(std::chrono::seconds(3));
  EXPECT_EQ(StoredNames().size(), 2u);
  Stop();
  std::filesystem::rename(Path("elsewhere"), files_);
  ExpectAgreed();
}

TEST_F(MirrorWatch, OfAFolderThatIsNotThereEndsAtOnce) {
  std::filesystem::remove(files_);
  EXPECT_EQ(Failed({"--watch"}).err, "osif: " + files_ + ": No such file or directory\n");
}

}  // namespace
}  // namespace command_test::mirror_test
