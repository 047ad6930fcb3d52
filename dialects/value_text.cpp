// The old formats split a value at ";" before they take off quoted-printable, and take off backslashes after it; the
// strict reader does so too. Each step here keeps that order, so that what is written reads as it was meant.
#include "dialects/value_text.h"

#include <algorithm>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/base64.h"
#include "btosif/osif_util/quoted_printable.h"

namespace dialects {
namespace {

constexpr size_t kLongestLine = 75;  // in bytes, without the line end
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// A "=" that begins no escape is one: senders forget to encode it, as in an address of the web.
bool IsBareEqualsSign(std::string_view value, size_t place) {
  return !(place + 2 < value.size() && IsHexDigit(value[place + 1]) &&
           IsHexDigit(value[place + 2]));
}

std::string WithBareEqualsSigns(std::string_view value) {
  std::string whole;
  whole.reserve(value.size());
  for (size_t i = 0; i < value.size(); ++i) {
    whole += value[i];
    if (value[i] == '=' && IsBareEqualsSign(value, i)) whole += "3D";
  }
  return whole;
}

std::string WithoutTransferEncoding(Encoding encoding, std::string_view value) {
  switch (encoding) {
    case Encoding::kQuotedPrintable:
      return QuotedPrintableDecode(WithBareEqualsSigns(value));
    case Encoding::kBase64:
      return Base64Decode(value).value_or(std::string(value));
    case Encoding::kNone:
      break;
  }
  return std::string(value);
}

// What comes before the first special character, which is taken off the text; all of it without one.
template <typename IsSpecial>
std::string_view TakeUpTo(IsSpecial is_special, std::string_view& text) {
  const auto* const special = std::ranges::find_if(text, is_special);
  const std::string_view plain = text.substr(0, static_cast<size_t>(special - text.begin()));
  text.remove_prefix(plain.size());
  return plain;
}

// A byte that continues a character of UTF-8.
bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// A reader takes it for a line break, whether or not an encoding is declared.
constexpr std::string_view kEncodedLineBreak = "=0D=0A";

// True for what can stand in a line of the old formats as it is.
bool IsPlainOld(std::string_view text) {
  if (text.empty()) return true;
  const bool is_printable =
      std::ranges::all_of(text, [](char c) { return (c >= ' ' && c <= '~') || c == '\t'; });
  return is_printable && !text.ends_with('=') && !IsBlankOrTab(text.front()) &&
         !IsBlankOrTab(text.back()) && text.find(kEncodedLineBreak) == std::string_view::npos;
}

void AppendEscapedOld(std::string& escaped, std::string_view text) {
  const auto is_special = [](char c) { return c == ';' || c == '\\'; };
  for (;;) {
    escaped += TakeUpTo(is_special, text);
    if (text.empty()) return;
    escaped += '\\';
    escaped += text.front();
    text.remove_prefix(1);
  }
}

// The old formats have CR LF for any line break. The encoder leaves no ";" as it is; a backslash stays one after
// decoding, so it is doubled before.
std::string QuotedPrintableOld(std::string_view text) {
  const auto is_special = [](char c) { return c == '\n' || c == '\r' || c == '\\'; };
  std::string meant;
  for (;;) {
    meant += TakeUpTo(is_special, text);
    if (text.empty()) return QuotedPrintableEncode(meant);
    meant += text.front() == '\\' ? "\\\\" : "\r\n";
    text.remove_prefix(text.starts_with("\r\n") ? 2 : 1);
  }
}

// RFC 2045, section 6.7: no line of quoted-printable is longer than 76 bytes, and no soft break stands inside of an
// encoded byte. Only the value may be broken.
std::string SoftBroken(std::string_view line) {
  constexpr size_t kRoom = 75;  // the "=" of the break is the last
  constexpr std::string_view kEncodedBlank = "=20";
  std::string broken;
  broken.reserve(line.size() + line.size() / kRoom * 4);
  size_t first = line.find(':') + 1;
  size_t room = kRoom;
  while (line.size() > std::max(room, first)) {
    size_t end = std::max(room, first);
    const size_t escape = line.substr(0, end).find('=', std::max(first, end - 2));
    if (escape != std::string_view::npos) end = escape;
    broken += line.substr(0, end);
    broken += "=\r\n";
    line.remove_prefix(end);
    first = 0;
    room = kRoom;
    // A blank that a line begins with looks like that of a fold.
    if (line.starts_with(' ')) {
      broken += kEncodedBlank;
      line.remove_prefix(1);
      room -= kEncodedBlank.size();
    }
  }
  broken += line;
  return broken;
}

// True where an escape has begun: a backslash that is not itself escaped stands before.
bool IsInsideEscape(std::string_view line, size_t end) {
  size_t begin = end;
  while (begin > 0 && line[begin - 1] == '\\') --begin;
  return (end - begin) % 2 == 1;
}

// A line must not be broken inside of a character or an escape, nor where the next one would look as if it began or
// ended an object: readers take such a line for one even after a blank.
bool MayBreakAt(std::string_view line, size_t end) {
  if (IsContinuation(line[end]) || IsInsideEscape(line, end)) return false;
  const std::string_view name = BareName(line.substr(end, kLongestLine));
  return !EqualsIgnoringCase(name, "END") && !EqualsIgnoringCase(name, "BEGIN");
}

}  // namespace

ValueDecoder::ValueDecoder(std::span<const ContentLine> lines, Escapes escapes,
                           const TextSettings& settings, bool has_byte_order_mark, Report& report)
    : escapes_(escapes), settings_(settings), report_(report) {
  std::string undeclared;
  for (const ContentLine& line : lines) {
    const Encoding encoding = EncodingOf(line);
    if (encoding == Encoding::kNone && IsAsciiText(line.value)) continue;
    if (encoding == Encoding::kBase64 || !line.Param("CHARSET").empty()) continue;
    undeclared += WithoutTransferEncoding(encoding, line.value);
    undeclared += '\n';
  }
  if (IsAsciiText(undeclared)) {
    is_utf8_ = true;
    return;
  }
  is_utf8_ = (has_byte_order_mark && IsUtf8(undeclared)) || LooksLikeUtf8(undeclared, settings);
  if (is_utf8_) {
    report_.Changed("UTF-8 declared");
  } else {
    report_.Guessed("character set");
  }
}

std::string ValueDecoder::InUtf8(std::string_view charset, std::string bytes) const {
  if (charset.empty()) {
    if (is_utf8_ && IsUtf8(bytes)) return bytes;
    // What was in base64 had no say in it.
    if (is_utf8_) report_.Guessed("character set");
    return ToUtf8From(settings_.input_code_page, bytes);
  }
  std::optional<std::string> text = ToUtf8From(charset, bytes);
  // A declared UTF-8 that is none.
  if (text && (text->find(kReplacement) == std::string::npos ||
               bytes.find(kReplacement) != std::string::npos)) {
    return std::move(*text);
  }
  report_.Guessed("character set");
  if (IsUtf8(bytes)) return bytes;
  // Of a text in another set that is cut in a character the rest is known.
  if (text && !IsNameOfUtf8(charset)) return std::move(*text);
  return ToUtf8From(settings_.input_code_page, bytes);
}

std::string ValueDecoder::Decoded(const ContentLine& line) const {
  return InUtf8(line.Param("CHARSET"), WithoutTransferEncoding(EncodingOf(line), line.value));
}

bool ValueDecoder::IsAsSent(const ContentLine& line) const {
  if (EncodingOf(line) != Encoding::kNone) return false;
  const bool names_none = line.Param("CHARSET").empty();
  return names_none && (is_utf8_ || IsAsciiText(line.value));
}

std::string ValueDecoder::Text(const ContentLine& line) const {
  return IsAsSent(line) ? Unescaped(line.value, escapes_) : Unescaped(Decoded(line), escapes_);
}

std::string ValueDecoder::Text(ContentLine&& line) const {
  return Unescaped(IsAsSent(line) ? std::move(line.value) : Decoded(line), escapes_);
}

std::vector<std::string> ValueDecoder::Components(const ContentLine& line) const {
  std::vector<std::string> components;
  const std::string_view charset = line.Param("CHARSET");
  const Encoding encoding = EncodingOf(line);
  if (encoding != Encoding::kQuotedPrintable) {
    const std::string decoded = IsAsSent(line) ? std::string() : Decoded(line);
    const std::string_view whole = IsAsSent(line) ? std::string_view(line.value) : decoded;
    const std::vector<std::string_view> pieces = SplitUnescaped(whole, ';');
    components.reserve(pieces.size());
    for (const std::string_view piece : pieces) {
      components.push_back(Unescaped(piece, escapes_));
    }
    return components;
  }
  const bool is_utf8 = charset.empty() ? is_utf8_ : IsNameOfUtf8(charset);
  if (!is_utf8) return ComponentsOfOtherSet(line);
  for (const std::string_view piece : SplitUnescaped(line.value, ';')) {
    components.push_back(
        Unescaped(InUtf8(charset, WithoutTransferEncoding(encoding, piece)), escapes_));
  }
  return components;
}

// The second byte of a character may be that of a backslash and protects no ";" then, so the value is split after it is
// decoded; a mark tells the separators from encoded ";" until then.
std::vector<std::string> ValueDecoder::ComponentsOfOtherSet(const ContentLine& line) const {
  constexpr char kSeparatorMark = '\x1E';
  std::string marked = line.value;
  std::ranges::replace(marked, ';', kSeparatorMark);
  const std::string decoded =
      InUtf8(line.Param("CHARSET"), WithoutTransferEncoding(EncodingOf(line), marked));
  std::string text;
  bool is_escaped = false;
  for (const char c : decoded) {
    if (c == ';' && !is_escaped) text += '\\';
    text += c == kSeparatorMark ? ';' : c;
    is_escaped = c == '\\' && !is_escaped;
  }
  std::vector<std::string> components;
  for (const std::string_view piece : SplitUnescaped(text, ';')) {
    components.push_back(Unescaped(piece, escapes_));
  }
  return components;
}

std::string ValueDecoder::Bytes(const ContentLine& line) const {
  return WithoutTransferEncoding(EncodingOf(line), line.value);
}

std::string Unescaped(std::string&& text, Escapes escapes) {
  if (text.find('\\') == std::string::npos) return std::move(text);
  return Unescaped(std::string_view(text), escapes);
}

std::string Unescaped(std::string_view text, Escapes escapes) {
  std::string plain;
  plain.reserve(text.size());
  for (;;) {
    const size_t backslash = text.find('\\');
    plain += text.substr(0, backslash);
    if (backslash == std::string_view::npos) return plain;
    text.remove_prefix(backslash + 1);
    const char next = text.empty() ? '\0' : text.front();
    const bool is_escape = next == ';' || next == '\\' || escapes == Escapes::kModern;
    if (text.empty() || !is_escape) {
      plain += '\\';
    } else {
      plain += next == 'n' || next == 'N' ? '\n' : next;
      text.remove_prefix(1);
    }
  }
}

std::vector<std::string_view> SplitUnescaped(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  pieces.reserve(static_cast<size_t>(std::ranges::count(text, separator)) + 1);
  size_t begin = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == separator) {
      pieces.push_back(text.substr(begin, i - begin));
      begin = i + 1;
    }
  }
  pieces.push_back(text.substr(std::min(begin, text.size())));
  return pieces;
}

