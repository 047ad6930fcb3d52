// A card is read in three steps. How it was written is found out first, since the version decides how its lines are
// broken and what its escapes are; some programs write the escapes of 3.0 into cards that say 2.1. Each line then
// becomes a property of the model's own name, its value decoded by the shape that values of that name have. What
// belongs to two properties comes last: the labels of groups, and what 4.0 writes as a parameter where the others have
// a property.
#include "dialects/card.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "dialects/card_names.h"
#include "dialects/value_text.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

// ---- How a card was written ---------------------------------------------------------------------------------

std::optional<CardVersion> VersionByNumber(std::string_view text) {
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  if (number < 2.5) return CardVersion::k21;
  return number < 3.5 ? CardVersion::k30 : CardVersion::k40;
}

// "TYPE=HOME,WORK" before the colon of any line, which is no form of 2.1.
bool HasTypeList(std::string_view text) {
  while (!text.empty()) {
    const std::string_view physical = TakePhysicalLine(text);
    const std::string_view head = physical.substr(0, physical.find(':'));
    if (head.find(',') != std::string_view::npos && ContainsIgnoringCase(head, ";TYPE=")) {
      return true;
    }
  }
  return false;
}

// An escape that only the later versions have, and no second byte of a double-byte character.
bool HasEscaped(std::string_view text, char c) {
  for (size_t i = text.find('\\'); i != std::string_view::npos; i = text.find('\\', i + 2)) {
    const bool is_second_byte = i > 0 && static_cast<unsigned char>(text[i - 1]) >= 0x80;
    if (i + 1 < text.size() && text[i + 1] == c && !is_second_byte) return true;
  }
  return false;
}

// The version has to be known before the lines are, so of a card that names none the text itself is looked at.
CardVersion VersionOfCard(std::string_view text, Report& report) {
  const std::optional<CardVersion> version = VersionByNumber(VersionOf(text));
  if (version) return *version;
  report.Guessed("version");
  const bool is_30 = HasTypeList(text) && (HasEscaped(text, ',') || HasEscaped(text, 'n'));
  return is_30 ? CardVersion::k30 : CardVersion::k21;
}

// A card of 2.1 with what only 3.0 has was written by a program that escapes as 3.0 does.
Escapes EscapesOf(CardVersion version, std::string_view text,
                  const std::vector<ContentLine>& lines) {
  if (version != CardVersion::k21) return Escapes::kModern;
  const bool has_list = std::ranges::any_of(lines, &ContentLine::has_type_list);
  return has_list || HasEscaped(text, ',') ? Escapes::kModern : Escapes::kOld;
}

const LineRules& RulesOf(CardVersion version) {
  if (version == CardVersion::k21) return kOldLines;
  return version == CardVersion::k30 ? kVCard3Lines : kModernLines;
}

// ---- Values -------------------------------------------------------------------------------------------------

constexpr std::string_view kEncodedLineBreak = "=0D=0A";

std::string Replaced(std::string_view text, std::string_view what, std::string_view with) {
  std::string replaced;
  for (size_t at = text.find(what); at != std::string_view::npos; at = text.find(what)) {
    replaced += text.substr(0, at);
    replaced += with;
    text.remove_prefix(at + what.size());
  }
  return replaced += text;
}

// A line break is a line feed in the model, and a text has no zero.
void Tidy(std::string& text) {
  if (text.find('\0') != std::string::npos) std::erase(text, '\0');
  size_t end = text.find('\r');
  if (end == std::string::npos) return;
  for (size_t i = end; i < text.size(); ++i) {
    const bool is_pair = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (!is_pair) text[end++] = text[i] == '\r' ? '\n' : text[i];
  }
  text.resize(end);
}

// The components of a decoded value of 3.0 or 4.0. Senders that know of no lists write a comma that is text without
// its backslash; a blank comes after it then.
std::vector<std::string> ModernComponents(std::string_view text, bool has_lists) {
  std::vector<std::string> components(1);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (c == '\\' && next != '\0') {
      components.back() += next == 'n' || next == 'N' ? '\n' : next;
      ++i;
    } else if (c == ';') {
      components.emplace_back();
    } else {
      components.back() += c == ',' && has_lists && next != ' ' ? kListSeparator : c;
    }
  }
  return components;
}

