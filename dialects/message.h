// A message of any dialect, understood.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/forms.h"
#include "dialects/message_time.h"
#include "dialects/object_text.h"
#include "dialects/people_page.h"
#include "dialects/report.h"

namespace dialects {

enum class Box { kInbox, kOutbox, kSentbox };

// The content as it came, of the part that holds the message's text.
struct MessageContent {
  std::string type;               // Content-Type; empty for none
  std::string transfer_encoding;  // Content-Transfer-Encoding
  std::string bytes;              // its lines
};

// All texts but the content's bytes are UTF-8; empty where the sender said nothing.
struct Message {
  std::string luid;    // X-IRMC-LUID
  std::string status;  // "READ", "UNREAD", or another word
  std::string type;    // "SMS"
  Box box = Box::kInbox;
  std::string date_text;  // as it was sent
  std::optional<MessageTime> date;
  std::string from;
  std::vector<std::string> to;
  std::vector<std::string> cc;
  std::vector<std::string> bcc;
  std::string reply_to;
  std::string subject;
  std::string uid;  // Message-ID
  MessageContent content;
  std::string text;  // of the content; lines end with LF
  bool is_html = false;
  bool has_utf8_content = false;  // its bytes, without their transfer encoding, are UTF-8
};

// Reads a message. What it has no place for is dropped.
Message ReadMessage(const ObjectText& object, const TextSettings& settings, Origin origin,
                    Report& report);

// The message as strict vMessage 1.1. What it has no room for is dropped, what the store needs is guessed.
std::string StrictMessageText(Message message, Report& report);

// The text of a message for people: that of a page of HTML without its tags.
std::string TextForPeople(const Message& message);

// What a message says: from whom, to whom, when and of what, and its text.
PageItem MessageForPeople(const Message& message);

// True for a message that StrictMessages would not change, but for its line ends.
bool IsPlainMessage(std::string_view text);

}  // namespace dialects
