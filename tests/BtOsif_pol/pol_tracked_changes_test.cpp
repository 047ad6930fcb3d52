// A change log that asks its store for what was written since it was closed: that it sees all of it, that it looks at
// nothing else, and that it compares everything where it cannot ask.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>
#include <functional>
#include <map>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_dispatch.h"
#include "platform/api/pim_changes.h"
#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/calendars.h"
#include "tests/support/dates.h"
#include "tests/support/fake_pim.h"
#include "tests/support/full_disk.h"
#include "tests/support/sql_program.h"

namespace pol_tracked_changes_test {
namespace {

namespace fs = std::filesystem;

using support::AddContact;
using support::BytesOf;
using support::EntryLine;
using support::FileExists;
using support::LinesOf;
using support::ModifyContact;
using support::OtherProgram;
using support::PutBytes;
using support::References;
using support::RunUnseen;
using support::SqlProgram;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Texts = std::vector<std::string>;

constexpr OsifResult kOk = OSIF_OK;
constexpr OsifResult kPimError = OSIF_ERR_PIM;

const char* NameOf(int32_t store_id) { return store_id == OSIF_STORE_PB ? "pb" : "cal"; }

// The items that every test begins with, all of which the logs have told:
//
//   1 Ann, 2 Bob, 3 Cid            contacts
//   4 Budget, with Ann and Bob     daily, but not on the third day
//   5 Lunch                        once
//   6 Buy milk                     once
//   7 Water the plants             weekly
//
// 8 is no item's, but was once given.
class TrackedChanges : public support::ChangeLogTest {
 protected:
  TrackedChanges() {
    OtherProgram other;
    for (const char* name : {"Ann", "Bob", "Cid"}) other.Add(name);
    for (const char* text :
         {"BEGIN:VEVENT\r\nSUMMARY:Budget\r\nDTSTART:20050314T101500\r\nDTEND:20050314T111500\r\n"
          "RRULE:D1 #9\r\nEXDATE:20050316T101500\r\nATTENDEE:Ann <ann@example.org>\r\n"
          "ATTENDEE:Bob <bob@example.org>\r\nEND:VEVENT\r\n",
          "BEGIN:VEVENT\r\nSUMMARY:Lunch\r\nDTSTART:20050315T120000\r\nDTEND:20050315T130000\r\n"
          "END:VEVENT\r\n",
          "BEGIN:VTODO\r\nSUMMARY:Buy milk\r\nDUE:20050320T000000\r\nEND:VTODO\r\n",
          "BEGIN:VTODO\r\nSUMMARY:Water the plants\r\nDTSTART:20050320\r\nDUE:20050320\r\n"
          "RRULE:W1 SU #4\r\nEND:VTODO\r\n"}) {
      support::CalendarRecord record(text);
      EXPECT_EQ(POL_AddObject(OSIF_STORE_CAL, record.get(), nullptr, nullptr), kOk);
    }
    other.Delete(other.Add("Dan"));
    for (int32_t store_id : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
      EXPECT_EQ(Open(store_id), kOk);
      EXPECT_EQ(Close(store_id), kOk);
      told_before_[store_id] = EntriesOf(store_id).size();
    }
  }

  std::string PathOf(int32_t store_id, const char* kind) const {
    return Path(std::string("pol_") + NameOf(store_id) + "_" + kind + ".log");
  }
  std::string Mark(int32_t store_id = OSIF_STORE_PB) const { return PathOf(store_id, "mark"); }
  std::string Snapshot(int32_t store_id = OSIF_STORE_PB) const {
    return PathOf(store_id, "object");
  }
  Texts EntriesOf(int32_t store_id) const { return Entries(PathOf(store_id, "change")); }

  // What the log says beyond its first entries, without counters: "M 1".
  Texts Told(int32_t store_id = OSIF_STORE_PB) const {
    Texts told;
    const Texts entries = EntriesOf(store_id);
    for (size_t i = told_before_.at(store_id); i < entries.size(); ++i) {
      told.push_back(entries[i].substr(0, 2) +
                     std::to_string(support::OidOf(entries[i].substr(entries[i].rfind(' ') + 1))));
    }
    return told;
  }
  // What an opening and a closing add.
  Texts Reopened(int32_t store_id = OSIF_STORE_PB) {
    const size_t before = Told(store_id).size();
    EXPECT_EQ(Open(store_id), kOk);
    EXPECT_EQ(Close(store_id), kOk);
    const Texts told = Told(store_id);
    return {told.begin() + static_cast<long>(before), told.end()};
  }
  Texts ReopenedWithoutMark(int32_t store_id = OSIF_STORE_PB) {
    EXPECT_TRUE(fs::remove(Mark(store_id)));
    return Reopened(store_id);
  }

  // Changes an item so that only whoever compares everything can see it: 3, or 7.
  static void ChangeUnseen(int32_t store_id) {
    RunUnseen(store_id == OSIF_STORE_PB ? "UPDATE pim_contacts SET body='unseen' WHERE oid=3"
                                        : "UPDATE pim_tasks SET body='unseen' WHERE oid=7");
  }

  // What an opening and a closing of the closed log give, with the mark or without, on a copy of the device.
  std::string Answer(int32_t store_id, bool with_mark) {
    POL_Close();
    device::CloseDatabase();
    std::string answer;
    {
      const TempDevice copy;
      fs::copy(device_.folder(), copy.folder(), fs::copy_options::recursive);
      const std::string files = copy.Path("Sync") + "/pol_" + NameOf(store_id);
      if (!with_mark) fs::remove(files + "_mark.log");
      EXPECT_EQ(POL_Open(), kOk);
      const WideText folder = support::Wide(copy.Path("Sync"));
      answer = "open " + std::to_string(POL_CL_Open(store_id, folder.c_str()));
      answer += "\nclose " + std::to_string(POL_CL_Close(store_id)) + "\n";
      for (const std::string& entry : Entries(files + "_change.log")) answer += entry + "\n";
      answer += BytesOf(files + "_object.log");
      POL_Close();
    }
    device_.Use();
    EXPECT_EQ(POL_Open(), kOk);
    return answer;
  }
  void ExpectTheMarkToChangeNothing(int32_t store_id = OSIF_STORE_PB) {
    EXPECT_EQ(Answer(store_id, true), Answer(store_id, false));
  }

