// Snapshots of a PIM store: the id and a checksum of each item. The PIM keeps no history, so what changed
// is found by comparing a snapshot with an older one.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "btosif/osif_util/charset.h"
#include "osif.h"
#include "platform/api/pimstore.h"

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

  // The checksum of the first entry with that id.
  bool find(uint32_t id, uint32_t* checksum) const;

  // Adds an entry at the end, or gives the entry of that id another checksum; and removes one.
  void put(uint32_t id, uint32_t checksum);
  void remove(uint32_t id);

  // Fills the snapshot from the PIM: contacts for store 0, appointments and then tasks for store 1. False
  // when the store cannot be read; what was read of it is then of no use.
  bool getFromPoom(int32_t store_id, IPOutlookApp* application);

  // Appends the items of one folder.
  bool getEntriesFromFolder(IPOutlookApp* application, int folder_type);

  // Reads and writes the store's object log in a folder. A missing log is an empty snapshot; malformed
  // lines are skipped. Saving replaces the log whole or not at all.
  bool getFromFile(int32_t store_id, WideView folder);
  bool saveToFile(int32_t store_id, WideView folder) const;

  size_t size() const { return entries_.size() - removed_; }

 private:
  struct Entry {
    uint32_t id;
    uint32_t checksum;
    bool is_removed;
  };

  void append(uint32_t id, uint32_t checksum);
  void appendLine(const char* line);

  std::vector<Entry> entries_;
  std::unordered_map<uint32_t, size_t> places_;  // of the first entry of each id
  size_t cursor_ = 0;
  size_t removed_ = 0;
};
