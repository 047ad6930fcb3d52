// First the BEGIN and END lines of the file are collected as marks, then each END is matched with the last
// open BEGIN, and then the objects are what the matched pairs outside all others enclose. Each step is
// linear in its input, however deep the objects are nested.
#include "client/file_index.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/property_split.h"
#include "client/logical_lines.h"

namespace client {
namespace {

constexpr size_t kNone = static_cast<size_t>(-1);

enum class Word { kOther, kVCard, kVCalendar, kVNote, kVMessage, kBody, kItem };

struct WordRow {
  std::string_view name;
  Word word;
  ObjectKind kind;
};

constexpr std::array<WordRow, 7> kWords = {{
    {"VCARD", Word::kVCard, ObjectKind::kVCard},
    {"VCALENDAR", Word::kVCalendar, ObjectKind::kVCalendar},
    {"VNOTE", Word::kVNote, ObjectKind::kVNote},
    {"VMSG", Word::kVMessage, ObjectKind::kVMessage},
    {"VBODY", Word::kBody, ObjectKind::kOther},
    {"VEVENT", Word::kItem, ObjectKind::kOther},
    {"VTODO", Word::kItem, ObjectKind::kOther},
}};

// A BEGIN or END line.
struct Mark {
  bool opens;
  bool is_agent;  // a card that is the value of another card's AGENT
  Word word;
  int64_t begin;
  int64_t end;  // where the next line begins
  uint64_t line;
  uint64_t next_line;
  size_t partner = kNone;  // of a BEGIN: its END
};

struct Property {
  std::string name;
  std::string value;  // upper case, without blanks
};

Property Split(const std::string& text) {
  char name[kNameRoom];
  char params[kParamRoom];
  std::string value = SplitProperty(name, params, text.c_str());
  StripBlanks(value.data());
  return {ToUpper(StripBlanks(name)), ToUpper(value.c_str())};
}

const WordRow* FindWord(std::string_view name) {
  const auto row = std::find_if(kWords.begin(), kWords.end(),
                                [&](const WordRow& word) { return word.name == name; });
  return row == kWords.end() ? nullptr : &*row;
}

Word WordOf(std::string_view name) {
  const WordRow* row = FindWord(name);
  return row == nullptr ? Word::kOther : row->word;
}

ObjectKind KindOf(Word word) {
  const auto row = std::find_if(kWords.begin(), kWords.end(),
                                [&](const WordRow& entry) { return entry.word == word; });
  return row == kWords.end() ? ObjectKind::kOther : row->kind;
}

// In bytes: what has no BEGIN up to here is no file of objects.
constexpr int64_t kFirstLook = int64_t{64} * 1024 * 1024;

// Collects the marks of a file and matches them as they come.
class MarkReader {
 public:
  explicit MarkReader(FILE* file) : lines_(file) {}

  std::vector<Mark> Read() {
    for (LogicalLine line; lines_.Next(line);) {
      Look(line);
      if (marks_.empty() && line.end > kFirstLook) break;
    }
    return std::move(marks_);
  }

  std::optional<uint64_t> long_line() const { return lines_.long_line(); }

 private:
  void Look(const LogicalLine& line) {
    const Property property = Split(line.text);
    const bool opens = property.name == "BEGIN";
    if (opens || property.name == "END") {
      marks_.push_back({opens, after_agent_, WordOf(property.value), line.begin, line.end,
                        line.line, line.next_line});
      if (opens) {
        Open();
      } else {
        Close();
      }
    }
    after_agent_ = property.name == "AGENT";
  }

  void Open() {
    const Word word = marks_.back().word;
    open_.push_back(marks_.size() - 1);
    if (word == Word::kVMessage) ++open_messages_;
    // A body is free text: whatever it looks like, it goes on to its END line.
    if (word == Word::kBody && open_messages_ > 0) lines_.SkipTo("END:VBODY");
  }

  void Close() {
    if (open_.empty()) return;
    Mark& begin = marks_[open_.back()];
    if (begin.word == Word::kVMessage) --open_messages_;
    begin.partner = marks_.size() - 1;
    open_.pop_back();
  }

  LogicalLines lines_;
  std::vector<Mark> marks_;
  std::vector<size_t> open_;
  size_t open_messages_ = 0;
  bool after_agent_ = false;
};

// Makes objects out of marks.
class ObjectBuilder {
 public:
  ObjectBuilder(const std::vector<Mark>& marks, int64_t file_size)
      : marks_(marks), file_size_(file_size), next_of_kind_(marks.size(), marks.size()) {
    FindNextOfKind();
  }

  FileIndex Build() {
    for (size_t mark = 0; mark < marks_.size();) {
      mark = marks_[mark].opens ? AddObject(mark) : mark + 1;
    }
    return std::move(index_);
  }

