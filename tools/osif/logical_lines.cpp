#include "tools/osif/logical_lines.h"

#include <cstdlib>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/line_rules.h"

namespace command {
namespace {

// Beyond this a line is neither a BEGIN nor an END that the library would know.
constexpr size_t kKept = 512;

// Appends what the library would see of a physical line. Returns false when a zero byte or a lone carriage
// return has ended the text.
bool Append(std::string& text, std::string_view physical) {
  const std::string_view seen = CutLine(physical);
  if (text.size() < kKept) text += seen.substr(0, kKept - text.size());
  return seen.size() == physical.size();
}

bool StartsWith(std::string_view physical, std::string_view start) {
  for (const char c : physical) {
    if (start.empty()) break;
    if (IsBlankOrTab(c)) continue;
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

std::string_view LogicalLines::Content() const { return WithoutLineEnd({buffer_, size_}); }

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
    goes_on = size_ > 0 && (soft || IsFoldCharacter(buffer_[0]));
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
