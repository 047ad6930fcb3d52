// What cannot be read of a damaged device may be the very object that is looked for: nothing is stored then, since
// adding it would make it stand twice.
#include "client/storer.h"

#include <algorithm>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/value_text.h"
#include "client/damage.h"
#include "client/texts.h"

namespace client {
namespace {

// Numbers are written with and without their country and area: one that ends in the other is the same.
constexpr size_t kLocalDigits = 6;

bool IsSameNumber(const std::string& a, const std::string& b) {
  const std::string& shorter = a.size() < b.size() ? a : b;
  const std::string& longer = a.size() < b.size() ? b : a;
  if (a == b) return true;
  return shorter.size() >= kLocalDigits && longer.ends_with(shorter);
}

std::string Digits(const std::string& number) {
  std::string digits;
  std::ranges::copy_if(number, std::back_inserter(digits),
                       [](char c) { return c >= '0' && c <= '9'; });
  // The zeros before an area or a country are not dialled everywhere.
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

// By what a person can be reached.
struct Ways {
  std::vector<std::string> numbers;
  std::vector<std::string> addresses;

  bool IsEmpty() const { return numbers.empty() && addresses.empty(); }
};

Ways WaysTo(OsifContact& contact) {
  Ways ways;
  for (PropertyValue* value = contact.tel; value != nullptr; value = value->next) {
    const std::string digits = Digits(ToOutput(DecodedText(value)));
    if (!digits.empty()) ways.numbers.push_back(digits);
  }
  for (PropertyValue* value = contact.email; value != nullptr; value = value->next) {
    const std::string address = ToUpper(ToOutput(DecodedText(value)));
    if (!address.empty()) ways.addresses.push_back(address);
  }
  return ways;
}

bool Share(const Ways& a, const Ways& b) {
  const bool number = std::ranges::any_of(a.numbers, [&](const std::string& one) {
    return std::ranges::any_of(b.numbers,
                               [&](const std::string& other) { return IsSameNumber(one, other); });
  });
  const bool address = std::ranges::any_of(a.addresses, [&](const std::string& one) {
    return std::ranges::find(b.addresses, one) != b.addresses.end();
  });
  return number || address;
}

// Two people may have one name.
bool IsSomebodyElse(const char* id, OsifObject& object) {
  FetchedObject stored(OSIF_STORE_PB, id);
  if (stored.result() != OSIF_OK) return false;
  const Ways known = WaysTo(stored.object().contact);
  const Ways come = WaysTo(object.contact);
  return !known.IsEmpty() && !come.IsEmpty() && !Share(known, come);
}

}  // namespace

const char* ActionName(StoreAction action) {
  switch (action) {
    case StoreAction::kAdded:
      return "added";
    case StoreAction::kUpdated:
      return "updated";
    case StoreAction::kSkipped:
      return "skipped";
    case StoreAction::kRefused:
      break;
  }
  return "refused";
}

Known Storer::Decide(int32_t store_id, const ObjectId& id, OsifObject& object) {
  if (!policy_.is_strict) {
    if (stored_.contains({store_id, id.data()})) return Known::kAdd;
    if (store_id == OSIF_STORE_PB && IsSomebodyElse(id.data(), object)) return Known::kAdd;
  }
  return policy_.review ? policy_.review(store_id, id.data(), object) : Known::kUpdate;
}

StoreOutcome Storer::Store(int32_t store_id, OsifObject& object) {
  StoreOutcome outcome;
  if (!session_.MayChange(store_id)) return outcome;
  const bool is_found =
      !policy_.always_adds && OSIF_FindObject(store_id, &object, outcome.id.data()) != 0;
  if (TellDamage(listener_)) {
    outcome.result = OSIF_ERR_PIM;
    return outcome;
  }
  const Known known = is_found ? Decide(store_id, outcome.id, object) : Known::kAdd;
  if (known == Known::kSkip) {
    outcome.action = StoreAction::kSkipped;
    return outcome;
  }
  if (is_found && known == Known::kAdd) outcome.kept_apart_from = outcome.id.data();
  OsifAnchor* anchor = session_.NewAnchor(store_id);
  const bool updates = is_found && known == Known::kUpdate;
  outcome.result = updates ? OSIF_ModifyObject(store_id, outcome.id.data(), &object, anchor)
                           : OSIF_AddObject(store_id, &object, outcome.id.data(), anchor);
  if (outcome.result != OSIF_OK) return outcome;
  outcome.action = updates ? StoreAction::kUpdated : StoreAction::kAdded;
  outcome.anchor = anchor;
  if (!policy_.is_strict) stored_.emplace(store_id, outcome.id.data());
  return outcome;
}

}  // namespace client
