// CONNECT, DISCONNECT, ABORT, SETPATH, and how bytes become packets.
#include "obex/packets/connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/obex/packets/fake_service.h"

namespace connection_test {
namespace {

using namespace obex_test;
using obex::Code;
using obex::PacketLimits;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kSync = "IRMC-SYNC";

// ---- CONNECT ----------------------------------------------------------------------------------------------------

TEST(Connect, WithoutATargetIsToTheDefaultService) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Bytes("80 00 07 10 00 04 00")), "A0 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push"));
  EXPECT_FALSE(peer.is_finished());
}

TEST(Connect, ToATargetIsAnsweredWithAnIdAndTheTarget) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Bytes("80 00 13 10 00 04 00 46 00 0C 49 52 4D 43 2D 53 59 4E 43")),
            "A0 00 18 10 00 7F FF CB 00 00 00 01 4A 00 0C 49 52 4D 43 2D 53 59 4E 43");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open IRMC-SYNC"));
}

TEST(Connect, ThatTheServiceRefusesSaysWhy) {
  Peer peer;
  peer.service.open_code = Code::kForbidden;
  EXPECT_EQ(peer.Ask(Connect(1024, Target("other"))), "C3 00 07 10 00 7F FF");
  EXPECT_FALSE(peer.is_finished());
  peer.service.open_code = Code::kSuccess;
  EXPECT_EQ(peer.Codes(Connect(1024)), "A0");
}

TEST(Connect, TellsThePacketsThatAreTaken) {
  PacketLimits limits;
  limits.packet = 0x1234;
  EXPECT_EQ(Peer(limits).Ask(Connect(1024)), "A0 00 07 10 00 12 34");
}

TEST(Connect, OfAPeerThatTakesLessThanTheLeastIsRefusedForGood) {
  for (size_t room = 0; room < 255; ++room) {
    Peer peer;
    EXPECT_EQ(peer.Ask(Connect(room)), "C0 00 07 10 00 7F FF") << room;
    EXPECT_TRUE(peer.is_finished()) << room;
    EXPECT_THAT(peer.service.Asked(), IsEmpty()) << room;
    EXPECT_EQ(peer.Ask(Connect(1024)), "") << room;
  }
}

TEST(Connect, OfAPeerThatTakesTheLeastIsTaken) {
  Peer peer;
  EXPECT_EQ(peer.Codes(Connect(255)), "A0");
  EXPECT_FALSE(peer.is_finished());
}

TEST(Connect, WithoutItsFieldsIsRefusedForGood) {
  for (const char* packet : {"80 00 03", "80 00 04 10", "80 00 05 10 00", "80 00 06 10 00 04"}) {
    Peer peer;
    EXPECT_EQ(peer.Ask(Bytes(packet)), "C0 00 07 10 00 7F FF") << packet;
    EXPECT_TRUE(peer.is_finished()) << packet;
    EXPECT_THAT(peer.service.Asked(), IsEmpty()) << packet;
  }
}

TEST(Connect, OfAnyVersionAndFlagsIsTaken) {
  Peer peer;
  EXPECT_EQ(peer.Codes(Bytes("80 00 07 15 FF 04 00")), "A0");
}

TEST(Connect, WithADamagedHeaderIsRefused) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Connect(1024, Bytes("46 00 09 49"))), "C0 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
  EXPECT_FALSE(peer.is_finished());
}

TEST(Connect, IgnoresWhatItDoesNotKnow) {
  Peer peer;
  EXPECT_EQ(
      peer.Codes(Connect(1024, Bytes("C0 00 00 00 01 97 01 98 01 47 00 04 61 3F 00 05 00 00"))),
      "A0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push"));
}

TEST(Connect, IsToItsTargetWhateverItsOtherHeadersAre) {
  const std::string others = Name("n") + Type("t") + Length(1) + Sized(0x4C, "p") +
                             Sized(0x4A, "w") + Sized(0x4D, "c") + Sized(0x4E, "r");
  Peer peer;
  EXPECT_EQ(peer.Ask(Connect(1024, others)), "A0 00 07 10 00 7F FF");
  EXPECT_EQ(peer.Codes(Connect(1024, Target("T") + others)), "A0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push", "close", "open T"));
}

TEST(Connect, MayComeAgainForAnotherService) {
  Peer peer;
  peer.Ask(Connect(1024, Target(kSync)));
  EXPECT_EQ(peer.Ask(Connect(1024)), "A0 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open IRMC-SYNC", "close", "open push"));
}

