// The JSON that the command prints: one object a line, keys in the order in which they are put in.
#pragma once

#include <nlohmann/json.hpp>

#include "osif.h"

namespace command {

using Json = nlohmann::ordered_json;

// {"cc","ts"}, or null without an anchor.
inline Json AnchorJson(const OsifAnchor* anchor) {
  if (anchor == nullptr) return nullptr;
  return {{"cc", anchor->cc}, {"ts", anchor->ts}};
}

// The key "result" of a record that was read.
inline const char* ParseResultName(OsifResult result) {
  return result == OSIF_PARSE_OK ? "ok" : "warning";
}

}  // namespace command
