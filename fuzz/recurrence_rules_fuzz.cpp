// Rules of recurrence of both grammars: what the store can hold of them is written as a rule that is read again, and
// all that is iterated ends.
#include <cstdlib>

#include "dialects/icalendar.h"
#include "dialects/recurrence_old.h"
#include "dialects/recurrence_store.h"
#include "fuzz/fuzz_input.h"

namespace {

using dialects::CivilTime;

constexpr size_t kLongestInput = 512;
constexpr CivilTime kStart = {2026, 6, 12, 9, 0, 0};
constexpr CivilTime kLast = {2046, 6, 12, 9, 0, 0};

void Check(const dialects::RecurRule& rule) {
  dialects::Report report;
  for (const auto& part : dialects::StoreParts(rule, kStart, report)) {
    dialects::RuleEnd end;
    end.count = rule.count;
    const std::string text = dialects::OldRuleText(part.store, end);
    if (dialects::ReadOldRule(text, kStart, dialects::OldSense::kStore).size() != 1) abort();
  }
  dialects::ShiftedRule(rule, kStart, 1);
  dialects::ShiftedRule(rule, kStart, -1);
  dialects::Occurrences(rule, kStart, 50, kLast);
  const auto again = dialects::ReadRecurRule(dialects::RecurRuleText(rule));
  if (!again) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size > kLongestInput) return 0;
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  if (const auto rule = dialects::ReadRecurRule(text)) Check(*rule);
  for (const auto& timed : dialects::ReadOldRule(text, kStart, dialects::OldSense::kSender)) {
    Check(timed.rule);
  }
  return 0;
}