void AppendEscapedModern(std::string& escaped, std::string_view text) {
  const auto is_special = [](char c) {
    return c == ';' || c == ',' || c == '\\' || c == '\n' || c == '\r';
  };
  for (;;) {
    escaped += TakeUpTo(is_special, text);
    if (text.empty()) return;
    const char c = text.front();
    escaped += '\\';
    escaped += c == '\n' || c == '\r' ? 'n' : c;
    text.remove_prefix(text.starts_with("\r\n") ? 2 : 1);
  }
}

std::string EscapedModern(std::string_view text) {
  std::string escaped;
  AppendEscapedModern(escaped, text);
  return escaped;
}

std::string OldLine(std::string_view head, std::span<const std::string> components) {
  const bool is_plain = std::ranges::all_of(
      components, [](const std::string& component) { return IsPlainOld(component); });
  const bool is_ascii = is_plain || std::ranges::all_of(components, IsAsciiText);
  std::string line;
  line.reserve(kLongestLine);
  line += head;
  if (!is_ascii) line += ";CHARSET=UTF-8";
  if (!is_plain) line += ";ENCODING=QUOTED-PRINTABLE";
  char separator = ':';
  for (const std::string& component : components) {
    line += separator;
    if (is_plain) {
      AppendEscapedOld(line, component);
    } else {
      line += QuotedPrintableOld(component);
    }
    separator = ';';
  }
  if (!is_plain) line = SoftBroken(line);
  return line += "\r\n";
}

