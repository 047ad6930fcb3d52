// Messages in the database. Every function throws a MapiFailure when the database fails.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/device/database.h"
#include "platform/device/mail/values.h"

namespace device {

// A message as it is stored, its body aside.
struct StoredMessage {
  int64_t folder = 0;
  MapiProperties properties;  // with those that follow from the message's place
  std::vector<MapiProperties> recipients;
};

// What is to be changed in a message.
struct MessageChanges {
  MapiProperties properties;               // to be set
  std::vector<MapiProperties> recipients;  // to be added after those that it has
  std::optional<std::string> body;         // to be set, the bytes of the stream

  bool empty() const { return properties.empty() && recipients.empty() && !body; }
};

// The properties that follow from a message's place: entry id, folder's entry id, object type.
MapiProperties PlaceProperties(int64_t id, int64_t folder);

// The name of a folder; nothing when there is none of the number.
std::optional<std::u16string> FolderName(Database& database, int64_t folder);

// Takes the next message id, at once and for good.
int64_t ReserveMessageId(Database& database);

// The highest id of a folder's messages; 0 for an empty folder.
int64_t FindLastMessage(Database& database, int64_t folder);

// The ids of a folder's messages up to `last`, ascending, which is the order in which they were created:
// of all, or of those that have a delivery time, and perhaps a subject with it (in the same case).
std::vector<int64_t> ListMessages(Database& database, int64_t folder, int64_t last,
                                  const MapiProperties& wanted);
// Whether that can be asked for.
bool CanListMessages(const MapiProperties& wanted);

// A message, or nothing when there is none with the id.
std::optional<StoredMessage> LoadMessage(Database& database, int64_t id);
// Faster: without recipients, and of the properties those of mapi_messages and of its place only.
std::optional<StoredMessage> LoadMessageHead(Database& database, int64_t id);
// Whether LoadMessageHead gives what a property with this tag asks for.
bool IsHeadProperty(ULONG tag);

// The bytes of a message's body; nothing when it has none.
std::optional<std::string> LoadBody(Database& database, int64_t id);

// Writes a new message with a reserved id, or changes an existing one (MAPI_E_OBJECT_DELETED when
// it is gone), in one transaction.
void InsertMessage(Database& database, int64_t id, int64_t folder, const MessageChanges& changes);
void ChangeMessage(Database& database, int64_t id, const MessageChanges& changes);

}  // namespace device
