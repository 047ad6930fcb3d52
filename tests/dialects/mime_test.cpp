#include "dialects/mime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace mime_test {
namespace {

using namespace dialects;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(EncodedWords, AreDecodedInAnyCharacterSet) {
  EXPECT_EQ(WithoutEncodedWords("=?UTF-8?B?w6Q=?="), "\xC3\xA4");
  EXPECT_EQ(WithoutEncodedWords("a =?iso-8859-1?q?=E4_b?= c"), "a \xC3\xA4 b c");
  EXPECT_EQ(WithoutEncodedWords("=?utf-8*de?Q?x?="), "x");
}

TEST(EncodedWords, AreJoinedWithoutTheBlanksBetweenThem) {
  EXPECT_EQ(WithoutEncodedWords("=?UTF-8?Q?=C3?= \r\n =?UTF-8?Q?=A4?= x"), "\xC3\xA4 x");
}

TEST(EncodedWords, StayWhereTheyAreNone) {
  for (const char* text :
       {"=?", "=?a?", "=?a?Q?b", "=?nothing?Q?b?=", "=?UTF-8?X?b?=", "1=?2", "=?UTF-8?Q?a b?="}) {
    EXPECT_EQ(WithoutEncodedWords(text), text);
  }
}

TEST(EncodedWords, AreWrittenForWhatIsNotAscii) {
  EXPECT_EQ(EncodedWords("Re: a;b"), "Re: a;b");
  EXPECT_EQ(EncodedWords("\xC3\xA4 b"), "=?UTF-8?Q?=C3=A4_b?=");
  EXPECT_EQ(EncodedWords("=?x"), "=?UTF-8?Q?=3D=3Fx?=");
  EXPECT_EQ(EncodedWords("\xC3\xA4"
                         "azAZ09"),
            "=?UTF-8?Q?=C3=A4azAZ09?=");
}

// A word has room for sixty characters, ten letters of six.
TEST(EncodedWords, AreNoMoreThanTheirTextNeeds) {
  std::string letters;
  std::string word;
  for (int i = 0; i < 10; ++i) letters += "\xC3\xA4";
  for (int i = 0; i < 10; ++i) word += "=C3=A4";
  const std::string words = "=?UTF-8?Q?" + word + "?=";
  EXPECT_EQ(EncodedWords(letters + letters + letters), words + "\r\n " + words + "\r\n " + words);
}

TEST(EncodedWords, AreWrittenForWhatIsTooLongForALine) {
  const std::string longest(900, 'a');
  EXPECT_EQ(EncodedWords(longest), longest);
  EXPECT_TRUE(EncodedWords(longest + "a").starts_with("=?UTF-8?Q?a"));
}

RC_GTEST_PROP(EncodedWords, ComeBackFromAnyText, ()) {
  const auto pieces = *rc::gen::container<std::vector<std::string>>(
      rc::gen::element<std::string>("a", " ", "=?", "?=", "\xC3\xA4", "\xE2\x82\xAC", "_", "=20"));
  std::string text;
  for (const std::string& piece : pieces) text += piece;
  const std::string words = EncodedWords(text);
  RC_ASSERT(WithoutEncodedWords(words) == text);
  for (size_t i = 0, length = 0; i < words.size(); ++i) {
    length = words[i] == '\n' ? 0 : length + 1;
    if (words.starts_with("=?UTF-8?Q?")) RC_ASSERT(length <= 77u);
  }
}

TEST(MediaTypes, HaveTheirParametersInQuotesOrNot) {
  const MediaType media =
      MediaTypeOf("Text/HTML; Charset = \"utf-8\";x; name=\"a;\\\"b\"; boundary=c=d ; y");
  EXPECT_EQ(media.type, "TEXT/HTML");
  EXPECT_EQ(media.charset, "utf-8");
  EXPECT_EQ(media.name, "a;\"b");
  EXPECT_EQ(media.boundary, "c=d");
  EXPECT_TRUE(media.IsHtml());
  EXPECT_TRUE(MediaTypeOf("").IsText());
  EXPECT_FALSE(MediaTypeOf("image/png").IsText());
}

TEST(TransferEncodings, AreUndone) {
  Report report;
  EXPECT_EQ(WithoutTransferEncoding("Base64", "aGVs\r\nbG8=\r\n", report), "hello");
  EXPECT_EQ(WithoutTransferEncoding("quoted-printable", "a=3D= \r\nb\r\nc=\nd \n", report),
            "a=b\r\ncd\r\n");
  EXPECT_EQ(WithoutTransferEncoding("8bit", "a=3D", report), "a=3D");
  EXPECT_TRUE(report.IsEmpty());
}

TEST(TransferEncodings, AreNotBelievedWhereTheyAreWrong) {
  Report report;
  EXPECT_EQ(WithoutTransferEncoding("base64", "hello, you", report), "hello, you");
  EXPECT_EQ(report.guessed.size(), 1u);
}

std::vector<std::string> Contents(const MimePart& whole) {
  std::vector<std::string> contents;
  for (const MimePart& part : PartsOf(whole)) {
    contents.push_back(MediaTypeOf(part.content_type).type + ":" + std::string(part.content));
  }
  return contents;
}

TEST(Parts, AreFoundWithinParts) {
  EXPECT_THAT(
      Contents(
          {"multipart/mixed; boundary=\"o\"", "", "",
           "preamble\n--o\nContent-Type: multipart/alternative;\n boundary=i\n\n--i\n\none\n--i\n"
           "Content-Type: text/html\n\ntwo\n--i--\n--o\r\nContent-Type: image/png\r\n\r\nthree\r\n"
           "--o--\r\nepilogue"}),
      ElementsAre(":one\n", "TEXT/HTML:two\n", "IMAGE/PNG:three\r\n"));
}

TEST(Parts, GoToTheEndOfTheContentWhenNothingClosesThem) {
  EXPECT_THAT(Contents({"multipart/mixed; boundary=b", "", "", "--b\n\none\n--bb\n"}),
              ElementsAre(":one\n--bb\n"));
  EXPECT_THAT(Contents({"multipart/mixed; boundary=b", "", "", "text"}), ElementsAre(":text"));
  EXPECT_THAT(Contents({"text/plain", "", "", "--b\n"}), ElementsAre("TEXT/PLAIN:--b\n"));
}

TEST(Parts, AreOpenedToABoundedDepth) {
  std::string content;
  for (int i = 1; i < 100; ++i) {
    const std::string inner = std::to_string(i + 1);
    content +=
        "--b" + std::to_string(i) + "\nContent-Type: multipart/mixed; boundary=b" + inner + "\n\n";
  }
  const std::vector<MimePart> parts = PartsOf({"multipart/mixed; boundary=b1", "", "", content});
  ASSERT_EQ(parts.size(), 1u);
  EXPECT_EQ(MediaTypeOf(parts[0].content_type).boundary, "b9");
}

TEST(MailText, HasLinesOfAtMost76Characters) {
  EXPECT_EQ(MailQuotedPrintable("a=b \n\xC3\xA4"), "a=3Db=20\r\n=C3=A4\r\n");
  EXPECT_EQ(MailQuotedPrintable(std::string(80, 'a')),
            std::string(75, 'a') + "=\r\n" + std::string(5, 'a') + "\r\n");
}

RC_GTEST_PROP(MailText, ComesBack, (const std::string& text)) {
  Report report;
  std::string lines;
  for (const char c : text) lines += c == '\r' ? '\n' : c;
  std::string read =
      WithoutTransferEncoding("quoted-printable", MailQuotedPrintable(lines), report);
  std::erase(read, '\r');
  if (!lines.ends_with('\n') && !lines.empty()) lines += '\n';
  RC_ASSERT(read == lines);
}

TEST(Addresses, StandBetweenCommasAndSemicolonsOutsideOfQuotes) {
  EXPECT_THAT(SplitAddresses(" a@b, \"Lee, Ann\" <c@d> ;;+49 1,"),
              ElementsAre("a@b", "\"Lee, Ann\" <c@d>", "+49 1"));
  EXPECT_THAT(SplitAddresses(""), IsEmpty());
}

TEST(Addresses, AreNotJoinedByWhatNothingCloses) {
  EXPECT_THAT(SplitAddresses("\"a, b <c; d"), ElementsAre("a", "b <c", "d"));
}

}  // namespace
}  // namespace mime_test
