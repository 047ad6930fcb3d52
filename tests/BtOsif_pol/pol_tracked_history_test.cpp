// Random histories of a store and of its change logs, told twice: on one device the logs ask the store for what was
// written since the mark that they kept, on the other one their marks are taken away before each opening, so that
// everything is compared. Whatever is seen of both must be the same: results, anchors, the logs' entries, the
// snapshots' bytes, the files, the trace.
//
// A history depends on its seed alone: what a step works on is picked from what the store holds at that moment. So the
// two devices do the same as long as they are the same, and the first step after which they differ is the one to be
// looked at. OSIF_ROUNDS says how many histories, OSIF_SEED which one is the first.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <regex>
#include <set>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_dispatch.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_util/charset.h"
#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/support/calendars.h"
#include "tests/support/full_disk.h"
#include "tests/support/sql_program.h"
#include "tests/support/trace_receiver.h"

namespace pol_tracked_history_test {
namespace {

namespace fs = std::filesystem;

using support::BytesOf;
using support::CalendarRecord;
using support::EntryLine;
using support::EventText;
using support::FullDisk;
using support::LinesOf;
using support::OidOf;
using support::OtherProgram;
using support::PutBytes;
using support::References;
using support::SqlProgram;
using support::TodoText;

constexpr int kSteps = 70;  // of a history
constexpr DATE kFirstDay = 38425;

// What a log's line says besides its time.
std::string WithoutTime(const std::string& line) {
  const size_t second = line.find(':', 2);
  const size_t third = second == std::string::npos ? second : line.find(':', second + 1);
  return third == std::string::npos ? line : line.substr(0, second) + line.substr(third);
}

std::string TimeOf(const std::string& line) { return support::Field(line, 2); }

enum class Marks { kKept, kTakenAway };
enum class Trace { kOn, kOff };

struct StoreRow {
  int32_t id;
  const char* name;
};
constexpr StoreRow kStores[] = {{OSIF_STORE_PB, "pb"}, {OSIF_STORE_CAL, "cal"}};
constexpr const char* kPartners[] = {"Sync", "Sync2"};

// What was seen after one step.
struct Seen {
  std::string step;
  std::string text;
};

// One device, from its first step to its last.
class History {
 public:
  History(uint32_t seed, Marks marks, Trace trace) : random_(seed), marks_(marks) {
    support::SetSystemCodePage(1252);
    ForgetCharsetChoices();
    for (const char* partner : kPartners) fs::create_directory(device_.Path(partner));
    if (trace == Trace::kOn) trace_.emplace();
    POL_Open();
    for (int i = 0; i < 4; ++i) {
      support::AddContact(Word(), nullptr);
      for (int item = 0; item < 2; ++item) {
        CalendarRecord record = NewRecord();
        POL_AddObject(OSIF_STORE_CAL, record.get(), nullptr, nullptr);
      }
    }
  }
  ~History() {
    support::CloseAllLogs();
    ForgetCharsetChoices();
  }
  History(const History&) = delete;
  History& operator=(const History&) = delete;

  std::vector<Seen> Run(int steps) {
    std::vector<Seen> seen;
    for (int i = 0; i < steps; ++i) {
      step_.clear();
      result_.clear();
      Step();
      seen.push_back({step_, result_ + Look()});
    }
    return seen;
  }

 private:
  using Action = void (History::*)();
  struct Weighted {
    int weight;
    Action action;
  };

  int Below(int number) { return std::uniform_int_distribution<int>(0, number - 1)(random_); }
  bool OneIn(int number) { return Below(number) == 0; }
  template <typename T>
  T OneOf(std::initializer_list<T> values) {
    return values.begin()[Below(static_cast<int>(values.size()))];
  }

  void Do(std::span<const Weighted> actions) {
    int all = 0;
    for (const Weighted& each : actions) all += each.weight;
    int number = Below(all);
    for (const Weighted& each : actions) {
      if ((number -= each.weight) < 0) return (this->*each.action)();
    }
  }

  void Step() {
    static constexpr Weighted kActions[] = {
        {22, &History::OpenLog},        {16, &History::CloseLog},
        {20, &History::CallLibrary},    {18, &History::UseObjects},
        {26, &History::WriteSql},       {4, &History::DropBrokenItems},
        {3, &History::BeKilled},        {6, &History::DamageMark},
        {3, &History::DamageSnapshot},  {2, &History::LoseLog},
        {3, &History::KeepFiles},       {3, &History::PutFilesBack},
        {2, &History::KeepDatabase},    {2, &History::PutDatabaseBack},
        {3, &History::RestartSession},  {2, &History::OpenOnFullDisk},
        {2, &History::CloseOnFullDisk}, {4, &History::FailToAppend},
    };
    Do(kActions);
  }

