// osif send and osif export: objects of a store as text.
//
// The command writes what the library gave it (object_texts) by itself, and so knows what became of each byte and
// why. A file is written beside its place and takes it when everything is in it (object_output): an
// export that fails or is interrupted leaves the file that was there, and says nothing of success. On standard
// output every object is whole; an export that fails ends there between two objects.
//
// What a peer has put into an object may steer a terminal, so there it is shown as messages are, unless raw
// bytes are asked for. With JSON the text is a field of an object.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "client/interrupt.h"
#include "client/private_files.h"
#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "dialects/form_names.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"
#include "tools/osif/findings.h"
#include "tools/osif/form_argument.h"
#include "tools/osif/object_id.h"
#include "tools/osif/object_output.h"
#include "tools/osif/object_texts.h"
#include "tools/osif/read_dialects.h"

namespace command {
namespace {

std::string Reason(int error) { return std::string(": ") + std::strerror(error); }

// Writes objects of one store to one place.
class Sender {
 public:
  // `tells_texts`: in JSON mode each object is a result of its own, with its text.
  Sender(int32_t store_id, ObjectTexts& texts, ObjectOutput& output, bool raw, bool tells_texts,
         Reporter& reporter)
      : store_id_(store_id),
        texts_(texts),
        output_(output),
        is_raw_(raw || !output.is_standard_output() || isatty(STDOUT_FILENO) == 0),
        tells_texts_(tells_texts && reporter.json()),
        reporter_(reporter) {}

  // Each of them tells of a failure and is then false.
  bool Open() {
    if (!texts_.Open()) return false;
    if (!output_.Open()) return FailOutput(errno, OSIF_ERR_FILE_OPEN);
    return Write(texts_.Begin());
  }

  bool Send(const char* id) {
    const std::optional<std::string> text = texts_.TextOf(id);
    if (!text || !Write(*text)) return false;
    if (tells_texts_) {
      reporter_.JsonLine({{"store", NameOfStore(store_id_)},
                          {"id", IdToOutput(id)},
                          {"file", output_.is_standard_output() ? Json() : Json(output_.name())},
                          {"text", TextOrBytes(*text)}});
    }
    return true;
  }

  bool Close() {
    if (!Write(texts_.End())) return false;
    return output_.PutInPlace() || FailOutput(errno, OSIF_ERR_GENERAL);
  }

 private:
  // Between JSON lines nothing else stands.
  bool WritesJsonOnly() const { return tells_texts_ && output_.is_standard_output(); }

  bool Write(const std::string& text) {
    if (WritesJsonOnly() || text.empty()) return true;
    return output_.Write(is_raw_ ? text : Printable(text)) || FailOutput(errno, OSIF_ERR_GENERAL);
  }

  bool FailOutput(int error, OsifResult code) {
    const std::string name = output_.is_standard_output() ? "standard output" : output_.name();
    reporter_.Fail(name + Reason(error), code);
    return false;
  }

