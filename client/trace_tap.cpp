#include "client/trace_tap.h"

#include <unistd.h>

#include <optional>
#include <utility>

namespace client {
namespace {

constexpr int kPollMilliseconds = 50;

}  // namespace

// 127.64.0.0 to 127.127.255.255: process ids have 22 bits, and the usual 127.0.x.x stays free.
uint32_t TraceTap::Address() {
  return (127u << 24) | (64u << 16) | (static_cast<uint32_t>(getpid()) & 0x3FFFFF);
}

std::unique_ptr<TraceTap> TraceTap::Start() {
  std::optional<TraceReceiver> receiver = TraceReceiver::Listen(Address(), kTracePort);
  if (!receiver) return nullptr;
  return std::unique_ptr<TraceTap>(new TraceTap(std::move(*receiver)));
}

TraceTap::TraceTap(TraceReceiver receiver)
    : receiver_(std::move(receiver)), thread_([this] { Run(); }) {}

TraceTap::~TraceTap() {
  stopping_ = true;
  thread_.join();
}

// One call of the library can send more lines than the system keeps for us.
void TraceTap::Run() {
  while (!stopping_) {
    if (!receiver_.Wait(kPollMilliseconds)) continue;
    const std::lock_guard lock(mutex_);
    TakeWaiting();
  }
}

void TraceTap::TakeWaiting() {
  for (std::string line; receiver_.Take(line);) lines_.push_back(std::move(line));
}

std::deque<std::string> TraceTap::TakeLines() {
  const std::lock_guard lock(mutex_);
  TakeWaiting();
  return std::exchange(lines_, {});
}

uint32_t TraceTap::CountLost() {
  const std::lock_guard lock(mutex_);
  TakeWaiting();
  receiver_.SendToItself();
  std::string own;
  receiver_.Take(own);
  return receiver_.lost();
}

}  // namespace client
