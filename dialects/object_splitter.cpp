// Lines are walked once, and of most only the name is looked at: it has to be BEGIN, END, AGENT or VERSION to
// matter. An object's lines are collected until its END, with a list of what is open in it. Two lines go back
// to the file: the BEGIN that an object without END ends before, and, of a body without end, all from the
// first "BEGIN:VMSG" on that stood in it. Whether that one is the body's text or the next message shows
// later: a body that begins before this one has ended belongs to another message. No line goes back twice
// that way, since a message that was cut off ends before any further BEGIN of one.
#include "dialects/object_splitter.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/line_rules.h"
#include "dialects/content_line.h"
#include "dialects/report.h"

namespace dialects {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";
constexpr size_t kLongestHead = 80;  // of a frame line, up to its colon
constexpr size_t kUsualSize = 1024;  // of an object
constexpr size_t kDeepest = 32;      // open parts that are kept in mind

// What may stand in an object.
enum class Holds {
  kNothing,
  kAgents,      // cards, each after an AGENT line
  kComponents,  // all but objects
  kAll,         // components, also those that may be objects of their own
  kParts,       // those of a message
};

struct ObjectRow {
  std::string_view name;
  ObjectKind kind;
  Holds holds;
  bool is_component;  // stands in a calendar, mostly
};

constexpr std::array<ObjectRow, 8> kObjects = {{
    {"VCARD", ObjectKind::kCard, Holds::kAgents, false},
    {"VCALENDAR", ObjectKind::kCalendar, Holds::kAll, false},
    {"VEVENT", ObjectKind::kCalendar, Holds::kComponents, true},
    {"VTODO", ObjectKind::kCalendar, Holds::kComponents, true},
    {"VJOURNAL", ObjectKind::kCalendar, Holds::kComponents, true},
    {"VNOTE", ObjectKind::kNote, Holds::kNothing, false},
    {"VMSG", ObjectKind::kMessage, Holds::kParts, false},
    {"VMESSAGE", ObjectKind::kMessage, Holds::kParts, false},
}};

constexpr ObjectRow kUnknownObject = {"", ObjectKind::kUnknown, Holds::kNothing, false};

const ObjectRow* FindObject(std::string_view name) {
  const auto* row =
      std::ranges::find_if(kObjects, [&](const ObjectRow& entry) { return entry.name == name; });
  return row == kObjects.end() ? nullptr : row;
}

bool IsMessage(std::string_view name) {
  const ObjectRow* row = FindObject(name);
  return row != nullptr && row->kind == ObjectKind::kMessage;
}

std::string_view WithoutBreak(std::string_view line) {
  return line.substr(0, line.find_last_not_of("\r\n") + 1);
}

std::string_view WithoutMark(std::string_view line) {
  while (line.starts_with(kMark)) line.remove_prefix(kMark.size());
  return line;
}

// What a line says about the frames of objects.
struct Frame {
  enum class Word { kNone, kBegin, kEnd, kAgent };

