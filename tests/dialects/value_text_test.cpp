#include "dialects/value_text.h"

#include <gtest/gtest.h>

namespace value_text_test {
namespace {

using dialects::FoldedLine;
using dialects::OldLine;

TEST(OldLine, EncodesWhatAReaderTakesForALineBreak) {
  EXPECT_EQ(OldLine("NOTE", "a=0D=0Ab"), "NOTE;ENCODING=QUOTED-PRINTABLE:a=3D0D=3D0Ab\r\n");
}

TEST(OldLine, IsNotBrokenInsideOfTheFirstEncodedByte) {
  const std::string head(33, 'X');
  EXPECT_EQ(OldLine(head, "\xC3\xBC"),
            head + ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=\r\n=C3=BC\r\n");
}

TEST(FoldedLine, IsBrokenAt75Bytes) {
  const std::string line = "NOTE:" + std::string(150, 'a');
  EXPECT_EQ(FoldedLine(line), "NOTE:" + std::string(70, 'a') + "\r\n " + std::string(74, 'a') +
                                  "\r\n " + std::string(6, 'a') + "\r\n");
}

TEST(FoldedLine, IsNotBrokenInsideOfACharacterOrAnEscape) {
  const std::string start = "NOTE:" + std::string(69, 'a');
  EXPECT_EQ(FoldedLine(start + "\xC3\xBC"), start + "\r\n \xC3\xBC\r\n");
  EXPECT_EQ(FoldedLine(start + "\\n"), start + "\r\n \\n\r\n");
}

TEST(FoldedLine, IsNotBrokenWhereTheNextLineWouldEndTheObject) {
  const std::string start = "NOTE:" + std::string(69, 'a');
  EXPECT_EQ(FoldedLine(start + "bEND:VCARD"), start + "\r\n bEND:VCARD\r\n");
  EXPECT_EQ(FoldedLine(start + " x.begin:VCARD"), start.substr(0, 73) + "\r\n a x.begin:VCARD\r\n");
}

}  // namespace
}  // namespace value_text_test
