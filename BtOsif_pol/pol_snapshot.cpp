// The entries stand in the order in which they came, since the log tells them and the file holds them in that
// order; an index finds one by its id. A removed entry keeps its place as a gap that walking passes over, so
// that the index holds for the others and removing costs nothing but itself.
//
// An object log may hold an id twice, when it was written by something else. Both entries are walked and
// written again; the first is the one that is found.
#include "BtOsif_pol/pol_snapshot.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>

#include "BtOsif_pol/change_log_recovery.h"
#include "BtOsif_pol/pol_checksum.h"
#include "BtOsif_pol/pol_id.h"
#include "BtOsif_pol/pol_item.h"
#include "BtOsif_pol/pol_store_mark.h"
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

constexpr int kContactFolders[] = {olFolderContacts};
constexpr int kCalendarFolders[] = {olFolderCalendar, olFolderTasks};

void AppendLine(std::string& text, uint32_t id, uint32_t checksum) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (int shift = 28; shift >= 0; shift -= 4) text += kDigits[id >> shift & 0xF];
  char number[16];
  const auto end = std::to_chars(std::begin(number), std::end(number), checksum).ptr;
  text.append(1, ':').append(number, end).append(1, '\n');
}

// Puts on the disk that a file was renamed, and all that was renamed or removed before it.
bool FlushName(const WideText& name) {
  OsifStream file;
  return FILE_Open(file, name.c_str(), u"r+") == 0 && FILE_FlushToDisk(file) == 0;
}

