// A business card of any dialect, understood: vCard 2.1, 3.0 (RFC 2426) and 4.0 (RFC 6350) say the same things under
// different names, and programs have names of their own. Here each thing has one name, whoever wrote it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/charsets.h"
#include "dialects/content_line.h"
#include "dialects/object_text.h"
#include "dialects/report.h"

namespace dialects {

enum class CardVersion { k21, k30, k40 };

// Between the entries of a list inside of one component, such as two given names ("N:Lee;Ann,Mary").
inline constexpr char kListSeparator = '\x1F';

// The components of N: family name, given name, further names, prefix, suffix.
inline constexpr size_t kNameParts = 5;

// One property. Its name is the one by which card_names.h knows it; its texts are UTF-8, without escapes and encodings.
struct CardProperty {
  std::string group;                    // before the name; mostly empty
  std::string name;                     // upper case
  std::vector<std::string> types;       // upper case; "PREF" is not among them, see `preference`
  std::vector<Parameter> params;        // all but TYPE, PREF, ENCODING, CHARSET and LABEL
  std::vector<std::string> components;  // at least one
  std::string label;       // what the group's label says, such as "Mobile"; mostly empty
  int preference = 0;      // 1 (first) to 100; 0 for none
  bool is_binary = false;  // the component is base64
  uint64_t line = 0;       // in the file

  // The first component.
  const std::string& Text() const { return components.front(); }
  // True when all components are empty.
  bool IsEmpty() const;
  bool HasType(std::string_view type) const;
  void RemoveType(std::string_view type);
  std::string_view Param(std::string_view param) const;
  void RemoveParams(std::string_view param);
};

struct Card {
  CardVersion version = CardVersion::k21;
  std::vector<CardProperty> properties;  // in the sender's order, without BEGIN, VERSION and END
  std::vector<ObjectText> inner;         // the cards of a list of cards, which is a card itself

  // The first of a name that is not empty; else the first of the name; null without one.
  CardProperty* Find(std::string_view name);
  const CardProperty* Find(std::string_view name) const;
  // The text of that; empty without one.
  std::string_view TextOf(std::string_view name) const;
  CardProperty& Add(std::string_view name, std::vector<std::string> components);
};

// Reads a card of any version. Nothing of it is lost but what `report` says: lines that are none, and objects inside
// of the card that are no cards. A card inside of AGENT is kept as AGENT's text.
Card ReadCard(const ObjectText& object, const TextSettings& settings, Report& report);

// Takes all properties of a name off a card, in their order.
std::vector<CardProperty> TakeProperties(Card& card, std::string_view name);

// A list inside of a component as one text.
std::string WithoutLists(std::string_view component, std::string_view separator);

}  // namespace dialects
