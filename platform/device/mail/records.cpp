// A message is a row in mapi_messages with the two properties by which messages are looked for; all its other
// properties, and those of its recipients, are rows in mapi_properties, and its body lies in a table of its
// own, so that reading properties never touches it. All but the body is read by one statement, and a message
// is written in one transaction: nobody sees half of another program's change.
//
// An id is taken before the message is stored, in a step of its own, since the caller may ask for the entry
// id at once. A message that is never stored leaves a gap, and its id is not given again.

#include "platform/device/mail/records.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/device/mail/entry_id.h"
#include "platform/device/mail/errors.h"

namespace device {
namespace {

// One statement, so that nothing of another program's change comes between.
constexpr char kLoadAll[] =
    "SELECT folder, delivery_time, subject, recipient, property, type, value FROM mapi_messages "
    "LEFT JOIN mapi_properties ON message = id WHERE id = ? ORDER BY recipient, property";
constexpr char kLoadHead[] =
    "SELECT folder, delivery_time, subject, NULL FROM mapi_messages WHERE id = ?";

constexpr ULONG kHeadProperties[] = {PROP_ID(PR_SUBJECT),     PROP_ID(PR_MESSAGE_DELIVERY_TIME),
                                     PROP_ID(PR_ENTRYID),     PROP_ID(PR_PARENT_ENTRYID),
                                     PROP_ID(PR_OBJECT_TYPE), PROP_ID(PR_NULL)};

void RunOrThrow(Database& database, Statement& statement) {
  if (!statement.Run()) ThrowStoreFailure(database);
}

// True for a row, false at the end.
bool StepOrThrow(Database& database, Statement& statement) {
  const int step = statement.Step();
  if (step != SQLITE_ROW && step != SQLITE_DONE) ThrowStoreFailure(database);
  return step == SQLITE_ROW;
}

MapiValue ReadValue(const Statement& row, ULONG type, int column) {
  switch (type) {
    case PT_UNICODE:
      return {type, row.Text(column)};
    case PT_BINARY:
      return {type, std::string(row.Bytes(column))};
    default:
      return {type, row.Integer(column)};
  }
}

void BindValue(Statement& statement, int index, const MapiValue& value) {
  if (const auto* number = std::get_if<int64_t>(&value.data)) {
    statement.Bind(index, *number);
  } else if (const auto* text = std::get_if<std::u16string>(&value.data)) {
    statement.Bind(index, std::u16string_view(*text));
  } else {
    const std::string& bytes = std::get<std::string>(value.data);
    statement.BindBlob(index, bytes.data(), bytes.size());
  }
}

StoredMessage ReadHead(const Statement& row, int64_t id) {
  StoredMessage message;
  message.folder = row.Integer(0);
  message.properties = PlaceProperties(id, message.folder);
  if (!row.IsNull(1)) {
    message.properties[PROP_ID(PR_MESSAGE_DELIVERY_TIME)] = ReadValue(row, PT_SYSTIME, 1);
  }
  if (!row.IsNull(2)) message.properties[PROP_ID(PR_SUBJECT)] = ReadValue(row, PT_UNICODE, 2);
  return message;
}

// Rows come by recipient; 0 is the message itself.
void ReadProperty(const Statement& row, int64_t* recipient, StoredMessage* message) {
  if (row.IsNull(3)) return;
  if (row.Integer(3) != *recipient) {
    message->recipients.emplace_back();
    *recipient = row.Integer(3);
  }
  MapiProperties& properties = *recipient == 0 ? message->properties : message->recipients.back();
  const auto type = static_cast<ULONG>(row.Integer(5));
  properties[static_cast<ULONG>(row.Integer(4))] = ReadValue(row, type, 6);
}

std::optional<StoredMessage> Load(Database& database, const char* sql, int64_t id) {
  Statement row = database.Prepare(sql);
  row.Bind(1, id);
  if (!StepOrThrow(database, row)) return std::nullopt;
  StoredMessage message = ReadHead(row, id);
  int64_t recipient = 0;
  do {
    ReadProperty(row, &recipient, &message);
  } while (StepOrThrow(database, row));
  return message;
}

// Sets a property that is a column of mapi_messages. A row is inserted without them and then updated, so that
// a new message and a changed one go the same way.
void WriteColumn(Database& database, const char* sql, int64_t id, const MapiValue& value) {
  Statement statement = database.Prepare(sql);
  statement.Bind(2, id);
  BindValue(statement, 1, value);
  RunOrThrow(database, statement);
}

void WriteProperty(Database& database, int64_t id, int64_t recipient, ULONG property,
                   const MapiValue& value) {
  Statement statement = database.Prepare(
      "INSERT OR REPLACE INTO mapi_properties(message, recipient, property, type, value) "
      "VALUES(?, ?, ?, ?, ?)");
  statement.Bind(1, id).Bind(2, recipient).Bind(3, int64_t{property}).Bind(4, int64_t{value.type});
  BindValue(statement, 5, value);
  RunOrThrow(database, statement);
}

void WriteProperties(Database& database, int64_t id, const MapiProperties& properties) {
  for (const auto& [property, value] : properties) {
    if (property == PROP_ID(PR_SUBJECT)) {
      WriteColumn(database, "UPDATE mapi_messages SET subject = ? WHERE id = ?", id, value);
    } else if (property == PROP_ID(PR_MESSAGE_DELIVERY_TIME)) {
      WriteColumn(database, "UPDATE mapi_messages SET delivery_time = ? WHERE id = ?", id, value);
    } else {
      WriteProperty(database, id, 0, property, value);
    }
  }
}

// Recipients are numbered on from the highest, so that two programs that add some do not take each other's
// numbers; the transaction is open.
int64_t LastRecipient(Database& database, int64_t id) {
  Statement row = database.Prepare("SELECT max(recipient) FROM mapi_properties WHERE message = ?");
  row.Bind(1, id);
  return StepOrThrow(database, row) ? row.Integer(0) : 0;
}

void AddRecipients(Database& database, int64_t id, const std::vector<MapiProperties>& recipients) {
  if (recipients.empty()) return;
  int64_t number = LastRecipient(database, id);
  for (const MapiProperties& recipient : recipients) {
    ++number;
    for (const auto& [property, value] : recipient) {
      WriteProperty(database, id, number, property, value);
    }
  }
}

void WriteBody(Database& database, int64_t id, const std::string& bytes) {
  Statement statement =
      database.Prepare("INSERT OR REPLACE INTO mapi_bodies(message, bytes) VALUES(?, ?)");
  statement.Bind(1, id).BindBlob(2, bytes.data(), bytes.size());
  RunOrThrow(database, statement);
}

void WriteChanges(Database& database, int64_t id, const MessageChanges& changes) {
  WriteProperties(database, id, changes.properties);
  AddRecipients(database, id, changes.recipients);
  if (changes.body) WriteBody(database, id, *changes.body);
}

// Within the transaction: another program may have deleted the message since it was opened.
void RequireMessage(Database& database, int64_t id) {
  Statement row = database.Prepare("SELECT 1 FROM mapi_messages WHERE id = ?");
  row.Bind(1, id);
  if (!StepOrThrow(database, row)) throw MapiFailure{MAPI_E_OBJECT_DELETED, 0};
}

}  // namespace

MapiProperties PlaceProperties(int64_t id, int64_t folder) {
  return MakeProperties({{PR_ENTRYID, MakeEntryId(MAPI_MESSAGE, id)},
                         {PR_PARENT_ENTRYID, MakeEntryId(MAPI_FOLDER, folder)},
                         {PR_OBJECT_TYPE, int64_t{MAPI_MESSAGE}}});
}

std::optional<std::u16string> FolderName(Database& database, int64_t folder) {
  Statement row = database.Prepare("SELECT name FROM mapi_folders WHERE id = ?");
  row.Bind(1, folder);
  if (!StepOrThrow(database, row)) return std::nullopt;
  return row.Text(0);
}

int64_t ReserveMessageId(Database& database) {
  Statement row = database.Prepare("UPDATE mapi_last_id SET id = id + 1 RETURNING id");
  if (!StepOrThrow(database, row)) throw MapiFailure{MAPI_E_CORRUPT_STORE, 0};
  const int64_t id = row.Integer(0);
  RunOrThrow(database, row);  // the id is taken when the statement is done
  return id;
}

int64_t FindLastMessage(Database& database, int64_t folder) {
  Statement row = database.Prepare("SELECT max(id) FROM mapi_messages WHERE folder = ?");
  row.Bind(1, folder);
  return StepOrThrow(database, row) ? row.Integer(0) : 0;
}

std::vector<int64_t> ListMessages(Database& database, int64_t folder, int64_t last,
                                  const MapiProperties& wanted) {
  const auto time = wanted.find(PROP_ID(PR_MESSAGE_DELIVERY_TIME));
  const auto subject = wanted.find(PROP_ID(PR_SUBJECT));
  std::string sql = "SELECT id FROM mapi_messages WHERE folder = ? AND id <= ?";
  if (time != wanted.end()) sql += " AND delivery_time = ?";
  if (subject != wanted.end()) sql += " AND subject = ?";
  Statement row = database.Prepare(sql + " ORDER BY id");
  row.Bind(1, folder).Bind(2, last);
  if (time != wanted.end()) BindValue(row, 3, time->second);
  if (subject != wanted.end()) BindValue(row, 4, subject->second);
  std::vector<int64_t> ids;
  while (StepOrThrow(database, row)) ids.push_back(row.Integer(0));
  return ids;
}

// What the indexes of mapi_messages answer at once; a search of anything else would walk the folder.
bool CanListMessages(const MapiProperties& wanted) {
  const auto has = [&](ULONG tag) {
    const auto found = wanted.find(PROP_ID(tag));
    return found != wanted.end() && found->second.type == PROP_TYPE(tag);
  };
  if (wanted.empty()) return true;
  return has(PR_MESSAGE_DELIVERY_TIME) &&
         (wanted.size() == 1 || (wanted.size() == 2 && has(PR_SUBJECT)));
}

std::optional<StoredMessage> LoadMessage(Database& database, int64_t id) {
  return Load(database, kLoadAll, id);
}

std::optional<StoredMessage> LoadMessageHead(Database& database, int64_t id) {
  return Load(database, kLoadHead, id);
}

bool IsHeadProperty(ULONG tag) {
  return std::find(std::begin(kHeadProperties), std::end(kHeadProperties), PROP_ID(tag)) !=
         std::end(kHeadProperties);
}

std::optional<std::string> LoadBody(Database& database, int64_t id) {
  Statement row = database.Prepare("SELECT bytes FROM mapi_bodies WHERE message = ?");
  row.Bind(1, id);
  if (!StepOrThrow(database, row)) return std::nullopt;
  return std::string(row.Bytes(0));
}

void InsertMessage(Database& database, int64_t id, int64_t folder, const MessageChanges& changes) {
  Transaction transaction(database);
  if (!transaction.is_open()) ThrowStoreFailure(database);
  Statement statement = database.Prepare("INSERT INTO mapi_messages(id, folder) VALUES(?, ?)");
  statement.Bind(1, id).Bind(2, folder);
  RunOrThrow(database, statement);
  WriteChanges(database, id, changes);
  if (!transaction.Commit()) ThrowStoreFailure(database);
}

void ChangeMessage(Database& database, int64_t id, const MessageChanges& changes) {
  Transaction transaction(database);
  if (!transaction.is_open()) ThrowStoreFailure(database);
  RequireMessage(database, id);
  WriteChanges(database, id, changes);
  if (!transaction.Commit()) ThrowStoreFailure(database);
}

}  // namespace device
