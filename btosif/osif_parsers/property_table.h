// A format's table of properties: each row has at least a `name`, which begins with a capital, and
// the formats add what they need.
#pragma once

#include <cstddef>
#include <string_view>

#include "btosif/osif_util/ascii.h"

// The row of a name, compared without regard to case; null for a name that the format does not
// know.
template <typename Row, size_t kCount>
const Row* FindRow(const Row (&rows)[kCount], std::string_view name) {
  if (name.empty()) return nullptr;
  const char first = AsciiUpper(name.front());
  for (const Row& row : rows) {
    if (row.name.front() == first && EqualsIgnoringCase(row.name, name)) return &row;
  }
  return nullptr;
}
