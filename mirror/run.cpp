// Look, then act. The store's log tells which objects have changed since the last run, the folder's stamps which files; what
// is left of both after the texts were compared is a table of nine cases. Each object is written, and noted as agreed,
// before the next one is begun. Only when all is done the position in the store's log moves on: a run that is interrupted
// finds the same changes again, and of what it did that both sides are equal.
//
// What is read of the store is never the file's text but the store's own, in the folder's form; and what the store held when
// the two last agreed is kept. The difference of these two is what has changed there, whatever the store made of the file.
#include "mirror/run.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <iterator>
#include <utility>

#include "client/damage.h"
#include "client/interrupt.h"
#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "dialects/content_line.h"
#include "obex/client/object_content.h"
#include "obex/client/sync_plan.h"
#include "obex/services/refusal.h"
#include "obex/services/store_writer.h"

namespace mirror {
namespace {

constexpr uint32_t kBusyPatience = 10'000;  // milliseconds
// Clocks of file systems tick up to two seconds apart: a file that was written so shortly before it was looked at may
// have been written again without its stamp telling.
constexpr int64_t kClockTick = 2;

dialects::Form FormOf(int32_t store_id) {
  return store_id == OSIF_STORE_PB ? dialects::Form::kVCard30 : dialects::Form::kICal20;
}

// A text that says nothing, to which everything is new.
std::string_view NothingOf(int32_t store_id) {
  return store_id == OSIF_STORE_PB
             ? "BEGIN:VCARD\r\nVERSION:3.0\r\nEND:VCARD\r\n"
             : "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
}

// A calendar's text, as the strict reader takes it, without the lines of which the store makes its own.
std::string WithoutOwn(std::string_view text) {
  static constexpr std::array<std::string_view, 6> kOwn = {"AALARM", "DALARM",   "STATUS",
                                                           "CLASS",  "PRIORITY", "COMPLETED"};
  std::string left;
  while (!text.empty()) {
    const std::string_view whole = text;
    const std::string_view line = dialects::TakePhysicalLine(text);
    const std::string_view name = line.substr(0, line.find_first_of(":;"));
    if (std::ranges::find(kOwn, name) == kOwn.end()) {
      left += whole.substr(0, whole.size() - text.size());
    }
  }
  return left;
}

int64_t Now() { return static_cast<int64_t>(std::time(nullptr)); }

bool IsSettled(const MirrorPair& pair) {
  return pair.stamp.modified / 1'000'000'000 + kClockTick < pair.noted;
}

}  // namespace

bool MirrorReport::HasDoneNothing() const {
  return std::ranges::all_of(done, [](size_t count) { return count == 0; });
}

MirrorRun::MirrorRun(int32_t store_id, const MirrorSettings& settings, const MirrorTools& tools)
    : store_id_(store_id),
      settings_(settings),
      tools_(tools),
      store_(store_id, tools.session),
      texts_(store_id, tools.session, FormOf(store_id)) {}

MirrorReport MirrorRun::Run() {
  if (Open() && Look() && MayDelete() && CarryOut()) {
    tools_.folder.Flush();
    report_.is_complete = NoteEnd();
  }
  return report_;
}

bool MirrorRun::Fail(const std::string& why) {
  report_.failure = why;
  return false;
}

// Refusals do not end a run.
bool MirrorRun::Refuse(const MirrorObject& object, const std::string& why) {
  ++report_.refused;
  if (!object.id.empty()) pending_.insert(object.id);
  tools_.observer.OnRefused(object, why);
  return true;
}

bool MirrorRun::Count(MirrorDone done, const MirrorObject& object) {
  ++report_.done[static_cast<size_t>(done)];
  tools_.observer.OnDone(done, object);
  return true;
}

bool MirrorRun::NoteEnd() {
  const bool is_as_it_was = former_position_ == position_ && former_pending_ == pending_;
  return is_as_it_was || settings_.only_looks || tools_.state.SetPosition(position_, pending_) ||
         FailState();
}

// ---- Looking ------------------------------------------------------------------------------------------------

bool MirrorRun::Open() {
  if (!tools_.session.OpenWhenFree(store_id_, kBusyPatience)) {
    return Fail(tools_.session.ChangeLogText(store_id_) +
                " is in use by another program, nothing was changed");
  }
  const OsifResult opened = store_.Open();
  if (opened == OSIF_OK) return true;
  return Fail(tools_.session.ChangeLogText(store_id_) + ": " + client::CodeText(opened));
}

bool MirrorRun::Look() {
  std::vector<MirrorPair> pairs;
  std::optional<MirrorIntent> intent;
  if (!tools_.state.Read(former_position_, pairs, former_pending_, intent)) return FailState();
  for (MirrorPair& pair : pairs) known_.push_back({std::move(pair)});
  IndexPairs();
  const std::string database_id = store_.DatabaseId();
  if (!former_position_) {
    report_.why_whole = "first run";
  } else if (former_position_->database_id != database_id) {
    report_.why_whole = "another store";
    if (!ForgetOthers()) return false;
  } else {
    position_ = *former_position_;
  }
  position_.database_id = database_id;
  const bool is_other = former_position_ && former_position_->database_id != database_id;
  if (intent && !is_other && !Recover(*intent)) return false;
  return LookAtStore() && LookAtFolder() && IsWhole();
}

// To the library what lies in a damaged part of the database is not there: nothing of a file may be concluded from that.
bool MirrorRun::IsWhole() {
  return !client::TellDamage(tools_.listener) || Fail("nothing more was changed");
}

// Ids of another store mean other objects. Those that bear the UID of their file are known all the same: only the log
// was lost. Files of the others are found to be somebody's anew, and none of them is deleted for what is not there.
bool MirrorRun::ForgetOthers() {
  std::vector<Known> kept;
  for (Known& known : known_) {
    OsifResult result = OSIF_OK;
    const std::string& id = known.pair.id;
    const bool is_known = !id.empty() && tools_.uids.Find(store_id_, id) == known.pair.uid &&
                          !store_.TextWithoutId(id, result).empty();
    if (is_known) {
      kept.push_back(std::move(known));
    } else if (!tools_.state.Forget(known.pair.name)) {
      return FailState();
    }
  }
  known_ = std::move(kept);
  IndexPairs();
  former_pending_.clear();
  return tools_.state.Drop() || FailState();
}

void MirrorRun::IndexPairs() {
  by_id_.clear();
  by_name_.clear();
  for (size_t i = 0; i < known_.size(); ++i) {
    by_name_[known_[i].pair.name] = i;
    if (!known_[i].pair.id.empty()) by_id_[known_[i].pair.id] = i;
  }
}

bool MirrorRun::LookAtStore() {
  std::optional<std::vector<ChangeLogEntry>> entries;
  if (report_.why_whole.empty()) entries = store_.ChangesAfter(position_.counter);
  if (!entries && report_.why_whole.empty()) report_.why_whole = "its log does not reach back";
  position_.counter = store_.Counter();
  if (!entries) return LookAtWholeStore();
  std::set<std::string> ids(former_pending_.begin(), former_pending_.end());
  for (const ChangeLogEntry& entry : *entries) ids.insert(entry.objectId);
  for (const std::string& id : ids) LookAtObject(id);
  return true;
}

// Also at objects that are not among the store's ids: only where one is asked for it is certain that it is gone.
bool MirrorRun::LookAtWholeStore() {
  std::set<std::string> ids;
  const OsifResult listed = client::ForEachId(store_id_, [&](const char* id) { ids.insert(id); });
  if (listed != OSIF_OK) return Fail(client::CodeText(listed));
  for (const Known& known : known_) {
    if (!known.pair.id.empty()) ids.insert(known.pair.id);
  }
  size_t done = 0;
  for (const std::string& id : ids) {
    tools_.listener.Progress("looking at " + client::NameOfStore(store_id_), done++, ids.size());
    LookAtObject(id);
  }
  return true;
}

void MirrorRun::LookAtObject(const std::string& id) {
  const auto place = by_id_.find(id);
  Known* known = place == by_id_.end() ? nullptr : &known_[place->second];
  OsifResult result = OSIF_OK;
  const std::string uid = known == nullptr ? std::string() : known->pair.uid;
  const std::string text = texts_.TextWithUid(id, uid.empty() ? OwnUidOf(id) : uid, result);
  if (result == OSIF_ERR_NOT_FOUND) {
    if (known != nullptr) known->store = Side::kGone;
  } else if (text.empty()) {
    // It is there, and cannot be read: its file is not to be taken for the better one.
    if (known != nullptr) known->is_aside = true;
    Refuse({known == nullptr ? "" : known->pair.name, id}, client::CodeText(result));
  } else if (known == nullptr) {
    new_ids_.push_back(id);
  } else if (ContentKey(text) != known->pair.store_key) {
    known->store = Side::kChanged;
  }
}

void MirrorRun::SetAside(const std::string& name, const std::string& why) {
  const auto place = by_name_.find(name);
  Known* known = place == by_name_.end() ? nullptr : &known_[place->second];
  if (known != nullptr) {
    known->is_aside = true;
    known->file = Side::kSame;
  }
  Refuse({name, known == nullptr ? "" : known->pair.id}, why);
}

bool MirrorRun::LookAtFolder() {
  std::vector<FoundFile> files;
  std::vector<RefusedFile> refused;
  if (!tools_.folder.List(files, refused)) return Fail(tools_.folder.why_not());
  for (Known& known : known_) known.file = Side::kGone;
  for (const RefusedFile& file : refused) SetAside(file.name, file.why);
  std::vector<const FoundFile*> unknown;
  for (const FoundFile& file : files) {
    const auto place = by_name_.find(file.name);
    if (place == by_name_.end()) {
      unknown.push_back(&file);
    } else if (!LookAtKnown(known_[place->second], file)) {
      unknown.push_back(&file);
    }
  }
  for (const Known& known : known_) {
    if (known.file != Side::kGone) uids_in_folder_.insert(known.pair.uid);
  }
  std::map<std::string, size_t> missing;
  for (size_t i = 0; i < known_.size(); ++i) {
    if (known_[i].file == Side::kGone) missing[known_[i].pair.uid] = i;
  }
  for (const FoundFile* file : unknown) LookAtNew(*file, missing);
  return renamed_.empty() || tools_.state.Rename(renamed_) || FailState();
}

// False where the name has gone over to a file of another UID.
bool MirrorRun::LookAtKnown(Known& known, const FoundFile& file) {
  known.file = Side::kSame;
  if (file.stamp == known.pair.stamp && IsSettled(known.pair)) return true;
  std::string text;
  FileStamp stamp;
  const int64_t noted = Now();
  if (!tools_.folder.Read(file.name, text, stamp)) {
    SetAside(file.name, tools_.folder.why_not());
    return true;
  }
  const bool is_same = ContentKey(text) == known.pair.file_key;
  if (!is_same) {
    const std::string uid = UidOfFile(store_id_, text);
    // Of what is no object its UID says nothing.
    if (!uid.empty() && uid != known.pair.uid && ReadFileObject(store_id_, text).refusal.empty()) {
      known.file = Side::kGone;
      return false;
    }
  }
  known.pair.stamp = stamp;
  known.pair.noted = noted;
  if (!is_same) {
    known.file = Side::kChanged;
  } else if (known.store == Side::kSame) {
    tools_.state.KeepStamp(known.pair);
  }
  return true;
}

// A file of a known UID whose own file is missing was renamed.
void MirrorRun::LookAtNew(const FoundFile& file, std::map<std::string, size_t>& missing) {
  std::string text;
  NewFile found{file.name, {}, {}};
  if (!tools_.folder.Read(file.name, text, found.stamp)) {
    return SetAside(file.name, tools_.folder.why_not());
  }
  found.uid = UidOfFile(store_id_, text);
  if (!found.uid.empty() && !uids_in_folder_.insert(found.uid).second) {
    return SetAside(file.name, "another file has the same UID, " + found.uid);
  }
  const auto place = missing.find(found.uid);
  if (found.uid.empty() || place == missing.end()) {
    new_files_.push_back(std::move(found));
    return;
  }
  Known& known = known_[place->second];
  const std::string former = std::exchange(known.pair.name, file.name);
  known.pair.stamp = found.stamp;
  known.pair.noted = Now();
  known.file = ContentKey(text) == known.pair.file_key ? Side::kSame : Side::kChanged;
  // Until a changed one is agreed on, it is to be found changed.
  MirrorPair renamed = known.pair;
  if (known.file == Side::kChanged) renamed.stamp = {};
  renamed_.emplace_back(former, std::move(renamed));
  missing.erase(place);
}

// A run that ended while the store was written. What it has added is told by its UID; and where that was not noted any more
// while the old object was still there, by that it says nothing which the old one does not. The number in the log does not
// tell it: a log that was not closed is compared with the store when it is opened, and what it finds gets another number. An
// old object that does not say what was sent was not reached, or changed by others since: it is looked at as all others are.
bool MirrorRun::Recover(const MirrorIntent& intent) {
  if (settings_.only_looks) return true;
  const auto entries = store_.ChangesAfter(intent.counter);
  if (!entries) return tools_.state.Drop() || FailState();
  const FileObject object = ReadFileObject(store_id_, intent.text);
  OsifResult result = OSIF_ERR_NOT_FOUND;
  const std::string old =
      intent.id.empty() ? std::string() : store_.TextWithoutId(intent.id, result);
  const bool is_old_there = result == OSIF_OK;
  const auto is_ours = [&](const ChangeLogEntry& entry) {
    if (entry.kind != 'M' || by_id_.contains(entry.objectId)) return false;
    const std::string uid = tools_.uids.Find(store_id_, entry.objectId);
    if (!uid.empty()) return uid == intent.uid;
    OsifResult ignored = OSIF_OK;
    if (is_old_there) {
      return obex::HoldsAllOf(old, store_.TextWithoutId(entry.objectId, ignored));
    }
    return intent.id.empty() && (static_cast<uint32_t>(entry.changeCounter) == intent.counter + 1 ||
                                 OwnViewOf(entry.objectId) == ViewWithoutOwn(object.strict));
  };
  // A change may have gone on as a new object that was to take the old one's place.
  const auto added = std::ranges::find_if(*entries, is_ours);
  obex::RefusalKeeper told(tools_.listener);
  obex::StoreWriter writer(store_, tools_.uids, told);
  const auto place = by_name_.find(intent.name);
  MirrorPair pair = place == by_name_.end() ? MirrorPair{} : known_[place->second].pair;
  pair.name = intent.name;
  pair.uid = intent.uid;
  pair.stamp = {};
  if (added != entries->end() && !is_old_there) {
    pair.id = added->objectId;
  } else if (is_old_there && (added != entries->end() || obex::HoldsAllOf(old, object.strict) ||
                              OwnViewOf(intent.id) == ViewWithoutOwn(object.strict))) {
    if (added != entries->end()) writer.Remove(added->objectId);
    obex::ReceivedBody body;
    if (!body.Add(object.strict)) return Fail("there is no room in memory");
    const obex::Change change = writer.Replace(intent.id, body);
    if (change.code != obex::Code::kSuccess) return tools_.state.Drop() || FailState();
    pair.id = change.id;
  } else {
    return tools_.state.Drop() || FailState();
  }
  if (!intent.uid.empty()) tools_.uids.Keep(store_id_, pair.id, intent.uid);
  std::string why;
  const std::string stored = StoreText(pair.id, pair.uid, why);
  if (stored.empty()) return tools_.state.Drop() || FailState();
  if (!Keep(pair, {intent.text, stored})) return false;
  pair.file_key = ContentKey(intent.text);
  pair.store_key = ContentKey(stored);
  if (place == by_name_.end()) {
    known_.push_back({pair});
  } else {
    known_[place->second].pair = pair;
  }
  IndexPairs();
  return true;
}

bool MirrorRun::MayDelete() {
  if (settings_.forces_deletions) return true;
  const auto count = [&](auto&& is_deleted) {
    return static_cast<size_t>(std::ranges::count_if(
        known_, [&](const Known& known) { return !known.is_aside && is_deleted(known); }));
  };
  const size_t in_store = count([](const Known& known) {
    return known.file == Side::kGone && known.store == Side::kSame && !known.pair.id.empty();
  });
  const size_t in_folder = count(
      [](const Known& known) { return known.store == Side::kGone && known.file == Side::kSame; });
  for (const auto& [deletions, where] :
       {std::pair(in_store, "objects would be deleted from the store"),
        std::pair(in_folder, "files would be removed from the folder")}) {
    const bool are_all = deletions > 1 && deletions == known_.size();
    if (!are_all && !obex::IsTooManyDeletions(deletions, known_.size())) continue;
    return Fail(std::to_string(deletions) + " of " + std::to_string(known_.size()) + " " + where +
                ", nothing was done; --force-delete does it");
  }
  return true;
}

// ---- Acting -------------------------------------------------------------------------------------------------

bool MirrorRun::CarryOut() {
  const size_t all = known_.size() + new_ids_.size() + new_files_.size();
  size_t done = 0;
  const auto next = [&] {
    tools_.listener.Progress("mirroring " + client::NameOfStore(store_id_), done++, all);
    return !client::WasInterrupted() || Fail("interrupted");
  };
  for (Known& known : known_) {
    if (!next() || !Settle(known)) return false;
  }
  if (!PairNew()) return false;
  for (const NewFile& file : new_files_) {
    if (!next() || !StoreNew(file)) return false;
  }
  for (const std::string& id : new_ids_) {
    if (!next() || !WriteNew(id)) return false;
  }
  // What this run has changed in the store is known.
  position_.counter = store_.Counter();
  return true;
}

bool MirrorRun::Settle(Known& known) {
  using Act = bool (MirrorRun::*)(Known&);
  static constexpr Act kNothing = nullptr;
  // By what has become of the object, and of the file: same, changed, gone.
  static constexpr Act kActs[3][3] = {
      {kNothing, &MirrorRun::StoreChange, &MirrorRun::DeleteObject},
      {&MirrorRun::WriteChange, &MirrorRun::MergeBoth, &MirrorRun::WriteAgain},
      {&MirrorRun::RemoveFile, &MirrorRun::StoreAgain, &MirrorRun::DeleteObject},
  };
  if (known.is_aside) return true;
  const Act act = kActs[static_cast<size_t>(known.store)][static_cast<size_t>(known.file)];
  return act == kNothing || (this->*act)(known);
}

bool MirrorRun::PairNew() {
  if (new_ids_.empty() || new_files_.empty()) return true;
  return PairByUid() && PairByView();
}

// Takes what was paired off the lists of what is new.
bool MirrorRun::PairByUid() {
  std::map<std::string, std::string> ids;  // by UID
  for (const std::string& id : new_ids_) ids.emplace(UidOf(id), id);
  std::vector<NewFile> left;
  for (const NewFile& file : new_files_) {
    const auto id = file.uid.empty() ? ids.end() : ids.find(file.uid);
    if (id == ids.end()) {
      left.push_back(file);
      continue;
    }
    if (!Pair(file, id->second)) return false;
    std::erase(new_ids_, id->second);
  }
  new_files_ = std::move(left);
  return true;
}

bool MirrorRun::PairByView() {
  if (new_ids_.empty() || new_files_.empty()) return true;
  std::multimap<std::string, std::string> ids;  // by view, in their order
  for (const std::string& id : new_ids_) {
    const std::string view = OwnViewOf(id);
    if (!view.empty()) ids.emplace(view, id);
  }
  std::vector<NewFile> left;
  for (const NewFile& file : new_files_) {
    std::string text;
    FileStamp stamp;
    std::string view;
    if (tools_.folder.Read(file.name, text, stamp)) {
      view = ViewWithoutOwn(ReadFileObject(store_id_, text).strict);
    }
    const auto id = ids.lower_bound(view);
    if (view.empty() || id == ids.end() || id->first != view) {
      left.push_back(file);
      continue;
    }
    if (!Pair(file, id->second)) return false;
    std::erase(new_ids_, id->second);
    ids.erase(id);
  }
  new_files_ = std::move(left);
  return true;
}

// Of a file and an object that are one nothing is known of before: what only one of them says goes to the other.
bool MirrorRun::Pair(const NewFile& file, const std::string& id) {
  const MirrorObject object{file.name, id};
  std::string text;
  FileStamp stamp;
  if (!ReadFile(file.name, text, stamp)) return true;
  const FileObject of_file = ReadFileObject(store_id_, text);
  if (!of_file.refusal.empty()) return Refuse(object, of_file.refusal);
  const std::string uid = file.uid.empty() ? UidOf(id) : file.uid;
  const std::string whole = file.uid.empty() ? WithUid(store_id_, text, uid) : text;
  std::string why;
  const std::string stored = StoreText(id, uid, why);
  if (stored.empty()) return Refuse(object, why);
  const bool says_same = !of_file.strict.empty() && ViewWithoutOwn(of_file.strict) == OwnViewOf(id);
  const Merged merged = says_same ? Merged{whole, {}, {}} : MergeUnknown(stored, whole);
  if (!merged.conflicts.empty() && !Decide(object, merged.conflicts, text, stored)) return true;
  Count(MirrorDone::kPaired, object);
  if (settings_.only_looks) return true;
  tools_.uids.Keep(store_id_, id, uid);
  const FileObject of_merged = ReadFileObject(store_id_, merged.text);
  const bool touches_store =
      !says_same && !of_merged.strict.empty() && ViewOf(of_merged.strict) != StoredViewOf(id);
  MirrorPair pair{file.name, uid, id, {}, {}, stamp, Now()};
  return TakeMerged(pair, &stamp, text, merged, {text, stored}, touches_store);
}

// As if each side had said all of it just now. Where the two differ in what the store makes of itself, the file has it as
// its author meant it.
Merged MirrorRun::MergeUnknown(const std::string& stored, const std::string& file) const {
  static constexpr std::array<std::string_view, 5> kOfTheStore = {"VALARM", "STATUS", "CLASS",
                                                                  "PRIORITY", "COMPLETED"};
  const std::string_view nothing = NothingOf(store_id_);
  const Merged merged =
      MergeStoreChange({store_id_, nothing, stored, nothing, file, settings_.prefer});
  const bool is_of_store = std::ranges::all_of(merged.conflicts, [](const std::string& property) {
    return std::ranges::find(kOfTheStore, property) != kOfTheStore.end();
  });
  if (merged.conflicts.empty() || !is_of_store) return merged;
  Merged of_file = MergeStoreChange({store_id_, nothing, stored, nothing, file, Prefer::kFolder});
  of_file.conflicts.clear();
  return of_file;
}

// A conflict: false where the two are left as they are.
bool MirrorRun::Decide(const MirrorObject& object, const std::vector<std::string>& properties,
                       const std::string& file, const std::string& stored) {
  ++report_.conflicts;
  std::string kept_as;
  const bool is_decided = settings_.prefer != Prefer::kNone;
  const std::string& loser = settings_.prefer == Prefer::kStore ? file : stored;
  if (is_decided && !settings_.only_looks && !tools_.folder.Keep(object.name, loser, kept_as)) {
    Refuse(object, tools_.folder.why_not());
    return false;
  }
  tools_.observer.OnConflict(object, properties, kept_as);
  if (!is_decided) pending_.insert(object.id);
  return is_decided;
}

// The file takes a merged text; the store takes it where it says what the store does not know yet.
bool MirrorRun::TakeMerged(MirrorPair pair, const FileStamp* expected, const std::string& file,
                           const Merged& merged, MirrorTexts texts, bool touches_store) {
  const MirrorObject object{pair.name, pair.id};
  for (const std::string& what : merged.left) tools_.observer.OnStays(object, what);
  if (merged.text != file || expected == nullptr) {
    if (settings_.only_looks) return Count(MirrorDone::kRewritten, object);
    if (!tools_.folder.Write(pair.name, merged.text, expected, pair.stamp)) {
      return Refuse(object, tools_.folder.why_not());
    }
    pair.noted = Now();
    Count(expected == nullptr ? MirrorDone::kWritten : MirrorDone::kRewritten, object);
  }
  texts.base = merged.text;
  if (!touches_store) return Keep(pair, std::move(texts));
  return Store(pair, merged.text, ReadFileObject(store_id_, merged.text));
}

// Brings a file's text into the store: as the pair's object, or as a new one.
bool MirrorRun::Store(MirrorPair pair, const std::string& text, const FileObject& file) {
  const MirrorObject object{pair.name, pair.id};
  const bool is_new = pair.id.empty();
  if (settings_.only_looks)
    return Count(is_new ? MirrorDone::kAdded : MirrorDone::kUpdated, object);
  obex::ReceivedBody body;
  if (!body.Add(file.strict)) return Refuse(object, "there is no room in memory");
  if (!tools_.state.Begin({pair.name, pair.id, store_.Counter(), pair.uid, text}))
    return FailState();
  obex::RefusalKeeper told(tools_.listener);
  obex::StoreWriter writer(store_, tools_.uids, told);
  const obex::Change change = is_new ? writer.Add(body) : writer.Replace(pair.id, body);
  if (change.code != obex::Code::kSuccess) {
    if (!tools_.state.Drop()) return FailState();
    return Refuse(object, told.why());
  }
  pair.id = change.id;
  tools_.uids.Keep(store_id_, pair.id, pair.uid);
  std::string why;
  const std::string stored = StoreText(pair.id, pair.uid, why);
  if (stored.empty()) return Refuse({pair.name, pair.id}, why);
  if (!Keep(pair, {text, stored})) return false;
  Count(is_new ? MirrorDone::kAdded : MirrorDone::kUpdated, {pair.name, pair.id});
  if (!file.stays.empty()) tools_.observer.OnStays({pair.name, pair.id}, file.stays);
  return true;
}

bool MirrorRun::Keep(MirrorPair pair, MirrorTexts texts) {
  if (settings_.only_looks) return true;
  pair.file_key = ContentKey(texts.base);
  pair.store_key = pair.id.empty() ? "" : ContentKey(texts.stored);
  return tools_.state.Keep(pair, texts) || FailState();
}

// False, and refused, where it cannot be read.
bool MirrorRun::ReadFile(const std::string& name, std::string& text, FileStamp& stamp) {
  if (tools_.folder.Read(name, text, stamp)) return true;
  Refuse({name, {}}, tools_.folder.why_not());
  return false;
}

bool MirrorRun::StoreNew(const NewFile& file) {
  std::string text;
  MirrorPair pair{file.name, file.uid, {}, {}, {}, {}, Now()};
  if (!ReadFile(file.name, text, pair.stamp)) return true;
  const MirrorObject object{file.name, {}};
  FileObject of_file = ReadFileObject(store_id_, text);
  if (!of_file.refusal.empty()) return Refuse(object, of_file.refusal);
  pair.uid = of_file.uid;
  if (pair.uid.empty()) {
    pair.uid = MakeUid(file.name, text);
    const FileStamp expected = pair.stamp;
    text = WithUid(store_id_, text, pair.uid);
    if (!settings_.only_looks && !tools_.folder.Write(file.name, text, &expected, pair.stamp)) {
      return Refuse(object, tools_.folder.why_not());
    }
  }
  if (!of_file.strict.empty()) return Store(pair, text, of_file);
  tools_.observer.OnStays(object, of_file.stays);
  return Keep(pair, {text, {}});
}

bool MirrorRun::StoreChange(Known& known) {
  std::string text;
  MirrorPair pair = known.pair;
  pair.noted = Now();
  if (!ReadFile(pair.name, text, pair.stamp)) return true;
  const FileObject now = ReadFileObject(store_id_, text);
  if (!now.refusal.empty()) return Refuse({pair.name, pair.id}, now.refusal);
  MirrorTexts texts;
  if (!tools_.state.ReadTexts(known.pair.name, texts)) return FailState();
  if (now.strict.empty() && !pair.id.empty()) {
    return Refuse({pair.name, pair.id}, now.stays + "; the store keeps what it had");
  }
  const bool is_seen = now.strict.empty() ||
                       (!pair.id.empty() &&
                        ViewOf(now.strict) == ViewOf(ReadFileObject(store_id_, texts.base).strict));
  if (!is_seen) return Store(pair, text, now);
  texts.base = text;
  return Keep(pair, std::move(texts));
}

bool MirrorRun::WriteChange(Known& known) { return WriteMerged(known, &known.pair.stamp); }

// A change wins against a deletion.
bool MirrorRun::WriteAgain(Known& known) { return WriteMerged(known, nullptr); }

// `expected`: the file that is there; null without one.
bool MirrorRun::WriteMerged(const Known& known, const FileStamp* expected) {
  MirrorTexts texts;
  if (!tools_.state.ReadTexts(known.pair.name, texts)) return FailState();
  std::string why;
  std::string now = StoreText(known.pair.id, known.pair.uid, why);
  if (now.empty()) return Refuse({known.pair.name, known.pair.id}, why);
  const Merged merged =
      MergeStoreChange({store_id_, texts.stored, now, texts.base, texts.base, settings_.prefer});
  const std::string base = texts.base;
  texts.stored = std::move(now);
  return TakeMerged(known.pair, expected, base, merged, std::move(texts), false);
}

bool MirrorRun::MergeBoth(Known& known) {
  const MirrorObject object{known.pair.name, known.pair.id};
  MirrorPair pair = known.pair;
  MirrorTexts texts;
  if (!tools_.state.ReadTexts(pair.name, texts)) return FailState();
  std::string file;
  pair.noted = Now();
  if (!ReadFile(pair.name, file, pair.stamp)) return true;
  const FileObject of_file = ReadFileObject(store_id_, file);
  if (!of_file.refusal.empty()) return Refuse(object, of_file.refusal);
  std::string why;
  const std::string now = StoreText(pair.id, pair.uid, why);
  if (now.empty()) return Refuse(object, why);
  const Merged merged =
      MergeStoreChange({store_id_, texts.stored, now, texts.base, file, settings_.prefer});
  if (!merged.conflicts.empty() && !Decide(object, merged.conflicts, file, now)) return true;
  const std::string base_view = ViewOf(ReadFileObject(store_id_, texts.base).strict);
  const FileObject of_merged = ReadFileObject(store_id_, merged.text);
  const bool touches_store = !of_merged.strict.empty() && ViewOf(of_file.strict) != base_view &&
                             ViewOf(of_merged.strict) != StoredViewOf(pair.id);
  const FileStamp expected = pair.stamp;
  texts.stored = now;
  return TakeMerged(pair, &expected, file, merged, std::move(texts), touches_store);
}

bool MirrorRun::StoreAgain(Known& known) {
  std::string text;
  MirrorPair pair = known.pair;
  pair.id.clear();
  pair.noted = Now();
  if (!ReadFile(pair.name, text, pair.stamp)) return true;
  const FileObject now = ReadFileObject(store_id_, text);
  if (!now.refusal.empty()) return Refuse({pair.name, {}}, now.refusal);
  if (!now.strict.empty()) return Store(pair, text, now);
  tools_.observer.OnStays({pair.name, {}}, now.stays);
  return Keep(pair, {text, {}});
}

// Where the object is gone as well, or never was in the store, the pair is forgotten.
bool MirrorRun::DeleteObject(Known& known) {
  const MirrorObject object{known.pair.name, known.pair.id};
  const bool is_in_store = known.store != Side::kGone && !known.pair.id.empty();
  if (settings_.only_looks) return !is_in_store || Count(MirrorDone::kDeleted, object);
  if (is_in_store) {
    obex::RefusalKeeper told(tools_.listener);
    const obex::Change change = obex::StoreWriter(store_, tools_.uids, told).Remove(known.pair.id);
    if (change.code != obex::Code::kSuccess) return Refuse(object, told.why());
    Count(MirrorDone::kDeleted, object);
  }
  return tools_.state.Forget(known.pair.name) || FailState();
}

bool MirrorRun::RemoveFile(Known& known) {
  const MirrorObject object{known.pair.name, known.pair.id};
  if (!IsWhole()) return false;
  if (settings_.only_looks) return Count(MirrorDone::kRemoved, object);
  if (!tools_.folder.Remove(known.pair.name, known.pair.stamp)) {
    return Refuse(object, tools_.folder.why_not());
  }
  Count(MirrorDone::kRemoved, object);
  return tools_.state.Forget(known.pair.name) || FailState();
}

bool MirrorRun::WriteNew(const std::string& id) {
  MirrorPair pair{{}, UidOf(id), id, {}, {}, {}, Now()};
  if (uids_in_folder_.contains(pair.uid)) {
    return Refuse({{}, id}, "another file has its UID, " + pair.uid);
  }
  std::string why;
  const std::string text = StoreText(id, pair.uid, why);
  if (text.empty()) return Refuse({{}, id}, why);
  pair.name = FileNameOf(store_id_, pair.uid, OwnUidOf(id));
  const std::string_view ending = EndingOf(store_id_);
  const std::string stem = pair.name.substr(0, pair.name.size() - ending.size());
  for (int number = 2; !tools_.folder.IsFree(pair.name) && number < 100; ++number) {
    pair.name = stem + "-" + std::to_string(number) + std::string(ending);
  }
  if (settings_.only_looks) return Count(MirrorDone::kWritten, {pair.name, id});
  if (!tools_.folder.Write(pair.name, text, nullptr, pair.stamp)) {
    return Refuse({pair.name, id}, tools_.folder.why_not());
  }
  // So that the two are known to be one whatever else is lost.
  tools_.uids.Keep(store_id_, id, pair.uid);
  if (!Keep(pair, {text, text})) return false;
  return Count(MirrorDone::kWritten, {pair.name, id});
}

// ---- Texts --------------------------------------------------------------------------------------------------

std::string MirrorRun::StoreText(const std::string& id, const std::string& uid, std::string& why) {
  OsifResult result = OSIF_OK;
  std::string text = texts_.TextWithUid(id, uid, result);
  if (text.empty()) why = client::CodeText(result);
  return text;
}

// The one that the object came with, else one that is the same each time.
std::string MirrorRun::UidOf(const std::string& id) {
  std::string uid = tools_.uids.Find(store_id_, id);
  return uid.empty() ? OwnUidOf(id) : uid;
}

std::string MirrorRun::OwnUidOf(const std::string& id) const {
  return "osif-" + position_.database_id + "-" + id;
}

// Of what the store has now; empty where it cannot be read.
std::string MirrorRun::StoredViewOf(const std::string& id) {
  OsifResult result = OSIF_OK;
  return ViewOf(store_.WholeTextOf(id, result));
}

// Of a text for the store without what a store makes of itself where nothing was said, or in its own way.
std::string MirrorRun::ViewWithoutOwn(const std::string& text) const {
  return ViewOf(store_id_ == OSIF_STORE_PB ? text : WithoutOwn(text));
}

std::string MirrorRun::OwnViewOf(const std::string& id) {
  OsifResult result = OSIF_OK;
  return ViewWithoutOwn(store_.WholeTextOf(id, result));
}

// Of a text for the store; empty without one.
std::string MirrorRun::ViewOf(const std::string& strict) const {
  return strict.empty() ? std::string() : obex::ViewOf(store_id_, strict).view;
}

}  // namespace mirror
