// Receives the diagnostic trace, as the program at the address in the registry does.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "config/trace.h"
#include "tests/support/settings.h"

namespace support {

// Listens on a loopback address of its own and turns the trace there. Needs a device; a datagram over the
// loopback is there when the call that sent it returns, so nothing has to be waited for.
class TraceReceiver {
 public:
  TraceReceiver() : address_(NextAddress()), socket_(socket(AF_INET, SOCK_DGRAM, 0)) {
    int room = 4 << 20;
    setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(38182);
    local.sin_addr.s_addr = htonl(address_);
    if (bind(socket_, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) {
      throw std::runtime_error("the trace receiver's port is taken");
    }
    TurnTraceTo(address_);
  }
  ~TraceReceiver() {
    TurnTraceTo(0);
    close(socket_);
  }
  TraceReceiver(const TraceReceiver&) = delete;
  TraceReceiver& operator=(const TraceReceiver&) = delete;

  // The texts that came since the last call, in their order.
  std::vector<std::string> Lines() {
    std::vector<std::string> lines;
    unsigned char datagram[65536];
    for (;;) {
      ssize_t size = recv(socket_, datagram, sizeof datagram, MSG_DONTWAIT);
      if (size < 0) return lines;
      EXPECT_GE(size, 8);
      EXPECT_EQ(datagram[2] + 256 * datagram[3], size - 8) << "length in the header";
      lines.emplace_back(datagram + 8, datagram + size);
    }
  }

 private:
  static void TurnTraceTo(uint32_t address) {
    SetNumber(u"Software\\Corvane\\BTConfig\\Debug", u"LogIPAddr", address);
    OSIF_TraceInit();
  }

  // 127.x.y.z, another one for each process and each receiver: an address that the trace knows already
  // would not open its socket again.
  static uint32_t NextAddress() {
    static uint32_t receivers = 0;
    uint32_t process = static_cast<uint32_t>(getpid());
    uint32_t x = 1 + (receivers++ * 17 + process / (254 * 256)) % 254;
    return 127u << 24 | x << 16 | (process / 254) % 256 << 8 | (1 + process % 254);
  }

  uint32_t address_;
  int socket_;
};

using TraceLines = std::vector<std::string>;

// The lines that came, without those of the message store's adapter.
inline TraceLines PimLines(TraceReceiver& trace) {
  TraceLines lines = trace.Lines();
  std::erase_if(lines, [](const std::string& line) { return line.starts_with("MAPI:"); });
  return lines;
}

}  // namespace support
