// The content of a message's part, read as it is: lines are not unfolded and nothing is decoded but soft
// line breaks (RFC 2045, section 6.7).
#pragma once

#include <string_view>

#include "btosif/osif_file.h"
#include "osif.h"

enum class RawLine { kRead, kEnd, kNoMemory };

// The next physical line, without its line end: cut at its first carriage return or zero byte. Valid until
// the next read from the stream. kEnd at the end of the file.
RawLine ReadRawLine(OsifStream& stream, std::string_view& line);

// How reading a content ended.
struct ContentEnd {
  // OSIF_PARSE_OK when the terminator line was reached, else what ReadContent returns.
  OsifResult result;
  bool is_closing = false;  // the terminator line had "--" after the terminator: no part follows
};

// Reads content up to a line that begins with the terminator: into the file of an attachment when the part's
// type has a name, else into the part's text, in which each line ends with a line feed.
//
// OSIF_PARSE_ERROR when the file ends first; OSIF_ERR_GENERAL, OSIF_ERR_FILE_OPEN and OSIF_ERR_NO_MEMORY as
// VMessage_ReadBody. After a failure no attachment file is left that the part does not name.
ContentEnd ReadContent(OsifStream& stream, std::string_view terminator, MessagePart& part);

// Reads past content up to such a line.
ContentEnd SkipContent(OsifStream& stream, std::string_view terminator);
