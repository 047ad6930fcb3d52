// One logical line of vObject text, split: what every format reader takes from its stream line by line.
#pragma once

#include <memory>
#include <string_view>

#include "btosif/osif_file.h"
#include "btosif/osif_parsers/line_reader.h"
#include "btosif/osif_util/owned_text.h"
#include "btosif/osif_util/property_split.h"

// Holds the line and the two buffers into which it is split, and is filled again for each line.
class PropertyLine {
 public:
  enum class Kind {
    kProperty,
    kBlank,     // an empty line, or the end of the file
    kNoMemory,  // the line could not be read and was passed over
  };

  // Whether a shortage of memory for the buffers is an assertion as well, which it is for cards alone.
  enum class Shortage { kTraced, kAsserted };

  explicit PropertyLine(Shortage shortage);

  // False when there was no memory for the buffers; the trace then says so.
  bool has_buffers() const { return name_ != nullptr && params_ != nullptr; }

  // Reads and splits the next line. Name and parameters lose all their blanks and tabs.
  Kind Read(OsifStream& stream);

  std::string_view name() const { return split_.name; }
  std::string_view params() const { return split_.params; }
  // Valid until the stream is read from again.
  std::string_view value() const { return split_.value; }

 private:
  template <size_t kRoom>
  struct Buffer {
    char text[kRoom];
  };

  std::unique_ptr<Buffer<kNameRoom>, OsifFreeDeleter> name_;
  std::unique_ptr<Buffer<kParamRoom>, OsifFreeDeleter> params_;
  LogicalLine line_ = {};
  SplitLine split_;
};
