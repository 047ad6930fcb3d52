// Every row bears its folder and its store, so that several programs may mirror several folders. What belongs together is
// one transaction: a pair and the end of its intent. Each pair is written when its file and its object are: what is
// interrupted repeats one object at most.
#include "mirror/state.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "client/device_files.h"

namespace mirror {
namespace {

constexpr const char* kFile = "mirror.db";

constexpr const char* kSetUp =
    "PRAGMA journal_mode=WAL; BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS positions(folder TEXT, store INTEGER, database_id TEXT NOT NULL,"
    " counter INTEGER NOT NULL, PRIMARY KEY(folder, store)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS pairs(folder TEXT, store INTEGER, name TEXT, uid TEXT NOT NULL,"
    " id TEXT NOT NULL, file_key TEXT NOT NULL, store_key TEXT NOT NULL, modified INTEGER NOT NULL,"
    " size INTEGER NOT NULL, inode INTEGER NOT NULL, noted INTEGER NOT NULL,"
    " PRIMARY KEY(folder, store, name)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX IF NOT EXISTS pairs_by_id ON pairs(folder, store, id) WHERE id <> '';"
    "CREATE TABLE IF NOT EXISTS texts(folder TEXT, store INTEGER, name TEXT, base TEXT NOT NULL,"
    " stored TEXT NOT NULL, PRIMARY KEY(folder, store, name));"
    "CREATE TABLE IF NOT EXISTS pending(folder TEXT, store INTEGER, id TEXT,"
    " PRIMARY KEY(folder, store, id)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS intents(folder TEXT, store INTEGER, name TEXT NOT NULL,"
    " id TEXT NOT NULL, counter INTEGER NOT NULL, uid TEXT NOT NULL, text TEXT NOT NULL,"
    " PRIMARY KEY(folder, store));"
    "PRAGMA user_version=1; COMMIT;";

using client::SideDatabase;
using client::SideStatement;

}  // namespace

MirrorState::MirrorState(const std::string& device_folder, bool only_looks)
    : database_(device_folder, kFile, client::kMirrorVersion, kSetUp,
                only_looks ? SideDatabase::Access::kLook : SideDatabase::Access::kUse) {}

void MirrorState::Select(const std::string& folder, int32_t store_id) {
  folder_ = folder;
  store_ = store_id;
}

// ---- Reading ------------------------------------------------------------------------------------------------

bool MirrorState::Read(std::optional<MirrorPosition>& position, std::vector<MirrorPair>& pairs,
                       std::set<std::string>& pending, std::optional<MirrorIntent>& intent) {
  SideStatement at(database_,
                   "SELECT database_id, counter FROM positions WHERE folder = ?1 AND store = ?2");
  if (at.Bind(folder_).Bind(store_).Step()) {
    position = MirrorPosition{at.Text(0), static_cast<uint32_t>(at.Integer(1))};
  }
  SideStatement pair(database_,
                     "SELECT name, uid, id, file_key, store_key, modified, size, inode, noted"
                     " FROM pairs WHERE folder = ?1 AND store = ?2 ORDER BY name");
  pair.Bind(folder_).Bind(store_);
  while (pair.Step()) {
    pairs.push_back({pair.Text(0),
                     pair.Text(1),
                     pair.Text(2),
                     pair.Text(3),
                     pair.Text(4),
                     {pair.Integer(5), pair.Integer(6), pair.Integer(7)},
                     pair.Integer(8)});
  }
  SideStatement again(database_, "SELECT id FROM pending WHERE folder = ?1 AND store = ?2");
  again.Bind(folder_).Bind(store_);
  while (again.Step()) pending.insert(again.Text(0));
  SideStatement begun(database_,
                      "SELECT name, id, counter, uid, text FROM intents"
                      " WHERE folder = ?1 AND store = ?2");
  if (begun.Bind(folder_).Bind(store_).Step()) {
    intent = MirrorIntent{begun.Text(0), begun.Text(1), static_cast<uint32_t>(begun.Integer(2)),
                          begun.Text(3), begun.Text(4)};
  }
  return !at.has_failed() && !pair.has_failed() && !again.has_failed() && !begun.has_failed();
}

bool MirrorState::ReadTexts(const std::string& name, MirrorTexts& texts) {
  SideStatement row(
      database_, "SELECT base, stored FROM texts WHERE folder = ?1 AND store = ?2 AND name = ?3");
  if (row.Bind(folder_).Bind(store_).Bind(name).Step()) texts = {row.Text(0), row.Text(1)};
  return !row.has_failed();
}

// ---- Writing ------------------------------------------------------------------------------------------------

// Does all of it, or nothing.
bool MirrorState::Transact(auto&& steps) {
  if (!database_.may_write()) return true;
  client::SideTransaction transaction(database_);
  return transaction.is_open() && steps() && transaction.Commit();
}

bool MirrorState::Keep(const MirrorPair& pair, const MirrorTexts& texts) {
  return Transact([&] {
    SideStatement former(database_,
                         "DELETE FROM texts WHERE folder = ?1 AND store = ?2 AND name IN"
                         " (SELECT name FROM pairs WHERE folder = ?1 AND store = ?2 AND id = ?3"
                         " AND id <> '')");
    SideStatement other(database_,
                        "DELETE FROM pairs WHERE folder = ?1 AND store = ?2 AND id = ?3"
                        " AND id <> ''");
    SideStatement row(database_,
                      "INSERT OR REPLACE INTO pairs VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9,"
                      " ?10, ?11)");
    SideStatement text(database_, "INSERT OR REPLACE INTO texts VALUES(?1, ?2, ?3, ?4, ?5)");
    SideStatement intent(database_,
                         "DELETE FROM intents WHERE folder = ?1 AND store = ?2 AND name = ?3");
    row.Bind(folder_).Bind(store_).Bind(pair.name).Bind(pair.uid).Bind(pair.id);
    row.Bind(pair.file_key).Bind(pair.store_key).Bind(pair.stamp.modified).Bind(pair.stamp.size);
    row.Bind(pair.stamp.inode).Bind(pair.noted);
    return former.Bind(folder_).Bind(store_).Bind(pair.id).Run() &&
           other.Bind(folder_).Bind(store_).Bind(pair.id).Run() && row.Run() &&
           text.Bind(folder_)
               .Bind(store_)
               .Bind(pair.name)
               .Bind(texts.base)
               .Bind(texts.stored)
               .Run() &&
           intent.Bind(folder_).Bind(store_).Bind(pair.name).Run();
  });
}

bool MirrorState::KeepStamp(const MirrorPair& pair) {
  return Transact([&] {
    SideStatement row(database_,
                      "UPDATE pairs SET modified = ?4, size = ?5, inode = ?6, noted = ?7"
                      " WHERE folder = ?1 AND store = ?2 AND name = ?3");
    row.Bind(folder_).Bind(store_).Bind(pair.name).Bind(pair.stamp.modified);
    return row.Bind(pair.stamp.size).Bind(pair.stamp.inode).Bind(pair.noted).Run();
  });
}

// By way of names that no file has, since a name may be another pair's until that is renamed as well.
bool MirrorState::Rename(const std::vector<std::pair<std::string, MirrorPair>>& renamed) {
  const auto change_name = [&](const char* sql, const std::string& from, const std::string& to) {
    SideStatement row(database_, sql);
    return row.Bind(folder_).Bind(store_).Bind(from).Bind(to).Run();
  };
  const auto change = [&](const std::string& from, const std::string& to) {
    return change_name(
               "UPDATE OR REPLACE pairs SET name = ?4"
               " WHERE folder = ?1 AND store = ?2 AND name = ?3",
               from, to) &&
           change_name(
               "UPDATE OR REPLACE texts SET name = ?4"
               " WHERE folder = ?1 AND store = ?2 AND name = ?3",
               from, to);
  };
  const auto aside = [](const std::string& name) { return "/" + name; };
  const bool are_renamed = Transact([&] {
    bool is_done = true;
    for (const auto& [former, pair] : renamed) is_done = is_done && change(former, aside(former));
    for (const auto& [former, pair] : renamed)
      is_done = is_done && change(aside(former), pair.name);
    return is_done;
  });
  return are_renamed &&
         std::ranges::all_of(renamed, [&](const auto& one) { return KeepStamp(one.second); });
}

bool MirrorState::Forget(const std::string& name) {
  return Transact([&] {
    SideStatement row(database_,
                      "DELETE FROM pairs WHERE folder = ?1 AND store = ?2 AND name = ?3");
    SideStatement text(database_,
                       "DELETE FROM texts WHERE folder = ?1 AND store = ?2 AND name = ?3");
    return row.Bind(folder_).Bind(store_).Bind(name).Run() &&
           text.Bind(folder_).Bind(store_).Bind(name).Run();
  });
}

bool MirrorState::Begin(const MirrorIntent& intent) {
  return Transact([&] {
    SideStatement row(database_,
                      "INSERT OR REPLACE INTO intents VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    row.Bind(folder_).Bind(store_).Bind(intent.name).Bind(intent.id).Bind(int64_t{intent.counter});
    return row.Bind(intent.uid).Bind(intent.text).Run();
  });
}

bool MirrorState::Drop() {
  return Transact([&] {
    SideStatement row(database_, "DELETE FROM intents WHERE folder = ?1 AND store = ?2");
    return row.Bind(folder_).Bind(store_).Run();
  });
}

bool MirrorState::SetPosition(const MirrorPosition& position,
                              const std::set<std::string>& pending) {
  return Transact([&] {
    SideStatement former(database_, "DELETE FROM pending WHERE folder = ?1 AND store = ?2");
    SideStatement row(database_, "INSERT OR REPLACE INTO positions VALUES(?1, ?2, ?3, ?4)");
    row.Bind(folder_).Bind(store_).Bind(position.database_id).Bind(int64_t{position.counter});
    bool is_done = former.Bind(folder_).Bind(store_).Run() && row.Run();
    SideStatement again(database_, "INSERT OR IGNORE INTO pending VALUES(?1, ?2, ?3)");
    for (const std::string& id : pending) {
      is_done = is_done && again.Again().Bind(folder_).Bind(store_).Bind(id).Run();
    }
    return is_done;
  });
}

// ---- Another database id ------------------------------------------------------------------------------------

std::string TakeOverDatabaseId(const std::string& device_folder, int32_t store_id,
                               const std::string& former_id, const std::string& id) {
  std::error_code error;
  if (!std::filesystem::exists(device_folder + "/" + kFile, error)) return {};
  SideDatabase database(device_folder, kFile, client::kMirrorVersion, kSetUp,
                        SideDatabase::Access::kUse);
  if (!database.is_open()) return database.why_not();
  SideStatement row(database,
                    "UPDATE positions SET database_id = ?3 WHERE store = ?1 AND database_id = ?2");
  const bool is_done = row.Bind(int64_t{store_id}).Bind(former_id).Bind(id).Run();
  return is_done ? std::string() : database.why_not();
}

}  // namespace mirror
