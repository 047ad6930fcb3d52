#include "btosif/osif_util/ascii.h"

#include <algorithm>

namespace {

bool SameLetter(char a, char b) { return AsciiUpper(a) == AsciiUpper(b); }

}  // namespace

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), SameLetter);
}

bool ContainsIgnoringCase(std::string_view text, std::string_view word) {
  return std::search(text.begin(), text.end(), word.begin(), word.end(), SameLetter) !=
         text.end();
}

std::string ToUpper(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), AsciiUpper);
  return upper;
}
