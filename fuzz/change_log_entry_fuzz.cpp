// Lines of a change log: each is an entry or none; what is taken as an entry keeps within its fields and
// can be written and read again; the test for superseded entries answers as reading on does.
#include <cstring>
#include <string>
#include <vector>

#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/change_log_superseded.h"
#include "fuzz/fuzz_input.h"

namespace {

void Require(bool condition) {
  if (!condition) abort();
}

struct Line {
  OsifResult result;
  std::string id;
  bool is_superseded;
};

void CheckEntry(const ChangeLogEntry& entry) {
  Require(entry.kind == 'M' || entry.kind == 'H' || entry.kind == 'D');
  Require(std::memchr(entry.timestamp, 0, sizeof entry.timestamp) != nullptr);
  Require(std::memchr(entry.objectId, 0, sizeof entry.objectId) != nullptr);
}

// Its first 511 bytes read back as they were; "\" would be taken for an escape.
void CheckWritten(OsifStream& copy, const ChangeLogEntry& entry) {
  if (std::strlen(entry.objectId) > 450 || std::strpbrk(entry.objectId, "\\\r") != nullptr) return;
  if (std::strpbrk(entry.timestamp, "\\\r") != nullptr) return;
  int64_t position = 0;
  FILE_SeekEnd(copy);
  FILE_Tell(&position, copy);
  Require(OSIF_WriteClEntry(&copy, &entry) == OSIF_OK);
  FILE_Seek(copy, position);
  ChangeLogEntry read;
  Require(OSIF_ReadClEntry(&copy, &read) == OSIF_OK);
  Require(read.kind == entry.kind && read.changeCounter == entry.changeCounter);
  Require(std::strcmp(read.timestamp, entry.timestamp) == 0);
  Require(std::strcmp(read.objectId, entry.objectId) == 0);
}

std::vector<Line> ReadAll(const fuzz::InputFile& file) {
  OsifStream log;
  file.Open(log);
  OsifStream copy;
  Require(FILE_Open(copy, (FromUtf8(getenv("OSIF_DEVICE")) + u"/copy.log").c_str(), u"w+") == 0);
  SupersededLines superseded;
  std::vector<Line> lines;
  ChangeLogEntry entry;
  for (OsifResult result; (result = OSIF_ReadClEntry(&log, &entry)) != OSIF_ERR_EOF;) {
    Require(result == OSIF_OK || result == OSIF_PARSE_ERROR);
    Line line = {result, entry.objectId, false};
    if (result == OSIF_OK) {
      CheckEntry(entry);
      CheckWritten(copy, entry);
      line.is_superseded = OSIF_ClEntryIsSuperseded(log, superseded);
    }
    lines.push_back(line);
  }
  return lines;
}

bool IsSupersededByReadingOn(const std::vector<Line>& lines, size_t number) {
  for (size_t later = number + 1; later < lines.size(); ++later) {
    if (lines[later].result != OSIF_OK) return false;
    if (lines[later].id == lines[number].id) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  if (size > 8192) return 0;  // reading on is quadratic
  const std::vector<Line> lines = ReadAll(fuzz::InputFile(bytes, size));
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].result != OSIF_OK) continue;
    Require(lines[i].is_superseded == IsSupersededByReadingOn(lines, i));
  }
  return 0;
}
