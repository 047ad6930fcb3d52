// Properties of a message stand anywhere: around the body, as its headers, under names of many phones. One
// table says what each name means; the sender and the recipients may be cards instead. What depends on the
// whole message, such as whether a card is the sender's, is decided when all lines have been read.
#include "dialects/message.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/charset.h"
#include "dialects/content_line.h"
#include "dialects/headline.h"
#include "dialects/message_content.h"
#include "dialects/message_frame.h"
#include "dialects/mime.h"
#include "dialects/value_text.h"

namespace dialects {
namespace {

enum class Role {
  kNothing,  // says nothing about the message
  kLost,     // has no place
  kLuid,
  kStatus,
  kType,
  kBox,
  kTypeOrBox,
  kDate,
  kNumber,  // the other side's
  kFrom,
  kTo,
  kCc,
  kBcc,
  kReplyTo,
  kSubject,
  kText,
  kUid,
  kContentType,
  kTransferEncoding,
  kDisposition,
};

struct MessageRow {
  std::string_view name;
  Role role;
  NameKind kind = NameKind::kProperty;
};

constexpr std::array<MessageRow, 68> kRows = {{
    {"VERSION", Role::kNothing},
    {"X-IRMC-LUID", Role::kLuid},
    {"X-IRMC-STATUS", Role::kStatus},
    {"X-MESSAGE-STATUS", Role::kStatus},
    {"X-STATUS", Role::kStatus},
    {"X-READ", Role::kStatus},
    {"X-IRMC-TYPE", Role::kType},
    {"X-IRMS-TYPE", Role::kType},
    {"X-TYPE", Role::kType},
    {"X-MESSAGE-TYPE", Role::kTypeOrBox},
    {"X-BT-FOLDER", Role::kBox},
    {"X-IRMC-BOX", Role::kBox},
    {"X-MESSAGE-BOX", Role::kBox},
    {"X-BOX", Role::kBox},
    {"BOX", Role::kBox, NameKind::kAround},
    {"FOLDER", Role::kBox, NameKind::kAround},
    {"DATE", Role::kDate},
    {"X-NOK-DT", Role::kDate},
    {"X-SS-DT", Role::kDate},
    {"X-DATE", Role::kDate},
    {"X-MESSAGE-DATE", Role::kDate},
    {"DATETIME", Role::kDate, NameKind::kAround},
    {"NUMBER", Role::kNumber, NameKind::kAround},
    {"X-NUMBER", Role::kNumber},
    {"TEL", Role::kNumber, NameKind::kAround},
    {"ADDRESS", Role::kNumber, NameKind::kAround},
    {"X-ADDRESS", Role::kNumber},
    {"FROM", Role::kFrom},
    {"TO", Role::kTo},
    {"CC", Role::kCc},
    {"BCC", Role::kBcc},
    {"REPLY-TO", Role::kReplyTo},
    {"SUBJECT", Role::kSubject},
    {"X-BODY-SUBJECT", Role::kSubject},
    {"BODY", Role::kText},
    {"TEXT", Role::kText},
    {"MESSAGE", Role::kText, NameKind::kAround},
    {"X-BODY-CONTENTS", Role::kText},
    {"X-BODY-CONTENT", Role::kText},
    {"X-TEXT", Role::kText},
    {"CONTENT-TYPE", Role::kContentType, NameKind::kMail},
    {"CONTENT-TRANSFER-ENCODING", Role::kTransferEncoding, NameKind::kMail},
    {"CONTENT-DISPOSITION", Role::kDisposition, NameKind::kMail},
    {"CONTENT-LENGTH", Role::kNothing},
    {"CONTENT-LANGUAGE", Role::kLost},
    {"CONTENT-LOCATION", Role::kLost},
    {"CONTENT-ID", Role::kLost},
    {"MIME-VERSION", Role::kNothing, NameKind::kMail},
    {"MESSAGE-ID", Role::kUid, NameKind::kMail},
    {"RECEIVED", Role::kLost, NameKind::kMail},
    {"RETURN-PATH", Role::kLost, NameKind::kMail},
    {"DKIM-SIGNATURE", Role::kLost, NameKind::kMail},
    {"IN-REPLY-TO", Role::kLost, NameKind::kMail},
    {"REFERENCES", Role::kLost, NameKind::kMail},
    {"DELIVERED-TO", Role::kLost, NameKind::kMail},
    {"X-MAILER", Role::kLost, NameKind::kMail},
    {"USER-AGENT", Role::kLost, NameKind::kMail},
    {"LIST-ID", Role::kLost, NameKind::kMail},
    {"SENDER", Role::kLost, NameKind::kAround},
    {"IMPORTANCE", Role::kLost, NameKind::kAround},
    {"PRIORITY", Role::kLost, NameKind::kAround},
    {"ORGANIZATION", Role::kLost, NameKind::kAround},
    {"RESENT-FROM", Role::kLost, NameKind::kAround},
    {"RESENT-TO", Role::kLost, NameKind::kAround},
    {"RESENT-DATE", Role::kLost, NameKind::kAround},
    {"COMMENTS", Role::kLost, NameKind::kAround},
    {"KEYWORDS", Role::kLost, NameKind::kAround},
    {"STATUS", Role::kStatus, NameKind::kAround},
}};

const MessageRow* FindRow(std::string_view name) {
  const auto* row =
      std::ranges::find_if(kRows, [&](const MessageRow& entry) { return entry.name == name; });
  return row == kRows.end() ? nullptr : row;
}

struct BoxRow {
  std::string_view word;
  Box box;
};

constexpr std::array<BoxRow, 13> kBoxes = {{
    {"INBOX", Box::kInbox},
    {"DELIVER", Box::kInbox},
    {"RECEIVED", Box::kInbox},
    {"SENT", Box::kSentbox},
    {"SENTBOX", Box::kSentbox},
    {"SENDBOX", Box::kSentbox},
    {"SENTITEMS", Box::kSentbox},
    {"SUBMIT", Box::kSentbox},
    {"OUTBOX", Box::kOutbox},
    {"DRAFT", Box::kOutbox},
    {"DRAFTS", Box::kOutbox},
    {"DRAFTBOX", Box::kOutbox},
    {"UNSENT", Box::kOutbox},
}};

std::optional<Box> BoxOf(std::string_view word) {
  const std::string upper = ToUpper(word);
  const auto* row = std::ranges::find(kBoxes, upper, &BoxRow::word);
  return row == kBoxes.end() ? std::nullopt : std::optional(row->box);
}

std::string HeaderText(std::string_view value) {
  return std::string(Trim(WithoutEncodedWords(value)));
}

// ---- Cards --------------------------------------------------------------------------------------------------

std::string NameOfCard(const ContentLine& line, const ValueDecoder& decoder) {
  if (line.name == "FN") return decoder.Text(line);
  const std::vector<std::string> parts = decoder.Components(line);
  const std::string given = parts.size() > 1 ? parts[1] : "";
  return given + (given.empty() || parts[0].empty() ? "" : " ") + parts[0];
}

std::string Address(std::string name, const std::string& number) {
  std::erase_if(name, [](char c) { return c == '"' || static_cast<unsigned char>(c) < ' '; });
  if (name.empty()) return number;
  name = '"' + name + '"';
  return number.empty() ? name : name + " <" + number + ">";
}

// A card as an address: "Name" <number>, or either alone; empty for one that says neither.
std::string AddressOf(const MessageCard& card, const TextSettings& settings, bool is_utf8,
                      Report& report) {
  Report ignored;
  const std::vector<ContentLine> lines = ReadContentLines(card.text, 1, kOldLines, ignored);
  const ValueDecoder decoder(lines, Escapes::kOld, settings, is_utf8, report);
  std::string name;
  std::string number;
  std::string mail;
  for (const ContentLine& line : lines) {
    if (line.name == "FN" || (line.name == "N" && name.empty())) name = NameOfCard(line, decoder);
    if (line.name == "TEL" && number.empty()) number = Trim(decoder.Text(line));
    if (line.name == "EMAIL" && mail.empty()) mail = Trim(decoder.Text(line));
  }
  return Address(std::string(Trim(name)), number.empty() ? mail : number);
}

// ---- Lines --------------------------------------------------------------------------------------------------

// Reads the lines of a message, and then what depends on all of them.
class MessageReader {
 public:
  MessageReader(const ObjectText& object, const TextSettings& settings, Report& report)
      : object_(object), settings_(settings), report_(report) {}

