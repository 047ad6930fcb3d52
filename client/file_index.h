// Where the objects of a file lie, found without the library: so that the command can say which ones the
// library did not reach, and can hand it each one by itself.
//
// An object reaches from a BEGIN line to the END line that closes it; BEGIN and END lines inside it only
// count the depth, whatever they name, as the library does. Only whole lines count (folded and soft-broken
// lines are joined first, so a "BEGIN:" inside a value is none), names are compared without regard to case,
// blanks and tabs. Two things are known about the kinds: the text of a message's body is not looked into up
// to its "END:VBODY" line; and an object whose END is missing ends before the next BEGIN of the same kind,
// so that a cut-off object does not take the rest of the file with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace client {

enum class ObjectKind { kOther, kVCard, kVCalendar, kVNote, kVMessage };

struct FileObject {
  ObjectKind kind;
  int64_t begin;  // in bytes
  int64_t end;
  uint64_t line;     // of its BEGIN, counted from 1
  bool is_complete;  // false: its END is missing
  // The records that the library makes of it: one, but one for each event and to-do of a calendar.
  size_t first_record;  // counted from 0 over the whole file
  size_t records;       // at least 1
};

// Text between objects, before the first or after the last.
struct OutsideText {
  size_t next_object;                 // the index of the object that follows it
  uint64_t line;                      // its first line
  std::optional<uint64_t> text_line;  // its first line that is not blank
};

struct FileIndex {
  std::vector<FileObject> objects;
  std::vector<uint64_t> record_lines;  // the line on which each record begins
  std::vector<OutsideText> outside;
  // A line that is longer than any that is sent; it and what follows it were not looked at.
  std::optional<uint64_t> long_line;

  // The object that a record belongs to; the last one for records beyond.
  const FileObject& ObjectOf(size_t record) const;
};

// Reads the file once from its start to its end; what it keeps is small, whatever the file holds. A file without
// a BEGIN in its first 64 MB is not read on and has no objects. Nothing when the file cannot be read; errno
// tells why.
std::optional<FileIndex> IndexFile(const std::string& file_name);

}  // namespace client
