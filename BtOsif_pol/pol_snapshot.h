// Snapshots of a PIM store: the id and a checksum of each item. The PIM keeps no history, so what changed
// is found by comparing a snapshot with an older one.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "BtOsif_pol/pol_store_mark.h"
#include "BtOsif_pol/pol_store_tracker.h"
#include "btosif/osif_util/charset.h"
#include "osif.h"
#include "platform/api/pimstore.h"

// Which of its store's folders an item lies in: the calendar has two, all other stores one.
enum class FolderPlace : uint8_t { kFirst, kSecond, kUnknown };

// The place of a folder (an OlDefaultFolders) in its store.
FolderPlace pol_PlaceOf(int folder_type);

// The folders of a PIM store, in the order in which they are read; no folder for any other store.
std::span<const int> pol_FoldersOf(int32_t store_id);

// One snapshot: entries in the order in which they were added.
class CPoomEntries {
 public:
  CPoomEntries() = default;
  virtual ~CPoomEntries() = default;
  CPoomEntries(const CPoomEntries&) = delete;
  CPoomEntries& operator=(const CPoomEntries&) = delete;
  CPoomEntries(CPoomEntries&&) = default;
  CPoomEntries& operator=(CPoomEntries&&) = default;

  void clear();

  // Walk the entries; false at the end. `next` before any `first` starts at the beginning.
  bool first(uint32_t* id, uint32_t* checksum);
  bool next(uint32_t* id, uint32_t* checksum);

  // The place of the entry that they gave last.
  FolderPlace place() const { return entries_[cursor_ - 1].place; }

  // The checksum of the first entry with that id.
  bool find(uint32_t id, uint32_t* checksum) const;

  // Adds an entry at the end, or gives the entry of that id another checksum, and another place where it is known; and
  // removes one.
  void put(uint32_t id, uint32_t checksum, FolderPlace place = FolderPlace::kUnknown);
  void remove(uint32_t id);

  // Puts the entries into the order in which the store gives its items: folder by folder, by their ids. Those whose
  // place is not known stay at the end, as they are.
  void sort();

  // How many entries have a place; and tells the places of entries that are sorted and have none: so many lie in
  // the first folder.
  size_t count(FolderPlace place) const;
  void setPlaces(size_t first_items);

  // Fills the snapshot from the PIM: contacts for store 0, appointments and then tasks for store 1. False
  // when the store cannot be read; what was read of it is then of no use.
  // With `touched`, only those of its items that are in the store.
  bool getFromPoom(int32_t store_id, IPOutlookApp* application,
                   const TouchedItems* touched = nullptr);

  // Appends the items of one folder.
  bool getEntriesFromFolder(IPOutlookApp* application, int folder_type,
                            const TouchedItems* touched = nullptr);

  // Reads and writes the store's object log in a folder. A missing log is an empty snapshot; malformed
  // lines are skipped. Saving replaces the log whole or not at all, and leaves one that is the same as it is.
  bool getFromFile(int32_t store_id, WideView folder);
  bool saveToFile(int32_t store_id, WideView folder);

  // The object log that holds just these entries, as far as one is known: it was saved, or somebody has told.
  // It is not written again while it is as it was.
  const std::optional<FileDigest>& file() const { return file_; }
  void setFile(const FileDigest& file) { file_ = file; }

  size_t size() const { return entries_.size() - removed_; }

 private:
  struct Entry {
    uint32_t id;
    uint32_t checksum;
    FolderPlace place;
    bool is_removed;
  };

  void append(uint32_t id, uint32_t checksum, FolderPlace place);
  std::optional<size_t> indexOf(uint32_t id) const;
  void appendLine(const char* line);
  bool appendTouched(IPOutlookApp& application, int folder_type, const TouchedItems& touched);
  std::string toText() const;
  bool appendAll(IFolder& folder, int folder_type);
  void appendItem(int folder_type, IDispatch& item);

  std::vector<Entry> entries_;
  mutable std::unordered_map<uint32_t, size_t> places_;  // of the first entry of each id,
  mutable size_t indexed_ = 0;                           // of the entries up to here
  size_t cursor_ = 0;
  size_t removed_ = 0;
  std::optional<FileDigest> file_;
};
