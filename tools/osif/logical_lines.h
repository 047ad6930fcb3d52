// The logical lines of a file with the place of each, for finding objects. They are the lines that the
// library's reader makes (folds and soft line breaks joined), but only their beginnings are kept.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace command {

struct LogicalLine {
  std::string text;  // its beginning, enough to see a property name and a short value
  int64_t begin;     // in bytes from the start of the file
  int64_t end;       // where the next line begins
  uint64_t line;     // the number of its first physical line, from 1
  uint64_t next_line;
};

class LogicalLines {
 public:
  // Reads from the file's present position, which counts as line 1. The file stays its owner's.
  explicit LogicalLines(FILE* file);
  ~LogicalLines();
  LogicalLines(const LogicalLines&) = delete;
  LogicalLines& operator=(const LogicalLines&) = delete;

  // False at the end of the file.
  bool Next(LogicalLine& line);

  // Skips physical lines up to one that begins with a text (upper case); blanks, tabs and case are
  // ignored. That line is the next one.
  void SkipTo(std::string_view start);

 private:
  void ReadPhysical();
  std::string_view Content() const;

  FILE* file_;
  char* buffer_ = nullptr;  // the physical line that comes next, its line end included
  size_t room_ = 0;
  size_t size_ = 0;  // 0 at the end of the file
  int64_t position_;
  uint64_t number_ = 1;
};

}  // namespace command
