#include "dialects/card_form.h"

#include <algorithm>
#include <array>
#include <deque>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "dialects/card_derive.h"
#include "dialects/card_names.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

constexpr size_t kAddressParts = 7;
constexpr size_t kExtended = 1;
constexpr std::string_view kOffice = "X-MICROSOFT-OFFICELOC";

void RemoveAll(Card& card, std::string_view name) {
  std::erase_if(card.properties,
                [&](const CardProperty& property) { return property.name == name; });
}

// The names come first, as people read a card.
void PutFirst(Card& card, CardProperty property) {
  card.properties.insert(card.properties.begin(), std::move(property));
}

CardProperty MakeProperty(std::string_view name, std::vector<std::string> components) {
  CardProperty property;
  property.name = name;
  property.components = std::move(components);
  return property;
}

void AddName(Card& card, Report& report) {
  if (const CardProperty* name = card.Find("N"); name != nullptr && !name->IsEmpty()) return;
  RemoveAll(card, "N");
  std::optional<DerivedName> derived = DeriveName(card);
  report.Guessed(derived ? "name from " + std::string(derived->source) : "no name");
  PutFirst(card, MakeProperty("N", derived ? std::move(derived->components)
                                           : std::vector<std::string>(kNameParts)));
}

void AddFormattedName(Card& card, Report& report) {
  if (const CardProperty* name = card.Find("FN"); name != nullptr && !name->IsEmpty()) return;
  RemoveAll(card, "FN");
  report.Changed("FN made");
  PutFirst(card, MakeProperty("FN", {DeriveFormattedName(card)}));
}

// 4.0 needs no N, so one that was made of FN need not go on.
void RemoveDerivedName(Card& card) {
  std::erase_if(card.properties, [&](const CardProperty& property) {
    return property.name == "N"sv && (property.IsEmpty() || IsDerivedName(card, property));
  });
}

// A part that is missing keeps its separator (RFC 6350, section 3.3).
void FillParts(Card& card) {
  for (CardProperty& property : card.properties) {
    const size_t parts = property.name == "N"sv     ? kNameParts
                         : property.name == "ADR"sv ? kAddressParts
                                                    : 0;
    property.components.resize(std::max(property.components.size(), parts));
  }
}

// Where only the library's own readers know the office by its name, it is the extended address of the business.
void MoveOffice(Card& card) {
  const std::string office(card.TextOf(kOffice));
  if (office.empty()) return;
  auto address = std::ranges::find_if(card.properties, [](const CardProperty& property) {
    return property.name == "ADR"sv && property.HasType("WORK");
  });
  if (address == card.properties.end()) {
    card.Add("ADR", std::vector<std::string>(kAddressParts)).types = {"WORK"};
    address = std::prev(card.properties.end());
  }
  auto& components = address->components;
  components.resize(std::max(components.size(), kAddressParts));
  if (!components[kExtended].empty() && components[kExtended] != office) return;
  components[kExtended] = office;
  RemoveAll(card, kOffice);
}

// A label is a parameter of the address of its kind, the first label of the first address.
void MoveLabels(Card& card) {
  if (card.Find("LABEL") == nullptr) return;
  std::map<std::vector<std::string>, std::deque<CardProperty*>> addresses;
  for (CardProperty& property : card.properties) {
    if (property.name == "ADR"sv) addresses[property.types].push_back(&property);
  }
  for (CardProperty& label : card.properties) {
    if (label.name != "LABEL"sv || label.IsEmpty()) continue;
    std::deque<CardProperty*>& of_kind = addresses[label.types];
    if (of_kind.empty()) continue;
    of_kind.front()->params.push_back({"LABEL", label.Text()});
    of_kind.pop_front();
    label.name.clear();
  }
  RemoveAll(card, "");
}

void MoveSortKey(Card& card) {
  const std::string key(card.TextOf("SORT-STRING"));
  CardProperty* name = card.Find("N");
  if (key.empty() || name == nullptr || !name->Param("SORT-AS").empty()) return;
  name->params.push_back({"SORT-AS", key});
  RemoveAll(card, "SORT-STRING");
}

struct RelationRow {
  std::string_view name;
  std::string_view type;
};

constexpr std::array<RelationRow, 3> kRelations = {{
    {"X-SPOUSE", "SPOUSE"},
    {"X-CHILDREN", "CHILD"},
    {"X-ASSISTANT", "AGENT"},
}};

