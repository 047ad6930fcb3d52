// Pairs come first: each side of one is as it was, changed or gone, and a table says what follows. What is in no pair then,
// or lost its other half, is paired by its view, one to one in the order of the keys, and the rest goes to the other side.
#include "obex/client/sync_plan.h"

#include <algorithm>
#include <deque>
#include <set>
#include <utility>

namespace obex {
namespace {

// Fewer deletions are nothing to ask about.
constexpr size_t kFewDeletions = 3;

enum class State { kSame, kChanged, kGone };

State StateOf(const SyncLooks& looks, bool is_whole, const std::string& key,
              const std::string& hash) {
  const auto look = looks.find(key);
  if (look == looks.end()) return is_whole ? State::kGone : State::kSame;
  if (!look->second.exists) return State::kGone;
  return look->second.hash == hash ? State::kSame : State::kChanged;
}

const std::string& ViewIn(const SyncLooks& looks, const std::string& key) {
  static const std::string kNone;
  const auto look = looks.find(key);
  return look == looks.end() || !look->second.exists ? kNone : look->second.view;
}

// Keys by view, for pairing one to one.
using Waiting = std::map<std::string, std::deque<std::string>>;

std::optional<std::string> TakeEqual(Waiting& waiting, const std::string& view) {
  if (view.empty()) return std::nullopt;
  const auto found = waiting.find(view);
  if (found == waiting.end() || found->second.empty()) return std::nullopt;
  std::string key = std::move(found->second.front());
  found->second.pop_front();
  return key;
}

class Planner {
 public:
  Planner(const SyncKnown& known, SyncPreference preference)
      : known_(known), preference_(preference) {}

  std::vector<SyncAction> Plan() {
    for (const SyncPair& pair : known_.pairs) PlanPair(pair);
    PlanRest();
    return std::move(plan_);
  }

 private:
  void PlanPair(const SyncPair& pair) {
    const State here = StateOf(known_.here, known_.is_whole, pair.id, pair.hash_here);
    const State there = StateOf(known_.there, known_.is_whole, pair.luid, pair.hash_there);
    paired_here_.insert(pair.id);
    paired_there_.insert(pair.luid);
    // A change wins against a deletion. The object that is left may have come anew on the other side.
    if (here == State::kChanged && there == State::kGone) {
      halves_here_.push_back(pair.id);
    } else if (here == State::kGone && there == State::kChanged) {
      halves_there_.push_back(pair.luid);
    } else if (here == State::kGone && there == State::kGone) {
      Do(SyncDeed::kForget, pair);
    } else if (here == State::kGone) {
      Do(SyncDeed::kDeleteThere, pair);
    } else if (there == State::kGone) {
      Do(SyncDeed::kDeleteHere, pair);
    } else if (here == State::kChanged && there == State::kChanged) {
      PlanBothChanged(pair);
    } else if (here == State::kChanged) {
      Do(SyncDeed::kSend, pair);
    } else if (there == State::kChanged) {
      Do(SyncDeed::kReceive, pair);
    } else if (pair.in_conflict) {
      Do(SyncDeed::kPair, pair);
    }
  }

  void PlanBothChanged(const SyncPair& pair) {
    const std::string& view = ViewIn(known_.here, pair.id);
    if (!view.empty() && view == ViewIn(known_.there, pair.luid)) {
      Do(SyncDeed::kPair, pair);
    } else if (preference_ == SyncPreference::kNone) {
      Do(SyncDeed::kConflict, pair);
    } else {
      const bool sends = preference_ == SyncPreference::kHere;
      plan_.push_back({sends ? SyncDeed::kSend : SyncDeed::kReceive, pair.id, pair.luid, true});
    }
  }

  void PlanRest() {
    std::vector<std::string> here = Unpaired(known_.here, paired_here_);
    here.insert(here.end(), halves_here_.begin(), halves_here_.end());
    std::vector<std::string> there = Unpaired(known_.there, paired_there_);
    there.insert(there.end(), halves_there_.begin(), halves_there_.end());

    Waiting waiting;
    for (const std::string& luid : there) waiting[ViewIn(known_.there, luid)].push_back(luid);
    std::set<std::string> taken;
    std::vector<SyncAction> sent;
    for (const std::string& id : here) {
      if (const auto luid = TakeEqual(waiting, ViewIn(known_.here, id))) {
        taken.insert(*luid);
        plan_.push_back({SyncDeed::kPair, id, *luid});
      } else {
        sent.push_back({SyncDeed::kSend, id, {}});
      }
    }
    for (const std::string& luid : there) {
      if (!taken.contains(luid)) plan_.push_back({SyncDeed::kReceive, {}, luid});
    }
    plan_.insert(plan_.end(), sent.begin(), sent.end());
  }

