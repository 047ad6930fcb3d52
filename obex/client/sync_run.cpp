// The plan that was made of what both sides told is carried out: each object is written, and its pair noted after that, with
// the intent noted before, so that whatever ends this in between, the next run finds what was done. Up to where the logs
// were read is noted last: a run that does not come to its end is told the same changes again, and knows by the pairs which
// of them it has dealt with.
#include "obex/client/sync_run.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "client/interrupt.h"
#include "client/store.h"
#include "client/texts.h"
#include "obex/client/object_content.h"
#include "obex/services/received_body.h"
#include "obex/services/refusal.h"
#include "obex/services/sync_texts.h"

namespace obex {
namespace {

// A change that gives the object a new id may count as that, an addition and a deletion.
constexpr uint32_t kStepsOfReplacement = 3;

}  // namespace

bool IsThisDevice(const DeviceFacts& partner) { return partner.serial_number == SerialNumber(); }

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

bool SyncRun::FinishRecovery() {
  if (settings_.only_looks || !recovered_) return true;
  if (left_ && left_->deed == SyncDeed::kDeleteHere) {
    RefusalKeeper told(tools_.listener);
    StoreWriter(here_, tools_.uids, told).Remove(left_->id);
  } else if (left_) {
    const RemoteWritten written = there_.Delete(left_->luid, seen_there_);
    if (written.answer.is_lost()) return FailAs(written.answer);
    if (written.answer.is_done() && !TakeCounter(written, seen_there_ + 1)) return false;
  }
  return tools_.state.Keep(*recovered_) || FailState();
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
  const SyncObject object = ObjectOf(action);
  TellOverruled(action);
  if (settings_.only_looks) {
    Count(SyncDone::kReceived, object);
    return true;
  }
  std::string text;
  RemoteAnswer answer;
  if (TextThere(action.luid, text, answer)) return Store(object, text);
  if (answer.is_lost()) return FailAs(answer);
  Refuse(SyncSide::kThere, object, answer.words);
  return true;
}

bool SyncRun::Store(SyncObject object, const std::string& text) {
  const SyncLook& look = known_.there[object.luid];
  const std::string hash = HashOf(store_id_, text);
  if (!tools_.state.Begin(
          {SyncSide::kHere, object.id, object.luid, hash, look.view, look.name, text})) {
    return FailState();
  }
  ReceivedBody body;
  RefusalKeeper told(tools_.listener);
  StoreWriter writer(here_, tools_.uids, told);
  Change change{Code::kDatabaseFull};
  if (body.Add(text)) {
    change = object.id.empty() ? writer.Add(body) : writer.Replace(object.id, body);
  }
  if (change.code != Code::kSuccess) {
    Refuse(SyncSide::kHere, object, told.why().empty() ? "no room for it" : told.why());
    return tools_.state.Drop() || FailState();
  }
  object.id = change.id;
  std::string why;
  const std::string stored = TextHere(object.id, why);
  const std::string hash_here = stored.empty() ? "" : HashOf(store_id_, stored);
  if (!tools_.state.Keep({object.id, object.luid, hash_here, hash, object.name})) {
    return FailState();
  }
  Count(SyncDone::kReceived, object);
  return true;
}

bool SyncRun::Send(const SyncAction& action) {
  const SyncObject object = ObjectOf(action);
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
  if (!tools_.state.Begin(
          {SyncSide::kThere, action.id, action.luid, hash, view.view, view.name, whole})) {
    return FailState();
  }
  const RemoteWritten written = action.luid.empty()
                                    ? there_.Add(whole, seen_there_)
                                    : there_.Change(action.luid, whole, seen_there_);
  if (written.answer.is_done()) return NoteSent(object, hash, written);
  if (written.answer.kind != RemoteAnswer::Kind::kRefused) return FailAs(written.answer);
  if (!tools_.state.Drop()) return FailState();
  if (written.answer.Is(Code::kConflict)) return Fail(kChangedByOthers);
  Refuse(SyncSide::kThere, object, written.answer.words);
  return true;
}

// What the partner keeps of an object is what tells its later changes.
bool SyncRun::NoteSent(SyncObject object, const std::string& hash, const RemoteWritten& written) {
  const bool is_replaced = !object.luid.empty() && written.luid != object.luid;
  object.luid = written.luid;
  if (IsOfAnother(object)) {
    return Fail("the partner gave an object the id of another one, " + object.luid);
  }
  std::string kept;
  const RemoteAnswer read = there_.GetObject(object.luid, kept);
  if (read.is_lost()) return FailAs(read);
  const std::string hash_there = read.is_done() ? HashOf(store_id_, kept) : std::string();
  if (!tools_.state.Keep({object.id, object.luid, hash, hash_there, object.name})) {
    return FailState();
  }
  Count(SyncDone::kSent, object);
  return TakeCounter(written, seen_there_ + (is_replaced ? kStepsOfReplacement : 1));
}

bool SyncRun::IsOfAnother(const SyncObject& object) {
  if (!given_there_.insert(object.luid).second) return true;
  const SyncPair* pair = PairOf(SyncSide::kThere, object.luid);
  if (pair == nullptr || pair->id == object.id) return false;
  const auto look = known_.here.find(pair->id);
  return look == known_.here.end() || look->second.exists;
}

bool SyncRun::TakeCounter(const RemoteWritten& written, uint32_t most) {
  uint32_t counter = 0;
  if (written.counter) {
    counter = *written.counter;
  } else if (const RemoteAnswer answer = there_.GetCounter(counter); !answer.is_done()) {
    return FailAs(answer);
  }
  if (counter > most) return Fail(kChangedByOthers);
  if (counter < seen_there_) return Fail("the partner's change counter went back");
  seen_there_ = counter;
  return true;
}

bool SyncRun::DeleteHere(const SyncAction& action) {
  const SyncObject object = ObjectOf(action);
  if (!settings_.only_looks) {
    RefusalKeeper told(tools_.listener);
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
  if (written.answer.Is(Code::kConflict)) return Fail(kChangedByOthers);
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
