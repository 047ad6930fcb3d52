// Recurrence rules: a rule that was read can be written, what was written can be read again, and a
// rule without an end date is then written the same way. No room is too small to be kept.
#include <string>
#include <string_view>
#include <vector>

#include "btosif/osif_erg.h"
#include "fuzz/fuzz_input.h"

namespace {

// Longer than any text that can come of the input: numbers and the default interval grow at most so
// much.
size_t EnoughRoom(size_t size) { return 16 + 4 * size; }

std::string Generated(const RecurrenceRule& rule, size_t input_size) {
  std::vector<char> text(EnoughRoom(input_size));
  if (ERG_Generate(rule, text.data(), text.size()) != OSIF_OK) abort();
  return text.data();
}

void CheckRooms(const RecurrenceRule& rule, const std::string& text) {
  for (const size_t room : {size_t{0}, size_t{1}, text.size() / 2, text.size()}) {
    std::vector<char> small(room);
    if (ERG_Generate(rule, small.data(), room) == OSIF_OK) abort();
    if (room > 0 && small[0] != '\0') abort();
  }
  std::vector<char> exact(text.size() + 1);
  if (ERG_Generate(rule, exact.data(), exact.size()) != OSIF_OK) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const std::string input(bytes, bytes + size);
  const std::string_view received = input.c_str();  // a text ends at its first zero
  RecurrenceRule rule;
  const OsifResult result = ERG_Parse(received, rule);
  if (result != OSIF_OK) {
    if (result != OSIF_PARSE_ERROR || rule.frequency() != Frequency::kNone) abort();
    return 0;
  }
  if (received.empty()) return 0;

  const std::string text = Generated(rule, received.size());
  CheckRooms(rule, text);
  RecurrenceRule again;
  if (ERG_Parse(text, again) != OSIF_OK) abort();
  if (rule.end_date[0] == '\0' && Generated(again, text.size()) != text) abort();
  return 0;
}
