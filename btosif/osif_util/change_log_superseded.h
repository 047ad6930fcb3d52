// Which entries of a change log a later one of the same object replaces: a partner is told of each object
// once, by its latest entry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "btosif/osif_file.h"

// Knows for each line of a log whether a later line names the same object. Reading the log once is enough;
// a line that is no entry ends what counts as later.
class SupersededLines {
 public:
  // True when the line that ends at this position of the log has a later line for its object. The position of
  // the log is as before.
  bool IsSuperseded(OsifStream& log, int64_t line_end);

  // What the log has grown by since is read at the next question.
  void LogHasGrown() { is_complete_ = false; }

 private:
  void ReadOn(OsifStream& log);
  void Add(int64_t line_end, const ChangeLogEntry& entry);

  std::vector<std::pair<int64_t, bool>> lines_;         // end, superseded; by position
  std::unordered_map<std::string, size_t> last_lines_;  // of each object
  int64_t read_up_to_ = 0;
  bool is_complete_ = false;
};

// True when a later line of the log names the object of the entry that was just read. The position of the
// log is as before.
bool OSIF_ClEntryIsSuperseded(OsifStream& log, SupersededLines& lines);