 private:
  // For each BEGIN the next one of the same kind, leaving out agents.
  void FindNextOfKind() {
    std::array<size_t, 7> next;
    next.fill(marks_.size());
    for (size_t mark = marks_.size(); mark-- > 0;) {
      if (!marks_[mark].opens || marks_[mark].is_agent) continue;
      size_t& slot = next[static_cast<size_t>(marks_[mark].word)];
      next_of_kind_[mark] = slot;
      slot = mark;
    }
  }

  // Returns the first mark after the object.
  size_t AddObject(size_t first) {
    const Mark& begin = marks_[first];
    FileObject object{};
    object.kind = KindOf(begin.word);
    object.begin = begin.begin;
    object.line = begin.line;
    object.is_complete = begin.partner != kNone;
    const size_t behind = object.is_complete ? begin.partner + 1 : next_of_kind_[first];
    if (object.is_complete) {
      object.end = marks_[begin.partner].end;
    } else {
      object.end = behind < marks_.size() ? marks_[behind].begin : file_size_;
    }
    AddRecords(object, first, behind);
    index_.objects.push_back(object);
    return behind;
  }

  void AddRecords(FileObject& object, size_t first, size_t behind) {
    object.first_record = index_.record_lines.size();
    if (object.kind == ObjectKind::kVCalendar) {
      size_t depth = 0;
      for (size_t mark = first; mark < behind; ++mark) {
        if (!marks_[mark].opens) {
          if (depth > 0) --depth;
          continue;
        }
        if (++depth == 2 && marks_[mark].word == Word::kItem) {
          index_.record_lines.push_back(marks_[mark].line);
        }
      }
    }
    if (index_.record_lines.size() == object.first_record) {
      index_.record_lines.push_back(object.line);
    }
    object.records = index_.record_lines.size() - object.first_record;
  }

  const std::vector<Mark>& marks_;
  int64_t file_size_;
  std::vector<size_t> next_of_kind_;
  FileIndex index_;
};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Looks at the bytes from `begin` to `end`, which begin on a line of that number.
std::optional<uint64_t> FirstTextLine(FILE* file, int64_t begin, int64_t end, uint64_t line) {
  std::array<char, 65536> buffer;
  fseeko(file, begin, SEEK_SET);
  while (begin < end) {
    const auto want = static_cast<size_t>(std::min<int64_t>(end - begin, buffer.size()));
    const size_t got = fread(buffer.data(), 1, want, file);
    if (got == 0) break;
    for (size_t i = 0; i < got; ++i) {
      if (!IsBlank(buffer[i])) return line;
      if (buffer[i] == '\n') ++line;
    }
    begin += static_cast<int64_t>(got);
  }
  return std::nullopt;
}

struct Place {
  int64_t byte;
  uint64_t line;
};

// The line on which each object ends is told by the marks: of its END, or of the object after it.
void FindOutside(FILE* file, const std::vector<Mark>& marks, int64_t file_start, int64_t file_size,
                 FileIndex& index) {
  Place place{file_start, 1};
  size_t mark = 0;
  for (size_t i = 0; i <= index.objects.size(); ++i) {
    const bool is_last = i == index.objects.size();
    const int64_t end = is_last ? file_size : index.objects[i].begin;
    if (place.byte < end) {
      index.outside.push_back({i, place.line, FirstTextLine(file, place.byte, end, place.line)});
    }
    if (is_last) return;
    place.byte = index.objects[i].end;
    while (mark < marks.size() && marks[mark].end <= place.byte) ++mark;
    if (mark > 0) place.line = marks[mark - 1].next_line;
  }
}

struct CloseFile {
  void operator()(FILE* file) const { std::fclose(file); }
};

}  // namespace

const FileObject& FileIndex::ObjectOf(size_t record) const {
  const auto behind = std::upper_bound(
      objects.begin(), objects.end(), record,
      [](size_t number, const FileObject& object) { return number < object.first_record; });
  return behind == objects.begin() ? *behind : *(behind - 1);
}

std::optional<FileIndex> IndexFile(const std::string& file_name) {
  const std::unique_ptr<FILE, CloseFile> file(std::fopen(file_name.c_str(), "rb"));
  if (!file) return std::nullopt;
  // A byte order mark is no part of the first object.
  std::array<char, 3> start{};
  const bool has_mark = std::fread(start.data(), 1, 3, file.get()) == 3 &&
                        std::memcmp(start.data(), "\xEF\xBB\xBF", 3) == 0;
  const int64_t file_start = has_mark ? 3 : 0;
  fseeko(file.get(), file_start, SEEK_SET);
  MarkReader reader(file.get());
  const std::vector<Mark> marks = reader.Read();
  if (std::ferror(file.get()) != 0) return std::nullopt;
  fseeko(file.get(), 0, SEEK_END);
  const int64_t file_size = ftello(file.get());
  FileIndex index = ObjectBuilder(marks, file_size).Build();
  index.long_line = reader.long_line();
  FindOutside(file.get(), marks, file_start, file_size, index);
  return index;
}

}  // namespace client
