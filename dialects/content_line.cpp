// The text is walked once, by physical lines. A line is held back until the next one shows that it does not go on:
// it may be folded (the next begins with a blank), end in a soft break of quoted-printable, or be base64, whose
// further lines need not be indented. Senders get each of these wrong in their own way, so the next line has a word
// in it: one that ends an object is never a part of another.
#include "dialects/content_line.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/base64.h"
#include "btosif/osif_util/line_rules.h"
#include "btosif/osif_util/quoted_printable.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

struct EncodingName {
  std::string_view name;
  Encoding encoding;
};

constexpr std::array<EncodingName, 9> kEncodings = {{
    {"QUOTED-PRINTABLE", Encoding::kQuotedPrintable},
    {"QUOTEDPRINTABLE", Encoding::kQuotedPrintable},
    {"QUOTED_PRINTABLE", Encoding::kQuotedPrintable},
    {"Q", Encoding::kQuotedPrintable},
    {"BASE64", Encoding::kBase64},
    {"B", Encoding::kBase64},
    {"8BIT", Encoding::kNone},
    {"7BIT", Encoding::kNone},
    {"8-BIT", Encoding::kNone},
}};

const EncodingName* FindEncoding(std::string_view name) {
  const auto* row = std::ranges::find_if(
      kEncodings, [&](const EncodingName& entry) { return EqualsIgnoringCase(entry.name, name); });
  return row == kEncodings.end() ? nullptr : row;
}

// The first of some characters; the end without one. Names and lines are short, and this is asked of each.
template <typename... Chars>
size_t FindAny(std::string_view text, Chars... chars) {
  size_t i = 0;
  while (i < text.size() && ((text[i] != chars) && ...)) ++i;
  return i;
}

// Where the first line feed or carriage return is; the end without one. Looked for piece by piece, so that a text with
// one of the two alone is not searched to its end at each of its lines.
size_t LineLength(std::string_view text) {
  constexpr size_t kPiece = 256;
  for (size_t begin = 0; begin < text.size(); begin += kPiece) {
    const std::string_view piece = text.substr(begin, kPiece);
    const size_t line_feed = std::min(piece.find('\n'), piece.size());
    const size_t end = std::min(piece.substr(0, line_feed).find('\r'), line_feed);
    if (end < piece.size()) return begin + end;
  }
  return text.size();
}

// Where a line's parameters end and its value begins: at the first colon that is in no quotes. Quotes that are not
// closed before the line ends are none.
size_t FindColon(std::string_view line) {
  bool is_quoted = false;
  for (size_t i = FindAny(line, ':', '"'); i < line.size(); ++i) {
    if (line[i] == '"') is_quoted = !is_quoted;
    if (line[i] == ':' && !is_quoted) return i;
  }
  return line.find(':');
}

// RFC 6868: ^n is a line break, ^' a quotation mark, ^^ a caret.
std::string WithoutCarets(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '^' && i + 1 < text.size() ? text[i + 1] : '\0';
    const char meant = next == 'n' ? '\n' : next == '\'' ? '"' : next == '^' ? '^' : '\0';
    plain += meant == '\0' ? text[i] : meant;
    if (meant != '\0') ++i;
  }
  return plain;
}

// The next piece of a text up to a separator that is in no quotes; it is taken off the text.
std::string_view TakePiece(std::string_view& text, char separator) {
  bool is_quoted = false;
  size_t end = FindAny(text, separator, '"');
  for (; end < text.size(); ++end) {
    if (text[end] == '"') is_quoted = !is_quoted;
    if (text[end] == separator && !is_quoted) break;
  }
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return piece;
}

std::string Unquoted(std::string_view text, const LineRules& rules) {
  std::string plain(Trim(text));
  if (plain.find('"') != std::string::npos) std::erase(plain, '"');
  return rules.has_caret_escapes && plain.find('^') != std::string::npos ? WithoutCarets(plain)
                                                                         : plain;
}

// Both TYPE=home,work and TYPE="home,work" are written.
void AddTypes(std::string_view values, const LineRules& rules, ContentLine& line) {
  const std::string list = Unquoted(values, rules);
  for (std::string_view rest = list; !rest.empty();) {
    const size_t end = rest.find(',');
    const std::string_view word = Trim(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (!word.empty()) line.params.push_back({"TYPE", std::string(word)});
    line.has_type_list = line.has_type_list || !rest.empty();
  }
}

void AddParameter(std::string_view text, const LineRules& rules, ContentLine& line) {
  if (Trim(text).empty()) return;
  const size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    std::string word = Unquoted(text, rules);
    line.params.push_back({FindEncoding(word) != nullptr ? "ENCODING" : "TYPE", std::move(word)});
    return;
  }
  std::string name = ToUpper(Trim(text.substr(0, equals)));
  const std::string_view values = text.substr(equals + 1);
  if (name == "TYPE"sv) {
    AddTypes(values, rules, line);
  } else {
    line.params.push_back({std::move(name), Unquoted(values, rules)});
  }
}

