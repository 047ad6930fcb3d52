// The strict reader keeps the lines of one part, undecoded, and takes a "=" at the end of any of them for a
// soft break. So the part that a person would read is chosen, and goes through as it came if nothing in it
// would be taken for something else; otherwise it is written anew, in quoted-printable and UTF-8.
#include "dialects/message_content.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/html_to_text.h"
#include "btosif/osif_util/quoted_printable.h"
#include "dialects/content_line.h"
#include "dialects/people_page.h"
#include "platform/utf8.h"

namespace dialects {
namespace {

// What the strict reader's fields hold, without the terminating zero.
constexpr size_t kTypeRoom = 127;
constexpr size_t kEncodingRoom = 49;
constexpr std::string_view kBodyEnd = "END:VBODY";

// ---- Choosing the text --------------------------------------------------------------------------------------

std::string NameOf(const MimePart& part) {
  const std::string name = MediaTypeOf(part.content_type).name;
  return name.empty() ? MediaTypeOf(part.disposition).name : name;
}

// How well a part serves as the message's text, the least the best; nothing for one that is no text.
std::optional<int> RankOf(const MimePart& part) {
  const MediaType media = MediaTypeOf(part.content_type);
  if (!media.IsText()) return std::nullopt;
  if (!NameOf(part).empty()) return 3;
  if (media.type.empty() || media.type == "TEXT/PLAIN") return 0;
  return media.IsHtml() ? 1 : 2;
}

const MimePart* FindText(const std::vector<MimePart>& parts) {
  const MimePart* best = nullptr;
  for (const MimePart& part : parts) {
    const std::optional<int> rank = RankOf(part);
    if (rank && (best == nullptr || *rank < *RankOf(*best))) best = &part;
  }
  return best;
}

void ReportDropped(const MimePart& part, Report& report) {
  const std::string name = NameOf(part);
  if (!name.empty()) return report.Dropped("attachment " + name);
  const std::string type = MediaTypeOf(part.content_type).type;
  report.Dropped("part " + (type.empty() ? std::string("TEXT/PLAIN") : type));
}

// ---- Character sets -----------------------------------------------------------------------------------------

bool IsNamedUtf8(std::string_view charset) { return CharsetToCodePage(charset) == kUtf8CodePage; }

// A declared character set is believed as far as the bytes can be of it.
std::string InUtf8(std::string_view charset, const std::string& bytes, const TextSettings& settings,
                   bool is_utf8, Report& report) {
  if (IsAsciiText(bytes) && (charset.empty() || IsNamedUtf8(charset))) return bytes;
  if (!charset.empty() && !(IsNamedUtf8(charset) && !IsUtf8(bytes))) {
    if (std::optional<std::string> text = ToUtf8From(charset, bytes)) return *std::move(text);
  }
  if (charset.empty() && ((is_utf8 && IsUtf8(bytes)) || LooksLikeUtf8(bytes, settings))) {
    report.Changed("UTF-8 declared");
    return bytes;
  }
  report.Guessed("character set");
  return IsUtf8(bytes) ? bytes : ToUtf8From(settings.input_code_page, bytes);
}

// ---- Writing ------------------------------------------------------------------------------------------------

bool IsQuotedPrintable(const MessageContent& content) {
  return ContainsIgnoringCase(content.transfer_encoding, "QUOTED-PRINTABLE");
}
bool IsBase64(const MessageContent& content) {
  return ContainsIgnoringCase(content.transfer_encoding, "BASE64");
}

// True when the strict reader takes each line as it is meant.
bool HasStrictLines(const MessageContent& content) {
  if (content.bytes.find('\0') != std::string::npos) return false;
  for (std::string_view rest = content.bytes; !rest.empty();) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.find('\r') != std::string_view::npos || line.starts_with(kBodyEnd)) return false;
    const std::string_view trimmed = line.substr(0, line.find_last_not_of(" \t") + 1);
    const bool is_encoded = IsQuotedPrintable(content) || IsBase64(content);
    if (trimmed.ends_with('=') && !(is_encoded && trimmed == line)) return false;
  }
  return true;
}

// A header that the strict reader takes as it stands.
bool IsStrictHeader(std::string_view value, size_t room) {
  const bool is_printable = std::ranges::all_of(value, [](char c) { return c >= ' ' && c <= '~'; });
  return is_printable && value.size() <= room && !value.ends_with('=');
}

