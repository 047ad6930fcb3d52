// osif parse: what the library reads out of a file. No store is touched.
//
// The library is opened only when its trace is asked for: reading needs neither a store nor a device, and a
// file can be looked at where no device can be made. Each record is shown while the library lends it, so a
// file of any length is shown in the memory of one object. Each file ends with a line of its own that has its
// code; where a file is read whole, that line alone tells JSON readers of a failure.
#include <optional>

#include "client/object_file.h"
#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "tools/osif/commands.h"
#include "tools/osif/findings.h"
#include "tools/osif/object_fields.h"
#include "tools/osif/read_dialects.h"

namespace command {
namespace {

// "Lee; Ann  [CHARSET=UTF-8]"
std::string ValueText(const Json& value) {
  std::string text;
  const char* separator = "";
  for (const Json& component : value["components"]) {
    text += separator + (component.is_null() ? std::string() : component.get<std::string>());
    separator = "; ";
  }
  if (value["params"].empty()) return text;
  text += "  [";
  separator = "";
  for (const Json& param : value["params"]) {
    if (param.is_string()) text += separator + param.get<std::string>();
    separator = "; ";
  }
  return text + "]";
}

void ShowField(const std::string& name, const Json& field, Reporter& reporter) {
  const std::string start = "  " + name + ": ";
  if (field.is_string()) {
    reporter.Text(start + field.get<std::string>());
  } else if (field.is_number()) {
    reporter.Text(start + field.dump());
  } else {
    for (const Json& entry : field) {
      reporter.Text(start + (entry.contains("components") ? ValueText(entry) : entry.dump()));
    }
  }
}

// Shows records, however they were read.
class Viewer : public FileVisitor, public dialects::ObjectVisitor {
 public:
  Viewer(const std::string& file_name, Reporter& reporter)
      : reporter_(reporter), refusals_(file_name, true, reporter) {}

  void OnRecord(const FileRecord& record) override {
    std::string result = CodeText(record.result);
    if (!record.is_certain && record.result != OSIF_PARSE_OK) {
      result += " (here or in an object before it)";
    }
    Show({record.number, record.line, record.store_id, *record.object, record.result}, result,
         nullptr);
  }

  void OnObject(const dialects::ReadObject& object) override {
    const std::string report = ReportText(object.report);
    Show({object.number, object.line, object.store_id, *object.object, object.result},
         report.empty() ? CodeText(object.result) : report, &object.report);
  }

  using FileVisitor::OnRefused;
  void OnRefused(const dialects::RefusedObject& refused) override { refusals_.Tell(refused); }

 private:
  struct Shown {
    size_t number;
    uint64_t line;
    int32_t store_id;
    const OsifObject& object;
    OsifResult result;
  };

  void Show(const Shown& shown, const std::string& result, const dialects::Report* report) {
    const Json fields = FieldsJson(shown.store_id, shown.object);
    if (reporter_.json()) {
      Json line = {{"store", NameOfStore(shown.store_id)},
                   {"result", ParseResultName(shown.result)},
                   {"fields", fields}};
      if (report != nullptr) PutReport(*report, line);
      return reporter_.JsonLine(line);
    }
    std::string title = "object " + std::to_string(shown.number);
    if (shown.line > 0) title += " (line " + std::to_string(shown.line) + ")";
    reporter_.Text(title + ": " + NameOfStore(shown.store_id) + ", " + result);
    for (const auto& [name, field] : fields.items()) ShowField(name, field, reporter_);
  }

  Reporter& reporter_;
  Refusals refusals_;
};

OsifResult ParseFile(const std::string& name, const FileArguments& arguments, Reporter& reporter) {
  if (arguments.strict) {
    Viewer viewer(name, reporter);
    const ObjectFile file(name);
    return ReadObjectFile(file, arguments.each, {}, viewer, reporter);
  }
  const InputFile file(name);
  Viewer viewer(file.name(), reporter);
  OsifResult result = OSIF_OK;
  ReadDialects(file, viewer, reporter, &result);
  return result;
}

void Parse(const FileArguments& arguments, const Options& options, Reporter& reporter) {
  // Reading needs no open library, but the trace begins when it is opened.
  std::optional<Session> session;
  if (options.trace) session.emplace(options.trace, reporter);
  if (session && !session->is_open()) return;
  if (!session) PrepareTexts();
  // The code in each file's last line tells of its failure. Read one by one, objects fail one by one.
  reporter.SetFailuresInJson(arguments.each || !arguments.strict);
  for (const std::string& file : arguments.files) {
    const OsifResult result = ParseFile(file, arguments, reporter);
    reporter.JsonLine({{"file", file}, {"code", result}, {"text", CodeText(result)}});
    reporter.Text(file + ": " + CodeText(result));
  }
}

}  // namespace

void AddParse(const CommandLine& line) {
  AddSubcommand(line, "parse", "Read files without storing anything, and show what was read",
                DeclareFiles, Parse);
}

}  // namespace command
