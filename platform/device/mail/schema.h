// The tables of the message store.
//
//   mapi_folders     Inbox, sent items, Outbox: there from the start
//   mapi_last_id     the highest message id ever given, so that none is given twice
//   mapi_messages    the messages, with the two properties by which messages are looked for
//   mapi_properties  the other properties of messages (recipient 0) and of their recipients
//                    (counted from 1), each with its type
//   mapi_bodies      the bodies, as the bytes of their streams
//
// What belongs to a message goes with its row in mapi_messages.
#pragma once

namespace device {

// The folders' ids in the store.
inline constexpr int kInbox = 1;
inline constexpr int kSentItems = 2;
inline constexpr int kOutbox = 3;

// The SQL that makes the tables in an empty database, inside the schema's transaction.
const char* MapiSchema();

}  // namespace device
