// Where a conversion puts its result: counts all of it and keeps what fits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

// Borrows the buffer of its user, which may be null when the room is 0.
template <typename Unit>
class ConversionOutput {
 public:
  ConversionOutput(Unit* buffer, size_t room) : buffer_(buffer), room_(room) {}

  void Put(Unit unit) {
    if (length_ < room_) buffer_[length_] = unit;
    ++length_;
  }
  void Put(const Unit* units, size_t count) {
    if (length_ < room_) {
      std::memcpy(buffer_ + length_, units, std::min(count, room_ - length_) * sizeof(Unit));
    }
    length_ += count;
  }
  // Characters of ASCII, in bytes or in UTF-16.
  template <typename Source>
  void PutAscii(const Source* units, size_t count) {
    const size_t kept = length_ < room_ ? std::min(count, room_ - length_) : 0;
    for (size_t i = 0; i < kept; ++i) buffer_[length_ + i] = static_cast<Unit>(units[i]);
    length_ += count;
  }

  // For whoever writes without Put: the place after what was put, its room, and how much would have been
  // written there.
  Unit* rest() const { return buffer_ == nullptr ? nullptr : buffer_ + std::min(length_, room_); }
  size_t room_left() const { return room_ - std::min(length_, room_); }
  void Skip(size_t count) { length_ += count; }

  // How long the whole result is, in units.
  size_t length() const { return length_; }

 private:
  Unit* buffer_;
  size_t room_;
  size_t length_ = 0;
};
