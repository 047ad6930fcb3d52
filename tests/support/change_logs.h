// Change logs for the tests: their lines, their files, and a checksum computed the long way.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "osif.h"
#include "tests/support/bytes.h"

namespace support {

// "M:17:20050314T101500Z:0001a2f4"
inline std::string EntryLine(char kind, int64_t counter, std::string_view id,
                             std::string_view timestamp = "20050314T101500Z") {
  return std::string(1, kind) + ":" + std::to_string(counter) + ":" + std::string(timestamp) + ":" +
         std::string(id);
}

inline std::string JoinedLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text.append(line).append("\n");
  return text;
}

// The lines of entries with counters from `first` to `last`, each for an object of its own.
inline std::string EntryLines(int first, int last) {
  std::string text;
  for (int i = first; i <= last; ++i) text += EntryLine('M', i, "id" + std::to_string(i)) + "\n";
  return text;
}

inline ChangeLogEntry MakeEntry(char kind, int32_t counter, std::string_view id,
                                std::string_view timestamp = "20050314T101500Z") {
  ChangeLogEntry entry{};
  entry.kind = static_cast<unsigned char>(kind);
  entry.changeCounter = counter;
  timestamp.copy(entry.timestamp, sizeof entry.timestamp - 1);
  id.copy(entry.objectId, sizeof entry.objectId - 1);
  return entry;
}

// An entry as its line, to compare by.
inline std::string LineOf(const ChangeLogEntry& entry) {
  return EntryLine(static_cast<char>(entry.kind), entry.changeCounter, entry.objectId,
                   entry.timestamp);
}

inline OsifAnchor MakeAnchor(uint32_t counter, std::string_view timestamp = "") {
  OsifAnchor anchor{};
  anchor.cc = counter;
  timestamp.copy(anchor.ts, sizeof anchor.ts - 1);
  return anchor;
}

inline bool FileExists(const std::string& path) { return std::filesystem::exists(path); }

// Adler-32 as RFC 1950 defines it, byte by byte, with the restart that an absent text causes.
class PlainAdler {
 public:
  void Feed(const void* bytes, size_t size) {
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (size_t i = 0; i < size; ++i) {
      a_ = (a_ + byte[i]) % 65521;
      b_ = (b_ + a_) % 65521;
    }
  }
  void FeedText(std::u16string_view text) {
    for (char16_t unit : text) {
      const unsigned char bytes[] = {static_cast<unsigned char>(unit & 0xFF),
                                     static_cast<unsigned char>(unit >> 8)};
      Feed(bytes, sizeof bytes);
    }
  }
  void FeedDate(double date) { Feed(&date, sizeof date); }
  void FeedAbsentText() {
    a_ = 1;
    b_ = 0;
  }
  uint32_t Value() const { return b_ << 16 | a_; }

 private:
  uint32_t a_ = 1;
  uint32_t b_ = 0;
};

}  // namespace support
