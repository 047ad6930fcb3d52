// The entries stand in the order in which they came, since the log tells them and the file holds them in that
// order; an index finds one by its id. A removed entry keeps its place as a gap that walking passes over, so
// that the index holds for the others and removing costs nothing but itself.
//
// An object log may hold an id twice, when it was written by something else. Both entries are walked and
// written again; the first is the one that is found.
#include "BtOsif_pol/pol_snapshot.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string_view>

#include "BtOsif_pol/change_log_recovery.h"
#include "BtOsif_pol/pol_checksum.h"
#include "BtOsif_pol/pol_id.h"
#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_names.h"
#include "config/trace.h"
#include "platform/api/com_ptr.h"

namespace {

bool Failed(const char* format, HRESULT result) {
  OSIF_Trace(0, format, result);
  return false;
}

bool ReadChecksum(std::string_view text, uint32_t* checksum) {
  return std::from_chars(text.data(), text.data() + text.size(), *checksum).ec == std::errc();
}

template <typename Item>
void AddItem(CPoomEntries& entries, IDispatch& item, uint32_t (*checksum)(Item&)) {
  Item& typed = static_cast<Item&>(item);
  LONG oid = 0;
  typed.get_Oid(&oid);
  entries.put(static_cast<uint32_t>(oid), checksum(typed));
}

// Adds one item of a folder, which is of the folder's kind. Folders of another kind add nothing.
void AddItemOfFolder(CPoomEntries& entries, int folder_type, IDispatch& item) {
  if (folder_type == olFolderContacts) AddItem(entries, item, ContactChecksum);
  if (folder_type == olFolderCalendar) AddItem(entries, item, AppointmentChecksum);
  if (folder_type == olFolderTasks) AddItem(entries, item, TaskChecksum);
}

bool WriteEntry(OsifStream& log, uint32_t id, uint32_t checksum) {
  char line[32];
  std::snprintf(line, sizeof line, "%08x:%u", id, checksum);
  return FILE_WriteLine(log, line) == 0;
}

// Puts a finished snapshot in the place of the one before. FinishSnapshot takes the second step for a process
// that was killed after the first.
bool ReplaceObjectLog(const WideText& new_name, const WideText& name) {
  return FILE_Remove(name.c_str()) == 0 && FILE_Rename(new_name.c_str(), name.c_str()) == 0;
}

}  // namespace

void CPoomEntries::clear() { *this = CPoomEntries(); }

bool CPoomEntries::first(uint32_t* id, uint32_t* checksum) {
  cursor_ = 0;
  return next(id, checksum);
}

bool CPoomEntries::next(uint32_t* id, uint32_t* checksum) {
  while (cursor_ < entries_.size() && entries_[cursor_].is_removed) ++cursor_;
  if (cursor_ == entries_.size()) return false;
  *id = entries_[cursor_].id;
  *checksum = entries_[cursor_].checksum;
  ++cursor_;
  return true;
}

bool CPoomEntries::find(uint32_t id, uint32_t* checksum) const {
  const auto place = places_.find(id);
  if (place == places_.end()) return false;
  *checksum = entries_[place->second].checksum;
  return true;
}

void CPoomEntries::append(uint32_t id, uint32_t checksum) {
  places_.try_emplace(id, entries_.size());
  entries_.push_back({id, checksum, false});
}

void CPoomEntries::put(uint32_t id, uint32_t checksum) {
  if (const auto place = places_.find(id); place != places_.end()) {
    entries_[place->second].checksum = checksum;
  } else {
    append(id, checksum);
  }
}

void CPoomEntries::remove(uint32_t id) {
  const auto place = places_.find(id);
  if (place == places_.end()) return;
  entries_[place->second].is_removed = true;
  ++removed_;
  places_.erase(place);
}

