// Copies and checks of a device's databases, while other programs use them or while nobody does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/device_files.h"

namespace client {

// Copies a database as it is at one moment, while other programs read and write it, to a file that is not there yet.
// Empty, or why not. Asked to stop (client/interrupt.h), it does not.
std::string CopyDatabase(const std::string& from, const std::string& to);

// How much of a database is looked at: whose it is and what it declares; its pages as well; or also whether its indexes and
// references hold.
enum class Depth { kSchema, kQuick, kWhole };

// What is wrong with a database in a device's folder, a sentence without its name each; nothing when all is well. Nothing
// is changed. A kind that is not there is nothing to look at.
std::vector<std::string> WhatIsWrong(const std::string& device_folder, const DatabaseKind& kind,
                                     Depth depth);

// The number that a question has for an answer; nothing where it cannot be asked. Nothing is changed.
std::optional<int64_t> AskDatabase(const std::string& path, const char* sql);

// The version of a database's schema; -1 where it cannot be read.
int SchemaVersionOf(const std::string& device_folder, const DatabaseKind& kind);

}  // namespace client
