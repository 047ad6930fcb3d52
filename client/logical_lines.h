// The logical lines of a file with the place of each, for finding objects. They are the lines that the
// library's reader makes (folds and soft line breaks joined), but only their beginnings are kept.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

namespace client {

struct LogicalLine {
  std::string text;  // its beginning, enough to see a property name and a short value
  int64_t begin;     // in bytes from the start of the file
  int64_t end;       // where the next line begins
  uint64_t line;     // the number of its first physical line, from 1
  uint64_t next_line;
};

// In bytes. Nobody sends a longer line; whoever makes one wants the memory that it takes.
inline constexpr int64_t kLongestLine = int64_t{64} * 1024 * 1024;

class LogicalLines {
 public:
  // Reads from the file's present position, which counts as line 1. The file stays its owner's.
  explicit LogicalLines(FILE* file);
  LogicalLines(const LogicalLines&) = delete;
  LogicalLines& operator=(const LogicalLines&) = delete;

  // False at the end of the file, and at a line that is longer than kLongestLine.
  bool Next(LogicalLine& line);

  // The number of that line, when there is one; what follows it is not looked at.
  std::optional<uint64_t> long_line() const { return long_line_; }

  // Skips physical lines up to one that begins with a text (upper case); blanks, tabs and case are
  // ignored. That line is the next one.
  void SkipTo(std::string_view start);

 private:
  void ReadPhysical();
  void PassPhysical();
  std::string_view Content() const;

  FILE* file_;
  std::string
      physical_;  // the physical line that comes next, its line end included; empty at the end
  std::optional<uint64_t> long_line_;
  int64_t position_;
  uint64_t number_ = 1;
};

}  // namespace client
