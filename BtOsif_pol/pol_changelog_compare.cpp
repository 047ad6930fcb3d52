// Two snapshots are compared by id: what is in the store and not saved as it is now was changed, what is
// saved and no longer in the store was deleted. The order of the entries is that of the snapshots.
//
// What is saved at the next close is not the store but `known`: what the log has told. So it is made along
// with the entries, and an entry that could not be written leaves the item in it as it was saved: the next
// opening finds the change again.
#include "BtOsif_pol/pol_changelog_compare.h"

#include <optional>

#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_session.h"
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
    if (!counter) return false;
    OsifAnchor anchor = {};
    anchor.cc = *counter;
    CopyBounded(anchor.ts, time_stamp_);
    return log_.Append(kind, id, anchor) == OSIF_OK;
  }

 private:
  ChangeLogFile& log_;
  char time_stamp_[kTimeStampRoom];
};

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
      known.put(id, checksum);
    } else if (is_known) {
      known.put(id, saved_checksum);
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

}  // namespace

OsifResult pol_UpdatePoomChanges(int32_t store_id, ChangeLogFile& log, const NewestKinds& left_open,
                                 CPoomEntries& known) {
  ChangesFound changes(log);
  OSIF_Trace(0, "OSIF:  pol_UpdatePoomChanges(store_id=%d, pszPath='%S', cc=%d)", store_id,
             log.folder().c_str(), log.newest().cc);
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  CPoomEntries current;
  if (!current.getFromPoom(store_id, pol_Application())) return OSIF_ERR_PIM;
  CPoomEntries saved;
  if (!saved.getFromFile(store_id, log.folder())) return OSIF_ERR_PIM;
  AppendModified(current, saved, changes, known);
  AppendDeleted(current, saved, changes, known);
  AppendForgotten(current, saved, left_open, changes);
  return OSIF_OK;
}
