// osif show: one object for people, every field by its name; for a calendar item also when it takes place next.
#include <ctime>
#include <string>

#include "client/records.h"
#include "client/store.h"
#include "client/temp_file.h"
#include "client/texts.h"
#include "dialects/content_line.h"
#include "dialects/form_names.h"
#include "dialects/occurrences.h"
#include "tools/osif/commands.h"
#include "tools/osif/object_fields.h"
#include "tools/osif/object_id.h"
#include "tools/osif/read_dialects.h"

namespace command {
namespace {

constexpr size_t kShownOccurrences = 10;

struct ShowArguments {
  int32_t store_id = 0;
  std::string id;
};

void DeclareShow(Declarations& declarations, ShowArguments& arguments) {
  declarations.AddStore(arguments.store_id);
  declarations.Add("ID", arguments.id, "Its id as \"osif list\" shows it").Required();
}

// The object as the library writes it; empty when it cannot.
std::string LibraryText(int32_t store_id, const std::string& id) {
  FetchedObject fetched(store_id, id.c_str());
  const TempFile piece;
  std::string text;
  if (fetched.result() != OSIF_OK || !piece.is_open()) return text;
  if (OSIF_WriteObject(store_id, &fetched.object(), ToWide(piece.name()).c_str(), 1) == OSIF_OK) {
    piece.Read(text);
  }
  return text;
}

// The lines that the form for people has.
std::string PeoplesText(int32_t store_id, const std::string& text, Reporter& reporter) {
  dialects::WriterSettings settings;
  settings.text.input_code_page = InputCodePage();
  settings.origin = dialects::Origin::kLibrary;
  const auto writer = dialects::MakeWriter(KindOf(store_id), dialects::Form::kText, settings);
  if (!writer) return {};
  const dialects::WrittenObject written = writer->Write({KindOf(store_id), text});
  if (!written.refusal.empty()) reporter.Fail(written.refusal, OSIF_OK);
  return writer->Begin() + written.text + writer->End();
}

void TellLines(std::string_view text, Reporter& reporter) {
  while (!text.empty()) reporter.Text(std::string(dialects::TakePhysicalLine(text)));
}

void Show(const ShowArguments& arguments, const Options& options, Reporter& reporter) {
  const int32_t store_id = arguments.store_id;
  if (!AreIds(store_id, {arguments.id}, reporter)) return;
  Session session(options.trace, reporter);
  if (!session.is_open()) return;
  const std::string id = LibraryId(store_id, arguments.id);
  FetchedObject fetched(store_id, id.c_str());
  if (fetched.result() != OSIF_OK) {
    return reporter.Fail(IdInStore(store_id, id.c_str()), fetched.result());
  }
  const std::string text = LibraryText(store_id, id);
  Json next = Json::array();
  if (store_id == OSIF_STORE_CAL) {
    const dialects::TextSettings settings{InputCodePage()};
    for (const std::string& one :
         dialects::NextOccurrences(text, settings, std::time(nullptr), kShownOccurrences)) {
      next.push_back(one);
    }
  }
  if (reporter.json()) {
    Json line = {{"store", NameOfStore(store_id)},
                 {"id", arguments.id},
                 {"name", ObjectName(store_id, fetched.object())},
                 {"fields", FieldsJson(store_id, fetched.object())}};
    if (store_id == OSIF_STORE_CAL) line["next"] = next;
    return reporter.JsonLine(line);
  }
  TellLines(PeoplesText(store_id, text, reporter), reporter);
  for (const Json& one : next) reporter.Text("Takes place: " + one.get<std::string>());
}

}  // namespace

void AddShow(const CommandLine& line) {
  AddSubcommand(line, "show", "Show one object of a store, every field by its name", DeclareShow,
                Show);
}

}  // namespace command
