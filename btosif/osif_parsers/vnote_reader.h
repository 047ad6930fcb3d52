// Reads vNotes (IrMC 1.1) into note records.
#pragma once

#include <string_view>

#include "btosif/osif_file.h"
#include "osif.h"

// The properties that the reader knows; the numbers are fixed.
enum class NoteProperty {
  kUnknown = 0,
  kBegin = 1,
  kLuid = 2,
  kVersion = 3,
  kDCreated = 4,
  kLastModified = 5,
  kSummary = 6,
  kBody = 7,
  kCategories = 8,
  kClass = 9,
  kEnd = 10,
};

// Looks a property name up without regard to case; kUnknown for any other name.
NoteProperty NotePropertyIndex(std::string_view name);

// Reads every vNote of a stream that stands at its start, and hands each to the callback (which may
// be null) with the worst result so far. OSIF_PARSE_OK, OSIF_PARSE_WARNING, OSIF_PARSE_ERROR (the
// note is not handed on and reading stops) or OSIF_ERR_NO_MEMORY.
OsifResult VNote_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context);
