// The calendar's side of the store: counting, walking, finding, adding, changing and deleting appointments
// and tasks, and their change log.
#include <sqlite3.h>

#include <filesystem>
#include <functional>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_dispatch.h"
#include "tests/BtOsif_pol/calendar_fixture.h"
#include "tests/support/change_logs.h"

namespace pol_calendar_store_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

int Code(OsifResult result) { return static_cast<int>(result); }

class CalendarStore : public CalendarTest {
 protected:
  std::string Add(CalendarRecord&& record) {
    char id[OSIF_ID_SIZE] = "before";
    EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, record.get(), id, nullptr)), OSIF_OK);
    return id;
  }
  std::string AddEvent(const std::string& summary, const std::string& start = "20060501T090000") {
    return Add(EventRecord({"SUMMARY:" + summary, "DTSTART:" + start, "DTEND:" + start}));
  }
  std::string AddTodo(const std::string& summary) {
    return Add(TodoRecord({"SUMMARY:" + summary}));
  }

  int Modify(const std::string& id, CalendarRecord&& record) {
    return Code(POL_ModifyObject(OSIF_STORE_CAL, id.c_str(), record.get(), nullptr));
  }
  int Delete(const std::string& id) {
    return Code(POL_DeleteObject(OSIF_STORE_CAL, id.c_str(), nullptr));
  }

  // "" when it is not found.
  std::string Find(CalendarRecord&& record) {
    char id[OSIF_ID_SIZE] = "";
    const bool found = POL_FindObject(OSIF_STORE_CAL, record.get(), id) != 0;
    EXPECT_EQ(found, id[0] != 0);
    return id;
  }

  ReadItem Get(const std::string& id, int expected = OSIF_OK) {
    OwnedObject object(OSIF_STORE_CAL);
    EXPECT_EQ(Code(POL_GetObjectById(OSIF_STORE_CAL, id.c_str(), object.get())), expected);
    return ItemOf(*object);
  }

  uint32_t Count() {
    uint32_t count = 99;
    EXPECT_EQ(Code(POL_GetObjectCount(OSIF_STORE_CAL, &count)), OSIF_OK);
    return count;
  }

  std::vector<std::string> Walk() {
    std::vector<std::string> ids;
    char id[OSIF_ID_SIZE] = "";
    OsifResult result = POL_GetFirstId(OSIF_STORE_CAL, id);
    while (result == OSIF_OK) {
      ids.emplace_back(id);
      result = POL_GetNextId(OSIF_STORE_CAL, id);
    }
    EXPECT_EQ(Code(result), OSIF_ERR_END_OF_STORE);
    return ids;
  }

  template <typename Item>
  ComPtr<Item> Stored(const std::string& id) {
    IDispatch* item = nullptr;
    const LONG oid = static_cast<LONG>(std::strtoul(id.c_str(), nullptr, 16));
    EXPECT_EQ(pol_Application()->GetItemFromOid(oid, &item), S_OK) << id;
    return ComPtr<Item>(static_cast<Item*>(item));
  }
};

// ---- Adding, counting, walking ----------------------------------------------------------------------

TEST_F(CalendarStore, CountsAppointmentsAndTasksTogether) {
  EXPECT_EQ(Count(), 0u);
  for (const char* summary : {"a", "b", "c"}) AddEvent(summary);
  for (const char* summary : {"d", "e"}) AddTodo(summary);
  EXPECT_EQ(Count(), 5u);
}

TEST_F(CalendarStore, AddsAnEventAsAnAppointmentAndATodoAsATask) {
  const std::string event = AddEvent("Tea");
  const std::string todo = AddTodo("Pay");
  EXPECT_THAT(event, testing::MatchesRegex("[0-9a-f]{8}"));
  EXPECT_NE(event, todo);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  POL_AddObject()", "OSIF:  POL_AddObject()"));
  EXPECT_EQ(Get(event).kind, 1);
  EXPECT_EQ(Get(event).Only("summary"), "Tea");
  EXPECT_EQ(Get(event).luid, event);
  EXPECT_EQ(Get(todo).kind, 2);
  EXPECT_EQ(Get(todo).Only("summary"), "Pay");
}

