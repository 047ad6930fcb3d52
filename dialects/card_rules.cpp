// A card goes through the rules of one table from top to bottom. First the ways of writing go that mean nothing to the
// store (groups, languages, preferences), then single properties get their form, then the properties of which there may
// be several are shown to the store's places. What finds none is a line of the note, so that a person still has it;
// for that the note comes late. What is still on the card then has no place, and its name is reported.
#include "dialects/card_rules.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "dialects/card_derive.h"
#include "dialects/card_names.h"
#include "dialects/card_telephones.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

// A card on its way.
struct Draft {
  Card& card;
  Report& report;
  std::string refusal;
  std::vector<std::string> note_lines;  // for what has no place
};

// Of a name all properties, in their order.
std::vector<CardProperty*> AllOf(Card& card, std::string_view name) {
  std::vector<CardProperty*> all;
  for (CardProperty& property : card.properties) {
    if (property.name == name) all.push_back(&property);
  }
  return all;
}

void RefuseGroup(Draft& draft) {
  if (EqualsIgnoringCase(draft.card.TextOf("KIND"), "group")) {
    draft.refusal = "a group of contacts (KIND:group), not a contact";
  }
}

// The library's own reader knows these, and other programs mean nothing by them here.
void RemoveFrames(Draft& draft) {
  std::erase_if(draft.card.properties, [](const CardProperty& property) {
    const bool is_default =
        property.name == "KIND"sv && EqualsIgnoringCase(property.Text(), "individual");
    return property.name.empty() || is_default;
  });
}

// ---- Groups and labels --------------------------------------------------------------------------------------

struct LabelRow {
  std::string_view word;
  std::array<std::string_view, 2> types;
  bool is_preferred;
};

constexpr std::array<LabelRow, 13> kLabels = {{
    {"HOME", {"HOME"}, false},
    {"WORK", {"WORK"}, false},
    {"OTHER", {"VOICE"}, false},
    {"MAIN", {"VOICE"}, true},
    {"MOBILE", {"CELL"}, false},
    {"IPHONE", {"CELL"}, false},
    {"CELL", {"CELL"}, false},
    {"HOMEFAX", {"HOME", "FAX"}, false},
    {"WORKFAX", {"WORK", "FAX"}, false},
    {"OTHERFAX", {"FAX"}, false},
    {"PAGER", {"PAGER"}, false},
    {"ASSISTANT", {"X-ASSISTANT"}, false},
    {"HOMEPAGE", {}, false},
}};

void TakeLabel(CardProperty& property, Report& report) {
  const std::string word = LabelWord(property.label);
  const auto* row = std::ranges::find(kLabels, word, &LabelRow::word);
  if (row == kLabels.end()) {
    report.Dropped("X-ABLABEL");
    return;
  }
  if (property.name == "URL"sv) property.RemoveType("HOME");
  for (const std::string_view type : row->types) {
    const bool is_new = !type.empty() && !property.HasType(type);
    if (is_new && (property.name == "TEL"sv || type == "HOME"sv || type == "WORK"sv)) {
      property.types.emplace_back(type);
    }
  }
  if (row->is_preferred && property.preference == 0) property.preference = 1;
  report.Changed("label");
}

void RemoveGroups(Draft& draft) {
  for (CardProperty& property : draft.card.properties) {
    if (!property.group.empty()) draft.report.Changed("group prefix");
    property.group.clear();
    if (!property.label.empty()) TakeLabel(property, draft.report);
    property.label.clear();
  }
}

// ---- Order --------------------------------------------------------------------------------------------------

