// Finds what other programs have changed in a PIM store, by comparing it with the snapshot that was saved
// when its change log was last closed.
#pragma once

#include <cstdint>
#include <optional>

#include "BtOsif_pol/pol_known_store.h"
#include "btosif/osif_util/change_log_file.h"
#include "osif.h"

// Appends to the log an entry for each item that is new, changed or gone, with counters that go on from its
// newest one and all with one time stamp: first what is there, then what is gone. Where the store tells what was
// written since the snapshot was saved, only that is looked at; what is logged is the same.
//
// `left_open`: what a log that a process left open names; nothing for one that was closed. An object that was logged
// and is in neither snapshot was deleted after that; it is logged as deleted.
//
// `known` becomes the store as far as the log tells of it, but only with OSIF_OK. The snapshot is not saved.
// OSIF_ERR_PIM_NOT_OPENED without a session, OSIF_ERR_PIM when the store cannot be read; nothing is then
// logged.
OsifResult pol_UpdatePoomChanges(int32_t store_id, ChangeLogFile& log,
                                 const std::optional<NewestKinds>& left_open, KnownStore& known);
