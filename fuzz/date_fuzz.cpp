// Date texts: what can be read can be written, and reads the same again.
#include <cstring>
#include <string>

#include "btosif/osif_date.h"
#include "fuzz/fuzz_input.h"

namespace {

void CheckRoundTrip(DATE date) {
  char text[32];
  if (!DateToIso8601(date, text, sizeof text, true, true)) return;
  if (text[0] == '\0') return;
  DATE again = kNoDate;
  if (!Iso8601ToDate(text, &again)) return;
  char text_again[32];
  if (!DateToIso8601(again, text_again, sizeof text_again, true, true)) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  DATE date = kNoDate;
  if (Iso8601ToDate(text.c_str(), &date)) {
    CheckRoundTrip(date);
  } else if (date != kNoDate) {
    abort();
  }
  FILETIME time = {};
  if (LegacyDateToFileTime(text.c_str(), &time)) FileTimeToDate(time, &date);
  if (Rfc822ToFileTime(text.c_str(), &time)) FileTimeToDate(time, &date);
  double number = 0;
  if (size >= sizeof number) {
    std::memcpy(&number, bytes, sizeof number);
    CheckRoundTrip(number);
    char rfc[40];
    DateToRfc822(number, rfc, sizeof rfc);
  }
  return 0;
}
