// Find restrictions: every text ends in a bounded tree or is refused.
#include "fuzz/fuzz_input.h"
#include "platform/device/pim/restriction.h"

namespace {

int CountComparisons(const device::Restriction& node, int depth) {
  if (depth > device::kMaxRestrictionDepth) abort();
  if (node.kind == device::Restriction::Kind::kComparison) return 1;
  if (node.parts.size() < 2) abort();
  int count = 0;
  for (const device::Restriction& part : node.parts) count += CountComparisons(part, depth + 1);
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const WideText text = FromUtf8({reinterpret_cast<const char*>(bytes), size});
  const std::optional<device::Restriction> restriction = device::ParseRestriction(text);
  if (!restriction) return 0;
  if (CountComparisons(*restriction, 0) > device::kMaxRestrictionComparisons) abort();
  return 0;
}