  // What a child does before it is killed.
  void ChildStep() {
    static constexpr Weighted kActions[] = {{3, &History::OpenLog},
                                            {2, &History::CloseLog},
                                            {5, &History::CallLibrary},
                                            {4, &History::UseObjects},
                                            {4, &History::WriteSql}};
    Do(kActions);
  }

  // ---- What is told of a step ----

  void Tell(const std::string& step) { step_ += (step_.empty() ? "" : "; ") + step; }
  void Give(const std::string& what, int64_t result) {
    result_ += what + " " + std::to_string(result) + "\n";
  }

  std::string Look() {
    std::string text;
    for (const char* partner : kPartners) {
      std::set<std::string> names;
      for (const auto& file : fs::directory_iterator(device_.Path(partner))) {
        const std::string name = file.path().filename();
        if (!name.ends_with("_mark.log")) names.insert(name);
      }
      for (const std::string& name : names) {
        text += std::string(partner) + "/" + name + "\n";
        if (name.ends_with("_change.log")) {
          for (const std::string& line : LinesOf(Path(partner, name))) {
            text += " " + WithoutTime(line) + "\n";
          }
        }
        if (name.ends_with("_object.log")) text += BytesOf(Path(partner, name));
      }
    }
    for (const StoreRow& store : kStores) {
      OsifAnchor anchor{};
      const OsifResult result = POL_CL_GetCurrentAnchor(store.id, &anchor);
      text += std::string("anchor ") + store.name + " " + std::to_string(result) + " " +
              std::to_string(anchor.cc) + "\n";
    }
    return text + Stored() + TraceText();
  }

  // The ids of what is stored: the steps have done the same.
  static std::string Stored() {
    std::string text;
    SqlProgram program;
    for (const char* query :
         {"SELECT oid || ' in ' || folder FROM pim_objects ORDER BY oid",
          "SELECT oid || ' contact ' || coalesce(body, '') FROM pim_contacts ORDER BY oid",
          "SELECT oid || ' appointment' FROM pim_appointments ORDER BY oid",
          "SELECT oid || ' task' FROM pim_tasks ORDER BY oid",
          "SELECT oid || ' every ' || interval FROM pim_patterns ORDER BY oid",
          "SELECT series || ' not on ' || day FROM pim_exceptions ORDER BY series, day",
          "SELECT oid || ' with ' || name FROM pim_recipients ORDER BY oid, position"}) {
      for (const std::string& row : program.Texts(query)) text += row + "\n";
    }
    return text;
  }

  // Without what is of the device or of the moment alone.
  std::string TraceText() {
    std::string text;
    if (!trace_) return text;
    static const std::regex kMoment("0x[0-9a-f]{6,}|[0-9]{8}T[0-9]{6}Z|osif-test-[A-Za-z0-9]{6}");
    for (const std::string& line : trace_->Lines()) {
      text += "trace " + std::regex_replace(line, kMoment, "*") + "\n";
    }
    return text;
  }

  std::string Path(const std::string& partner, const std::string& name) const {
    return device_.Path(partner + "/" + name);
  }
  std::string PathOf(const StoreRow& store, const std::string& partner, const char* kind) const {
    return Path(partner, std::string("pol_") + store.name + "_" + kind + ".log");
  }

  // ---- Change logs ----

  const StoreRow& AnyStore() { return kStores[Below(2)]; }
  std::string AnyPartner() { return kPartners[OneIn(5) ? 1 : 0]; }
  bool IsOpen(const StoreRow& store) const { return pol_IsLogOpen(store.id); }

  OsifResult Open(const StoreRow& store, const std::string& partner) {
    Tell(std::string("open ") + store.name + " of " + partner);
    if (marks_ == Marks::kTakenAway) fs::remove(PathOf(store, partner, "mark"));
    const std::string log = PathOf(store, partner, "change");
    const size_t lines_before = LinesOf(log).size();
    const OsifResult result = POL_CL_Open(store.id, support::Wide(device_.Path(partner)).c_str());
    std::set<std::string> times;
    const std::vector<std::string> lines = LinesOf(log);
    for (size_t i = lines_before; i < lines.size(); ++i) times.insert(TimeOf(lines[i]));
    EXPECT_LE(times.size(), 1u) << "one time stamp an opening";
    partners_[store.id] = partner;
    return result;
  }

  void OpenLog() {
    const StoreRow& store = AnyStore();
    Give("open", Open(store, AnyPartner()));
  }
  void CloseLog() {
    const StoreRow& store = AnyStore();
    Tell(std::string("close ") + store.name);
    Give("close", POL_CL_Close(store.id));
  }

