// Each store has a slot that holds its log while it is open. Two things are kept beside the file: where the
// scan of the calling service stands, and what the log has told of the store (`known`), from which the next
// opening will know what it has not told.
//
// Opening waits until no other program uses the folder, puts in order what a killed process may have left,
// reads the log for its newest counter, marks it as open and appends what the comparison finds. Closing goes
// the other way: the log is purged (what is cut off is kept beside it), then the snapshot is saved, then the
// counters are settled, then the cut lines and the mark are taken away. A process can be killed between any
// two of these: change_log_recovery.h lists what is then found. The counters are settled no earlier because
// the log's bytes are on the disk before the store's are: by the snapshot the next opening sees what a power
// cut has taken from the store.
//
// Recording reads on before it appends, so that the counter follows from what stands in the file. A counter that
// was handed back is never used again, also when its entry could not be written: what such an entry should have
// told is found by comparing, and where nothing is compared every partner begins anew.
#include "BtOsif_pol/pol_changelog.h"

#include <array>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

#include "BtOsif_pol/change_log_recovery.h"
#include "BtOsif_pol/pol_changelog_compare.h"
#include "BtOsif_pol/pol_database_id.h"
#include "BtOsif_pol/pol_known_store.h"
#include "BtOsif_pol/pol_session.h"
#include "BtOsif_pol/pol_store_tracker.h"
#include "BtOsif_pol/pol_stores.h"
#include "btosif/osif_date.h"
#include "btosif/osif_util/change_log_file.h"
#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/change_log_purge.h"
#include "btosif/osif_util/log_folder_use.h"
#include "btosif/osif_util/stores.h"
#include "config/trace.h"
#include "platform/api/system_time.h"

namespace {

// Counters are 31 bits in the files. A log that comes near the end of them is started anew; the million that
// is left is for what is recorded until the next opening.
constexpr int32_t kLastCounterAtOpen = std::numeric_limits<int32_t>::max() - 1'000'000;

// The log of one store while it is open.
struct ChangeLog {
  LogFolderUse use;
  ChangeLogFile file;
  // The store as far as the log has told of it. Saved at close, so that what the log has not told is found
  // at the next open.
  KnownStore known;
  std::optional<int64_t> scan_position;  // none before the first entry was asked for
};

std::array<ChangeLog, kStoreRows.size()> g_logs;

ChangeLog& LogOf(int32_t store_id) { return g_logs[static_cast<size_t>(store_id)]; }

// OSIF_OK for an open log; else what a call answers, with its message.
OsifResult CheckOpen(int32_t store_id, const char* not_opened) {
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  if (LogOf(store_id).file.is_open()) return OSIF_OK;
  OSIF_Trace(0, not_opened);
  return OSIF_ERR_CL_NOT_OPENED;
}

// ---- Recording --------------------------------------------------------------------------------------

// True when another program has changed the item since the log last told of it.
bool WasChangedByOthers(const ChangeLog& log, const LibraryChange& change) {
  if (!change.checksum_before) return false;
  uint32_t known = 0;
  return !log.known.Find(change.oid, &known) || known != *change.checksum_before;
}

void Remember(ChangeLog& log, const LibraryChange& change) {
  if (change.kind == kChangeDeleted) {
    log.known.Remove(change.oid);
  } else if (change.checksum) {
    // Another program's change is told at the next open: the item counts as known, but with a checksum that
    // it does not have, so that its change is found, and its end as well.
    const FolderPlace place = pol_PlaceOf(change.folder);
    if (WasChangedByOthers(log, change)) {
      log.known.PutUntold(change.oid, *change.checksum, place);
    } else {
      log.known.Put(change.oid, *change.checksum, place, change.stamp);
    }
  }
}

// Appends an entry; its anchor is empty when there was no counter for it.
OsifResult Record(ChangeLogFile& log, const LibraryChange& change, OsifAnchor& anchor) {
  log.ReadOn();
  const std::optional<uint32_t> counter = log.NextCounter();
  if (!counter) return OSIF_ERR_GENERAL;
  anchor.cc = *counter;
  CurrentTimeStamp(anchor.ts);
  const OsifResult result = log.Append(change.kind, change.id, anchor);
  if (result != OSIF_OK) log.Spend(*counter);
  return result;
}

// ---- Opening ----------------------------------------------------------------------------------------

// Brings the log of a PIM store, just opened, up to date. `logged` is what its entries name: of a log that
// was closed in order the snapshot knows all that, and it is not looked at.
OsifResult Compare(int32_t store_id, ChangeLog& log, NewestKinds logged) {
  const WideText& folder = log.file.folder();
  std::optional<NewestKinds> left_open;
  if (WasLeftOpen(store_id, folder)) {
    left_open = KnownByLeftLog(store_id, folder, std::move(logged));
  } else if (!MarkOpen(store_id, folder)) {
    log.file = ChangeLogFile();
    return OSIF_ERR_FILE_OPEN;
  }
  return pol_UpdatePoomChanges(store_id, log.file, left_open, log.known);
}

// Starts the log anew when its counters come to an end. The database id goes while there is no log: were the
// process killed after the new log is there, the old anchors would seem to hold.
OsifResult StartAnew(int32_t store_id, ChangeLogFile& log) {
  const WideText folder = log.folder();
  log.Remove();
  DropOutdatedDatabaseId(store_id, folder);
  return log.Open(store_id, folder);
}

// One program at a time records in a folder.
OsifResult HoldFolder(int32_t store_id, LogFolderUse& use, const WideText& folder) {
  switch (use.Begin(folder, kLogFolderPatience)) {
    case LogFolderUse::Result::kHeld:
      return OSIF_OK;
    case LogFolderUse::Result::kNotPossible:
      ChangeLogFile().Open(store_id, folder);  // for its line in the trace
      return OSIF_ERR_FILE_OPEN;
    case LogFolderUse::Result::kInUse:
      break;
  }
  OSIF_Trace(0, "OSIF:  POL_CL_Open - '%S' is in use by another program (process %u)",
             folder.c_str(), LogFolderUser(folder).value_or(0));
  return OSIF_ERR_GENERAL;
}

OsifResult OpenInFolder(int32_t store_id, ChangeLog& log, const WideText& folder) {
  RepairChangeLog(store_id, folder);
  if (const OsifResult result = log.file.Open(store_id, folder); result != OSIF_OK) return result;
  NewestKinds logged = log.file.ReadOn();
  if (static_cast<int32_t>(log.file.newest().cc) > kLastCounterAtOpen) {
    if (const OsifResult result = StartAnew(store_id, log.file); result != OSIF_OK) return result;
    logged.clear();
  }
  if (log.file.HasLostItsEnd() && DropDatabaseId(store_id, folder)) log.file.BeginCounting();
  if (!pol_IsInPim(store_id)) return OSIF_ERR_NOT_IMPLEMENTED;
  return Compare(store_id, log, std::move(logged));
}

// ---- Closing ----------------------------------------------------------------------------------------

// What is saved is what the log has told. But the answer promises that the store can be read: one that keeps track of
// its changes has just said so with its mark, any other is read.
bool CanBeRead(int32_t store_id, const StoreTracker& tracker) {
  const bool has_answered = !tracker.Mark().empty();
  const TouchedItems nothing;
  return CPoomEntries().getFromPoom(store_id, pol_Application(), has_answered ? &nothing : nullptr);
}

// ---- Scanning ---------------------------------------------------------------------------------------

// What an anchor asks for.
class Wanted {
 public:
  explicit Wanted(const OsifAnchor& anchor)
      : counter_(anchor.cc), is_by_time_(anchor.cc == 0 && anchor.ts[0] != '\0') {
    char text[sizeof anchor.ts + 1] = "";
    std::memcpy(text, anchor.ts, sizeof anchor.ts);
    if (is_by_time_) is_time_ = Iso8601ToFileTime(text, &time_) != 0;
  }

