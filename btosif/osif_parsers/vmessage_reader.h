// Reads vMessages (IrMC 1.1) into message records: a message holds an envelope, the envelope a body, the
// body headers and a content that may have several parts (RFC 2046, section 5.1).
//
// Cards of the sender and of recipients are read past. A card clears what the record held before it of the
// id, the version, the status, the type and the folder.
#pragma once

#include "btosif/osif_file.h"
#include "btosif/osif_parsers/vmessage_property.h"
#include "osif.h"

// Reads every message of a stream that stands at its start, and hands each to the callback (which may be
// null) with the worst result so far and the store that its X-BT-FOLDER names: OSIF_STORE_MSG_OUT,
// OSIF_STORE_MSG_SENT, else OSIF_STORE_MSG_IN. OSIF_PARSE_OK, OSIF_PARSE_WARNING or OSIF_ERR_NO_MEMORY; for
// a message that is refused (it is not handed on and reading stops) OSIF_PARSE_ERROR, or what
// VMessage_ReadBody returned.
OsifResult VMessage_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context);
