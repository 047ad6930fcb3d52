// The names of the files that belong to a store's change log. docs/synchronisation.md describes the files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "btosif/osif_util/charset.h"

// The characters of a folder that count.
inline constexpr size_t kFolderLimit = 260;

// What a store has in the folder of its change log, each in a file of its own.
enum class LogFileKind {
  kChange,      // the log: one line for each change, oldest first
  kObject,      // the snapshot: the store's items as far as the log has told of them
  kDatabaseId,  // the id of this series of counters
  kOpen,        // an empty marker: the log may hold what the snapshot does not know
  kPurging,     // an empty marker: the temporary file is about to become this store's log
  kNewObject,   // a snapshot that is being written, or waits for its place
  kCounter,     // how far the counters may have been handed out
  kCut,         // lines that a purge has cut off and that no saved snapshot knows of
  kMark,        // up to which moment of the store the snapshot reaches
};

inline constexpr size_t kLogFileKinds = static_cast<size_t>(LogFileKind::kMark) + 1;

// The path of a store's file of one kind, such as "\Sync\pol_pb_change.log". Of the folder kFolderLimit
// characters count; a "\" is added where it does not end in one.
WideText LogFileName(int32_t store_id, WideView folder, LogFileKind kind);

// The path of the file in which a log is shortened: one for all stores of a folder.
WideText TempLogName(WideView folder);

// The paths of the files that hold a folder for one program, and the next turn at it, and of the one that says
// for which program.
WideText LogFolderInUseName(WideView folder);
WideText LogFolderTurnName(WideView folder);
WideText LogFolderUserName(WideView folder);