  const int32_t store_id_;
  ObjectTexts& texts_;
  ObjectOutput& output_;
  const bool is_raw_;
  const bool tells_texts_;
  Reporter& reporter_;
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
  std::string form;
  bool raw = false;
};

void DeclareSend(Declarations& declarations, SendArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("ID", arguments.id, "Its id as \"osif list\" shows it").Required();
  declarations.Add("-o,--output", arguments.output, "The file; standard output without it")
      .Called("FILE");
  DeclareForm(declarations, "--as", arguments.form);
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
  ObjectTexts texts(store_id, ChosenSentForm(arguments.form, arguments.output), session, reporter);
  Sender sender(store_id, texts, output, arguments.raw, true, reporter);
  if (!sender.Open() || !sender.Send(LibraryId(store_id, arguments.id).c_str())) return;
  sender.Close();
}

// ---- export ---------------------------------------------------------------------------------------

struct ExportArguments {
  int32_t store_id = 0;
  std::string output;
  std::string folder;  // one file an object
  std::string form;
  bool raw = false;
};

void DeclareExport(Declarations& declarations, ExportArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  const Argument output =
      declarations.Add("-o,--output", arguments.output, "The file; - for standard output")
          .Called("FILE");
  declarations.Add("--split", arguments.folder, "A folder: each object in a file of its own")
      .Called("DIR")
      .Excludes(output);
  DeclareForm(declarations, "--as", arguments.form);
  declarations.AddFlag("--raw", arguments.raw, kRawHelp);
}

// Calls `send` for each object; how many were written, or nothing, and a message, when not all were.
std::optional<size_t> SendAll(int32_t store_id, const std::string& name,
                              const std::function<bool(const char* id)>& send, Reporter& reporter) {
  uint32_t total = 0;  // stays 0, not known, where the store does not count
  OSIF_GetObjectCount(store_id, &total);
  size_t written = 0;
  bool is_whole = true;
  const OsifResult result = ForEachId(store_id, [&](const char* id) {
    is_whole = is_whole && !WasInterrupted() && send(id);
    if (!is_whole) return;
    ++written;
    reporter.Progress(name + ": object", written, total);
  });
  if (WasInterrupted()) reporter.Fail(name + ": interrupted", OSIF_OK);
  if (result != OSIF_OK) reporter.Fail(NameOfStore(store_id), result);
  return is_whole && result == OSIF_OK && !WasInterrupted() ? std::optional(written) : std::nullopt;
}

void TellExport(int32_t store_id, const std::string& name, size_t count, Reporter& reporter) {
  reporter.Result({{"store", NameOfStore(store_id)}, {"file", name}, {"count", count}},
                  name + ": " + ObjectCount(count));
}

void ExportToFile(const ExportArguments& arguments, ObjectOutput& output, Session& session,
                  Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  ObjectTexts texts(store_id, ChosenSentForm(arguments.form, arguments.output), session, reporter);
  Sender sender(store_id, texts, output, arguments.raw, output.is_standard_output(), reporter);
  if (!sender.Open()) return;
  const std::optional<size_t> written = SendAll(
      store_id, output.name(), [&](const char* id) { return sender.Send(id); }, reporter);
  if (!written || !sender.Close()) return;
  // Standard output is for the objects.
  if (output.is_standard_output() && !reporter.json()) {
    reporter.Note("standard output: " + ObjectCount(*written));
    return;
  }
  TellExport(store_id, output.name(), *written, reporter);
}

// Where the form is not said, the file's ending says which one the library's own is.
std::string EndingIn(int32_t store_id, std::optional<dialects::Form> form) {
  return form || store_id == OSIF_STORE_PB
             ? dialects::EndingOf(form.value_or(dialects::Form::kVCard21))
         : store_id == OSIF_STORE_CAL ? dialects::EndingOf(dialects::Form::kVCal10)
                                      : dialects::EndingOf(dialects::Form::kVMessage);
}

void ExportToFolder(const ExportArguments& arguments, Session& session, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  const std::optional<dialects::Form> form = ChosenSentForm(arguments.form, {});
  if (mkdir(arguments.folder.c_str(), 0777 & ~UserMask()) != 0 && errno != EEXIST) {
    return reporter.Fail(arguments.folder + Reason(errno), OSIF_ERR_FILE_OPEN);
  }
  ObjectTexts texts(store_id, form, session, reporter);
  const std::optional<size_t> written = SendAll(
      store_id, arguments.folder,
      [&](const char* id) {
        ObjectOutput output(arguments.folder + "/" + IdToOutput(id) + EndingIn(store_id, form));
        Sender sender(store_id, texts, output, true, false, reporter);
        return MayBeWritten(output, reporter) && sender.Open() && sender.Send(id) && sender.Close();
      },
      reporter);
  if (written) TellExport(store_id, arguments.folder, *written, reporter);
}

void Export(const ExportArguments& arguments, const Options& options, Reporter& reporter) {
  if (arguments.output.empty() && arguments.folder.empty()) {
    return reporter.WrongUsage("--output or --split is required");
  }
  const int32_t store_id = arguments.store_id;
  const InterruptWatch watch;
  ObjectOutput output(arguments.output);
  if (arguments.folder.empty() && !MayBeWritten(output, reporter)) return;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  ObjectId first{};
  const OsifResult walked = Forgive(OSIF_GetFirstId(store_id, first.data()), OSIF_ERR_END_OF_STORE);
  if (walked != OSIF_OK) {
    reporter.Fail(NameOfStore(store_id), walked);
  } else if (arguments.folder.empty()) {
    ExportToFile(arguments, output, session, reporter);
  } else {
    ExportToFolder(arguments, session, reporter);
  }
}

}  // namespace

void AddSend(const CommandLine& line) {
  AddSubcommand(line, "send", "Write one object of a store as text", DeclareSend, Send);
}

void AddExport(const CommandLine& line) {
  AddSubcommand(line, "export", "Write every object of a store to a file", DeclareExport, Export);
}

}  // namespace command
