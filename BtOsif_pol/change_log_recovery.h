// What a killed process left of a store's change log, and how the next opening puts it right.
//
// Files are replaced in steps, and a process can end between any two of them. What must never be is that a
// change is lost in silence: whatever a partner has not been told is found again by comparing, or there is a
// gap in the counters or a new database id. docs/synchronisation.md tells the same from outside.
//
//   what was going on          what is left                  what is done, and where
//   -------------------------  ----------------------------  ----------------------------------------------
//   an entry was appended      half a line at the end        dropped (DropHalfLine); what was answered
//                              of the log                    with success is a whole line
//   the log was open           the open marker, and entries  logged again with new counters; what only the
//                              that the snapshot does not    log still knows is logged as deleted
//                              know                          (pol_UpdatePoomChanges)
//   lines were cut off it, no  the cut lines, perhaps with   they count as if the log still began with them
//   snapshot is saved yet      half a line at their end      (KnownByLeftLog); the half line is dropped
//   the log was purged         the temporary file, and the   nothing: the log counts
//                              log
//   the purge exchanged files  a purging marker, no log, a   the temporary file becomes the log of the
//                              finished temporary file       marker's store (FinishPurge)
//   the snapshot was written   a new snapshot, finished or   nothing: the old one counts; at the worst a
//                              not, beside the old one       change is told twice
//   snapshots were exchanged   only the new one, finished    it takes its place (FinishSnapshot)
//   the database id was made   less than a whole one         removed: nobody was told it
//                                                            (DropOutdatedDatabaseId)
//   the system stopped while   counters that the log may     the database id is removed: entries that were
//   the log was open (a power  not have any more             told may be gone (ChangeLogFile::HasLostItsEnd)
//   cut), or the log is older
//   than what was handed out
//   the log was lost           a database id without a log   removed: with the log the counters of all
//                                                            anchors are gone (DropOutdatedDatabaseId)
//
// Nothing here tells a failure: what cannot be put right is found as it is by whoever opens the file next.
#pragma once

#include <cstdint>

#include "btosif/osif_util/change_log_entry.h"
#include "btosif/osif_util/charset.h"

// Puts the closed log of a store in order, before it is opened.
void RepairChangeLog(int32_t store_id, WideView folder);

// Removes a database id that tells a partner nothing: a half-written one, or one whose log is gone.
void DropOutdatedDatabaseId(int32_t store_id, WideView folder);

// Removes the database id, so that every partner begins anew. False when it is still there.
bool DropDatabaseId(int32_t store_id, WideView folder);

// Puts a finished new snapshot in its place when the old one is gone, before the snapshot is read.
void FinishSnapshot(int32_t store_id, WideView folder);

// The open marker stands beside the log of a PIM store from before its first new entry until the snapshot
// knows of all of them.
bool WasLeftOpen(int32_t store_id, WideView folder);
bool MarkOpen(int32_t store_id, WideView folder);  // false when the marker cannot be made
void MarkClosed(int32_t store_id, WideView folder);

// What a log that was left open knows: of what it names now (`logged`) and of what was cut off it, the newest
// kind of change of each object.
NewestKinds KnownByLeftLog(int32_t store_id, WideView folder, NewestKinds logged);
