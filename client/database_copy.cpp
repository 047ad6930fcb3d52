// A copy is made within one read of the whole database: what others write meanwhile goes into its log and is not seen.
//
// A database that is only looked at must not get the files beside it that SQLite makes for any reader. Where its log is not
// there, or is empty, nobody has it open, and it is read as a file that nobody changes. Somebody may begin to, and then what
// is read does not fit together: so what seems to be wrong is looked at once more after a moment.
#include "client/database_copy.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>

#include "client/interrupt.h"
#include "platform/device/database.h"

namespace client {
namespace {

namespace fs = std::filesystem;

constexpr int kPatience =
    10'000;  // milliseconds, for another program that opens or closes the database
constexpr int kPagesAtOnce = 4096;
constexpr int kLooks = 3;
constexpr std::chrono::milliseconds kBetweenLooks{100};

struct Close {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Connection = std::unique_ptr<sqlite3, Close>;
using Statement = std::unique_ptr<sqlite3_stmt, Close>;

std::string UriOf(const std::string& path, const char* options) {
  std::string uri = "file:";
  for (const char c : path) {
    if (c == '%' || c == '?' || c == '#') {
      constexpr char kDigits[] = "0123456789ABCDEF";
      uri += {'%', kDigits[static_cast<uint8_t>(c) >> 4], kDigits[c & 0xF]};
    } else {
      uri += c;
    }
  }
  return uri + options;
}

Connection Open(const std::string& name, int flags) {
  sqlite3* database = nullptr;
  sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_URI, nullptr);
  Connection connection(database);
  if (database != nullptr) {
    sqlite3_extended_result_codes(database, 1);
    sqlite3_busy_timeout(database, kPatience);
  }
  return connection;
}

Connection OpenToLook(const std::string& path) {
  std::error_code missing;
  const uintmax_t log = fs::file_size(path + "-wal", missing);
  const bool is_in_use = !missing && log > 0;
  return Open(UriOf(path, is_in_use ? "?mode=ro" : "?immutable=1"), SQLITE_OPEN_READONLY);
}

// Of a folder that cannot be written to, nobody writes the database either.
Connection OpenToCopy(const std::string& path) {
  const std::string folder = fs::path(path).parent_path().string();
  const bool may_write = access(folder.c_str(), W_OK) == 0 && access(path.c_str(), W_OK) == 0;
  return may_write ? Open(UriOf(path, "?mode=rw"), SQLITE_OPEN_READWRITE) : OpenToLook(path);
}

std::string ErrorOf(const Connection& database) {
  return database == nullptr ? "no memory" : sqlite3_errmsg(database.get());
}

// The rows of a question, their columns joined by blanks; the error where it fails.
bool Ask(sqlite3* database, const std::string& sql, std::vector<std::string>& rows) {
  sqlite3_stmt* prepared = nullptr;
  int result = sqlite3_prepare_v2(database, sql.c_str(), -1, &prepared, nullptr);
  const Statement statement(prepared);
  while (result == SQLITE_OK || result == SQLITE_ROW) {
    result = sqlite3_step(prepared);
    if (result != SQLITE_ROW) break;
    std::string row;
    for (int column = 0; column < sqlite3_column_count(prepared); ++column) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(prepared, column));
      row += (column == 0 ? "" : " ") + std::string(text == nullptr ? "" : text);
    }
    rows.push_back(std::move(row));
  }
  if (result == SQLITE_DONE) return true;
  rows = {sqlite3_errmsg(database)};
  return false;
}

int64_t Number(sqlite3* database, const char* sql, bool& is_known) {
  std::vector<std::string> rows;
  is_known = Ask(database, sql, rows) && rows.size() == 1;
  return is_known ? std::atoll(rows[0].c_str()) : -1;
}

// ---- What is wrong --------------------------------------------------------------------------------------------

using Problems = std::vector<std::string>;

// Name and text of all that a database declares; its own tables are left out.
using Schema = std::map<std::string, std::string>;

bool ReadSchema(sqlite3* database, Schema& schema) {
  std::vector<std::string> names;
  std::vector<std::string> texts;
  constexpr const char* kFrom =
      " FROM sqlite_master WHERE name NOT LIKE 'sqlite@_%' ESCAPE '@'"
      " ORDER BY type, name";
  if (!Ask(database, std::string("SELECT type || ' ' || name") + kFrom, names)) return false;
  if (!Ask(database, std::string("SELECT sql") + kFrom, texts)) return false;
  for (size_t i = 0; i < std::min(names.size(), texts.size()); ++i) schema[names[i]] = texts[i];
  return true;
}

const Schema& DeviceSchema() {
  static const Schema schema = [] {
    Schema made;
    int error = SQLITE_OK;
    const auto database = device::Database::Open(":memory:", &error);
    if (database != nullptr && device::CreateSchema(*database)) {
      ReadSchema(database->handle(), made);
    }
    return made;
  }();
  return schema;
}

// A database that its program has not set up yet has nothing.
void CompareSideSchema(const DatabaseKind& kind, int64_t version, const Schema& found,
                       Problems& problems) {
  std::vector<std::string> known;
  std::istringstream words{std::string(kind.tables)};
  for (std::string word; words >> word;) known.push_back(word);
  for (const auto& [name, text] : found) {
    const std::string type = name.substr(0, name.find(' '));
    const std::string table = name.substr(name.find(' ') + 1);
    const bool is_known = type == "table" && std::ranges::find(known, table) != known.end();
    if (!is_known && type != "index") problems.push_back("it has an unknown " + name);
  }
  for (const std::string& table : known) {
    if (version > 0 && !found.contains("table " + table)) {
      problems.push_back("it has no table " + table);
    }
  }
}

