// The service as a program: how it is told what to do, its limits, who may come, and how it ends.
#include <nettle/md5.h>

#include "tests/tools/osifd/osifd_fixture.h"

namespace osifd_test::daemon_test {
namespace {

using support::ObexBytes;
using support::ObexName;
using support::ObexTag;
using testing::HasSubstr;
using testing::Not;

const std::string kAnn = Card({"N:Lee;Ann"});
const std::string kBob = Card({"N:Ray;Bob"});

class OsifdProgram : public OsifdTest {
 protected:
  // Runs the service to its end.
  Outcome Run(Lines arguments) const {
    arguments.insert(arguments.begin(), support::kDaemon);
    return CommandTest::Run(Launched(arguments));
  }

  // The processes that serve connections.
  std::vector<pid_t> Served() const {
    std::vector<pid_t> pids;
    const std::string list =
        "/proc/" + std::to_string(service_) + "/task/" + std::to_string(service_) + "/children";
    std::istringstream children(support::BytesOf(list));
    for (pid_t pid = 0; children >> pid;) pids.push_back(pid);
    return pids;
  }

  static std::string Size(size_t bytes) {
    const std::string head = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nNOTE:";
    const std::string end = "\r\nEND:VCARD\r\n";
    return head + std::string(bytes - head.size() - end.size(), 'x') + end;
  }
};

// ---- How it is told what to do ------------------------------------------------------------------------------------

TEST_F(OsifdProgram, SaysWhereItListens) {
  StartService();
  EXPECT_GT(port_, 0);
  EXPECT_EQ(EndService(), 0);
}

TEST_F(OsifdProgram, WithoutAnythingToServeIsWrongUsage) {
  const Outcome outcome = Run({});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("--tcp"));
  EXPECT_EQ(Run({"--tcp", "127.0.0.1:0", "--no-such-option"}).status, 2);
  EXPECT_EQ(Run({"--tcp", "127.0.0.1:0", "--inbox-only"}).status, 2);
  EXPECT_EQ(Run({"--tcp", "127.0.0.1:0", "--inbox", Path("none")}).status, 2);
  EXPECT_EQ(Run({"--tcp", "127.0.0.1:0", "--max-packet", "254"}).status, 2);
  EXPECT_EQ(Run({"--tcp", "127.0.0.1:0", "--max-packet", "65536"}).status, 2);
}

TEST_F(OsifdProgram, ExplainsItself) {
  const Outcome help = Run({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* option : {"--device",
                             "--tcp",
                             "--serial",
                             "--pty",
                             "--bluetooth",
                             "--password-file",
                             "--open-to-others",
                             "--inbox",
                             "--inbox-only",
                             "--config",
                             "--json",
                             "--check",
                             "--max-packet",
                             "--max-headers",
                             "--max-name",
                             "--max-body",
                             "--max-objects",
                             "--max-connections",
                             "--max-peer-connections",
                             "--max-rate",
                             "--idle-time",
                             "--packet-time",
                             "--session-time"}) {
    EXPECT_THAT(help.out, HasSubstr(option));
  }
}

TEST_F(OsifdProgram, ReadsItsOptionsFromAFile) {
  const std::string file =
      Write("osifd.conf", "# what is served\ntcp = \"127.0.0.1:0\"\ndevice = \"" + Path("other") +
                              "\"\nmax-body = 200\njson = true\n");
  StartServiceWith({"--config", file});
  port_ = std::stoi(Said("listening on 127.0.0.1:"));
  ObexClient client = Client();
  EXPECT_EQ(client.Put("a.vcf", Size(200)).code, kSuccess);
  EXPECT_EQ(client.Put("a.vcf", Size(201)).code, 0xCD);
  EXPECT_EQ(Osif({"--device", Path("other"), "count", "pb"}).out, "1\n");
}

TEST_F(OsifdProgram, DoesNotTakeAnUnknownOptionFromAFile) {
  const std::string file = Write("osifd.conf", "tcp = \"127.0.0.1:0\"\nmax-bodies = 200\n");
  EXPECT_EQ(Run({"--config", file}).status, 2);
}

TEST_F(OsifdProgram, LogsJsonWhenToldTo) {
  StartService({"--json"});
  ObexClient client = Client();
  client.Put("ann.vcf", kAnn);
  client.Put("x", "Hello");
  client.Close();
  Sessions(1);
  AwaitLog("closed by the peer");
  std::vector<Json> lines;
  for (const std::string& line : Outcome::Split(Log())) lines.push_back(Json::parse(line));
  ASSERT_EQ(lines.size(), 4u);
  const std::string peer = Sessions(1).at(0)["peer"];
  EXPECT_EQ(lines[0], (Json{{"level", "info"}, {"text", peer + ": connected to push"}}));
  EXPECT_EQ(lines[1], (Json{{"level", "info"},
                            {"text", peer + ": added"},
                            {"store", "pb"},
                            {"id", "00000001"},
                            {"name", "Ann Lee"}}));
  EXPECT_EQ(lines[2], (Json{{"level", "warning"},
                            {"text", peer + ": refused"},
                            {"store", ""},
                            {"id", ""},
                            {"reason", "no object is in it"}}));
  EXPECT_EQ(lines[3], (Json{{"level", "info"}, {"text", peer + ": closed by the peer"}}));
}

TEST_F(OsifdProgram, ChecksWhatWorksHere) {
  const Outcome good = Run({"--check", "--device", Path("other")});
  EXPECT_EQ(good.status, 0);
  EXPECT_THAT(good.out, HasSubstr("device " + Path("other") + ": works\n"));
  EXPECT_THAT(good.out, HasSubstr("\ntcp:         works\n"));
  const Outcome bad = Run({"--check", "--serial", Path("no-line"), "--tcp", "300.1.1.1:1",
                           "--password-file", Path("none")});
  EXPECT_EQ(bad.status, 1);
  EXPECT_THAT(bad.out, HasSubstr("serial " + Path("no-line") + ": No such file or directory\n"));
  EXPECT_THAT(bad.out, HasSubstr("password " + Path("none") + ": no password is in it\n"));
}

TEST_F(OsifdProgram, FailsWhereItCannotListen) {
  StartService();
  const Outcome taken = Run({"--tcp", "127.0.0.1:" + std::to_string(port_)});
  EXPECT_EQ(taken.status, 1);
  EXPECT_THAT(taken.err, HasSubstr("Address already in use"));
  EXPECT_EQ(Run({"--tcp", "here"}).status, 1);
}

// ---- Who may come ---------------------------------------------------------------------------------------------------

TEST_F(OsifdProgram, ListensForOthersOnlyWithAPassword) {
  const std::string password = Write("password", "secret\n");
  for (const Lines& options :
       {Lines{"--tcp", "0.0.0.0:0"}, Lines{"--tcp", "0.0.0.0:0", "--open-to-others"},
        Lines{"--tcp", "0.0.0.0:0", "--password-file", password}}) {
    const Outcome outcome = Run(options);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("--open-to-others and --password-file"));
  }
}

TEST_F(OsifdProgram, DoesNotStartWithAnEmptyPassword) {
  EXPECT_EQ(Run({"--tcp", "127.0.0.1:0", "--password-file", Write("password", "\n")}).status, 1);
  EXPECT_EQ(Run({"--tcp", "127.0.0.1:0", "--password-file", Path("none")}).status, 1);
}

// The digest of the nonce, a colon and the password, as the standard has it.
std::string ResponseTo(const std::string& challenge, const std::string& password) {
  EXPECT_EQ(challenge.substr(0, 2), std::string("\x00\x10", 2));
  const std::string text = challenge.substr(2, 16) + ":" + password;
  md5_ctx context;
  md5_init(&context);
  md5_update(&context, text.size(), reinterpret_cast<const uint8_t*>(text.data()));
  std::string digest(16, '\0');
  md5_digest(&context, digest.size(), reinterpret_cast<uint8_t*>(digest.data()));
  return ObexBytes(0x4E, ObexTag(0x00, digest));
}

TEST_F(OsifdProgram, ServesWhoeverKnowsThePassword) {
  StartService({"--password-file", Write("password", "secret\n")});
  ObexClient client = Client();
  const ObexAnswer asked = client.Connect();
  EXPECT_EQ(asked.code, 0xC1);
  const std::string challenge = asked.Find(0x4D).value_or("");
  EXPECT_EQ(client.Connect({}, ResponseTo(challenge, "secret")).code, kSuccess);
  EXPECT_EQ(client.Put("ann.vcf", kAnn).code, kSuccess);
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["added"], 1);
  EXPECT_EQ(session["refused"], 0);
}

