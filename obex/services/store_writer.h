// Changes of one store that come from a peer, with everything that goes with an object: its change is logged, its UID kept.
#pragma once

#include <string>

#include "client/uid_table.h"
#include "obex/packets/codes.h"
#include "obex/services/journal.h"
#include "obex/services/received_body.h"
#include "obex/services/store_access.h"
#include "osif.h"

namespace obex {

// What came of a change.
struct Change {
  Code code = Code::kInternalError;
  std::string id = {};  // that the object has now
};

// Each change tells the journal what was done, or why not. All that it is given outlives it.
class StoreWriter {
 public:
  StoreWriter(StoreAccess& store, client::UidTable& uids, Journal& journal)
      : store_(store), uids_(uids), journal_(journal) {}

  Change Add(const ReceivedBody& body);
  // After it the store holds the object as it was sent; it may have another id then.
  Change Replace(const std::string& id, const ReceivedBody& body);
  Change Remove(const std::string& id);
  // Tells the journal why something was not done: in the words given, else in the library's.
  Change Refuse(const std::string& id, OsifResult result, const std::string& why);

 private:
  StoreAccess& store_;
  client::UidTable& uids_;
  Journal& journal_;
};

// Whether a text holds whatever another one says: what a change has begun and not ended leaves such an object.
bool HoldsAllOf(const std::string& stored, const std::string& sent);

}  // namespace obex
