#include "mapi/mapi_date.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

#include "btosif/osif_date.h"

namespace {

// Eight digits, or four and a "-", begin a date of that form.
bool LooksLikeIso8601(std::string_view text) {
  if (text.size() < 8) return false;
  const bool is_extended = text[4] == '-';
  for (const char c : text.substr(0, is_extended ? 4 : 8)) {
    if (std::isdigit(static_cast<unsigned char>(c)) == 0) return false;
  }
  return true;
}

// A header's value follows its ":" after a blank, mostly.
std::string WithoutBlanksAround(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return std::string(text.substr(0, text.find_last_not_of(kBlanks) + 1));
}

}  // namespace

// A text that looks like ISO 8601 is not tried as anything else, so that its failure is traced as such. The
// legacy form comes last, since its reader traces whatever none of them can read.
bool mapi_DateToFileTime(const char* text, FILETIME* time) {
  const std::string date = WithoutBlanksAround(text);
  if (LooksLikeIso8601(date)) return Iso8601ToFileTime(date.c_str(), time) != 0;
  return Rfc822ToFileTime(date.c_str(), time) != 0 || LegacyDateToFileTime(date.c_str(), time) != 0;
}