  bool IsNewer(const ChangeLogEntry& entry) {
    if (is_by_time_) return IsLater(entry.timestamp);
    const int64_t counter = entry.changeCounter;
    if (counter <= counter_) return false;
    // The first one tells of a gap, also when it is not given because a later entry replaces it.
    if (first_newer_ == 0) first_newer_ = counter;
    return true;
  }

  // True when entries between the anchor and the first newer one are gone.
  bool HasGap() const { return !is_by_time_ && first_newer_ - counter_ >= 2; }

 private:
  bool IsLater(const char* time_stamp) const {
    FILETIME time = {};
    if (!is_time_ || !Iso8601ToFileTime(time_stamp, &time)) return false;
    return CompareFileTime(&time, &time_) > 0;
  }

  int64_t counter_;
  bool is_by_time_;
  bool is_time_ = false;
  FILETIME time_ = {};
  int64_t first_newer_ = 0;
};

// Reads on from where the scan stands until `is_wanted` takes an entry that no later one replaces.
template <typename IsWanted>
OsifResult Scan(ChangeLog& log, ChangeLogEntry* entry, IsWanted is_wanted) {
  log.file.GoTo(*log.scan_position);
  OsifResult result;
  do {
    result = log.file.Read(entry);
  } while (result == OSIF_OK && !(is_wanted(*entry) && !log.file.IsSuperseded()));
  log.scan_position = log.file.Position();
  return result;
}

}  // namespace

bool pol_IsLogOpen(int32_t store_id) { return IsStore(store_id) && LogOf(store_id).file.is_open(); }

void pol_ExpectChange(int32_t store_id, const OsifAnchor* anchor) {
  if (anchor == nullptr || !pol_IsLogOpen(store_id) || pol_IsInPim(store_id)) return;
  ChangeLogFile& log = LogOf(store_id).file;
  log.ReadOn();
  log.NextCounter();
}

