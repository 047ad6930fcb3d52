#include "BtOsif_pol/pol_changelog.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <utility>

#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_session.h"
#include "BtOsif_pol/pol_snapshot.h"
#include "BtOsif_pol/pol_stores.h"
#include "btosif/osif_date.h"
#include "btosif/osif_file.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/change_log_file.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/stores.h"
#include "config/trace.h"
#include "platform/api/system_time.h"

namespace {

// Counters are 31 bits in the files. A log that comes near the end of them is started anew.
constexpr int32_t kLastCounterAtOpen = std::numeric_limits<int32_t>::max() - 1'000'000;

// What one line gives back of an id: it is read with 510 characters and its line end, of which kind, counter
// and time take 32.
constexpr size_t kLongestId = kLineRoom - 2 - 32;

// The log of one store while it is open.
struct ChangeLog {
  OsifStream stream;
  WideText folder;
  SupersededLines lines;
  // The store as far as the log has told of it. Saved at close, so that what the log has not told is found
  // at the next open.
  CPoomEntries known;
  bool is_compared = false;  // `known` holds; it does not when the store could not be read
  OsifAnchor newest = {};    // of the entries up to `read_up_to`
  int64_t read_up_to = 0;
  bool is_whole = true;  // false when a malformed line ends what counts
  int64_t scan_position = 0;
};

std::array<ChangeLog, kStoreRows.size()> g_logs;

ChangeLog& LogOf(int32_t store_id) { return g_logs[static_cast<size_t>(store_id)]; }

// OSIF_OK for an open log; else what a call answers, with its message.
OsifResult CheckOpen(int32_t store_id, const char* not_opened) {
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  if (LogOf(store_id).stream.is_open()) return OSIF_OK;
  OSIF_Trace(0, not_opened);
  return OSIF_ERR_CL_NOT_OPENED;
}

OsifAnchor AnchorOf(const ChangeLogEntry& entry) {
  OsifAnchor anchor = {};
  anchor.cc = static_cast<uint32_t>(entry.changeCounter);
  CopyBounded(anchor.ts, entry.timestamp);
  return anchor;
}

// ---- Appending --------------------------------------------------------------------------------------

// An id comes from a peer and may hold anything: of a longer one, or one with a line break, the rest would be
// a line of its own, and no entry behind it could be read.
std::string RecordedId(std::string_view id) {
  return std::string(id.substr(0, std::min(id.find_first_of("\r\n"), kLongestId)));
}

OsifResult Append(ChangeLog& log, char kind, const char* id, const OsifAnchor& anchor) {
  ChangeLogEntry entry = {};
  entry.kind = static_cast<unsigned char>(kind);
  entry.changeCounter = static_cast<int32_t>(anchor.cc);
  CopyBounded(entry.timestamp, anchor.ts);
  CopyBounded(entry.objectId, RecordedId(id).c_str());
  log.lines.LogHasGrown();
  return OSIF_WriteClEntry(&log.stream, &entry);
}

// True when another program has changed the item since the log last told of it.
bool WasChangedByOthers(const ChangeLog& log, const LibraryChange& change) {
  if (!change.checksum_before) return false;
  uint32_t known = 0;
  return !log.known.find(change.oid, &known) || known != *change.checksum_before;
}

void Remember(ChangeLog& log, const LibraryChange& change) {
  if (change.kind == kChangeDeleted) {
    log.known.remove(change.oid);
  } else if (change.checksum) {
    // Another program's change is told at the next open: the item counts as known, but not as it is now.
    const bool is_told = !WasChangedByOthers(log, change);
    log.known.put(change.oid, is_told ? *change.checksum : ~*change.checksum);
  }
}

// ---- Reading on -------------------------------------------------------------------------------------

// The newest kind of change of each object that the entries read name.
using NewestKinds = std::map<std::string, uint32_t>;

// Reads for the newest anchor what the log has grown by: through this process, or through another that has it
// open.
NewestKinds ReadOn(ChangeLog& log) {
  NewestKinds kinds;
  if (!log.is_whole) return kinds;
  ChangeLogEntry entry;
  OsifResult result;
  FILE_Seek(log.stream, log.read_up_to);
  while ((result = OSIF_ReadClEntry(&log.stream, &entry)) == OSIF_OK) {
    log.newest = AnchorOf(entry);
    kinds[entry.objectId] = entry.kind;
  }
  log.is_whole = result == OSIF_ERR_EOF;
  FILE_Tell(&log.read_up_to, log.stream);
  log.lines.LogHasGrown();
  return kinds;
}

// ---- Opening ----------------------------------------------------------------------------------------

// The changes that one comparison finds, all with one time stamp.
class ChangesFound {
 public:
  explicit ChangesFound(ChangeLog& log) : log_(log) { CurrentTimeStamp(time_stamp_); }

