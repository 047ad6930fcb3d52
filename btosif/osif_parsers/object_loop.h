// What the readers of all formats do alike: go through a file's objects, hand each to the caller,
// and keep the worst result. A format adds what is between the BEGIN and the END of one object.
#pragma once

#include <cstdint>
#include <string_view>

#include "btosif/osif_file.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_util/object_record.h"
#include "config/trace.h"
#include "osif.h"

// The record that a reader fills again for each object, and the callback (may be null) that gets
// it.
class ObjectDelivery {
 public:
  ObjectDelivery(int32_t store_id, OsifReadCallback callback, void* context)
      : store_id_(store_id), callback_(callback), context_(context), object_(store_id) {}

  OsifObject& object() { return *object_; }

  // The worst result so far in the file: OSIF_PARSE_OK or OSIF_PARSE_WARNING.
  OsifResult result() const { return result_; }
  void Add(OsifResult object_result) {
    if (object_result == OSIF_PARSE_WARNING) result_ = OSIF_PARSE_WARNING;
  }

  // Adds the object's result, lends the record to the callback, then releases and clears it.
  void Deliver(OsifResult object_result);

  // Releases and clears the record.
  void Clear() { FreeObject(store_id_, *object_); }

  // Clears what the kinds of objects have in common, in a record without lists.
  void ClearFrame();

 private:
  int32_t store_id_;
  OsifReadCallback callback_;
  void* context_;
  OwnedObject object_;
  OsifResult result_ = OSIF_PARSE_OK;
};

// True for OSIF_PARSE_OK and OSIF_PARSE_WARNING: the object was read.
constexpr bool IsRead(OsifResult result) {
  return result == OSIF_PARSE_OK || result == OSIF_PARSE_WARNING;
}

// True when the value of a BEGIN line is the given word (in upper case), in any case and with or
// without blanks and tabs.
bool IsType(std::string_view value, std::string_view word);

// True for the text of a VERSION that a reader takes: a number that is neither 0 nor above
// `newest`.
bool IsSupportedVersion(std::string_view version, double newest);

// Reads the next line of an object. False for one that is no property: a blank one, which is told
// in the trace with the format's message, or one that could not be read; `result` is then a
// warning.
bool ReadPropertyOf(OsifStream& stream, PropertyLine& line, const char* blank_line_message,
                    OsifResult& result);

// Reads the objects of a stream that stands at its start, up to the first line between objects that
// begins none. `begins(line)` tells whether a line begins one; `read(line)` reads it, from behind
// that line on, and delivers it. An object that could not be read ends the reading with its result.
// The trace gets `no_begin_message` for a file without any object.
template <typename Begins, typename Read>
OsifResult ReadEachObject(OsifStream& stream, ObjectDelivery& delivery,
                          const char* no_begin_message, Begins begins, Read read) {
  if (FILE_Eof(stream)) return OSIF_PARSE_ERROR;
  PropertyLine line;
  if (!line.has_buffers()) return OSIF_ERR_NO_MEMORY;

  for (bool has_object = false;; has_object = true) {
    if (line.Read(stream) == PropertyLine::Kind::kNoMemory) return OSIF_PARSE_ERROR;
    if (!begins(line)) {
      if (has_object) return delivery.result();
      OSIF_Trace(0, no_begin_message);
      return OSIF_PARSE_ERROR;
    }
    const OsifResult result = read(line);
    if (!IsRead(result)) return result;
    delivery.Add(result);
  }
}
