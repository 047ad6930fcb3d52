#include "btosif/osif_util/decimal_number.h"

#include <charconv>

double DecimalNumber(std::string_view text) {
  const size_t start = text.find_first_not_of(" \t");
  if (start == std::string_view::npos) return 0;
  text.remove_prefix(start);
  if (text.starts_with('+')) text.remove_prefix(1);
  // The words for infinity and "not a number" are none: a number begins with digits, after a sign and a
  // point at most.
  const size_t first = text.find_first_not_of("-.");
  if (first == std::string_view::npos || text[first] < '0' || text[first] > '9') return 0;
  double number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}
