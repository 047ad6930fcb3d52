#include "tools/osif/logical_lines.h"

#include <cstdlib>

#include "btosif/osif_util/ascii.h"

namespace command {
namespace {

// Beyond this a line is neither a BEGIN nor an END that the library would know.
constexpr size_t kKept = 512;

bool IsFold(char c) { return c == ' ' || c == '\t'; }

bool EndsInSoftBreak(std::string_view text) {
  const size_t other = text.find_last_not_of('=');
  const size_t run = other == std::string_view::npos ? text.size() : text.size() - other - 1;
  return run % 2 == 1;
}

// Appends what the library would see of a physical line: nothing behind a zero byte or a lone carriage
// return. Returns false when one of them has ended the text.
bool Append(std::string& text, std::string_view physical) {
  const size_t end = physical.find_first_of(std::string_view("\0\r", 2));
  if (text.size() < kKept) text += physical.substr(0, std::min(end, kKept - text.size()));
  return end == std::string_view::npos;
}

bool StartsWith(std::string_view physical, std::string_view start) {
  for (const char c : physical) {
    if (start.empty()) break;
    if (IsFold(c)) continue;
    if (AsciiUpper(c) != start.front()) return false;
    start.remove_prefix(1);
  }
  return start.empty();
}

}  // namespace

LogicalLines::LogicalLines(FILE* file) : file_(file), position_(ftello(file)) { ReadPhysical(); }

LogicalLines::~LogicalLines() { std::free(buffer_); }

void LogicalLines::ReadPhysical() {
  const ssize_t size = getline(&buffer_, &room_, file_);
  size_ = size > 0 ? static_cast<size_t>(size) : 0;
}

std::string_view LogicalLines::Content() const {
  std::string_view text(buffer_, size_);
  if (text.ends_with('\n')) {
    text.remove_suffix(1);
    if (text.ends_with('\r')) text.remove_suffix(1);
  }
  return text;
}

bool LogicalLines::Next(LogicalLine& line) {
  if (size_ == 0) return false;
  line.text.clear();
  line.begin = position_;
  line.line = number_;
  bool has_more_text = true;
  for (bool goes_on = true; goes_on;) {
    std::string_view content = Content();
    const bool soft = EndsInSoftBreak(content);
    if (soft) content.remove_suffix(1);
    if (has_more_text) has_more_text = Append(line.text, content);
    position_ += static_cast<int64_t>(size_);
    ++number_;
    ReadPhysical();
    goes_on = size_ > 0 && (soft || IsFold(buffer_[0]));
  }
  line.end = position_;
  line.next_line = number_;
  return true;
}

void LogicalLines::SkipTo(std::string_view start) {
  while (size_ > 0 && !StartsWith(Content(), start)) {
    position_ += static_cast<int64_t>(size_);
    ++number_;
    ReadPhysical();
  }
}

}  // namespace command
