// Mail's ways to write texts: encoded words in headers (RFC 2047), types and transfer encodings of contents
// (RFC 2045), several parts in one (RFC 2046).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dialects/charsets.h"
#include "dialects/report.h"

namespace dialects {

// A header's value with its encoded words decoded; a word in an unknown character set or encoding stays.
std::string WithoutEncodedWords(std::string_view value);

// A header's text as it may stand in a header: as it is, or in encoded words of UTF-8, folded with CR LF and
// a blank.
std::string EncodedWords(std::string_view text);

// What a Content-Type says.
struct MediaType {
  std::string type;  // "TEXT/PLAIN"; empty for none
  std::string charset;
  std::string boundary;
  std::string name;  // of the file that a part is

  bool IsText() const;  // nothing said counts as text
  bool IsHtml() const { return type == "TEXT/HTML"; }
  bool IsMultipart() const { return type.starts_with("MULTIPART/"); }
};

MediaType MediaTypeOf(std::string_view content_type);

// Bytes without their Content-Transfer-Encoding. What is no base64 is taken as it is, and reported.
std::string WithoutTransferEncoding(std::string_view encoding, std::string_view bytes,
                                    Report& report);

// One of several parts, or a content that has none.
struct MimePart {
  std::string content_type;
  std::string transfer_encoding;
  std::string disposition;
  std::string_view content;  // of the text that it was found in
};

// The parts of a content that its type says has several, with the parts of these, in their order; parts
// within parts are opened to a depth of eight. A content of another type is one part.
std::vector<MimePart> PartsOf(const MimePart& whole);

// A text (UTF-8) in quoted-printable for mail: lines end with CR LF and have at most 76 characters.
std::string MailQuotedPrintable(std::string_view text);

// The addresses of a header: between "," or ";" that stand in no quotes. Without blanks around them.
std::vector<std::string> SplitAddresses(std::string_view list);

}  // namespace dialects