  Word word = Word::kNone;
  std::string what = {};  // "VCARD"
  bool is_indented =
      false;  // blanks before it: of a value that is folded, if a property comes before
};

// The name that a line begins with, without its group; empty where it is too long for a frame.
std::string_view NameOf(std::string_view line) {
  size_t begin = 0;
  const size_t last = std::min(line.size(), kLongestHead);
  for (size_t i = 0; i < last; ++i) {
    if (line[i] == ':' || line[i] == ';') return Trim(line.substr(begin, i - begin));
    if (line[i] == '.') begin = i + 1;
  }
  return {};
}

constexpr std::array<std::string_view, 4> kFrameNames = {"BEGIN", "END", "AGENT", "VERSION"};

// Nearly all lines have another name, so all but the first letter is looked at seldom.
bool IsFrameName(std::string_view name) {
  if (name.empty()) return false;
  const char first = AsciiUpper(name.front());
  return std::ranges::any_of(kFrameNames, [&](std::string_view known) {
    return first == known.front() && EqualsIgnoringCase(name, known);
  });
}

// "AGENT:", whose card follows, or "AGENT:BEGIN:VCARD".
Frame AgentFrame(std::string_view line) {
  const std::string_view value = Trim(line.substr(line.find(':') + 1));
  std::string what;
  if (value.empty()) return {Frame::Word::kAgent};
  if (IsFrameLine(value, "BEGIN", what)) return {Frame::Word::kAgent, what};
  return {};
}

// "VERSION:2.1END:VCARD"
Frame FrameAfterVersion(std::string_view line) {
  const size_t glued = line.find("END:V");
  std::string what;
  if (glued == std::string_view::npos) return {};
  if (IsFrameLine(line.substr(glued), "END", what)) return {Frame::Word::kEnd, what};
  return {};
}

// What the line of such a name says.
Frame FrameOfName(std::string_view name, std::string_view line) {
  line = WithoutMark(WithoutBreak(line));
  const bool is_indented = IsFoldCharacter(line.front());
  std::string what;
  if (EqualsIgnoringCase(name, "AGENT")) return AgentFrame(line);
  if (EqualsIgnoringCase(name, "VERSION")) return FrameAfterVersion(line);
  if (IsFrameLine(line, "BEGIN", what)) return {Frame::Word::kBegin, what, is_indented};
  if (IsFrameLine(line, "END", what)) return {Frame::Word::kEnd, what, is_indented};
  return {};
}

Frame FrameOf(std::string_view line) {
  const std::string_view name = NameOf(WithoutMark(line));
  return IsFrameName(name) ? FrameOfName(name, line) : Frame{};
}

// The last physical line of a text, without its line end; it is taken off the text.
std::string_view TakeLastLine(std::string_view& text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  if (text.ends_with('\r')) text.remove_suffix(1);
  const size_t before = text.find_last_of("\r\n");
  const size_t begin = before == std::string_view::npos ? 0 : before + 1;
  const std::string_view line = text.substr(begin);
  text = text.substr(0, begin);
  return line;
}

bool EndsSoftly(std::string_view line) {
  return EndsInSoftBreak(line.substr(0, line.find_last_not_of(" \t") + 1));
}

// True when the line that follows a text belongs to a quoted-printable value. No BEGIN line ends in "=", so
// from one of them to the next each line is looked at once.
bool IsValueOpenAfter(std::string_view text) {
  std::string_view first;
  while (!text.empty()) {
    const std::string_view line = TakeLastLine(text);
    if (!EndsSoftly(line)) break;
    first = line;
  }
  Report ignored;
  const std::vector<ContentLine> lines = ReadContentLines(first, 1, kOldLines, ignored);
  return !lines.empty() && EncodingOf(lines.front()) == Encoding::kQuotedPrintable;
}

// Collects the lines of one object.
class Collector {
 public:
  Collector(FileLines& lines, const Frame& begin, const FileLine& line, size_t largest)
      : lines_(lines), largest_(largest), open_{begin.what} {
    const ObjectRow* row = FindObject(begin.what);
    row_ = row == nullptr ? &kUnknownObject : row;
    object_.kind = row_->kind;
    object_.line = line.number;
    object_.text.reserve(kUsualSize);
    object_.text = WithoutMark(line.bytes);
  }

  ObjectText Collect() {
    for (FileLine line; !is_done_ && lines_.Next(line);) {
      if (object_.text.size() + line.bytes.size() > largest_) {
        Overflow(line);
      } else if (line.is_whole_start) {
        Take(line);
      } else {
        object_.text += line.bytes;
      }
    }
    if (!is_done_) EndWithFile();
    return std::move(object_);
  }

 private:
  struct NextMessage {
    size_t place;
    uint64_t line;
  };

  bool IsInBody() const { return row_->holds == Holds::kParts && open_.back() == "VBODY"; }