// True when the strict reader decodes the content to the message's text.
bool IsStrict(const MessageContent& content, const std::string& text) {
  const MediaType media = MediaTypeOf(content.type);
  if (!IsStrictHeader(content.type, kTypeRoom)) return false;
  if (!IsStrictHeader(content.transfer_encoding, kEncodingRoom)) return false;
  if (!media.name.empty() || media.IsMultipart() || !HasStrictLines(content)) return false;
  const bool knows_charset = media.charset.empty() || CharsetToCodePage(media.charset) != 0;
  return knows_charset || IsAsciiText(text);
}

std::string HeaderLines(std::string_view type, std::string_view encoding) {
  std::string headers;
  if (!type.empty()) headers += "Content-Type:" + std::string(type) + "\r\n";
  if (!encoding.empty()) headers += "Content-Transfer-Encoding:" + std::string(encoding) + "\r\n";
  return headers + "\r\n";
}

std::string WithOldLineEnds(std::string_view text) {
  std::string lines;
  while (!text.empty()) lines.append(TakePhysicalLine(text)) += "\r\n";
  return lines;
}

// UTF-8 without a name, which the strict reader would take for another character set.
bool HasUnnamedUtf8(const Message& message) {
  return MediaTypeOf(message.content.type).charset.empty() && !IsAsciiText(message.text) &&
         message.has_utf8_content;
}

std::string MadeContent(const Message& message) {
  const std::string type = message.is_html ? "text/html" : "text/plain";
  MessageContent plain;
  plain.bytes = message.text;
  if (IsAsciiText(message.text) && HasStrictLines(plain)) {
    return HeaderLines(message.is_html ? type : "", "") + WithOldLineEnds(message.text);
  }
  std::string lines = HeaderLines(type + "; charset=UTF-8", "quoted-printable");
  for (std::string_view rest = message.text; !rest.empty();) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    lines += QuotedPrintableEncode(rest.substr(0, end)) + "\r\n";
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return lines;
}

}  // namespace

void ReadContent(const MimePart& whole, const TextSettings& settings, bool is_utf8,
                 Message& message, Report& report) {
  const std::vector<MimePart> parts = PartsOf(whole);
  const MimePart* chosen = FindText(parts);
  for (const MimePart& part : parts) {
    if (&part != chosen) ReportDropped(part, report);
  }
  if (MediaTypeOf(whole.content_type).IsMultipart()) report.Changed("content of several parts");
  if (chosen == nullptr) return;

  const MediaType media = MediaTypeOf(chosen->content_type);
  message.content = {chosen->content_type, chosen->transfer_encoding, std::string(chosen->content)};
  message.is_html = media.IsHtml();
  if (!NameOf(*chosen).empty()) {
    report.Changed("name of the text: " + NameOf(*chosen));
    message.content.type = message.is_html ? "text/html" : "text/plain";
    if (!media.charset.empty()) message.content.type += "; charset=" + media.charset;
  }
  const std::string bytes =
      WithoutTransferEncoding(chosen->transfer_encoding, chosen->content, report);
  message.has_utf8_content = IsUtf8(bytes);
  message.text = WithLineFeeds(InUtf8(media.charset, bytes, settings, is_utf8, report));
  std::erase(message.text, '\0');
}

std::string StrictContent(const Message& message, Report& report) {
  MessageContent content = message.content;
  if (content.bytes.empty()) return MadeContent(message);
  if (!IsStrict(content, message.text)) {
    report.Changed("content written anew");
    return MadeContent(message);
  }
  if (HasUnnamedUtf8(message)) {
    content.type =
        content.type.empty() ? "text/plain; charset=UTF-8" : content.type + "; charset=UTF-8";
  }
  return HeaderLines(content.type, content.transfer_encoding) + WithOldLineEnds(content.bytes);
}

std::string TextForPeople(const Message& message) {
  if (!message.is_html) return message.text;
  std::basic_string<WCHAR> html = FromUtf8(message.text);
  switch (HtmlExtentOf(html.c_str())) {
    case HtmlExtent::kText:
      return message.text;
    case HtmlExtent::kFragment:
      html.insert(0, u"<BODY><BODY>");
      break;
    case HtmlExtent::kDocument:
      break;
  }
  std::basic_string<WCHAR> text(HtmlToText(html.c_str(), nullptr, 0), u'\0');
  HtmlToText(html.c_str(), text.data(), text.size() + 1);
  return WithLineFeeds(ToUtf8(text));
}

}  // namespace dialects
