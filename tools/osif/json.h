// The JSON that the command prints: one object a line, keys in the order in which they are put in.
#pragma once

#include <nlohmann/json.hpp>

namespace command {

using Json = nlohmann::ordered_json;

}  // namespace command
