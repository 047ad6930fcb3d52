// One store and one folder, made equal.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/listener.h"
#include "client/session.h"
#include "client/uid_table.h"
#include "mirror/file_object.h"
#include "mirror/folder.h"
#include "mirror/merge.h"
#include "mirror/state.h"
#include "obex/services/store_access.h"

namespace mirror {

struct MirrorSettings {
  Prefer prefer = Prefer::kNone;
  bool forces_deletions = false;
  bool only_looks = false;  // nothing is written on either side, nor noted
};

// What was done to an object.
enum class MirrorDone {
  kAdded,      // to the store
  kUpdated,    // in the store
  kDeleted,    // from the store
  kWritten,    // a new file
  kRewritten,  // a file
  kRemoved,    // a file
  kPaired,     // a file and an object were found to be one
};
inline constexpr size_t kMirrorDeeds = 7;

// An object, by what is known of it.
struct MirrorObject {
  std::string name;  // of its file; empty without one
  std::string id;    // in the store; empty without one
};

struct MirrorReport {
  std::string
      why_whole;  // why all objects of the store were compared; empty where its log told what had changed
  size_t done[kMirrorDeeds] = {};
  size_t pairs = 0;  // when the run had ended
  size_t conflicts = 0;
  size_t refused = 0;
  bool is_complete = false;  // whether the run came to its end
  std::string failure;       // why it did not

  size_t CountOf(MirrorDone deed) const { return done[static_cast<size_t>(deed)]; }
  bool HasDoneNothing() const;
};

// Is told what happens while it happens.
class MirrorObserver {
 public:
  virtual ~MirrorObserver() = default;
  virtual void OnDone(MirrorDone done, const MirrorObject& object) = 0;
  // Both sides have changed the same properties. `kept_as`: the file with the text that gave way; empty where nothing was
  // decided, and the two are left as they are.
  virtual void OnConflict(const MirrorObject& object, const std::vector<std::string>& properties,
                          const std::string& kept_as) = 0;
  // It could not be done, and both sides are left as they are.
  virtual void OnRefused(const MirrorObject& object, const std::string& why) = 0;
  // What of an object the other side cannot hold.
  virtual void OnStays(const MirrorObject& object, const std::string& what) = 0;
};

// What a run works with; all of it outlives the run.
struct MirrorTools {
  Folder& folder;
  client::Session& session;
  client::UidTable& uids;
  MirrorState& state;  // the folder and the store are selected
  client::Listener& listener;
  MirrorObserver& observer;
};

class MirrorRun {
 public:
  // Contacts or calendar.
  MirrorRun(int32_t store_id, const MirrorSettings& settings, const MirrorTools& tools);

  MirrorReport Run();

 private:
  enum class Side { kSame, kChanged, kGone };
  // A pair, and what has become of it.
  struct Known {
    MirrorPair pair;
    Side store = Side::kSame;
    Side file = Side::kSame;
    bool is_aside = false;  // its file cannot be read: it is left alone
  };
  struct NewFile {
    std::string name;
    FileStamp stamp;
    std::string uid;
  };
  bool Open();
  bool Look();
  bool IsWhole();
  bool LookAtStore();
  void LookAtObject(const std::string& id);
  bool LookAtWholeStore();
  bool ForgetOthers();
  void IndexPairs();
  bool LookAtFolder();
  bool LookAtKnown(Known& known, const FoundFile& file);
  void LookAtNew(const FoundFile& file, std::map<std::string, size_t>& missing);
  void SetAside(const std::string& name, const std::string& why);
  bool Recover(const MirrorIntent& intent);
  bool MayDelete();

  bool NoteEnd();
  bool CarryOut();
  bool Settle(Known& known);
  bool PairNew();
  bool PairByUid();
  bool PairByView();
  bool Pair(const NewFile& file, const std::string& id);

  Merged MergeUnknown(const std::string& stored, const std::string& file) const;
  bool Decide(const MirrorObject& object, const std::vector<std::string>& properties,
              const std::string& file, const std::string& stored);

  bool WriteNew(const std::string& id);
  bool StoreNew(const NewFile& file);
  bool StoreChange(Known& known);
  bool WriteChange(Known& known);
  bool WriteMerged(const Known& known, const FileStamp* expected);
  bool MergeBoth(Known& known);
  bool WriteAgain(Known& known);
  bool StoreAgain(Known& known);
  bool DeleteObject(Known& known);
  bool RemoveFile(Known& known);

  bool TakeMerged(MirrorPair pair, const FileStamp* expected, const std::string& file,
                  const Merged& merged, MirrorTexts texts, bool touches_store);
  bool Store(MirrorPair pair, const std::string& text, const FileObject& object);
  bool Keep(MirrorPair pair, MirrorTexts texts);
  bool ReadFile(const std::string& name, std::string& text, FileStamp& stamp);

  std::string StoreText(const std::string& id, const std::string& uid, std::string& why);
  std::string UidOf(const std::string& id);
  std::string OwnUidOf(const std::string& id) const;
  std::string ViewOf(const std::string& strict) const;
  std::string ViewWithoutOwn(const std::string& text) const;
  std::string StoredViewOf(const std::string& id);
  std::string OwnViewOf(const std::string& id);
  bool Refuse(const MirrorObject& object, const std::string& why);
  bool Count(MirrorDone done, const MirrorObject& object);
  bool Fail(const std::string& why);
  bool FailState() { return Fail(tools_.state.why_not()); }

  const int32_t store_id_;
  const MirrorSettings settings_;
  const MirrorTools tools_;
  obex::StoreAccess store_;  // as peers see it
  obex::StoreAccess texts_;  // in the folder's form
  MirrorReport report_;

  std::optional<MirrorPosition> former_position_;
  std::set<std::string> former_pending_;
  MirrorPosition position_;  // as it is noted at the end
  std::vector<Known> known_;
  std::map<std::string, size_t> by_id_;  // places in known_
  std::map<std::string, size_t> by_name_;
  std::vector<std::string> new_ids_;
  std::vector<NewFile> new_files_;
  std::vector<std::pair<std::string, MirrorPair>> renamed_;  // by their former names
  std::set<std::string> uids_in_folder_;
  std::set<std::string> pending_;  // for the next run
};

}  // namespace mirror
