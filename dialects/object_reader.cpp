// The library reads files by their names, and opening one costs more than reading a card. So strict texts of one kind
// are gathered and handed to the library together; each makes one record, so the n-th record is that of the n-th text.
// The library stops at an object that it refuses. Then that one is reported, and the others that were gathered after it
// are read one by one: however many are refused, each text is read twice at most.
#include "dialects/object_reader.h"

#include <unistd.h>

#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

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

  void Take(ObjectText&& object) {
    if (!object.refusal.empty()) return TakeRefused(object);
    if (IsPlain(object)) {
      StrictObject plain{object.kind, std::move(object.text), {}, {}, object.line, {}};
      return TakeStrict(std::move(plain));
    }
    std::vector<StrictObject> made = object.kind == ObjectKind::kNote
                                         ? StrictNotes(object, settings_, names_)
                                         : StrictObjects(object, settings_);
    for (StrictObject& one : made) TakeStrict(std::move(one));
  }

  OsifResult Finish() {
    Flush();
    return result_;
  }

 private:
  void TakeRefused(const ObjectText& object) {
    StrictObject refused;
    refused.kind = object.kind;
    refused.line = object.line;
    refused.refusal = object.refusal;
    TakeStrict(std::move(refused));
  }

  void TakeStrict(StrictObject&& object) {
    if (object.refusal.empty() && !gathered_.empty() &&
        (object.kind != gathered_.front().kind || size_ + object.text.size() > kMostGathered)) {
      Flush();
    }
    if (!object.refusal.empty()) {
      Flush();
      Refuse(object, object.refusal, OSIF_OK);
      return;
    }
    size_ += object.text.size();
    gathered_.push_back(std::move(object));
  }

  void Flush() {
    const std::vector<StrictObject> objects = std::exchange(gathered_, {});
    size_ = 0;
    if (objects.empty()) return;
    const size_t refused = ReadTogether(objects, 0, objects.size());
    for (size_t i = refused; i < objects.size(); ++i) ReadTogether(objects, i, i + 1);
  }

  // Gives the first object that was not read and not reported.
  size_t ReadTogether(const std::vector<StrictObject>& objects, size_t begin, size_t end) {
    std::string text;
    for (size_t i = begin; i < end; ++i) text += objects[i].text;
    next_ = &objects[begin];
    left_ = end - begin;
    const OsifResult result = piece_.HoldText(text)
                                  ? OSIF_ReadObjects(name_.c_str(), OnRecord, this)
                                  : OsifResult{OSIF_ERR_NO_MEMORY};
    if (left_ == 0) return end;
    Refuse(*next_, "it could not be read",
           result == OSIF_OK ? OsifResult{OSIF_PARSE_ERROR} : result);
    return end - left_ + 1;
  }

  static int32_t OnRecord(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
    static_cast<DialectReader*>(context)->Deliver(store_id, object, result);
    return 0;
  }

  void Deliver(int32_t store_id, OsifObject* object, OsifResult result) {
    if (left_ == 0) return;
    const StrictObject& read = *next_++;
    --left_;
    std::optional<WithoutCategories> without;
    if (read.has_made_categories) without.emplace(*object);
    visitor_.OnObject({++number_, read.line, store_id, object, result, read.uid, read.report});
  }

  void Refuse(const StrictObject& object, const std::string& reason, OsifResult code) {
    if (result_ == OSIF_OK) result_ = code == OSIF_OK ? OsifResult{OSIF_PARSE_ERROR} : code;
    visitor_.OnRefused({++number_, object.line, object.kind, reason, code, object.report});
  }

  const TextSettings& settings_;
  ObjectVisitor& visitor_;
  client::TempFile piece_;
  NoteNames names_;
  const WideText name_;
  std::vector<StrictObject> gathered_;
  size_t size_ = 0;
  const StrictObject* next_ = nullptr;  // whose record comes next
  size_t left_ = 0;                     // the records that are still to come
  size_t number_ = 0;
  OsifResult result_ = OSIF_OK;
};

// read(), which a signal does not hinder; 0 at the end, and where it fails.
size_t ReadSome(int handle, char* into, size_t room, int& error) {
  ssize_t got = 0;
  do {
    got = read(handle, into, room);
  } while (got < 0 && errno == EINTR);
  if (got < 0) error = errno;
  return got < 0 ? 0 : static_cast<size_t>(got);
}

}  // namespace

OsifResult ReadDialectFile(int handle, const TextSettings& settings, ObjectVisitor& visitor,
                           FileRest& rest) {
  rest = {};
  DialectReader reader(settings, visitor);
  if (!reader.is_open()) return OSIF_ERR_FILE_OPEN;
  int error = 0;
  ObjectSplitter splitter(
      [&](char* into, size_t room) { return ReadSome(handle, into, room, error); });
  while (std::optional<ObjectText> object = splitter.Next()) {
    ++rest.objects;
    reader.Take(std::move(*object));
  }
  const OsifResult result = reader.Finish();
  rest.outside_lines = splitter.junk().count;
  rest.first_outside = splitter.junk().first;
  if (error != 0) {
    errno = error;
    return OSIF_ERR_FILE_OPEN;
  }
  return rest.objects == 0 ? OsifResult{OSIF_ERR_INVALID_STREAM} : result;
}

}  // namespace dialects
