// A folder of change logs is used by one program at a time: counters, the purge and what is put in order at
// opening all take for granted that nobody else is at work there.
//
// The folder is held by a file in it that is open without sharing. It is free again when it is let go of or its
// program ends, however that ends. Beside it stands which program it is, for whoever finds the folder in use.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "btosif/osif_util/charset.h"
#include "platform/api/files.h"

// The use of one folder. Within one program it is shared: the folder is held until the last use goes.
class LogFolderUse {
 public:
  enum class Result {
    kHeld,
    kInUse,        // by another program, for all of the time that was waited
    kNotPossible,  // no such folder, or nothing can be written there
  };

  // Waits up to this many milliseconds for another program to let go of the folder.
  Result Begin(WideView folder, uint32_t milliseconds);

  bool is_held() const { return hold_ != nullptr; }

 private:
  class Hold;

  std::shared_ptr<Hold> hold_;
};

// How long an opening waits for another program.
inline constexpr uint32_t kLogFolderPatience = 10'000;

// The process that used the folder last: the one that uses it, where one does. Nothing when none is known.
std::optional<uint32_t> LogFolderUser(WideView folder);
