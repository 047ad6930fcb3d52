// What a synchronisation has to do, as a function of what is known: what changed on both sides since they agreed, and which
// objects are the same object. It asks nobody and changes nothing.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace obex {

enum class SyncSide { kHere, kThere };

// Two objects that are one: here by its id, there by its LUID; and what their texts were when they agreed last.
struct SyncPair {
  std::string id;
  std::string luid;
  std::string hash_here = {};   // empty where it is not known: counts as changed
  std::string hash_there = {};  // the same
  std::string name = {};        // for people, when it is gone
  bool in_conflict = false;
};

// How an object was found.
struct SyncLook {
  bool exists = true;
  std::string hash = {};  // of its text
  std::string view = {};  // what it says; empty where that is not known, which equals nothing
  std::string name = {};
};
// By id or LUID.
using SyncLooks = std::map<std::string, SyncLook>;

enum class SyncPreference { kNone, kHere, kThere };

struct SyncKnown {
  std::vector<SyncPair> pairs;
  SyncLooks here;
  SyncLooks there;
  // Whether the looks are of all objects: one of a pair that is not among them is gone then. Else it is as it was.
  bool is_whole = false;
};

enum class SyncDeed {
  kPair,     // nothing but to note that they are one; of a known pair: that they agree
  kForget,   // gone on both sides
  kReceive,  // new here, or over what is here
  kSend,     // the same for there
  kDeleteHere,
  kDeleteThere,
  kConflict,  // left as it is
};

struct SyncAction {
  SyncDeed deed;
  std::string id;          // empty for what is to be made here
  std::string luid;        // the same for there
  bool overrules = false;  // a change of the other side is lost
};

// Objects that stand in a pair, or look equal; each stands in one action at most.
std::vector<SyncAction> PlanSync(const SyncKnown& known, SyncPreference preference);

// The deletions of a plan on one side.
size_t CountDeletions(const std::vector<SyncAction>& plan, SyncSide side);
// The pairs of which nothing has to be written, those that a plan finds included.
size_t CountEqual(const std::vector<SyncAction>& plan, const SyncKnown& known);
// Whether so many of so many look like a mistake.
bool IsTooManyDeletions(size_t deletions, size_t pairs);

// A change that was begun and not seen to end.
struct SyncIntent {
  SyncSide target = SyncSide::kHere;
  std::string id;    // of the object here; empty where one is made
  std::string luid;  // of the object there; the same
  std::string source_hash;
  std::string source_view;
  std::string source_name;
  std::string source_text = {};

  const std::string& target_key() const { return target == SyncSide::kHere ? id : luid; }
};

// What is seen of it on its target's side.
struct SyncTraces {
  // Whether the object that was to be replaced is between its old state and the new one.
  bool is_between = false;
  // New objects of the source's name that hold nothing but what it holds: a device may not keep all of an object.
  std::vector<std::string> poorer = {};
};

// Brings what is known up to what the change may have done: the object that it made is paired, and the one that it was to
// replace is given back for deletion; where it was left in the middle, that is no change of its owner.
std::optional<SyncAction> RecoverSync(const SyncIntent& intent, const SyncTraces& traces,
                                      SyncKnown& known);

}  // namespace obex
