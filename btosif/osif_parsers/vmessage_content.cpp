// Lines are taken one by one from the stream's window and handed on at once, so that an attachment of any size
// needs the memory of its longest line. Of text the whole is collected, since the record holds it.
//
// An attachment's part names its file as soon as the file is there: whatever goes wrong afterwards, releasing
// the record removes the file, and nothing else has to.
#include "btosif/osif_parsers/vmessage_content.h"

#include <algorithm>
#include <iterator>

#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/content_type.h"
#include "btosif/osif_util/line_rules.h"
#include "btosif/osif_util/owned_text.h"
#include "config/trace.h"
#include "platform/api/win_types.h"

namespace {

constexpr std::string_view kClosing = "--";

// ---- Attachments ------------------------------------------------------------------------------------

bool FitsIntoPart(const WCHAR* path) {
  if (WideView(path).size() < std::extent_v<decltype(MessagePart::attachmentFile)>) return true;
  OSIF_Trace(0, "OSIF: FILE_TempFilename; PATH error (%d)", ERROR_BUFFER_OVERFLOW);
  return false;
}

// Makes the path of an attachment's file: of the wanted name, or of a unique one where there is none or a
// file has it already, so that no record takes another's. False when there is none that fits into a part.
bool MakePath(const std::string& name, WCHAR (&path)[kTempPathRoom]) {
  if (!FILE_LastPart(name).empty()) {
    if (FILE_TempFilename(name.c_str(), path) != 0) return false;
    if (!FILE_Exists(path)) return FitsIntoPart(path);
  }
  if (FILE_TempFilename(nullptr, path) != 0) return false;
  if (FitsIntoPart(path)) return true;
  FILE_Remove(path);
  return false;
}

// Opens the file of an attachment. From then on the part names it, and removes it when it is released.
OsifResult OpenAttachment(const std::string& name, MessagePart& part, OsifStream& file) {
  WCHAR path[kTempPathRoom] = {};
  if (!MakePath(name, path)) return OSIF_ERR_GENERAL;
  if (FILE_Open(file, path, u"w", LineEnd::kCrLf) != 0) {
    if (FILE_Exists(path)) FILE_Remove(path);  // a unique name was made together with its file
    return OSIF_ERR_FILE_OPEN;
  }
  std::ranges::copy(WideView(path), part.attachmentFile);
  return OSIF_PARSE_OK;
}

// ---- Lines of a content -----------------------------------------------------------------------------

bool IsClosing(std::string_view line, std::string_view terminator) {
  return line.size() == terminator.size() + kClosing.size() && line.ends_with(kClosing);
}

// Hands each line before the terminator to `take`.
template <typename Take>
ContentEnd ReadLines(OsifStream& stream, std::string_view terminator, Take take) {
  for (std::string_view line;;) {
    switch (ReadRawLine(stream, line)) {
      case RawLine::kRead:
        break;
      case RawLine::kEnd:
        OSIF_Trace(0, "OSIF:  Error - reached EOF while parsing CONTENT of vMsg");
        return {OSIF_PARSE_ERROR};
      case RawLine::kNoMemory:
        return {OSIF_ERR_NO_MEMORY};
    }
    if (line.starts_with(terminator)) return {OSIF_PARSE_OK, IsClosing(line, terminator)};
    take(line);
  }
}

ContentEnd ReadText(OsifStream& stream, std::string_view terminator, MessagePart& part) {
  std::string text;
  ContentEnd end = ReadLines(stream, terminator, [&](std::string_view line) {
    const bool has_soft_break = line.ends_with('=');
    if (has_soft_break) line.remove_suffix(1);
    text += line;
    if (!has_soft_break) text += '\n';
  });
  if (end.result != OSIF_PARSE_OK) return end;
  part.bodyText = CopyText(text).release();
  if (part.bodyText == nullptr) end.result = OSIF_ERR_NO_MEMORY;
  return end;
}

ContentEnd ReadAttachment(OsifStream& stream, std::string_view terminator, const std::string& name,
                          MessagePart& part) {
  OsifStream file;
  const OsifResult opened = OpenAttachment(name, part, file);
  if (opened != OSIF_PARSE_OK) return {opened};
  int failed = 0;
  ContentEnd end = ReadLines(stream, terminator,
                             [&](std::string_view line) { failed |= FILE_WriteLine(file, line); });
  failed |= FILE_Close(file, part.attachmentFile);
  if (end.result == OSIF_PARSE_OK && failed != 0) end.result = OSIF_ERR_FILE_OPEN;
  return end;
}

}  // namespace

RawLine ReadRawLine(OsifStream& stream, std::string_view& line) {
  const std::optional<size_t> line_feed = stream.FindLineFeed(0);
  if (!line_feed) return RawLine::kNoMemory;
  const std::string_view bytes = stream.Window().substr(0, *line_feed + 1);
  if (bytes.empty()) return RawLine::kEnd;
  line = WithoutLineEnd(bytes);
  if (!stream.IsPlain()) line = CutLine(line);
  stream.Skip(bytes.size());
  return RawLine::kRead;
}

ContentEnd ReadContent(OsifStream& stream, std::string_view terminator, MessagePart& part) {
  const std::optional<std::string> name = AttachmentName(part.contentType);
  return name ? ReadAttachment(stream, terminator, *name, part)
              : ReadText(stream, terminator, part);
}

ContentEnd SkipContent(OsifStream& stream, std::string_view terminator) {
  return ReadLines(stream, terminator, [](std::string_view) {});
}
