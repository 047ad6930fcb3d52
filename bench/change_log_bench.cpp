// What opening a change log costs against the size of the store, beside what the database itself takes to
// hand out the same rows.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>

#include "bench/support/filled_device.h"
#include "bench/support/plain_statement.h"
#include "osif.h"

namespace {

using bench::FilledDevice;

const FilledDevice& ContactsOf(const benchmark::State& state) {
  return bench::DeviceOf(bench::ItemKind::kContact, state.range(0));
}

// Reads every entry of the open log; returns how many there are.
int64_t ScanAll() {
  const OsifAnchor everything = {};
  ChangeLogEntry entry;
  int64_t count = 0;
  OsifResult result = OSIF_CL_GetFirstEntry(OSIF_STORE_PB, &everything, &entry);
  for (; result == OSIF_OK || result == OSIF_ERR_CL_GAP; ++count) {
    result = OSIF_CL_GetNextEntry(OSIF_STORE_PB, &entry);
  }
  bench::Require(result == OSIF_ERR_EOF, "the log was not read to its end");
  return count;
}

void RemoveLogs(const std::string& folder) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
}

// The first synchronisation: every contact is new, so the log grows by one entry for each.
void OpenFirstAndScan(benchmark::State& state) {
  const FilledDevice& device = ContactsOf(state);
  const bench::OpenLibrary library(device);
  const std::u16string folder = bench::Wide(device.sync_folder());
  for (auto _ : state) {
    state.PauseTiming();
    RemoveLogs(device.sync_folder());
    state.ResumeTiming();
    bench::Require(OSIF_CL_Open(OSIF_STORE_PB, folder.c_str()) == OSIF_OK,
                   "the log was not opened");
    bench::Require(ScanAll() == device.count(), "entries are missing");
  }
  OSIF_CL_Close(OSIF_STORE_PB);
  RemoveLogs(device.sync_folder());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Any later synchronisation to which the store has nothing to add: the snapshot comparison and a scan of what
// the log has kept.
void OpenUnchangedAndScan(benchmark::State& state) {
  const FilledDevice& device = ContactsOf(state);
  const bench::OpenLibrary library(device);
  const std::u16string folder = bench::Wide(device.sync_folder());
  OSIF_CL_Open(OSIF_STORE_PB, folder.c_str());
  OSIF_CL_Close(OSIF_STORE_PB);
  for (auto _ : state) {
    bench::Require(OSIF_CL_Open(OSIF_STORE_PB, folder.c_str()) == OSIF_OK,
                   "the log was not opened");
    bench::Require(ScanAll() <= 250, "something has changed");
  }
  OSIF_CL_Close(OSIF_STORE_PB);
  RemoveLogs(device.sync_folder());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same for the calendar, whose events have more to compare than a row.
void OpenUnchangedCalendar(benchmark::State& state) {
  const FilledDevice& device = bench::DeviceOf(bench::ItemKind::kEvent, state.range(0));
  const bench::OpenLibrary library(device);
  const std::u16string folder = bench::Wide(device.sync_folder());
  OSIF_CL_Open(OSIF_STORE_CAL, folder.c_str());
  OSIF_CL_Close(OSIF_STORE_CAL);
  for (auto _ : state) {
    bench::Require(OSIF_CL_Open(OSIF_STORE_CAL, folder.c_str()) == OSIF_OK,
                   "the log was not opened");
  }
  OSIF_CL_Close(OSIF_STORE_CAL);
  RemoveLogs(device.sync_folder());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// ---- What the database takes -------------------------------------------------------------------------

// Every column of the present row as the bytes that the database holds, without any conversion.
int64_t FetchColumns(sqlite3_stmt* statement) {
  int64_t size = 0;
  const int columns = sqlite3_column_count(statement);
  for (int column = 0; column < columns; ++column) {
    const int type = sqlite3_column_type(statement, column);
    if (type == SQLITE_NULL) continue;
    if (type == SQLITE_TEXT) benchmark::DoNotOptimize(sqlite3_column_text(statement, column));
    size += type == SQLITE_TEXT ? sqlite3_column_bytes(statement, column) : 8;
  }
  return size;
}

// Row by row, as the handheld's interface hands out its items.
void FetchRowsById(benchmark::State& state) {
  const FilledDevice& device = ContactsOf(state);
  const bench::PlainStatement ids(device.database(), "SELECT oid FROM pim_contacts ORDER BY oid");
  const bench::PlainStatement row(device.database(), "SELECT * FROM pim_contacts WHERE oid = ?");
  for (auto _ : state) {
    int64_t rows = 0;
    for (; sqlite3_step(ids.get()) == SQLITE_ROW; ++rows) {
      sqlite3_bind_int64(row.get(), 1, sqlite3_column_int64(ids.get(), 0));
      bench::Require(sqlite3_step(row.get()) == SQLITE_ROW, "a row is missing");
      benchmark::DoNotOptimize(FetchColumns(row.get()));
      sqlite3_reset(row.get());
    }
    sqlite3_reset(ids.get());
    bench::Require(rows == device.count(), "rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// All rows with one statement: the least that any program can take.
void FetchRowsAtOnce(benchmark::State& state) {
  const FilledDevice& device = ContactsOf(state);
  const bench::PlainStatement all(device.database(), "SELECT * FROM pim_contacts ORDER BY oid");
  for (auto _ : state) {
    int64_t rows = 0;
    for (; sqlite3_step(all.get()) == SQLITE_ROW; ++rows) {
      benchmark::DoNotOptimize(FetchColumns(all.get()));
    }
    sqlite3_reset(all.get());
    bench::Require(rows == device.count(), "rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(100)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(FetchRowsById)->Apply(Sizes);
BENCHMARK(FetchRowsAtOnce)->Apply(Sizes);
BENCHMARK(OpenUnchangedAndScan)->Apply(Sizes);
BENCHMARK(OpenFirstAndScan)->Apply(Sizes);
BENCHMARK(OpenUnchangedCalendar)->Apply(Sizes);

}  // namespace
