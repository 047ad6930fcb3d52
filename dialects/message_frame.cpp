// Outside of the body every line is a property or belongs to a card. In the body, headers and text are told
// apart by what the lines say, since many phones put no empty line between the two: a line is a header as
// long as its name is one that is known. Mail has headers of any name, so where one is seen that nothing else
// has, all lines up to the empty one are headers.
#include "dialects/message_frame.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/line_rules.h"

namespace dialects {
namespace {

// The name before the colon of a header line; empty for what is none.
std::string HeaderName(std::string_view line) {
  const size_t end = line.find_first_of(":;");
  if (end == std::string_view::npos || line.find(':') == std::string_view::npos) return {};
  const std::string_view name = Trim(line.substr(0, end));
  const bool is_name = std::ranges::all_of(name, [](char c) {
    return (AsciiUpper(c) >= 'A' && AsciiUpper(c) <= 'Z') || (c >= '0' && c <= '9') || c == '-';
  });
  return is_name ? ToUpper(name) : std::string();
}

bool IsMailHeader(std::string_view line) {
  const std::string name = HeaderName(line);
  return !name.empty() && KindOfMessageName(name) == NameKind::kMail;
}

// Looks up to the empty line.
bool HasMailHeaders(std::string_view body) {
  while (!body.empty()) {
    const std::string_view line = TakePhysicalLine(body);
    if (Trim(line).empty()) return false;
    if (IsMailHeader(line)) return true;
  }
  return false;
}

// Takes the lines of a body's headers.
class HeaderReader {
 public:
  HeaderReader(std::string_view body, uint64_t line)
      : rest_(body), first_(line), is_mail_(HasMailHeaders(body)) {}

  void Read(MessageFrame& frame, Report& report) {
    while (!rest_.empty()) {
      std::string_view after = rest_;
      const std::string_view line = TakePhysicalLine(after);
      if (Trim(line).empty() && !is_value_open_) {
        frame.had_empty_line = true;
        rest_ = after;
        break;
      }
      if (!GoesOn(line) && !Begins(line)) break;
      headers_ += line;
      headers_ += '\n';
      rest_ = after;
    }
    frame.headers = ReadContentLines(headers_, first_, kOldLines, report);
    frame.content = rest_;
  }

 private:
  // A line of the value before it: folded, after a soft break, or of base64.
  bool GoesOn(std::string_view line) {
    if (headers_.empty()) return false;
    const bool is_base64_tail = encoding_ == Encoding::kBase64 && HeaderName(line).empty();
    const bool is_fold = may_fold_ && !line.empty() && IsFoldCharacter(line.front());
    if (!is_value_open_ && !is_base64_tail && !is_fold) return false;
    LookAtEnd(line);
    return true;
  }

  bool Begins(std::string_view line) {
    const std::string name = HeaderName(line);
    if (name.empty()) return false;
    const NameKind kind = KindOfMessageName(name);
    const bool is_known = kind == NameKind::kProperty || kind == NameKind::kMail;
    const bool is_header = is_mail_ || is_known || name.starts_with("X-");
    if (!is_header) return false;
    Report ignored;
    const std::vector<ContentLine> lines = ReadContentLines(line, 1, kOldLines, ignored);
    encoding_ = lines.empty() ? Encoding::kNone : EncodingOf(lines.front());
    // A date has one line, and text follows it mostly.
    may_fold_ = name != "DATE";
    LookAtEnd(line);
    return true;
  }

  void LookAtEnd(std::string_view line) {
    is_value_open_ = encoding_ == Encoding::kQuotedPrintable &&
                     EndsInSoftBreak(line.substr(0, line.find_last_not_of(" \t") + 1));
  }

  std::string_view rest_;
  const uint64_t first_;
  const bool is_mail_;
  std::string headers_;
  Encoding encoding_ = Encoding::kNone;
  bool may_fold_ = false;
  bool is_value_open_ = false;  // the line before ends in a soft break
};

// Walks over an object's lines and sorts them.
class FrameReader {
 public:
  FrameReader(const ObjectText& object, Report& report)
      : text_(object.text), number_(object.line), report_(report) {}

  MessageFrame Read() {
    std::string_view rest = text_;
    for (; !rest.empty(); ++number_) {
      const size_t place = text_.size() - rest.size();
      const std::string_view line = TakePhysicalLine(rest);
      Take(line, place, text_.size() - rest.size());
    }
    frame_.properties = ReadContentLines(properties_, 1, kOldLines, report_);
    return std::move(frame_);
  }

 private:
  void Take(std::string_view line, size_t begin, size_t end) {
    std::string what;
    const bool is_end = IsFrameLine(line, "END", what);
    const bool is_begin = !is_end && IsFrameLine(line, "BEGIN", what);
    if (card_depth_ > 0 && (what == "VENV" || what == "VBODY")) EndCard(begin);
    if (body_begin_) {
      if (is_end && what == "VBODY") EndBody(begin);
    } else if (card_depth_ > 0) {
      if (what == "VCARD") TakeCardLine(is_begin, end);
    } else if (is_begin && what == "VBODY") {
      body_begin_ = end;
      body_line_ = number_ + 1;
    } else if (is_begin && what == "VCARD") {
      card_begin_ = begin;
      card_depth_ = 1;
    } else if (is_begin && what == "VENV") {
      is_inside_ = true;
    } else if (!is_begin && !is_end) {
      properties_ += line;
      properties_ += '\n';
    }
  }

  void TakeCardLine(bool is_begin, size_t end) {
    card_depth_ += is_begin ? 1 : -1;
    if (card_depth_ == 0) EndCard(end);
  }

  // A card without END ends where another part of the message begins or ends.
  void EndCard(size_t end) {
    card_depth_ = 0;
    frame_.cards.push_back({text_.substr(card_begin_, end - card_begin_), is_inside_});
  }

  void EndBody(size_t end) {
    const std::string_view body = text_.substr(*body_begin_, end - *body_begin_);
    body_begin_.reset();
    is_inside_ = true;
    const bool has_body = !frame_.headers.empty() || !frame_.content.empty();
    if (!has_body) {
      HeaderReader(body, body_line_).Read(frame_, report_);
    } else if (!body.empty()) {
      report_.Dropped("VBODY");
    }
  }

  const std::string_view text_;
  uint64_t number_;
  Report& report_;
  MessageFrame frame_;
  std::string properties_;
  std::optional<size_t> body_begin_;
  uint64_t body_line_ = 0;
  size_t card_begin_ = 0;
  int card_depth_ = 0;
  bool is_inside_ = false;
};

}  // namespace

MessageFrame ReadMessageFrame(const ObjectText& object, Report& report) {
  return FrameReader(object, report).Read();
}

}  // namespace dialects
