// Stamps are the row numbers of a table that has one row for each item that was changed or deleted: writing moves the
// row to the end. AUTOINCREMENT promises that a number is not given twice, also when the last row has gone.
//
// Adding an item, which is what is done most, costs no row. What the tables of items take in is stamped only when it
// takes the place of a row, or when a mark has already told of the id: whoever holds that mark would not
// look for it as new. Recipients, patterns and exceptions, which any program may add to an item later, are
// always stamped.
//
// A row that would have taken the place of one and is then ignored stamps its item, too: whoever asks looks at it for
// nothing.
//
// The triggers delete and insert instead of replacing: the conflict clause of whoever fired them would take the place
// of theirs ("INSERT OR IGNORE" into an item's table would leave the old stamp).
//
// A mark is written before it is handed out, so a database that knows it knows all that was committed before it.

#include "platform/device/pim/changes.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <tuple>

#include "platform/device/pim/objects.h"

namespace device {
namespace {

// Marks beyond these are forgotten, the oldest first. Whoever comes with one of them compares everything.
constexpr int64_t kKeptMarks = 256;

// A mark tells the highest id and the highest stamp that had been given.
constexpr std::string_view kTables = R"sql(
CREATE TABLE pim_changes(
  stamp INTEGER PRIMARY KEY AUTOINCREMENT,
  oid INTEGER NOT NULL UNIQUE);
CREATE TABLE pim_marks(
  number INTEGER PRIMARY KEY AUTOINCREMENT,
  token TEXT NOT NULL,
  oid INTEGER NOT NULL,
  stamp INTEGER NOT NULL);
)sql";

constexpr std::string_view kItemTables[] = {"pim_objects", "pim_contacts", "pim_appointments",
                                            "pim_tasks"};

// Whose rows are parts of an item, and the column with the item's id.
struct PartTable {
  std::string_view table;
  std::string_view id;
};

constexpr PartTable kPartTables[] = {
    {"pim_patterns", "oid"}, {"pim_exceptions", "series"}, {"pim_recipients", "oid"}};

// A trigger that stamps the item of a row: `row` is "new" or "old".
std::string Trigger(std::string_view name, std::string_view event, const PartTable& rows,
                    std::string_view row, std::string_view condition = {}) {
  const std::string oid = std::string(row) + "." + std::string(rows.id);
  std::string sql = "CREATE TRIGGER " + std::string(rows.table) + "_" + std::string(name) + " ";
  sql += std::string(event) + " ON " + std::string(rows.table) + " " + std::string(condition);
  sql += "\nBEGIN\n  DELETE FROM pim_changes WHERE oid = " + oid + ";\n";
  sql += "  INSERT INTO pim_changes(oid) VALUES(" + oid + ");\nEND;\n";
  return sql;
}

// A row that is changed, moved to another item, or taken away.
std::string ChangeTriggers(const PartTable& rows) {
  return Trigger("changed", "AFTER UPDATE", rows, "new") +
         Trigger("moved", "AFTER UPDATE OF " + std::string(rows.id), rows, "old") +
         Trigger("deleted", "AFTER DELETE", rows, "old");
}

std::string ItemTriggers(std::string_view table) {
  const PartTable rows = {table, "oid"};
  const std::string is_there =
      "WHEN EXISTS(SELECT 1 FROM " + std::string(table) + " WHERE oid = new.oid)";
  constexpr std::string_view kIsTold =
      "WHEN new.oid <= (SELECT oid FROM pim_marks ORDER BY number DESC LIMIT 1)";
  return Trigger("replaced", "BEFORE INSERT", rows, "new", is_there) +
         Trigger("added_late", "AFTER INSERT", rows, "new", kIsTold) + ChangeTriggers(rows);
}

// ---- Marks --------------------------------------------------------------------------------------

struct Mark {
  int64_t number = 0;
  std::string token;
  int64_t oid = 0;
  int64_t stamp = 0;

