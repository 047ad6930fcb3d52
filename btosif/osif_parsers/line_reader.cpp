// Most lines of most files are one physical line without anything odd in it. Such a line is recognised at a
// glance and handed on where it lies, in the stream's window. For any other one the physical lines are gone
// through twice: the window is first made long enough to hold them all, which also tells how much room the
// joined line needs at most, and only then are they copied, one after the other. The stream is moved once, at
// the very end, past the whole line, whether or not there was memory for it.
#include "btosif/osif_parsers/line_reader.h"

#include <optional>
#include <utility>

#include "btosif/osif_util/line_rules.h"
#include "config/trace.h"

namespace {

constexpr const char* kNoMemoryMessage =
    "OSIF:  Memory allocation of %d bytes failed in 'FileLine'";

enum class Ending {
  kLine,       // the logical line ends here
  kFold,       // a line end and a blank or tab, which become one blank
  kSoftBreak,  // "=" and a line end, which are dropped
  kNoMemory,   // what follows could not be read
};

// One physical line within a window, which the next one follows at the scanner's place.
struct PhysicalLine {
  size_t end;  // of its text, without "=" of a soft break and line end, from the window's start
  Ending ending;

  // True when another one belongs to the same logical line.
  bool GoesOn() const { return ending == Ending::kFold || ending == Ending::kSoftBreak; }
};

// Looks at one physical line of the stream at a time and makes the window longer as it needs.
class Scanner {
 public:
  explicit Scanner(OsifStream& stream) : stream_(stream) {}

  PhysicalLine Next() {
    const std::optional<size_t> line_feed = stream_.FindLineFeed(place_);
    if (!line_feed) return {0, Ending::kNoMemory};
    const std::string_view window = stream_.Window();
    if (*line_feed == window.size()) return LastLine(window);

    const std::string_view text = WithoutLineEnd(window.substr(place_, *line_feed + 1 - place_));
    const size_t end = place_ + text.size();
    place_ = *line_feed + 1;
    if (EndsInSoftBreak(text)) return {end - 1, Ending::kSoftBreak};
    const std::optional<bool> folds = FoldsAt(place_);
    if (!folds) return {0, Ending::kNoMemory};
    if (!*folds) return {end, Ending::kLine};
    ++place_;
    return {end, Ending::kFold};
  }

  // Where the physical line begins that comes next, from the window's start.
  size_t place() const { return place_; }

 private:
  PhysicalLine LastLine(std::string_view window) {
    const bool has_soft_break = EndsInSoftBreak(window.substr(place_));
    place_ = window.size();
    return {place_ - (has_soft_break ? 1 : 0), Ending::kLine};
  }

  std::optional<bool> FoldsAt(size_t position) {
    if (position == stream_.Window().size()) {
      const OsifStream::Ahead ahead = stream_.ReadAhead();
      if (ahead == OsifStream::Ahead::kNoMemory) return std::nullopt;
      if (ahead == OsifStream::Ahead::kEnd) return false;
    }
    return IsFoldCharacter(stream_.Window()[position]);
  }

  OsifStream& stream_;
  size_t place_ = 0;
};

// A line without anything odd.
struct PlainLine {
  size_t raw_length;  // with its line end; 0 when there is more to look at
  std::string_view text;
};

// Most lines are neither folded nor odd, and the window shows it. An "=" at the end is taken for a soft break
// without counting, since it is counted where the line is looked at more closely.
PlainLine FindPlainLine(const OsifStream& stream) {
  const std::string_view window = stream.Window();
  const size_t line_feed = window.find('\n');
  if (!stream.IsPlain() || line_feed >= window.size() - 1) return {0, {}};
  const std::string_view text = WithoutLineEnd(window.substr(0, line_feed + 1));
  if (text.ends_with('=') || IsFoldCharacter(window[line_feed + 1])) return {0, {}};
  return {line_feed + 1, text};
}

// Room for a line of so many bytes in the file, and for its terminator.
OwnedText NewLine(size_t raw_length) {
  return OwnedText(static_cast<char*>(OsifAllocRaw(raw_length + 1)));
}

// Tells that there was no room for a line, and leaves the first bytes of the window behind.
LogicalLine NoMemory(OsifStream& stream, size_t bytes, size_t raw_length) {
  OSIF_Trace(0, kNoMemoryMessage, static_cast<int>(raw_length + 1));
  stream.Skip(bytes);
  return {false, 0, {}, nullptr};
}

// Copies the physical lines of the window's first logical line, joined; returns their length.
size_t CopyJoined(OsifStream& stream, char* text) {
  Scanner scanner(stream);
  char* out = text;
  for (;;) {
    const size_t begin = scanner.place();
    const PhysicalLine line = scanner.Next();
    out += stream.Window().copy(out, line.end - begin, begin);
    if (!line.GoesOn()) return static_cast<size_t>(out - text);
    if (line.ending == Ending::kFold) *out++ = ' ';
  }
}

}  // namespace

LogicalLine ReadLogicalLine(OsifStream& stream) {
  if (const PlainLine plain = FindPlainLine(stream); plain.raw_length > 0) {
    stream.Skip(plain.raw_length);
    return {true, plain.raw_length, plain.text, nullptr};
  }
  Scanner scanner(stream);
  PhysicalLine line = scanner.Next();
  const bool is_folded = line.GoesOn();
  while (line.GoesOn()) line = scanner.Next();
  if (line.ending == Ending::kNoMemory) {
    return NoMemory(stream, stream.Window().size(), stream.Window().size());
  }

  const size_t raw_length = scanner.place();
  LogicalLine read = {true, raw_length, stream.Window().substr(0, line.end), nullptr};
  if (is_folded) {
    read.joined = NewLine(raw_length);
    if (read.joined == nullptr) return NoMemory(stream, raw_length, raw_length);
    read.text = {read.joined.get(), CopyJoined(stream, read.joined.get())};
  }
  if (!stream.IsPlain()) read.text = CutLine(read.text);
  stream.Skip(raw_length);
  return read;
}

OwnedText FileLine(OsifStream& stream) {
  LogicalLine line = ReadLogicalLine(stream);
  if (!line.has_memory) return nullptr;
  if (line.joined == nullptr) {
    line.joined = NewLine(line.raw_length);
    if (line.joined == nullptr) return NoMemory(stream, 0, line.raw_length).joined;
    line.text.copy(line.joined.get(), line.text.size());
  }
  line.joined.get()[line.text.size()] = '\0';
  return std::move(line.joined);
}
