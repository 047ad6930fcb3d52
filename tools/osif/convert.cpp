// osif convert: files of objects in another form, without a device.
//
// Each object is read, written and let go of before the next one, so a file of any length needs the memory of its
// largest object. Where the kind of the objects changes within a file, what the form puts around them (a calendar's frame,
// an HTML document) is closed and begun anew. Output is put in its place when all of it was written.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "btosif/osif_util/charset.h"
#include "client/input_file.h"
#include "client/interrupt.h"
#include "client/object_file.h"
#include "client/session.h"
#include "client/texts.h"
#include "dialects/form_names.h"
#include "dialects/object_splitter.h"
#include "platform/device/device.h"
#include "tools/osif/commands.h"
#include "tools/osif/findings.h"
#include "tools/osif/form_argument.h"
#include "tools/osif/object_output.h"
#include "tools/osif/read_dialects.h"

namespace command {
namespace {

namespace fs = std::filesystem;

struct ConvertArguments {
  std::vector<std::string> files;
  std::string form;
  std::string output;
  bool is_recursive = false;
  bool is_verbose = false;
};

// The setting of the device, where there is one; none is made.
uint32_t InputCodePageOfADevice() {
  std::error_code ignored;
  if (!fs::exists(device::Folder() + "/device.db", ignored)) return kLatin1CodePage;
  PrepareTexts();
  return InputCodePage();
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

// Writes objects into one output, in a form or in the usual one of each kind.
class Converter {
 public:
  Converter(std::optional<dialects::Form> form, ObjectOutput& output, bool tells_each,
            Reporter& reporter)
      : form_(form), output_(output), tells_each_(tells_each), reporter_(reporter) {
    settings_.text.input_code_page = InputCodePageOfADevice();
  }

  // False when nothing more can be written; that was told.
  bool ConvertFile(const InputFile& input) {
    const OpenFile file(fdopen(dup(input.handle()), "rb"));
    if (!file) return FailOutput();
    Findings findings;
    Refusals refusals(input.name(), tells_each_, reporter_);
    dialects::ObjectSplitter splitter(file.get());
    size_t number = 0;
    while (std::optional<dialects::ObjectText> object = splitter.Next()) {
      if (WasInterrupted()) return false;
      reporter_.Progress(input.name() + ": object", ++number, 0);
      if (!Convert(input.name(), *object, number, findings, refusals)) return false;
    }
    if (std::ferror(file.get()) != 0) {
      reporter_.Fail(input.name() + ": " + std::strerror(errno), OSIF_ERR_FILE_OPEN);
    } else if (number == 0) {
      reporter_.Fail(input.name() + ": no object is in it", OSIF_ERR_INVALID_STREAM);
    }
    refusals.Summarise();
    if (!tells_each_) findings.Tell(input.name(), reporter_);
    return true;
  }

  bool Finish() {
    if (writer_ && !output_.Write(writer_->End())) return FailOutput();
    writer_.reset();
    return output_.PutInPlace() || FailOutput();
  }

  size_t written() const { return written_; }
  // True when the output could not be written; that was told.
  bool has_failed() const { return has_failed_; }

 private:
  bool Convert(const std::string& name, const dialects::ObjectText& object, size_t number,
               Findings& findings, Refusals& refusals) {
    if (!MakeReady(object.kind)) return FailOutput();
    dialects::WrittenObject written;
    if (!object.refusal.empty()) {
      written.refusal = object.refusal;
    } else if (writer_) {
      written = writer_->Write(object);
    } else {
      written.refusal = object.kind == dialects::ObjectKind::kUnknown
                            ? "no card, calendar, note or message"
                            : "it cannot be written as " + std::string(NameOfForm(*form_));
    }
    if (!written.refusal.empty()) {
      refusals.Tell({number, object.line, object.kind, written.refusal, OSIF_OK, written.report});
      return true;
    }
    if (!output_.Write(written.text)) return FailOutput();
    ++written_;
    findings.Add(object.kind, written.report);
    TellObject(name, object, number, written.report);
    return true;
  }

  void TellObject(const std::string& name, const dialects::ObjectText& object, size_t number,
                  const dialects::Report& report) {
    if (reporter_.json() && !output_.is_standard_output()) {
      Json line = {{"file", name}, {"number", number}, {"line", object.line}};
      PutReport(report, line);
      reporter_.JsonLine(line);
    } else if (tells_each_ && !report.IsEmpty()) {
      reporter_.Note(PlaceOf(name, number, object.line) + ": " + ReportText(report));
    }
  }

  // The writer of a kind, with what stood before it closed.
  bool MakeReady(dialects::ObjectKind kind) {
    if (writer_ && kind == kind_) return true;
    if (writer_ && !output_.Write(writer_->End())) return false;
    kind_ = kind;
    writer_ = dialects::MakeWriter(kind, form_.value_or(dialects::UsualForm(kind)), settings_);
    return !writer_ || output_.Write(writer_->Begin());
  }

  bool FailOutput() {
    const std::string name = output_.is_standard_output() ? "standard output" : output_.name();
    reporter_.Fail(name + ": " + std::strerror(errno), OSIF_ERR_GENERAL);
    has_failed_ = true;
    return false;
  }

  const std::optional<dialects::Form> form_;
  ObjectOutput& output_;
  const bool tells_each_;
  Reporter& reporter_;
  dialects::WriterSettings settings_;
  dialects::ObjectKind kind_ = dialects::ObjectKind::kUnknown;
  std::unique_ptr<dialects::ObjectWriter> writer_;
  size_t written_ = 0;
  bool has_failed_ = false;
};

// The files of a folder and of the folders in it, in the order of their names. Links to folders are not followed.
std::vector<std::string> FilesOf(const std::string& folder, Reporter& reporter) {
  std::vector<std::string> files;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored)) files.push_back(entry->path().string());
  }
  if (error) reporter.Fail(folder + ": " + error.message(), OSIF_ERR_FILE_OPEN);
  std::ranges::sort(files);
  return files;
}