  std::string Text() const { return std::to_string(number) + "-" + token; }
};

// S_FALSE when there is none.
HRESULT ReadMark(Statement& row, Mark* mark) {
  const int step = row.Step();
  if (step == SQLITE_DONE) return S_FALSE;
  if (step != SQLITE_ROW) return PimResult(step);
  *mark = {row.Integer(0), std::string(row.Bytes(1)), row.Integer(2), row.Integer(3)};
  return S_OK;
}

// The highest numbers that were given; a table without rows may have given some.
HRESULT ReadHighest(Database& database, Mark* mark) {
  Statement row = database.Prepare(
      "SELECT (SELECT seq FROM sqlite_sequence WHERE name = 'pim_objects'), "
      "(SELECT seq FROM sqlite_sequence WHERE name = 'pim_changes')");
  const int step = row.Step();
  if (step != SQLITE_ROW) return PimResult(step);
  mark->oid = row.Integer(0);
  mark->stamp = row.Integer(1);
  return S_OK;
}

// The newest mark, when nothing was written after it; else S_FALSE.
HRESULT ReadNewestMark(Database& database, Mark* mark) {
  Statement row = database.Prepare(
      "SELECT number, token, oid, stamp FROM pim_marks ORDER BY number DESC LIMIT 1");
  if (const HRESULT hr = ReadMark(row, mark); hr != S_OK) return hr;
  Mark now;
  if (const HRESULT hr = ReadHighest(database, &now); FAILED(hr)) return hr;
  return now.oid == mark->oid && now.stamp == mark->stamp ? S_OK : S_FALSE;
}

bool AddMark(Database& database, const Mark& highest) {
  Statement add =
      database.Prepare("INSERT INTO pim_marks(token, oid, stamp) VALUES(hex(randomblob(8)), ?, ?)");
  if (!add.Bind(1, highest.oid).Bind(2, highest.stamp).Run()) return false;
  Statement forget = database.Prepare("DELETE FROM pim_marks WHERE number <= ?");
  return forget.Bind(1, database.LastRowId() - kKeptMarks).Run();
}

// Under the write lock: another program may have written meanwhile, or made the mark.
HRESULT MakeNewestMark(Database& database, Mark* mark) {
  Transaction transaction(database);
  if (!transaction.is_open()) return PimResult(database.LastError());
  if (const HRESULT hr = ReadNewestMark(database, mark); hr != S_FALSE) return hr;
  Mark highest;
  if (const HRESULT hr = ReadHighest(database, &highest); FAILED(hr)) return hr;
  if (!AddMark(database, highest)) return PimResult(database.LastError());
  if (const HRESULT hr = ReadNewestMark(database, mark); FAILED(hr)) return hr;
  return transaction.Commit() ? S_OK : PimResult(database.LastError());
}

// S_FALSE for a text that is no mark of this database.
HRESULT FindMark(Database& database, std::string_view text, Mark* mark) {
  int64_t number = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc()) {
    return S_FALSE;
  }
  Statement row =
      database.Prepare("SELECT number, token, oid, stamp FROM pim_marks WHERE number = ?");
  row.Bind(1, number);
  const HRESULT hr = ReadMark(row, mark);
  return hr == S_OK && mark->Text() != text ? S_FALSE : hr;
}

// ---- Changes ------------------------------------------------------------------------------------

HRESULT Append(Database& database, std::string_view sql, int64_t after, int64_t up_to,
               std::vector<ChangedObject>* changes) {
  Statement row = database.Prepare(sql);
  row.Bind(1, after).Bind(2, up_to);
  int step;
  while ((step = row.Step()) == SQLITE_ROW) {
    changes->push_back(
        {static_cast<int32_t>(row.Integer(0)), static_cast<int>(row.Integer(1)), row.Integer(2)});
  }
  return step == SQLITE_DONE ? S_OK : PimResult(step);
}

// What is both new and stamped is met twice.
void Order(std::vector<ChangedObject>& changes) {
  const auto key = [](const ChangedObject& change) { return std::tie(change.folder, change.oid); };
  std::sort(changes.begin(), changes.end(),
            [&](const auto& a, const auto& b) { return key(a) < key(b); });
  const auto end = std::unique(changes.begin(), changes.end(),
                               [&](const auto& a, const auto& b) { return key(a) == key(b); });
  changes.erase(end, changes.end());
}

}  // namespace

std::string ChangesSchema() {
  std::string sql(kTables);
  for (const std::string_view table : kItemTables) sql += ItemTriggers(table);
  for (const PartTable& part : kPartTables) {
    sql += Trigger("added", "AFTER INSERT", part, "new") + ChangeTriggers(part);
  }
  return sql;
}

HRESULT ReadStamp(Database& database, int32_t oid, int64_t* stamp) {
  Statement row = database.Prepare("SELECT stamp FROM pim_changes WHERE oid = ?");
  const int step = row.Bind(1, int64_t{oid}).Step();
  *stamp = step == SQLITE_ROW ? row.Integer(0) : 0;
  return step == SQLITE_ROW || step == SQLITE_DONE ? S_OK : PimResult(step);
}

HRESULT MakeMark(Database& database, std::string* text) {
  Mark mark;
  // Nothing is written where nothing was written since the last mark.
  HRESULT hr = ReadNewestMark(database, &mark);
  if (hr == S_FALSE) hr = MakeNewestMark(database, &mark);
  if (SUCCEEDED(hr)) *text = mark.Text();
  return hr;
}

HRESULT ListChanges(Database& database, const std::string& since, const std::string& until,
                    std::vector<ChangedObject>* changes) {
  changes->clear();
  Mark first;
  Mark last;
  if (const HRESULT hr = FindMark(database, since, &first); hr != S_OK) return hr;
  if (const HRESULT hr = FindMark(database, until, &last); hr != S_OK) return hr;
  constexpr std::string_view kStamped =
      "SELECT pim_changes.oid, pim_objects.folder, stamp FROM pim_changes "
      "LEFT JOIN pim_objects ON pim_objects.oid = pim_changes.oid WHERE stamp > ? AND stamp <= ?";
  constexpr std::string_view kNew =
      "SELECT pim_objects.oid, folder, stamp FROM pim_objects "
      "LEFT JOIN pim_changes ON pim_changes.oid = pim_objects.oid "
      "WHERE pim_objects.oid > ? AND pim_objects.oid <= ?";
  HRESULT hr = Append(database, kStamped, first.stamp, last.stamp, changes);
  if (SUCCEEDED(hr)) hr = Append(database, kNew, first.oid, last.oid, changes);
  Order(*changes);
  return hr;
}

}  // namespace device
