// What a PIM store tells of its changes itself, where it can. A handheld's own store cannot: it is compared item by
// item then.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/api/com_ptr.h"
#include "platform/api/pim_changes.h"

// An item that was written to. The folder (an OlDefaultFolders) is 0 when it is gone; the stamp changes with each
// write that changes the item.
struct TouchedItem {
  uint32_t oid;
  int folder;
  int64_t stamp;
};

// By folder and id, each once.
using TouchedItems = std::vector<TouchedItem>;

// Asks the store of an application.
class StoreTracker {
 public:
  explicit StoreTracker(IPOutlookApp& application);

  // The mark of this moment. Empty when the store keeps no track, or cannot say.
  std::string Mark() const;

  // Puts what was written on the disk. False when that fails; a store that knows no such call looks after it
  // itself.
  bool Flush() const;

  // What was written after one mark and not after another. Nothing when the store does not know one of them.
  std::optional<TouchedItems> Touched(const std::string& since, const std::string& until) const;

 private:
  ComPtr<IStoreChanges> changes_;
};

// The stamp of an item as it was saved; nothing when its store keeps no track.
std::optional<int64_t> pol_StampOf(IDispatch& item);