TEST_F(CalendarStore, AddsARecordOfUnknownKindAsATask) {
  CalendarRecord record;
  record.calendar().summary = MakeValue({}, {"x"}).release();
  char id[OSIF_ID_SIZE] = "";
  EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, record.get(), id, nullptr)), OSIF_OK);
  EXPECT_EQ(Get(id).kind, 2);
}

TEST_F(CalendarStore, WalksTheAppointmentsAndThenTheTasks) {
  const std::string task1 = AddTodo("1");
  const std::string event1 = AddEvent("2");
  const std::string task2 = AddTodo("3");
  const std::string event2 = AddEvent("4");
  const std::string task3 = AddTodo("5");
  EXPECT_THAT(Walk(), ElementsAre(event1, event2, task1, task2, task3));
}

TEST_F(CalendarStore, WithoutAppointmentsTheWalkBeginsWithTheTasks) {
  const std::string task = AddTodo("1");
  EXPECT_THAT(Walk(), ElementsAre(task));
}

TEST_F(CalendarStore, WithoutTasksTheWalkEndsBehindTheAppointments) {
  const std::string event = AddEvent("1");
  EXPECT_THAT(Walk(), ElementsAre(event));
}

TEST_F(CalendarStore, WithNothingTheWalkEndsAtOnce) {
  EXPECT_THAT(Walk(), IsEmpty());
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  pol_GetFirstIdFromFolder(olFolderType=9)",
                                   "OSIF:  pol_GetFirstIdFromFolder(olFolderType=13)"));
}

TEST_F(CalendarStore, TellsTheFoldersOfAWalk) {
  AddEvent("1");
  AddTodo("2");
  Trace();
  EXPECT_THAT(Walk(), SizeIs(2));
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  pol_GetFirstIdFromFolder(olFolderType=9)",
                                   "OSIF:  pol_GetNextIdFromFolder(g_olFolderType=9)",
                                   "OSIF:  pol_GetFirstIdFromFolder(olFolderType=13)",
                                   "OSIF:  pol_GetNextIdFromFolder(g_olFolderType=13)"));
}

TEST_F(CalendarStore, WalksMoreThan500Items) {
  for (int i = 0; i < 510; ++i) AddEvent(std::to_string(i));
  EXPECT_EQ(Count(), 510u);
  EXPECT_THAT(Walk(), SizeIs(510));
}

// ---- Reading one ------------------------------------------------------------------------------------

TEST_F(CalendarStore, DoesNotGiveAnIdThatNoItemHas) {
  Get("00000fff", OSIF_ERR_NOT_FOUND);
  Get("xyz", OSIF_ERR_INVALID_ID);
}

TEST_F(CalendarStore, DoesNotGiveOrDeleteAContact) {
  IDispatch* item = nullptr;
  ASSERT_EQ(pol_Application()->CreateItem(olContactItem, &item), S_OK);
  ComPtr<IContact> contact(static_cast<IContact*>(item));
  ASSERT_EQ(contact->Save(), S_OK);
  char id[20];
  std::snprintf(id, sizeof id, "%08x",
                static_cast<unsigned>(NumberOf(*contact, &IContact::get_Oid)));
  Get(id, OSIF_ERR_NOT_FOUND);
  EXPECT_EQ(Delete(id), OSIF_ERR_NOT_FOUND);
  EXPECT_EQ(Stored<IContact>(id)->Save(), S_OK) << "it is still there";
}

// ---- Changing ---------------------------------------------------------------------------------------

