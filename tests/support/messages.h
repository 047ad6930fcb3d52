// vMessages for the tests, and what the reader hands on for them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "btosif/osif_parsers/vmessage_reader.h"
#include "platform/utf8.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"

namespace support {

// A whole message around what stands between its version and its end.
inline std::string MessageText(std::string_view inner) {
  return "BEGIN:VMSG\r\nVERSION:1.1\r\n" + std::string(inner) + "END:VMSG\r\n";
}
inline std::string EnvelopeText(std::string_view inner) {
  return "BEGIN:VENV\r\n" + std::string(inner) + "END:VENV\r\n";
}
// A body with header lines and content lines, each with its line end.
inline std::string BodyText(std::string_view headers, std::string_view content) {
  return "BEGIN:VBODY\r\n" + std::string(headers) + "\r\n" + std::string(content) + "END:VBODY\r\n";
}
// A message with one envelope and one body.
inline std::string MessageWith(std::string_view headers, std::string_view content) {
  return MessageText(EnvelopeText(BodyText(headers, content)));
}
// A message with a multipart content between "b" lines.
inline std::string MultipartMessage(std::string_view content,
                                    std::string_view type = "multipart/mixed; boundary=b") {
  return MessageWith("Content-Type:" + std::string(type) + "\r\n", content);
}
// A message with one line more at the message's own level.
inline std::string MessageWithProperty(std::string_view line) {
  return MessageText(std::string(line) + "\r\n" + EnvelopeText(BodyText("", "text\r\n")));
}

// Messages whose bodies have no envelope, with what a sender would have to put around each for it to be read.
inline std::string WithEnvelopes(std::string text) {
  for (size_t at = 0; (at = text.find("BEGIN:VBODY", at)) != std::string::npos; at += 23) {
    text.insert(at, "BEGIN:VENV\r\n");
  }
  for (size_t at = 0; (at = text.find("END:VBODY", at)) != std::string::npos; at += 9) {
    text.insert(text.find('\n', at) + 1, "END:VENV\r\n");
  }
  return text;
}

// What the record of a message held when it was handed on.
struct ReadMessage {
  struct Part {
    std::string content_type;
    std::string transfer_encoding;
    bool has_content = false;
  };

  int32_t store = -1;
  OsifResult result = OSIF_OK;
  std::string luid, version, status, type, folder;
  std::string mime_version, return_path, date, from, to, cc, reply_to, subject;
  std::string content_type, transfer_encoding;
  std::optional<std::string> body;  // nothing when the record had no text at all
  std::filesystem::path attachment;
  std::string attachment_bytes;
  std::vector<Part> further_parts;
};

// The path of a record's temporary file, as this system writes it.
inline std::filesystem::path AttachmentPath(const MessagePart& part) {
  std::string path = ToUtf8(part.attachmentFile);
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

inline ReadMessage MessageOf(const OsifObject& object) {
  const OsifMessage& m = object.message;
  ReadMessage read;
  read.luid = object.xIrmcLuid;
  read.version = object.version;
  read.status = m.xIrmcStatus;
  read.type = m.xIrmcType;
  read.folder = m.xBtFolder;
  read.mime_version = m.mimeVersion;
  read.return_path = m.returnPath;
  read.date = m.date;
  read.from = m.from;
  read.to = m.to;
  read.cc = m.ccAddresses;
  read.reply_to = m.replyTo;
  read.subject = m.subject;
  read.content_type = m.part.contentType;
  read.transfer_encoding = m.part.contentTransferEncoding;
  if (m.part.bodyText != nullptr) read.body = m.part.bodyText;
  read.attachment = AttachmentPath(m.part);
  read.attachment_bytes = BytesOf(read.attachment);
  for (const MessagePart* part = m.part.nextPart; part != nullptr; part = part->nextPart) {
    const bool has_content = part->bodyText != nullptr || part->attachmentFile[0] != 0;
    read.further_parts.push_back({part->contentType, part->contentTransferEncoding, has_content});
  }
  return read;
}

struct ReadMessageOutcome {
  OsifResult result = OSIF_OK;
  std::vector<ReadMessage> messages;

  // The only message; an empty one, and a failure, when there is not exactly one.
  const ReadMessage& Only() const {
    static const ReadMessage none;
    EXPECT_EQ(messages.size(), 1u);
    return messages.size() == 1 ? messages.front() : none;
  }
};

inline int32_t KeepMessage(int32_t store, OsifObject* object, OsifResult result, void* context) {
  ReadMessage message = MessageOf(*object);
  message.store = store;
  message.result = result;
  static_cast<ReadMessageOutcome*>(context)->messages.push_back(std::move(message));
  return 0;
}

inline ReadMessageOutcome ReadMessages(std::string_view bytes) {
  ReadMessageOutcome outcome;
  OsifStream stream = OpenBytes(bytes);
  outcome.result = VMessage_ReadFile(stream, KeepMessage, &outcome);
  return outcome;
}

// The fixture of what reads messages: their temporary files are in a folder of its own.
class MessageTest : public TextTest {
 protected:
  std::filesystem::path temp_folder() const { return device_folder() / "Temp"; }

  // How many files lie in the folder for temporary files now.
  size_t TempFileCount() const {
    std::error_code missing;
    std::filesystem::directory_iterator files(temp_folder(), missing);
    return missing ? 0 : static_cast<size_t>(std::distance(begin(files), end(files)));
  }
};

}  // namespace support