// What an older version lacks is made when the device is opened.
void CompareDeviceSchema(int64_t version, const Schema& found, Problems& problems) {
  const Schema& expected = DeviceSchema();
  for (const auto& [name, text] : found) {
    const auto place = expected.find(name);
    if (place == expected.end()) {
      problems.push_back("it has an unknown " + name);
    } else if (place->second != text) {
      problems.push_back("its " + name + " is not declared as it should be");
    }
  }
  if (version < device::kSchemaVersion) return;
  for (const auto& [name, text] : expected) {
    if (!found.contains(name)) problems.push_back("it has no " + name);
  }
}

void LookAtReferences(sqlite3* database, Problems& problems) {
  std::vector<std::string> rows;
  if (!Ask(database,
           "SELECT count(*) || ' rows of ' || \"table\" || ' refer to rows of ' || parent || ' that"
           " are not there' FROM pragma_foreign_key_check GROUP BY \"table\", parent",
           rows)) {
    rows = {"its references cannot be looked at: " + rows[0]};
  }
  problems.insert(problems.end(), rows.begin(), rows.end());
}

void LookAtPages(sqlite3* database, Depth depth, Problems& problems) {
  std::vector<std::string> rows;
  const char* check =
      depth == Depth::kQuick ? "PRAGMA quick_check(20)" : "PRAGMA integrity_check(20)";
  if (!Ask(database, check, rows)) rows = {"it cannot be read whole: " + rows[0]};
  if (rows == Problems{"ok"}) return;
  for (std::string& row : rows) {
    // Several lines of which the first names the database.
    std::ranges::replace(row, '\n', ' ');
    problems.push_back("it is damaged: " + row);
  }
}

Problems Look(const std::string& path, const DatabaseKind& kind, Depth depth) {
  const Connection database = OpenToLook(path);
  bool is_known = false;
  const int64_t version = Number(database.get(), "PRAGMA user_version", is_known);
  if (!is_known) return {"it cannot be read: " + ErrorOf(database)};
  if (version > kind.newest_version) return {"a newer version of this program has made it"};
  const int64_t application = Number(database.get(), "PRAGMA application_id", is_known);
  if (!is_known || application != kind.application_id) return {"it belongs to another program"};
  Problems problems;
  Schema schema;
  if (!ReadSchema(database.get(), schema)) return {"it cannot be read: " + ErrorOf(database)};
  if (kind.tables.empty()) {
    CompareDeviceSchema(version, schema, problems);
  } else {
    CompareSideSchema(kind, version, schema, problems);
  }
  if (depth != Depth::kSchema) LookAtPages(database.get(), depth, problems);
  if (depth == Depth::kWhole) LookAtReferences(database.get(), problems);
  return problems;
}

}  // namespace

std::string CopyDatabase(const std::string& from, const std::string& to) {
  const Connection source = OpenToCopy(from);
  const Connection target =
      Open(UriOf(to, "?mode=rwc"), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  std::vector<std::string> rows;
  // From here to the end of the connection it is the same state that is read.
  if (!Ask(source.get(), "BEGIN", rows) ||
      !Ask(source.get(), "SELECT count(*) FROM sqlite_master", rows)) {
    return from + ": " + rows[0];
  }
  if (!Ask(target.get(), "PRAGMA synchronous=OFF", rows)) return to + ": " + rows[0];
  sqlite3_backup* copy = sqlite3_backup_init(target.get(), "main", source.get(), "main");
  if (copy == nullptr) return to + ": " + ErrorOf(target);
  int result = SQLITE_OK;
  while (result == SQLITE_OK && !WasInterrupted()) result = sqlite3_backup_step(copy, kPagesAtOnce);
  sqlite3_backup_finish(copy);
  if (result == SQLITE_OK) return from + ": interrupted";
  return result == SQLITE_DONE ? std::string() : from + ": " + sqlite3_errstr(result);
}

std::vector<std::string> WhatIsWrong(const std::string& device_folder, const DatabaseKind& kind,
                                     Depth depth) {
  const std::string path = device_folder + "/" + std::string(kind.file);
  std::error_code error;
  if (!fs::exists(path, error) && !error) return {};
  if (!fs::is_regular_file(path, error)) return {"it is no file"};
  if (access(path.c_str(), R_OK) != 0) return {std::strerror(errno)};
  Problems problems = Look(path, kind, depth);
  for (int look = 1; look < kLooks && !problems.empty(); ++look) {
    std::this_thread::sleep_for(kBetweenLooks);
    problems = Look(path, kind, depth);
  }
  return problems;
}

std::optional<int64_t> AskDatabase(const std::string& path, const char* sql) {
  const Connection database = OpenToLook(path);
  bool is_known = false;
  const int64_t number = Number(database.get(), sql, is_known);
  return is_known ? std::optional(number) : std::nullopt;
}

int SchemaVersionOf(const std::string& device_folder, const DatabaseKind& kind) {
  const auto version =
      AskDatabase(device_folder + "/" + std::string(kind.file), "PRAGMA user_version");
  return static_cast<int>(version.value_or(-1));
}

}  // namespace client
