// Asked of every entry of a scan, the plain test (read on until the object comes again) would read the log
// once for each. Here it is read once for all: by object the last line is kept, and when the object comes
// again, that line is marked. What is appended is read on from where the reading stopped.
//
// A line is known by where it ends, since that is the position of a log whose entry has just been read.
#include "btosif/osif_util/change_log_superseded.h"

#include <algorithm>

#include "btosif/osif_util/change_log_entry.h"

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
      // Reading on from an earlier line would end here, so no later line can mark it.
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