// Puts a new snapshot in the place of the one before: written and on the disk before that goes. FinishSnapshot takes
// the last step for a process that was killed before it.
bool ReplaceObjectLog(const WideText& name, const WideText& new_name, const std::string& text) {
  OsifStream log;
  // The new file counts as finished once the old one is gone, so there must be an old one first.
  int opened = FILE_Exists(name.c_str()) ? 0 : FILE_Open(log, name.c_str(), u"w");
  if (opened == 0) opened = FILE_Open(log, new_name.c_str(), u"w");
  if (opened != 0) {
    OSIF_Trace(0, "OSIF:  CPoomEntries::saveToFile - Couldn't open object log file (code=%d).",
               opened);
    return false;
  }
  const bool is_written = FILE_Write(log, text) == 0 && FILE_FlushToDisk(log) == 0;
  if (FILE_Close(log, new_name.c_str()) != 0 || !is_written) return false;
  // Once the counters are settled the old one must not come back.
  return FILE_Remove(name.c_str()) == 0 && FILE_Rename(new_name.c_str(), name.c_str()) == 0 &&
         FlushName(name);
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

std::optional<size_t> CPoomEntries::indexOf(uint32_t id) const {
  if (indexed_ == 0) places_.reserve(entries_.size());
  for (; indexed_ < entries_.size(); ++indexed_) {
    if (!entries_[indexed_].is_removed) places_.try_emplace(entries_[indexed_].id, indexed_);
  }
  const auto found = places_.find(id);
  if (found == places_.end()) return std::nullopt;
  return found->second;
}

bool CPoomEntries::find(uint32_t id, uint32_t* checksum) const {
  const std::optional<size_t> index = indexOf(id);
  if (index) *checksum = entries_[*index].checksum;
  return index.has_value();
}

void CPoomEntries::append(uint32_t id, uint32_t checksum, FolderPlace place) {
  file_.reset();
  entries_.push_back({id, checksum, place, false});
}

void CPoomEntries::put(uint32_t id, uint32_t checksum, FolderPlace place) {
  const std::optional<size_t> index = indexOf(id);
  if (!index) return append(id, checksum, place);
  Entry& entry = entries_[*index];
  if (place == FolderPlace::kUnknown) place = entry.place;
  if (entry.checksum == checksum && entry.place == place) return;
  file_.reset();
  entry.checksum = checksum;
  entry.place = place;
}

void CPoomEntries::remove(uint32_t id) {
  const std::optional<size_t> index = indexOf(id);
  if (!index) return;
  file_.reset();
  entries_[*index].is_removed = true;
  ++removed_;
  places_.erase(id);
}

void CPoomEntries::sort() {
  const auto is_before = [](const Entry& a, const Entry& b) {
    if (a.place != b.place) return a.place < b.place;
    return a.place != FolderPlace::kUnknown && a.id < b.id;
  };
  // Mostly they are: new items have higher ids, and there is but one folder.
  if (std::is_sorted(entries_.begin(), entries_.end(), is_before)) return;
  std::stable_sort(entries_.begin(), entries_.end(), is_before);
  places_.clear();
  indexed_ = 0;
}

size_t CPoomEntries::count(FolderPlace place) const {
  return static_cast<size_t>(std::count_if(
      entries_.begin(), entries_.end(),
      [place](const Entry& entry) { return entry.place == place && !entry.is_removed; }));
}

void CPoomEntries::setPlaces(size_t first_items) {
  for (size_t i = 0; i < entries_.size(); ++i) {
    entries_[i].place = i < first_items ? FolderPlace::kFirst : FolderPlace::kSecond;
  }
}

// ---- The store --------------------------------------------------------------------------------------

FolderPlace pol_PlaceOf(int folder_type) {
  return folder_type == olFolderTasks ? FolderPlace::kSecond : FolderPlace::kFirst;
}

std::span<const int> pol_FoldersOf(int32_t store_id) {
  switch (store_id) {
    case OSIF_STORE_PB:
      return kContactFolders;
    case OSIF_STORE_CAL:
      return kCalendarFolders;
    default:
      return {};
  }
}

bool CPoomEntries::getFromPoom(int32_t store_id, IPOutlookApp* application,
                               const TouchedItems* touched) {
  OSIF_Trace(0, "OSIF:  CPoomEntries::getFromPoom(store_id=%d, pPolApp=%p)", store_id,
             static_cast<void*>(application));
  clear();
  if (application == nullptr) {
    OSIF_Trace(0, "OSIF:  CPoomEntries::getFromPoom - Poom Interface not opened.");
    return false;
  }
  const std::span<const int> folders = pol_FoldersOf(store_id);
  if (folders.empty()) {
    OSIF_Trace(0, "OSIF:  CPoomEntries::getFromPoom - Invalid store ID: %d.", store_id);
    return false;
  }
  return std::all_of(folders.begin(), folders.end(), [&](int folder) {
    return getEntriesFromFolder(application, folder, touched);
  });
}

bool CPoomEntries::getEntriesFromFolder(IPOutlookApp* application, int folder_type,
                                        const TouchedItems* touched) {
  OSIF_Trace(0, "OSIF:  CPoomEntries::getEntriesFromFolder(pPolApp=%p, olFolderType=%d)",
             static_cast<void*>(application), folder_type);
  ComPtr<IFolder> folder;
  if (const HRESULT result = application->GetDefaultFolder(folder_type, folder.put());
      FAILED(result)) {
    return Failed("OSIF:  CPoomEntries::getEntriesFromFolder - GetDefaultFolder failed (0x%08x)",
                  result);
  }
  return touched == nullptr ? appendAll(*folder, folder_type)
                            : appendTouched(*application, folder_type, *touched);
}

bool CPoomEntries::appendAll(IFolder& folder, int folder_type) {
  ComPtr<IPOutlookItemCollection> items;
  if (const HRESULT result = folder.get_Items(items.put()); FAILED(result)) {
    return Failed("OSIF:  CPoomEntries::getEntriesFromFolder - get_Items failed (0x%08x)", result);
  }
  int count = 0;
  if (FAILED(items->get_Count(&count))) return false;
  entries_.reserve(entries_.size() + static_cast<size_t>(std::max(count, 0)));
  for (int index = 1; index <= count; ++index) {
    ComPtr<IDispatch> item;
    // A snapshot that lacks an item would have it logged as deleted, so half of one is none.
    if (FAILED(items->Item(index, item.put())) || !item) return false;
    appendItem(folder_type, *item);
  }
  return true;
}

bool CPoomEntries::appendTouched(IPOutlookApp& application, int folder_type,
                                 const TouchedItems& touched) {
  for (const TouchedItem& each : touched) {
    if (each.folder != folder_type) continue;
    ComPtr<IDispatch> item;
    const HRESULT result = application.GetItemFromOid(static_cast<LONG>(each.oid), item.put());
    if (FAILED(result) || !item) return false;
    appendItem(folder_type, *item);
  }
  return true;
}

// An item of a folder is of the folder's kind. Folders of another kind add nothing.
void CPoomEntries::appendItem(int folder_type, IDispatch& item) {
  const auto add = [&](auto& typed, auto checksum) {
    put(static_cast<uint32_t>(pol_OidOf(typed)), checksum(typed), pol_PlaceOf(folder_type));
  };
  if (folder_type == olFolderContacts) add(static_cast<IContact&>(item), ContactChecksum);
  if (folder_type == olFolderCalendar) add(static_cast<IAppointment&>(item), AppointmentChecksum);
  if (folder_type == olFolderTasks) add(static_cast<ITask&>(item), TaskChecksum);
}

// ---- The object log ---------------------------------------------------------------------------------

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
  append(static_cast<uint32_t>(*id), checksum, FolderPlace::kUnknown);
}

std::string CPoomEntries::toText() const {
  constexpr size_t kLongestLine = 20;
  std::string text;
  text.reserve(size() * kLongestLine);
  for (const Entry& entry : entries_) {
    if (!entry.is_removed) AppendLine(text, entry.id, entry.checksum);
  }
  return text;
}

bool CPoomEntries::saveToFile(int32_t store_id, WideView folder) {
  OSIF_Trace(0, "OSIF:  CPoomEntries::saveToFile(store_id=%d, pszPath='%S')", store_id,
             WideText(folder).c_str());
  const WideText name = LogFileName(store_id, folder, LogFileKind::kObject);
  if (file_ && DigestOfFile(name) == file_) return true;
  const WideText new_name = LogFileName(store_id, folder, LogFileKind::kNewObject);
  const std::string text = toText();
  const FileDigest digest = DigestOf(text);
  const bool is_saved = DigestOfFile(name) == digest || ReplaceObjectLog(name, new_name, text);
  if (is_saved) file_ = digest;
  return is_saved;
}
