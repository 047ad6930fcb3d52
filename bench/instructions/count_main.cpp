// Does one piece of work whose instructions are counted from outside (bench/instructions/check).
//
//   count_instructions WORK          does it, as often as to get everything ready and once more in CountedWork
//   count_instructions --list        the names of all there are
//   count_instructions --environment what the counts depend on beside our own code
#include <gnu/libc-version.h>
#include <sqlite3.h>

#include <functional>
#include <iostream>
#include <string>
#include <string_view>

#include "bench/support/filled_device.h"
#include "bench/support/formats.h"
#include "osif.h"

// The counter looks for this name. Nothing of it may be merged into its caller.
extern "C" [[gnu::noinline, gnu::noclone, gnu::used]] void CountedWork(
    const std::function<void()>& work) {
  work();
}

namespace {

constexpr int kObjects = 1000;
constexpr int kStoredContacts = 300;

// The first time fills what is kept: symbols, converters, settings, statements.
void CountSecondTime(const std::function<void()>& work) {
  work();
  CountedWork(work);
}

void CountReading(const bench::Format& format) {
  const bench::ObjectFile file(format, kObjects);
  CountSecondTime([&] {
    bench::Require(bench::ReadAll(format, file.path()) == kObjects, "objects are missing");
  });
}

void CountWriting(const bench::Format& format) {
  const bench::ObjectFile file(format, kObjects);
  bench::Records records(format, file.path());
  CountSecondTime(
      [&] { bench::WriteAll(format, records.objects(), kObjects, file.written_path()); });
  bench::Require(bench::ReadAll(format, file.written_path()) == kObjects,
                 "not every object was written");
}

// Opening the change log of a store that is as it was left.
void CountSnapshotComparison() {
  const bench::FilledDevice device(bench::ItemKind::kContact, kStoredContacts);
  const bench::OpenLibrary library(device);
  const std::u16string folder = bench::Wide(device.sync_folder());
  const auto open = [&] {
    bench::Require(OSIF_CL_Open(OSIF_STORE_PB, folder.c_str()) == OSIF_OK,
                   "the log was not opened");
  };
  open();
  OSIF_CL_Close(OSIF_STORE_PB);
  CountSecondTime(open);
  OSIF_CL_Close(OSIF_STORE_PB);
}

void List() {
  for (const bench::Format& format : bench::kFormats) {
    std::cout << "read-" << format.name << "\nwrite-" << format.name << '\n';
  }
  std::cout << "compare-snapshot\n";
}

// The processor's kind, the compiler, and the libraries whose instructions are counted with ours.
void TellEnvironment() {
#if defined(__x86_64__)
  std::cout << "x86_64";
#else
  std::cout << "another processor";
#endif
#if defined(__clang__)
  std::cout << ", clang " << __clang_version__;
#else
  std::cout << ", g++ " << __VERSION__;
#endif
  std::cout << ", glibc " << gnu_get_libc_version() << ", SQLite " << sqlite3_libversion() << '\n';
}

// False when there is no such work.
bool Count(std::string_view work) {
  for (const bench::Format& format : bench::kFormats) {
    const bool is_reading = work == "read-" + std::string(format.name);
    const bool is_writing = work == "write-" + std::string(format.name);
    if (is_reading) CountReading(format);
    if (is_writing) CountWriting(format);
    if (is_reading || is_writing) return true;
  }
  if (work != "compare-snapshot") return false;
  CountSnapshotComparison();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view work = argc == 2 ? argv[1] : "";
  if (work == "--list") {
    List();
  } else if (work == "--environment") {
    TellEnvironment();
  } else if (!Count(work)) {
    std::cerr << "count_instructions: there is no work \"" << work << "\"\n";
    return 2;
  }
}