  // True when the change is in the log.
  bool Append(char kind, uint32_t oid) {
    char id[OSIF_ID_SIZE] = "";
    pol_WriteId(static_cast<LONG>(oid), id);
    OsifAnchor anchor = {};
    anchor.cc = ++counter_;
    CopyBounded(anchor.ts, time_stamp_);
    return ::Append(log_, kind, id, anchor) == OSIF_OK;
  }

 private:
  ChangeLog& log_;
  char time_stamp_[kTimeStampRoom];
  uint32_t counter_ = log_.newest.cc;
};

// An entry that could not be written leaves `known` as it was saved, so that the change is found again.
void AppendModified(CPoomEntries& current, const CPoomEntries& saved, ChangesFound& changes,
                    CPoomEntries& known) {
  uint32_t id = 0;
  uint32_t checksum = 0;
  for (bool more = current.first(&id, &checksum); more; more = current.next(&id, &checksum)) {
    uint32_t saved_checksum = 0;
    const bool is_known = saved.find(id, &saved_checksum);
    if (is_known && saved_checksum == checksum) {
      known.put(id, checksum);
    } else if (changes.Append(kChangeModified, id)) {
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
// that ended before it saved one: only the log still knows of it.
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

OsifResult pol_UpdatePoomChanges(int32_t store_id, ChangeLog& log, const NewestKinds& kinds) {
  ChangesFound changes(log);
  OSIF_Trace(0, "OSIF:  pol_UpdatePoomChanges(store_id=%d, pszPath='%S', cc=%d)", store_id,
             log.folder.c_str(), log.newest.cc);
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  CPoomEntries current;
  if (!current.getFromPoom(store_id, pol_Application())) return OSIF_ERR_PIM;
  CPoomEntries saved;
  if (!saved.getFromFile(store_id, log.folder)) return OSIF_ERR_PIM;
  AppendModified(current, saved, changes, log.known);
  AppendDeleted(current, saved, changes, log.known);
  AppendForgotten(current, saved, kinds, changes);
  log.is_compared = true;
  return OSIF_OK;
}

// A process that ended while it wrote leaves a half line, behind which nothing could be read.
void DropHalfLine(int32_t store_id, WideView folder) {
  const WideText name = LogFileName(store_id, folder, "change");
  OsifStream log;
  if (!FILE_Exists(name.c_str()) || FILE_Open(log, name.c_str(), u"rb") != 0) return;
  int64_t size = 0;
  FILE_SeekEnd(log);
  FILE_Tell(&size, log);
  uint32_t last = 0;
  if (size == 0 || FILE_Seek(log, size - 1) != 0 || FILE_GetChar(&last, log) != 0) return;
  if (last != '\n') OSIF_CLDropLastLine(store_id, folder);
}

bool IsDatabaseId(const WideText& name) {
  OsifStream stream;
  char line[kLineRoom];
  return FILE_Open(stream, name.c_str(), u"r") == 0 && FILE_ReadLine(line, stream) == 0 &&
         std::strlen(line) >= kRandomIdLength;
}

// A log that is gone has taken the counters of its anchors with it, and a half-written id was never told:
// both need a new id.
void DropOutdatedDatabaseId(int32_t store_id, WideView folder) {
  const WideText name = LogFileName(store_id, folder, "databaseid");
  if (!FILE_Exists(name.c_str())) return;
  const bool has_log = FILE_Exists(LogFileName(store_id, folder, "change").c_str());
  if (!has_log || !IsDatabaseId(name)) FILE_Remove(name.c_str());
}

// A marker stands beside the log of a PIM store from before its first new entry until the snapshot knows of
// all of them. True when one was left.
bool WasLeftOpen(int32_t store_id, WideView folder) {
  return FILE_Exists(LogFileName(store_id, folder, "open").c_str());
}

bool MarkOpen(int32_t store_id, WideView folder) {
  const WideText name = LogFileName(store_id, folder, "open");
  OsifStream marker;
  return FILE_Open(marker, name.c_str(), u"w") == 0 && FILE_Close(marker, name.c_str()) == 0;
}

// Brings the log of a PIM store, just opened, up to date.
OsifResult Compare(int32_t store_id, ChangeLog& log, NewestKinds& kinds) {
  if (!WasLeftOpen(store_id, log.folder)) {
    kinds.clear();
    if (!MarkOpen(store_id, log.folder)) {
      log = ChangeLog();
      return OSIF_ERR_FILE_OPEN;
    }
  }
  return pol_UpdatePoomChanges(store_id, log, kinds);
}

void Repair(int32_t store_id, WideView folder) {
  FinishPurge(folder);
  DropHalfLine(store_id, folder);
  DropOutdatedDatabaseId(store_id, folder);
}

OsifResult OpenFile(int32_t store_id, ChangeLog& log) {
  const WideText name = LogFileName(store_id, log.folder, "change");
  if (FILE_Open(log.stream, name.c_str(), u"a+") != 0) return OSIF_ERR_FILE_OPEN;
  return OSIF_OK;
}

// Starts the log anew when its counters come to an end.
OsifResult StartAnew(int32_t store_id, ChangeLog& log) {
  const WideText folder = log.folder;
  log = ChangeLog();
  log.folder = folder;
  FILE_Remove(LogFileName(store_id, folder, "change").c_str());
  DropOutdatedDatabaseId(store_id, folder);
  return OpenFile(store_id, log);
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
  int64_t position = 0;
  FILE_Tell(&position, log.stream);
  if (position != log.scan_position) FILE_Seek(log.stream, log.scan_position);
  OsifResult result;
  do {
    result = OSIF_ReadClEntry(&log.stream, entry);
  } while (result == OSIF_OK &&
           !(is_wanted(*entry) && !OSIF_ClEntryIsSuperseded(log.stream, log.lines)));
  FILE_Tell(&log.scan_position, log.stream);
  return result;
}

// ---- Database id ------------------------------------------------------------------------------------

OsifResult ReadDatabaseId(OsifStream& file, char* id) {
  char line[kLineRoom];
  if (const int result = FILE_ReadLine(line, file); result != 0) {
    OSIF_Trace(0, "OSIF:  POL_GetDatabaseId - Couldn't read id from Database ID Log file.");
    return static_cast<OsifResult>(result);
  }
  std::memcpy(id, line, std::strlen(line) + 1);
  return OSIF_OK;
}

OsifResult MakeDatabaseId(const WideText& name, char* id) {
  OsifStream file;
  if (FILE_Open(file, name.c_str(), u"w") != 0) return OSIF_ERR_GENERAL;
  char new_id[kRandomIdLength + 1];
  MakeRandomId(new_id);
  const bool is_written = FILE_WriteLine(file, new_id) == 0;
  if (FILE_Close(file, name.c_str()) != 0 || !is_written) return OSIF_ERR_GENERAL;
  std::memcpy(id, new_id, sizeof new_id);
  return OSIF_OK;
}

}  // namespace

bool pol_IsLogOpen(int32_t store_id) {
  return IsStore(store_id) && LogOf(store_id).stream.is_open();
}

OsifResult pol_RecordChange(int32_t store_id, const LibraryChange& change, OsifAnchor* anchor) {
  if (anchor == nullptr) return OSIF_OK;
  *anchor = {};
  if (!pol_IsLogOpen(store_id)) return OSIF_ERR_CL_NOT_OPENED;
  ChangeLog& log = LogOf(store_id);
  ReadOn(log);
  *anchor = log.newest;
  ++anchor->cc;
  CurrentTimeStamp(anchor->ts);
  const OsifResult result = Append(log, change.kind, change.id, *anchor);
  if (result == OSIF_OK) Remember(log, change);
  return result;
}

OsifResult POL_CL_Open(int32_t store_id, const WCHAR* path) {
  OSIF_Trace(0, "OSIF:  POL_CL_Open(store_id=%d, pszPath='%S')", store_id, path);
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  ChangeLog& log = LogOf(store_id);
  log = ChangeLog();
  log.folder = WideText(WideView(path).substr(0, kFolderLimit));
  Repair(store_id, log.folder);
  if (const OsifResult result = OpenFile(store_id, log); result != OSIF_OK) return result;
  NewestKinds kinds = ReadOn(log);
  if (static_cast<int32_t>(log.newest.cc) > kLastCounterAtOpen) {
    if (const OsifResult result = StartAnew(store_id, log); result != OSIF_OK) return result;
    kinds.clear();
  }
  FILE_SeekEnd(log.stream);
  FILE_Tell(&log.scan_position, log.stream);
  if (!pol_IsInPim(store_id)) return OSIF_ERR_NOT_IMPLEMENTED;
  return Compare(store_id, log, kinds);
}

OsifResult POL_CL_Close(int32_t store_id) {
  OSIF_Trace(0, "OSIF:  POL_CL_Close(store_id=%d)", store_id);
  if (pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  ChangeLog& log = LogOf(store_id);
  if (!log.stream.is_open()) return OSIF_ERR_CL_NOT_OPENED;
  FILE_Close(log.stream, LogFileName(store_id, log.folder, "change").c_str());
  const ChangeLog closed = std::exchange(log, ChangeLog());
  OSIF_CLPurge(store_id, closed.folder);
  if (!pol_IsInPim(store_id)) return OSIF_ERR_NOT_IMPLEMENTED;
  CPoomEntries current;
  if (!current.getFromPoom(store_id, pol_Application())) return OSIF_ERR_PIM;
  if (!closed.is_compared) return OSIF_OK;
  if (!closed.known.saveToFile(store_id, closed.folder)) return OSIF_ERR_PIM;
  FILE_Remove(LogFileName(store_id, closed.folder, "open").c_str());
  return OSIF_OK;
}

OsifResult POL_CL_GetCurrentAnchor(int32_t store_id, OsifAnchor* anchor) {
  const OsifResult result =
      CheckOpen(store_id, "OSIF:  POL_CL_GetCurrentAnchor - Change log is not opened");
  if (result != OSIF_OK) return result;
  ReadOn(LogOf(store_id));
  *anchor = LogOf(store_id).newest;
  return OSIF_OK;
}

OsifResult POL_CL_GetFirstEntry(int32_t store_id, const OsifAnchor* anchor, ChangeLogEntry* entry) {
  OSIF_Trace(0, "OSIF:  POL_CL_GetFirstEntry(cc=%d, ts='%.20s')", anchor->cc, anchor->ts);
  OsifResult result = CheckOpen(store_id, "OSIF:  POL_CL_GetFirstEntry - Change log is not opened");
  if (result != OSIF_OK) return result;
  ChangeLog& log = LogOf(store_id);
  ReadOn(log);
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
  return Scan(LogOf(store_id), entry, [](const ChangeLogEntry&) { return true; });
}

OsifResult POL_CL_GetDatabaseId(int32_t store_id, char* id) {
  OSIF_Trace(0, "OSIF:  POL_CL_GetDatabaseId");
  if (!IsStore(store_id)) return OSIF_ERR_TYPE_NOT_SUPPORTED;
  if (!pol_IsLogOpen(store_id)) return OSIF_ERR_GENERAL;
  const WideText name = LogFileName(store_id, LogOf(store_id).folder, "databaseid");
  OsifStream file;
  if (FILE_Exists(name.c_str()) && FILE_Open(file, name.c_str(), u"r") == 0) {
    return ReadDatabaseId(file, id);
  }
  return MakeDatabaseId(name, id);
}