  // So long that the disk can be full for it while there is room for the database.
  void MakeLogLong() {
    std::string lines;
    for (int i = 0; i < 250; ++i) lines += EntryLine('H', i + 1, std::string(470, 'f')) + "\n";
    PutBytes(ContactLog(), lines);
    told_before_[OSIF_STORE_PB] = 250;
  }

  std::map<int32_t, size_t> told_before_;
};

// ---- What is written by SQL ---------------------------------------------------------------------------

struct Written {
  const char* name;
  int32_t store_id;
  const char* sql;
  Texts told;
  References references = References::kKept;
};

const Written kWritten[] = {
    {"AContactsUpdate", OSIF_STORE_PB, "UPDATE pim_contacts SET body='x' WHERE oid=1", {"M 1"}},
    {"TheSameOnceMore", OSIF_STORE_PB, "UPDATE pim_contacts SET body=body WHERE oid<>3", {}},
    {"AChangeThatLeavesTheChecksum",
     OSIF_STORE_PB,
     "UPDATE pim_contacts SET body='134' WHERE oid=1; UPDATE pim_contacts SET body='' WHERE oid=1",
     {}},
    {"ManyContacts",
     OSIF_STORE_PB,
     "UPDATE pim_contacts SET body='x' WHERE oid<>3",
     {"M 1", "M 2"}},
    {"ContactsInTheOrderOfTheirIds",
     OSIF_STORE_PB,
     "UPDATE pim_contacts SET body='x' WHERE oid=2; UPDATE pim_contacts SET body='x' WHERE oid=1",
     {"M 1", "M 2"}},
    {"ANewContact",
     OSIF_STORE_PB,
     "INSERT INTO pim_objects(folder) VALUES(10);"
     "INSERT INTO pim_contacts(oid, last_name) VALUES(9, 'Eve')",
     {"M 9"}},
    {"ANewContactOfAFreeId",
     OSIF_STORE_PB,
     "INSERT INTO pim_objects(oid, folder) VALUES(8, 10);"
     "INSERT INTO pim_contacts(oid, last_name) VALUES(8, 'Eve')",
     {"M 8"}},
    {"ANewContactOfAMuchHigherId",
     OSIF_STORE_PB,
     "INSERT INTO pim_objects(oid, folder) VALUES(2147483647, 10);"
     "INSERT INTO pim_contacts(oid, last_name) VALUES(2147483647, 'Eve')",
     {"M 2147483647"}},
    {"ANewContactThatIsGoneAgain",
     OSIF_STORE_PB,
     "INSERT INTO pim_objects(folder) VALUES(10);"
     "INSERT INTO pim_contacts(oid, last_name) VALUES(9, 'Eve'); DELETE FROM pim_objects WHERE "
     "oid=9",
     {}},
    {"ANewContactThatIsChanged",
     OSIF_STORE_PB,
     "INSERT INTO pim_objects(folder) VALUES(10);"
     "INSERT INTO pim_contacts(oid, last_name) VALUES(9, 'Eve');"
     "UPDATE pim_contacts SET body='x' WHERE oid=9",
     {"M 9"}},
    {"ADeletedContact", OSIF_STORE_PB, "DELETE FROM pim_objects WHERE oid=2", {"H 2"}},
    {"AChangedAndDeletedContact",
     OSIF_STORE_PB,
     "UPDATE pim_contacts SET body='x' WHERE oid=2; DELETE FROM pim_objects WHERE oid=2",
     {"H 2"}},
    {"WhatIsThereBeforeWhatIsGone",
     OSIF_STORE_PB,
     "DELETE FROM pim_objects WHERE oid=1; UPDATE pim_contacts SET body='x' WHERE oid=2",
     {"M 2", "H 1"}},
    {"AllContacts", OSIF_STORE_PB, "DELETE FROM pim_objects WHERE oid<3", {"H 1", "H 2"}},
    {"AContactThatIsDeletedAndMadeAnew",
     OSIF_STORE_PB,
     "DELETE FROM pim_objects WHERE oid=2; INSERT INTO pim_objects(oid, folder) VALUES(2, 10);"
     "INSERT INTO pim_contacts(oid, last_name) VALUES(2, 'Eve')",
     {"M 2"}},
    {"AnIdThatTheOtherStoreGetsBack",
     OSIF_STORE_PB,
     "DELETE FROM pim_objects WHERE oid=2; INSERT INTO pim_objects(oid, folder) VALUES(2, 13);"
     "INSERT INTO pim_tasks SELECT 2, subject, categories, start_date, due_date, date_completed, "
     "importance, complete, sensitivity, team_task, body, reminder_set, reminder_sound_file, "
     "reminder_time, reminder_options FROM pim_tasks WHERE oid=6",
     {"H 2"}},
    {"AReplacedContact",
     OSIF_STORE_PB,
     "INSERT OR REPLACE INTO pim_contacts(oid, last_name) VALUES(1, 'Eve')",
     {"M 1"}},
    {"AReplacedObject",
     OSIF_STORE_PB,
     "INSERT OR REPLACE INTO pim_objects(oid, folder) VALUES(1, 10);"
     "INSERT OR REPLACE INTO pim_contacts(oid, last_name) VALUES(1, 'Eve')",
     {"M 1"}},
    {"AnIgnoredContact",
     OSIF_STORE_PB,
     "INSERT OR IGNORE INTO pim_contacts(oid, last_name) VALUES(1, 'Eve')",
     {}},
    {"AnUpsertedContact",
     OSIF_STORE_PB,
     "INSERT INTO pim_contacts(oid) VALUES(1) ON CONFLICT(oid) DO UPDATE SET body='x'",
     {"M 1"}},
    {"AContactThatIsHidden", OSIF_STORE_PB, "UPDATE pim_objects SET folder=0 WHERE oid=1", {"H 1"}},
    {"AContactOfANewId",
     OSIF_STORE_PB,
     "BEGIN; PRAGMA defer_foreign_keys=ON; UPDATE pim_objects SET oid=8 WHERE oid=1;"
     "UPDATE pim_contacts SET oid=8 WHERE oid=1; COMMIT",
     {"M 8", "H 1"}},
    {"AContactOfANewHigherId",
     OSIF_STORE_PB,
     "BEGIN; PRAGMA defer_foreign_keys=ON; UPDATE pim_objects SET oid=20 WHERE oid=1;"
     "UPDATE pim_contacts SET oid=20 WHERE oid=1; COMMIT",
     {"M 20", "H 1"}},
    {"ContactsThatExchangeTheirIds",
     OSIF_STORE_PB,
     "UPDATE pim_contacts SET oid=30 WHERE oid=1; UPDATE pim_contacts SET oid=1 WHERE oid=2;"
     "UPDATE pim_contacts SET oid=2 WHERE oid=30",
     {"M 1", "M 2"},
     References::kIgnored},
    {"AnObjectThatLeavesItsRow",
     OSIF_STORE_PB,
     "DELETE FROM pim_objects WHERE oid=1",
     {"H 1"},
     References::kIgnored},
    {"WhatIsRolledBack",
     OSIF_STORE_PB,
     "BEGIN; UPDATE pim_contacts SET body='x'; ROLLBACK; BEGIN; SAVEPOINT a;"
     "DELETE FROM pim_objects; ROLLBACK TO a; COMMIT",
     {}},

    {"AnAppointmentsUpdate",
     OSIF_STORE_CAL,
     "UPDATE pim_appointments SET location='x' WHERE oid=5",
     {"M 5"}},
    {"ATasksUpdate", OSIF_STORE_CAL, "UPDATE pim_tasks SET body='x' WHERE oid=6", {"M 6"}},
    {"AppointmentsBeforeTasks",
     OSIF_STORE_CAL,
     "UPDATE pim_tasks SET body='x' WHERE oid=6;"
     "INSERT INTO pim_objects(folder) VALUES(9);"
     "INSERT INTO pim_appointments SELECT 9, subject, location, categories, start_date, end_date, "
     "all_day_event, busy_status, sensitivity, body, reminder_set, reminder_sound_file, "
     "reminder_minutes_before_start, reminder_options FROM pim_appointments WHERE oid=5;"
     "UPDATE pim_appointments SET body='x' WHERE oid=5",
     {"M 5", "M 9", "M 6"}},
    {"WhatIsGoneInTheOrderOfTheSnapshot",
     OSIF_STORE_CAL,
     "DELETE FROM pim_objects WHERE oid=6; DELETE FROM pim_objects WHERE oid=5;"
     "DELETE FROM pim_objects WHERE oid=4",
     {"H 4", "H 5", "H 6"}},
    {"ARecipientsName",
     OSIF_STORE_CAL,
     "UPDATE pim_recipients SET name='x' WHERE oid=4 AND position=1",
     {"M 4"}},
    {"ANewRecipient", OSIF_STORE_CAL, "INSERT INTO pim_recipients VALUES(5, 1, 'x', 'x')", {"M 5"}},
    {"AReplacedRecipient",
     OSIF_STORE_CAL,
     "INSERT OR REPLACE INTO pim_recipients VALUES(4, 1, 'x', 'x')",
     {"M 4"}},
    {"AnIgnoredRecipient",
     OSIF_STORE_CAL,
     "INSERT OR IGNORE INTO pim_recipients VALUES(4, 1, 'x', 'x')",
     {}},
    {"ADeletedRecipient", OSIF_STORE_CAL, "DELETE FROM pim_recipients WHERE position=2", {"M 4"}},
    {"ARecipientThatGoesToAnother",
     OSIF_STORE_CAL,
     "UPDATE pim_recipients SET oid=5 WHERE position=2",
     {"M 4", "M 5"}},
    {"RecipientsInAnotherOrder",
     OSIF_STORE_CAL,
     "UPDATE pim_recipients SET position=3 WHERE position=1",
     {"M 4"}},
    {"APatternsUpdate", OSIF_STORE_CAL, "UPDATE pim_patterns SET interval=2 WHERE oid=4", {"M 4"}},
    {"ANewPattern",
     OSIF_STORE_CAL,
     "INSERT INTO pim_patterns VALUES(5, 0, 38426, 1, 0, 0, 0, 0, NULL, 9)",
     {"M 5"}},
    {"ANewPatternOfATask",
     OSIF_STORE_CAL,
     "INSERT INTO pim_patterns VALUES(6, 0, 38426, 1, 0, 0, 0, 0, NULL, 9)",
     {"M 6"}},
    {"AReplacedPattern",
     OSIF_STORE_CAL,
     "INSERT OR REPLACE INTO pim_patterns VALUES(4, 0, 38425, 1, 0, 0, 0, 0, NULL, 8)",
     {"M 4"}},
    {"ADeletedPattern", OSIF_STORE_CAL, "DELETE FROM pim_patterns WHERE oid=4", {"M 4"}},
    {"APatternThatGoesToAnother",
     OSIF_STORE_CAL,
     "UPDATE pim_patterns SET oid=5 WHERE oid=4",
     {"M 4", "M 5"}},
    {"ANewException", OSIF_STORE_CAL, "INSERT INTO pim_exceptions VALUES(4, 38429, NULL)", {"M 4"}},
    {"AReplacedException",
     OSIF_STORE_CAL,
     "INSERT OR REPLACE INTO pim_exceptions VALUES(4, 38427, NULL)",
     {}},
    {"AnExceptionsDay", OSIF_STORE_CAL, "UPDATE pim_exceptions SET day=38428", {"M 4"}},
    {"ADeletedException", OSIF_STORE_CAL, "DELETE FROM pim_exceptions", {"M 4"}},
    {"AnExceptionThatGoesToAnother",
     OSIF_STORE_CAL,
     "INSERT INTO pim_patterns VALUES(5, 0, 38426, 1, 0, 0, 0, 0, NULL, 9);"
     "UPDATE pim_exceptions SET series=5",
     {"M 4", "M 5"}},
};

void PrintTo(const Written& written, std::ostream* out) { *out << written.sql; }

class TrackedSql : public TrackedChanges, public testing::WithParamInterface<Written> {};

INSTANTIATE_TEST_SUITE_P(Writes, TrackedSql, testing::ValuesIn(kWritten),
                         [](const auto& test) { return std::string(test.param.name); });

// The snapshot lists appointments before tasks.
TEST_F(TrackedChanges, OfAnAppointmentsIdThatATaskGetsMoveItInTheSnapshot) {
  SqlProgram().Run(
      "DELETE FROM pim_objects WHERE oid=4; INSERT INTO pim_objects(oid, folder) VALUES(4, 13);"
      "INSERT INTO pim_tasks SELECT 4, subject, categories, start_date, due_date, date_completed, "
      "importance, complete, sensitivity, team_task, body, reminder_set, reminder_sound_file, "
      "reminder_time, reminder_options FROM pim_tasks WHERE oid=6");
  ExpectTheMarkToChangeNothing(OSIF_STORE_CAL);
  EXPECT_THAT(Reopened(OSIF_STORE_CAL), ElementsAre("M 4"));
  EXPECT_EQ(LinesOf(Snapshot(OSIF_STORE_CAL)).front().substr(0, 8), "00000005");
}

// Where SQLite does not look after what belongs to a row, an object can come and go under an item's row.
const Written kObjectsAlone[] = {
    {"AnObjectThatIsReplacedByAHiddenOne",
     OSIF_STORE_PB,
     "INSERT OR REPLACE INTO pim_objects(oid, folder) VALUES(1, 0)",
     {"H 1"},
     References::kIgnored},
    {"AnObjectThatIsReplacedByOneOfAnotherStore",
     OSIF_STORE_PB,
     "INSERT OR REPLACE INTO pim_objects(oid, folder) VALUES(1, 13);"
     "INSERT INTO pim_tasks SELECT 1, subject, categories, start_date, due_date, date_completed, "
     "importance, complete, sensitivity, team_task, body, reminder_set, reminder_sound_file, "
     "reminder_time, reminder_options FROM pim_tasks WHERE oid=6",
     {"H 1"},
     References::kIgnored},
};

INSTANTIATE_TEST_SUITE_P(WritesOfObjectsAlone, TrackedSql, testing::ValuesIn(kObjectsAlone),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(TrackedSql, IsToldAndNothingElseIsLookedAt) {
  SqlProgram(GetParam().references).Run(GetParam().sql);
  ExpectTheMarkToChangeNothing(GetParam().store_id);
  ChangeUnseen(GetParam().store_id);
  EXPECT_THAT(Reopened(GetParam().store_id), ElementsAreArray(GetParam().told));
  EXPECT_THAT(Reopened(GetParam().store_id), IsEmpty()) << "told once";
  EXPECT_THAT(ReopenedWithoutMark(GetParam().store_id),
              ElementsAre(GetParam().store_id == OSIF_STORE_PB ? "M 3" : "M 7"));
}

TEST_P(TrackedSql, IsToldAlsoWhenItIsDoneWhileTheLogIsOpen) {
  EXPECT_EQ(Open(GetParam().store_id), kOk);
  SqlProgram(GetParam().references).Run(GetParam().sql);
  EXPECT_EQ(Close(GetParam().store_id), kOk);
  EXPECT_THAT(Told(GetParam().store_id), IsEmpty());
  ExpectTheMarkToChangeNothing(GetParam().store_id);
  ChangeUnseen(GetParam().store_id);
  EXPECT_THAT(Reopened(GetParam().store_id), ElementsAreArray(GetParam().told));
  EXPECT_THAT(Reopened(GetParam().store_id), IsEmpty()) << "told once";
}

TEST_F(TrackedChanges, OfAnObjectThatComesBackToItsRowAreTold) {
  SqlProgram(References::kIgnored).Run("DELETE FROM pim_objects WHERE oid=1");
  EXPECT_THAT(Reopened(), ElementsAre("H 1"));
  SqlProgram(References::kIgnored).Run("INSERT INTO pim_objects(oid, folder) VALUES(1, 10)");
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), ElementsAre("M 1"));
}

// ---- Items that cannot be read ------------------------------------------------------------------------

class TrackedBrokenItem : public TrackedChanges, public testing::WithParamInterface<Written> {};

INSTANTIATE_TEST_SUITE_P(
    Made, TrackedBrokenItem,
    testing::Values(
        Written{"ByTheEndOfItsRow", OSIF_STORE_PB, "DELETE FROM pim_contacts WHERE oid=1", {}},
        Written{"ByAnObjectAlone", OSIF_STORE_PB, "INSERT INTO pim_objects(folder) VALUES(10)", {}},
        Written{
            "ByAnotherFolder", OSIF_STORE_CAL, "UPDATE pim_objects SET folder=9 WHERE oid=1", {}},
        Written{"ByAReplacedObject",
                OSIF_STORE_CAL,
                "INSERT OR REPLACE INTO pim_objects(oid, folder) VALUES(5, 9)",
                {}}),
    [](const auto& test) { return std::string(test.param.name); });

// Of an id that no item has, below the highest that was given.
INSTANTIATE_TEST_SUITE_P(
    MadeOfAFreeId, TrackedBrokenItem,
    testing::Values(Written{"ByAContactsObjectAlone",
                            OSIF_STORE_PB,
                            "INSERT INTO pim_objects(oid, folder) VALUES(8, 10)",
                            {}},
                    Written{"ByAnAppointmentsObjectAlone",
                            OSIF_STORE_CAL,
                            "INSERT INTO pim_objects(oid, folder) VALUES(8, 9)",
                            {}},
                    Written{"ByATasksObjectAlone",
                            OSIF_STORE_CAL,
                            "INSERT INTO pim_objects(oid, folder) VALUES(8, 13)",
                            {}}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(TrackedBrokenItem, RefusesTheOpeningAsLongAsItIsThere) {
  SqlProgram().Run(GetParam().sql);
  ExpectTheMarkToChangeNothing(GetParam().store_id);
  EXPECT_EQ(Open(GetParam().store_id), kPimError);
  EXPECT_THAT(Told(GetParam().store_id), IsEmpty());
  Close(GetParam().store_id);
  EXPECT_EQ(Open(GetParam().store_id), kPimError) << "nor is it forgotten";
}

TEST_P(TrackedBrokenItem, RefusesTheNextOpeningWhenTheLogWasOpen) {
  EXPECT_EQ(Open(GetParam().store_id), kOk);
  SqlProgram().Run(GetParam().sql);
  EXPECT_EQ(Close(GetParam().store_id), kOk);
  ExpectTheMarkToChangeNothing(GetParam().store_id);
  EXPECT_EQ(Open(GetParam().store_id), kPimError);
}

// ---- What is done through the store's objects, and through the library ---------------------------------

TEST_F(TrackedChanges, OfAnotherProgramWhileTheLogIsOpenAreToldAtTheNextOpening) {
  EXPECT_EQ(Open(), kOk);
  OtherProgram other;
  other.Change("00000001", "Amy");
  other.Delete("00000002");
  other.Add("Eve");
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
  ChangeUnseen(OSIF_STORE_PB);
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 9", "H 2"));
}

TEST_F(TrackedChanges, WithAnAnchorAreNotToldAgainAndTheMarkGoesOn) {
  EXPECT_EQ(Open(), kOk);
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact("00000001", "Amy", &anchor), kOk);
  EXPECT_EQ(AddContact("Eve", &anchor).result, kOk);
  EXPECT_EQ(support::DeleteContact("00000002", &anchor), kOk);
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
  ChangeUnseen(OSIF_STORE_PB);
  EXPECT_THAT(Reopened(), IsEmpty());
  EXPECT_THAT(Told(), ElementsAre("M 1", "M 9", "H 2"));
  EXPECT_THAT(ReopenedWithoutMark(), ElementsAre("M 3"));
}

TEST_F(TrackedChanges, WithoutAnAnchorAreToldAtTheNextOpening) {
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(ModifyContact("00000001", "Amy", nullptr), kOk);
  EXPECT_EQ(AddContact("Eve", nullptr).result, kOk);
  EXPECT_EQ(support::DeleteContact("00000002", nullptr), kOk);
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
  ChangeUnseen(OSIF_STORE_PB);
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 9", "H 2"));
}

// Whoever writes after the library has recorded its own change has done something that the log does not tell.
TEST_F(TrackedChanges, OfAnotherProgramToAnItemThatTheLibraryHasRecordedAreTold) {
  EXPECT_EQ(Open(), kOk);
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact("00000001", "Amy", &anchor), kOk);
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_EQ(AddContact("Eve", &anchor).result, kOk);
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=9");
  EXPECT_EQ(AddContact("Fay", &anchor).result, kOk);
  SqlProgram().Run("DELETE FROM pim_objects WHERE oid=10");
  EXPECT_EQ(support::DeleteContact("00000002", &anchor), kOk);
  SqlProgram().Run(
      "INSERT INTO pim_objects(oid, folder) VALUES(2, 10);"
      "INSERT INTO pim_contacts(oid, last_name) VALUES(2, 'Bob')");
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 2", "M 9", "H 10"));
}

TEST_F(TrackedChanges, OfAnotherProgramToAnItemThatTheLibraryHasAddedAreToldWhateverTheStatement) {
  for (const char* sql :
       {"INSERT OR REPLACE INTO pim_contacts(oid, last_name) VALUES($, 'Fay')",
        "INSERT INTO pim_contacts(oid) VALUES($) ON CONFLICT(oid) DO UPDATE SET body='x'",
        "DELETE FROM pim_objects WHERE oid=$; INSERT INTO pim_objects(oid, folder) VALUES($, 10);"
        "INSERT INTO pim_contacts(oid, last_name) VALUES($, 'Gus')"}) {
    EXPECT_EQ(Open(), kOk);
    OsifAnchor anchor{};
    const std::string oid = std::to_string(support::OidOf(AddContact("Eve", &anchor).id));
    std::string statement(sql);
    for (size_t at; (at = statement.find('$')) != std::string::npos;) statement.replace(at, 1, oid);
    SqlProgram().Run(statement);
    EXPECT_EQ(Close(), kOk);
    ExpectTheMarkToChangeNothing();
    EXPECT_THAT(Reopened(), ElementsAre("M " + oid)) << sql;
  }
}

// Between the change of another program and the library's own: the log does not tell the former.
TEST_F(TrackedChanges, OfAnotherProgramBeforeTheLibrarysOwnAreTold) {
  EXPECT_EQ(Open(), kOk);
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact("00000001", "Amy", &anchor), kOk);
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
}

