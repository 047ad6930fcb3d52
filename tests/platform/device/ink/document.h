// Ink documents taken apart by hand, and texts to put into them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ink_test {

// Bytes from pairs of hexadecimal digits; blanks and line ends are free.
inline std::string Bytes(std::string_view hex) {
  std::string bytes;
  std::string digits;
  for (char c : hex) {
    if (c == ' ' || c == '\n') continue;
    digits += c;
    if (digits.size() < 2) continue;
    bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
    digits.clear();
  }
  return bytes;
}

inline size_t Number(std::string_view bytes, size_t at, size_t size) {
  size_t number = 0;
  for (size_t i = size; i > 0; --i) {
    number = number << 8 | static_cast<unsigned char>(bytes.at(at + i - 1));
  }
  return number;
}

struct Zone {
  size_t type;
  size_t id;
  std::string content;
  size_t offset;  // of the content in the document
};

// The zones after the header of 14 bytes. Throws std::out_of_range where one is not whole.
inline std::vector<Zone> Zones(std::string_view document) {
  std::vector<Zone> zones;
  for (size_t at = 14; at < document.size();) {
    const size_t size = 4 * Number(document, at + 4, 2);
    if (at + 6 + size > document.size()) throw std::out_of_range("a zone passes the end");
    zones.push_back({Number(document, at, 2), Number(document, at + 2, 2),
                     std::string(document.substr(at + 6, size)), at + 6});
    at += 6 + size;
  }
  return zones;
}

inline std::vector<Zone> ZonesOfType(std::string_view document, size_t type) {
  std::vector<Zone> zones;
  for (Zone& zone : Zones(document)) {
    if (zone.type == type) zones.push_back(zone);
  }
  return zones;
}

inline std::u16string Repeated(std::u16string_view text, size_t count) {
  std::u16string result;
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

}  // namespace ink_test
