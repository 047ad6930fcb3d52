// The body of a message: its headers (RFC 822), and its content in one or several parts (RFC 2046).
#pragma once

#include "btosif/osif_file.h"
#include "btosif/osif_parsers/property_line.h"
#include "osif.h"

// Reads a body, from after its BEGIN line to its END, into the message fields of the record; a content that
// the record held before is released. `line` is the caller's, filled again for each header.
//
// The first part's content becomes its text, or the temporary file of an attachment; of later parts only the
// headers are kept. OSIF_PARSE_OK, OSIF_PARSE_WARNING, OSIF_PARSE_ERROR when the file ends within the body,
// OSIF_ERR_GENERAL when no name for an attachment's file could be made, OSIF_ERR_FILE_OPEN when that file
// could not be written, OSIF_ERR_NO_MEMORY.
OsifResult VMessage_ReadBody(OsifStream& stream, PropertyLine& line, OsifObject& object);
