// The library reads files by their names, and opening one costs more than reading a card. So strict texts of one kind
// are gathered and handed to the library together; each makes one record, so the n-th record is that of the n-th text.
// The library stops at an object that it refuses. Then that one is reported, and the others that were gathered after it
// are read one by one: however many are refused, each text is read twice at most.
// A large file is divided into its objects by a thread of its own, ahead of the library, which works on one thread alone.
#include "dialects/object_reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "client/ahead.h"
#include "client/temp_file.h"
#include "client/texts.h"
#include "dialects/note.h"
#include "dialects/object_splitter.h"
#include "dialects/plain_object.h"
#include "dialects/strict_object.h"

namespace dialects {
namespace {

constexpr size_t kMostGathered = size_t{256} * 1024;  // bytes

// Takes the categories out of a record while it is lent.
class WithoutCategories {
 public:
  explicit WithoutCategories(OsifObject& object)
      : place_(object.calendar.categories), categories_(std::exchange(place_, nullptr)) {}
  ~WithoutCategories() { place_ = categories_; }
  WithoutCategories(const WithoutCategories&) = delete;
  WithoutCategories& operator=(const WithoutCategories&) = delete;

 private:
  PropertyValue*& place_;
  PropertyValue* const categories_;
};

class DialectReader {
 public:
  DialectReader(const TextSettings& settings, ObjectVisitor& visitor)
      : settings_(settings), visitor_(visitor), name_(client::ToWide(piece_.name())) {}

  bool is_open() const { return piece_.is_open(); }

  // Plain cards, one directly after the other; `line`: the number of their first.
  void TakePlain(std::string&& text, const std::vector<TextLength>& sizes, uint64_t line) {
    MakeRoom(ObjectKind::kCard, text.size());
    size_t end = text_.size();
    if (text_.empty()) {
      text_ = std::move(text);
    } else {
      text_ += text;
    }
    for (const TextLength& size : sizes) {
      end += size.bytes;
      gathered_.push_back({end, line, nullptr});
      line += size.lines;
    }
  }

  void Take(const ObjectText& object) {
    if (!object.refusal.empty()) {
      Flush();
      Refuse(object.kind, object.line, object.refusal, OSIF_OK, {});
    } else if (IsPlain(object)) {
      Gather(object.kind, object.text, {0, object.line, nullptr});
    } else {
      std::vector<StrictObject> made = object.kind == ObjectKind::kNote
                                           ? StrictNotes(object, settings_, names_)
                                           : StrictObjects(object, settings_);
      for (StrictObject& one : made) TakeStrict(std::move(one));
    }
  }

  OsifResult Finish() {
    Flush();
    return result_;
  }

 private:
  // A text that waits for the library.
  struct Gathered {
    size_t end;  // in text_
    uint64_t line;
    std::unique_ptr<const StrictObject> made;  // nothing for one that came plain
  };

  void TakeStrict(StrictObject&& object) {
    if (!object.refusal.empty()) return Refuse(object);
    const std::string text = std::exchange(object.text, {});
    const ObjectKind kind = object.kind;
    const uint64_t line = object.line;
    Gather(kind, text, {0, line, std::make_unique<const StrictObject>(std::move(object))});
  }

  void Gather(ObjectKind kind, std::string_view text, Gathered&& object) {
    MakeRoom(kind, text.size());
    text_ += text;
    object.end = text_.size();
    gathered_.push_back(std::move(object));
  }

  void MakeRoom(ObjectKind kind, size_t size) {
    if (!gathered_.empty() && (kind != kind_ || text_.size() + size > kMostGathered)) Flush();
    kind_ = kind;
  }

  void Flush() {
    if (gathered_.empty()) return;
    const size_t refused = ReadTogether(0, gathered_.size());
    for (size_t i = refused; i < gathered_.size(); ++i) ReadTogether(i, i + 1);
    gathered_.clear();
    text_.clear();
  }

  // Gives the first object that was not read and not reported.
  size_t ReadTogether(size_t begin, size_t end) {
    const size_t text_begin = begin == 0 ? 0 : gathered_[begin - 1].end;
    const size_t text_end = gathered_[end - 1].end;
    next_ = begin;
    end_ = end;
    const OsifResult result =
        piece_.HoldText(std::string_view(text_).substr(text_begin, text_end - text_begin))
            ? OSIF_ReadObjects(name_.c_str(), OnRecord, this)
            : OsifResult{OSIF_ERR_NO_MEMORY};
    if (next_ == end_) return end;
    const Gathered& refused = gathered_[next_];
    Refuse(kind_, refused.line, "it could not be read",
           result == OSIF_OK ? OsifResult{OSIF_PARSE_ERROR} : result, ReportOf(refused));
    return next_ + 1;
  }

  static int32_t OnRecord(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
    static_cast<DialectReader*>(context)->Deliver(store_id, object, result);
    return 0;
  }

  void Deliver(int32_t store_id, OsifObject* object, OsifResult result) {
    if (next_ == end_) return;
    const Gathered& read = gathered_[next_++];
    std::optional<WithoutCategories> without;
    if (read.made != nullptr && read.made->has_made_categories) without.emplace(*object);
    visitor_.OnObject(
        {++number_, read.line, store_id, object, result, UidOf(read), ReportOf(read)});
  }