TEST_F(CalendarStore, ModifiesWhatTheRecordHolds) {
  const std::string event = Add(EventRecord(
      {"SUMMARY:Tea", "LOCATION:Room", "DTSTART:20060501T090000", "DTEND:20060501T100000"}));
  const std::string todo = Add(TodoRecord({"SUMMARY:Pay", "DUE:20060501", "DESCRIPTION:d"}));
  Trace();
  EXPECT_EQ(Modify(event, EventRecord({"SUMMARY:Coffee"})), OSIF_OK);
  EXPECT_EQ(Modify(todo, TodoRecord({"DUE:20060601"})), OSIF_OK);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  POL_ModifyObject()", "OSIF:  POL_ModifyObject()"));
  EXPECT_EQ(Get(event).Only("summary"), "Coffee");
  EXPECT_EQ(Get(event).Only("location"), "Room");
  EXPECT_EQ(Get(event).Only("dtStart"), "20060501T090000Z");
  EXPECT_EQ(Get(todo).Only("summary"), "Pay");
  EXPECT_EQ(Get(todo).Only("due"), "20060601");
  EXPECT_EQ(Count(), 2u);
}

TEST_F(CalendarStore, ModifiesByAnIdInAnyHexadecimalForm) {
  const std::string event = AddEvent("Tea");
  const std::string brief = event.substr(event.find_first_not_of('0'));
  EXPECT_EQ(Modify(brief, EventRecord({"SUMMARY:Coffee"})), OSIF_OK);
  EXPECT_EQ(Get(event).Only("summary"), "Coffee");
}

TEST_F(CalendarStore, DoesNotModifyWhatIsNotThere) {
  EXPECT_EQ(Modify("00000fff", EventRecord({"SUMMARY:x"})), OSIF_ERR_NOT_FOUND);
  EXPECT_EQ(Modify("00000fff", TodoRecord({"SUMMARY:x"})), OSIF_ERR_NOT_FOUND);
  EXPECT_EQ(Modify("xyz", TodoRecord({"SUMMARY:x"})), OSIF_ERR_INVALID_ID);
}

TEST_F(CalendarStore, KeepsTheRecurrenceAndTheExceptionsOfAnEvent) {
  const std::string id = Add(
      EventRecord({"SUMMARY:s", "DTSTART:20060501T090000", "RRULE:D1 #5", "EXDATE:20060502T090000Z",
                   "ATTENDEE:Ann <a@x.org>", "DALARM:20060501T080000", "DTEND:20060501T100000"}));
  ReadItem item = Get(id);
  EXPECT_EQ(item.Only("rRule"), "D1 #5 20060505T000000Z");
  EXPECT_EQ(item.Only("exDate"), "20060502T090000Z");
  EXPECT_EQ(item.Only("attendee"), "Ann <a@x.org>");
  EXPECT_EQ(item.Only("dAlarm"), "20060501T080000Z");
  EXPECT_EQ(Count(), 1u) << "the exceptions are no items";
}

// ---- Deleting ---------------------------------------------------------------------------------------

TEST_F(CalendarStore, DeletesAppointmentsAndTasks) {
  const std::string event = AddEvent("Tea");
  const std::string todo = AddTodo("Pay");
  Trace();
  EXPECT_EQ(Delete(event), OSIF_OK);
  EXPECT_EQ(Count(), 1u);
  EXPECT_EQ(Delete(todo), OSIF_OK);
  EXPECT_EQ(Count(), 0u);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  POL_DeleteObject()", "OSIF:  POL_DeleteObject()"));
  EXPECT_EQ(Delete(event), OSIF_ERR_NOT_FOUND);
  Get(todo, OSIF_ERR_NOT_FOUND);
}

// ---- A store that refuses ---------------------------------------------------------------------------

class RefusingCalendar : public CalendarStore {
 protected:
  // From now on the database takes this kind of change of appointments and tasks no more.
  void Refuse(const std::string& change, const std::string& table) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(device_.Path("device.db").c_str(), &database), SQLITE_OK);
    const std::string trigger = "CREATE TRIGGER refuse_" + change + table + " BEFORE " + change +
                                " ON " + table + " BEGIN SELECT RAISE(ABORT, 'refused'); END";
    EXPECT_EQ(sqlite3_exec(database, trigger.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
  }
  void RefuseSaves() {
    for (const char* table : {"pim_appointments", "pim_tasks"}) {
      Refuse("INSERT", table);
      Refuse("UPDATE", table);
    }
  }
};