bool CPoomEntries::getFromPoom(int32_t store_id, IPOutlookApp* application) {
  OSIF_Trace(0, "OSIF:  CPoomEntries::getFromPoom(store_id=%d, pPolApp=%p)", store_id,
             static_cast<void*>(application));
  clear();
  if (application == nullptr) {
    OSIF_Trace(0, "OSIF:  CPoomEntries::getFromPoom - Poom Interface not opened.");
    return false;
  }
  switch (store_id) {
    case OSIF_STORE_PB:
      return getEntriesFromFolder(application, olFolderContacts);
    case OSIF_STORE_CAL:
      return getEntriesFromFolder(application, olFolderCalendar) &&
             getEntriesFromFolder(application, olFolderTasks);
    default:
      OSIF_Trace(0, "OSIF:  CPoomEntries::getFromPoom - Invalid store ID: %d.", store_id);
      return false;
  }
}

bool CPoomEntries::getEntriesFromFolder(IPOutlookApp* application, int folder_type) {
  OSIF_Trace(0, "OSIF:  CPoomEntries::getEntriesFromFolder(pPolApp=%p, olFolderType=%d)",
             static_cast<void*>(application), folder_type);
  ComPtr<IFolder> folder;
  if (const HRESULT result = application->GetDefaultFolder(folder_type, folder.put());
      FAILED(result)) {
    return Failed("OSIF:  CPoomEntries::getEntriesFromFolder - GetDefaultFolder failed (0x%08x)",
                  result);
  }
  ComPtr<IPOutlookItemCollection> items;
  if (const HRESULT result = folder->get_Items(items.put()); FAILED(result)) {
    return Failed("OSIF:  CPoomEntries::getEntriesFromFolder - get_Items failed (0x%08x)", result);
  }
  int count = 0;
  if (FAILED(items->get_Count(&count))) return false;
  entries_.reserve(entries_.size() + static_cast<size_t>(std::max(count, 0)));
  places_.reserve(entries_.capacity());
  for (int index = 1; index <= count; ++index) {
    ComPtr<IDispatch> item;
    // A snapshot that lacks an item would have it logged as deleted, so half of one is none.
    if (FAILED(items->Item(index, item.put())) || !item) return false;
    AddItemOfFolder(*this, folder_type, *item);
  }
  return true;
}

bool CPoomEntries::getFromFile(int32_t store_id, WideView folder) {
  OSIF_Trace(0, "OSIF:  CPoomEntries::getFromFile(store_id=%d, pszPath='%S')", store_id,
             WideText(folder).c_str());
  clear();
  FinishSnapshot(store_id, folder);
  const WideText name = LogFileName(store_id, folder, LogFileKind::kObject);
  OsifStream log;
  // One that cannot be opened is as good as none: every item is then told as new.
  if (FILE_Open(log, name.c_str(), u"r") != 0) return true;
  char line[kLineRoom];
  while (FILE_ReadLine(line, log) == 0) appendLine(line);
  return true;
}

void CPoomEntries::appendLine(const char* line) {
  const std::string_view text = line;
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) return;
  const std::optional<LONG> id = pol_ReadId(line);
  uint32_t checksum = 0;
  if (!id || !ReadChecksum(text.substr(colon + 1), &checksum)) return;
  append(static_cast<uint32_t>(*id), checksum);
}

bool CPoomEntries::saveToFile(int32_t store_id, WideView folder) const {
  OSIF_Trace(0, "OSIF:  CPoomEntries::saveToFile(store_id=%d, pszPath='%S')", store_id,
             WideText(folder).c_str());
  const WideText name = LogFileName(store_id, folder, LogFileKind::kObject);
  const WideText new_name = LogFileName(store_id, folder, LogFileKind::kNewObject);
  OsifStream log;
  // The new file counts as finished once the old one is gone, so there must be an old one first.
  int opened = FILE_Exists(name.c_str()) ? 0 : FILE_Open(log, name.c_str(), u"w");
  if (opened == 0) opened = FILE_Open(log, new_name.c_str(), u"w");
  if (opened != 0) {
    OSIF_Trace(0, "OSIF:  CPoomEntries::saveToFile - Couldn't open object log file (code=%d).",
               opened);
    return false;
  }
  bool is_written = true;
  for (const Entry& entry : entries_) {
    if (!entry.is_removed) is_written = is_written && WriteEntry(log, entry.id, entry.checksum);
  }
  is_written = is_written && FILE_FlushToDisk(log) == 0;
  if (FILE_Close(log, new_name.c_str()) != 0 || !is_written) return false;
  return ReplaceObjectLog(new_name, name);
}
