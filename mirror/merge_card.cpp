// The store's change is found between its two cards, planned against the file's (merge_plan.h), and written line by line.
// Before that the store's cards are brought nearer to the file where the store has put together what the file has apart:
// the note, which takes up what finds no other place, and the office, which is a part of the address. And the formatted
// name goes with the name, as most files have one that says the same.
#include "mirror/merge_card.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "dialects/card_derive.h"
#include "dialects/card_form.h"
#include "dialects/card_line.h"
#include "dialects/card_names.h"
#include "dialects/value_text.h"
#include "mirror/card_items.h"

namespace mirror {
namespace {

using namespace std::string_view_literals;
using dialects::CardProperty;
using dialects::CardVersion;

constexpr std::string_view kOffice = "X-MICROSOFT-OFFICELOC";

struct Cards {
  CardText before;
  CardText after;
  CardText base;
  CardText file;
};

// ---- The note -----------------------------------------------------------------------------------------------

constexpr std::string_view kBetweenNotes = "\n\n";

std::vector<std::string> NotesOf(const dialects::Card& card) {
  std::vector<std::string> notes;
  for (const CardProperty& property : card.properties) {
    if (property.name == "NOTE"sv && !property.IsEmpty()) notes.push_back(property.Text());
  }
  return notes;
}

std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

// A note without the lines that stand for other properties of the file; each is taken out once, from the end.
std::string WithoutLines(std::string_view note, const std::vector<std::string>& lines) {
  std::multiset<std::string> to_go(lines.begin(), lines.end());
  std::vector<std::string> kept;
  std::vector<std::string> all = LinesOf(note);
  for (auto line = all.rbegin(); line != all.rend(); ++line) {
    const auto found = to_go.find(*line);
    if (found == to_go.end()) {
      kept.push_back(std::move(*line));
    } else {
      to_go.erase(found);
    }
  }
  std::ranges::reverse(kept);
  std::string text = dialects::Joined(kept, "\n");
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// A note as the file's notes: those at its begin and end that are as they were, and what is between them.
std::vector<std::string> ApartAs(std::string note, const std::vector<std::string>& notes) {
  std::vector<std::string> first;
  std::vector<std::string> last;
  size_t begin = 0;
  size_t end = notes.size();
  for (; begin < end && note.starts_with(notes[begin] + std::string(kBetweenNotes)); ++begin) {
    note.erase(0, notes[begin].size() + kBetweenNotes.size());
    first.push_back(notes[begin]);
  }
  for (; end > begin && note.ends_with(std::string(kBetweenNotes) + notes[end - 1]); --end) {
    note.erase(note.size() - notes[end - 1].size() - kBetweenNotes.size());
    last.insert(last.begin(), notes[end - 1]);
  }
  if (!note.empty()) first.push_back(std::move(note));
  first.insert(first.end(), last.begin(), last.end());
  return first;
}

void SetNotes(dialects::Card& card, const std::vector<std::string>& notes) {
  dialects::TakeProperties(card, "NOTE");
  for (const std::string& note : notes) card.Add("NOTE", {note});
}

// The store has one note: the file's notes, and lines for numbers and addresses that found no place.
void TakeNotesApart(Cards& cards) {
  const std::vector<std::string> notes = NotesOf(cards.base.card);
  const std::string joined = dialects::Joined(notes, kBetweenNotes);
  const std::string before = dialects::Joined(NotesOf(cards.before.card), kBetweenNotes);
  if (!before.starts_with(joined)) return;
  const std::vector<std::string> lines = LinesOf(std::string_view(before).substr(joined.size()));
  if (lines.empty() && notes.size() < 2) return;
  const std::string after = dialects::Joined(NotesOf(cards.after.card), kBetweenNotes);
  SetNotes(cards.before.card, notes);
  SetNotes(cards.after.card, ApartAs(WithoutLines(after, lines), notes));
}

// ---- The office ---------------------------------------------------------------------------------------------

void TakeOfficeOut(dialects::Card& card) {
  constexpr size_t kExtended = 1;
  for (CardProperty& property : card.properties) {
    const bool has_office = property.name == "ADR"sv && property.HasType("WORK") &&
                            property.components.size() > kExtended &&
                            !property.components[kExtended].empty();
    if (!has_office || !card.TextOf(kOffice).empty()) continue;
    std::string office = std::exchange(property.components[kExtended], {});
    card.Add(kOffice, {std::move(office)});
    return;
  }
}

// Written for others, the office is the extended address of the business. A file that has a line of its own for it keeps
// that.
void TakeOfficesOut(Cards& cards) {
  if (cards.base.card.TextOf(kOffice).empty()) return;
  TakeOfficeOut(cards.before.card);
  TakeOfficeOut(cards.after.card);
}

// ---- Names --------------------------------------------------------------------------------------------------

std::vector<std::string> NameOf(const dialects::Card& card) {
  const CardProperty* name = card.Find("N");
  return name == nullptr || name->IsEmpty() ? std::vector<std::string>() : StoreComponents(*name);
}

std::string_view NameOfChange(const Change& change, const Cards& cards) {
  return change.from == kNowhere ? cards.after.items[change.to].name
                                 : cards.before.items[change.from].name;
}

// Whether the store's change of the formatted name is meant for the file.
bool IsFormattedNameMeant(const Change& change, const Cards& cards, bool is_name_changed) {
  const std::string_view before = cards.before.card.TextOf("FN");
  const std::string_view after = cards.after.card.TextOf("FN");
  const std::string_view base = cards.base.card.TextOf("FN");
  if (!is_name_changed) {
    const bool is_made = change.to == kNowhere || IsMadeOfName(after, NameOf(cards.after.card));
    return !is_made && change.from != kNowhere;
  }
  if (base.empty()) return !cards.file.is_old() || !cards.file.card.TextOf("FN").empty();
  std::vector<std::string> name = NameOf(cards.base.card);
  if (name.empty()) name = NameOf(cards.before.card);
  return change.to != kNowhere && (IsMadeOfName(base, name) || base == before);
}

// A file without N has its name in FN alone.
bool IsNameMeant(const Cards& cards) {
  if (cards.base.card.Find("N") != nullptr || cards.file.card.Find("N") != nullptr) return true;
  const CardProperty* name = cards.after.card.Find("N");
  return name != nullptr && !dialects::IsDerivedName(cards.after.card, *name);
}

std::vector<Change> MeantChanges(const Cards& cards) {
  std::vector<Change> changes = ChangesBetween(cards.before.items, cards.after.items);
  const bool is_name_changed = std::ranges::any_of(
      changes, [&](const Change& change) { return NameOfChange(change, cards) == "N"sv; });
  std::erase_if(changes, [&](const Change& change) {
    const std::string_view name = NameOfChange(change, cards);
    if (name == "N"sv) return !IsNameMeant(cards);
    return name == "FN"sv && !IsFormattedNameMeant(change, cards, is_name_changed);
  });
  return changes;
}

// ---- Lines --------------------------------------------------------------------------------------------------

// A property as lines of a version, which may say it in another way.
std::vector<std::string> LinesIn(CardVersion version, CardProperty property) {
  dialects::Report ignored;
  property.label.clear();
  // The names are what a version has to have; an office that has a line of its own stays there.
  if (property.name == "N"sv || property.name == "FN"sv || property.name == kOffice) {
    if (property.name == "N"sv) {
      property.components.resize(std::max(property.components.size(), dialects::kNameParts));
    }
    return {dialects::CardLine(property, version, ignored)};
  }
  dialects::Card card;
  card.version = version;
  card.Add("FN", {"x"});
  card.Add("N", {"y"});
  card.properties.push_back(std::move(property));
  dialects::BringToVersion(card, version, ignored);
  std::vector<std::string> lines;
  for (const CardProperty& one : card.properties) {
    if (one.name == "N"sv || one.name == "FN"sv) continue;
    lines.push_back(dialects::CardLine(one, version, ignored));
  }
  return lines;
}

std::vector<std::string> WordsOf(std::string_view kinds) {
  std::vector<std::string> words;
  for (size_t end = kinds.find(';'); end != std::string_view::npos; end = kinds.find(';')) {
    words.emplace_back(kinds.substr(0, end));
    kinds.remove_prefix(end + 1);
  }
  return words;
}

// The kinds that the store has taken away go, those that it has added come; others stay.
void ChangeKinds(CardProperty& property, const Item& from, const Item& to) {
  const std::vector<std::string> old_words = WordsOf(from.kinds);
  const std::vector<std::string> new_words = WordsOf(to.kinds);
  for (const std::string& word : old_words) {
    if (std::ranges::find(new_words, word) == new_words.end()) property.RemoveType(word);
  }
  for (const std::string& word : new_words) {
    const bool is_old = std::ranges::find(old_words, word) != old_words.end();
    if (!is_old && !property.HasType(word)) property.types.push_back(word);
  }
}

// Kinds that the store tells apart.
constexpr std::array<std::string_view, 8> kStoredKinds = {
    "HOME", "WORK", "FAX", "CELL", "CAR", "PAGER", "X-ASSISTANT", "X-RADIO"};

void ReplaceKinds(CardProperty& property, const Item& to) {
  for (const std::string_view kind : kStoredKinds) property.RemoveType(kind);
  for (std::string& word : WordsOf(to.kinds)) property.types.push_back(std::move(word));
}

// Of a property with components only those change that the store has changed; the others may be lists, or have more of
// them than the store.
std::vector<std::string> ChangedComponents(const CardProperty& property, const CardProperty* from,
                                           const CardProperty& to) {
  const StoreParts parts = StorePartsOf(to.name);
  if (parts.most == 0 || from == nullptr || property.name != to.name) return to.components;
  const std::vector<std::string> shown = StoreComponents(property);
  const std::vector<std::string> before = StoreComponents(*from);
  const std::vector<std::string> after = StoreComponents(to);
  std::vector<std::string> components = property.components;
  components.resize(std::max(components.size(), parts.most));
  for (size_t i = 0; i < parts.most; ++i) {
    if (before[i] == after[i] && !shown[i].empty()) continue;
    if (shown[i] == after[i]) continue;
    if (i == parts.into) components.resize(parts.most);
    components[i] = after[i];
  }
  const bool ends_empty = property.components.back().empty();
  const size_t fewest = ends_empty ? property.components.size() : 1;
  while (components.size() > fewest && components.back().empty() && to.name == "ORG"sv) {
    components.pop_back();
  }
  return components;
}

// ---- The file -----------------------------------------------------------------------------------------------

class CardEditor {
 public:
  explicit CardEditor(const Cards& cards) : cards_(cards), file_(cards.file) {
    for (size_t i = 0; i < file_.lines.contents.size(); ++i) {
      const dialects::ContentLine& line = file_.lines.contents[i];
      if (line.group.empty()) continue;
      Group& group = groups_[ToUpper(line.group)];
      const bool is_twin = line.name == "X-ABLABEL" || line.name == "X-ABADR";
      if (is_twin) {
        group.twins.push_back(i);
      } else {
        ++group.members;
      }
    }
  }

  void Do(const Step& step) {
    const Change& change = step.change;
    const Item* from = change.from == kNowhere ? nullptr : &cards_.before.items[change.from];
    const Item* to = change.to == kNowhere ? nullptr : &cards_.after.items[change.to];
    const Item* item = step.file == kNowhere ? nullptr : &file_.items[step.file];
    if ((item != nullptr ? item : to)->is_entry) return DoEntry(item, to);
    const std::string& name = from == nullptr ? to->name : from->name;
    if (name == "ORG") RemoveDepartments(from, to);
    const bool is_of_file = item != nullptr && item->line != kNowhere;
    if (to == nullptr) {
      if (is_of_file) RemoveItem(*item);
    } else if (is_of_file) {
      Rewrite(*item, from, *to, step.replaces_kinds);
    } else {
      AddNew(*to);
    }
  }

  std::string Result() {
    FinishEntries();
    if (edits_.IsEmpty() && added_.empty()) return std::string(file_.lines.text);
    SetRevision();
    edits_.Insert(EndOfContent(), added_);
    return edits_.Applied(file_.text, file_.lines.line_end);
  }
  bool HasChanged() const {
    return !edits_.IsEmpty() || !added_.empty() || !entries_.empty() || !new_entries_.empty();
  }

 private:
  struct Group {
    size_t members = 0;
    std::vector<size_t> twins;
  };
  struct Entries {
    std::set<size_t> removed;
    std::vector<std::string> added;
  };

  const CardProperty& PropertyOf(const Item& item) const {
    return file_.card.properties[item.property];
  }

  size_t EndOfContent() const {
    return file_.has_end ? file_.lines.spans.back().begin : file_.text.size();
  }

  void RemoveSpan(size_t line) {
    if (touched_.insert(line).second) edits_.Remove(file_.lines.spans[line]);
  }

  // What belongs to a group goes with its last member.
  void RemoveLine(size_t line) {
    if (touched_.contains(line)) return;
    RemoveSpan(line);
    const std::string group = ToUpper(file_.lines.contents[line].group);
    if (group.empty() || --groups_[group].members > 0) return;
    for (const size_t twin : groups_[group].twins) RemoveSpan(twin);
  }

  // The older versions demand a name, if only one of nothing.
  void RemoveItem(const Item& item) {
    if (item.name != "N" || file_.card.version == CardVersion::k40) return RemoveLine(item.line);
    CardProperty name = PropertyOf(item);
    name.components.assign(dialects::kNameParts, "");
    WriteProperty(item.line, std::move(name), true);
  }

  void AddNew(const Item& to) {
    CardProperty property = cards_.after.card.properties[to.property];
    property.preference = 0;
    AddLines(property);
  }
  void AddLines(const CardProperty& property) {
    for (const std::string& line : LinesIn(file_.card.version, property)) added_ += line;
  }

  void Rewrite(const Item& item, const Item* from, const Item& to, bool replaces_kinds) {
    const CardProperty& after = cards_.after.card.properties[to.property];
    const CardProperty* before =
        from == nullptr ? nullptr : &cards_.before.card.properties[from->property];
    CardProperty property = PropertyOf(item);
    property.components = ChangedComponents(property, before, after);
    if (property.name == "N"sv) property.RemoveParams("SORT-AS");
    const bool has_new_kinds = replaces_kinds || (from != nullptr && from->kinds != to.kinds);
    if (replaces_kinds) {
      ReplaceKinds(property, to);
    } else if (has_new_kinds) {
      ChangeKinds(property, *from, to);
    }
    if (has_new_kinds) RemoveLabel(item.line);
    const bool is_label = property.name == "LABEL"sv;
    if (is_label) property.name = after.name;
    WriteProperty(item.line, property, !has_new_kinds && !is_label);
  }

  // A label such as "Mobile" says the kind that was.
  void RemoveLabel(size_t line) {
    const std::string group = ToUpper(file_.lines.contents[line].group);
    if (group.empty() || groups_[group].members > 1) return;
    for (const size_t twin : groups_[group].twins) {
      if (file_.lines.contents[twin].name == "X-ABLABEL") RemoveSpan(twin);
    }
  }

  // In the place of a line. With its head, unless the kinds are others.
  void WriteProperty(size_t line, CardProperty property, bool keeps_head) {
    if (!touched_.insert(line).second) return;
    const dialects::ContentLine& content = file_.lines.contents[line];
    property.group = content.group;
    const bool keeps_value_kind = property.name == "URL"sv || content.name == "RELATED" ||
                                  property.Param("VALUE") == "DATE"sv;
    property.RemoveParams("VALUE");
    property.RemoveParams("X-APPLE-OMIT-YEAR");
    const std::vector<std::string> written = LinesIn(file_.card.version, property);
    std::string text;
    if (keeps_head && written.size() == 1) {
      text = WithHeadOf(file_.lines.Raw(line), written.front(), file_.is_old(), keeps_value_kind);
    } else {
      for (const std::string& one : written) text += one;
    }
    edits_.Replace(file_.lines.spans[line], std::move(text));
  }

  // Departments that stand on lines of their own were read into the organisation.
  void RemoveDepartments(const Item* from, const Item* to) {
    const auto department = [](const CardText& card, const Item* item) {
      return item == nullptr ? "" : StoreComponents(card.card.properties[item->property])[1];
    };
    const bool is_same = department(cards_.before, from) == department(cards_.after, to);
    for (size_t i = 0; i < file_.lines.contents.size() && !is_same; ++i) {
      if (dialects::CanonicalCardName(file_.lines.contents[i].name) == "DEPT"sv) RemoveLine(i);
    }
  }

  // ---- Lists ----

  void DoEntry(const Item* item, const Item* to) {
    if (to == nullptr) {
      if (item->line != kNowhere) entries_[item->property].removed.insert(item->entry);
      return;
    }
    const size_t list = FindList(to->name);
    if (list == kNowhere) {
      new_entries_[to->name].push_back(to->value);
    } else {
      entries_[list].added.push_back(to->value);
    }
  }

  // The property that takes a further entry.
  size_t FindList(const std::string& name) const {
    for (const Item& item : file_.items) {
      const bool is_list = item.name == name && item.line != kNowhere;
      if (!is_list) continue;
      const std::string& sent = file_.lines.contents[item.line].name;
      if (sent != "RELATED" && sent != "X-ABRELATEDNAMES") return item.property;
    }
    return kNowhere;
  }

  std::vector<std::string> EntriesOfStore(const std::string& name) const {
    std::vector<std::string> entries;
    for (const Item& item : cards_.after.items) {
      if (item.name == name) entries.push_back(item.value);
    }
    return entries;
  }

  void FinishEntries() {
    for (const auto& [index, entries] : entries_) {
      CardProperty property = file_.card.properties[index];
      std::vector<std::string> left;
      for (size_t i = 0; i < property.components.size(); ++i) {
        if (!entries.removed.contains(i)) left.push_back(property.components[i]);
      }
      left.insert(left.end(), entries.added.begin(), entries.added.end());
      const size_t line = file_.lines.LineAt(property.line);
      if (left.empty()) {
        RemoveLine(line);
      } else {
        property.components = InOrderOf(std::move(left), EntriesOfStore(property.name));
        WriteProperty(line, std::move(property), true);
      }
    }
    for (const auto& [name, values] : new_entries_) {
      CardProperty property;
      property.name = name;
      property.components = values;
      AddLines(property);
    }
  }

  void SetRevision() {
    const CardProperty* after = cards_.after.card.Find("REV");
    const CardProperty* file = file_.card.Find("REV");
    if (after == nullptr || after->IsEmpty() || file == nullptr) return;
    const size_t line = file_.lines.LineAt(file->line);
    if (line == kNowhere) return;
    CardProperty property = *file;
    property.components = after->components;
    WriteProperty(line, std::move(property), true);
  }

  const Cards& cards_;
  const CardText& file_;
  std::map<std::string, Group> groups_;
  std::set<size_t> touched_;
  std::map<size_t, Entries> entries_;  // by the property of the list
  std::map<std::string, std::vector<std::string>> new_entries_;
  std::string added_;
  Edits edits_;
};

}  // namespace

Merged MergeCard(const MergeInput& input) {
  Merged merged;
  merged.text = input.file;
  Cards cards;
  if (!ReadCardText(input.file, CardSide::kFile, cards.file)) {
    merged.left.emplace_back("the file has no card");
    return merged;
  }
  const bool is_stored = ReadCardText(input.before, CardSide::kStore, cards.before) &&
                         ReadCardText(input.after, CardSide::kStore, cards.after);
  if (!is_stored) {
    merged.left.emplace_back("the store's object is no card");
    return merged;
  }
  if (!ReadCardText(input.base, CardSide::kFile, cards.base)) cards.base = cards.file;
  TakeNotesApart(cards);
  TakeOfficesOut(cards);
  MakeItems(cards.before, CardSide::kStore);
  MakeItems(cards.after, CardSide::kStore);
  const Plan plan = PlanChanges(
      {cards.before.items, cards.after.items, cards.base.items, cards.file.items, input.prefer},
      MeantChanges(cards));
  merged.conflicts = plan.conflicts;
  CardEditor editor(cards);
  for (const Step& step : plan.steps) editor.Do(step);
  if (!editor.HasChanged()) return merged;
  const Span span = cards.file.span;
  merged.text = std::string(input.file.substr(0, span.begin)) + editor.Result() +
                std::string(input.file.substr(span.end));
  return merged;
}

}  // namespace mirror
