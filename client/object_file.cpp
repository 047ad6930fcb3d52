// The library reads a file from its start, stops at the first object that it refuses or at a line that
// belongs to none, and says neither where that was nor what it has not read. So the file is looked through
// beforehand (file_index), and what the library hands out is held against what is there: the records are
// counted, and from their number follow the line of each, the object that was refused, and how many were not
// reached. With --each every object is copied into one file in memory, one after the other, and read by
// itself.
//
// The results that the library gives are the worst so far within a call. `had_warning_` keeps whether one
// came before, so that a result that is not certainly a record's own is not taken for it.
//
// What can be looked through is bounded before anything is read: a line of any length, or a pipe without an end,
// would take the memory that it asks for, here and in the library.
#include "client/object_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "client/logical_lines.h"
#include "client/temp_file.h"
#include "client/texts.h"

namespace client {
namespace {

// In bytes. A pipe without an end would take all memory.
constexpr int64_t kMostOfAPipe = int64_t{1} << 30;

std::string WereNotReached(size_t count) {
  return ObjectCount(count) + (count == 1 ? " was" : " were") + " not reached";
}

// The results of a file's records as the library hands them out.
std::vector<RecordResult> ResultsOf(const std::string& path) {
  std::vector<RecordResult> results;
  const auto note = [](int32_t, OsifObject*, OsifResult result, void* context) -> int32_t {
    auto& noted = *static_cast<std::vector<RecordResult>*>(context);
    const bool had_warning = !noted.empty() && noted.back().result != OSIF_PARSE_OK;
    noted.push_back({result, !had_warning});
    return 0;
  };
  OSIF_ReadObjects(ToWide(path).c_str(), note, &results);
  return results;
}

class FileReader {
 public:
  FileReader(const ObjectFile& file, const std::vector<RecordResult>& own_results,
             FileVisitor& visitor, Listener& listener)
      : file_(file),
        file_name_(file.name()),
        index_(file.index()),
        own_results_(own_results),
        visitor_(visitor),
        listener_(listener) {}

  OsifResult ReadWhole() {
    const OsifResult result = ReadFile(file_.path(), 0);
    if (delivered_ >= index_.record_lines.size() && result == OSIF_OK) {
      TellOutside(index_.objects.size());
      return result;
    }
    if (result == OSIF_OK) {
      TellEnd(delivered_);
    } else if (index_.objects.empty() || result == OSIF_ERR_FILE_OPEN ||
               result == OSIF_ERR_INVALID_STREAM) {
      listener_.Fail(file_name_, result);
      if (!index_.objects.empty()) TellUnreached(0, "", result);
    } else {
      TellRefused(result);
    }
    return result;
  }

  OsifResult ReadEach(TempFile& piece) {
    // The library tells why there is no object.
    if (index_.objects.empty()) return ReadWhole();
    OsifResult worst = OSIF_OK;
    for (size_t i = 0; i < index_.objects.size(); ++i) {
      TellOutside(i);
      const OsifResult result = ReadPiece(index_.objects[i], piece);
      if (worst == OSIF_OK) worst = result;
    }
    TellOutside(index_.objects.size());
    return worst;
  }

 private:
  static int32_t OnRecord(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
    static_cast<FileReader*>(context)->Deliver(store_id, object, result);
    return 0;
  }

  // Lets the library read a file whose first record has that number, counted from 0.
  OsifResult ReadFile(const std::string& name, size_t first_record) {
    next_record_ = first_record;
    delivered_ = 0;
    had_warning_ = false;
    return OSIF_ReadObjects(ToWide(name).c_str(), OnRecord, this);
  }

  void Deliver(int32_t store_id, OsifObject* object, OsifResult result) {
    const size_t record = next_record_++;
    ++delivered_;
    const uint64_t line = record < index_.record_lines.size() ? index_.record_lines[record] : 0;
    const RecordResult own =
        record < own_results_.size() ? own_results_[record] : RecordResult{result, !had_warning_};
    visitor_.OnRecord({record + 1, line, store_id, object, own.result, own.is_certain});
    had_warning_ = had_warning_ || result != OSIF_PARSE_OK;
    listener_.Progress(file_name_ + ": object", record + 1, index_.record_lines.size());
  }

