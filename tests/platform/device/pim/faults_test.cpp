// What the PIM store does when writing fails, programs share the device, or one is killed.

#include <filesystem>
#include <set>

#include "platform/device/pim/objects.h"
#include "tests/platform/device/other_process.h"
#include "tests/platform/device/pim/calendar_fixture.h"
#include "tests/support/full_disk.h"

namespace pim_faults_test {
namespace {

using namespace pim_test;

constexpr HRESULT kSharingViolation = HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION);
constexpr HRESULT kDiskFull = HRESULT_FROM_WIN32(ERROR_DISK_FULL);

// In another process, which has no test to fail: the id of a saved contact, or -1.
LONG SaveAlone(std::u16string_view last_name) {
  void* application = nullptr;
  if (device::CreatePimApplication(IID_IPOutlookApp, &application) != S_OK) return -1;
  auto* app = static_cast<IPOutlookApp*>(application);
  IDispatch* item = nullptr;
  if (app->Logon(0) != S_OK || app->CreateItem(olContactItem, &item) != S_OK) return -1;
  auto* contact = static_cast<IContact*>(item);
  LONG oid = -1;
  contact->put_LastName(Bstr(last_name).get());
  return contact->Save() == S_OK && contact->get_Oid(&oid) == S_OK ? oid : -1;
}

class PimFaults : public PimTest {
 protected:
  // Saving, deleting and removing fail with one result and leave the store as it was.
  void ExpectNothingCanBeWritten(HRESULT expected) {
    const LONG oid = stored_;
    ComPtr<IContact> created = NewContact({{&IContact::put_LastName, u"Ray"}});
    EXPECT_EQ(created->Save(), expected);
    EXPECT_EQ(Oid(*created), 0);
    EXPECT_EQ(Get(*created, &IContact::get_FileAs), u"");

    ComPtr<IContact> changed = Load(oid);
    EXPECT_EQ(Put(*changed, &IContact::put_LastName, u"Ray"), S_OK);
    EXPECT_EQ(changed->Save(), expected);
    EXPECT_EQ(changed->Delete(), expected);
    ComPtr<IPOutlookItemCollection> items = Items();
    EXPECT_EQ(items->Remove(1), expected);
    EXPECT_EQ(CountOf(*items), 1);

    EXPECT_EQ(Count(), 1);
    EXPECT_EQ(Get(*Load(oid), &IContact::get_LastName), u"Lee");
    EXPECT_EQ(Get(*Load(oid), &IContact::get_FileAs), u"Lee");
  }

  void SaveLee() { stored_ = SaveContact({{&IContact::put_LastName, u"Lee"}}); }

  void ExpectThatASaveWorks() {
    EXPECT_GT(SaveContact(), stored_);
    EXPECT_EQ(Count(), 2);
  }

  LONG stored_ = 0;
};

// What a statement changes stays in memory until the commit.
TEST_F(PimFaults, ASaveWhoseCommitFailsHasSavedNothing) {
  SaveLee();
  ComPtr<IContact> created = NewContact({{&IContact::put_LastName, u"Ray"}});
  {
    const support::FullDisk full(std::filesystem::file_size(device::Folder() + "/device.db-wal"));
    EXPECT_TRUE(FAILED(created->Save()));
    EXPECT_EQ(Oid(*created), 0);
  }
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(created->Save(), S_OK);
  EXPECT_EQ(Count(), 2);
}

TEST_F(PimFaults, AReadOnlyDatabaseRefusesEveryChange) {
  SaveLee();
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA query_only=ON"), SQLITE_OK);
  ExpectNothingCanBeWritten(E_ACCESSDENIED);
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA query_only=OFF"), SQLITE_OK);
  ExpectThatASaveWorks();
}

TEST_F(PimFaults, AFullDiskRefusesALargeContactAndKeepsTheOldOne) {
  SaveLee();
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA max_page_count=1"), SQLITE_OK);  // no page more
  const std::u16string note(1000000, u'n');
  ComPtr<IContact> created = NewContact({{&IContact::put_Body, note}});
  EXPECT_EQ(created->Save(), kDiskFull);
  EXPECT_EQ(Oid(*created), 0);
  ComPtr<IContact> changed = Load(stored_);
  EXPECT_EQ(Put(*changed, &IContact::put_Body, note), S_OK);
  EXPECT_EQ(changed->Save(), kDiskFull);
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Get(*Load(stored_), &IContact::get_Body), u"");

  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA max_page_count=1000000"), SQLITE_OK);
  EXPECT_EQ(changed->Save(), S_OK);
  EXPECT_EQ(created->Save(), S_OK);
  EXPECT_TRUE(Get(*Load(stored_), &IContact::get_Body) == note);
}

