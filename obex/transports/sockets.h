// Where connections come from: TCP, a serial line, a pty.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace obex {

// A descriptor that is closed when it goes out of scope.
class Handle {
 public:
  explicit Handle(int handle = -1) : handle_(handle) {}
  ~Handle();
  Handle(Handle&& other) noexcept;
  Handle& operator=(Handle&& other) noexcept;

  int get() const { return handle_; }
  bool is_open() const { return handle_ >= 0; }

 private:
  int handle_;
};

// "127.0.0.1:6500", "[::1]:0".
struct TcpAddress {
  std::string host;
  std::string port;
};

// Nothing for what is none. A port alone is one of 127.0.0.1.
std::optional<TcpAddress> ReadTcpAddress(const std::string& text);

// True for addresses that this machine alone can reach.
bool IsLoopback(const std::string& host);

// Each gives a closed handle where it failed; `why` tells why then.
// A socket that listens; `bound`: its address as it is, with the port that it got.
Handle ListenTcp(const TcpAddress& address, std::string& bound, std::string& why);
Handle ConnectTcp(const TcpAddress& address, std::string& why);
// A line of bytes as they are, without echo.
Handle OpenSerialLine(const std::string& file, std::string& why);
// The service's side of a new pty; `name`: the file of the other side. That side is held open, too, so that the line
// stays when a peer goes.
Handle OpenPty(std::string& name, Handle& other_side, std::string& why);

// The peer of a socket, such as "127.0.0.1:40112"; empty where it has none.
std::string PeerOf(int socket);

}  // namespace obex
