// Object ids. Those of PIM items are the item's object identifier as eight lower-case hexadecimal digits.
#pragma once

#include <optional>

#include "osif.h"
#include "platform/api/pimstore.h"

// Reads an id: hexadecimal digits in either case, leading zeros or not; what follows them is ignored.
// Nothing for a text without a digit and for a number beyond 32 bits.
std::optional<LONG> pol_ReadId(const char* id);

// Whether a text can be the id of an item of the PIM: what pol_ReadId reads.
bool pol_IsItemId(const char* id);

// Whether a text, never null, can be the id of a message: a hexadecimal number of any length.
bool pol_IsMessageId(const char* id);

// Writes an id of eight digits into a buffer of OSIF_ID_SIZE. An identifier of 0 is never written; a null
// buffer is left alone.
void pol_WriteId(LONG oid, char* id);