std::string OldLine(std::string_view head, const std::string& text) {
  return OldLine(head, std::span(&text, 1));
}

std::string FoldedLine(std::string_view line) {
  std::string folded;
  folded.reserve(line.size() + line.size() / kLongestLine * 3 + 2);
  size_t room = kLongestLine;
  while (line.size() > room) {
    size_t end = room;
    while (end > 1 && !MayBreakAt(line, end)) --end;
    folded += line.substr(0, end);
    folded += "\r\n ";
    line.remove_prefix(end);
    room = kLongestLine - 1;  // the blank counts
  }
  folded += line;
  folded += "\r\n";
  return folded;
}

void FoldLastLine(std::string& text, size_t begin) {
  if (text.size() - begin <= kLongestLine) {
    text += "\r\n";
  } else {
    text.replace(begin, std::string::npos, FoldedLine(std::string_view(text).substr(begin)));
  }
}

std::string ParameterValue(std::string_view value, bool has_caret_escapes) {
  std::string plain;
  for (const char c : value) {
    const bool is_break = c == '\n' || c == '\r';
    if (has_caret_escapes && (c == '"' || c == '^' || c == '\n')) {
      plain += c == '"' ? "^'" : c == '^' ? "^^" : "^n";
    } else if (is_break) {
      if (c == '\n') plain += ' ';
    } else if (c != '"') {
      plain += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
  }
  const bool needs_quotes = plain.find_first_of(":;,") != std::string::npos;
  return needs_quotes ? '"' + plain + '"' : plain;
}

std::string Joined(std::span<const std::string> texts, std::string_view separator) {
  std::string joined;
  for (const std::string& text : texts) {
    if (&text != texts.data()) joined += separator;
    joined += text;
  }
  return joined;
}

}  // namespace dialects