TEST_F(TrackedChanges, BackToWhatAnItemWasAreNone) {
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_THAT(Reopened(), ElementsAre("M 1"));
  SqlProgram().Run("UPDATE pim_contacts SET body='y' WHERE oid=1");
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), IsEmpty());
}

// A snapshot with a checksum that another text has as well.
TEST_F(TrackedChanges, ThatTheChecksumDoesNotShowAreNone) {
  SqlProgram().Run("UPDATE pim_contacts SET body='134' WHERE oid=1");
  EXPECT_THAT(Reopened(), ElementsAre("M 1"));
  SqlProgram().Run("UPDATE pim_contacts SET body='215' WHERE oid=1");
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), IsEmpty());
}

TEST_F(TrackedChanges, AreToldAgainByASecondOpeningWithoutAClosing) {
  SqlProgram().Run(
      "UPDATE pim_contacts SET body='x' WHERE oid=1; DELETE FROM pim_objects WHERE oid=2");
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(Told(), ElementsAre("M 1", "H 2", "M 1", "H 2"));
  SqlProgram().Run("UPDATE pim_contacts SET body='y' WHERE oid=1");
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), ElementsAre("M 1"));
}

TEST_F(TrackedChanges, OfOneStoreAreNoneOfTheOther) {
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_THAT(Reopened(OSIF_STORE_CAL), IsEmpty());
  EXPECT_THAT(Reopened(OSIF_STORE_PB), ElementsAre("M 1"));
}

