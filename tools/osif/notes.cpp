// osif notes: the ink documents of the device's folder. The library stores notes and cannot be asked for them; the
// documents are its users' files, so they are read here, as text.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "client/session.h"
#include "client/texts.h"
#include "platform/device/device.h"
#include "platform/device/ink/reader.h"
#include "tools/osif/commands.h"

namespace command {
namespace {

namespace fs = std::filesystem;

struct NotesArguments {
  std::vector<std::string> names;  // empty: all are listed
};

fs::path Documents() { return fs::path(device::Folder()) / "Documents"; }

bool IsNote(const fs::path& path) { return EqualsIgnoringCase(path.extension().string(), ".pwi"); }

// The documents in the order of their names.
std::vector<fs::path> AllNotes(Reporter& reporter) {
  std::vector<fs::path> notes;
  std::error_code error;
  for (fs::directory_iterator entry(Documents(), error);
       !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (IsNote(entry->path())) notes.push_back(entry->path());
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    reporter.Fail(Documents().string() + ": " + error.message(), OSIF_ERR_FILE_OPEN);
  }
  std::ranges::sort(notes);
  return notes;
}

// Nothing, and a message, for what cannot be read.
std::optional<std::string> TextOf(const fs::path& path, Reporter& reporter) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    reporter.Fail(path.string() + ": " + std::strerror(errno), OSIF_ERR_FILE_OPEN);
    return std::nullopt;
  }
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  const std::optional<std::u16string> text = device::ReadInkDocument(bytes);
  if (!text) {
    reporter.Fail(path.string() + " is no ink document", OSIF_ERR_INVALID_STREAM);
    return std::nullopt;
  }
  return ToOutput(*text);
}

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
  const std::optional<std::string> text = TextOf(path, reporter);
  if (!text) return;
  const std::string name = path.stem().string();
  reporter.Result({{"name", name}, {"file", path.string()}, {"text", *text}}, name);
}

void ShowNote(const std::string& name, Reporter& reporter) {
  // A name is that of a document, not a way to other files.
  if (name.find('/') != std::string::npos) return reporter.Fail(name, OSIF_ERR_NOT_FOUND);
  const fs::path path = Documents() / (name + ".pwi");
  const std::optional<std::string> text = TextOf(path, reporter);
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
    for (const fs::path& path : AllNotes(reporter)) ListNote(path, reporter);
  }
  for (const std::string& name : arguments.names) ShowNote(name, reporter);
}

}  // namespace

void AddNotes(const CommandLine& line) {
  AddSubcommand(line, "notes", "List the notes in the device's folder, or print some as text",
                DeclareNotes, Notes);
}

}  // namespace command
