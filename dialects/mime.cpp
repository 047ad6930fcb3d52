// Each function reads one form of mail on its own, and none believes what it reads: a word, a boundary or an
// encoding that is not whole is text, parts within parts are opened to a bound, and each byte is looked at a
// bounded number of times.
#include "dialects/mime.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/base64.h"
#include "btosif/osif_util/quoted_printable.h"
#include "dialects/content_line.h"
#include "dialects/people_page.h"

namespace dialects {
namespace {

constexpr size_t kDeepestPart = 8;
constexpr std::string_view kBlanks = " \t\r\n";

std::string_view TrimAll(std::string_view text) {
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// ---- Encoded words ------------------------------------------------------------------------------------------

// "=?UTF-8?Q?caf=C3=A9?="
struct EncodedWord {
  std::string_view charset;
  char encoding = '\0';
  std::string_view text;
  size_t length = 0;  // of the whole
};

std::optional<EncodedWord> EncodedWordAt(std::string_view rest) {
  // RFC 2047 allows 75 bytes. A bound keeps the cost of words that do not end linear.
  constexpr size_t kLongest = 1000;
  rest = rest.substr(0, kLongest);
  if (!rest.starts_with("=?")) return std::nullopt;
  const size_t charset_end = rest.find('?', 2);
  if (charset_end == std::string_view::npos || charset_end + 3 > rest.size()) return std::nullopt;
  if (rest[charset_end + 2] != '?') return std::nullopt;
  const size_t begin = charset_end + 3;
  const size_t end = rest.find("?=", begin);
  if (end == std::string_view::npos) return std::nullopt;
  EncodedWord word;
  word.charset = rest.substr(2, charset_end - 2);
  // RFC 2231 adds a language.
  word.charset = word.charset.substr(0, word.charset.find('*'));
  word.encoding = AsciiUpper(rest[charset_end + 1]);
  word.text = rest.substr(begin, end - begin);
  word.length = end + 2;
  if (word.text.find_first_of(" \t") != std::string_view::npos) return std::nullopt;
  return word;
}

std::optional<std::string> BytesOf(const EncodedWord& word) {
  if (word.encoding == 'B') return Base64Decode(word.text);
  if (word.encoding != 'Q') return std::nullopt;
  std::string text(word.text);
  std::ranges::replace(text, '_', ' ');
  return QuotedPrintableDecode(text);
}

// Words of one character set that follow each other: a character may begin in one and end in the next.
class WordRun {
 public:
  bool Add(const EncodedWord& word) {
    const std::optional<std::string> bytes = BytesOf(word);
    if (!bytes || !ToUtf8From(word.charset, "a")) return false;
    if (!EqualsIgnoringCase(charset_, word.charset)) Flush();
    charset_ = word.charset;
    bytes_ += *bytes;
    return true;
  }

  bool is_open() const { return !charset_.empty(); }

  void Flush() {
    if (is_open()) text_ += ToUtf8From(charset_, bytes_).value_or(bytes_);
    charset_.clear();
    bytes_.clear();
  }

  void AddPlain(std::string_view text) {
    Flush();
    text_ += text;
  }

  std::string Result() {
    Flush();
    return std::move(text_);
  }

 private:
  std::string charset_;
  std::string bytes_;
  std::string text_;
};

// A header's line has at most 998 bytes, its name included.
bool IsPlainHeader(std::string_view text) {
  constexpr size_t kLongest = 900;
  return text.size() <= kLongest &&
         std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; }) &&
         text.find("=?") == std::string_view::npos;
}

// RFC 2047, section 5: in names of people, too, letters and digits need no encoding.
std::string WordBytes(std::string_view character) {
  const char c = character.front();
  if (c == ' ') return "_";
  const bool is_plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  if (is_plain) return std::string(character);
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  for (const char byte : character) {
    const auto value = static_cast<unsigned char>(byte);
    encoded += {'=', kDigits[value >> 4], kDigits[value & 0xF]};
  }
  return encoded;
}

std::string_view TakeCharacter(std::string_view& text) {
  size_t length = 1;
  while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
    ++length;
  }
  const std::string_view character = text.substr(0, length);
  text.remove_prefix(length);
  return character;
}

// ---- Parts --------------------------------------------------------------------------------------------------