// The preferred ones first, those of no preference last.
void SortByPreference(Draft& draft) {
  constexpr int kNone = 101;
  const auto rank = [](const CardProperty& property) {
    return property.preference == 0 ? kNone : property.preference;
  };
  std::vector<CardProperty>& properties = draft.card.properties;
  if (std::ranges::is_sorted(properties, {}, rank)) return;
  std::vector<CardProperty*> order;
  order.reserve(properties.size());
  for (CardProperty& property : properties) order.push_back(&property);
  std::ranges::stable_sort(order, {}, [&](const CardProperty* one) { return rank(*one); });
  std::vector<CardProperty> sorted;
  sorted.reserve(properties.size());
  for (CardProperty* property : order) sorted.push_back(std::move(*property));
  properties = std::move(sorted);
}

// Properties of one name and ALTID say the same in several languages.
void KeepOneLanguage(Draft& draft) {
  std::set<std::pair<std::string, std::string>> seen;
  std::erase_if(draft.card.properties, [&](const CardProperty& property) {
    const std::string_view id = property.Param("ALTID");
    if (id.empty() || seen.emplace(property.name, id).second) return false;
    draft.report.Dropped(property.name + " (in another language)");
    return true;
  });
}

// ---- Names --------------------------------------------------------------------------------------------------

void TakeName(Draft& draft) {
  const CardProperty* name = draft.card.Find("N");
  if (name != nullptr && !name->IsEmpty()) return;
  std::optional<DerivedName> derived = DeriveName(draft.card);
  draft.report.Guessed(derived ? "name from " + std::string(derived->source) : "no name");
  TakeProperties(draft.card, "N");
  draft.card.Add("N", derived ? std::move(derived->components) : std::vector<std::string>{""});
}

// ---- Components ---------------------------------------------------------------------------------------------

void FlattenLists(CardProperty& property) {
  for (std::string& component : property.components) {
    std::ranges::replace(component, kListSeparator, ' ');
  }
}

// What comes after the last component that there is goes into `into`.
void JoinSurplus(Draft& draft, CardProperty& property, size_t most, size_t into,
                 std::string_view separator) {
  std::vector<std::string>& components = property.components;
  if (components.size() <= most) return;
  for (size_t i = most; i < components.size(); ++i) {
    if (components[i].empty()) continue;
    if (!components[into].empty()) components[into] += separator;
    components[into] += components[i];
    draft.report.Changed(property.name + " of many components");
  }
  components.resize(most);
}

struct ComponentsRow {
  std::string_view name;
  size_t most;
  size_t into;
  std::string_view separator;
};

constexpr std::array<ComponentsRow, 3> kComponents = {{
    {"N", 5, 4, " "},
    {"ADR", 7, 2, " "},
    {"ORG", 2, 1, ", "},
}};

void LimitComponents(Draft& draft) {
  for (CardProperty& property : draft.card.properties) {
    const auto* row = std::ranges::find(kComponents, property.name, &ComponentsRow::name);
    if (row == kComponents.end()) continue;
    FlattenLists(property);
    JoinSurplus(draft, property, row->most, row->into, row->separator);
  }
}

// ---- Properties of which the store has one ------------------------------------------------------------------

void TakeRole(Draft& draft) {
  CardProperty* role = draft.card.Find("ROLE");
  const CardProperty* title = draft.card.Find("TITLE");
  const bool has_title = title != nullptr && !title->IsEmpty();
  if (role == nullptr || role->IsEmpty() || has_title) return;
  role->name = "TITLE";
  draft.report.Changed("ROLE to TITLE");
}

// The agents' names, not a card or an address of one.
void TakeAgent(Draft& draft) {
  if (!draft.card.TextOf("X-ASSISTANT").empty()) return;
  for (CardProperty* agent : AllOf(draft.card, "AGENT")) {
    const bool is_name = !agent->IsEmpty() && !StartsIgnoringCase(agent->Text(), "BEGIN") &&
                         agent->Param("VALUE") != "URI"sv;
    if (!is_name) continue;
    agent->name = "X-ASSISTANT";
    draft.report.Changed("AGENT to X-ASSISTANT");
  }
}