  Message Read(Origin origin) {
    if (!object_.had_end) report_.Guessed("END");
    frame_ = ReadMessageFrame(object_, report_);
    TakeLines(origin);
    TakeAddresses();
    TakeText();
    return std::move(message_);
  }

 private:
  void TakeLines(Origin origin) {
    std::vector<ContentLine> lines = std::move(frame_.properties);
    const size_t properties = lines.size();
    std::ranges::move(frame_.headers, std::back_inserter(lines));
    NameCharsets(lines, origin);
    const ValueDecoder decoder(lines, Escapes::kOld, settings_, object_.has_byte_order_mark,
                               report_);
    // The body says best what the message is.
    for (size_t i = properties; i < lines.size(); ++i) TakeLine(lines[i], decoder, true);
    for (size_t i = 0; i < properties; ++i) TakeLine(lines[i], decoder, false);
  }

  // Headers are in the character set of the content, those that the library wrote in the system's.
  void NameCharsets(std::vector<ContentLine>& lines, Origin origin) {
    std::string charset;
    for (const ContentLine& line : lines) {
      if (line.name == "CONTENT-TYPE") charset = MediaTypeOf(line.value).charset;
    }
    const char* native = CodePageToCharset(NativeCodePage());
    if (origin == Origin::kLibrary && native != nullptr) charset = native;
    if (charset.empty()) return;
    for (ContentLine& line : lines) {
      if (!line.Param("CHARSET").empty() || IsAsciiText(line.value)) continue;
      if (origin == Origin::kLibrary || !IsUtf8(line.value)) {
        line.params.push_back({"CHARSET", charset});
      }
    }
  }

