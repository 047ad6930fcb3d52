// Merging of any bytes: what the first one says picks store and preference, the rest is four texts. Nothing to merge gives
// the file, and what was merged once is not merged again.
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "mirror/merge.h"
#include "osif.h"

namespace {

// The next text, up to a zero; it is taken off the bytes.
std::string_view TakeText(std::string_view& bytes) {
  const std::string_view text = bytes.substr(0, bytes.find('\0'));
  bytes.remove_prefix(std::min(text.size() + 1, bytes.size()));
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  if (size == 0 || size > 8192) return 0;
  std::string_view rest(reinterpret_cast<const char*>(bytes), size);
  mirror::MergeInput input;
  input.store_id = rest.front() % 2 == 0 ? OSIF_STORE_PB : OSIF_STORE_CAL;
  constexpr mirror::Prefer kPrefer[] = {mirror::Prefer::kNone, mirror::Prefer::kStore,
                                        mirror::Prefer::kFolder};
  input.prefer = kPrefer[static_cast<uint8_t>(rest.front()) / 2 % 3];
  rest.remove_prefix(1);
  input.before = TakeText(rest);
  input.after = TakeText(rest);
  input.base = TakeText(rest);
  input.file = rest;
  const mirror::Merged merged = mirror::MergeStoreChange(input);
  mirror::MergeInput again = input;
  again.before = again.after;
  again.base = again.file = merged.text;
  if (mirror::MergeStoreChange(again).text != merged.text) abort();
  mirror::MergeInput nothing = input;
  nothing.after = nothing.before;
  if (mirror::MergeStoreChange(nothing).text != input.file) abort();
  if (mirror::ContentKey(merged.text).empty()) abort();
  return 0;
}
