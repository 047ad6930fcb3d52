// What the room in front of the library costs: cards that are as the library wants them, read by it alone and through
// the room; and the same cards written in today's form.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "bench/support/generated_objects.h"
#include "bench/support/mixed_objects.h"
#include "bench/support/temp_folder.h"
#include "dialects/forms.h"
#include "dialects/object_reader.h"
#include "dialects/object_splitter.h"

namespace {

using MakeCard = std::string (*)(int number, int count);

// A file of cards, made once.
class CardFile {
 public:
  CardFile(MakeCard make, int count) {
    std::string cards;
    for (int number = 0; number < count; ++number) cards += make(number, count);
    size_ = static_cast<int64_t>(cards.size());
    bench::PutBytes(name_, cards);
  }

  const std::string& name() const { return name_; }
  int64_t size() const { return size_; }

 private:
  bench::TempFolder folder_;
  std::string name_ = folder_.File("cards.vcf");
  int64_t size_ = 0;
};

class Counter : public dialects::ObjectVisitor {
 public:
  void OnObject(const dialects::ReadObject&) override { ++objects_; }
  void OnRefused(const dialects::RefusedObject&) override {}
  int objects() const { return objects_; }

 private:
  int objects_ = 0;
};

void Strictly(benchmark::State& state, MakeCard make) {
  const CardFile cards(make, static_cast<int>(state.range(0)));
  const std::u16string name = bench::Wide(cards.name());
  for (auto _ : state) {
    int objects = 0;
    OSIF_ReadObjects(
        name.c_str(),
        [](int32_t, OsifObject*, OsifResult, void* context) -> int32_t {
          ++*static_cast<int*>(context);
          return 0;
        },
        &objects);
    bench::Require(objects == state.range(0), "all cards are read");
  }
  state.SetBytesProcessed(state.iterations() * cards.size());
}

void AnyDialect(benchmark::State& state, MakeCard make) {
  const CardFile cards(make, static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const int handle = open(cards.name().c_str(), O_RDONLY | O_CLOEXEC);
    Counter counter;
    dialects::FileRest rest;
    dialects::ReadDialectFile(handle, {}, counter, rest);
    close(handle);
    bench::Require(counter.objects() == state.range(0), "all cards are read");
  }
  state.SetBytesProcessed(state.iterations() * cards.size());
}

void Converted(benchmark::State& state, MakeCard make) {
  const CardFile cards(make, static_cast<int>(state.range(0)));
  const dialects::WriterSettings settings;
  for (auto _ : state) {
    std::FILE* file = std::fopen(cards.name().c_str(), "rb");
    const auto writer = dialects::MakeCardWriter(dialects::Form::kVCard40, settings);
    dialects::ObjectSplitter splitter(file);
    size_t written = 0;
    while (const auto object = splitter.Next()) written += writer->Write(*object).text.size();
    std::fclose(file);
    bench::Require(written > 0, "cards are written");
  }
  state.SetBytesProcessed(state.iterations() * cards.size());
}

constexpr int kCards = 20'000;

BENCHMARK_CAPTURE(Strictly, plain, bench::Card)->Arg(kCards)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AnyDialect, plain, bench::Card)->Arg(kCards)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Converted, plain, bench::Card)->Arg(kCards)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Strictly, mixed, bench::MixedCard)->Arg(kCards)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(AnyDialect, mixed, bench::MixedCard)->Arg(kCards)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Converted, mixed, bench::MixedCard)->Arg(kCards)->Unit(benchmark::kMillisecond);

}  // namespace
