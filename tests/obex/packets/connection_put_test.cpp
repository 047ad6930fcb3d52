#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "obex/packets/connection.h"
#include "tests/obex/packets/fake_service.h"

namespace connection_put_test {
namespace {

using namespace obex_test;
using obex::Code;
using obex::PacketLimits;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Connected to the default service.
class APut : public ::testing::Test {
 protected:
  APut() { peer.ConnectTo(""); }

  Peer peer;
};

// ---- Headers and body -------------------------------------------------------------------------------------------

TEST_F(APut, MayBeOnePacket) {
  EXPECT_EQ(peer.Ask(WholePut("one.vcf", "hello")), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body one.vcf: hello", "finish one.vcf: some"));
  EXPECT_THAT(peer.service.stored, ElementsAre("hello"));
}

TEST_F(APut, HasItsHeadersFromAllOfItsPackets) {
  EXPECT_EQ(peer.Ask(Packet(kPut, Name("one.vcf"))), "90 00 03");
  EXPECT_EQ(peer.Ask(Packet(kPut, Type("text/x-vcard"))), "90 00 03");
  EXPECT_EQ(peer.Ask(Packet(kPut, Length(5))), "90 00 03");
  EXPECT_EQ(peer.Ask(Packet(kPut, Sized(0x4C, Bytes("11 01 37")))), "90 00 03");
  EXPECT_EQ(peer.Ask(Packet(kPut, Body("he"))), "90 00 03");
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, EndOfBody("llo"))), "A0 00 03");
  EXPECT_EQ(peer.service.last.name, "one.vcf");
  EXPECT_EQ(peer.service.last.type, "text/x-vcard");
  EXPECT_EQ(peer.service.last.length, 5U);
  EXPECT_EQ(Hex(peer.service.last.parameters), "11 01 37");
  EXPECT_THAT(peer.service.stored, ElementsAre("hello"));
}

TEST_F(APut, HasItsHeadersInAnyOrder) {
  peer.Ask(Packet(kPutFinal, Sized(0x4C, Bytes("11 01 37")) + Length(5) + Type("text/x-vcard") +
                                 Name("one.vcf")));
  EXPECT_EQ(peer.service.last.name, "one.vcf");
  EXPECT_EQ(peer.service.last.type, "text/x-vcard");
  EXPECT_EQ(peer.service.last.length, 5U);
  EXPECT_EQ(Hex(peer.service.last.parameters), "11 01 37");
}

TEST_F(APut, HasNoHeaderForAnother) {
  peer.Ask(Packet(kPutFinal, Type("text/x-vcard")));
  EXPECT_EQ(peer.service.last.length, std::nullopt);
  peer.Ask(Packet(kPutFinal, Sized(0x4C, Bytes("11 01 37"))));
  EXPECT_EQ(peer.service.last.length, std::nullopt);
  EXPECT_EQ(peer.service.last.type, "");
  EXPECT_EQ(peer.service.last.name, std::nullopt);
}

TEST_F(APut, HasNoHeadersOfTheOneBefore) {
  peer.Ask(Packet(kPutFinal, Name("one.vcf") + Type("text/x-vcard") + Length(1) +
                                 Sized(0x4C, Bytes("12 00")) + EndOfBody("x")));
  peer.Ask(Packet(kPutFinal));
  EXPECT_EQ(peer.service.last.name, std::nullopt);
  EXPECT_EQ(peer.service.last.type, "");
  EXPECT_EQ(peer.service.last.length, std::nullopt);
  EXPECT_EQ(peer.service.last.parameters, "");
  EXPECT_THAT(peer.service.Asked(),
              ElementsAre("body one.vcf: x", "finish one.vcf: some", "finish (no name): none"));
}

// Adds up what it gets.
class Counter : public obex::Service {
 public:
  Code Open(std::string_view) override { return Code::kSuccess; }
  Code TakeBody(const obex::Request&, std::string_view bytes) override {
    for (const char c : bytes) sum += static_cast<unsigned char>(c);
    count += bytes.size();
    return Code::kContinue;
  }
  obex::PutAnswer FinishPut(const obex::Request&, obex::BodyForm) override {
    return {Code::kSuccess};
  }
  obex::GetAnswer Get(const obex::Request&) override { return {Code::kForbidden}; }
  void Close() override {}
  void Drop() override { count = 0; }

