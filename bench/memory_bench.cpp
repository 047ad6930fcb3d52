// How much memory reading a file takes at its highest, against the size of the file. A program of its own: it
// counts every allocation, which would slow the others down.
#include <benchmark/benchmark.h>
#include <errno.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>

#include "bench/support/formats.h"

// ---- The allocations of the whole process, libraries included --------------------------------------------

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* memory);
}

namespace {

size_t g_used = 0;
size_t g_peak = 0;

void* Counted(void* memory) {
  if (memory != nullptr) g_used += malloc_usable_size(memory);
  g_peak = std::max(g_peak, g_used);
  return memory;
}

void Uncount(void* memory) {
  if (memory != nullptr) g_used -= malloc_usable_size(memory);
}

}  // namespace

extern "C" {

void* malloc(size_t size) { return Counted(__libc_malloc(size)); }

void* calloc(size_t count, size_t size) { return Counted(__libc_calloc(count, size)); }

void* realloc(void* memory, size_t size) {
  const size_t before = memory == nullptr ? 0 : malloc_usable_size(memory);
  void* moved = __libc_realloc(memory, size);
  if (moved == nullptr && size > 0) return nullptr;  // the old block stays
  g_used -= before;
  return Counted(moved);
}

void* memalign(size_t alignment, size_t size) { return Counted(__libc_memalign(alignment, size)); }

void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void** memory, size_t alignment, size_t size) {
  *memory = memalign(alignment, size);
  return *memory == nullptr ? ENOMEM : 0;
}

void free(void* memory) {
  Uncount(memory);
  __libc_free(memory);
}

}  // extern "C"

namespace {

// The bytes in use at the highest above what was in use when `work` began.
template <typename Work>
double PeakOf(Work work) {
  const size_t before = g_used;
  g_peak = g_used;
  work();
  return static_cast<double>(g_peak - before);
}

void Peak(benchmark::State& state, const bench::Format& format,
          void (*work)(const bench::Format&, const std::string&)) {
  const bench::ObjectFile file(format, static_cast<int>(state.range(0)));
  work(format, file.path());  // what is made once and kept, such as converters
  for (auto _ : state) {
    state.counters["peak_bytes"] = PeakOf([&] { work(format, file.path()); });
  }
  bench::Require(state.counters["peak_bytes"] > 1000, "nothing was counted");
}

void ReadOnly(const bench::Format& format, const std::string& path) {
  bench::Require(bench::ReadAll(format, path) > 0, "no object was read");
}

void ReadAndDecode(const bench::Format& format, const std::string& path) {
  bench::Require(bench::DecodeAll(format, path) > 0, "no text was decoded");
}

// The counter of a benchmark is that of its last iteration; all are alike.
void RegisterAll() {
  for (const bench::Format& format : bench::kFormats) {
    const int64_t count = format.store_id == OSIF_STORE_PB ? 20'000 : 5000;
    const auto measure = [&format, count](const char* name, auto* work) {
      benchmark::RegisterBenchmark(
          (std::string(name) + "/" + std::string(format.name)).c_str(),
          [&format, work](benchmark::State& state) { Peak(state, format, work); })
          ->Arg(count / 10)
          ->Arg(count)
          ->Unit(benchmark::kMillisecond)
          ->Iterations(1);
    };
    measure("PeakOfReading", ReadOnly);
    measure("PeakOfDecoding", ReadAndDecode);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
}