TEST_F(RefusingCalendar, FailsToModifyAndTellsTheKindAndTheCode) {
  const std::string event = AddEvent("Tea");
  const std::string todo = AddTodo("Pay");
  RefuseSaves();
  Trace();
  EXPECT_EQ(Modify(event, EventRecord({"SUMMARY:x"})), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  POL_ModifyObject()",
                                   "       Error saving appointment - 0x80004005"));
  EXPECT_EQ(Modify(todo, TodoRecord({"SUMMARY:x"})), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre("OSIF:  POL_ModifyObject()", "       Error saving task - 0x80004005"));
  EXPECT_EQ(Get(event).Only("summary"), "Tea");
  EXPECT_EQ(Get(todo).Only("summary"), "Pay");
}

TEST_F(RefusingCalendar, FailsToAddWithoutAMessage) {
  AddEvent("Tea");
  RefuseSaves();
  Trace();
  for (const char* tag : {"VEVENT", "VTODO"}) {
    CalendarRecord record("BEGIN:" + std::string(tag) + "\r\nSUMMARY:x\r\nEND:x\r\n");
    Trace();
    char id[OSIF_ID_SIZE] = "before";
    EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, record.get(), id, nullptr)), OSIF_ERR_PIM);
    EXPECT_STREQ(id, "");
    EXPECT_THAT(Trace(), ElementsAre("OSIF:  POL_AddObject()"));
  }
  EXPECT_EQ(Count(), 1u);
}

TEST_F(RefusingCalendar, FailsToDeleteWithoutAMessage) {
  const std::string event = AddEvent("Tea");
  const std::string todo = AddTodo("Pay");
  Refuse("DELETE", "pim_objects");
  Trace();
  EXPECT_EQ(Delete(event), OSIF_ERR_PIM);
  EXPECT_EQ(Delete(todo), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  POL_DeleteObject()", "OSIF:  POL_DeleteObject()"));
  EXPECT_EQ(Count(), 2u);
}

// ---- Finding ----------------------------------------------------------------------------------------

TEST_F(CalendarStore, FindsAnEventByItsStartAndSummary) {
  AddEvent("Tea", "20060501T080000");
  const std::string tea = AddEvent("Tea");
  const std::string other = AddEvent("Coffee");
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000Z"})), tea);
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Coffee", "DTSTART:20060501T090000Z"})), other);
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090001Z"})), "");
  EXPECT_EQ(Find(EventRecord({"SUMMARY:tea", "DTSTART:20060501T090000Z"})), "") << "case matters";
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Te", "DTSTART:20060501T090000Z"})), "");
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea"})), "");
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:Tea"})), "") << "an appointment is no task";
}

TEST_F(CalendarStore, FindsAnEventWithoutSummaryByItsStartAndDescription) {
  const std::string one =
      Add(EventRecord({"SUMMARY:s", "DESCRIPTION:one", "DTSTART:20060501T090000"}));
  const std::string two = Add(EventRecord({"DESCRIPTION:two", "DTSTART:20060501T090000"}));
  const std::string none = Add(EventRecord({"SUMMARY:t", "DTSTART:20060501T090000"}));
  EXPECT_EQ(Find(EventRecord({"DESCRIPTION:one", "DTSTART:20060501T090000"})), one);
  EXPECT_EQ(Find(EventRecord({"SUMMARY:", "DESCRIPTION:two", "DTSTART:20060501T090000"})), two);
  EXPECT_EQ(Find(EventRecord({"DTSTART:20060501T090000"})), none) << "two missing texts are equal";
  EXPECT_EQ(Find(EventRecord({"DESCRIPTION:one", "DTSTART:20060501T100000"})), "");
}

TEST_F(CalendarStore, FindsTheFirstOfEqualItems) {
  const std::string event = AddEvent("Tea");
  AddEvent("Tea");
  const std::string todo = AddTodo("Pay");
  AddTodo("Pay");
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Tea", "DTSTART:20060501T090000"})), event);
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:Pay"})), todo);
}

TEST_F(CalendarStore, FindsATodoByItsSummary) {
  const std::string pay = AddTodo("Pay");
  const std::string quoted = AddTodo("\"Pay\" AND [Subject]");
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:Pay", "DUE:20060501"})), pay);
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:\"Pay\" AND [Subject]"})), quoted);
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:pay"})), "");
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:Pay "})), "");
  EXPECT_EQ(Find(EventRecord({"SUMMARY:Pay"})), "");
}

