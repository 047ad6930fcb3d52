// osif check: says what is wrong with a device, in words, and changes nothing.
#include <map>

#include "tests/support/sql_on_device.h"
#include "tests/tools/osif/command_fixture.h"

namespace command_test::check_test {
namespace {

std::string Sample(const std::string& name) {
  return std::string(support::kSources) + "/samples/" + name;
}

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CommandCheck : public CommandTest {
 protected:
  void SetUp() override {
    Store(Card({"N:Lee;Ann"}) + Card({"N:Ray;Bob"}));
    ASSERT_EQ(Osif({"receive", Sample("note.vnt")}).status, 0);
    ASSERT_EQ(Osif({"database-id", "pb"}).status, 0);
  }

  // What is said, without the device's folder; nothing may be changed by it.
  Lines Problems() const {
    const auto before = Files();
    const Outcome outcome = Osif({"check"});
    EXPECT_EQ(Files(), before);
    Lines lines = outcome.ErrLines();
    EXPECT_EQ(outcome.status, lines.empty() ? 0 : 1);
    EXPECT_EQ(outcome.out.empty(), !lines.empty());
    const std::string begin = "osif: " + device_ + "/";
    for (std::string& line : lines) {
      EXPECT_THAT(line, testing::StartsWith(begin));
      if (line.starts_with(begin)) line.erase(0, begin.size());
    }
    return lines;
  }

  std::string Log(const std::string& kind) const {
    return device_ + "/Sync/pb/pol_pb_" + kind + ".log";
  }

 private:
  std::map<std::string, std::string> Files() const {
    std::map<std::string, std::string> files;
    if (!std::filesystem::exists(device_)) return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(device_)) {
      files[entry.path()] = entry.is_regular_file() ? BytesOf(entry.path()) : "no file";
    }
    return files;
  }
};

TEST_F(CommandCheck, SaysOfAWholeDeviceThatNothingIsWrongAndWhatItLookedAt) {
  EXPECT_THAT(Problems(), IsEmpty());
  EXPECT_EQ(Osif({"check"}).out,
            device_ +
                ": nothing is wrong (2 databases, 2 objects, 1 note, 2 change logs with 3 "
                "entries)\n");
  EXPECT_EQ(Osif({"check", "--json"}).JsonLines(), (std::vector<Json>{{{"device", device_},
                                                                       {"whole", true},
                                                                       {"problems", Json::array()},
                                                                       {"databases", 2},
                                                                       {"objects", 2},
                                                                       {"notes", 1},
                                                                       {"logs", 2},
                                                                       {"entries", 3}}}));
}

TEST_F(CommandCheck, MakesNoDevice) {
  std::filesystem::remove_all(device_);
  const Outcome outcome = Osif({"check"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: " + device_ + ": there is no device\n");
  EXPECT_FALSE(std::filesystem::exists(device_));
}

TEST_F(CommandCheck, TellsEachProblemInJson) {
  support::PutBytes(device_ + "/Documents/bad.pwi", "no ink");
  const Outcome outcome = Osif({"check", "--json"});
  EXPECT_EQ(outcome.status, 1);
  const std::vector<Json> lines = outcome.JsonLines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["whole"], false);
  EXPECT_EQ(lines[0]["problems"],
            Json::array({{{"file", "Documents/bad.pwi"}, {"what", "it is no ink document"}}}));
}

// ---- Databases ------------------------------------------------------------------------------------------------

TEST_F(CommandCheck, TellsOfDamagedPages) {
  std::string bytes = BytesOf(device_ + "/device.db");
  for (size_t i = 4096 * 2; i < 4096 * 6; ++i) bytes[i] = '\xA5';
  support::PutBytes(device_ + "/device.db", bytes);
  const Lines problems = Problems();
  ASSERT_FALSE(problems.empty());
  EXPECT_THAT(problems[0], HasSubstr("device.db: it "));
}

TEST_F(CommandCheck, TellsOfAnIndexThatDoesNotFit) {
  // Without its entry in the index a contact is not found by its name.
  support::RunSqlOn(device_,
                    "PRAGMA writable_schema=ON; UPDATE sqlite_master SET rootpage=(SELECT rootpage "
                    "FROM sqlite_master WHERE name='pim_tasks_by_subject') WHERE "
                    "name='pim_appointments_by_subject'");
  EXPECT_THAT(Problems(), testing::Not(IsEmpty()));
}

TEST_F(CommandCheck, TellsOfReferencesThatLeadNowhere) {
  support::RunSqlOn(device_, "PRAGMA foreign_keys=OFF; DELETE FROM pim_objects WHERE oid=1");
  EXPECT_THAT(Problems(), ElementsAre("device.db: 1 rows of pim_contacts refer to rows of "
                                      "pim_objects that are not there"));
}

TEST_F(CommandCheck, TellsOfWhatIsNotDeclaredAsItShouldBe) {
  support::RunSqlOn(device_,
                    "DROP INDEX pim_contacts_by_title; CREATE TABLE mine(a);"
                    "DROP TABLE mapi_last_id; CREATE TABLE mapi_last_id(id)");
  EXPECT_THAT(Problems(), testing::UnorderedElementsAre(
                              "device.db: it has an unknown table mine",
                              "device.db: it has no index pim_contacts_by_title",
                              "device.db: its table mapi_last_id is not declared as it should be"));
}

TEST_F(CommandCheck, TellsOfOtherProgramsDatabasesAndOfNewerOnes) {
  support::PutBytes(device_ + "/uids.db",
                    "no database, whatever it is called, and long enough to be "
                    "taken for one by whoever looks at its size alone");
  support::RunSqlOn(device_, "PRAGMA user_version=99");
  EXPECT_THAT(Problems(), ElementsAre(testing::StartsWith("uids.db: it cannot be read: "),
                                      "device.db: a newer version of this program has made it"));
}

TEST_F(CommandCheck, TellsOfAMissingDatabase) {
  std::filesystem::remove(device_ + "/device.db");
  EXPECT_THAT(Problems(), ElementsAre("device.db: it is not there"));
}

// ---- Documents ------------------------------------------------------------------------------------------------

TEST_F(CommandCheck, TellsOfNotesThatCannotBeReadAndOfNoOtherDocuments) {
  support::PutBytes(device_ + "/Documents/cut.pwi", "");
  support::PutBytes(device_ + "/Documents/picture.png", "\x89PNG");
  EXPECT_THAT(Problems(), ElementsAre("Documents/cut.pwi: it is no ink document"));
}

TEST_F(CommandCheck, TellsOfWhatIsNothingOfADevices) {
  support::PutBytes(device_ + "/shopping.txt", "milk");
  EXPECT_THAT(Problems(), ElementsAre("shopping.txt: it is nothing of a device's"));
}

// ---- Change logs -----------------------------------------------------------------------------------------------

TEST_F(CommandCheck, TellsOfLinesThatAreNoEntries) {
  support::AppendBytes(Log("change"), "hello\n");
  EXPECT_THAT(Problems(), ElementsAre("Sync/pb/pol_pb_change.log: line 3 is no entry; what stands "
                                      "after it is not told"));
}

TEST_F(CommandCheck, TellsOfCountersThatGoBack) {
  support::AppendBytes(Log("change"), "M:2:20261120T123338Z:00000001\n");
  EXPECT_THAT(Problems(),
              ElementsAre("Sync/pb/pol_pb_change.log: line 3 has the counter 2 after 2"));
}

TEST_F(CommandCheck, TellsOfManyWrongLinesWithoutEnd) {
  for (int i = 0; i < 100; ++i) support::AppendBytes(Log("change"), "hello\n");
  const Lines problems = Problems();
  ASSERT_EQ(problems.size(), 6u);
  EXPECT_EQ(problems[5], "Sync/pb/pol_pb_change.log: there is more of that kind");
}

TEST_F(CommandCheck, HalfALineIsWrongWhereTheLogWasClosed) {
  support::AppendBytes(Log("change"), "M:3:2026");
  EXPECT_THAT(Problems(), ElementsAre("Sync/pb/pol_pb_change.log: its last line has no end"));
  // A program that was killed had it open, and the next opening puts it in order.
  support::PutBytes(Log("open"), "");
  EXPECT_THAT(Problems(), IsEmpty());
}

TEST_F(CommandCheck, TellsOfALogThatHasLostItsEnd) {
  support::PutBytes(Log("change"), "M:1:20261120T123338Z:00000001\n");
  EXPECT_THAT(Problems(), ElementsAre("Sync/pb/pol_pb_counter.log: the log lacks entries that "
                                      "partners were told of, or it is damaged; all of them will "
                                      "synchronise anew"));
}

TEST_F(CommandCheck, TellsOfAnIdThatIsNone) {
  support::PutBytes(Log("databaseid"), "ABC\n");
  EXPECT_THAT(Problems(), ElementsAre("Sync/pb/pol_pb_databaseid.log: it holds no database id"));
}

TEST_F(CommandCheck, TellsOfASnapshotWithLinesThatAreNone) {
  support::AppendBytes(Log("object"), "hello\n0000000g:12\n");
  EXPECT_THAT(Problems(),
              ElementsAre("Sync/pb/pol_pb_object.log: 2 of its lines are none, and what "
                          "they were about is told again"));
}

TEST_F(CommandCheck, TellsOfNothingWhileAnotherProgramWrites) {
  const std::string stem = Path("receiver");
  std::string cards;
  for (int i = 0; i < 200; ++i) cards += Card({"N:Of;Card" + std::to_string(i)});
  const pid_t receiver =
      Start(Launched({support::kCommand, "receive", Write("many.vcf", cards)}), stem);
  for (int round = 0; round < 5; ++round) {
    const Outcome outcome = Osif({"check"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
  }
  EXPECT_EQ(WaitFor(receiver), 0);
}

}  // namespace
}  // namespace command_test::check_test
