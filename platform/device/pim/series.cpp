// An item that recurs has a row in pim_patterns, one that does not has none. An exception is a row for its
// day; a changed occurrence is an appointment of its own, in the folder that no collection shows, and goes
// with its exception by a trigger, and with its series through the exceptions. The checks of the table are
// those that the properties make when they are put, so that nothing is stored that the reckoning does not
// expect.
//
// Nothing here opens a transaction: a recurrence is written with its item, an exception with its occurrence.

#include "platform/device/pim/series.h"

#include "platform/device/pim/objects.h"

namespace device {
namespace {

HRESULT RunOf(Database& database, Statement& statement) {
  return statement.Run() ? S_OK : PimResult(database.LastError());
}

HRESULT DropException(Database& database, int32_t series, int32_t day) {
  Statement statement = database.Prepare("DELETE FROM pim_exceptions WHERE series = ? AND day = ?");
  statement.Bind(1, int64_t{series}).Bind(2, int64_t{day});
  return RunOf(database, statement);
}

template <typename Number>
void BindOptional(Statement& statement, int parameter, const std::optional<Number>& number) {
  if (number) statement.Bind(parameter, int64_t{*number});  // what is not bound is NULL
}

void ReadOptional(const Statement& row, int column, std::optional<int32_t>& number) {
  number.reset();
  if (!row.IsNull(column)) number = static_cast<int32_t>(row.Integer(column));
}

SeriesException ExceptionIn(const Statement& row) {
  return {static_cast<int32_t>(row.Integer(0)), static_cast<int32_t>(row.Integer(1))};
}

}  // namespace

// The trigger works for rows that go with their series, too.
const char* SeriesSchema() {
  return R"(
CREATE TABLE pim_patterns(
  oid INTEGER PRIMARY KEY REFERENCES pim_objects(oid) ON DELETE CASCADE,
  recurrence_type INTEGER NOT NULL CHECK(recurrence_type IN (0, 1, 2, 3, 5, 6)),
  start_day INTEGER NOT NULL CHECK(start_day BETWEEN -657434 AND 2958465),
  interval INTEGER NOT NULL CHECK(interval BETWEEN 1 AND 999),
  day_of_week_mask INTEGER NOT NULL CHECK(day_of_week_mask BETWEEN 0 AND 127),
  day_of_month INTEGER NOT NULL CHECK(day_of_month BETWEEN -31 AND 31),
  instance INTEGER NOT NULL CHECK(instance BETWEEN 0 AND 5),
  month_of_year INTEGER NOT NULL CHECK(month_of_year BETWEEN 0 AND 12),
  end_day INTEGER CHECK(end_day BETWEEN -657434 AND 2958465),
  occurrences INTEGER CHECK(occurrences BETWEEN 1 AND 2147483647),
  CHECK(recurrence_type NOT IN (1, 3, 6) OR day_of_week_mask > 0),
  CHECK(recurrence_type NOT IN (2, 5) OR day_of_month <> 0),
  CHECK(recurrence_type NOT IN (3, 6) OR instance > 0),
  CHECK(recurrence_type NOT IN (5, 6) OR month_of_year > 0),
  CHECK(end_day IS NULL OR occurrences IS NULL));
CREATE TABLE pim_exceptions(
  series INTEGER NOT NULL REFERENCES pim_objects(oid) ON DELETE CASCADE,
  day INTEGER NOT NULL,
  occurrence INTEGER,
  PRIMARY KEY(series, day)) WITHOUT ROWID;
CREATE TRIGGER pim_exceptions_with_occurrence AFTER DELETE ON pim_exceptions
  WHEN old.occurrence IS NOT NULL
  BEGIN DELETE FROM pim_objects WHERE oid = old.occurrence; END;
)";
}