// What a line's parameters say of its encoding, without taking them apart for good.
Encoding EncodingOfHead(std::string_view head, const LineRules& rules) {
  TakePiece(head, ';');
  while (!head.empty()) {
    std::string_view piece = TakePiece(head, ';');
    const size_t equals = piece.find('=');
    const bool is_named = equals != std::string_view::npos;
    if (is_named && !EqualsIgnoringCase(Trim(piece.substr(0, equals)), "ENCODING")) continue;
    if (is_named) piece.remove_prefix(equals + 1);
    const EncodingName* row = FindEncoding(Unquoted(piece, rules));
    if (row != nullptr) return row->encoding;
    if (is_named) return Encoding::kNone;
  }
  return Encoding::kNone;
}

ContentLine Parsed(std::string_view text, uint64_t number, const LineRules& rules) {
  ContentLine line;
  line.line = number;
  const size_t colon = FindColon(text);
  line.value = text.substr(colon + 1);
  std::string_view rest = text.substr(0, colon);
  std::string_view name = Trim(TakePiece(rest, ';'));
  if (const size_t dot = name.rfind('.'); dot != std::string_view::npos) {
    line.group = name.substr(0, dot);
    name.remove_prefix(dot + 1);
  }
  line.name = ToUpper(name);
  while (!rest.empty()) AddParameter(TakePiece(rest, ';'), rules, line);
  return line;
}

bool IsSoftBroken(std::string_view value) {
  return EndsInSoftBreak(value.substr(0, value.find_last_not_of(" \t") + 1));
}

void RemoveSoftBreak(std::string& value) {
  value.erase(value.find_last_not_of(" \t") + 1);
  value.pop_back();
}

// Makes lines of physical lines.
class Assembler {
 public:
  Assembler(const LineRules& rules, Report& report) : rules_(rules), report_(report) {
    constexpr size_t kUsualLines = 32;
    lines_.reserve(kUsualLines);
  }

  void Take(std::string_view physical, uint64_t number) {
    if (const size_t zero = physical.find('\0'); zero != std::string_view::npos) {
      report_.Dropped("text after a zero byte");
      physical = physical.substr(0, zero);
    }
    const bool is_blank = Trim(physical).empty();
    std::string ignored;
    const bool ends = IsFrameLine(physical, "END", ignored);
    if (is_open_ && !ends) {
      if (is_soft_) return AppendAfterSoftBreak(physical);
      if (IsFold(physical, is_blank)) return AppendFolded(physical);
    }
    Finish();
    if (is_blank) {
      is_closed_ = true;
    } else {
      Start(ends ? Trim(physical) : physical, number);
    }
  }

  std::vector<ContentLine> Result() {
    Finish();
    return std::move(lines_);
  }

 private:
  // Where a fold takes one blank away, a line of blanks may be a piece of a text.
  bool IsFold(std::string_view physical, bool is_blank) const {
    if (physical.empty() || !IsFoldCharacter(physical.front())) return false;
    return !is_blank || !rules_.keeps_fold_blank;
  }

  void AppendAfterSoftBreak(std::string_view physical) {
    RemoveSoftBreak(current_);
    AppendPiece(physical);
  }

  void AppendFolded(std::string_view physical) {
    if (encoding_ == Encoding::kBase64) {
      physical = Trim(physical);
    } else if (!rules_.keeps_fold_blank) {
      physical.remove_prefix(1);
    }
    AppendPiece(physical);
  }

  // Whether a soft break ends the line is seen in its last physical line alone.
  void AppendPiece(std::string_view physical) {
    current_ += physical;
    if (!has_colon_) LookForColon(physical);
    is_soft_ = encoding_ == Encoding::kQuotedPrintable && IsSoftBroken(physical);
  }

  void Start(std::string_view physical, uint64_t number) {
    is_open_ = true;
    has_colon_ = false;
    encoding_ = Encoding::kNone;
    number_ = number;
    current_.clear();
    AppendPiece(physical);
  }

  // The encoding has to be known while the line is still put together. A fold may stand before the colon.
  void LookForColon(std::string_view physical) {
    if (physical.find(':') == std::string_view::npos) return;
    has_colon_ = true;
    encoding_ = EncodingOfHead(std::string_view(current_).substr(0, FindColon(current_)), rules_);
  }

  void Finish() {
    if (!is_open_) return;
    is_open_ = false;
    if (is_soft_) RemoveSoftBreak(current_);
    if (!has_colon_) return TakeJunk();
    lines_.push_back(Parsed(current_, number_, rules_));
    is_closed_ = false;
  }

