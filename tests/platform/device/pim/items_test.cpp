#include "platform/device/pim/items.h"

#include <sqlite3.h>

#include "platform/device/database.h"
#include "tests/platform/device/pim/calendar_fixture.h"

namespace items_test {
namespace {

using namespace pim_test;

class PimItems : public PimTest {
 protected:
  // The ids by index, 0 for an item that cannot be had.
  std::vector<LONG> Oids(IPOutlookItemCollection& items) {
    std::vector<LONG> oids;
    for (int index = 1; index <= CountOf(items); ++index) {
      IDispatch* item = nullptr;
      const bool is_there = items.Item(index, &item) == S_OK;
      oids.push_back(is_there ? Oid(*AsContact(item)) : 0);
    }
    return oids;
  }
};

TEST_F(PimItems, AreInTheOrderOfTheirIds) {
  const LONG first = SaveContact({{&IContact::put_LastName, u"Z"}});
  const LONG second = SaveContact({{&IContact::put_LastName, u"A"}});
  const LONG third = SaveContact({{&IContact::put_LastName, u"M"}});
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_EQ(Oids(*Items()), (std::vector<LONG>{first, second, third}));
}

// Programs see ids as signed 32-bit numbers.
TEST_F(PimItems, HaveIdsOf31BitsAndNoneBeyond) {
  SaveContact({});
  ASSERT_EQ(device::OpenDatabase()->Execute(
                "UPDATE sqlite_sequence SET seq = 2147483646 WHERE name = 'pim_objects'"),
            SQLITE_OK);
  EXPECT_EQ(SaveContact({}), 2147483647);
  EXPECT_TRUE(FAILED(NewContact()->Save()));
  EXPECT_EQ(CountOf(*Items()), 2);
}

TEST_F(PimItems, GiveTheContactItself) {
  SaveContact({{&IContact::put_LastName, u"Lee"}});
  IDispatch* item = nullptr;
  ASSERT_EQ(Items()->Item(1, &item), S_OK);
  ComPtr<IContact> contact = AsContact(item);
  ComPtr<IContact> asked;
  EXPECT_EQ(item->QueryInterface(IID_IContact, asked.put_void()), S_OK);
  EXPECT_EQ(asked.get(), contact.get());
  EXPECT_EQ(Get(*contact, &IContact::get_LastName), u"Lee");
}

TEST_F(PimItems, AreCountedFromOne) {
  SaveContact();
  ComPtr<IPOutlookItemCollection> items = Items();
  for (int index : {0, 2, -1, 0x7FFFFFFF, static_cast<int>(0x80000000)}) {
    IDispatch* item = reinterpret_cast<IDispatch*>(1);
    EXPECT_EQ(items->Item(index, &item), E_INVALIDARG) << index;
    EXPECT_EQ(item, nullptr);
    EXPECT_EQ(items->Remove(index), E_INVALIDARG) << index;
  }
  EXPECT_EQ(Count(), 1);
}

TEST_F(PimItems, AreThoseOfTheTimeWhenTheyWereFirstCounted) {
  const LONG first = SaveContact();
  const LONG second = SaveContact();
  ComPtr<IPOutlookItemCollection> items = Items();
  EXPECT_EQ(CountOf(*items), 2);
  const LONG third = SaveContact();
  EXPECT_EQ(Load(first)->Delete(), S_OK);
  EXPECT_EQ(Oids(*items), (std::vector<LONG>{0, second}));
  EXPECT_EQ(Oids(*Items()), (std::vector<LONG>{second, third}));
}

TEST_F(PimItems, HoldNoneThatCameAfterTheCollection) {
  const LONG first = SaveContact();
  ComPtr<IPOutlookItemCollection> items = Items();
  SaveContact();
  EXPECT_EQ(Oids(*items), (std::vector<LONG>{first}));
}

TEST_F(PimItems, FailForAnItemThatIsGone) {
  const LONG oid = SaveContact();
  ComPtr<IPOutlookItemCollection> items = Items();
  EXPECT_EQ(CountOf(*items), 1);
  EXPECT_EQ(Load(oid)->Delete(), S_OK);
  IDispatch* item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(items->Item(1, &item), kNotFound);
  EXPECT_EQ(item, nullptr);
  EXPECT_EQ(items->Remove(1), kNotFound);
  EXPECT_EQ(CountOf(*items), 1);
}

TEST_F(PimItems, AreRemovedFromTheStoreAndTheRestMovesUp) {
  const LONG first = SaveContact();
  const LONG second = SaveContact();
  const LONG third = SaveContact();
  ComPtr<IPOutlookItemCollection> items = Items();
  EXPECT_EQ(items->Remove(2), S_OK);
  EXPECT_EQ(Oids(*items), (std::vector<LONG>{first, third}));
  EXPECT_FALSE(Load(second));
  EXPECT_EQ(items->Remove(1), S_OK);
  EXPECT_EQ(items->Remove(1), S_OK);
  EXPECT_EQ(items->Remove(1), E_INVALIDARG);
  EXPECT_EQ(Count(), 0);
}

TEST_F(PimItems, AddGivesAnUnsavedContact) {
  ComPtr<IPOutlookItemCollection> items = Items();
  IDispatch* item = nullptr;
  ASSERT_EQ(items->Add(&item), S_OK);
  ComPtr<IContact> contact = AsContact(item);
  EXPECT_EQ(Oid(*contact), 0);
  EXPECT_EQ(CountOf(*items), 0);
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_EQ(CountOf(*items), 0);
  EXPECT_EQ(Count(), 1);
}

TEST_F(PimItems, RefuseToAnswerIntoNothing) {
  ComPtr<IPOutlookItemCollection> items = Items();
  EXPECT_EQ(items->Add(nullptr), E_INVALIDARG);
  EXPECT_EQ(items->get_Count(nullptr), E_INVALIDARG);
  EXPECT_EQ(items->Item(1, nullptr), E_INVALIDARG);
  EXPECT_EQ(items->Find(Bstr(u"[Oid]=1").get(), nullptr), E_INVALIDARG);
  EXPECT_EQ(items->FindNext(nullptr), E_INVALIDARG);
  EXPECT_EQ(items->get_IncludeRecurrences(nullptr), E_INVALIDARG);
  EXPECT_EQ(items->get_Application(nullptr), E_INVALIDARG);
}

TEST_F(PimItems, SayWhatTheyDoNotOffer) {
  ComPtr<IPOutlookItemCollection> items = Items();
  IPOutlookItemCollection* restricted = items.get();
  EXPECT_EQ(items->Restrict(Bstr(u"[Oid]=1").get(), &restricted), E_NOTIMPL);
  EXPECT_EQ(restricted, nullptr);
  EXPECT_EQ(items->Sort(Bstr(u"[LastName]").get(), VARIANT_FALSE), E_NOTIMPL);
  IUnknown* enumerator = items.get();
  EXPECT_EQ(items->get__NewEnum(&enumerator), E_NOTIMPL);
  EXPECT_EQ(enumerator, nullptr);
  EXPECT_EQ(items->put_IncludeRecurrences(VARIANT_TRUE), E_NOTIMPL);
  EXPECT_EQ(items->put_IncludeRecurrences(VARIANT_FALSE), S_OK);
  VARIANT_BOOL include = VARIANT_TRUE;
  EXPECT_EQ(items->get_IncludeRecurrences(&include), S_OK);
  EXPECT_EQ(include, VARIANT_FALSE);
}

TEST_F(PimItems, AreReadOneByOneFromALargeStore) {
  constexpr int kCount = 100000;
  application();
  ASSERT_EQ(
      device::OpenDatabase()->Execute(
          "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n WHERE i < 100000)"
          "INSERT INTO pim_objects(oid, folder) SELECT i, 10 FROM n;"
          "INSERT INTO pim_contacts(oid, last_name) SELECT oid, 'Lee' || oid FROM pim_objects;"),
      SQLITE_OK);
  ComPtr<IPOutlookItemCollection> items = Items();
  ASSERT_EQ(CountOf(*items), kCount);
  for (int index : {1, 50000, kCount}) {
    IDispatch* item = nullptr;
    ASSERT_EQ(items->Item(index, &item), S_OK);
    EXPECT_EQ(Oid(*AsContact(item)), index);
  }
  EXPECT_EQ(FindAll(*items, u"[LastName]=\"Lee77777\""), std::vector<LONG>{77777});
}

// ---- Appointments and tasks ---------------------------------------------------------------------

class PimCalendarItems : public PimCalendarTest {
 protected:
  LONG SaveAppointment(std::u16string_view subject) {
    ComPtr<IAppointment> appointment = this->NewAppointment();
    EXPECT_EQ(Put(*appointment, &IAppointment::put_Subject, subject), S_OK);
    EXPECT_EQ(appointment->Save(), S_OK);
    return Oid(*appointment);
  }
  LONG SaveAppointment(std::u16string_view subject, DATE start) {
    ComPtr<IAppointment> appointment = NewAppointment(start, start);
    EXPECT_EQ(Put(*appointment, &IAppointment::put_Subject, subject), S_OK);
    EXPECT_EQ(appointment->Save(), S_OK);
    return Oid(*appointment);
  }
  LONG SaveTask(std::u16string_view subject, LONG importance = olImportanceNormal) {
    ComPtr<ITask> task = NewTask();
    EXPECT_EQ(Put(*task, &ITask::put_Subject, subject), S_OK);
    EXPECT_EQ(task->put_Importance(importance), S_OK);
    EXPECT_EQ(task->Save(), S_OK);
    return Oid(*task);
  }
  std::vector<LONG> FindTasks(std::u16string_view restriction) {
    return FindAll<ITask>(*Items(olFolderTasks), restriction);
  }
};

using Oids = std::vector<LONG>;

TEST_F(PimCalendarItems, AreThoseOfTheirFolder) {
  const LONG first = SaveAppointment(u"Walk");
  const LONG task = SaveTask(u"Sweep");
  const LONG second = SaveAppointment(u"Talk");
  ComPtr<IPOutlookItemCollection> calendar = Items(olFolderCalendar);
  ASSERT_EQ(CountOf(*calendar), 2);
  IDispatch* item = nullptr;
  ASSERT_EQ(calendar->Item(1, &item), S_OK);
  EXPECT_EQ(Oid(*As<IAppointment>(item)), first);
  ASSERT_EQ(calendar->Item(2, &item), S_OK);
  EXPECT_EQ(Oid(*As<IAppointment>(item)), second);
  ComPtr<IPOutlookItemCollection> tasks = Items(olFolderTasks);
  ASSERT_EQ(CountOf(*tasks), 1);
  ASSERT_EQ(tasks->Item(1, &item), S_OK);
  EXPECT_EQ(Oid(*As<ITask>(item)), task);
}

TEST_F(PimCalendarItems, AreAddedAndRemovedInTheirFolder) {
  ComPtr<IPOutlookItemCollection> tasks = Items(olFolderTasks);
  IDispatch* item = nullptr;
  ASSERT_EQ(tasks->Add(&item), S_OK);
  ComPtr<ITask> task = As<ITask>(item);
  EXPECT_EQ(task->Save(), S_OK);
  EXPECT_EQ(Items(olFolderTasks)->Remove(1), S_OK);
  EXPECT_EQ(Count(olFolderTasks), 0);
  ASSERT_EQ(Items(olFolderCalendar)->Add(&item), S_OK);
  EXPECT_EQ(As<IAppointment>(item)->Save(), S_OK);
  EXPECT_EQ(Items(olFolderCalendar)->Remove(1), S_OK);
  EXPECT_EQ(Count(olFolderCalendar), 0);
}

TEST_F(PimCalendarItems, AreFoundByTheirSubject) {
  const LONG walk = SaveAppointment(u"Walk");
  SaveAppointment(u"Talk");
  const LONG again = SaveAppointment(u"WALK");
  SaveTask(u"Walk");
  EXPECT_EQ(FindAll<IAppointment>(*Items(olFolderCalendar), u"[Subject]=\"walk\""),
            (Oids{walk, again}));
}

TEST_F(PimCalendarItems, AreFoundByTheirNumbers) {
  SaveTask(u"Sweep");
  const LONG urgent = SaveTask(u"Pay", olImportanceHigh);
  EXPECT_EQ(FindTasks(u"[Importance] = 2"), Oids{urgent});
  EXPECT_EQ(FindTasks(u"[Importance] = \"2\" AND [Subject] = \"Pay\""), Oids{urgent});
  EXPECT_EQ(FindTasks(u"[Importance] > 2"), Oids{});
}

TEST_F(PimCalendarItems, AreNotFoundByFlags) {
  IDispatch* item = nullptr;
  for (const char16_t* restriction :
       {u"[Complete] = 1", u"[Importance] = \"high\"", u"[LastName] = \"Lee\""}) {
    EXPECT_EQ(Items(olFolderTasks)->Find(Bstr(restriction).get(), &item), E_INVALIDARG);
  }
}

TEST_F(PimCalendarItems, AreFoundByTheirDatesToTheSecond) {
  const LONG before = SaveAppointment(u"a", Time(1899, 12, 29, 6, 0));
  const LONG day = SaveAppointment(u"b", Day(1961, 5, 10));
  const LONG evening = SaveAppointment(u"c", Time(1961, 5, 10, 20, 30));
  const LONG later = SaveAppointment(u"d", Time(1961, 5, 10, 20, 30, 15));
  const auto find = [this](std::u16string_view restriction) {
    return FindAll<IAppointment>(*Items(olFolderCalendar), restriction);
  };
  EXPECT_EQ(find(u"[Start] = \"12/29/1899 06:00\""), Oids{before});
  EXPECT_EQ(find(u"[Start] = \"05/10/1961\""), Oids{day});
  EXPECT_EQ(find(u"[Start] = \"05/10/1961 00:00:00\""), Oids{day});
  EXPECT_EQ(find(u"[Start] = \"05/10/1961 20:30\""), Oids{evening});
  EXPECT_EQ(find(u"[Start] = \"05/10/1961 20:30:15\""), Oids{later});
  EXPECT_EQ(find(u"[Start] <> \"05/10/1961 20:30:15\""), (Oids{before, day, evening}));
  EXPECT_EQ(find(u"[Start] < \"05/10/1961 20:30\""), (Oids{before, day}));
  EXPECT_EQ(find(u"[Start] >= \"05/10/1961 20:30\" AND [Subject] = \"D\""), Oids{later});
  EXPECT_EQ(find(u"[Start] > \"12/31/9999 23:59:59\""), Oids{});
}

TEST_F(PimCalendarItems, AreFoundByEverySecondOfADay) {
  const auto items = [this] { return Items(olFolderCalendar); };
  for (int second = 0; second < 86400; second += 617) {
    for (const int day : {-1, 0, 38717}) {
      const DATE time = second / 86400.0;
      const LONG oid = SaveAppointment(u"x", day < 0 ? day - time : day + time);
      char text[64];
      std::snprintf(text, sizeof text, "[Start] = \"%s %02d:%02d:%02d\"",
                    day == -1  ? "12/29/1899"
                    : day == 0 ? "12/30/1899"
                               : "12/31/2005",
                    second / 3600, second / 60 % 60, second % 60);
      const std::string_view restriction(text);
      EXPECT_EQ(
          FindAll<IAppointment>(*items(), std::u16string(restriction.begin(), restriction.end())),
          Oids{oid})
          << restriction;
    }
  }
}

TEST_F(PimCalendarItems, HaveDatesOfTheStoresOwnFormOnly) {
  SaveTask(u"Pay");
  IDispatch* item = nullptr;
  for (const char16_t* date : {u"\"2026-05-01\"",
                               u"1",
                               u"\"\"",
                               u"\"5/1/2026\"",
                               u"\"05/01/26\"",
                               u"\"05-01-2026\"",
                               u"\"05/01/2026 \"",
                               u"\"05/01/2026 9:00\"",
                               u"\"05/01/2026 09\"",
                               u"\"05/01/2026 09:\"",
                               u"\"05/01/2026 09:00:\"",
                               u"\"05/01/2026 09:00:00x\"",
                               u"\"05/01/2026T09:00\"",
                               u"\"05/01/2026 24:00\"",
                               u"\"05/01/2026 23:60\"",
                               u"\"05/01/2026 23:59:60\"",
                               u"\"05/01/2026 -1:00\"",
                               u"\"13/01/2026\"",
                               u"\"00/01/2026\"",
                               u"\"02/29/2026\"",
                               u"\"05/00/2026\"",
                               u"\"05/32/2026\"",
                               u"\"12/31/0099\"",
                               u"\"05/01/-026\"",
                               u"\"05/01/20260\""}) {
    const std::u16string restriction = std::u16string(u"[StartDate] = ").append(date);
    EXPECT_EQ(Items(olFolderTasks)->Find(Bstr(restriction).get(), &item), E_INVALIDARG)
        << std::string(restriction.begin(), restriction.end());
  }
  EXPECT_EQ(FindTasks(u"[StartDate] = \"01/01/0100\""), Oids{}) << "the first day that there is";
  EXPECT_EQ(FindTasks(u"[StartDate] = \"02/29/2028 23:59:59\""), Oids{});
}

std::string PlanOf(const char* table, const char* condition) {
  auto plan = device::OpenDatabase()->Prepare(std::string("EXPLAIN QUERY PLAN SELECT oid FROM ")
                                                  .append(table)
                                                  .append(" WHERE ")
                                                  .append(condition));
  return plan.Step() == SQLITE_ROW ? std::string(plan.Bytes(3)) : std::string();
}

TEST_F(PimCalendarItems, AreFoundByAnIndexOfTheStartWithTheSubjectOrTheBody) {
  application();
  EXPECT_NE(PlanOf("pim_appointments", "(start_date = ? AND subject = ?)")
                .find("(subject=? AND start_date=?)"),
            std::string::npos);
  EXPECT_NE(
      PlanOf("pim_appointments", "(start_date = ? AND body = ?)").find("(start_date=? AND body=?)"),
      std::string::npos);
  EXPECT_NE(PlanOf("pim_appointments", "start_date = ?").find("(start_date=?)"), std::string::npos);
}

TEST_F(PimCalendarItems, AreFoundByAnIndexOfTheSubject) {
  application();
  for (const char* table : {"pim_appointments", "pim_tasks"}) {
    const std::string plan = PlanOf(table, "subject = ?");
    EXPECT_NE(plan.find(std::string(table) + "_by_subject"), std::string::npos) << plan;
  }
}

TEST_F(PimCalendarItems, ShowASeriesOnce) {
  ComPtr<IAppointment> series = NewAppointment(Time(2026, 5, 1, 9, 30), Time(2026, 5, 1, 10, 0));
  EXPECT_EQ(PatternOf(*series)->put_RecurrenceType(olRecursDaily), S_OK);
  EXPECT_EQ(series->Save(), S_OK);
  EXPECT_EQ(Count(olFolderCalendar), 1);
}

}  // namespace
}  // namespace items_test