  uint64_t count = 0;
  uint64_t sum = 0;
};

TEST(ALargePut, MayComeByteByByte) {
  Counter service;
  obex::Connection connection(service, {});
  connection.Feed(Connect(1024));
  connection.Answer();
  const std::string packet = Packet(kPut, Body("\xFF"));
  const std::optional<std::string> going_on = Bytes("90 00 03");
  constexpr uint64_t kSize = 16'777'216;
  uint64_t continued = 0;
  for (uint64_t i = 0; i < kSize; ++i) {
    connection.Feed(packet);
    continued += connection.Answer() == going_on ? 1U : 0U;
  }
  EXPECT_EQ(continued, kSize);
  EXPECT_EQ(service.count, kSize);
  EXPECT_EQ(service.sum, 255 * kSize);
  // It is as long as a body may be.
  connection.Feed(packet);
  EXPECT_EQ(Hex(connection.Answer().value_or("")), "CD 00 03");
  EXPECT_EQ(service.count, 0u);
}

TEST_F(APut, MayHaveATypeWithoutItsZero) {
  peer.Ask(Packet(kPutFinal, Sized(0x42, "text/x-vcard")));
  EXPECT_EQ(peer.service.last.type, "text/x-vcard");
  peer.Ask(Packet(kPutFinal, Sized(0x42, Bytes("00 00"))));
  EXPECT_EQ(peer.service.last.type, "");
}

TEST_F(APut, IsCompleteWithTheFinalBit) {
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + EndOfBody("x"))), "90");
  EXPECT_THAT(peer.service.stored, IsEmpty());
  EXPECT_EQ(peer.Codes(Packet(kPutFinal)), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("x"));
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Name("a") + Body("y"))), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("x", "y"));
}

TEST_F(APut, MayEndWithAnEmptyPiece) {
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + Body("xyz"))), "90");
  EXPECT_EQ(peer.Ask(Bytes("82 00 06 49 00 03")), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: xyz", "finish a: some"));
}

TEST_F(APut, MayHaveBodyAndEndOfBodyInOnePacket) {
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Name("a") + Body("one ") + EndOfBody("two"))), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("one two"));
}

TEST_F(APut, MayHaveHeadersAfterItsBody) {
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody("x") + Name("a") + Type("text/x-vcard"))), "A0");
  EXPECT_EQ(peer.service.last.name, "a");
  EXPECT_EQ(peer.service.last.type, "text/x-vcard");
  EXPECT_EQ(peer.Codes(Packet(kPut, Body("y"))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Name("b"))), "A0");
  EXPECT_EQ(peer.service.last.name, "b");
  EXPECT_THAT(peer.service.stored, ElementsAre("x", "y"));
}

TEST_F(APut, TellsNoBodyFromAnEmptyOne) {
  peer.Ask(Packet(kPutFinal, Name("a")));
  peer.Ask(Packet(kPutFinal, Name("a") + EndOfBody("")));
  peer.Ask(Packet(kPutFinal, Name("a") + Body("")));
  peer.Ask(Packet(kPut, Name("a") + Body("")));
  peer.Ask(Packet(kPutFinal));
  peer.Ask(Packet(kPutFinal, Name("a")));
  EXPECT_THAT(peer.service.Asked(),
              ElementsAre("finish a: none", "finish a: empty", "finish a: empty", "finish a: empty",
                          "finish a: none"));
}

TEST_F(APut, TellsNoNameFromAnEmptyOne) {
  peer.Ask(Packet(kPutFinal, Bytes("01 00 03")));
  peer.Ask(Packet(kPutFinal, Bytes("01 00 05 00 00")));
  peer.Ask(Packet(kPutFinal));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("finish (empty): none", "finish (empty): none",
                                                "finish (no name): none"));
}

TEST_F(APut, IgnoresHeadersThatItDoesNotKnow) {
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Bytes("C0 00 00 00 01  44 00 05 32 30  C4 00 00 00 01"
                                               "47 00 03  97 01  98 00  3E 00 04 FF  BB 07") +
                                             Name("a") + EndOfBody("x"))),
            "A0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "finish a: some"));
}

