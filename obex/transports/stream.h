// A connection over a descriptor: a socket, a serial line, a pty.
#pragma once

#include <chrono>
#include <csignal>
#include <functional>

#include "obex/packets/connection.h"

namespace obex {

// How long a peer may take.
struct TimeLimits {
  std::chrono::seconds idle{300};  // between two packets
  std::chrono::seconds packet{
      30};  // for the rest of a packet that has begun, and to take an answer
  std::chrono::seconds session{3600};  // for everything
};

// Why serving ended.
enum class Ending { kClosed, kRefused, kIdle, kTooSlow, kTooLong, kStopped, kFailed };

// "closed by the peer", "idle for too long", ...
const char* EndingText(Ending ending);

// Told what each packet was answered with, before the answer goes.
using OnAnswer = std::function<void(Code code)>;

// Serves a connection until its end; the descriptor stays its owner's. `stop`: ends it before its next packet once it
// is set by a signal handler, which has to interrupt poll().
Ending Serve(int handle, Connection& connection, const TimeLimits& limits,
             const volatile std::sig_atomic_t& stop, const OnAnswer& on_answer);

}  // namespace obex
