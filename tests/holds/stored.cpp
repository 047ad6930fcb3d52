// A connection of its own reads the tables, through SQLite's own system layer whatever the library's is. Of
// an object with several rows (exceptions, recipients, properties) all rows are its text.

#include "tests/holds/stored.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <functional>

#include "osif.h"
#include "tests/support/bytes.h"

namespace holds {
namespace {

namespace fs = std::filesystem;

class Connection {
 public:
  explicit Connection(const std::string& path) {
    EXPECT_EQ(sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE, "unix"), SQLITE_OK);
  }
  ~Connection() { sqlite3_close(handle_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Adds each row to the object that its first column names; the others are the text.
  void Read(const char* sql, Objects& objects) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle_, sql, -1, &statement, nullptr), SQLITE_OK)
        << sqlite3_errmsg(handle_);
    int step;
    while ((step = sqlite3_step(statement)) == SQLITE_ROW) {
      std::string& text = objects[TextOf(statement, 0)];
      for (int i = 1; i < sqlite3_column_count(statement); ++i) {
        text.append(TextOf(statement, i)).append("|");
      }
    }
    EXPECT_EQ(step, SQLITE_DONE) << sqlite3_errmsg(handle_);
    sqlite3_finalize(statement);
  }

 private:
  static std::string TextOf(sqlite3_stmt* statement, int column) {
    const void* bytes = sqlite3_column_blob(statement, column);
    const auto size = static_cast<size_t>(sqlite3_column_bytes(statement, column));
    return size == 0 ? "" : std::string(static_cast<const char*>(bytes), size);
  }

  sqlite3* handle_ = nullptr;
};

struct TableOfStore {
  int32_t store;
  const char* sql;
};

constexpr TableOfStore kTables[] = {
    {OSIF_STORE_PB, "SELECT printf('%08x', oid), * FROM pim_contacts ORDER BY oid"},
    {OSIF_STORE_CAL,
     "SELECT printf('%08x', oid), pim_appointments.* FROM pim_appointments "
     "JOIN pim_objects USING(oid) WHERE folder = 9 ORDER BY oid"},
    {OSIF_STORE_CAL, "SELECT printf('%08x', oid), * FROM pim_tasks ORDER BY oid"},
    {OSIF_STORE_CAL, "SELECT printf('%08x', oid), * FROM pim_patterns ORDER BY oid"},
    {OSIF_STORE_CAL, "SELECT printf('%08x', oid), * FROM pim_recipients ORDER BY oid, position"},
};

// An entry id: four zeros, "OSM", 5 for a message, the number.
constexpr const char* kMessages[] = {
    "SELECT printf('000000004F534D05%016X', id), * FROM mapi_messages WHERE folder = ",
    "SELECT printf('000000004F534D05%016X', id), mapi_properties.* FROM mapi_properties "
    "JOIN mapi_messages ON id = message WHERE folder = ",
    "SELECT printf('000000004F534D05%016X', id), bytes FROM mapi_bodies "
    "JOIN mapi_messages ON id = message WHERE folder = ",
};

void ReadDatabase(const std::string& path, Stored& stored) {
  Connection connection(path);
  for (const TableOfStore& table : kTables) {
    connection.Read(table.sql, stored.stores[static_cast<size_t>(table.store)]);
  }
  for (int folder = 1; folder <= 3; ++folder) {
    Objects& messages = stored.stores[static_cast<size_t>(OSIF_STORE_MSG_IN + folder - 1)];
    for (const char* sql : kMessages) {
      connection.Read((sql + std::to_string(folder)).c_str(), messages);
    }
  }
  connection.Read(
      "SELECT series || ' ' || day, pim_appointments.* FROM pim_exceptions "
      "LEFT JOIN pim_appointments ON pim_appointments.oid = occurrence",
      stored.exceptions);
  connection.Read(
      "SELECT path || ':' || name, type, data FROM registry_values "
      "JOIN registry_keys ON id = key ORDER BY 1",
      stored.registry);
}

// A note whose new file only waits for its place counts as one.
void ReadNotes(const fs::path& folder, Objects& notes) {
  constexpr std::string_view kNote = ".pwi";
  constexpr std::string_view kWaiting = ".pwi.new";
  if (!fs::exists(folder)) return;
  for (const auto& file : fs::directory_iterator(folder)) {
    const std::string name = file.path().filename().string();
    if (name.ends_with(kNote)) {
      notes[name.substr(0, name.size() - kNote.size())] = support::BytesOf(file.path());
    } else if (name.ends_with(kWaiting)) {
      notes.try_emplace(name.substr(0, name.size() - kWaiting.size()),
                        support::BytesOf(file.path()));
    }
  }
}

std::string DatabaseIn(const std::string& folder) { return folder + "/device.db"; }

}  // namespace

Stored ReadStored(const std::string& folder) {
  Stored stored;
  if (fs::exists(DatabaseIn(folder))) ReadDatabase(DatabaseIn(folder), stored);
  ReadNotes(folder + "/Documents", stored.stores[OSIF_STORE_NOTE]);
  return stored;
}

std::string FaultsOf(const std::string& folder) {
  Connection connection(DatabaseIn(folder));
  Objects rows;
  connection.Read("PRAGMA integrity_check", rows);
  rows.erase("ok");
  connection.Read("SELECT 'foreign key of ' || \"table\" FROM pragma_foreign_key_check", rows);
  std::string faults;
  for (const auto& [fault, rest] : rows) faults += fault + "\n";
  return faults;
}

std::string Difference(const Stored& one, const Stored& other) {
  std::string text;
  const auto compare = [&text](const std::string& store, const Objects& a, const Objects& b) {
    Objects all = a;
    all.insert(b.begin(), b.end());
    for (const auto& [id, ignored] : all) {
      const auto in_a = a.find(id);
      const auto in_b = b.find(id);
      if (in_a == a.end()) {
        text += store + ":" + id + " only in the second; ";
      } else if (in_b == b.end()) {
        text += store + ":" + id + " only in the first; ";
      } else if (in_a->second != in_b->second) {
        text += store + ":" + id + " differs; ";
      }
    }
  };
  for (size_t store = 0; store < one.stores.size(); ++store) {
    compare(std::to_string(store), one.stores[store], other.stores[store]);
  }
  compare("exceptions", one.exceptions, other.exceptions);
  compare("registry", one.registry, other.registry);
  return text;
}

}  // namespace holds