  void TakeLine(const ContentLine& line, const ValueDecoder& decoder, bool is_header) {
    const MessageRow* row = FindRow(line.name);
    if (row == nullptr) {
      return report_.Dropped(line.name.empty() ? "line without a name" : line.name);
    }
    const std::string value(Trim(decoder.Decoded(line)));
    if (value.empty()) return;
    switch (row->role) {
      case Role::kNothing:
        if (line.name == "VERSION" && value != "1.1") report_.Changed("version");
        break;
      case Role::kText:
        text_ += (text_.empty() ? "" : "\n") + decoder.Text(line);
        break;
      case Role::kTypeOrBox:
        BoxOf(value) ? TakeBox(line.name, value) : Keep(message_.type, value, line.name);
        break;
      case Role::kBox:
        TakeBox(line.name, value);
        break;
      case Role::kDate:
        TakeDate(line.name, value);
        break;
      case Role::kFrom:
        has_addresses_ = has_addresses_ || is_header;
        Keep(message_.from, HeaderText(value), line.name);
        break;
      case Role::kTo:
        has_addresses_ = has_addresses_ || is_header;
        TakeList(value, message_.to);
        break;
      default:
        TakeSimple(*row, value);
    }
  }

  void TakeSimple(const MessageRow& row, const std::string& value) {
    switch (row.role) {
      case Role::kLuid:
        return Keep(message_.luid, value, row.name);
      case Role::kStatus:
        return Keep(message_.status, value, row.name);
      case Role::kType:
        return Keep(message_.type, value, row.name);
      case Role::kNumber:
        return Keep(number_, value, row.name);
      case Role::kCc:
        return TakeList(value, message_.cc);
      case Role::kBcc:
        return TakeList(value, message_.bcc);
      case Role::kReplyTo:
        return Keep(message_.reply_to, HeaderText(value), row.name);
      case Role::kSubject:
        return Keep(message_.subject, HeaderText(value), row.name);
      case Role::kUid:
        return Keep(message_.uid, value, row.name);
      case Role::kContentType:
        return Keep(content_.content_type, value, row.name);
      case Role::kTransferEncoding:
        return Keep(content_.transfer_encoding, value, row.name);
      case Role::kDisposition:
        return Keep(content_.disposition, value, row.name);
      default:
        report_.Dropped(row.name);
    }
  }

