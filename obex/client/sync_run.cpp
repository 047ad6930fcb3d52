// First the change log here is opened, and so held against others; then the partner's is read. What both tell of is looked
// at, object by object; all objects, where a log does not tell everything. A plan is made of that, and carried out: each
// object is written, and its pair noted after that, with the intent noted before, so that whatever ends this in between,
// the next run finds what was done. Up to where the logs were read is noted last: a run that does not come to its end is
// told the same changes again, and knows by the pairs which of them it has dealt with.
#include "obex/client/sync_run.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "client/interrupt.h"
#include "client/store.h"
#include "client/texts.h"
#include "obex/client/object_content.h"
#include "obex/services/received_body.h"
#include "obex/services/sync_texts.h"

namespace obex {
namespace {

// Texts of objects there that are kept between their reading and their writing.
constexpr size_t kMostTexts = size_t{16} << 20;
// A store that another program uses is waited for, in milliseconds.
constexpr uint32_t kStorePatience = 2'000;
// How often changes are read that came while the others were.
constexpr int kMostCatchUps = 3;
// A change that gives the object a new id may count as that, an addition and a deletion.
constexpr uint32_t kStepsOfReplacement = 3;

constexpr const char* kOthersChanged = "the partner's store was changed by others meanwhile";

// The codes of partners that do not have a store.
bool IsMissing(const RemoteAnswer& answer) {
  return answer.Is(Code::kNotFound) || answer.Is(Code::kForbidden) ||
         answer.Is(Code::kNotImplemented);
}

}  // namespace

bool IsThisDevice(const DeviceFacts& partner) { return partner.serial_number == SerialNumber(); }

class SyncRun::Told final : public Journal {
 public:
  explicit Told(client::Listener& listener) : listener_(listener) {}

  void Tell(Deed deed, int32_t, const std::string&, const std::string& text) override {
    if (deed == Deed::kRefused) why_ = text;
  }
  void Begin(std::string_view) override {}
  void Fail(const std::string& what, OsifResult code) override { listener_.Fail(what, code); }
  void Note(const std::string& text) override { listener_.Note(text); }
  void Progress(const std::string& work, size_t done, size_t total) override {
    listener_.Progress(work, done, total);
  }
  void TraceLine(const std::string& line) override { listener_.TraceLine(line); }
  void SetBeforeLine(std::function<void()> before) override {
    listener_.SetBeforeLine(std::move(before));
  }

  const std::string& why() const { return why_; }

 private:
  client::Listener& listener_;
  std::string why_;
};

SyncRun::SyncRun(int32_t store_id, const SyncSettings& settings, const SyncTools& tools)
    : store_id_(store_id),
      settings_(settings),
      tools_(tools),
      here_(store_id, tools.session),
      there_(store_id, tools.peer) {}

SyncReport SyncRun::Run() {
  if (!OpenHere() || !OpenThere() || !report_.is_offered || !Look()) return report_;
  Recover();
  const std::vector<SyncAction> plan = PlanSync(known_, settings_.preference);
  report_.equal = CountEqual(plan, known_);
  if (MayDelete(plan) && CarryOut(plan)) report_.is_complete = NoteEnd();
  return report_;
}

bool SyncRun::Fail(const std::string& why) {
  report_.failure = why;
  return false;
}

bool SyncRun::FailAs(const RemoteAnswer& answer) {
  report_.is_lost = answer.is_lost();
  return Fail(answer.words);
}

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
  } else if (changes_there_->has_gap) {
    report_.why_whole = "the partner's log has a gap";
  } else if (changes_here_ = here_.ChangesAfter(*anchors->counter_here); !changes_here_) {
    report_.why_whole = "the device's log has a gap";
  } else {
    report_.kind = SyncKind::kChanges;
  }
}

bool SyncRun::LookHere() {
  std::vector<std::string> ids;
  if (known_.is_whole) {
    ids = here_.Ids();
  } else {
    for (const ChangeLogEntry& entry : *changes_here_) ids.emplace_back(entry.objectId);
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
  if (!LookAtChangesThere(changes_there_->entries)) return false;
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
      const std::string id = pair->id;
      if (!settings_.only_looks && !tools_.state.Forget(id, {})) return FailState();
      std::erase_if(known_.pairs, [&](const SyncPair& one) { return one.id == id; });
      IndexPairs();
      known_.here.erase(id);
    }
  }
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
    if (more.has_gap) return Fail(kOthersChanged);
    std::erase_if(more.entries,
                  [&](const RemoteChange& entry) { return entry.counter <= seen_there_; });
    if (more.entries.empty()) {
      seen_there_ = counter;
      return true;
    }
    if (!LookAtChangesThere(more.entries)) return false;
  }
  return Fail(kOthersChanged);
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