HRESULT LoadRecurrence(Database& database, int32_t oid, Recurrence* recurrence) {
  *recurrence = {};
  Statement row = database.Prepare(
      "SELECT recurrence_type, start_day, interval, day_of_week_mask, day_of_month, instance, "
      "month_of_year, end_day, occurrences FROM pim_patterns WHERE oid = ?");
  const int step = row.Bind(1, int64_t{oid}).Step();
  if (step == SQLITE_DONE) return S_OK;
  if (step != SQLITE_ROW) return PimResult(database.LastError());
  int column = 0;
  for (LONG* number :
       {&recurrence->type, &recurrence->start, &recurrence->interval, &recurrence->day_of_week_mask,
        &recurrence->day_of_month, &recurrence->instance, &recurrence->month_of_year}) {
    *number = static_cast<LONG>(row.Integer(column++));
  }
  ReadOptional(row, column++, recurrence->end);
  ReadOptional(row, column, recurrence->occurrences);
  return S_OK;
}

HRESULT SaveRecurrence(Database& database, int32_t oid, const Recurrence& recurrence) {
  if (!IsRecurring(recurrence)) {
    Statement statement = database.Prepare("DELETE FROM pim_patterns WHERE oid = ?");
    statement.Bind(1, int64_t{oid});
    return RunOf(database, statement);
  }
  Statement statement = database.Prepare(
      "INSERT OR REPLACE INTO pim_patterns(oid, recurrence_type, start_day, interval, "
      "day_of_week_mask, day_of_month, instance, month_of_year, end_day, occurrences) "
      "VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  int parameter = 0;
  for (LONG number :
       {oid, recurrence.type, recurrence.start, recurrence.interval, recurrence.day_of_week_mask,
        recurrence.day_of_month, recurrence.instance, recurrence.month_of_year}) {
    statement.Bind(++parameter, int64_t{number});
  }
  BindOptional(statement, ++parameter, recurrence.end);
  BindOptional(statement, ++parameter, recurrence.occurrences);
  return RunOf(database, statement);
}

HRESULT ListExceptions(Database& database, int32_t series,
                       std::vector<SeriesException>* exceptions) {
  exceptions->clear();
  Statement row =
      database.Prepare("SELECT day, occurrence FROM pim_exceptions WHERE series = ? ORDER BY day");
  row.Bind(1, int64_t{series});
  int step;
  while ((step = row.Step()) == SQLITE_ROW) exceptions->push_back(ExceptionIn(row));
  return step == SQLITE_DONE ? S_OK : PimResult(step);
}

HRESULT FindException(Database& database, int32_t series, int32_t day, SeriesException* exception) {
  Statement row =
      database.Prepare("SELECT day, occurrence FROM pim_exceptions WHERE series = ? AND day = ?");
  switch (row.Bind(1, int64_t{series}).Bind(2, int64_t{day}).Step()) {
    case SQLITE_ROW:
      *exception = ExceptionIn(row);
      return S_OK;
    case SQLITE_DONE:
      *exception = {day, 0};
      return S_FALSE;
    default:
      return PimResult(database.LastError());
  }
}

HRESULT WriteException(Database& database, int32_t series, const SeriesException& exception) {
  if (HRESULT hr = DropException(database, series, exception.day); FAILED(hr)) return hr;
  Statement statement =
      database.Prepare("INSERT INTO pim_exceptions(series, day, occurrence) VALUES(?, ?, ?)");
  statement.Bind(1, int64_t{series}).Bind(2, int64_t{exception.day});
  if (exception.occurrence != 0) statement.Bind(3, int64_t{exception.occurrence});
  return RunOf(database, statement);
}

// One by one and not by a condition: whether the series takes place on a day is not for SQL to say.
HRESULT DropExceptions(Database& database, int32_t series, const Recurrence& recurrence) {
  std::vector<SeriesException> exceptions;
  if (HRESULT hr = ListExceptions(database, series, &exceptions); FAILED(hr)) return hr;
  for (const SeriesException& exception : exceptions) {
    if (HasOccurrence(recurrence, exception.day)) continue;
    if (HRESULT hr = DropException(database, series, exception.day); FAILED(hr)) return hr;
  }
  return S_OK;
}

}  // namespace device
