// The book of sessions as the command shows it.
#include "tests/tools/osif/command_fixture.h"

namespace command_test::sessions_test {
namespace {

class CommandSessions : public CommandTest {
 protected:
  CommandSessions() { std::filesystem::create_directory(device_); }

  static std::string Entry(int64_t began) {
    return R"({"peer":"tcp 127.0.0.1:40112","service":"sync","began":)" + std::to_string(began) +
           R"(,"ended":)" + std::to_string(began + 5) +
           R"(,"added":2,"updated":0,"deleted":0,"sent":3,"refused":1,"reasons":["pb: no"],"ending":"closed by the peer"})"
           "\n";
  }
};

// 2005-03-14, 10:15:00 in UTC.
constexpr int64_t kTea = 1110795300;

TEST_F(CommandSessions, AreNoneAtFirst) {
  const Outcome outcome = Osif({"sessions"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
}

TEST_F(CommandSessions, AreShownForPeopleInLocalTime) {
  support::PutBytes(device_ + "/sessions.log", Entry(kTea));
  zone_ = "CET-1";
  EXPECT_EQ(Osif({"sessions"}).out,
            "2005-03-14 11:15:00  sync  tcp 127.0.0.1:40112  2 added, 3 sent, 1 refused; closed by "
            "the peer\n    refused: pb: no\n");
}

TEST_F(CommandSessions, AreShownAsJson) {
  support::PutBytes(device_ + "/sessions.log", Entry(kTea));
  EXPECT_EQ(
      Osif({"sessions", "--json"}).out,
      R"({"began":"20050314T101500Z","ended":"20050314T101505Z","peer":"tcp 127.0.0.1:40112",)"
      R"("service":"sync","added":2,"updated":0,"deleted":0,"sent":3,"refused":1,)"
      R"("reasons":["pb: no"],"ending":"closed by the peer"})"
      "\n");
}

TEST_F(CommandSessions, AreTheLastOnesWithTheNewestLast) {
  std::string book;
  for (int i = 0; i < 30; ++i) book += Entry(kTea + i);
  support::PutBytes(device_ + "/sessions.log", book);
  EXPECT_EQ(Osif({"sessions", "--json"}).JsonLines().size(), 20u);
  const std::vector<Json> two = Osif({"sessions", "--json", "--count", "2"}).JsonLines();
  ASSERT_EQ(two.size(), 2u);
  EXPECT_EQ(two[0]["began"], "20050314T101528Z");
  EXPECT_EQ(two[1]["began"], "20050314T101529Z");
}

TEST_F(CommandSessions, WithoutAnythingDoneSaySo) {
  support::PutBytes(
      device_ + "/sessions.log",
      R"({"peer":"bluetooth 00:11:22:33:44:55","began":1110795300,"ending":"too slow"})"
      "\n");
  EXPECT_EQ(Osif({"sessions"}).out,
            "2005-03-14 10:15:00  -  bluetooth 00:11:22:33:44:55  nothing; too slow\n");
}

TEST_F(CommandSessions, PassOverWhatIsNoEntry) {
  support::PutBytes(device_ + "/sessions.log",
                    "{\"peer\":\nnull\n[]\n{\"peer\":7}\n{\"began\":\"x\"}\n" + Entry(kTea) +
                        R"({"peer":"tcp cut)");
  EXPECT_EQ(Osif({"sessions", "--json"}).JsonLines().size(), 1u);
}

TEST_F(CommandSessions, DoNotSteerATerminal) {
  support::PutBytes(device_ + "/sessions.log", R"({"peer":"\u001b[2Jx","reasons":["a\u001bb\nc"]})"
                                               "\n");
  const Outcome outcome = Osif({"sessions"});
  EXPECT_EQ(outcome.OutLines().size(), 2u);
  EXPECT_THAT(outcome.out, testing::Not(testing::HasSubstr("\x1b")));
}

}  // namespace
}  // namespace command_test::sessions_test