TEST_F(OsifdProgram, ServesNobodyElse) {
  StartService({"--password-file", Write("password", "secret\n")});
  ObexClient client = Client();
  EXPECT_EQ(client.Put("ann.vcf", kAnn).code, 0xC1);
  const std::string first = client.Connect().Find(0x4D).value_or("");
  const ObexAnswer wrong = client.Connect({}, ResponseTo(first, "Secret"));
  EXPECT_EQ(wrong.code, 0xC1);
  const std::string second = wrong.Find(0x4D).value_or("");
  EXPECT_NE(first, second);
  EXPECT_EQ(client.Connect({}, ResponseTo(first, "secret")).code, 0xC1);
  EXPECT_EQ(client.Put("ann.vcf", kAnn).code, 0xC1);
  EXPECT_EQ(client.Get("telecom/pb.vcf").code, 0xC1);
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["service"], "");
  EXPECT_EQ(session["reasons"], Json::array({"no password, or a wrong one"}));
  EXPECT_EQ(Count("pb"), "0");
  EXPECT_THAT(Log(), Not(HasSubstr("secret")));
}

// ---- Limits -----------------------------------------------------------------------------------------------------------

TEST_F(OsifdProgram, TellsAndHoldsTheLongestPacket) {
  StartService({"--max-packet", "1000"});
  ObexClient client = Client();
  EXPECT_EQ(client.Connect().longest_packet, 1000);
  const std::string name = ObexName("a.vcf");
  const std::string card = Size(1000 - 3 - name.size() - 3);
  EXPECT_EQ(client.PutHeaders(name + ObexBytes(0x49, card)).code, kSuccess);
  EXPECT_EQ(client.PutHeaders(name + ObexBytes(0x49, card + "\n")).code, 0xC0);
  EXPECT_TRUE(client.AwaitClose());
}