TEST(Connect, ThatComesAgainAndIsRefusedEndsWhatWas) {
  Peer peer;
  peer.ConnectTo(kSync);
  peer.service.open_code = Code::kUnavailable;
  EXPECT_EQ(peer.Ask(Connect(1024, Target(kSync))), "D3 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("close", "open IRMC-SYNC"));
  EXPECT_EQ(peer.Ask(Packet(kGetFinal, Id(1) + Name("a"))), "D3 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(Connect, ThatComesAgainDamagedEndsWhatWas) {
  Peer peer;
  peer.ConnectTo(kSync);
  EXPECT_EQ(peer.Codes(Connect(1024, Bytes("46 00 00"))), "C0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("close"));
}

TEST(Connect, RepeatsTargetsThatThePeerHasRoomFor) {
  Peer peer;
  EXPECT_EQ(peer.Codes(Connect(255, Target(std::string(128, 't')))), "A0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open " + std::string(128, 't')));
  EXPECT_EQ(peer.Ask(Connect(255, Target(std::string(129, 't')))), "C3 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("close"));
}

// ---- The connection id ------------------------------------------------------------------------------------------

TEST(TheConnectionId, MayBeGivenOrLeftOut) {
  Peer peer;
  peer.ConnectTo(kSync);
  EXPECT_EQ(peer.Codes(Packet(kGetFinal, Id(1) + Name("a"))), "A0");
  EXPECT_EQ(peer.Codes(Packet(kGetFinal, Name("a"))), "A0");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Id(1) + Name("a"))), "A0");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Name("a"))), "A0");
  EXPECT_THAT(peer.service.Asked(),
              ElementsAre("get a", "get a", "finish a: none", "finish a: none"));
}

TEST(TheConnectionId, OfAnotherConnectionIsRefused) {
  Peer peer;
  peer.ConnectTo(kSync);
  for (const size_t id : {size_t{0}, size_t{2}, size_t{0xFFFF'FFFF}}) {
    EXPECT_EQ(peer.Ask(Packet(kGetFinal, Id(id) + Name("a"))), "D3 00 03") << id;
    EXPECT_EQ(peer.Ask(Packet(kPutFinal, Id(id) + Name("a") + EndOfBody("x"))), "D3 00 03") << id;
    EXPECT_EQ(peer.Ask(SetPath("00 00", Id(id) + Name(""))), "D3 00 03") << id;
    EXPECT_EQ(peer.Ask(Packet(0x81, Id(id))), "D3 00 03") << id;
  }
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(TheConnectionId, IsGivenToATargetAlone) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, Id(1) + EndOfBody("x"))), "D3 00 03");
  peer.ConnectTo("");
  EXPECT_EQ(peer.Ask(Packet(kPutFinal, Id(1) + EndOfBody("x"))), "D3 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(TheConnectionId, IsWrongAfterTheEndOfItsConnection) {
  Peer peer;
  peer.ConnectTo(kSync);
  peer.Ask(Packet(0x81, Id(1)));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("close"));
  EXPECT_EQ(peer.Ask(Packet(kGetFinal, Id(1) + Name("a"))), "D3 00 03");
}

TEST(TheConnectionId, IsLookedAtInEveryPacket) {
  Peer peer;
  peer.ConnectTo(kSync);
  EXPECT_EQ(peer.Codes(Packet(kPut, Id(1) + Name("a") + Body("x"))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPut, Id(1) + Body("y"))), "90");
  EXPECT_EQ(peer.Codes(Packet(kPutFinal, Id(2) + EndOfBody("z"))), "D3");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "body a: y", "drop"));
  peer.service.text = std::string(3000, 't');
  EXPECT_EQ(peer.Codes(Packet(kGetFinal, Id(1) + Name("a"))), "90");
  EXPECT_EQ(peer.Codes(Packet(kGetFinal, Id(1))), "90");
  EXPECT_EQ(peer.Codes(Packet(kGetFinal, Id(2))), "D3");
}

// ---- DISCONNECT and ABORT ---------------------------------------------------------------------------------------

TEST(Disconnect, LetsGoOfTheService) {
  Peer peer;
  peer.ConnectTo(kSync);
  EXPECT_EQ(peer.Ask(Disconnect()), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("close"));
  EXPECT_FALSE(peer.is_finished());
}

TEST(Disconnect, WithoutAConnectionIsNothing) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Disconnect()), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(Disconnect, MayBeFollowedByAConnect) {
  Peer peer;
  peer.ConnectTo("");
  peer.Ask(Disconnect());
  EXPECT_EQ(peer.Codes(Connect(1024, Target(kSync))), "A0");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("close", "open IRMC-SYNC"));
}

TEST(Disconnect, ForgetsHowMuchThePeerTakes) {
  Peer peer;
  peer.ConnectTo("", 1024);
  peer.Ask(Disconnect());
  peer.service.text = std::string(300, 't');
  EXPECT_EQ(peer.Ask(Packet(kGetFinal)).substr(0, 8), "90 00 FF");
}

