// Logical lines of vObject text: folded lines are joined and quoted-printable soft line breaks removed
// (vCard 2.1, section 2.1.3; RFC 2045, section 6.7).
#pragma once

#include <cstddef>
#include <string_view>

#include "btosif/osif_file.h"
#include "btosif/osif_util/owned_text.h"

// The next logical line from the stream's position, without its line end; an empty text at the end of the
// file. Null when memory is short: the trace tells, and the stream stands after the line, so that a reader
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
