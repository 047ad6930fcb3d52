// One store of the device and the same store of a partner, made equal.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "client/listener.h"
#include "client/session.h"
#include "client/uid_table.h"
#include "obex/client/peer.h"
#include "obex/client/remote_store.h"
#include "obex/client/sync_plan.h"
#include "obex/client/sync_state.h"
#include "obex/services/journal.h"
#include "obex/services/store_access.h"
#include "obex/services/store_writer.h"

namespace obex {

struct SyncSettings {
  SyncPreference preference = SyncPreference::kNone;
  bool compares_whole = false;
  bool forces_deletions = false;
  bool only_looks = false;  // nothing is written on either side, nor noted
};

// What was compared.
enum class SyncKind { kFirst, kChanges, kWhole };

// An object, by what is known of it.
struct SyncObject {
  std::string id;    // here; empty where it is not here
  std::string luid;  // the same for there
  std::string name;
};

struct SyncRefusal {
  SyncSide side;  // that refused it
  SyncObject object;
  std::string why;  // in words
};

struct SyncReport {
  bool is_offered = true;  // by the partner
  SyncKind kind = SyncKind::kChanges;
  std::string why_whole;  // for kWhole
  size_t received = 0;
  size_t sent = 0;
  size_t deleted_here = 0;
  size_t deleted_there = 0;
  size_t paired = 0;  // found to be one
  size_t equal = 0;   // these, and those that were known and are as they were
  std::vector<SyncObject> conflicts;
  std::vector<SyncRefusal> refused;
  bool is_complete = false;  // whether the run came to its end
  std::string failure;       // why it did not
  bool is_lost = false;      // the connection
};

enum class SyncDone { kReceived, kSent, kDeletedHere, kDeletedThere, kPaired };

// Is told what happens while it happens.
class SyncObserver {
 public:
  virtual ~SyncObserver() = default;
  virtual void OnDone(SyncDone done, const SyncObject& object) = 0;
  // Both sides have changed it, and this text gave way.
  virtual void OnOverruled(SyncSide side, const SyncObject& object, const std::string& text) = 0;
  virtual void OnConflict(const SyncObject& object) = 0;
  virtual void OnRefused(const SyncRefusal& refusal) = 0;
};

// What a run works with; all of it outlives the run.
struct SyncTools {
  Peer& peer;
  client::Session& session;
  client::UidTable& uids;
  SyncState& state;  // the partner and the store are selected
  client::Listener& listener;
  SyncObserver& observer;
};

// Why a run ends when the partner's counter is not the expected one.
inline constexpr const char* kChangedByOthers =
    "the partner's store was changed by others meanwhile";

// Whether a partner is the device that this program works on.
bool IsThisDevice(const DeviceFacts& partner);

class SyncRun {
 public:
  // Contacts or calendar.
  SyncRun(int32_t store_id, const SyncSettings& settings, const SyncTools& tools);

  SyncReport Run();

 private:
  bool OpenHere();
  bool OpenThere();
  bool Look();
  void DecideKind(const std::optional<SyncAnchors>& anchors, const std::string& database_there);
  bool LookHere();
  bool LookThere();
  bool LookAtWholeThere();
  bool LookAtChangesThere(const std::vector<RemoteChange>& entries);
  bool LookAtHere(const std::string& id);
  bool LookAtThere(const std::string& luid);
  void Take(SyncSide side, const std::string& key, const std::string& text);
  void KeepText(const std::string& luid, std::string text);
  bool SettleCounter();
  void PutAside();
  void Recover();
  bool MayDelete(const std::vector<SyncAction>& plan);

  bool CarryOut(const std::vector<SyncAction>& plan);
  bool FinishRecovery();
  bool Do(const SyncAction& action);
  bool Pair(const SyncAction& action);
  bool Receive(const SyncAction& action);
  bool Store(SyncObject object, const std::string& text);
  bool Send(const SyncAction& action);
  bool NoteSent(SyncObject object, const std::string& hash, const RemoteWritten& written);
  bool IsOfAnother(const SyncObject& object);
  bool DeleteHere(const SyncAction& action);
  bool DeleteThere(const SyncAction& action);
  bool Conflict(const SyncAction& action);
  void TellOverruled(const SyncAction& action);
  bool NoteEnd();

  void IndexPairs();
  const SyncPair* PairOf(SyncSide side, const std::string& key) const;
  SyncObject ObjectOf(const SyncAction& action) const;
  std::string TextHere(const std::string& id, std::string& why);
  bool TextThere(const std::string& luid, std::string& text, RemoteAnswer& answer);
  bool TakeCounter(const RemoteWritten& written, uint32_t most);
  void Count(SyncDone done, const SyncObject& object);
  void Refuse(SyncSide side, const SyncObject& object, const std::string& why);
  bool Fail(const std::string& why);
  bool FailAs(const RemoteAnswer& answer);
  bool FailState() { return Fail(tools_.state.why_not()); }

  const int32_t store_id_;
  const SyncSettings settings_;
  const SyncTools tools_;
  StoreAccess here_;
  RemoteStore there_;
  SyncReport report_;

  SyncKnown known_;
  std::map<std::string, size_t> pairs_by_id_;  // places in known_.pairs
  std::map<std::string, size_t> pairs_by_luid_;
  SyncAnchors anchors_;         // as they are noted at the end
  bool is_empty_there_ = true;  // as its store information says
  uint32_t seen_there_ = 0;     // the counter up to which changes there are known
  RemoteChanges changes_there_;
  std::vector<ChangeLogEntry> changes_here_;
  std::vector<SyncPending> pending_;      // from before
  std::vector<SyncPending> new_pending_;  // for the next run
  std::set<std::string> aside_here_;      // what cannot be read
  std::set<std::string> aside_there_;
  std::map<std::string, std::string>
      texts_there_;  // of objects that were read, as long as there is room
  size_t texts_size_ = 0;
  std::set<std::string> given_there_;  // LUIDs, to what was sent
  std::optional<SyncIntent> intent_;
  std::optional<SyncPair> recovered_;
  std::optional<SyncAction> left_;  // to be deleted before it is noted
};

}  // namespace obex