TEST_F(TrackedChanges, AreToldToEachPartnerFromWhereItsOwnLogWasClosed) {
  fs::create_directory(device_.Path("Sync2"));
  const auto open_other = [&] {
    EXPECT_EQ(POL_CL_Open(OSIF_STORE_PB, support::Wide(device_.Path("Sync2")).c_str()), kOk);
    EXPECT_EQ(Close(), kOk);
    return Entries(device_.Path("Sync2/pol_pb_change.log"));
  };
  EXPECT_EQ(open_other().size(), 3u);
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_EQ(open_other().back(), "M 4 00000001");
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=2");
  ChangeUnseen(OSIF_STORE_PB);
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 2"));
  EXPECT_EQ(open_other().back(), "M 5 00000002");
}

// What a partner's log was closed with does not depend on where the machine is.
TEST_F(TrackedChanges, AreNoneWhenTheTimeZoneIsAnother) {
  const support::TimeZone zone("Australia/Lord_Howe");
  for (int32_t store_id : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
    ExpectTheMarkToChangeNothing(store_id);
    EXPECT_THAT(Reopened(store_id), IsEmpty());
  }
}

// ---- Where the mark does not count --------------------------------------------------------------------

TEST_F(TrackedChanges, AreFoundByComparingEverythingWhenTheLogWasLeftOpen) {
  ChangeUnseen(OSIF_STORE_PB);
  PutBytes(PathOf(OSIF_STORE_PB, "open"), "");
  EXPECT_EQ(Open(), kOk);
  const Texts told = Told();
  EXPECT_NE(std::find(told.begin(), told.end(), "M 3"), told.end());
}