TEST_F(APut, BeforeAConnectIsForTheDefaultService) {
  Peer other;
  EXPECT_EQ(other.Ask(WholePut("a", "x")), "A0 00 03");
  EXPECT_THAT(other.service.Asked(), ElementsAre("open push", "body a: x", "finish a: some"));
}

TEST_F(APut, BeforeAConnectIsRefusedAsTheServiceDoes) {
  Peer other;
  other.service.open_code = Code::kUnavailable;
  EXPECT_EQ(other.Ask(WholePut("a", "x")), "D3 00 03");
  other.service.open_code = Code::kSuccess;
  EXPECT_EQ(other.Ask(WholePut("a", "x")), "A0 00 03");
  EXPECT_THAT(other.service.Asked(),
              ElementsAre("open push", "open push", "body a: x", "finish a: some"));
}

// ---- Answers ----------------------------------------------------------------------------------------------------

TEST_F(APut, IsAnsweredWithTheCodeAndTheParametersOfTheService) {
  peer.service.put_answer = {Code::kSuccess, Bytes("01 01 41 02 01 37")};
  EXPECT_EQ(peer.Ask(WholePut("a", "x")), "A0 00 0C 4C 00 09 01 01 41 02 01 37");
  peer.service.put_answer = {Code::kConflict};
  EXPECT_EQ(peer.Ask(WholePut("a", "x")), "C9 00 03");
}

TEST_F(APut, HasItsParametersInTheLastAnswerAlone) {
  peer.service.put_answer = {Code::kSuccess, Bytes("01 01 41")};
  EXPECT_EQ(peer.Ask(Packet(kPut, Name("a") + Body("x"))), "90 00 03");
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, EndOfBody(""))), "A0 00 09 4C 00 06 01 01 41");
}

// ---- Refusals ---------------------------------------------------------------------------------------------------

TEST_F(APut, ThatTheServiceRefusesEarlyIsRefusedUntilItsEnd) {
  peer.service.body_code = Code::kUnsupportedType;
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + Body("x"))), "CF");
  EXPECT_EQ(peer.Codes(Packet(kPut, Body("y"))), "CF");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody(""))), "CF");
  // The service has let go of it by itself.
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x"));
}

TEST_F(APut, ThatWasRefusedEarlyIsOverWithTheNextRequest) {
  peer.service.body_code = Code::kUnsupportedType;
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + Body("x"))), "CF");
  peer.service.body_code = Code::kContinue;
  EXPECT_EQ(peer.Codes(WholePut("b", "y")), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("y"));
}

TEST_F(APut, ThatWasRefusedEarlyIsOverWithAnAbort) {
  peer.service.body_code = Code::kUnsupportedType;
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + Body("x"))), "CF");
  peer.service.body_code = Code::kContinue;
  EXPECT_EQ(peer.Codes(Abort()), "A0");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody("y"))), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("y"));
}

TEST_F(APut, ThatWasRefusedAtItsEndLeavesNothingBehind) {
  peer.service.body_code = Code::kUnsupportedType;
  EXPECT_EQ(peer.Codes(WholePut("a", "x")), "CF");
  peer.service.body_code = Code::kContinue;
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody("y"))), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("y"));
}

TEST_F(APut, ThatWasRefusedToItsEndLeavesNothingBehind) {
  peer.service.body_code = Code::kUnsupportedType;
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + Body("x"))), "CF");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody("y"))), "CF");
  peer.service.body_code = Code::kContinue;
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody("z"))), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("z"));
}

TEST_F(APut, ThatIsRefusedLaterIsDropped) {
  peer.Codes(Packet(kPut, Name("a") + Body("x")));
  peer.service.body_code = Code::kDatabaseFull;
  EXPECT_EQ(peer.Codes(Packet(kPut, Body("y"))), "E0");
  EXPECT_EQ(peer.Codes(Packet(kPut, Body("z"))), "E0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "body a: y"));
}

TEST_F(APut, WithADamagedHeaderIsRefusedAndDropped) {
  for (const char* damaged : {"49 00 02", "49 00 09 61", "49", "01 00 04 00", "97", "C3 00 00"}) {
    EXPECT_EQ(peer.Ask(Packet(kPut, Name("a") + Body("x"))), "90 00 03");
    EXPECT_EQ(peer.Ask(Packet(kPutFinal, Bytes(damaged))), "C0 00 03") << damaged;
    EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "drop")) << damaged;
    EXPECT_EQ(peer.Ask(Packet(kPutFinal, Body("x") + Bytes(damaged))), "C0 00 03") << damaged;
    EXPECT_THAT(peer.service.Asked(), IsEmpty()) << damaged;
  }
  EXPECT_FALSE(peer.is_finished());
}

