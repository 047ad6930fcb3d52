#include "client/interrupt.h"

#include <unistd.h>

namespace client {
namespace {

volatile std::sig_atomic_t g_signal = 0;

void NoteSignal(int signal) { g_signal = signal; }

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

void EndAsInterrupted() {
  if (g_signal == 0) return;
  std::signal(g_signal, SIG_DFL);
  raise(g_signal);
}

}  // namespace client
