// Three pairings carry it: what the store showed is found in the file as it was agreed on, that file's items are found in
// the file as it is now, and a change then is one of the file's item. Each pairing goes from what is certain to what is
// likely: first items that say all the same, then those of which something differs, last those that are the only ones of
// their name. An item is paired once, and each step looks at its items' keys in a table, so the cost is that of the
// tables.
#include "mirror/merge_plan.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string_view>
#include <unordered_map>

namespace mirror {
namespace {

using KeyOf = std::string (*)(const Item&);

std::string Key(std::string_view one, std::string_view two, std::string_view three = {}) {
  std::string key(one);
  key += '\0';
  key += two;
  key += '\0';
  key += three;
  return key;
}

// Each gives what has to be equal; an empty text pairs with nothing.
std::string All(const Item& item) { return Key(item.name, item.kinds, item.value); }
std::string AllShown(const Item& item) {
  return item.is_shown ? Key(item.name, item.shown, item.value) : "";
}
std::string NameAndValue(const Item& item) { return Key(item.name, item.value); }
std::string NameAndLoose(const Item& item) {
  return item.loose.empty() ? "" : Key(item.name, item.loose);
}
std::string KindsAndLoose(const Item& item) {
  return item.loose.empty() ? "" : Key(item.name, item.kinds, item.loose);
}
std::string SingleWithValue(const Item& item) {
  return item.is_single && !item.value.empty() ? item.name : "";
}
std::string Single(const Item& item) { return item.is_single ? item.name : ""; }
std::string NameAndKinds(const Item& item) {
  return item.is_entry ? "" : Key(item.name, item.kinds);
}
std::string NameAndShown(const Item& item) {
  return item.is_entry || !item.is_shown ? "" : Key(item.name, item.shown);
}
std::string Name(const Item& item) { return item.is_entry ? "" : item.name; }
std::string NameIfShown(const Item& item) { return item.is_shown ? Name(item) : ""; }

class Pairing {
 public:
  Pairing(const Items& from, const Items& to)
      : from_(from), to_(to), to_of_(from.size(), kNowhere), from_of_(to.size(), kNowhere) {}

  // Pairs items that have one key, in their order.
  Pairing& InOrder(KeyOf key) {
    std::unordered_map<std::string, Queue> waiting = Waiting(key);
    for (size_t i = 0; i < from_.size(); ++i) {
      if (to_of_[i] != kNowhere) continue;
      const auto queue = waiting.find(key(from_[i]));
      if (queue == waiting.end() || queue->second.next == queue->second.items.size()) continue;
      Pair(i, queue->second.items[queue->second.next++]);
    }
    return *this;
  }

  // Pairs those that are the only ones of their key on both sides.
  Pairing& Only(KeyOf key) {
    std::unordered_map<std::string, Queue> waiting = Waiting(key);
    std::unordered_map<std::string, size_t> counts;
    for (size_t i = 0; i < from_.size(); ++i) {
      if (to_of_[i] == kNowhere) ++counts[key(from_[i])];
    }
    for (size_t i = 0; i < from_.size(); ++i) {
      if (to_of_[i] != kNowhere) continue;
      const std::string key_of_item = key(from_[i]);
      const auto queue = waiting.find(key_of_item);
      if (queue == waiting.end() || counts[key_of_item] != 1) continue;
      if (queue->second.items.size() == 1) Pair(i, queue->second.items.front());
    }
    return *this;
  }

  size_t To(size_t from) const { return to_of_[from]; }
  size_t From(size_t to) const { return from_of_[to]; }
  bool HasTo(size_t to) const { return from_of_[to] != kNowhere; }

 private:
  struct Queue {
    std::vector<size_t> items;
    size_t next = 0;
  };

  std::unordered_map<std::string, Queue> Waiting(KeyOf key) const {
    std::unordered_map<std::string, Queue> waiting;
    for (size_t i = 0; i < to_.size(); ++i) {
      if (from_of_[i] != kNowhere) continue;
      std::string key_of_item = key(to_[i]);
      if (!key_of_item.empty()) waiting[std::move(key_of_item)].items.push_back(i);
    }
    return waiting;
  }

  void Pair(size_t from, size_t to) {
    to_of_[from] = to;
    from_of_[to] = from;
  }

  const Items& from_;
  const Items& to_;
  std::vector<size_t> to_of_;
  std::vector<size_t> from_of_;
};

bool SaysTheSame(const Item& one, const Item& other) {
  return one.value == other.value || (!one.loose.empty() && one.loose == other.loose);
}

bool IsUnchanged(const Item& base, const Item& file) {
  return base.value == file.value && base.kinds == file.kinds;
}

class Planner {
 public:
  explicit Planner(const PlanInput& input)
      : input_(input), shown_(input.before, input.base), kept_(input.base, input.file) {
    shown_.InOrder(AllShown).InOrder(NameAndValue).InOrder(NameAndLoose);
    shown_.InOrder(SingleWithValue).InOrder(Single).Only(NameAndShown).Only(NameIfShown);
    kept_.InOrder(All).InOrder(NameAndValue).InOrder(NameAndLoose);
    kept_.InOrder(SingleWithValue).InOrder(Single).InOrder(NameAndKinds).InOrder(Name);
  }

  Plan Make(const std::vector<Change>& changes) {
    const std::vector<size_t> there = FindWhatIsThere(changes);
    for (size_t i = 0; i < changes.size(); ++i) {
      const Change& change = changes[i];
      if (change.from == kNowhere) {
        Add(change, there[i]);
      } else {
        Alter(change);
      }
    }
    return std::move(plan_);
  }

