// The lines of an object of any dialect, taken apart: vCard 2.1 section 2.1, RFC 2425 section 5.8, RFC 6350
// section 3.2 and RFC 5545 section 3.1 write "name, parameters, colon, value", and differ in how a long line is
// broken and in what a parameter may look like.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/report.h"

namespace dialects {

// "TYPE=HOME", or the bare "HOME" of vCard 2.1 and vCalendar 1.0, which is the same. Bare names of encodings are
// ENCODING. A list in TYPE ("TYPE=HOME,WORK") is several parameters.
struct Parameter {
  std::string name;   // upper case
  std::string value;  // as it was sent, without its quotes
};

struct ContentLine {
  std::string group;  // before the name, without its dot; mostly empty
  std::string name;   // upper case
  std::vector<Parameter> params;
  // Still in its transfer encoding, character set and escapes; folds, soft line breaks and the line ends inside of
  // base64 are gone.
  std::string value;
  uint64_t line = 0;           // the number of its first physical line
  bool has_type_list = false;  // "TYPE=HOME,WORK", which the old formats do not have

  // The value of the first parameter of a name (upper case); empty without one.
  std::string_view Param(std::string_view param) const;
  // True when a TYPE has that word (upper case), in any case.
  bool HasType(std::string_view type) const;
  void RemoveParams(std::string_view param);
  void RemoveType(std::string_view type);
};

// How a dialect breaks its lines.
struct LineRules {
  bool keeps_fold_blank;  // of a fold: the old formats keep its blank, the later ones take one away
  bool has_caret_escapes;  // RFC 6868
};
inline constexpr LineRules kOldLines{true, false};      // vCard 2.1, vCalendar 1.0, vNote, vMessage
inline constexpr LineRules kVCard3Lines{false, false};  // RFC 2426
inline constexpr LineRules kModernLines{false, true};   // RFC 6350, RFC 5545

enum class Encoding { kNone, kQuotedPrintable, kBase64 };

// What ENCODING says, by all its names ("Q", "QUOTEDPRINTABLE", "B", ...).
Encoding EncodingOf(const ContentLine& line);

// Takes the lines of one object apart, BEGIN and END lines included. Lines end with LF, CR LF or a lone CR. Blank
// lines go. What is no line at all (no ":") is the tail of an encoded value before it, or is dropped and reported.
// Linear in the text.
//
// `first_line`: the number of the text's first line.
std::vector<ContentLine> ReadContentLines(std::string_view text, uint64_t first_line,
                                          const LineRules& rules, Report& report);

// What the first VERSION line of an object says, decoded and without blanks; empty without one. It has to be known
// before the lines can be unfolded.
std::string VersionOf(std::string_view text);

// The physical line that begins a text, without its line end; it is taken off the text. LF, CR LF, CR CR LF and a
// lone CR end one.
std::string_view TakePhysicalLine(std::string_view& text);

// A line without blanks and tabs at both ends.
std::string_view Trim(std::string_view text);

// The name that a line begins with, without its group; what stands before a dot is a group only without blanks.
std::string_view BareName(std::string_view physical);

// True for a line that says "BEGIN" or "END" of something, whatever blanks, case and group it has; `what` (upper
// case) is that something then.
bool IsFrameLine(std::string_view physical, std::string_view word, std::string& what);

}  // namespace dialects
