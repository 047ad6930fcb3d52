#include "client/interrupt.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace client {
namespace {

volatile std::sig_atomic_t g_signal = 0;

// A signal that comes between a look at g_signal and the beginning of a wait ends the wait through this.
int g_descriptor = -1;

void NoteSignal(int signal) {
  const int kept = errno;
  g_signal = signal;
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(g_descriptor, &one, sizeof one);
  errno = kept;
}

// What was begun is finished (SA_RESTART): a line that is being written is not lost.
struct sigaction Noting(int signal) {
  struct sigaction action {};
  action.sa_handler = NoteSignal;
  action.sa_flags = SA_RESTART;
  if (signal != SIGPIPE) action.sa_flags |= static_cast<int>(SA_RESETHAND);
  return action;
}

}  // namespace

InterruptWatch::InterruptWatch() {
  if (g_descriptor < 0) g_descriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  for (size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &former_[i]);
    if (former_[i].sa_handler == SIG_IGN) continue;
    const struct sigaction noting = Noting(kSignals[i]);
    sigaction(kSignals[i], &noting, nullptr);
  }
}

// SIGPIPE stays noted: what is still in the buffer of the output is written after this, and would send it again
// before the process has said how far it came.
InterruptWatch::~InterruptWatch() {
  for (size_t i = 0; i < kSignals.size(); ++i) {
    if (kSignals[i] == SIGPIPE && g_signal == SIGPIPE) continue;
    sigaction(kSignals[i], &former_[i], nullptr);
  }
}

bool WasInterrupted() { return g_signal != 0; }

int InterruptDescriptor() { return g_descriptor; }

void PauseUnlessInterrupted(int milliseconds) {
  pollfd noted = {g_descriptor, POLLIN, 0};
  poll(&noted, 1, milliseconds);
}

void EndAsInterrupted() {
  if (g_signal == 0) return;
  std::signal(g_signal, SIG_DFL);
  raise(g_signal);
}

}  // namespace client
