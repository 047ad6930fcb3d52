// What reading and writing a file of objects costs, beside a pass over the same bytes that only splits them
// into lines.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "bench/support/formats.h"
#include "bench/support/temp_folder.h"

namespace {

using bench::Format;
using bench::ObjectFile;

constexpr const Format& kCards = bench::kFormats[0];
constexpr const Format& kEvents = bench::kFormats[1];
constexpr const Format& kNotes = bench::kFormats[2];
constexpr const Format& kMessages = bench::kFormats[3];

void Read(benchmark::State& state, const Format& format) {
  const int count = static_cast<int>(state.range(0));
  const ObjectFile file(format, count);
  for (auto _ : state) {
    bench::Require(bench::ReadAll(format, file.path()) == count, "objects are missing");
  }
  state.SetBytesProcessed(state.iterations() * ObjectFile::SizeOf(file.path()));
}

// Reading, and every text of each record in UTF-16.
void ReadAndDecode(benchmark::State& state, const Format& format) {
  const ObjectFile file(format, static_cast<int>(state.range(0)));
  for (auto _ : state) {
    bench::Require(bench::DecodeAll(format, file.path()) > 0, "no text was decoded");
  }
  state.SetBytesProcessed(state.iterations() * ObjectFile::SizeOf(file.path()));
}

void Write(benchmark::State& state, const Format& format) {
  const ObjectFile file(format, bench::kWrittenRecords);
  bench::Records records(format, file.path());
  bench::Require(records.objects().size() == bench::kWrittenRecords, "objects are missing");
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(file.written_path());
    state.ResumeTiming();
    bench::WriteAll(format, records.objects(), state.range(0), file.written_path());
  }
  bench::Require(bench::ReadAll(format, file.written_path()) == state.range(0),
                 "not every object was written");
  state.SetBytesProcessed(state.iterations() * ObjectFile::SizeOf(file.written_path()));
}

// ---- The pass that only splits -------------------------------------------------------------------------

struct FreeLine {
  void operator()(char* line) const { std::free(line); }
};

// Reads a file in pieces and copies each line into memory of its own.
size_t SplitIntoLines(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  bench::Require(file != nullptr, "a file was not opened");
  size_t lines = 0;
  std::string pending;
  char piece[65536];
  for (size_t size; (size = std::fread(piece, 1, sizeof piece, file)) > 0;) {
    pending.append(piece, size);
    size_t start = 0;
    for (size_t end; (end = pending.find('\n', start)) != std::string::npos; start = end + 1) {
      const size_t length = end - start;
      const std::unique_ptr<char, FreeLine> line(static_cast<char*>(std::malloc(length + 1)));
      std::memcpy(line.get(), pending.data() + start, length);
      line.get()[length] = '\0';
      benchmark::DoNotOptimize(line.get());
      ++lines;
    }
    pending.erase(0, start);
  }
  std::fclose(file);
  return lines;
}

void Split(benchmark::State& state, const std::string& path) {
  for (auto _ : state) benchmark::DoNotOptimize(SplitIntoLines(path));
  state.SetBytesProcessed(state.iterations() * ObjectFile::SizeOf(path));
}

void SplitRead(benchmark::State& state, const Format& format) {
  const ObjectFile file(format, static_cast<int>(state.range(0)));
  Split(state, file.path());
}

void SplitWritten(benchmark::State& state, const Format& format) {
  const ObjectFile file(format, bench::kWrittenRecords);
  bench::Records records(format, file.path());
  bench::WriteAll(format, records.objects(), state.range(0), file.written_path());
  Split(state, file.written_path());
}

// Reading is measured at two sizes, to see that it grows no faster than the file.
void CardSizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(2000)->Arg(20'000)->Unit(benchmark::kMillisecond);
}
void AllCards(benchmark::internal::Benchmark* bench) {
  bench->Arg(20'000)->Unit(benchmark::kMillisecond);
}
void All(benchmark::internal::Benchmark* bench) { bench->Arg(5000)->Unit(benchmark::kMillisecond); }

BENCHMARK_CAPTURE(SplitRead, cards, kCards)->Apply(AllCards);
BENCHMARK_CAPTURE(Read, cards, kCards)->Apply(CardSizes);
BENCHMARK_CAPTURE(ReadAndDecode, cards, kCards)->Apply(AllCards);
BENCHMARK_CAPTURE(SplitWritten, cards, kCards)->Apply(AllCards);
BENCHMARK_CAPTURE(Write, cards, kCards)->Apply(AllCards);
BENCHMARK_CAPTURE(SplitRead, events, kEvents)->Apply(All);
BENCHMARK_CAPTURE(Read, events, kEvents)->Apply(All);
BENCHMARK_CAPTURE(ReadAndDecode, events, kEvents)->Apply(All);
BENCHMARK_CAPTURE(SplitWritten, events, kEvents)->Apply(All);
BENCHMARK_CAPTURE(Write, events, kEvents)->Apply(All);
BENCHMARK_CAPTURE(SplitRead, notes, kNotes)->Apply(All);
BENCHMARK_CAPTURE(Read, notes, kNotes)->Apply(All);
BENCHMARK_CAPTURE(ReadAndDecode, notes, kNotes)->Apply(All);
BENCHMARK_CAPTURE(SplitWritten, notes, kNotes)->Apply(All);
BENCHMARK_CAPTURE(Write, notes, kNotes)->Apply(All);
BENCHMARK_CAPTURE(SplitRead, messages, kMessages)->Apply(All);
BENCHMARK_CAPTURE(Read, messages, kMessages)->Apply(All);
BENCHMARK_CAPTURE(ReadAndDecode, messages, kMessages)->Apply(All);
BENCHMARK_CAPTURE(SplitWritten, messages, kMessages)->Apply(All);
BENCHMARK_CAPTURE(Write, messages, kMessages)->Apply(All);

}  // namespace
