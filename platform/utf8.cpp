// Most texts that are read are ASCII: one look at all bytes tells, and then nothing is taken apart. Any other
// text is walked twice, once to know its length and once to write it, so that it is written in its place at
// once.
//
// Reading is lenient. A byte that begins no character, or whose followers are missing, becomes one U+FFFD and
// reading goes on at the next byte, so that a broken character never takes its neighbours along. Surrogates
// that stand alone are written as they are, in three bytes: the device has to give back every text that was
// put.

#include "platform/utf8.h"

#include <algorithm>

namespace {

void AppendUtf8(std::string& out, char32_t character) {
  auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | (character >> 6));
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | (character >> 12));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | (character >> 18));
    put(0x80 | ((character >> 12) & 0x3F));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  }
}

// The number of bytes that a lead byte announces; 0 for a byte that leads nothing.
size_t SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

// One look at every byte, without a branch for each.
bool IsAscii(std::string_view bytes) {
  unsigned char bits = 0;
  for (const char byte : bytes) bits |= static_cast<unsigned char>(byte);
  return bits < 0x80;
}

// The character at the front of some bytes, and how many of them it takes.
struct Character {
  char32_t value;
  size_t size;
};

Character FirstCharacter(std::string_view bytes) {
  const auto lead = static_cast<unsigned char>(bytes[0]);
  const size_t size = SequenceLength(lead);
  if (size == 0 || size > bytes.size()) return {0xFFFD, 1};
  char32_t value = size == 1 ? lead : lead & (0x7F >> size);
  for (const char byte : bytes.substr(1, size - 1)) {
    if ((byte & 0xC0) != 0x80) return {0xFFFD, 1};
    value = (value << 6) | (static_cast<unsigned char>(byte) & 0x3F);
  }
  return {value, size};
}

template <typename Visit>
void ForEachCharacter(std::string_view bytes, Visit visit) {
  while (!bytes.empty()) {
    const Character character = FirstCharacter(bytes);
    visit(character.value);
    bytes.remove_prefix(character.size);
  }
}

}  // namespace

std::string ToUtf8(std::basic_string_view<WCHAR> text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t character = text[i];
    if (IsLeadSurrogate(text[i]) && i + 1 < text.size() && IsTrailSurrogate(text[i + 1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    AppendUtf8(out, character);
  }
  return out;
}

size_t Utf16Length(std::string_view bytes) {
  if (IsAscii(bytes)) return bytes.size();
  size_t length = 0;
  ForEachCharacter(bytes, [&](char32_t character) { length += character < 0x10000 ? 1 : 2; });
  return length;
}

void DecodeUtf8(std::string_view bytes, WCHAR* out) {
  if (IsAscii(bytes)) {
    std::copy(bytes.begin(), bytes.end(), out);
    return;
  }
  WCHAR* end = out;
  ForEachCharacter(bytes, [&](char32_t character) { end += EncodeUtf16(character, end); });
}

std::basic_string<WCHAR> FromUtf8(std::string_view bytes) {
  std::basic_string<WCHAR> text(Utf16Length(bytes), WCHAR());
  DecodeUtf8(bytes, text.data());
  return text;
}
