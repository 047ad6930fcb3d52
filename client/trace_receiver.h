// The receiving end of the diagnostic trace: one line in each datagram. A datagram begins with a header of
// eight bytes (category, text length, two reserved words; little-endian), the text follows.
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <optional>
#include <string>

namespace client {

inline constexpr uint16_t kTracePort = 38182;

class TraceReceiver {
 public:
  // Listens on a port of an address (both in host order; INADDR_ANY for all addresses). Nothing when that
  // is not possible; errno tells why.
  static std::optional<TraceReceiver> Listen(uint32_t address, uint16_t port);

  TraceReceiver(TraceReceiver&& other) noexcept;
  TraceReceiver& operator=(TraceReceiver&&) = delete;
  ~TraceReceiver();

  // The next line that has arrived; a datagram that is no trace line gives a line that says so. False when
  // there is none. Never waits.
  bool Take(std::string& line);

  // Waits for a line, at most `milliseconds` (-1 for ever).
  bool Wait(int milliseconds) const;

  // The lines that were lost so far because they came faster than they were taken. The system tells this
  // with the next datagram that gets through.
  uint32_t lost() const { return lost_; }

  // Sends a datagram to itself; lines that were lost before it are then counted once it is taken.
  void SendToItself() const;

 private:
  explicit TraceReceiver(int handle) : handle_(handle) {}

  int handle_;
  uint32_t lost_ = 0;
};

// The text of one datagram without its line end; nothing when it is too short to be one.
std::optional<std::string> TraceLine(const char* datagram, size_t size);

}  // namespace client
