// A logical line is found in one look at the stream's window: its physical lines are noted as they are
// met, each with what ended it, and are then copied one behind the other.
#include "btosif/osif_parsers/line_reader.h"

#include <cstring>
#include <optional>

#include "btosif/osif_util/ascii.h"
#include "config/trace.h"

namespace {

constexpr const char* kNoMemory = "OSIF:  Memory allocation of %d bytes failed in 'FileLine'";

enum class Ending {
  kLine,       // the logical line ends here
  kFold,       // a line end and a blank or tab, which become one blank
  kSoftBreak,  // "=" and a line end, which are dropped
};

// One physical line within a window, measured from the window's start.
struct PhysicalLine {
  size_t end;   // of its text, without "=" of a soft break and line end
  size_t next;  // where the next one begins
  Ending ending;
};

// An unpaired "=" at the end of the text: one that is not the second character behind another "=".
bool EndsInEquals(std::string_view text) {
  const size_t other = text.find_last_not_of('=');
  const size_t run = other == std::string_view::npos ? text.size() : text.size() - other - 1;
  return run % 2 == 1;
}

bool IsFoldCharacter(char c) { return c == ' ' || c == '\t'; }

// Looks at one physical line of the stream at a time and makes the window longer as it needs.
class Scanner {
 public:
  explicit Scanner(OsifStream& stream) : stream_(stream) {}

  // The next physical line; nothing when memory is short.
  std::optional<PhysicalLine> Next() {
    const std::optional<size_t> line_feed = FindLineFeed();
    if (!line_feed) return std::nullopt;
    const std::string_view window = stream_.Window();
    if (*line_feed == window.size()) return LastLine(window);

    size_t end = *line_feed;
    if (end > begin_ && window[end - 1] == '\r') --end;
    const size_t next = *line_feed + 1;
    if (EndsInEquals(window.substr(begin_, end - begin_))) {
      return Take({end - 1, next, Ending::kSoftBreak});
    }
    const std::optional<bool> folds = FoldsAt(next);
    if (!folds) return std::nullopt;
    return *folds ? Take({end, next + 1, Ending::kFold}) : Take({end, next, Ending::kLine});
  }

  size_t begin() const { return begin_; }

 private:
  PhysicalLine Take(PhysicalLine line) {
    begin_ = line.next;
    return line;
  }

  PhysicalLine LastLine(std::string_view window) {
    const bool has_equals = EndsInEquals(window.substr(begin_));
    return Take({window.size() - (has_equals ? 1 : 0), window.size(), Ending::kLine});
  }

  // The next line feed, or the window's end at the end of the file.
  std::optional<size_t> FindLineFeed() {
    for (size_t from = begin_;;) {
      const std::string_view window = stream_.Window();
      const size_t found = window.find('\n', from);
      if (found != std::string_view::npos) return found;
      from = window.size();
      switch (stream_.ReadAhead()) {
        case OsifStream::Ahead::kMore:
          break;
        case OsifStream::Ahead::kEnd:
          return from;
        case OsifStream::Ahead::kNoMemory:
          return std::nullopt;
      }
    }
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
  size_t begin_ = 0;  // of the physical line to look at next
};

// Tells that there was no room for the line that takes up the window's first `size` bytes, and leaves it.
OwnedText NoMemory(OsifStream& stream, size_t size, size_t room) {
  OSIF_Trace(0, kNoMemory, static_cast<int>(room));
  stream.Skip(size);
  return nullptr;
}

// Copies the physical lines of the window's first `size` bytes, joined.
void CopyJoined(OsifStream& stream, char* out) {
  Scanner scanner(stream);
  for (;;) {
    const size_t begin = scanner.begin();
    const PhysicalLine line = *scanner.Next();
    const size_t length = line.end - begin;
    std::memcpy(out, stream.Window().data() + begin, length);
    out += length;
    if (line.ending == Ending::kLine) break;
    if (line.ending == Ending::kFold) *out++ = ' ';
  }
  *out = '\0';
}

// True when the delimiter-copying below takes the character at `text` as protected.
bool IsEscape(const char* text) {
  return text[0] == '\\' && (text[1] == ';' || text[1] == '\\');
}

// Copies up to one of the delimiters; what does not fit is skipped. Returns where it stopped: at a
// delimiter or at the line's terminator.
template <size_t kRoom>
const char* CopyField(char (&field)[kRoom], const char* text, const char* delimiters) {
  size_t length = 0;
  while (*text != '\0' && std::strchr(delimiters, *text) == nullptr) {
    const size_t count = IsEscape(text) ? 2 : 1;
    if (length + count < kRoom) {
      std::memcpy(field + length, text, count);
      length += count;
    }
    text += count;
  }
  field[length] = '\0';
  return text;
}

// The text behind a delimiter; the empty text when the line ended without one.
const char* Behind(const char* delimiter) { return *delimiter == '\0' ? delimiter : delimiter + 1; }

}  // namespace

OwnedText FileLine(OsifStream& stream) {
  Scanner scanner(stream);
  size_t size = 0;
  for (bool is_whole = false; !is_whole;) {
    const std::optional<PhysicalLine> line = scanner.Next();
    if (!line) return NoMemory(stream, stream.Window().size(), stream.Window().size());
    size = line->next;
    is_whole = line->ending == Ending::kLine;
  }

  const size_t room = size + 1;
  OwnedText text(static_cast<char*>(OsifAlloc(room)));
  if (text == nullptr) return NoMemory(stream, size, room);
  CopyJoined(stream, text.get());
  text.get()[std::strcspn(text.get(), "\r")] = '\0';
  stream.Skip(size);
  return text;
}

const char* SplitProperty(char (&name)[kNameRoom], char (&params)[kParamRoom], const char* line) {
  params[0] = '\0';
  const char* delimiter = CopyField(name, line, ";:");
  if (*delimiter == ';') delimiter = CopyField(params, delimiter + 1, ":");
  return Behind(delimiter);
}

char* StripBlanks(char* text) {
  char* out = text;
  for (const char* in = text; *in != '\0'; ++in) {
    if (*in != ' ' && *in != '\t') *out++ = *in;
  }
  *out = '\0';
  return text;
}
