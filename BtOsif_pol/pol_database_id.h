// The database id: eight characters that name one series of counters. Anchors hold as long as it stays the
// same.
#pragma once

#include <cstdint>

#include "btosif/osif_util/charset.h"
#include "osif.h"

// The database id of a store's change log in a folder, made when there is none yet. `id` has
// OSIF_DATABASE_ID_SIZE characters of room and stays as it is when the id can neither be read nor made.
OsifResult pol_DatabaseId(int32_t store_id, WideView folder, char* id);
