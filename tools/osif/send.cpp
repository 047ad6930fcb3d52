// osif send and osif export: objects of a store as text.
//
// The library writes each object to a file that it opens by name, and tells of a failed write in its trace
// alone. So it writes into a file in memory, where the object is looked at: what does not end with the last line
// of an object is not whole. From there the command writes it on by itself, and so knows what became of each
// byte and why. A file is written beside its place and takes it when everything is in it (object_output): an
// export that fails or is interrupted leaves the file that was there, and says nothing of success. On standard
// output every object is whole; an export that fails ends there between two objects.
//
// What a peer has put into an object may steer a terminal, so there it is shown as messages are, unless raw
// bytes are asked for. With JSON the text is a field of an object.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "client/interrupt.h"
#include "client/records.h"
#include "client/store.h"
#include "client/temp_file.h"
#include "client/texts.h"
#include "tools/osif/commands.h"
#include "tools/osif/object_id.h"
#include "tools/osif/object_output.h"

namespace command {
namespace {

std::string Reason(int error) { return std::string(": ") + std::strerror(error); }

// True when a text ends with the last line of an object, so that nothing of it is missing.
bool EndsWithObject(std::string_view text) {
  constexpr size_t kLongestEnd = 15;  // "END:VCALENDAR" and its line end
  const std::string_view end = text.substr(text.size() - std::min(text.size(), kLongestEnd));
  return end.ends_with("\r\n") && end.find("END:V") != std::string_view::npos;
}

// Writes objects of one store to one place.
class Sender {
 public:
  // `tells_texts`: in JSON mode each object is a result of its own, with its text.
  Sender(int32_t store_id, ObjectOutput& output, bool raw, bool tells_texts, Reporter& reporter)
      : store_id_(store_id),
        output_(output),
        is_raw_(raw || !output.is_standard_output() || isatty(STDOUT_FILENO) == 0),
        tells_texts_(tells_texts && reporter.json()),
        reporter_(reporter) {}

  // Each of them tells of a failure and is then false.
  bool Open() {
    if (!piece_.is_open()) return FailOutput(errno, OSIF_ERR_GENERAL);
    return output_.Open() || FailOutput(errno, OSIF_ERR_FILE_OPEN);
  }

  bool Send(const char* id) {
    const std::optional<std::string> text = TextOf(id);
    if (!text) return false;
    if (!WritesJsonOnly() && !output_.Write(is_raw_ ? *text : Printable(*text))) {
      return FailOutput(errno, OSIF_ERR_GENERAL);
    }
    if (tells_texts_) {
      reporter_.JsonLine({{"store", NameOfStore(store_id_)},
                          {"id", IdToOutput(id)},
                          {"file", output_.is_standard_output() ? Json() : Json(output_.name())},
                          {"text", TextOrBytes(*text)}});
    }
    return true;
  }

  bool Close() { return output_.PutInPlace() || FailOutput(errno, OSIF_ERR_GENERAL); }

 private:
  // Between JSON lines nothing else stands.
  bool WritesJsonOnly() const { return tells_texts_ && output_.is_standard_output(); }

  bool FailOutput(int error, OsifResult code) {
    const std::string name = output_.is_standard_output() ? "standard output" : output_.name();
    reporter_.Fail(name + Reason(error), code);
    return false;
  }

  // Nothing, and a message, when the object cannot be had whole.
  std::optional<std::string> TextOf(const char* id) {
    FetchedObject fetched(store_id_, id);
    if (fetched.result() != OSIF_OK) {
      reporter_.Fail(IdInStore(store_id_, id), fetched.result());
      return std::nullopt;
    }
    const OsifResult result =
        OSIF_WriteObject(store_id_, &fetched.object(), ToWide(piece_.name()).c_str(), 1);
    std::string text;
    if (result == OSIF_OK && piece_.Read(text) && EndsWithObject(text)) return text;
    const int why = piece_.WhyFull();
    reporter_.Fail(IdInStore(store_id_, id) + " could not be written whole" +
                       (why == 0 ? std::string() : Reason(why)),
                   result == OSIF_OK ? OsifResult{OSIF_ERR_GENERAL} : result);
    return std::nullopt;
  }

