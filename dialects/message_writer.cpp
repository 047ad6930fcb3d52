// Messages as mail (RFC 5322), in mailboxes, and for people. Mail has no word for what only phones know, such
// as the folder, so it goes into headers of the phones' own names, under which it is found when the mail
// comes back.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/content_line.h"
#include "dialects/forms.h"
#include "dialects/message.h"
#include "dialects/mime.h"
#include "dialects/people_page.h"

namespace dialects {
namespace {

// A text that is one line.
std::string OneLine(std::string_view text) {
  std::string line(text);
  std::ranges::replace_if(
      line, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; }, ' ');
  return line;
}

std::string Header(std::string_view name, std::string_view text) {
  if (Trim(text).empty()) return {};
  return std::string(name) + ": " + EncodedWords(OneLine(Trim(text))) + "\r\n";
}

// ---- Addresses ----------------------------------------------------------------------------------------------

struct MailAddress {
  std::string name;
  std::string address;
};

// "Name" <address>, or either alone: what has an "@" or begins as a number is an address.
MailAddress ParsedAddress(std::string_view text) {
  const size_t open = text.rfind('<');
  const size_t close = text.rfind('>');
  MailAddress parsed;
  if (open != std::string_view::npos && close != std::string_view::npos && open < close) {
    parsed.name = Trim(text.substr(0, open));
    parsed.address = Trim(text.substr(open + 1, close - open - 1));
  } else if (text.find('@') != std::string_view::npos || text.find_first_of("+0123456789*#") == 0) {
    parsed.address = Trim(text);
  } else {
    parsed.name = Trim(text);
  }
  std::erase(parsed.name, '"');
  return parsed;
}

std::string Quoted(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

// Whatever stands in brackets has to be printable and without brackets.
std::string InBrackets(std::string_view address) {
  std::string bracketed = "<";
  for (const char c : address) {
    if (c > ' ' && c <= '~' && c != '<' && c != '>') bracketed += c;
  }
  return bracketed + ">";
}

std::string AddressText(std::string_view text) {
  const MailAddress parsed = ParsedAddress(OneLine(text));
  if (parsed.name.empty()) return InBrackets(parsed.address);
  const std::string words = EncodedWords(parsed.name);
  const std::string name = words == parsed.name ? Quoted(parsed.name) : words;
  return name + " " + InBrackets(parsed.address);
}

std::string AddressHeader(std::string_view name, const std::vector<std::string>& addresses) {
  std::string list;
  for (const std::string& address : addresses) {
    list += (list.empty() ? "" : ",\r\n ") + AddressText(address);
  }
  return list.empty() ? "" : std::string(name) + ": " + list + "\r\n";
}

std::vector<std::string> OneAddress(const std::string& address) {
  return address.empty() ? std::vector<std::string>() : std::vector<std::string>{address};
}

// ---- Mail ---------------------------------------------------------------------------------------------------

// A number of the content, the same each time (FNV-1a).
std::string HashOf(std::string_view text) {
  uint64_t number = 0xCBF29CE484222325;
  for (const char c : text) {
    number = (number ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  }
  std::array<char, 24> digits = {};
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(number));
  return digits.data();
}

std::string MessageId(const Message& message, const std::string& uid) {
  std::string id = message.uid;
  if (id.empty()) id = uid;
  if (id.empty()) {
    id = HashOf(message.from + '\n' + message.date_text + '\n' + message.subject + '\n' +
                message.text);
  }
  if (id.find('@') == std::string::npos) id += "@osif.invalid";
  return "Message-ID: " + InBrackets(id) + "\r\n";
}

// RFC 5322 asks for a sender; RFC 6854 allows a group without members in its place.
std::string FromHeader(const Message& message) {
  if (message.from.empty()) return "From: unknown:;\r\n";
  return AddressHeader("From", {message.from});
}

constexpr std::string_view FolderName(Box box) {
  if (box == Box::kOutbox) return "OUTBOX";
  return box == Box::kSentbox ? "SENTBOX" : "INBOX";
}

std::string Mail(const Message& message, const std::string& uid) {
  std::string mail;
  if (message.date) mail += "Date: " + MailDateWithZone(*message.date) + "\r\n";
  mail += FromHeader(message);
  mail += AddressHeader("To", message.to);
  mail += AddressHeader("Cc", message.cc);
  mail += AddressHeader("Bcc", message.bcc);
  mail += AddressHeader("Reply-To", OneAddress(message.reply_to));
  mail += Header("Subject", message.subject);
  mail += MessageId(message, uid);
  mail += Header("X-IRMC-STATUS", message.status);
  mail += Header("X-IRMC-TYPE", message.type);
  mail += Header("X-IRMC-LUID", message.luid);
  mail += Header("X-BT-FOLDER", FolderName(message.box));
  mail += "MIME-Version: 1.0\r\nContent-Type: ";
  mail += message.is_html ? "text/html" : "text/plain";
  mail += "; charset=UTF-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n";
  return mail + MailQuotedPrintable(message.text);
}

// ---- Mailboxes ----------------------------------------------------------------------------------------------

// The line before a mail: its sender, without blanks, and its date.
std::string SeparatorLine(const Message& message) {
  const MailAddress from = ParsedAddress(OneLine(message.from));
  std::string sender = InBrackets(from.address);
  sender = sender.substr(1, sender.size() - 2);
  if (sender.empty()) sender = "MAILER-DAEMON";
  MessageTime start;
  start.year = 1970;
  start.month = start.day = 1;
  start.offset = 0;
  return "From " + sender + " " + MailboxDate(message.date.value_or(start)) + "\n";
}

// Lines that could be a separator, with any number of ">" before them, get one more.
std::string QuotedForMailbox(std::string_view mail) {
  std::string quoted;
  for (std::string_view rest = mail; !rest.empty();) {
    const std::string_view line = TakePhysicalLine(rest);
    const std::string_view bare = line.substr(std::min(line.find_first_not_of('>'), line.size()));
    if (bare.starts_with("From ")) quoted += '>';
    quoted += line;
    quoted += '\n';
  }
  return quoted;
}

std::string MailboxEntry(const Message& message, const std::string& uid) {
  return SeparatorLine(message) + QuotedForMailbox(Mail(message, uid)) + "\n";
}

// ---- For people ---------------------------------------------------------------------------------------------

std::string RecipientList(const std::vector<std::string>& addresses) {
  std::string list;
  for (const std::string& address : addresses) list += (list.empty() ? "" : ", ") + address;
  return list;
}

}  // namespace

PageItem MessageForPeople(const Message& message) {
  return {{{"From", message.from},
           {"To", RecipientList(message.to)},
           {"Cc", RecipientList(message.cc)},
           {"Bcc", RecipientList(message.bcc)},
           {"Date", message.date ? DateForPeople(*message.date) : message.date_text},
           {"Subject", message.subject}},
          TextForPeople(message)};
}

namespace {

class MessageWriter : public ObjectWriter {
 public:
  MessageWriter(Form form, const WriterSettings& settings) : form_(form), settings_(settings) {}

