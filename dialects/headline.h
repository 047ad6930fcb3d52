// Names for texts that have none: a note's, a message's subject.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace dialects {

// The first line of a text (UTF-8) that has a letter, a digit or a character beyond ASCII, without blanks
// around it. Longer than `most` characters, it ends before the last word that does not fit, or within a word
// that is longer alone. Empty where no line has one.
std::string Headline(std::string_view text, size_t most);

// True for what a person can read: a letter, a digit or a character beyond ASCII.
bool HasLetters(std::string_view text);

}  // namespace dialects
