#include "client/logical_lines.h"

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/line_rules.h"

namespace client {
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

// Byte by byte, so that no more than the longest line is ever held.
void LogicalLines::ReadPhysical() {
  physical_.clear();
  for (int c = 0; c != '\n' && (c = getc_unlocked(file_)) != EOF;) {
    physical_ += static_cast<char>(c);
    if (physical_.size() <= static_cast<size_t>(kLongestLine)) continue;
    long_line_ = number_;
    physical_.clear();
    return;
  }
}

void LogicalLines::PassPhysical() {
  position_ += static_cast<int64_t>(physical_.size());
  ++number_;
  ReadPhysical();
}

std::string_view LogicalLines::Content() const { return WithoutLineEnd(physical_); }

bool LogicalLines::Next(LogicalLine& line) {
  if (physical_.empty()) return false;
  line.text.clear();
  line.begin = position_;
  line.line = number_;
  bool has_more_text = true;
  for (bool goes_on = true; goes_on;) {
    std::string_view content = Content();
    const bool soft = EndsInSoftBreak(content);
    if (soft) content.remove_suffix(1);
    if (has_more_text) has_more_text = Append(line.text, content);
    PassPhysical();
    goes_on = !physical_.empty() && (soft || IsFoldCharacter(physical_[0]));
    if (position_ - line.begin > kLongestLine) long_line_ = line.line;
    if (long_line_) return false;
  }
  line.end = position_;
  line.next_line = number_;
  return true;
}

void LogicalLines::SkipTo(std::string_view start) {
  while (!physical_.empty() && !StartsWith(Content(), start)) PassPhysical();
}

}  // namespace client