void JoinDates(Draft& draft, std::string_view name) {
  for (CardProperty& date : TakeProperties(draft.card, name)) {
    if (date.IsEmpty()) {
      draft.card.properties.push_back(std::move(date));
      continue;
    }
    const std::optional<Day> day = DayOf(date);
    if (!day) {
      draft.report.Dropped(std::string(name) + " (no whole date)");
      continue;
    }
    if (day->is_guessed) draft.report.Guessed("day and month of " + std::string(name));
    date.components = {day->text};
    draft.card.properties.push_back(std::move(date));
  }
}

void TakeDates(Draft& draft) {
  JoinDates(draft, "BDAY");
  JoinDates(draft, "ANNIVERSARY");
}

constexpr std::array<std::string_view, 10> kSingle = {
    "N",    "FN",          "TITLE",    "ROLE",     "ORG",
    "BDAY", "ANNIVERSARY", "X-SPOUSE", "NICKNAME", "X-MICROSOFT-OFFICELOC"};

// Keeps the first that is not empty. An empty one stays where there is no other: it clears what is stored.
void KeepFirst(Draft& draft, std::string_view name) {
  if (std::ranges::count(draft.card.properties, name, &CardProperty::name) < 2) return;
  const std::vector<CardProperty*> all = AllOf(draft.card, name);
  const CardProperty* found = draft.card.Find(name);
  CardProperty kept = *found;
  for (const CardProperty* other : all) {
    const bool is_new = !other->IsEmpty() && other->components != kept.components;
    if (is_new) draft.report.Dropped(std::string(name) + " (another)");
  }
  TakeProperties(draft.card, name);
  draft.card.properties.push_back(std::move(kept));
}

void KeepSingle(Draft& draft) {
  for (const std::string_view name : kSingle) KeepFirst(draft, name);
}

struct JoinedRow {
  std::string_view name;
  std::string_view separator;
  bool is_list;  // a comma in an entry separates two, once they are one text
};

constexpr std::array<JoinedRow, 3> kJoined = {{
    {"X-CHILDREN", ", ", true},
    {"CATEGORIES", ",", true},
    {"X-ASSISTANT", ", ", false},
}};

// The entries of all properties of a row's name, each once.
std::vector<std::string> EntriesOf(const std::vector<CardProperty>& properties,
                                   const JoinedRow& row) {
  std::vector<std::string> entries;
  std::set<std::string, std::less<>> seen;
  const auto add = [&](std::string_view entry) {
    if (row.separator == ", "sv) entry = Trim(entry);
    if (!entry.empty() && seen.emplace(entry).second) entries.emplace_back(entry);
  };
  for (const CardProperty& property : properties) {
    for (std::string_view text : property.components) {
      for (size_t comma = text.find(','); row.is_list && comma != std::string_view::npos;
           comma = text.find(',')) {
        add(text.substr(0, comma));
        text.remove_prefix(comma + 1);
      }
      add(text);
    }
  }
  return entries;
}

void JoinTexts(Draft& draft, const JoinedRow& row) {
  const std::vector<CardProperty> all = TakeProperties(draft.card, row.name);
  if (all.empty()) return;
  std::string text;
  for (const std::string& entry : EntriesOf(all, row)) {
    if (!text.empty()) text += row.separator;
    text += entry;
  }
  draft.card.Add(row.name, {text});
}

void JoinLists(Draft& draft) {
  for (const JoinedRow& row : kJoined) JoinTexts(draft, row);
}

// ---- Properties for which the store has several places ------------------------------------------------------

void AddNoteLine(Draft& draft, std::string_view caption, const CardProperty& property) {
  std::string line(caption);
  line += ": ";
  bool is_first = true;
  for (const std::string& component : property.components) {
    if (component.empty()) continue;
    if (!is_first) line += ", ";
    line += component;
    is_first = false;
  }
  std::ranges::replace(line, '\n', ' ');
  draft.note_lines.push_back(std::move(line));
  draft.report.Changed(property.name + " to NOTE");
}

