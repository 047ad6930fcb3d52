// Every row bears its partner and its store, so that
// several programs may work on different stores. What belongs together is one transaction: a pair and the end of its intent,
// a new beginning and the rows that are forgotten.
#include "obex/client/sync_state.h"

#include <array>
#include <filesystem>
#include <system_error>
#include <utility>

#include "client/device_files.h"

namespace obex {
namespace {

constexpr const char* kFile = "sync.db";

constexpr const char* kSetUp =
    "PRAGMA journal_mode=WAL; BEGIN IMMEDIATE;"
    "CREATE TABLE IF NOT EXISTS partners(partner TEXT, store TEXT, database_here TEXT NOT NULL,"
    " database_there TEXT NOT NULL, counter_here TEXT, counter_there TEXT,"
    " PRIMARY KEY(partner, store)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS pairs(partner TEXT, store TEXT, id TEXT, luid TEXT NOT NULL,"
    " hash_here TEXT NOT NULL, hash_there TEXT NOT NULL, name TEXT NOT NULL, in_conflict TEXT NOT "
    "NULL,"
    " PRIMARY KEY(partner, store, id)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX IF NOT EXISTS pairs_by_luid ON pairs(partner, store, luid);"
    "CREATE TABLE IF NOT EXISTS pending(partner TEXT, store TEXT, side TEXT, key TEXT,"
    " PRIMARY KEY(partner, store, side, key)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS intents(partner TEXT, store TEXT, target TEXT NOT NULL,"
    " id TEXT NOT NULL, luid TEXT NOT NULL, hash TEXT NOT NULL, view TEXT NOT NULL,"
    " name TEXT NOT NULL, text TEXT NOT NULL, PRIMARY KEY(partner, store)) WITHOUT ROWID;"
    "PRAGMA user_version=1; COMMIT;";

constexpr std::string_view kHere = "here";
constexpr std::string_view kThere = "there";

std::string NameOfSide(SyncSide side) {
  return std::string(side == SyncSide::kHere ? kHere : kThere);
}
SyncSide SideOf(const std::string& name) {
  return name == kHere ? SyncSide::kHere : SyncSide::kThere;
}

// A counter as a text; empty where there is none.
std::string CounterText(const std::optional<uint32_t>& counter) {
  return counter ? std::to_string(*counter) : std::string();
}

}  // namespace

// A statement whose first two values are the partner and the store.
class SyncState::Statement : public client::SideStatement {
 public:
  Statement(SyncState& state, const char* sql, const std::vector<std::string>& values = {})
      : SideStatement(state.database_, sql) {
    Bind(state.partner_).Bind(state.store_);
    for (const std::string& value : values) Bind(value);
  }

