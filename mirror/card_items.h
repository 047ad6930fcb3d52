// A card as what it says, each thing with the line that says it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dialects/card.h"
#include "mirror/merge_plan.h"
#include "mirror/text_lines.h"

namespace mirror {

// Whose card it is: the store's names of kinds are its own, a file's are shown by the store in its own way.
enum class CardSide { kStore, kFile };

struct CardText {
  std::string_view text;  // from its BEGIN to its END
  Span span;              // where that is in the whole text
  TextLines lines;
  dialects::Card card;
  Items items;
  bool has_end = false;

  bool is_old() const { return card.version == dialects::CardVersion::k21; }
};

// The first card of a text. False without one. The text outlives the card.
bool ReadCardText(std::string_view text, CardSide side, CardText& card);

// The same once the properties of a card were changed.
void MakeItems(CardText& card, CardSide side);

// The components of N, ADR and ORG as the store has them; nothing for other names.
std::vector<std::string> StoreComponents(const dialects::CardProperty& property);

// How many components the store has of a name, and which one has all that come later; 0 for names without components.
struct StoreParts {
  size_t most = 0;
  size_t into = 0;
};
StoreParts StorePartsOf(std::string_view name);

// True for names whose entries are items of their own.
bool IsListName(std::string_view name);

// True for a formatted name that says what N says, in another order or with less of it, and nothing else.
bool IsMadeOfName(std::string_view formatted, const std::vector<std::string>& name);

}  // namespace mirror
