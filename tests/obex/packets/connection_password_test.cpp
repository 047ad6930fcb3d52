#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "obex/packets/connection.h"
#include "tests/obex/packets/fake_service.h"

namespace connection_password_test {
namespace {

using namespace obex_test;
using obex::Authenticator;
using obex::Digest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kNonces[] = {"0123456789abcdef", "ABCDEFGHIJKLMNOP"};
// MD5 of each nonce, ":secret".
const std::string kDigests[] = {Bytes("8A 20 E9 61 FA 54 15 81 25 36 15 92 E0 A9 5A 43"),
                                Bytes("30 1E FE 0B F3 79 33 C6 FD 1D F0 3A 53 ED 19 E4")};

Peer Guarded() {
  return Peer({}, std::make_unique<Authenticator>("secret", [count = 0]() mutable {
                Digest nonce{};
                kNonces[count++ % 2].copy(nonce.data(), nonce.size());
                return nonce;
              }));
}

std::string Challenge(std::string_view nonce) {
  return Sized(0x4D, Bytes("00 10") + std::string(nonce));
}
std::string Response(std::string_view digest) {
  return Sized(0x4E, Bytes("00 10") + std::string(digest));
}
// What answers a challenge of the peer's.
std::string Proof(size_t nonce) {
  return Sized(0x4E,
               Bytes("00 10") + kDigests[nonce] + Bytes("02 10") + std::string(kNonces[nonce]));
}
// The answer to whoever has to say the password.
std::string Asking(size_t nonce) { return Hex(Packet(0xC1, Challenge(kNonces[nonce]))); }
std::string ConnectAsking(size_t nonce) {
  return Hex(Packet(0xC1, Bytes("10 00 7F FF") + Challenge(kNonces[nonce])));
}

TEST(APasswordAtAConnect, IsAskedForBeforeTheServiceIs) {
  Peer peer = Guarded();
  EXPECT_EQ(peer.Ask(Connect(1024)), ConnectAsking(0));
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[0]))), "A0 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push"));
  EXPECT_EQ(peer.Codes(WholePut("a", "x")), "A0");
}

TEST(APasswordAtAConnect, ThatIsWrongIsAskedForAnew) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[1]))), ConnectAsking(1));
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[1]))), "A0 00 07 10 00 7F FF");
}

TEST(APasswordAtAConnect, CannotBeSaidBeforeItIsAskedFor) {
  Peer peer = Guarded();
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[0]))), ConnectAsking(0));
}

TEST(APasswordAtAConnect, HoldsForTheNextConnect) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  peer.Ask(Connect(1024, Response(kDigests[0])));
  EXPECT_EQ(peer.Codes(Connect(1024, Target("IRMC-SYNC"))), "A0");
}

TEST(APasswordAtAConnect, IsForgottenWithAWrongOneAndAtADisconnect) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  peer.Ask(Connect(1024, Response(kDigests[0])));
  EXPECT_EQ(peer.Codes(Connect(1024, Response(kDigests[0]))), "C1");
  EXPECT_EQ(peer.Codes(WholePut("a", "x")), "C1");
  EXPECT_EQ(peer.Codes(Connect(1024, Response(kDigests[0]))), "A0");
  EXPECT_EQ(peer.Codes(Disconnect()), "A0");
  EXPECT_EQ(peer.Codes(WholePut("a", "x")), "C1");
  EXPECT_THAT(peer.service.stored, IsEmpty());
}

TEST(APassword, IsAskedForInRequestsWithoutAConnect) {
  for (const std::string& request :
       {WholePut("a", "x"), Packet(kPut, Name("a") + Body("x")), Packet(kGet, Name("a")),
        Packet(kGetFinal, Name("a")), SetPath("01 00")}) {
    Peer peer = Guarded();
    EXPECT_EQ(peer.Ask(request), Asking(0)) << Hex(request);
    EXPECT_THAT(peer.service.Asked(), IsEmpty()) << Hex(request);
  }
}