TEST_F(CalendarStore, NeverFindsATodoWithoutSummary) {
  Add(TodoRecord({"DESCRIPTION:d"}));
  EXPECT_EQ(Find(TodoRecord({"DESCRIPTION:d"})), "");
  EXPECT_EQ(Find(TodoRecord({"SUMMARY:", "DESCRIPTION:d"})), "");
}

TEST_F(CalendarStore, FindsHardTexts) {
  for (const char* text :
       {"a\"b", "a\" AND [x", "caf\xE9", "100%", "it's", "[x]=\"y\"", "CAF\xC9"}) {
    const std::string event = AddEvent(text);
    const std::string todo = AddTodo(text);
    EXPECT_EQ(Find(EventRecord({"SUMMARY:" + std::string(text), "DTSTART:20060501T090000"})), event)
        << text;
    EXPECT_EQ(Find(TodoRecord({"SUMMARY:" + std::string(text)})), todo) << text;
  }
}

TEST_F(CalendarStore, TellsASearchByItsNameOnlyAndNeedsNoRoomForTheId) {
  AddTodo("Pay");
  Trace();
  EXPECT_NE(POL_FindObject(OSIF_STORE_CAL, TodoRecord({"SUMMARY:Pay"}).get(), nullptr), 0);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  POL_FindObject()"));
}

TEST_F(CalendarStore, FindsAnEventAroundTheChangesOfTheClocks) {
  for (const char* name : kFiveZones) {
    TimeZone zone(name);
    for (const char* start : {"20060326T013000Z", "20061029T003000Z", "20060402T073000Z",
                              "20060401T144500Z", "20061028T154500Z"}) {
      const std::string summary = std::string(name) + start;
      const std::string id = AddEvent(summary, start);
      EXPECT_EQ(Find(EventRecord({"SUMMARY:" + summary, "DTSTART:" + std::string(start)})), id);
    }
  }
}

// ---- Without a session ------------------------------------------------------------------------------

TEST_F(CalendarStore, WithoutASessionOffersNothing) {
  const std::string id = AddEvent("Tea");
  POL_Close();
  uint32_t count = 99;
  char buffer[OSIF_ID_SIZE] = "";
  EventRecord record({"SUMMARY:Tea", "DTSTART:20060501T090000"});
  EXPECT_EQ(Code(POL_GetObjectCount(OSIF_STORE_CAL, &count)), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, record.get(), buffer, nullptr)),
            OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Modify(id, EventRecord({"SUMMARY:x"})), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Delete(id), OSIF_ERR_PIM_NOT_OPENED);
  Get(id, OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Code(POL_GetFirstId(OSIF_STORE_CAL, buffer)), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Code(POL_GetNextId(OSIF_STORE_CAL, buffer)), OSIF_ERR_PIM_NOT_OPENED);
  EXPECT_EQ(Find(std::move(record)), "");
}

// ---- Change log -------------------------------------------------------------------------------------

class CalendarChanges : public CalendarStore {
 protected:
  void SetUp() override {
    CalendarStore::SetUp();
    std::filesystem::create_directory(device_.Path("Sync"));
  }
  void TearDown() override {
    CloseLog();
    CalendarStore::TearDown();
  }

