// The mark that is saved is a promise: what the store tells as written after it is all that the snapshot can lack.
// The mark of the opening keeps it always. That of the closing would too if nobody but this library had written in
// between, which the stamps tell: each item that was touched has the stamp with which the library has saved it, or
// is gone and was told as gone. Then the next opening need not look at what this one has written.
#include "BtOsif_pol/pol_known_store.h"

#include <algorithm>
#include <span>
#include <utility>

#include "BtOsif_pol/pol_store_mark.h"

void KnownStore::Begin(CPoomEntries entries, std::string mark, bool is_whole) {
  entries_ = std::move(entries);
  mark_ = std::move(mark);
  is_whole_ = is_whole;
  has_begun_ = true;
}

void KnownStore::Put(uint32_t oid, uint32_t checksum, FolderPlace place,
                     std::optional<int64_t> stamp) {
  entries_.put(oid, checksum, place);
  if (stamp) {
    stamps_[oid] = *stamp;
  } else {
    stamps_.erase(oid);
  }
}

void KnownStore::PutUntold(uint32_t oid, uint32_t checksum, FolderPlace place) {
  Put(oid, ~checksum, place, std::nullopt);
}

void KnownStore::Remove(uint32_t oid) {
  entries_.remove(oid);
  stamps_.erase(oid);
}

// The store tells of all its folders, of which some are other stores'.
bool KnownStore::IsAllTold(int32_t store_id, const TouchedItems& touched) const {
  const std::span<const int> folders = pol_FoldersOf(store_id);
  return std::all_of(touched.begin(), touched.end(), [&](const TouchedItem& item) {
    uint32_t checksum = 0;
    if (std::ranges::find(folders, item.folder) == folders.end()) return !Find(item.oid, &checksum);
    const auto put = stamps_.find(item.oid);
    return put != stamps_.end() && put->second == item.stamp;
  });
}

std::string KnownStore::MarkToSave(int32_t store_id, const StoreTracker& tracker) const {
  if (mark_.empty() || !is_whole_) return {};
  const std::string now = tracker.Mark();
  const std::optional<TouchedItems> touched = tracker.Touched(mark_, now);
  if (!touched) return {};
  return IsAllTold(store_id, *touched) ? now : mark_;
}

bool KnownStore::Save(int32_t store_id, WideView folder, const StoreTracker& tracker) {
  if (!entries_.file()) entries_.sort();
  if (!entries_.saveToFile(store_id, folder)) return false;
  const std::string mark = MarkToSave(store_id, tracker);
  if (mark.empty()) {
    pol_RemoveStoreMark(store_id, folder);
  } else {
    pol_WriteStoreMark(store_id, folder,
                       {mark, *entries_.file(), entries_.count(FolderPlace::kFirst),
                        entries_.count(FolderPlace::kSecond)});
  }
  return true;
}
