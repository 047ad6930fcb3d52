// The properties and headers of a message (IrMC 1.1 vMessage; RFC 822): their names, where they count, and
// which field of the record each fills.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "osif.h"

// The names that the reader knows; the numbers are fixed.
enum class MessageProperty {
  kUnknown = 0,
  kDate = 1,
  kFrom = 2,
  kSubject = 3,
  kMimeVersion = 4,
  kTo = 5,
  kCc = 6,
  kReplyTo = 7,
  kContentType = 8,
  kContentTransferEncoding = 9,
  kVersion = 10,
  kLuid = 11,
  kStatus = 12,
  kType = 13,
  kFolder = 14,
  kBegin = 15,
  kEnd = 16,
};

// Where a property counts.
enum class MessageLevel {
  kMessage,      // between BEGIN:VMSG and END:VMSG
  kBody,         // a header of the body
  kBodyAndPart,  // a header of the body or of one of its parts
  kStructure,    // BEGIN and END
};

struct MessagePropertyRow {
  // The field of a record and of the part at hand that the value is copied to; all of it may be filled, its
  // terminator included.
  using Field = std::span<char> (*)(OsifObject& object, MessagePart& part);

  std::string_view name;
  MessageProperty property;
  MessageLevel level;
  Field field;  // null for BEGIN and END

  // True for a header of a body.
  bool IsHeader() const {
    return level == MessageLevel::kBody || level == MessageLevel::kBodyAndPart;
  }
};

// Looks a name up without regard to case; null for any other name.
const MessagePropertyRow* FindMessageProperty(std::string_view name);

// The same as a number; kUnknown for any other name.
MessageProperty MessagePropertyIndex(std::string_view name);

// Copies a value into its field. `result` becomes a warning when the value had to be cut.
void StoreMessageValue(const MessagePropertyRow& row, std::string_view value, OsifObject& object,
                       MessagePart& part, OsifResult& result);

// What a BEGIN or END line names: its value in upper case, without blanks and tabs. `result` becomes a warning
// when it is longer than any name of these levels and had to be cut.
std::string MessageTypeWord(std::string_view value, OsifResult& result);
