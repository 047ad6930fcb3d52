// What storing and fetching objects costs, each looked for first, beside the database doing the same with plain
// prepared statements.
//
// The baseline is the least that a program on the same store has to do. Its database has the schema of a device,
// because it is one: the library made it, and set it to WAL. The rows are those that the library stored for the
// same objects, copied column by column. It does for each object what the library does: one look-up by the
// index that the library's goes by, the id of a message in a transaction of its own, all rows of the object in
// one transaction more; synchronous=NORMAL, foreign keys on. Fetching reads every column of every row of
// the object, found by its id.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/filled_device.h"
#include "bench/support/mixed_objects.h"
#include "osif.h"

namespace {

using bench::ItemKind;
using bench::Require;
using ObjectId = std::array<char, OSIF_ID_SIZE>;

// ---- The library -----------------------------------------------------------------------------------------

std::string MixedItem(ItemKind kind, int number, int count) {
  switch (kind) {
    case ItemKind::kContact:
      return bench::MixedCard(number, count);
    case ItemKind::kEvent:
      return bench::MixedEvent(number, count);
    default:
      return bench::MixedMessage(number, count);
  }
}

// Records of generated objects, read once. Released when it goes.
class Objects {
 public:
  Objects(ItemKind kind, int count) : store_id_(bench::StoreOf(kind)) {
    const bench::FilledDevice device(kind, 0);
    const bench::OpenLibrary library(device);
    const bench::TempFolder folder;
    bench::PutBytes(folder.File("objects"), bench::Repeated(count, [&](int number) {
                      return MixedItem(kind, number, count);
                    }));
    objects_.reserve(static_cast<size_t>(count));
    bench::ReadFile(folder.File("objects"), [this](OsifObject& lent) {
      objects_.push_back(lent);
      lent = {};
    });
    Require(objects_.size() == static_cast<size_t>(count), "objects are missing");
  }
  ~Objects() {
    for (OsifObject& object : objects_) OSIF_FreeObject(store_id_, &object);
  }
  Objects(const Objects&) = delete;
  Objects& operator=(const Objects&) = delete;

  // Into the store of the open library, each looked for first.
  std::vector<ObjectId> Store() {
    std::vector<ObjectId> ids(objects_.size());
    for (size_t i = 0; i < objects_.size(); ++i) {
      Require(OSIF_FindObject(store_id_, &objects_[i], ids[i].data()) == 0,
              "an object is there twice");
      Require(OSIF_AddObject(store_id_, &objects_[i], ids[i].data(), nullptr) == OSIF_OK,
              "an object was not stored");
    }
    return ids;
  }

 private:
  int32_t store_id_;
  std::vector<OsifObject> objects_;
};

// A device with the objects in it, made by the library, and what it was made of.
struct Source {
  Source(ItemKind kind, int count) : objects(kind, count), device(kind, 0) {
    const bench::OpenLibrary library(device);
    ids = objects.Store();
  }

