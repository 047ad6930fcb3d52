// One line: both marks, size and CRC-32 of the snapshot, the numbers of items, and the end. It is written after
// the snapshot. A process that is killed in between leaves a mark that does not fit, and one that is killed while
// writing less than a line: both are no mark, and everything is compared.
#include "BtOsif_pol/pol_store_mark.h"

#include <zlib.h>

#include <array>
#include <charconv>

#include "btosif/osif_file.h"
#include "btosif/osif_util/change_log_names.h"

namespace {

// The next field, cut off the text with the colon after it.
std::string_view TakeField(std::string_view& text) {
  const std::string_view field = text.substr(0, text.find(':'));
  text.remove_prefix(std::min(text.size(), field.size() + 1));
  return field;
}

// Digits alone.
template <typename Number>
bool TakeNumber(std::string_view& text, Number* number) {
  const std::string_view field = TakeField(text);
  const char* end = field.data() + field.size();
  const auto [after, error] = std::from_chars(field.data(), end, *number);
  return error == std::errc() && after == end;
}

// The end of a line is a field of its own, so that a line that was cut is none.
constexpr std::string_view kEnd = "end";

std::optional<StoreMark> ReadLine(std::string_view line) {
  StoreMark mark;
  mark.compared = TakeField(line);
  mark.closed = TakeField(line);
  const bool is_whole = !mark.compared.empty() && !mark.closed.empty() &&
                        TakeNumber(line, &mark.snapshot.size) &&
                        TakeNumber(line, &mark.snapshot.crc) &&
                        TakeNumber(line, &mark.first_items) && TakeNumber(line, &mark.other_items);
  if (!is_whole || line != kEnd) return std::nullopt;
  return mark;
}

std::string LineOf(const StoreMark& mark) {
  std::string line = mark.compared + ':' + mark.closed;
  for (const uint64_t number : {mark.snapshot.size, uint64_t{mark.snapshot.crc},
                                uint64_t{mark.first_items}, uint64_t{mark.other_items}}) {
    line += ':' + std::to_string(number);
  }
  return line.append(":").append(kEnd);
}

WideText MarkName(int32_t store_id, WideView folder) {
  return LogFileName(store_id, folder, LogFileKind::kMark);
}

uint32_t Crc(uint32_t crc, std::string_view bytes) {
  return static_cast<uint32_t>(
      crc32_z(crc, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

}  // namespace

FileDigest DigestOf(std::string_view bytes) { return {bytes.size(), Crc(0, bytes)}; }

std::optional<FileDigest> DigestOfFile(const WideText& name) {
  OsifStream file;
  if (!FILE_Exists(name.c_str()) || FILE_Open(file, name.c_str(), u"rb") != 0) return std::nullopt;
  FileDigest digest;
  do {
    const std::string_view bytes = file.Window();
    digest.size += bytes.size();
    digest.crc = Crc(digest.crc, bytes);
    file.Skip(bytes.size());
  } while (file.ReadAhead() == OsifStream::Ahead::kMore);
  if (FILE_Error(file) != 0) return std::nullopt;
  return digest;
}

std::optional<StoreMark> pol_ReadStoreMark(int32_t store_id, WideView folder) {
  const WideText name = MarkName(store_id, folder);
  OsifStream file;
  char line[kLineRoom];
  if (!FILE_Exists(name.c_str()) || FILE_Open(file, name.c_str(), u"r") != 0) return std::nullopt;
  if (FILE_ReadLine(line, file) != 0) return std::nullopt;
  std::optional<StoreMark> mark = ReadLine(line);
  if (!mark ||
      DigestOfFile(LogFileName(store_id, folder, LogFileKind::kObject)) != mark->snapshot) {
    return std::nullopt;
  }
  return mark;
}

void pol_WriteStoreMark(int32_t store_id, WideView folder, const StoreMark& mark) {
  const WideText name = MarkName(store_id, folder);
  OsifStream file;
  if (FILE_Open(file, name.c_str(), u"w") != 0) return;
  FILE_WriteLine(file, LineOf(mark));
  FILE_Close(file, name.c_str());
}

void pol_RemoveStoreMark(int32_t store_id, WideView folder) {
  const WideText name = MarkName(store_id, folder);
  if (FILE_Exists(name.c_str())) FILE_Remove(name.c_str());
}
