#include "btosif/osif_parsers/vmessage_property.h"

#include "btosif/osif_parsers/property_table.h"
#include "btosif/osif_util/ascii.h"

namespace {

using Field = std::span<char>;
using Property = MessageProperty;
using Level = MessageLevel;

// A message's VERSION has less room than the record's field.
constexpr size_t kVersionRoom = 10;

// Of what a BEGIN or END line names.
constexpr size_t kTypeLength = 5;

Field Version(OsifObject& object, MessagePart&) {
  return Field(object.version).first(kVersionRoom);
}
Field Luid(OsifObject& object, MessagePart&) { return object.xIrmcLuid; }

template <auto kMember>
Field OfMessage(OsifObject& object, MessagePart&) {
  return object.message.*kMember;
}

template <auto kMember>
Field OfPart(OsifObject&, MessagePart& part) {
  return part.*kMember;
}

constexpr MessagePropertyRow kProperties[] = {
    {"Date", Property::kDate, Level::kBody, OfMessage<&OsifMessage::date>},
    {"Subject", Property::kSubject, Level::kBody, OfMessage<&OsifMessage::subject>},
    {"From", Property::kFrom, Level::kBody, OfMessage<&OsifMessage::from>},
    {"Mime-Version", Property::kMimeVersion, Level::kBody, OfMessage<&OsifMessage::mimeVersion>},
    {"To", Property::kTo, Level::kBody, OfMessage<&OsifMessage::to>},
    {"Cc", Property::kCc, Level::kBody, OfMessage<&OsifMessage::ccAddresses>},
    {"Reply-To", Property::kReplyTo, Level::kBody, OfMessage<&OsifMessage::replyTo>},
    {"Content-Type", Property::kContentType, Level::kBodyAndPart,
     OfPart<&MessagePart::contentType>},
    {"Content-Transfer-Encoding", Property::kContentTransferEncoding, Level::kBodyAndPart,
     OfPart<&MessagePart::contentTransferEncoding>},
    {"VERSION", Property::kVersion, Level::kMessage, Version},
    {"X-IRMC-LUID", Property::kLuid, Level::kMessage, Luid},
    {"X-IRMC-STATUS", Property::kStatus, Level::kMessage, OfMessage<&OsifMessage::xIrmcStatus>},
    {"X-IRMC-TYPE", Property::kType, Level::kMessage, OfMessage<&OsifMessage::xIrmcType>},
    {"X-BT-FOLDER", Property::kFolder, Level::kMessage, OfMessage<&OsifMessage::xBtFolder>},
    {"BEGIN", Property::kBegin, Level::kStructure, nullptr},
    {"END", Property::kEnd, Level::kStructure, nullptr},
};
constexpr PropertyTable kTable(kProperties);

}  // namespace

const MessagePropertyRow* FindMessageProperty(std::string_view name) { return kTable.Find(name); }

MessageProperty MessagePropertyIndex(std::string_view name) {
  const MessagePropertyRow* row = FindMessageProperty(name);
  return row == nullptr ? MessageProperty::kUnknown : row->property;
}

void StoreMessageValue(const MessagePropertyRow& row, std::string_view value, OsifObject& object,
                       MessagePart& part, OsifResult& result) {
  const Field field = row.field(object, part);
  const size_t length = value.copy(field.data(), field.size() - 1);
  field[length] = '\0';
  if (length < value.size()) result = OSIF_PARSE_WARNING;
}

std::string MessageTypeWord(std::string_view value, OsifResult& result) {
  std::string word;
  for (const char c : value) {
    if (IsBlankOrTab(c)) continue;
    if (word.size() == kTypeLength) {
      result = OSIF_PARSE_WARNING;
      break;
    }
    word += AsciiUpper(c);
  }
  return word;
}
