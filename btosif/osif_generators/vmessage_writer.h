// Writes message records as vMessages (IrMC 1.1).
#pragma once

#include <cstdint>

#include "btosif/osif_file.h"
#include "osif.h"

// Writes one message with an envelope and a body: the headers that the record has, an empty line, and the
// first part's text. With `write_luid` the record's id goes out as X-IRMC-LUID. No card, no attachment and
// no further part is written. Failures are traced only: always 0.
//
// The text goes out with the stream's line ends, and with one of its own when it does not end in one. A line
// of it that would end the body is kept from doing so: its first letter is encoded in a quoted-printable
// text, any other text gets a blank before it. A header is one line: its line breaks become blanks, and one
// that ends in "=", which would join it with the next line, gets a blank after it.
OsifResult VMessage_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid);