void TakeTelephones(Draft& draft) {
  for (const CardProperty& number : PlaceTelephones(draft.card, draft.report)) {
    AddNoteLine(draft, number.HasType("FAX") ? "Fax" : "Tel", number);
  }
}

// An address of another network has no "@".
bool IsInternetAddress(const CardProperty& email) {
  if (email.HasType("X400")) return false;
  if (email.HasType("INTERNET") || email.Text().find('@') != std::string::npos) return true;
  return std::ranges::all_of(
      email.types, [](const std::string& type) { return type == "HOME"sv || type == "WORK"sv; });
}

void TakeEmails(Draft& draft) {
  constexpr size_t kPlaces = 3;
  std::vector<std::string> taken;
  for (CardProperty& email : TakeProperties(draft.card, "EMAIL")) {
    if (email.IsEmpty() || std::ranges::find(taken, email.Text()) != taken.end()) continue;
    if (taken.size() == kPlaces || !IsInternetAddress(email)) {
      AddNoteLine(draft, "Email", email);
      continue;
    }
    if (!email.HasType("INTERNET")) draft.report.Changed("EMAIL is INTERNET");
    email.types = {"INTERNET"};
    if (taken.empty() && email.preference > 0) email.types.emplace_back("PREF");
    taken.push_back(email.Text());
    draft.card.properties.push_back(std::move(email));
  }
}

void TakeUrls(Draft& draft) {
  std::vector<CardProperty> urls = TakeProperties(draft.card, "URL");
  std::erase_if(urls, [](const CardProperty& url) { return url.IsEmpty(); });
  if (urls.empty()) return;
  auto page =
      std::ranges::find_if(urls, [](const CardProperty& url) { return !url.HasType("HOME"); });
  if (page == urls.end()) {
    page = urls.begin();
    draft.report.Changed("URL of a home");
  }
  const std::string text = page->Text();
  draft.card.Add("URL", {text});
  for (const CardProperty& url : urls) {
    if (url.Text() != text) AddNoteLine(draft, "URL", url);
  }
}

std::string_view KindOfAddress(const CardProperty& address) {
  if (address.HasType("HOME")) return "HOME";
  return address.HasType("WORK") ? "WORK" : "";
}

// A label is an address for printing: it is the street where there is no other address of its kind.
void TakeLabels(Draft& draft) {
  std::set<std::string_view> kinds;
  for (const CardProperty* address : AllOf(draft.card, "ADR")) {
    if (!address->IsEmpty()) kinds.insert(KindOfAddress(*address));
  }
  for (CardProperty& label : TakeProperties(draft.card, "LABEL")) {
    if (label.IsEmpty()) continue;
    if (!kinds.insert(KindOfAddress(label)).second) {
      draft.report.Dropped("LABEL");
      continue;
    }
    CardProperty& address = draft.card.Add("ADR", {"", "", label.Text()});
    address.types = std::move(label.types);
    draft.report.Changed("LABEL to ADR");
  }
}

// The extended address of a business address is the office, of which the store has one.
void KeepOffice(Draft& draft, CardProperty& address) {
  constexpr size_t kExtended = 1;
  constexpr size_t kStreet = 2;
  const std::string_view office = draft.card.TextOf("X-MICROSOFT-OFFICELOC");
  auto& components = address.components;
  if (office.empty() || components.size() <= kStreet || components[kExtended].empty()) return;
  if (components[kExtended] == office) return;
  components[kStreet] = std::exchange(components[kExtended], "") +
                        (components[kStreet].empty() ? "" : "\n") + components[kStreet];
}

