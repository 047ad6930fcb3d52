#include "btosif/osif_generators/vmessage_writer.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "btosif/osif_generators/property_writer.h"
#include "btosif/osif_util/ascii.h"
#include "config/trace.h"

namespace {

constexpr WriterMessages kMessages = {"OSIF:  Insufficient memory to generate vMessage string",
                                      "OSIF:  Unable to put vMessage string to file"};
constexpr std::string_view kBodyEnd = "END:VBODY";

void WriteLine(OsifStream& stream, const char* name, std::string_view value) {
  WritePropertyLine(stream, name, "", value, kMessages);
}

bool IsLineBreak(char c) { return c == '\r' || c == '\n'; }

// A field as the value of one line that a reader takes as it is meant.
void WriteField(OsifStream& stream, const char* name, const char* text) {
  std::string value(text);
  std::ranges::replace_if(value, IsLineBreak, ' ');
  if (value.ends_with('=')) value += ' ';
  WriteLine(stream, name, value);
}

void WriteFilledField(OsifStream& stream, const char* name, const char* text) {
  if (text[0] != '\0') WriteField(stream, name, text);
}

void WriteProperties(OsifStream& stream, const OsifObject& object, uint8_t write_luid) {
  WriteField(stream, "VERSION", object.version);
  WriteField(stream, "X-IRMC-STATUS", object.message.xIrmcStatus);
  WriteField(stream, "X-IRMC-TYPE", object.message.xIrmcType);
  if (write_luid != 0) WriteFilledField(stream, "X-IRMC-LUID", object.xIrmcLuid);
  WriteField(stream, "X-BT-FOLDER", object.message.xBtFolder);
}

void WriteHeaders(OsifStream& stream, const OsifMessage& message) {
  WriteFilledField(stream, "Return-Path", message.returnPath);
  WriteFilledField(stream, "Date", message.date);
  WriteField(stream, "From", message.from);
  WriteField(stream, "To", message.to);
  WriteFilledField(stream, "Cc", message.ccAddresses);
  WriteFilledField(stream, "Reply-To", message.replyTo);
  WriteField(stream, "Subject", message.subject);
  WriteFilledField(stream, "Content-Type", message.part.contentType);
  WriteFilledField(stream, "Content-Transfer-Encoding", message.part.contentTransferEncoding);
}

// One line of the body. One that would end the body is changed so that it does not.
int WriteBodyLine(OsifStream& stream, std::string_view line, bool is_quoted_printable) {
  int result = 0;
  if (line.starts_with(kBodyEnd)) {
    constexpr const char* kEncodedE = "=45";
    result |= FILE_Write(stream, is_quoted_printable ? kEncodedE : " ");
    if (is_quoted_printable) line.remove_prefix(1);
  }
  return result | FILE_WriteLine(stream, line);
}

void WriteBody(OsifStream& stream, const MessagePart& part) {
  int result = FILE_WriteLine(stream, "");
  const bool is_quoted_printable =
      ContainsIgnoringCase(part.contentTransferEncoding, "QUOTED-PRINTABLE");
  std::string_view rest = part.bodyText == nullptr ? "" : part.bodyText;
  while (!rest.empty()) {
    const size_t line_feed = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, line_feed);
    if (line.ends_with('\r')) line.remove_suffix(1);
    result |= WriteBodyLine(stream, line, is_quoted_printable);
    rest.remove_prefix(std::min(line_feed + 1, rest.size()));
  }
  if (result != 0) OSIF_Trace(0, kMessages.not_written);
}

}  // namespace

OsifResult VMessage_Write(OsifStream& stream, OsifObject& object, uint8_t write_luid) {
  WriteLine(stream, "BEGIN", "VMSG");
  WriteProperties(stream, object, write_luid);
  WriteLine(stream, "BEGIN", "VENV");
  WriteLine(stream, "BEGIN", "VBODY");
  WriteHeaders(stream, object.message);
  WriteBody(stream, object.message.part);
  WriteLine(stream, "END", "VBODY");
  WriteLine(stream, "END", "VENV");
  WriteLine(stream, "END", "VMSG");
  return OSIF_OK;
}
