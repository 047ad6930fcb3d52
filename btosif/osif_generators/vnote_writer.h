// Writes note records as vNotes (IrMC 1.1).
#pragma once

#include <cstdint>

#include "btosif/osif_file.h"
#include "osif.h"

// Writes one vNote with the record's own VERSION text. With `write_luid` the record's id goes out
// as X-IRMC-LUID. Failures are traced only: always 0.
OsifResult VNote_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid);
