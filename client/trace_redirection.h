// Puts a receiver's address into the registry of the device for the time that the library needs to open.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace client {

// While it lives, the device's registry names `address` as the trace's receiver; then the former state is
// back. A process of its own does this, for two reasons: the former state also comes back when the command
// is killed; and the database is never opened twice in the process that has the library open (the system
// would drop the locks of the one when the other is closed). Commands on one device take turns.
//
// To be made before the process has other threads or holds the database open.
class TraceRedirection {
 public:
  explicit TraceRedirection(uint32_t address);
  ~TraceRedirection();
  TraceRedirection(const TraceRedirection&) = delete;
  TraceRedirection& operator=(const TraceRedirection&) = delete;

 private:
  pid_t helper_ = -1;
  int go_back_ = -1;  // the helper puts the former state back when this is closed
};

}  // namespace client