TEST_F(APut, WithANameThatIsNoneIsRefused) {
  for (const char* name :
       {"01 00 04 00", "01 00 06 00 61 00", "01 00 05 D8 00", "01 00 07 D8 00 00 00",
        "01 00 05 DC 00", "01 00 09 00 61 00 00 00 62"}) {
    EXPECT_EQ(peer.Ask(Packet(kPutFinal, Bytes(name) + EndOfBody("x"))), "C0 00 03") << name;
  }
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

// ---- Ended early ------------------------------------------------------------------------------------------------

TEST_F(APut, MayBeAborted) {
  peer.Ask(Packet(kPut, Name("a") + Body("x")));
  EXPECT_EQ(peer.Ask(Abort()), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "drop"));
  EXPECT_EQ(peer.Ask(WholePut("b", "y")), "A0 00 03");
  EXPECT_THAT(peer.service.stored, ElementsAre("y"));
}

TEST_F(APut, ThatIsAbortedBeforeItsBodyHasNothingToDrop) {
  peer.Ask(Packet(kPut, Name("a")));
  EXPECT_EQ(peer.Ask(Abort()), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST_F(APut, IsDroppedByEveryOtherRequest) {
  const std::vector<std::string> others = {Packet(kGet, Name("b")),
                                           Packet(kGetFinal, Name("b")),
                                           SetPath("01 00"),
                                           Disconnect(),
                                           Packet(0x86),
                                           Packet(0x04)};
  for (const std::string& other : others) {
    EXPECT_EQ(peer.Ask(Packet(kPut, Name("a") + Body("x"))), "90 00 03");
    EXPECT_EQ(peer.Ask(other), "C0 00 03") << Hex(other);
    EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "drop")) << Hex(other);
  }
}

TEST_F(APut, IsDroppedByAConnectThatIsRefusedWithItsFields) {
  EXPECT_EQ(peer.Ask(Packet(kPut, Name("a") + Body("x"))), "90 00 03");
  EXPECT_EQ(peer.Ask(Connect(1024)), "C0 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "drop"));
  EXPECT_EQ(peer.Codes(Connect(1024)), "A0");
}

TEST_F(APut, ThatAnotherRequestDroppedIsNotTakenUpAgain) {
  peer.Ask(Packet(kPut, Name("a") + Body("x")));
  EXPECT_EQ(peer.Codes(Disconnect()), "C0");
  EXPECT_EQ(peer.Codes(Packet(kPut, Body("y"))), "C0");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody("z"))), "C0");
  EXPECT_THAT(peer.service.stored, IsEmpty());
}

// Three packets: headers and a piece, a piece, the last piece.
TEST(APutThatIsLostAtAnyByte, StoresNothing) {
  const std::string put = Packet(kPut, Name("a") + Body("one ")) + Packet(kPut, Body("two ")) +
                          Packet(kPutFinal, EndOfBody("three"));
  const size_t first = Packet(kPut, Name("a") + Body("one ")).size();
  for (size_t sent = 0; sent < put.size(); ++sent) {
    Peer peer;
    peer.ConnectTo("");
    peer.Ask(put.substr(0, sent));
    peer.Lose();
    EXPECT_THAT(peer.service.stored, IsEmpty()) << sent;
    const std::vector<std::string> calls = peer.service.Asked();
    EXPECT_EQ(std::ranges::count(calls, "drop"), sent < first ? 0 : 1) << sent;
  }
  Peer peer;
  peer.ConnectTo("");
  peer.Ask(put);
  peer.Lose();
  EXPECT_THAT(peer.service.stored, ElementsAre("one two three"));
  EXPECT_EQ(std::ranges::count(peer.service.calls, "drop"), 0);
}

