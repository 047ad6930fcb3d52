// Lines come as fast as the library makes them, thousands within one of its calls, and the sender never
// waits: what does not fit into the socket's buffer is gone. So the buffer is made as large as the system
// allows, and the system is asked to count what it dropped. It tells the count with each datagram that gets
// through, never by itself; whoever wants the count at the end sends a datagram of its own and takes it
// (SendToItself). A datagram is trusted in nothing: its length in the header counts only as far as there are
// bytes.
#include "client/trace_receiver.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace client {
namespace {

constexpr size_t kHeaderSize = 8;
constexpr size_t kDatagramRoom = 65536;
constexpr int kReceiveBuffer = 16 * 1024 * 1024;

uint16_t LittleEndian16(const char* bytes) {
  return static_cast<uint16_t>(static_cast<unsigned char>(bytes[0]) |
                               static_cast<unsigned char>(bytes[1]) << 8);
}

void Configure(int handle) {
  const int on = 1;
  // A receiver for all addresses and one for a single address may listen side by side.
  setsockopt(handle, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  setsockopt(handle, SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on);
  // Beyond the system's limit only the superuser gets what he asks for.
  if (setsockopt(handle, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBuffer, sizeof kReceiveBuffer) != 0) {
    setsockopt(handle, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
  }
}

}  // namespace

std::optional<std::string> TraceLine(const char* datagram, size_t size) {
  if (size < kHeaderSize) return std::nullopt;
  const size_t length = std::min<size_t>(LittleEndian16(datagram + 2), size - kHeaderSize);
  std::string line(datagram + kHeaderSize, length);
  while (line.ends_with('\n')) line.pop_back();
  return line;
}

std::optional<TraceReceiver> TraceReceiver::Listen(uint32_t address, uint16_t port) {
  TraceReceiver receiver(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (receiver.handle_ < 0) return std::nullopt;
  Configure(receiver.handle_);
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(port);
  name.sin_addr.s_addr = htonl(address);
  if (bind(receiver.handle_, reinterpret_cast<sockaddr*>(&name), sizeof name) != 0) {
    return std::nullopt;
  }
  return receiver;
}

TraceReceiver::TraceReceiver(TraceReceiver&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)), lost_(other.lost_) {}

TraceReceiver::~TraceReceiver() {
  if (handle_ >= 0) close(handle_);
}

bool TraceReceiver::Take(std::string& line) {
  static thread_local std::array<char, kDatagramRoom> datagram;
  alignas(cmsghdr) std::array<char, 256> control;
  iovec part{datagram.data(), datagram.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t size = recvmsg(handle_, &message, MSG_DONTWAIT);
  if (size < 0) return false;
  for (cmsghdr* note = CMSG_FIRSTHDR(&message); note != nullptr;
       note = CMSG_NXTHDR(&message, note)) {
    if (note->cmsg_level == SOL_SOCKET && note->cmsg_type == SO_RXQ_OVFL) {
      std::memcpy(&lost_, CMSG_DATA(note), sizeof lost_);
    }
  }
  line = TraceLine(datagram.data(), static_cast<size_t>(size))
             .value_or("(a datagram of " + std::to_string(size) + " bytes that is no trace line)");
  return true;
}

bool TraceReceiver::Wait(int milliseconds) const {
  pollfd waiting{handle_, POLLIN, 0};
  return poll(&waiting, 1, milliseconds) > 0;
}

void TraceReceiver::SendToItself() const {
  sockaddr_in name{};
  socklen_t size = sizeof name;
  if (getsockname(handle_, reinterpret_cast<sockaddr*>(&name), &size) != 0) return;
  const std::array<char, kHeaderSize> empty{};
  sendto(handle_, empty.data(), empty.size(), 0, reinterpret_cast<sockaddr*>(&name), size);
}

}  // namespace client
