#include "client/trace_tap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/support/time_limit.h"

namespace client::trace_tap_test {
namespace {

void SendToTap(const std::string& datagram) {
  const int handle = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(kTracePort);
  name.sin_addr.s_addr = htonl(TraceTap::Address());
  sendto(handle, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&name),
         sizeof name);
  close(handle);
}

// How much waits at the tap's socket, as the system's list of sockets has it: hexadecimal digits.
std::string WaitingForTap() {
  char tap[14];
  std::snprintf(tap, sizeof tap, "%08X:%04X", htonl(TraceTap::Address()), kTracePort);
  std::ifstream sockets("/proc/net/udp");
  for (std::string line; std::getline(sockets, line);) {
    std::istringstream columns(line);
    std::string number, local, remote, state, queues;
    columns >> number >> local >> remote >> state >> queues;
    if (local == tap) return queues.substr(queues.find(':') + 1);
  }
  return "no socket";
}

// Otherwise one call of the library could fill the socket's buffer.
TEST(TraceTap, TakesLinesWhileNobodyAsksForThem) {
  const std::unique_ptr<TraceTap> tap = TraceTap::Start();
  ASSERT_NE(tap, nullptr);
  SendToTap(std::string("\0\0\5\0\0\0\0\0hello", 13));
  const auto end = std::chrono::steady_clock::now() + support::TimeLimit(10);
  while (WaitingForTap() != "00000000" && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(WaitingForTap(), "00000000");
  EXPECT_THAT(tap->TakeLines(), testing::ElementsAre("hello"));
}

}  // namespace
}  // namespace client::trace_tap_test