  OsifResult ReadPiece(const FileObject& object, TempFile& piece) {
    const std::string place = PlaceOf(file_name_, object.first_record + 1, object.line);
    if (!piece.HoldPiece(file_.handle(), object.begin, object.end)) {
      listener_.Fail(place + ": " + std::strerror(errno), OSIF_ERR_GENERAL);
      return OSIF_ERR_GENERAL;
    }
    const OsifResult result = ReadFile(piece.name(), object.first_record);
    if (result != OSIF_OK) {
      Refuse(object, delivered_, place, result);
    } else if (delivered_ < object.records) {
      const size_t rest = object.records - delivered_;
      listener_.Fail(place + ": " + WereNotReached(rest), result);
      visitor_.OnUnreached(rest);
    }
    return result;
  }

  void Refuse(const FileObject& object, size_t read, const std::string& place, OsifResult result) {
    std::string what = place;
    if (object.kind == ObjectKind::kVCalendar) {
      what = file_name_ + ": the calendar on line " + std::to_string(object.line);
    }
    what += " was refused";
    if (read > 0) what += " after " + ObjectCount(read) + " of " + std::to_string(object.records);
    if (!object.is_complete) what += "; it has no END";
    listener_.Fail(what, result);
    visitor_.OnRefused(object.first_record + read + 1, object.kind);
    // The refused one counts for itself; what the calendar holds after it is lost with it.
    if (read + 1 < object.records) visitor_.OnUnreached(object.records - read - 1);
  }

  // The library refused an object of the whole file. A calendar may be refused after its last record;
  // then the calendar after it is named, and the message says that it is one of the two.
  void TellRefused(OsifResult result) {
    const FileObject& object = index_.ObjectOf(delivered_);
    const size_t read = delivered_ - std::min(delivered_, object.first_record);
    std::string place = PlaceOf(file_name_, object.first_record + 1, object.line);
    Refuse(object, read, place, result);
    if (read == 0 && delivered_ > 0 && object.kind == ObjectKind::kVCalendar) {
      listener_.Note(file_name_ + ": it may also be the end of the calendar before it");
    }
    const size_t next = object.first_record + object.records;
    if (next < index_.record_lines.size()) TellUnreached(next, "", result);
  }

  // The library saw the file's end before its last object: a line between two objects ended it.
  void TellEnd(size_t first_unreached) {
    const FileObject& object = index_.ObjectOf(first_unreached);
    std::string why;
    for (const OutsideText& outside : index_.outside) {
      if (outside.next_object >= index_.objects.size()) break;
      if (&index_.objects[outside.next_object] != &object) continue;
      why = ", because line " + std::to_string(outside.line) + " between the objects is " +
            (outside.text_line == outside.line ? "none of an object" : "blank");
    }
    TellUnreached(first_unreached, why, OSIF_OK);
  }

  void TellUnreached(size_t first, const std::string& why, OsifResult result) {
    const size_t count = index_.record_lines.size() - first;
    listener_.Fail(file_name_ + ": " + WereNotReached(count) + ", from line " +
                       std::to_string(index_.record_lines[first]) + " on" + why +
                       " (--each reads every object by itself)",
                   result);
    visitor_.OnUnreached(count);
  }

  // Text outside the objects is lost; blank lines are nothing to speak of.
  void TellOutside(size_t next_object) {
    while (outside_ < index_.outside.size() &&
           index_.outside[outside_].next_object <= next_object) {
      const OutsideText& outside = index_.outside[outside_++];
      if (!outside.text_line) continue;
      listener_.Fail(file_name_ + ": the text on line " + std::to_string(*outside.text_line) +
                         " belongs to no object and was left out",
                     OSIF_ERR_INVALID_STREAM);
    }
  }

