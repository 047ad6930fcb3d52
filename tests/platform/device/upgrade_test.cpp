// A device of an older version of the schema: it is brought up to date when it is opened, whole or not at all.
#include <filesystem>

#include "platform/device/schema.h"
#include "tests/fault/kill_at_call.h"
#include "tests/platform/device/pim/calendar_fixture.h"
#include "tests/support/full_disk.h"
#include "tests/support/sql_program.h"
#include "tests/support/version_1_device.h"

namespace upgrade_test {
namespace {

using namespace pim_test;

using device::OpenError;
using support::SqlProgram;
using Texts = std::vector<std::string>;

int64_t Version() { return SqlProgram().Number("PRAGMA user_version"); }

// All tables, indexes and triggers as they were made.
Texts Schema() {
  return SqlProgram().Texts(
      "SELECT type || ' ' || name || ' ' || coalesce(sql, '') FROM sqlite_schema ORDER BY 1");
}

// The rows of the tables that version 1 has.
Texts Rows() {
  SqlProgram program;
  Texts rows;
  for (const std::string& table : program.Texts(
           "SELECT name FROM sqlite_schema WHERE type='table' AND name NOT LIKE 'sqlite_stat%' "
           "AND name NOT IN ('pim_changes', 'pim_marks') ORDER BY 1")) {
    std::string columns;
    for (const std::string& column :
         program.Texts("SELECT name FROM pragma_table_info('" + table + "')")) {
      columns += (columns.empty() ? "quote(" : " || ', ' || quote(") + column + ")";
    }
    for (const std::string& row : program.Texts("SELECT " + columns + " FROM " + table)) {
      rows.push_back(table + ": " + row);
    }
  }
  return rows;
}

class Upgrade : public PimTest {
 protected:
  void SetUp() override {
    support::MakeVersion1Device(device_.folder());
    ASSERT_EQ(Version(), 1);
    rows_ = Rows();
    schema_ = Schema();
    ASSERT_GT(rows_.size(), 15u);
  }

  void ExpectPresentVersion() {
    EXPECT_NE(device::OpenDatabase(), nullptr) << device::ErrorText();
    EXPECT_EQ(Version(), 2);
    EXPECT_EQ(Rows(), rows_);
    const Texts upgraded = Schema();
    device::CloseDatabase();
    {
      const TempDevice fresh;
      EXPECT_NE(device::OpenDatabase(), nullptr);
      EXPECT_EQ(upgraded, Schema()) << "no difference to a device that is made now";
    }
    device_.Use();
  }
  void ExpectVersion1() {
    device::CloseDatabase();
    EXPECT_EQ(Version(), 1);
    EXPECT_EQ(Rows(), rows_);
    EXPECT_EQ(Schema(), schema_);
  }

