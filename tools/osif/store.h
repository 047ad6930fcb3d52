// The stores by the names that people give them on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

namespace command {

// "pb", "cal", "note", "msg-in", "msg-sent", "msg-out".
std::string StoreName(int32_t store_id);

// The argument STORE of a subcommand.
CLI::Option* AddStoreArgument(CLI::App& subcommand, int32_t& store_id);

}  // namespace command