  Objects objects;
  bench::FilledDevice device;
  std::vector<ObjectId> ids;
};

Source& SourceOf(ItemKind kind, int64_t count) {
  static std::map<std::pair<ItemKind, int64_t>, std::unique_ptr<Source>> sources;
  auto& source = sources[{kind, count}];
  if (!source) source = std::make_unique<Source>(kind, static_cast<int>(count));
  return *source;
}

void Store(benchmark::State& state, ItemKind kind) {
  Source& source = SourceOf(kind, state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    {
      const bench::FilledDevice device(kind, 0);
      const bench::OpenLibrary library(device);
      state.ResumeTiming();
      benchmark::DoNotOptimize(source.objects.Store());
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Fetch(benchmark::State& state, ItemKind kind) {
  Source& source = SourceOf(kind, state.range(0));
  const bench::OpenLibrary library(source.device);
  for (auto _ : state) {
    for (const ObjectId& id : source.ids) {
      OsifObject object;
      Require(OSIF_GetObjectById(bench::StoreOf(kind), id.data(), &object) == OSIF_OK,
              "an object was not fetched");
      OSIF_FreeObject(bench::StoreOf(kind), &object);
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- Plain statements ------------------------------------------------------------------------------------

struct TableOf {
  const char* name;
  const char* key;  // the column with the object's id
};

struct Schema {
  std::vector<TableOf> tables;  // an object's rows, in the order in which they refer to each other
  const char* find;  // the look-up; ?1 and so on are columns of the first row that it compares
  const char* find_values;  // what to look up, by id
  const char*
      reserve_id;  // done before an object is stored, by itself; empty when there is nothing
};

const Schema& SchemaOf(ItemKind kind) {
  static const Schema kContacts = {
      {{"pim_objects", "oid"}, {"pim_contacts", "oid"}},
      "SELECT oid FROM pim_contacts WHERE last_name = ?1 AND first_name = ?2",
      "SELECT last_name, first_name FROM pim_contacts WHERE oid = ?",
      ""};
  static const Schema kEvents = {
      {{"pim_objects", "oid"},
       {"pim_appointments", "oid"},
       {"pim_recipients", "oid"},
       {"pim_patterns", "oid"}},
      "SELECT oid FROM pim_appointments WHERE start_date = ?1 AND subject = ?2",
      "SELECT start_date, subject FROM pim_appointments WHERE oid = ?",
      ""};
  static const Schema kMessages = {
      {{"mapi_messages", "id"}, {"mapi_properties", "message"}, {"mapi_bodies", "message"}},
      "SELECT id FROM mapi_messages WHERE folder = 1 AND delivery_time = ?1 AND subject = ?2",
      "SELECT delivery_time, subject FROM mapi_messages WHERE id = ?",
      "UPDATE mapi_last_id SET id = id + 1"};
  if (kind == ItemKind::kContact) return kContacts;
  return kind == ItemKind::kEvent ? kEvents : kMessages;
}

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using PlainStatement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

// A connection as the device has it.
class Connection {
 public:
  explicit Connection(const std::string& path) {
    constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
    Require(sqlite3_open_v2(path.c_str(), &handle_, kFlags, nullptr) == SQLITE_OK,
            "the database was not opened");
    Require(Text("PRAGMA journal_mode") == "wal", "the device does not use WAL any more");
    Require(sqlite3_exec(handle_, "PRAGMA synchronous=NORMAL; PRAGMA foreign_keys=ON", nullptr,
                         nullptr, nullptr) == SQLITE_OK,
            "the database was not set up");
  }
  ~Connection() { sqlite3_close_v2(handle_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  PlainStatement Prepare(const std::string& sql) const {
    sqlite3_stmt* statement = nullptr;
    Require(sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK,
            "a statement was not prepared");
    return PlainStatement(statement);
  }

 private:
  std::string Text(const std::string& sql) const {
    const PlainStatement statement = Prepare(sql);
    Require(sqlite3_step(statement.get()) == SQLITE_ROW, "a setting was not read");
    return reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
  }

  sqlite3* handle_ = nullptr;
};

// Runs a statement that gives no row.
void Run(const PlainStatement& statement) {
  Require(sqlite3_step(statement.get()) == SQLITE_DONE, "a statement did not run");
  sqlite3_reset(statement.get());
}

struct FreeValue {
  void operator()(sqlite3_value* value) const { sqlite3_value_free(value); }
};
using Row = std::vector<std::unique_ptr<sqlite3_value, FreeValue>>;

void Bind(const PlainStatement& statement, const Row& row) {
  for (size_t i = 0; i < row.size(); ++i) {
    sqlite3_bind_value(statement.get(), static_cast<int>(i) + 1, row[i].get());
  }
}

// All rows that a statement gives for an id.
std::vector<Row> RowsOf(const PlainStatement& statement, int64_t id) {
  std::vector<Row> rows;
  sqlite3_bind_int64(statement.get(), 1, id);
  while (sqlite3_step(statement.get()) == SQLITE_ROW) {
    Row row;
    for (int i = 0; i < sqlite3_column_count(statement.get()); ++i) {
      row.emplace_back(sqlite3_value_dup(sqlite3_column_value(statement.get(), i)));
    }
    rows.push_back(std::move(row));
  }
  sqlite3_reset(statement.get());
  return rows;
}

std::vector<int64_t> IdsOf(const Connection& source, const TableOf& table) {
  const PlainStatement statement = source.Prepare(
      bench::Joined({"SELECT ", table.key, " FROM ", table.name, " ORDER BY ", table.key}));
  std::vector<int64_t> ids;
  while (sqlite3_step(statement.get()) == SQLITE_ROW) {
    ids.push_back(sqlite3_column_int64(statement.get(), 0));
  }
  return ids;
}

std::string SelectSql(const TableOf& table) {
  return bench::Joined({"SELECT * FROM ", table.name, " WHERE ", table.key, " = ?"});
}

// The rows of all objects of a device in memory.
class StoredRows {
 public:
  StoredRows(const Schema& schema, const std::string& path) {
    const Connection source(path);
    const PlainStatement find_values = source.Prepare(schema.find_values);
    std::vector<PlainStatement> selects;
    for (const TableOf& table : schema.tables) selects.push_back(source.Prepare(SelectSql(table)));
    for (const int64_t id : IdsOf(source, schema.tables.front())) {
      StoredObject& object = objects_.emplace_back();
      object.find_values = std::move(RowsOf(find_values, id).front());
      for (const PlainStatement& select : selects) object.rows.push_back(RowsOf(select, id));
    }
  }

  struct StoredObject {
    Row find_values;
    std::vector<std::vector<Row>> rows;  // by table
  };
  const std::vector<StoredObject>& objects() const { return objects_; }

 private:
  std::vector<StoredObject> objects_;
};

std::string InsertSql(const Connection& connection, const TableOf& table) {
  const PlainStatement columns = connection.Prepare(SelectSql(table));
  std::string sql = bench::Joined({"INSERT INTO ", table.name, " VALUES(?"});
  for (int i = 1; i < sqlite3_column_count(columns.get()); ++i) sql += ",?";
  return sql + ")";
}

// Stores rows in a device by statements that are prepared once.
class PlainStore {
 public:
  PlainStore(const Schema& schema, const std::string& path)
      : connection_(path),
        begin_(connection_.Prepare("BEGIN IMMEDIATE")),
        commit_(connection_.Prepare("COMMIT")),
        find_(connection_.Prepare(schema.find)) {
    if (*schema.reserve_id != '\0') reserve_ = connection_.Prepare(schema.reserve_id);
    for (const TableOf& table : schema.tables) {
      inserts_.push_back(connection_.Prepare(InsertSql(connection_, table)));
    }
  }

  void FindAndInsert(const StoredRows::StoredObject& object) const {
    Bind(find_, object.find_values);
    Run(find_);  // not there: no row
    if (reserve_) Run(reserve_);
    Run(begin_);
    for (size_t table = 0; table < inserts_.size(); ++table) {
      for (const Row& row : object.rows[table]) {
        Bind(inserts_[table], row);
        Run(inserts_[table]);
      }
    }
    Run(commit_);
  }

 private:
  Connection connection_;
  PlainStatement begin_;
  PlainStatement commit_;
  PlainStatement find_;
  PlainStatement reserve_;  // null when there is nothing to do
  std::vector<PlainStatement> inserts_;
};

void StoreRows(benchmark::State& state, ItemKind kind) {
  const Schema& schema = SchemaOf(kind);
  const StoredRows rows(schema, SourceOf(kind, state.range(0)).device.database());
  Require(static_cast<int64_t>(rows.objects().size()) == state.range(0), "rows are missing");
  for (auto _ : state) {
    state.PauseTiming();
    {
      const bench::FilledDevice device(kind, 0);
      const PlainStore store(schema, device.database());
      state.ResumeTiming();
      for (const auto& object : rows.objects()) store.FindAndInsert(object);
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Every column of all rows that a statement gives for an id, as the database holds them.
int FetchRowsOf(const PlainStatement& statement, int64_t id) {
  int rows = 0;
  sqlite3_bind_int64(statement.get(), 1, id);
  for (; sqlite3_step(statement.get()) == SQLITE_ROW; ++rows) {
    const int columns = sqlite3_column_count(statement.get());
    for (int column = 0; column < columns; ++column) {
      if (sqlite3_column_type(statement.get(), column) == SQLITE_NULL) continue;
      benchmark::DoNotOptimize(sqlite3_column_blob(statement.get(), column));
      benchmark::DoNotOptimize(sqlite3_column_bytes(statement.get(), column));
    }
  }
  sqlite3_reset(statement.get());
  return rows;
}

void FetchRows(benchmark::State& state, ItemKind kind) {
  const Schema& schema = SchemaOf(kind);
  const Connection connection(SourceOf(kind, state.range(0)).device.database());
  const std::vector<int64_t> ids = IdsOf(connection, schema.tables.front());
  std::vector<PlainStatement> selects;
  for (const TableOf& table : schema.tables)
    selects.push_back(connection.Prepare(SelectSql(table)));
  for (auto _ : state) {
    int64_t rows = 0;
    for (const int64_t id : ids) {
      for (const PlainStatement& select : selects) rows += FetchRowsOf(select, id);
    }
    Require(rows >= 2 * state.range(0), "rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Once in every repetition: the devices are new each time.
void Size(benchmark::internal::Benchmark* bench) {
  bench->Arg(10'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(StoreRows, contacts, ItemKind::kContact)->Apply(Size)->Iterations(1);
BENCHMARK_CAPTURE(Store, contacts, ItemKind::kContact)->Apply(Size)->Iterations(1);
BENCHMARK_CAPTURE(FetchRows, contacts, ItemKind::kContact)->Apply(Size);
BENCHMARK_CAPTURE(Fetch, contacts, ItemKind::kContact)->Apply(Size);
BENCHMARK_CAPTURE(StoreRows, events, ItemKind::kEvent)->Apply(Size)->Iterations(1);
BENCHMARK_CAPTURE(Store, events, ItemKind::kEvent)->Apply(Size)->Iterations(1);
BENCHMARK_CAPTURE(FetchRows, events, ItemKind::kEvent)->Apply(Size);
BENCHMARK_CAPTURE(Fetch, events, ItemKind::kEvent)->Apply(Size);
BENCHMARK_CAPTURE(StoreRows, messages, ItemKind::kMessage)->Apply(Size)->Iterations(1);
BENCHMARK_CAPTURE(Store, messages, ItemKind::kMessage)->Apply(Size)->Iterations(1);
BENCHMARK_CAPTURE(FetchRows, messages, ItemKind::kMessage)->Apply(Size);
BENCHMARK_CAPTURE(Fetch, messages, ItemKind::kMessage)->Apply(Size);

}  // namespace
