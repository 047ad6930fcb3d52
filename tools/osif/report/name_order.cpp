#include "tools/osif/report/name_order.h"

#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace command {
namespace {

// A text that compares as the name does.
std::string KeyOf(const std::string& name, const icu::Collator* collator) {
  if (collator == nullptr) return name;
  const icu::UnicodeString text = icu::UnicodeString::fromUTF8(name);
  std::string key(static_cast<size_t>(collator->getSortKey(text, nullptr, 0)), '\0');
  collator->getSortKey(text, reinterpret_cast<uint8_t*>(key.data()),
                       static_cast<int32_t>(key.size()));
  return key;
}

bool HasFewLetters(UChar32 letter) {
  UErrorCode error = U_ZERO_ERROR;
  const UScriptCode script = uscript_getScript(letter, &error);
  return script == USCRIPT_LATIN || script == USCRIPT_GREEK || script == USCRIPT_CYRILLIC;
}

}  // namespace

void SortByName(std::vector<ReportedContact>& contacts) {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<icu::Collator> collator(
      icu::Collator::createInstance(icu::Locale::getRoot(), error));
  std::vector<std::pair<std::string, size_t>> order;
  order.reserve(contacts.size());
  for (const ReportedContact& contact : contacts) {
    order.emplace_back(KeyOf(contact.name, U_SUCCESS(error) ? collator.get() : nullptr),
                       order.size());
  }
  std::ranges::sort(order);
  std::vector<ReportedContact> sorted;
  sorted.reserve(contacts.size());
  for (const auto& [key, place] : order) sorted.push_back(std::move(contacts[place]));
  contacts = std::move(sorted);
}

std::string LetterOf(const std::string& name) {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* decomposer = icu::Normalizer2::getNFDInstance(error);
  constexpr int32_t kLooked = 8;
  icu::UnicodeString text = icu::UnicodeString::fromUTF8(name).trim();
  text.truncate(kLooked);
  if (U_SUCCESS(error)) text = decomposer->normalize(text, error);
  const UChar32 first = text.isEmpty() ? U'#' : u_toupper(text.char32At(0));
  if (!u_isalpha(first)) return "#";
  if (!HasFewLetters(first)) return "…";
  std::string letter;
  return icu::UnicodeString(first).toUTF8String(letter);
}

}  // namespace command