TEST_F(TrackedChanges, OfAKilledProcessAreFound) {
  POL_Close();
  device::CloseDatabase();
  const pid_t child = fork();
  if (child == 0) {
    POL_Open();
    Open();
    OsifAnchor anchor{};
    ModifyContact("00000001", "Amy", &anchor);
    SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=2");
    kill(getpid(), SIGKILL);
  }
  waitpid(child, nullptr, 0);
  EXPECT_EQ(POL_Open(), kOk);
  ExpectTheMarkToChangeNothing();
  ChangeUnseen(OSIF_STORE_PB);
  EXPECT_EQ(Open(), kOk);
  const Texts told = Told();
  EXPECT_THAT(told, testing::IsSupersetOf({"M 1", "M 2", "M 3"}));
}

TEST_F(TrackedChanges, AreFoundByComparingEverythingWhenTheSnapshotIsNotTheOneOfTheMark) {
  const std::string snapshot = BytesOf(Snapshot());
  ChangeUnseen(OSIF_STORE_PB);
  const std::string mark = BytesOf(Mark());
  for (const std::string& other : {std::string(), snapshot.substr(0, snapshot.size() - 1),
                                   snapshot + "\n", snapshot + snapshot.substr(0, 12)}) {
    PutBytes(Snapshot(), other);
    PutBytes(Mark(), mark);
    const Texts told = Reopened();
    EXPECT_NE(std::find(told.begin(), told.end(), "M 3"), told.end()) << other;
    RunUnseen("UPDATE pim_contacts SET body=body||'x' WHERE oid=3");
  }
  fs::remove(Snapshot());
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 2", "M 3"));
}

