#include "tools/osif/note_documents.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

#include "btosif/osif_util/ascii.h"
#include "client/texts.h"
#include "platform/device/device.h"
#include "platform/device/ink/reader.h"

namespace command {

namespace fs = std::filesystem;

namespace {

bool IsNote(const fs::path& path) { return EqualsIgnoringCase(path.extension().string(), ".pwi"); }

}  // namespace

fs::path DocumentsFolder() { return fs::path(device::Folder()) / "Documents"; }

std::vector<fs::path> NoteDocuments(Reporter& reporter) {
  std::vector<fs::path> notes;
  std::error_code error;
  for (fs::directory_iterator entry(DocumentsFolder(), error);
       !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (IsNote(entry->path())) notes.push_back(entry->path());
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    reporter.Fail(DocumentsFolder().string() + ": " + error.message(), OSIF_ERR_FILE_OPEN);
  }
  std::ranges::sort(notes);
  return notes;
}

std::optional<std::string> TextOfNote(const fs::path& path, Reporter& reporter) {
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

}  // namespace command
