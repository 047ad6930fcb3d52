#include "client/records.h"

#include "client/store.h"
#include "client/texts.h"

namespace client {

std::string AnchorText(int32_t store_id, const OsifAnchor& anchor) {
  return NameOfStore(store_id) + " " + std::to_string(anchor.cc) + " " + anchor.ts;
}

std::string IdInStore(int32_t store_id, const char* id) {
  return NameOfStore(store_id) + " " + IdToOutput(id);
}

OsifResult ForEachId(int32_t store_id, const std::function<void(const char* id)>& visit) {
  // An object that cannot be read, or that another program has deleted meanwhile, leaves the id as it was.
  ObjectId id{};
  OsifResult result = OSIF_GetFirstId(store_id, id.data());
  OsifResult unread = OSIF_OK;
  while (result == OSIF_OK) {
    if (id[0] != '\0') {
      visit(id.data());
    } else {
      unread = OSIF_ERR_NOT_FOUND;
    }
    id[0] = '\0';
    result = OSIF_GetNextId(store_id, id.data());
  }
  result = Forgive(result, OSIF_ERR_END_OF_STORE);
  return result != OSIF_OK ? result : unread;
}

}  // namespace client