TEST_F(TrackedChanges, AreFoundByComparingEverythingWhenTheMarkIsDamaged) {
  for (const int32_t store_id : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
    const std::string line = BytesOf(Mark(store_id));
    ASSERT_EQ(LinesOf(Mark(store_id)).size(), 1u);
    Texts damaged = {"",
                     "\n",
                     "x",
                     line + line,
                     line + "\n",
                     " " + line,
                     std::string(100'000, '7'),
                     std::string("\0", 1) + line,
                     BytesOf(Mark(1 - store_id))};
    for (size_t i = 0; i < line.size(); ++i) {
      damaged.push_back(line.substr(0, i));
      damaged.push_back(line.substr(0, i) + line.substr(i + 1));
      for (const char byte : {'0', '9', '-', '\0'}) {
        damaged.push_back(line);
        damaged.back()[i] = byte;
      }
    }
    SqlProgram().Run(store_id == OSIF_STORE_PB ? "UPDATE pim_contacts SET body='x' WHERE oid=1"
                                               : "DELETE FROM pim_objects WHERE oid IN (5, 6)");
    fs::copy(device_.Path("Sync"), device_.Path("Kept"), fs::copy_options::recursive);
    for (const std::string& mark : damaged) {
      // What comes after the line does not count, nor does how it ends.
      const bool is_whole =
          mark.substr(0, mark.find_first_of(std::string("\n\0", 2))) + "\n" == line;
      ChangeUnseen(store_id);
      PutBytes(Mark(store_id), mark);
      const Texts told = Reopened(store_id);
      const Texts expected =
          store_id == OSIF_STORE_PB ? Texts{"M 1", "M 3"} : Texts{"M 7", "H 5", "H 6"};
      if (!is_whole) {
        EXPECT_EQ(told, expected) << mark;
      }
      fs::copy(device_.Path("Kept"), device_.Path("Sync"),
               fs::copy_options::recursive | fs::copy_options::overwrite_existing);
      ASSERT_FALSE(HasFailure());
    }
    fs::remove_all(device_.Path("Kept"));
    Reopened(store_id);
  }
}

TEST_F(TrackedChanges, AreFoundByComparingEverythingOnceTheMarkIsForgotten) {
  const std::string mark = BytesOf(Mark());
  const std::string snapshot = BytesOf(Snapshot());
  const auto make_marks = [](int count) {
    ComPtr<IStoreChanges> changes;
    ASSERT_EQ(pol_Application()->QueryInterface(IID_IStoreChanges, changes.put_void()), S_OK);
    for (int i = 0; i < count; ++i) {
      SqlProgram().Run("UPDATE pim_tasks SET body=body||'x' WHERE oid=6");
      Bstr other;
      ASSERT_EQ(changes->GetMark(other.put()), S_OK);
    }
  };
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  ChangeUnseen(OSIF_STORE_PB);
  make_marks(200);
  EXPECT_THAT(Reopened(), ElementsAre("M 1")) << "known";
  PutBytes(Mark(), mark);
  PutBytes(Snapshot(), snapshot);
  make_marks(300);
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 3")) << "forgotten";
}

TEST_F(TrackedChanges, AreFoundByComparingEverythingWhenTheDatabaseIsAnOlderOne) {
  const auto let_go = [] {
    POL_Close();
    device::CloseDatabase();
  };
  let_go();
  fs::copy_file(device_.Path("device.db"), device_.Path("kept.db"));
  POL_Open();
  OtherProgram().Add("Eve");
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 9"));
  let_go();
  fs::copy_file(device_.Path("kept.db"), device_.Path("device.db"),
                fs::copy_options::overwrite_existing);
  POL_Open();
  OtherProgram().Add("Fay");  // gets Eve's id
  SqlProgram().Run("UPDATE pim_contacts SET body='y' WHERE oid=2");
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 2", "M 9"));
}

TEST_F(TrackedChanges, AreFoundByComparingEverythingWhenTheDatabaseIsACopyThatWentItsOwnWay) {
  POL_Close();
  device::CloseDatabase();
  const TempDevice copy;
  fs::copy(device_.folder(), copy.folder(), fs::copy_options::recursive);
  const auto work = [](const TempDevice& device, const char* sql) {
    device.Use();
    POL_Open();
    SqlProgram().Run(sql);
    POL_CL_Open(OSIF_STORE_PB, support::Wide(device.Path("Sync")).c_str());
    POL_CL_Close(OSIF_STORE_PB);
    POL_Close();
    device::CloseDatabase();
  };
  work(device_, "UPDATE pim_contacts SET body='x' WHERE oid=1");
  work(copy, "UPDATE pim_contacts SET body='x' WHERE oid=2");
  for (const char* kind : {"mark", "object", "change"}) {
    const std::string name = std::string("Sync/pol_pb_") + kind + ".log";
    fs::copy_file(copy.Path(name), device_.Path(name), fs::copy_options::overwrite_existing);
  }
  device_.Use();
  EXPECT_EQ(POL_Open(), kOk);
  ExpectTheMarkToChangeNothing();
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(Told(), ElementsAre("M 2", "M 1", "M 2"));
}

// The database is put back as it was after the opening: it knows the opening's mark. The snapshot was saved later and
// holds what the library has done and told meanwhile, of which this database knows nothing.
TEST_F(TrackedChanges, AreFoundWhenTheDatabaseIsOneFromBetweenTheOpeningAndTheClosing) {
  const auto let_go = [] {
    POL_Close();
    device::CloseDatabase();
  };
  EXPECT_EQ(Open(), kOk);
  let_go();
  fs::copy_file(device_.Path("device.db"), device_.Path("kept.db"));
  EXPECT_EQ(POL_Open(), kOk);
  OsifAnchor anchor{};
  EXPECT_EQ(support::IdOf(9), AddContact("Eve", &anchor).id);
  EXPECT_EQ(support::DeleteContact("00000002", &anchor), kOk);
  EXPECT_EQ(ModifyContact("00000003", "Cyd", &anchor), kOk);
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_EQ(Close(), kOk);
  EXPECT_THAT(Told(), ElementsAre("M 9", "H 2", "M 3"));
  let_go();
  fs::copy_file(device_.Path("kept.db"), device_.Path("device.db"),
                fs::copy_options::overwrite_existing);
  EXPECT_EQ(POL_Open(), kOk);
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), ElementsAre("M 2", "M 3", "H 9"));
}

