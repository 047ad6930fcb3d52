// osif parse: what the library reads out of a file. No store is touched.
#include <memory>
#include <optional>
#include <vector>

#include "tools/osif/commands.h"
#include "tools/osif/object_fields.h"
#include "tools/osif/object_file.h"
#include "tools/osif/records.h"
#include "tools/osif/store.h"
#include "tools/osif/texts.h"

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
    reporter_.JsonLine({{"store", StoreName(record.store_id)},
                        {"result", ParseResultName(record.result)},
                        {"fields", fields}});
    if (reporter_.json()) return;
    std::string title = "object " + std::to_string(record.number);
    if (record.line > 0) title += " (line " + std::to_string(record.line) + ")";
    title += ": " + StoreName(record.store_id) + ", " + CodeText(record.result);
    if (!record.is_certain && record.result != OSIF_PARSE_OK) {
      title += " (here or in an object before it)";
    }
    reporter_.Text(title);
    for (const auto& [name, field] : fields.items()) ShowField(name, field, reporter_);
  }
  void OnRefused(size_t, ObjectKind) override {}
  void OnUnreached(size_t) override {}

 private:
  Reporter& reporter_;
};

void Parse(const std::vector<std::string>& files, bool each, const Options& options,
           Reporter& reporter) {
  // Reading needs no open library, but the trace begins when it is opened.
  std::optional<Session> session;
  if (options.trace) session.emplace(options, reporter);
  if (session && !session->is_open()) return;
  if (!session) PrepareTexts();
  // The code in each file's last line tells of its failure. Read one by one, objects fail one by one.
  reporter.SetFailuresInJson(each);
  for (const std::string& file : files) {
    Viewer viewer(reporter);
    const OsifResult result = ReadObjectFile(file, each, {}, viewer, reporter);
    reporter.JsonLine({{"file", file}, {"code", result}, {"text", CodeText(result)}});
    reporter.Text(file + ": " + CodeText(result));
  }
}

}  // namespace

void AddParse(CLI::App& app, const Options& options, Action& action) {
  struct Arguments {
    std::vector<std::string> files;
    bool each = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* subcommand =
      app.add_subcommand("parse", "Read files without storing anything, and show what was read");
  subcommand->add_option("FILE", arguments->files, "vCard, vCalendar, vNote or vMessage files")
      ->type_name("")
      ->required();
  subcommand->add_flag("--each", arguments->each,
                       "Read every object by itself, so that a bad one does not cost the rest");
  subcommand->callback([arguments, &options, &action] {
    action = [arguments, &options](Reporter& reporter) {
      Parse(arguments->files, arguments->each, options, reporter);
    };
  });
}

}  // namespace command
