#include "btosif/osif_util/ascii.h"

#include <algorithm>

bool ContainsIgnoringCase(std::string_view text, std::string_view word) {
  for (; text.size() >= word.size(); text.remove_prefix(1)) {
    if (StartsIgnoringCase(text, word)) return true;
  }
  return false;
}

std::string ToUpper(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), AsciiUpper);
  return upper;
}
