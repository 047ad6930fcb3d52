// A text taken apart into its lines, of which each is known where it stands, so that single ones can be changed while all
// others stay as they are.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dialects/content_line.h"

namespace mirror {

inline constexpr size_t kNowhere = static_cast<size_t>(-1);

// A piece of a text, by its bytes.
struct Span {
  size_t begin = 0;
  size_t end = 0;
};

// The lines of a text of one object, or of a file.
struct TextLines {
  std::string_view text;
  std::vector<dialects::ContentLine> contents;
  std::vector<Span> spans;       // of each line, with its line ends and what it is continued on
  std::vector<uint64_t> number;  // of each line's first physical line, counted from 1
  std::string line_end;          // of the text's first line

  std::string_view Raw(size_t line) const {
    return text.substr(spans[line].begin, spans[line].end - spans[line].begin);
  }
  // The first line that begins on a physical line; kNowhere without one.
  size_t LineAt(uint64_t physical) const;
};

// The text outlives the lines.
TextLines ReadTextLines(std::string_view text, const dialects::LineRules& rules);

// How a card's or calendar's lines are broken, by its VERSION.
const dialects::LineRules& LineRulesOf(std::string_view text);

// Changes of a text, collected in any order and made at once. Pieces of the text that are replaced do not overlap.
class Edits {
 public:
  void Replace(Span span, std::string with) { edits_.push_back({span, std::move(with)}); }
  void Remove(Span span) { Replace(span, {}); }
  // What is inserted at one place stays in its order.
  void Insert(size_t where, std::string text) { Replace({where, where}, std::move(text)); }
  bool IsEmpty() const { return edits_.empty(); }

  // `line_end`: of the text; what is put into it is given with CR LF.
  std::string Applied(std::string_view text, std::string_view line_end) const;

 private:
  struct Edit {
    Span span;
    std::string with;
  };
  std::vector<Edit> edits_;
};

// The entries of a list in the order of another one that has the same; else as they are.
std::vector<std::string> InOrderOf(std::vector<std::string> entries,
                                   const std::vector<std::string>& order);

// A line without its folds and its line end, as the later versions fold.
std::string Unfolded(std::string_view raw);

// A line's head, in front of its colon, and its value.
struct HeadAndValue {
  std::string head;
  std::string value;
};
HeadAndValue SplitLine(std::string_view line);

// The name and the parameters of a head, by its ";".
std::vector<std::string_view> PiecesOfHead(std::string_view head);

// The name of a parameter, in upper case; that of a word without one is the word.
std::string NameOfPiece(std::string_view piece);

// A written line with the head of the line that it takes the place of: its group, its spelling, and its parameters but
// those that say how the old value was written, or what it was beside its text. `keeps_value_kind`: VALUE still holds.
// Both lines are of one version; the written one ends with CR LF.
std::string WithHeadOf(std::string_view raw, const std::string& written, bool is_old,
                       bool keeps_value_kind);

}  // namespace mirror
