// Half a line at the end of a log: its writer ended, or its disk was full, while it wrote the line. Whatever is
// appended would be glued to it, so it goes before anything is.
#pragma once

#include "btosif/osif_file.h"
#include "btosif/osif_util/charset.h"

// Cuts a file that is open for writing back to its last line feed; its position is then the end, and an error of
// the stream is forgotten. False when it cannot be cut; the half line is then still there.
bool DropHalfLine(OsifStream& log);

// The same for a closed file. One that is not there has none.
bool DropHalfLine(const WideText& name);
