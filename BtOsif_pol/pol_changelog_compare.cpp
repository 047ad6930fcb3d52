// Two snapshots are compared by id: what is in the store and not saved as it is now was changed, what is
// saved and no longer in the store was deleted. The order of the entries is that of the snapshots. A store that
// keeps track of its changes is asked which items to compare; all the others are as they were saved.
//
// What is saved at the next close is not the store but `known`: what the log has told. So it is made along
// with the entries, and an entry that could not be written leaves the item in it as it was saved: the next
// opening finds the change again.
#include "BtOsif_pol/pol_changelog_compare.h"

#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "BtOsif_pol/change_log_recovery.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_session.h"
#include "BtOsif_pol/pol_store_mark.h"
#include "BtOsif_pol/pol_store_tracker.h"
#include "btosif/osif_date.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/change_log_entry.h"
#include "config/trace.h"

namespace {

// The changes that one comparison finds, all with one time stamp.
class ChangesFound {
 public:
  explicit ChangesFound(ChangeLogFile& log) : log_(log) { CurrentTimeStamp(time_stamp_); }

  // True when the change is in the log.
  bool Append(char kind, uint32_t oid) {
    char id[OSIF_ID_SIZE] = "";
    pol_WriteId(static_cast<LONG>(oid), id);
    // The counter of an entry that cannot be written is told to nobody: the next one gets it.
    const std::optional<uint32_t> counter = log_.NextCounter();
    OsifAnchor anchor = {};
    anchor.cc = counter.value_or(0);
    CopyBounded(anchor.ts, time_stamp_);
    const bool is_told = counter && log_.Append(kind, id, anchor) == OSIF_OK;
    are_all_told_ = are_all_told_ && is_told;
    return is_told;
  }

  bool are_all_told() const { return are_all_told_; }

