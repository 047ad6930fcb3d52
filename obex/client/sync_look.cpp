// How a run finds out what there is to do. First the change log here is opened, and so held against others; then the
// partner's is read. What both tell of is looked at, object by object; all objects, where a log does not tell everything.
#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "client/interrupt.h"
#include "client/store.h"
#include "client/texts.h"
#include "obex/client/object_content.h"
#include "obex/client/sync_run.h"
#include "obex/services/received_body.h"

namespace obex {
namespace {

// Texts of objects there that are kept between their reading and their writing.
constexpr size_t kMostTexts = size_t{16} << 20;
// A store that another program uses is waited for, in milliseconds.
constexpr uint32_t kStorePatience = 2'000;
// How often changes are read that came while the others were.
constexpr int kMostCatchUps = 3;

// The codes of partners that do not have a store.
bool IsMissing(const RemoteAnswer& answer) {
  return answer.Is(Code::kNotFound) || answer.Is(Code::kForbidden) ||
         answer.Is(Code::kNotImplemented);
}

}  // namespace

// ---- Opening ------------------------------------------------------------------------------------------------

bool SyncRun::OpenHere() {
  if (!tools_.session.OpenWhenFree(store_id_, kStorePatience)) {
    return Fail(tools_.session.ChangeLogText(store_id_) +
                " is in use by another program, nothing was changed");
  }
  const OsifResult opened = here_.Open();
  if (opened == OSIF_OK) return true;
  return Fail(tools_.session.ChangeLogText(store_id_) + ": " + client::CodeText(opened));
}

bool SyncRun::OpenThere() {
  StoreFacts facts;
  const RemoteAnswer answer = there_.GetInfo(facts);
  report_.is_offered = answer.is_done() ? facts.has_luids : !IsMissing(answer);
  if (!report_.is_offered) return true;
  if (!answer.is_done()) return FailAs(answer);
  is_empty_there_ = facts.is_empty;
  anchors_ = {here_.DatabaseId(), facts.database_id};
  return true;
}

// ---- Looking ------------------------------------------------------------------------------------------------

bool SyncRun::Look() {
  const std::optional<SyncAnchors> anchors = tools_.state.Anchors();
  RemoteChanges changes;
  const uint32_t counter = anchors ? anchors->counter_there.value_or(0) : 0;
  const RemoteAnswer answer = there_.GetChangesAfter(counter, changes);
  if (!answer.is_done()) return FailAs(answer);
  if (!changes.database_id.empty()) anchors_.database_there = changes.database_id;
  changes_there_ = std::move(changes);
  seen_there_ = counter;
  DecideKind(anchors, anchors_.database_there);
  known_.is_whole = report_.kind != SyncKind::kChanges;
  if (!tools_.state.why_not().empty()) return FailState();

  if (!LookHere() || !LookThere() || !SettleCounter()) return false;
  PutAside();
  return true;
}

// Pairs mean something only as long as both databases are what they were.
void SyncRun::DecideKind(const std::optional<SyncAnchors>& anchors,
                         const std::string& database_there) {
  const bool is_new_here = anchors && anchors->database_here != anchors_.database_here;
  const bool is_new_there = anchors && anchors->database_there != database_there;
  if (!anchors || is_new_here || is_new_there) {
    if (!settings_.only_looks) tools_.state.Restart(anchors_);
  } else {
    known_.pairs = tools_.state.Pairs();
    IndexPairs();
    pending_ = tools_.state.Pending();
    intent_ = tools_.state.Intent();
  }
  report_.kind = SyncKind::kWhole;
  if (!anchors || !anchors->counter_here || !anchors->counter_there) {
    report_.kind = SyncKind::kFirst;
  } else if (is_new_there) {
    report_.why_whole = "the partner has another database";
  } else if (is_new_here) {
    report_.why_whole = "the device has another database";
  } else if (settings_.compares_whole) {
    report_.why_whole = "as asked";
  } else if (changes_there_.has_gap) {
    report_.why_whole = "the partner's log has a gap";
  } else if (auto changes = here_.ChangesAfter(*anchors->counter_here)) {
    changes_here_ = std::move(*changes);
    report_.kind = SyncKind::kChanges;
  } else {
    report_.why_whole = "the device's log has a gap";
  }
}

bool SyncRun::LookHere() {
  std::vector<std::string> ids;
  if (known_.is_whole) {
    ids = here_.Ids();
  } else {
    for (const ChangeLogEntry& entry : changes_here_) ids.emplace_back(entry.objectId);
    for (const SyncPending& one : pending_) {
      if (one.side == SyncSide::kHere) ids.push_back(one.key);
    }
    for (const SyncPair& pair : known_.pairs) {
      if (pair.in_conflict) ids.push_back(pair.id);
    }
  }
  if (intent_ && !intent_->id.empty()) ids.push_back(intent_->id);
  for (const std::string& id : ids) {
    tools_.listener.Progress(client::NameOfStore(store_id_) + " here", known_.here.size(),
                             ids.size());
    if (!LookAtHere(id)) return false;
  }
  return true;
}

bool SyncRun::LookAtHere(const std::string& id) {
  if (known_.here.contains(id) || aside_here_.contains(id)) return true;
  OsifResult result = OSIF_OK;
  const std::string text = here_.TextWithoutId(id, result);
  if (result == OSIF_ERR_NOT_FOUND) {
    known_.here[id].exists = false;
  } else if (result != OSIF_OK) {
    const SyncPair* pair = PairOf(SyncSide::kHere, id);
    Refuse(SyncSide::kHere, {id, {}, pair == nullptr ? "" : pair->name}, client::CodeText(result));
    aside_here_.insert(id);
  } else {
    Take(SyncSide::kHere, id, text);
  }
  return true;
}

// What is as it was is not read.
void SyncRun::Take(SyncSide side, const std::string& key, const std::string& text) {
  const bool is_here = side == SyncSide::kHere;
  SyncLook& look = (is_here ? known_.here : known_.there)[key];
  look = {};
  look.hash = HashOf(store_id_, text);
  const SyncPair* pair = PairOf(side, key);
  if (pair != nullptr && look.hash == (is_here ? pair->hash_here : pair->hash_there)) {
    look.name = pair->name;
    return;
  }
  View view = ViewOf(store_id_, text);
  look.view = std::move(view.view);
  look.name = std::move(view.name);
}

bool SyncRun::LookThere() {
  if (known_.is_whole) return LookAtWholeThere();
  if (!LookAtChangesThere(changes_there_.entries)) return false;
  std::vector<std::string> luids;
  for (const SyncPending& one : pending_) {
    if (one.side == SyncSide::kThere) luids.push_back(one.key);
  }
  for (const SyncPair& pair : known_.pairs) {
    if (pair.in_conflict) luids.push_back(pair.luid);
  }
  if (intent_ && !intent_->luid.empty()) luids.push_back(intent_->luid);
  return std::ranges::all_of(luids, [&](const std::string& luid) {
    return known_.there.contains(luid) || aside_there_.contains(luid) || LookAtThere(luid);
  });
}

bool SyncRun::LookAtChangesThere(const std::vector<RemoteChange>& entries) {
  std::set<std::string> parted;  // by the ids here
  for (const RemoteChange& entry : entries) {
    tools_.listener.Progress(client::NameOfStore(store_id_) + " there", known_.there.size(),
                             entries.size());
    seen_there_ = std::max(seen_there_, entry.counter);
    texts_there_.erase(entry.luid);
    if (entry.kind == 'M') {
      if (!LookAtThere(entry.luid)) return false;
    } else if (entry.kind == 'H') {
      known_.there[entry.luid] = {};
      known_.there[entry.luid].exists = false;
    } else {
      // Gone there, and to be kept elsewhere: it is an object of this side alone.
      const SyncPair* pair = PairOf(SyncSide::kThere, entry.luid);
      if (pair == nullptr) continue;
      const std::string& id = pair->id;
      if (!settings_.only_looks && !tools_.state.Forget(id, {})) return FailState();
      known_.here.erase(id);
      parted.insert(id);
      pairs_by_luid_.erase(entry.luid);
      pairs_by_id_.erase(id);
    }
  }
  std::erase_if(known_.pairs, [&](const SyncPair& pair) { return parted.contains(pair.id); });
  IndexPairs();
  return true;
}

bool SyncRun::LookAtThere(const std::string& luid) {
  std::string text;
  const RemoteAnswer answer = there_.GetObject(luid, text);
  if (answer.is_lost()) return FailAs(answer);
  if (answer.Is(Code::kNotFound)) {
    known_.there[luid] = {};
    known_.there[luid].exists = false;
  } else if (!answer.is_done()) {
    const SyncPair* pair = PairOf(SyncSide::kThere, luid);
    Refuse(SyncSide::kThere, {{}, luid, pair == nullptr ? "" : pair->name}, answer.words);
    aside_there_.insert(luid);
  } else {
    Take(SyncSide::kThere, luid, text);
    KeepText(luid, std::move(text));
  }
  return true;
}

void SyncRun::KeepText(const std::string& luid, std::string text) {
  texts_size_ += text.size();
  if (texts_size_ <= kMostTexts) texts_there_[luid] = std::move(text);
}

// The counter is read before and after: what changed in between is told by the log from the first one on. The owner's card
// may stand first among the contacts, and has no id.
bool SyncRun::LookAtWholeThere() {
  RemoteAnswer answer = there_.GetCounter(seen_there_);
  if (!answer.is_done()) return FailAs(answer);
  std::string why;
  size_t count = 0;
  answer = there_.GetAll([&](std::string text) {
    const bool may_be_owner = count++ == 0 && store_id_ == OSIF_STORE_PB;
    tools_.listener.Progress(client::NameOfStore(store_id_) + " there", count, 0);
    if (client::WasInterrupted()) why = "interrupted";
    if (text.empty()) why = "an object of the partner's store is cut off or too large";
    if (!why.empty()) return false;
    const std::string luid = LuidOf(text);
    if (luid.empty() && may_be_owner) return true;
    if (!IsRemoteLuid(luid)) {
      why = "an object of the partner's store has no id";
      return false;
    }
    if (known_.there.contains(luid)) return true;
    Take(SyncSide::kThere, luid, text);
    if (PairOf(SyncSide::kThere, luid) == nullptr) KeepText(luid, std::move(text));
    return true;
  });
  if (!answer.is_done()) return FailAs(answer);
  if (count == 0 && !is_empty_there_) why = "the partner's store has objects, but none came";
  return why.empty() || Fail(why);
}

// Some partners count what their log does not tell; such a counter is taken as it is.
bool SyncRun::SettleCounter() {
  for (int attempt = 0; attempt < kMostCatchUps; ++attempt) {
    uint32_t counter = 0;
    RemoteAnswer answer = there_.GetCounter(counter);
    if (!answer.is_done()) return FailAs(answer);
    if (counter == seen_there_) return true;
    if (counter < seen_there_) return Fail("the partner's change counter went back");
    RemoteChanges more;
    answer = there_.GetChangesAfter(seen_there_, more);
    if (!answer.is_done()) return FailAs(answer);
    if (more.has_gap) return Fail(kChangedByOthers);
    std::erase_if(more.entries,
                  [&](const RemoteChange& entry) { return entry.counter <= seen_there_; });
    if (more.entries.empty()) {
      seen_there_ = counter;
      return true;
    }
    if (!LookAtChangesThere(more.entries)) return false;
  }
  return Fail(kChangedByOthers);
}

// An object that cannot be read is left alone, and so is the one that it is paired with.
void SyncRun::PutAside() {
  std::erase_if(known_.pairs, [&](const SyncPair& pair) {
    if (!aside_here_.contains(pair.id) && !aside_there_.contains(pair.luid)) return false;
    known_.here.erase(pair.id);
    known_.there.erase(pair.luid);
    return true;
  });
  IndexPairs();
}

// ---- What the last run may have left ------------------------------------------------------------------------

void SyncRun::Recover() {
  if (!intent_) return;
  const bool is_here = intent_->target == SyncSide::kHere;
  const SyncLooks& looks = is_here ? known_.here : known_.there;
  const auto bodied = [&](const std::string& text) {
    ReceivedBody body;
    return body.Add(text) ? here_.TextOfBody(body.Rewound()) : std::string();
  };
  const auto text_of = [&](const std::string& key) {
    std::string text;
    RemoteAnswer answer;
    if (is_here) return TextHere(key, text);
    return TextThere(key, text, answer) ? bodied(text) : std::string();
  };
  const std::string source = bodied(intent_->source_text);
  SyncTraces traces;
  for (const auto& [key, look] : looks) {
    if (!look.exists) continue;
    const SyncPair* pair = PairOf(intent_->target, key);
    if (key == intent_->target_key()) {
      const std::string text = text_of(key);
      traces.is_between = !text.empty() && HoldsAllOf(text, source);
    } else if (pair == nullptr && !look.name.empty() && look.name == intent_->source_name) {
      const std::string text = text_of(key);
      if (!text.empty() && HoldsAllOf(source, text)) traces.poorer.push_back(key);
    }
  }
  left_ = RecoverSync(*intent_, traces, known_);
  IndexPairs();
  const SyncSide source_side = is_here ? SyncSide::kThere : SyncSide::kHere;
  const SyncPair* pair = PairOf(source_side, is_here ? intent_->luid : intent_->id);
  if (pair != nullptr) recovered_ = *pair;
}

}  // namespace obex