  void Take(const FileLine& line) {
    const std::string_view name = NameOf(WithoutMark(line.bytes));
    if (IsFrameName(name)) {
      TakeFrame(FrameOfName(name, line.bytes), line);
    } else if (is_after_agent_) {
      is_after_agent_ = Trim(WithoutBreak(line.bytes)).empty();
    }
    if (!is_done_) object_.text += line.bytes;
  }

  void TakeFrame(const Frame& frame, const FileLine& line) {
    if (frame.word == Frame::Word::kNone) {
      is_after_agent_ = false;
    } else if (IsInBody()) {
      TakeInBody(frame, line);
    } else {
      TakeOutsideOfBody(frame, line);
    }
  }

  // A message that begins in the body may be its text.
  void TakeInBody(const Frame& frame, const FileLine& line) {
    const bool is_begin = frame.word == Frame::Word::kBegin && !frame.is_indented;
    if (frame.word == Frame::Word::kEnd && frame.what == "VBODY") {
      open_.pop_back();
      next_message_.reset();
    } else if (is_begin && IsMessage(frame.what) && !next_message_) {
      next_message_ = NextMessage{object_.text.size(), line.number};
    } else if (is_begin && frame.what == "VBODY" && next_message_) {
      object_.text += line.bytes;
      EndBeforeNextMessage();
    }
  }

  void TakeOutsideOfBody(const Frame& frame, const FileLine& line) {
    if (frame.word == Frame::Word::kBegin) {
      TakeBegin(frame, line);
    } else if (frame.word == Frame::Word::kEnd) {
      TakeEnd(frame.what, line);
    } else if (row_->holds == Holds::kAgents) {
      is_after_agent_ = frame.what.empty();
      if (frame.what == "VCARD") Open(frame.what);
    }
  }

  void TakeBegin(const Frame& frame, const FileLine& line) {
    const ObjectRow* row = FindObject(frame.what);
    const bool is_text = IsValueOpenAfter(object_.text);
    if (!is_text && StandsInside(frame.what, row)) {
      Open(frame.what);
    } else if (!is_text && !frame.is_indented && (row != nullptr || frame.what == open_.front())) {
      lines_.Unread(line.bytes, line.number);
      End(false);
    }
    is_after_agent_ = false;
  }

  bool StandsInside(std::string_view what, const ObjectRow* row) const {
    switch (row_->holds) {
      case Holds::kAgents:
        return what == "VCARD" && is_after_agent_;
      case Holds::kComponents:
        return row == nullptr;
      case Holds::kAll:
        return row == nullptr || row->is_component;
      case Holds::kParts:
        return what == "VCARD" || what == "VENV" || what == "VBODY";
      case Holds::kNothing:
        break;
    }
    return false;
  }

  void Open(const std::string& what) {
    if (open_.size() < kDeepest) open_.push_back(what);
  }

  // Closes also what has no END of its own inside.
  void TakeEnd(const std::string& what, const FileLine& line) {
    const auto found = std::find(open_.rbegin(), open_.rend(), what);
    if (found == open_.rend()) return;
    open_.erase(found.base() - 1, open_.end());
    if (!open_.empty()) return;
    object_.text += line.bytes;
    is_done_ = true;
  }

  void EndWithFile() { next_message_ ? EndBeforeNextMessage() : End(false); }

  // What was taken for the body's text is the next message.
  void EndBeforeNextMessage() {
    const auto [place, line] = *next_message_;
    lines_.Unread(std::string_view(object_.text).substr(place), line);
    object_.text.resize(place);
    End(false);
  }

  void End(bool had_end) {
    is_done_ = true;
    object_.had_end = had_end;
    if (IsInBody()) RemoveEndsOfMessage();
    if (!object_.text.ends_with('\n') && !object_.text.ends_with('\r')) object_.text += "\r\n";
    for (; !open_.empty(); open_.pop_back()) object_.text += "END:" + open_.back() + "\r\n";
  }

  // A body that was not closed may have taken the ends of the others.
  void RemoveEndsOfMessage() {
    for (std::string_view rest = object_.text; !rest.empty();) {
      const std::string_view line = TakeLastLine(rest);
      if (Trim(line).empty()) continue;
      const Frame frame = FrameOf(line);
      if (frame.word != Frame::Word::kEnd || std::ranges::find(open_, frame.what) == open_.end()) {
        return;
      }
      object_.text.resize(rest.size());
    }
  }

