// The mark that is saved is a promise: what the store tells as written after it is all that the snapshot can lack.
// The mark of the opening keeps it always. That of the closing would too if nobody but this library had written in
// between, which the stamps tell: each item that was touched has the stamp with which the library has saved it, or
// is gone and was told as gone. Then the next opening need not look at what this one has written.
//
// The mark of the closing is saved in any case: a store that does not know it any more is an older one, from before
// what the snapshot holds, and what it was asked since the opening's mark would lack what it has lost.
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

std::optional<StoreMark> KnownStore::MarkToSave(int32_t store_id,
                                                const StoreTracker& tracker) const {
  if (mark_.empty() || !is_whole_) return std::nullopt;
  const std::string now = tracker.Mark();
  const std::optional<TouchedItems> touched = tracker.Touched(mark_, now);
  if (!touched) return std::nullopt;
  return StoreMark{IsAllTold(store_id, *touched) ? now : mark_, now, *entries_.file(),
                   entries_.count(FolderPlace::kFirst), entries_.count(FolderPlace::kSecond)};
}

bool KnownStore::Save(int32_t store_id, WideView folder, const StoreTracker& tracker) {
  if (!entries_.file()) entries_.sort();
  if (!entries_.saveToFile(store_id, folder)) return false;
  if (const std::optional<StoreMark> mark = MarkToSave(store_id, tracker)) {
    pol_WriteStoreMark(store_id, folder, *mark);
  } else {
    pol_RemoveStoreMark(store_id, folder);
  }
  return true;
}
