// Logical lines of vObject text: folded lines are joined and quoted-printable soft line breaks removed
// (vCard 2.1, section 2.1.3; RFC 2045, section 6.7), then a line is split into name, parameters and value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "btosif/osif_file.h"
#include "btosif/osif_util/owned_text.h"

// The rooms of the splitter's buffers, terminators included.
inline constexpr size_t kNameRoom = 52;
inline constexpr size_t kParamRoom = 128;

// The next logical line from the stream's position, without its line end; an empty text at the end of the
// file. Null when memory is short: the trace tells, and the stream stands behind the line, so that a reader
// that goes on does not meet it for ever. A line ends as a text at its first zero byte, and is cut at a
// carriage return that no line feed follows.
OwnedText FileLine(OsifStream& stream);

// The same, but a line that is not folded is not copied: its text lies in the stream's window, where it is
// valid until the stream is read from again.
struct LogicalLine {
  bool has_memory;
  size_t raw_length;      // in the file, with line ends
  std::string_view text;  // not terminated
  OwnedText joined;       // where the text of a folded line lies; else null
};
LogicalLine ReadLogicalLine(OsifStream& stream);

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
