#include <cstdio>
#include <iterator>

#include "osif.h"

namespace {

// Callers show these texts as they are, so their mixed capitals stay.
constexpr const char16_t* kTexts[] = {
    u"OK",
    u"General failure",
    u"The Interface is not opened",
    u"The object store is not opened",
    u"Reached the end-of-store",
    u"End of file (EOF) reached",
    u"The object was not found",
    u"Could not open the file",
    u"The stream of data does not contain a valid object",
    u"The object id is invalid",
    u"The object is missing a required field",
    u"memory allocation error",
    u"the change log is not opened",
    u"gap between requested anchor and first entry",
    u"General PIM Error",
    u"The PIM is not opened",
    u"Not Implemented",
    u"The type is not supported",
    u"Parsing successful",
    u"Parsing warning",
    u"Parsing error",
};

constexpr size_t kUnknownTextRoom = 256;

}  // namespace

const WCHAR* OSIF_CodeToString(OsifResult code) {
  static WCHAR unknown_text[kUnknownTextRoom];
  if (code < std::size(kTexts)) return reinterpret_cast<const WCHAR*>(kTexts[code]);
  char text[kUnknownTextRoom];
  const int length =
      std::snprintf(text, sizeof text, "Unknown OSIF error, code=%d", static_cast<int32_t>(code));
  for (int i = 0; i <= length; ++i) unknown_text[i] = static_cast<unsigned char>(text[i]);
  return unknown_text;
}
