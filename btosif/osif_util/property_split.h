// Splits a logical line of vObject text into name, parameters and value (vCard 2.1, section 2.1.1).
#pragma once

#include <cstddef>
#include <string_view>

// The rooms of the splitter's buffers, terminators included.
inline constexpr size_t kNameRoom = 52;
inline constexpr size_t kParamRoom = 128;

// Splits a line into its name and its parameter text (both cut silently at their rooms) and returns the
// value, which starts inside `line` and is empty when the line has neither ":" nor ";". A backslash before
// ";" or before a backslash protects it; both characters are kept.
const char* SplitProperty(char (&name)[kNameRoom], char (&params)[kParamRoom], const char* line);

// Removes every blank and tab, in place, and returns the text.
char* StripBlanks(char* text);

// Both steps in one, for a line that need not be terminated: name and parameters, without their blanks, are in
// the two buffers, the value is in the line.
struct SplitLine {
  std::string_view name;
  std::string_view params;
  std::string_view value;
};
SplitLine SplitStripped(char (&name)[kNameRoom], char (&params)[kParamRoom], std::string_view line);
