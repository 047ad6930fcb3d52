// Takes a file of any dialect apart into its objects, whatever stands around and between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>
#include <vector>

#include "dialects/card_plain.h"
#include "dialects/file_lines.h"
#include "dialects/object_text.h"

namespace dialects {

// An object of more bytes is refused: it has to fit into memory, and nobody's card or message is of that
// size.
inline constexpr size_t kLargestObject = size_t{64} << 20;

// Lines of a file that belong to no object.
struct StrayLines {
  uint64_t count = 0;
  uint64_t first = 0;  // the number of the first; 0 without one
};

// Reads a file once, from its start to its end, and keeps one object in memory.
//
// - A frame line ("BEGIN:VCARD") may have blanks around it and a group before it; "END:V..." may follow a
//   version on one line.
// - Between objects all but a BEGIN is passed over.
// - An object without END ends with the file, or before a BEGIN that cannot stand inside of it: in a card, that
//   of another one that is no AGENT; in a calendar, that of a card, a note, a message or another calendar; in a
//   message, all but those of cards and of its own parts. Its END is added then, and those of its open parts.
// - A "BEGIN:" is text in a quoted-printable value (the line before ends in a soft break), and in the body of a
//   message. Where a body has no end, the next message begins after it all the same.
// - A VEVENT, VTODO or VJOURNAL outside of a calendar is an object of the calendar's kind.
//
// An object that is too large is given without its text, and reading goes on at the next BEGIN of an object.
// The cost is linear in the file.
class ObjectSplitter {
 public:
  explicit ObjectSplitter(ByteSource bytes, size_t largest_object = kLargestObject);
  // The file outlives the splitter.
  explicit ObjectSplitter(std::FILE* file) : ObjectSplitter(BytesOf(file)) {}

  // The plain cards that come next, one directly after the other, as far as they lie in the buffer: their text, until the
  // splitter is asked for more, and their sizes. Empty where something else comes next: ask Next() then.
  std::string_view TakePlainCards(std::vector<TextLength>& sizes);

  // The number of the line that comes next.
  uint64_t next_line() const { return lines_.next(); }

  // The next object; nothing at the end of the file.
  std::optional<ObjectText> Next();

  // What was passed over so far: lines of something, and blank lines.
  const StrayLines& junk() const { return junk_; }
  const StrayLines& blank() const { return blank_; }

 private:
  std::optional<TextLength> PlainCardAt(std::string_view ahead, uint64_t line);
  std::optional<ObjectText> NextPlainCard();
  void PassOver(const FileLine& line);

  FileLines lines_;
  const size_t largest_object_;
  uint64_t not_plain_ = 0;  // the number of a line where no plain card begins
  StrayLines junk_;
  StrayLines blank_;
  bool has_later_mark_ = false;  // files were put together, and a later one had a byte order mark
  bool is_after_too_large_ = false;  // lines belong to an object that was refused
};

}  // namespace dialects
