// Reads vCards (vCard 2.1) into contact records.
#pragma once

#include <string_view>

#include "btosif/osif_file.h"
#include "osif.h"

// The properties that the reader knows; the numbers are fixed.
enum class VCardProperty {
  kUnknown = 0,
  kBegin = 1,
  kLuid = 2,
  kVersion = 3,
  kN = 4,
  kFn = 5,
  kBday = 6,
  kAdr = 7,
  kOrg = 8,
  kTitle = 9,
  kTel = 10,
  kEmail = 11,
  kEnd = 12,
  kUrl = 13,
  kNote = 14,
  kNickname = 15,
  kRole = 16,
  kSpouse = 17,
  kChildren = 18,
  kAssistant = 19,
  kAnniversary = 20,
  kCategories = 21,
  kDepartment = 22,
  kAssistantTelephone = 23,
  kOfficeLocation = 24,
};

// Looks a property name up without regard to case; kUnknown for any other name.
VCardProperty PropertyIndex(std::string_view name);

// Reads every vCard of a stream that stands at its start, and hands each to the callback (which may be
// null) with the worst result so far. OSIF_PARSE_OK, OSIF_PARSE_WARNING, OSIF_PARSE_ERROR (the vCard is
// not handed on and reading stops) or OSIF_ERR_NO_MEMORY.
OsifResult VCard_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context);

// Reads the properties of one vCard after its BEGIN line into a cleared record. The same results.
OsifResult VCard_ReadOne(OsifStream& stream, OsifObject& object);
