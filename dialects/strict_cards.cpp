// Strict vCard 2.1 for the library: the card is read, brought to what the store holds, and written in the order in which
// the library writes its own cards.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/card.h"
#include "dialects/card_rules.h"
#include "dialects/strict_object.h"
#include "dialects/value_text.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

struct StrictRow {
  std::string_view name;    // in the model
  std::string_view strict;  // as the strict reader knows it
};

constexpr std::array<StrictRow, 18> kStrict = {{
    {"N", "N"},
    {"FN", "FN"},
    {"NICKNAME", "NICKNAME"},
    {"BDAY", "BDAY"},
    {"ADR", "ADR"},
    {"ORG", "ORG"},
    {"TITLE", "TITLE"},
    {"ROLE", "ROLE"},
    {"TEL", "TEL"},
    {"URL", "URL"},
    {"EMAIL", "EMAIL"},
    {"NOTE", "NOTE"},
    {"X-SPOUSE", "X-SPOUSE"},
    {"ANNIVERSARY", "X-ANNIVERSARY"},
    {"X-CHILDREN", "X-CHILDREN"},
    {"X-ASSISTANT", "X-ASSISTANT"},
    {"CATEGORIES", "X-CAT"},
    {"X-MICROSOFT-OFFICELOC", "X-MICROSOFT-OFFICELOC"},
}};

// A kind that is no word of 2.1 needs its "TYPE=".
std::string Head(std::string_view name, const CardProperty& property) {
  std::string head(name);
  for (const std::string& type : property.types) {
    head += type.starts_with("X-") ? ";TYPE=" : ";";
    head += type;
  }
  return head;
}

constexpr bool HasKinds(std::string_view name) {
  return name == "TEL"sv || name == "ADR"sv || name == "EMAIL"sv;
}

std::string StrictLine(const StrictRow& row, const CardProperty& property) {
  const std::string head =
      HasKinds(row.name) ? Head(row.strict, property) : std::string(row.strict);
  if (row.name != "NICKNAME"sv) return OldLine(head, property.components);
  std::string names;
  for (const std::string& name : property.components) names += (names.empty() ? "" : ", ") + name;
  return OldLine(head, names);
}

std::string StrictText(const Card& card) {
  constexpr size_t kUsualSize = 1024;
  std::string text;
  text.reserve(kUsualSize);
  text += "BEGIN:VCARD\r\nVERSION:2.1\r\n";
  for (const StrictRow& row : kStrict) {
    for (const CardProperty& property : card.properties) {
      if (property.name == row.name) text += StrictLine(row, property);
    }
  }
  // The reader takes it as it stands.
  const std::string_view luid = card.TextOf("X-IRMC-LUID");
  if (!luid.empty() && IsAsciiText(luid) && luid.find('\n') == std::string_view::npos) {
    text += "X-IRMC-LUID:" + std::string(luid) + "\r\n";
  }
  return text + "END:VCARD\r\n";
}

StrictObject StrictCard(const ObjectText& object, const TextSettings& settings,
                        std::vector<ObjectText>& inner) {
  StrictObject strict;
  strict.kind = ObjectKind::kCard;
  strict.line = object.line;
  if (!object.had_end) strict.report.Guessed("END");
  Card card = ReadCard(object, settings, strict.report);
  inner = std::move(card.inner);
  strict.uid = Trim(card.TextOf("UID"));
  strict.refusal = BringToStore(card, strict.report);
  if (strict.refusal.empty()) strict.text = StrictText(card);
  return strict;
}

}  // namespace

std::vector<StrictObject> StrictCards(const ObjectText& object, const TextSettings& settings) {
  std::vector<ObjectText> inner;
  std::vector<StrictObject> all = {StrictCard(object, settings, inner)};
  // Of a list of cards only the cards have a content.
  if (!inner.empty() && !all.front().refusal.empty()) all.clear();
  for (const ObjectText& one : inner) {
    std::vector<ObjectText> too_deep;
    all.push_back(StrictCard(one, settings, too_deep));
    all.back().report.Dropped("object inside of the card", too_deep.size());
  }
  return all;
}

}  // namespace dialects
