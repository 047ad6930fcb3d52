// The ids of messages: entry ids in upper-case hexadecimal digits.
#pragma once

#include <optional>
#include <vector>

#include "osif.h"
#include "platform/api/cemapi.h"

// Writes an id (room for OSIF_ID_SIZE, may be null). False, with an empty text, when there is no room for it.
bool mapi_WriteId(const SBinary& entry, char* id);

// The bytes of an id; nothing for a text of odd length or with any other character. An id is any text
// that a caller gives, of whatever length.
std::optional<std::vector<BYTE>> mapi_ReadId(const char* id);
