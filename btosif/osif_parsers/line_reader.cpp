// A logical line is found in one look at the stream's window: its physical lines are noted as they are
// met, each with what ended it, and are then copied one behind the other.
#include "btosif/osif_parsers/line_reader.h"

#include <cstring>
#include <optional>
#include <utility>

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
  if (!text.ends_with('=')) return false;
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

// Most lines are neither folded nor odd, and the window shows it: the length of such a line with its line
// end; 0 when there is more to look at.
size_t PlainLineLength(const OsifStream& stream) {
  const std::string_view window = stream.Window();
  const size_t line_feed = window.find('\n');
  if (!stream.IsPlain() || line_feed >= window.size() - 1) return 0;
  const size_t before_end = line_feed > 0 && window[line_feed - 1] == '\r' ? 2 : 1;
  const bool is_soft_break = line_feed >= before_end && window[line_feed - before_end] == '=';
  return is_soft_break || IsFoldCharacter(window[line_feed + 1]) ? 0 : line_feed + 1;
}

// Room for a line of so many bytes in the file, and for its terminator.
OwnedText NewLine(size_t raw_length) {
  return OwnedText(static_cast<char*>(OsifAllocRaw(raw_length + 1)));
}

// Tells that there was no room for a line, and leaves the first bytes of the window behind.
LogicalLine NoMemory(OsifStream& stream, size_t bytes, size_t raw_length) {
  OSIF_Trace(0, kNoMemory, static_cast<int>(raw_length + 1));
  stream.Skip(bytes);
  return {false, 0, {}, nullptr};
}

// Copies the physical lines of the window's first logical line, joined; returns their length.
size_t CopyJoined(OsifStream& stream, char* text) {
  Scanner scanner(stream);
  char* out = text;
  for (;;) {
    const size_t begin = scanner.begin();
    const PhysicalLine line = *scanner.Next();
    out += stream.Window().copy(out, line.end - begin, begin);
    if (line.ending == Ending::kLine) return static_cast<size_t>(out - text);
    if (line.ending == Ending::kFold) *out++ = ' ';
  }
}

// A line ends at its first carriage return, and as a text at its first zero byte.
std::string_view CutLine(std::string_view text) {
  text = text.substr(0, text.find('\r'));
  return text.substr(0, text.find('\0'));
}

// True when the delimiter-copying below takes the first character as protected.
bool IsEscape(std::string_view text) {
  return text.size() > 1 && text[0] == '\\' && (text[1] == ';' || text[1] == '\\');
}

// A field that was taken from a line.
struct Field {
  size_t length;
  bool has_blanks;  // perhaps
};

// Moves the front of a text up to one of the two delimiters into a field; what does not fit is dropped.
template <size_t kRoom>
Field TakeField(char (&field)[kRoom], std::string_view& text, char delimiter, char other) {
  const auto is_delimiter = [&](char c) { return c == delimiter || c == other; };
  size_t length = 0;
  size_t i = 0;
  // Most fields have neither blank nor escape, and fit.
  for (; i < text.size() && i + 1 < kRoom && !is_delimiter(text[i]); ++i) {
    if (text[i] <= ' ' || text[i] == '\\') break;
    field[length++] = text[i];
  }
  const bool has_blanks = i < text.size() && !is_delimiter(text[i]);
  while (i < text.size() && !is_delimiter(text[i])) {
    const size_t count = IsEscape(text.substr(i)) ? 2 : 1;
    if (length + count < kRoom) length += text.copy(field + length, count, i);
    i += count;
  }
  field[length] = '\0';
  text.remove_prefix(i);
  return {length, has_blanks};
}

struct Fields {
  Field name;
  Field params;
  std::string_view value;  // empty when the line ended before
};

Fields TakeFields(char (&name)[kNameRoom], char (&params)[kParamRoom], std::string_view line) {
  Fields fields = {TakeField(name, line, ';', ':'), {}, {}};
  params[0] = '\0';
  if (line.starts_with(';')) {
    line.remove_prefix(1);
    fields.params = TakeField(params, line, ':', ':');
  }
  fields.value = line.substr(line.empty() ? 0 : 1);
  return fields;
}

// The field without its blanks and tabs.
std::string_view Stripped(char* text, const Field& field) {
  if (field.has_blanks) return StripBlanks(text);
  return {text, field.length};
}

}  // namespace

LogicalLine ReadLogicalLine(OsifStream& stream) {
  if (const size_t length = PlainLineLength(stream); length > 0) {
    std::string_view text = stream.Window().substr(0, length - 1);
    if (text.ends_with('\r')) text.remove_suffix(1);
    stream.Skip(length);
    return {true, length, text, nullptr};
  }
  Scanner scanner(stream);
  std::optional<PhysicalLine> line = scanner.Next();
  const bool is_folded = line && line->ending != Ending::kLine;
  while (line && line->ending != Ending::kLine) line = scanner.Next();
  if (!line) return NoMemory(stream, stream.Window().size(), stream.Window().size());

  LogicalLine read = {true, line->next, stream.Window().substr(0, line->end), nullptr};
  if (is_folded) {
    read.joined = NewLine(line->next);
    if (read.joined == nullptr) return NoMemory(stream, line->next, line->next);
    read.text = {read.joined.get(), CopyJoined(stream, read.joined.get())};
  }
  if (!stream.IsPlain()) read.text = CutLine(read.text);
  stream.Skip(line->next);
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

const char* SplitProperty(char (&name)[kNameRoom], char (&params)[kParamRoom], const char* line) {
  return TakeFields(name, params, line).value.data();
}

char* StripBlanks(char* text) {
  char* out = text;
  for (const char* in = text; *in != '\0'; ++in) {
    if (!IsFoldCharacter(*in)) *out++ = *in;
  }
  *out = '\0';
  return text;
}

SplitLine SplitStripped(char (&name)[kNameRoom], char (&params)[kParamRoom],
                        std::string_view line) {
  const Fields fields = TakeFields(name, params, line);
  return {Stripped(name, fields.name), Stripped(params, fields.params), fields.value};
}
