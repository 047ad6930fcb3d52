#include "btosif/osif_util/change_log_file.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/stores.h"
#include "config/trace.h"

namespace {

constexpr size_t kCounterLimit = 10;    // characters of a counter field
constexpr size_t kTimestampLimit = 18;  // characters of a time stamp field

WideText Widened(const char* ascii) { return WideText(ascii, ascii + std::strlen(ascii)); }

WideText FolderPrefix(WideView folder) {
  WideText prefix(folder.substr(0, kFolderLimit));
  if (!prefix.empty() && prefix.back() != u'\\') prefix += u'\\';
  return prefix;
}

// One file for all stores of a folder.
WideText TempLogName(WideView folder) { return FolderPrefix(folder) + u"temp_change.log"; }

// ---- Entries ----------------------------------------------------------------------------------------

// The fields of a line, parted by ":"; "\;" and "\\" stand for ";" and "\".
class FieldReader {
 public:
  explicit FieldReader(const char* line) : rest_(line) {}

  // The next field; false when the line has none left.
  bool Next(char (&field)[kLineRoom]) {
    if (rest_ == nullptr) return false;
    char* out = field;
    for (; *rest_ != '\0' && *rest_ != ':'; ++rest_) {
      if (rest_[0] == '\\' && (rest_[1] == ';' || rest_[1] == '\\')) ++rest_;
      *out++ = *rest_;
    }
    *out = '\0';
    rest_ = *rest_ == ':' ? rest_ + 1 : nullptr;
    return true;
  }

