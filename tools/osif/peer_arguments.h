// What the subcommands share that ask another device.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "tools/osif/reporter.h"

namespace command {

// How long an answer is waited for.
inline constexpr std::chrono::seconds kPeerPatience{60};

// The first line of a file, empty where none is named; nothing, and a message, where there is none in it.
std::optional<std::string> PasswordIn(const std::string& file, Reporter& reporter);

}  // namespace command
