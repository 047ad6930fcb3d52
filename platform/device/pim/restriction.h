// The query language of item collections, read into a small tree.
//
//   [LastName]="Lee" AND [FirstName]="Ann"
//   ([CompanyName] = "North" OR [CompanyName] = "South") AND [Oid] > 100
//
// A comparison is a property name in square brackets, one of = <> < <= > >=, and a value: a text in
// double quotes or an unquoted decimal number. Comparisons are joined by AND and OR (in any case)
// and grouped by parentheses. AND and OR bind alike and are read from left to right: a OR b AND c
// is (a OR b) AND c. Blanks, tabs and line ends are free between the parts.
//
// Quotation marks inside a text are not escaped. A quotation mark closes the text when what follows
// it could go on the query: after blanks, and the closing parentheses of groups that are open, the
// end, or AND or OR with "(" or a property and an operator after it. Every other one belongs to
// the text, so that [FirstName]="Bob "the" Kid" AND [LastName]="Lee" compares with Bob "the" Kid and
// Lee.
//
// Reading takes time in proportion to the length; depth and number of comparisons are limited.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace device {

enum class ComparisonOperator { kEqual, kNotEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual };

struct Comparison {
  std::u16string property;  // as written between the brackets, without the blanks around it
  ComparisonOperator comparison_operator = ComparisonOperator::kEqual;
  std::variant<int64_t, std::u16string> value;
};

// One node of a query: a comparison, or two or more parts that must all hold or of which one must.
struct Restriction {
  enum class Kind { kComparison, kAll, kAny };

  Kind kind = Kind::kComparison;
  Comparison comparison;           // of a kComparison
  std::vector<Restriction> parts;  // of a kAll or kAny
  int depth = 0;                   // the levels of kAll and kAny from here down
};

// How deep parentheses, and the levels of the tree, may nest. Each change between AND and OR is a
// level.
inline constexpr int kMaxRestrictionDepth = 24;
// How many comparisons a query may have.
inline constexpr int kMaxRestrictionComparisons = 200;

// Reads a query; nothing when it is malformed or exceeds a limit. Property names are not looked up.
std::optional<Restriction> ParseRestriction(std::u16string_view text);

// A decimal number with or without a sign; nothing when there is anything else, or too many digits.
std::optional<int64_t> ParseDecimal(std::u16string_view text);

}  // namespace device