TEST_F(OsifdProgram, HoldsTheLargestBody) {
  StartService({"--max-body", "1000"});
  ObexClient client = Client();
  EXPECT_EQ(client.Put("a.vcf", Size(1000)).code, kSuccess);
  EXPECT_EQ(client.Put("b.vcf", Size(1001)).code, 0xCD);
  // What it announces is enough.
  EXPECT_EQ(client.Exchange(0x02, ObexName("c.vcf") + support::ObexLength(1001)).code, 0xCD);
  EXPECT_EQ(client.Put("d.vcf", kBob).code, kSuccess);
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["reasons"], Json::array({"larger than is allowed", "larger than is allowed"}));
  EXPECT_EQ(Count("pb"), "2");
}

TEST_F(OsifdProgram, HoldsTheMostBytesOfARequestsHeaders) {
  StartService({"--max-headers", "200"});
  ObexClient client = Client();
  const std::string name = ObexName("a.vcf");
  const std::string body = ObexBytes(0x49, kAnn);
  const auto padding = [&](size_t size) {
    return ObexBytes(0x47, std::string(size - name.size() - 3, 'x'));
  };
  EXPECT_EQ(client.PutHeaders(name + padding(200) + body).code, kSuccess);
  EXPECT_EQ(client.PutHeaders(name + padding(201) + body).code, 0xCD);
  // Those of all packets count.
  EXPECT_EQ(client.Exchange(0x02, name + padding(150)).code, 0x90);
  EXPECT_EQ(client.Exchange(0x02, ObexBytes(0x47, std::string(48, 'x'))).code, 0xCD);
}

