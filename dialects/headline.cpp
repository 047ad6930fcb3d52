#include "dialects/headline.h"

#include <algorithm>

#include "dialects/content_line.h"

namespace dialects {
namespace {

bool IsOfWord(char c) {
  const bool is_ascii_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return is_ascii_letter || (c >= '0' && c <= '9') || static_cast<unsigned char>(c) >= 0x80;
}

// How many bytes the first characters take.
size_t LengthOf(std::string_view text, size_t characters) {
  size_t place = 0;
  for (; place < text.size(); ++place) {
    const bool begins = (static_cast<unsigned char>(text[place]) & 0xC0) != 0x80;
    if (begins && characters-- == 0) break;
  }
  return place;
}

}  // namespace

bool HasLetters(std::string_view text) { return std::ranges::any_of(text, IsOfWord); }

std::string Headline(std::string_view text, size_t most) {
  std::string_view line;
  while (!text.empty() && !HasLetters(line)) line = Trim(TakePhysicalLine(text));
  if (!HasLetters(line)) return {};
  const size_t length = LengthOf(line, most);
  if (length == line.size()) return std::string(line);
  const size_t blank = line.find_last_of(" \t", length);
  return std::string(Trim(line.substr(0, blank == std::string_view::npos ? length : blank)));
}

}  // namespace dialects
