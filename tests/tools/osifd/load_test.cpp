// Many peers at once.
#include <atomic>

#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::load_test {
namespace {

class OsifdLoad : public OsifdTest {};

constexpr int kCards = 50;

std::string CardsOf(int client) {
  std::string cards;
  for (int i = 0; i < kCards; ++i) {
    cards += Card({"N:Family" + std::to_string(client) + ";Number" + std::to_string(i)});
  }
  return cards;
}

// The store is one: pushes wait for each other, and whoever waited too long is told so and comes again.
TEST_F(OsifdLoad, StoresWhatManyPeersPushAtOnce) {
  const int clients = support::kIsSanitized ? 40 : 200;
  StartService();
  ObexClient half_open = Client();
  half_open.Send("\x82");
  ObexClient slow = Client();
  ASSERT_EQ(slow.Connect().code, kSuccess);
  const std::string card = Card({"N:Slow;One"});
  ASSERT_EQ(slow.Exchange(0x02, support::ObexName("slow.vcf")).code, 0x90);

  std::atomic<int> stored = 0;
  std::atomic<int> turned_away = 0;
  std::vector<std::thread> peers;
  for (int i = 0; i < clients; ++i) {
    peers.emplace_back([&, i] {
      const std::string cards = CardsOf(i);
      constexpr int kAttempts = 20;
      for (int attempt = 0; attempt < kAttempts; ++attempt) {
        ObexClient client = Client();
        client.Connect();
        const int code = client.Put("cards.vcf", cards).code;
        if (code == kSuccess) {
          ++stored;
          return;
        }
        EXPECT_EQ(code, 0xD3);
        ++turned_away;
      }
    });
  }
  for (const char byte : card) {
    ASSERT_EQ(slow.Exchange(0x02, support::ObexBytes(0x48, {&byte, 1})).code, 0x90);
  }
  for (std::thread& peer : peers) peer.join();
  EXPECT_EQ(slow.Exchange(0x82, support::ObexBytes(0x49, {})).code, kSuccess);
  EXPECT_EQ(stored, clients);
  EXPECT_EQ(Count("pb"), std::to_string(clients * kCards + 1));
  RecordProperty("turned_away", turned_away);
}

}  // namespace
}  // namespace osifd_test::load_test