TEST_F(OsifdProgram, HoldsTheMostCharactersOfAName) {
  StartService({"--max-name", "10"});
  ObexClient client = Client();
  EXPECT_EQ(client.Put("abcdef.vcf", kAnn).code, kSuccess);
  EXPECT_EQ(client.Put("abcdefg.vcf", kAnn).code, 0xC0);
}

// The next one of a second has to wait for the next second.
TEST_F(OsifdProgram, HoldsTheMostConnectionsOfASecond) {
  StartService({"--max-rate", "1"});
  const auto start = std::chrono::steady_clock::now();
  ObexClient first = SyncClient();
  ObexClient second = SyncClient();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
  EXPECT_EQ(first.Disconnect().code, kSuccess);
  EXPECT_EQ(second.Disconnect().code, kSuccess);
}

TEST_F(OsifdProgram, ServesASerialLineOnePeerAfterTheOther) {
  const int peer = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_TRUE(peer >= 0 && grantpt(peer) == 0 && unlockpt(peer) == 0);
  const std::string line = ptsname(peer);
  // Held open, as a line is that is plugged in.
  const int other_side = open(line.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  StartServiceWith({"--serial", line});
  ObexClient client = ObexClient::Of(peer);
  for (const std::string& card : {kAnn, kBob}) {
    EXPECT_EQ(client.Connect().code, kSuccess);
    EXPECT_EQ(client.Put("card.vcf", card).code, kSuccess);
    EXPECT_EQ(client.Disconnect().code, kSuccess);
  }
  EXPECT_EQ(EndService(), 0);
  close(other_side);
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000002  Bob Ray\n");
}

TEST_F(OsifdProgram, HoldsTheMostObjectsOfABody) {
  StartService({"--max-objects", "2"});
  ObexClient client = Client();
  EXPECT_EQ(client.Put("two.vcf", kAnn + kBob).code, kSuccess);
  const std::string more =
      Card({"N:One;"}) + Card({"N:Two;"}) + Card({"N:Three;"}) + Card({"N:Four;"});
  EXPECT_EQ(client.Put("four.vcf", more).code, 0xCD);
  EXPECT_EQ(Count("pb"), "4");
  client.Close();
  const Json session = Sessions(1).at(0);
  EXPECT_EQ(session["reasons"], Json::array({"too many objects at once"}));
}

TEST_F(OsifdProgram, HoldsTheMostConnectionsOfAPeer) {
  StartService({"--max-peer-connections", "2"});
  ObexClient first = SyncClient();
  ObexClient second = SyncClient();
  ObexClient third = Client();
  EXPECT_TRUE(third.AwaitClose());
  AwaitLog("refused, too many connections of one address");
  EXPECT_EQ(second.Disconnect().code, kSuccess);
  second.Close();
  Sessions(1);
  EXPECT_EQ(first.Disconnect().code, kSuccess);
}

TEST_F(OsifdProgram, LetsConnectionsBeyondTheMostWait) {
  StartService({"--max-connections", "1"});
  ObexClient first = SyncClient();
  ObexClient second = Client();
  second.Send(std::string("\x80\x00\x07\x10\x00\x10\x00", 7));
  EXPECT_EQ(Served().size(), 1u);
  first.Close();
  EXPECT_EQ(second.Receive(true).code, kSuccess);
}

TEST_F(OsifdProgram, EndsWhatIsIdle) {
  StartService({"--idle-time", "1"});
  ObexClient client = SyncClient();
  EXPECT_TRUE(client.AwaitClose());
  EXPECT_EQ(Sessions(1).at(0)["ending"], "idle for too long");
}

TEST_F(OsifdProgram, EndsAPacketThatDoesNotCome) {
  StartService({"--packet-time", "1"});
  ObexClient client = SyncClient();
  client.Send(std::string("\x82\x10", 2));
  EXPECT_TRUE(client.AwaitClose());
  EXPECT_EQ(Sessions(1).at(0)["ending"], "too slow");
}

TEST_F(OsifdProgram, EndsWhatTakesTooLongInAll) {
  StartService({"--session-time", "1"});
  ObexClient client = SyncClient();
  EXPECT_TRUE(client.AwaitClose());
  EXPECT_EQ(Sessions(1).at(0)["ending"], "open for too long");
}

// Its line is served again and again.
TEST_F(OsifdProgram, DoesNotBookALineThatNobodyUses) {
  StartServiceWith({"--pty", "--idle-time", "1"});
  // One look each: the process ends by itself between two of them.
  std::vector<pid_t> served;
  const auto serves_one = [&] {
    served = Served();
    return served.size() == 1;
  };
  Await(serves_one, "a process for the line");
  const pid_t first = served[0];
  Await([&] { return serves_one() && served[0] != first; }, "the next process");
  EXPECT_FALSE(std::filesystem::exists(device_ + "/sessions.log"));
  EXPECT_EQ(Log(), "");
}

// ---- How it ends --------------------------------------------------------------------------------------------------------

TEST_F(OsifdProgram, EndsItsSessionsWhenAskedToEnd) {
  StartService();
  ObexClient sync = SyncClient();
  EXPECT_EQ(sync.Put("telecom/pb/luid/.vcf", kAnn).code, kSuccess);
  ObexClient cut = Client();
  EXPECT_EQ(cut.Exchange(0x02, ObexName("b.vcf") + ObexBytes(0x48, kBob)).code, 0x90);
  EXPECT_EQ(EndService(), 0);
  EXPECT_TRUE(sync.AwaitClose());
  EXPECT_TRUE(cut.AwaitClose());
  const std::vector<Json> sessions = Sessions(2);
  EXPECT_EQ(sessions[0]["ending"], "stopped");
  EXPECT_EQ(sessions[1]["ending"], "stopped");
  // The log was closed with the change in it: what was done since is one more.
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
  Store(kBob);
  const Lines changes = Osif({"changes", "pb"}).OutLines();
  ASSERT_EQ(changes.size(), 2u);
  EXPECT_TRUE(changes[0].starts_with("M  1  ")) << changes[0];
  EXPECT_TRUE(changes[1].starts_with("M  2  ")) << changes[1];
}

TEST_F(OsifdProgram, LeavesAUsableDeviceWhereASessionIsKilled) {
  StartService();
  ObexClient client = SyncClient();
  EXPECT_EQ(client.Put("telecom/pb/luid/.vcf", kAnn).code, kSuccess);
  EXPECT_EQ(client.Get("telecom/cal/info.log").code, kSuccess);
  const std::vector<pid_t> served = Served();
  ASSERT_EQ(served.size(), 1u);
  kill(served[0], SIGKILL);
  EXPECT_TRUE(client.AwaitClose());
  AwaitLog("a session was ended by signal 9");
  ObexClient next = SyncClient();
  EXPECT_THAT(next.Get("telecom/pb/luid/0.log").body, HasSubstr("::00000001\r\n"));
  EXPECT_EQ(next.Put("telecom/pb/luid/.vcf", kBob).code, kSuccess);
  next.Disconnect();
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000002  Bob Ray\n");
}

TEST_F(OsifdProgram, WhoeverIsServedGoesWithTheService) {
  StartService();
  ObexClient client = SyncClient();
  kill(service_, SIGKILL);
  WaitFor(std::exchange(service_, 0));
  EXPECT_TRUE(client.AwaitClose());
  EXPECT_EQ(Sessions(1).at(0)["ending"], "stopped");
}

}  // namespace
}  // namespace osifd_test::daemon_test
