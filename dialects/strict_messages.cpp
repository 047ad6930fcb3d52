// Strict vMessage 1.1 for the library. Cards are left out, since they clear what stands before them; the
// properties of the message stand directly before its envelope all the same. Headers are in the system's code
// page and end where the record's field does.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "dialects/content_line.h"
#include "dialects/headline.h"
#include "dialects/message.h"
#include "dialects/message_content.h"
#include "dialects/people_page.h"
#include "dialects/strict_object.h"
#include "platform/utf8.h"

namespace dialects {
namespace {

constexpr size_t kSubjectLength = 40;  // characters of a subject that is made of the text

// What the fields of a record hold, in bytes.
constexpr size_t kStatusRoom = 6;
constexpr size_t kTypeRoom = 4;
constexpr size_t kLuidRoom = 511;
constexpr size_t kAddressRoom = 1023;
constexpr size_t kReplyRoom = 99;
constexpr size_t kSubjectRoom = 1023;
constexpr size_t kDateRoom = 99;

std::string_view FolderName(Box box) {
  if (box == Box::kOutbox) return "OUTBOX";
  return box == Box::kSentbox ? "SENTBOX" : "INBOX";
}

// One line of a message, which has no encoding of its own and no blanks around its value. Nothing for an empty one.
std::string Line(std::string_view name, std::string value) {
  std::ranges::replace_if(
      value, [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
  value = Trim(value);
  if (value.empty()) return {};
  // A "=" at the end would be a soft break.
  if (value.ends_with('=')) value += ' ';
  return std::string(name) + ":" + value + "\r\n";
}

// A header in the system's code page, which may lack some of its characters.
std::string InSystemCodePage(std::string_view name, const std::string& text, Report& report) {
  const std::basic_string<WCHAR> wide = FromUtf8(text);
  std::string bytes = TextToMultiByte(NativeCodePage(), wide);
  if (MultiByteToText(NativeCodePage(), bytes) != wide) {
    report.Dropped(std::string(name) + " (characters that the system's code page lacks)");
  }
  return bytes;
}

std::string WordLine(std::string_view name, const std::string& word, size_t room, Report& report) {
  if (word.size() <= room && IsAsciiText(word)) return Line(name, word);
  report.Dropped(name);
  return {};
}

// The start of a text that has room when it is in the system's code page.
std::string CutToRoom(std::string text, size_t room) {
  text.resize(std::min(text.size(), room));
  while (!IsUtf8(text)) text.pop_back();
  std::string bytes = TextToMultiByte(NativeCodePage(), FromUtf8(text));
  while (bytes.size() > room) {
    do {
      text.pop_back();
    } while (!IsUtf8(text));
    bytes = TextToMultiByte(NativeCodePage(), FromUtf8(text));
  }
  return bytes;
}

std::string TextLine(std::string_view name, const std::string& text, size_t room, Report& report) {
  const std::string bytes = InSystemCodePage(name, text, report);
  if (bytes.size() <= room) return Line(name, bytes);
  report.Dropped(std::string(name) + " (its end: no room)");
  return Line(name, CutToRoom(text, room));
}

// The store splits addresses at ";", wherever it stands.
std::string AddressLine(std::string_view name, const std::vector<std::string>& addresses,
                        Report& report) {
  std::string list;
  for (std::string address : addresses) {
    std::ranges::replace(address, ';', ',');
    const std::string bytes = InSystemCodePage(name, address, report);
    const std::string next = list.empty() ? bytes : list + "; " + bytes;
    if (next.size() > kAddressRoom) {
      report.Dropped(std::string(name) + " (no room)");
    } else {
      list = next;
    }
  }
  return Line(name, list);
}

std::string DateLine(const Message& message, Report& report) {
  if (message.date_text.empty()) return {};
  if (!message.date) {
    report.Dropped("DATE");
    return {};
  }
  if (IsStrictDate(message.date_text) && message.date_text.size() <= kDateRoom) {
    return Line("Date", message.date_text);
  }
  report.Changed("form of the date");
  return Line("Date", MailDate(*message.date));
}

// The store finds a message by its time and its subject.
void NameMessage(Message& message, Report& report) {
  if (!message.subject.empty()) return;
  message.subject = Headline(TextForPeople(message), kSubjectLength);
  if (!message.subject.empty()) report.Guessed("subject from the text");
}

void ReportWhatHasNoPlace(const Message& message, Report& report) {
  report.Dropped("BCC", message.bcc.size());
}

}  // namespace

std::string StrictMessageText(Message message, Report& report) {
  NameMessage(message, report);
  ReportWhatHasNoPlace(message, report);
  std::string text = "BEGIN:VMSG\r\nVERSION:1.1\r\n";
  text += WordLine("X-IRMC-STATUS", message.status, kStatusRoom, report);
  text += WordLine("X-IRMC-TYPE", message.type, kTypeRoom, report);
  text += WordLine("X-IRMC-LUID", message.luid, kLuidRoom, report);
  text += Line("X-BT-FOLDER", std::string(FolderName(message.box)));
  text += "BEGIN:VENV\r\nBEGIN:VBODY\r\n";
  text += DateLine(message, report);
  text += TextLine("From", message.from, kAddressRoom, report);
  text += AddressLine("To", message.to, report);
  text += AddressLine("Cc", message.cc, report);
  text += TextLine("Reply-To", message.reply_to, kReplyRoom, report);
  text += TextLine("Subject", message.subject, kSubjectRoom, report);
  text += StrictContent(message, report);
  return text + "END:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n";
}

std::vector<StrictObject> StrictMessages(const ObjectText& object, const TextSettings& settings) {
  StrictObject strict;
  strict.kind = ObjectKind::kMessage;
  strict.line = object.line;
  strict.refusal = object.refusal;
  if (strict.refusal.empty()) {
    Message message = ReadMessage(object, settings, Origin::kAnyone, strict.report);
    strict.uid = message.uid;
    strict.text = StrictMessageText(std::move(message), strict.report);
  }
  return {strict};
}

bool IsPlainMessage(std::string_view text) {
  ObjectText object;
  object.kind = ObjectKind::kMessage;
  object.text = text;
  const StrictObject strict = StrictMessages(object, TextSettings()).front();
  return strict.report.IsEmpty() && strict.uid.empty() &&
         WithLineFeeds(strict.text) == WithLineFeeds(text);
}

}  // namespace dialects