bool SyncRun::FinishRecovery() {
  if (settings_.only_looks || !recovered_) return true;
  if (left_ && left_->deed == SyncDeed::kDeleteHere) {
    Told told(tools_.listener);
    StoreWriter(here_, tools_.uids, told).Remove(left_->id);
  } else if (left_) {
    const RemoteWritten written = there_.Delete(left_->luid, seen_there_);
    if (written.answer.is_lost()) return FailAs(written.answer);
    if (written.answer.is_done() && !TakeCounter(written, seen_there_ + 1)) return false;
  }
  return tools_.state.Keep(*recovered_) || FailState();
}

// ---- Doing --------------------------------------------------------------------------------------------------

bool SyncRun::MayDelete(const std::vector<SyncAction>& plan) {
  if (settings_.forces_deletions) return true;
  for (const SyncSide side : {SyncSide::kHere, SyncSide::kThere}) {
    const size_t count = CountDeletions(plan, side);
    if (!IsTooManyDeletions(count, known_.pairs.size())) continue;
    return Fail(std::to_string(count) + " of " + std::to_string(known_.pairs.size()) +
                " objects would be deleted " + (side == SyncSide::kHere ? "here" : "there") +
                ", nothing was done; --force-delete does it");
  }
  return true;
}

bool SyncRun::CarryOut(const std::vector<SyncAction>& plan) {
  if (!FinishRecovery()) return false;
  size_t done = 0;
  for (const SyncAction& action : plan) {
    if (client::WasInterrupted()) return Fail("interrupted");
    tools_.listener.Progress(client::NameOfStore(store_id_), done++, plan.size());
    if (!Do(action)) return false;
  }
  return true;
}

bool SyncRun::Do(const SyncAction& action) {
  switch (action.deed) {
    case SyncDeed::kPair:
      return Pair(action);
    case SyncDeed::kForget:
      return settings_.only_looks || tools_.state.Forget(action.id, action.luid) || FailState();
    case SyncDeed::kReceive:
      return Receive(action);
    case SyncDeed::kSend:
      return Send(action);
    case SyncDeed::kDeleteHere:
      return DeleteHere(action);
    case SyncDeed::kDeleteThere:
      return DeleteThere(action);
    case SyncDeed::kConflict:
      return Conflict(action);
  }
  return true;
}

bool SyncRun::Pair(const SyncAction& action) {
  const SyncPair* known = PairOf(SyncSide::kHere, action.id);
  const bool is_new = known == nullptr || known->luid != action.luid;
  SyncPair pair = is_new ? SyncPair{action.id, action.luid} : *known;
  if (const auto look = known_.here.find(action.id); look != known_.here.end()) {
    pair.hash_here = look->second.hash;
    pair.name = look->second.name;
  }
  if (const auto look = known_.there.find(action.luid); look != known_.there.end()) {
    pair.hash_there = look->second.hash;
  }
  pair.in_conflict = false;
  if (!settings_.only_looks && !tools_.state.Keep(pair)) return FailState();
  if (is_new) Count(SyncDone::kPaired, ObjectOf(action));
  return true;
}

bool SyncRun::Receive(const SyncAction& action) {
  SyncObject object = ObjectOf(action);
  TellOverruled(action);
  if (settings_.only_looks) {
    Count(SyncDone::kReceived, object);
    return true;
  }
  std::string text;
  RemoteAnswer answer;
  if (!TextThere(action.luid, text, answer)) {
    if (answer.is_lost()) return FailAs(answer);
    Refuse(SyncSide::kThere, object, answer.words);
    return true;
  }
  const SyncLook& look = known_.there[action.luid];
  SyncIntent intent{SyncSide::kHere, action.id, action.luid, look.hash, look.view, look.name, text};
  if (!tools_.state.Begin(intent)) return FailState();
  ReceivedBody body;
  Told told(tools_.listener);
  StoreWriter writer(here_, tools_.uids, told);
  Change change{Code::kDatabaseFull};
  if (body.Add(text))
    change = action.id.empty() ? writer.Add(body) : writer.Replace(action.id, body);
  if (change.code != Code::kSuccess) {
    Refuse(SyncSide::kHere, object, told.why().empty() ? "no room for it" : told.why());
    return tools_.state.Drop() || FailState();
  }
  std::string why;
  const std::string stored = TextHere(change.id, why);
  const SyncPair pair{change.id, action.luid, stored.empty() ? "" : HashOf(store_id_, stored),
                      HashOf(store_id_, text), object.name};
  if (!tools_.state.Keep(pair)) return FailState();
  object.id = change.id;
  Count(SyncDone::kReceived, object);
  return true;
}

