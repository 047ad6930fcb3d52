// The notes of a device: ink documents in its folder, which the library writes and does not read.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/osif/reporter.h"

namespace command {

// The folder that the notes are in.
std::filesystem::path NotesFolder();

// The documents in the order of their names; a message where the folder cannot be read.
std::vector<std::filesystem::path> NoteFiles(Reporter& reporter);

// The text of one. Nothing, and a message, for what cannot be read.
std::optional<std::string> NoteText(const std::filesystem::path& path, Reporter& reporter);

}  // namespace command