  Texts rows_;
  Texts schema_;
};

TEST_F(Upgrade, MakesWhatTheVersionLacksAndKeepsEveryRow) { ExpectPresentVersion(); }

TEST_F(Upgrade, KeepsWhatItemsSay) {
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(Get(*Load(1), &IContact::get_FirstName), u"Ann");
  EXPECT_EQ(Get(*Load(1), &IContact::get_LastName), u"Lee");
  EXPECT_EQ(Get(*Load(1), &IContact::get_MobileTelephoneNumber), u"0123");
  EXPECT_EQ(Get(*Load(2), &IContact::get_LastName), u"Ray");
  EXPECT_EQ(Get(*Load(2), &IContact::get_HomeTelephoneNumber), u"0456");
  ComPtr<IAppointment> series = Load<IAppointment>(3);
  EXPECT_EQ(Get(*series, &IAppointment::get_Subject), u"Budget");
  EXPECT_EQ(Read(*series, &IAppointment::get_Start), Time(2005, 3, 14, 10, 15));
  EXPECT_EQ(Read(*PatternOf(*series), &IRecurrencePattern::get_Occurrences), 5);
  const auto exceptions = ObjectOf(*PatternOf(*series), &IRecurrencePattern::get_Exceptions);
  EXPECT_EQ(Read(*exceptions, &IExceptions::get_Count), 1);
  ComPtr<IRecipient> recipient;
  EXPECT_EQ(ObjectOf(*series, &IAppointment::get_Recipients)->Item(1, recipient.put()), S_OK);
  EXPECT_EQ(Get(*recipient, &IRecipient::get_Address), u"ann@example.org");
  EXPECT_EQ(Get(*Load<ITask>(4), &ITask::get_Subject), u"Buy milk");
  EXPECT_EQ(SaveContact(), 5) << "no id is given again";
}

TEST_F(Upgrade, IsDoneOnce) {
  ASSERT_NE(device::OpenDatabase(), nullptr);
  device::CloseDatabase();
  SqlProgram watch;
  const int64_t version = watch.Number("PRAGMA data_version");
  ASSERT_NE(device::OpenDatabase(), nullptr);
  EXPECT_EQ(watch.Number("PRAGMA data_version"), version);
}

// ---- When it fails --------------------------------------------------------------------------------------

TEST_F(Upgrade, LeavesTheOldVersionWhereATableOfItsNamesIsThereAlready) {
  for (const char* table : {"pim_changes", "pim_marks"}) {
    const std::string name(table);
    SqlProgram().Run("CREATE TABLE " + name + "(x)");
    schema_ = Schema();
    const Texts rows = rows_;
    EXPECT_EQ(device::OpenDatabase(), nullptr) << table;
    EXPECT_NE(device::Error(), OpenError::kNone);
    EXPECT_NE(device::ErrorText().find(device_.Path("device.db")), std::string::npos);
    ExpectVersion1();
    SqlProgram().Run("DROP TABLE " + name);
  }
  ExpectPresentVersion();
}

TEST_F(Upgrade, LeavesTheOldVersionWhereATriggerOfItsNamesIsThereAlready) {
  Texts names;
  {
    const TempDevice fresh;
    ASSERT_NE(device::OpenDatabase(), nullptr);
    names = SqlProgram().Texts(
        "SELECT name FROM sqlite_schema WHERE type='trigger' AND sql LIKE '%pim_changes%'");
  }
  device_.Use();
  ASSERT_GT(names.size(), 5u);
  for (const std::string& name : {names.front(), names[names.size() / 2], names.back()}) {
    SqlProgram().Run("CREATE TRIGGER " + name + " AFTER DELETE ON mapi_bodies BEGIN SELECT 1; END");
    schema_ = Schema();
    EXPECT_EQ(device::OpenDatabase(), nullptr) << name;
    EXPECT_NE(device::Error(), OpenError::kNone);
    ExpectVersion1();
    SqlProgram().Run("DROP TRIGGER " + name);
  }
  ExpectPresentVersion();
}

TEST_F(Upgrade, LeavesTheOldVersionOnAFullDiskWhereverThatIsFull) {
  constexpr rlim_t kIndex = 32768;  // of the write-ahead log: without it nothing begins
  int failures = 0;
  for (rlim_t room = kIndex; room < 100 * kIndex; room += 2048) {
    {
      const support::FullDisk full(room);
      if (device::OpenDatabase() != nullptr) break;
      EXPECT_NE(device::Error(), OpenError::kNone);
    }
    ++failures;
    ExpectVersion1();
    ASSERT_FALSE(HasFailure()) << room;
  }
  EXPECT_GT(failures, 0) << "the disk was never full";
  ExpectPresentVersion();
}

TEST_F(Upgrade, OfADatabaseOfAnotherProgramIsRefused) {
  SqlProgram().Run("PRAGMA application_id=77");
  EXPECT_EQ(device::OpenDatabase(), nullptr);
  EXPECT_EQ(device::Error(), OpenError::kDamaged);
  ExpectVersion1();
}

// ---- Other processes ------------------------------------------------------------------------------------

TEST_F(Upgrade, IsDoneByOneOfManyProcessesThatOpenAtOnce) {
  for (int round = 0; round < 5; ++round) {
    TempDevice device;
    support::MakeVersion1Device(device.folder());
    std::vector<pid_t> children;
    for (int i = 0; i < 4; ++i) {
      children.push_back(fork());
      if (children.back() == 0) {
        const bool is_open = device::OpenDatabase() != nullptr;
        const bool is_marked =
            is_open && device::OpenDatabase()->Execute(
                           "UPDATE pim_contacts SET body='x' WHERE oid=1") == SQLITE_OK;
        _exit(is_marked ? 0 : 1);
      }
    }
    for (const pid_t child : children) {
      int status = -1;
      EXPECT_EQ(waitpid(child, &status, 0), child);
      EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(Version(), 2);
    EXPECT_EQ(SqlProgram().Number("SELECT count(*) FROM pim_changes"), 1) << "it keeps track";
  }
  device_.Use();
}

// Whoever had the old version open goes on writing, and is seen.
TEST_F(Upgrade, SeesWhatAProgramWritesThatHadTheOldVersionOpen) {
  SqlProgram old_program;
  EXPECT_EQ(old_program.Number("SELECT count(*) FROM pim_contacts"), 2);
  ASSERT_NE(device::OpenDatabase(), nullptr);
  old_program.Run("UPDATE pim_contacts SET body='x' WHERE oid=2");
  EXPECT_EQ(old_program.Number("SELECT oid FROM pim_changes"), 2);
}

TEST_F(Upgrade, ThatIsKilledAnywhereIsDoneByTheNextProcess) {
  if (!fault::CanTrace()) GTEST_SKIP() << "processes cannot be traced, as under an emulator";
  int places = 0;
  for (bool was_killed = true; was_killed; ++places) {
    ASSERT_LT(places, 1000);
    {
      const TempDevice device;
      support::MakeVersion1Device(device.folder());
      was_killed = fault::RunAndKill([] {}, [] { EXPECT_NE(device::OpenDatabase(), nullptr); },
                                     fault::KillPlace::kBeforeTheCall, places + 1);
      const int64_t version = Version();
      EXPECT_TRUE(version == 1 || version == 2) << version;
      EXPECT_EQ(Rows(), rows_);
      EXPECT_NE(device::OpenDatabase(), nullptr) << device::ErrorText();
      EXPECT_EQ(Version(), 2);
      EXPECT_EQ(Rows(), rows_);
    }
    ASSERT_FALSE(HasFailure()) << "killed at place " << places + 1;
  }
  EXPECT_GT(places, 5) << "the places were not found";
  device_.Use();
}

}  // namespace
}  // namespace upgrade_test
