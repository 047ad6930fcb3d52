// A synchronisation's other side, and what it must be told.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "platform/device/device.h"
#include "tests/holds/store_cases.h"
#include "tests/holds/stored.h"

namespace holds {

inline std::u16string LogFolder() { return support::Wide(device::Folder() + "/Sync"); }

// Logs of stores that are not compared say that, but are open.
inline void ExpectOpenOrClosed(const StoreCase& row, OsifResult result) {
  EXPECT_EQ(result, row.compares ? kOk : OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
}

inline void OpenLog(const StoreCase& row) {
  ExpectOpenOrClosed(row, OSIF_CL_Open(row.store, LogFolder().c_str()));
}

inline void CloseLog(const StoreCase& row) { ExpectOpenOrClosed(row, OSIF_CL_Close(row.store)); }

inline std::string DatabaseId(const StoreCase& row) {
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(OSIF_CL_GetDatabaseId(row.store, id), kOk);
  return id;
}

inline uint32_t NewestCounter(const StoreCase& row) {
  OsifAnchor anchor{};
  EXPECT_EQ(OSIF_CL_GetCurrentAnchor(row.store, &anchor), kOk);
  return anchor.cc;
}

// The changes after a counter, their kinds by ids. Nothing when some of them are gone.
inline std::optional<std::map<std::string, char>> ChangesSince(const StoreCase& row,
                                                               uint32_t counter) {
  std::map<std::string, char> changes;
  const OsifAnchor anchor = {counter, ""};
  ChangeLogEntry entry{};
  OsifResult result = OSIF_CL_GetFirstEntry(row.store, &anchor, &entry);
  if (result == OSIF_ERR_CL_GAP) return std::nullopt;
  for (; result == kOk; result = OSIF_CL_GetNextEntry(row.store, &entry)) {
    changes[entry.objectId] = static_cast<char>(entry.kind);
  }
  EXPECT_EQ(result, OsifResult{OSIF_ERR_EOF});
  return changes;
}

inline const Objects& ObjectsOf(const StoreCase& row, const Stored& stored) {
  return stored.stores[static_cast<size_t>(row.store)];
}

// A partner knows what the store held when it was told of a counter.
struct Partner {
  std::string database_id;
  uint32_t counter = 0;
  Objects seen;

  // With the log open: what it does not know of the store is told, or it learns that it has to compare
  // everything.
  void ExpectToMissNothing(const StoreCase& row, const Objects& now) const {
    if (DatabaseId(row) != database_id) return;
    const auto changes = ChangesSince(row, counter);
    if (!changes) return;
    const auto told = [&](const std::string& id) {
      const auto found = changes->find(id);
      return found == changes->end() ? '-' : found->second;
    };
    for (const auto& [id, kind] : *changes) {
      EXPECT_EQ(kind, now.contains(id) ? 'M' : 'H') << id << ", for the partner of " << counter;
    }
    for (const auto& [id, text] : now) {
      const auto known = seen.find(id);
      if (known != seen.end() && known->second == text) continue;
      EXPECT_EQ(told(id), 'M') << id << " is not what the partner of " << counter << " knows";
    }
    for (const auto& [id, text] : seen) {
      if (now.contains(id)) continue;
      EXPECT_EQ(told(id), 'H') << id << " is gone, for the partner of " << counter;
    }
  }
};

// The partner that has seen the device's store as it is now; the device is closed at the end.
inline Partner MeetPartner(const StoreCase& row) {
  const std::string folder = device::Folder();
  std::filesystem::create_directory(folder + "/Sync");
  EXPECT_EQ(OSIF_Open(), kOk);
  OpenLog(row);
  Partner partner = {DatabaseId(row), NewestCounter(row), {}};
  CloseLog(row);
  OSIF_Close();
  partner.seen = ObjectsOf(row, ReadStored(folder));
  return partner;
}

}  // namespace holds
