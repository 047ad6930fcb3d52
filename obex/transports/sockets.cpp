#include "obex/transports/sockets.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace obex {
namespace {

constexpr int kWaiting = 64;  // connections that were not accepted yet

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Addresses Resolve(const TcpAddress& address, int flags, std::string& why) {
  addrinfo hints{};
  hints.ai_flags = flags | AI_NUMERICSERV;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(address.host.c_str(), address.port.c_str(), &hints, &found);
  if (error != 0) why = gai_strerror(error);
  return Addresses(error == 0 ? found : nullptr);
}

std::string TextOf(const sockaddr_storage& address, socklen_t size) {
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  const int error =
      getnameinfo(reinterpret_cast<const sockaddr*>(&address), size, host.data(), host.size(),
                  port.data(), port.size(), NI_NUMERICHOST | NI_NUMERICSERV);
  if (error != 0) return {};
  const std::string name = host.data();
  return (name.find(':') == std::string::npos ? name : "[" + name + "]") + ":" + port.data();
}

bool MakeRaw(int handle) {
  termios line{};
  if (tcgetattr(handle, &line) != 0) return false;
  cfmakeraw(&line);
  line.c_cflag |= CLOCAL | CREAD;
  cfsetspeed(&line, B115200);
  return tcsetattr(handle, TCSANOW, &line) == 0;
}

Handle Fail(std::string& why) {
  why = std::strerror(errno);
  return Handle();
}

}  // namespace

Handle::~Handle() {
  if (is_open()) close(handle_);
}

Handle::Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}

Handle& Handle::operator=(Handle&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

std::optional<TcpAddress> ReadTcpAddress(const std::string& text) {
  const size_t colon = text.rfind(':');
  TcpAddress address{"127.0.0.1", text};
  if (colon != std::string::npos) {
    address = {text.substr(0, colon), text.substr(colon + 1)};
    if (address.host.starts_with('[') && address.host.ends_with(']')) {
      address.host = address.host.substr(1, address.host.size() - 2);
    }
  }
  const bool has_port = !address.port.empty() && address.port.size() <= 5 &&
                        address.port.find_first_not_of("0123456789") == std::string::npos &&
                        std::stoi(address.port) <= 65535;
  return has_port && !address.host.empty() ? std::optional(address) : std::nullopt;
}

bool IsLoopback(const std::string& host) {
  return host == "localhost" || host == "::1" || host.starts_with("127.");
}

Handle ListenTcp(const TcpAddress& address, std::string& bound, std::string& why) {
  const Addresses found = Resolve(address, AI_PASSIVE, why);
  if (!found) return Handle();
  Handle socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.is_open()) return Fail(why);
  const int on = 1;
  setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(socket.get(), found->ai_addr, found->ai_addrlen) != 0 ||
      listen(socket.get(), kWaiting) != 0) {
    return Fail(why);
  }
  sockaddr_storage own{};
  socklen_t size = sizeof own;
  getsockname(socket.get(), reinterpret_cast<sockaddr*>(&own), &size);
  bound = TextOf(own, size);
  return socket;
}

Handle ConnectTcp(const TcpAddress& address, std::string& why) {
  const Addresses found = Resolve(address, 0, why);
  if (!found) return Handle();
  Handle socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.is_open() || connect(socket.get(), found->ai_addr, found->ai_addrlen) != 0) {
    return Fail(why);
  }
  const int on = 1;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return socket;
}

Handle OpenSerialLine(const std::string& file, std::string& why) {
  Handle line(open(file.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (!line.is_open() || !MakeRaw(line.get())) return Fail(why);
  return line;
}

Handle OpenPty(std::string& name, Handle& other_side, std::string& why) {
  Handle line(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  std::array<char, 128> file{};
  if (!line.is_open() || grantpt(line.get()) != 0 || unlockpt(line.get()) != 0 ||
      ptsname_r(line.get(), file.data(), file.size()) != 0) {
    return Fail(why);
  }
  name = file.data();
  other_side = Handle(open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (!other_side.is_open() || !MakeRaw(other_side.get())) return Fail(why);
  return line;
}

std::string PeerOf(int socket) {
  sockaddr_storage peer{};
  socklen_t size = sizeof peer;
  if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0) return {};
  return TextOf(peer, size);
}

}  // namespace obex