OsifResult pol_RecordChange(int32_t store_id, const LibraryChange& change, OsifAnchor* anchor) {
  if (anchor == nullptr) return OSIF_OK;
  *anchor = {};
  if (!pol_IsLogOpen(store_id)) return OSIF_ERR_CL_NOT_OPENED;
  ChangeLog& log = LogOf(store_id);
  const OsifResult result = Record(log.file, change, *anchor);
  if (result == OSIF_OK) {
    Remember(log, change);
  } else if (!pol_IsInPim(store_id)) {
    // No comparison will find the change.
    DropDatabaseId(store_id, log.file.folder());
  }
  return result;
}

OsifResult POL_CL_Open(int32_t store_id, const WCHAR* path) {
  OSIF_Trace(0, "OSIF:  POL_CL_Open(store_id=%d, pszPath='%S')", store_id, path);
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  ChangeLog& log = LogOf(store_id);
  const WideText folder(WideView(path).substr(0, kFolderLimit));
  ChangeLog opened;
  // The log that is open goes after that, so that a folder that stays the same is never free in between.
  const OsifResult held = HoldFolder(store_id, opened.use, folder);
  log = std::move(opened);
  if (held != OSIF_OK) return held;
  const OsifResult result = OpenInFolder(store_id, log, folder);
  if (!log.file.is_open()) log = ChangeLog();
  return result;
}

OsifResult POL_CL_Close(int32_t store_id) {
  OSIF_Trace(0, "OSIF:  POL_CL_Close(store_id=%d)", store_id);
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  ChangeLog& log = LogOf(store_id);
  if (!log.file.is_open()) return OSIF_ERR_CL_NOT_OPENED;
  log.file.Close();
  ChangeLog closed = std::exchange(log, ChangeLog());
  const WideText& folder = closed.file.folder();
  // A purge would make a whole line of half a one.
  if (closed.file.HasWholeLines()) OSIF_CLPurge(store_id, folder);
  if (!pol_IsInPim(store_id)) {
    const bool is_safe = !closed.file.IsToBeSettled() || pol_OperationsOf(store_id).flush();
    if (is_safe) closed.file.Settle();
    return OSIF_ERR_NOT_IMPLEMENTED;
  }
  const StoreTracker tracker(*pol_Application());
  if (!CanBeRead(store_id, tracker)) return OSIF_ERR_PIM;
  if (!closed.known.has_begun()) return OSIF_OK;
  if (!closed.known.Save(store_id, folder, tracker)) return OSIF_ERR_PIM;
  closed.file.Settle();
  MarkClosed(store_id, folder);
  return OSIF_OK;
}

OsifResult POL_CL_GetCurrentAnchor(int32_t store_id, OsifAnchor* anchor) {
  const OsifResult result =
      CheckOpen(store_id, "OSIF:  POL_CL_GetCurrentAnchor - Change log is not opened");
  if (result != OSIF_OK) return result;
  ChangeLogFile& log = LogOf(store_id).file;
  log.ReadOn();
  *anchor = log.newest();
  return OSIF_OK;
}

OsifResult POL_CL_GetFirstEntry(int32_t store_id, const OsifAnchor* anchor, ChangeLogEntry* entry) {
  OSIF_Trace(0, "OSIF:  POL_CL_GetFirstEntry(cc=%d, ts='%.20s')", anchor->cc, anchor->ts);
  OsifResult result = CheckOpen(store_id, "OSIF:  POL_CL_GetFirstEntry - Change log is not opened");
  if (result != OSIF_OK) return result;
  ChangeLog& log = LogOf(store_id);
  log.file.ReadOn();  // what others have appended meanwhile replaces earlier entries, too
  Wanted wanted(*anchor);
  log.scan_position = 0;
  result = Scan(log, entry, [&](const ChangeLogEntry& read) { return wanted.IsNewer(read); });
  if (result == OSIF_OK && wanted.HasGap()) return OSIF_ERR_CL_GAP;
  return result;
}

OsifResult POL_CL_GetNextEntry(int32_t store_id, ChangeLogEntry* entry) {
  OSIF_Trace(0, "OSIF:  POL_CL_GetNextEntry");
  const OsifResult result =
      CheckOpen(store_id, "OSIF:  POL_CL_GetNextEntry - Change log is not opened");
  if (result != OSIF_OK) return result;
  ChangeLog& log = LogOf(store_id);
  if (!log.scan_position) {
    *entry = {};
    return OSIF_ERR_EOF;
  }
  return Scan(log, entry, [](const ChangeLogEntry&) { return true; });
}

OsifResult POL_CL_GetDatabaseId(int32_t store_id, char* id) {
  OSIF_Trace(0, "OSIF:  POL_CL_GetDatabaseId");
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  if (!pol_IsLogOpen(store_id)) return OSIF_ERR_GENERAL;
  return pol_DatabaseId(store_id, LogOf(store_id).file.folder(), id);
}
