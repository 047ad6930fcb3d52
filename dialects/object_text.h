// One object of a file as it came, before anything is understood of it.
#pragma once

#include <cstdint>
#include <string>

namespace dialects {

enum class ObjectKind {
  kCard,      // VCARD
  kCalendar,  // VCALENDAR; also a VEVENT, VTODO or VJOURNAL that stands in none
  kNote,      // VNOTE
  kMessage,   // VMSG, VMESSAGE
  kUnknown,   // another BEGIN
};

struct ObjectText {
  ObjectKind kind = ObjectKind::kUnknown;
  // From its BEGIN to its END line, these included, with the line ends that it came with; where the END was missing it
  // has been added. Bytes in whatever character sets the values have; UTF-8 where the file was UTF-16.
  std::string text = {};
  uint64_t line = 1;                 // of its BEGIN in the file, counted from 1
  bool has_byte_order_mark = false;  // of the file: values that name no character set are UTF-8
  bool had_end = true;               // false: the END was added
  bool is_plain = false;             // true: known to be one that the library takes as it lies
  std::string refusal = {};          // why there is no text, in words: it is too large
};

}  // namespace dialects