  static const std::string& UidOf(const Gathered& object) {
    static const std::string kNone;
    return object.made == nullptr ? kNone : object.made->uid;
  }

  static const Report& ReportOf(const Gathered& object) {
    static const Report kNothing;
    return object.made == nullptr ? kNothing : object.made->report;
  }

  void Refuse(const StrictObject& object) {
    Flush();
    Refuse(object.kind, object.line, object.refusal, OSIF_OK, object.report);
  }

  void Refuse(ObjectKind kind, uint64_t line, const std::string& reason, OsifResult code,
              const Report& report) {
    if (result_ == OSIF_OK) result_ = code == OSIF_OK ? OsifResult{OSIF_PARSE_ERROR} : code;
    visitor_.OnRefused({++number_, line, kind, reason, code, report});
  }

  const TextSettings& settings_;
  ObjectVisitor& visitor_;
  client::TempFile piece_;
  NoteNames names_;
  const WideText name_;
  ObjectKind kind_ = ObjectKind::kUnknown;  // of what is gathered
  std::string text_;                        // of what is gathered
  std::vector<Gathered> gathered_;
  size_t next_ = 0;  // whose record comes next
  size_t end_ = 0;   // of what is being read
  size_t number_ = 0;
  OsifResult result_ = OSIF_OK;
};

// Plain cards, and the object after them.
struct FilePiece {
  uint64_t line = 0;  // of the first card
  std::string cards = {};
  std::vector<TextLength> sizes = {};
  std::optional<ObjectText> object = std::nullopt;
};

using FilePieces = std::vector<FilePiece>;

// read(), which a signal does not hinder; 0 at the end, and where it fails.
size_t ReadSome(int handle, char* into, size_t room, int& error) {
  ssize_t got = 0;
  do {
    got = read(handle, into, room);
  } while (got < 0 && errno == EINTR);
  if (got < 0) error = errno;
  return got < 0 ? 0 : static_cast<size_t>(got);
}

// Divides a file, some pieces at a time.
class Divider {
 public:
  explicit Divider(int handle)
      : splitter_([this, handle](char* into, size_t room) {
          return ReadSome(handle, into, room, error_);
        }) {}
  Divider(const Divider&) = delete;
  Divider& operator=(const Divider&) = delete;

  // Nothing at the end of the file.
  std::optional<FilePieces> Next() {
    FilePieces pieces;
    for (size_t size = 0; size < kEnough && !has_ended_;) {
      FilePiece piece = NextPiece();
      size += piece.cards.size() + (piece.object ? piece.object->text.size() : 0);
      pieces.push_back(std::move(piece));
    }
    return pieces.empty() ? std::nullopt : std::optional(std::move(pieces));
  }

  const StrayLines& junk() const { return splitter_.junk(); }
  int error() const { return error_; }

 private:
  static constexpr size_t kEnough = size_t{128} * 1024;  // bytes

  FilePiece NextPiece() {
    FilePiece piece;
    piece.line = splitter_.next_line();
    piece.cards = splitter_.TakePlainCards(piece.sizes);
    piece.object = splitter_.Next();
    has_ended_ = !piece.object;
    return piece;
  }

  int error_ = 0;
  bool has_ended_ = false;
  ObjectSplitter splitter_;
};

// Whether there is enough of a file to divide it ahead of its reading.
bool IsLarge(int handle) {
  constexpr off_t kLeast = off_t{512} * 1024;
  struct stat state {};
  return fstat(handle, &state) == 0 && S_ISREG(state.st_mode) && state.st_size >= kLeast;
}

size_t TakePieces(FilePieces&& pieces, DialectReader& reader) {
  size_t objects = 0;
  for (FilePiece& piece : pieces) {
    objects += piece.sizes.size() + (piece.object ? 1 : 0);
    if (!piece.sizes.empty()) reader.TakePlain(std::move(piece.cards), piece.sizes, piece.line);
    if (piece.object) reader.Take(*piece.object);
  }
  return objects;
}

size_t TakeAll(int handle, Divider& divider, DialectReader& reader) {
  constexpr size_t kAhead = 2;
  size_t objects = 0;
  if (IsLarge(handle)) {
    client::Ahead<FilePieces> ahead([&] { return divider.Next(); }, kAhead);
    while (auto pieces = ahead.Next()) objects += TakePieces(std::move(*pieces), reader);
  } else {
    while (auto pieces = divider.Next()) objects += TakePieces(std::move(*pieces), reader);
  }
  return objects;
}

}  // namespace

OsifResult ReadDialectFile(int handle, const TextSettings& settings, ObjectVisitor& visitor,
                           FileRest& rest) {
  rest = {};
  DialectReader reader(settings, visitor);
  if (!reader.is_open()) return OSIF_ERR_FILE_OPEN;
  Divider divider(handle);
  rest.objects = TakeAll(handle, divider, reader);
  const OsifResult result = reader.Finish();
  rest.outside_lines = divider.junk().count;
  rest.first_outside = divider.junk().first;
  if (divider.error() != 0) {
    errno = divider.error();
    return OSIF_ERR_FILE_OPEN;
  }
  return rest.objects == 0 ? OsifResult{OSIF_ERR_INVALID_STREAM} : result;
}

}  // namespace dialects