  const ObjectFile& file_;
  const std::string& file_name_;
  const FileIndex& index_;
  const std::vector<RecordResult>& own_results_;
  FileVisitor& visitor_;
  Listener& listener_;
  size_t outside_ = 0;      // the outside texts told so far
  size_t next_record_ = 0;  // counted from 0 over the whole file
  size_t delivered_ = 0;    // by the present call of the library
  bool had_warning_ = false;
};

}  // namespace

std::string PlaceOf(const std::string& file_name, size_t number, uint64_t line) {
  std::string place = file_name + ": object " + std::to_string(number);
  if (line > 0) place += " (line " + std::to_string(line) + ")";
  return place;
}

std::optional<int32_t> StoreOf(ObjectKind kind) {
  switch (kind) {
    case ObjectKind::kVCard:
      return OSIF_STORE_PB;
    case ObjectKind::kVCalendar:
      return OSIF_STORE_CAL;
    case ObjectKind::kVNote:
      return OSIF_STORE_NOTE;
    case ObjectKind::kVMessage:
    case ObjectKind::kOther:
      break;
  }
  return std::nullopt;
}

ObjectFile::ObjectFile(const std::string& argument) : input_(argument), path_(input_.name()) {
  if (!input_.why_not().empty()) {
    Refuse(input_.why_not());
    return;
  }
  if (!input_.is_regular()) HoldRest(input_.handle());
  if (why_not_.empty()) LookThrough();
}

void ObjectFile::Refuse(const std::string& why, OsifResult code) {
  why_not_ = why;
  why_not_code_ = code;
}

void ObjectFile::HoldRest(int source) {
  held_.emplace();
  if (!held_->is_open()) return Refuse(std::strerror(errno));
  if (!held_->HoldRest(source, kMostOfAPipe, kLongestLine)) {
    if (errno != EFBIG) return Refuse(std::strerror(errno));
    return Refuse("more than a pipe may bring (1 GB, and 64 MB in a line)",
                  OSIF_ERR_INVALID_STREAM);
  }
  path_ = held_->name();
}

void ObjectFile::LookThrough() {
  std::optional<FileIndex> index = IndexFile(path_);
  if (!index) return Refuse(std::strerror(errno));
  if (index->long_line) {
    return Refuse("line " + std::to_string(*index->long_line) + " is longer than 64 MB",
                  OSIF_ERR_INVALID_STREAM);
  }
  index_ = std::move(*index);
}

std::vector<RecordResult> OwnResults(const ObjectFile& file) {
  if (!file.why_not().empty()) return {};
  std::vector<RecordResult> results = ResultsOf(file.path());
  const bool are_certain =
      std::ranges::all_of(results, [](const RecordResult& one) { return one.is_certain; });
  TempFile piece;
  if (are_certain || !piece.is_open()) return results;

  for (const FileObject& object : file.index().objects) {
    if (!piece.HoldPiece(file.handle(), object.begin, object.end)) continue;
    const std::vector<RecordResult> own = ResultsOf(piece.name());
    for (size_t i = 0; i < own.size() && object.first_record + i < results.size(); ++i) {
      results[object.first_record + i] = own[i];
    }
  }
  return results;
}

OsifResult ReadObjectFile(const ObjectFile& file, bool each,
                          const std::vector<RecordResult>& own_results, FileVisitor& visitor,
                          Listener& listener) {
  if (!file.why_not().empty()) {
    listener.Fail(file.name() + ": " + file.why_not(), file.why_not_code());
    return file.why_not_code();
  }
  FileReader reader(file, own_results, visitor, listener);
  if (!each) return reader.ReadWhole();
  TempFile piece;
  if (piece.is_open()) return reader.ReadEach(piece);
  listener.Fail(file.name() + ": " + std::strerror(errno), OSIF_ERR_GENERAL);
  return OSIF_ERR_GENERAL;
}

}  // namespace client
