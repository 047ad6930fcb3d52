// A database of its own, so that the device's stays the library's alone. Every row bears its partner and its store, so that
// several programs may work on different stores. What belongs together is one transaction: a pair and the end of its intent,
// a new beginning and the rows that are forgotten.
#include "obex/client/sync_state.h"

#include <sqlite3.h>

#include <array>
#include <filesystem>
#include <utility>

namespace obex {
namespace {

// Another program that uses the file is waited for, in milliseconds.
constexpr int kFilePatience = 10'000;
constexpr int kFileVersion = 1;

constexpr const char* kSetUp =
    "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; BEGIN IMMEDIATE;"
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

void SyncState::Close::operator()(sqlite3* database) const { sqlite3_close(database); }

// The first two values are always the partner and the store.
class SyncState::Statement {
 public:
  Statement(SyncState& state, const char* sql, const std::vector<std::string>& values = {}) {
    result_ = sqlite3_prepare_v2(state.database_.get(), sql, -1, &statement_, nullptr);
    Bind(1, state.partner_);
    Bind(2, state.store_);
    int place = 3;
    for (const std::string& value : values) Bind(place++, value);
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // False after the last row, and where it failed.
  bool Step() {
    if (result_ != SQLITE_OK && result_ != SQLITE_ROW) return false;
    result_ = sqlite3_step(statement_);
    return result_ == SQLITE_ROW;
  }
  bool has_failed() const {
    return result_ != SQLITE_OK && result_ != SQLITE_ROW && result_ != SQLITE_DONE;
  }

  std::string Text(int column) const {
    const auto* text = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    const auto size = static_cast<size_t>(sqlite3_column_bytes(statement_, column));
    return text == nullptr ? std::string() : std::string(text, size);
  }
  std::optional<uint32_t> Counter(int column) const {
    if (Text(column).empty()) return std::nullopt;
    return static_cast<uint32_t>(sqlite3_column_int64(statement_, column));
  }

 private:
  void Bind(int place, const std::string& value) {
    if (statement_ == nullptr || sqlite3_bind_parameter_count(statement_) < place) return;
    sqlite3_bind_text(statement_, place, value.data(), static_cast<int>(value.size()),
                      SQLITE_TRANSIENT);
  }

  sqlite3_stmt* statement_ = nullptr;
  int result_ = SQLITE_OK;
};

SyncState::SyncState(const std::string& folder, bool only_looks) : only_looks_(only_looks) {
  const std::string name = folder + "/sync.db";
  std::error_code ignored;
  const bool is_there = std::filesystem::exists(name, ignored);
  sqlite3* database = nullptr;
  int result = sqlite3_open(only_looks && !is_there ? ":memory:" : name.c_str(), &database);
  database_.reset(database);
  if (result == SQLITE_OK) {
    sqlite3_busy_timeout(database, kFilePatience);
    Statement version(*this, "PRAGMA user_version");
    if (version.Step() && version.Counter(0).value_or(0) > kFileVersion) {
      why_not_ = name + ": a newer version has made it";
      return;
    }
    result = version.has_failed() ? SQLITE_ERROR : SQLITE_OK;
  }
  const bool sets_up = !only_looks || !is_there;
  if (result == SQLITE_OK && sets_up) {
    result = sqlite3_exec(database, kSetUp, nullptr, nullptr, nullptr);
  }
  if (result == SQLITE_OK) return;
  why_not_ = name + ": " + (database == nullptr ? "no memory" : sqlite3_errmsg(database));
}

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
  if (row.has_failed()) Fail();
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
  if (row.has_failed()) Fail();
  return pairs;
}

std::vector<SyncPending> SyncState::Pending() {
  Statement row(*this, "SELECT side, key FROM pending WHERE partner = ?1 AND store = ?2");
  std::vector<SyncPending> pending;
  while (row.Step()) pending.push_back({SideOf(row.Text(0)), row.Text(1)});
  if (row.has_failed()) Fail();
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
  if (row.has_failed()) Fail();
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

bool SyncState::Fail() {
  why_not_ = std::string("sync.db: ") + sqlite3_errmsg(database_.get());
  return false;
}

bool SyncState::Run(const char* sql, const std::vector<std::string>& values) {
  Statement statement(*this, sql, values);
  statement.Step();
  return !statement.has_failed() || Fail();
}

bool SyncState::Transact(
    const std::vector<std::pair<const char*, std::vector<std::string>>>& steps) {
  if (only_looks_) return true;
  if (!Run("BEGIN IMMEDIATE")) return false;
  for (const auto& [sql, values] : steps) {
    if (Run(sql, values)) continue;
    sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    return false;
  }
  return Run("COMMIT");
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

}  // namespace obex
