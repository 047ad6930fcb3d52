#include "tools/osif/store.h"

#include "btosif/osif_util/stores.h"

namespace command {

std::string StoreName(int32_t store_id) {
  return IsStore(store_id) ? ::StoreName(store_id) : std::to_string(store_id);
}

}  // namespace command
