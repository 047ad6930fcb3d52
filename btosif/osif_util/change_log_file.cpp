// The file is opened for appending and is read and written through one stream. Each job has its own place in
// the file: appending is always at the end, ReadOn goes on where it stopped, a scan stands where its owner
// left it. So whoever begins a job first puts the stream where the job needs it, and no job relies on where
// another left it.
//
// The newest entry is known from reading the file, also after an append of our own: so the counters go on
// from whatever stands in the log by then, whoever wrote it. A line that is no entry ends what counts for
// good, since nobody can tell what the counters after it are worth.
//
// An entry is one line and one write. Of one that fails, on a full disk, nothing stays: the file is cut back to
// its whole lines, and the next entry is tried as if nothing had happened. Its counter may have been handed out
// all the same, so no other entry gets it.
#include "btosif/osif_util/change_log_file.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/change_log_names.h"
#include "btosif/osif_util/half_line.h"

namespace {

// What one line gives back of an id: it is read with 510 characters and its line end, of which kind, counter
// and time take 32.
constexpr size_t kLongestId = kLineRoom - 2 - 32;

// An id comes from a peer and may hold anything: of a longer one, or one with a line break, the rest would be
// a line of its own, and no entry after it could be read.
std::string RecordedId(std::string_view id) {
  return std::string(id.substr(0, std::min(id.find_first_of("\r\n"), kLongestId)));
}

OsifAnchor AnchorOf(const ChangeLogEntry& entry) {
  OsifAnchor anchor = {};
  anchor.cc = static_cast<uint32_t>(entry.changeCounter);
  CopyBounded(anchor.ts, entry.timestamp);
  return anchor;
}

}  // namespace

OsifResult ChangeLogFile::Open(int32_t store_id, WideView folder) {
  ChangeLogFile opened;
  opened.store_id_ = store_id;
  opened.folder_ = WideText(folder);
  *this = std::move(opened);
  const WideText name = LogFileName(store_id_, folder_, LogFileKind::kChange);
  if (FILE_Open(stream_, name.c_str(), u"a+") != 0) return OSIF_ERR_FILE_OPEN;
  // What could not be written must not stay in the runtime's buffer and come after all.
  FILE_DoNotBuffer(stream_);
  counter_.Open(store_id_, folder_);
  return OSIF_OK;
}

void ChangeLogFile::Close() {
  ReadOn();
  const bool is_settled = !has_whole_lines_ || counter_.IsExactly(HighestCounter());
  // A log of which the end is not on the disk must not count as whole.
  is_to_be_settled_ = !is_settled && FILE_FlushToDisk(stream_) == 0;
  FILE_Close(stream_, LogFileName(store_id_, folder_, LogFileKind::kChange).c_str());
}

void ChangeLogFile::Settle() {
  if (is_to_be_settled_ && counter_.Settle(HighestCounter())) is_to_be_settled_ = false;
}

void ChangeLogFile::Remove() {
  stream_ = OsifStream();
  FILE_Remove(LogFileName(store_id_, folder_, LogFileKind::kChange).c_str());
}

uint32_t ChangeLogFile::HighestCounter() const { return std::max(newest_.cc, handed_out_); }

std::optional<uint32_t> ChangeLogFile::NextCounter() {
  const uint32_t next = HighestCounter() + 1;
  if (!has_whole_lines_ || !counter_.Reserve(next)) return std::nullopt;
  return next;
}

void ChangeLogFile::Spend(uint32_t counter) {
  handed_out_ = std::max(handed_out_, counter);
  counter_.Spend(counter);
}

OsifResult ChangeLogFile::Append(char kind, const char* id, const OsifAnchor& anchor) {
  ChangeLogEntry entry = {};
  entry.kind = static_cast<unsigned char>(kind);
  entry.changeCounter = static_cast<int32_t>(anchor.cc);
  CopyBounded(entry.timestamp, anchor.ts);
  CopyBounded(entry.objectId, RecordedId(id).c_str());
  if (!has_whole_lines_) return OSIF_ERR_GENERAL;
  superseded_.LogHasGrown();
  GoToEnd();
  const bool is_read = Position() == read_up_to_;
  const OsifResult result = OSIF_WriteClEntry(&stream_, &entry);
  if (result == OSIF_OK) {
    handed_out_ = std::max(handed_out_, anchor.cc);
    if (is_read) TakeNoteOf(entry);
  } else {
    CutBack();
  }
  return result;
}

// An entry that was just written, after all that was read, need not be read. One with an unusual id is read all the
// same: what its line gives back is for the reader to say.
void ChangeLogFile::TakeNoteOf(const ChangeLogEntry& entry) {
  const bool is_usual =
      std::string_view(entry.objectId).find_first_of(":;\\") == std::string_view::npos;
  if (!is_usual || !is_readable_) return;
  newest_ = AnchorOf(entry);
  read_up_to_ = Position();
}

// After a write that failed. Whoever was told a counter of a log that takes no more entries is to begin anew.
void ChangeLogFile::CutBack() {
  has_whole_lines_ = DropHalfLine(stream_);
  if (has_whole_lines_) return;
  const WideText name = LogFileName(store_id_, folder_, LogFileKind::kDatabaseId);
  if (FILE_Exists(name.c_str())) FILE_Remove(name.c_str());
}

NewestKinds ChangeLogFile::ReadOn() {
  NewestKinds kinds;
  if (!is_readable_) return kinds;
  GoToEnd();
  if (Position() == read_up_to_) return kinds;
  ChangeLogEntry entry;
  OsifResult result;
  // Also when it stands there: a stream that has met the end of its file stays there until it is positioned.
  FILE_Seek(stream_, read_up_to_);
  while ((result = Read(&entry)) == OSIF_OK) {
    newest_ = AnchorOf(entry);
    kinds[entry.objectId] = entry.kind;
  }
  is_readable_ = result == OSIF_ERR_EOF;
  read_up_to_ = Position();
  superseded_.LogHasGrown();
  return kinds;
}

int64_t ChangeLogFile::Position() const {
  int64_t position = 0;
  FILE_Tell(&position, stream_);
  return position;
}

void ChangeLogFile::GoTo(int64_t position) {
  // Seeking forgets what was read ahead, so a scan that goes on undisturbed does without.
  if (Position() != position) FILE_Seek(stream_, position);
}

void ChangeLogFile::GoToEnd() { FILE_SeekEnd(stream_); }

OsifResult ChangeLogFile::Read(ChangeLogEntry* entry) { return OSIF_ReadClEntry(&stream_, entry); }

bool ChangeLogFile::IsSuperseded() { return OSIF_ClEntryIsSuperseded(stream_, superseded_); }
