// The documents of notes in the device's folder, as files and as texts.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/osif/reporter.h"

namespace command {

// The folder of the documents.
std::filesystem::path DocumentsFolder();

// The documents in the order of their names.
std::vector<std::filesystem::path> NoteDocuments(Reporter& reporter);

// The text of a document in UTF-8. Nothing, and a message, for what cannot be read.
std::optional<std::string> TextOfNote(const std::filesystem::path& path, Reporter& reporter);

}  // namespace command
