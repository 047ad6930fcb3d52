// Being asked to stop: by the keyboard, by another program, by a terminal or a reader that is gone. A long work
// then ends at its next object, says how far it came, and leaves nothing half done.
#pragma once

#include <array>
#include <csignal>

namespace client {

// While it lives, SIGINT, SIGTERM, SIGHUP and SIGPIPE are noted instead of ending the process. A signal that was
// ignored stays ignored. The second one of a kind ends the process at once, save SIGPIPE, which every line of
// output would send again.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  static constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

  std::array<struct sigaction, kSignals.size()> former_{};
};

// Whether a signal was noted.
bool WasInterrupted();

// Readable once a signal was noted, for those who wait for other things as well; -1 before the first InterruptWatch.
// Not to be read or closed.
int InterruptDescriptor();

// Waits so many milliseconds, or until a signal is noted.
void PauseUnlessInterrupted(int milliseconds);

// Ends the process as the noted signal would have, so that whoever started it sees why; returns when there
// was none.
void EndAsInterrupted();

}  // namespace client