  void OpenLog() {
    EXPECT_EQ(Code(POL_CL_Open(OSIF_STORE_CAL, Wide(device_.Path("Sync")).c_str())), OSIF_OK);
  }
  void CloseLog() { POL_CL_Close(OSIF_STORE_CAL); }

  // "M 1 00000001" for each entry.
  std::vector<std::string> Entries() {
    std::vector<std::string> entries;
    for (const std::string& line : LinesOf(device_.Path("Sync/pol_cal_change.log"))) {
      const size_t second = line.find(':', 2);
      entries.push_back(line.substr(0, 1) + " " + line.substr(2, second - 2) + " " +
                        line.substr(line.rfind(':') + 1));
    }
    return entries;
  }

  // The entries that a change behind the library's back gives: their letters and ids.
  std::vector<std::string> EntriesOfChange(const std::function<void()>& change) {
    OpenLog();
    CloseLog();
    const size_t before = Entries().size();
    change();
    OpenLog();
    CloseLog();
    std::vector<std::string> entries = Entries();
    entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(before));
    for (std::string& entry : entries) {
      entry = entry.substr(0, 2) + entry.substr(entry.rfind(' ') + 1);
    }
    return entries;
  }
};

TEST_F(CalendarChanges, OfTheLibraryAreLoggedWithItsAnchors) {
  OpenLog();
  OsifAnchor anchor{};
  char event[OSIF_ID_SIZE] = "";
  char todo[OSIF_ID_SIZE] = "";
  EventRecord tea({"SUMMARY:Tea", "DTSTART:20060501T090000"});
  TodoRecord pay({"SUMMARY:Pay"});
  EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, tea.get(), event, &anchor)), OSIF_OK);
  EXPECT_EQ(anchor.cc, 1u);
  EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, pay.get(), todo, &anchor)), OSIF_OK);
  EXPECT_EQ(Code(POL_ModifyObject(OSIF_STORE_CAL, event, tea.get(), &anchor)), OSIF_OK);
  EXPECT_EQ(Code(POL_DeleteObject(OSIF_STORE_CAL, todo, &anchor)), OSIF_OK);
  EXPECT_EQ(anchor.cc, 4u);
  EXPECT_THAT(Entries(), ElementsAre("M 1 " + std::string(event), "M 2 " + std::string(todo),
                                     "M 3 " + std::string(event), "H 4 " + std::string(todo)));
}

TEST_F(CalendarChanges, WithoutAnOpenLogZeroTheAnchorAndAreMade) {
  OsifAnchor anchor = MakeAnchor(7, "20060501T000000Z");
  TodoRecord pay({"SUMMARY:Pay"});
  EXPECT_EQ(Code(POL_AddObject(OSIF_STORE_CAL, pay.get(), nullptr, &anchor)),
            OSIF_ERR_CL_NOT_OPENED);
  EXPECT_EQ(anchor.cc, 0u);
  EXPECT_STREQ(anchor.ts, "");
  EXPECT_EQ(Count(), 1u);
}

TEST_F(CalendarChanges, AtTheFirstOpenEveryItemIsNewAppointmentsBeforeTasks) {
  const std::string todo = AddTodo("Pay");
  const std::string event = AddEvent("Tea");
  OpenLog();
  EXPECT_THAT(Entries(), ElementsAre("M 1 " + event, "M 2 " + todo));
}

TEST_F(CalendarChanges, OfNothingAreNone) {
  Add(EventRecord({"SUMMARY:s", "DTSTART:20060501T090000", "RRULE:D1 #5", "EXDATE:20060502T090000Z",
                   "ATTENDEE:Ann <a@x.org>", "DALARM:20060501T080000"}));
  Add(TodoRecord({"SUMMARY:s", "STATUS:COMPLETED", "RRULE:D1 #5", "DALARM:20060501T080000"}));
  EXPECT_THAT(EntriesOfChange([] {}), IsEmpty());
}

