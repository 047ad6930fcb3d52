// The stores by the names that people give them on the command line.
#pragma once

#include <cstdint>
#include <string>

namespace command {

// "pb", "cal", "note", "msg-in", "msg-sent", "msg-out"; the digits of a number that no store has.
std::string StoreName(int32_t store_id);

}  // namespace command
