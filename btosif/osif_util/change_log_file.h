// The change log of one store as it is written. Whatever is appended to the log, cut off its end, or known of
// how far it reaches goes through here, so that what has to hold of the file (whole lines only, counters that
// grow, nothing answered with success that could be lost) is looked after in one place.
#pragma once

#include <cstdint>
#include <optional>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_counter.h"
#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/change_log_superseded.h"
#include "btosif/osif_util/charset.h"
#include "osif.h"

// An open change log, or none. Closed when it goes out of scope; used by one caller at a time.
class ChangeLogFile {
 public:
  // Opens the log of a store in a folder, and makes it when there is none; one that was open is closed.
  // OSIF_OK or OSIF_ERR_FILE_OPEN.
  OsifResult Open(int32_t store_id, WideView folder);

  // Closes the log: its entries are then on the disk. That they are counts once it is settled.
  void Close();

  // True for a closed log whose counters have to be settled.
  bool IsToBeSettled() const { return is_to_be_settled_; }

  // After Close, when what the entries tell of cannot be lost any more either: how far the counters go is
  // kept. A log that the system stops before this counts as one that has lost its end.
  void Settle();

  // Closes the log and deletes it. It can be opened again and then begins with nothing.
  void Remove();

  bool is_open() const { return stream_.is_open(); }

  // Where it was opened; as much of the folder as counts.
  const WideText& folder() const { return folder_; }

  // The counter of the next entry: greater than any that was handed out. Nothing when it cannot be kept; no
  // entry can then be made.
  std::optional<uint32_t> NextCounter();

  // Appends an entry and hands it to the system, so that it outlives the process. The id is recorded as far
  // as one line can give it back. OSIF_OK, or OSIF_ERR_GENERAL when it cannot be written: the log then ends as
  // before. When what was written of it cannot be cut off again, the log takes no more entries, and the database
  // id goes.
  OsifResult Append(char kind, const char* id, const OsifAnchor& anchor);

  // A counter that was handed out though its entry could not be written: no other entry gets it, so that it
  // remains a gap.
  void Spend(uint32_t counter);

  // True when the log may lack entries that were told, and its counters would be given out once more.
  bool HasLostItsEnd() const { return counter_.IsAhead(newest_.cc); }

  // From here on the log counts as whole: the counters go on from its newest entry.
  void BeginCounting() { counter_.Settle(newest_.cc); }

  // False when it ends with half a line that could not be cut off.
  bool HasWholeLines() const { return has_whole_lines_; }

  // Takes note of what the log has grown by through others that have it open; of its own entries it has already.
  // Gives the objects of the entries read.
  NewestKinds ReadOn();

  // Counter and time of the newest entry that ReadOn has met; zero and empty before any.
  const OsifAnchor& newest() const { return newest_; }

  // Reading entries. Appending and ReadOn move the position, so a reader keeps its own and goes back to it.
  int64_t Position() const;
  void GoTo(int64_t position);
  void GoToEnd();
  OsifResult Read(ChangeLogEntry* entry);

  // True when a later entry replaces the one that was just read.
  bool IsSuperseded();

 private:
  void TakeNoteOf(const ChangeLogEntry& entry);
  void CutBack();
  uint32_t HighestCounter() const;

  OsifStream stream_;
  int32_t store_id_ = 0;
  WideText folder_;
  SupersededLines superseded_;
  KeptCounter counter_;
  uint32_t handed_out_ = 0;  // the highest counter that this process has given out
  bool has_whole_lines_ = true;
  bool is_to_be_settled_ = false;
  OsifAnchor newest_ = {};   // of the entries up to `read_up_to_`
  int64_t read_up_to_ = 0;   // where ReadOn goes on
  bool is_readable_ = true;  // false when a malformed line ends what counts
};
