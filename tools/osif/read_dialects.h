// What the subcommands share that read files of any dialect.
#pragma once

#include <cstddef>
#include <string>

#include "client/input_file.h"
#include "dialects/object_reader.h"
#include "osif.h"
#include "tools/osif/json.h"
#include "tools/osif/reporter.h"

namespace command {

// The kind of the objects of a store.
dialects::ObjectKind KindOf(int32_t store_id);

// The name of the store that objects of a kind go to; null for messages, whose folder decides, and for others.
Json StoreJson(dialects::ObjectKind kind);

// Tells of the objects of a file that were refused, each with its reason; people see the first few and a count.
class Refusals {
 public:
  static constexpr size_t kMostLines = 7;

  Refusals(const std::string& file_name, bool tells_each, Reporter& reporter)
      : file_name_(file_name), tells_each_(tells_each), reporter_(reporter) {}

  void Tell(const dialects::RefusedObject& refused);
  // Says how many more there were.
  void Summarise() const;

 private:
  const std::string& file_name_;
  const bool tells_each_;
  Reporter& reporter_;
  size_t count_ = 0;
};

// Reads a file through the visitor, and tells of what stands outside of its objects. False, with a message, when it
// cannot be read; a file without any object can be.
bool ReadDialects(const InputFile& file, dialects::ObjectVisitor& visitor, Reporter& reporter,
                  OsifResult* result = nullptr);

}  // namespace command
