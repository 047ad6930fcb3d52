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

// True for the stores whose objects are items of the PIM.
inline bool pol_IsInPim(int32_t store_id) {
  const StoreKind kind = pol_KindOf(store_id);
  return kind == StoreKind::kContacts || kind == StoreKind::kCalendar;
}

// OSIF_OK, or OSIF_ERR_PIM_NOT_OPENED for a store of the PIM while there is no session.
inline OsifResult pol_CheckSession(int32_t store_id) {
  const bool needs_session = pol_IsInPim(store_id) && pol_Application() == nullptr;
  return needs_session ? OSIF_ERR_PIM_NOT_OPENED : OSIF_OK;
}
