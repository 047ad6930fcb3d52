// The store has eleven places, each for one kind of number, and takes numbers first come, first served. So every number
// is first shown its own place. Those whose place is taken, or who have none, come after them all, so that they take
// only what nobody else wants: a number is worth more in a place of another kind than nowhere. A fax goes to no place
// for voices, where it would be called.
#include "dialects/card_telephones.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace dialects {
namespace {

using namespace std::string_view_literals;

struct Place {
  std::string_view kind;
  std::vector<std::string> types;  // as the store understands them
  size_t room;
};

enum PlaceIndex : size_t {
  kHome,
  kWork,
  kHomeFax,
  kWorkFax,
  kCell,
  kPager,
  kCar,
  kAssistant,
  kRadio
};
constexpr size_t kPlaceCount = 9;

const std::array<Place, kPlaceCount>& Places() {
  static const std::array<Place, kPlaceCount> places = {{
      {"home", {"HOME", "VOICE"}, 2},
      {"work", {"WORK", "VOICE"}, 2},
      {"fax at home", {"HOME", "FAX"}, 1},
      {"fax at work", {"WORK", "FAX"}, 1},
      {"mobile", {"CELL"}, 1},
      {"pager", {"PAGER"}, 1},
      {"car", {"CAR"}, 1},
      {"assistant", {"X-ASSISTANT"}, 1},
      {"radio", {"X-RADIO"}, 1},
  }};
  return places;
}

struct KindRow {
  std::string_view type;
  PlaceIndex place;
};

// Kinds that have a place of their own, whatever else a number is; the first that fits counts.
constexpr std::array<KindRow, 9> kKinds = {{
    {"CELL", kCell},
    {"MOBILE", kCell},
    {"IPHONE", kCell},
    {"CELLULAR", kCell},
    {"PCS", kCell},
    {"PAGER", kPager},
    {"CAR", kCar},
    {"X-ASSISTANT", kAssistant},
    {"X-RADIO", kRadio},
}};

// Numbers that one may call, but that were not meant for that: they come last.
constexpr std::array<std::string_view, 5> kForMachines = {"ISDN", "VIDEO", "MODEM", "BBS",
                                                          "TEXTPHONE"};

constexpr std::array<PlaceIndex, 4> kForVoices = {kHome, kWork, kCar, kRadio};
constexpr std::array<PlaceIndex, 2> kForFaxes = {kHomeFax, kWorkFax};

bool HasAny(const CardProperty& number, std::span<const std::string_view> types) {
  return std::ranges::any_of(types, [&](std::string_view type) { return number.HasType(type); });
}

bool IsForMachines(const CardProperty& number) {
  return HasAny(number, kForMachines) && !number.HasType("VOICE") && !number.HasType("FAX");
}

// The place that a number was meant for. A message alone is one to a mobile telephone.
PlaceIndex OwnPlace(const CardProperty& number) {
  for (const auto& [type, place] : kKinds) {
    if (number.HasType(type)) return place;
  }
  const bool is_work = number.HasType("WORK") && !number.HasType("HOME");
  if (number.HasType("FAX")) return is_work ? kWorkFax : kHomeFax;
  if (is_work) return kWork;
  const bool is_text = number.HasType("MSG") || number.HasType("TEXT");
  return is_text && !number.HasType("HOME") && !number.HasType("VOICE") ? kCell : kHome;
}

class Switchboard {
 public:
  explicit Switchboard(Report& report) : report_(report) {}

  // False when all are taken.
  bool Put(CardProperty& number, PlaceIndex place) {
    auto& taken = taken_[place];
    if (taken.size() == Places()[place].room) return false;
    taken.push_back(std::move(number));
    return true;
  }

  // The same number at the same place again says nothing new.
  bool Has(const CardProperty& number, PlaceIndex place) const {
    return std::ranges::any_of(
        taken_[place], [&](const CardProperty& one) { return one.Text() == number.Text(); });
  }

  bool PutElsewhere(CardProperty& number) {
    const bool is_fax = number.HasType("FAX");
    const std::span<const PlaceIndex> places =
        is_fax ? std::span<const PlaceIndex>(kForFaxes) : std::span<const PlaceIndex>(kForVoices);
    const bool is_known =
        std::ranges::any_of(places, [&](PlaceIndex place) { return Has(number, place); });
    if (is_known) return true;
    // A second mobile telephone at work is first of all a number at work.
    if (!is_fax && number.HasType("WORK") && !number.HasType("HOME") && Put(number, kWork)) {
      return Changed();
    }
    for (const PlaceIndex place : places) {
      if (Put(number, place)) return Changed();
    }
    return false;
  }

  void Release(Card& card) {
    for (size_t place = 0; place < kPlaceCount; ++place) {
      for (CardProperty& number : taken_[place]) {
        number.types = Places()[place].types;
        card.properties.push_back(std::move(number));
      }
    }
  }

 private:
  bool Changed() {
    report_.Changed("TEL at another place");
    return true;
  }

  Report& report_;
  std::array<std::vector<CardProperty>, kPlaceCount> taken_;
};

std::vector<CardProperty> TakeNumbers(Card& card) {
  std::vector<CardProperty> numbers = TakeProperties(card, "TEL");
  std::erase_if(numbers, [](const CardProperty& number) { return number.IsEmpty(); });
  std::stable_partition(numbers.begin(), numbers.end(),
                        [](const CardProperty& number) { return !IsForMachines(number); });
  return numbers;
}

}  // namespace

std::vector<CardProperty> PlaceTelephones(Card& card, Report& report) {
  Switchboard switchboard(report);
  std::vector<CardProperty> homeless;
  for (CardProperty& number : TakeNumbers(card)) {
    const PlaceIndex place = OwnPlace(number);
    if (switchboard.Has(number, place)) continue;
    if (!switchboard.Put(number, place)) homeless.push_back(std::move(number));
  }
  std::vector<CardProperty> surplus;
  for (CardProperty& number : homeless) {
    if (!switchboard.PutElsewhere(number)) surplus.push_back(std::move(number));
  }
  switchboard.Release(card);
  return surplus;
}

}  // namespace dialects
