// A format's table of properties: each row has at least a `name` and the number of its `property` in the
// format's enumeration, and the formats add what they need.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "btosif/osif_util/ascii.h"

// Finds rows by their names, compared without regard to case, among those that begin with the same
// letter: every line of a file asks. The rows must outlive it; of two with one name the first counts.
template <typename RowType, size_t kCount>
class PropertyTable {
 public:
  using Row = RowType;

  constexpr explicit PropertyTable(const Row (&rows)[kCount]) : rows_(rows) {
    static_assert(kCount < 255);
    for (size_t i = kCount; i > 0; --i) {
      property_count_ = std::max(property_count_, static_cast<size_t>(rows[i - 1].property) + 1);
      uint8_t& first = first_[Letter(rows[i - 1].name)];
      next_[i] = first;
      first = static_cast<uint8_t>(i);
    }
  }

  // One more than the largest number of a property: the length of an array that has a place for each.
  constexpr size_t property_count() const { return property_count_; }

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
  size_t property_count_ = 0;
  // Rows are numbered from 1; 0 is none.
  std::array<uint8_t, 32> first_{};
  std::array<uint8_t, kCount + 1> next_{};
};
