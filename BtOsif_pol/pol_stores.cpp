#include "BtOsif_pol/pol_stores.h"

#include "BtOsif_pol/pol_id.h"
#include "btosif/osif_util/stores.h"

namespace {

constexpr StoreOperations kNoStore = {
    .is_in_pim = false,
    .is_id = pol_IsItemId,
    .count = pol_Always<OSIF_ERR_TYPE_NOT_SUPPORTED>,
    .add = pol_Always<OSIF_ERR_TYPE_NOT_SUPPORTED>,
    .modify = pol_Always<OSIF_ERR_TYPE_NOT_SUPPORTED>,
    .remove = pol_Always<OSIF_ERR_TYPE_NOT_SUPPORTED>,
    .get = pol_Always<OSIF_ERR_TYPE_NOT_SUPPORTED>,
    .find = [](OsifObject&, char*) { return false; },
    .first_id = pol_Always<OSIF_ERR_TYPE_NOT_SUPPORTED>,
    .next_id = pol_Always<OSIF_ERR_TYPE_NOT_SUPPORTED>,
    .flush = [] { return true; },
    .name = [](OsifObject&) { return WideText(); },
};

constexpr ByStoreKind<const StoreOperations*> kOperations = {
    &kContactStore, &kCalendarStore, &kNoteStore, &kMessageStore, &kNoStore};

}  // namespace

const StoreOperations& pol_OperationsOf(int32_t store_id) {
  return *RowOfStore(kOperations, store_id);
}

bool pol_IsInPim(int32_t store_id) { return pol_OperationsOf(store_id).is_in_pim; }

bool pol_IsIdOfStore(int32_t store_id, const char* id) {
  return id != nullptr && pol_OperationsOf(store_id).is_id(id);
}