std::vector<std::string> InputsOf(const ConvertArguments& arguments, Reporter& reporter) {
  std::vector<std::string> inputs;
  for (const std::string& name : arguments.files) {
    std::error_code ignored;
    if (arguments.is_recursive && fs::is_directory(name, ignored)) {
      std::ranges::copy(FilesOf(name, reporter), std::back_inserter(inputs));
    } else {
      inputs.push_back(name);
    }
  }
  return inputs;
}

void DeclareConvert(Declarations& declarations, ConvertArguments& arguments) {
  declarations
      .Add("FILE", arguments.files,
           "Files of objects in any form; - for standard input; folders with -r")
      .Required();
  DeclareForm(declarations, "--to", arguments.form);
  declarations.Add("-o,--output", arguments.output, "The file; standard output without it")
      .Called("FILE");
  declarations.AddFlag("-r,--recursive", arguments.is_recursive,
                       "Take the files of folders, and of the folders in them");
  declarations.AddFlag("-v,--verbose", arguments.is_verbose, "Say of each object what was changed");
}

void Convert(const ConvertArguments& arguments, const Options&, Reporter& reporter) {
  const InterruptWatch watch;
  ObjectOutput output(arguments.output);
  if (const std::string why = output.WhyRefused(); !why.empty()) {
    return reporter.Fail(output.name() + ": " + why, OSIF_ERR_FILE_OPEN);
  }
  if (!output.Open()) {
    return reporter.Fail(output.name() + ": " + std::strerror(errno), OSIF_ERR_FILE_OPEN);
  }
  Converter converter(ChosenForm(arguments.form, arguments.output), output, arguments.is_verbose,
                      reporter);
  for (const std::string& name : InputsOf(arguments, reporter)) {
    const InputFile input(name);
    if (!input.why_not().empty()) {
      reporter.Fail(input.name() + ": " + input.why_not(), OSIF_ERR_FILE_OPEN);
    } else if (!converter.ConvertFile(input)) {
      break;
    }
  }
  if (converter.has_failed()) return;
  if (WasInterrupted()) return reporter.Fail("interrupted", OSIF_OK);
  // A file that was there is worth more than one without objects.
  if (converter.written() == 0 && !output.is_standard_output()) {
    return reporter.Fail(output.name() + ": not written, as there is no object for it",
                         OSIF_ERR_INVALID_STREAM);
  }
  if (!converter.Finish() || output.is_standard_output()) return;
  reporter.Result({{"file", output.name()}, {"count", converter.written()}},
                  output.name() + ": " + ObjectCount(converter.written()));
}

}  // namespace

void AddConvert(const CommandLine& line) {
  AddSubcommand(line, "convert", "Write the objects of files in another form, without a device",
                DeclareConvert, Convert);
}

}  // namespace command
