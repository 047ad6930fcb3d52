// What was agreed with each partner, kept beside the stores: up to where their changes are known, and which objects are one.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/side_database.h"
#include "obex/client/sync_plan.h"

namespace obex {

// Up to where the changes of both sides are known. A counter is missing until a first synchronisation has ended.
struct SyncAnchors {
  std::string database_here;
  std::string database_there;
  std::optional<uint32_t> counter_here = {};
  std::optional<uint32_t> counter_there = {};
};

// An object to look at again, though no log tells of it any more.
struct SyncPending {
  SyncSide side;
  std::string key;
};

// A store's change log here goes on under another database id; what was agreed with its counters holds as before. Empty, or
// why not. Without a sync.db in the folder there is nothing to do.
std::string TakeOverDatabaseId(const std::string& device_folder, int32_t store_id,
                               const std::string& former_id, const std::string& id);

// The rows of one partner and one store. Each change is on the disk, whole, when its function returns.
class SyncState {
 public:
  // Opens the file of a device's folder (sync.db), or makes it; with `only_looks` nothing is made nor changed. Where that
  // fails why_not() says why, and the rest must not be used.
  SyncState(const std::string& folder, bool only_looks);

  const std::string& why_not() const { return database_.why_not(); }

  // Whose rows the functions mean from now on.
  void Select(const std::string& partner, int32_t store_id);

  std::optional<SyncAnchors> Anchors();
  std::vector<SyncPair> Pairs();
  std::vector<SyncPending> Pending();
  std::optional<SyncIntent> Intent();

  // Forgets all of this partner and store, and begins anew with these.
  bool Restart(const SyncAnchors& anchors);
  bool SetAnchors(const SyncAnchors& anchors);

  // Before an object is written; there is one intent at a time.
  bool Begin(const SyncIntent& intent);
  // After it: the pair takes the place of those that either of the two was in. The intent has come true.
  bool Keep(const SyncPair& pair);
  // No pair of it any more; either may be empty.
  bool Forget(const std::string& id, const std::string& luid);
  // Neither: it was refused.
  bool Drop();

  bool SetPending(const std::vector<SyncPending>& pending);

 private:
  class Statement;

  bool Transact(const std::vector<std::pair<const char*, std::vector<std::string>>>& steps);

  client::SideDatabase database_;
  std::string partner_;
  std::string store_;
};

}  // namespace obex
