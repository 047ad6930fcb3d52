#include "obex/packets/headers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/obex/packets/packet_bytes.h"

namespace headers_test {
namespace {

using obex::FindTag;
using obex::HeaderId;
using obex::HeaderReader;
using obex::TextOfHeader;
using obex_test::Bytes;
using obex_test::Hex;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// "id: bytes", "id = number", each with its size; then "malformed" where it ends so.
std::vector<std::string> Read(std::string_view hex) {
  const std::string bytes = Bytes(hex);
  HeaderReader reader(bytes);
  std::vector<std::string> shown;
  constexpr size_t kMost = 10;  // so that every test ends
  while (const auto header = reader.Next()) {
    if (shown.size() == kMost) return {"endless"};
    const bool is_number = header->id >= 0x80;
    const std::string value =
        is_number ? " = " + std::to_string(header->number) : ": " + Hex(header->bytes);
    shown.push_back(Hex(std::string(1, static_cast<char>(header->id))) + value + " (" +
                    std::to_string(header->size) + ")");
  }
  if (reader.is_malformed()) shown.emplace_back("malformed");
  EXPECT_EQ(reader.Next(), std::nullopt);
  return shown;
}

TEST(Headers, AreNone) { EXPECT_THAT(Read(""), IsEmpty()); }

TEST(Headers, HaveTheFormThatTheirTwoTopBitsGive) {
  EXPECT_THAT(
      Read("01 00 07 00 61 00 00"
           "42 00 05 61 62"
           "97 FE"
           "C3 01 02 03 04"),
      ElementsAre("01: 00 61 00 00 (7)", "42: 61 62 (5)", "97 = 254 (2)", "C3 = 16909060 (5)"));
}

TEST(Headers, ThatNobodyKnowsHaveItToo) {
  EXPECT_THAT(Read("3F 00 03  7F 00 04 AA  BF 80  FF FF FF FF FF"),
              ElementsAre("3F:  (3)", "7F: AA (4)", "BF = 128 (2)", "FF = 4294967295 (5)"));
}

TEST(Headers, HaveLengthsOfTwoBytes) {
  const std::vector<std::string> one = Read("48 01 00" + std::string(size_t{2} * 253, '0'));
  ASSERT_EQ(one.size(), 1U);
  EXPECT_THAT(one[0], ::testing::EndsWith("(256)"));
}

TEST(Headers, OfALengthThatIsLessThanTheirOwnAreMalformed) {
  EXPECT_THAT(Read("48 00 00"), ElementsAre("malformed"));
  EXPECT_THAT(Read("48 00 01"), ElementsAre("malformed"));
  EXPECT_THAT(Read("01 00 02"), ElementsAre("malformed"));
  EXPECT_THAT(Read("01 00 03"), ElementsAre("01:  (3)"));
}

TEST(Headers, ThatGoOnAfterThePacketAreMalformed) {
  EXPECT_THAT(Read("48"), ElementsAre("malformed"));
  EXPECT_THAT(Read("48 00"), ElementsAre("malformed"));
  EXPECT_THAT(Read("48 00 04"), ElementsAre("malformed"));
  EXPECT_THAT(Read("48 FF FF 00"), ElementsAre("malformed"));
  EXPECT_THAT(Read("97"), ElementsAre("malformed"));
  EXPECT_THAT(Read("C3"), ElementsAre("malformed"));
  EXPECT_THAT(Read("C3 00 00 00"), ElementsAre("malformed"));
}

TEST(Headers, BeforeAMalformedOneAreRead) {
  EXPECT_THAT(Read("97 01 C3 00 00 00 02 48 00 05 00"),
              ElementsAre("97 = 1 (2)", "C3 = 2 (5)", "malformed"));
}

// ---- Texts ------------------------------------------------------------------------------------------------------

std::string Text(std::string_view hex) { return TextOfHeader(Bytes(hex)).value_or("(none)"); }

TEST(TextHeaders, EndWithAZero) { EXPECT_EQ(Text("00 61 00 62 00 00"), "ab"); }

TEST(TextHeaders, MayLackTheirEnd) { EXPECT_EQ(Text("00 61 00 62"), "ab"); }

TEST(TextHeaders, MayBeEmpty) {
  EXPECT_EQ(Text(""), "");
  EXPECT_EQ(Text("00 00"), "");
}

TEST(TextHeaders, HoldEveryCharacter) {
  EXPECT_EQ(Text("00 E4 20 AC D8 3D DE 00 FF FF 00 00"), "\u00E4\u20AC\U0001F600\uFFFF");
}

TEST(TextHeaders, OfHalfAUnitAreNone) {
  EXPECT_EQ(Text("00"), "(none)");
  EXPECT_EQ(Text("00 61 00"), "(none)");
}

TEST(TextHeaders, ThatGoOnAfterTheirEndAreNone) {
  EXPECT_EQ(Text("00 61 00 00 00 62 00 00"), "(none)");
  EXPECT_EQ(Text("00 61 00 00 00 00"), "(none)");
  EXPECT_EQ(Text("00 00 00 61"), "(none)");
}

TEST(TextHeaders, OfHalfASurrogatePairAreNone) {
  EXPECT_EQ(Text("D8 3D"), "(none)");
  EXPECT_EQ(Text("D8 3D 00 00"), "(none)");
  EXPECT_EQ(Text("D8 3D 00 61"), "(none)");
  EXPECT_EQ(Text("D8 3D D8 3D DE 00"), "(none)");
  EXPECT_EQ(Text("DE 00 00 61"), "(none)");
  EXPECT_EQ(Text("DE 00 D8 3D"), "(none)");
  EXPECT_EQ(Text("DB FF DF FF"), "\U0010FFFF");
  EXPECT_EQ(Text("D8 00 DC 00"), "\U00010000");
}

// ---- Writing ----------------------------------------------------------------------------------------------------

TEST(WrittenHeaders, HaveALengthThatCountsTheirOwnThreeBytes) {
  std::string packet;
  AppendBytes(packet, HeaderId::kWho, "IRMC");
  AppendBytes(packet, HeaderId::kEndOfBody, "");
  EXPECT_EQ(Hex(packet), "4A 00 07 49 52 4D 43 49 00 03");
}

TEST(WrittenHeaders, MayBeAsLongAsALengthCanTell) {
  std::string packet;
  AppendBytes(packet, HeaderId::kBody, std::string(65'532, 'x'));
  EXPECT_EQ(Hex(packet.substr(0, 3)), "48 FF FF");
  EXPECT_EQ(packet.size(), 65'535U);
}

TEST(WrittenHeaders, HaveNumbersOfFourBytes) {
  std::string packet;
  AppendNumber(packet, HeaderId::kLength, 0x01020304);
  AppendNumber(packet, HeaderId::kConnectionId, 0xFFFEFDFC);
  EXPECT_EQ(Hex(packet), "C3 01 02 03 04 CB FF FE FD FC");
}

TEST(WrittenHeaders, HaveTextsWithTheirEnd) {
  std::string packet;
  AppendText(packet, HeaderId::kName, "a\u20AC\U0001F600");
  EXPECT_EQ(Hex(packet), "01 00 0D 00 61 20 AC D8 3D DE 00 00 00");
}

TEST(WrittenHeaders, HaveNothingForAnEmptyText) {
  std::string packet;
  AppendText(packet, HeaderId::kName, "");
  EXPECT_EQ(Hex(packet), "01 00 03");
}

// ---- Tags -------------------------------------------------------------------------------------------------------

std::string Tag(std::string_view hex, uint8_t tag) {
  const std::string list = Bytes(hex);
  const auto value = FindTag(list, tag);
  return value ? "\"" + Hex(*value) + "\"" : "none";
}

TEST(Tags, AreFoundWhereverTheyStand) {
  EXPECT_EQ(Tag("11 02 31 32 12 00 01 01 41", 0x11), "\"31 32\"");
  EXPECT_EQ(Tag("11 02 31 32 12 00 01 01 41", 0x12), "\"\"");
  EXPECT_EQ(Tag("11 02 31 32 12 00 01 01 41", 0x01), "\"41\"");
}

TEST(Tags, AreNotFoundInTheValuesOfOthers) { EXPECT_EQ(Tag("11 03 12 01 31", 0x12), "none"); }

TEST(Tags, AreTheFirstOfTheirKind) { EXPECT_EQ(Tag("11 01 31 11 01 32", 0x11), "\"31\""); }

TEST(Tags, MayHaveAsMuchAsALengthCanTell) {
  std::string list;
  obex::AppendTag(list, 0x01, std::string(255, 'a'));
  obex::AppendTag(list, 0x02, "b");
  EXPECT_EQ(Hex(list.substr(0, 3)), "01 FF 61");
  EXPECT_EQ(FindTag(list, 0x01), std::string(255, 'a'));
  EXPECT_EQ(FindTag(list, 0x02), "b");
}

TEST(Tags, ThatAreCutOffAreNone) {
  EXPECT_EQ(Tag("", 0x11), "none");
  EXPECT_EQ(Tag("11", 0x11), "none");
  EXPECT_EQ(Tag("11 01", 0x11), "none");
  EXPECT_EQ(Tag("11 00", 0x11), "\"\"");
  EXPECT_EQ(Tag("01 01 41 11 03 31 32", 0x11), "none");
  EXPECT_EQ(Tag("01 01 41 11 03 31 32", 0x01), "\"41\"");
  EXPECT_EQ(Tag("01 05 41 11 01 31", 0x11), "none");
}

// ---- Numbers ----------------------------------------------------------------------------------------------------

TEST(Shorts, AreBigEndian) {
  std::string bytes = "x";
  obex::AppendShort(bytes, 0x80FF);
  EXPECT_EQ(Hex(bytes), "78 80 FF");
  EXPECT_EQ(obex::ShortAt(bytes, 1), 0x80FF);
}

}  // namespace
}  // namespace headers_test
