// A run that ends between a change of the store and the noting of it, at exactly that place: the table of pairs takes no
// row meanwhile.
#include <sqlite3.h>

#include "tests/tools/osif/mirror_fixture.h"

namespace command_test::mirror_recovery_test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

const std::string kAnn = FileCard({"UID:ann", "FN:Ann Lee", "N:Lee;Ann;;;", "TEL;TYPE=CELL:0111",
                                   "NICKNAME:Annie", "TEL;TYPE=CELL:0222"});
const std::string kBob = FileCard({"UID:bob", "FN:Bob Ray", "N:Ray;Bob;;;"});

class MirrorRecovery : public MirrorFixture {
 protected:
  MirrorRecovery() : MirrorFixture(kContactStore) {}

  // The state is there, and the next run is the first one all the same.
  void SetUp() override {
    ASSERT_EQ(Mirrored(), "nothing to do");
    InState("DELETE FROM positions");
  }

  static void Execute(const std::string& path, const char* sql) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database);
    sqlite3_close(database);
  }
  void InState(const char* sql) const { Execute(device_ + "/mirror.db", sql); }

  // A run that cannot note the pair that it has just made.
  Outcome CutOff() const {
    InState("CREATE TRIGGER full BEFORE INSERT ON pairs BEGIN SELECT RAISE(FAIL, 'no room'); END");
    const Outcome outcome = Failed();
    EXPECT_THAT(outcome.err, HasSubstr("mirror.db: no room"));
    InState("DROP TRIGGER full");
    return outcome;
  }
  void ForgetUids() const { Execute(device_ + "/uids.db", "DELETE FROM uids"); }
};

TEST_F(MirrorRecovery, AddsANewFileOnceInAFirstRun) {
  Put("ann.vcf", kAnn);
  CutOff();
  EXPECT_EQ(StoredNames().size(), 1u);
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(StoredNames(), ElementsAre("Ann Lee"));
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kAnn}}));
  ExpectAgreed();
}

TEST_F(MirrorRecovery, AddsANewFileOnceAlsoWhenItsUidWasNotNoted) {
  Put("bob.vcf", kBob);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  Put("ann.vcf", kAnn);
  CutOff();
  ForgetUids();
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", kAnn}, {"bob.vcf", kBob}}));
  ExpectAgreed();
}

TEST_F(MirrorRecovery, ChangesAnObjectOnceThoughTheChangeTookAnother) {
  Put("ann.vcf", kAnn);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  // What takes something away is a new object of the store.
  ChangeFile("ann.vcf", "TEL;TYPE=CELL:0111\r\n", "");
  const std::string changed = FileText("ann.vcf");
  CutOff();
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(StoredNames(), ElementsAre("Ann Lee"));
  EXPECT_THAT(OnlyStored(), Not(Contains(HasSubstr("0111"))));
  EXPECT_EQ(FilesNow(), (Files{{"ann.vcf", changed}}));
  ExpectAgreed();
}

TEST_F(MirrorRecovery, KeepsWhatOthersHaveChangedInTheStoreSince) {
  Put("ann.vcf", kAnn);
  EXPECT_EQ(Mirrored(), "1 added to the store");
  ChangeFile("ann.vcf", "0111", "0333");
  CutOff();
  Sql("UPDATE pim_contacts SET job_title='Cook' WHERE first_name='Ann'");
  EXPECT_EQ(Once().status, 0);
  EXPECT_THAT(OnlyStored(), Contains("TITLE:Cook\r"));
  EXPECT_THAT(OnlyStored(), Contains("TEL;CELL:0333\r"));
  EXPECT_THAT(FileText("ann.vcf"), HasSubstr("TITLE:Cook\r\n"));
  EXPECT_THAT(FileText("ann.vcf"), HasSubstr("0333"));
  ExpectAgreed();
}

TEST_F(MirrorRecovery, PairsAFileThatItHasWrittenAndNotNoted) {
  Store(Card({"N:Lee;Ann", "TEL;CELL:0111"}));
  CutOff();
  const Files files = FilesNow();
  EXPECT_EQ(files.size(), 1u);
  EXPECT_EQ(Mirrored(), "1 paired");
  EXPECT_EQ(FilesNow(), files);
  EXPECT_EQ(StoredNames().size(), 1u);
  ExpectAgreed();
}

TEST_F(MirrorRecovery, OfPairsThatCannotBeNotedEndsTheRunAtTheFirst) {
  Put("ann.vcf", kAnn);
  Put("bob.vcf", kBob);
  CutOff();
  EXPECT_EQ(StoredNames().size(), 1u);
}

// Nothing is done to what cannot be read, and all else has its turn.
TEST_F(MirrorRecovery, AFileThatIsSetAsideDoesNotKeepOthersFromTheirTurn) {
  Put("ann.vcf", kAnn);
  Put("bob.vcf", kBob);
  EXPECT_EQ(Mirrored(), "2 added to the store");
  Remove("ann.vcf");
  std::filesystem::create_directory(In("ann.vcf"));
  Put("bob.vcf", With(kBob, "END:", "TITLE:Cook\r\nEND:"));
  const Outcome outcome = Failed();
  EXPECT_EQ(outcome.out, "pb: 1 updated in the store\n");
  EXPECT_EQ(outcome.err, "osif: ann.vcf (pb 00000001): is a folder\n");
  EXPECT_THAT(StoredNames(), UnorderedElementsAre("Ann Lee", "Bob Ray"));
}

}  // namespace
}  // namespace command_test::mirror_recovery_test