// An id that is given a second time: nothing but what somebody else wrote into the counter of the ids can do that.
TEST_F(TrackedChanges, AreFoundWhenAnIdIsGivenAgain) {
  OtherProgram other;
  const std::string id = other.Add("Eve");
  EXPECT_THAT(Reopened(), ElementsAre("M 9"));
  other.Delete(id);
  SqlProgram().Run("UPDATE sqlite_sequence SET seq=8 WHERE name='pim_objects'");
  EXPECT_EQ(other.Add("Fay"), id);
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), ElementsAre("M 9"));
}

TEST_F(TrackedChanges, AreWrittenToASnapshotThatWasLostWhileTheLogWasOpen) {
  const std::string snapshot = BytesOf(Snapshot());
  for (const bool is_removed : {true, false}) {
    EXPECT_EQ(Open(), kOk);
    if (is_removed) {
      fs::remove(Snapshot());
    } else {
      PutBytes(Snapshot(), "");
    }
    EXPECT_EQ(Close(), kOk);
    EXPECT_EQ(BytesOf(Snapshot()), snapshot);
    EXPECT_THAT(Reopened(), IsEmpty());
  }
}

// ---- When writing fails -------------------------------------------------------------------------------

TEST_F(TrackedChanges, ThatTheLogHadNoRoomForAreToldAtTheNextOpening) {
  MakeLogLong();
  EXPECT_EQ(Open(), kOk);
  device::OpenDatabase()->Checkpoint();
  {
    const support::FullDisk full(fs::file_size(ContactLog()) + 10);
    OsifAnchor anchor{};
    EXPECT_EQ(ModifyContact("00000001", "Amy", &anchor), OsifResult{OSIF_ERR_GENERAL});
    EXPECT_EQ(AddContact("Eve", &anchor).result, OsifResult{OSIF_ERR_GENERAL});
    EXPECT_EQ(support::DeleteContact("00000002", &anchor), OsifResult{OSIF_ERR_GENERAL});
  }
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(Told(), ElementsAre("M 1", "M 9", "H 2"));
}

