// The change log of one store as it is written. Whatever is appended to the log, cut off its end, or known of
// how far it reaches goes through here, so that what has to hold of the file (whole lines only, counters that
// grow, nothing answered with success that could be lost) is looked after in one place.
#pragma once

#include <cstdint>

#include "btosif/osif_file.h"
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
  void Close();

  // Closes the log and deletes it. It can be opened again and then begins with nothing.
  void Remove();

  bool is_open() const { return stream_.is_open(); }

  // Where it was opened; as much of the folder as counts.
  const WideText& folder() const { return folder_; }

  // Appends an entry and hands it to the system, so that it outlives the process. The id is recorded as far
  // as one line can give it back. OSIF_OK, or OSIF_ERR_GENERAL when it cannot be written.
  OsifResult Append(char kind, const char* id, const OsifAnchor& anchor);

  // Takes note of what the log has grown by: through this process, or through another that has it open.
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
  OsifStream stream_;
  int32_t store_id_ = 0;
  WideText folder_;
  SupersededLines superseded_;
  OsifAnchor newest_ = {};   // of the entries up to `read_up_to_`
  int64_t read_up_to_ = 0;   // where ReadOn goes on
  bool is_readable_ = true;  // false when a malformed line ends what counts
};
