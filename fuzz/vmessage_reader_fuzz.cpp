// vMessages: every message that is handed on has bounded texts and an attachment in the temporary folder
// only, which is gone in the end; and what is written of it is one message again, with the same text.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "btosif/osif_generators/vmessage_writer.h"
#include "btosif/osif_parsers/vmessage_reader.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/content_type.h"
#include "fuzz/fuzz_input.h"
#include "platform/api/files.h"

namespace {

WideText TempFolder() {
  WCHAR folder[MAX_PATH] = {};
  if (GetTempPathW(MAX_PATH, folder) == 0) abort();
  return folder;
}

bool IsTempFolderEmpty() {
  std::string path = ToUtf8(TempFolder());
  std::replace(path.begin(), path.end(), '\\', '/');
  return std::filesystem::is_empty(path);
}

void CheckFields(const OsifObject& object) {
  const OsifMessage& message = object.message;
  for (const std::span<const char> field :
       {std::span<const char>(object.version), std::span<const char>(object.xIrmcLuid),
        std::span<const char>(message.xIrmcStatus), std::span<const char>(message.xIrmcType),
        std::span<const char>(message.xBtFolder), std::span<const char>(message.subject)}) {
    if (std::memchr(field.data(), 0, field.size()) == nullptr) abort();
  }
  for (const MessagePart* part = message.part.nextPart; part != nullptr; part = part->nextPart) {
    if (part->bodyText != nullptr || part->attachmentFile[0] != 0) abort();
  }
}

void CheckAttachment(const MessagePart& part) {
  const WideText path = part.attachmentFile;
  if (path.empty()) return;
  if (path.substr(0, path.find_last_of(u"\\/") + 1) != TempFolder()) abort();
  if (!FILE_Exists(path.c_str()) || part.bodyText != nullptr) abort();
}

struct Expected {
  std::string text;
  bool has_exact_text;
  int messages = 0;
};

int32_t Compare(int32_t, OsifObject* object, OsifResult, void* context) {
  auto& expected = *static_cast<Expected*>(context);
  ++expected.messages;
  const char* text = object->message.part.bodyText;
  if (expected.has_exact_text && (text == nullptr || expected.text != text)) abort();
  return 0;
}

// A text that no line end or soft line break of its own changes on its way.
bool IsPlain(std::string_view text) {
  return text.find("=\n") == text.npos && !ContainsIgnoringCase(text, "END:VBODY") &&
         (text.empty() || text.ends_with('\n'));
}

void WriteAndReadAgain(OsifObject& object) {
  static const WideText name = FromUtf8(std::getenv("OSIF_DEVICE")) + u"/written.vmg";
  const MessagePart& part = object.message.part;
  // What is written is the first part alone, and a record may have lost its version to a card.
  if (MultipartBoundary(part.contentType) || object.version[0] == 0) return;
  OsifStream stream;
  if (FILE_Open(stream, name.c_str(), u"w", LineEnd::kCrLf) != 0) abort();
  VMessage_Write(stream, object, 1);
  FILE_Close(stream, name.c_str());

  Expected expected;
  if (part.bodyText != nullptr) expected.text = part.bodyText;
  expected.has_exact_text = part.bodyText != nullptr && IsPlain(expected.text);
  if (FILE_Open(stream, name.c_str(), u"rb") != 0) abort();
  VMessage_ReadFile(stream, Compare, &expected);
  if (expected.messages != 1) abort();
}

int32_t Check(int32_t store_id, OsifObject* object, OsifResult result, void*) {
  if (store_id < OSIF_STORE_MSG_IN || store_id > OSIF_STORE_MSG_OUT) abort();
  if (result != OSIF_PARSE_OK && result != OSIF_PARSE_WARNING) abort();
  CheckFields(*object);
  CheckAttachment(object->message.part);
  WriteAndReadAgain(*object);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::Read(VMessage_ReadFile, bytes, size, Check, nullptr);
  if (!IsTempFolderEmpty()) abort();
  return 0;
}
