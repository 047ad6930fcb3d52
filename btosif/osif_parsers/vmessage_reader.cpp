// A message is read by three readers, one inside the other: of the message, of its envelope, of its body
// (vmessage_body). Each reads on from where the one outside it stands, and gives the stream back after its own
// END line. What a BEGIN or END names decides here, unlike in the other formats, since the levels hold different
// things; a message whose levels are not all closed is refused.
#include "btosif/osif_parsers/vmessage_reader.h"

#include <algorithm>
#include <span>
#include <string>

#include "btosif/osif_parsers/object_loop.h"
#include "btosif/osif_parsers/property_line.h"
#include "btosif/osif_parsers/vcard_reader.h"
#include "btosif/osif_parsers/vmessage_body.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/object_record.h"
#include "config/trace.h"

namespace {

constexpr double kNewestVersion = 1.1;
constexpr const char* kNoBegin = "OSIF:  Error - vMsg does not have a BEGIN tag";
constexpr const char* kBlankInMessage = "OSIF:  Warning - Parser encounted a blank line in vMSG";
constexpr const char* kBlankInEnvelope = "OSIF:  Warning - Parser encounted a blank line in vEnv";

// Reads past a card. What comes before the headers in the record starts anew with each card, so of a message's
// id, version, status, type and folder those count that follow its last card. What the card says is not kept,
// nor is whether it was a good one. OSIF_PARSE_OK or OSIF_ERR_NO_MEMORY.
OsifResult ReadPastCard(OsifStream& stream, OsifObject& object) {
  OwnedObject card(OSIF_STORE_PB);
  const OsifResult result = VCard_ReadOne(stream, *card);
  object.flags = 0;
  object.calendarKind = 0;
  OsifMessage& message = object.message;
  for (const std::span<char> field :
       {std::span<char>(object.xIrmcLuid), std::span<char>(object.version),
        std::span<char>(message.xIrmcStatus), std::span<char>(message.xIrmcType),
        std::span<char>(message.xBtFolder), std::span<char>(message.storeData)}) {
    std::ranges::fill(field, '\0');
  }
  if (result == OSIF_ERR_NO_MEMORY) return result;
  return OSIF_PARSE_OK;
}

// Reads what is between BEGIN:VENV and END:VENV. Envelopes nest without bound; they are only counted.
class EnvelopeReader {
 public:
  EnvelopeReader(OsifStream& stream, PropertyLine& line, OsifObject& object)
      : line_(line), cursor_(stream, line, kBlankInEnvelope), object_(object) {}

  OsifResult Read();

 private:
  void TakeProperty();
  void TakeBegin(const std::string& type);

  PropertyLine& line_;
  LineCursor cursor_;
  OsifObject& object_;
  size_t depth_ = 1;
  bool has_body_ = false;
};

OsifResult EnvelopeReader::Read() {
  while (cursor_.Next()) TakeProperty();
  const OsifResult result = cursor_.result();
  const bool has_failed = !IsRead(result) && result != OSIF_PARSE_ERROR;
  if (has_failed || (has_body_ && cursor_.has_ended())) return result;
  OSIF_Trace(0, "OSIF:  Error - vMsg missing BODY section");
  return OSIF_PARSE_ERROR;
}

void EnvelopeReader::TakeProperty() {
  switch (MessagePropertyIndex(line_.name())) {
    case MessageProperty::kBegin:
      TakeBegin(MessageTypeWord(line_.value(), cursor_.result()));
      break;
    case MessageProperty::kEnd:
      if (MessageTypeWord(line_.value(), cursor_.result()) == "VENV" && --depth_ == 0) {
        cursor_.End();
      }
      break;
    default:
      break;
  }
}

void EnvelopeReader::TakeBegin(const std::string& type) {
  if (type == "VCARD") cursor_.Add(ReadPastCard(cursor_.stream(), object_));
  if (type == "VENV") ++depth_;
  if (type == "VBODY" && !has_body_) {
    has_body_ = true;
    cursor_.Add(VMessage_ReadBody(cursor_.stream(), line_, object_));
  }
}

// Reads what is between BEGIN:VMSG and END:VMSG into a cleared record.
class MessageReader {
 public:
  MessageReader(OsifStream& stream, PropertyLine& line, OsifObject& object)
      : line_(line), cursor_(stream, line, kBlankInMessage), object_(object) {}

  OsifResult Read();

 private:
  void TakeProperty();
  void TakeBegin(const std::string& type);
  void TakeValue(const MessagePropertyRow& row);

  PropertyLine& line_;
  LineCursor cursor_;
  OsifObject& object_;
  bool has_envelope_ = false;
};

OsifResult MessageReader::Read() {
  while (cursor_.Next()) TakeProperty();
  const bool is_whole = has_envelope_ && cursor_.has_ended();
  if (IsRead(cursor_.result()) && !is_whole) return OSIF_PARSE_ERROR;
  return cursor_.result();
}

void MessageReader::TakeProperty() {
  const MessagePropertyRow* row = FindMessageProperty(line_.name());
  if (row == nullptr) {
    cursor_.WarnOfName("OSIF:  Warning - Parser encountered unknown property: '%s'");
  } else if (row->property == MessageProperty::kBegin) {
    TakeBegin(MessageTypeWord(line_.value(), cursor_.result()));
  } else if (row->property == MessageProperty::kEnd) {
    if (MessageTypeWord(line_.value(), cursor_.result()) == "VMSG") cursor_.End();
  } else if (row->level == MessageLevel::kMessage) {
    TakeValue(*row);
  }
}

void MessageReader::TakeBegin(const std::string& type) {
  if (type == "VCARD") {
    cursor_.Add(ReadPastCard(cursor_.stream(), object_));
  } else if (type == "VENV") {
    has_envelope_ = true;
    cursor_.Add(EnvelopeReader(cursor_.stream(), line_, object_).Read());
  } else {
    cursor_.Refuse();
  }
}

void MessageReader::TakeValue(const MessagePropertyRow& row) {
  StoreMessageValue(row, line_.value(), object_, object_.message.part, cursor_.result());
  if (row.property != MessageProperty::kVersion) return;
  if (IsSupportedVersion(object_.version, kNewestVersion)) return;
  OSIF_Trace(0, "OSIF:  Error - vMsg version '%s' is not supported", object_.version);
  cursor_.Refuse();
}

int32_t StoreOf(const OsifMessage& message) {
  if (EqualsIgnoringCase(message.xBtFolder, "OUTBOX")) return OSIF_STORE_MSG_OUT;
  if (EqualsIgnoringCase(message.xBtFolder, "SENTBOX")) return OSIF_STORE_MSG_SENT;
  return OSIF_STORE_MSG_IN;
}

}  // namespace

OsifResult VMessage_ReadFile(OsifStream& stream, OsifReadCallback callback, void* context) {
  // The record's store is known when it has been read; its lists are the same in all three.
  ObjectDelivery delivery(OSIF_STORE_MSG_IN, nullptr, nullptr);
  const auto begins = [](const PropertyLine& line) {
    return MessagePropertyIndex(line.name()) == MessageProperty::kBegin &&
           IsType(line.value(), "VMSG");
  };
  return ReadEachObject(stream, delivery, kNoBegin, begins, [&](PropertyLine& line) {
    OsifObject& object = delivery.object();
    const OsifResult result = MessageReader(stream, line, object).Read();
    if (!IsRead(result)) return result;
    delivery.Add(result);
    if (callback != nullptr) {
      callback(StoreOf(object.message), &object, delivery.result(), context);
    }
    delivery.Clear();
    return result;
  });
}
