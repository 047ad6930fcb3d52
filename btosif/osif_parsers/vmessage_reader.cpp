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

// Reads past a card, and clears what comes before the headers in the record: a card was once read through
// the same storage, and what was lost to it then is lost still. What the card says is not kept, nor is
// whether it was a good one. OSIF_PARSE_OK or OSIF_ERR_NO_MEMORY.
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
      : stream_(stream), line_(line), object_(object) {}

  OsifResult Read();

 private:
  void TakeProperty();
  void TakeBegin(const std::string& type);
  void Add(OsifResult result) {
    if (result != OSIF_PARSE_OK) result_ = result;
  }

  OsifStream& stream_;
  PropertyLine& line_;
  OsifObject& object_;
  OsifResult result_ = OSIF_PARSE_OK;
  size_t depth_ = 1;
  bool has_body_ = false;
};

OsifResult EnvelopeReader::Read() {
  while (depth_ > 0 && IsRead(result_) && !FILE_Eof(stream_)) {
    if (ReadPropertyOf(stream_, line_, kBlankInEnvelope, result_)) TakeProperty();
  }
  const bool has_failed = !IsRead(result_) && result_ != OSIF_PARSE_ERROR;
  if (has_failed || (has_body_ && depth_ == 0)) return result_;
  OSIF_Trace(0, "OSIF:  Error - vMsg missing BODY section");
  return OSIF_PARSE_ERROR;
}

void EnvelopeReader::TakeProperty() {
  switch (MessagePropertyIndex(line_.name())) {
    case MessageProperty::kBegin:
      TakeBegin(MessageTypeWord(line_.value(), result_));
      break;
    case MessageProperty::kEnd:
      if (MessageTypeWord(line_.value(), result_) == "VENV") --depth_;
      break;
    default:
      break;
  }
}

void EnvelopeReader::TakeBegin(const std::string& type) {
  if (type == "VCARD") Add(ReadPastCard(stream_, object_));
  if (type == "VENV") ++depth_;
  if (type == "VBODY" && !has_body_) {
    has_body_ = true;
    Add(VMessage_ReadBody(stream_, line_, object_));
  }
}

// Reads what is between BEGIN:VMSG and END:VMSG into a cleared record.
class MessageReader {
 public:
  MessageReader(OsifStream& stream, PropertyLine& line, OsifObject& object)
      : stream_(stream), line_(line), object_(object) {}

  OsifResult Read();

 private:
  void TakeProperty();
  void TakeBegin(const std::string& type);
  void TakeValue(const MessagePropertyRow& row);
  void Add(OsifResult result) {
    if (result != OSIF_PARSE_OK) result_ = result;
  }

  OsifStream& stream_;
  PropertyLine& line_;
  OsifObject& object_;
  OsifResult result_ = OSIF_PARSE_OK;
  bool has_envelope_ = false;
  bool is_done_ = false;
};

OsifResult MessageReader::Read() {
  while (!is_done_ && IsRead(result_) && !FILE_Eof(stream_)) {
    if (ReadPropertyOf(stream_, line_, kBlankInMessage, result_)) TakeProperty();
  }
  const bool is_whole = has_envelope_ && is_done_;
  if (IsRead(result_) && !is_whole) return OSIF_PARSE_ERROR;
  return result_;
}

void MessageReader::TakeProperty() {
  const MessagePropertyRow* row = FindMessageProperty(line_.name());
  if (row == nullptr) {
    OSIF_Trace(0, "OSIF:  Warning - Parser encountered unknown property: '%s'",
               line_.name().data());
    result_ = OSIF_PARSE_WARNING;
    return;
  }
  if (row->property == MessageProperty::kBegin) {
    TakeBegin(MessageTypeWord(line_.value(), result_));
  } else if (row->property == MessageProperty::kEnd) {
    is_done_ = MessageTypeWord(line_.value(), result_) == "VMSG";
  } else if (row->level == MessageLevel::kMessage) {
    TakeValue(*row);
  }
}

void MessageReader::TakeBegin(const std::string& type) {
  if (type == "VCARD") {
    Add(ReadPastCard(stream_, object_));
  } else if (type == "VENV") {
    has_envelope_ = true;
    Add(EnvelopeReader(stream_, line_, object_).Read());
  } else {
    result_ = OSIF_PARSE_ERROR;
  }
}

void MessageReader::TakeValue(const MessagePropertyRow& row) {
  StoreMessageValue(row, line_.value(), object_, object_.message.part, result_);
  if (row.property != MessageProperty::kVersion) return;
  if (IsSupportedVersion(object_.version, kNewestVersion)) return;
  OSIF_Trace(0, "OSIF:  Error - vMsg version '%s' is not supported", object_.version);
  result_ = OSIF_PARSE_ERROR;
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
