// What it costs to find out whether the store knows an object that was received, against the store's size.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/support/filled_device.h"
#include "bench/support/plain_statement.h"
#include "osif.h"

namespace {

using bench::FilledDevice;
using bench::ItemKind;

// A record as a file gives it, with everything that hangs from it.
class KeptObject {
 public:
  KeptObject(int32_t store_id, OsifObject& lent) : store_id_(store_id), object_(lent) { lent = {}; }
  ~KeptObject() { OSIF_FreeObject(store_id_, &object_); }
  KeptObject(const KeptObject&) = delete;
  KeptObject& operator=(const KeptObject&) = delete;

  OsifObject* get() { return &object_; }

 private:
  int32_t store_id_;
  OsifObject object_;
};

using Objects = std::vector<std::unique_ptr<KeptObject>>;

// Records of objects that are spread over a store of this size, or that are not in it.
Objects Wanted(const FilledDevice& device, bool are_known) {
  constexpr int kWanted = 50;
  std::string text;
  for (int i = 0; i < kWanted; ++i) {
    const int number = device.count() / kWanted * i + (are_known ? 0 : 10 * device.count());
    text += bench::ItemText(device.kind(), number, device.count());
  }
  const bench::TempFolder folder;
  bench::PutBytes(folder.File("wanted"), text);
  Objects objects;
  bench::ReadFile(folder.File("wanted"), [&](OsifObject& object) {
    objects.push_back(std::make_unique<KeptObject>(bench::StoreOf(device.kind()), object));
  });
  return objects;
}

void Find(benchmark::State& state, ItemKind kind, bool are_known) {
  const FilledDevice& device = bench::DeviceOf(kind, state.range(0));
  const bench::OpenLibrary library(device);
  const Objects objects = Wanted(device, are_known);
  size_t next = 0;
  for (auto _ : state) {
    char id[OSIF_ID_SIZE] = "";
    const bool is_found = OSIF_FindObject(bench::StoreOf(kind), objects[next]->get(), id) != 0;
    bench::Require(is_found == are_known, "the answer is wrong");
    next = (next + 1) % objects.size();
  }
}

void FindContactByName(benchmark::State& state) { Find(state, ItemKind::kContact, true); }
void FindUnknownContact(benchmark::State& state) { Find(state, ItemKind::kContact, false); }
void FindEventByStartAndSummary(benchmark::State& state) { Find(state, ItemKind::kEvent, true); }
void FindUnknownEvent(benchmark::State& state) { Find(state, ItemKind::kEvent, false); }
void FindTaskBySummary(benchmark::State& state) { Find(state, ItemKind::kTask, true); }
void FindUnknownTask(benchmark::State& state) { Find(state, ItemKind::kTask, false); }

void FindMessageByTimeAndSubject(benchmark::State& state) { Find(state, ItemKind::kMessage, true); }
void FindUnknownMessage(benchmark::State& state) { Find(state, ItemKind::kMessage, false); }

// The baseline: the database alone, asked with a statement that is prepared already, by the same index.
void SelectContactByName(benchmark::State& state) {
  const FilledDevice& device = bench::DeviceOf(ItemKind::kContact, state.range(0));
  const bench::PlainStatement names(device.database(),
                                    "SELECT last_name, first_name FROM pim_contacts LIMIT 50");
  const bench::PlainStatement search(
      device.database(), "SELECT oid FROM pim_contacts WHERE last_name = ? AND first_name = ?");
  bench::Require(sqlite3_step(names.get()) == SQLITE_ROW, "there are no contacts");
  for (int column = 0; column < 2; ++column) {
    sqlite3_bind_value(search.get(), column + 1, sqlite3_column_value(names.get(), column));
  }
  for (auto _ : state) {
    bench::Require(sqlite3_step(search.get()) == SQLITE_ROW, "the answer is wrong");
    sqlite3_reset(search.get());
  }
}

// A file of objects comes to an empty store: each is looked for, not found, and stored.
void Receive(benchmark::State& state, ItemKind kind) {
  const int count = static_cast<int>(state.range(0));
  const bench::TempFolder folder;
  bench::PutBytes(folder.File("objects"), bench::Repeated(count, [&](int number) {
                    return bench::ItemText(kind, number, count);
                  }));
  for (auto _ : state) {
    state.PauseTiming();
    {
      const FilledDevice device(kind, 0);
      const bench::OpenLibrary library(device);
      state.ResumeTiming();
      bench::ReadFile(folder.File("objects"), [kind](OsifObject& object) {
        char id[OSIF_ID_SIZE] = "";
        bench::Require(OSIF_FindObject(bench::StoreOf(kind), &object, id) == 0,
                       "an object is there twice");
        OSIF_AddObject(bench::StoreOf(kind), &object, id, nullptr);
      });
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void ReceiveContacts(benchmark::State& state) { Receive(state, ItemKind::kContact); }
void ReceiveEvents(benchmark::State& state) { Receive(state, ItemKind::kEvent); }
void ReceiveEventsOfOneSubject(benchmark::State& state) {
  Receive(state, ItemKind::kEventOfOneSubject);
}
void ReceiveEventsWithoutSubject(benchmark::State& state) {
  Receive(state, ItemKind::kEventWithoutSubject);
}
void ReceiveMessages(benchmark::State& state) { Receive(state, ItemKind::kMessage); }

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(1000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(FindContactByName)->Apply(Sizes);
BENCHMARK(SelectContactByName)->Apply(Sizes);
BENCHMARK(FindUnknownContact)->Apply(Sizes);
BENCHMARK(FindEventByStartAndSummary)->Apply(Sizes);
BENCHMARK(FindUnknownEvent)->Apply(Sizes);
BENCHMARK(FindTaskBySummary)->Apply(Sizes);
BENCHMARK(FindUnknownTask)->Apply(Sizes);
BENCHMARK(FindMessageByTimeAndSubject)->Apply(Sizes);
BENCHMARK(FindUnknownMessage)->Apply(Sizes);
BENCHMARK(ReceiveContacts)->Arg(500)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(ReceiveEvents)->Arg(500)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(ReceiveEventsOfOneSubject)->Arg(500)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(ReceiveEventsWithoutSubject)->Arg(500)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(ReceiveMessages)->Arg(500)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace
