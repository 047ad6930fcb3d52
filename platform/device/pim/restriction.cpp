// A recursive-descent parser with one method for each rule. Each method leaves the position after what it
// took; whoever meets an error gives up the whole query.
//
// The hard part is where a text ends, since programs put quotation marks into it as they are. ContinuesQuery
// looks ahead from each of them and takes the first after which the query could go on. Depth and number of
// comparisons are limited while reading, so that no query can exhaust the stack of whoever walks the tree.

#include "platform/device/pim/restriction.h"

#include <limits>
#include <utility>

namespace device {
namespace {

using Kind = Restriction::Kind;

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }
bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
char16_t ToUpper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }

struct OperatorText {
  std::u16string_view text;
  ComparisonOperator comparison_operator;
};

// Longer ones first, so that "<=" is not taken for "<".
constexpr OperatorText kOperators[] = {
    {u"<>", ComparisonOperator::kNotEqual},
    {u"<=", ComparisonOperator::kLessOrEqual},
    {u">=", ComparisonOperator::kGreaterOrEqual},
    {u"=", ComparisonOperator::kEqual},
    {u"<", ComparisonOperator::kLess},
    {u">", ComparisonOperator::kGreater},
};

class Parser {
 public:
  explicit Parser(std::u16string_view text) : text_(text) {}

  std::optional<Restriction> Parse() {
    std::optional<Restriction> result = ParseGroup();
    return position_ == text_.size() ? std::move(result) : std::nullopt;
  }

 private:
  // Operands joined by AND and OR, up to the end or an unread ")".
  std::optional<Restriction> ParseGroup() {
    std::optional<Restriction> left = ParseOperand();
    while (left) {
      SkipBlanks(position_);
      const std::optional<Kind> conjunction = TakeConjunction(position_);
      if (!conjunction) break;
      std::optional<Restriction> right = ParseOperand();
      if (!right) return std::nullopt;
      left = Join(std::move(*left), *conjunction, std::move(*right));
    }
    return left;
  }

  std::optional<Restriction> ParseOperand() {
    SkipBlanks(position_);
    if (!Take(u'(')) return ParseComparison();
    if (++open_groups_ > kMaxRestrictionDepth) return std::nullopt;
    std::optional<Restriction> group = ParseGroup();
    if (!Take(u')')) return std::nullopt;
    --open_groups_;
    return group;
  }

  std::optional<Restriction> ParseComparison() {
    if (++comparisons_ > kMaxRestrictionComparisons) return std::nullopt;
    Restriction result;
    if (!ParseProperty(result.comparison.property)) return std::nullopt;
    SkipBlanks(position_);
    if (!ParseOperator(result.comparison.comparison_operator)) return std::nullopt;
    SkipBlanks(position_);
    if (!ParseValue(result.comparison.value)) return std::nullopt;
    return result;
  }

  bool ParseProperty(std::u16string& property) {
    if (!Take(u'[')) return false;
    SkipBlanks(position_);
    const size_t start = position_;
    const size_t bracket = text_.find(u']', start);
    if (bracket == std::u16string_view::npos) return false;
    size_t end = bracket;
    while (end > start && IsBlank(text_[end - 1])) --end;
    property = text_.substr(start, end - start);
    position_ = bracket + 1;
    return !property.empty();
  }

  bool ParseOperator(ComparisonOperator& result) {
    for (const OperatorText& row : kOperators) {
      if (text_.substr(position_, row.text.size()) != row.text) continue;
      result = row.comparison_operator;
      position_ += row.text.size();
      return true;
    }
    return false;
  }

  bool ParseValue(std::variant<int64_t, std::u16string>& value) {
    return Take(u'"') ? ParseText(value.emplace<std::u16string>())
                      : ParseNumber(value.emplace<int64_t>());
  }

  bool ParseText(std::u16string& value) {
    const size_t start = position_;
    for (size_t quote = text_.find(u'"', start); quote != std::u16string_view::npos;
         quote = text_.find(u'"', quote + 1)) {
      if (!ContinuesQuery(quote + 1)) continue;
      value = text_.substr(start, quote - start);
      position_ = quote + 1;
      return true;
    }
    return false;
  }

  // Whether what stands here can follow a value. Looks no further than the next quotation mark, so
  // that asking it at every quotation mark of a text stays linear.
  bool ContinuesQuery(size_t at) const {
    SkipBlanks(at);
    for (int open = open_groups_; open > 0 && Peek(at) == u')'; --open) SkipBlanks(++at);
    if (at == text_.size()) return true;
    if (!TakeConjunction(at)) return false;
    SkipBlanks(at);
    return Peek(at) == u'(' || StartsComparison(at);
  }

  // A property and an operator.
  bool StartsComparison(size_t at) const {
    if (Peek(at) != u'[') return false;
    const size_t end = text_.find_first_of(u"[]\"", at + 1);
    if (end == std::u16string_view::npos || text_[end] != u']') return false;
    SkipBlanks(at = end + 1);
    return Peek(at) == u'=' || Peek(at) == u'<' || Peek(at) == u'>';
  }

  bool ParseNumber(int64_t& value) {
    const size_t start = position_;
    if (!Take(u'-')) Take(u'+');
    while (IsDigit(Peek(position_))) ++position_;
    const std::optional<int64_t> number = ParseDecimal(text_.substr(start, position_ - start));
    value = number.value_or(0);
    return number.has_value();
  }

  // Steps over AND or OR, if one stands at the position, and tells which.
  std::optional<Kind> TakeConjunction(size_t& at) const {
    if (ToUpper(Peek(at)) == u'O' && ToUpper(Peek(at + 1)) == u'R') {
      at += 2;
      return Kind::kAny;
    }
    if (ToUpper(Peek(at)) == u'A' && ToUpper(Peek(at + 1)) == u'N' &&
        ToUpper(Peek(at + 2)) == u'D') {
      at += 3;
      return Kind::kAll;
    }
    return std::nullopt;
  }

  // One more part of a group of the same kind, or a new group of the two.
  static std::optional<Restriction> Join(Restriction left, Kind kind, Restriction right) {
    Restriction group;
    if (left.kind == kind) {
      group = std::move(left);
    } else {
      group.kind = kind;
      group.depth = left.depth + 1;
      group.parts.push_back(std::move(left));
    }
    if (right.depth + 1 > group.depth) group.depth = right.depth + 1;
    if (group.depth > kMaxRestrictionDepth) return std::nullopt;
    group.parts.push_back(std::move(right));
    return group;
  }

  // The unit at an offset, 0 after the end.
  char16_t Peek(size_t at) const { return at < text_.size() ? text_[at] : u'\0'; }

  bool Take(char16_t expected) {
    if (position_ == text_.size() || text_[position_] != expected) return false;
    ++position_;
    return true;
  }

  void SkipBlanks(size_t& at) const {
    while (at < text_.size() && IsBlank(text_[at])) ++at;
  }

  std::u16string_view text_;
  size_t position_ = 0;
  int open_groups_ = 0;
  int comparisons_ = 0;
};

}  // namespace

std::optional<Restriction> ParseRestriction(std::u16string_view text) {
  return Parser(text).Parse();
}

std::optional<int64_t> ParseDecimal(std::u16string_view text) {
  const bool is_negative = text.starts_with(u'-');
  if (is_negative || text.starts_with(u'+')) text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  int64_t value = 0;
  for (char16_t c : text) {
    if (!IsDigit(c) || value > (std::numeric_limits<int64_t>::max() - 9) / 10) return std::nullopt;
    value = value * 10 + (c - u'0');
  }
  return is_negative ? -value : value;
}

}  // namespace device