  const int32_t store_id_;
  ObjectOutput& output_;
  const bool is_raw_;
  const bool tells_texts_;
  Reporter& reporter_;
  TempFile piece_;
};

bool MayBeWritten(const ObjectOutput& output, Reporter& reporter) {
  const std::string why = output.WhyRefused();
  if (!why.empty()) reporter.Fail(output.name() + ": " + why, OSIF_ERR_FILE_OPEN);
  return why.empty();
}

constexpr const char* kRawHelp = "Write the bytes as they are also to a terminal";

// ---- send -----------------------------------------------------------------------------------------

struct SendArguments {
  int32_t store_id = 0;
  std::string id;
  std::string output;  // empty for standard output
  bool raw = false;
};

void DeclareSend(Declarations& declarations, SendArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("ID", arguments.id, "Its id as \"osif list\" shows it").Required();
  declarations.Add("-o,--output", arguments.output, "The file; standard output without it")
      .Called("FILE");
  declarations.AddFlag("--raw", arguments.raw, kRawHelp);
}

void Send(const SendArguments& arguments, const Options& options, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  if (!AreIds(store_id, {arguments.id}, reporter)) return;
  const InterruptWatch watch;
  ObjectOutput output(arguments.output);
  if (!MayBeWritten(output, reporter)) return;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  Sender sender(store_id, output, arguments.raw, true, reporter);
  if (!sender.Open() || !sender.Send(LibraryId(store_id, arguments.id).c_str())) return;
  sender.Close();
}

// ---- export ---------------------------------------------------------------------------------------

struct ExportArguments {
  int32_t store_id = 0;
  std::string output;
  bool raw = false;
};

void DeclareExport(Declarations& declarations, ExportArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("-o,--output", arguments.output, "The file; - for standard output")
      .Called("FILE")
      .Required();
  declarations.AddFlag("--raw", arguments.raw, kRawHelp);
}

// How many objects were written; nothing, and a message, when not all were.
std::optional<size_t> SendAll(int32_t store_id, const std::string& name, Sender& sender,
                              Reporter& reporter) {
  uint32_t total = 0;  // stays 0, not known, where the store does not count
  OSIF_GetObjectCount(store_id, &total);
  size_t written = 0;
  bool is_whole = true;
  const OsifResult result = ForEachId(store_id, [&](const char* id) {
    is_whole = is_whole && !WasInterrupted() && sender.Send(id);
    if (!is_whole) return;
    ++written;
    reporter.Progress(name + ": object", written, total);
  });
  if (WasInterrupted()) reporter.Fail(name + ": interrupted", OSIF_OK);
  if (result != OSIF_OK) reporter.Fail(NameOfStore(store_id), result);
  return is_whole && result == OSIF_OK && !WasInterrupted() ? std::optional(written) : std::nullopt;
}

void Export(const ExportArguments& arguments, const Options& options, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  const InterruptWatch watch;
  ObjectOutput output(arguments.output);
  if (!MayBeWritten(output, reporter)) return;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  ObjectId first{};
  const OsifResult walked = Forgive(OSIF_GetFirstId(store_id, first.data()), OSIF_ERR_END_OF_STORE);
  if (walked != OSIF_OK) {
    reporter.Fail(NameOfStore(store_id), walked);
    return;
  }
  Sender sender(store_id, output, arguments.raw, output.is_standard_output(), reporter);
  if (!sender.Open()) return;
  const std::optional<size_t> written = SendAll(store_id, output.name(), sender, reporter);
  if (!written || !sender.Close()) return;
  // Standard output is for the objects.
  if (output.is_standard_output() && !reporter.json()) {
    reporter.Note("standard output: " + ObjectCount(*written));
    return;
  }
  reporter.Result({{"store", NameOfStore(store_id)}, {"file", output.name()}, {"count", *written}},
                  output.name() + ": " + ObjectCount(*written));
}

}  // namespace

void AddSend(const CommandLine& line) {
  AddSubcommand(line, "send", "Write one object of a store as text", DeclareSend, Send);
}

void AddExport(const CommandLine& line) {
  AddSubcommand(line, "export", "Write every object of a store to a file", DeclareExport, Export);
}

}  // namespace command