CardProperty MakeRelation(std::string_view type, std::string entry) {
  CardProperty related = MakeProperty("RELATED", {std::move(entry)});
  related.types.emplace_back(type);
  related.params.push_back({"VALUE", "TEXT"});
  return related;
}

// One RELATED for each name. The first keeps what the sender said of them all: on each it would grow with their number.
void MoveRelations(Card& card) {
  const bool has_any = std::ranges::any_of(
      kRelations, [&](const RelationRow& row) { return card.Find(row.name) != nullptr; });
  if (!has_any) return;
  std::vector<CardProperty> moved;
  moved.reserve(card.properties.size());
  for (CardProperty& property : card.properties) {
    const auto* row = std::ranges::find(kRelations, property.name, &RelationRow::name);
    if (row == kRelations.end()) {
      moved.push_back(std::move(property));
      continue;
    }
    const bool is_list = ShapeOf(property.name) == CardShape::kList;
    const std::vector<std::string> entries = std::exchange(property.components, {});
    for (const std::string& entry : entries) {
      CardProperty related = MakeRelation(row->type, is_list ? std::string(Trim(entry)) : entry);
      if (&entry == entries.data()) {
        property.RemoveParams("VALUE");
        std::ranges::move(property.types, std::back_inserter(related.types));
        std::ranges::move(property.params, std::back_inserter(related.params));
        related.group = std::move(property.group);
        related.label = std::move(property.label);
        related.preference = property.preference;
      }
      moved.push_back(std::move(related));
    }
  }
  card.properties = std::move(moved);
}

// The older versions have one property for all of them.
void JoinChildren(Card& card) {
  CardProperty* first = nullptr;
  for (CardProperty& property : card.properties) {
    if (property.name != "X-CHILDREN"sv) continue;
    if (first == nullptr) {
      first = &property;
      continue;
    }
    std::ranges::move(property.components, std::back_inserter(first->components));
    property.name.clear();
  }
  RemoveAll(card, "");
}

// An address is one of the internet unless it is one of another network.
void NameInternet(Card& card) {
  for (CardProperty& property : card.properties) {
    if (property.name != "EMAIL"sv || property.HasType("INTERNET")) continue;
    const bool is_other = std::ranges::any_of(property.types, [](const std::string& type) {
      return IsMailNetwork(type) || type.starts_with("X-");
    });
    if (!is_other) property.types.insert(property.types.begin(), "INTERNET");
  }
}

// One "preferred" is all that the older versions have: of each name the first by the sender's numbers.
void KeepFirstPreference(Card& card) {
  std::map<std::string, int> first;
  for (const CardProperty& property : card.properties) {
    if (property.preference == 0) continue;
    const auto [row, is_new] = first.emplace(property.name, property.preference);
    if (!is_new) row->second = std::min(row->second, property.preference);
  }
  for (CardProperty& property : card.properties) {
    if (property.preference > 1 && property.preference > first[property.name]) {
      property.preference = 0;
    }
  }
}

}  // namespace

void RemoveLibraryExtras(Card& card) {
  std::set<std::tuple<std::string, std::vector<std::string>, std::vector<std::string>>> seen;
  std::erase_if(card.properties, [&](const CardProperty& property) {
    if (property.IsEmpty() || property.name == "X-IRMC-LUID"sv) return true;
    return !seen.emplace(property.name, property.components, property.types).second;
  });
  const std::string_view office = card.TextOf(kOffice);
  const bool is_twin = std::ranges::any_of(card.properties, [&](const CardProperty& property) {
    return property.name == "ADR"sv && property.HasType("WORK") &&
           property.components.size() > kExtended && property.components[kExtended] == office;
  });
  if (is_twin) RemoveAll(card, kOffice);
}

void BringToVersion(Card& card, CardVersion version, Report& report) {
  if (version == CardVersion::k40) {
    AddFormattedName(card, report);
    RemoveDerivedName(card);
    MoveSortKey(card);
    MoveLabels(card);
    MoveRelations(card);
  } else {
    if (version == CardVersion::k30) AddFormattedName(card, report);
    AddName(card, report);
    JoinChildren(card);
    NameInternet(card);
    KeepFirstPreference(card);
  }
  if (version != CardVersion::k21) MoveOffice(card);
  FillParts(card);
}

}  // namespace dialects
