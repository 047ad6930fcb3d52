// The change log of each store: what changed since a partner's anchor. docs/synchronisation.md tells how a
// service uses it. Module-wide, without a lock: callers serialise.
#pragma once

#include <cstdint>
#include <optional>

#include "btosif/osif_util/change_log_entry.h"
#include "osif.h"

// A change that the library has made in a store.
struct LibraryChange {
  char kind;                                     // kChangeModified or kChangeDeleted
  const char* id;                                // as the caller gave or gets it
  uint32_t oid = 0;                              // of a PIM item
  std::optional<uint32_t> checksum = {};         // of a PIM item as it was saved
  std::optional<uint32_t> checksum_before = {};  // of a PIM item that was changed, as it was found
  int folder = 0;                                // of a PIM item: an OlDefaultFolders
  std::optional<int64_t> stamp = {};  // of a PIM item as it was saved, where the PIM gives one
};

// Appends the change to the store's log and gives its anchor, so that the partner's own change is not sent
// back to it. A closed log gives a zero anchor and OSIF_ERR_CL_NOT_OPENED. Nothing is done, with OSIF_OK,
// when `anchor` is null: the change is then found by comparing at the next open.
OsifResult pol_RecordChange(int32_t store_id, const LibraryChange& change, OsifAnchor* anchor);

// Before the library makes a change that is to be recorded. Where nothing is compared, a change that is made
// and not yet in the log when the power goes would be told to nobody: from here on the log counts as one that
// can lose its end.
void pol_ExpectChange(int32_t store_id, const OsifAnchor* anchor);

// True while the store's log is open.
bool pol_IsLogOpen(int32_t store_id);

// Opens the store's log in a folder and appends what was changed in the store since the last close.
OsifResult POL_CL_Open(int32_t store_id, const WCHAR* path);

// Closes the log, purges it, and saves the snapshot of what it tells. Without a session nothing is done, and
// the log stays open.
OsifResult POL_CL_Close(int32_t store_id);

// The anchor of the newest entry; the caller has cleared it.
OsifResult POL_CL_GetCurrentAnchor(int32_t store_id, OsifAnchor* anchor);

// The first entry after the anchor that no later one replaces; OSIF_ERR_CL_GAP with the entry when entries
// after the anchor were purged; OSIF_ERR_EOF when there is none.
OsifResult POL_CL_GetFirstEntry(int32_t store_id, const OsifAnchor* anchor, ChangeLogEntry* entry);
OsifResult POL_CL_GetNextEntry(int32_t store_id, ChangeLogEntry* entry);

// The store's database id, made when there is none yet.
OsifResult POL_CL_GetDatabaseId(int32_t store_id, char* id);