TEST(APassword, MayBeSaidInRequestsWithoutAConnect) {
  const std::string response = Response(kDigests[0]);
  for (const std::string& request :
       {Packet(kPutFinal, response + Name("a") + EndOfBody("x")),
        Packet(kGetFinal, Name("a") + response), SetPath("01 00", response)}) {
    Peer peer = Guarded();
    peer.Ask(Packet(kGetFinal, Name("b")));
    EXPECT_EQ(peer.Codes(request), "A0") << Hex(request);
    EXPECT_EQ(peer.Codes(WholePut("b", "y")), "A0");
  }
}

TEST(APassword, IsAskedForUntilTheEndOfAPut) {
  Peer peer = Guarded();
  EXPECT_EQ(peer.Ask(Packet(kPut, Name("a") + Body("x"))), Asking(0));
  EXPECT_EQ(peer.Ask(Packet(kPut, Body("y"))), Asking(1));
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, EndOfBody("z"))), Asking(0));
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(APassword, IsNotAskedForToDisconnectOrAbort) {
  Peer peer = Guarded();
  EXPECT_EQ(peer.Ask(Disconnect()), "A0 00 03");
  EXPECT_EQ(peer.Ask(Abort()), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(APassword, CanBeGuessedThreeTimes) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  for (int guess = 1; guess <= 3; ++guess) {
    EXPECT_FALSE(peer.is_finished()) << guess;
    EXPECT_EQ(peer.Codes(Connect(1024, Response(std::string(16, 'x')))), "C1") << guess;
  }
  EXPECT_TRUE(peer.is_finished());
  EXPECT_EQ(peer.Codes(Connect(1024, Response(kDigests[1]))), "");
}

TEST(APassword, MayBeSaidAtTheThirdTry) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  peer.Ask(Connect(1024, Response("x")));
  peer.Ask(Connect(1024, Response("x")));
  EXPECT_EQ(peer.Codes(Connect(1024, Response(kDigests[0]))), "A0");
  EXPECT_FALSE(peer.is_finished());
}

TEST(APassword, OfARequestThatTheServiceForbidsIsNotAskedForAgain) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  peer.Ask(Connect(1024, Response(kDigests[0])));
  peer.service.get_code = obex::Code::kUnauthorized;
  EXPECT_EQ(peer.Ask(Packet(kGetFinal, Name("a"))), "C1 00 03");
}

TEST(APassword, IsNotNeededWhereNoneIsSet) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[0]) + Challenge(kNonces[0]))),
            "A0 00 07 10 00 7F FF");
}

// ---- The peer's own challenge -----------------------------------------------------------------------------------

TEST(APeersChallenge, IsAnsweredBesideTheResponseToOurs) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[0]) + Challenge(kNonces[1]))),
            Hex(Packet(0xA0, Bytes("10 00 7F FF") + Proof(1))));
}

TEST(APeersChallenge, ComesAfterTheIdAndTheTarget) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  EXPECT_EQ(peer.Ask(Connect(1024, Target("T") + Response(kDigests[0]) + Challenge(kNonces[1]))),
            Hex(Packet(0xA0, Bytes("10 00 7F FF CB 00 00 00 01 4A 00 04 54") + Proof(1))));
}

TEST(APeersChallenge, MayStandBeforeTheTarget) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  EXPECT_EQ(peer.Ask(Connect(1024, Challenge(kNonces[1]) + Response(kDigests[0]) + Target("T"))),
            Hex(Packet(0xA0, Bytes("10 00 7F FF CB 00 00 00 01 4A 00 04 54") + Proof(1))));
}

TEST(APeersChallenge, ThatComesUnpromptedIsAnsweredOnceThePeerIsKnown) {
  Peer peer = Guarded();
  EXPECT_EQ(peer.Ask(Connect(1024, Challenge(kNonces[1]))), ConnectAsking(0));
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[0]))),
            Hex(Packet(0xA0, Bytes("10 00 7F FF") + Proof(1))));
  EXPECT_EQ(peer.Ask(Connect(1024)), "A0 00 07 10 00 7F FF");
}

