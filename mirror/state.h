// What was agreed between a store and a folder, kept beside the stores: which file is which object, and what both said.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "client/side_database.h"
#include "mirror/folder.h"

namespace mirror {

// Up to where the store's changes are known.
struct MirrorPosition {
  std::string database_id;
  uint32_t counter = 0;

  bool operator==(const MirrorPosition&) const = default;
};

// A file and its object. What both said when they last agreed is long, and read only where it is needed.
struct MirrorPair {
  std::string name;  // of the file
  std::string uid;
  std::string id;         // in the store; empty for what the store cannot hold
  std::string file_key;   // ContentKey of what the file said
  std::string store_key;  // and of what the store said; empty without an id
  FileStamp stamp;
  int64_t noted = 0;  // when the stamp was taken: seconds since 1970, UTC
};

struct MirrorTexts {
  std::string base;    // the file
  std::string stored;  // the object, in the folder's form
};

// A change of the store that is being made: a file's text, on its way into the store.
struct MirrorIntent {
  std::string name;
  std::string id;        // of the object that is changed; empty for a new one
  uint32_t counter = 0;  // the store's change counter before
  std::string uid;
  std::string text;
};

// A store's change log goes on under another database id; what was agreed with its counters holds as before. Empty, or
// why not. Without a mirror.db in the folder there is nothing to do.
std::string TakeOverDatabaseId(const std::string& device_folder, int32_t store_id,
                               const std::string& former_id, const std::string& id);

// The rows of one folder and one store. Each change is on the disk, whole, when its function returns; each gives false,
// with the reason in why_not(), where it failed.
class MirrorState {
 public:
  // Opens the file of a device's folder (mirror.db), or makes it; with `only_looks` nothing is made nor changed, and
  // every change succeeds. Where that fails why_not() says why, and the rest must not be used.
  MirrorState(const std::string& device_folder, bool only_looks);

  const std::string& why_not() const { return database_.why_not(); }
  bool is_open() const { return database_.is_open(); }

  // Whose rows the functions mean from now on. `folder`: its whole path.
  void Select(const std::string& folder, int32_t store_id);

  // False only where the reading failed.
  bool Read(std::optional<MirrorPosition>& position, std::vector<MirrorPair>& pairs,
            std::set<std::string>& pending, std::optional<MirrorIntent>& intent);
  bool ReadTexts(const std::string& name, MirrorTexts& texts);

  // The pair takes the place of those that its name or its id was in. An intent of the name has come true.
  bool Keep(const MirrorPair& pair, const MirrorTexts& texts);
  // The same pair with the stamp that its file has now.
  bool KeepStamp(const MirrorPair& pair);
  // Pairs whose files have other names now, by their former names; names may have gone over to each other.
  bool Rename(const std::vector<std::pair<std::string, MirrorPair>>& renamed);
  bool Forget(const std::string& name);

  // Before the store is changed; there is one intent at a time.
  bool Begin(const MirrorIntent& intent);
  bool Drop();

  // The end of a run: the position, and ids of the store to look at again whatever its log says.
  bool SetPosition(const MirrorPosition& position, const std::set<std::string>& pending);

 private:
  bool Transact(auto&& steps);

  client::SideDatabase database_;
  std::string folder_;
  int64_t store_ = 0;
};

}  // namespace mirror
