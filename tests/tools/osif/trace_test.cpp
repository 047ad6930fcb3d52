#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "tests/tools/osif/command_fixture.h"

namespace command_test::trace_test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

const char kUnknown[] = "OSIF:  Warning - Parser encountered unknown property: '";

class CommandTrace : public CommandTest {};

// The position of the only line that begins so.
size_t PositionOf(const Lines& lines, const std::string& start) {
  size_t position = lines.size();
  for (size_t i = 0; i < lines.size(); ++i) {
    if (!lines[i].starts_with(start)) continue;
    EXPECT_EQ(position, lines.size()) << "twice: " << start;
    position = i;
  }
  EXPECT_LT(position, lines.size()) << "missing: " << start;
  return position;
}

TEST_F(CommandTrace, AnUnknownPropertysLineStandsBetweenTheRightCards) {
  const std::string file =
      Write("a.vcf", Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole", "X-ODD:1"}) + Card({"N:Cruz;Eva"}));
  const Outcome outcome = Osif({"receive", "--strict", "--trace", file}, Errors::kIntoOutput);
  EXPECT_EQ(outcome.status, 0);
  const Lines lines = outcome.OutLines();
  const size_t first =
      PositionOf(lines, file + ": object 1 (line 1) \"Ann Lee\": added pb 00000001");
  const size_t warning = PositionOf(lines, kUnknown + std::string("X-ODD'"));
  const size_t second =
      PositionOf(lines, file + ": object 2 (line 5) \"Ole Berg\": added pb 00000002");
  EXPECT_LT(first, warning);
  EXPECT_LT(warning, second);
}

TEST_F(CommandTrace, TheReasonForARefusalStandsBeforeIt) {
  const std::string file = Write("a.vcf", kRefusedCard);
  const Lines lines = Osif({"parse", "--strict", "--trace", file}, Errors::kIntoOutput).OutLines();
  EXPECT_LT(PositionOf(lines, "OSIF:  Error - vCard version '3.0' is not supported"),
            PositionOf(lines, "osif: " + file + ": object 1 (line 1) was refused"));
}

TEST_F(CommandTrace, EverySubcommandThatUsesTheLibraryShowsIt) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}));
  const std::vector<Lines> command_lines = {{"receive", "--strict", file},
                                            {"parse", "--strict", file},
                                            {"find", "--strict", file},
                                            {"list", "pb"},
                                            {"count", "pb"},
                                            {"send", "pb", "1"},
                                            {"changes", "pb"},
                                            {"anchor", "pb"},
                                            {"database-id", "pb"},
                                            {"export", "pb", "-o", Path("x")},
                                            {"delete", "pb", "1"}};
  for (Lines line : command_lines) {
    line.push_back("--trace");
    EXPECT_THAT(Osif(line).ErrLines(), Contains(StartsWith("OSIF:  POL_"))) << line[0];
  }
}

TEST_F(CommandTrace, WithoutTheOptionNothingIsShown) {
  EXPECT_EQ(Osif({"receive", "--strict", Write("a.vcf", Card({"N:Lee;Ann"}))}).err, "");
}

TEST_F(CommandTrace, TheReceiverInTheRegistryIsPutBack) {
  Osif({"count", "pb", "--trace"});
  EXPECT_EQ(Osif({"settings", "LogIPAddr", "--json"}).JsonLines().at(0)["set"], false);
  Osif({"settings", "LogIPAddr", "10.0.0.9"});
  Osif({"count", "pb", "--trace"});
  EXPECT_EQ(Osif({"settings", "LogIPAddr"}).out, "LogIPAddr = 10.0.0.9\n");
}

TEST_F(CommandTrace, ThousandsOfLinesWithinOneCallAreShownOrCountedAsLost) {
  constexpr size_t kLines = 20'000;
  Lines properties = {"N:Lee;Ann"};
  for (size_t i = 0; i < kLines; ++i) properties.push_back("X-" + std::to_string(i) + ":1");
  size_t shown = 0;
  size_t lost = 0;
  for (const std::string& line :
       Osif({"parse", "--strict", "--trace", Write("a.vcf", Card(properties))}).ErrLines()) {
    if (line.starts_with(kUnknown)) ++shown;
    if (line.find("were lost") != std::string::npos) lost = std::stoul(line.substr(6));
  }
  EXPECT_GE(shown + lost, kLines);
  EXPECT_GT(shown, 0u);
}

TEST_F(CommandTrace, TwoCommandsAtOnceShowTheirOwnLinesOnly) {
  Osif({"count", "pb"});
  std::vector<std::string> stems;
  std::vector<pid_t> children;
  for (int i = 0; i < 2; ++i) {
    std::string cards;
    for (int card = 0; card < 40; ++card) {
      cards += Card({"N:Own" + std::to_string(i) + ";" + std::to_string(card),
                     "X-OWN" + std::to_string(i) + ":1"});
    }
    stems.push_back(Path("own" + std::to_string(i)));
    children.push_back(Start(Launched({support::kCommand, "receive", "--strict", "--trace",
                                       Write("own" + std::to_string(i) + ".vcf", cards)}),
                             stems.back()));
  }
  for (const pid_t child : children) EXPECT_EQ(WaitFor(child), 0);
  for (int i = 0; i < 2; ++i) {
    const Lines lines = Outcome::Split(BytesOf(stems[i] + ".err"));
    const std::string own = kUnknown + ("X-OWN" + std::to_string(i)) + "'";
    const std::string other = kUnknown + ("X-OWN" + std::to_string(1 - i)) + "'";
    EXPECT_EQ(std::count(lines.begin(), lines.end(), own), 40);
    EXPECT_THAT(lines, Not(Contains(other)));
  }
  EXPECT_EQ(Osif({"count", "pb"}).out, "80\n");
  EXPECT_EQ(Osif({"settings", "LogIPAddr", "--json"}).JsonLines().at(0)["set"], false);
}

// ---- osif trace -----------------------------------------------------------------------------------------

void SendDatagram(uint16_t port, const std::string& bytes) {
  const int handle = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(port);
  name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  sendto(handle, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&name), sizeof name);
  close(handle);
}

TEST_F(CommandTrace, TheReceiverPrintsLinesUntilItHasItsCount) {
  constexpr uint16_t kPort = 38999;
  const std::string stem = Path("trace");
  const pid_t child =
      Start(Launched({support::kCommand, "trace", "--port", std::to_string(kPort), "--count", "3"}),
            stem);
  for (int i = 0; i < 500 && BytesOf(stem + ".err").empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  SendDatagram(kPort, std::string("\0\0\5\0\0\0\0\0hello", 13));
  SendDatagram(
      kPort, std::string("\0\0\xFF\0\0\0\0\0ASSERT at x line 1\n", 27));  // says more than it holds
  SendDatagram(kPort, "junk");
  EXPECT_EQ(WaitFor(child), 0);
  EXPECT_THAT(
      Outcome::Split(BytesOf(stem + ".out")),
      ElementsAre("hello", "ASSERT at x line 1", "(a datagram of 4 bytes that is no trace line)"));
}

}  // namespace
}  // namespace command_test::trace_test