// The first at home, the first at work, and one more.
void TakeAddresses(Draft& draft) {
  std::set<std::string, std::less<>> taken;
  std::vector<CardProperty> kept;
  const auto put = [&](CardProperty& address, std::string_view place) {
    if (!taken.emplace(place).second) return false;
    address.types.clear();
    if (!place.empty()) address.types.emplace_back(place);
    if (place == "WORK"sv) KeepOffice(draft, address);
    kept.push_back(std::move(address));
    return true;
  };
  for (CardProperty& address : TakeProperties(draft.card, "ADR")) {
    const bool is_twin = std::ranges::any_of(
        kept, [&](const CardProperty& one) { return one.components == address.components; });
    if (address.IsEmpty() || is_twin) continue;
    if (address.HasType("HOME") && put(address, "HOME")) continue;
    if (address.HasType("WORK") && put(address, "WORK")) continue;
    if (!put(address, "")) AddNoteLine(draft, "Address", address);
  }
  std::ranges::move(kept, std::back_inserter(draft.card.properties));
}

// ---- The note, and the rest ---------------------------------------------------------------------------------

void JoinNotes(Draft& draft) {
  const std::vector<CardProperty> notes = TakeProperties(draft.card, "NOTE");
  if (notes.empty() && draft.note_lines.empty()) return;
  std::string text;
  for (const CardProperty& note : notes) {
    if (note.IsEmpty()) continue;
    if (!text.empty()) {
      text += "\n\n";
      draft.report.Changed("NOTEs joined");
    }
    text += note.Text();
  }
  for (const std::string& line : draft.note_lines) {
    if (!text.empty()) text += '\n';
    text += line;
  }
  draft.card.Add("NOTE", {text});
}

// NICKNAME and ROLE are read, and find no place.
constexpr std::array<std::string_view, 16> kStored = {
    "N",          "FN",          "BDAY",       "ADR",
    "ORG",        "TITLE",       "TEL",        "URL",
    "EMAIL",      "NOTE",        "X-SPOUSE",   "ANNIVERSARY",
    "X-CHILDREN", "X-ASSISTANT", "CATEGORIES", "X-MICROSOFT-OFFICELOC"};
constexpr std::array<std::string_view, 2> kNotContent = {"X-IRMC-LUID", "UID"};

void ReportTheRest(Draft& draft) {
  for (const CardProperty& property : draft.card.properties) {
    const bool is_stored = std::ranges::find(kStored, property.name) != kStored.end() ||
                           std::ranges::find(kNotContent, property.name) != kNotContent.end();
    if (!is_stored && !property.IsEmpty()) draft.report.Dropped(property.name);
  }
}

void RefuseNothing(Draft& draft) {
  const bool has_any = std::ranges::any_of(draft.card.properties, [](const CardProperty& property) {
    return !property.IsEmpty() && std::ranges::find(kStored, property.name) != kStored.end();
  });
  if (!has_any) draft.refusal = "nothing to store: no name, number, address or text";
}

struct Rule {
  std::string_view cause;
  void (*apply)(Draft&);
};

constexpr std::array<Rule, 19> kRules = {{
    {"a group of contacts", RefuseGroup},
    {"lines that say nothing", RemoveFrames},
    {"group prefixes and labels", RemoveGroups},
    {"preferences", SortByPreference},
    {"several languages", KeepOneLanguage},
    {"no name", TakeName},
    {"more components than the store has", LimitComponents},
    {"a role and no title", TakeRole},
    {"an agent and no assistant", TakeAgent},
    {"dates in other forms", TakeDates},
    {"a second one of what the store has one of", KeepSingle},
    {"lists", JoinLists},
    {"telephone numbers without a place", TakeTelephones},
    {"mail addresses without a place", TakeEmails},
    {"web pages without a place", TakeUrls},
    {"labels for envelopes", TakeLabels},
    {"addresses without a place", TakeAddresses},
    {"several notes", JoinNotes},
    {"what has no place at all", ReportTheRest},
}};

}  // namespace

std::string BringToStore(Card& card, Report& report) {
  Draft draft{card, report, {}, {}};
  for (const Rule& rule : kRules) {
    rule.apply(draft);
    if (!draft.refusal.empty()) return draft.refusal;
  }
  RefuseNothing(draft);
  return draft.refusal;
}

}  // namespace dialects
