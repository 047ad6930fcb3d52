// The model of dialects/card.h knows the line of each property, and keeps it when the rules for the store run over a copy
// of the card. So it is seen as which kind of number or address the store shows each of the file's lines, and which it
// has no place for.
#include "mirror/card_items.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "btosif/osif_util/ascii.h"
#include "dialects/card_derive.h"
#include "dialects/card_names.h"
#include "dialects/card_rules.h"

namespace mirror {
namespace {

using namespace std::string_view_literals;
using dialects::Card;
using dialects::CardProperty;

// What is no content of a contact.
constexpr std::array<std::string_view, 9> kNoContent = {"REV",     "PRODID",      "UID",
                                                        "VERSION", "X-IRMC-LUID", "X-ABLABEL",
                                                        "X-ABADR", "SORT-STRING", "DEPT"};

// Of which a contact has one.
constexpr std::array<std::string_view, 11> kSingle = {
    "N",        "FN",          "TITLE",
    "ORG",      "BDAY",        "ANNIVERSARY",
    "X-SPOUSE", "X-ASSISTANT", "X-MICROSOFT-OFFICELOC",
    "NICKNAME", "KIND"};

// Kinds that are understood without being said, or that no store has.
constexpr std::array<std::string_view, 8> kNoKinds = {"VOICE",  "INTERNET", "PREF", "POSTAL",
                                                      "PARCEL", "DOM",      "INTL", ""};

// Properties of which the store tells its kinds.
constexpr std::array<std::string_view, 2> kWithKinds = {"TEL", "ADR"};

// Those whose lines are followed on their way to the store.
constexpr std::array<std::string_view, 3> kFollowed = {"TEL", "ADR", "EMAIL"};

bool IsOneOf(std::string_view name, auto const& names) {
  return std::ranges::find(names, name) != std::end(names);
}

std::string KindsOf(const CardProperty& property) {
  const bool has_kinds = IsOneOf(property.name, kWithKinds) || property.name == "LABEL"sv;
  if (!has_kinds) return {};
  std::set<std::string> kinds;
  for (const std::string& type : property.types) {
    if (!IsOneOf(type, kNoKinds)) kinds.insert(type);
  }
  // A number of which nothing is said is one at home.
  if (kinds.empty() && property.name == "TEL"sv) kinds.insert("HOME");
  std::string text;
  for (const std::string& kind : kinds) text += kind + ";";
  return text;
}

std::string Trimmed(std::string_view text) {
  const size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  return std::string(text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1));
}

std::string JoinedParts(const std::vector<std::string>& parts) {
  std::string text;
  size_t used = 0;
  for (const std::string& part : parts) {
    text += Trimmed(part);
    if (!text.empty() && text.back() != '\x1F') used = text.size();
    text += '\x1F';
  }
  return text.substr(0, used);
}

// The domain of an address has no case.
std::string WithLowerDomain(std::string address) {
  const size_t at = address.rfind('@');
  if (at == std::string::npos) return address;
  for (char& c : address) {
    const bool is_of_domain = static_cast<size_t>(&c - address.data()) > at;
    if (is_of_domain && c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return address;
}

std::string ValueOf(const CardProperty& property) {
  if (property.name == "BDAY"sv || property.name == "ANNIVERSARY"sv) {
    if (const auto day = dialects::DayOf(property)) return day->text;
  }
  const std::vector<std::string> parts = StoreComponents(property);
  std::string value = JoinedParts(parts.empty() ? property.components : parts);
  return property.name == "EMAIL"sv ? WithLowerDomain(std::move(value)) : value;
}

// A number by its digits, whatever separates them.
std::string LooseOf(const CardProperty& property) {
  constexpr size_t kFewest = 3;
  if (property.name != "TEL"sv) return {};
  std::string digits;
  for (const char c : property.Text()) {
    const bool is_digit = (c >= '0' && c <= '9') || c == '*' || c == '#';
    if (is_digit) digits += c;
    if (c == 'x' || c == 'p' || c == 'w') digits += 'x';
  }
  return digits.size() < kFewest ? "" : digits;
}

// The kinds under which the store shows the lines of a card, by the numbers of the lines. Lines that it has no place for
// are missing.
using ShownKinds = std::map<std::pair<uint64_t, std::string>, std::string>;

bool ShowInStore(Card card, ShownKinds& shown) {
  dialects::Report ignored;
  const std::string refusal = dialects::BringToStore(card, ignored);
  for (const CardProperty& property : card.properties) {
    if (property.line != 0) shown[{property.line, property.name}] = KindsOf(property);
  }
  return refusal.empty();
}

// A label is the store's address where there is no other of its kind: its street.
bool IsAddress(const Card& card, const CardProperty& label) {
  const auto place_of = [](const CardProperty& property) {
    return property.HasType("HOME") ? 'h' : property.HasType("WORK") ? 'w' : ' ';
  };
  const bool is_first = std::ranges::none_of(card.properties, [&](const CardProperty& other) {
    const bool is_label = other.name == "LABEL"sv && &other < &label;
    return (other.name == "ADR"sv || is_label) && !other.IsEmpty() &&
           place_of(other) == place_of(label);
  });
  return is_first && !label.IsEmpty();
}

// What the store understands as something else where that is missing.
struct SubstituteRow {
  std::string_view name;
  std::string_view of;
};
constexpr std::array<SubstituteRow, 2> kSubstitutes = {
    {{"ROLE", "TITLE"}, {"AGENT", "X-ASSISTANT"}}};

std::string_view NameInStore(const Card& card, const CardProperty& property) {
  for (const auto& [name, of] : kSubstitutes) {
    const bool is_name = property.name == name && property.Param("VALUE") != "URI"sv;
    if (is_name && card.TextOf(of).empty()) return of;
  }
  return property.name;
}

}  // namespace

StoreParts StorePartsOf(std::string_view name) {
  if (name == "N"sv) return {5, 4};
  if (name == "ADR"sv) return {7, 2};
  if (name == "ORG"sv) return {2, 1};
  return {};
}

std::vector<std::string> StoreComponents(const CardProperty& property) {
  const StoreParts parts = StorePartsOf(property.name);
  if (parts.most == 0) return {};
  std::vector<std::string> components;
  for (const std::string& component : property.components) {
    components.push_back(Trimmed(dialects::WithoutLists(component, " ")));
  }
  const std::string_view separator = property.name == "ORG"sv ? ", " : " ";
  for (size_t i = parts.most; i < components.size(); ++i) {
    if (components[i].empty()) continue;
    std::string& into = components[parts.into];
    if (!into.empty()) into += separator;
    into += components[i];
  }
  components.resize(parts.most);
  return components;
}

bool IsListName(std::string_view name) { return name == "CATEGORIES"sv || name == "X-CHILDREN"sv; }

void MakeItems(CardText& card, CardSide side) {
  ShownKinds shown;
  const bool is_followed = side == CardSide::kFile && ShowInStore(card.card, shown);
  // Of several notes one may become another.
  const bool has_one_note =
      std::ranges::count(card.card.properties, "NOTE", &CardProperty::name) <= 1;
  card.items.clear();
  for (size_t i = 0; i < card.card.properties.size(); ++i) {
    const CardProperty& property = card.card.properties[i];
    if (IsOneOf(property.name, kNoContent) || property.is_binary) continue;
    Item item;
    item.name = NameInStore(card.card, property);
    item.line = card.lines.LineAt(property.line);
    item.property = i;
    // The label that 4.0 writes as a parameter of its address.
    const bool is_parameter = property.name == "LABEL"sv && item.line != kNowhere &&
                              card.lines.contents[item.line].name == "ADR";
    if (is_parameter) continue;
    item.kinds = KindsOf(property);
    item.shown = item.kinds;
    item.is_single = IsOneOf(item.name, kSingle) || (item.name == "NOTE" && has_one_note);
    if (is_followed && IsOneOf(item.name, kFollowed)) {
      const auto found = shown.find({property.line, item.name});
      item.is_shown = found != shown.end();
      if (item.is_shown) item.shown = found->second;
    }
    item.loose = LooseOf(property);
    item.value = ValueOf(property);
    if (property.name == "LABEL"sv && IsAddress(card.card, property)) {
      item.name = "ADR";
      item.value = "\x1F\x1F" + item.value;
    }
    if (!IsListName(property.name)) {
      const bool is_place = side == CardSide::kFile && item.is_single;
      if (!item.value.empty() || is_place) card.items.push_back(item);
      continue;
    }
    item.is_entry = true;
    for (size_t entry = 0; entry < property.components.size(); ++entry) {
      item.value = Trimmed(property.components[entry]);
      item.entry = entry;
      if (!item.value.empty()) card.items.push_back(item);
    }
  }
}

bool ReadCardText(std::string_view text, CardSide side, CardText& card) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (text.find('\0') != std::string_view::npos) return false;
  const size_t start = text.starts_with(kMark) ? kMark.size() : 0;
  const TextLines all = ReadTextLines(text.substr(start), LineRulesOf(text));
  int depth = 0;
  bool is_found = false;
  card.span = {0, text.size()};
  for (size_t i = 0; i < all.contents.size() && !card.has_end; ++i) {
    const std::string what = ToUpper(dialects::Trim(all.contents[i].value));
    const bool is_begin = all.contents[i].name == "BEGIN";
    if (!is_found && !(is_begin && what == "VCARD")) continue;
    if (!is_found) card.span.begin = start + all.spans[i].begin;
    is_found = true;
    if (is_begin) ++depth;
    if (all.contents[i].name == "END" && --depth == 0) {
      card.span.end = start + all.spans[i].end;
      card.has_end = true;
    }
  }
  if (!is_found) return false;
  card.text = text.substr(card.span.begin, card.span.end - card.span.begin);
  card.lines = ReadTextLines(card.text, LineRulesOf(card.text));
  dialects::Report ignored;
  const dialects::ObjectText object = {.kind = dialects::ObjectKind::kCard,
                                       .text = std::string(card.text),
                                       .line = 1,
                                       .has_byte_order_mark = true};
  card.card = dialects::ReadCard(object, {}, ignored);
  MakeItems(card, side);
  return true;
}

bool IsMadeOfName(std::string_view formatted, const std::vector<std::string>& name) {
  const auto words_of = [](std::string_view text) {
    std::vector<std::string> words(1);
    for (const char c : text) {
      if (c == ' ' || c == ',' || c == ';' || c == '\t' || c == '\n' ||
          c == dialects::kListSeparator) {
        if (!words.back().empty()) words.emplace_back();
      } else {
        words.back() += AsciiUpper(c);
      }
    }
    if (words.back().empty()) words.pop_back();
    return words;
  };
  const std::vector<std::string> formatted_words = words_of(formatted);
  if (formatted_words.empty() || name.empty()) return false;
  std::set<std::string> known;
  for (const std::string& part : name) {
    for (std::string& word : words_of(part)) known.insert(std::move(word));
  }
  const std::set<std::string> used(formatted_words.begin(), formatted_words.end());
  const bool is_all_known = std::ranges::includes(known, used);
  const std::vector<std::string> family = words_of(name[0]);
  const bool has_family =
      std::ranges::all_of(family, [&](const std::string& word) { return used.contains(word); });
  const std::vector<std::string> given = name.size() > 1 ? words_of(name[1]) : family;
  const bool has_given = given.empty() || used.contains(given.front());
  return is_all_known && has_family && has_given;
}

}  // namespace mirror