  static std::vector<std::string> Unpaired(const SyncLooks& looks,
                                           const std::set<std::string>& paired) {
    std::vector<std::string> keys;
    for (const auto& [key, look] : looks) {
      if (look.exists && !paired.contains(key)) keys.push_back(key);
    }
    return keys;
  }

  void Do(SyncDeed deed, const SyncPair& pair) { plan_.push_back({deed, pair.id, pair.luid}); }

  const SyncKnown& known_;
  const SyncPreference preference_;
  std::vector<SyncAction> plan_;
  std::set<std::string> paired_here_;
  std::set<std::string> paired_there_;
  std::vector<std::string> halves_here_;
  std::vector<std::string> halves_there_;
};

// The object that the change made: it looks as it was meant to, or it is the only one that may be what is left of it.
std::optional<std::string> MadeOf(const SyncIntent& intent, const SyncTraces& traces,
                                  const SyncLooks& looks, const std::set<std::string>& paired) {
  for (const auto& [key, look] : looks) {
    const bool is_new = look.exists && !paired.contains(key);
    if (is_new && !look.view.empty() && look.view == intent.source_view) return key;
  }
  if (traces.poorer.size() == 1) return traces.poorer.front();
  return std::nullopt;
}

}  // namespace

std::vector<SyncAction> PlanSync(const SyncKnown& known, SyncPreference preference) {
  return Planner(known, preference).Plan();
}

size_t CountDeletions(const std::vector<SyncAction>& plan, SyncSide side) {
  const SyncDeed deed = side == SyncSide::kHere ? SyncDeed::kDeleteHere : SyncDeed::kDeleteThere;
  return static_cast<size_t>(std::ranges::count(plan, deed, &SyncAction::deed));
}

size_t CountEqual(const std::vector<SyncAction>& plan, const SyncKnown& known) {
  std::set<std::string> here;
  std::set<std::string> there;
  size_t count = 0;
  for (const SyncAction& action : plan) {
    if (!action.id.empty()) here.insert(action.id);
    if (!action.luid.empty()) there.insert(action.luid);
    if (action.deed == SyncDeed::kPair) ++count;
  }
  for (const SyncPair& pair : known.pairs) {
    if (!here.contains(pair.id) && !there.contains(pair.luid)) ++count;
  }
  return count;
}

bool IsTooManyDeletions(size_t deletions, size_t pairs) {
  return deletions > kFewDeletions && deletions * 2 > pairs;
}

std::optional<SyncAction> RecoverSync(const SyncIntent& intent, const SyncTraces& traces,
                                      SyncKnown& known) {
  const bool is_here = intent.target == SyncSide::kHere;
  std::string SyncPair::*const target = is_here ? &SyncPair::id : &SyncPair::luid;
  std::string SyncPair::*const source = is_here ? &SyncPair::luid : &SyncPair::id;
  std::string SyncPair::*const target_hash = is_here ? &SyncPair::hash_here : &SyncPair::hash_there;
  std::string SyncPair::*const source_hash = is_here ? &SyncPair::hash_there : &SyncPair::hash_here;
  SyncLooks& looks = is_here ? known.here : known.there;
  const std::string& source_key = is_here ? intent.luid : intent.id;
  const std::string& old = intent.target_key();

  std::set<std::string> paired;
  for (const SyncPair& pair : known.pairs) paired.insert(pair.*target);
  auto pair = std::ranges::find(known.pairs, source_key, source);
  const auto left = looks.find(old);
  const bool is_left = !old.empty() && left != looks.end() && left->second.exists;

  const std::optional<std::string> made = MadeOf(intent, traces, looks, paired);
  if (!made) {
    if (traces.is_between && is_left && pair != known.pairs.end()) {
      (*pair).*target_hash = left->second.hash;
    }
    return std::nullopt;
  }
  if (pair == known.pairs.end()) pair = known.pairs.emplace(pair);
  *pair = {};
  pair->name = intent.source_name;
  (*pair).*source = source_key;
  (*pair).*source_hash = intent.source_hash;
  (*pair).*target = *made;
  (*pair).*target_hash = looks.at(*made).hash;
  if (!is_left) return std::nullopt;
  left->second.exists = false;
  return is_here ? SyncAction{SyncDeed::kDeleteHere, old, {}}
                 : SyncAction{SyncDeed::kDeleteThere, {}, old};
}

}  // namespace obex