bool SyncRun::Send(const SyncAction& action) {
  SyncObject object = ObjectOf(action);
  TellOverruled(action);
  if (settings_.only_looks) {
    Count(SyncDone::kSent, object);
    return true;
  }
  std::string why;
  const std::string text = TextHere(action.id, why);
  if (text.empty()) {
    Refuse(SyncSide::kHere, object, why);
    return true;
  }
  const std::string hash = HashOf(store_id_, text);
  const std::string whole = here_.Begin() + text + here_.End();
  const View view = ViewOf(store_id_, whole);
  SyncIntent intent{SyncSide::kThere, action.id, action.luid, hash, view.view, view.name, whole};
  if (!tools_.state.Begin(intent)) return FailState();
  const RemoteWritten written = action.luid.empty()
                                    ? there_.Add(whole, seen_there_)
                                    : there_.Change(action.luid, whole, seen_there_);
  if (written.answer.kind == RemoteAnswer::Kind::kRefused) {
    if (!tools_.state.Drop()) return FailState();
    if (written.answer.Is(Code::kConflict)) return Fail(kOthersChanged);
    Refuse(SyncSide::kThere, object, written.answer.words);
    return true;
  }
  if (!written.answer.is_done()) return FailAs(written.answer);
  if (const SyncPair* other = PairOf(SyncSide::kThere, written.luid);
      other != nullptr && other->id != action.id && known_.here.contains(other->id) &&
      known_.here[other->id].exists) {
    return Fail("the partner gave an object the id of another one, " + written.luid);
  }
  // What the partner keeps of it is what tells its later changes.
  std::string kept;
  const RemoteAnswer read = there_.GetObject(written.luid, kept);
  if (read.is_lost()) return FailAs(read);
  const SyncPair pair{action.id, written.luid, hash,
                      read.is_done() ? HashOf(store_id_, kept) : std::string(), object.name};
  if (!tools_.state.Keep(pair)) return FailState();
  object.luid = written.luid;
  Count(SyncDone::kSent, object);
  const bool is_replaced = !action.luid.empty() && written.luid != action.luid;
  return TakeCounter(written, seen_there_ + (is_replaced ? kStepsOfReplacement : 1));
}

bool SyncRun::TakeCounter(const RemoteWritten& written, uint32_t most) {
  uint32_t counter = 0;
  if (written.counter) {
    counter = *written.counter;
  } else if (const RemoteAnswer answer = there_.GetCounter(counter); !answer.is_done()) {
    return FailAs(answer);
  }
  if (counter > most) return Fail(kOthersChanged);
  if (counter < seen_there_) return Fail("the partner's change counter went back");
  seen_there_ = counter;
  return true;
}

bool SyncRun::DeleteHere(const SyncAction& action) {
  const SyncObject object = ObjectOf(action);
  if (!settings_.only_looks) {
    Told told(tools_.listener);
    const Change change = StoreWriter(here_, tools_.uids, told).Remove(action.id);
    if (change.code != Code::kSuccess && change.code != Code::kNotFound) {
      Refuse(SyncSide::kHere, object, told.why());
      return true;
    }
    if (!tools_.state.Forget(action.id, action.luid)) return FailState();
  }
  Count(SyncDone::kDeletedHere, object);
  return true;
}

