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
#include "tools/osif/object_fields.h"

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

class Viewer : public FileVisitor {
 public:
  explicit Viewer(Reporter& reporter) : reporter_(reporter) {}

  void OnRecord(const FileRecord& record) override {
    const Json fields = FieldsJson(record.store_id, *record.object);
    reporter_.JsonLine({{"store", NameOfStore(record.store_id)},
                        {"result", ParseResultName(record.result)},
                        {"fields", fields}});
    if (reporter_.json()) return;
    std::string title = "object " + std::to_string(record.number);
    if (record.line > 0) title += " (line " + std::to_string(record.line) + ")";
    title += ": " + NameOfStore(record.store_id) + ", " + CodeText(record.result);
    if (!record.is_certain && record.result != OSIF_PARSE_OK) {
      title += " (here or in an object before it)";
    }
    reporter_.Text(title);
    for (const auto& [name, field] : fields.items()) ShowField(name, field, reporter_);
  }

 private:
  Reporter& reporter_;
};

void Parse(const FileArguments& arguments, const Options& options, Reporter& reporter) {
  // Reading needs no open library, but the trace begins when it is opened.
  std::optional<Session> session;
  if (options.trace) session.emplace(options.trace, reporter);
  if (session && !session->is_open()) return;
  if (!session) PrepareTexts();
  // The code in each file's last line tells of its failure. Read one by one, objects fail one by one.
  reporter.SetFailuresInJson(arguments.each);
  for (const std::string& file : arguments.files) {
    Viewer viewer(reporter);
    const ObjectFile object_file(file);
    const OsifResult result = ReadObjectFile(object_file, arguments.each, {}, viewer, reporter);
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