 private:
  ChangeLogFile& log_;
  char time_stamp_[kTimeStampRoom];
  bool are_all_told_ = true;
};

// ---- With the whole store ---------------------------------------------------------------------------

// An item that is as it was saved is no change. One whose entry could not be written stays as it was saved,
// or unknown when it is new.
void AppendModified(CPoomEntries& current, const CPoomEntries& saved, ChangesFound& changes,
                    CPoomEntries& known) {
  uint32_t id = 0;
  uint32_t checksum = 0;
  for (bool more = current.first(&id, &checksum); more; more = current.next(&id, &checksum)) {
    uint32_t saved_checksum = 0;
    const bool is_known = saved.find(id, &saved_checksum);
    const bool is_unchanged = is_known && saved_checksum == checksum;
    if (is_unchanged || changes.Append(kChangeModified, id)) {
      known.put(id, checksum, current.place());
    } else if (is_known) {
      known.put(id, saved_checksum, current.place());
    }
  }
}

void AppendDeleted(const CPoomEntries& current, CPoomEntries& saved, ChangesFound& changes,
                   CPoomEntries& known) {
  uint32_t id = 0;
  uint32_t checksum = 0;
  uint32_t current_checksum = 0;
  for (bool more = saved.first(&id, &checksum); more; more = saved.next(&id, &checksum)) {
    if (current.find(id, &current_checksum)) continue;
    if (!changes.Append(kChangeDeleted, id)) known.put(id, checksum);
  }
}

// An object that was logged and is in neither snapshot was deleted after the log was left open by a process
// that ended before it saved one: only the log still knows of it. Another kind than "modified" as its newest
// entry has told its end already; an id that is no item's (or none at all) was never one of this store.
void AppendForgotten(const CPoomEntries& current, const CPoomEntries& saved,
                     const NewestKinds& kinds, ChangesFound& changes) {
  uint32_t checksum = 0;
  for (const auto& [id, kind] : kinds) {
    const std::optional<LONG> oid = pol_ReadId(id.c_str());
    if (kind != static_cast<uint32_t>(kChangeModified) || !oid || *oid == 0) continue;
    const auto number = static_cast<uint32_t>(*oid);
    if (current.find(number, &checksum) || saved.find(number, &checksum)) continue;
    changes.Append(kChangeDeleted, number);
  }
}

OsifResult CompareAll(int32_t store_id, const WideText& folder, ChangesFound& changes,
                      const std::optional<NewestKinds>& left_open, CPoomEntries& known) {
  CPoomEntries current;
  if (!current.getFromPoom(store_id, pol_Application())) return OSIF_ERR_PIM;
  CPoomEntries saved;
  if (!saved.getFromFile(store_id, folder)) return OSIF_ERR_PIM;
  AppendModified(current, saved, changes, known);
  AppendDeleted(current, saved, changes, known);
  if (left_open) AppendForgotten(current, saved, *left_open, changes);
  return OSIF_OK;
}

// ---- With what the store tells ----------------------------------------------------------------------

// What was written since the snapshot was saved, and the mark that was saved with it.
struct Tracked {
  StoreMark saved;
  TouchedItems touched;
};

// Nothing when the store tells nothing, or the snapshot is not the one that the mark was saved with.
std::optional<Tracked> ReadTracked(int32_t store_id, const WideText& folder,
                                   const StoreTracker& tracker, const std::string& now) {
  FinishSnapshot(store_id, folder);
  std::optional<StoreMark> saved;
  if (!now.empty()) saved = pol_ReadStoreMark(store_id, folder);
  if (!saved) return std::nullopt;
  std::optional<TouchedItems> touched = tracker.Touched(saved->compared, now);
  if (!touched || !tracker.Touched(saved->closed, now)) return std::nullopt;
  return Tracked{std::move(*saved), std::move(*touched)};
}

// The snapshot with the places that its items have, as the mark tells them.
bool ReadKnown(int32_t store_id, const WideText& folder, const StoreMark& mark,
               CPoomEntries& known) {
  if (!known.getFromFile(store_id, folder)) return false;
  if (known.size() != mark.first_items + mark.other_items) return false;
  known.setPlaces(mark.first_items);
  known.setFile(mark.snapshot);
  return true;
}

void AppendTouched(CPoomEntries& current, ChangesFound& changes, CPoomEntries& known) {
  uint32_t id = 0;
  uint32_t checksum = 0;
  for (bool more = current.first(&id, &checksum); more; more = current.next(&id, &checksum)) {
    uint32_t known_checksum = 0;
    const bool is_unchanged = known.find(id, &known_checksum) && known_checksum == checksum;
    if (is_unchanged || changes.Append(kChangeModified, id)) {
      known.put(id, checksum, current.place());
    }
  }
}

// In the order of the snapshot, as when all of it is compared.
void AppendGone(const TouchedItems& touched, const CPoomEntries& current, ChangesFound& changes,
                CPoomEntries& known) {
  uint32_t checksum = 0;
  std::unordered_set<uint32_t> gone;
  for (const TouchedItem& item : touched) {
    if (known.find(item.oid, &checksum) && !current.find(item.oid, &checksum))
      gone.insert(item.oid);
  }
  if (gone.empty()) return;
  std::vector<std::pair<uint32_t, uint32_t>> untold;
  uint32_t id = 0;
  for (bool more = known.first(&id, &checksum); more; more = known.next(&id, &checksum)) {
    if (!gone.contains(id)) continue;
    if (!changes.Append(kChangeDeleted, id)) untold.emplace_back(id, checksum);
    known.remove(id);
  }
  for (const auto& [untold_id, untold_checksum] : untold) known.put(untold_id, untold_checksum);
}

// Nothing when the snapshot turns out not to be what the mark says.
std::optional<OsifResult> CompareTouched(int32_t store_id, const WideText& folder,
                                         const Tracked& tracked, ChangesFound& changes,
                                         CPoomEntries& known) {
  CPoomEntries current;
  if (!current.getFromPoom(store_id, pol_Application(), &tracked.touched)) return OSIF_ERR_PIM;
  if (!ReadKnown(store_id, folder, tracked.saved, known)) return std::nullopt;
  AppendTouched(current, changes, known);
  AppendGone(tracked.touched, current, changes, known);
  return OSIF_OK;
}

}  // namespace

OsifResult pol_UpdatePoomChanges(int32_t store_id, ChangeLogFile& log,
                                 const std::optional<NewestKinds>& left_open, KnownStore& known) {
  ChangesFound changes(log);
  const WideText& folder = log.folder();
  OSIF_Trace(0, "OSIF:  pol_UpdatePoomChanges(store_id=%d, pszPath='%S', cc=%d)", store_id,
             folder.c_str(), log.newest().cc);
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  const StoreTracker tracker(*pol_Application());
  // Before anything is read: what is written from here on is found at the next opening.
  const std::string now = tracker.Mark();
  CPoomEntries entries;
  std::optional<OsifResult> result;
  if (!left_open) {
    if (const std::optional<Tracked> tracked = ReadTracked(store_id, folder, tracker, now)) {
      result = CompareTouched(store_id, folder, *tracked, changes, entries);
    }
  }
  if (!result) {
    entries.clear();
    result = CompareAll(store_id, folder, changes, left_open, entries);
  }
  if (*result == OSIF_OK) known.Begin(std::move(entries), now, changes.are_all_told());
  return *result;
}
