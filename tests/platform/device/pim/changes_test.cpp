// What the device's database knows of what is written to its items: marks, and what was written between two.
#include "platform/device/pim/changes.h"

#include <filesystem>

#include "platform/api/pim_changes.h"
#include "tests/platform/device/other_process.h"
#include "tests/platform/device/pim/calendar_fixture.h"
#include "tests/support/full_disk.h"
#include "tests/support/sql_program.h"

namespace pim_changes_test {
namespace {

using namespace pim_test;

using support::SqlProgram;
using Texts = std::vector<std::string>;

constexpr HRESULT kSharingViolation = HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION);
constexpr size_t kMarks = 256;  // are kept

std::string MakeMark() {
  std::string mark;
  EXPECT_EQ(device::MakeMark(*device::OpenDatabase(), &mark), S_OK);
  EXPECT_FALSE(mark.empty());
  return mark;
}

HRESULT TryList(const std::string& since, const std::string& until,
                std::vector<device::ChangedObject>* changes) {
  return device::ListChanges(*device::OpenDatabase(), since, until, changes);
}

std::vector<device::ChangedObject> List(const std::string& since, const std::string& until) {
  std::vector<device::ChangedObject> changes;
  EXPECT_EQ(TryList(since, until, &changes), S_OK);
  return changes;
}

// "1 in 10" for each; "gone" in place of the folder 0.
Texts ChangesBetween(const std::string& since, const std::string& until) {
  Texts texts;
  for (const device::ChangedObject& change : List(since, until)) {
    texts.push_back(std::to_string(change.oid) +
                    (change.folder == 0 ? " gone" : " in " + std::to_string(change.folder)));
  }
  return texts;
}
Texts ChangesSince(const std::string& mark) { return ChangesBetween(mark, MakeMark()); }

bool IsKnown(const std::string& mark) {
  const std::string now = MakeMark();
  std::vector<device::ChangedObject> changes = {{1, 1, 1}};
  const HRESULT hr = TryList(mark, now, &changes);
  EXPECT_TRUE(hr == S_OK || hr == S_FALSE) << hr;
  std::vector<device::ChangedObject> others = {{1, 1, 1}};
  EXPECT_EQ(TryList(now, mark, &others), hr) << "it is known as either end";
  if (hr == S_FALSE) {
    EXPECT_TRUE(changes.empty());
    EXPECT_TRUE(others.empty());
  }
  return hr == S_OK;
}

// Five items and the id of one that is gone:
//
//   1, 2  contacts
//   3     a daily appointment with two recipients, one of its days excepted
//   4     an appointment
//   5     a weekly task
//   6     gone
class PimChanges : public PimCalendarTest {
 protected:
  PimChanges() {
    application();
    SqlProgram().Run(R"(
        INSERT INTO pim_objects VALUES(1, 10), (2, 10), (3, 9), (4, 9), (5, 13), (6, 10);
        INSERT INTO pim_contacts(oid, last_name) VALUES(1, 'Ann'), (2, 'Bob'), (6, 'Cid');
        INSERT INTO pim_appointments VALUES
          (3, 'Budget', NULL, NULL, 38425.4, 38425.5, 0, 2, 0, NULL, 0, NULL, 15, 0),
          (4, 'Lunch', NULL, NULL, 38425.5, 38425.6, 0, 2, 0, NULL, 0, NULL, 15, 0);
        INSERT INTO pim_tasks VALUES
          (5, 'Buy milk', NULL, NULL, 38431.0, NULL, 1, 0, 0, 0, NULL, 0, NULL, NULL, 0);
        INSERT INTO pim_recipients VALUES(3, 1, 'Ann', 'a'), (3, 2, 'Bob', 'b');
        INSERT INTO pim_patterns VALUES
          (3, 0, 38425, 1, 0, 0, 0, 0, NULL, 9), (5, 1, 38431, 1, 1, 0, 0, 0, NULL, 4);
        INSERT INTO pim_exceptions VALUES(3, 38427, NULL);
        DELETE FROM pim_objects WHERE oid = 6;)");
    mark_ = MakeMark();
  }