  void Overflow(const FileLine& line) {
    if (next_message_) {
      object_.text += line.bytes;
      return EndBeforeNextMessage();
    }
    if (line.is_whole_start) lines_.Unread(line.bytes, line.number);
    object_.text = {};
    object_.refusal = "it is too large";
    is_done_ = true;
  }

  FileLines& lines_;
  const size_t largest_;
  const ObjectRow* row_ = nullptr;
  ObjectText object_;
  std::vector<std::string> open_;  // the object, and what has begun in it
  bool is_after_agent_ = false;
  std::optional<NextMessage> next_message_;  // the first that stands in the body
  bool is_done_ = false;
};

}  // namespace

ObjectSplitter::ObjectSplitter(ByteSource bytes, size_t largest_object)
    : lines_(std::move(bytes)), largest_object_(largest_object) {}

// A card that does not lie in the buffer as a whole, or ends with the file, is none.
std::optional<TextLength> ObjectSplitter::PlainCardAt(std::string_view ahead, uint64_t line) {
  if (lines_.is_utf8() || has_later_mark_ || line == not_plain_) return std::nullopt;
  const std::optional<TextLength> size = PlainCardLength(ahead);
  const bool is_whole = size && ahead[size->bytes - 1] == '\n';
  if (is_whole && size->bytes <= largest_object_) return size;
  not_plain_ = line;
  return std::nullopt;
}

// Most files are of plain cards, whose lines need not be walked one by one.
std::string_view ObjectSplitter::TakePlainCards(std::vector<TextLength>& sizes) {
  sizes.clear();
  const std::string_view ahead = lines_.Ahead();
  TextLength all{0, 0};
  while (const std::optional<TextLength> size =
             PlainCardAt(ahead.substr(all.bytes), next_line() + all.lines)) {
    sizes.push_back(*size);
    all.bytes += size->bytes;
    all.lines += size->lines;
  }
  lines_.Skip(all.bytes, all.lines);
  if (all.bytes > 0) is_after_too_large_ = false;
  return ahead.substr(0, all.bytes);
}

std::optional<ObjectText> ObjectSplitter::NextPlainCard() {
  const std::string_view ahead = lines_.Ahead();
  const std::optional<TextLength> size = PlainCardAt(ahead, next_line());
  if (!size) return std::nullopt;
  ObjectText card{ObjectKind::kCard, std::string(ahead.substr(0, size->bytes)), next_line()};
  card.is_plain = true;
  lines_.Skip(size->bytes, size->lines);
  is_after_too_large_ = false;
  return card;
}

std::optional<ObjectText> ObjectSplitter::Next() {
  for (;;) {
    if (std::optional<ObjectText> card = NextPlainCard()) return card;
    FileLine line;
    if (!lines_.Next(line)) return std::nullopt;
    const Frame frame = line.is_whole_start ? FrameOf(line.bytes) : Frame{};
    const bool begins = frame.word == Frame::Word::kBegin &&
                        (!is_after_too_large_ || FindObject(frame.what) != nullptr);
    if (!begins) {
      PassOver(line);
      continue;
    }
    has_later_mark_ = has_later_mark_ || line.bytes.starts_with(kMark);
    ObjectText object = Collector(lines_, frame, line, largest_object_).Collect();
    object.has_byte_order_mark = lines_.is_utf8() || has_later_mark_;
    is_after_too_large_ = !object.refusal.empty();
    return object;
  }
}

void ObjectSplitter::PassOver(const FileLine& line) {
  if (is_after_too_large_ || !line.is_whole_start) return;
  StrayLines& lines = Trim(WithoutBreak(line.bytes)).empty() ? blank_ : junk_;
  if (lines.count == 0) lines.first = line.number;
  ++lines.count;
}

}  // namespace dialects
