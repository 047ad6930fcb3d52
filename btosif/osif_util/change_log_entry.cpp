// A log may have been written by anything: by another version, by hand, by a process that was killed in the
// middle of a line. So a line is read field by field into buffers that hold the longest line there can be,
// and the first field that is too long or missing ends it. What was read until then stays in the entry, but
// the caller is told that the line is none.
#include "btosif/osif_util/change_log_entry.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include "btosif/osif_util/ascii.h"
#include "config/trace.h"

namespace {

constexpr size_t kCounterLimit = 10;    // characters of a counter field
constexpr size_t kTimestampLimit = 18;  // characters of a time stamp field

// Taken when read, never written: an object that is gone, as with kChangeDeleted.
constexpr char kChangeGone = 'D';

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

bool IsKind(char c) { return c == kChangeModified || c == kChangeDeleted || c == kChangeGone; }

// The number at the start of a text, held at 32 bits; 0 without one. What follows the digits is of no
// account: a log that others have written counts as far as it can be understood.
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

}  // namespace

OsifResult OSIF_WriteClEntry(OsifStream* log, const ChangeLogEntry* entry) {
  AssertGiven(log, __LINE__);
  AssertGiven(entry, __LINE__);
  if (log == nullptr || entry == nullptr) return OSIF_ERR_GENERAL;
  char line[sizeof(ChangeLogEntry) + 32];
  const int length =
      std::snprintf(line, sizeof line, "%c:%d:%s:%s\n", static_cast<char>(entry->kind),
                    entry->changeCounter, entry->timestamp, entry->objectId);
  FILE_SeekEnd(*log);
  // As one piece, so that as little as possible can come between.
  const std::string_view text(line, static_cast<size_t>(length));
  const bool is_written = FILE_Write(*log, text) == 0 && FILE_Flush(*log) == 0;
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
    OSIF_Trace(0, "OSIF:  OSIF_ReadClEntry - error reading Change Log file");
    return OSIF_ERR_GENERAL;
  }
  return ReadFields(line, entry) ? OSIF_OK : OSIF_PARSE_ERROR;
}