std::vector<std::string> SplitAt(std::string_view text, std::string_view separators) {
  std::vector<std::string> pieces;
  for (;;) {
    const size_t end = text.find_first_of(separators);
    pieces.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

// The entries of a list. The old forms have no escape for a comma.
std::vector<std::string> ListEntries(const ValueDecoder& decoder, const ContentLine& line) {
  std::vector<std::string> entries;
  if (decoder.escapes() == Escapes::kOld) {
    for (const std::string& component : decoder.Components(line)) {
      for (std::string& entry : SplitAt(component, ",")) entries.push_back(std::move(entry));
    }
    return entries;
  }
  const std::string decoded = decoder.Decoded(line);
  for (const std::string_view part : SplitUnescaped(decoded, ';')) {
    for (const std::string_view entry : SplitUnescaped(part, ',')) {
      entries.push_back(Unescaped(Trim(entry), Escapes::kModern));
    }
  }
  return entries;
}

std::vector<std::string> Structured(const ValueDecoder& decoder, const ContentLine& line,
                                    bool has_lists) {
  const bool is_split_first =
      decoder.escapes() == Escapes::kOld || EncodingOf(line) == Encoding::kQuotedPrintable;
  if (is_split_first) return decoder.Components(line);
  return ModernComponents(decoder.Decoded(line), has_lists);
}

std::vector<std::string> One(std::string text) {
  std::vector<std::string> one;
  one.push_back(std::move(text));
  return one;
}

std::vector<std::string> Place(std::string text) {
  constexpr std::string_view kScheme = "GEO:";
  if (StartsIgnoringCase(text, kScheme)) {
    text.erase(0, kScheme.size());
    text.erase(std::min(text.find(';'), text.size()));
  }
  std::vector<std::string> pieces = SplitAt(text, ",;");
  if (pieces.size() == 2) return pieces;
  return One(std::move(text));
}

// The line's value is used up.
std::vector<std::string> ComponentsOf(const ValueDecoder& decoder, ContentLine& line,
                                      CardShape shape) {
  switch (shape) {
    case CardShape::kStructured:
      return Structured(decoder, line, true);
    case CardShape::kOrganised:
      return Structured(decoder, line, false);
    case CardShape::kList:
      return ListEntries(decoder, line);
    case CardShape::kPlace:
      return Place(decoder.Text(std::move(line)));
    default:
      return One(decoder.Text(std::move(line)));
  }
}

// True for what can be a name in every version.
bool IsWord(std::string_view text) {
  const auto is_special = [](char c) {
    return c == ':' || c == ';' || c == ',' || c == '=' || c == '"' || c == '\\';
  };
  return !text.empty() &&
         std::ranges::all_of(text, [&](char c) { return c > ' ' && c <= '~' && !is_special(c); });
}

// ---- Parameters ---------------------------------------------------------------------------------------------

// Words that 2.1 has without "VALUE=".
bool IsValueWord(std::string_view word) {
  return word == "URL"sv || word == "URI"sv || word == "CONTENT-ID"sv || word == "CID"sv ||
         word == "INLINE"sv;
}

constexpr int kLastPreference = 100;

int PreferenceOf(std::string_view text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return std::clamp(number, 0, kLastPreference);
}

void AddValueKind(CardProperty& property, std::string_view kind) {
  if (kind == "INLINE"sv || !IsWord(kind)) return;
  property.params.push_back({"VALUE", kind == "URL"sv ? "URI" : std::string(kind)});
}

// In 4.0 the kinds that it does not know are "x-" words.
std::string_view CanonicalType(std::string_view type) {
  if (type == "RADIO"sv) return "X-RADIO";
  if (type == "ASSISTANT"sv || type == "X-EVOLUTION-ASSISTANT"sv) return "X-ASSISTANT";
  if (type.starts_with("X-") && IsOldCardType(type.substr(2))) return type.substr(2);
  return type;
}

// More kinds than that are nobody's, and would have to be looked through for each of them.
constexpr size_t kMostTypes = 32;

void TakeType(CardProperty& property, std::string_view sent) {
  if (property.types.size() == kMostTypes) return;
  if (property.types.empty()) property.types.reserve(2);
  const std::string word = ToUpper(sent);
  if (!IsWord(word)) return;
  if (word == "PREF"sv) {
    if (property.preference == 0) property.preference = 1;
  } else if (IsValueWord(word)) {
    AddValueKind(property, word);
  } else if (const std::string_view type = CanonicalType(word); !property.HasType(type)) {
    property.types.emplace_back(type);
  }
}

void TakeParameter(CardProperty& property, Parameter& param) {
  if (param.name == "TYPE"sv) {
    TakeType(property, param.value);
  } else if (param.name == "PREF"sv) {
    property.preference = PreferenceOf(param.value);
  } else if (param.name == "VALUE"sv) {
    AddValueKind(property, ToUpper(param.value));
  } else if (param.name != "ENCODING"sv && param.name != "CHARSET"sv && IsWord(param.name)) {
    if (!IsUtf8(param.value)) param.value = ToUtf8From("ISO-8859-1", param.value).value_or("");
    property.params.push_back(std::move(param));
  }
}

bool IsUriText(std::string_view text) {
  const size_t colon = text.find(':');
  return colon != std::string_view::npos && colon > 0 &&
         text.find_first_of(" \t\n") == std::string_view::npos;
}

// ---- Properties that are written in several ways ------------------------------------------------------------

// "tel:+1-555;ext=5" is the number "+1-555 x5".
void TakeNumberOfUri(CardProperty& property) {
  std::string& number = property.components.front();
  if (!StartsIgnoringCase(number, "TEL:")) return;
  number.erase(0, 4);
  property.RemoveParams("VALUE");
  const size_t extension = number.find(";ext=");
  if (extension != std::string::npos) number.replace(extension, 5, " x");
}

void TakeAddressOfUri(CardProperty& property) {
  std::string& address = property.components.front();
  if (StartsIgnoringCase(address, "MAILTO:")) address.erase(0, 7);
}

// What the library stores of relations are names.
void TakeRelation(CardProperty& property) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kRelations = {
      {{"SPOUSE", "X-SPOUSE"}, {"CHILD", "X-CHILDREN"}, {"AGENT", "X-ASSISTANT"}}};
  if (property.Param("VALUE") != "TEXT"sv && IsUriText(property.Text())) return;
  for (const auto& [type, name] : kRelations) {
    if (!property.HasType(type)) continue;
    property.name = name;
    property.RemoveType(type);
    property.RemoveParams("VALUE");
    return;
  }
}

// What the bytes are is one word; whatever else is no word for a place goes.
void SetMediaType(CardProperty& property, std::string_view media) {
  std::erase_if(property.types,
                [](const std::string& type) { return type != "HOME"sv && type != "WORK"sv; });
  std::string type = TypeOfMedia(media);
  if (IsWord(type)) property.types.push_back(std::move(type));
}

// A picture inside of a URI of 4.0: "data:image/jpeg;base64,...".
void TakeDataOfUri(CardProperty& property) {
  constexpr std::string_view kScheme = "DATA:";
  constexpr std::string_view kBase64 = ";base64";
  const std::string media(property.Param("MEDIATYPE"));
  property.RemoveParams("MEDIATYPE");
  if (!media.empty()) SetMediaType(property, media);
  std::string& uri = property.components.front();
  const size_t comma = uri.find(',');
  if (property.is_binary || comma == std::string::npos || !StartsIgnoringCase(uri, kScheme)) return;
  const std::string_view kind =
      std::string_view(uri).substr(kScheme.size(), comma - kScheme.size());
  if (!kind.ends_with(kBase64)) return;
  const std::string kind_of_media(kind.substr(0, kind.find(';')));
  SetMediaType(property, kind_of_media);
  property.RemoveParams("VALUE");
  uri.erase(0, comma + 1);
  std::erase_if(uri, [](char c) { return c == '\n' || IsBlankOrTab(c); });
  property.is_binary = true;
}

// ---- Reader -------------------------------------------------------------------------------------------------

// A line as it was sent, for a card inside of a card.
std::string RawLine(const ContentLine& line) {
  std::string raw = line.group.empty() ? line.name : line.group + "." + line.name;
  for (const auto& [name, value] : line.params) {
    if (!IsUtf8(name) || !IsUtf8(value)) continue;
    raw += ';' + (name == "TYPE"sv ? value : name + "=" + value);
  }
  return raw + ":" + line.value;
}

class CardReader {
 public:
  CardReader(Card& card, const ValueDecoder& decoder, Report& report)
      : card_(card), decoder_(decoder), report_(report) {}

  void Take(ContentLine& line) {
    const bool is_begin = line.name == "BEGIN"sv;
    const bool is_end = line.name == "END"sv;
    if (is_begin) ++depth_;
    if (depth_ > 1) {
      TakeNested(line, is_begin);
    } else if (!is_begin && !is_end && line.name != "VERSION"sv) {
      TakeLine(line);
    }
    if (is_end && depth_ > 0) --depth_;
  }

  // The cards of an agent that were not ended are.
  void Finish() {
    if (nested_ != Nested::kAgent) return;
    for (; depth_ > 1; --depth_) card_.properties.back().components.front() += "END:VCARD\n";
  }

 private:
  // AGENT's card comes on the lines after it; lists of cards have theirs one after the other.
  void TakeNested(ContentLine& line, bool is_begin) {
    if (is_begin && depth_ == 2) BeginNested(line);
    if (nested_ == Nested::kAgent) TakeOfAgent(line);
    if (nested_ == Nested::kCard) card_.inner.back().text += RawLine(line) + "\r\n";
  }

  // What goes on as one text has one character set.
  void TakeOfAgent(ContentLine& line) {
    if (!IsWord(line.name) || !(line.group.empty() || IsWord(line.group))) return;
    if (EncodingOf(line) == Encoding::kNone && !IsAsciiText(line.value)) {
      line.value = decoder_.Decoded(line);
      line.RemoveParams("CHARSET");
    }
    std::string& card = card_.properties.back().components.front();
    card += RawLine(line) + "\n";
  }

  void BeginNested(const ContentLine& begin) {
    const CardProperty* last = card_.properties.empty() ? nullptr : &card_.properties.back();
    if (last != nullptr && last->name == "AGENT"sv && last->IsEmpty()) {
      nested_ = Nested::kAgent;
    } else if (EqualsIgnoringCase(Trim(begin.value), "VCARD")) {
      nested_ = Nested::kCard;
      card_.inner.push_back({.kind = ObjectKind::kCard, .line = begin.line});
    } else {
      nested_ = Nested::kDropped;
      report_.Dropped("object inside of the card");
    }
  }

  void TakeLine(ContentLine& line) {
    const bool has_group = line.group.empty() || IsWord(line.group);
    if (IsWord(line.name) && has_group) return TakeProperty(line);
    report_.Dropped("line without a name");
  }

  void TakeProperty(ContentLine& line) {
    CardProperty& property = card_.properties.emplace_back();
    property.line = line.line;
    property.name = CanonicalCardName(line.name);
    const CardShape shape = ShapeOf(property.name);
    TakeValue(line, shape, property);
    property.group = std::move(line.group);
    std::string label;
    std::string sort_key;
    for (Parameter& param : line.params) {
      if (param.name == "LABEL"sv && property.name == "ADR"sv) {
        label = std::move(param.value);
      } else if (param.name == "SORT-AS"sv && property.name == "N"sv) {
        sort_key = std::move(param.value);
      } else {
        TakeParameter(property, param);
      }
    }
    // Under all its other names a number is the assistant's.
    if (property.name == "TEL"sv && line.name != "TEL"sv) property.types = {"X-ASSISTANT"};
    TakeDialect(shape, property);
    if (!label.empty()) AddLabel(label);
    if (!sort_key.empty()) card_.Add("SORT-STRING", {std::move(sort_key)});
  }

  void TakeValue(ContentLine& line, CardShape shape, CardProperty& property) {
    const Encoding encoding = EncodingOf(line);
    const auto is_binary = [&] {
      return shape == CardShape::kBinary || !IsKnownCardName(property.name);
    };
    if (encoding == Encoding::kBase64 && is_binary()) {
      std::erase_if(line.value, IsBlankOrTab);
      property.components = One(std::move(line.value));
      property.is_binary = true;
      return;
    }
    if (encoding == Encoding::kNone && card_.version == CardVersion::k21 &&
        line.value.find(kEncodedLineBreak) != std::string::npos) {
      line.value = Replaced(line.value, kEncodedLineBreak, "\r\n");
    }
    property.components = ComponentsOf(decoder_, line, shape);
    for (std::string& component : property.components) Tidy(component);
  }

  void TakeDialect(CardShape shape, CardProperty& property) {
    const std::string& name = property.name;
    if (name == "TEL"sv) {
      TakeNumberOfUri(property);
    } else if (name == "EMAIL"sv) {
      TakeAddressOfUri(property);
    } else if (name == "RELATED"sv) {
      TakeRelation(property);
    } else if (shape == CardShape::kBinary) {
      TakeDataOfUri(property);
    }
  }

  // Of the address that was read last. It stands before it.
  void AddLabel(std::string_view sent) {
    // Many senders write the escapes of texts where RFC 6868 has "^n".
    std::string text = Replaced(Replaced(sent, "\\n", "\n"), "\\,", ",");
    CardProperty label;
    label.name = "LABEL";
    label.types = card_.properties.back().types;
    label.line = card_.properties.back().line;
    label.components = One(std::move(text));
    card_.properties.insert(card_.properties.end() - 1, std::move(label));
  }

  Card& card_;
  const ValueDecoder& decoder_;
  Report& report_;
  enum class Nested { kDropped, kAgent, kCard };

  int depth_ = 0;
  Nested nested_ = Nested::kDropped;  // what the object inside is
};

// ---- What belongs to two properties -------------------------------------------------------------------------

// DEPT is the second component of the organisation, whichever of the two comes first; where that is another, one more.
void JoinDepartments(Card& card) {
  if (card.Find("DEPT") == nullptr) return;
  const std::vector<CardProperty> departments = TakeProperties(card, "DEPT");
  CardProperty* organisation = card.Find("ORG");
  if (organisation == nullptr) organisation = &card.Add("ORG", {""});
  auto& components = organisation->components;
  components.resize(std::max<size_t>(components.size(), 2));
  std::set<std::string, std::less<>> known(components.begin() + 1, components.end());
  for (const CardProperty& department : departments) {
    if (department.IsEmpty() || !known.insert(department.Text()).second) continue;
    if (components[1].empty()) {
      components[1] = department.Text();
    } else {
      components.push_back(department.Text());
    }
  }
}

struct LabelledRow {
  std::string_view name;
  std::string_view label;
  std::string_view means;
};

constexpr std::array<LabelledRow, 6> kLabelled = {{
    {"X-ABDATE", "ANNIVERSARY", "ANNIVERSARY"},
    {"X-ABRELATEDNAMES", "SPOUSE", "X-SPOUSE"},
    {"X-ABRELATEDNAMES", "CHILD", "X-CHILDREN"},
    {"X-ABRELATEDNAMES", "SON", "X-CHILDREN"},
    {"X-ABRELATEDNAMES", "DAUGHTER", "X-CHILDREN"},
    {"X-ABRELATEDNAMES", "ASSISTANT", "X-ASSISTANT"},
}};

void TakeMeaningOfLabel(CardProperty& property) {
  const std::string word = LabelWord(property.label);
  const auto* row = std::ranges::find_if(kLabelled, [&](const LabelledRow& labelled) {
    return labelled.name == property.name && labelled.label == word;
  });
  if (row == kLabelled.end()) return;
  property.name = row->means;
  property.label.clear();
  property.group.clear();
}

constexpr std::string_view kLabelName = "X-ABLABEL";

// More is no label, and would be copied into every property of its group.
constexpr size_t kLongestLabel = 255;

// The labels go into the properties of their group, whose name has no case; one of nothing stays.
void ResolveLabels(Card& card) {
  std::map<std::string, std::string, std::less<>> labels;
  for (const CardProperty& property : card.properties) {
    const bool is_short = property.Text().size() <= kLongestLabel;
    if (property.name == kLabelName && !property.group.empty() && is_short) {
      labels.emplace(ToUpper(property.group), property.Text());
    }
  }
  if (labels.empty()) return;
  std::set<std::string, std::less<>> used;
  for (CardProperty& property : card.properties) {
    if (property.name == kLabelName || property.group.empty()) continue;
    const auto label = labels.find(ToUpper(property.group));
    if (label == labels.end()) continue;
    used.insert(label->first);
    property.label = label->second;
    TakeMeaningOfLabel(property);
  }
  std::erase_if(card.properties, [&](const CardProperty& property) {
    return property.name == kLabelName && used.contains(ToUpper(property.group));
  });
}

// RFC 2426, section 3.2.1: an address of no kind is one at work, and its label too. "postal" alone says that it is of
// no kind, and so does a label of the sender's own.
void TakeKindsOfAddresses30(Card& card) {
  for (CardProperty& property : card.properties) {
    if (property.name != "ADR"sv && property.name != "LABEL"sv) continue;
    if (property.types == std::vector<std::string>{"POSTAL"}) {
      property.types.clear();
    } else if (property.types.empty() && property.label.empty()) {
      property.types.emplace_back("WORK");
    }
  }
}

// The later versions are UTF-8, whatever a CHARSET says, unless the bytes contradict.
void IgnoreCharsets(std::vector<ContentLine>& lines) {
  for (ContentLine& line : lines) {
    if (line.Param("CHARSET").empty() || EncodingOf(line) != Encoding::kNone) continue;
    if (IsUtf8(line.value)) line.RemoveParams("CHARSET");
  }
}

template <typename Properties>
auto FindIn(Properties& properties, std::string_view name) -> decltype(properties.data()) {
  decltype(properties.data()) first = nullptr;
  for (auto& property : properties) {
    if (property.name != name) continue;
    if (!property.IsEmpty()) return &property;
    if (first == nullptr) first = &property;
  }
  return first;
}

}  // namespace

