#include "btosif/osif_util/quoted_printable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/bytes.h"

namespace quoted_printable_test {
namespace {

// The room's content after encoding or decoding into it; untouched bytes are "#".
template <typename Coder>
std::string InRoom(Coder coder, std::string_view text, size_t room, size_t whole_length) {
  std::string buffer(room + 4, '#');
  EXPECT_EQ(coder(text, buffer.data(), room), whole_length);
  EXPECT_EQ(buffer.substr(room), "####") << "written behind the room";
  return buffer.substr(0, room);
}

std::string EncodedInRoom(std::string_view text, size_t room, size_t whole_length) {
  return InRoom(
      [](std::string_view t, char* out, size_t r) { return QuotedPrintableEncode(t, out, r); },
      text, room, whole_length);
}

std::string DecodedInRoom(std::string_view text, size_t room, size_t whole_length) {
  return InRoom(
      [](std::string_view t, char* out, size_t r) { return QuotedPrintableDecode(t, out, r); },
      text, room, whole_length);
}

// ---- Encoding ----

TEST(QuotedPrintable, EncodesEveryByteByItsRule) {
  const char kDigits[] = "0123456789ABCDEF";
  for (int byte = 0; byte < 256; ++byte) {
    char c = static_cast<char>(byte);
    bool stays = c == ' ' || c == '\t' ||
                 (byte >= 33 && byte <= 126 && c != '=' && c != ':' && c != ';' && c != '\\');
    std::string expected =
        stays ? std::string(1, c) : std::string{'=', kDigits[byte / 16], kDigits[byte % 16]};
    EXPECT_EQ(QuotedPrintableEncode(std::string_view(&c, 1)), expected) << "byte " << byte;
  }
}

TEST(QuotedPrintable, EncodesTheUtf8BytesOfALetter) {
  EXPECT_EQ(QuotedPrintableEncode("J\xC3\xBCrgen"), "J=C3=BCrgen");
}

TEST(QuotedPrintable, EncodesLineBreaksAsTheyAre) {
  EXPECT_EQ(QuotedPrintableEncode("one\r\ntwo\nthree"), "one=0D=0Atwo=0Athree");
}

TEST(QuotedPrintable, EncodesNothingToNothing) { EXPECT_EQ(QuotedPrintableEncode(""), ""); }

TEST(QuotedPrintable, MeasuresWithoutAnOutBuffer) {
  EXPECT_EQ(QuotedPrintableEncode("a=b", nullptr, 0), 5u);
}

TEST(QuotedPrintable, WritesAPlainByteWhileOneMoreFits) {
  EXPECT_EQ(EncodedInRoom("abc", 3, 3), "abc");
  EXPECT_EQ(EncodedInRoom("abc", 2, 3), "ab");
  EXPECT_EQ(EncodedInRoom("abc", 0, 3), "");
}

TEST(QuotedPrintable, WritesAnEncodedByteWhileThreeMoreFit) {
  EXPECT_EQ(EncodedInRoom("a\xFF", 4, 4), "a=FF");
  EXPECT_EQ(EncodedInRoom("a\xFF", 3, 4), "a##");
  EXPECT_EQ(EncodedInRoom("a\xFF", 1, 4), "a");
  EXPECT_EQ(EncodedInRoom("\xFF", 2, 3), "##");
}

TEST(QuotedPrintable, EncodesMegabytes) {
  EXPECT_EQ(QuotedPrintableEncode(std::string(5000000, '\xE9')).size(), 15000000u);
}

// ---- Decoding ----

TEST(QuotedPrintable, DecodesUpperAndLowerCaseDigits) {
  EXPECT_EQ(QuotedPrintableDecode("=C3=BC=c3=bc=4a=4A"), "\xC3\xBC\xC3\xBCJJ");
}

TEST(QuotedPrintable, DecodesEveryByte) {
  const char kUpper[] = "0123456789ABCDEF";
  const char kLower[] = "0123456789abcdef";
  for (int byte = 0; byte < 256; ++byte) {
    std::string one(1, static_cast<char>(byte));
    EXPECT_EQ(QuotedPrintableDecode(std::string{'=', kUpper[byte / 16], kUpper[byte % 16]}), one);
    EXPECT_EQ(QuotedPrintableDecode(std::string{'=', kLower[byte / 16], kLower[byte % 16]}), one);
  }
}

TEST(QuotedPrintable, CopiesEverythingElse) {
  EXPECT_EQ(QuotedPrintableDecode("a b\t:;\\\xE9"), "a b\t:;\\\xE9");
}

TEST(QuotedPrintable, ABrokenDigitCounts255InItsPlace) {
  EXPECT_EQ(QuotedPrintableDecode("a=G1b"),
            "a\xF1"
            "b");  // 16 * 255 + 1, modulo 256
  EXPECT_EQ(QuotedPrintableDecode("a=1Gb"),
            "a\x0F"
            "b");  // 16 * 1 + 255, modulo 256
  EXPECT_EQ(QuotedPrintableDecode("a=GGb"),
            "a\xEF"
            "b");  // 16 * 255 + 255, modulo 256
  EXPECT_EQ(QuotedPrintableDecode("===41"),
            "\xEF"
            "41");  // the "=" is a broken digit, too
}

TEST(QuotedPrintable, AnEscapeThatIsCutOffReadsNothingBehindTheText) {
  for (std::string cut : {"ab=", "ab=4"}) {
    cut.shrink_to_fit();
    std::string decoded = QuotedPrintableDecode(cut);
    EXPECT_EQ(decoded.substr(0, 2), "ab");
    EXPECT_LE(decoded.size(), 3u);
  }
}

TEST(QuotedPrintable, DecodesIntoItsRoomOnly) {
  EXPECT_EQ(DecodedInRoom("ab=43", 3, 3), "abC");
  EXPECT_EQ(DecodedInRoom("ab=43", 2, 3), "ab");
  EXPECT_EQ(DecodedInRoom("ab=43", 0, 3), "");
}

TEST(QuotedPrintable, DecodesMegabytes) {
  EXPECT_EQ(QuotedPrintableDecode(support::Repeated("=", 15'000'000)).size(), 5000000u);
}

}  // namespace
}  // namespace quoted_printable_test