  // What is no line by itself is the tail of an encoded value, up to a blank line.
  void TakeJunk() {
    const Encoding before =
        lines_.empty() || is_closed_ ? Encoding::kNone : EncodingOf(lines_.back());
    if (before == Encoding::kBase64) {
      lines_.back().value += Trim(current_);
    } else if (before == Encoding::kQuotedPrintable) {
      // The line break that stands between the two was meant.
      lines_.back().value += "=0D=0A" + current_;
      report_.Changed("line break that was not encoded");
    } else {
      report_.Dropped("line without a colon");
    }
  }

  const LineRules rules_;
  Report& report_;
  std::vector<ContentLine> lines_;
  bool is_open_ = false;    // a line is being put together
  bool is_soft_ = false;    // it ends in a soft break
  bool has_colon_ = false;  // its value has begun
  bool is_closed_ = false;  // a blank line came after the last of lines_
  Encoding encoding_ = Encoding::kNone;
  std::string current_;
  uint64_t number_ = 0;
};

}  // namespace

std::string_view ContentLine::Param(std::string_view param) const {
  const auto found =
      std::ranges::find_if(params, [&](const Parameter& one) { return one.name == param; });
  return found == params.end() ? std::string_view() : std::string_view(found->value);
}

bool ContentLine::HasType(std::string_view type) const {
  return std::ranges::any_of(params, [&](const Parameter& one) {
    return one.name == "TYPE"sv && EqualsIgnoringCase(one.value, type);
  });
}

void ContentLine::RemoveParams(std::string_view param) {
  std::erase_if(params, [&](const Parameter& one) { return one.name == param; });
}

void ContentLine::RemoveType(std::string_view type) {
  std::erase_if(params, [&](const Parameter& one) {
    return one.name == "TYPE"sv && EqualsIgnoringCase(one.value, type);
  });
}

Encoding EncodingOf(const ContentLine& line) {
  const std::string_view name = line.Param("ENCODING");
  const EncodingName* row = name.empty() ? nullptr : FindEncoding(name);
  return row == nullptr ? Encoding::kNone : row->encoding;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlankOrTab(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlankOrTab(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view TakePhysicalLine(std::string_view& text) {
  const size_t end = LineLength(text);
  const std::string_view line = text.substr(0, end);
  if (end == text.size()) {
    text = {};
    return line;
  }
  const std::string_view rest = text.substr(end);
  const size_t length = rest.starts_with("\r\n") ? 2 : rest.starts_with("\r\r\n") ? 3 : 1;
  text.remove_prefix(end + length);
  return line;
}

std::string_view BareName(std::string_view physical) {
  const std::string_view name = Trim(physical.substr(0, FindAny(physical, ':', ';')));
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return name;
  const bool is_group = FindAny(name.substr(0, dot), ' ', '\t') == dot;
  return is_group ? Trim(name.substr(dot + 1)) : name;
}

bool IsFrameLine(std::string_view physical, std::string_view word, std::string& what) {
  if (!EqualsIgnoringCase(BareName(physical), word)) return false;
  const size_t colon = physical.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view value = Trim(physical.substr(colon + 1));
  // A name of letters: "BEGIN:" inside a text is followed by something else.
  if (value.empty() || value.find_first_of(" \t:;=") != std::string_view::npos) return false;
  what = ToUpper(value);
  return true;
}

std::vector<ContentLine> ReadContentLines(std::string_view text, uint64_t first_line,
                                          const LineRules& rules, Report& report) {
  Assembler assembler(rules, report);
  for (uint64_t number = first_line; !text.empty(); ++number) {
    const std::string_view physical = TakePhysicalLine(text);
    // "VERSION:2.1END:VCARD"
    const bool is_version = StartsIgnoringCase(physical, "VERSION");
    const size_t glued = is_version ? physical.find("END:V") : std::string_view::npos;
    std::string what;
    if (glued != std::string_view::npos && glued > 0 &&
        IsFrameLine(physical.substr(glued), "END", what)) {
      assembler.Take(physical.substr(0, glued), number);
      assembler.Take(physical.substr(glued), number);
    } else {
      assembler.Take(physical, number);
    }
  }
  return assembler.Result();
}

std::string VersionOf(std::string_view text) {
  while (!text.empty()) {
    const std::string_view physical = TakePhysicalLine(text);
    const size_t colon = physical.find(':');
    if (colon == std::string_view::npos) continue;
    if (!EqualsIgnoringCase(BareName(physical), "VERSION")) continue;
    const ContentLine line = Parsed(physical, 0, kOldLines);
    std::string value = line.value;
    if (EncodingOf(line) == Encoding::kBase64) value = Base64Decode(value).value_or("");
    if (EncodingOf(line) == Encoding::kQuotedPrintable) value = QuotedPrintableDecode(value);
    return std::string(Trim(std::string_view(value).substr(0, value.find("END:V"))));
  }
  return {};
}

}  // namespace dialects
