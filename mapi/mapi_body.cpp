// In: transfer encoding first, then character set. A sender's claims are believed only as far as they work:
// what is no base64 counts as plain, an unknown character set as the configured one.
//
// Out: a body is sent as plainly as it can be. Plain ASCII goes as it is and names no character set, anything
// else goes in the configured set if that gives the same text back, and in UTF-8 otherwise.
#include "mapi/mapi_body.h"

#include <algorithm>
#include <new>
#include <string>
#include <string_view>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/base64.h"
#include "btosif/osif_util/html_to_text.h"
#include "btosif/osif_util/owned_text.h"
#include "btosif/osif_util/quoted_printable.h"

namespace {

// The bytes of a part's text: the text itself or, where it is encoded, in `decoded`.
std::string_view UndoTransferEncoding(const MessagePart& part, std::string& decoded) {
  const std::string_view text = part.bodyText == nullptr ? "" : part.bodyText;
  if (ContainsIgnoringCase(part.contentTransferEncoding, "QUOTED-PRINTABLE")) {
    return decoded = QuotedPrintableDecode(text);
  }
  if (ContainsIgnoringCase(part.contentTransferEncoding, "BASE64")) {
    if (auto bytes = Base64Decode(text)) return decoded = *std::move(bytes);
  }
  return text;
}

// The code page that the part's charset parameter names.
uint32_t CodePageOf(const MessagePart& part) {
  const std::string upper = ToUpper(part.contentType);
  const size_t start = upper.find("CHARSET");
  if (start == std::string::npos) return InputCodePage();
  const std::string_view parameter = std::string_view(upper).substr(start);
  const uint32_t code_page =
      CharsetToCodePage(CharsetParamValue(parameter.substr(0, parameter.find(';'))));
  return code_page == 0 ? InputCodePage() : code_page;
}

// The length is asked for first: entities and left-out markup let no one guess it.
WideText TextOfHtml(const WideText& html) {
  WideText text(HtmlToText(html.c_str(), nullptr, 0), u'\0');
  HtmlToText(html.c_str(), text.data(), text.size() + 1);
  return text;
}

// Twice, so that a lone closing tag, which many programs leave at the end of a fragment, does not end it.
constexpr WideView kBeginOfBody = u"<BODY><BODY>";

// A record's lines may end with line feeds alone, the store's end with both.
WideText WithCarriageReturns(const WideText& text) {
  WideText lines;
  lines.reserve(text.size());
  for (const WCHAR c : text) {
    if (c == u'\n' && !lines.ends_with(u'\r')) lines.push_back(u'\r');
    lines.push_back(c);
  }
  return lines;
}

struct EncodedBody {
  std::string bytes;
  const char* charset;
};

// A set that lacks a character writes another one, which is seen when the bytes are read back.
EncodedBody ChooseCharset(WideView text) {
  const uint32_t code_page = OutputCodePage();
  const char* name = SentCharsetName(code_page);
  std::string bytes = TextToMultiByte(code_page, text);
  if (name != nullptr && MultiByteToText(code_page, bytes) == text) return {std::move(bytes), name};
  return {TextToMultiByte(kUtf8CodePage, text), "UTF-8"};
}

// A reader takes "=" at the end of a line for a soft line break, whatever the encoding.
bool HasSoftBreak(std::string_view text) {
  return text.ends_with('=') || text.find("=\n") != std::string_view::npos;
}

// The line feeds stay as they are: the writer of the message ends its lines with them.
std::string EncodeLines(std::string_view text) {
  std::string encoded;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    encoded += QuotedPrintableEncode(text.substr(0, end));
    if (end < text.size()) encoded += '\n';
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return encoded;
}

// The store ends its lines with carriage return and line feed.
WideText WithLineFeedsOnly(WideView text) {
  WideText lines;
  lines.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const bool is_line_end = text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n';
    if (!is_line_end) lines.push_back(text[i]);
  }
  return lines;
}

}  // namespace

WideText mapi_DecodeBody(const MessagePart& part) {
  std::string decoded;
  return MultiByteToText(CodePageOf(part), UndoTransferEncoding(part, decoded));
}

WideText mapi_PlainText(const MessagePart& part, const WideText& content) {
  if (!ContainsIgnoringCase(part.contentType, "HTML")) return WithCarriageReturns(content);
  switch (HtmlExtentOf(content.c_str())) {
    case HtmlExtent::kDocument:
      return TextOfHtml(content);
    case HtmlExtent::kFragment:
      return TextOfHtml(WideText(kBeginOfBody).append(content));
    case HtmlExtent::kText:
      break;
  }
  return WithCarriageReturns(content);
}

void mapi_EncodeBody(WideView text, MessagePart& part) {
  const WideText lines = WithLineFeedsOnly(text);
  EncodedBody body = IsAscii(lines) ? EncodedBody{TextToMultiByte(kLatin1CodePage, lines), nullptr}
                                    : ChooseCharset(lines);
  std::string content_type = "text/plain";
  if (body.charset != nullptr) content_type += std::string("; charset=") + body.charset;
  CopyBounded(part.contentType, content_type);
  if (body.charset != nullptr || HasSoftBreak(body.bytes)) {
    body.bytes = EncodeLines(body.bytes);
    CopyBounded(part.contentTransferEncoding, "quoted-printable");
  }
  part.bodyText = CopyText(body.bytes).release();
  if (part.bodyText == nullptr) throw std::bad_alloc();
}
