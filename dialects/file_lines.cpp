// The bytes lie in one buffer of a fixed size; a line is given where it lies. When the buffer holds no whole
// line any more, what remains is moved to its start and bytes are read after it. Two bytes after a CR have to
// be there before the line is given, since they may belong to its end.
#include "dialects/file_lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/utf8.h"

namespace dialects {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLittleMark = "\xFF\xFE";
constexpr std::string_view kBigMark = "\xFE\xFF";
constexpr WCHAR kReplacement = 0xFFFD;
constexpr size_t kLooked = 8;  // bytes that tell what a file is

// True when of the first bytes every second one is 0, from the given one on, and the others are not.
bool HasEverySecondZero(std::string_view bytes, size_t first_zero) {
  if (bytes.size() < kLooked) return false;
  for (size_t i = 0; i < kLooked; ++i) {
    if ((bytes[i] == '\0') != (i % 2 == first_zero)) return false;
  }
  return true;
}

// Takes as many bytes off the start of a text as there are, at most `room`.
size_t TakeFrom(std::string& text, char* into, size_t room) {
  const size_t length = text.copy(into, room);
  text.erase(0, length);
  return length;
}

WCHAR UnitAt(std::string_view bytes, size_t place, bool is_big) {
  const auto first = static_cast<unsigned char>(bytes[place]);
  const auto second = static_cast<unsigned char>(bytes[place + 1]);
  return static_cast<WCHAR>(is_big ? first << 8 | second : second << 8 | first);
}

// How many of the bytes are whole characters; at the end of a file half a pair counts as one.
size_t UsableBytes(std::string_view bytes, bool is_big, bool is_end) {
  const size_t whole = bytes.size() / 2 * 2;
  const bool waits = !is_end && whole > 0 && IsLeadSurrogate(UnitAt(bytes, whole - 2, is_big));
  return waits ? whole - 2 : whole;
}

// Half a pair is no character.
std::string InUtf8(std::string_view bytes, bool is_big) {
  std::basic_string<WCHAR> units;
  units.reserve(bytes.size() / 2);
  for (size_t i = 0; i < bytes.size(); i += 2) {
    const WCHAR unit = UnitAt(bytes, i, is_big);
    const bool has_lead = !units.empty() && IsLeadSurrogate(units.back());
    if (has_lead && !IsTrailSurrogate(unit)) units.back() = kReplacement;
    units += IsTrailSurrogate(unit) && !has_lead ? kReplacement : unit;
  }
  if (!units.empty() && IsLeadSurrogate(units.back())) units.back() = kReplacement;
  return ToUtf8(units);
}

}  // namespace

ByteSource BytesOf(std::FILE* file) {
  return [file](char* into, size_t room) { return std::fread(into, 1, room, file); };
}

TextSource::TextSource(ByteSource bytes) : bytes_(std::move(bytes)) {}

size_t TextSource::Read(char* into, size_t room) {
  if (!has_begun_) Begin();
  return width_ == Width::kBytes ? ReadBytes(into, room) : ReadUtf16(into, room);
}

void TextSource::Begin() {
  has_begun_ = true;
  first_.resize(kLooked);
  size_t length = 0;
  while (length < kLooked) {
    const size_t count = bytes_(first_.data() + length, kLooked - length);
    if (count == 0) break;
    length += count;
  }
  first_.resize(length);

  if (first_.starts_with(kUtf8Mark)) {
    is_utf8_ = true;
    first_.erase(0, kUtf8Mark.size());
  } else if (first_.starts_with(kLittleMark) || HasEverySecondZero(first_, 1)) {
    width_ = Width::kUtf16Little;
    if (first_.starts_with(kLittleMark)) first_.erase(0, kLittleMark.size());
  } else if (first_.starts_with(kBigMark) || HasEverySecondZero(first_, 0)) {
    width_ = Width::kUtf16Big;
    if (first_.starts_with(kBigMark)) first_.erase(0, kBigMark.size());
  }
  if (width_ != Width::kBytes) is_utf8_ = true;
}

size_t TextSource::ReadBytes(char* into, size_t room) {
  const size_t count = TakeFrom(first_, into, room);
  return count == room ? count : count + bytes_(into + count, room - count);
}

