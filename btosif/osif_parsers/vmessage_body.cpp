// Headers are logical lines and are read as properties; content is not, because a blank at the start of one of
// its lines is text. What divides the two is an empty line, so it is looked for in the stream's window before
// each header.
//
// A multipart body's parts hang from the record in their order. Only the first one's content is kept; of the
// others the content is passed over, so that its end is found. The content of a body that came before in the
// same message is released first, and what has been read is the record's at every moment: whatever stops the
// reading, releasing the record releases it all.
#include "btosif/osif_parsers/vmessage_body.h"

#include <optional>
#include <string>
#include <utility>

#include "btosif/osif_parsers/object_loop.h"
#include "btosif/osif_parsers/vmessage_content.h"
#include "btosif/osif_parsers/vmessage_property.h"
#include "btosif/osif_util/content_type.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/owned_text.h"
#include "config/trace.h"

namespace {

constexpr std::string_view kBodyEnd = "END:VBODY";

// Takes the empty line that ends headers. It is looked for before a logical line is read, because content
// that begins with a blank would be joined to it as to a folded line.
bool TakeEmptyLine(OsifStream& stream) {
  if (stream.Window().empty() || stream.Window() == "\r") stream.ReadAhead();
  for (const std::string_view line_end : {"\n", "\r\n"}) {
    if (!stream.Window().starts_with(line_end)) continue;
    stream.Skip(line_end.size());
    return true;
  }
  return false;
}

class BodyReader {
 public:
  BodyReader(OsifStream& stream, PropertyLine& line, OsifObject& object)
      : stream_(stream), line_(line), object_(object) {}

  OsifResult Read();

 private:
  void ReleaseContent();
  template <typename Take>
  bool ReadHeaders(Take take);
  void TakeHeader();
  void TakePartHeader(MessagePart& part);
  void Warn(const char* message);
  void ReadContentOrParts();
  void ReadParts(const std::string& boundary);
  bool HasReached(const ContentEnd& end);
  MessagePart* AppendPart(MessagePart& last);
  template <typename Matches>
  bool SkipTo(Matches matches);

  OsifStream& stream_;
  PropertyLine& line_;
  OsifObject& object_;
  OsifResult result_ = OSIF_PARSE_OK;
  bool is_done_ = false;
};

OsifResult BodyReader::Read() {
  ReleaseContent();
  if (ReadHeaders([this] { TakeHeader(); })) ReadContentOrParts();
  const bool has_file_ended = IsRead(result_) || result_ == OSIF_PARSE_ERROR;
  if (is_done_ || !has_file_ended) return result_;
  OSIF_Trace(0, "OSIF:  Error - vBody missing END tag");
  return OSIF_PARSE_ERROR;
}

// A message may have a second envelope: its body takes the place of the first one's.
void BodyReader::ReleaseContent() {
  OwnedObject former(OSIF_STORE_MSG_IN);
  std::swap(former->message.part, object_.message.part);
}

// Hands each header to `take`, up to the empty line. True when content follows.
template <typename Take>
bool BodyReader::ReadHeaders(Take take) {
  while (!is_done_ && !FILE_Eof(stream_)) {
    if (TakeEmptyLine(stream_)) return true;
    switch (line_.Read(stream_)) {
      case PropertyLine::Kind::kProperty:
        take();
        break;
      case PropertyLine::Kind::kBlank:
        return true;
      case PropertyLine::Kind::kNoMemory:
        result_ = OSIF_PARSE_WARNING;
        break;
    }
  }
  return false;
}

void BodyReader::TakeHeader() {
  const MessagePropertyRow* row = FindMessageProperty(line_.name());
  if (row != nullptr && row->property == MessageProperty::kEnd) {
    MessageTypeWord(line_.value(), result_);
    is_done_ = true;
  } else if (row != nullptr && row->IsHeader()) {
    StoreMessageValue(*row, line_.value(), object_, object_.message.part, result_);
  } else {
    Warn("OSIF:  Warning - Parser encountered unknown property: '%s'");
  }
}

void BodyReader::TakePartHeader(MessagePart& part) {
  const MessagePropertyRow* row = FindMessageProperty(line_.name());
  if (row != nullptr && row->level == MessageLevel::kBodyAndPart) {
    StoreMessageValue(*row, line_.value(), object_, part, result_);
  } else {
    Warn("OSIF:  Warning - Parser encountered unexpected property: '%s'");
  }
}

void BodyReader::Warn(const char* message) {
  OSIF_Trace(0, message, line_.name().data());
  result_ = OSIF_PARSE_WARNING;
}

void BodyReader::ReadContentOrParts() {
  MessagePart& part = object_.message.part;
  if (const std::optional<std::string> boundary = MultipartBoundary(part.contentType)) {
    ReadParts(*boundary);
  } else {
    is_done_ = HasReached(ReadContent(stream_, kBodyEnd, part));
  }
}

void BodyReader::ReadParts(const std::string& boundary) {
  OSIF_Trace(0, "OSIF:  Parsing Multipart Content (boundary='%s')", boundary.c_str());
  const std::string marker = "--" + boundary;
  if (!SkipTo([&](std::string_view line) { return line == marker; })) return;

  MessagePart* part = &object_.message.part;
  while (ReadHeaders([&] { TakePartHeader(*part); })) {
    const bool is_first = part == &object_.message.part;
    const ContentEnd end =
        is_first ? ReadContent(stream_, marker, *part) : SkipContent(stream_, marker);
    if (!HasReached(end)) return;
    if (end.is_closing) {
      is_done_ = SkipTo([](std::string_view line) { return IsType(line, kBodyEnd); });
      return;
    }
    part = AppendPart(*part);
    if (part == nullptr) return;
  }
}

// True when a content was read up to its terminator; else its failure becomes the body's.
bool BodyReader::HasReached(const ContentEnd& end) {
  if (end.result != OSIF_PARSE_OK) result_ = end.result;
  return end.result == OSIF_PARSE_OK;
}

MessagePart* BodyReader::AppendPart(MessagePart& last) {
  last.nextPart = static_cast<MessagePart*>(OsifAlloc(sizeof(MessagePart)));
  if (last.nextPart == nullptr) result_ = OSIF_ERR_NO_MEMORY;
  return last.nextPart;
}

// Reads past lines up to one that matches. False when none does.
template <typename Matches>
bool BodyReader::SkipTo(Matches matches) {
  for (std::string_view line;;) {
    const RawLine read = ReadRawLine(stream_, line);
    if (read == RawLine::kNoMemory) result_ = OSIF_ERR_NO_MEMORY;
    if (read != RawLine::kRead) return false;
    if (matches(line)) return true;
  }
}

}  // namespace

OsifResult VMessage_ReadBody(OsifStream& stream, PropertyLine& line, OsifObject& object) {
  return BodyReader(stream, line, object).Read();
}