TEST(APutOfOnePacketThatIsLostAtAnyByte, IsNotEvenBegun) {
  const std::string put = WholePut("a", "hello");
  for (size_t sent = 0; sent < put.size(); ++sent) {
    Peer peer;
    peer.ConnectTo("");
    peer.Ask(put.substr(0, sent));
    peer.Lose();
    EXPECT_THAT(peer.service.Asked(), IsEmpty()) << sent;
  }
}

// ---- Limits -----------------------------------------------------------------------------------------------------

// The codes of one packet.
std::string With(const PacketLimits& limits, const std::string& packet) {
  return Peer(limits).Codes(packet);
}

TEST(TheLimitOfHeaders, IsTheSumOfTheirBytes) {
  PacketLimits limits;
  limits.headers = 100;
  EXPECT_EQ(With(limits, Packet(kPutFinal, Description(99))), "A0");
  EXPECT_EQ(With(limits, Packet(kPutFinal, Description(100))), "A0");
  EXPECT_EQ(With(limits, Packet(kPutFinal, Description(101))), "CD");
}

TEST(TheLimitOfHeaders, CountsThoseOfEveryForm) {
  PacketLimits limits;
  limits.headers = 100;
  // 5 bytes of a text, 3 of bytes, 2 of a byte, 5 of a number.
  const std::string four = Bytes("05 00 05 00 00  47 00 03  97 01  C0 00 00 00 01");
  EXPECT_EQ(With(limits, Packet(kPutFinal, four + Description(84))), "A0");
  EXPECT_EQ(With(limits, Packet(kPutFinal, four + Description(85))), "A0");
  EXPECT_EQ(With(limits, Packet(kPutFinal, four + Description(86))), "CD");
}

TEST(TheLimitOfHeaders, IsForAllPacketsOfARequest) {
  PacketLimits limits;
  limits.headers = 100;
  Peer peer(limits);
  EXPECT_EQ(peer.Codes(Packet(kPut, Description(50) + Body("x"))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Description(50))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Bytes("97 01"))), "CD");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push", "body (no name): x", "drop"));
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Description(100))), "A0");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Description(100))), "A0");
}

TEST(TheLimitOfHeaders, IsForEveryKindOfRequest) {
  PacketLimits limits;
  limits.headers = 100;
  for (const int opcode : {kGet, kGetFinal}) {
    EXPECT_NE(With(limits, Packet(opcode, Description(100))), "CD");
    EXPECT_EQ(With(limits, Packet(opcode, Description(101))), "CD");
  }
  EXPECT_EQ(With(limits, Connect(255, Description(100))), "A0");
  EXPECT_EQ(With(limits, Connect(255, Description(101))), "CD");
  EXPECT_EQ(With(limits, SetPath("01 00", Description(100))), "A0");
  EXPECT_EQ(With(limits, SetPath("01 00", Description(101))), "CD");
  EXPECT_EQ(With(limits, Packet(0x81, Description(100))), "A0");
  EXPECT_EQ(With(limits, Packet(0x81, Description(101))), "CD");
}

TEST(TheLimitOfHeaders, LeavesOutTheBodyAndTheConnectionId) {
  PacketLimits limits;
  limits.headers = 100;
  Peer peer(limits);
  peer.ConnectTo("IRMC-SYNC");
  EXPECT_EQ(peer.Codes(Packet(kPut, Id(1) + Description(100))), "90");
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(peer.Codes(Packet(kPut, Id(1) + Body("0123456789"))), "90");
  }
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Id(1) + EndOfBody(""))), "A0");
}

TEST(TheLimitOfHeaders, IsAsLargeAsTwoPacketsByItself) {
  Peer peer;
  EXPECT_EQ(peer.Codes(Packet(kPut, Description(32'764))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Description(32'764))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Description(8))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Description(3))), "CD");
}

TEST(TheLimitOfNames, IsCharacters) {
  EXPECT_EQ(With({}, Packet(kPutFinal, Name(std::string(511, 'n')))), "A0");
  EXPECT_EQ(With({}, Packet(kPutFinal, Name(std::string(512, 'n')))), "A0");
  EXPECT_EQ(With({}, Packet(kPutFinal, Name(std::string(513, 'n')))), "C0");
}

TEST(TheLimitOfNames, CountsAPairOfSurrogatesAsTwo) {
  PacketLimits limits;
  limits.name = 3;
  const std::string smile = Bytes("D8 3D DE 00");
  EXPECT_EQ(With(limits, Packet(kPutFinal, Sized(0x01, smile + Wide("n")))), "A0");
  EXPECT_EQ(With(limits, Packet(kPutFinal, Sized(0x01, smile + Wide("nn")))), "C0");
}

