// Both directions look at every byte of every text that is not plain, so what a byte is and what a digit counts
// is read from tables that are made at compile time. Encoding goes over the text twice, to measure and to write,
// with one function, so that the two cannot disagree.
#include "btosif/osif_util/quoted_printable.h"

#include <array>
#include <cstdint>

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr uint8_t kNoDigit = 255;

constexpr bool IsPlain(unsigned char byte) {
  if (byte == ' ' || byte == '\t') return true;
  return byte >= 33 && byte <= 126 && byte != '=' && byte != ':' && byte != ';' && byte != '\\';
}

constexpr std::array<bool, 256> MakePlainTable() {
  std::array<bool, 256> table{};
  for (size_t byte = 0; byte < table.size(); ++byte) {
    table[byte] = IsPlain(static_cast<unsigned char>(byte));
  }
  return table;
}

constexpr std::array<bool, 256> kPlain = MakePlainTable();

constexpr uint8_t DigitValue(char c) {
  if (c >= '0' && c <= '9') return static_cast<uint8_t>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<uint8_t>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<uint8_t>(c - 'a' + 10);
  return kNoDigit;
}

constexpr std::array<uint8_t, 256> MakeDigitTable() {
  std::array<uint8_t, 256> table{};
  for (size_t byte = 0; byte < table.size(); ++byte) {
    table[byte] = DigitValue(static_cast<char>(byte));
  }
  return table;
}

constexpr std::array<uint8_t, 256> kDigits = MakeDigitTable();

// A digit that the text no longer has counts as no digit.
uint8_t DigitAt(std::string_view text, size_t index) {
  return index < text.size() ? kDigits[static_cast<unsigned char>(text[index])] : kNoDigit;
}

// Hands on one byte after the other.
template <typename Put>
void Decode(std::string_view text, Put put) {
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '=') {
      put(text[i]);
    } else {
      put(static_cast<char>(DigitAt(text, i + 1) * 16 + DigitAt(text, i + 2)));
      i += 2;
    }
  }
}

}  // namespace

size_t QuotedPrintableEncode(std::string_view text, char* out, size_t room) {
  size_t length = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (kPlain[byte]) {
      if (out != nullptr && length + 1 <= room) out[length] = c;
      length += 1;
    } else {
      if (out != nullptr && length + 3 <= room) {
        out[length] = '=';
        out[length + 1] = kHexDigits[byte >> 4];
        out[length + 2] = kHexDigits[byte & 0xF];
      }
      length += 3;
    }
  }
  return length;
}

size_t QuotedPrintableDecode(std::string_view text, char* out, size_t room) {
  size_t length = 0;
  Decode(text, [&](char byte) {
    if (length < room) out[length] = byte;
    ++length;
  });
  return length;
}

std::string QuotedPrintableEncode(std::string_view text) {
  std::string encoded(QuotedPrintableEncode(text, nullptr, 0), '\0');
  QuotedPrintableEncode(text, encoded.data(), encoded.size());
  return encoded;
}

std::string QuotedPrintableDecode(std::string_view text) {
  std::string decoded(text.size(), '\0');
  char* end = decoded.data();
  Decode(text, [&end](char byte) { *end++ = byte; });
  decoded.resize(static_cast<size_t>(end - decoded.data()));
  return decoded;
}
