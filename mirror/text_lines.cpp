// The lines are those of dialects/content_line.h, which gives the number of the physical line on which each begins; from
// that the bytes are found. What a line is continued on belongs to it. An empty line after it does not, and neither does
// one that is no line at all, unless the value is encoded and may go on there.
#include "mirror/text_lines.h"

#include <algorithm>
#include <array>

#include "btosif/osif_util/ascii.h"
#include "dialects/value_text.h"

namespace mirror {
namespace {

using dialects::ContentLine;
using dialects::Encoding;

struct Physical {
  Span span;
  bool is_empty = false;
  bool is_indented = false;
};

std::vector<Physical> PhysicalLines(std::string_view text) {
  std::vector<Physical> lines;
  size_t begin = 0;
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view line = dialects::TakePhysicalLine(rest);
    const size_t end = text.size() - rest.size();
    const bool is_indented = !line.empty() && IsBlankOrTab(line.front());
    lines.push_back({{begin, end}, line.empty(), is_indented});
    begin = end;
  }
  return lines;
}

// Where the line ends that begins on a physical line and has ended where the next begins.
size_t LastOf(const std::vector<Physical>& lines, size_t first, size_t next, Encoding encoding) {
  size_t last = first;
  if (encoding != Encoding::kNone) {
    last = next - 1;
    while (last > first && lines[last].is_empty) --last;
    return last;
  }
  while (last + 1 < next && lines[last + 1].is_indented) ++last;
  return last;
}

std::string LineEndOf(std::string_view text) {
  const size_t end = text.find_first_of("\r\n");
  if (end == std::string_view::npos || text.substr(end).starts_with("\r\n")) return "\r\n";
  return text[end] == '\n' ? "\n" : text.substr(end).starts_with("\r\r\n") ? "\r\n" : "\r";
}

std::string WithLineEnd(const std::string& text, std::string_view line_end) {
  if (line_end == "\r\n") return text;
  std::string changed;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool is_end = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (is_end) {
      changed += line_end;
      ++i;
    } else {
      changed += text[i];
    }
  }
  return changed;
}

// Parameters that say something of the value itself.
constexpr std::array<std::string_view, 15> kOfValue = {"ENCODING",  "CHARSET",
                                                       "LABEL",     "SORT-AS",
                                                       "GEO",       "ALTREP",
                                                       "MEDIATYPE", "X-APPLE-OMIT-YEAR",
                                                       "CALSCALE",  "QUOTED-PRINTABLE",
                                                       "BASE64",    "8BIT",
                                                       "7BIT",      "B",
                                                       "Q"};

bool IsOfValue(const std::string& name, bool keeps_value_kind) {
  if (name == "VALUE") return !keeps_value_kind;
  return std::ranges::find(kOfValue, name) != kOfValue.end();
}

bool IsOfEncoding(const std::string& name) { return name == "ENCODING" || name == "CHARSET"; }

// Without its folds; the old versions keep the blank of one.
std::string Joined(std::string_view raw, bool keeps_blank) {
  std::string line;
  for (bool is_first = true; !raw.empty(); is_first = false) {
    std::string_view physical = dialects::TakePhysicalLine(raw);
    const bool is_fold = !is_first && !physical.empty() && IsBlankOrTab(physical.front());
    if (is_fold && !keeps_blank) physical.remove_prefix(1);
    line += physical;
  }
  return line;
}

}  // namespace

size_t TextLines::LineAt(uint64_t physical) const {
  const auto found = std::ranges::lower_bound(number, physical);
  if (found == number.end() || *found != physical) return kNowhere;
  return static_cast<size_t>(found - number.begin());
}

TextLines ReadTextLines(std::string_view text, const dialects::LineRules& rules) {
  TextLines result;
  result.text = text;
  result.line_end = LineEndOf(text);
  dialects::Report ignored;
  result.contents = dialects::ReadContentLines(text, 1, rules, ignored);
  const std::vector<Physical> physical = PhysicalLines(text);
  for (size_t i = 0; i < result.contents.size(); ++i) {
    const ContentLine& line = result.contents[i];
    const size_t first = line.line - 1;
    const size_t next =
        i + 1 < result.contents.size() ? result.contents[i + 1].line - 1 : physical.size();
    result.number.push_back(line.line);
    // Two lines on one physical line: the later has it.
    if (next <= first) {
      result.spans.push_back({physical[first].span.begin, physical[first].span.begin});
      continue;
    }
    const size_t last = LastOf(physical, first, next, dialects::EncodingOf(line));
    result.spans.push_back({physical[first].span.begin, physical[last].span.end});
  }
  return result;
}