  std::string mark_;  // of the moment after that
};

// ---- Each kind of writing -------------------------------------------------------------------------------

struct Write {
  const char* name;
  const char* sql;
  Texts changes;
  support::References references = support::References::kKept;
};

void PrintTo(const Write& write, std::ostream* out) { *out << write.sql; }

constexpr auto kIgnored = support::References::kIgnored;

class PimWrite : public PimChanges, public testing::WithParamInterface<Write> {};

INSTANTIATE_TEST_SUITE_P(
    Of, PimWrite,
    testing::Values(
        Write{"AContactsUpdate", "UPDATE pim_contacts SET body='x' WHERE oid=2", {"2 in 10"}},
        Write{
            "AnAppointmentsUpdate", "UPDATE pim_appointments SET body='x' WHERE oid=4", {"4 in 9"}},
        Write{"ATasksUpdate", "UPDATE pim_tasks SET body='x'", {"5 in 13"}},
        Write{"EveryTableByFolderAndId",
              "UPDATE pim_tasks SET body='x'; UPDATE pim_contacts SET body='x';"
              "UPDATE pim_appointments SET body='x'; UPDATE pim_contacts SET body='y'",
              {"3 in 9", "4 in 9", "1 in 10", "2 in 10", "5 in 13"}},
        Write{"AnUpdateOfNothing", "UPDATE pim_contacts SET body='x' WHERE oid=77", {}},
        Write{"ADeletion", "DELETE FROM pim_objects WHERE oid=1", {"1 gone"}},
        Write{"ADeletionWithAllThatBelongsToIt", "DELETE FROM pim_objects WHERE oid=3", {"3 gone"}},
        Write{"ADeletionThatLeavesWhatBelongsToIt",
              "DELETE FROM pim_objects WHERE oid=3",
              {"3 gone"},
              kIgnored},
        Write{"DeletionsBeforeEverythingElse",
              "UPDATE pim_appointments SET body='x' WHERE oid=3;"
              "DELETE FROM pim_objects WHERE oid IN (4, 5)",
              {"4 gone", "5 gone", "3 in 9"}},
        Write{"ADeletionOfItAll",
              "DELETE FROM pim_objects",
              {"1 gone", "2 gone", "3 gone", "4 gone", "5 gone"}},
        Write{"ADeletedContactsRow", "DELETE FROM pim_contacts WHERE oid=1", {"1 in 10"}},
        Write{"ADeletedAppointmentsRow", "DELETE FROM pim_appointments WHERE oid=4", {"4 in 9"}},
        Write{"ADeletedTasksRow", "DELETE FROM pim_tasks WHERE oid=5", {"5 in 13"}},
        Write{"ANewContact",
              "INSERT INTO pim_objects(folder) VALUES(10);"
              "INSERT INTO pim_contacts(oid) VALUES(7)",
              {"7 in 10"}},
        Write{"ANewObjectAlone", "INSERT INTO pim_objects(folder) VALUES(13)", {"7 in 13"}},
        Write{"ANewContactThatIsGone",
              "INSERT INTO pim_objects(folder) VALUES(10);"
              "INSERT INTO pim_contacts(oid) VALUES(7); DELETE FROM pim_objects WHERE oid=7",
              {"7 gone"}},
        Write{"ANewContactOfAFreeId",
              "INSERT INTO pim_objects VALUES(6, 10); INSERT INTO pim_contacts(oid) VALUES(6)",
              {"6 in 10"}},
        Write{"ATaskOfAContactsId",
              "DELETE FROM pim_objects WHERE oid=1; INSERT INTO pim_objects VALUES(1, 13);"
              "INSERT INTO pim_tasks SELECT 1, subject, categories, start_date, due_date, "
              "date_completed, importance, complete, sensitivity, team_task, body, reminder_set, "
              "reminder_sound_file, reminder_time, reminder_options FROM pim_tasks",
              {"1 in 13"}},
        Write{
            "AReplacedContact", "INSERT OR REPLACE INTO pim_contacts(oid) VALUES(1)", {"1 in 10"}},
        Write{"AReplacedContactByUpdate",
              "UPDATE OR REPLACE pim_contacts SET oid=2 WHERE oid=1",
              {"1 in 10", "2 in 10"}},
        Write{"AReplacedObject", "INSERT OR REPLACE INTO pim_objects VALUES(1, 13)", {"1 in 13"}},
        // Listed for nothing, which costs whoever asks a look.
        Write{"AnIgnoredObject", "INSERT OR IGNORE INTO pim_objects VALUES(1, 13)", {"1 in 10"}},
        Write{"AnUpsert",
              "INSERT INTO pim_contacts(oid) VALUES(1) ON CONFLICT(oid) DO UPDATE SET body='x'",
              {"1 in 10"}},
        Write{"AnotherFolder", "UPDATE pim_objects SET folder=13 WHERE oid=1", {"1 in 13"}},
        Write{"AnotherId",
              "UPDATE pim_objects SET oid=6 WHERE oid=1",
              {"1 gone", "6 in 10"},
              kIgnored},
        Write{"AHigherId",
              "UPDATE pim_objects SET oid=60 WHERE oid=1",
              {"1 gone", "60 in 10"},
              kIgnored},
        Write{"ARollback", "BEGIN; UPDATE pim_contacts SET body='x'; ROLLBACK", {}},
        Write{"ARollbackToASavepoint",
              "BEGIN; UPDATE pim_contacts SET body='x' WHERE oid=1; SAVEPOINT a;"
              "UPDATE pim_contacts SET body='x' WHERE oid=2; ROLLBACK TO a; COMMIT",
              {"1 in 10"}},

        Write{"ANewRecipient", "INSERT INTO pim_recipients VALUES(4, 1, 'x', 'x')", {"4 in 9"}},
        Write{"ARecipientsUpdate", "UPDATE pim_recipients SET name='x'", {"3 in 9"}},
        Write{"AReplacedRecipient",
              "INSERT OR REPLACE INTO pim_recipients VALUES(3, 1, 'x', 'x')",
              {"3 in 9"}},
        Write{"AnIgnoredRecipient",
              "INSERT OR IGNORE INTO pim_recipients VALUES(3, 1, 'x', 'x')",
              {}},
        Write{"ADeletedRecipient", "DELETE FROM pim_recipients WHERE position=1", {"3 in 9"}},
        Write{"ARecipientOfAnother",
              "UPDATE pim_recipients SET oid=4 WHERE position=1",
              {"3 in 9", "4 in 9"}},
        Write{"ANewPattern",
              "INSERT INTO pim_patterns VALUES(4, 0, 38425, 1, 0, 0, 0, 0, NULL, 9)",
              {"4 in 9"}},
        Write{"APatternsUpdate", "UPDATE pim_patterns SET interval=2", {"3 in 9", "5 in 13"}},
        Write{"AReplacedPattern",
              "INSERT OR REPLACE INTO pim_patterns VALUES(3, 0, 38425, 1, 0, 0, 0, 0, NULL, 8)",
              {"3 in 9"}},
        Write{"AnIgnoredPattern",
              "INSERT OR IGNORE INTO pim_patterns VALUES(3, 0, 38425, 1, 0, 0, 0, 0, NULL, 8)",
              {}},
        Write{"ADeletedPattern", "DELETE FROM pim_patterns WHERE oid=5", {"5 in 13"}},
        Write{
            "APatternOfAnother", "UPDATE pim_patterns SET oid=4 WHERE oid=3", {"3 in 9", "4 in 9"}},
        Write{"ANewException", "INSERT INTO pim_exceptions VALUES(3, 38428, NULL)", {"3 in 9"}},
        Write{"AnExceptionsUpdate", "UPDATE pim_exceptions SET day=38428", {"3 in 9"}},
        Write{"AReplacedException",
              "INSERT OR REPLACE INTO pim_exceptions VALUES(3, 38427, 77)",
              {"3 in 9"}},
        Write{
            "AnIgnoredException", "INSERT OR IGNORE INTO pim_exceptions VALUES(3, 38427, 77)", {}},
        Write{"ADeletedException", "DELETE FROM pim_exceptions", {"3 in 9"}},
        Write{"AnExceptionOfAnother", "UPDATE pim_exceptions SET series=4", {"3 in 9", "4 in 9"}}),
    [](const auto& test) { return std::string(test.param.name); });

// Of an object alone, whose id is below the highest that was given.
INSTANTIATE_TEST_SUITE_P(
    OfAnObject, PimWrite,
    testing::Values(Write{"OfAFreeId", "INSERT INTO pim_objects VALUES(6, 10)", {"6 in 10"}},
                    Write{"InPlaceOfAnother",
                          "INSERT OR REPLACE INTO pim_objects VALUES(1, 13)",
                          {"1 in 13"},
                          kIgnored},
                    Write{"InPlaceOfAnotherByUpdate",
                          "UPDATE OR REPLACE pim_objects SET oid=2 WHERE oid=1",
                          {"1 gone", "2 in 10"},
                          kIgnored}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimWrite, IsListed) {
  SqlProgram(GetParam().references).Run(GetParam().sql);
  const std::string until = MakeMark();
  EXPECT_EQ(ChangesBetween(mark_, until), GetParam().changes);
  EXPECT_EQ(ChangesSince(until), Texts{});
}

TEST_P(PimWrite, IsListedWhenTriggersCallTriggers) {
  SqlProgram program(GetParam().references);
  program.Run("PRAGMA recursive_triggers=ON");
  program.Run(GetParam().sql);
  EXPECT_EQ(ChangesSince(mark_), GetParam().changes);
}

TEST_P(PimWrite, GivesEachItemAGreaterStampThanAllBefore) {
  SqlProgram().Run(
      "UPDATE pim_contacts SET body='x'; UPDATE pim_appointments SET body='x';"
      "UPDATE pim_tasks SET body='x'");
  int64_t highest = 0;
  for (const device::ChangedObject& change : List(mark_, MakeMark())) {
    EXPECT_GT(change.stamp, 0);
    highest = std::max(highest, change.stamp);
  }
  const std::string before = MakeMark();
  SqlProgram(GetParam().references).Run(GetParam().sql);
  for (const device::ChangedObject& change : List(before, MakeMark())) {
    const bool is_new_and_was_written_once = change.oid > 6 && change.stamp == 0;
    EXPECT_TRUE(change.stamp > highest || is_new_and_was_written_once)
        << change.oid << ": " << change.stamp;
    int64_t stamp = -1;
    EXPECT_EQ(device::ReadStamp(*device::OpenDatabase(), change.oid, &stamp), S_OK);
    EXPECT_EQ(stamp, change.stamp);
  }
}

// ---- Between marks --------------------------------------------------------------------------------------

TEST_F(PimChanges, ListsWhatWasWrittenAfterOneMarkAndNotAfterAnother) {
  SqlProgram program;
  program.Run("UPDATE pim_contacts SET body='x'");
  const std::string second = MakeMark();
  program.Run(
      "UPDATE pim_contacts SET body='y' WHERE oid=1; DELETE FROM pim_objects WHERE oid=4;"
      "INSERT INTO pim_objects VALUES(20, 13)");
  const std::string third = MakeMark();
  EXPECT_EQ(ChangesBetween(mark_, second), Texts{"2 in 10"}) << "1 was written after it";
  EXPECT_EQ(ChangesBetween(second, third), (Texts{"4 gone", "1 in 10", "20 in 13"}));
  EXPECT_EQ(ChangesBetween(mark_, third), (Texts{"4 gone", "1 in 10", "2 in 10", "20 in 13"}));
  EXPECT_EQ(ChangesBetween(second, second), Texts{});
  EXPECT_EQ(ChangesBetween(third, mark_), Texts{}) << "no item was written after the later one";
}

TEST_F(PimChanges, ListsANewItemThatIsWrittenToLater) {
  SqlProgram program;
  program.Run(
      "INSERT INTO pim_objects VALUES(20, 10), (21, 10);"
      "INSERT INTO pim_contacts(oid) VALUES(20), (21)");
  const std::string second = MakeMark();
  program.Run(
      "UPDATE pim_contacts SET body='x' WHERE oid=20; DELETE FROM pim_objects WHERE oid=21");
  EXPECT_EQ(ChangesSince(second), (Texts{"21 gone", "20 in 10"}));
  EXPECT_EQ(ChangesSince(mark_), (Texts{"21 gone", "20 in 10"}));
}

TEST_F(PimChanges, ListsASeriesWhoseOccurrenceWasChangedOrDeleted) {
  const auto occurrence_of = [&](int day) {
    ComPtr<IAppointment> occurrence;
    EXPECT_EQ(PatternOf(*Load<IAppointment>(3))->GetOccurrence(38425 + day, occurrence.put()),
              S_OK);
    return occurrence;
  };
  EXPECT_EQ(occurrence_of(1)->Delete(), S_OK);
  EXPECT_EQ(ChangesSince(mark_), Texts{"3 in 9"});
  const std::string second = MakeMark();
  ComPtr<IAppointment> changed = occurrence_of(3);
  EXPECT_EQ(Put(*changed, &IAppointment::put_Subject, u"Run"), S_OK);
  EXPECT_EQ(changed->Save(), S_OK);
  const Texts changes = ChangesSince(second);
  EXPECT_EQ(std::count(changes.begin(), changes.end(), "3 in 9"), 1);
}

// ---- Marks ----------------------------------------------------------------------------------------------

TEST_F(PimChanges, IsMarkedByAShortTextOfLettersDigitsAndHyphens) {
  EXPECT_LE(mark_.size(), 64u);
  EXPECT_EQ(mark_.find_first_not_of("0123456789-"
                                    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"),
            std::string::npos)
      << mark_;
}

TEST_F(PimChanges, IsNotWrittenToForAMarkWhenNothingElseWasWritten) {
  const auto database = device::OpenDatabase();
  const int before = sqlite3_total_changes(database->handle());
  SqlProgram watch;
  const int64_t version = watch.Number("PRAGMA data_version");
  EXPECT_EQ(MakeMark(), mark_);
  EXPECT_EQ(MakeMark(), mark_);
  EXPECT_EQ(sqlite3_total_changes(database->handle()), before);
  EXPECT_EQ(watch.Number("PRAGMA data_version"), version);
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  const std::string second = MakeMark();
  EXPECT_NE(second, mark_);
  EXPECT_EQ(MakeMark(), second);
}

TEST_F(PimChanges, IsMarkedAnewAfterAnyWrite) {
  std::string last = mark_;
  for (const char* sql : {"INSERT INTO pim_objects(folder) VALUES(10)",
                          "UPDATE pim_patterns SET interval=3", "DELETE FROM pim_recipients",
                          "DELETE FROM pim_exceptions", "DELETE FROM pim_objects WHERE oid=1"}) {
    SqlProgram().Run(sql);
    const std::string mark = MakeMark();
    EXPECT_NE(mark, last) << sql;
    last = mark;
  }
}

TEST_F(PimChanges, KeepsAsManyMarksAsItSays) {
  SqlProgram program;
  Texts marks = {mark_};
  const auto write_and_mark = [&] {
    program.Run("UPDATE pim_contacts SET body=coalesce(body, '')||'x' WHERE oid=1");
    marks.push_back(MakeMark());
  };
  while (marks.size() < kMarks - 1) write_and_mark();
  EXPECT_TRUE(IsKnown(marks[0]));
  write_and_mark();
  ASSERT_EQ(marks.size(), kMarks);
  EXPECT_TRUE(IsKnown(marks[0])) << "the oldest of those that are kept";
  EXPECT_EQ(ChangesSince(marks[0]), Texts{"1 in 10"});
  write_and_mark();
  EXPECT_FALSE(IsKnown(marks[0]));
  EXPECT_TRUE(IsKnown(marks[1]));
  write_and_mark();
  EXPECT_FALSE(IsKnown(marks[1]));
  EXPECT_TRUE(IsKnown(marks[2]));
  EXPECT_EQ(program.Number("SELECT count(*) FROM pim_marks"), int64_t{kMarks});
}

TEST_F(PimChanges, KnowsNoMarkButItsOwn) {
  const size_t hyphen = mark_.find('-');
  ASSERT_NE(hyphen, std::string::npos);
  const std::string number = mark_.substr(0, hyphen);
  const std::string token = mark_.substr(hyphen + 1);
  EXPECT_TRUE(IsKnown(mark_));
  for (const std::string& other : {std::string(),
                                   std::string("-"),
                                   number,
                                   number + "-",
                                   "-" + token,
                                   token,
                                   " " + mark_,
                                   mark_ + " ",
                                   mark_ + "0",
                                   mark_ + mark_,
                                   "0" + mark_,
                                   "-" + mark_,
                                   "+" + mark_,
                                   number + "--" + token,
                                   "99-" + token,
                                   "0-" + token,
                                   "-1-" + token,
                                   "99999999999999999999999999-" + token,
                                   "9223372036854775807-" + token,
                                   number + "-" + std::string(token.size(), '0'),
                                   number + "-%",
                                   number + "-" + token.substr(1),
                                   mark_ + std::string("\0", 1),
                                   mark_ + std::string("\0x", 2),
                                   std::string(100'000, '1')}) {
    EXPECT_FALSE(IsKnown(other)) << other.substr(0, 80);
  }
  for (size_t i = 0; i < token.size(); ++i) {
    std::string other = mark_;
    other[hyphen + 1 + i] = other[hyphen + 1 + i] == '0' ? '1' : '0';
    EXPECT_FALSE(IsKnown(other)) << other;
  }
}

TEST_F(PimChanges, KnowsNoMarkOfAnotherDevice) {
  application().Logoff();
  {
    const TempDevice other;
    const ComPtr<IPOutlookApp> theirs = LogOn();
    SqlProgram().Run("INSERT INTO pim_objects(folder) VALUES(10)");
    MakeMark();
    EXPECT_FALSE(IsKnown(mark_));
    theirs->Logoff();
  }
  device_.Use();
  EXPECT_TRUE(IsKnown(mark_));
}

// The mark of each is of the same number.
TEST_F(PimChanges, KnowsNoMarkOfACopyThatWentItsOwnWay) {
  application().Logoff();
  device::CloseDatabase();
  std::string theirs;
  {
    const TempDevice copy;
    std::filesystem::copy(device_.folder(), copy.folder(),
                          std::filesystem::copy_options::recursive);
    EXPECT_TRUE(IsKnown(mark_)) << "made before the copy";
    SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
    theirs = MakeMark();
  }
  device_.Use();
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=2");
  const std::string ours = MakeMark();
  EXPECT_NE(ours, theirs);
  EXPECT_TRUE(IsKnown(mark_));
  EXPECT_TRUE(IsKnown(ours));
  EXPECT_FALSE(IsKnown(theirs));
}

TEST_F(PimChanges, KnowsNoMarkOfWhatWasLost) {
  const auto let_go = [&] {
    application().Logoff();
    device::CloseDatabase();
  };
  let_go();
  std::filesystem::copy_file(device_.Path("device.db"), device_.Path("kept.db"));
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  const std::string lost = MakeMark();
  let_go();
  std::filesystem::copy_file(device_.Path("kept.db"), device_.Path("device.db"),
                             std::filesystem::copy_options::overwrite_existing);
  EXPECT_FALSE(IsKnown(lost));
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=2");
  EXPECT_FALSE(IsKnown(lost));
  const std::string again = MakeMark();
  EXPECT_NE(again, lost);
  EXPECT_FALSE(IsKnown(lost)) << "though there is a mark of its number again";
  EXPECT_EQ(ChangesSince(mark_), Texts{"2 in 10"});
}

TEST_F(PimChanges, KnowsItsMarksAfterARestart) {
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  Restart();
  EXPECT_EQ(ChangesSince(mark_), Texts{"1 in 10"});
}

// ---- Other programs -------------------------------------------------------------------------------------

TEST_F(PimChanges, ListsWhatAnotherProcessHasWritten) {
  const std::string path = device_.folder();
  device::CloseDatabase();
  {
    OtherProcess other([](int place) {
      SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
      Tell(place, 1);
      std::string mark;
      Tell(place, device::MakeMark(*device::OpenDatabase(), &mark));
      SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=2");
      Tell(place, 2);
      kill(getpid(), SIGKILL);
    });
    ASSERT_EQ(other.Read(), 1);
    ASSERT_EQ(other.Read(), S_OK);
    ASSERT_EQ(other.Read(), 2);
    ASSERT_EQ(other.Read(), -1) << "killed";
  }
  EXPECT_EQ(ChangesSince(mark_), (Texts{"1 in 10", "2 in 10"}));
}

// What is not committed when a mark is made comes after it.
TEST_F(PimChanges, ListsWhatIsCommittedAfterAMarkThoughItWasBegunBefore) {
  sqlite3_busy_timeout(device::OpenDatabase()->handle(), 50);  // milliseconds
  SqlProgram other;
  other.Run("BEGIN IMMEDIATE; UPDATE pim_contacts SET body='x' WHERE oid=1");
  EXPECT_EQ(MakeMark(), mark_) << "nothing was written yet, and nothing need be";
  other.Run("COMMIT");
  EXPECT_EQ(ChangesSince(mark_), Texts{"1 in 10"});
}

TEST_F(PimChanges, CannotBeMarkedWhileAnotherProgramWrites) {
  sqlite3_busy_timeout(device::OpenDatabase()->handle(), 50);  // milliseconds
  SqlProgram other;
  other.Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  other.Run("BEGIN IMMEDIATE; UPDATE pim_contacts SET body='x' WHERE oid=2");
  std::string mark;
  EXPECT_EQ(device::MakeMark(*device::OpenDatabase(), &mark), kSharingViolation);
  EXPECT_EQ(mark, "");
  other.Run("COMMIT");
  EXPECT_EQ(ChangesSince(mark_), (Texts{"1 in 10", "2 in 10"}));
}

// ---- Stamps ---------------------------------------------------------------------------------------------

template <typename Item>
LONGLONG StampOf(Item& item) {
  ComPtr<IItemStamp> stamped;
  EXPECT_EQ(item.QueryInterface(IID_IItemStamp, stamped.put_void()), S_OK);
  LONGLONG stamp = -1;
  EXPECT_EQ(stamped->get_Stamp(&stamp), S_OK);
  EXPECT_EQ(stamped->get_Stamp(nullptr), E_INVALIDARG);
  return stamp;
}

int64_t StoredStamp(LONG oid) {
  int64_t stamp = -1;
  EXPECT_EQ(device::ReadStamp(*device::OpenDatabase(), oid, &stamp), S_OK);
  return stamp;
}

class PimStamp : public PimChanges {
 protected:
  template <typename Item>
  void ExpectToTellWhoWroteLast(Item& item, const std::string& table) {
    EXPECT_EQ(StampOf(item), 0) << "not saved by this object";
    EXPECT_EQ(item.Save(), S_OK);
    const LONG oid = Oid(item);
    EXPECT_EQ(StampOf(item), StoredStamp(oid)) << "nobody wrote since";
    const auto saved = StampOf(item);
    EXPECT_EQ(item.Save(), S_OK);
    EXPECT_GT(StampOf(item), saved);
    EXPECT_EQ(StampOf(item), StoredStamp(oid));
    SqlProgram().Run("UPDATE " + table + " SET body='x' WHERE oid=" + std::to_string(oid));
    EXPECT_LT(StampOf(item), StoredStamp(oid));
    const auto theirs = StoredStamp(oid);
    EXPECT_EQ(item.Save(), S_OK);
    EXPECT_GT(StampOf(item), theirs);
    EXPECT_EQ(StampOf(item), StoredStamp(oid));
  }
};

TEST_F(PimStamp, OfAContactTellsWhetherAnotherWroteAfterItsSave) {
  ExpectToTellWhoWroteLast(*NewContact(), "pim_contacts");
  ExpectToTellWhoWroteLast(*Load(1), "pim_contacts");
}

TEST_F(PimStamp, OfAnAppointmentTellsWhetherAnotherWroteAfterItsSave) {
  ComPtr<IAppointment> series = NewAppointment(Time(2026, 5, 1, 9, 30), Time(2026, 5, 1, 10, 0));
  EXPECT_EQ(PatternOf(*series)->put_RecurrenceType(olRecursDaily), S_OK);
  ComPtr<IRecipient> recipient;
  EXPECT_EQ(
      ObjectOf(*series, &IAppointment::get_Recipients)->Add(Bstr(u"Ann").get(), recipient.put()),
      S_OK);
  ExpectToTellWhoWroteLast(*series, "pim_appointments");
  ExpectToTellWhoWroteLast(*Load<IAppointment>(3), "pim_appointments");
}

TEST_F(PimStamp, OfATaskTellsWhetherAnotherWroteAfterItsSave) {
  ExpectToTellWhoWroteLast(*NewTask(), "pim_tasks");
  ExpectToTellWhoWroteLast(*Load<ITask>(5), "pim_tasks");
}

TEST_F(PimStamp, ChangesWithWhatBelongsToTheItem) {
  ComPtr<IAppointment> series = Load<IAppointment>(3);
  for (const char* sql :
       {"UPDATE pim_recipients SET name='x'", "UPDATE pim_patterns SET interval=2 WHERE oid=3",
        "INSERT INTO pim_exceptions VALUES(3, 38429, NULL)"}) {
    EXPECT_EQ(series->Save(), S_OK);
    SqlProgram().Run(sql);
    EXPECT_GT(StoredStamp(3), StampOf(*series)) << sql;
  }
}

TEST_F(PimStamp, OfANewItemChangesWhenItsRowIsReplaced) {
  ComPtr<IContact> contact = NewContact();
  EXPECT_EQ(contact->Save(), S_OK);
  SqlProgram().Run("INSERT OR REPLACE INTO pim_contacts(oid, last_name) VALUES(" +
                   std::to_string(Oid(*contact)) + ", 'Fay')");
  EXPECT_GT(StoredStamp(Oid(*contact)), StampOf(*contact));
}

TEST_F(PimStamp, StaysWhenASaveFails) {
  ComPtr<IContact> contact = Load(1);
  EXPECT_EQ(contact->Save(), S_OK);
  const LONGLONG saved = StampOf(*contact);
  const auto database = device::OpenDatabase();
  ASSERT_EQ(database->Execute("PRAGMA query_only=ON"), SQLITE_OK);
  EXPECT_EQ(contact->Save(), E_ACCESSDENIED);
  ASSERT_EQ(database->Execute("PRAGMA query_only=OFF"), SQLITE_OK);
  EXPECT_EQ(StampOf(*contact), saved);
  EXPECT_EQ(StoredStamp(1), saved);
}

// Whoever is told an item's stamp is told the same as the list says.
TEST_F(PimStamp, IsTheOneThatTheListGives) {
  ComPtr<IContact> contact = Load(2);
  EXPECT_EQ(contact->Save(), S_OK);
  const std::vector<device::ChangedObject> changes = List(mark_, MakeMark());
  ASSERT_EQ(changes.size(), 1u);
  EXPECT_EQ(changes[0].oid, 2);
  EXPECT_EQ(changes[0].stamp, StampOf(*contact));
}

// ---- Through the application ----------------------------------------------------------------------------

class PimStoreChanges : public PimChanges {
 protected:
  ComPtr<IStoreChanges> Changes() {
    ComPtr<IStoreChanges> changes;
    EXPECT_EQ(application().QueryInterface(IID_IStoreChanges, changes.put_void()), S_OK);
    return changes;
  }
};

TEST_F(PimStoreChanges, AreThoseOfTheDatabase) {
  const ComPtr<IStoreChanges> changes = Changes();
  Bstr since;
  ASSERT_EQ(changes->GetMark(since.put()), S_OK);
  EXPECT_EQ(std::string(since.view().begin(), since.view().end()), mark_);
  SqlProgram().Run(
      "UPDATE pim_contacts SET body='x' WHERE oid=2; DELETE FROM pim_objects WHERE oid=5");
  Bstr until;
  ASSERT_EQ(changes->GetMark(until.put()), S_OK);
  ComPtr<IChangedItems> items;
  ASSERT_EQ(changes->GetChanges(since.get(), until.get(), items.put()), S_OK);
  Texts texts;
  LONG oid = 0;
  int folder = 0;
  LONGLONG stamp = 0;
  while (items->Next(&oid, &folder, &stamp) == S_OK) {
    texts.push_back(std::to_string(oid) + " in " + std::to_string(folder));
    EXPECT_EQ(stamp, [&] {
      int64_t stored = -1;
      EXPECT_EQ(device::ReadStamp(*device::OpenDatabase(), oid, &stored), S_OK);
      return stored;
    }());
  }
  EXPECT_EQ(texts, (Texts{"5 in 0", "2 in 10"}));
  EXPECT_EQ(items->Next(&oid, &folder, &stamp), S_FALSE);
  EXPECT_EQ(items->Next(nullptr, &folder, &stamp), E_INVALIDARG);
  EXPECT_EQ(items->Next(&oid, nullptr, &stamp), E_INVALIDARG);
  EXPECT_EQ(items->Next(&oid, &folder, nullptr), E_INVALIDARG);
}

TEST_F(PimStoreChanges, OfAnUnknownMarkMayBeAnything) {
  const ComPtr<IStoreChanges> changes = Changes();
  Bstr mark;
  ASSERT_EQ(changes->GetMark(mark.put()), S_OK);
  const Bstr unknown(u"1-0");
  const Bstr wide(u"\x661-\x416");
  const Bstr none;
  for (BSTR other : {unknown.get(), wide.get(), none.get()}) {
    for (const bool is_since : {true, false}) {
      auto* items = reinterpret_cast<IChangedItems*>(1);
      EXPECT_EQ(
          changes->GetChanges(is_since ? other : mark.get(), is_since ? mark.get() : other, &items),
          S_FALSE);
      EXPECT_EQ(items, nullptr);
    }
  }
}

TEST_F(PimStoreChanges, AreOfALoggedOnApplication) {
  const ComPtr<IPOutlookApp> other = NewApplication();
  ComPtr<IStoreChanges> changes;
  ASSERT_EQ(other->QueryInterface(IID_IStoreChanges, changes.put_void()), S_OK);
  BSTR mark = reinterpret_cast<BSTR>(1);
  EXPECT_EQ(changes->GetMark(&mark), E_UNEXPECTED);
  EXPECT_EQ(mark, nullptr);
  auto* items = reinterpret_cast<IChangedItems*>(1);
  EXPECT_EQ(changes->GetChanges(nullptr, nullptr, &items), E_UNEXPECTED);
  EXPECT_EQ(items, nullptr);
  EXPECT_EQ(Changes()->GetMark(nullptr), E_INVALIDARG);
  EXPECT_EQ(Changes()->GetChanges(nullptr, nullptr, nullptr), E_INVALIDARG);
}

TEST_F(PimStoreChanges, AreAskedOfTheApplicationAlone) {
  void* none = nullptr;
  EXPECT_EQ(Items()->QueryInterface(IID_IStoreChanges, &none), E_NOINTERFACE);
  EXPECT_EQ(application().QueryInterface(IID_IItemStamp, &none), E_NOINTERFACE);
  EXPECT_EQ(Load(1)->QueryInterface(IID_IStoreChanges, &none), E_NOINTERFACE);
}

// An interface of the same object: it counts the same references, and leads back.
TEST_F(PimStoreChanges, AreOfTheSameObjectAsTheApplication) {
  const ComPtr<IStoreChanges> changes = Changes();
  ComPtr<IPOutlookApp> back;
  ASSERT_EQ(changes->QueryInterface(IID_IPOutlookApp, back.put_void()), S_OK);
  EXPECT_EQ(back.get(), &application());
  ComPtr<IContact> contact = Load(1);
  ComPtr<IItemStamp> stamped;
  ASSERT_EQ(contact->QueryInterface(IID_IItemStamp, stamped.put_void()), S_OK);
  contact = {};
  LONGLONG stamp = -1;
  EXPECT_EQ(stamped->get_Stamp(&stamp), S_OK) << "kept by its own reference";
}

// ---- A database that fails ------------------------------------------------------------------------------

TEST_F(PimChanges, OfAReadOnlyDatabaseCannotBeMarked) {
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  const auto database = device::OpenDatabase();
  ASSERT_EQ(database->Execute("PRAGMA query_only=ON"), SQLITE_OK);
  std::string mark;
  EXPECT_EQ(device::MakeMark(*database, &mark), E_ACCESSDENIED);
  EXPECT_EQ(mark, "");
  ASSERT_EQ(database->Execute("PRAGMA query_only=OFF"), SQLITE_OK);
  EXPECT_EQ(ChangesSince(mark_), Texts{"1 in 10"});
}

TEST_F(PimChanges, OnAFullDiskCannotBeMarked) {
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  {
    const support::FullDisk full(std::filesystem::file_size(device_.Path("device.db-wal")));
    std::string mark;
    EXPECT_TRUE(FAILED(device::MakeMark(*device::OpenDatabase(), &mark)));
    EXPECT_EQ(mark, "");
  }
  EXPECT_EQ(ChangesSince(mark_), Texts{"1 in 10"});
}

TEST_F(PimChanges, WithoutItsTablesTellsAFailureAndNotNothing) {
  for (const char* table : {"pim_changes", "pim_marks"}) {
    const auto database = device::OpenDatabase();
    std::vector<device::ChangedObject> changes;
    const std::string name(table);
    ASSERT_EQ(database->Execute(("ALTER TABLE " + name + " RENAME TO other").c_str()), SQLITE_OK);
    const HRESULT hr = TryList(mark_, mark_, &changes);
    EXPECT_TRUE(FAILED(hr)) << table << " " << hr;
    EXPECT_TRUE(changes.empty());
    ASSERT_EQ(database->Execute(("ALTER TABLE other RENAME TO " + name).c_str()), SQLITE_OK);
  }
  EXPECT_TRUE(IsKnown(mark_));
}

TEST_F(PimChanges, WithoutAPlaceForMarksCannotBeMarked) {
  SqlProgram().Run("UPDATE pim_contacts SET body='x' WHERE oid=1");
  SqlProgram().Run("ALTER TABLE pim_marks RENAME TO other");
  std::string mark;
  EXPECT_TRUE(FAILED(device::MakeMark(*device::OpenDatabase(), &mark)));
  EXPECT_EQ(mark, "");
}

}  // namespace
}  // namespace pim_changes_test
