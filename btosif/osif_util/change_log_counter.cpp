// The file has two lines of a fixed length, which are written in turn, in place: a line that is cut in the
// middle leaves the other one, which holds what was kept before, and a full disk has room for what only replaces
// bytes. The line with the higher number counts. A line:
//
//   number:for sure:at most:start of the system:checksum of what stands before it
//
// While the log is open, counters are reserved in blocks, so that not every entry costs a wait for the disk. A
// process that is killed leaves such a block, and has lost nothing of what it wrote: the system has it. Whether
// the system itself has stopped since is seen by when it was started.
#include "btosif/osif_util/change_log_counter.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_names.h"
#include "platform/api/process.h"
#include "platform/api/system_time.h"

namespace {

constexpr uint32_t kBlock = 1000;
constexpr size_t kLineLength = 67;  // its line feed included
constexpr uint64_t kFileTimeUnitsPerMillisecond = 10'000;

// By how much two looks at one start may differ: clock and tick count are read one after the other, and clocks
// are put right. Between two starts lies at least the time that a start takes.
constexpr uint64_t kSameStart = 5'000 * kFileTimeUnitsPerMillisecond;

uint64_t SystemStart() {
  FILETIME now = {};
  GetSystemTimeAsFileTime(&now);
  const uint64_t time = uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
  return time - GetTickCount64() * kFileTimeUnitsPerMillisecond;
}

bool IsSameStart(uint64_t one, uint64_t other) {
  return std::max(one, other) - std::min(one, other) <= kSameStart;
}

// FNV-1a, 32 bits.
uint32_t Checksum(std::string_view text) {
  uint32_t sum = 0x811C9DC5u;
  for (char c : text) sum = (sum ^ static_cast<unsigned char>(c)) * 0x01000193u;
  return sum;
}

// Text that is no number, or one that is too large, leaves the number as it is: the line is written anew to compare.
template <typename Number>
void ReadNumber(std::string_view text, Number& number) {
  std::from_chars(text.data(), text.data() + text.size(), number);
}

}  // namespace

struct KeptCounter::Slot {
  uint32_t number = 0;
  HandedOut handed_out;
  uint64_t system_start = 0;

  std::string Line() const {
    char text[kLineLength + 1];
    std::snprintf(text, sizeof text, "%010" PRIu32 ":%010" PRIu32 ":%010" PRIu32 ":%020" PRIu64,
                  number, handed_out.for_sure, handed_out.at_most, system_start);
    std::snprintf(text + kLineLength - 14, 15, ":%012" PRIx32 "\n", Checksum(text));
    return text;
  }

  // Nothing for a line that is not whole.
  static std::optional<Slot> Of(std::string_view line) {
    if (line.size() != kLineLength) return std::nullopt;
    Slot slot;
    ReadNumber(line.substr(0, 10), slot.number);
    ReadNumber(line.substr(11, 10), slot.handed_out.for_sure);
    ReadNumber(line.substr(22, 10), slot.handed_out.at_most);
    ReadNumber(line.substr(33, 20), slot.system_start);
    if (slot.number == 0 || slot.Line() != line) return std::nullopt;
    return slot;
  }
};

void KeptCounter::Open(int32_t store_id, WideView folder) {
  *this = KeptCounter();
  name_ = LogFileName(store_id, folder, LogFileKind::kCounter);
  OsifStream file;
  if (!FILE_Exists(name_.c_str())) return;
  if (FILE_Open(file, name_.c_str(), u"rb") != 0) {
    is_damaged_ = true;
    return;
  }
  while (file.Window().size() < 2 * kLineLength) {
    if (file.ReadAhead() != OsifStream::Ahead::kMore) break;
  }
  Read(file.Window());
}

void KeptCounter::Read(std::string_view bytes) {
  for (size_t place : {size_t{0}, kLineLength}) {
    const auto slot = Slot::Of(bytes.substr(std::min(place, bytes.size()), kLineLength));
    if (slot && slot->number > number_) Take(*slot);
  }
  // Less than one line is one that was being made: nothing was handed out with it yet.
  is_damaged_ = number_ == 0 && bytes.size() >= kLineLength;
}

void KeptCounter::Take(const Slot& slot) {
  number_ = slot.number;
  handed_out_ = slot.handed_out;
  system_start_ = slot.system_start;
}

bool KeptCounter::IsAhead(uint32_t newest) const {
  if (is_damaged_ || newest < handed_out_.for_sure) return true;
  const bool was_left_open = handed_out_.at_most != handed_out_.for_sure;
  return was_left_open && !IsSameStart(system_start_, SystemStart());
}

bool KeptCounter::IsExactly(uint32_t counter) const {
  return !is_damaged_ && handed_out_.for_sure == counter && handed_out_.at_most == counter;
}

bool KeptCounter::Reserve(uint32_t counter) {
  if (!is_damaged_ && counter <= handed_out_.at_most &&
      handed_out_.at_most > handed_out_.for_sure) {
    return true;
  }
  const uint32_t most = std::numeric_limits<uint32_t>::max();
  return Write({handed_out_.for_sure, counter < most - kBlock ? counter + kBlock : most});
}

bool KeptCounter::Spend(uint32_t counter) {
  return Write({counter, std::max(handed_out_.at_most, counter)});
}

bool KeptCounter::Settle(uint32_t counter) {
  return IsExactly(counter) || Write({counter, counter});
}

bool KeptCounter::Write(const HandedOut& handed_out) {
  const Slot slot = {number_ + 1, handed_out, SystemStart()};
  OsifStream file;
  const WCHAR* mode = FILE_Exists(name_.c_str()) ? u"r+b" : u"w+b";
  if (FILE_Open(file, name_.c_str(), mode) != 0) return false;
  // A slot that could not be written must not come after all, when the file is closed.
  FILE_DoNotBuffer(file);
  const int64_t place = slot.number % 2 == 1 ? 0 : int64_t{kLineLength};
  const bool is_written = FILE_Seek(file, place) == 0 && FILE_Write(file, slot.Line()) == 0 &&
                          FILE_FlushToDisk(file) == 0;
  if (FILE_Close(file, name_.c_str()) != 0 || !is_written) return false;
  Take(slot);
  is_damaged_ = false;
  return true;
}
