// Reading a message of the messaging store into a record.
#pragma once

#include <optional>

#include "btosif/osif_util/charset.h"
#include "osif.h"
#include "platform/api/cemapi.h"

// Fills a cleared record's subject, date, body, status, sender and recipients. The status is always "READ";
// of several recipients of one kind the last stays. OSIF_ERR_PIM when the message's properties cannot be had.
OsifResult mapi_GetMail(IMessage& message, OsifMessage& record);

// What tells messages apart that have no time: the sender's address and the body, empty where there is none.
struct MailContent {
  WideText sender;
  WideText body;

  bool operator==(const MailContent&) const = default;
};

// The content of a message; nothing when it cannot be read.
std::optional<MailContent> mapi_GetContent(IMessage& message);
