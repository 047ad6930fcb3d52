// Which adapter serves a store.
#pragma once

#include "BtOsif_pol/pol_session.h"
#include "osif.h"

enum class StoreKind { kContacts, kCalendar, kNotes, kMessages, kUnknown };

inline StoreKind pol_KindOf(int32_t store_id) {
  switch (store_id) {
    case OSIF_STORE_PB:
      return StoreKind::kContacts;
    case OSIF_STORE_CAL:
      return StoreKind::kCalendar;
    case OSIF_STORE_NOTE:
      return StoreKind::kNotes;
    case OSIF_STORE_MSG_IN:
    case OSIF_STORE_MSG_SENT:
    case OSIF_STORE_MSG_OUT:
      return StoreKind::kMessages;
    default:
      return StoreKind::kUnknown;
  }
}

// OSIF_OK, or OSIF_ERR_PIM_NOT_OPENED for a store of the PIM while there is no session.
inline OsifResult pol_CheckSession(int32_t store_id) {
  const StoreKind kind = pol_KindOf(store_id);
  const bool is_in_pim = kind == StoreKind::kContacts || kind == StoreKind::kCalendar;
  if (is_in_pim && pol_Application() == nullptr) return OSIF_ERR_PIM_NOT_OPENED;
  return OSIF_OK;
}
