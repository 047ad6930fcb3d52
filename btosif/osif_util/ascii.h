// Comparing the words of the formats: property names, parameters and types are ASCII and are compared
// without regard to case, whatever the locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

constexpr char AsciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

// True for what may stand anywhere in a name or a type without a meaning.
constexpr bool IsBlankOrTab(char c) { return c == ' ' || c == '\t'; }

// True when the texts are equal without regard to case.
constexpr bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (AsciiUpper(a[i]) != AsciiUpper(b[i])) return false;
  }
  return true;
}

constexpr bool StartsIgnoringCase(std::string_view text, std::string_view word) {
  return EqualsIgnoringCase(text.substr(0, word.size()), word);
}

// True when `text` contains `word`, which is given in upper case, anywhere and in any case.
bool ContainsIgnoringCase(std::string_view text, std::string_view word);

std::string ToUpper(std::string_view text);

// Copies as much of a text as fits with its terminator. Returns true when all of it did.
template <size_t kRoom>
bool CopyBounded(char (&field)[kRoom], std::string_view text) {
  const size_t length = text.size() < kRoom ? text.size() : kRoom - 1;
  text.copy(field, length);
  field[length] = '\0';
  return length == text.size();
}
