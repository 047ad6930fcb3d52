// Listens to the library's own trace while the command runs.
//
// The tap has a loopback address of its own, made from the process id, so that several commands can run
// at once. The library learns it from the registry (see trace_redirection.h).
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "client/trace_receiver.h"

namespace client {

class TraceTap {
 public:
  // This process's address as a number, first octet most significant.
  static uint32_t Address();

  // Listens at that address. Null when that is not possible; errno tells why.
  static std::unique_ptr<TraceTap> Start();
  ~TraceTap();

  // Every line that the library has sent so far, in order. A datagram to this machine has arrived when the
  // library's call is back, so nothing of it is missing.
  std::deque<std::string> TakeLines();

  // The lines that were lost, after the last call of the library.
  uint32_t CountLost();

 private:
  explicit TraceTap(TraceReceiver receiver);

  void Run();
  void TakeWaiting();

  TraceReceiver receiver_;
  std::mutex mutex_;  // guards receiver_'s taking and lines_
  std::deque<std::string> lines_;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

}  // namespace client
