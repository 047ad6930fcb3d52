#include "tools/osif/records.h"

#include "tools/osif/store.h"
#include "tools/osif/texts.h"

namespace command {

const char* ParseResultName(OsifResult result) {
  return result == OSIF_PARSE_OK ? "ok" : "warning";
}

Json AnchorJson(const OsifAnchor* anchor) {
  if (anchor == nullptr) return nullptr;
  return {{"cc", anchor->cc}, {"ts", anchor->ts}};
}

std::string IdInStore(int32_t store_id, const char* id) {
  return StoreName(store_id) + " " + IdToOutput(id);
}

OsifResult ForEachId(int32_t store_id, const std::function<void(const char* id)>& visit) {
  ObjectId id{};
  OsifResult result = OSIF_GetFirstId(store_id, id.data());
  for (; result == OSIF_OK; result = OSIF_GetNextId(store_id, id.data())) visit(id.data());
  return Forgive(result, OSIF_ERR_END_OF_STORE);
}

}  // namespace command
