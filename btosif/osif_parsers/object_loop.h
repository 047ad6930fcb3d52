// What the readers of all formats do alike: go through a file's objects and through the lines of each, hand
// the object to the caller, and keep the worst result. A format adds its table of properties, and what is to
// be done with one of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "btosif/osif_file.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/property_value.h"
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

// Goes through the lines of one object, and keeps what reading it has come to. It borrows the stream and the
// line, which is filled again for each property.
class LineCursor {
 public:
  // `blank_line_message` is for the trace.
  LineCursor(OsifStream& stream, PropertyLine& line, const char* blank_line_message)
      : stream_(stream), line_(line), blank_line_message_(blank_line_message) {}

  // Reads the next property into the line. Lines that are none make the result a warning: a blank one, which
  // is traced, and one that could not be read. False once the object has ended or is refused, and at the end
  // of the file.
  bool Next();

  OsifStream& stream() { return stream_; }
  PropertyLine& line() { return line_; }

  // OSIF_PARSE_OK or OSIF_PARSE_WARNING as long as the object can be read. Only a warning may be put in.
  OsifResult& result() { return result_; }
  // Anything but OSIF_PARSE_OK takes the place of the result; what is no warning refuses the object.
  void Add(OsifResult result) {
    if (result != OSIF_PARSE_OK) result_ = result;
    if (!IsRead(result)) goes_on_ = false;
  }
  void Refuse() { Add(OSIF_PARSE_ERROR); }

  // Makes the result a warning, and traces the message with the property's name.
  void WarnOfName(const char* message);

  // The line at hand is the last one of the object.
  void End() {
    has_ended_ = true;
    goes_on_ = false;
  }
  bool has_ended() const { return has_ended_; }

 private:
  OsifStream& stream_;
  PropertyLine& line_;
  const char* blank_line_message_;
  OsifResult result_ = OSIF_PARSE_OK;
  bool has_ended_ = false;
  bool goes_on_ = true;  // neither ended nor refused
};

// What becomes of an object inside the object.
enum class Nesting {
  kSkipped,  // it is passed over, but names that the table does not know are warned of there too
  kSkippedMute,  // it is passed over, whatever its lines are called
  kRead,         // the format reads it itself, up to its END
};

// What a format tells a cursor. The messages are for the trace.
struct CursorRules {
  const char* blank_line;
  const char* unknown_property;  // with the name
  Nesting nesting;
};

// Goes through the properties of an object, from after its BEGIN line to its END, by the format's table
// (a PropertyTable) and its CursorRules: both are constants, so that each format's loop is compiled for itself.
template <const auto& kTable, const auto& kRules>
class ObjectCursor : public LineCursor {
 public:
  using Row = typename std::remove_cvref_t<decltype(kTable)>::Row;
  using Property = decltype(Row::property);

  ObjectCursor(OsifStream& stream, PropertyLine& line)
      : LineCursor(stream, line, kRules.blank_line) {}

  // The row of the object's next property, which is in the line; null when there is none any more. BEGIN is
  // one only where the format reads nested objects itself, END never.
  const Row* NextRow() {
    while (Next()) {
      const Row* row = kTable.Find(line().name());
      if (row == nullptr) {
        TakeUnknown();
      } else if (row->property == Property::kBegin && kRules.nesting != Nesting::kRead) {
        ++depth_;
      } else if (row->property == Property::kEnd) {
        if (--depth_ == 0) End();
      } else {
        was_met_[Index(*row)] = true;
        if (depth_ == 1) return row;
      }
    }
    return nullptr;
  }

  // True when the property was met, be it in a nested object.
  bool HasMet(Property property) const { return was_met_[static_cast<size_t>(property)]; }

  // Appends the line's value to a list. The last value that came with the row's property is remembered, so that
  // a list of thousands is not gone through for each.
  void Append(const Row& row, std::string_view params, size_t components, PropertyValue*& list) {
    PropertyValue_AppendLine(line().value(), params, components, list, last_values_[Index(row)]);
  }

 private:
  static size_t Index(const Row& row) { return static_cast<size_t>(row.property); }

  void TakeUnknown() {
    if (depth_ > 1 && kRules.nesting == Nesting::kSkippedMute) return;
    WarnOfName(kRules.unknown_property);
  }

  size_t depth_ = 1;
  std::array<bool, kTable.property_count()> was_met_{};
  std::array<PropertyValue*, kTable.property_count()> last_values_{};
};

// Reads the objects of a stream that stands at its start, up to the first line between objects that
// begins none. `begins(line)` tells whether a line begins one; `read(line)` reads it, from after
// that line on, and delivers it. An object that could not be read ends the reading with its result.
// The trace gets `no_begin_message` for a file without any object.
template <typename Begins, typename Read>
OsifResult ReadEachObject(OsifStream& stream, ObjectDelivery& delivery,
                          const char* no_begin_message, Begins begins, Read read,
                          PropertyLine::Shortage shortage = PropertyLine::Shortage::kTraced) {
  if (FILE_Eof(stream)) return OSIF_PARSE_ERROR;
  PropertyLine line(shortage);
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