 private:
  // For each item that is to be added: whether the file has it beside what the store showed of it. Then both sides have
  // added it, or the store had no place for it.
  std::vector<size_t> FindWhatIsThere(const std::vector<Change>& changes) const {
    Items added;
    for (const Change& change : changes) {
      added.push_back(change.from == kNowhere ? input_.after[change.to] : Item());
    }
    Items others;
    for (size_t i = 0; i < input_.file.size(); ++i) {
      const size_t base = kept_.From(i);
      const bool is_shown = base != kNowhere && shown_.HasTo(base);
      others.push_back(is_shown ? Item() : input_.file[i]);
    }
    Pairing pairing(added, others);
    pairing.InOrder(All).InOrder(NameAndValue).InOrder(NameAndLoose);
    std::vector<size_t> there;
    for (size_t i = 0; i < changes.size(); ++i) {
      const size_t found = pairing.To(i);
      there.push_back(found == kNowhere || others[found].name.empty() ? kNowhere : found);
    }
    return there;
  }

  void Add(const Change& change, size_t there) {
    const Item& item = input_.after[change.to];
    if (there != kNowhere) return;
    if (!item.is_single) return Do(change, kNowhere);
    const size_t base =
        FirstSingle(input_.base, item.name, [&](size_t i) { return !shown_.HasTo(i); });
    if (base != kNowhere) return Put(change, base);
    const size_t file =
        FirstSingle(input_.file, item.name, [&](size_t i) { return !kept_.HasTo(i); });
    if (file == kNowhere) return Do(change, kNowhere);
    if (input_.file[file].value.empty()) return Do(change, file);
    if (!SaysTheSame(input_.file[file], item)) Dispute(change, file);
  }

  template <typename Condition>
  size_t FirstSingle(const Items& items, const std::string& name, Condition condition) const {
    for (size_t i = 0; i < items.size(); ++i) {
      if (items[i].name == name && condition(i)) return i;
    }
    return kNowhere;
  }

  void Alter(const Change& change) {
    const size_t base = shown_.To(change.from);
    if (base != kNowhere) return Put(change, base);
    // What went was not in the file. What came may be there.
    if (change.to != kNowhere) AddInstead(change);
  }

  void AddInstead(const Change& change) {
    const Item& item = input_.after[change.to];
    for (size_t i = 0; i < input_.file.size(); ++i) {
      const Item& other = input_.file[i];
      if (other.name != item.name || kept_.HasTo(i)) continue;
      if (SaysTheSame(other, item)) return;
      if (item.is_single) return Dispute(change, i);
    }
    Do({kNowhere, change.to}, kNowhere);
  }

  // A change of an item that the file had at the last agreement.
  void Put(const Change& change, size_t base) {
    const size_t file = kept_.To(base);
    if (file == kNowhere) {
      if (change.to != kNowhere) Dispute(change, kNowhere);
      return;
    }
    if (IsUnchanged(input_.base[base], input_.file[file])) return Do(change, file);
    const bool has_other_kinds = input_.base[base].kinds != input_.file[file].kinds;
    if (!HasSame(change, file)) Dispute(change, file, has_other_kinds);
  }

  // The file has made the same change.
  bool HasSame(const Change& change, size_t file) const {
    if (change.to == kNowhere) return false;
    const Item& item = input_.file[file];
    const Item& to = input_.after[change.to];
    if (!SaysTheSame(item, to)) return false;
    const bool is_of_kinds = change.from != kNowhere && SaysTheSame(input_.before[change.from], to);
    return !is_of_kinds || item.shown == to.shown || item.kinds == to.kinds;
  }

  void Dispute(const Change& change, size_t file, bool has_other_kinds = false) {
    const Item& item = change.to == kNowhere ? input_.before[change.from] : input_.after[change.to];
    if (named_.insert(item.name).second) plan_.conflicts.push_back(item.name);
    if (input_.prefer == Prefer::kStore) Do(change, file, has_other_kinds);
  }

  void Do(const Change& change, size_t file, bool replaces_kinds = false) {
    if (change.to == kNowhere && file == kNowhere) return;
    plan_.steps.push_back({change, file, replaces_kinds});
  }

  const PlanInput& input_;
  Pairing shown_;  // what the store showed, and the file as it was agreed on
  Pairing kept_;   // that file, and the file as it is
  Plan plan_;
  std::set<std::string> named_;
};

}  // namespace

std::vector<Change> ChangesBetween(const Items& before, const Items& after) {
  Pairing same(before, after);
  same.InOrder(All).InOrder(KindsAndLoose);
  // What is the same is no candidate for a change, so only the rest is paired further.
  Items old_rest(before.size());
  Items new_rest(after.size());
  for (size_t i = 0; i < before.size(); ++i) {
    if (same.To(i) == kNowhere) old_rest[i] = before[i];
  }
  for (size_t i = 0; i < after.size(); ++i) {
    if (!same.HasTo(i)) new_rest[i] = after[i];
  }
  Pairing rest(old_rest, new_rest);
  rest.InOrder(NameAndValue).InOrder(Single).InOrder(NameAndKinds);
  std::vector<Change> changes;
  for (size_t i = 0; i < before.size(); ++i) {
    if (!old_rest[i].name.empty()) changes.push_back({i, rest.To(i)});
  }
  for (size_t i = 0; i < after.size(); ++i) {
    if (!new_rest[i].name.empty() && !rest.HasTo(i)) changes.push_back({kNowhere, i});
  }
  return changes;
}

Plan PlanChanges(const PlanInput& input, const std::vector<Change>& changes) {
  return Planner(input).Make(changes);
}

}  // namespace mirror