  std::optional<uint32_t> Counter(int column) const {
    if (Text(column).empty()) return std::nullopt;
    return static_cast<uint32_t>(Integer(column));
  }
};

SyncState::SyncState(const std::string& folder, bool only_looks)
    : database_(
          folder, kFile, client::kSyncVersion, kSetUp,
          only_looks ? client::SideDatabase::Access::kLook : client::SideDatabase::Access::kUse) {}

void SyncState::Select(const std::string& partner, int32_t store_id) {
  partner_ = partner;
  store_ = std::to_string(store_id);
}

// ---- Reading ------------------------------------------------------------------------------------------------

std::optional<SyncAnchors> SyncState::Anchors() {
  Statement row(*this,
                "SELECT database_here, database_there, counter_here, counter_there FROM partners"
                " WHERE partner = ?1 AND store = ?2");
  if (row.Step()) return SyncAnchors{row.Text(0), row.Text(1), row.Counter(2), row.Counter(3)};
  return std::nullopt;
}

std::vector<SyncPair> SyncState::Pairs() {
  Statement row(*this,
                "SELECT id, luid, hash_here, hash_there, name, in_conflict FROM pairs"
                " WHERE partner = ?1 AND store = ?2 ORDER BY id");
  std::vector<SyncPair> pairs;
  while (row.Step()) {
    pairs.push_back(
        {row.Text(0), row.Text(1), row.Text(2), row.Text(3), row.Text(4), !row.Text(5).empty()});
  }
  return pairs;
}

std::vector<SyncPending> SyncState::Pending() {
  Statement row(*this, "SELECT side, key FROM pending WHERE partner = ?1 AND store = ?2");
  std::vector<SyncPending> pending;
  while (row.Step()) pending.push_back({SideOf(row.Text(0)), row.Text(1)});
  return pending;
}

std::optional<SyncIntent> SyncState::Intent() {
  Statement row(*this,
                "SELECT target, id, luid, hash, view, name, text FROM intents"
                " WHERE partner = ?1 AND store = ?2");
  if (row.Step()) {
    return SyncIntent{SideOf(row.Text(0)), row.Text(1), row.Text(2), row.Text(3),
                      row.Text(4),         row.Text(5), row.Text(6)};
  }
  return std::nullopt;
}

// ---- Writing ------------------------------------------------------------------------------------------------

namespace {

constexpr const char* kPutAnchors =
    "INSERT OR REPLACE INTO partners VALUES(?1, ?2, ?3, ?4, ?5, ?6)";
constexpr const char* kDropIntent = "DELETE FROM intents WHERE partner = ?1 AND store = ?2";
constexpr const char* kDropPairs =
    "DELETE FROM pairs WHERE partner = ?1 AND store = ?2 AND (id = ?3 OR luid = ?4)";
constexpr const char* kDropPending = "DELETE FROM pending WHERE partner = ?1 AND store = ?2";

std::vector<std::string> AnchorValues(const SyncAnchors& anchors) {
  return {anchors.database_here, anchors.database_there, CounterText(anchors.counter_here),
          CounterText(anchors.counter_there)};
}

}  // namespace

bool SyncState::Transact(
    const std::vector<std::pair<const char*, std::vector<std::string>>>& steps) {
  if (!database_.may_write()) return true;
  client::SideTransaction transaction(database_);
  if (!transaction.is_open()) return false;
  for (const auto& [sql, values] : steps) {
    if (!Statement(*this, sql, values).Run()) return false;
  }
  return transaction.Commit();
}

bool SyncState::Restart(const SyncAnchors& anchors) {
  return Transact({{"DELETE FROM pairs WHERE partner = ?1 AND store = ?2", {}},
                   {kDropPending, {}},
                   {kDropIntent, {}},
                   {kPutAnchors, AnchorValues(anchors)}});
}

bool SyncState::SetAnchors(const SyncAnchors& anchors) {
  return Transact({{kDropIntent, {}}, {kPutAnchors, AnchorValues(anchors)}});
}

bool SyncState::Begin(const SyncIntent& intent) {
  return Transact({{"INSERT OR REPLACE INTO intents VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9)",
                    {NameOfSide(intent.target), intent.id, intent.luid, intent.source_hash,
                     intent.source_view, intent.source_name, intent.source_text}}});
}

bool SyncState::Keep(const SyncPair& pair) {
  return Transact({{kDropPairs, {pair.id, pair.luid}},
                   {"INSERT INTO pairs VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)",
                    {pair.id, pair.luid, pair.hash_here, pair.hash_there, pair.name,
                     pair.in_conflict ? "1" : ""}},
                   {kDropIntent, {}}});
}

bool SyncState::Forget(const std::string& id, const std::string& luid) {
  return Transact({{kDropPairs, {id, luid}}, {kDropIntent, {}}});
}

bool SyncState::Drop() { return Transact({{kDropIntent, {}}}); }

bool SyncState::SetPending(const std::vector<SyncPending>& pending) {
  std::vector<std::pair<const char*, std::vector<std::string>>> steps = {{kDropPending, {}}};
  for (const SyncPending& one : pending) {
    steps.push_back(
        {"INSERT OR IGNORE INTO pending VALUES(?1, ?2, ?3, ?4)", {NameOfSide(one.side), one.key}});
  }
  return Transact(steps);
}

// ---- Another database id ------------------------------------------------------------------------------------

std::string TakeOverDatabaseId(const std::string& device_folder, int32_t store_id,
                               const std::string& former_id, const std::string& id) {
  std::error_code error;
  if (!std::filesystem::exists(device_folder + "/" + kFile, error)) return {};
  client::SideDatabase database(device_folder, kFile, client::kSyncVersion, kSetUp,
                                client::SideDatabase::Access::kUse);
  if (!database.is_open()) return database.why_not();
  client::SideStatement row(
      database, "UPDATE partners SET database_here = ?3 WHERE store = ?1 AND database_here = ?2");
  const bool is_done = row.Bind(std::to_string(store_id)).Bind(former_id).Bind(id).Run();
  return is_done ? std::string() : database.why_not();
}

}  // namespace obex