TEST_F(TrackedChanges, ThatAnOpeningHadNoRoomForAreToldAtTheNextOne) {
  MakeLogLong();
  SqlProgram().Run("UPDATE pim_contacts SET body='x'");
  device::OpenDatabase()->Checkpoint();
  {
    const support::FullDisk full(fs::file_size(ContactLog()) + 40);
    EXPECT_EQ(Open(), kOk);
  }
  EXPECT_THAT(Told(), ElementsAre("M 1"));
  EXPECT_EQ(Close(), kOk);
  ExpectTheMarkToChangeNothing();
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(Entries(ContactLog()).back(), "M 253 00000003");
}

// What the log could not tell comes after everything else in the snapshot, whether everything was compared or not: in
// the snapshot's order the next opening tells what is gone.
TEST_F(TrackedChanges, ThatAnOpeningHadNoRoomForLeaveTheSnapshotInOneOrder) {
  MakeLogLong();
  SqlProgram().Run("DELETE FROM pim_objects WHERE oid=1");
  device::OpenDatabase()->Checkpoint();
  const auto snapshot_after = [&](bool with_mark) {
    if (!with_mark) fs::remove(Mark());
    {
      const support::FullDisk full(fs::file_size(ContactLog()));
      EXPECT_EQ(Open(), kOk);
    }
    EXPECT_THAT(Told(), IsEmpty());
    EXPECT_EQ(Close(), kOk);
    return LinesOf(Snapshot());
  };
  const std::string kept = BytesOf(Snapshot());
  const Texts with_mark = snapshot_after(true);
  PutBytes(Snapshot(), kept);
  EXPECT_EQ(with_mark, snapshot_after(false));
}

TEST_F(TrackedChanges, AreToldThoughTheMarkCannotBeWritten) {
  fs::remove(Mark());
  fs::create_directory(Mark());
  PutBytes(Mark() + "/file", "x");
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_THAT(Reopened(), ElementsAre("M 1"));
  ChangeUnseen(OSIF_STORE_PB);
  EXPECT_THAT(Reopened(), ElementsAre("M 3")) << "everything is compared";
}

// A mark that stayed while the snapshot went on, and the other way round.
TEST_F(TrackedChanges, AreToldWhenOnlyOneOfMarkAndSnapshotIsAnOlderOne) {
  const std::string old_mark = BytesOf(Mark());
  const std::string old_snapshot = BytesOf(Snapshot());
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_THAT(Reopened(), ElementsAre("M 1"));
  const std::string new_mark = BytesOf(Mark());
  const std::string new_snapshot = BytesOf(Snapshot());
  EXPECT_NE(new_mark, old_mark);
  PutBytes(Mark(), old_mark);
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), IsEmpty());
  PutBytes(Mark(), new_mark);
  PutBytes(Snapshot(), old_snapshot);
  ExpectTheMarkToChangeNothing();
  EXPECT_THAT(Reopened(), ElementsAre("M 1"));
}

TEST_F(TrackedChanges, AreToldFromAnOlderMarkWithItsSnapshot) {
  const std::string old_mark = BytesOf(Mark());
  const std::string old_snapshot = BytesOf(Snapshot());
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  Reopened();
  SqlProgram().Run("DELETE FROM pim_objects WHERE oid=2");
  Reopened();
  PutBytes(Mark(), old_mark);
  PutBytes(Snapshot(), old_snapshot);
  ChangeUnseen(OSIF_STORE_PB);
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "H 2"));
}

// ---- The mark itself ----------------------------------------------------------------------------------

TEST_F(TrackedChanges, LeaveAMarkOfOneLineBesideTheSnapshot) {
  for (int32_t store_id : {OSIF_STORE_PB, OSIF_STORE_CAL}) {
    EXPECT_EQ(LinesOf(Mark(store_id)).size(), 1u);
    EXPECT_EQ(BytesOf(Mark(store_id)).back(), '\n');
  }
}

TEST_F(TrackedChanges, ThatAreNoneLeaveFilesAndDatabaseAsTheyAre) {
  SqlProgram watch;
  const int64_t version = watch.Number("PRAGMA data_version");
  const std::string mark = BytesOf(Mark());
  const auto snapshot_time = fs::last_write_time(Snapshot());
  EXPECT_THAT(Reopened(), IsEmpty());
  EXPECT_EQ(BytesOf(Mark()), mark);
  EXPECT_EQ(fs::last_write_time(Snapshot()), snapshot_time);
  EXPECT_EQ(watch.Number("PRAGMA data_version"), version) << "nobody wrote to the database";
}

// ---- A store that keeps no track ----------------------------------------------------------------------

TEST_F(TrackedChanges, OfAStoreThatKeepsNoTrackAreFoundByComparingAndLeaveNoMark) {
  POL_Close();
  const support::FakePim pim;
  fs::create_directory(device_.Path("Sync2"));
  EXPECT_EQ(POL_Open(), kOk);
  EXPECT_EQ(POL_CL_Open(OSIF_STORE_PB, support::Wide(device_.Path("Sync2")).c_str()), kOk);
  EXPECT_EQ(Close(), kOk);
  EXPECT_TRUE(FileExists(device_.Path("Sync2/pol_pb_object.log")));
  EXPECT_FALSE(FileExists(device_.Path("Sync2/pol_pb_mark.log")));
  POL_Close();
}

// Only the other store's mark is there: of a handheld whose PIM was another one before.
TEST_F(TrackedChanges, OfAStoreThatKeepsNoTrackAreFoundByComparingThoughThereIsAMark) {
  POL_Close();
  {
    const support::FakePim pim;
    EXPECT_EQ(POL_Open(), kOk);
    EXPECT_EQ(Open(), kOk);
    EXPECT_THAT(Told(), ElementsAre("H 1", "H 2", "H 3"));
    EXPECT_EQ(Close(), kOk);
    POL_Close();
  }
  EXPECT_EQ(POL_Open(), kOk);
  EXPECT_THAT(Reopened(), ElementsAre("M 1", "M 2", "M 3"));
}

}  // namespace
}  // namespace pol_tracked_changes_test
