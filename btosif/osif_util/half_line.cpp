#include "btosif/osif_util/half_line.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace {

int64_t SizeOf(OsifStream& file) {
  int64_t size = 0;
  FILE_SeekEnd(file);
  FILE_Tell(&size, file);
  return size;
}

// The bytes from a position up to the size, all of them or nothing.
std::optional<std::string_view> BytesFrom(OsifStream& file, int64_t start, int64_t size) {
  const auto count = static_cast<size_t>(size - start);
  if (FILE_Seek(file, start) != 0) return std::nullopt;
  while (file.Window().size() < count) {
    if (file.ReadAhead() != OsifStream::Ahead::kMore) return std::nullopt;
  }
  return file.Window().substr(0, count);
}

// Where the last whole line ends. It is looked for from the end, since a log may be long and its lines are not.
std::optional<int64_t> EndOfWholeLines(OsifStream& file, int64_t size) {
  for (int64_t distance = kLineRoom;; distance *= 2) {
    const int64_t start = std::max<int64_t>(size - distance, 0);
    const std::optional<std::string_view> bytes = BytesFrom(file, start, size);
    if (!bytes) return std::nullopt;
    const size_t line_feed = bytes->rfind('\n');
    if (line_feed != std::string_view::npos) return start + static_cast<int64_t>(line_feed) + 1;
    if (start == 0) return 0;
  }
}

}  // namespace

bool DropHalfLine(OsifStream& log) {
  const int64_t size = SizeOf(log);
  const std::optional<int64_t> end = EndOfWholeLines(log, size);
  if (!end) return false;
  return FILE_CutBack(log, *end) == 0;
}

bool DropHalfLine(const WideText& name) {
  OsifStream log;
  if (!FILE_Exists(name.c_str())) return true;
  return FILE_Open(log, name.c_str(), u"r+") == 0 && DropHalfLine(log);
}