// A unit of two bytes becomes at most three. A byte, or a first half of a pair, at the end of what was read
// waits for what it belongs to, so there may be nothing whole yet.
size_t TextSource::ReadUtf16(char* into, size_t room) {
  for (;;) {
    std::string bytes = std::exchange(half_, {});
    const size_t waiting = bytes.size();
    bytes.resize(waiting + (room / 3 - 2) * 2);
    const size_t count = ReadBytes(bytes.data() + waiting, bytes.size() - waiting);
    bytes.resize(waiting + count);
    const bool is_end = count == 0;
    const size_t used = UsableBytes(bytes, width_ == Width::kUtf16Big, is_end);
    if (!is_end) half_ = bytes.substr(used);
    bytes.resize(used);
    if (used > 0 || is_end) return InUtf8(bytes, width_ == Width::kUtf16Big).copy(into, room);
  }
}

FileLines::FileLines(ByteSource bytes) : source_(std::move(bytes)), buffer_(kLongestPiece, '\0') {}

bool FileLines::Next(FileLine& line) {
  for (;;) {
    const size_t line_feed = Find('\n', next_line_feed_);
    const size_t stop = std::min(line_feed, Find('\r', next_return_));
    const bool is_whole = stop < end_ && (stop == line_feed || stop + 2 < end_ || has_ended_);
    if (is_whole) {
      Give(stop + LineEndLength(stop) - place_, line);
      was_cut_ = false;
      return true;
    }
    if (Fill()) continue;
    if (place_ == end_) return false;
    // The last line, or the buffer is full of one, at whose end a CR may be what ends it.
    Give(stop - place_, line);
    was_cut_ = !has_ended_;
    return true;
  }
}

std::string_view FileLines::Ahead() {
  if (was_cut_) return {};
  if (place_ == end_) Fill();
  return std::string_view(buffer_).substr(place_, end_ - place_);
}

void FileLines::Skip(size_t bytes, uint64_t lines) {
  place_ += bytes;
  number_ += lines;
}

// Reads on. False when there is no room, or when the file has ended before this call.
bool FileLines::Fill() {
  if (has_ended_) return false;
  const size_t kept = end_ - place_;
  if (buffer_.size() - kept < TextSource::kLeastRoom) return false;
  std::memmove(buffer_.data(), buffer_.data() + place_, kept);
  next_line_feed_ -= std::min(place_, next_line_feed_);
  next_return_ -= std::min(place_, next_return_);
  place_ = 0;
  end_ = kept;
  const size_t count = source_.Read(buffer_.data() + end_, buffer_.size() - end_);
  has_ended_ = count == 0;
  end_ += count;
  return true;
}

// Where the next such byte lies; the end of what was read without one.
size_t FileLines::Find(char wanted, size_t& known) const {
  known = std::max(known, place_);
  if (known < end_ && buffer_[known] != wanted) {
    const void* found = std::memchr(buffer_.data() + known, wanted, end_ - known);
    known = found == nullptr
                ? end_
                : static_cast<size_t>(static_cast<const char*>(found) - buffer_.data());
  }
  return known;
}

size_t FileLines::LineEndLength(size_t place) const {
  const std::string_view rest(buffer_.data() + place, std::min<size_t>(end_ - place, 3));
  return rest.starts_with("\r\n") ? 2 : rest == "\r\r\n" ? 3 : 1;
}

void FileLines::Give(size_t length, FileLine& line) {
  if (!was_cut_) ++number_;
  line.bytes = std::string_view(buffer_).substr(place_, length);
  line.number = number_;
  line.is_whole_start = !was_cut_;
  place_ += length;
}

// Mostly the lines still lie in the buffer, before the place.
void FileLines::Unread(std::string_view text, uint64_t number) {
  if (text.size() > place_) {
    std::string buffer(text);
    buffer.append(buffer_, place_, end_ - place_);
    const size_t moved = text.size() - place_;
    end_ += moved;
    next_line_feed_ += moved;
    next_return_ += moved;
    place_ = text.size();
    buffer.resize(std::max(buffer.size(), kLongestPiece));
    buffer_ = std::move(buffer);
  }
  place_ -= text.size();
  ForgetAfter('\n', text.size(), next_line_feed_);
  ForgetAfter('\r', text.size(), next_return_);
  was_cut_ = false;
  number_ = number - 1;
}

// What is known of the bytes that follow the lines which are read again stays known.
void FileLines::ForgetAfter(char wanted, size_t length, size_t& known) const {
  const size_t found = std::string_view(buffer_).substr(place_, length).find(wanted);
  if (found != std::string_view::npos) known = place_ + found;
}

}  // namespace dialects
