// Writes calendar records as vCalendars (vCalendar 1.0).
#pragma once

#include <cstdint>

#include "btosif/osif_file.h"
#include "osif.h"

// Writes one vCalendar with the record's own VERSION text, around one event or to-do as the
// record's kind says (around nothing when it is neither). With `write_luid` the record's id goes
// out as X-IRMC-LUID (IrMC). Attachments are never written. Failures are traced only:
// always 0.
OsifResult VCalendar_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid);