 private:
  const char* rest_;
};

bool IsKind(char c) { return c == 'M' || c == 'H' || c == 'D'; }

// The number at the start of a text, held at 32 bits; 0 without one.
int32_t CounterOf(std::string_view text) {
  int64_t number = 0;
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  if (text.starts_with('+')) text.remove_prefix(1);
  std::from_chars(text.data(), text.data() + text.size(), number);
  return static_cast<int32_t>(std::clamp<int64_t>(number, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

bool ReadFields(const char* line, ChangeLogEntry* entry) {
  FieldReader fields(line);
  char field[kLineRoom];
  if (!fields.Next(field) || !IsKind(field[0])) return false;
  entry->kind = static_cast<unsigned char>(field[0]);
  if (!fields.Next(field) || std::strlen(field) > kCounterLimit) return false;
  entry->changeCounter = CounterOf(field);
  if (!fields.Next(field) || std::strlen(field) > kTimestampLimit) return false;
  CopyBounded(entry->timestamp, field);
  return fields.Next(field) && CopyBounded(entry->objectId, field);
}

void AssertGiven(const void* pointer, int line) {
  if (pointer == nullptr) OsifAssert("ASSERT at %s line %d\n", __FILE__, line);
}

// ---- Purge ------------------------------------------------------------------------------------------

OsifResult Failed(const char* message) {
  OSIF_Trace(0, message);
  return OSIF_ERR_GENERAL;
}

size_t CountLines(OsifStream& log) {
  char line[kLineRoom];
  size_t count = 0;
  while (FILE_ReadLine(line, log) == 0) ++count;
  return count;
}

// Copies some of a log's lines into the temporary file.
bool CopyLines(OsifStream& log, size_t first, size_t behind_last, OsifStream& copy) {
  FILE_Rewind(log);
  char line[kLineRoom];
  for (size_t number = 0; number < behind_last; ++number) {
    if (FILE_ReadLine(line, log) != 0) return false;
    if (number >= first && FILE_WriteLine(copy, line) != 0) return false;
  }
  return true;
}

// Puts the temporary file in the log's place. The marker tells whose log it is while there is none.
OsifResult ReplaceLog(int32_t store_id, WideView folder) {
  const WideText log_name = LogFileName(store_id, folder, "change");
  const WideText marker_name = LogFileName(store_id, folder, "purging");
  OsifStream marker;
  if (FILE_Open(marker, marker_name.c_str(), u"w") != 0) return OSIF_ERR_GENERAL;
  if (FILE_Close(marker, marker_name.c_str()) != 0) return OSIF_ERR_GENERAL;
  if (FILE_Remove(log_name.c_str()) != 0) return OSIF_ERR_GENERAL;
  if (FILE_Rename(TempLogName(folder).c_str(), log_name.c_str()) != 0) return OSIF_ERR_GENERAL;
  FILE_Remove(marker_name.c_str());
  return OSIF_OK;
}

// Replaces a log, which is closed here, by some of its lines.
OsifResult KeepLines(int32_t store_id, WideView folder, OsifStream& log, size_t first,
                     size_t behind_last) {
  FinishPurge(folder);
  const WideText temp_name = TempLogName(folder);
  OsifStream copy;
  if (FILE_Open(copy, temp_name.c_str(), u"w") != 0) {
    return Failed("OSIF:  OSIF_CLPurge - Error opening temp file");
  }
  const bool is_copied = CopyLines(log, first, behind_last, copy);
  const bool is_closed = FILE_Close(copy, temp_name.c_str()) == 0;
  FILE_Close(log, LogFileName(store_id, folder, "change").c_str());
  if (!is_copied || !is_closed) return OSIF_ERR_GENERAL;
  return ReplaceLog(store_id, folder);
}

}  // namespace

WideText LogFileName(int32_t store_id, WideView folder, const char* kind) {
  return FolderPrefix(folder) + u"pol_" + Widened(StoreName(store_id)) + u"_" + Widened(kind) +
         u".log";
}

OsifResult OSIF_WriteClEntry(OsifStream* log, const ChangeLogEntry* entry) {
  AssertGiven(log, __LINE__);
  AssertGiven(entry, __LINE__);
  if (log == nullptr || entry == nullptr) return OSIF_ERR_GENERAL;
  char line[sizeof(ChangeLogEntry) + 32];
  std::snprintf(line, sizeof line, "%c:%d:%s:%s", static_cast<char>(entry->kind),
                entry->changeCounter, entry->timestamp, entry->objectId);
  FILE_SeekEnd(*log);
  const bool is_written = FILE_WriteLine(*log, line) == 0 && FILE_Flush(*log) == 0;
  return is_written ? OSIF_OK : OSIF_ERR_GENERAL;
}

OsifResult OSIF_ReadClEntry(OsifStream* log, ChangeLogEntry* entry) {
  AssertGiven(log, __LINE__);
  AssertGiven(entry, __LINE__);
  if (log == nullptr || entry == nullptr) return OSIF_ERR_GENERAL;
  *entry = {};
  char line[kLineRoom];
  if (FILE_ReadLine(line, *log) != 0) {
    if (!FILE_Error(*log)) return OSIF_ERR_EOF;
    return Failed("OSIF:  OSIF_ReadClEntry - error reading Change Log file");
  }
  return ReadFields(line, entry) ? OSIF_OK : OSIF_PARSE_ERROR;
}

bool SupersededLines::IsSuperseded(OsifStream& log, int64_t line_end) {
  if (!is_complete_) ReadOn(log);
  const auto line = std::lower_bound(
      lines_.begin(), lines_.end(), line_end,
      [](const std::pair<int64_t, bool>& candidate, int64_t end) { return candidate.first < end; });
  return line != lines_.end() && line->first == line_end && line->second;
}

void SupersededLines::ReadOn(OsifStream& log) {
  int64_t position = 0;
  FILE_Tell(&position, log);
  FILE_Seek(log, read_up_to_);
  ChangeLogEntry entry;
  for (OsifResult result; (result = OSIF_ReadClEntry(&log, &entry)) != OSIF_ERR_EOF;) {
    if (result == OSIF_ERR_GENERAL) break;
    FILE_Tell(&read_up_to_, log);
    if (result == OSIF_OK) {
      Add(read_up_to_, entry);
    } else {
      last_lines_.clear();
    }
  }
  FILE_Seek(log, position);
  is_complete_ = true;
}

void SupersededLines::Add(int64_t line_end, const ChangeLogEntry& entry) {
  const auto [last, is_new] = last_lines_.try_emplace(entry.objectId, lines_.size());
  if (!is_new) {
    lines_[last->second].second = true;
    last->second = lines_.size();
  }
  lines_.emplace_back(line_end, false);
}

bool OSIF_ClEntryIsSuperseded(OsifStream& log, SupersededLines& lines) {
  int64_t line_end = 0;
  FILE_Tell(&line_end, log);
  return lines.IsSuperseded(log, line_end);
}

OsifResult OSIF_CLPurge(int32_t store_id, WideView folder) {
  const WideText log_name = LogFileName(store_id, folder, "change");
  OsifStream log;
  if (FILE_Open(log, log_name.c_str(), u"r") != 0) {
    return Failed("OSIF:  OSIF_CLPurge - Error opening change log");
  }
  const size_t count = CountLines(log);
  if (FILE_Error(log)) return OSIF_ERR_GENERAL;
  if (count <= kKeptEntries) return OSIF_OK;
  const size_t dropped = count - kKeptEntries;
  const OsifResult result = KeepLines(store_id, folder, log, dropped, count);
  if (result != OSIF_OK) return result;
  OSIF_Trace(0, "OSIF:  OSIF_CLPurge - Purged %d entries from '%s'", static_cast<int>(dropped),
             TextToMultiByte(NativeCodePage(), log_name).c_str());
  return OSIF_OK;
}

OsifResult OSIF_CLDropLastLine(int32_t store_id, WideView folder) {
  OsifStream log;
  if (FILE_Open(log, LogFileName(store_id, folder, "change").c_str(), u"r") != 0) {
    return OSIF_ERR_GENERAL;
  }
  const size_t count = CountLines(log);
  if (count == 0) return OSIF_OK;
  return KeepLines(store_id, folder, log, 0, count - 1);
}

void FinishPurge(WideView folder) {
  const WideText temp_name = TempLogName(folder);
  for (int32_t store_id = 0; IsStore(store_id); ++store_id) {
    const WideText marker_name = LogFileName(store_id, folder, "purging");
    if (!FILE_Exists(marker_name.c_str())) continue;
    const WideText log_name = LogFileName(store_id, folder, "change");
    if (!FILE_Exists(log_name.c_str()) && FILE_Exists(temp_name.c_str())) {
      FILE_Rename(temp_name.c_str(), log_name.c_str());
    }
    FILE_Remove(marker_name.c_str());
  }
}