  // The first of several counts.
  void Keep(std::string& place, std::string value, std::string_view name) {
    if (place.empty()) {
      place = std::move(value);
    } else if (place != value) {
      report_.Dropped(name);
    }
  }

  void TakeBox(std::string_view name, const std::string& word) {
    const std::optional<Box> box = BoxOf(word);
    if (!box) return report_.Guessed("folder " + word);
    if (name != "X-BT-FOLDER") report_.Changed("folder from " + std::string(name));
    if (has_box_ && message_.box != *box) return report_.Dropped(name);
    message_.box = *box;
    has_box_ = true;
  }

  // Of several dates the first counts that can be read.
  void TakeDate(std::string_view name, const std::string& value) {
    const std::optional<MessageTime> time = ReadMessageTime(value);
    if (message_.date || (!time && !message_.date_text.empty())) return report_.Dropped(name);
    message_.date = time;
    message_.date_text = value;
  }

  void TakeList(const std::string& value, std::vector<std::string>& list) {
    for (std::string& address : SplitAddresses(HeaderText(value))) {
      list.push_back(std::move(address));
    }
  }

  // ---- Addresses

  void TakeAddresses() {
    if (!number_.empty()) {
      IsOutgoing() ? AddRecipients(SplitAddresses(number_)) : SetSender(number_);
    }
    std::vector<std::pair<std::string, bool>> cards;
    for (const MessageCard& card : frame_.cards) {
      std::string address = AddressOf(card, settings_, object_.has_byte_order_mark, report_);
      if (!address.empty()) cards.emplace_back(std::move(address), card.is_inside);
    }
    if (cards.size() == 1) {
      IsOutgoing() ? AddRecipients({cards[0].first}) : SetSender(cards[0].first);
    } else {
      TakeSeveralCards(cards);
    }
    if (!cards.empty()) report_.Changed("card as an address", cards.size());
  }

  bool IsOutgoing() const { return message_.box != Box::kInbox; }

  // The first card before the envelope is the sender's.
  void TakeSeveralCards(const std::vector<std::pair<std::string, bool>>& cards) {
    std::vector<std::string> recipients;
    bool has_sender = false;
    for (const auto& [address, is_inside] : cards) {
      if (is_inside || has_sender) {
        recipients.push_back(address);
      } else {
        SetSender(address);
        has_sender = true;
      }
    }
    AddRecipients(recipients);
  }

  void SetSender(const std::string& address) { Keep(message_.from, address, "VCARD"); }

  void AddRecipients(const std::vector<std::string>& addresses) {
    if (message_.to.empty()) {
      message_.to = addresses;
    } else if (message_.to != addresses) {
      report_.Dropped("VCARD", addresses.size());
    }
  }

  // ---- Text

  void TakeText() {
    content_.content = frame_.content;
    const bool has_content = frame_.content.find_first_not_of(" \t\r\n") != std::string_view::npos;
    if (has_content || text_.empty()) {
      ReadContent(content_, settings_, object_.has_byte_order_mark, message_, report_);
    }
    if (!text_.empty()) {
      report_.Changed("text in a property");
      message_.text = text_ + (has_content ? "\n" + message_.text : "");
      message_.content = {};
    }
    const bool is_lone_subject = !frame_.had_empty_line && !has_content && !has_addresses_;
    if (message_.text.empty() && is_lone_subject && !message_.subject.empty()) {
      report_.Changed("text in the subject");
      message_.text = std::exchange(message_.subject, {});
      message_.content = {};
    }
  }

  const ObjectText& object_;
  const TextSettings& settings_;
  Report& report_;
  MessageFrame frame_;
  Message message_;
  MimePart content_;
  std::string text_;    // of properties
  std::string number_;  // of the other side
  bool has_box_ = false;
  bool has_addresses_ = false;  // of mail: its subject is one
};

}  // namespace

NameKind KindOfMessageName(std::string_view name) {
  const MessageRow* row = FindRow(name);
  return row == nullptr ? NameKind::kUnknown : row->kind;
}

Message ReadMessage(const ObjectText& object, const TextSettings& settings, Origin origin,
                    Report& report) {
  return MessageReader(object, settings, report).Read(origin);
}

}  // namespace dialects
