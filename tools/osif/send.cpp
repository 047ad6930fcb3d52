// osif send and osif export: objects of a store as text.
//
// The library appends each object to a file that it opens by name and closes again, and tells of a failed
// write in its trace alone. So each object's end is looked for in the file before the next one is fetched,
// and the first that is not whole ends an export: what stands in the file up to it can be read. An export
// empties its file only when the store can be walked, so that a store that cannot keeps what was exported
// before. For standard output the object is written to a file in memory and copied once it is whole: a reader
// of the output never gets half an object. An interrupted command leaves the objects that it had written, the
// last one perhaps cut.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "tools/osif/commands.h"
#include "tools/osif/object_file_name.h"
#include "tools/osif/records.h"
#include "tools/osif/store.h"
#include "tools/osif/temp_file.h"
#include "tools/osif/texts.h"

namespace command {
namespace {

enum class Truncate : uint8_t { kNo, kYes };

// The file that an argument names; nothing, and a message, when it must not be written.
std::optional<std::string> OutputName(const std::string& argument, Reporter& reporter) {
  const std::optional<std::string> file = FileName(argument);
  const std::string why = !file           ? "the name is not UTF-8"
                          : file->empty() ? std::string()
                                          : WhyNoObjectFile(*file);
  if (why.empty()) return file;
  reporter.Fail(argument + ": " + why, OSIF_ERR_FILE_OPEN);
  return std::nullopt;
}

// 0 for a file that does not exist.
uintmax_t SizeOf(const std::string& file) {
  std::error_code missing;
  const uintmax_t size = std::filesystem::file_size(file, missing);
  return missing ? 0 : size;
}

// True when the file ends with the last line of an object, so that nothing of it is missing.
bool EndsWithObject(const std::string& file) {
  constexpr long kLongestEnd = 16;  // "END:VCALENDAR" and its line end
  char end[kLongestEnd + 1] = "";
  FILE* stream = std::fopen(file.c_str(), "rb");
  if (stream == nullptr) return false;
  if (std::fseek(stream, -kLongestEnd, SEEK_END) != 0) std::rewind(stream);
  const size_t size = std::fread(end, 1, kLongestEnd, stream);
  std::fclose(stream);
  const std::string_view text(end, size);
  return text.ends_with("\r\n") && text.find("END:V") != std::string_view::npos;
}

// Fetches an object and writes it to a file. The library tells of a failed write in its trace alone, so
// the file is looked at: it must have grown, too, or what it ends with is the object before.
bool WriteObject(int32_t store_id, const char* id, const std::string& file, Truncate truncate,
                 Reporter& reporter) {
  FetchedObject fetched(store_id, id);
  if (fetched.result() != OSIF_OK) {
    reporter.Fail(IdInStore(store_id, id), fetched.result());
    return false;
  }
  const uintmax_t size_before = truncate == Truncate::kYes ? 0 : SizeOf(file);
  const OsifResult result = OSIF_WriteObject(store_id, &fetched.object(), ToWide(file).c_str(),
                                             static_cast<uint8_t>(truncate));
  if (result != OSIF_OK) {
    reporter.Fail(file, result);
    return false;
  }
  if (SizeOf(file) <= size_before || !EndsWithObject(file)) {
    reporter.Fail(file + ": " + IdInStore(store_id, id) + " could not be written whole",
                  OSIF_ERR_GENERAL);
    return false;
  }
  return true;
}

// ---- send -----------------------------------------------------------------------------------------

void SendToOutput(int32_t store_id, const std::string& id, Reporter& reporter) {
  const TempFile file;
  if (!file.is_open()) {
    reporter.Fail(IdInStore(store_id, id.c_str()) + ": " + std::strerror(errno), OSIF_ERR_GENERAL);
    return;
  }
  if (!WriteObject(store_id, id.c_str(), file.name(), Truncate::kYes, reporter)) return;
  if (!file.CopyTo(STDOUT_FILENO)) {
    reporter.Fail(std::string("standard output: ") + std::strerror(errno), OSIF_ERR_GENERAL);
  }
}

struct SendArguments {
  int32_t store_id = 0;
  std::string id;
  std::string output;  // empty for standard output
};

void DeclareSend(Declarations& declarations, SendArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("ID", arguments.id, "Its id as \"osif list\" shows it").Required();
  declarations.Add("-o,--output", arguments.output, "The file; standard output without it")
      .Called("FILE");
}

void Send(const SendArguments& arguments, const Options& options, Reporter& reporter) {
  const std::optional<std::string> file = OutputName(arguments.output, reporter);
  if (!file) return;
  Session session(options, reporter);
  if (!session.is_open()) return;
  const std::string id = IdFromArgument(arguments.id);
  if (file->empty()) {
    SendToOutput(arguments.store_id, id, reporter);
  } else {
    WriteObject(arguments.store_id, id.c_str(), *file, Truncate::kYes, reporter);
  }
}

// ---- export ---------------------------------------------------------------------------------------

struct ExportArguments {
  int32_t store_id = 0;
  std::string output;
};

void DeclareExport(Declarations& declarations, ExportArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("-o,--output", arguments.output, "The file").Called("FILE").Required();
}

// An empty store gives an empty file.
bool MakeEmpty(const std::string& file, Reporter& reporter) {
  FILE* stream = std::fopen(file.c_str(), "wb");
  if (stream == nullptr) {
    reporter.Fail(file + ": " + std::strerror(errno), OSIF_ERR_FILE_OPEN);
    return false;
  }
  std::fclose(stream);
  return true;
}

// Ends at the first object that could not be written whole: nothing may follow half an object.
void Export(const ExportArguments& arguments, const Options& options, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  const std::optional<std::string> file = OutputName(arguments.output, reporter);
  if (!file) return;
  Session session(options, reporter);
  if (!session.is_open()) return;
  // A store that cannot be walked leaves the file as it was.
  ObjectId first{};
  const OsifResult walked = Forgive(OSIF_GetFirstId(store_id, first.data()), OSIF_ERR_END_OF_STORE);
  if (walked != OSIF_OK) {
    reporter.Fail(StoreName(store_id), walked);
    return;
  }
  if (!MakeEmpty(*file, reporter)) return;
  uint32_t total = 0;  // stays 0, not known, where the store does not count
  OSIF_GetObjectCount(store_id, &total);
  size_t written = 0;
  bool is_whole = true;
  const OsifResult result = ForEachId(store_id, [&](const char* id) {
    is_whole = is_whole && WriteObject(store_id, id, *file, Truncate::kNo, reporter);
    if (!is_whole) return;
    ++written;
    reporter.Progress(*file + ": object", written, total);
  });
  if (result != OSIF_OK) {
    reporter.Fail(StoreName(store_id), result);
    return;
  }
  reporter.Result({{"store", StoreName(store_id)}, {"file", *file}, {"count", written}},
                  *file + ": " + ObjectCount(written));
}

}  // namespace

void AddSend(const CommandLine& line) {
  AddSubcommand(line, "send", "Write one object of a store as text", DeclareSend, Send);
}

void AddExport(const CommandLine& line) {
  AddSubcommand(line, "export", "Write every object of a store to a file", DeclareExport, Export);
}

}  // namespace command