// The value of a parameter, in quotes or not, and a rest that begins after it.
std::string TakeParameterValue(std::string_view& rest) {
  std::string value;
  if (!rest.starts_with('"')) {
    value = TrimAll(rest.substr(0, rest.find(';')));
    rest.remove_prefix(std::min(rest.find(';'), rest.size()));
    return value;
  }
  rest.remove_prefix(1);
  while (!rest.empty() && rest.front() != '"') {
    if (rest.front() == '\\' && rest.size() > 1) rest.remove_prefix(1);
    value += rest.front();
    rest.remove_prefix(1);
  }
  rest.remove_prefix(std::min(rest.find(';'), rest.size()));
  return value;
}

// A part's headers, up to the empty line, and its content.
MimePart PartOf(std::string_view text) {
  std::string headers;
  while (!text.empty()) {
    const std::string_view line = TakePhysicalLine(text);
    if (line.empty()) break;
    headers += line;
    headers += '\n';
  }
  MimePart part;
  part.content = text;
  Report ignored;
  for (const ContentLine& line : ReadContentLines(headers, 1, kOldLines, ignored)) {
    std::string value(line.value);
    if (line.name == "CONTENT-TYPE") part.content_type = Trim(value);
    if (line.name == "CONTENT-TRANSFER-ENCODING") part.transfer_encoding = Trim(value);
    if (line.name == "CONTENT-DISPOSITION") part.disposition = Trim(value);
  }
  return part;
}

// The texts between the lines "--BOUNDARY". The line end before such a line belongs to it.
std::vector<std::string_view> BetweenBoundaries(std::string_view content,
                                                const std::string& boundary) {
  const std::string marker = "--" + boundary;
  std::vector<std::string_view> pieces;
  std::optional<size_t> begin;
  for (std::string_view rest = content; !rest.empty();) {
    const size_t place = content.size() - rest.size();
    const std::string_view line = Trim(TakePhysicalLine(rest));
    const bool is_closing = line.size() == marker.size() + 2 && line.ends_with("--");
    if (!line.starts_with(marker) || (line.size() != marker.size() && !is_closing)) continue;
    if (begin) pieces.push_back(content.substr(*begin, place - *begin));
    begin = content.size() - rest.size();
    if (is_closing) return pieces;
  }
  if (begin) pieces.push_back(content.substr(*begin));
  return pieces;
}

void AddParts(const MimePart& whole, size_t depth, std::vector<MimePart>& parts) {
  const MediaType type = MediaTypeOf(whole.content_type);
  if (!type.IsMultipart() || type.boundary.empty() || depth == kDeepestPart) {
    parts.push_back(whole);
    return;
  }
  const std::vector<std::string_view> pieces = BetweenBoundaries(whole.content, type.boundary);
  // Without a boundary all of it is text.
  if (pieces.empty()) parts.push_back({{}, whole.transfer_encoding, {}, whole.content});
  for (const std::string_view piece : pieces) AddParts(PartOf(piece), depth + 1, parts);
}

// ---- Quoted-printable ---------------------------------------------------------------------------------------

// One line of text, broken softly.
void AppendMailLine(std::string_view line, std::string& out) {
  constexpr size_t kRoom = 75;  // the "=" of a soft break is the last
  size_t length = 0;
  for (size_t i = 0; i < line.size(); ++i) {
    const bool is_last = i + 1 == line.size();
    const bool is_blank_at_end = is_last && IsBlankOrTab(line[i]);
    std::string piece = QuotedPrintableEncode(line.substr(i, 1));
    if (is_blank_at_end) piece = line[i] == ' ' ? "=20" : "=09";
    if (length + piece.size() > kRoom) {
      out += "=\r\n";
      length = 0;
    }
    out += piece;
    length += piece.size();
  }
}

}  // namespace

std::string WithoutEncodedWords(std::string_view value) {
  WordRun run;
  while (!value.empty()) {
    const std::optional<EncodedWord> word = EncodedWordAt(value);
    if (word && run.Add(*word)) {
      value.remove_prefix(word->length);
      // Blanks between two encoded words are no text.
      const size_t next = value.find_first_not_of(kBlanks);
      if (next != std::string_view::npos && EncodedWordAt(value.substr(next))) {
        value.remove_prefix(next);
      }
      continue;
    }
    const size_t end = std::min(value.find("=?", 1), value.size());
    run.AddPlain(value.substr(0, end));
    value.remove_prefix(end);
  }
  return run.Result();
}