TEST_F(PimFaults, ADatabaseThatAnotherProgramKeepsLockedRefusesEveryChange) {
  SaveLee();
  const std::string path = device_.folder() + "/device.db";
  {
    OtherProcess other([&path](int place) {
      sqlite3* database = nullptr;
      if (sqlite3_open(path.c_str(), &database) != SQLITE_OK) _exit(1);
      Tell(place, sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
      pause();
    });
    ASSERT_EQ(other.Read(), SQLITE_OK);
    sqlite3_busy_timeout(device::OpenDatabase()->handle(), 50);  // milliseconds
    ExpectNothingCanBeWritten(kSharingViolation);
  }
  ExpectThatASaveWorks();
}

TEST_F(PimFaults, ASaveWaitsForAnotherProgramThatWrites) {
  SaveLee();
  const std::string path = device_.folder() + "/device.db";
  OtherProcess other([&path](int place) {
    sqlite3* database = nullptr;
    if (sqlite3_open(path.c_str(), &database) != SQLITE_OK) _exit(1);
    Tell(place, sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    usleep(300000);
    sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
  });
  ASSERT_EQ(other.Read(), SQLITE_OK);
  ExpectThatASaveWorks();
}

TEST_F(PimFaults, AKilledProgramLosesNothingThatWasSaved) {
  LONG first = -1;
  LONG second = -1;
  {
    OtherProcess other([](int place) {
      Tell(place, SaveAlone(u"Lee"));
      Tell(place, SaveAlone(u"Ray"));
      kill(getpid(), SIGKILL);
    });
    first = other.Read();
    second = other.Read();
    ASSERT_EQ(other.Read(), -1) << "killed";
  }
  ASSERT_GT(first, 0);
  ASSERT_GT(second, first);
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(Get(*Load(first), &IContact::get_LastName), u"Lee");
  EXPECT_EQ(Get(*Load(second), &IContact::get_LastName), u"Ray");
}

TEST_F(PimFaults, AProgramKilledWithinASaveLeavesTheStoreAsItWas) {
  {
    OtherProcess other([](int place) {
      Tell(place, SaveAlone(u"Lee"));
      const auto database = device::OpenDatabase();
      int32_t oid = 0;
      const device::Transaction transaction(*database);
      Tell(place, device::AddObject(*database, olFolderContacts, &oid));
      kill(getpid(), SIGKILL);
    });
    ASSERT_GT(other.Read(), 0);
    ASSERT_EQ(other.Read(), S_OK);
    ASSERT_EQ(other.Read(), -1) << "killed";
  }
  EXPECT_EQ(Count(), 1);
}

TEST_F(PimFaults, NoIdIsEverGivenAgain) {
  std::set<LONG> seen;
  LONG highest = 0;
  for (int i = 0; i < 1000; ++i) {
    ComPtr<IContact> contact = NewContact();
    ASSERT_EQ(contact->Save(), S_OK);
    const LONG oid = Oid(*contact);
    EXPECT_GT(oid, highest);
    EXPECT_TRUE(seen.insert(oid).second);
    highest = oid;
    ASSERT_EQ(contact->Delete(), S_OK);
  }
  EXPECT_EQ(Count(), 0);
  Restart();
  EXPECT_GT(SaveContact(), highest) << "nor by a program that starts later";
}

TEST_F(PimFaults, NoIdOfAnotherProgramIsGivenAgain) {
  LONG theirs = -1;
  {
    OtherProcess other([](int place) {
      const LONG oid = SaveAlone(u"Lee");
      Tell(place, oid);
      Tell(place, device::DeleteObject(*device::OpenDatabase(), oid));
    });
    theirs = other.Read();
    ASSERT_EQ(other.Read(), S_OK);
  }
  ASSERT_GT(theirs, 0);
  EXPECT_EQ(Count(), 0);
  EXPECT_GT(SaveContact(), theirs);
}

TEST_F(PimFaults, RefusesANewContactOnceTheIdsAreUsedUp) {
  SaveLee();
  ASSERT_EQ(device::OpenDatabase()->Execute(
                "UPDATE sqlite_sequence SET seq = 2147483646 WHERE name = 'pim_objects'"),
            SQLITE_OK);
  EXPECT_EQ(SaveContact(), 2147483647);
  ComPtr<IContact> contact = NewContact();
  EXPECT_TRUE(FAILED(contact->Save()));
  EXPECT_EQ(Oid(*contact), 0);
  EXPECT_EQ(Count(), 2);
}

TEST_F(PimFaults, AnItemOfAnUnknownFolderIsNoItem) {
  application();
  int32_t oid = 0;
  ASSERT_EQ(device::AddObject(*device::OpenDatabase(), 77, &oid), S_OK);
  IDispatch* item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(application().GetItemFromOid(oid, &item), kNotFound);
  EXPECT_EQ(item, nullptr);
}

// ---- Series -------------------------------------------------------------------------------------

// In another process: a daily series of 1 May 2026 with a recipient; null when that fails.
IAppointment* SaveSeriesAlone() {
  void* application = nullptr;
  if (device::CreatePimApplication(IID_IPOutlookApp, &application) != S_OK) return nullptr;
  auto* app = static_cast<IPOutlookApp*>(application);
  IDispatch* item = nullptr;
  if (app->Logon(0) != S_OK || app->CreateItem(olAppointmentItem, &item) != S_OK) return nullptr;
  auto* series = static_cast<IAppointment*>(item);
  series->put_Start(Time(2026, 5, 1, 9, 30));
  ComPtr<IRecipients> recipients;
  ComPtr<IRecipient> recipient;
  series->get_Recipients(recipients.put());
  recipients->Add(Bstr(u"Ann").get(), recipient.put());
  ComPtr<IRecurrencePattern> pattern;
  series->GetRecurrencePattern(pattern.put());
  pattern->put_RecurrenceType(olRecursDaily);
  return series->Save() == S_OK ? series : nullptr;
}

HRESULT DeleteOccurrence(IAppointment& series, DATE day) {
  ComPtr<IRecurrencePattern> pattern;
  ComPtr<IAppointment> occurrence;
  series.GetRecurrencePattern(pattern.put());
  const HRESULT hr = pattern->GetOccurrence(day, occurrence.put());
  return FAILED(hr) ? hr : occurrence->Delete();
}

class PimSeriesFaults : public PimCalendarTest {
 protected:
  int ExceptionsOf(LONG oid) {
    ComPtr<IRecurrencePattern> pattern = PatternOf(*Load<IAppointment>(oid));
    return Read(*ObjectOf(*pattern, &IRecurrencePattern::get_Exceptions), &IExceptions::get_Count);
  }
  int RecipientsOf(LONG oid) {
    return Read(*ObjectOf(*Load<IAppointment>(oid), &IAppointment::get_Recipients),
                &IRecipients::get_Count);
  }

  LONG SaveSeries() {
    ComPtr<IAppointment> series = NewAppointment(Time(2026, 5, 1, 9, 30), Time(2026, 5, 1, 10, 0));
    EXPECT_EQ(PatternOf(*series)->put_RecurrenceType(olRecursDaily), S_OK);
    EXPECT_EQ(series->Save(), S_OK);
    EXPECT_EQ(DeleteOccurrence(*series, Day(2026, 5, 2)), S_OK);
    return Oid(*series);
  }

  // Everything that writes fails with one result and leaves the series as it was.
  void ExpectNothingCanBeWritten(LONG oid, HRESULT expected) {
    ComPtr<IAppointment> series = Load<IAppointment>(oid);
    ComPtr<IAppointment> occurrence;
    ASSERT_EQ(PatternOf(*series)->GetOccurrence(Day(2026, 5, 3), occurrence.put()), S_OK);
    EXPECT_EQ(occurrence->Delete(), expected);
    EXPECT_EQ(Put(*occurrence, &IAppointment::put_Subject, u"Run"), S_OK);
    EXPECT_EQ(occurrence->Save(), expected);
    ComPtr<IRecipient> recipient;
    EXPECT_EQ(
        ObjectOf(*series, &IAppointment::get_Recipients)->Add(Bstr(u"Ann").get(), recipient.put()),
        S_OK);
    EXPECT_EQ(series->ClearRecurrencePattern(), S_OK);
    EXPECT_EQ(series->Save(), expected);
    ComPtr<IAppointment> created = NewAppointment();
    EXPECT_EQ(PatternOf(*created)->put_RecurrenceType(olRecursDaily), S_OK);
    EXPECT_EQ(created->Save(), expected);
    EXPECT_EQ(Oid(*created), 0);
    ComPtr<ITask> task = NewTask();
    EXPECT_EQ(task->Save(), expected);
    EXPECT_EQ(Oid(*task), 0);

    EXPECT_EQ(Count(olFolderCalendar), 1);
    EXPECT_EQ(Count(olFolderTasks), 0);
    EXPECT_EQ(ExceptionsOf(oid), 1);
    EXPECT_EQ(RecipientsOf(oid), 0);
    EXPECT_EQ(Read(*Load<IAppointment>(oid), &IAppointment::get_IsRecurring), VARIANT_TRUE);
  }
};

TEST_F(PimSeriesFaults, AReadOnlyDatabaseRefusesEveryChange) {
  const LONG oid = SaveSeries();
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA query_only=ON"), SQLITE_OK);
  ExpectNothingCanBeWritten(oid, E_ACCESSDENIED);
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA query_only=OFF"), SQLITE_OK);
  EXPECT_EQ(DeleteOccurrence(*Load<IAppointment>(oid), Day(2026, 5, 3)), S_OK);
}

TEST_F(PimSeriesFaults, ADatabaseThatAnotherProgramKeepsLockedRefusesEveryChange) {
  const LONG oid = SaveSeries();
  const std::string path = device_.folder() + "/device.db";
  {
    OtherProcess other([&path](int place) {
      sqlite3* database = nullptr;
      if (sqlite3_open(path.c_str(), &database) != SQLITE_OK) _exit(1);
      Tell(place, sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
      pause();
    });
    ASSERT_EQ(other.Read(), SQLITE_OK);
    sqlite3_busy_timeout(device::OpenDatabase()->handle(), 50);  // milliseconds
    ExpectNothingCanBeWritten(oid, kSharingViolation);
  }
  EXPECT_EQ(DeleteOccurrence(*Load<IAppointment>(oid), Day(2026, 5, 3)), S_OK);
}

// A trigger lets a table refuse what is written after the item's own row.
struct Refusal {
  const char* name;
  const char* event;
};

class PimHalfSaved : public PimSeriesFaults, public testing::WithParamInterface<Refusal> {};

INSTANTIATE_TEST_SUITE_P(At, PimHalfSaved,
                         testing::Values(Refusal{"TheRecipients", "INSERT ON pim_recipients"},
                                         Refusal{"ThePattern", "INSERT ON pim_patterns"},
                                         Refusal{"TheExceptions", "DELETE ON pim_exceptions"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(PimHalfSaved, LeavesTheWholeSeriesAsItWas) {
  const LONG oid = SaveSeries();
  const std::string trigger = "CREATE TEMP TRIGGER refusal BEFORE " +
                              std::string(GetParam().event) +
                              " BEGIN SELECT RAISE(ABORT, 'refused'); END";
  ASSERT_EQ(device::OpenDatabase()->Execute(trigger.c_str()), SQLITE_OK);
  ComPtr<IAppointment> series = Load<IAppointment>(oid);
  EXPECT_EQ(Put(*series, &IAppointment::put_Subject, u"Run"), S_OK);
  ComPtr<IRecipient> recipient;
  EXPECT_EQ(
      ObjectOf(*series, &IAppointment::get_Recipients)->Add(Bstr(u"Ann").get(), recipient.put()),
      S_OK);
  EXPECT_EQ(PatternOf(*series)->put_Interval(2), S_OK);
  EXPECT_EQ(series->Save(), E_FAIL);
  ComPtr<IAppointment> stored = Load<IAppointment>(oid);
  EXPECT_EQ(Get(*stored, &IAppointment::get_Subject), u"");
  EXPECT_EQ(Read(*PatternOf(*stored), &IRecurrencePattern::get_Interval), 1);
  EXPECT_EQ(RecipientsOf(oid), 0);
  EXPECT_EQ(ExceptionsOf(oid), 1);

  ASSERT_EQ(device::OpenDatabase()->Execute("DROP TRIGGER refusal"), SQLITE_OK);
  EXPECT_EQ(series->Save(), S_OK) << "what the item held is still there to be saved";
  EXPECT_EQ(RecipientsOf(oid), 1);
  EXPECT_EQ(ExceptionsOf(oid), 0);
}

TEST_F(PimSeriesFaults, AKilledProgramLosesNothingThatWasSaved) {
  LONG oid = -1;
  {
    OtherProcess other([](int place) {
      IAppointment* series = SaveSeriesAlone();
      LONG number = -1;
      if (series == nullptr) return;
      series->get_Oid(&number);
      Tell(place, number);
      Tell(place, DeleteOccurrence(*series, Day(2026, 5, 3)));
      kill(getpid(), SIGKILL);
    });
    oid = other.Read();
    ASSERT_EQ(other.Read(), S_OK);
    ASSERT_EQ(other.Read(), -1) << "killed";
  }
  ASSERT_GT(oid, 0);
  EXPECT_EQ(ExceptionsOf(oid), 1);
  EXPECT_EQ(RecipientsOf(oid), 1);
  EXPECT_EQ(Read(*Load<IAppointment>(oid), &IAppointment::get_Start), Time(2026, 5, 1, 9, 30));
}

TEST_F(PimSeriesFaults, AProgramKilledWhileItSavesLeavesTheSeriesWholeOrNotAtAll) {
  for (useconds_t delay : {0u, 200u, 400u, 800u, 1600u, 3200u}) {
    {
      OtherProcess other([](int place) {
        Tell(place, 1);
        while (SaveSeriesAlone() != nullptr) {
        }
      });
      ASSERT_EQ(other.Read(), 1);
      usleep(20000 + delay);
    }  // killed here
    application();
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_appointments"), Count(olFolderCalendar));
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_patterns"), Count(olFolderCalendar));
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM pim_recipients"), Count(olFolderCalendar));
  }
  EXPECT_GT(Count(olFolderCalendar), 0);
}

}  // namespace
}  // namespace pim_faults_test