TEST(TheLimitOfABody, IsItsBytes) {
  PacketLimits limits;
  limits.body = 10;
  EXPECT_EQ(With(limits, WholePut("a", "123456789")), "A0");
  EXPECT_EQ(With(limits, WholePut("a", "1234567890")), "A0");
  EXPECT_EQ(With(limits, WholePut("a", "12345678901")), "CD");
}

TEST(TheLimitOfABody, IsForAllOfItsPieces) {
  PacketLimits limits;
  limits.body = 10;
  Peer peer(limits);
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + Body("12345") + Body("6789"))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Body("0"))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Body("1"))), "CD");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, EndOfBody(""))), "CD");
  EXPECT_THAT(peer.service.Asked(),
              ElementsAre("open push", "body a: 123456789", "body a: 0", "drop"));
  EXPECT_EQ(peer.Codes(WholePut("a", "1234567890")), "A0");
}

TEST(TheLimitOfABody, IsForTheLengthThatIsAnnounced) {
  PacketLimits limits;
  limits.body = 10;
  EXPECT_EQ(With(limits, Packet(kPut, Name("a") + Length(9))), "90");
  EXPECT_EQ(With(limits, Packet(kPut, Name("a") + Length(10))), "90");
  EXPECT_EQ(With(limits, Packet(kPut, Name("a") + Length(11))), "CD");
  EXPECT_EQ(With(limits, Packet(kPut, Name("a") + Length(0xFFFF'FFFF))), "CD");
}

TEST(TheLimitOfABody, RefusesWithoutHavingTheServiceDropWhatItNeverGot) {
  PacketLimits limits;
  limits.body = 10;
  Peer peer(limits);
  EXPECT_EQ(peer.Codes(WholePut("a", "12345678901")), "CD");
  EXPECT_EQ(peer.Codes(Packet(kPut, Name("a") + Length(11) + Body("1"))), "CD");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push"));
}

TEST(TheLimitOfABody, DoesNotHoldForALengthThatIsWrong) {
  Peer peer;
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Name("a") + Length(1) + EndOfBody("hello"))), "A0");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Name("a") + Length(9) + EndOfBody("hello"))), "A0");
  EXPECT_THAT(peer.service.stored, ElementsAre("hello", "hello"));
}

// ---- Cost -------------------------------------------------------------------------------------------------------

class CountingService : public obex::Service {
 public:
  Code Open(std::string_view) override { return Code::kSuccess; }
  Code TakeBody(const obex::Request&, std::string_view bytes) override {
    taken += bytes.size();
    return Code::kContinue;
  }
  obex::PutAnswer FinishPut(const obex::Request&, obex::BodyForm) override {
    ++finished;
    return {Code::kSuccess};
  }
  obex::GetAnswer Get(const obex::Request&) override { return {Code::kNotFound}; }
  void Close() override {}
  void Drop() override {}

  size_t taken = 0;
  int finished = 0;
};

// Whatever grew with what has come before it would never end here.
TEST(ABodyOfAMillionBytes, MayComeInPacketsOfOneByte) {
  CountingService service;
  obex::Connection connection(service, {});
  constexpr size_t kBytes = 1'000'000;
  constexpr size_t kPacketsAtOnce = 2'000;
  std::string packets;
  for (size_t i = 0; i < kPacketsAtOnce; ++i) packets += Packet(kPut, Body("x"));
  size_t continued = 0;
  for (size_t sent = 0; sent < kBytes; sent += kPacketsAtOnce) {
    connection.Feed(packets);
    while (const auto answer = connection.Answer()) {
      ASSERT_EQ(*answer, Bytes("90 00 03"));
      ASSERT_LE(++continued, kBytes);
    }
  }
  EXPECT_EQ(continued, kBytes);
  EXPECT_EQ(service.taken, kBytes);
  connection.Feed(Packet(kPutFinal, EndOfBody("")));
  EXPECT_EQ(connection.Answer(), Bytes("A0 00 03"));
  EXPECT_EQ(service.finished, 1);
}

}  // namespace
}  // namespace connection_put_test
