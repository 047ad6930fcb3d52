#include "client/store.h"

#include "btosif/osif_util/stores.h"

namespace client {

std::string NameOfStore(int32_t store_id) {
  return IsStore(store_id) ? ::StoreName(store_id) : std::to_string(store_id);
}

}  // namespace client