  std::string Begin() override { return form_ == Form::kHtml ? HtmlPageBegin("Messages") : ""; }

  WrittenObject Write(const ObjectText& object) override {
    WrittenObject written;
    written.refusal = object.refusal;
    if (!written.refusal.empty()) return written;
    const Message message = ReadMessage(object, settings_.text, settings_.origin, written.report);
    const bool lacks_date = !message.date && !message.date_text.empty();
    if (lacks_date && (form_ == Form::kEml || form_ == Form::kMbox)) written.report.Dropped("DATE");
    written.text = Text(message, written.report);
    return written;
  }

  std::string End() override { return form_ == Form::kHtml ? HtmlPageEnd() : ""; }

 private:
  std::string Text(const Message& message, Report& report) const {
    switch (form_) {
      case Form::kEml:
        return Mail(message, settings_.uid);
      case Form::kMbox:
        return MailboxEntry(message, settings_.uid);
      case Form::kText:
        return PlainItem(MessageForPeople(message));
      case Form::kHtml:
        return HtmlItem(MessageForPeople(message));
      default:
        return StrictMessageText(message, report);
    }
  }

  const Form form_;
  const WriterSettings& settings_;
};

}  // namespace

std::unique_ptr<ObjectWriter> MakeMessageWriter(Form form, const WriterSettings& settings) {
  constexpr std::array<Form, 5> kForms = {Form::kVMessage, Form::kEml, Form::kMbox, Form::kText,
                                          Form::kHtml};
  if (std::ranges::find(kForms, form) == kForms.end()) return nullptr;
  return std::make_unique<MessageWriter>(form, settings);
}

}  // namespace dialects
