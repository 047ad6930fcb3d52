// What other devices tell of themselves, their stores and changes: as they should, and as they should not.
#include "obex/client/remote_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace remote_texts_test {
namespace {

using obex::IsRemoteLuid;
using obex::ReadChanges;
using obex::ReadCounter;
using obex::ReadDeviceInfo;
using obex::ReadStoreInfo;
using testing::ElementsAre;
using testing::IsEmpty;

// "M 1022 00003D010000"
std::vector<std::string> Entries(const std::string& text) {
  const auto changes = ReadChanges(text);
  if (!changes) return {"senseless"};
  std::vector<std::string> entries;
  for (const auto& entry : changes->entries) {
    entries.push_back(std::string(1, entry.kind) + " " + std::to_string(entry.counter) + " " +
                      entry.luid);
  }
  return entries;
}

TEST(RemoteDeviceInfo, HasMakerModelAndSerialNumber) {
  const auto facts = ReadDeviceInfo(
      "MANU:Maker\r\nMOD:T1\r\nSW-VERSION:1\r\nIRMC-VERSION:1.1\r\nSN:3519\r\nX-MAKER-SN:no\r\n");
  EXPECT_EQ(facts.maker, "Maker");
  EXPECT_EQ(facts.model, "T1");
  EXPECT_EQ(facts.serial_number, "3519");
}

TEST(RemoteDeviceInfo, IsReadInAnyCaseAndWithAnyLineEnds) {
  EXPECT_EQ(ReadDeviceInfo("sn: 35 \nmanu:M").serial_number, "35");
  EXPECT_EQ(ReadDeviceInfo("sn: 35 \nmanu:M").maker, "M");
}

TEST(RemoteDeviceInfo, HasNoSerialNumberWithControlCharactersAndNoEndlessOne) {
  EXPECT_EQ(ReadDeviceInfo("SN:a\x1B[2Jb\r\n").serial_number, "");
  EXPECT_EQ(ReadDeviceInfo("SN:" + std::string(5000, 'x') + "\r\n").serial_number,
            std::string(255, 'x'));
  EXPECT_EQ(ReadDeviceInfo("").serial_number, "");
}

TEST(RemoteStoreInfo, HasIdsFromLevelFourOn) {
  for (const char* level : {"8", "16", "0x8", "0x10", " 8 "}) {
    EXPECT_TRUE(ReadStoreInfo("IEL:" + std::string(level) + "\r\nDID:ab\r\n").has_luids) << level;
  }
  for (const char* level : {"1", "2", "4", "0x4", "", "x", "-8"}) {
    EXPECT_FALSE(ReadStoreInfo("IEL:" + std::string(level) + "\r\n").has_luids) << level;
  }
  EXPECT_FALSE(ReadStoreInfo("").has_luids);
}

TEST(RemoteStoreInfo, HasTheDatabasesId) {
  EXPECT_EQ(ReadStoreInfo("Total-Records:1\r\nDID:e0829bds\r\n").database_id, "e0829bds");
}

TEST(RemoteStoreInfo, SaysWhetherThereIsAnything) {
  EXPECT_FALSE(ReadStoreInfo("Total-Records:1\r\n").is_empty);
  EXPECT_FALSE(ReadStoreInfo("total-records: 380 \r\n").is_empty);
  for (const char* records : {"0", "", "x", "-1", "99999999999"}) {
    EXPECT_TRUE(ReadStoreInfo("Total-Records:" + std::string(records) + "\r\n").is_empty)
        << records;
  }
  EXPECT_TRUE(ReadStoreInfo("IEL:8\r\n").is_empty);
}

TEST(RemoteChangeLog, HasItsHeadAndItsEntries) {
  const std::string text =
      "SN:351956003653753\r\nDID:e0829bds\r\nTotal-Records:30\r\nMaximum-Records:380\r\n"
      "M:1022::00003D010000\r\nH:1024::0000E4000000\r\nD:1025::0000E5000000\r\n";
  const auto changes = ReadChanges(text);
  ASSERT_TRUE(changes);
  EXPECT_EQ(changes->database_id, "e0829bds");
  EXPECT_FALSE(changes->has_gap);
  EXPECT_THAT(Entries(text),
              ElementsAre("M 1022 00003D010000", "H 1024 0000E4000000", "D 1025 0000E5000000"));
}

TEST(RemoteChangeLog, MayHaveTimeStampsThatDoNotMatter) {
  EXPECT_THAT(Entries("M:7:20050314T101500Z:1\r\n"), ElementsAre("M 7 1"));
}

TEST(RemoteChangeLog, TellsOfAGapOnAnyLine) {
  EXPECT_TRUE(ReadChanges("SN:1\r\nDID:2\r\n*\r\n")->has_gap);
  EXPECT_TRUE(ReadChanges("*\n")->has_gap);
  EXPECT_TRUE(ReadChanges("SN:1\r\n*\r\nH:4::9\r\n")->has_gap);
}

TEST(RemoteChangeLog, WithAnEntryThatIsNoneMakesNoSense) {
  for (const char* entry : {"M:x::1", "M:::1", "M:-1::1", "M:4294967296::1",
                            "M:99999999999999999999::1", "M:1::", "M:1::a b", "M:1::../x",
                            "M:1::a:b", "M:1", "M:", "X:1::1", "m:1::1", "M:1::\xC3\xBC"}) {
    EXPECT_THAT(Entries("M:1::1\r\n" + std::string(entry) + "\r\n"), ElementsAre("senseless"))
        << entry;
  }
  EXPECT_THAT(Entries("M:1::" + std::string(256, 'a') + "\r\n"), ElementsAre("senseless"));
}

TEST(RemoteChangeLog, TakesTheLargestCounterAndTheLongestId) {
  const std::string longest(255, 'a');
  EXPECT_THAT(Entries("M:4294967295::" + longest + "\r\n"), ElementsAre("M 4294967295 " + longest));
}

TEST(RemoteChangeLog, MayBeEmpty) {
  EXPECT_THAT(Entries(""), IsEmpty());
  EXPECT_THAT(Entries("\r\n\r\n"), IsEmpty());
}

TEST(RemoteCounter, IsDigitsWithinThirtyTwoBits) {
  EXPECT_EQ(ReadCounter("0\r\n"), 0U);
  EXPECT_EQ(ReadCounter(" 17 "), 17U);
  EXPECT_EQ(ReadCounter("4294967295"), 4294967295U);
  for (const char* text : {"", "\r\n", "x", "1x", "1 2", "-1", "+1", "4294967296", "0x1"}) {
    EXPECT_FALSE(ReadCounter(text)) << text;
  }
}

TEST(RemoteLuid, IsDigitsAndLetters) {
  EXPECT_TRUE(IsRemoteLuid("0"));
  EXPECT_TRUE(IsRemoteLuid("00003D01abcXYZ"));
  EXPECT_TRUE(IsRemoteLuid(std::string(255, 'z')));
  for (const char* text : {"", " ", "a/b", "..", "a.vcf", "a:b", "a\r", "[", "`", "{", "@", "/"}) {
    EXPECT_FALSE(IsRemoteLuid(text)) << text;
  }
  EXPECT_FALSE(IsRemoteLuid(std::string(256, 'z')));
  EXPECT_FALSE(IsRemoteLuid(std::string("a\0b", 3)));
}

}  // namespace
}  // namespace remote_texts_test
