#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "obex/packets/connection.h"
#include "tests/obex/packets/fake_service.h"

namespace connection_get_test {
namespace {

using namespace obex_test;
using obex::Code;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Bytes that differ from their neighbours.
std::string Text(size_t size) {
  std::string text;
  for (size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 23);
  return text;
}

// Connected to the default service, with room for packets of 255 bytes: 249 of a body, 244 beside a Length.
class AGet : public ::testing::Test {
 protected:
  AGet() { peer.ConnectTo("", 255); }

  std::string Serve(std::string text) {
    peer.service.text = std::move(text);
    return peer.Ask(Packet(kGetFinal, Name("a")));
  }

  Peer peer;
};

TEST_F(AGet, IsAnsweredWithTheWholeOfASmallObject) {
  EXPECT_EQ(Serve("hi"), "A0 00 08 49 00 05 68 69");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a"));
}

TEST_F(AGet, SaysTheLengthWhereItIsKnown) {
  peer.service.is_length_known = true;
  EXPECT_EQ(Serve("hi"), "A0 00 0D C3 00 00 00 02 49 00 05 68 69");
}

TEST_F(AGet, MayBeOfAnEmptyObject) {
  EXPECT_EQ(Serve(""), "A0 00 06 49 00 03");
  peer.service.is_length_known = true;
  EXPECT_EQ(Serve(""), "A0 00 0B C3 00 00 00 00 49 00 03");
}

TEST_F(AGet, OfOneByteLessThanAPacketHoldsIsOnePacket) {
  EXPECT_EQ(Serve(Text(248)), "A0 00 FE 49 00 FB " + Hex(Text(248)));
}

TEST_F(AGet, OfWhatAPacketHoldsEndsWithAnEmptyPiece) {
  EXPECT_EQ(Serve(Text(249)), "90 00 FF 48 00 FC " + Hex(Text(249)));
  EXPECT_EQ(peer.Ask(Bytes("83 00 03")), "A0 00 06 49 00 03");
}

TEST_F(AGet, OfOneByteMoreThanAPacketHoldsHasASecondPacketForIt) {
  EXPECT_EQ(Serve(Text(250)), "90 00 FF 48 00 FC " + Hex(Text(249)));
  EXPECT_EQ(peer.Ask(Bytes("83 00 03")), "A0 00 07 49 00 04 " + Hex(Text(250).substr(249)));
}

TEST_F(AGet, HasRoomForTheLengthInItsFirstPacket) {
  peer.service.is_length_known = true;
  EXPECT_EQ(Serve(Text(245)), "90 00 FF C3 00 00 00 F5 48 00 F7 " + Hex(Text(244)));
  EXPECT_EQ(peer.Ask(Bytes("83 00 03")), "A0 00 07 49 00 04 " + Hex(Text(245).substr(244)));
  EXPECT_EQ(Serve(Text(244)), "90 00 FF C3 00 00 00 F4 48 00 F7 " + Hex(Text(244)));
  EXPECT_EQ(peer.Ask(Bytes("83 00 03")), "A0 00 06 49 00 03");
  EXPECT_EQ(Serve(Text(243)), "A0 00 FE C3 00 00 00 F3 49 00 F6 " + Hex(Text(243)));
}

// The body of the answers until the last one, each of them at most `room` bytes long, and all but the last full.
std::string Collected(Peer& peer, size_t room) {
  std::string body;
  int answers = 0;
  peer.connection().Feed(Packet(kGetFinal, Name("a")));
  while (const auto answer = peer.connection().Answer()) {
    if (++answers > 1000) break;
    const bool is_last = answer->front() == '\xA0';
    EXPECT_EQ(answer->substr(1, 2), Two(answer->size()));
    EXPECT_EQ(answer->substr(3, 1), is_last ? "\x49" : "\x48");
    EXPECT_EQ(answer->substr(4, 2), Two(answer->size() - 3));
    body += answer->substr(6);
    if (is_last) {
      EXPECT_LE(answer->size(), room);
      return body;
    }
    EXPECT_EQ(answer->front(), '\x90');
    EXPECT_EQ(answer->size(), room);
    peer.connection().Feed(Bytes("83 00 03"));
  }
  ADD_FAILURE() << "no last answer";
  return body;
}

TEST(AGetOfALargeObject, FillsThePacketsThatThePeerTold) {
  for (const size_t room :
       {size_t{255}, size_t{256}, size_t{1024}, size_t{32'768}, size_t{65'535}}) {
    Peer peer;
    peer.ConnectTo("", room);
    peer.service.text = Text(200'000);
    EXPECT_TRUE(Collected(peer, room) == Text(200'000)) << room;
    EXPECT_THAT(peer.service.Asked(), ElementsAre("get a")) << room;
  }
}

TEST(AGetBeforeAConnect, IsForTheDefaultServiceInTheSmallestPackets) {
  Peer peer;
  peer.service.text = Text(1000);
  EXPECT_TRUE(Collected(peer, 255) == Text(1000));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push", "get a"));
}

// ---- Requests ---------------------------------------------------------------------------------------------------

TEST_F(AGet, HasItsHeadersFromAllOfItsPackets) {
  EXPECT_EQ(peer.Ask(Packet(kGet, Name("a"))), "90 00 03");
  EXPECT_EQ(peer.Ask(Packet(kGet, Type("text/x-vcard"))), "90 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
  EXPECT_EQ(peer.Codes(Packet(kGetFinal, Sized(0x4C, Bytes("11 01 37")))), "A0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a"));
  EXPECT_EQ(peer.service.last.type, "text/x-vcard");
  EXPECT_EQ(Hex(peer.service.last.parameters), "11 01 37");
}

TEST_F(AGet, HasNoHeadersOfTheOneBefore) {
  peer.Codes(Packet(kGetFinal, Name("a") + Type("text/x-vcard")));
  peer.Codes(Packet(kGetFinal));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a", "get (no name)"));
  EXPECT_EQ(peer.service.last.type, "");
}

TEST_F(AGet, TellsNoNameFromAnEmptyOne) {
  peer.Codes(Packet(kGetFinal, Bytes("01 00 03") + Type("text/x-vcard")));
  peer.Codes(Packet(kGetFinal, Type("text/x-vcard")));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get (empty)", "get (no name)"));
}

TEST_F(AGet, GoesOnWithoutItsFinalBit) {
  Serve(Text(300));
  EXPECT_EQ(peer.Ask(Bytes("03 00 03")), "A0 00 39 49 00 36 " + Hex(Text(300).substr(249)));
}

TEST_F(AGet, IsOverWithItsLastPiece) {
  Serve(Text(300));
  EXPECT_EQ(peer.Codes(Bytes("83 00 03")), "A0");
  EXPECT_EQ(peer.Codes(Bytes("83 00 03")), "90");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a", "get (no name)"));
}

TEST_F(AGet, WithADamagedHeaderIsRefused) {
  for (const char* damaged : {"01 00 02", "01 00 04 00", "01", "01 00 05 D8 00", "C3 00", "97"}) {
    EXPECT_EQ(peer.Ask(Packet(kGet, Bytes(damaged))), "C0 00 03") << damaged;
    EXPECT_EQ(peer.Ask(Packet(kGetFinal, Bytes(damaged))), "C0 00 03") << damaged;
  }
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
  EXPECT_FALSE(peer.is_finished());
}

TEST_F(AGet, ThatIsDamagedLaterIsOver) {
  Serve(Text(1000));
  EXPECT_EQ(peer.Ask(Packet(kGetFinal, Bytes("48 00 00"))), "C0 00 03");
  peer.Codes(Bytes("83 00 03"));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a", "get (no name)"));
}

TEST_F(AGet, IgnoresABodyAndWhatItDoesNotKnow) {
  EXPECT_EQ(peer.Codes(Packet(
                kGetFinal, Name("a") + Body("x") + EndOfBody("y") + Bytes("97 01 C0 00 00 00 01"))),
            "A0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a"));
}

// ---- Refusals and ends ------------------------------------------------------------------------------------------

TEST_F(AGet, IsRefusedAsTheServiceDoes) {
  peer.service.get_code = Code::kNotFound;
  EXPECT_EQ(Serve("hi"), "C4 00 03");
  peer.service.get_code = Code::kUnauthorized;
  EXPECT_EQ(Serve("hi"), "C1 00 03");
  peer.service.get_code = Code::kSuccess;
  EXPECT_EQ(Serve("hi"), "A0 00 08 49 00 05 68 69");
}

TEST_F(AGet, ThatCannotBeReadOnIsOver) {
  peer.service.readable = 0;
  EXPECT_EQ(Serve("hi"), "D0 00 03");
  peer.service.readable = 249;
  EXPECT_EQ(Serve(Text(1000)).substr(0, 8), "90 00 FF");
  EXPECT_EQ(peer.Ask(Bytes("83 00 03")), "D0 00 03");
  peer.service.Asked();
  peer.Codes(Bytes("83 00 03"));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get (no name)"));
}

TEST_F(AGet, IsOverWithAnAbort) {
  Serve(Text(1000));
  EXPECT_EQ(peer.Ask(Abort()), "A0 00 03");
  EXPECT_EQ(peer.Codes(Packet(kGetFinal, Name("b"))), "90");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a", "get b"));
}

TEST_F(AGet, IsOverWithAnAbortInItsRequest) {
  peer.Codes(Packet(kGet, Name("a")));
  EXPECT_EQ(peer.Ask(Abort()), "A0 00 03");
  peer.Codes(Packet(kGetFinal));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get (no name)"));
}

TEST_F(AGet, IsOverWithEveryOtherRequest) {
  const std::vector<std::string> others = {WholePut("x", "x"), SetPath("01 00"), Packet(0x86),
                                           Connect(255), Disconnect()};
  for (const std::string& other : others) {
    Serve(Text(1000));
    peer.Codes(other);
    peer.service.Asked();
    peer.Codes(Bytes("83 00 03"));
    const std::vector<std::string> calls = peer.service.Asked();
    ASSERT_FALSE(calls.empty()) << Hex(other);
    EXPECT_EQ(calls.back(), "get (no name)") << Hex(other);
  }
}

TEST_F(AGet, ThatIsLostNeedsNothingDropped) {
  Serve(Text(1000));
  peer.Lose();
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a"));
}

}  // namespace
}  // namespace connection_get_test
