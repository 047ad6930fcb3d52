// Writes contact records as vCards (vCard 2.1).
#pragma once

#include <cstdint>

#include "btosif/osif_file.h"
#include "osif.h"

// Writes one vCard with the record's own VERSION text. With `write_luid` the record's id goes out as
// X-IRMC-LUID (IrMC). Properties that only one vendor's PIM knows are left out when the setting
// DoNotSendMsftProperties says so. Failures are traced only: always 0.
OsifResult VCard_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid);
