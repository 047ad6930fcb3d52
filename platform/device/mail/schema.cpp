#include "platform/device/mail/schema.h"

namespace device {

// Listing a folder reads the first index alone; finding by time and subject the second.
const char* MapiSchema() {
  return R"sql(
CREATE TABLE mapi_folders(
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL);
INSERT INTO mapi_folders(id, name) VALUES(1, 'Inbox'), (2, 'Sent Items'), (3, 'Outbox');
CREATE TABLE mapi_last_id(id INTEGER NOT NULL);
INSERT INTO mapi_last_id(id) VALUES(0);
CREATE TABLE mapi_messages(
  id INTEGER PRIMARY KEY,
  folder INTEGER NOT NULL REFERENCES mapi_folders(id),
  delivery_time INTEGER,
  subject TEXT);
CREATE INDEX mapi_messages_by_folder ON mapi_messages(folder);
CREATE INDEX mapi_messages_by_time ON mapi_messages(folder, delivery_time, subject);
CREATE TABLE mapi_properties(
  message INTEGER NOT NULL REFERENCES mapi_messages(id) ON DELETE CASCADE,
  recipient INTEGER NOT NULL,
  property INTEGER NOT NULL,
  type INTEGER NOT NULL,
  value NOT NULL,
  PRIMARY KEY(message, recipient, property)) WITHOUT ROWID;
CREATE TABLE mapi_bodies(
  message INTEGER PRIMARY KEY REFERENCES mapi_messages(id) ON DELETE CASCADE,
  bytes BLOB NOT NULL);
)sql";
}

}  // namespace device
