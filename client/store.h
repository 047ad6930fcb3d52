// The stores by the names that people give them on the command line.
#pragma once

#include <cstdint>
#include <string>

namespace client {

// "pb", "cal", "note", "msg-in", "msg-sent", "msg-out"; the digits of a number that no store has.
std::string NameOfStore(int32_t store_id);

}  // namespace client
