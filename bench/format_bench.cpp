// What reading and writing a file of objects costs, beside a pass over the same bytes that only splits them
// into lines.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/generated_objects.h"
#include "bench/support/temp_folder.h"
#include "btosif/osif_file.h"
#include "btosif/osif_generators/vcalendar_writer.h"
#include "btosif/osif_generators/vcard_writer.h"
#include "btosif/osif_generators/vmessage_writer.h"
#include "btosif/osif_generators/vnote_writer.h"
#include "btosif/osif_parsers/vcalendar_reader.h"
#include "btosif/osif_parsers/vcard_reader.h"
#include "btosif/osif_parsers/vmessage_reader.h"
#include "btosif/osif_parsers/vnote_reader.h"
#include "btosif/osif_util/object_record.h"
#include "osif.h"

namespace {

struct Format {
  int32_t store_id;
  std::string (*make)(int number, int count);
  OsifResult (*read)(OsifStream&, OsifReadCallback, void*);
  OsifResult (*write)(OsifStream&, OsifObject&, uint8_t);
};

constexpr Format kCards = {OSIF_STORE_PB, bench::Card, VCard_ReadFile, VCard_Write};
constexpr Format kEvents = {OSIF_STORE_CAL, [](int number, int) { return bench::Event(number); },
                            VCalendar_ReadFile, VCalendar_Write};
constexpr Format kNotes = {OSIF_STORE_NOTE, [](int number, int) { return bench::Note(number); },
                           VNote_ReadFile, VNote_Write};
constexpr Format kMessages = {OSIF_STORE_MSG_IN,
                              [](int number, int) { return bench::Message(number); },
                              VMessage_ReadFile, VMessage_Write};

// A file of generated objects, and a device without settings, which the writers ask for theirs.
class ObjectFile {
 public:
  ObjectFile(const Format& format, int count) {
    setenv("OSIF_DEVICE", folder_.path().c_str(), 1);
    bench::PutBytes(path(), bench::Repeated(count, [&](int i) { return format.make(i, count); }));
  }
  std::string path() const { return folder_.File("objects"); }
  std::string written_path() const { return folder_.File("written"); }
  static int64_t SizeOf(const std::string& path) {
    return static_cast<int64_t>(std::filesystem::file_size(path));
  }

 private:
  bench::TempFolder folder_;
};

OsifStream Open(const std::string& path, const WCHAR* mode) {
  OsifStream stream;
  bench::Require(FILE_Open(stream, bench::Wide(path).c_str(), mode, LineEnd::kCrLf) == 0,
                 "a file was not opened");
  return stream;
}

int32_t Count(int32_t, OsifObject*, OsifResult, void* context) {
  ++*static_cast<int*>(context);
  return 0;
}

void Read(benchmark::State& state, const Format& format) {
  const int count = static_cast<int>(state.range(0));
  const ObjectFile file(format, count);
  for (auto _ : state) {
    OsifStream stream = Open(file.path(), u"rb");
    int read = 0;
    format.read(stream, Count, &read);
    bench::Require(read == count, "objects are missing");
  }
  state.SetBytesProcessed(state.iterations() * ObjectFile::SizeOf(file.path()));
}

// The records of a file, taken over from the reader.
class Records {
 public:
  Records(const Format& format, const std::string& path) : store_id_(format.store_id) {
    OsifStream stream = Open(path, u"rb");
    format.read(stream, Keep, this);
  }
  ~Records() {
    for (OsifObject& object : objects_) FreeObject(store_id_, object);
  }
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;

  std::vector<OsifObject>& objects() { return objects_; }

 private:
  static int32_t Keep(int32_t, OsifObject* object, OsifResult, void* context) {
    static_cast<Records*>(context)->objects_.push_back(*object);
    *object = {};
    return 0;
  }

  int32_t store_id_;
  std::vector<OsifObject> objects_;
};

void WriteAll(const Format& format, std::vector<OsifObject>& objects, const std::string& path) {
  OsifStream stream = Open(path, u"w");
  for (OsifObject& object : objects) format.write(stream, object, 1);
}

void Write(benchmark::State& state, const Format& format) {
  const ObjectFile file(format, static_cast<int>(state.range(0)));
  Records records(format, file.path());
  bench::Require(static_cast<int64_t>(records.objects().size()) == state.range(0),
                 "objects are missing");
  for (auto _ : state) WriteAll(format, records.objects(), file.written_path());
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
  const ObjectFile file(format, static_cast<int>(state.range(0)));
  Records records(format, file.path());
  WriteAll(format, records.objects(), file.written_path());
  Split(state, file.written_path());
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(50)->Arg(500)->Arg(5000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(SplitRead, cards, kCards)->Apply(Sizes);
BENCHMARK_CAPTURE(Read, cards, kCards)->Apply(Sizes);
BENCHMARK_CAPTURE(SplitWritten, cards, kCards)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, cards, kCards)->Apply(Sizes);
BENCHMARK_CAPTURE(SplitRead, events, kEvents)->Apply(Sizes);
BENCHMARK_CAPTURE(Read, events, kEvents)->Apply(Sizes);
BENCHMARK_CAPTURE(SplitWritten, events, kEvents)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, events, kEvents)->Apply(Sizes);
BENCHMARK_CAPTURE(SplitRead, notes, kNotes)->Apply(Sizes);
BENCHMARK_CAPTURE(Read, notes, kNotes)->Apply(Sizes);
BENCHMARK_CAPTURE(SplitWritten, notes, kNotes)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, notes, kNotes)->Apply(Sizes);
BENCHMARK_CAPTURE(SplitRead, messages, kMessages)->Apply(Sizes);
BENCHMARK_CAPTURE(Read, messages, kMessages)->Apply(Sizes);
BENCHMARK_CAPTURE(SplitWritten, messages, kMessages)->Apply(Sizes);
BENCHMARK_CAPTURE(Write, messages, kMessages)->Apply(Sizes);

}  // namespace
