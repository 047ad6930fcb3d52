// What the values of content lines mean: texts in UTF-8, without transfer encoding, character set and escapes.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/charsets.h"
#include "dialects/content_line.h"
#include "dialects/report.h"

namespace dialects {

// How a text protects what would mean something else.
enum class Escapes {
  kOld,     // vCard 2.1, vCalendar 1.0: "\;" and "\\"; any other backslash is itself
  kModern,  // vCard 3.0 and 4.0, iCalendar: "\n", "\N", "\,", "\;", "\\"; any other backslash goes
};

// Decodes the values of one object's lines. Which character set the values have that name none is decided once
// for all of them: UTF-8 when all that are not ASCII look like it, else the setting; never a mixture.
class ValueDecoder {
 public:
  // `has_byte_order_mark`: the file began with one, so such values are UTF-8.
  ValueDecoder(std::span<const ContentLine> lines, Escapes escapes, const TextSettings& settings,
               bool has_byte_order_mark, Report& report);

  // The value after its transfer encoding and character set, with its escapes.
  std::string Decoded(const ContentLine& line) const;

  // The value as one text: a ";" in it is a ";".
  std::string Text(const ContentLine& line) const;
  std::string Text(ContentLine&& line) const;

  // The value's components: what stands between ";" that are not escaped. At least one.
  std::vector<std::string> Components(const ContentLine& line) const;

  // The bytes of a value in base64 or quoted-printable, for pictures and the like; the value as it is without an
  // encoding.
  std::string Bytes(const ContentLine& line) const;

  Escapes escapes() const { return escapes_; }

 private:
  // True for a value that is UTF-8 without an encoding.
  bool IsAsSent(const ContentLine& line) const;
  std::string InUtf8(std::string_view charset, std::string bytes) const;
  // Of a value in quoted-printable that is not UTF-8.
  std::vector<std::string> ComponentsOfOtherSet(const ContentLine& line) const;

  Escapes escapes_;
  TextSettings settings_;
  bool is_utf8_ = false;  // what names no character set
  Report& report_;
};

// A text without its escapes. Of a text that is given up, one without any is not copied.
std::string Unescaped(std::string_view text, Escapes escapes);
std::string Unescaped(std::string&& text, Escapes escapes);

// The pieces of a text between separators that are not escaped; the pieces keep their escapes. At least one.
std::vector<std::string_view> SplitUnescaped(std::string_view text, char separator);

// A text with the escapes of vCard 3.0, 4.0 and iCalendar; line breaks of any kind become "\n".
std::string EscapedModern(std::string_view text);
void AppendEscapedModern(std::string& escaped, std::string_view text);

// Writes one property line for the strict reader (vCard 2.1, vCalendar 1.0), with its CR LF: `head` is the name with
// its parameters, such as "TEL;HOME". The components are UTF-8; what is not printable ASCII, or would be taken for
// something else, is quoted-printable in UTF-8.
std::string OldLine(std::string_view head, std::span<const std::string> components);
std::string OldLine(std::string_view head, const std::string& text);

// Folds a line of vCard 3.0, 4.0 or iCalendar at 75 bytes, never inside a character or an escape, and ends it with
// CR LF (RFC 2425 section 5.8.1, RFC 5545 section 3.1).
std::string FoldedLine(std::string_view line);

// The same for the line that begins at `begin` in a text and ends with it.
void FoldLastLine(std::string& text, size_t begin);

// Texts one after the other, with a separator between them.
std::string Joined(std::span<const std::string> texts, std::string_view separator);

// A parameter's value, in quotes where it has to be, with the escapes of RFC 6868 where `has_caret_escapes`; where not,
// what no parameter can hold is left out.
std::string ParameterValue(std::string_view value, bool has_caret_escapes);

}  // namespace dialects