TEST(Disconnect, ThatIsDamagedIsRefused) {
  Peer peer;
  peer.ConnectTo(kSync);
  EXPECT_EQ(peer.Ask(Bytes("81 00 04 CB")), "C0 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(Abort, IsObeyedWhenNothingRuns) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Abort()), "A0 00 03");
  peer.ConnectTo(kSync);
  EXPECT_EQ(peer.Ask(Abort()), "A0 00 03");
  EXPECT_EQ(peer.Ask(Packet(0xFF, Id(1))), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(Abort, IsObeyedWhateverItSays) {
  Peer peer;
  peer.ConnectTo("");
  peer.Ask(Packet(kPut, Name("a") + Body("x")));
  EXPECT_EQ(peer.Ask(Bytes("FF 00 05 01 00")), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "drop"));
}

// ---- SETPATH ----------------------------------------------------------------------------------------------------

TEST(SetPaths, GoToTheRoot) {
  Peer peer;
  peer.ConnectTo("");
  EXPECT_EQ(peer.Ask(SetPath("00 00", Name(""))), "A0 00 03");
  EXPECT_EQ(peer.Ask(SetPath("02 00", Bytes("01 00 03"))), "A0 00 03");
  EXPECT_EQ(peer.Ask(SetPath("01 00")), "A0 00 03");
  EXPECT_EQ(peer.Ask(SetPath("03 00")), "A0 00 03");
}

TEST(SetPaths, GoNowhereElse) {
  Peer peer;
  peer.ConnectTo("");
  EXPECT_EQ(peer.Ask(SetPath("02 00", Name("telecom"))), "C4 00 03");
  EXPECT_EQ(peer.Ask(SetPath("00 00", Name("telecom"))), "C4 00 03");
  EXPECT_EQ(peer.Ask(SetPath("03 00", Name("telecom"))), "C4 00 03");
  EXPECT_EQ(peer.Ask(SetPath("00 00")), "C4 00 03");
  EXPECT_EQ(peer.Ask(SetPath("02 00")), "C4 00 03");
}

TEST(SetPaths, ThatAreDamagedAreRefused) {
  Peer peer;
  peer.ConnectTo("");
  EXPECT_EQ(peer.Ask(Bytes("85 00 03")), "C0 00 03");
  EXPECT_EQ(peer.Ask(Bytes("85 00 04 01")), "C0 00 03");
  EXPECT_EQ(peer.Ask(SetPath("01 00", Bytes("01 00 02"))), "C0 00 03");
  EXPECT_EQ(peer.Ask(SetPath("01 00", Bytes("01 00 04 00"))), "C0 00 03");
}

TEST(SetPaths, DoNotKeepTheNameForTheNextRequest) {
  Peer peer;
  peer.ConnectTo("");
  peer.Ask(SetPath("00 00", Name("telecom")));
  EXPECT_EQ(peer.Ask(SetPath("01 00")), "A0 00 03");
  peer.Ask(SetPath("00 00", Name("telecom")));
  peer.Codes(Packet(kGetFinal));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get (no name)"));
}

// ---- Opcodes ----------------------------------------------------------------------------------------------------

TEST(Opcodes, ThatAreUnknownAreNotImplemented) {
  Peer peer;
  peer.ConnectTo("");
  for (int opcode = 0; opcode < 256; ++opcode) {
    switch (opcode) {
      case 0x02:
      case 0x03:
      case 0x80:
      case 0x81:
      case 0x82:
      case 0x83:
      case 0x85:
      case 0xFF:
        continue;
      default:
        EXPECT_EQ(peer.Ask(Packet(opcode)), "D1 00 03") << opcode;
        EXPECT_EQ(peer.Ask(Packet(opcode, Bytes("01 00 00 FF"))), "D1 00 03") << opcode;
    }
  }
  EXPECT_FALSE(peer.is_finished());
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(Opcodes, ThatAreUnknownEndAGet) {
  Peer peer;
  peer.ConnectTo("");
  peer.service.text = std::string(3000, 't');
  peer.Codes(Packet(kGetFinal, Name("a")));
  EXPECT_EQ(peer.Ask(Packet(0x86)), "D1 00 03");
  peer.Codes(Packet(kGetFinal, Name("b")));
  EXPECT_THAT(peer.service.Asked(), ElementsAre("get a", "get b"));
}

// ---- Bytes ------------------------------------------------------------------------------------------------------

TEST(Packets, OfALengthThatNoneHasEndTheConnection) {
  for (const char* code : {"02", "03", "81", "82", "83", "85", "FF", "04", "86"}) {
    for (const char* length : {"00 00", "00 01", "00 02"}) {
      Peer peer;
      EXPECT_EQ(peer.Ask(Bytes(code) + Bytes(length)), "C0 00 03") << code << " " << length;
      EXPECT_TRUE(peer.is_finished()) << code << " " << length;
      EXPECT_EQ(peer.Ask(Connect(1024)), "") << code << " " << length;
      EXPECT_FALSE(peer.connection().HasPacket());
      EXPECT_THAT(peer.service.Asked(), IsEmpty());
    }
  }
}

TEST(Packets, ThatConnectWithALengthThatNoneHasAreRefusedWithItsFields) {
  for (const char* length : {"00 00", "00 01", "00 02", "80 00"}) {
    Peer peer;
    EXPECT_EQ(peer.Ask(Bytes("80") + Bytes(length)), "C0 00 07 10 00 7F FF") << length;
    EXPECT_TRUE(peer.is_finished()) << length;
  }
}

TEST(Packets, MayBeAsLongAsWasTold) {
  PacketLimits limits;
  limits.packet = 300;
  for (const size_t size : {size_t{299}, size_t{300}}) {
    Peer peer(limits);
    const std::string put = Packet(kPutFinal, EndOfBody(std::string(size - 6, 'x')));
    ASSERT_EQ(put.size(), size);
    EXPECT_EQ(peer.Ask(put), "A0 00 03");
    EXPECT_THAT(peer.service.stored, ElementsAre(std::string(size - 6, 'x')));
  }
}

TEST(Packets, ThatAreLongerThanWasToldEndTheConnectionBeforeTheyHaveCome) {
  PacketLimits limits;
  limits.packet = 300;
  for (const char* length : {"01 2D", "7F FF", "FF FF"}) {
    Peer peer(limits);
    EXPECT_EQ(peer.Ask(Bytes("82") + Bytes(length)), "C0 00 03") << length;
    EXPECT_TRUE(peer.is_finished()) << length;
    EXPECT_THAT(peer.service.Asked(), IsEmpty()) << length;
  }
}

TEST(Packets, ThatAreTooLongDropWhatRuns) {
  Peer peer;
  peer.ConnectTo("");
  peer.Ask(Packet(kPut, Name("a") + Body("x")));
  EXPECT_EQ(peer.Ask(Bytes("02 80 00")), "C0 00 03");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("body a: x", "drop"));
  peer.Lose();
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

TEST(Packets, WaitUntilTheyAreWhole) {
  Peer peer;
  const std::string connect = Connect(1024);
  for (size_t i = 0; i + 1 < connect.size(); ++i) {
    EXPECT_EQ(peer.connection().IsInPacket(), i > 0);
    EXPECT_EQ(peer.Ask(connect.substr(i, 1)), "");
    EXPECT_FALSE(peer.connection().HasPacket());
  }
  peer.connection().Feed(connect.substr(connect.size() - 1));
  EXPECT_TRUE(peer.connection().HasPacket());
  EXPECT_TRUE(peer.connection().IsInPacket());
  EXPECT_TRUE(peer.connection().Answer().has_value());
  EXPECT_FALSE(peer.connection().HasPacket());
  EXPECT_FALSE(peer.connection().IsInPacket());
  EXPECT_EQ(peer.connection().Answer(), std::nullopt);
}

TEST(Packets, MayComeInPiecesOfAnySize) {
  const std::string sent = Connect(1024) + Packet(kPut, Name("a") + Body("one ")) +
                           Packet(kPut, Body("two ")) + Packet(kPutFinal, EndOfBody("three")) +
                           Packet(kGetFinal, Name("b")) + Disconnect();
  for (size_t piece = 1; piece <= sent.size(); ++piece) {
    Peer peer;
    std::string codes;
    for (size_t i = 0; i < sent.size(); i += piece) {
      const std::string more = peer.Codes(sent.substr(i, piece));
      codes += more.empty() ? "" : " " + more;
    }
    EXPECT_EQ(codes, " A0 90 90 A0 A0 A0") << piece;
    EXPECT_THAT(peer.service.stored, ElementsAre("one two three")) << piece;
    EXPECT_FALSE(peer.connection().IsInPacket()) << piece;
  }
}

TEST(Packets, AreAnsweredOneAfterTheOther) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Connect(1024) + Disconnect() + Bytes("FF 00")),
            "A0 00 07 10 00 7F FF | A0 00 03");
  EXPECT_TRUE(peer.connection().IsInPacket());
  EXPECT_EQ(peer.Ask(Bytes("03") + Bytes("86 00 03")), "A0 00 03 | D1 00 03");
}

TEST(Packets, AfterTheLastOneAreNotAnswered) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Bytes("02 00 00") + Connect(1024)), "C0 00 03");
  EXPECT_THAT(peer.service.Asked(), IsEmpty());
}

}  // namespace
}  // namespace connection_test
