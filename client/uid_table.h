// The UIDs that objects came with, kept beside the stores: these have no place for them, and an object that goes out
// again has to be the same object to whoever sent it.
#pragma once

#include <cstdint>
#include <string>

#include "client/side_database.h"

namespace client {

class UidTable {
 public:
  // Opens the table of a device's folder (uids.db), or makes it. Where that fails why_not() says why, nothing is kept,
  // and nothing is found.
  explicit UidTable(const std::string& folder);

  const std::string& why_not() const { return database_.why_not(); }

  // The UID that an object of a store came with; empty when none is known. All texts are UTF-8.
  std::string Find(int32_t store_id, const std::string& id);
  // Keeps it, or forgets it where it is empty. False when that failed; why_not() says why then.
  bool Keep(int32_t store_id, const std::string& id, const std::string& uid);

 private:
  SideDatabase database_;
};

}  // namespace client
