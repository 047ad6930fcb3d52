// A table of rows that are found by their name, made at compile time: a look-up hashes three bytes and the length, and
// mostly compares once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace dialects {

// `Row` has a member `name`, which no two rows share and none has empty. The table borrows the rows.
template <typename Row, size_t kRows>
class NameTable {
 public:
  constexpr explicit NameTable(const std::array<Row, kRows>& rows) : rows_(rows) {
    row_of_slot_.fill(kFree);
    for (size_t row = 0; row < kRows; ++row) {
      size_t slot = SlotOf(rows[row].name);
      while (row_of_slot_[slot] != kFree) slot = (slot + 1) % kSlots;
      row_of_slot_[slot] = static_cast<uint8_t>(row);
    }
  }

  // Null when no row has the name.
  constexpr const Row* Find(std::string_view name) const {
    if (name.empty()) return nullptr;
    for (size_t slot = SlotOf(name); row_of_slot_[slot] != kFree; slot = (slot + 1) % kSlots) {
      const Row& row = rows_[row_of_slot_[slot]];
      if (row.name == name) return &row;
    }
    return nullptr;
  }

 private:
  // Twice as many slots as rows at least, so that the runs of taken ones stay short.
  static constexpr size_t kSlots = kRows <= 32 ? 64 : kRows <= 64 ? 128 : 256;
  static constexpr uint8_t kFree = 255;
  static_assert(kRows <= 128);

  static constexpr size_t SlotOf(std::string_view name) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(name[i]); };
    return (name.size() + byte(0) + 8U * byte(name.size() - 1) + 4U * byte(name.size() / 2)) %
           kSlots;
  }

  const std::array<Row, kRows>& rows_;
  std::array<uint8_t, kSlots> row_of_slot_{};
};

}  // namespace dialects
