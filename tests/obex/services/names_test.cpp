#include "obex/services/names.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "osif.h"

namespace obex {

bool operator==(const Node& one, const Node& other) {
  return one.kind == other.kind && one.store_id == other.store_id && one.number == other.number &&
         one.luid == other.luid;
}

void PrintTo(const Node& node, std::ostream* out) {
  *out << "kind " << static_cast<int>(node.kind) << ", store " << node.store_id << ", number "
       << node.number << ", luid " << node.luid;
}

}  // namespace obex

namespace names_test {
namespace {

using obex::Node;
using obex::NodeKind;
using obex::NodeOf;

const Node kNone = {};

TEST(Names, OfTheDevice) {
  EXPECT_EQ(NodeOf("telecom/devinfo.txt"), (Node{NodeKind::kDeviceInfo}));
  EXPECT_EQ(NodeOf("telecom/rtc.txt"), (Node{NodeKind::kClock}));
}

struct Store {
  std::string folder;
  std::string extension;
  int32_t id;
};

// Notes are asked for as cards by a client in wide use.
const std::vector<Store> kStores = {{"telecom/pb", ".vcf", OSIF_STORE_PB},
                                    {"telecom/cal", ".vcs", OSIF_STORE_CAL},
                                    {"telecom/nt", ".vnt", OSIF_STORE_NOTE},
                                    {"telecom/nt", ".vcf", OSIF_STORE_NOTE}};

TEST(Names, OfEachStore) {
  for (const auto& [folder, ext, id] : kStores) {
    EXPECT_EQ(NodeOf(folder + ext), (Node{NodeKind::kWhole, id})) << folder;
    EXPECT_EQ(NodeOf(folder + "/info.log"), (Node{NodeKind::kStoreInfo, id})) << folder;
    EXPECT_EQ(NodeOf(folder + "/0" + ext), (Node{NodeKind::kIndexed, id, 0})) << folder;
    EXPECT_EQ(NodeOf(folder + "/27" + ext), (Node{NodeKind::kIndexed, id, 27})) << folder;
    EXPECT_EQ(NodeOf(folder + "/luid/0000002a" + ext), (Node{NodeKind::kObject, id, 0, "0000002a"}))
        << folder;
    EXPECT_EQ(NodeOf(folder + "/luid/" + ext), (Node{NodeKind::kNewObject, id})) << folder;
    EXPECT_EQ(NodeOf(folder + "/luid/cc.log"), (Node{NodeKind::kCounter, id})) << folder;
    EXPECT_EQ(NodeOf(folder + "/luid/0.log"), (Node{NodeKind::kChanges, id, 0})) << folder;
    EXPECT_EQ(NodeOf(folder + "/luid/1022.log"), (Node{NodeKind::kChanges, id, 1022})) << folder;
  }
}

TEST(Names, HaveTheExtensionOfTheirStore) {
  for (const char* name :
       {"telecom/pb.vcs", "telecom/cal.vcf", "telecom/nt.vcs", "telecom/pb.vnt", "telecom/pb/1.vcs",
        "telecom/cal/1.vcf", "telecom/pb/luid/1.vcs", "telecom/pb/luid/.vcs",
        "telecom/cal/luid/.vcf", "telecom/nt/luid/1.vcs", "telecom/pb.log", "telecom/pb"}) {
    EXPECT_EQ(NodeOf(name), kNone) << name;
  }
}

TEST(Names, AreTheSameInEachCase) {
  EXPECT_EQ(NodeOf("TELECOM/DEVINFO.TXT"), (Node{NodeKind::kDeviceInfo}));
  EXPECT_EQ(NodeOf("Telecom/Pb/Luid/0000ABCD.Vcf"),
            (Node{NodeKind::kObject, OSIF_STORE_PB, 0, "0000abcd"}));
  EXPECT_EQ(NodeOf("telecom/CAL/luid/CC.LOG"), (Node{NodeKind::kCounter, OSIF_STORE_CAL}));
  EXPECT_EQ(NodeOf("telecom/pb/luid/AZaz.vcf"),
            (Node{NodeKind::kObject, OSIF_STORE_PB, 0, "azaz"}));
}

TEST(Names, MayBeginWithOneSlash) {
  EXPECT_EQ(NodeOf("/telecom/pb.vcf"), (Node{NodeKind::kWhole, OSIF_STORE_PB}));
  EXPECT_EQ(NodeOf("//telecom/pb.vcf"), kNone);
}

TEST(Names, OfLuidsAreShortWordsOfLettersAndDigits) {
  const std::string longest = "0123456789abcdef";
  EXPECT_EQ(NodeOf("telecom/pb/luid/" + longest + ".vcf"),
            (Node{NodeKind::kObject, OSIF_STORE_PB, 0, longest}));
  EXPECT_EQ(NodeOf("telecom/pb/luid/" + longest.substr(1) + ".vcf"),
            (Node{NodeKind::kObject, OSIF_STORE_PB, 0, longest.substr(1)}));
  EXPECT_EQ(NodeOf("telecom/pb/luid/" + longest + "0.vcf"), kNone);
  EXPECT_EQ(NodeOf("telecom/pb/luid/9z.vcf"), (Node{NodeKind::kObject, OSIF_STORE_PB, 0, "9z"}));
  // What stands beside digits and letters in the table of characters, and what is none of them.
  for (const char* luid : {"/", ":", "`", "{", "@", "[", "a b", "..", "a.b", "a/b", "a\\b", "-1",
                           "\x01", "\xC3\xA4", "*", "%41"}) {
    EXPECT_EQ(NodeOf("telecom/pb/luid/" + std::string(luid) + ".vcf"), kNone) << luid;
  }
}

TEST(Names, OfNumbersAreDigits) {
  EXPECT_EQ(NodeOf("telecom/pb/luid/007.log"), (Node{NodeKind::kChanges, OSIF_STORE_PB, 7}));
  for (const char* number : {"", "+1", "-1", " 1", "1 ", "1a", "a", "0x1", "1.0", "1/1", "."}) {
    EXPECT_EQ(NodeOf("telecom/pb/luid/" + std::string(number) + ".log"), kNone) << number;
    EXPECT_EQ(NodeOf("telecom/pb/" + std::string(number) + ".vcf"), kNone) << number;
  }
}

TEST(Names, OfNumbersThatAreTooLargeAreThoseOfTheLargest) {
  for (const char* number :
       {"4294967295", "4294967296", "99999999999999999999999999999999999999"}) {
    EXPECT_EQ(NodeOf("telecom/pb/luid/" + std::string(number) + ".log"),
              (Node{NodeKind::kChanges, OSIF_STORE_PB, 4'294'967'295}))
        << number;
  }
  EXPECT_EQ(NodeOf("telecom/pb/luid/4294967294.log"),
            (Node{NodeKind::kChanges, OSIF_STORE_PB, 4'294'967'294}));
  EXPECT_EQ(NodeOf("telecom/pb/luid/99999999999a.log"), kNone);
}

TEST(Names, OfWhatIsNotOffered) {
  for (const char* name :
       {"telecom/ich.vcf", "telecom/och.vcf", "telecom/mch.vcf", "telecom/pb/ich.vcf",
        "telecom/pb/och.vcf", "telecom/pb/mch.vcf", "telecom/msg/in.vmg", "telecom/msg/out.vmg",
        "telecom/msg/sent.vmg", "telecom/msg/in/info.log", "telecom/msg/in/1.vmg",
        "telecom/msg/in/luid/.vmg", "telecom/mmh.vmg", "telecom/push.txt"}) {
    EXPECT_EQ(NodeOf(name), kNone) << name;
  }
}

TEST(Names, AreNoPaths) {
  const std::string zero(1, '\0');
  const std::vector<std::string> names = {"",
                                          "/",
                                          "telecom",
                                          "telecom/",
                                          "1234.vcf",
                                          "pb.vcf",
                                          "telecom/../telecom/pb.vcf",
                                          "telecom/./pb.vcf",
                                          "telecom//pb.vcf",
                                          "telecom\\pb.vcf",
                                          "c:/telecom/pb.vcf",
                                          "telecom/pb/../pb.vcf",
                                          "telecom/pb/luid/../1.vcf",
                                          "telecom/pb/luid/",
                                          "telecom/pb/",
                                          "telecom/pb//1.vcf",
                                          "telecom/pb/luid//1.vcf",
                                          "telecom/pbx/1.vcf",
                                          "telecom/pb/info.log/",
                                          "telecom/pb/1.vcf ",
                                          " telecom/pb.vcf",
                                          "telecom/pb/\r\n.vcf",
                                          "telecom/devinfo.txt/1.vcf",
                                          "telecom/pb/cc.log",
                                          "telecom/pb/1.log",
                                          "telecom/pb/luid/info.log",
                                          "telecom/pb/luid/cc.vcf.log",
                                          "telecom/pb/.vcf",
                                          "telecom/pb.vcf" + zero,
                                          "telecom/pb/luid/1" + zero + ".vcf"};
  for (const std::string& name : names) EXPECT_EQ(NodeOf(name), kNone) << name;
}

TEST(Names, MayBeHuge) {
  EXPECT_EQ(NodeOf("telecom/pb/luid/" + std::string(1'000'000, '1') + ".vcf"), kNone);
  EXPECT_EQ(NodeOf(std::string(1'000'000, '/')), kNone);
}

}  // namespace
}  // namespace names_test
