// The packets that programs in use send, byte by byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "obex/packets/connection.h"
#include "tests/obex/packets/fake_service.h"

namespace connection_clients_test {
namespace {

using namespace obex_test;
using obex::Code;
using ::testing::ElementsAre;

constexpr const char* kConnectSync = "80 00 13  10 00 04 00  46 00 0C 49 52 4D 43 2D 53 59 4E 43";
constexpr const char* kConnectedSync =
    "A0 00 18 10 00 7F FF CB 00 00 00 01 4A 00 0C 49 52 4D 43 2D 53 59 4E 43";

TEST(Obexftp, PushesAFileWithAnEmptyLastPacket) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Bytes("80 00 07 10 00 04 00")), "A0 00 07 10 00 7F FF");
  EXPECT_EQ(peer.Ask(Bytes("02 00 22"
                           "01 00 13 00 6F 00 6E 00 65 00 2E 00 76 00 63 00 66 00 00"
                           "C3 00 00 00 04"
                           "48 00 07 63 61 72 64")),
            "90 00 03");
  EXPECT_EQ(peer.Ask(Bytes("82 00 06 49 00 03")), "A0 00 03");
  EXPECT_EQ(peer.service.last.length, 4U);
  EXPECT_EQ(peer.Ask(Bytes("81 00 03")), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(),
              ElementsAre("open push", "body one.vcf: card", "finish one.vcf: some", "close"));
}

TEST(Obexftp, ReadsTheTreeWithTheIdThatItWasGiven) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Bytes(kConnectSync)), kConnectedSync);
  peer.service.text = "17\r\n";
  EXPECT_EQ(peer.Ask(Bytes("83 00 39  CB 00 00 00 01  01 00 31"
                           "00 74 00 65 00 6C 00 65 00 63 00 6F 00 6D 00 2F"  // telecom/
                           "00 70 00 62 00 2F 00 6C 00 75 00 69 00 64 00 2F"  // pb/luid/
                           "00 63 00 63 00 2E 00 6C 00 6F 00 67 00 00")),     // cc.log
            "A0 00 0A 49 00 07 31 37 0D 0A");
  EXPECT_EQ(peer.Ask(Bytes("81 00 08 CB 00 00 00 01")), "A0 00 03");
  EXPECT_THAT(peer.service.Asked(),
              ElementsAre("open IRMC-SYNC", "get telecom/pb/luid/cc.log", "close"));
}

TEST(Obexftp, DeletesWithANameAlone) {
  Peer peer;
  peer.Ask(Bytes(kConnectSync));
  EXPECT_EQ(
      peer.Ask(Bytes(
          "82 00 21  CB 00 00 00 01  01 00 19"
          "00 6C 00 75 00 69 00 64 00 2F 00 31 00 2E 00 76 00 63 00 66 00 00")),  // luid/1.vcf
      "A0 00 03");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open IRMC-SYNC", "finish luid/1.vcf: none"));
}

TEST(Obexftp, AbortsFirstOnASerialLine) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Bytes("FF 00 03")), "A0 00 03");
  EXPECT_EQ(peer.Ask(Bytes("80 00 07 10 00 04 00")), "A0 00 07 10 00 7F FF");
  EXPECT_EQ(peer.Ask(Bytes("81 00 03")), "A0 00 03");
  EXPECT_EQ(peer.Ask(Bytes("FF 00 03")), "A0 00 03");
  EXPECT_EQ(peer.Ask(Bytes("80 00 07 10 00 04 00")), "A0 00 07 10 00 7F FF");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open push", "close", "open push"));
}

TEST(Obexput, AsksForFoldersAndIsRefusedEachTime) {
  Peer peer;
  peer.service.open_code = Code::kForbidden;
  const std::string connect =
      Bytes("80 00 1A  10 00 04 00  46 00 13 F9 EC 7B C4 95 3C 11 D2 98 4E 52 54 00 DC 9E 09");
  EXPECT_EQ(peer.Ask(connect), "C3 00 07 10 00 7F FF");
  EXPECT_EQ(peer.Ask(connect), "C3 00 07 10 00 7F FF");
  EXPECT_FALSE(peer.is_finished());
}

TEST(Gammu, NeverGivesTheId) {
  Peer peer;
  EXPECT_EQ(peer.Ask(Bytes(kConnectSync)), kConnectedSync);
  EXPECT_EQ(peer.Ask(Bytes("83 00 14  01 00 11 00 70 00 62 00 2E 00 76 00 63 00 66 00 00")),
            "A0 00 0A 49 00 07 74 65 78 74");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open IRMC-SYNC", "get pb.vcf"));
}

TEST(Gammu, DeletesWithAnEmptyEndOfBody) {
  Peer peer;
  peer.Ask(Bytes(kConnectSync));
  peer.service.put_answer = {Code::kSuccess, Bytes("01 01 31 02 01 39")};
  EXPECT_EQ(peer.Ask(Bytes("82 00 1F  01 00 0F 00 31 00 2E 00 76 00 63 00 66 00 00"
                           "4C 00 05 12 00  C3 00 00 00 00  49 00 03")),
            "A0 00 0C 4C 00 09 01 01 31 02 01 39");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open IRMC-SYNC", "finish 1.vcf: empty"));
  EXPECT_EQ(Hex(peer.service.last.parameters), "12 00");
  EXPECT_EQ(peer.service.last.length, 0U);
}

TEST(Msync, DeletesWithTwoParametersAndNoBody) {
  Peer peer;
  peer.Ask(Bytes(kConnectSync));
  peer.service.put_answer = {Code::kConflict};
  EXPECT_EQ(peer.Ask(Bytes("82 00 20  CB 00 00 00 01  01 00 0F 00 31 00 2E 00 76 00 63 00 66 00 00"
                           "4C 00 09 11 02 31 38 12 00")),
            "C9 00 03");
  EXPECT_EQ(Hex(peer.service.last.parameters), "11 02 31 38 12 00");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open IRMC-SYNC", "finish 1.vcf: none"));
}

TEST(Msync, ReadsOnWithEmptyRequests) {
  Peer peer;
  peer.Ask(Bytes("80 00 13  10 00 00 FF  46 00 0C 49 52 4D 43 2D 53 59 4E 43"));
  peer.service.text = std::string(500, 't');
  EXPECT_EQ(peer.Codes(Bytes("83 00 12  CB 00 00 00 01  01 00 0A 00 61 00 62 00 00 00")), "C0");
  EXPECT_EQ(peer.Codes(Bytes("83 00 11  CB 00 00 00 01  01 00 09 00 61 00 62 00 00")), "90");
  EXPECT_EQ(peer.Codes(Bytes("83 00 03")), "90");
  EXPECT_EQ(peer.Ask(Bytes("83 00 03")), "A0 00 08 49 00 05 74 74");
  EXPECT_THAT(peer.service.Asked(), ElementsAre("open IRMC-SYNC", "get ab"));
}

}  // namespace
}  // namespace connection_clients_test