TEST(APeersChallenge, IsNotAnsweredToWhoeverDoesNotKnowThePassword) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  EXPECT_EQ(peer.Ask(Connect(1024, Challenge(kNonces[0]))), ConnectAsking(1));
  EXPECT_EQ(peer.Ask(Connect(1024, Challenge(kNonces[1]) + Response("x"))), ConnectAsking(0));
  EXPECT_EQ(peer.Ask(Packet(kGetFinal, Challenge(kNonces[0]))), Asking(1));
}

TEST(APeersChallenge, IsForgottenAtADisconnect) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024, Challenge(kNonces[1])));
  peer.Ask(Disconnect());
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[0]))), "A0 00 07 10 00 7F FF");
}

TEST(APeersChallenge, ThatIsMalformedIsNotAnswered) {
  Peer peer = Guarded();
  peer.Ask(Connect(1024));
  EXPECT_EQ(peer.Ask(Connect(1024, Response(kDigests[0]) + Sized(0x4D, "x"))),
            "A0 00 07 10 00 7F FF");
}

// In any request that is served, in the first answer to it.
class AKnownPeersChallenge : public ::testing::Test {
 protected:
  AKnownPeersChallenge() {
    peer.Ask(Connect(255));
    peer.Ask(Connect(255, Response(kDigests[0])));
  }

  Peer peer = Guarded();
  const std::string challenge = Challenge(kNonces[1]);
};

TEST_F(AKnownPeersChallenge, IsAnsweredInAPut) {
  EXPECT_EQ(peer.Ask(Packet(kPut, challenge + Name("a"))), Hex(Packet(0x90, Proof(1))));
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, EndOfBody("x"))), "A0 00 03");
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, challenge + Name("a"))), Hex(Packet(0xA0, Proof(1))));
}

TEST_F(AKnownPeersChallenge, LeavesRoomForTheParametersOfAPut) {
  const std::string parameters(200, 'p');
  peer.service.put_answer = {obex::Code::kSuccess, parameters};
  const std::string answer = Packet(0xA0, Proof(1) + Sized(0x4C, parameters));
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, challenge + Name("a"))), Hex(answer));
  EXPECT_LE(answer.size(), 255U);
}

TEST_F(AKnownPeersChallenge, IsAnsweredInAGet) {
  EXPECT_EQ(peer.Ask(Packet(kGet, challenge)), Hex(Packet(0x90, Proof(1))));
  EXPECT_EQ(peer.Ask(Packet(kGetFinal)), Hex(Packet(0xA0, EndOfBody("text"))));
  peer.service.text = std::string(250, 't');
  EXPECT_EQ(peer.Ask(Packet(kGetFinal, challenge)),
            Hex(Packet(0x90, Proof(1) + Body(std::string(210, 't')))));
  EXPECT_EQ(peer.Ask(Packet(kGetFinal)), Hex(Packet(0xA0, EndOfBody(std::string(40, 't')))));
}

TEST_F(AKnownPeersChallenge, IsAnsweredInASetPath) {
  EXPECT_EQ(peer.Ask(SetPath("01 00", challenge)), Hex(Packet(0xA0, Proof(1))));
  EXPECT_EQ(peer.Ask(SetPath("01 00")), "A0 00 03");
}

TEST_F(AKnownPeersChallenge, IsNotAnsweredLater) {
  peer.service.body_code = obex::Code::kDatabaseFull;
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, challenge + EndOfBody("x"))), "E0 00 03");
  EXPECT_EQ(peer.Ask(SetPath("01 00")), "A0 00 03");
}

TEST_F(AKnownPeersChallenge, FitsBesideTheLongestTarget) {
  const std::string target(128, 't');
  const std::string answer =
      Packet(0xA0, Bytes("10 00 7F FF") + Id(1) + Sized(0x4A, target) + Proof(1));
  EXPECT_EQ(peer.Ask(Connect(255, Target(target) + challenge)), Hex(answer));
  EXPECT_LE(answer.size(), 255U);
}

}  // namespace
}  // namespace connection_password_test
