// osif notes: the ink documents of the device's folder. The library stores notes and cannot be asked for them; the
// documents are its users' files, so they are read here, as text.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "client/session.h"
#include "tools/osif/commands.h"
#include "tools/osif/note_documents.h"

namespace command {
namespace {

namespace fs = std::filesystem;

struct NotesArguments {
  std::vector<std::string> names;  // empty: all are listed
};

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    std::string line = text.substr(begin, end - begin);
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
    begin = end + 1;
  }
  return lines;
}

void ListNote(const fs::path& path, Reporter& reporter) {
  const std::optional<std::string> text = TextOfNote(path, reporter);
  if (!text) return;
  const std::string name = path.stem().string();
  reporter.Result({{"name", name}, {"file", path.string()}, {"text", *text}}, name);
}

void ShowNote(const std::string& name, Reporter& reporter) {
  // A name is that of a document, not a way to other files.
  if (name.find('/') != std::string::npos) return reporter.Fail(name, OSIF_ERR_NOT_FOUND);
  const fs::path path = DocumentsFolder() / (name + ".pwi");
  const std::optional<std::string> text = TextOfNote(path, reporter);
  if (!text) return;
  reporter.JsonLine({{"name", name}, {"file", path.string()}, {"text", *text}});
  for (const std::string& line : LinesOf(*text)) reporter.Text(line);
}

void DeclareNotes(Declarations& declarations, NotesArguments& arguments) {
  declarations.Add("NAME", arguments.names, "Notes to print; without any, all are listed");
}

void Notes(const NotesArguments& arguments, const Options&, Reporter& reporter) {
  if (!CheckDevice(reporter)) return;
  PrepareTexts();
  if (arguments.names.empty()) {
    for (const fs::path& path : NoteDocuments(reporter)) ListNote(path, reporter);
  }
  for (const std::string& name : arguments.names) ShowNote(name, reporter);
}

}  // namespace

void AddNotes(const CommandLine& line) {
  AddSubcommand(line, "notes", "List the notes in the device's folder, or print some as text",
                DeclareNotes, Notes);
}

}  // namespace command
