// Reading files of any dialect through the library: each object is made strict, and what the library reads of it is
// handed on as a record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "dialects/charsets.h"
#include "dialects/object_text.h"
#include "dialects/report.h"
#include "osif.h"

namespace dialects {

// One record of a file.
struct ReadObject {
  size_t number;  // in the file, counted from 1, the refused ones included
  uint64_t line;  // on which it begins
  int32_t store_id;
  OsifObject* object;  // lent until the visitor returns
  OsifResult result;   // OSIF_PARSE_OK or OSIF_PARSE_WARNING
  const std::string& uid;
  const Report& report;
};

// An object of which no record could be made.
struct RefusedObject {
  size_t number;
  uint64_t line;
  ObjectKind kind;
  const std::string& reason;  // in words
  OsifResult code;            // the library's; OSIF_OK where it was not asked
  const Report& report;
};

class ObjectVisitor {
 public:
  virtual ~ObjectVisitor() = default;
  virtual void OnObject(const ReadObject& object) = 0;
  virtual void OnRefused(const RefusedObject& refused) = 0;
};

// What stood in a file outside of its objects.
struct FileRest {
  size_t objects = 0;          // the objects of all kinds, refused ones included
  size_t outside_lines = 0;    // that are not blank
  uint64_t first_outside = 0;  // the number of the first of these
};

// Reads all objects of an open file or pipe from its present position to its end; it stays its owner's. Its memory is
// that of a few of the largest objects. A large file is divided by a thread of its own; the visitor is called by the
// caller's. OSIF_OK where a record was made of each object, else the first code that the library gave
// or OSIF_PARSE_ERROR; OSIF_ERR_INVALID_STREAM where there is no object at all; OSIF_ERR_FILE_OPEN where the file cannot
// be read (errno tells why).
OsifResult ReadDialectFile(int handle, const TextSettings& settings, ObjectVisitor& visitor,
                           FileRest& rest);

}  // namespace dialects
