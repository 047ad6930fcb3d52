#include "client/trace_receiver.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace client::trace_receiver_test {
namespace {

constexpr uint32_t kAddress = (127u << 24) | (63u << 16) | 1u;
constexpr uint16_t kPort = 38998;

// Whether the system counts the datagrams that it drops; an emulator may not.
bool SystemCountsLosses() {
  const int handle = socket(AF_INET, SOCK_DGRAM, 0);
  const int on = 1;
  const bool counts = setsockopt(handle, SOL_SOCKET, SO_RXQ_OVFL, &on, sizeof on) == 0;
  close(handle);
  return counts;
}

void Send(size_t count, const std::string& datagram) {
  const int handle = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(kPort);
  name.sin_addr.s_addr = htonl(kAddress);
  for (size_t i = 0; i < count; ++i) {
    ASSERT_EQ(sendto(handle, datagram.data(), datagram.size(), 0,
                     reinterpret_cast<sockaddr*>(&name), sizeof name),
              static_cast<ssize_t>(datagram.size()));
  }
  close(handle);
}

size_t TakeAll(TraceReceiver& receiver) {
  size_t taken = 0;
  for (std::string line; receiver.Take(line);) ++taken;
  return taken;
}

TEST(TraceReceiver, CountsTheLinesForWhichItsBufferHadNoRoom) {
  if (!SystemCountsLosses()) GTEST_SKIP() << "the system does not count what it drops";
  constexpr size_t kSent = 1000;
  std::optional<TraceReceiver> receiver = TraceReceiver::Listen(kAddress, kPort);
  ASSERT_TRUE(receiver);
  // Large ones fill the buffer soon.
  Send(kSent, std::string(60'000, '\0'));
  const size_t taken = TakeAll(*receiver);
  ASSERT_GT(taken, 0u);
  ASSERT_LT(taken, kSent);
  receiver->SendToItself();
  EXPECT_EQ(TakeAll(*receiver), 1u);
  EXPECT_EQ(receiver->lost(), kSent - taken);
}

TEST(TraceReceiver, CountsNothingAsLostThatItHasTaken) {
  std::optional<TraceReceiver> receiver = TraceReceiver::Listen(kAddress, kPort);
  ASSERT_TRUE(receiver);
  Send(10, std::string(8, '\0'));
  EXPECT_EQ(TakeAll(*receiver), 10u);
  receiver->SendToItself();
  EXPECT_EQ(TakeAll(*receiver), 1u);
  EXPECT_EQ(receiver->lost(), 0u);
}

}  // namespace
}  // namespace client::trace_receiver_test