  // A disk with room for some bytes more than a file of the store has.
  FullDisk AlmostFull(const StoreRow& store) {
    const int room = Below(120);
    const std::string log = PathOf(store, partners_[store.id], OneOf({"change", "object"}));
    Tell("disk with room for " + std::to_string(room));
    return FullDisk(BytesOf(log).size() + static_cast<size_t>(room));
  }
  void OpenOnFullDisk() {
    const StoreRow& store = AnyStore();
    const std::string partner = AnyPartner();
    partners_[store.id] = partner;
    const FullDisk full = AlmostFull(store);
    Give("open", Open(store, partner));
  }
  void CloseOnFullDisk() {
    const StoreRow& store = AnyStore();
    const FullDisk full = AlmostFull(store);
    Tell(std::string("close ") + store.name);
    Give("close", POL_CL_Close(store.id));
  }

  // The log is made so long that the disk has room for the database when there is none for the log.
  void FailToAppend() {
    if (pol_Application() == nullptr) POL_Open();
    const StoreRow& store = kStores[0];
    POL_CL_Close(store.id);
    const std::string log = PathOf(store, kPartners[0], "change");
    PutBytes(log, LongLines(log));
    Give("open", Open(store, kPartners[0]));
    const int64_t oid = Pick("pim_contacts");
    device::OpenDatabase()->Checkpoint();
    const FullDisk full(fs::file_size(log) + 10);
    Tell("no room for an entry");
    OsifAnchor anchor{};
    if (OneIn(2)) {
      Give("add", support::AddContact(Word(), &anchor).result);
    } else if (OneIn(2)) {
      Give("modify",
           support::ModifyContact(support::IdOf(static_cast<LONG>(oid)), Word(), &anchor));
    } else {
      Give("delete", support::DeleteContact(support::IdOf(static_cast<LONG>(oid)), &anchor));
    }
    Give("anchor", anchor.cc);
  }
  // The log's own lines after 250 long ones with the counters before theirs.
  static std::string LongLines(const std::string& log) {
    const std::string rest = BytesOf(log);
    if (rest.size() > 100'000) return rest;
    return LongOnes() + rest;
  }
  static std::string LongOnes() {
    std::string text;
    for (int i = 0; i < 250; ++i) {
      text += EntryLine('H', 0, std::string(470, 'f')) + "\n";
    }
    return text;
  }

  // ---- What is stored ----

  std::string Word() {
    return OneOf({"Ann", "Bob", "Cid", "134", "215"}) + std::to_string(Below(4));
  }

  // One of the ids that a table holds; 0 when it holds none.
  int64_t Pick(const std::string& table, const std::string& column = "oid") {
    SqlProgram program;
    const int64_t count = program.Number("SELECT count(*) FROM " + table);
    if (count == 0) return 0;
    return program.Number("SELECT " + column + " FROM " + table + " ORDER BY 1 LIMIT 1 OFFSET " +
                          std::to_string(Below(static_cast<int>(count))));
  }
  std::string PickId(const StoreRow& store) {
    const int64_t oid = store.id == OSIF_STORE_PB ? Pick("pim_contacts")
                        : OneIn(2)                ? Pick("pim_appointments")
                                                  : Pick("pim_tasks");
    return support::IdOf(static_cast<LONG>(oid));
  }

  CalendarRecord NewRecord() {
    const std::string summary = "SUMMARY:" + Word() + "\r\n";
    if (OneIn(3)) {
      std::string todo =
          summary + "DUE:20050320T000000\r\nPRIORITY:" + std::to_string(1 + Below(3)) + "\r\n";
      if (OneIn(3)) todo += "DTSTART:20050320\r\nRRULE:W1 SU #4\r\n";
      if (OneIn(3)) todo += "AALARM:20050320T084500Z;;;\r\n";
      return CalendarRecord("BEGIN:VTODO\r\n" + todo + "END:VTODO\r\n");
    }
    std::string event = summary + "DTSTART:20050314T101500\r\nDTEND:20050314T1" +
                        std::to_string(1 + Below(8)) + "1500\r\n";
    if (OneIn(2)) event += "LOCATION:" + Word() + "\r\n";
    if (OneIn(3)) event += "RRULE:D1 #" + std::to_string(5 + Below(3)) + "\r\n";
    if (OneIn(3)) event += "RRULE:D1 #9\r\nEXDATE:20050316T101500\r\n";
    if (OneIn(3)) event += "ATTENDEE:" + Word() + " <ann@example.org>\r\n";
    if (OneIn(3)) event += "AALARM:20050314T100000Z;;;\r\n";
    return CalendarRecord("BEGIN:VEVENT\r\n" + event + "END:VEVENT\r\n");
  }

  void CallLibrary() {
    const StoreRow& store = AnyStore();
    OsifAnchor own{};
    OsifAnchor* anchor = OneIn(3) ? nullptr : &own;
    const std::string id = PickId(store);
    const int call = Below(3);
    Tell(std::string(anchor ? "with" : "without") + " an anchor " +
         (call == 0   ? "add"
          : call == 1 ? "modify " + id
                      : "delete " + id) +
         " in " + store.name);
    if (call == 2) {
      Give("delete", POL_DeleteObject(store.id, id.c_str(), anchor));
    } else if (store.id == OSIF_STORE_PB) {
      Give("contact", call == 0 ? support::AddContact(Word(), anchor).result
                                : support::ModifyContact(id, Word(), anchor));
    } else {
      CalendarRecord record = NewRecord();
      char new_id[OSIF_ID_SIZE] = "";
      Give("item", call == 0 ? POL_AddObject(store.id, record.get(), new_id, anchor)
                             : POL_ModifyObject(store.id, id.c_str(), record.get(), anchor));
    }
    Give("anchor", own.cc);
  }

  // ---- Other programs that use the store's objects ----

  void UseObjects() {
    OtherProgram other;
    switch (Below(5)) {
      case 0:
        return UseItem<IContact>(other, "pim_contacts", olContactItem, olFolderContacts,
                                 &History::FillContact);
      case 1:
        return UseItem<ITask>(other, "pim_tasks", olTaskItem, olFolderTasks, &History::FillTask);
      case 2:
        return ExceptOccurrence(other);
      default:
        return UseItem<IAppointment>(other, "pim_appointments", olAppointmentItem, olFolderCalendar,
                                     &History::FillAppointment);
    }
  }

  // As what an item is loaded is for its folder to say; its row may be in another kind's table.
  static int64_t FolderOf(int64_t oid) {
    return SqlProgram().Number("SELECT folder FROM pim_objects WHERE oid=" + std::to_string(oid));
  }

  template <typename Item>
  void UseItem(OtherProgram& other, const char* table, int type, int folder,
               void (History::*fill)(Item&)) {
    int64_t oid = OneIn(3) ? 0 : Pick(table);
    if (FolderOf(oid) != folder) oid = 0;
    Tell(std::string("object ") + table + " " + std::to_string(oid));
    ComPtr<IDispatch> found;
    const HRESULT hr =
        oid == 0 ? other.application().CreateItem(type, found.put())
                 : other.application().GetItemFromOid(static_cast<LONG>(oid), found.put());
    if (FAILED(hr) || !found) return Give("no item", hr);
    Item& item = static_cast<Item&>(*found);
    if (oid != 0 && OneIn(4)) return Give("delete", item.Delete());
    if (!OneIn(6)) (this->*fill)(item);  // else it is saved as it is
    Give("save", item.Save());
  }

  Bstr AnyText() { return Bstr(support::Wide(Word())); }

  void FillContact(IContact& contact) {
    Bstr text = AnyText();
    (contact.*OneOf({&IContact::put_LastName, &IContact::put_Body, &IContact::put_Email1Address}))(
        text.get());
  }
  void FillTask(ITask& task) {
    Bstr text = AnyText();
    task.put_Subject(text.get());
    if (OneIn(2)) task.put_DueDate(kFirstDay + Below(3));
    if (OneIn(4)) FillPattern(task);
    if (OneIn(4)) task.ClearRecurrencePattern();
    if (OneIn(4)) task.put_ReminderSet(OneIn(2) ? VARIANT_TRUE : VARIANT_FALSE);
  }
  void FillAppointment(IAppointment& item) {
    Bstr text = AnyText();
    (item.*OneOf({&IAppointment::put_Subject, &IAppointment::put_Location,
                  &IAppointment::put_Body}))(text.get());
    if (OneIn(2)) item.put_Start(kFirstDay + Below(3) + 0.5);
    if (OneIn(3)) FillPattern(item);
    if (OneIn(6)) item.ClearRecurrencePattern();
    if (OneIn(3)) item.put_ReminderMinutesBeforeStart(10 + Below(3));
    if (OneIn(3)) item.put_ReminderSet(OneIn(2) ? VARIANT_TRUE : VARIANT_FALSE);
    if (OneIn(3)) ChangeRecipients(item);
  }
  template <typename Item>
  void FillPattern(Item& item) {
    ComPtr<IRecurrencePattern> pattern;
    if (FAILED(item.GetRecurrencePattern(pattern.put()))) return;
    pattern->put_RecurrenceType(olRecursDaily);
    pattern->put_Interval(1 + Below(2));
    pattern->put_Occurrences(5 + Below(3));
  }
  void ChangeRecipients(IAppointment& item) {
    ComPtr<IRecipients> recipients;
    item.get_Recipients(recipients.put());
    if (OneIn(3)) {
      recipients->Remove(1);
      return;
    }
    ComPtr<IRecipient> recipient;
    Bstr name = AnyText();
    recipients->Add(name.get(), recipient.put());
  }

  // Changes or deletes one occurrence of a series.
  void ExceptOccurrence(OtherProgram& other) {
    const int64_t oid = Pick("pim_patterns");
    const int day = Below(6);
    Tell("occurrence " + std::to_string(day) + " of " + std::to_string(oid));
    ComPtr<IDispatch> found;
    if (FolderOf(oid) != olFolderCalendar ||
        FAILED(other.application().GetItemFromOid(static_cast<LONG>(oid), found.put()))) {
      return;
    }
    ComPtr<IRecurrencePattern> pattern;
    ComPtr<IAppointment> occurrence;
    if (FAILED(static_cast<IAppointment&>(*found).GetRecurrencePattern(pattern.put())) ||
        FAILED(pattern->GetOccurrence(kFirstDay + day, occurrence.put())) || !occurrence) {
      return;
    }
    if (OneIn(2)) return Give("delete", occurrence->Delete());
    Bstr text = AnyText();
    occurrence->put_Subject(text.get());
    Give("save", occurrence->Save());
  }

  // ---- Other programs that use SQL alone ----

  // "$T" is a word, "$N" a small number; "$C", "$A", "$K", "$R" pick the id of a contact, an appointment, a task, an
  // item that recurs; "$F" is an id that no item has, below the highest that was given where there is one, "$H" one that
  // is higher than all.
  std::string Filled(std::string sql) {
    const auto replace = [&](const char* what, auto value) {
      for (size_t at; (at = sql.find(what)) != std::string::npos;) sql.replace(at, 2, value());
    };
    replace("$T", [&] { return "'" + Word() + "'"; });
    replace("$N", [&] { return std::to_string(1 + Below(4)); });
    const auto pick_once = [&](const char* what, const char* table) {
      if (sql.find(what) == std::string::npos) return;
      const std::string oid = std::to_string(Pick(table));
      replace(what, [&] { return oid; });
    };
    pick_once("$C", "pim_contacts");
    pick_once("$A", "pim_appointments");
    pick_once("$K", "pim_tasks");
    pick_once("$R", "pim_patterns");
    if (sql.find("$F") != std::string::npos) {
      const std::string free = std::to_string(FreeId());
      replace("$F", [&] { return free; });
    }
    if (sql.find("$H") != std::string::npos) {
      const std::string high = std::to_string(
          SqlProgram().Number("SELECT seq FROM sqlite_sequence WHERE name='pim_objects'") + 3);
      replace("$H", [&] { return high; });
    }
    return sql;
  }
  static int64_t FreeId() {
    SqlProgram program;
    for (int64_t id = 1;; ++id) {
      if (program.Number("SELECT count(*) FROM pim_objects WHERE oid=" + std::to_string(id)) == 0) {
        return id;
      }
    }
  }

  void WriteSql() {
    static constexpr const char* kStatements[] = {
        "UPDATE pim_contacts SET body=$T WHERE oid=$C",
        "UPDATE pim_contacts SET body=body WHERE oid=$C",
        "UPDATE pim_contacts SET body=CASE body WHEN '134' THEN '215' ELSE '134' END WHERE oid=$C",
        "UPDATE pim_contacts SET spouse=$T",
        "UPDATE pim_contacts SET birthday=38425+$N WHERE oid=$C",
        "UPDATE pim_contacts SET body=$T WHERE oid=0",
        "BEGIN; UPDATE pim_contacts SET body='lost'; ROLLBACK",
        "DELETE FROM pim_objects WHERE oid=$C",
        "DELETE FROM pim_objects WHERE oid=$A",
        "DELETE FROM pim_objects WHERE oid=$K",
        "DELETE FROM pim_objects WHERE folder=9 AND oid % 2 = 0",
        "DELETE FROM pim_contacts WHERE oid=$C",
        "DELETE FROM pim_tasks WHERE oid=$K",
        "INSERT INTO pim_objects(folder) VALUES(10);"
        "INSERT INTO pim_contacts(oid, last_name) VALUES(last_insert_rowid(), $T)",
        "INSERT INTO pim_objects(oid, folder) VALUES($F, 10);"
        "INSERT INTO pim_contacts(oid, last_name) VALUES($F, $T)",
        "INSERT INTO pim_objects(oid, folder) SELECT $F, 13 FROM pim_tasks WHERE oid=$K;"
        "INSERT INTO pim_tasks SELECT $F, subject, categories, start_date, due_date, "
        "date_completed, importance, complete, sensitivity, team_task, body, reminder_set, "
        "reminder_sound_file, reminder_time, reminder_options FROM pim_tasks WHERE oid=$K",
        "INSERT INTO pim_objects(oid, folder) VALUES($H, 10);"
        "INSERT INTO pim_contacts(oid, last_name) VALUES($H, $T)",
        "INSERT INTO pim_objects(folder) VALUES(9)",
        "INSERT OR REPLACE INTO pim_contacts(oid, last_name) VALUES($C, $T)",
        "INSERT OR IGNORE INTO pim_contacts(oid, last_name) VALUES($C, $T)",
        "INSERT INTO pim_contacts(oid, last_name) VALUES($C, $T) "
        "ON CONFLICT(oid) DO UPDATE SET body=$T",
        "BEGIN; INSERT OR REPLACE INTO pim_objects(oid, folder) VALUES($C, 10);"
        "INSERT OR REPLACE INTO pim_contacts(oid, last_name) VALUES($C, $T); COMMIT",
        "BEGIN; DELETE FROM pim_objects WHERE oid=$C;"
        "INSERT INTO pim_objects(oid, folder) VALUES($C, 10);"
        "INSERT OR REPLACE INTO pim_contacts(oid, last_name) VALUES($C, $T); COMMIT",
        "INSERT OR IGNORE INTO pim_objects(oid, folder) VALUES($C, 13)",
        "UPDATE pim_objects SET folder=10-folder WHERE oid=$C",
        "UPDATE pim_objects SET folder=9-folder WHERE oid=$A AND folder IN (0, 9)",
        "BEGIN; PRAGMA defer_foreign_keys=ON; UPDATE pim_objects SET oid=$F WHERE oid=$C;"
        "UPDATE pim_contacts SET oid=$F WHERE oid=$C; COMMIT",
        "BEGIN; PRAGMA defer_foreign_keys=ON; UPDATE pim_objects SET oid=$H WHERE oid=$C;"
        "UPDATE pim_contacts SET oid=$H WHERE oid=$C; COMMIT",
        "UPDATE pim_appointments SET location=$T WHERE oid=$A",
        "UPDATE pim_appointments SET start_date=start_date+1, end_date=end_date+1 WHERE oid=$A",
        "UPDATE pim_appointments SET reminder_set=1, reminder_options=$N WHERE oid=$A",
        "UPDATE pim_appointments SET reminder_sound_file=$T WHERE oid=$A",
        "UPDATE pim_appointments SET busy_status=1",
        "UPDATE pim_tasks SET body=$T WHERE oid=$K",
        "UPDATE pim_tasks SET complete=1, date_completed=38425+$N WHERE oid=$K",
        "UPDATE pim_tasks SET importance=$N-1",
        "INSERT OR REPLACE INTO pim_recipients VALUES($A, $N, $T, $T)",
        "INSERT OR IGNORE INTO pim_recipients VALUES($A, $N, $T, $T)",
        "INSERT INTO pim_recipients SELECT $A, 1+coalesce(max(position), 0), $T, $T "
        "FROM pim_recipients WHERE oid=$A",
        "UPDATE pim_recipients SET address=$T WHERE oid=$A",
        "UPDATE pim_recipients SET name=$T",
        "UPDATE pim_recipients SET position=position+10 WHERE oid=$A",
        "UPDATE OR REPLACE pim_recipients SET oid=$A WHERE position=$N",
        "UPDATE OR IGNORE pim_recipients SET oid=$A WHERE position=$N",
        "DELETE FROM pim_recipients WHERE oid=$A AND position=$N",
        "DELETE FROM pim_recipients",
        "INSERT OR REPLACE INTO pim_patterns VALUES($A, 0, 38425, $N, 0, 0, 0, 0, NULL, 9)",
        "INSERT OR IGNORE INTO pim_patterns VALUES($A, 0, 38425, $N, 0, 0, 0, 0, NULL, 9)",
        "INSERT OR REPLACE INTO pim_patterns VALUES($K, 0, 38425, $N, 0, 0, 0, 0, NULL, 9)",
        "UPDATE pim_patterns SET interval=$N WHERE oid=$R",
        "UPDATE pim_patterns SET occurrences=4+$N",
        "UPDATE OR REPLACE pim_patterns SET oid=$A WHERE oid=$R",
        "DELETE FROM pim_patterns WHERE oid=$R",
        "INSERT OR REPLACE INTO pim_exceptions VALUES($R, 38425+$N, NULL)",
        "INSERT OR IGNORE INTO pim_exceptions VALUES($R, 38425+$N, NULL)",
        "UPDATE OR REPLACE pim_exceptions SET day=day+1 WHERE series=$R",
        "UPDATE OR REPLACE pim_exceptions SET series=$R WHERE day=38425+$N",
        "DELETE FROM pim_exceptions WHERE series=$R",
        "DELETE FROM pim_exceptions",
        "UPDATE sqlite_sequence SET seq=seq+2 WHERE name='pim_objects'",
    };
    const std::string sql = Filled(kStatements[Below(static_cast<int>(std::size(kStatements)))]);
    const References references = OneIn(4) ? References::kIgnored : References::kKept;
    Tell((references == References::kIgnored ? "sql without references " : "sql ") + sql);
    SqlProgram program(references);
    if (OneIn(5)) program.Run("PRAGMA recursive_triggers=ON");
    Give("sql", program.Try(sql));
    if (sqlite3_get_autocommit(program.handle()) == 0) program.Run("ROLLBACK");
  }

  // An item of which half is missing cannot be read, nor can its folder.
  void DropBrokenItems() {
    Tell("drop broken items");
    SqlProgram().Run(
        "DELETE FROM pim_objects WHERE folder=10 AND oid NOT IN (SELECT oid FROM pim_contacts);"
        "DELETE FROM pim_objects WHERE folder=9 AND oid NOT IN (SELECT oid FROM pim_appointments);"
        "DELETE FROM pim_objects WHERE folder=13 AND oid NOT IN (SELECT oid FROM pim_tasks);"
        "DELETE FROM pim_contacts WHERE oid NOT IN (SELECT oid FROM pim_objects);"
        "DELETE FROM pim_tasks WHERE oid NOT IN (SELECT oid FROM pim_objects);"
        "DELETE FROM pim_recipients WHERE oid NOT IN (SELECT oid FROM pim_objects);"
        "DELETE FROM pim_appointments WHERE oid NOT IN (SELECT oid FROM pim_objects)");
  }

  // ---- Files ----

  void DamageMark() {
    const StoreRow& store = AnyStore();
    const std::string path = PathOf(store, AnyPartner(), "mark");
    const int way = Below(9);
    // What a byte becomes must not depend on whether there is a mark.
    const auto place = static_cast<uint32_t>(random_());
    const char byte = static_cast<char>('0' + Below(75));
    Tell("damage " + path.substr(device_.folder().size()) + " in way " + std::to_string(way) +
         " at " + std::to_string(place) + " with " + std::string(1, byte));
    if (!fs::exists(path)) return;
    std::string bytes = BytesOf(path);
    const size_t at = bytes.empty() ? 0 : place % bytes.size();
    switch (way) {
      case 0:
        fs::remove(path);
        return;
      case 1:
        return PutBytes(path, "");
      case 2:
        return PutBytes(path, bytes.substr(0, at));
      case 3:
        return PutBytes(path, bytes + byte);
      case 4:
        return PutBytes(path, byte + bytes);
      case 5:
        return PutBytes(path, bytes + bytes);
      case 6:
        return PutBytes(path, BytesOf(PathOf(kStores[store.id == OSIF_STORE_PB ? 1 : 0],
                                             kPartners[0], "mark")));
      case 7:
        return PutBytes(path, BytesOf(PathOf(store, kPartners[1], "mark")));
      default:
        if (!bytes.empty()) bytes[at] = byte;
        return PutBytes(path, bytes);
    }
  }

  void DamageSnapshot() {
    const StoreRow& store = AnyStore();
    const std::string path = PathOf(store, AnyPartner(), "object");
    const int way = Below(4);
    Tell("damage " + path.substr(device_.folder().size()) + " in way " + std::to_string(way));
    const std::vector<std::string> lines = LinesOf(path);
    switch (way) {
      case 0:
        fs::remove(path);
        return;
      case 1:
        return PutBytes(path, "");
      case 2:
        return PutBytes(path, "000000f0:1\n" + BytesOf(path));
      default:
        return PutBytes(path,
                        support::JoinedLines(
                            {lines.begin(), lines.begin() + static_cast<long>(lines.size() / 2)}));
    }
  }

  void LoseLog() {
    const StoreRow& store = AnyStore();
    Tell(std::string("lose the log of ") + store.name);
    fs::remove(PathOf(store, kPartners[0], "change"));
  }

  // A partner's files of a store as they are now, and later again in their place: its snapshot with its mark.
  void KeepFiles() {
    const StoreRow& store = AnyStore();
    const std::string partner = AnyPartner();
    Tell(std::string("keep files of ") + store.name);
    for (const char* kind : {"object", "mark"}) {
      const std::string path = PathOf(store, partner, kind);
      kept_[path] = fs::exists(path) ? std::optional(BytesOf(path)) : std::nullopt;
    }
  }
  void PutFilesBack() {
    Tell("put files back");
    for (const auto& [path, bytes] : kept_) {
      const bool is_mark = path.ends_with("_mark.log");
      if (!bytes) {
        fs::remove(path);
      } else if (!is_mark || marks_ == Marks::kKept) {
        PutBytes(path, *bytes);
      }
    }
    kept_.clear();
  }

  void LetGoOfDatabase() {
    POL_Close();
    if (trace_) trace_->Lines();
    device::CloseDatabase();
  }
  void KeepDatabase() {
    Tell("keep the database");
    LetGoOfDatabase();
    fs::copy_file(device_.Path("device.db"), device_.Path("kept.db"),
                  fs::copy_options::overwrite_existing);
    Give("session", POL_Open());
  }
  void PutDatabaseBack() {
    if (!fs::exists(device_.Path("kept.db"))) return;
    Tell("put the database back");
    LetGoOfDatabase();
    fs::copy_file(device_.Path("kept.db"), device_.Path("device.db"),
                  fs::copy_options::overwrite_existing);
    Give("session", POL_Open());
  }

  void RestartSession() {
    Tell("restart");
    POL_Close();
    if (OneIn(2)) CloseLog();
    if (OneIn(2)) device::CloseDatabase();
    Give("session", POL_Open());
  }

  // ---- A process that is killed ----

  void BeKilled() {
    if (pol_Application() == nullptr) POL_Open();
    for (const StoreRow& store : kStores) POL_CL_Close(store.id);
    LetGoOfDatabase();
    const int steps = 1 + Below(5);
    const StoreRow& store = AnyStore();
    const std::string partner = AnyPartner();
    Tell(std::string("killed after opening ") + store.name + " of " + partner + " and " +
         std::to_string(steps) + " steps");
    const auto seed = static_cast<uint32_t>(random_());
    const pid_t child = fork();
    if (child == 0) {
      random_.seed(seed);
      POL_Open();
      Open(store, partner);
      for (int i = 0; i < steps; ++i) ChildStep();
      kill(getpid(), testing::Test::HasFailure() ? SIGABRT : SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    Give("session", POL_Open());
  }

  TempDevice device_;
  std::optional<support::TraceReceiver> trace_;
  std::mt19937 random_;
  const Marks marks_;
  std::map<int32_t, std::string> partners_ = {{OSIF_STORE_PB, "Sync"}, {OSIF_STORE_CAL, "Sync"}};
  std::map<std::string, std::optional<std::string>> kept_;
  std::string step_;
  std::string result_;
};

int NumberFrom(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::atoi(text);
}

std::string StepsTo(const std::vector<Seen>& seen, size_t last) {
  std::string text;
  for (size_t i = 0; i <= last; ++i) text += std::to_string(i) + " " + seen[i].step + "\n";
  return text;
}

void ExpectSameHistory(uint32_t seed, Trace trace) {
  const auto run = [&](Marks marks) { return History(seed, marks, trace).Run(kSteps); };
  const std::vector<Seen> marked = run(Marks::kKept);
  const std::vector<Seen> compared = run(Marks::kTakenAway);
  for (size_t i = 0; i < marked.size(); ++i) {
    ASSERT_EQ(marked[i].text, compared[i].text) << StepsTo(marked, i);
    ASSERT_EQ(marked[i].step, compared[i].step) << StepsTo(marked, i);
  }
}

class TrackedHistory : public testing::TestWithParam<Trace> {};

INSTANTIATE_TEST_SUITE_P(Seen, TrackedHistory, testing::Values(Trace::kOn, Trace::kOff),
                         [](const auto& test) {
                           return std::string(test.param == Trace::kOn ? "WithItsTrace"
                                                                       : "InSilence");
                         });

TEST_P(TrackedHistory, IsTheSameAsOneInWhichEverythingIsCompared) {
  const auto first = static_cast<uint32_t>(NumberFrom("OSIF_SEED", 1));
  const auto rounds = static_cast<uint32_t>(NumberFrom("OSIF_ROUNDS", 3));
  for (uint32_t seed = first; seed < first + rounds; ++seed) {
    SCOPED_TRACE("OSIF_SEED=" + std::to_string(seed));
    ASSERT_NO_FATAL_FAILURE(ExpectSameHistory(seed, GetParam()));
    ASSERT_FALSE(HasFailure());
  }
}

}  // namespace
}  // namespace pol_tracked_history_test