TEST_F(CalendarChanges, ANewItemComesBeforeOneThatIsGone) {
  const std::string gone = AddTodo("Pay");
  std::string added;
  const std::vector<std::string> entries = EntriesOfChange([&] {
    Delete(gone);
    added = AddEvent("Tea");
  });
  EXPECT_THAT(entries, ElementsAre("M " + added, "H " + gone));
}

struct AppointmentChange {
  const char* name;
  std::function<void(IAppointment&)> make;
};
void PrintTo(const AppointmentChange& change, std::ostream* out) { *out << change.name; }

class AppointmentChanged : public CalendarChanges,
                           public testing::WithParamInterface<AppointmentChange> {};

TEST_P(AppointmentChanged, IsSeenAtTheNextOpen) {
  const std::string id = Add(
      EventRecord({"SUMMARY:s", "DTSTART:20060501T090000", "DTEND:20060501T100000", "RRULE:D1 #5",
                   "EXDATE:20060502T090000Z", "ATTENDEE:Ann <a@x.org>", "DALARM:20060501T080000"}));
  EXPECT_THAT(EntriesOfChange([&] {
                auto item = Stored<IAppointment>(id);
                GetParam().make(*item);
                EXPECT_EQ(item->Save(), S_OK);
              }),
              ElementsAre("M " + id));
}

