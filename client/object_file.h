// Reading a file of objects through the library, whole or each object by itself, without losing anything in
// silence: what the library refuses, or does not reach because it has stopped, is told.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/file_index.h"
#include "client/input_file.h"
#include "client/listener.h"
#include "client/temp_file.h"
#include "osif.h"

namespace client {

// One record that the library read.
struct FileRecord {
  size_t number;  // in the file, counted from 1
  uint64_t line;  // on which it begins; 0 when that is not known
  int32_t store_id;
  OsifObject* object;  // lent until the visitor returns
  OsifResult result;   // OSIF_PARSE_OK or OSIF_PARSE_WARNING
  bool is_certain;     // whether the result is known to be this record's own
};

// The result of one record. The library hands on the worst result so far, so after a first warning in a
// file, or within a calendar, there is no telling.
struct RecordResult {
  OsifResult result;
  bool is_certain;
};

// A file that was named on the command line, looked through and ready to be read as often as is wanted. What
// comes from standard input ("-") or from a pipe is held in memory, since the library goes back in its files.
class ObjectFile {
 public:
  explicit ObjectFile(const std::string& argument);

  // Why it cannot be read, and the code for that; empty when it can.
  const std::string& why_not() const { return why_not_; }
  OsifResult why_not_code() const { return why_not_code_; }

  // The name for messages.
  const std::string& name() const { return input_.name(); }
  // The name under which the library opens it.
  const std::string& path() const { return path_; }
  int handle() const { return held_ ? held_->handle() : input_.handle(); }
  const FileIndex& index() const { return index_; }

 private:
  void Refuse(const std::string& why, OsifResult code = OSIF_ERR_FILE_OPEN);
  void HoldRest(int source);
  void LookThrough();

  InputFile input_;
  std::string path_;
  std::string why_not_;
  OsifResult why_not_code_ = OSIF_OK;
  std::optional<TempFile> held_;  // what came from a pipe
  FileIndex index_;
};

// The results of a file's records, with those after a warning learnt by reading each object by itself. It
// uses the library, which need not be open for that: then nothing of this comes into the trace. Empty for a
// file that cannot be read.
std::vector<RecordResult> OwnResults(const ObjectFile& file);

// What is done with the objects of a file.
class FileVisitor {
 public:
  virtual ~FileVisitor() = default;
  virtual void OnRecord(const FileRecord& record) = 0;
  // An object that the library refused, after it was reported.
  virtual void OnRefused(size_t /*number*/, ObjectKind /*kind*/) {}
  // Records that the library did not reach, after they were reported.
  virtual void OnUnreached(size_t /*count*/) {}
};

// What OSIF_ReadObjects gives for the file: one code for the file read whole; for objects read one by one,
// the first code that is not OSIF_OK. `own_results` may be empty.
OsifResult ReadObjectFile(const ObjectFile& file, bool each,
                          const std::vector<RecordResult>& own_results, FileVisitor& visitor,
                          Listener& listener);

// Where a record stands, for messages: "cards.vcf: object 3 (line 17)".
std::string PlaceOf(const std::string& file_name, size_t number, uint64_t line);

// The store that objects of a kind go to; nothing for messages, whose folder decides, and for others.
std::optional<int32_t> StoreOf(ObjectKind kind);

}  // namespace client
