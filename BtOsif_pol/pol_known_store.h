// A PIM store as far as its change log has told of it. It is saved when the log is closed, so that what the log has
// not told is found when it is opened again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include "BtOsif_pol/pol_snapshot.h"
#include "BtOsif_pol/pol_store_mark.h"
#include "BtOsif_pol/pol_store_tracker.h"
#include "btosif/osif_util/charset.h"

// Used by one caller at a time.
class KnownStore {
 public:
  // What an opening has found and told: the entries, and the mark that the store gave before they were read (empty
  // without one). `is_whole`: every change that was found is in the log.
  void Begin(CPoomEntries entries, std::string mark, bool is_whole);

  // False before Begin: the store could not be read, and nothing of it is known.
  bool has_begun() const { return has_begun_; }

  bool Find(uint32_t oid, uint32_t* checksum) const { return entries_.find(oid, checksum); }

  // The log has told of the item, which has this checksum, and this stamp where the store gives one.
  void Put(uint32_t oid, uint32_t checksum, FolderPlace place, std::optional<int64_t> stamp);

  // The log has told of the item, but not of all that was done to it: the next opening looks at it.
  void PutUntold(uint32_t oid, uint32_t checksum, FolderPlace place);

  // The log has told of the item's end.
  void Remove(uint32_t oid);

  // Saves the snapshot in a folder, and with it the mark up to which it reaches. `tracker` is of the same store.
  // False when the snapshot cannot be saved.
  bool Save(int32_t store_id, WideView folder, const StoreTracker& tracker);

 private:
  bool IsAllTold(int32_t store_id, const TouchedItems& touched) const;
  std::optional<StoreMark> MarkToSave(int32_t store_id, const StoreTracker& tracker) const;

  CPoomEntries entries_;
  std::string mark_;  // up to here the store was compared
  bool has_begun_ = false;
  bool is_whole_ = false;
  std::unordered_map<uint32_t, int64_t> stamps_;  // of what was put since
};