const dialects::LineRules& LineRulesOf(std::string_view text) {
  const std::string version = dialects::VersionOf(text);
  if (version.starts_with("3")) return dialects::kVCard3Lines;
  const bool is_modern = version.starts_with("2.0") || version.starts_with("4");
  return is_modern ? dialects::kModernLines : dialects::kOldLines;
}

std::string Edits::Applied(std::string_view text, std::string_view line_end) const {
  std::vector<const Edit*> order;
  for (const Edit& edit : edits_) order.push_back(&edit);
  // What is inserted before a line that is replaced comes before what replaces it.
  std::ranges::stable_sort(
      order, {}, [](const Edit* edit) { return std::pair(edit->span.begin, edit->span.end); });
  std::string changed;
  size_t at = 0;
  for (const Edit* edit : order) {
    if (edit->span.begin < at) continue;
    changed += text.substr(at, edit->span.begin - at);
    const bool is_amid_line = !changed.empty() && changed.back() != '\n' && changed.back() != '\r';
    if (is_amid_line && !edit->with.empty() && edit->span.begin == text.size()) changed += line_end;
    changed += WithLineEnd(edit->with, line_end);
    at = edit->span.end;
  }
  return changed += text.substr(at);
}

std::vector<std::string> InOrderOf(std::vector<std::string> entries,
                                   const std::vector<std::string>& order) {
  std::vector<std::string> sorted_entries = entries;
  std::vector<std::string> sorted_order = order;
  std::ranges::sort(sorted_entries);
  std::ranges::sort(sorted_order);
  return sorted_entries == sorted_order ? order : entries;
}

std::string Unfolded(std::string_view raw) { return Joined(raw, false); }

HeadAndValue SplitLine(std::string_view line) {
  bool is_quoted = false;
  size_t colon = line.size();
  for (size_t i = 0; i < line.size() && colon == line.size(); ++i) {
    if (line[i] == '"') is_quoted = !is_quoted;
    if (line[i] == ':' && !is_quoted) colon = i;
  }
  // Quotes that are not closed are none.
  if (colon == line.size()) colon = std::min(line.find(':'), line.size());
  return {std::string(line.substr(0, colon)),
          std::string(line.substr(std::min(colon + 1, line.size())))};
}

std::vector<std::string_view> PiecesOfHead(std::string_view head) {
  std::vector<std::string_view> pieces;
  bool is_quoted = false;
  size_t begin = 0;
  for (size_t i = 0; i <= head.size(); ++i) {
    if (i < head.size() && head[i] == '"') is_quoted = !is_quoted;
    if (i < head.size() && (head[i] != ';' || is_quoted)) continue;
    pieces.push_back(head.substr(begin, i - begin));
    begin = i + 1;
  }
  return pieces;
}

std::string NameOfPiece(std::string_view piece) {
  return ToUpper(dialects::Trim(piece.substr(0, piece.find('='))));
}

std::string WithHeadOf(std::string_view raw, const std::string& written, bool is_old,
                       bool keeps_value_kind) {
  const HeadAndValue was = SplitLine(Joined(raw, is_old));
  const HeadAndValue is = SplitLine(is_old ? written : Unfolded(written));
  const std::vector<std::string_view> pieces = PiecesOfHead(was.head);
  std::string head(pieces.front());
  for (size_t i = 1; i < pieces.size(); ++i) {
    if (!IsOfValue(NameOfPiece(pieces[i]), keeps_value_kind)) head.append(";").append(pieces[i]);
  }
  const std::vector<std::string_view> new_pieces = PiecesOfHead(is.head);
  for (size_t i = 1; i < new_pieces.size(); ++i) {
    if (IsOfEncoding(NameOfPiece(new_pieces[i]))) head.append(";").append(new_pieces[i]);
  }
  return is_old ? head + ":" + is.value : dialects::FoldedLine(head + ":" + is.value);
}

}  // namespace mirror
