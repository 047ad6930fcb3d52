// What of a store's change is to be done to a file, as a function of what is known: items that say something, no text.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "mirror/merge.h"
#include "mirror/text_lines.h"

namespace mirror {

// One thing that an object says: a property, or an entry of a list. Values are in a normal form, so that two that say
// the same are equal.
struct Item {
  std::string name;
  std::string kinds;  // as its own object has them
  std::string shown;  // as the store shows it; of the store's own objects the same as `kinds`
  std::string value;
  std::string loose;       // what is compared where the value itself is not found; empty for none
  bool is_single = false;  // an object has one of the name
  bool is_entry = false;   // it is its value: another value is another item
  bool is_shown = true;    // false: the store has no place for it
  size_t line = kNowhere;  // of its text
  size_t property = 0;     // among its object's properties
  size_t entry = 0;        // within that property
};
using Items = std::vector<Item>;

// A change of the store's object, by indices: an item became another one, went (no `to`), or came (no `from`).
struct Change {
  size_t from = kNowhere;
  size_t to = kNowhere;
};

// What `after` says otherwise than `before`.
std::vector<Change> ChangesBetween(const Items& before, const Items& after);

// What is to be done to the file: `change` as it is, to the item `file`; kNowhere for an item that is added.
struct Step {
  Change change;
  size_t file = kNowhere;
  bool replaces_kinds = false;  // the file's own change of the kinds does not count
};

struct Plan {
  std::vector<Step> steps;
  std::vector<std::string> conflicts;
};

struct PlanInput {
  const Items& before;
  const Items& after;
  const Items& base;
  const Items& file;
  Prefer prefer;
};

// Items of the store without a value are left out of its objects; those of base and file may be empty, and are a place
// for a value then.
Plan PlanChanges(const PlanInput& input, const std::vector<Change>& changes);

}  // namespace mirror
