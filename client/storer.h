// Storing what was received: each object is looked for, then updated where the store knows it, else added.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "client/listener.h"
#include "client/records.h"
#include "client/session.h"
#include "osif.h"

namespace client {

enum class StoreAction { kAdded, kUpdated, kRefused, kSkipped };

// "added", "updated", "refused", "skipped".
const char* ActionName(StoreAction action);

// What became of an object.
struct StoreOutcome {
  StoreAction action = StoreAction::kRefused;
  ObjectId id{};  // of what was added or updated
  const OsifAnchor* anchor =
      nullptr;                  // of the change, until the next one; null without a change log
  OsifResult result = OSIF_OK;  // the library's, where it refused
  std::string kept_apart_from;  // the id that it was found by, where it was added all the same
};

// What to do with an object that the store knows by its name.
enum class Known { kUpdate, kAdd, kSkip };

struct StorePolicy {
  // The library's own way: what it finds is updated, whatever else differs. Without it objects that share no more
  // than their names are kept apart: one of this file that was stored as another, and a contact none of whose numbers
  // and addresses is one of the stored contact's.
  bool is_strict = false;
  bool always_adds = false;
  // Asked before an update, when it is there.
  std::function<Known(int32_t store_id, const char* id, OsifObject& object)> review = nullptr;
};

// Stores the objects of one file.
class Storer {
 public:
  Storer(Session& session, Listener& listener, StorePolicy policy)
      : session_(session), listener_(listener), policy_(std::move(policy)) {}

  // The caller tells of what was refused. The object stays the caller's.
  StoreOutcome Store(int32_t store_id, OsifObject& object);

 private:
  Known Decide(int32_t store_id, const ObjectId& id, OsifObject& object);

  Session& session_;
  Listener& listener_;
  StorePolicy policy_;
  std::set<std::pair<int32_t, std::string>> stored_;  // by this file
};

}  // namespace client
