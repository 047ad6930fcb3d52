// HTML bodies: measuring and filling agree, and a smaller room holds the beginning of the text and nothing
// behind its own end. The first byte chooses the room.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "btosif/osif_util/html_to_text.h"

namespace {

constexpr WCHAR kUntouched = 0xEEEE;

// The text as far as it fits, with one unit behind the room to see that it is left alone.
WideText Convert(const WideText& input, size_t capacity, size_t length) {
  std::vector<WCHAR> output(capacity + 1, kUntouched);
  if (HtmlToText(input.c_str(), output.data(), capacity) != length) abort();
  if (output[capacity] != kUntouched) abort();
  if (capacity == 0) return {};
  if (std::find(output.begin(), output.end(), WCHAR{0}) == output.end()) abort();
  return output.data();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size == 0) return 0;
  WideText input((size - 1) / sizeof(WCHAR), 0);
  std::memcpy(input.data(), bytes + 1, input.size() * sizeof(WCHAR));

  const size_t length = HtmlToText(input.c_str(), nullptr, 0);
  if (length > 2 * input.size()) abort();
  const WideText text = Convert(input, length + 1, length);
  if (text.size() != length) abort();
  const size_t room = bytes[0];
  const WideText beginning = Convert(input, room, length);
  if (!text.starts_with(beginning)) abort();
  // A pair of units that does not fit is left out whole.
  if (room <= length && beginning.size() + 2 < room) abort();
  return 0;
}
