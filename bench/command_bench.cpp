// What the command costs from its start to its end: receiving a file of contacts into an empty device, receiving
// it once more (each is known and updated), and exporting them; and, with a device of that size, receiving one card
// more, asking for the anchor, and for what was changed since the last change but three. CPU time and peak memory are those that the
// system counted for the command's process.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/support/mixed_objects.h"
#include "bench/support/temp_folder.h"

namespace {

using bench::Require;

struct Usage {
  double wall_seconds;
  double cpu_seconds;
  double system_seconds;  // of the CPU time
  double peak_bytes;
};

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

long OwnPeak() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Runs the command with these arguments; its output is not shown.
Usage RunCommand(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), OSIF_COMMAND);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  Require(posix_spawn(&child, OSIF_COMMAND, &actions, nullptr, argv.data(), environ) == 0,
          "the command was not started");
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  rusage usage = {};
  Require(wait4(child, &status, 0, &usage) == child && status == 0, "the command failed");
  const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
  Require(usage.ru_maxrss > OwnPeak(),
          "the command took less memory than this program, its peak is not known");
  return {wall.count(), Seconds(usage.ru_utime) + Seconds(usage.ru_stime), Seconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) * 1024};
}

// A folder with a file of cards and the place of a device.
class Place {
 public:
  explicit Place(int count) {
    // Card by card: a process that is started begins with the peak of the one that starts it.
    std::ofstream out(file(), std::ios::binary);
    for (int number = 0; number < count; ++number) out << bench::MixedCard(number, count);
    out.close();
    Require(!out.fail(), "the cards were not written");
  }
  std::string file() const { return folder_.File("cards.vcf"); }
  std::string exported() const { return folder_.File("exported.vcf"); }
  std::string device() const { return folder_.File("device"); }
  Usage Receive() const {
    return RunCommand({"--device", device(), "receive", "--strict", file()});
  }
  // A card that the device does not have yet.
  Usage ReceiveOne() const {
    static int number = 0;
    const std::string name = folder_.File("one.vcf");
    std::ofstream(name, std::ios::binary)
        << "BEGIN:VCARD\r\nVERSION:2.1\r\nN:New;Number" << ++number << "\r\nEND:VCARD\r\n";
    return RunCommand({"--device", device(), "receive", name});
  }
  Usage Anchor() const { return RunCommand({"--device", device(), "anchor", "pb"}); }
  Usage Changes(int64_t since) const {
    return RunCommand({"--device", device(), "changes", "pb", "--since", std::to_string(since)});
  }
  Usage Export() const {
    std::filesystem::remove(exported());
    return RunCommand({"--device", device(), "export", "pb", "-o", exported()});
  }

 private:
  bench::TempFolder folder_;
};

// The place of that size whose device holds the cards.
const Place& FilledPlace(int64_t count) {
  static std::map<int64_t, std::unique_ptr<Place>> places;
  auto& place = places[count];
  if (place) return *place;
  place = std::make_unique<Place>(static_cast<int>(count));
  place->Receive();
  return *place;
}

void Report(benchmark::State& state, const Usage& usage) {
  state.SetIterationTime(usage.cpu_seconds);
  state.counters["command_cpu_seconds"] = usage.cpu_seconds;
  state.counters["system_seconds"] = usage.system_seconds;
  state.counters["wall_seconds"] = usage.wall_seconds;
  state.counters["peak_bytes"] = usage.peak_bytes;
}

void ReceiveNew(benchmark::State& state) {
  const Place place(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    std::filesystem::remove_all(place.device());
    Report(state, place.Receive());
  }
}

void ReceiveKnown(benchmark::State& state) {
  const Place& place = FilledPlace(state.range(0));
  for (auto _ : state) Report(state, place.Receive());
}

void Export(benchmark::State& state) {
  const Place& place = FilledPlace(state.range(0));
  for (auto _ : state) Report(state, place.Export());
  Require(std::filesystem::file_size(place.exported()) > 400U * static_cast<size_t>(state.range(0)),
          "the contacts were not exported");
}

void ReceiveOne(benchmark::State& state) {
  const Place& place = FilledPlace(state.range(0));
  for (auto _ : state) Report(state, place.ReceiveOne());
}

void Anchor(benchmark::State& state) {
  const Place& place = FilledPlace(state.range(0));
  for (auto _ : state) Report(state, place.Anchor());
}

void Changes(benchmark::State& state) {
  const Place& place = FilledPlace(state.range(0));
  for (auto _ : state) Report(state, place.Changes(state.range(0) - 3));
}

void FewAndMany(benchmark::internal::Benchmark* bench) {
  bench->Arg(100)->Arg(100'000)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(2000)->Arg(20'000)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
}

BENCHMARK(ReceiveNew)->Apply(Sizes);
BENCHMARK(ReceiveKnown)->Apply(Sizes);
BENCHMARK(Export)->Apply(Sizes);
BENCHMARK(ReceiveOne)->Apply(FewAndMany);
BENCHMARK(Anchor)->Apply(FewAndMany);
BENCHMARK(Changes)->Apply(FewAndMany);

}  // namespace
