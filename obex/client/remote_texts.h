// The texts by which a device that is synchronised tells of itself, its stores and their changes (IrMC 1.1), as another
// device wrote them: whatever they say, what is read of them is within bounds.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace obex {

// telecom/devinfo.txt
struct DeviceFacts {
  std::string maker;
  std::string model;
  std::string serial_number;  // empty where there is none that could be kept
};
DeviceFacts ReadDeviceInfo(std::string_view text);

// A store's info.log.
struct StoreFacts {
  bool has_luids = false;  // level 4: objects by their ids, with a log of changes
  std::string database_id;
  bool is_empty = true;  // it says that it has no objects, or does not say how many
};
StoreFacts ReadStoreInfo(std::string_view text);

// One line of a change log.
struct RemoteChange {
  char kind = 'M';  // 'M' added or modified, 'H' deleted, 'D' gone there and to be kept elsewhere
  uint32_t counter = 0;
  std::string luid;
};

struct RemoteChanges {
  std::string database_id;  // empty where the log does not say
  bool has_gap = false;     // entries are gone: everything is to be compared
  std::vector<RemoteChange> entries;
};
// Nothing for a text with a line that makes no sense: a change may be behind it.
std::optional<RemoteChanges> ReadChanges(std::string_view text);

// A change counter: decimal digits, 32 bits; blanks and a line end may stand after it.
std::optional<uint32_t> ReadCounter(std::string_view text);

// 1 to 255 digits and letters: it stands in names, in lines and after colons.
bool IsRemoteLuid(std::string_view text);

}  // namespace obex
