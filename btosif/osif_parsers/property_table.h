// A format's table of properties: each row has at least a `name`, and the formats add what they
// need.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "btosif/osif_util/ascii.h"

// Finds rows by their names, compared without regard to case, among those that begin with the same
// letter: every line of a file asks. The rows must outlive it; of two with one name the first counts.
template <typename Row, size_t kCount>
class PropertyTable {
 public:
  constexpr explicit PropertyTable(const Row (&rows)[kCount]) : rows_(rows) {
    static_assert(kCount < 255);
    for (size_t i = kCount; i > 0; --i) {
      uint8_t& first = first_[Letter(rows[i - 1].name)];
      next_[i] = first;
      first = static_cast<uint8_t>(i);
    }
  }

  // Null for a name that the format does not know.
  constexpr const Row* Find(std::string_view name) const {
    if (name.empty()) return nullptr;
    for (size_t i = first_[Letter(name)]; i != 0; i = next_[i]) {
      const std::string_view row_name = rows_[i - 1].name;
      // Most files write the names as the table does.
      if (row_name == name || EqualsIgnoringCase(row_name, name)) return &rows_[i - 1];
    }
    return nullptr;
  }

 private:
  static constexpr size_t Letter(std::string_view name) { return name.front() & 0x1F; }

  const Row (&rows_)[kCount];
  // Rows are numbered from 1; 0 is none.
  std::array<uint8_t, 32> first_{};
  std::array<uint8_t, kCount + 1> next_{};
};