bool SyncRun::DeleteThere(const SyncAction& action) {
  const SyncObject object = ObjectOf(action);
  if (settings_.only_looks) {
    Count(SyncDone::kDeletedThere, object);
    return true;
  }
  const RemoteWritten written = there_.Delete(action.luid, seen_there_);
  const bool is_gone = written.answer.Is(Code::kNotFound);
  if (written.answer.Is(Code::kConflict)) return Fail(kOthersChanged);
  if (written.answer.kind == RemoteAnswer::Kind::kRefused && !is_gone) {
    Refuse(SyncSide::kThere, object, written.answer.words);
    return true;
  }
  if (!written.answer.is_done() && !is_gone) return FailAs(written.answer);
  if (!tools_.state.Forget(action.id, action.luid)) return FailState();
  Count(SyncDone::kDeletedThere, object);
  return is_gone || TakeCounter(written, seen_there_ + 1);
}

bool SyncRun::Conflict(const SyncAction& action) {
  const SyncObject object = ObjectOf(action);
  report_.conflicts.push_back(object);
  tools_.observer.OnConflict(object);
  if (settings_.only_looks) return true;
  SyncPair pair = *PairOf(SyncSide::kHere, action.id);
  pair.in_conflict = true;
  return tools_.state.Keep(pair) || FailState();
}

void SyncRun::TellOverruled(const SyncAction& action) {
  if (!action.overrules) return;
  const bool is_here = action.deed == SyncDeed::kReceive;
  std::string text;
  std::string why;
  RemoteAnswer answer;
  if (is_here) text = TextHere(action.id, why);
  if (!is_here) TextThere(action.luid, text, answer);
  tools_.observer.OnOverruled(is_here ? SyncSide::kHere : SyncSide::kThere, ObjectOf(action), text);
}

bool SyncRun::NoteEnd() {
  if (settings_.only_looks) return true;
  anchors_.counter_here = here_.Counter();
  anchors_.counter_there = seen_there_;
  return (tools_.state.SetPending(new_pending_) && tools_.state.SetAnchors(anchors_)) ||
         FailState();
}

// ---- Small things -------------------------------------------------------------------------------------------

// After each change of the list.
void SyncRun::IndexPairs() {
  pairs_by_id_.clear();
  pairs_by_luid_.clear();
  for (size_t i = 0; i < known_.pairs.size(); ++i) {
    pairs_by_id_[known_.pairs[i].id] = i;
    pairs_by_luid_[known_.pairs[i].luid] = i;
  }
}

const SyncPair* SyncRun::PairOf(SyncSide side, const std::string& key) const {
  const auto& places = side == SyncSide::kHere ? pairs_by_id_ : pairs_by_luid_;
  const auto place = places.find(key);
  return place == places.end() ? nullptr : &known_.pairs[place->second];
}

SyncObject SyncRun::ObjectOf(const SyncAction& action) const {
  SyncObject object{action.id, action.luid, {}};
  const auto there = known_.there.find(action.luid);
  if (there != known_.there.end()) object.name = there->second.name;
  const auto here = known_.here.find(action.id);
  if (here != known_.here.end() && action.deed != SyncDeed::kReceive && here->second.exists) {
    object.name = here->second.name;
  }
  const SyncPair* pair = PairOf(SyncSide::kHere, action.id);
  if (object.name.empty() && pair != nullptr) object.name = pair->name;
  return object;
}

std::string SyncRun::TextHere(const std::string& id, std::string& why) {
  OsifResult result = OSIF_OK;
  std::string text = here_.TextWithoutId(id, result);
  if (text.empty()) why = client::CodeText(result);
  return text;
}

bool SyncRun::TextThere(const std::string& luid, std::string& text, RemoteAnswer& answer) {
  if (const auto kept = texts_there_.find(luid); kept != texts_there_.end()) {
    text = kept->second;
    return true;
  }
  answer = there_.GetObject(luid, text);
  return answer.is_done();
}

void SyncRun::Count(SyncDone done, const SyncObject& object) {
  static constexpr size_t SyncReport::*kCounts[] = {
      &SyncReport::received, &SyncReport::sent, &SyncReport::deleted_here,
      &SyncReport::deleted_there, &SyncReport::paired};
  ++(report_.*kCounts[static_cast<size_t>(done)]);
  tools_.observer.OnDone(done, object);
}

void SyncRun::Refuse(SyncSide side, const SyncObject& object, const std::string& why) {
  report_.refused.push_back({side, object, why});
  tools_.observer.OnRefused(report_.refused.back());
  if (!object.id.empty()) new_pending_.push_back({SyncSide::kHere, object.id});
  if (!object.luid.empty()) new_pending_.push_back({SyncSide::kThere, object.luid});
}

}  // namespace obex