bool CardProperty::IsEmpty() const {
  const auto is_blank = [](const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return IsBlankOrTab(c) || c == kListSeparator; });
  };
  return std::ranges::all_of(components, is_blank);
}

bool CardProperty::HasType(std::string_view type) const {
  return std::ranges::find(types, type) != types.end();
}

void CardProperty::RemoveType(std::string_view type) { std::erase(types, type); }

std::string_view CardProperty::Param(std::string_view param) const {
  const auto found = std::ranges::find(params, param, &Parameter::name);
  return found == params.end() ? std::string_view() : std::string_view(found->value);
}

void CardProperty::RemoveParams(std::string_view param) {
  std::erase_if(params, [&](const Parameter& one) { return one.name == param; });
}

CardProperty* Card::Find(std::string_view name) { return FindIn(properties, name); }

const CardProperty* Card::Find(std::string_view name) const { return FindIn(properties, name); }

std::string_view Card::TextOf(std::string_view name) const {
  const CardProperty* property = Find(name);
  return property == nullptr ? std::string_view() : std::string_view(property->Text());
}

CardProperty& Card::Add(std::string_view name, std::vector<std::string> components) {
  CardProperty& property = properties.emplace_back();
  property.name = name;
  property.components = std::move(components);
  return property;
}

Card ReadCard(const ObjectText& object, const TextSettings& settings, Report& report) {
  const CardVersion version = VersionOfCard(object.text, report);
  const bool is_modern = version != CardVersion::k21;
  std::vector<ContentLine> lines =
      ReadContentLines(object.text, object.line, RulesOf(version), report);
  if (is_modern) IgnoreCharsets(lines);
  const ValueDecoder decoder(lines, EscapesOf(version, object.text, lines), settings,
                             object.has_byte_order_mark || is_modern, report);
  // That is what the later versions are.
  if (is_modern) report.changed.erase("UTF-8 declared");

  Card card;
  card.version = version;
  card.properties.reserve(lines.size());
  CardReader reader(card, decoder, report);
  for (ContentLine& line : lines) reader.Take(line);
  reader.Finish();
  JoinDepartments(card);
  ResolveLabels(card);
  if (version == CardVersion::k30) TakeKindsOfAddresses30(card);
  return card;
}

std::vector<CardProperty> TakeProperties(Card& card, std::string_view name) {
  std::vector<CardProperty>& properties = card.properties;
  std::vector<CardProperty> taken;
  auto end = std::ranges::find(properties, name, &CardProperty::name);
  const auto count = std::ranges::count(end, properties.end(), name, &CardProperty::name);
  taken.reserve(static_cast<size_t>(count));
  for (auto property = end; property != properties.end(); ++property) {
    if (property->name == name) {
      taken.push_back(std::move(*property));
    } else {
      *end++ = std::move(*property);
    }
  }
  properties.erase(end, properties.end());
  return taken;
}

std::string WithoutLists(std::string_view component, std::string_view separator) {
  if (component.find(kListSeparator) == std::string_view::npos) return std::string(component);
  std::string text;
  for (const char c : component) {
    if (c == kListSeparator) {
      text += separator;
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace dialects