void DeleteOccurrence(IAppointment& item, const char* day) {
  ComPtr<IAppointment> occurrence;
  ASSERT_EQ(PatternOf(item)->GetOccurrence(At(day), occurrence.put()), S_OK);
  ASSERT_EQ(occurrence->Delete(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(
    Properties, AppointmentChanged,
    testing::Values(
        AppointmentChange{"Subject",
                          [](IAppointment& i) { PutText(i, &IAppointment::put_Subject, u"t"); }},
        AppointmentChange{"Location",
                          [](IAppointment& i) { PutText(i, &IAppointment::put_Location, u"t"); }},
        AppointmentChange{"Categories",
                          [](IAppointment& i) { PutText(i, &IAppointment::put_Categories, u"t"); }},
        AppointmentChange{"Body",
                          [](IAppointment& i) { PutText(i, &IAppointment::put_Body, u"t"); }},
        AppointmentChange{"Start", [](IAppointment& i) { i.put_Start(At("20060501T091500")); }},
        AppointmentChange{"End", [](IAppointment& i) { i.put_End(At("20060501T101500")); }},
        AppointmentChange{"AllDayEvent", [](IAppointment& i) { i.put_AllDayEvent(-1); }},
        AppointmentChange{"BusyStatus", [](IAppointment& i) { i.put_BusyStatus(olTentative); }},
        AppointmentChange{"Sensitivity", [](IAppointment& i) { i.put_Sensitivity(olPrivate); }},
        AppointmentChange{"NoReminder", [](IAppointment& i) { i.put_ReminderSet(0); }},
        AppointmentChange{"ReminderMinutes",
                          [](IAppointment& i) { i.put_ReminderMinutesBeforeStart(59); }},
        AppointmentChange{"ReminderOptions",
                          [](IAppointment& i) { i.put_ReminderOptions(olSound); }},
        AppointmentChange{"NoRecurrence", [](IAppointment& i) { i.ClearRecurrencePattern(); }},
        AppointmentChange{
            "RecurrenceType",
            [](IAppointment& i) { PatternOf(i)->put_RecurrenceType(olRecursMonthly); }},
        AppointmentChange{"Interval", [](IAppointment& i) { PatternOf(i)->put_Interval(2); }},
        AppointmentChange{"Occurrences", [](IAppointment& i) { PatternOf(i)->put_Occurrences(6); }},
        AppointmentChange{"NoEnd", [](IAppointment& i) { PatternOf(i)->put_NoEndDate(-1); }},
        AppointmentChange{"OneMoreException",
                          [](IAppointment& i) { DeleteOccurrence(i, "20060503"); }},
        AppointmentChange{"OneMoreRecipient",
                          [](IAppointment& i) { AddRecipient(i, u"Bea", u"b@x.org"); }},
        AppointmentChange{"NoRecipient",
                          [](IAppointment& i) {
                            ComPtr<IRecipients> recipients;
                            ASSERT_EQ(i.get_Recipients(recipients.put()), S_OK);
                            ASSERT_EQ(recipients->Remove(1), S_OK);
                          }},
        AppointmentChange{"RecipientsAddress", [](IAppointment& i) {
                            ComPtr<IRecipients> recipients;
                            ASSERT_EQ(i.get_Recipients(recipients.put()), S_OK);
                            ComPtr<IRecipient> recipient;
                            ASSERT_EQ(recipients->Item(1, recipient.put()), S_OK);
                            PutText(*recipient, &IRecipient::put_Address, u"z@x.org");
                          }}));

struct TaskChange {
  const char* name;
  std::function<void(ITask&)> make;
};
void PrintTo(const TaskChange& change, std::ostream* out) { *out << change.name; }

class TaskChanged : public CalendarChanges, public testing::WithParamInterface<TaskChange> {};

TEST_P(TaskChanged, IsSeenAtTheNextOpen) {
  const std::string id = Add(TodoRecord(
      {"SUMMARY:s", "DTSTART:20060501", "DUE:20060502", "RRULE:D1 #5", "DALARM:20060501T080000"}));
  EXPECT_THAT(EntriesOfChange([&] {
                auto item = Stored<ITask>(id);
                GetParam().make(*item);
                EXPECT_EQ(item->Save(), S_OK);
              }),
              ElementsAre("M " + id));
}

INSTANTIATE_TEST_SUITE_P(
    Properties, TaskChanged,
    testing::Values(
        TaskChange{"Subject", [](ITask& i) { PutText(i, &ITask::put_Subject, u"t"); }},
        TaskChange{"Categories", [](ITask& i) { PutText(i, &ITask::put_Categories, u"t"); }},
        TaskChange{"Body", [](ITask& i) { PutText(i, &ITask::put_Body, u"t"); }},
        TaskChange{"StartDate", [](ITask& i) { i.put_StartDate(At("20060430")); }},
        TaskChange{"DueDate", [](ITask& i) { i.put_DueDate(At("20060503")); }},
        TaskChange{"Importance", [](ITask& i) { i.put_Importance(olImportanceHigh); }},
        TaskChange{"Sensitivity", [](ITask& i) { i.put_Sensitivity(olPrivate); }},
        TaskChange{"Complete", [](ITask& i) { i.put_Complete(-1); }},
        TaskChange{"NoReminder", [](ITask& i) { i.put_ReminderSet(0); }},
        TaskChange{"ReminderTime", [](ITask& i) { i.put_ReminderTime(At("20060430T120000")); }},
        TaskChange{"ReminderOptions", [](ITask& i) { i.put_ReminderOptions(olSound); }},
        TaskChange{"NoRecurrence", [](ITask& i) { i.ClearRecurrencePattern(); }},
        TaskChange{"Interval", [](ITask& i) { PatternOf(i)->put_Interval(2); }},
        TaskChange{"NoEnd", [](ITask& i) { PatternOf(i)->put_NoEndDate(-1); }}));

TEST_F(CalendarChanges, OfOneKindDoNotTouchTheOther) {
  const std::string event = AddEvent("Tea");
  const std::string todo = AddTodo("Tea");
  EXPECT_THAT(
      EntriesOfChange([&] { EXPECT_EQ(Modify(todo, TodoRecord({"DUE:20060501"})), OSIF_OK); }),
      ElementsAre("M " + todo));
  EXPECT_THAT(EntriesOfChange([&] { EXPECT_EQ(Delete(event), OSIF_OK); }),
              ElementsAre("H " + event));
}

}  // namespace
}  // namespace pol_calendar_store_test