std::string EncodedWords(std::string_view text) {
  if (IsPlainHeader(text)) return std::string(text);
  constexpr std::string_view kBegin = "=?UTF-8?Q?";
  constexpr size_t kRoom = 60;  // of 75: a header's name stands before the first word
  std::string words(kBegin);
  size_t length = 0;
  while (!text.empty()) {
    const std::string piece = WordBytes(TakeCharacter(text));
    if (length + piece.size() > kRoom) {
      words += "?=\r\n " + std::string(kBegin);
      length = 0;
    }
    words += piece;
    length += piece.size();
  }
  return words + "?=";
}

bool MediaType::IsText() const { return type.empty() || type.starts_with("TEXT"); }

MediaType MediaTypeOf(std::string_view content_type) {
  MediaType media;
  std::string_view rest = content_type;
  media.type = ToUpper(TrimAll(rest.substr(0, rest.find(';'))));
  rest.remove_prefix(std::min(rest.find(';'), rest.size()));
  while (!rest.empty()) {
    rest.remove_prefix(1);
    const size_t equals = rest.find_first_of("=;");
    if (equals == std::string_view::npos || rest[equals] == ';') {
      rest.remove_prefix(std::min(equals, rest.size()));
      continue;
    }
    const std::string name = ToUpper(TrimAll(rest.substr(0, equals)));
    rest.remove_prefix(equals + 1);
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
    const std::string value = TakeParameterValue(rest);
    if (name == "CHARSET") media.charset = value;
    if (name == "BOUNDARY") media.boundary = value;
    if (name == "NAME" || name == "FILENAME") media.name = WithoutEncodedWords(value);
  }
  return media;
}

std::string WithoutTransferEncoding(std::string_view encoding, std::string_view bytes,
                                    Report& report) {
  encoding = TrimAll(encoding);
  if (EqualsIgnoringCase(encoding, "BASE64")) {
    if (std::optional<std::string> decoded = Base64Decode(bytes)) return *std::move(decoded);
    report.Guessed("content that is no base64");
    return std::string(bytes);
  }
  if (!EqualsIgnoringCase(encoding, "QUOTED-PRINTABLE")) return std::string(bytes);
  std::string joined;
  while (!bytes.empty()) {
    const bool is_last_line = bytes.find_first_of("\r\n") == std::string_view::npos;
    std::string_view line = TakePhysicalLine(bytes);
    line = line.substr(0, line.find_last_not_of(" \t") + 1);
    const bool is_soft = line.ends_with('=');
    if (is_soft) line.remove_suffix(1);
    joined += QuotedPrintableDecode(line);
    if (!is_soft && !is_last_line) joined += "\r\n";
  }
  return joined;
}

std::vector<MimePart> PartsOf(const MimePart& whole) {
  std::vector<MimePart> parts;
  AddParts(whole, 0, parts);
  return parts;
}

std::string MailQuotedPrintable(std::string_view text) {
  const std::string lines = WithLineFeeds(text);
  std::string encoded;
  for (std::string_view rest = lines; !rest.empty();) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    AppendMailLine(rest.substr(0, end), encoded);
    encoded += "\r\n";
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return encoded;
}

// A quotation mark that nothing closes is none.
std::vector<std::string> SplitAddresses(std::string_view list) {
  const bool has_quotes = std::ranges::count(list, '"') % 2 == 0;
  std::vector<std::string> addresses;
  bool is_quoted = false;
  size_t begin = 0;
  for (size_t i = 0; i <= list.size(); ++i) {
    const bool is_end = i == list.size();
    if (!is_end && list[i] == '"' && has_quotes) is_quoted = !is_quoted;
    const bool is_separator = !is_end && (list[i] == ',' || list[i] == ';') && !is_quoted;
    if (!is_separator && !is_end) continue;
    std::string address(list.substr(begin, i - begin));
    if (!has_quotes) std::erase(address, '"');
    address = std::string(TrimAll(address));
    if (!address.empty()) addresses.push_back(std::move(address));
    begin = i + 1;
  }
  return addresses;
}

}  // namespace dialects
